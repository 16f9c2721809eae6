// CLRMETHOD_CUSTOM_ICC on the pairs that the platform's colour management serves: what it is given and when, and what
// its answers become.
#include <utility>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

using Operation = ColourCall::Operation;

struct Format {
    int32_t space;
    int32_t value;
};
constexpr Format kServed[] = {{0, 4}, {2, 773}, {7, 515}, {8, 513}, {12, 2}};

bool IsServed(int32_t space) {
    return std::any_of(std::begin(kServed), std::end(kServed), [&](const Format& f) { return f.space == space; });
}

Wide Text(const char* text) { return {text, text + std::strlen(text)}; }

class SystemColours : public ::testing::Test {
protected:
    HostScope host_;
    RecordingColours colours_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};

    static ClrParams Named(const Wide& input, const Wide& output = {}) {
        ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
        SetName(params.inputProfileName, input);
        SetName(params.outputProfileName, output);
        return params;
    }
    /// Creation that fails at its last step: the converter stays on the list, until the unload takes it.
    void ExpectLeftOnList(int32_t code, ClrParams* params, int32_t source = 2, int32_t destination = 7) {
        const int32_t registered = RegisteredCount();
        EXPECT_EQ(code, FailingInit(source, destination, params));
        EXPECT_EQ(registered + 1, RegisteredCount());
        EXPECT_EQ(0U, colours_.OpenProfiles());
        EXPECT_EQ(0U, colours_.Transforms().size());
        ReleaseAllConverters();
        EXPECT_EQ(registered, RegisteredCount());
        EXPECT_EQ(0U, host_.Leaked());
        EXPECT_TRUE(colours_.Calls(Operation::kDelete).empty());
    }
    /// Two non-hubs have no transform of the library's own, so that names need not exist.
    ColourCall OpenOf(ClrParams* params, size_t index) {
        colours_.Forget();
        const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB, params);
        const auto opens = colours_.Calls(Operation::kOpen);
        EXPECT_GT(opens.size(), index);
        return opens.size() > index ? opens[index] : ColourCall{};
    }
    /// One call of the platform for one conversion.
    ColourCall Translation(const ClrHandle* converter, int32_t width, int32_t height, int32_t sourceExtra,
                           int32_t destinationExtra, int32_t expected = CLR_SUCCESS) {
        colours_.Forget();
        const Bytes source(PaddedBytes(converter->sourceSpace, width, height, sourceExtra));
        Bytes destination(PaddedBytes(converter->destinationSpace, width, height, destinationExtra), 0xCD);
        EXPECT_EQ(expected, Zv_ClrConvert(converter, source.data(), destination.data(), width, height, sourceExtra,
                                          destinationExtra));
        EXPECT_EQ(Bytes(destination.size(), 0xCD), destination);
        EXPECT_EQ("translate", colours_.Order());
        if (colours_.Calls().empty()) return {};
        const ColourCall call = colours_.Calls()[0];
        EXPECT_EQ(source.data(), call.source);
        EXPECT_EQ(destination.data(), call.destination);
        EXPECT_EQ(static_cast<DWORD>(width), call.width);
        EXPECT_EQ(static_cast<DWORD>(height), call.height);
        EXPECT_FALSE(call.hasCallback);
        EXPECT_EQ(0, call.callbackData);
        return call;
    }
};

// --- Which pairs ----------------------------------------------------------------------------------------------------

TEST_F(SystemColours, ServeTheseFiveSpacesInAnyPair) {
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
            const bool served = IsServed(source) && IsServed(destination);
            colours_.Forget();
            ClrParams params = Named(Text("in.icc"));
            {
                const Converter c(source, destination, &params);
                EXPECT_EQ(served, c->systemTransform != nullptr);
                EXPECT_EQ(served ? "open create close" : "", colours_.Order());
                colours_.Forget();
            }
            EXPECT_EQ(served ? "delete" : "", colours_.Order());
        }
    }
}

