// Profiles that are wrong: a code, or no transform, or one that works; never a crash or a byte that nobody wrote.
#include "tests/Common/zvclr/hostile_profiles.h"

namespace zv::test {
namespace {

// --- Through the engine ---------------------------------------------------------------------------------------------

class DamagedProfile : public ::testing::TestWithParam<HostileKind> {
protected:
    HostScope host_;
    static size_t MostBytes() { return GetParam().baked ? kBelowEveryGrid : 0; }
};

TEST_P(DamagedProfile, WholeItWorks) {
    const HostileResult result = Try(GetParam(), GetParam().bytes);
    EXPECT_TRUE(result.opened);
    EXPECT_TRUE(result.made);
}

TEST_P(DamagedProfile, CutAtEveryByte) {
    size_t made = 0;
    TruncateEverywhere(GetParam().bytes, 1, [&](const Bytes& damaged, const std::string& what) {
        SCOPED_TRACE(what);
        const HostileResult result = Try(GetParam(), damaged, MostBytes());
        if (damaged.size() < 132) {
            EXPECT_FALSE(result.opened);
        }
        made += result.made ? 1 : 0;
    });
    // Bytes behind what the transform reads may go: other tags, and what fills the last body up.
    EXPECT_LT(made, GetParam().bytes.size() / 2);
}

TEST_P(DamagedProfile, EveryFieldChanged) {
    ChangeEveryField(GetParam().bytes, [&](const Bytes& damaged, const std::string& what) {
        SCOPED_TRACE(what);
        Try(GetParam(), damaged, MostBytes());
    });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedProfile, ::testing::ValuesIn(HostileKinds()),
                         [](const auto& instance) { return std::string(instance.param.name); });

// --- Through a converter --------------------------------------------------------------------------------------------

class HostileCustomProfiles : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    const Bytes good_ = MatrixRgbProfile({}, CurveBody({0, 20000, 65535})).Build();

    /// Code of Zv_ClrInit, or 0 where the profiles make no transform. One from memory and one from a file must agree.
    int32_t Outcome(const Bytes& bytes, int32_t source = CLRSPACE_BGR, int32_t destination = CLRSPACE_RGB,
                    bool asInput = true) {
        MemoryProfile bad(bytes), good(good_);
        ClrParams inMemory = asInput ? CustomParams(&bad, &good) : CustomParams(&good, &bad);
        const int32_t fromMemory = OutcomeOf(inMemory, source, destination);
        ClrParams inFile = asInput ? CustomParams(nullptr, &good) : CustomParams(&good, nullptr);
        SetName(asInput ? inFile.inputProfileName : inFile.outputProfileName, folder_.Write("profile.icc", bytes));
        const int32_t fromFile = OutcomeOf(inFile, source, destination);
        if (!bytes.empty()) {
            EXPECT_EQ(fromMemory, fromFile);
        }
        return fromFile;
    }
    int32_t OutcomeOf(ClrParams& params, int32_t source, int32_t destination) {
        const size_t held = host_->LiveCount();
        const int32_t registered = RegisteredCount();
        ClrHandle* handle = nullptr;
        int32_t result = Zv_ClrInit(&handle, source, destination, &params);
        if (result == CLR_SUCCESS) {
            const Bytes pixels = SamplePixels(source, 9);
            Bytes out(pixels.size() * 2);
            EXPECT_NE(nullptr, handle->customTransform);
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(handle, pixels.data(), out.data(), 3, 3, 1, 4));
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        } else if (result == ERR_PROFILE_UNUSABLE) {
            // Profiles that open and make no transform: nothing else serves these pairs. The unload takes what is left.
            EXPECT_EQ(nullptr, handle);
            EXPECT_EQ(registered + 1, RegisteredCount());
            EXPECT_EQ(nullptr, FirstRegistered()->customTransform);
            ReleaseAllConverters();
            result = 0;
        } else {
            EXPECT_LT(result, 0);
            EXPECT_EQ(nullptr, handle);
        }
        EXPECT_EQ(held, host_->LiveCount());
        EXPECT_EQ(registered, RegisteredCount());
        return result;
    }
};

constexpr int32_t kWorks = 1, kNoTransform = 0;

TEST_F(HostileCustomProfiles, GoodOneWorks) {
    EXPECT_EQ(kWorks, Outcome(good_));
    EXPECT_EQ(kWorks, Outcome(good_, CLRSPACE_RGB, CLRSPACE_BGR, false));
}

