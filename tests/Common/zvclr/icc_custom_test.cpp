// CLRMETHOD_CUSTOM_ICC: where the two profiles come from, what is refused, and what the converter keeps.
#include "tests/Common/zvclr/icc_fixture.h"

namespace zv::test {
namespace {

/// Two RGB profiles between the hubs make a transform without a grid, so these tests are quick.
class CustomProfiles : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    MemoryProfile exchanged_{ExchangedProfile()};
    const Wide missing_ = WideOf(folder_.Path() / "missing.icc");

    static Bytes Through(const ClrParams& params) { return SampleThrough(CLRSPACE_RGB, CLRSPACE_BGR, params); }
    Bytes ThroughMemory(MemoryProfile& input, MemoryProfile& output) { return Through(CustomParams(&input, &output)); }
    static ClrParams Named(const Wide& input, const Wide& output) {
        ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
        SetName(params.inputProfileName, input);
        SetName(params.outputProfileName, output);
        return params;
    }
    /// What the library's own RGB profile gives as output.
    Bytes ThroughBuiltinOutput(MemoryProfile& input) {
        const ClrResource resource = FindClrResource(ZV_WIDE("ICM"), 105);
        MemoryProfile builtin(Bytes(resource.data, resource.data + resource.size));
        return ThroughMemory(input, builtin);
    }
    static void ExpectRefused(int32_t code, ClrParams params, int32_t source = CLRSPACE_RGB,
                              int32_t destination = CLRSPACE_BGR) {
        const int32_t registered = RegisteredCount();
        const size_t blocks = RecordingHost::Get().LiveCount();
        EXPECT_EQ(code, FailingInit(source, destination, &params));
        EXPECT_EQ(registered, RegisteredCount());
        EXPECT_EQ(blocks, RecordingHost::Get().LiveCount());
    }
    /// A name of exactly so many characters for a file in the folder.
    Wide LongName(const std::string& file, size_t length) const {
        const Wide end = WideOf(std::filesystem::path(file));
        Wide name = WideOf(folder_.Path());
        name.push_back(ZvChar{'/'});
        EXPECT_LT(name.size() + end.size(), length) << "the folder's own name is too long";
        if ((length - name.size() - end.size()) % 2 != 0) name.push_back(ZvChar{'/'});
        while (name.size() + end.size() < length) {
            name.push_back(ZvChar{'.'});
            name.push_back(ZvChar{'/'});
        }
        return name + end;
    }
};

// --- Sources --------------------------------------------------------------------------------------------------------

TEST_F(CustomProfiles, BothSidesAreUsed) {
    const Bytes linearToSteep = ThroughMemory(linear_, steep_);
    EXPECT_NE(linearToSteep, ThroughMemory(steep_, steep_));
    EXPECT_NE(linearToSteep, ThroughMemory(steep_, linear_));
    EXPECT_NE(linearToSteep, ThroughMemory(linear_, linear_));
    EXPECT_NE(linearToSteep, ThroughMemory(linear_, exchanged_));
}

TEST_F(CustomProfiles, FilesGiveTheBytesOfMemory) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes), steep = folder_.Write("steep.icc", steep_.bytes);
    const Bytes expected = ThroughMemory(linear_, steep_);
    EXPECT_EQ(expected, Through(Named(linear, steep)));
    EXPECT_NE(expected, Through(Named(steep, linear)));

    ClrParams mixed = CustomParams(&linear_, nullptr);
    SetName(mixed.outputProfileName, steep);
    EXPECT_EQ(expected, Through(mixed));
    mixed = CustomParams(nullptr, &steep_);
    SetName(mixed.inputProfileName, linear);
    EXPECT_EQ(expected, Through(mixed));
}

TEST_F(CustomProfiles, NamesBeyondTheSmallAlphabet) {
    const std::u16string name = u"\u00fc\u00df\u65e5\u672c \U0001F3A8.icc";
    const std::filesystem::path path = folder_.Path() / std::filesystem::path(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(linear_.bytes.data()), static_cast<std::streamsize>(linear_.bytes.size()));
    ClrParams params = CustomParams(nullptr, &steep_);
    SetName(params.inputProfileName, WideOf(path));
    EXPECT_EQ(ThroughMemory(linear_, steep_), Through(params));
}