TEST_F(SystemColours, OnlyWithTheMethodAmongTheEnabledOnes) {
    ClrParams params = Named(Text("in.icc"), Text("out.icc"));
    params.methods = params.activeMethod = CLRMETHOD_BUILTIN;
    const Converter without(CLRSPACE_CMYK, CLRSPACE_RGB, &params), same(CLRSPACE_RGB, CLRSPACE_RGB, &params),
        defaults(CLRSPACE_RGB, CLRSPACE_CMYK);
    EXPECT_EQ("", colours_.Order());
    EXPECT_EQ(nullptr, without->systemTransform);
    params.methods = CLRMETHOD_BUILTIN | CLRMETHOD_CUSTOM_ICC;
    const Converter with(CLRSPACE_CMYK, CLRSPACE_LAB, &params);
    EXPECT_EQ("open open create close close", colours_.Order()) << "whatever method is active";
    EXPECT_EQ(uint32_t{CLRMETHOD_BUILTIN}, with->activeMethod);
}

TEST_F(SystemColours, AreAskedLastOfAll) {
    FullRecords records(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    SetName(records.params.inputProfileName, Text("in.icc"));
    records.cmyk.size = 11;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &records.params));
    records.lab.size = 31;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(CLRSPACE_RGB, CLRSPACE_LAB, &records.params));
    EXPECT_EQ("", colours_.Order());
    ReleaseAllConverters();
}

TEST_F(SystemColours, ComeBesideTheLibrarysOwnTransform) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_NE(nullptr, c->customTransform);
    EXPECT_NE(nullptr, c->systemTransform);
    const auto opens = colours_.Calls(Operation::kOpen);
    ASSERT_EQ(2U, opens.size());
    EXPECT_EQ(linear_.bytes.data(), opens[0].profileData) << "the caller's bytes, not the copy";
    EXPECT_EQ(steep_.bytes.data(), opens[1].profileData);
}

TEST_F(SystemColours, AreNotAskedWhenTheLibrarysOwnTransformFails) {
    ClrParams params = Named(Text("no such file.icc"), Text("out.icc"));
    EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &params));
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ("", colours_.Order());
}

// --- What is opened -------------------------------------------------------------------------------------------------

TEST_F(SystemColours, ProfileByName) {
    ClrParams params = Named(Text("in.icc"), Text("output profile.icc"));
    const ColourCall input = OpenOf(&params, 0), output = OpenOf(&params, 1);
    for (const ColourCall& call : {input, output}) {
        EXPECT_EQ(1U, call.profileType);
        EXPECT_EQ(1U, call.access);
        EXPECT_EQ(1U, call.share);
        EXPECT_EQ(3U, call.creation);
    }
    EXPECT_EQ(u"in.icc", input.name);
    EXPECT_EQ(params.inputProfileName, input.profileData);
    EXPECT_EQ(12U, input.profileDataSize);
    EXPECT_EQ(u"output profile.icc", output.name);
    EXPECT_EQ(params.outputProfileName, output.profileData);
    EXPECT_EQ(36U, output.profileDataSize);
}

TEST_F(SystemColours, ProfileInMemory) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const ColourCall input = OpenOf(&params, 0), output = OpenOf(&params, 1);
    for (const ColourCall& call : {input, output}) {
        EXPECT_EQ(2U, call.profileType);
        EXPECT_EQ(1U, call.access);
        EXPECT_EQ(1U, call.share);
        EXPECT_EQ(3U, call.creation);
    }
    EXPECT_EQ(linear_.bytes.data(), input.profileData);
    EXPECT_EQ(linear_.bytes.size(), input.profileDataSize);
    EXPECT_EQ(linear_.bytes, input.bytes);
    EXPECT_EQ(steep_.bytes.data(), output.profileData);
    EXPECT_EQ(steep_.bytes.size(), output.profileDataSize);
    EXPECT_EQ(steep_.bytes, output.bytes);
}

