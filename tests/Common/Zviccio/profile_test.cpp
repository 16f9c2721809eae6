// The engine's reader: opening profiles, finding tags, XYZ values and curves.
#include "Common/Zviccio/profile.h"

#include <algorithm>
#include <cstring>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"
#include "tests/support/profile_file.h"

namespace zv::test {
namespace {

constexpr uint32_t kAny = Signature("test");

ProfileRecord OpenWith(const Bytes& body) { return OpenBytes(ProfileBuilder().Tag("test", body).Build()); }
Curve ReadCurve(const Bytes& body) { return Curve(CmmReadCurveTag(OpenWith(body).get(), kAny)); }

// --- Opening --------------------------------------------------------------------------------------------------------

TEST(OpenProfile, KeepsItsHeaderFields) {
    const HostScope host;
    ProfileBuilder builder = MatrixRgbProfile();
    builder.header.deviceClass = FourCc("scnr");
    builder.header.pcs = FourCc("Lab ");
    builder.header.intent = 2;
    builder.header.illuminant = {0.5, -1.25, 2.0};
    const Bytes bytes = builder.Build();
    const ProfileRecord profile = OpenBytes(bytes);
    ASSERT_NE(nullptr, profile);
    EXPECT_EQ(kNoHostFile, profile->file);
    EXPECT_EQ(Signature("scnr"), profile->deviceClass);
    EXPECT_EQ(Signature("RGB "), profile->colorSpace);
    EXPECT_EQ(Signature("Lab "), profile->pcs);
    EXPECT_EQ(2U, profile->renderingIntent);
    EXPECT_EQ(0.5, profile->illuminant[0]);
    EXPECT_EQ(-1.25, profile->illuminant[1]);
    EXPECT_EQ(2.0, profile->illuminant[2]);
    EXPECT_EQ(8, profile->tagCount);
    EXPECT_EQ(Signature("wtpt"), profile->tagSignature[0]);
    EXPECT_EQ(20U, profile->tagSize[0]);
    EXPECT_EQ(FindTagPlace(bytes, "wtpt").offset, profile->tagOffset[0]);
    for (const void* data : profile->tagData) EXPECT_EQ(nullptr, data);
    EXPECT_EQ(0, profile->fileName[0]);
    EXPECT_EQ(1, profile->fromMemory);
    EXPECT_EQ(132 + 12 * 8, profile->cursor - profile->block);
}

TEST(OpenProfile, CopiesTheCallersBlock) {
    const HostScope host;
    Bytes bytes = ProfileBuilder().Tag("test", XyzBody({0.25, 0.5, 1.5})).Build();
    const ProfileRecord profile = OpenBytes(bytes);
    ASSERT_NE(nullptr, profile);
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    double value[3] = {};
    EXPECT_EQ(1, CmmReadXyzTag(profile.get(), kAny, value));
    EXPECT_EQ(1.5, value[2]);
}

TEST(OpenProfile, NullIsNull) {
    const HostScope host;
    EXPECT_EQ(nullptr, CmmOpenProfileFromMemory(nullptr, 128));
    EXPECT_EQ(nullptr, CmmOpenProfileFromFile(nullptr));
    EXPECT_EQ(0, CmmCloseProfile(nullptr));
}

TEST(OpenProfile, CloseIsOne) {
    const HostScope host;
    EXPECT_EQ(1, CmmCloseProfile(OpenBytes(MatrixRgbProfile().Build()).release()));
}

TEST(OpenProfile, NeedsTheMagicAndNothingElse) {
    const HostScope host;
    Bytes bytes(132, 0xEE);
    SetBig32(bytes, 128, 0);
    EXPECT_EQ(nullptr, OpenBytes(bytes));
    SetBig32(bytes, 36, FourCc("acsp"));
    const ProfileRecord garbage = OpenBytes(bytes);
    ASSERT_NE(nullptr, garbage) << "size, version and platform are not looked at";
    EXPECT_EQ(0xEEEEEEEEU, garbage->colorSpace);
    for (size_t i = 0; i < 4; ++i) {
        Bytes wrong = bytes;
        wrong[36 + i] = static_cast<uint8_t>(wrong[36 + i] ^ 0x20);
        EXPECT_EQ(nullptr, OpenBytes(wrong)) << i;
    }
}

TEST(OpenProfile, OfAnyVersion) {
    const HostScope host;
    for (const uint32_t version : {0U, 0x02000000U, 0x04400000U, 0x05000000U, 0xFFFFFFFFU}) {
        ProfileBuilder builder = MatrixRgbProfile();
        builder.header.version = version;
        EXPECT_NE(nullptr, OpenBytes(builder.Build())) << version;
    }
}

TEST(OpenProfile, WithoutTagsEveryReadFailsAsAbsent) {
    const HostScope host;
    for (const uint32_t count : {0U, 0xFFFFFFFFU, 0x80000000U}) {
        Bytes bytes = ProfileBuilder().Build();
        SetBig32(bytes, 128, count);
        const ProfileRecord profile = OpenBytes(bytes);
        ASSERT_NE(nullptr, profile) << count;
        EXPECT_EQ(static_cast<int32_t>(count), profile->tagCount);
        double value[3], matrix[9], scratch[9];
        EXPECT_EQ(-1, CmmFindTag(profile.get(), kAny));
        EXPECT_EQ(0, CmmHasTag(profile.get(), kAny));
        EXPECT_EQ(-1, CmmReadXyzTag(profile.get(), kAny, value));
        EXPECT_EQ(0, CmmReadColorantMatrix(matrix, profile.get(), scratch));
        EXPECT_EQ(nullptr, CmmReadCurveTag(profile.get(), kAny));
        EXPECT_EQ(nullptr, CmmReadLutTag(profile.get(), kAny));
    }
}

TEST(OpenProfile, HoldsFiftyTagsAndNoMore) {
    const HostScope host;
    ProfileBuilder builder;
    builder.Tag("last", XyzBody({1, 1, 1}));
    for (int i = 0; i < 48; ++i) builder.Share("same", "last");
    builder.Tag("test", XyzBody({0.5, 0, 0}));
    const ProfileRecord profile = OpenBytes(builder.Build());
    ASSERT_NE(nullptr, profile);
    EXPECT_EQ(50, profile->tagCount);
    EXPECT_EQ(49, CmmFindTag(profile.get(), kAny));
    EXPECT_EQ(nullptr, OpenBytes(builder.Share("more", "last").Build()));
    Bytes many = ProfileBuilder().Build();
    SetBig32(many, 128, 0x7FFFFFFF);
    EXPECT_EQ(nullptr, OpenBytes(many));
}

TEST(OpenProfile, DirectoryBeyondTheDataIsNull) {
    const HostScope host;
    const Bytes whole = ProfileBuilder().RawEntry("aaaa", 0, 0).RawEntry("bbbb", 0, 0).Build();
    EXPECT_NE(nullptr, OpenBytes(whole));
    for (size_t size = 0; size < whole.size(); ++size) {
        const GuardedBuffer cut(size);
        std::memcpy(cut.Data(), whole.data(), size);
        EXPECT_EQ(nullptr, CmmOpenProfileFromMemory(cut.Data(), size)) << size;
    }
}

TEST(OpenProfile, WithoutMemoryIsNull) {
    HostScope host;
    const Bytes bytes = MatrixRgbProfile().Build();
    int64_t n = 1;
    for (;; ++n) {
        host->FailAllocation(n);
        const ProfileRecord profile = OpenBytes(bytes);
        if (profile != nullptr) break;
        EXPECT_EQ(0U, host.Leaked()) << n;
        ASSERT_LT(n, 10);
    }
    host->FailAllocation(0);
    EXPECT_EQ(3, n) << "the record and the copy of the block";
}

// --- Files ----------------------------------------------------------------------------------------------------------

TEST(OpenProfileFile, ReadsLikeTheBlock) {
    const HostScope host;
    const ProfileFile file(MatrixRgbProfile().Build());
    const ProfileRecord profile(CmmOpenProfileFromFile(file.Name()));
    ASSERT_NE(nullptr, profile);
    EXPECT_NE(kNoHostFile, profile->file);
    EXPECT_EQ(0, profile->fromMemory);
    EXPECT_EQ(nullptr, profile->block);
    EXPECT_EQ(std::basic_string<ZvChar>(file.Name()), profile->fileName);
    EXPECT_EQ(8, profile->tagCount);
    double value[3] = {};
    EXPECT_EQ(1, CmmReadXyzTag(profile.get(), Signature("wtpt"), value));
    EXPECT_EQ(S15Fixed16(0.9505) / 65536.0, value[0]);
    const Curve curve(CmmReadCurveTag(profile.get(), Signature("bTRC")));
    EXPECT_EQ(PowerTable(1024, 2.2), TableOf(curve));
    EXPECT_EQ(1, CmmReadXyzTag(profile.get(), Signature("wtpt"), value)) << "reads come in any order";
}

TEST(OpenProfileFile, LutTagsReadLikeTheBlock) {
    const HostScope host;
    const Bytes bytes = LutProfile("CMYK", "Lab ", 16, 4).Build();
    const ProfileFile file(bytes);
    const ProfileRecord profile(CmmOpenProfileFromFile(file.Name()));
    ASSERT_NE(nullptr, profile);
    const reference::Profile plain = *reference::OpenProfile(bytes);
    for (const char* tag : {"B2A0", "A2B0"}) {
        const LutRecord lut(CmmReadLutTag(profile.get(), FourCc(tag)));
        ASSERT_NE(nullptr, lut.Get());
        ExpectSameLut(*reference::ReadLut(plain, tag), PlainOf(*lut.Get()));
    }
}

TEST(OpenProfileFile, ThatIsNotThereIsNull) {
    const HostScope host;
    EXPECT_EQ(nullptr, CmmOpenProfileFromFile(ZV_WIDE("no-such-profile.icm")));
    EXPECT_EQ(nullptr, CmmOpenProfileFromFile(ZV_WIDE("")));
}

TEST(OpenProfileFile, ShortHeaderOrDirectoryIsNull) {
    const HostScope host;
    const Bytes whole = ProfileBuilder().RawEntry("aaaa", 0, 0).Build();
    for (const size_t size : {size_t{0}, size_t{1}, size_t{127}, size_t{128}, size_t{131}, size_t{132}, size_t{143}}) {
        const ProfileFile file(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(nullptr, CmmOpenProfileFromFile(file.Name())) << size;
    }
    const ProfileFile file(whole);
    EXPECT_NE(nullptr, ProfileRecord(CmmOpenProfileFromFile(file.Name())));
}

TEST(OpenProfileFile, OtherMagicOrTooManyTagsIsNull) {
    const HostScope host;
    ProfileBuilder builder = MatrixRgbProfile();
    builder.header.magic = FourCc("acsq");
    const ProfileFile other(builder.Build());
    EXPECT_EQ(nullptr, CmmOpenProfileFromFile(other.Name()));
    ProfileBuilder many;
    for (int i = 0; i < 51; ++i) many.RawEntry("aaaa", 0, 0);
    const ProfileFile full(many.Build());
    EXPECT_EQ(nullptr, CmmOpenProfileFromFile(full.Name()));
}

TEST(OpenProfileFile, IsClosedOnEveryWayOut) {
    // A file that is still open cannot be taken away on every system, and descriptors run out.
    const HostScope host;
    const ProfileFile broken(Bytes(200, 0)), good(MatrixRgbProfile().Build());
    for (int i = 0; i < 3000; ++i) {
        ASSERT_EQ(nullptr, CmmOpenProfileFromFile(broken.Name()));
        ASSERT_NE(nullptr, ProfileRecord(CmmOpenProfileFromFile(good.Name())));
    }
}

TEST(OpenProfileFile, EveryFileAccessFailing) {
    HostScope host;
    const ProfileFile file(LutProfile("CMYK", "Lab ", 16, 3).Build());
    int64_t n = 1;
    for (;; ++n) {
        host->Reset();
        host->FailFileAccess(n);
        const ProfileRecord profile(CmmOpenProfileFromFile(file.Name()));
        const bool opened = profile != nullptr;
        const LutRecord lut(opened ? CmmReadLutTag(profile.get(), FourCc("A2B0")) : nullptr);
        if (lut.Get() != nullptr) break;
        ASSERT_LT(n, 400);
    }
    EXPECT_GT(n, 5) << "opening, two reads of the head, a seek and the reads of the table";
}

TEST(OpenProfileFile, EveryAllocationFailing) {
    HostScope host;
    const ProfileFile file(LutProfile("CMY ", "Lab ", 8, 3).Build());
    int64_t n = 1;
    for (;; ++n) {
        host->FailAllocation(n);
        ProfileRecord profile(CmmOpenProfileFromFile(file.Name()));
        CmmLut* const lut = profile ? CmmReadLutTag(profile.get(), FourCc("B2A0")) : nullptr;
        CmmLutFree(lut);
        profile.reset();
        EXPECT_EQ(0U, host.Leaked()) << n;
        if (lut != nullptr) break;
        ASSERT_LT(n, 40);
    }
    EXPECT_GT(n, 8) << "record, table record, six curves and the grid";
}

// --- Directory ------------------------------------------------------------------------------------------------------

TEST(FindTag, FirstOfTwoWins) {
    const HostScope host;
    ProfileBuilder builder;
    builder.Tag("othr", XyzBody({9, 9, 9})).Tag("test", XyzBody({0.5, 0, 0})).Tag("test", XyzBody({0.25, 0, 0}));
    const ProfileRecord profile = OpenBytes(builder.Build());
    EXPECT_EQ(1, CmmFindTag(profile.get(), kAny));
    EXPECT_EQ(1, CmmHasTag(profile.get(), kAny));
    double value[3] = {};
    EXPECT_EQ(1, CmmReadXyzTag(profile.get(), kAny, value));
    EXPECT_EQ(0.5, value[0]);
}

TEST(FindTag, BadRecord) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmFindTag(nullptr, kAny));
    EXPECT_EQ(0, CmmHasTag(nullptr, kAny));
    double value[3] = {};
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmReadXyzTag(nullptr, kAny, value));
    EXPECT_EQ(nullptr, CmmReadCurveTag(nullptr, kAny));
    EXPECT_EQ(nullptr, CmmReadLutTag(nullptr, kAny));
    GuardedBuffer page(sizeof(CmmProfile));
    page.MakeUnreadable();
    auto* const bad = reinterpret_cast<CmmProfile*>(page.Data());
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmFindTag(bad, kAny));
    EXPECT_EQ(0, CmmHasTag(bad, kAny));
    EXPECT_EQ(ERR_INVALID_PARAMETER, CmmReadXyzTag(bad, kAny, value));
    EXPECT_EQ(nullptr, CmmReadCurveTag(bad, kAny));
    EXPECT_EQ(nullptr, CmmReadLutTag(bad, kAny));
}