TEST_F(HostileCustomProfiles, WrongMagic) {
    Bytes bytes = good_;
    for (const size_t place : {36U, 37U, 38U, 39U}) {
        bytes[place] ^= 0x20;
        EXPECT_EQ(ERR_PROFILE_LOAD, Outcome(bytes));
        bytes[place] ^= 0x20;
    }
    ProfileBuilder builder = MatrixRgbProfile();
    builder.header.magic = FourCc("psca");
    EXPECT_EQ(ERR_PROFILE_LOAD, Outcome(builder.Build()));
}

TEST_F(HostileCustomProfiles, HeaderOfOtherwiseNoMeaning) {
    Bytes bytes = good_;
    // Size, maker of the colour engine, version, class, dates, platform, flags, devices: nobody looks at them.
    for (size_t place = 0; place < 128; place += 4) {
        const bool used = place == 16 || place == 20 || place == 36 || place == 64 || (place >= 68 && place < 80);
        if (!used) SetBig32(bytes, place, 0xDEADBEEF);
    }
    EXPECT_EQ(kWorks, Outcome(bytes));
}

TEST_F(HostileCustomProfiles, BlocksShorterThanHeaderAndDirectory) {
    const size_t front = 132 + 12 * GetBig32(good_, 128);
    for (size_t length = 1; length < front; ++length) {
        EXPECT_EQ(ERR_PROFILE_LOAD, Outcome(Bytes(good_.begin(), good_.begin() + static_cast<ptrdiff_t>(length))));
    }
    EXPECT_EQ(kNoTransform, Outcome(Bytes(good_.begin(), good_.begin() + static_cast<ptrdiff_t>(front))));
}

TEST_F(HostileCustomProfiles, NoTagsOrANegativeNumber) {
    EXPECT_EQ(kNoTransform, Outcome(ProfileBuilder().Build()));
    for (const uint32_t count : {0x80000000U, 0xFFFFFFFFU, 0U}) {
        Bytes bytes = good_;
        SetBig32(bytes, 128, count);
        EXPECT_EQ(kNoTransform, Outcome(bytes)) << count;
        EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_RGB, CLRSPACE_BGR, false)) << count;
    }
}

TEST_F(HostileCustomProfiles, FiftyTagsAreTheMost) {
    ProfileBuilder builder = MatrixRgbProfile({}, GammaBody(0x0200));
    for (uint32_t tags = 8; tags < 50; ++tags) builder.RawEntry("none", 0, 0);
    EXPECT_EQ(50U, GetBig32(builder.Build(), 128));
    EXPECT_EQ(kWorks, Outcome(builder.Build()));
    builder.RawEntry("none", 0, 0);
    EXPECT_EQ(ERR_PROFILE_LOAD, Outcome(builder.Build()));
    for (const uint32_t count : {51U, 1000U, 0x10000U, 0x15555555U, 0x7FFFFFFFU}) {
        Bytes bytes = good_;
        bytes.resize(bytes.size() + 1000);
        SetBig32(bytes, 128, count);
        EXPECT_EQ(ERR_PROFILE_LOAD, Outcome(bytes)) << count;
    }
}

TEST_F(HostileCustomProfiles, FirstOfEqualTagsIsRead) {
    const auto bytesThrough = [&](const Bytes& bytes) {
        MemoryProfile input(bytes), output(good_);
        return SampleThrough(CLRSPACE_RGB, CLRSPACE_BGR, CustomParams(&input, &output));
    };
    const Bytes gamma = GammaBody(0x0180), other = GammaBody(0x0300);
    ProfileBuilder first = MatrixRgbProfile({}, gamma, gamma, gamma), second = first;
    second.Tag("rTRC", other).Tag("rXYZ", XyzBody({0.1, 0.1, 0.1}));
    EXPECT_EQ(bytesThrough(first.Build()), bytesThrough(second.Build()));
    second.Remove("rTRC");
    EXPECT_NE(bytesThrough(first.Build()), bytesThrough(second.Build()));
}