TEST_F(SystemColours, OfASizeInMemoryTheLow32BitsCount) {
    ClrParams params = CustomParams(&linear_, &steep_);
    linear_.record.dataSize = (uint64_t{1} << 32) + 100;
    steep_.record.dataSize = uint64_t{7} << 32;
    EXPECT_EQ(100U, OpenOf(&params, 0).profileDataSize);
    EXPECT_EQ(0U, OpenOf(&params, 1).profileDataSize);
}

TEST_F(SystemColours, MemoryGoesBeforeTheNameOnEachSide) {
    ClrParams params = Named(Text("in.icc"), Text("out.icc"));
    params.inputProfileMemory = &linear_.record;
    EXPECT_EQ(2U, OpenOf(&params, 0).profileType);
    EXPECT_EQ(u"out.icc", OpenOf(&params, 1).name);
    params.inputProfileMemory = nullptr;
    params.outputProfileMemory = &steep_.record;
    EXPECT_EQ(u"in.icc", OpenOf(&params, 0).name);
    EXPECT_EQ(2U, OpenOf(&params, 1).profileType);
    params.inputProfileMemory = &linear_.record;
    EXPECT_EQ(linear_.bytes, OpenOf(&params, 0).bytes);
    EXPECT_EQ(steep_.bytes, OpenOf(&params, 1).bytes);
}

TEST_F(SystemColours, RecordsOfMemoryMayLieAnywhere) {
    std::vector<uint8_t> room(64);
    ClrParams params = CustomParams(&linear_, &steep_);
    linear_.record.size = 3;
    params.inputProfileMemory = PlaceAt(room.data() + 1, linear_.record);
    params.outputProfileMemory = PlaceAt(room.data() + 35, steep_.record);
    EXPECT_EQ(linear_.bytes, OpenOf(&params, 0).bytes);
    EXPECT_EQ(steep_.bytes, OpenOf(&params, 1).bytes);
}

TEST_F(SystemColours, EmptyInputNameGoesOnToThePlatform) {
    ClrParams none = Named({}), outputOnly = Named({}, Text("out.icc"));
    const ColourCall single = OpenOf(&none, 0), input = OpenOf(&outputOnly, 0);
    for (const ColourCall& call : {single, input}) {
        EXPECT_EQ(1U, call.profileType);
        EXPECT_EQ(u"", call.name);
        EXPECT_EQ(0U, call.profileDataSize);
    }
    colours_.Forget();
    colours_.FailOpen(1);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &none);
    EXPECT_EQ("open", colours_.Order());
}

TEST_F(SystemColours, NamesAreNeverReadBehindTheirField) {
    const GuardedBuffer page(sizeof(ClrParams));
    for (const bool onInput : {true, false}) {
        ClrParams params = Named(Text("in.icc"), Text("out.icc"));
        SetName(onInput ? params.inputProfileName : params.outputProfileName, Wide(264, ZvChar{'x'}));
        auto* const placed = PlaceAt(page.Data(), params);
        colours_.Forget();
        ExpectLeftOnList(ERR_PROFILE_UNUSABLE, placed);
        EXPECT_EQ("open close", colours_.Order()) << "the other side's";
        EXPECT_EQ(onInput ? u"out.icc" : u"in.icc", colours_.Calls()[0].name);

        SetName(onInput ? placed->inputProfileName : placed->outputProfileName, Wide(263, ZvChar{'x'}));
        const ColourCall call = OpenOf(placed, onInput ? 0 : 1);
        EXPECT_EQ(std::u16string(263, u'x'), call.name) << "no shorter limit holds here";
        EXPECT_EQ(526U, call.profileDataSize);
    }
    ClrParams single = Named(Wide(264, ZvChar{'x'}));
    colours_.Forget();
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &single);
    EXPECT_EQ("", colours_.Order());
}

