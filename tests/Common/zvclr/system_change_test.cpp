// The platform's transform in a change of a converter: replaced whenever the given active method holds
// CLRMETHOD_CUSTOM_ICC, whatever the mask says.
#include <cmath>
#include <tuple>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

using Operation = ColourCall::Operation;

Wide Text(const char* text) { return {text, text + std::strlen(text)}; }

/// A change that names nothing but its active method.
ClrParams Named(uint32_t mask, uint32_t activeMethod, const Wide& input, const Wide& output = {}) {
    ClrParams params = MakeParams(mask, activeMethod);
    SetName(params.inputProfileName, input);
    SetName(params.outputProfileName, output);
    return params;
}

class SystemChanges : public ::testing::Test {
protected:
    HostScope host_;
    RecordingColours colours_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    ClrParams creation_ =
        Named(CLRMETHOD_BUILTIN | CLRMETHOD_CUSTOM_ICC, CLRMETHOD_BUILTIN, Text("first.icc"), Text(""));

    /// A change of a converter that has a transform, and what the platform saw of it.
    int32_t Change(const Converter& c, const ClrParams& change) {
        colours_.Forget();
        return Zv_ClrSetConversionParams(c.Get(), &change);
    }
    static void ExpectMethods(const Converter& c, uint32_t methods, uint32_t activeMethod) {
        EXPECT_EQ(methods, c->methods);
        EXPECT_EQ(activeMethod, c->activeMethod);
    }
};

TEST_F(SystemChanges, TransformIsReplacedThoughTheMaskIsEmpty) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    const HANDLE before = c->systemTransform;
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("second.icc"), Text("third.icc"))));
    ASSERT_EQ("delete open open create close close", colours_.Order()) << "the old one goes first";
    const auto& calls = colours_.Calls();
    EXPECT_EQ(before, calls[0].handle);
    EXPECT_EQ(u"second.icc", calls[1].name);
    EXPECT_EQ(20U, calls[1].profileDataSize);
    EXPECT_EQ(u"third.icc", calls[2].name);
    EXPECT_EQ((std::vector<HANDLE>{calls[1].handle, calls[2].handle}), calls[3].profiles);
    EXPECT_EQ(std::vector<DWORD>{2}, calls[3].intents);
    EXPECT_EQ(3U, calls[3].flags);
    EXPECT_EQ(calls[1].handle, calls[4].handle);
    EXPECT_EQ(calls[2].handle, calls[5].handle);
    EXPECT_EQ(calls[3].handle, c->systemTransform);
    ExpectMethods(c, 4, 4);
    EXPECT_EQ(0, c->inputProfileName[0]) << "the names are not taken";
}

TEST_F(SystemChanges, ProfilesAreTheCallersNotThoseOfTheCreation) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ClrParams change = CustomParams(&linear_, &steep_);
    change.methods = 0;
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    const auto opens = colours_.Calls(Operation::kOpen);
    ASSERT_EQ(2U, opens.size());
    EXPECT_EQ(linear_.bytes.data(), opens[0].profileData);
    EXPECT_EQ(steep_.bytes, opens[1].bytes);
    EXPECT_EQ(nullptr, c->inputProfileMemory) << "no copy is taken";
    EXPECT_EQ(nullptr, c->customTransform);
}

TEST_F(SystemChanges, OneProfileWithoutAnOutput) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    EXPECT_EQ(CLR_SUCCESS, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("second.icc"))));
    ASSERT_EQ("delete open create close", colours_.Order());
    EXPECT_EQ(1U, colours_.Calls()[2].profileCount);
}

TEST_F(SystemChanges, ConvertersWithoutATransformGetOne) {
    const Converter defaults(CLRSPACE_RGB, CLRSPACE_CMYK), copier(CLRSPACE_LAB, CLRSPACE_LAB);
    for (const Converter* c : {&defaults, &copier}) {
        EXPECT_EQ(CLR_SUCCESS, Change(*c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
        EXPECT_EQ("open create close", colours_.Order());
        EXPECT_NE(nullptr, (*c)->systemTransform);
        ExpectMethods(*c, 4, 4);
    }
}

TEST_F(SystemChanges, ChangedConverterTranslates) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ASSERT_EQ(CLR_SUCCESS, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
    const Bytes pixels(3);
    Bytes out(4);
    colours_.Forget();
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), 1, 1, 0, 0));
    ASSERT_EQ("translate", colours_.Order());
    EXPECT_EQ(c->systemTransform, colours_.Calls()[0].handle);
}

