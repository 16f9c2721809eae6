// Changes of the white point: what each active method makes of it.
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

constexpr ClrWhitePoint kBlue = {93, 0.0, 0.0};
/// Chromaticities of the white of code 65.
constexpr double kDaylightSum = 0.950166 + 1.0 + 1.08765;
constexpr ClrWhitePoint kDaylight = {0, 0.950166 / kDaylightSum, 1.0 / kDaylightSum};

Bytes Fresh(int32_t source, int32_t destination, uint32_t method, ClrWhitePoint white) {
    ClrParams params = MakeParams(method, method);
    params.whitePoint = &white;
    return SampleThrough(source, destination, params);
}

// --- Methods without a use for it -----------------------------------------------------------------------------------

TEST(ChangeWhite, BuiltinAndTablesStoreIt) {
    const HostScope host;
    for (const uint32_t method : {1U, 8U}) {
        ClrParams params = MakeParams(method, method);
        const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
        const Bytes before = ConvertSample(c.Get());
        const auto* own = c->whitePoint;
        EXPECT_EQ(50U, c->whitePoint->whiteCode);
        for (const ClrWhitePoint& white :
             {kBlue, kDaylight, ClrWhitePoint{0, -1e300, 0.0}, ClrWhitePoint{12345, 0, 0}}) {
            EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, white));
            EXPECT_TRUE(SameWhite(c->whitePoint, white));
        }
        EXPECT_EQ(own, c->whitePoint) << "copied over the record that is there";
        EXPECT_EQ(before, ConvertSample(c.Get()));
    }
}

TEST(ChangeWhite, TransformsThatAreNotActiveKeepTheirs) {
    const HostScope host;
    ClrParams params = MakeParams(1 | 2, 1);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    const auto* transform = c->iccTransform;
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kBlue));
    EXPECT_EQ(transform, c->iccTransform);
    ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, 2));
    EXPECT_EQ(Fresh(0, 7, 2, {50, 0, 0}), ConvertSample(c.Get()));
    EXPECT_TRUE(SameWhite(c->whitePoint, kBlue)) << "stored for later";
}

TEST(ChangeWhite, OtherActiveMethodsTakeNone) {
    const HostScope host;
    const Nowhere nowhere;
    ClrParams params = MakeParams(1, 1);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    for (const uint32_t method : {16U, 0U, 3U, 32U, 0x80000002U}) {
        ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, method));
        EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kBlue));
        ClrParams change = ChangeOf(CLRPARAM_WHITE_POINT);
        EXPECT_EQ(CLR_SUCCESS, Change(c, change));
        change.whitePoint = nowhere.As<ClrWhitePoint>();
        EXPECT_EQ(CLR_SUCCESS, Change(c, change));
        EXPECT_EQ(50U, c->whitePoint->whiteCode) << method;
    }
}

// --- The record -----------------------------------------------------------------------------------------------------

TEST(ChangeWhite, RefusedRecordsChangeNothing) {
    const HostScope host;
    const GuardedBuffer shorter(sizeof(ClrWhitePoint) - 1);
    MemoryProfile profile(GammaProfile(0x0200));
    for (const uint32_t method : {1U, 2U, 4U, 8U}) {
        ClrParams params = CustomParams(&profile, &profile);
        params.methods = params.activeMethod = method;
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        const Bytes before = FieldsOf(c);
        ClrParams change = ChangeOf(CLRPARAM_WHITE_POINT);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change)) << method;
        change.whitePoint = reinterpret_cast<ClrWhitePoint*>(shorter.Data());
        EXPECT_EQ(ERR_BAD_POINTER, Change(c, change)) << method;
        EXPECT_EQ(before, FieldsOf(c)) << "the transform stays, method " << method;
        EXPECT_EQ(50U, c->whitePoint->whiteCode);
    }
}

TEST(ChangeWhite, RecordsAreCopiedFromAnyAddress) {
    const HostScope host;
    uint8_t room[32];
    ClrParams change = ChangeOf(CLRPARAM_WHITE_POINT);
    change.whitePoint = PlaceAt(room + 5, kDaylight);
    const Converter c(CLRSPACE_RGB, CLRSPACE_HSV);
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    std::fill(std::begin(room), std::end(room), uint8_t{0});
    EXPECT_TRUE(SameWhite(c->whitePoint, kDaylight));
}

TEST(ChangeWhite, ConverterWithoutARecordTakesANewOne) {
    const HostScope host;
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    const size_t blocks = host.Leaked();
    ASSERT_EQ(nullptr, c->whitePoint);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kBlue));
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kDaylight));
    EXPECT_TRUE(SameWhite(c->whitePoint, kDaylight));
    EXPECT_EQ(blocks + 1, host.Leaked());
}