TEST_F(SystemColours, MemoryThatCannotBeRead) {
    GuardedBuffer record(sizeof(ClrProfileMemory)), data(linear_.bytes.size());
    Put(data, linear_.bytes);
    for (const bool onInput : {true, false}) {
        ClrParams params = CustomParams(&linear_, &steep_);
        auto*& given = onInput ? params.inputProfileMemory : params.outputProfileMemory;
        given = reinterpret_cast<ClrProfileMemory*>(record.Data() + 1);
        ExpectLeftOnList(ERR_BAD_POINTER, &params);
        ClrProfileMemory copy = linear_.record;
        given = &copy;
        copy.data = data.Data() + 1;
        ExpectLeftOnList(ERR_BAD_POINTER, &params);
        copy.data = nullptr;
        ExpectLeftOnList(ERR_BAD_POINTER, &params);
        copy.data = data.Data();
        copy.dataSize = data.Size() + 1;
        ExpectLeftOnList(ERR_BAD_POINTER, &params);
        EXPECT_EQ("", colours_.Order());
        copy.dataSize = data.Size();
        EXPECT_EQ(linear_.bytes, OpenOf(&params, onInput ? 0 : 1).bytes);
        colours_.Forget();
    }
    ClrParams single = CustomParams(&linear_, nullptr);
    linear_.record.data = nullptr;
    ExpectLeftOnList(ERR_BAD_POINTER, &single, CLRSPACE_CMYK, CLRSPACE_RGB);
    EXPECT_EQ("", colours_.Order());
}

// --- The transform --------------------------------------------------------------------------------------------------

TEST_F(SystemColours, TransformOfTwoProfiles) {
    ClrParams params = Named(Text("in.icc"), Text("out.icc"));
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB, &params);
    ASSERT_EQ("open open create close close", colours_.Order());
    const auto& calls = colours_.Calls();
    EXPECT_EQ(u"in.icc", calls[0].name);
    EXPECT_EQ(u"out.icc", calls[1].name);
    EXPECT_EQ((std::vector<HANDLE>{calls[0].handle, calls[1].handle}), calls[2].profiles);
    EXPECT_EQ(2U, calls[2].profileCount);
    EXPECT_EQ(std::vector<DWORD>{2}, calls[2].intents);
    EXPECT_EQ(1U, calls[2].intentCount);
    EXPECT_EQ(3U, calls[2].flags);
    EXPECT_EQ(0U, calls[2].preferredCmm);
    EXPECT_EQ(calls[0].handle, calls[3].handle);
    EXPECT_EQ(calls[1].handle, calls[4].handle);
    EXPECT_EQ(calls[2].handle, c->systemTransform);
}

TEST_F(SystemColours, TransformOfOneProfileWithoutAnOutput) {
    ClrParams byName = Named(Text("in.icc")), inMemory = CustomParams(&linear_, nullptr);
    for (ClrParams* params : {&byName, &inMemory}) {
        colours_.Forget();
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, params);
        ASSERT_EQ("open create close", colours_.Order());
        const auto& calls = colours_.Calls();
        EXPECT_EQ(std::vector<HANDLE>{calls[0].handle}, calls[1].profiles);
        EXPECT_EQ(1U, calls[1].profileCount);
        EXPECT_EQ(std::vector<DWORD>{2}, calls[1].intents);
        EXPECT_EQ(1U, calls[1].intentCount);
        EXPECT_EQ(calls[0].handle, calls[2].handle);
        EXPECT_EQ(calls[1].handle, c->systemTransform);
        EXPECT_EQ(nullptr, c->customTransform);
    }
}

TEST_F(SystemColours, OutputInMemoryWithoutANameIsAnOutput) {
    ClrParams params = Named(Text("in.icc"));
    params.outputProfileMemory = &steep_.record;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB, &params);
    EXPECT_EQ("open open create close close", colours_.Order());
}