TEST_F(CustomProfiles, MemoryGoesBeforeTheNameOnEachSide) {
    const Wide exchanged = folder_.Write("exchanged.icc", exchanged_.bytes);
    ClrParams params = CustomParams(&linear_, &steep_);
    const Bytes expected = Through(params);
    SetName(params.inputProfileName, exchanged);
    SetName(params.outputProfileName, exchanged);
    EXPECT_EQ(expected, Through(params));
    // Nor is the name looked at.
    SetName(params.inputProfileName, missing_);
    SetName(params.outputProfileName, Wide(264, ZvChar{'x'}));
    EXPECT_EQ(expected, Through(params));
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(0, c->inputProfileName[0]);
    EXPECT_EQ(0, c->outputProfileName[0]);
}

TEST_F(CustomProfiles, MissingOutputFileStandsForTheBuiltinProfile) {
    const Bytes expected = ThroughBuiltinOutput(steep_);
    ClrParams params = CustomParams(&steep_, nullptr);
    SetName(params.outputProfileName, missing_);
    EXPECT_EQ(expected, Through(params));
    SetName(params.outputProfileName, Wide(263, ZvChar{'x'}));
    EXPECT_EQ(expected, Through(params)) << "its length matters only for a file that exists";
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    EXPECT_EQ(0, c->outputProfileName[0]) << "the name is not in use";
    EXPECT_EQ(nullptr, c->outputProfileMemory);
    SetName(params.outputProfileName, Wide(264, ZvChar{'x'}));
    ExpectRefused(ERR_FILE_NOT_FOUND, params);  // a name without an end cannot be looked up
}

TEST_F(CustomProfiles, InputAloneBuildsNothing) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes);
    ClrParams inMemory = CustomParams(&linear_, nullptr), byName = Named(linear, {});
    for (ClrParams* params : {&inMemory, &byName}) {
        const Converter c(CLRSPACE_CMY, CLRSPACE_BGR, params);
        EXPECT_EQ(nullptr, c->customTransform);
        EXPECT_EQ(nullptr, c->inputProfileMemory);
        EXPECT_EQ(0, c->inputProfileName[0]);
        EXPECT_EQ(0U, c->sourceFormat);
        const Bytes picture = RandomBytes(12, 3);
        Bytes out(12, 0xCD);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 2, 2, 0, 0));
        EXPECT_EQ(Bytes(12, 0xCD), out);
    }
}

TEST_F(CustomProfiles, TwoStepsThroughTheHubBuildNothing) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_CMY, CLRSPACE_LAB, &params);
    EXPECT_EQ(2U, c->route);
    EXPECT_EQ(nullptr, c->customTransform);
    EXPECT_EQ(nullptr, c->inputProfileMemory);
    EXPECT_EQ(6U, c->sourceFormat);
    EXPECT_EQ(7U, c->destinationFormat);
}

// --- Refusals -------------------------------------------------------------------------------------------------------

TEST_F(CustomProfiles, StepWithoutConverterOrRecord) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrBuildCustomTransform(nullptr, 0, 12, &params));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrBuildCustomTransform(c.Get(), 0, 12, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrBuildCustomTransform(nullptr, 0, 12, nullptr));
    EXPECT_EQ(nullptr, c->customTransform);
}

TEST_F(CustomProfiles, RecordsThatCannotBeRead) {
    GuardedBuffer page(sizeof(ClrProfileMemory));
    auto* const placed = PlaceAt(page.Data(), linear_.record);
    ClrParams input = CustomParams(&linear_, &steep_), output = input;
    input.inputProfileMemory = placed;
    output.outputProfileMemory = placed;
    EXPECT_EQ(ThroughMemory(linear_, steep_), Through(input));
    page.MakeUnreadable();
    ExpectRefused(ERR_INVALID_PARAMETER, input);
    ExpectRefused(ERR_INVALID_PARAMETER, output);

    const GuardedBuffer shorter(sizeof(ClrProfileMemory) - 1);
    input.inputProfileMemory = output.outputProfileMemory = reinterpret_cast<ClrProfileMemory*>(shorter.Data());
    ExpectRefused(ERR_INVALID_PARAMETER, input);
    ExpectRefused(ERR_INVALID_PARAMETER, output);
}