TEST(FindTag, NeverLooksBehindTheDirectory) {
    CmmProfile profile;
    // Whatever lies behind the last signature reads as this one.
    std::memset(static_cast<void*>(&profile), 't', sizeof profile);
    std::fill(std::begin(profile.tagSignature), std::end(profile.tagSignature), Signature("othr"));
    for (const int32_t count : {50, 51, 52, INT32_MAX}) {
        profile.tagCount = count;
        EXPECT_EQ(-1, CmmFindTag(&profile, Signature("tttt"))) << count;
    }
}

// --- XYZ ------------------------------------------------------------------------------------------------------------

TEST(ReadXyz, BothTypeWordsAndNoOther) {
    const HostScope host;
    for (const uint32_t type : {FourCc("XYZ "), 0x07C3B10CU}) {
        const ProfileRecord profile = OpenWith(XyzBody({0.9642, -1.0, 32767.5}, type));
        double value[3] = {};
        EXPECT_EQ(1, CmmReadXyzTag(profile.get(), kAny, value)) << type;
        EXPECT_EQ(S15Fixed16(0.9642) / 65536.0, value[0]);
        EXPECT_EQ(-1.0, value[1]);
        EXPECT_EQ(32767.5, value[2]);
    }
    for (const uint32_t type : {FourCc("xyz "), FourCc("curv"), 0U, 0x07C3B10DU}) {
        double value[3] = {7, 8, 9};
        EXPECT_EQ(-1, CmmReadXyzTag(OpenWith(XyzBody({1, 1, 1}, type)).get(), kAny, value)) << type;
    }
}