TEST_F(SystemColours, RefusedTransformIsTriedOnceMore) {
    ClrParams params = Named(Text("in.icc"), Text("out.icc"));
    colours_.FailCreations(1);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_LAB, &params);
    ASSERT_EQ("open open create create close close", colours_.Order());
    const auto& calls = colours_.Calls();
    const std::vector<HANDLE> profiles{calls[0].handle, calls[1].handle};
    EXPECT_EQ(profiles, calls[2].profiles);
    EXPECT_EQ(std::vector<DWORD>{2}, calls[2].intents);
    EXPECT_EQ(profiles, calls[3].profiles);
    EXPECT_EQ(2U, calls[3].profileCount);
    EXPECT_EQ(std::vector<DWORD>{0}, calls[3].intents);
    EXPECT_EQ(1U, calls[3].intentCount);
    EXPECT_EQ(3U, calls[3].flags);
    EXPECT_EQ(0U, calls[3].preferredCmm);
    EXPECT_EQ(calls[3].handle, c->systemTransform);
}

TEST_F(SystemColours, SecondAttemptSpeaksOfTwoProfilesWhereThereIsOne) {
    ClrParams params = Named(Text("in.icc"));
    colours_.FailCreations(1);
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    ASSERT_EQ("open create create close", colours_.Order());
    const auto& calls = colours_.Calls();
    EXPECT_EQ(1U, calls[1].profileCount);
    EXPECT_EQ(2U, calls[2].profileCount);
    EXPECT_EQ((std::vector<HANDLE>{calls[0].handle, nullptr}), calls[2].profiles);
    EXPECT_EQ(std::vector<DWORD>{0}, calls[2].intents);
    EXPECT_EQ(calls[2].handle, c->systemTransform);
}

TEST_F(SystemColours, NoTransformAtAll) {
    ClrParams two = Named(Text("in.icc"), Text("out.icc")), one = Named(Text("in.icc"));
    colours_.FailCreations(2);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &two);
    EXPECT_EQ("open open create create close close", colours_.Order());
    colours_.Forget();
    colours_.FailCreations(2);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &one, CLRSPACE_RGB, CLRSPACE_LAB);
    EXPECT_EQ("open create create close", colours_.Order());
}

TEST_F(SystemColours, ProfileThatDoesNotOpen) {
    ClrParams two = Named(Text("in.icc"), Text("out.icc")), one = Named(Text("in.icc"));
    colours_.FailOpen(1);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &two);
    ASSERT_EQ("open open close", colours_.Order());
    EXPECT_EQ(colours_.Calls()[1].handle, colours_.Calls()[2].handle);

    colours_.Forget();
    colours_.FailOpen(2);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &two);
    ASSERT_EQ("open open close", colours_.Order());
    EXPECT_EQ(colours_.Calls()[0].handle, colours_.Calls()[2].handle);

    colours_.Forget();
    colours_.FailOpen(1);
    colours_.FailOpen(2);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &two);
    EXPECT_EQ("open open", colours_.Order());

    colours_.Forget();
    colours_.FailOpen(1);
    ExpectLeftOnList(ERR_PROFILE_UNUSABLE, &one, CLRSPACE_CMYK, CLRSPACE_BGR);
    EXPECT_EQ("open", colours_.Order());
}

TEST_F(SystemColours, FailureKeepsTheLibrarysOwnTransformOnTheList) {
    ClrParams params = CustomParams(&linear_, &steep_);
    colours_.FailOpen(2);
    ASSERT_EQ(ERR_PROFILE_UNUSABLE, FailingInit(CLRSPACE_RGB, CLRSPACE_BGR, &params));
    const ClrHandle* left = FirstRegistered();
    ASSERT_NE(nullptr, left);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(left));
    EXPECT_NE(nullptr, left->customTransform);
    EXPECT_NE(nullptr, left->inputProfileMemory);
    EXPECT_EQ(nullptr, left->systemTransform);
    EXPECT_EQ(CLRSPACE_BGR, left->destinationSpace);
    ReleaseAllConverters();
    EXPECT_EQ(0U, host_.Leaked());
}

// --- Translating ----------------------------------------------------------------------------------------------------