TEST(ChangeWhite, CopyingConverterHasNoMethodThatTakesOne) {
    const HostScope host;
    const Converter c(CLRSPACE_LAB, CLRSPACE_LAB);
    EXPECT_EQ(0U, c->activeMethod);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kBlue));
    EXPECT_EQ(nullptr, c->whitePoint);
}

// --- The library's own profiles -------------------------------------------------------------------------------------

TEST(ChangeWhite, BuiltinProfilesAreConnectedAgain) {
    const HostScope host;
    ClrParams params = MakeParams(2, 2);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    const size_t blocks = host.Leaked();
    const Bytes fifty = ConvertSample(c.Get()), daylight = Fresh(0, 7, 2, {65, 0, 0});
    ASSERT_NE(fifty, daylight);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kDaylight));
    EXPECT_EQ(daylight, ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kBlue));
    EXPECT_EQ(Fresh(0, 7, 2, kBlue), ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, {50, 0.4, 0.4}));
    EXPECT_EQ(fifty, ConvertSample(c.Get()));
    EXPECT_EQ(blocks, host.Leaked()) << "the transform before it is released";
}

TEST(ChangeWhite, InksOfBothWays) {
    const HostScope host;
    ClrParams params = MakeParams(2, 2);
    const Converter toInks(CLRSPACE_BGR, CLRSPACE_CMYK, &params);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(toInks, kBlue));
    EXPECT_EQ(Fresh(12, 2, 2, kBlue), ConvertSample(toInks.Get()));
    const Converter fromYcck(CLRSPACE_YCCK, CLRSPACE_RGB, &params);
    const Bytes before = ConvertSample(fromYcck.Get());
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(fromYcck, kDaylight));
    EXPECT_EQ(before, ConvertSample(fromYcck.Get())) << "no white shows on this way";
}

/// The ids stand in the place of the formats, and no profile is there for them.
TEST(ChangeWhite, TwoStepsThroughTheHubHaveNoTransform) {
    const HostScope host;
    ClrParams params = MakeParams(1 | 2 | 4, 1);
    for (const auto& [source, destination] : {std::pair(2, 1), std::pair(2, 6), std::pair(6, 1), std::pair(1, 3)}) {
        SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
        const Converter c(source, destination, &params);
        const size_t blocks = host.Leaked();
        const Bytes before = ConvertSample(c.Get());
        for (const uint32_t method : {1U, 2U, 4U}) {
            ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, method));
            for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
                EXPECT_EQ(method == 2 ? ERR_PROFILE_LOAD : CLR_SUCCESS, ChangeWhite(c, white));
                EXPECT_TRUE(SameWhite(c->whitePoint, white)) << "taken over in any case";
            }
            EXPECT_EQ(nullptr, c->iccTransform);
            EXPECT_EQ(nullptr, c->customTransform);
            EXPECT_EQ(before, ConvertSample(c.Get()));
        }
        EXPECT_EQ(blocks, host.Leaked());
    }
}

TEST(ChangeWhite, RefusedTransformEndsTheChange) {
    const HostScope host;
    ClrParams params = MakeParams(2, 2);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_YUV, &params);
    ClrWhitePoint white = kBlue;
    ClrParams change = ChangeOf(CLRPARAM_WHITE_POINT | CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE);
    change.whitePoint = &white;
    SetName(change.inputProfileName, {ZvChar{'i'}});
    SetName(change.emulationTableName, {ZvChar{'t'}});
    EXPECT_EQ(ERR_PROFILE_LOAD, Change(c, change));
    EXPECT_EQ(0, c->inputProfileName[0]);
    EXPECT_EQ(0, c->emulationTableName[0]);
}

TEST(ChangeWhite, TwoHubsHaveATransformOnlyWithFormats) {
    const HostScope host;
    ClrParams icc = MakeParams(2, 2);
    for (const auto& [source, destination] : {std::pair(0, 12), std::pair(12, 0)}) {
        const Converter none(source, destination, &icc);
        const size_t blocks = host.Leaked();
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(ERR_PROFILE_LOAD, ChangeWhite(none, kBlue));
            EXPECT_EQ(nullptr, none->iccTransform);
            EXPECT_TRUE(SameWhite(none->whitePoint, kBlue));
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ChangeWhite(none, kDaylight)) << "both formats are none";
            EXPECT_EQ(nullptr, none->iccTransform);
            EXPECT_TRUE(SameWhite(none->whitePoint, kDaylight));
        }
        const Converted out = ConvertPixels(none, Bytes(12), 4);
        EXPECT_EQ(ERR_INVALID_PARAMETER, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels));
        EXPECT_EQ(blocks, host.Leaked());
    }

    // The formats of the caller's profiles serve the built-in ones too.
    MemoryProfile profile(GammaProfile(0x0200));
    ClrParams both = CustomParams(&profile, &profile);
    both.methods = 2 | 4;
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &both);
    ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, 2));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(c, Bytes(12), 4).result);
    EXPECT_EQ(CLR_SUCCESS, ChangeWhite(c, kDaylight));
    ASSERT_NE(nullptr, c->iccTransform);
    EXPECT_EQ((Bytes{0, 0, 255, 255, 255, 255}), ConvertRow(c.Get(), {255, 0, 0, 255, 255, 255}));
}