TEST(ReadXyz, WithoutAReceiverOnlyChecks) {
    const HostScope host;
    EXPECT_EQ(1, CmmReadXyzTag(OpenWith(XyzBody({1, 2, 3})).get(), kAny, nullptr));
    EXPECT_EQ(-1, CmmReadXyzTag(OpenWith(GammaBody(256)).get(), kAny, nullptr));
    EXPECT_EQ(-1, CmmReadXyzTag(OpenWith(XyzBody({1, 2, 3})).get(), Signature("none"), nullptr));
}

TEST(ReadXyz, BeyondTheDataFails) {
    const HostScope host;
    for (const uint32_t offset : {0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFF0U, 150U}) {
        const ProfileRecord profile = OpenBytes(ProfileBuilder().RawEntry("test", offset, 20).Build());
        double value[3] = {};
        EXPECT_EQ(-1, CmmReadXyzTag(profile.get(), kAny, value)) << offset;
    }
}

TEST(ReadColorants, AreColumns) {
    const HostScope host;
    const ProfileRecord profile =
        OpenBytes(MatrixRgbProfile({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, GammaBody(256)).Build());
    double matrix[9] = {}, scratch[9] = {};
    EXPECT_EQ(1, CmmReadColorantMatrix(matrix, profile.get(), scratch));
    constexpr double kExpected[9] = {1, 4, 7, 2, 5, 8, 3, 6, 9};
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kExpected[i], matrix[i]) << i;
}