TEST_F(SystemColours, FormatsOfEachPair) {
    for (const Format& source : kServed) {
        for (const Format& destination : kServed) {
            const bool oneStep = source.space == destination.space || IsHub(source.space) || IsHub(destination.space);
            if (!oneStep) continue;
            SCOPED_TRACE(std::to_string(source.space) + " to " + std::to_string(destination.space));
            ClrParams params = Named(Text("in.icc"));
            const Converter c(source.space, destination.space, &params);
            const ColourCall call = Translation(c.Get(), 5, 3, 0, 0);
            EXPECT_EQ(c->systemTransform, call.handle);
            EXPECT_EQ(source.value, call.sourceFormat);
            EXPECT_EQ(destination.value, call.destinationFormat);
            EXPECT_EQ(0U, call.sourceStride);
            EXPECT_EQ(0U, call.destinationStride);
        }
    }
}

TEST_F(SystemColours, TwoStepsThroughTheHubAreBuiltIn) {
    ClrParams params = Named(Text("in.icc"));
    for (const auto& [source, destination] : {std::pair(2, 7), std::pair(7, 2), std::pair(2, 8), std::pair(8, 7)}) {
        const Converter c(source, destination, &params), builtin(source, destination);
        colours_.Forget();
        const Bytes pixels = RandomBytes(PaddedBytes(source, 6, 2, 0), 5);
        Bytes out(PaddedBytes(destination, 6, 2, 0), 0xCD), expected(out.size(), 0xCE);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), out.data(), 6, 2, 0, 0));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(builtin.Get(), pixels.data(), expected.data(), 6, 2, 0, 0));
        EXPECT_EQ(expected, out);
        EXPECT_EQ("", colours_.Order());
    }
}

TEST_F(SystemColours, StridesCountFromThePadding) {
    ClrParams params = Named(Text("in.icc"));
    const Converter cmyk(CLRSPACE_CMYK, CLRSPACE_RGB, &params), rgb(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    EXPECT_EQ(42U, Translation(cmyk.Get(), 10, 2, 2, 0).sourceStride);
    EXPECT_EQ(0U, Translation(cmyk.Get(), 10, 2, 2, 0).destinationStride);
    EXPECT_EQ(0U, Translation(cmyk.Get(), 10, 2, 0, 1).sourceStride);
    EXPECT_EQ(31U, Translation(cmyk.Get(), 10, 2, 0, 1).destinationStride);
    EXPECT_EQ(32U, Translation(rgb.Get(), 10, 2, 2, 7).sourceStride);
    EXPECT_EQ(47U, Translation(rgb.Get(), 10, 2, 2, 7).destinationStride);
    for (const Format& space : kServed) {
        const Converter c(space.space, space.space, &params);
        const ColourCall call = Translation(c.Get(), 7, 1, 5, 100);
        const DWORD packed = space.space == 2 ? 28 : 21;
        EXPECT_EQ(packed + 5, call.sourceStride) << space.space;
        EXPECT_EQ(packed + 100, call.destinationStride) << space.space;
    }
}

/// An id of no space, which stands among the served ones all the same.
TEST_F(SystemColours, SixteenIsServedThoughItIsNoSpace) {
    for (const int32_t served : {0, 2, 7, 8, 12, 16}) {
        EXPECT_TRUE(ClrSystemServes(16, served)) << served;
        EXPECT_TRUE(ClrSystemServes(served, 16)) << served;
        for (const int32_t other : {-1, 1, 6, 11, 15, 17, 32, 0x10010}) {
            EXPECT_FALSE(ClrSystemServes(other, served)) << other;
            EXPECT_FALSE(ClrSystemServes(served, other)) << other;
        }
    }
    ClrParams params = Named(Text("in.icc"));
    // What is no space has very wide rows.
    const Bytes source(200000);
    Bytes destination(200000, 0xCD);
    const auto translation = [&](const Converter& c, int32_t sourceExtra, int32_t destinationExtra) {
        colours_.Forget();
        EXPECT_EQ(CLR_SUCCESS,
                  Zv_ClrConvert(c.Get(), source.data(), destination.data(), 10, 2, sourceExtra, destinationExtra));
        EXPECT_EQ("translate", colours_.Order());
        return colours_.Calls().empty() ? ColourCall{} : colours_.Calls()[0];
    };
    const Converter from(CLRSPACE_CMYK, CLRSPACE_RGB, &params), to(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    from->sourceSpace = 16;
    const ColourCall reading = translation(from, 5, 0);
    from->sourceSpace = CLRSPACE_CMYK;
    EXPECT_EQ(10, reading.sourceFormat);
    EXPECT_EQ(35U, reading.sourceStride) << "three bytes a pixel";
    EXPECT_EQ(4, reading.destinationFormat);
    EXPECT_EQ(0U, reading.destinationStride);
    to->destinationSpace = 16;
    const ColourCall writing = translation(to, 0, 7), packed = translation(to, 0, 0);
    to->destinationSpace = CLRSPACE_CMYK;
    EXPECT_EQ(4, writing.sourceFormat);
    EXPECT_EQ(0U, writing.sourceStride);
    EXPECT_EQ(10, writing.destinationFormat);
    EXPECT_EQ(37U, writing.destinationStride);
    EXPECT_EQ(0U, packed.destinationStride);
}

TEST_F(SystemColours, EqualSpacesGoThroughThePlatformToo) {
    ClrParams params = Named(Text("in.icc"));
    const Converter c(CLRSPACE_LAB, CLRSPACE_LAB, &params);
    EXPECT_EQ(1U, c->route);
    Bytes pixels(60, 0xCD);
    colours_.Forget();
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), pixels.data(), 10, 2, 0, 0)) << "in place";
    EXPECT_EQ("translate", colours_.Order());
    EXPECT_EQ(ERR_SAME_BUFFER, Zv_ClrConvert(c.Get(), pixels.data(), pixels.data(), 9, 2, 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), pixels.data(), pixels.data() + 30, 9, 1, -1, 0));
    EXPECT_EQ("translate", colours_.Order());
}