TEST_F(CustomProfiles, DataThatIsEmptyOrCannotBeRead) {
    const GuardedBuffer exact(steep_.bytes.size());
    Put(exact, steep_.bytes);
    for (const bool onInput : {true, false}) {
        MemoryProfile bad(steep_.bytes);
        const ClrParams params = onInput ? CustomParams(&bad, &linear_) : CustomParams(&linear_, &bad);
        bad.record.dataSize = 0;
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.dataSize = bad.bytes.size();
        bad.record.data = nullptr;
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.data = exact.Data() + exact.Size();
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.data = exact.Data() + 1;
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.data = exact.Data();
        bad.record.dataSize = (uint64_t{1} << 32) + exact.Size();
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.dataSize = UINT64_MAX;
        ExpectRefused(ERR_INVALID_PARAMETER, params);
        bad.record.dataSize = exact.Size();
        EXPECT_EQ(onInput ? ThroughMemory(steep_, linear_) : ThroughMemory(linear_, steep_), Through(params));
    }
}

TEST_F(CustomProfiles, RecordsAtOddAddressesOfAnyStatedSize) {
    const Bytes expected = ThroughMemory(linear_, steep_);
    std::vector<uint8_t> room(64);
    ClrParams params = CustomParams(&linear_, &steep_);
    linear_.record.size = 7;
    params.inputProfileMemory = PlaceAt(room.data() + 1, linear_.record);
    params.outputProfileMemory = PlaceAt(room.data() + 35, steep_.record);
    EXPECT_EQ(expected, Through(params));
}

TEST_F(CustomProfiles, InputFileIsAskedFor) {
    ClrParams params = CustomParams(nullptr, &steep_);
    ExpectRefused(ERR_FILE_NOT_FOUND, params);
    SetName(params.inputProfileName, missing_);
    ExpectRefused(ERR_FILE_NOT_FOUND, params);
    SetName(params.inputProfileName, WideOf(folder_.Path() / "no folder" / "a.icc"));
    ExpectRefused(ERR_FILE_NOT_FOUND, params);
}

TEST_F(CustomProfiles, InputGoesBeforeOutput) {
    MemoryProfile empty(steep_.bytes);
    empty.record.dataSize = 0;
    ClrParams params = CustomParams(nullptr, &empty);
    SetName(params.inputProfileName, missing_);
    ExpectRefused(ERR_FILE_NOT_FOUND, params);
}

TEST_F(CustomProfiles, NamesOf259CharactersAreTheLongest) {
    const std::string file = "a.icc";
    folder_.Write(file, linear_.bytes);
    const Bytes expected = ThroughMemory(linear_, steep_), asOutput = ThroughMemory(steep_, linear_);
    ClrParams input = CustomParams(nullptr, &steep_), output = CustomParams(&steep_, nullptr);
    {
        const Wide name = LongName(file, 259);
        SetName(input.inputProfileName, name);
        SetName(output.outputProfileName, name);
        EXPECT_EQ(expected, Through(input));
        EXPECT_EQ(asOutput, Through(output));
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &input);
        EXPECT_EQ(name, Wide(c->inputProfileName));
    }
    for (const size_t length : {260U, 263U, 264U}) {
        const Wide name = LongName(file, length);
        SetName(input.inputProfileName, name);
        ExpectRefused(ERR_FILE_NOT_FOUND, input);
        SetName(output.outputProfileName, name);
#ifdef __linux__
        EXPECT_EQ(1, ClrFileExists(name.c_str()));
#endif
        if (length == 264 || ClrFileExists(name.c_str()) != 0) {
            ExpectRefused(ERR_FILE_NOT_FOUND, output);
        } else {
            EXPECT_EQ(ThroughBuiltinOutput(steep_), Through(output));
        }
    }
}

TEST_F(CustomProfiles, FoldersAreNoProfiles) {
    ClrParams input = CustomParams(nullptr, &steep_), output = CustomParams(&steep_, nullptr);
    SetName(input.inputProfileName, WideOf(folder_.Path()));
    SetName(output.outputProfileName, WideOf(folder_.Path()));
    ExpectRefused(ERR_PROFILE_LOAD, input);
    ExpectRefused(ERR_PROFILE_LOAD, output);
}