TEST_F(HostileCustomProfiles, MissingTags) {
    for (const char* tag : {"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"}) {
        ProfileBuilder builder = MatrixRgbProfile({}, GammaBody(0x0200));
        builder.Remove(tag);
        EXPECT_EQ(kNoTransform, Outcome(builder.Build())) << tag;
        EXPECT_EQ(kNoTransform, Outcome(builder.Build(), CLRSPACE_RGB, CLRSPACE_BGR, false)) << tag;
    }
    ProfileBuilder gray = GrayProfile(GammaBody(0x0200));
    EXPECT_EQ(kWorks, Outcome(gray.Build()));
    gray.Remove("kTRC");
    EXPECT_EQ(kNoTransform, Outcome(gray.Build()));
    // White and black point have defaults.
    ProfileBuilder builder = MatrixRgbProfile({}, GammaBody(0x0200));
    builder.Remove("wtpt").Remove("bkpt");
    EXPECT_EQ(kWorks, Outcome(builder.Build()));
}

TEST_F(HostileCustomProfiles, ParametricCurvesAreNotRead) {
    const Bytes curve = ParametricBody(3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
    EXPECT_EQ(kNoTransform, Outcome(MatrixRgbProfile({}, curve).Build()));
    EXPECT_EQ(kNoTransform, Outcome(MatrixRgbProfile({}, curve).Build(), CLRSPACE_RGB, CLRSPACE_BGR, false));
    EXPECT_EQ(kNoTransform, Outcome(GrayProfile(curve).Build()));
}

TEST_F(HostileCustomProfiles, GrayProfileGoesWithOneHubOnly) {
    const Bytes gray = GrayProfile(GammaBody(0x0200)).Build();
    EXPECT_EQ(kWorks, Outcome(gray, CLRSPACE_BGR, CLRSPACE_RGB, true));
    EXPECT_EQ(ERR_TRANSFORM_CREATE, Outcome(gray, CLRSPACE_RGB, CLRSPACE_BGR, true));
    EXPECT_EQ(kWorks, Outcome(gray, CLRSPACE_RGB, CLRSPACE_BGR, false));
}

TEST_F(HostileCustomProfiles, CurvesThatRunPastTheEnd) {
    for (const uint32_t count :
         {5U, 1000U, 0x10000U, 0x3FFFFFFFU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        Bytes bytes = MatrixRgbProfile({}, CurveBody({0, 1000, 65535})).Build();
        SetBig32(bytes, FindTagPlace(bytes, "rTRC").offset + 8, count);
        EXPECT_EQ(kNoTransform, Outcome(bytes)) << count;
        EXPECT_LE(host_->LargestRequestSinceReset(), MostBytesFor(bytes));
    }
}

TEST_F(HostileCustomProfiles, TagsThatLieOutside) {
    for (const uint32_t offset : {0U, 4U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        ProfileBuilder builder = MatrixRgbProfile({}, GammaBody(0x0200));
        builder.Remove("gXYZ").RawEntry("gXYZ", offset, 20);
        EXPECT_EQ(kNoTransform, Outcome(builder.Build())) << offset;
        builder = MatrixRgbProfile({}, GammaBody(0x0200));
        builder.Remove("gTRC").RawEntry("gTRC", offset, 14);
        EXPECT_EQ(kNoTransform, Outcome(builder.Build())) << offset;
    }
    Bytes bytes = good_;
    const auto end = static_cast<uint32_t>(bytes.size());
    for (uint32_t back = 1; back < 12; ++back) {
        ProfileBuilder builder = MatrixRgbProfile({}, GammaBody(0x0200));
        builder.Remove("rTRC").RawEntry("rTRC", end - back, 14);
        EXPECT_EQ(kNoTransform, Outcome(builder.Build())) << back;
    }
}

/// A table whose sizes claim what they like.
Bytes WithTableSizes(uint8_t inputs, uint8_t outputs, uint8_t gridPoints, int bits = 16, uint32_t entries = 0) {
    Bytes bytes = LutProfile("CMYK", "Lab ", TinyLut(bits, 4, 3), TinyLut(bits, 3, 4)).Build();
    for (const char* tag : {"A2B0", "B2A0"}) {
        const size_t body = FindTagPlace(bytes, tag).offset;
        bytes[body + 8] = inputs;
        bytes[body + 9] = outputs;
        bytes[body + 10] = gridPoints;
        if (entries != 0) SetBig32(bytes, body + 48, entries);
    }
    return bytes;
}

TEST_F(HostileCustomProfiles, SizesOfTables) {
    struct Sizes {
        uint8_t inputs, outputs, gridPoints;
    };
    constexpr Sizes kSizes[] = {{0, 3, 2},       {4, 0, 2},   {4, 3, 0},     {0, 0, 0},  {17, 3, 2},  {4, 17, 2},
                                {255, 255, 255}, {4, 3, 255}, {16, 16, 255}, {16, 1, 2}, {4, 255, 2}, {5, 3, 33}};
    for (const Sizes& sizes : kSizes) {
        for (const int bits : {8, 16}) {
            const Bytes bytes = WithTableSizes(sizes.inputs, sizes.outputs, sizes.gridPoints, bits);
            SCOPED_TRACE(std::to_string(sizes.inputs) + " " + std::to_string(sizes.outputs) + " " +
                         std::to_string(sizes.gridPoints) + ", bits " + std::to_string(bits));
            host_->Reset();
            EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_CMYK, CLRSPACE_RGB));
            EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_RGB, CLRSPACE_CMYK, false));
            EXPECT_LE(host_->LargestRequestSinceReset(), MostBytesFor(bytes));
        }
    }
}