// --- The caller's profiles ------------------------------------------------------------------------------------------

class ChangeWhiteOfProfiles : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    MemoryProfile lab_{LutProfile("Lab ", "Lab ", 16, 2).Build()};
    const Bytes linearToSteep_ = SampleThrough(0, 12, CustomParams(&linear_, &steep_));
    const Bytes steepToLinear_ = SampleThrough(0, 12, CustomParams(&steep_, &linear_));

    ClrWhitePoint white_ = kBlue;

    static void SetOwnName(ZvChar (&field)[kConverterNameLength], const Wide& name) {
        ASSERT_LT(name.size(), size_t{kConverterNameLength});
        std::copy_n(name.c_str(), name.size() + 1, field);
    }
    /// Good until the next one.
    ClrParams WhiteChange(const ClrWhitePoint& white) {
        white_ = white;
        ClrParams params = ChangeOf(CLRPARAM_WHITE_POINT);
        params.whitePoint = &white_;
        return params;
    }
};

TEST_F(ChangeWhiteOfProfiles, ConvertsAsAConverterOfThatWhite) {
    ClrParams params = CustomParams(&linear_, &lab_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    const size_t blocks = host_.Leaked();
    const Bytes fifty = ConvertSample(c.Get());
    for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
        ClrParams change = WhiteChange(white), created = params;
        change.inputProfileMemory = &linear_.record;
        change.outputProfileMemory = &lab_.record;
        EXPECT_EQ(CLR_SUCCESS, Change(c, change));
        created.whitePoint = change.whitePoint;
        const Bytes expected = SampleThrough(CLRSPACE_RGB, CLRSPACE_LAB, created);
        EXPECT_NE(fifty, expected);
        EXPECT_EQ(expected, ConvertSample(c.Get()));
    }
    EXPECT_EQ(blocks, host_.Leaked());
}

TEST_F(ChangeWhiteOfProfiles, FilesAreOpenedAgainByTheConvertersNames) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes), steep = folder_.Write("steep.icc", steep_.bytes);
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linear);
    SetName(params.outputProfileName, steep);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
        ClrParams change = WhiteChange(white);
        SetName(change.inputProfileName, steep);  // nobody asked for these
        SetName(change.outputProfileName, linear);
        EXPECT_EQ(CLR_SUCCESS, Change(c, change));
        EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
        EXPECT_EQ(linear, NameOf(c->inputProfileName));
    }
    // A converter's name that leads nowhere makes no transform, which is no failure.
    SetOwnName(c->outputProfileName, WideOf(folder_.Path() / "missing.icc"));
    EXPECT_EQ(CLR_SUCCESS, Change(c, WhiteChange(kBlue)));
    EXPECT_EQ(nullptr, c->customTransform);
    SetOwnName(c->outputProfileName, steep);
    EXPECT_EQ(CLR_SUCCESS, Change(c, WhiteChange(kBlue)));
    EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
}

TEST_F(ChangeWhiteOfProfiles, NewNamesAreTakenBetween) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes), steep = folder_.Write("steep.icc", steep_.bytes);
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, linear);
    SetName(params.outputProfileName, steep);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrParams change = WhiteChange(kBlue);
    change.methods |= CLRPARAM_PROFILES;
    SetName(change.inputProfileName, steep);
    SetName(change.outputProfileName, linear);
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(steepToLinear_, ConvertSample(c.Get()));
    EXPECT_EQ(steep, NameOf(c->inputProfileName));
    EXPECT_EQ(linear, NameOf(c->outputProfileName));

    // A replacement without an output profile is refused, and the step of the names never reached.
    change = WhiteChange(kDaylight);
    change.methods |= CLRPARAM_PROFILES;
    change.activeMethod = CLRMETHOD_CUSTOM_ICC;
    SetName(change.inputProfileName, linear);
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Change(c, change));
    EXPECT_EQ(linear, NameOf(c->inputProfileName));
    EXPECT_EQ(0, c->outputProfileName[0]);

    // A white that fails by the new names has taken them.
    const Wide none = folder_.Write("none.icc", Bytes(200));
    change.activeMethod = 0;
    SetName(change.inputProfileName, none);
    EXPECT_EQ(ERR_PROFILE_LOAD, Change(c, change));
    EXPECT_EQ(none, NameOf(c->inputProfileName));
    EXPECT_EQ(nullptr, c->customTransform);
}