TEST_F(SystemChanges, OnlyWithTheMethodsBitAndOnServedPairs) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_), cmy(CLRSPACE_RGB, CLRSPACE_CMY, &creation_),
        hsv(CLRSPACE_HSV, CLRSPACE_LAB, &creation_);
    const HANDLE before = c->systemTransform;
    for (const uint32_t active : {0U, 1U, 2U, 8U, 16U, 0xFFFFFFFBU}) {
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(0, active, Text("a.icc")))) << active;
        EXPECT_EQ("", colours_.Order()) << active;
    }
    EXPECT_EQ(before, c->systemTransform);
    ExpectMethods(c, 5, 1);
    for (const Converter* other : {&cmy, &hsv}) {
        EXPECT_EQ(CLR_SUCCESS, Change(*other, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
        EXPECT_EQ("", colours_.Order());
        ExpectMethods(*other, 5, 1);
    }
    for (const uint32_t active : {6U, 12U, 0xFFFFFFFFU}) {
        EXPECT_EQ(CLR_SUCCESS, Change(c, Named(0, active, Text("a.icc")))) << active;
        EXPECT_EQ("delete open create close", colours_.Order()) << active;
        ExpectMethods(c, 4, 4);
    }
}

TEST_F(SystemChanges, NoSecondAttempt) {
    for (const char* output : {"out.icc", ""}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
        colours_.FailCreations(1);
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"), Text(output))));
        EXPECT_EQ(*output != 0 ? "delete open open create close close" : "delete open create close", colours_.Order());
        EXPECT_EQ(nullptr, c->systemTransform);
        ExpectMethods(c, 5, 1);
    }
}

TEST_F(SystemChanges, ProfileThatDoesNotOpen) {
    const struct {
        std::vector<int> failing;
        const char* output;
        const char* order;
    } cases[] = {{{1}, "out.icc", "delete open open close"},
                 {{2}, "out.icc", "delete open open close"},
                 {{1, 2}, "out.icc", "delete open open"},
                 {{1}, "", "delete open"}};
    for (const auto& refusal : cases) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
        for (const int n : refusal.failing) colours_.FailOpen(n);
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"), Text(refusal.output))));
        EXPECT_EQ(refusal.order, colours_.Order());
        EXPECT_EQ(nullptr, c->systemTransform);
        EXPECT_EQ(0U, colours_.OpenProfiles());
        ExpectMethods(c, 5, 1);
    }
}

TEST_F(SystemChanges, NamesAreNeverReadBehindTheirField) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    const GuardedBuffer page(sizeof(ClrParams));
    for (const bool onInput : {true, false}) {
        ClrParams change = Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"), Text("b.icc"));
        SetName(onInput ? change.inputProfileName : change.outputProfileName, Wide(264, ZvChar{'x'}));
        const auto* placed = PlaceAt(page.Data(), change);
        colours_.Forget();
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Zv_ClrSetConversionParams(c.Get(), placed));
        const auto opens = colours_.Calls(Operation::kOpen);
        ASSERT_EQ(1U, opens.size());
        EXPECT_EQ(onInput ? u"b.icc" : u"a.icc", opens[0].name);
        EXPECT_EQ(0U, colours_.OpenProfiles());
    }
}

TEST_F(SystemChanges, MemoryThatCannotBeRead) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    const HANDLE transform = c->systemTransform;
    ASSERT_NE(nullptr, transform);
    const GuardedBuffer page(sizeof(ClrProfileMemory));
    for (const bool onInput : {true, false}) {
        ClrParams change = CustomParams(&linear_, &steep_);
        change.methods = 0;
        auto*& given = onInput ? change.inputProfileMemory : change.outputProfileMemory;
        given = reinterpret_cast<ClrProfileMemory*>(page.Data() + 1);
        EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
        EXPECT_EQ("", colours_.Order()) << "the old one stays too";
        ClrProfileMemory record = linear_.record;
        record.data = page.Data() + 1;
        given = &record;
        EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
        EXPECT_EQ("", colours_.Order());
        EXPECT_EQ(transform, c->systemTransform);
        ExpectMethods(c, 5, 1);
    }
    ClrParams method = MakeParams(CLRPARAM_ACTIVE_METHOD, CLRMETHOD_CUSTOM_ICC);
    method.inputProfileMemory = reinterpret_cast<ClrProfileMemory*>(page.Data() + 1);
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, method)) << "the method has been taken over";
    ExpectMethods(c, 5, 4);
    ConvertSample(c.Get());
    ASSERT_EQ("translate", colours_.Order());
    EXPECT_EQ(transform, colours_.Calls()[0].handle);
}