TEST_F(HostileCustomProfiles, EntriesOfTables) {
    for (const uint32_t entries : {0x00000002U, 0x00030000U, 0xFFFFFFFFU, 0xFFFF0002U, 0x0003FFFFU}) {
        const Bytes bytes = WithTableSizes(4, 3, 2, 16, entries);
        EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_CMYK, CLRSPACE_RGB)) << entries;
    }
}

/// Sizes of their own right, with all their bytes there.
TEST_F(HostileCustomProfiles, UnusualTablesThatAreWhole) {
    struct Sizes {
        uint32_t inputs, outputs, gridPoints, inputEntries, outputEntries;
    };
    constexpr Sizes kSizes[] = {{3, 3, 1, 2, 2}, {3, 3, 2, 1, 1}, {1, 3, 2, 2, 2}, {3, 16, 2, 2, 2},
                                {2, 1, 7, 3, 3}, {4, 3, 3, 2, 2}, {3, 3, 2, 1, 2}, {3, 3, 2, 4096, 1}};
    for (const Sizes& s : kSizes) {
        const LutTag lut = RandomLut(16, s.inputs, s.outputs, s.gridPoints, 3, s.inputEntries, s.outputEntries);
        const Bytes bytes = LutProfile("RGB ", "Lab ", lut, lut).Build();
        SCOPED_TRACE(std::to_string(s.inputs) + " to " + std::to_string(s.outputs));
        const int32_t outcome = Outcome(bytes, CLRSPACE_RGB, CLRSPACE_BGR);
        EXPECT_TRUE(outcome == kWorks || outcome == kNoTransform) << outcome;
        const HostileKind kind = {"", bytes, true, false, true, CMMFORMAT_RGB_8, CMMFORMAT_BGR_8};
        EXPECT_EQ(outcome == kWorks, Try(kind, bytes).made);
    }
}

TEST_F(HostileCustomProfiles, OtherTypesOfTables) {
    for (const char* type : {"mAB ", "mBA ", "curv", "    ", "mft3"}) {
        Bytes bytes = TinyLutProfile("CMYK", "Lab ", 4);
        SetBig32(bytes, FindTagPlace(bytes, "A2B0").offset, FourCc(type));
        SetBig32(bytes, FindTagPlace(bytes, "B2A0").offset, FourCc(type));
        EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_CMYK, CLRSPACE_RGB)) << type;
        EXPECT_EQ(kNoTransform, Outcome(bytes, CLRSPACE_RGB, CLRSPACE_CMYK, false)) << type;
    }
}

TEST_F(HostileCustomProfiles, MatrixThatHasNoInverse) {
    Colorants flat;
    flat.green = flat.red;
    Colorants none;
    none.red = none.green = none.blue = {0, 0, 0};
    for (const Colorants& colorants : {flat, none}) {
        const Bytes bytes = MatrixRgbProfile(colorants, GammaBody(0x0200)).Build();
        const int32_t asInput = Outcome(bytes), asOutput = Outcome(bytes, CLRSPACE_RGB, CLRSPACE_BGR, false);
        EXPECT_EQ(kWorks, asInput) << "only the output side is inverted";
        EXPECT_EQ(kNoTransform, asOutput);
    }
}