/// The input's size by a code comes from the copy, all others from the caller's record.
TEST_F(ChangeWhiteOfProfiles, SizesComeFromTheCallersRecords) {
    for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
        ClrParams params = CustomParams(&linear_, &steep_);
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        const Bytes before = FieldsOf(c);
        ClrParams change = WhiteChange(white);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change)) << "neither";
        change.inputProfileMemory = &linear_.record;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change)) << "no output";
        EXPECT_EQ(before, FieldsOf(c)) << "nothing was released";
        EXPECT_EQ(50U, c->whitePoint->whiteCode);
        EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
        change.inputProfileMemory = nullptr;
        change.outputProfileMemory = &steep_.record;
        EXPECT_EQ(white.whiteCode != 0 ? CLR_SUCCESS : ERR_INVALID_PARAMETER, Change(c, change)) << "no input";
        EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
        change.inputProfileMemory = &linear_.record;
        EXPECT_EQ(CLR_SUCCESS, Change(c, change)) << "both";
        EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
    }
}

TEST_F(ChangeWhiteOfProfiles, RecordsThatCannotBeReadReleaseNothing) {
    const Nowhere nowhere;
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const Bytes before = FieldsOf(c);
    ClrParams change = WhiteChange(kBlue);
    change.inputProfileMemory = &linear_.record;
    change.outputProfileMemory = nowhere.As<ClrProfileMemory>();
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
    change = WhiteChange(kDaylight);
    change.inputProfileMemory = nowhere.As<ClrProfileMemory>();
    change.outputProfileMemory = &steep_.record;
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
    EXPECT_EQ(before, FieldsOf(c));
    EXPECT_EQ(50U, c->whitePoint->whiteCode);
    EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
}

/// Nothing but the size of the caller's record is looked at, and it is never more than the copy has.
TEST_F(ChangeWhiteOfProfiles, TooLargeASizeReadsNoFurtherThanTheCopy) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const GuardedBuffer input(linear_.bytes.size()), output(steep_.bytes.size());
    Put(input, linear_.bytes);
    Put(output, steep_.bytes);
    void* const ownInput = c->inputProfileMemory->data;
    void* const ownOutput = c->outputProfileMemory->data;
    c->inputProfileMemory->data = input.Data();
    c->outputProfileMemory->data = output.Data();
    for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
        for (const uint64_t size : {uint64_t{100000}, uint64_t{UINT32_MAX}, uint64_t{linear_.bytes.size() + 1}}) {
            ClrProfileMemory larger{0, nullptr, size};
            ClrParams change = WhiteChange(white);
            change.inputProfileMemory = change.outputProfileMemory = &larger;
            EXPECT_EQ(CLR_SUCCESS, Change(c, change)) << size;
            EXPECT_EQ(linearToSteep_, ConvertSample(c.Get())) << size;
        }
    }
    c->inputProfileMemory->data = ownInput;
    c->outputProfileMemory->data = ownOutput;
}

TEST_F(ChangeWhiteOfProfiles, SmallerSizesCutTheProfile) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    // A directory that is cut off is no profile; tags that are cut off make no transform.
    const auto expectNoProfile = [](int32_t result) {
        EXPECT_TRUE(result == ERR_PROFILE_LOAD || result == CLR_SUCCESS) << result;
    };
    ClrProfileMemory input = linear_.record, output = steep_.record;
    for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
        for (const uint64_t size : {1U, 4U, 127U, 131U, 140U}) {
            ClrParams change = WhiteChange(white);
            change.inputProfileMemory = &input;
            change.outputProfileMemory = &output;
            input.dataSize = linear_.bytes.size();
            output.dataSize = size;
            expectNoProfile(Change(c, change));
            EXPECT_EQ(nullptr, c->customTransform) << size;
            EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(c, Bytes(12), 4).result);
            input.dataSize = size;
            output.dataSize = steep_.bytes.size();
            expectNoProfile(Change(c, change));
            // By a code the input's own size counts.
            EXPECT_EQ(white.whiteCode != 0, c->customTransform != nullptr) << size;
        }
    }
}