TEST_F(SystemChanges, ActiveMethodOverATransformThatThePlatformRefused) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    colours_.FailOpen(1);
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, Named(CLRPARAM_ACTIVE_METHOD, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
    ExpectMethods(c, 5, 4);
    ASSERT_EQ(nullptr, c->systemTransform);

    const Bytes pixels(3);
    Bytes out(4, 0xCD);
    for (const auto& [answer, error, expected] :
         {std::tuple(0, 6, 0), std::tuple(0, 2021, -918), std::tuple(1, 0, 1)}) {
        colours_.Forget();
        colours_.AnswerTranslations(answer, static_cast<DWORD>(error));
        EXPECT_EQ(expected, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), 1, 1, 0, 0));
        ASSERT_EQ("translate", colours_.Order());
        EXPECT_EQ(nullptr, colours_.Calls()[0].handle);
    }
    EXPECT_EQ(Bytes(4, 0xCD), out);
}

TEST_F(SystemChanges, ActiveMethodThatWasNotPreparedIsRefusedFirst) {
    ClrParams builtin = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &builtin);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(c, Named(CLRPARAM_ACTIVE_METHOD, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
    EXPECT_EQ("", colours_.Order());
    ExpectMethods(c, 1, 1);
}

TEST_F(SystemChanges, RefusalsOfEarlierStepsGoFirst) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ClrParams change = Named(CLRPARAM_CMYK, CLRMETHOD_CUSTOM_ICC, Text("a.icc"));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change));
    change.methods = CLRPARAM_YUV;
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(c, change));
    change.methods = CLRPARAM_LAB;
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(c, change));
    change.methods = CLRPARAM_WHITE_POINT;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change));
    EXPECT_EQ("", colours_.Order());
    EXPECT_NE(nullptr, c->systemTransform);
}

TEST_F(SystemChanges, RefusalKeepsWhatEarlierStepsTookAndStopsTheLater) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ClrCmykParams cmyk = MakeCmyk(300);
    ClrParams change =
        Named(CLRPARAM_CMYK | CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE, CLRMETHOD_CUSTOM_ICC, Text("a.icc"));
    change.cmykParams = &cmyk;
    SetName(change.emulationTableName, Text("table.tif"));
    colours_.FailOpen(1);
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, change));
    ASSERT_NE(nullptr, c->cmykParams);
    EXPECT_EQ(300, c->cmykParams->gcrLevel);
    EXPECT_EQ(0, c->inputProfileName[0]);
    EXPECT_EQ(0, c->emulationTableName[0]);
}

TEST_F(SystemChanges, LaterStepsRunWithTheNewMethod) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ClrParams change = Named(CLRPARAM_EMULATION_FILE, CLRMETHOD_CUSTOM_ICC, Text("a.icc"));
    SetName(change.emulationTableName, Text("table.tif"));
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(Text("table.tif"), Wide(c->emulationTableName));
    ExpectMethods(c, 4, 4);
}

TEST_F(SystemChanges, RejectedCallsDoNotReachThePlatform) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &creation_);
    ClrParams change = Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"));
    colours_.Forget();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(nullptr, &change));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(c.Get(), nullptr));
    std::vector<uint8_t> noConverter(sizeof(ClrHandle));
    std::memcpy(noConverter.data(), c.Get(), sizeof(ClrHandle));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrSetConversionParams(reinterpret_cast<ClrHandle*>(noConverter.data()), &change));
    EXPECT_EQ("", colours_.Order());
}

TEST_F(SystemChanges, NarrowedMethodsLeaveTheBuiltinTransformBehind) {
    creation_.methods |= CLRMETHOD_ICC;
    CmmTransform* builtin = nullptr;
    {
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &creation_);
        builtin = c->iccTransform;
        ASSERT_NE(nullptr, builtin);
        ASSERT_EQ(CLR_SUCCESS, Change(c, Named(0, CLRMETHOD_CUSTOM_ICC, Text("a.icc"))));
        EXPECT_EQ(builtin, c->iccTransform);
    }
    EXPECT_GT(host_.Leaked(), 0U) << "release goes by the methods";
    CmmFreeTransform(builtin);
    EXPECT_EQ(0U, host_.Leaked());
}