TEST_F(CustomProfiles, WildcardsNameNoProfile) {
    folder_.Write("a.icc", linear_.bytes);
    const Wide pattern =
        WideOf(folder_.Path()) + Wide({ZvChar{'/'}, ZvChar{'*'}, ZvChar{'.'}, ZvChar{'i'}, ZvChar{'c'}, ZvChar{'c'}});
    // Some systems find a file by a pattern; none opens one.
    const bool matches = ClrFileExists(pattern.c_str()) != 0;
    ClrParams input = CustomParams(nullptr, &steep_), output = CustomParams(&steep_, nullptr);
    SetName(input.inputProfileName, pattern);
    ExpectRefused(matches ? ERR_PROFILE_LOAD : ERR_FILE_NOT_FOUND, input);
    SetName(output.outputProfileName, pattern);
    if (matches) {
        ExpectRefused(ERR_PROFILE_LOAD, output);
    } else {
        EXPECT_EQ(ThroughBuiltinOutput(steep_), Through(output));
    }
}

TEST_F(CustomProfiles, WhatIsNoProfileFailsToLoad) {
    MemoryProfile noise(RandomBytes(500, 4)), tiny(Bytes{'x'});
    const Wide file = folder_.Write("noise.icc", noise.bytes), empty = folder_.Write("empty.icc", {});
    ExpectRefused(ERR_PROFILE_LOAD, CustomParams(&noise, &steep_));
    ExpectRefused(ERR_PROFILE_LOAD, CustomParams(&steep_, &noise));
    ExpectRefused(ERR_PROFILE_LOAD, CustomParams(&tiny, &steep_));
    ExpectRefused(ERR_PROFILE_LOAD, CustomParams(&steep_, &tiny));
    for (const Wide& name : {file, empty}) {
        ClrParams input = CustomParams(nullptr, &steep_), output = CustomParams(&steep_, nullptr);
        SetName(input.inputProfileName, name);
        SetName(output.outputProfileName, name);
        ExpectRefused(ERR_PROFILE_LOAD, input);
        ExpectRefused(ERR_PROFILE_LOAD, output);
    }
}

TEST_F(CustomProfiles, ProfileOfAnotherSpaceDoesNotFit) {
    MemoryProfile cmyk(LutProfile("CMYK", "Lab ", 16, 2).Build());
    ExpectRefused(ERR_TRANSFORM_CREATE, CustomParams(&cmyk, &steep_), CLRSPACE_RGB, CLRSPACE_BGR);
    ExpectRefused(ERR_TRANSFORM_CREATE, CustomParams(&steep_, &cmyk), CLRSPACE_BGR, CLRSPACE_RGB);
    ExpectRefused(ERR_TRANSFORM_CREATE, CustomParams(&steep_, &cmyk), CLRSPACE_CMYK, CLRSPACE_RGB);
}

TEST_F(CustomProfiles, RefusalReleasesTheBuiltinTransformToo) {
    ClrParams params = CustomParams(nullptr, &steep_);
    params.methods |= CLRMETHOD_ICC;
    ExpectRefused(ERR_FILE_NOT_FOUND, params, CLRSPACE_CMYK, CLRSPACE_RGB);
    params.inputProfileMemory = &steep_.record;
    ExpectRefused(ERR_TRANSFORM_CREATE, params, CLRSPACE_CMYK, CLRSPACE_RGB);
}

// --- What the converter keeps ---------------------------------------------------------------------------------------

TEST_F(CustomProfiles, CopiesBelongToTheConverter) {
    ClrParams params = CustomParams(&linear_, &steep_);
    linear_.record.size = 99;
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const struct {
        const ClrProfileMemory* copy;
        const MemoryProfile& original;
    } sides[] = {{c->inputProfileMemory, linear_}, {c->outputProfileMemory, steep_}};
    for (const auto& side : sides) {
        ASSERT_NE(nullptr, side.copy);
        EXPECT_NE(&side.original.record, side.copy);
        EXPECT_EQ(20U, uint32_t{side.copy->size});
        EXPECT_EQ(side.original.bytes.size(), uint64_t{side.copy->dataSize});
        void* const data = side.copy->data;
        EXPECT_NE(static_cast<const void*>(side.original.bytes.data()), data);
        EXPECT_EQ(0, std::memcmp(side.original.bytes.data(), data, side.original.bytes.size()));
    }
    EXPECT_EQ(uint32_t{CMMFORMAT_RGB_8}, c->sourceFormat);
    EXPECT_EQ(uint32_t{CMMFORMAT_BGR_8}, c->destinationFormat);
    EXPECT_EQ(nullptr, c->iccTransform);
}