TEST_F(ChangeWhiteOfProfiles, SizesAreTakenByTheirLow32Bits) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrProfileMemory output = steep_.record;
    ClrParams change = WhiteChange(kBlue);
    change.outputProfileMemory = &output;
    for (const uint64_t size : {uint64_t{0}, uint64_t{1} << 32, uint64_t{7} << 40}) {
        output.dataSize = size;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, change)) << size;
        EXPECT_EQ(nullptr, c->customTransform);
        EXPECT_TRUE(SameWhite(c->whitePoint, kBlue));
    }
    output.dataSize = (uint64_t{1} << 32) + steep_.bytes.size();
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
}

TEST_F(ChangeWhiteOfProfiles, OneSideInMemoryAsksForThatSideOnly) {
    const Nowhere nowhere;
    ClrParams params = CustomParams(&linear_, nullptr);
    SetName(params.outputProfileName, folder_.Write("steep.icc", steep_.bytes));
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrParams change = WhiteChange(kBlue);
    nowhere.Fill(change);
    ClrWhitePoint white = kBlue;
    change.whitePoint = &white;
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    white = kDaylight;
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, change));
    change.inputProfileMemory = &linear_.record;
    EXPECT_EQ(CLR_SUCCESS, Change(c, change));
    EXPECT_EQ(linearToSteep_, ConvertSample(c.Get()));
}

/// A white by its chromaticities makes no transform between equal formats, one by its code does.
TEST_F(ChangeWhiteOfProfiles, EqualFormatsTakeACodeOnly) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_RGB, &params);
    const Bytes before = ConvertSample(c.Get());
    ClrParams change = WhiteChange(kDaylight);
    change.inputProfileMemory = &linear_.record;
    change.outputProfileMemory = &steep_.record;
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Change(c, change));
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_TRUE(SameWhite(c->whitePoint, kDaylight));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(c, Bytes(12), 4).result);
    ClrParams healing = WhiteChange(kBlue);
    healing.outputProfileMemory = &steep_.record;
    EXPECT_EQ(CLR_SUCCESS, Change(c, healing));
    EXPECT_EQ(before, ConvertSample(c.Get()));
}

TEST_F(ChangeWhiteOfProfiles, MethodWithoutProfilesHasNone) {
    ClrParams params = MakeParams(1 | 4, 4);
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMY, &params);
    EXPECT_EQ(CLR_SUCCESS, Change(c, WhiteChange(kBlue)));
    EXPECT_TRUE(SameWhite(c->whitePoint, kBlue));
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Change(c, WhiteChange(kDaylight))) << "both formats are none";
    EXPECT_TRUE(SameWhite(c->whitePoint, kDaylight));
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(c, Bytes(12), 4).result);
}

/// The names come into a converter that has no formats for them.
TEST_F(ChangeWhiteOfProfiles, WithoutFormatsProfilesMakeNoTransform) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes), steep = folder_.Write("steep.icc", steep_.bytes),
               none = folder_.Write("none.icc", Bytes(200));
    ClrParams params = MakeParams(1 | 4, 4);
    const Converter oneStep(CLRSPACE_RGB, CLRSPACE_YUV, &params), twoSteps(CLRSPACE_CMYK, CLRSPACE_YUV, &params);
    const size_t blocks = host_.Leaked();
    const struct {
        Wide input;
        Wide output;
        int32_t result;
    } cases[] = {{linear, steep, CLR_SUCCESS},     {linear, WideOf(folder_.Path() / "missing.icc"), CLR_SUCCESS},
                 {{}, steep, CLR_SUCCESS},         {none, steep, ERR_PROFILE_LOAD},
                 {linear, none, ERR_PROFILE_LOAD}, {linear, {}, ERR_PROFILE_LOAD}};
    for (const auto& names : cases) {
        for (const ClrWhitePoint& white : {kBlue, kDaylight}) {
            ClrParams change = WhiteChange(white);
            change.methods |= CLRPARAM_PROFILES;
            SetName(change.inputProfileName, names.input);
            SetName(change.outputProfileName, names.output);
            // Two formats that are none are equal ones, and have no white by its chromaticities.
            EXPECT_EQ(white.whiteCode == 0 ? int32_t{ERR_COLORSPACE_UNSUPPORTED} : names.result,
                      Change(oneStep, change));
            EXPECT_EQ(names.result, Change(twoSteps, change));
            for (const Converter* c : {&oneStep, &twoSteps}) {
                EXPECT_EQ(nullptr, (*c)->customTransform);
                EXPECT_EQ(names.output, NameOf((*c)->outputProfileName));
            }
        }
    }
    EXPECT_EQ(blocks, host_.Leaked());
}

}  // namespace
}  // namespace zv::test