TEST(ReadColorants, AnyOfThemMissingIsZero) {
    const HostScope host;
    for (const char* missing : {"rXYZ", "gXYZ", "bXYZ"}) {
        const ProfileRecord profile = OpenBytes(MatrixRgbProfile().Remove(missing).Build());
        double matrix[9] = {}, scratch[9] = {};
        EXPECT_EQ(0, CmmReadColorantMatrix(matrix, profile.get(), scratch)) << missing;
        const ProfileRecord wrong = OpenBytes(MatrixRgbProfile().Remove(missing).Tag(missing, GammaBody(1)).Build());
        EXPECT_EQ(0, CmmReadColorantMatrix(matrix, wrong.get(), scratch)) << missing;
    }
}

// --- Curves ---------------------------------------------------------------------------------------------------------

TEST(ReadCurve, CountZeroIsTheTwoEntryIdentity) {
    const HostScope host;
    EXPECT_EQ((Words{0, 0xFFFF}), TableOf(ReadCurve(CurveBody({}))));
}

TEST(ReadCurve, CountOneIsAGamma) {
    const HostScope host;
    EXPECT_EQ(reference::GammaCurve(2.0), TableOf(ReadCurve(GammaBody(0x0200))));
    EXPECT_EQ(reference::GammaCurve(2.19921875), TableOf(ReadCurve(GammaBody(0x0233))));
    EXPECT_EQ(reference::GammaCurve(1.0), TableOf(ReadCurve(GammaBody(0x0100))));
    EXPECT_EQ(reference::GammaCurve(255.99609375), TableOf(ReadCurve(GammaBody(0xFFFF))));
    EXPECT_EQ(reference::GammaCurve(0.00390625), TableOf(ReadCurve(GammaBody(0x0001))));
}