TEST_F(SystemColours, AnswersOfATranslation) {
    ClrParams params = Named(Text("in.icc"));
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    const struct {
        BOOL result;
        DWORD lastError;
        int32_t expected;
    } cases[] = {{1, 0, 1}, {1, 2021, 1},    {0, 2021, -918}, {0, 0, 0},        {0, 2020, 0}, {0, 87, 0},
                 {2, 0, 0}, {2, 2021, -918}, {-1, 2022, 0},   {-1, 2021, -918}, {256, 6, 0},  {0x101, 0, 0}};
    for (const auto& answer : cases) {
        colours_.AnswerTranslations(answer.result, answer.lastError);
        EXPECT_EQ(c->systemTransform, Translation(c.Get(), 3, 2, 0, 0, answer.expected).handle)
            << answer.result << " " << answer.lastError;
    }
}

TEST_F(SystemColours, PixelsAreThoseThatThePlatformWrites) {
    ClrParams params = Named(Text("in.icc"));
    const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR, &params);
    colours_.Translate([](const ColourCall& call) {
        const auto* source = static_cast<const uint8_t*>(call.source);
        for (size_t i = 0; i < 3; ++i) call.destination[i] = static_cast<uint8_t>(source[i] + 1);
    });
    const Bytes source{1, 2, 3, 4};
    Bytes out(3);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.data(), out.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{2, 3, 4}), out);
}