// --- Where the platform has none ------------------------------------------------------------------------------------

class ChangesWithoutSystemColours : public ::testing::Test {
protected:
    HostScope host_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};

    static int32_t Change(const Converter& c, ClrParams change) {
        change.methods = 0;
        return Zv_ClrSetConversionParams(c.Get(), &change);
    }
};

TEST_F(ChangesWithoutSystemColours, TheLibrarysOwnTransformIsReplaced) {
    ClrParams creation = CustomParams(&linear_, &steep_);
    const Bytes pixels{0, 0, 0, 64, 64, 64, 255, 255, 255};
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &creation);
    EXPECT_NEAR(255 * std::sqrt(64 / 255.0), ConvertRow(c.Get(), pixels)[4], 1.5);
    EXPECT_EQ(CLR_SUCCESS, Change(c, CustomParams(&steep_, &linear_)));
    EXPECT_NEAR(64 * 64 / 255.0, ConvertRow(c.Get(), pixels)[4], 1.5);
    EXPECT_EQ(4U, c->methods);
    EXPECT_EQ(4U, c->activeMethod);
    EXPECT_EQ(nullptr, c->systemTransform);
}

TEST_F(ChangesWithoutSystemColours, ConvertersWithoutATransformGetOne) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
    ASSERT_EQ(CLR_SUCCESS, Change(c, CustomParams(&linear_, &steep_)));
    const Bytes pixels{64, 64, 64};
    EXPECT_NEAR(255 * std::sqrt(64 / 255.0), ConvertRow(c.Get(), pixels)[1], 1.5);
    EXPECT_EQ(4U, c->activeMethod);
}

TEST_F(ChangesWithoutSystemColours, EveryRefusalSaysThatTheProfilesCannotBeUsed) {
    ClrParams creation = CustomParams(&linear_, &steep_);
    creation.methods |= CLRMETHOD_BUILTIN;
    MemoryProfile noise(RandomBytes(400, 3)), cmyk(LutProfile("CMYK", "Lab ", 16, 2).Build());
    ClrParams missing = CustomParams(nullptr, &steep_);
    SetName(missing.inputProfileName, Text("no such file.icc"));
    for (const ClrParams& change :
         {CustomParams(&linear_, nullptr), CustomParams(nullptr, nullptr), missing, CustomParams(&noise, &steep_),
          CustomParams(&linear_, &noise), CustomParams(&cmyk, &steep_)}) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &creation);
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, change));
        EXPECT_EQ(nullptr, c->customTransform);
        EXPECT_EQ(uint32_t{CLRMETHOD_BUILTIN | CLRMETHOD_CUSTOM_ICC}, c->methods);
        const Bytes pixels(3);
        Bytes out(3, 0xCD);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), 1, 1, 0, 0));
    }
    const Converter xyz(CLRSPACE_RGB, CLRSPACE_XYZ);
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(xyz, CustomParams(&linear_, &steep_)));
    EXPECT_EQ(uint32_t{CLRMETHOD_BUILTIN}, xyz->methods);
}

TEST_F(ChangesWithoutSystemColours, NoMemoryIsToldAsWhatItIs) {
    ClrParams creation = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &creation);
    host_->FailAllocation(1);
    EXPECT_EQ(ERR_NO_MEMORY, Change(c, CustomParams(&steep_, &linear_)));
    host_->FailAllocation(0);
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_EQ(CLR_SUCCESS, Change(c, CustomParams(&steep_, &linear_))) << "and it can be had again";
}

TEST_F(ChangesWithoutSystemColours, OtherPairsAreNotTouched) {
    MemoryProfile cmy(LutProfile("CMY ", "Lab ", 16, 2).Build());
    ClrParams creation = CustomParams(&cmy, &steep_);
    const Converter c(CLRSPACE_CMY, CLRSPACE_RGB, &creation);
    const CmmTransform* before = c->customTransform;
    EXPECT_EQ(CLR_SUCCESS, Change(c, CustomParams(&linear_, nullptr)));
    EXPECT_EQ(before, c->customTransform);
}

}  // namespace
}  // namespace zv::test