TEST_F(CustomProfiles, CallersProfilesMayGoAtOnce) {
    const Bytes expected = ThroughMemory(linear_, steep_);
    GuardedBuffer blocks(linear_.bytes.size() + steep_.bytes.size() + 2 * sizeof(ClrProfileMemory));
    uint8_t* at = blocks.Data();
    ClrParams params = CustomParams(nullptr, nullptr);
    for (MemoryProfile* profile : {&linear_, &steep_}) {
        ClrProfileMemory record = profile->record;
        record.data = PlaceAt(at + sizeof record, uint8_t{0});
        std::memcpy(at + sizeof record, profile->bytes.data(), profile->bytes.size());
        (profile == &linear_ ? params.inputProfileMemory : params.outputProfileMemory) = PlaceAt(at, record);
        at += sizeof record + profile->bytes.size();
    }
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    blocks.MakeUnreadable();
    EXPECT_EQ(expected, ConvertSample(c.Get()));
}

TEST_F(CustomProfiles, FilesMayGoAtOnce) {
    const Wide linear = folder_.Write("linear.icc", linear_.bytes), steep = folder_.Write("steep.icc", steep_.bytes);
    ClrParams params = Named(linear, steep);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    params = ClrParams{};
    EXPECT_EQ(linear, Wide(c->inputProfileName));
    EXPECT_EQ(steep, Wide(c->outputProfileName));
    std::error_code removed;
    std::filesystem::remove(std::filesystem::path(linear), removed);
#ifndef _WIN32
    EXPECT_FALSE(removed) << "an open file can go on this system";
#endif
    EXPECT_EQ(ThroughMemory(linear_, steep_), ConvertSample(c.Get()));
}

// --- Pairs ----------------------------------------------------------------------------------------------------------

TEST_F(CustomProfiles, EveryPairWithRgbProfiles) {
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
            const auto needsOther = [](int32_t space) { return space == 2 || space == 6 || space == 7; };
            const auto hasWord = [&](int32_t space) { return IsHub(space) || needsOther(space); };
            ClrParams params = CustomParams(&linear_, &steep_);
            ClrHandle* c = nullptr;
            const int32_t result = Zv_ClrInit(&c, source, destination, &params);
            if (result != CLR_SUCCESS) {
                EXPECT_LT(result, 0);
                EXPECT_EQ(nullptr, c);
                EXPECT_FALSE(IsHub(source) && IsHub(destination));
                const bool twoSteps = source != destination && !IsHub(source) && !IsHub(destination);
                const auto served = [&](int32_t space) {
                    return IsHub(space) || space == 2 || space == 7 || space == 8;
                };
                // What is refused as late as this stays on the list.
                const bool late =
                    served(source) && served(destination) && (twoSteps || !hasWord(source) || !hasWord(destination));
                EXPECT_EQ(late ? ERR_PROFILE_UNUSABLE : ERR_TRANSFORM_CREATE, result);
                EXPECT_EQ(late ? 1 : 0, RegisteredCount());
                ReleaseAllConverters();
                continue;
            }
            ASSERT_NE(nullptr, c);
            const bool hubs = IsHub(source) && IsHub(destination);
            EXPECT_EQ(hubs, c->customTransform != nullptr);
            if (c->route == 1) {
                EXPECT_TRUE(hubs || !hasWord(source) || !hasWord(destination));
            }
            const std::vector<uint8_t> pixels = ValidPixels(source, 8, 4, 0, 3);
            std::vector<uint8_t> out(PaddedBytes(destination, 8, 4, 0), 0xCD);
            const int32_t converted = Zv_ClrConvert(c, pixels.data(), out.data(), 8, 4, 0, 0);
            if (hubs || c->route == 2) {
                EXPECT_EQ(CLR_SUCCESS, converted);
            } else {
                // The two YCCK kernels know no custom profiles.
                const int32_t expected = source == 11        ? 0
                                         : destination == 11 ? int32_t{CLR_SUCCESS}
                                                             : int32_t{ERR_INVALID_PARAMETER};
                EXPECT_EQ(expected, converted);
                EXPECT_EQ(std::vector<uint8_t>(out.size(), 0xCD), out);
            }
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c));
        }
    }
}