TEST_F(HostileCustomProfiles, WhitesAndIlluminantsThatDivideByZero) {
    for (const Triple& white : {Triple{0, 0, 0}, Triple{-1, -1, -1}, Triple{32767, 32767, 32767}}) {
        for (const uint32_t intent : {0U, 3U, 0xFFFFFFFFU}) {
            ProfileBuilder builder = LutProfile("CMYK", "Lab ", TinyLut(16, 4, 3), TinyLut(16, 3, 4));
            builder.Remove("wtpt").Remove("bkpt").Tag("wtpt", XyzBody(white)).Tag("bkpt", XyzBody(white));
            builder.header.illuminant = white;
            builder.header.intent = intent;
            const HostileKind input = {"", builder.Build(), true, false, true, CMMFORMAT_CMYK_8, CMMFORMAT_RGB_8};
            EXPECT_TRUE(Try(input, input.bytes).made);
            const HostileKind output = {"", builder.Build(), false, false, true, CMMFORMAT_RGB_8, CMMFORMAT_CMYK_8};
            EXPECT_TRUE(Try(output, output.bytes).made);
        }
    }
}

TEST_F(HostileCustomProfiles, DeviceLinkBesideAnOutputProfileIsAProfileLikeOthers) {
    EXPECT_EQ(kWorks, Outcome(TinyLink(16, "RGB ", 3), CLRSPACE_RGB, CLRSPACE_BGR));
}

TEST_F(HostileCustomProfiles, CutAtEveryByteInMemoryAndInAFile) {
    const Bytes kProfiles[] = {good_, GrayProfile(CurveBody({0, 9000, 65535})).Build()};
    for (const Bytes& profile : kProfiles) {
        TruncateEverywhere(profile, 1, [&](const Bytes& damaged, const std::string& what) {
            SCOPED_TRACE(what);
            const int32_t input = Outcome(damaged);
            const int32_t output = Outcome(damaged, CLRSPACE_RGB, CLRSPACE_BGR, false);
            for (const int32_t outcome : {input, output}) {
                EXPECT_TRUE(outcome == kWorks || outcome == kNoTransform || outcome == ERR_PROFILE_LOAD) << outcome;
            }
        });
    }
}

/// Grids are refused, so that the tables are read and nothing more.
TEST_F(HostileCustomProfiles, TablesCutAtEveryByteInMemoryAndInAFile) {
    const Bytes press = TinyLutProfile("CMYK", "Lab ", 4);
    TruncateEverywhere(press, 1, [&](const Bytes& damaged, const std::string& what) {
        SCOPED_TRACE(what);
        host_->Reset();
        host_->FailAllocationsAbove(kBelowEveryGrid);
        const int32_t input = Outcome(damaged, CLRSPACE_CMYK, CLRSPACE_RGB);
        const int32_t output = Outcome(damaged, CLRSPACE_BGR, CLRSPACE_CMYK, false);
        for (const int32_t outcome : {input, output}) {
            EXPECT_TRUE(outcome == kNoTransform || outcome == ERR_PROFILE_LOAD) << outcome;
        }
        EXPECT_LE(host_->LargestRequestSinceReset(), MostBytesFor(damaged));
    });
}

TEST_F(HostileCustomProfiles, EveryFieldChangedInMemoryAndInAFile) {
    ChangeEveryField(good_, [&](const Bytes& damaged, const std::string& what) {
        SCOPED_TRACE(what);
        const int32_t outcome = Outcome(damaged);
        EXPECT_TRUE(outcome == kWorks || outcome == kNoTransform || outcome == ERR_PROFILE_LOAD) << outcome;
    });
}

TEST_F(HostileCustomProfiles, OfTheLengthThatTheRecordTells) {
    // The block ends where its pages do, and the record's length is the only one that counts.
    const GuardedBuffer block(good_.size());
    Put(block, good_);
    MemoryProfile good(good_), bad(good_);
    for (size_t length = 1; length <= good_.size(); ++length) {
        bad.record.data = block.Data() + (good_.size() - length);
        std::memcpy(bad.record.data, good_.data(), length);
        bad.record.dataSize = length;
        ClrParams params = CustomParams(&bad, &good);
        const int32_t outcome = OutcomeOf(params, CLRSPACE_BGR, CLRSPACE_RGB);
        EXPECT_TRUE(outcome == kWorks || outcome == kNoTransform || outcome == ERR_PROFILE_LOAD) << outcome;
    }
}

}  // namespace
}  // namespace zv::test