TEST(ReadCurve, CountOneOfZeroIsAllZeros) {
    const HostScope host;
    EXPECT_EQ(Words(256, 0), TableOf(ReadCurve(GammaBody(0))));
}

TEST(ReadCurve, TablesComeAsTheyAre) {
    const HostScope host;
    TestRandom random(31);
    for (const size_t count : {2U, 3U, 17U, 255U, 256U, 1024U, 4096U, 65536U}) {
        const Words table = RandomTable(count, random);
        EXPECT_EQ(table, TableOf(ReadCurve(CurveBody(table)))) << count;
    }
}

TEST(ReadCurve, OtherTypesAreNull) {
    const HostScope host;
    EXPECT_EQ(nullptr, ReadCurve(ParametricBody(0, {2.2})));
    EXPECT_EQ(nullptr, ReadCurve(XyzBody({1, 1, 1})));
    EXPECT_EQ(nullptr, ReadCurve(LutBody(SmoothLut(16, 3, 3, 2, 1))));
}

TEST(ReadCurve, BeyondTheDataIsNull) {
    const HostScope host;
    for (const uint32_t count : {5U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        Bytes body = CurveBody({1, 2, 3, 4});
        SetBig32(body, 8, count);
        EXPECT_EQ(nullptr, ReadCurve(body)) << count;
    }
}

TEST(ReadCurve, WithoutMemoryIsNull) {
    HostScope host;
    for (const Bytes& body : {CurveBody({}), GammaBody(0x0200), CurveBody({1, 2, 3})}) {
        const ProfileRecord profile = OpenWith(body);
        host->FailAllocation(1);
        EXPECT_EQ(nullptr, CmmReadCurveTag(profile.get(), kAny));
        host->FailAllocation(0);
    }
}

TEST(ReadCurve, BodiesReadAheadAreDuplicated) {
    const HostScope host;
    // A record that is neither a file's nor a block's.
    CmmProfile profile{};
    profile.file = kNoHostFile;
    profile.tagCount = 2;
    profile.tagSignature[0] = kAny;
    const Curve held = MakeCurve({1, 2, 3});
    profile.tagData[0] = held.get();
    double xyz[3] = {1.5, 2.5, 3.5}, out[3] = {};
    profile.tagSignature[1] = Signature("wtpt");
    profile.tagSize[1] = sizeof xyz;
    profile.tagData[1] = xyz;
    const Curve read(CmmReadCurveTag(&profile, kAny));
    EXPECT_NE(held.get(), read.get());
    EXPECT_EQ((Words{1, 2, 3}), TableOf(read));
    EXPECT_EQ(int32_t{sizeof xyz}, CmmReadXyzTag(&profile, Signature("wtpt"), out));
    EXPECT_EQ(3.5, out[2]);
    EXPECT_EQ(nullptr, CmmReadLutTag(&profile, kAny));
}

TEST(CloseProfile, ReleasesBodiesReadAheadUpToTheTagCount) {
    HostScope host;
    const ZvChar* const file = ZV_WIDE("test");
    auto* const profile = static_cast<CmmProfile*>(HostAllocZeroed(sizeof(CmmProfile), 1, 1, file));
    profile->file = kNoHostFile;
    profile->tagCount = 3;
    profile->tagData[0] = HostAlloc(8, 1, 1, file);
    profile->tagData[2] = HostAlloc(8, 1, 1, file);
    void* const beyond = HostAlloc(8, 1, 1, file);
    profile->tagData[3] = beyond;
    EXPECT_EQ(1, CmmCloseProfile(profile));
    EXPECT_EQ(1U, host.Leaked()) << "the one beyond the tags";
    HostFree(beyond, 1, file);
}

}  // namespace
}  // namespace zv::test