TEST_F(SystemColours, OtherMethodsDoNotTranslate) {
    Bytes results[3];
    size_t i = 0;
    for (const uint32_t method : {CLRMETHOD_BUILTIN, CLRMETHOD_ICC, CLRMETHOD_EMULATION}) {
        SCOPED_TRACE(method);
        ClrParams alone = MakeParams(method, method), params = Named(Text("in.icc"));
        params.methods = method | CLRMETHOD_CUSTOM_ICC;
        params.activeMethod = method;
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
        EXPECT_NE(nullptr, c->systemTransform);
        colours_.Forget();
        results[i] = ConvertSample(c.Get());
        EXPECT_EQ(SampleThrough(CLRSPACE_CMYK, CLRSPACE_RGB, alone), results[i++]);
        EXPECT_EQ("", colours_.Order());
        c->activeMethod = CLRMETHOD_CUSTOM_ICC;
        ConvertSample(c.Get());
        EXPECT_EQ("translate", colours_.Order());
    }
    EXPECT_NE(results[0], results[1]);
    EXPECT_NE(results[1], results[2]);
}

TEST_F(SystemColours, PairsThatAreNotServedTakeTheLibrarysOwnTransform) {
    MemoryProfile cmy(LutProfile("CMY ", "Lab ", 16, 2).Build());
    ClrParams params = CustomParams(&cmy, &steep_);
    const Converter c(CLRSPACE_CMY, CLRSPACE_RGB, &params);
    ASSERT_NE(nullptr, c->customTransform);
    ConvertSample(c.Get());
    EXPECT_EQ("", colours_.Order());
}

// --- The end --------------------------------------------------------------------------------------------------------

TEST_F(SystemColours, FreeDeletesTheTransform) {
    ClrParams params = Named(Text("in.icc"));
    params.methods = CLRMETHOD_BUILTIN | CLRMETHOD_CUSTOM_ICC;
    params.activeMethod = CLRMETHOD_BUILTIN;
    HANDLE transform = nullptr;
    {
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
        transform = c->systemTransform;
        colours_.Forget();
    }
    ASSERT_EQ("delete", colours_.Order());
    EXPECT_EQ(transform, colours_.Calls()[0].handle);
}

TEST_F(SystemColours, FreeWithoutTheMethodLeavesTheTransform) {
    ClrParams params = Named(Text("in.icc"));
    {
        const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
        c->methods = CLRMETHOD_BUILTIN;
        colours_.Forget();
    }
    EXPECT_EQ("", colours_.Order());
    colours_.ExpectTransformsLeft(1);
}

TEST_F(SystemColours, UnloadDeletesEveryTransform) {
    ClrParams params = Named(Text("in.icc"));
    ClrHandle* handles[3] = {};
    for (ClrHandle*& handle : handles) ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, 0, 2, &params));
    const HANDLE first = handles[0]->systemTransform, last = handles[2]->systemTransform;
    colours_.Forget();
    ReleaseAllConverters();
    ASSERT_EQ("delete delete delete", colours_.Order());
    EXPECT_EQ(first, colours_.Calls()[0].handle);
    EXPECT_EQ(last, colours_.Calls()[2].handle);
}

TEST_F(SystemColours, NoMemoryOnTheWayLeavesNothingBehind) {
    ClrParams params = CustomParams(&linear_, &steep_);
    for (int64_t n = 1; n < 200; ++n) {
        host_->Reset();
        host_->FailAllocation(n);
        ClrHandle* c = nullptr;
        const int32_t result = Zv_ClrInit(&c, CLRSPACE_RGB, CLRSPACE_BGR, &params);
        const bool failed = host_->AllocationsSinceReset() >= n;
        host_->FailAllocation(0);
        if (result == CLR_SUCCESS) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c));
        }
        ReleaseAllConverters();
        ASSERT_EQ(0U, colours_.OpenProfiles()) << n;
        ASSERT_EQ(0U, colours_.Transforms().size()) << n;
        ASSERT_EQ(0U, host_.Leaked()) << n;
        if (!failed) return;
        EXPECT_TRUE(result == ERR_NO_MEMORY || result == ERR_PROFILE_LOAD || result == CLR_SUCCESS) << result;
    }
    ADD_FAILURE() << "the allocations do not end";
}

}  // namespace
}  // namespace zv::test