TEST_F(CustomProfiles, EqualSpacesGoThroughTheProfilesByCodeAndNotByChromaticities) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Bytes rgb = SampleThrough(CLRSPACE_RGB, CLRSPACE_RGB, params);
    EXPECT_NE(SamplePixels(CLRSPACE_RGB), rgb);
    const Bytes straight = ThroughMemory(linear_, steep_);
    Bytes bgr = straight;
    for (size_t i = 0; i < bgr.size(); i += 3) std::swap(bgr[i], bgr[i + 2]);
    EXPECT_EQ(bgr, rgb);

    ClrWhitePoint white{65, 0.3127, 0.3290};
    params.whitePoint = &white;
    EXPECT_EQ(rgb, SampleThrough(CLRSPACE_RGB, CLRSPACE_RGB, params));
    white.whiteCode = 0;
    ExpectRefused(ERR_COLORSPACE_UNSUPPORTED, params, CLRSPACE_RGB, CLRSPACE_RGB);
    EXPECT_EQ(straight, SampleThrough(CLRSPACE_RGB, CLRSPACE_BGR, params));
}

TEST_F(CustomProfiles, TablesOfFourAndThreeChannels) {
    MemoryProfile cmyk(LutProfile("CMYK", "Lab ", 16, 3).Build()), other(LutProfile("CMYK", "Lab ", 8, 2, 9).Build());
    ClrParams toRgb = CustomParams(&cmyk, &steep_), fromRgb = CustomParams(&steep_, &cmyk);
    ClrParams otherToRgb = CustomParams(&other, &steep_);
    EXPECT_NE(SampleThrough(2, 0, toRgb), SampleThrough(2, 0, otherToRgb));
    EXPECT_NE(SampleThrough(2, 12, toRgb), SampleThrough(2, 0, toRgb));
    const Converter c(CLRSPACE_BGR, CLRSPACE_CMYK, &fromRgb);
    ASSERT_NE(nullptr, c->customTransform);
    ASSERT_NE(nullptr, c->customTransform->gridLut);
    EXPECT_EQ(4U, c->customTransform->gridLut->outputChannels);

    const Converter same(CLRSPACE_CMYK, CLRSPACE_CMYK, &(toRgb = CustomParams(&cmyk, &other)));
    ASSERT_NE(nullptr, same->customTransform);
    EXPECT_NE(SamplePixels(CLRSPACE_CMYK), ConvertSample(same.Get())) << "equal spaces do not copy";
}

TEST_F(CustomProfiles, CmyGoesThroughTheProfilesToo) {
    MemoryProfile cmy(LutProfile("CMY ", "Lab ", 16, 2).Build());
    ClrParams params = CustomParams(&cmy, &steep_);
    const Converter c(CLRSPACE_CMY, CLRSPACE_RGB, &params);
    ASSERT_NE(nullptr, c->customTransform);
    Bytes image(60, 0xCD);
    const Bytes pixels = RandomBytes(45, 6);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), image.data(), 3, 5, 0, 4));
    const Bytes row = ConvertRow(c.Get(), pixels);
    for (size_t y = 0; y < 5; ++y) EXPECT_EQ(0, std::memcmp(row.data() + 9 * y, image.data() + 12 * y, 9)) << y;
}

TEST_F(CustomProfiles, BothMethodsKeepTheirOwnTransforms) {
    MemoryProfile cmyk(LutProfile("CMYK", "Lab ", 16, 3).Build());
    ClrParams params = CustomParams(&cmyk, &steep_);
    params.methods = CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    ASSERT_NE(nullptr, c->iccTransform);
    ASSERT_NE(nullptr, c->customTransform);
    EXPECT_NE(c->iccTransform, c->customTransform);
    EXPECT_EQ(SampleThrough(2, 0, CustomParams(&cmyk, &steep_)), ConvertSample(c.Get()));
    c->activeMethod = CLRMETHOD_ICC;
    EXPECT_EQ(SampleThrough(2, 0, MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC)), ConvertSample(c.Get()));
}

}  // namespace
}  // namespace zv::test
