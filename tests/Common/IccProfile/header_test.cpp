// The profile record, its header and the setters.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

constexpr std::string_view kColorSpaces[] = {"2CLR", "3CLR", "4CLR", "5CLR", "6CLR", "7CLR", "8CLR", "9CLR", "ACLR",
                                             "BCLR", "CCLR", "DCLR", "ECLR", "FCLR", "CMY ", "CMYK", "GRAY", "HLS ",
                                             "HSV ", "Lab ", "Luv ", "RGB ", "XYZ ", "YCbr", "Yxy "};
constexpr std::string_view kClasses[] = {"abst", "link", "mntr", "nmcl", "prtr", "scnr", "spac"};
constexpr std::string_view kPlatforms[] = {"APPL", "MSFT", "SGI ", "SUNW"};

/// Near misses of every signature: one bit or the case of one letter away, and the usual ends.
std::set<uint32_t> ValuesAround(const std::vector<uint32_t>& accepted) {
    std::set<uint32_t> values = {0, 1, 3, 4, 0x20202020, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const uint32_t value : accepted) {
        values.insert({value, value + 1, value - 1, __builtin_bswap32(value)});
        for (int bit = 0; bit < 32; ++bit) values.insert(value ^ 1U << bit);
    }
    for (const char* other : {"1CLR", "0CLR", "GCLR", "FACL", "YCbr", "YCBR", "YCCK", "rgb ", "cmyk", "grey", "MNTR",
                              "cenc", "mid ", "TGNT", "appl", "*nix", "SGI", "HLS", "Lab\0"}) {
        values.insert(FourCc(other));
    }
    return values;
}

std::vector<uint32_t> Signatures(const auto& names) {
    std::vector<uint32_t> signatures;
    for (const std::string_view name : names) signatures.push_back(FourCc(name));
    return signatures;
}

int32_t Signed(uint32_t signature) { return static_cast<int32_t>(signature); }

/// A header whose every byte tells where it is.
void FillHeader(ClrIccProfile* profile) {
    const Bytes bytes = CountingBytes(128, 100);
    std::memcpy(profile->header, bytes.data(), bytes.size());
}

/// The header as FillHeader left it, but for `count` bytes at `offset`.
Bytes FilledBut(size_t offset, const Bytes& field) {
    Bytes bytes = CountingBytes(128, 100);
    std::copy(field.begin(), field.end(), bytes.begin() + static_cast<ptrdiff_t>(offset));
    return bytes;
}

/// A number of `count` bytes in the order of the host.
Bytes Little(uint64_t value, size_t count) {
    Bytes bytes;
    for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(i < 8 ? value >> 8 * i : 0));
    return bytes;
}

// --- The record -----------------------------------------------------------------------------------------------------

TEST(IccInitProfile, ClearsAsManyBytesAsItIsToldAndSetsTheSize) {
    const HostScope host;
    for (size_t size = 0; size <= 56; ++size) {
        const GuardedBuffer room(56);
        auto* profile = reinterpret_cast<ClrIccProfile*>(room.Data());
        ASSERT_EQ(CLR_SUCCESS, Zv_InitICCProfile(profile, size)) << size;
        Bytes expected(56, 0xCD);
        std::fill_n(expected.begin(), size, uint8_t{0});
        const Bytes structSize = Little(56, 4);
        std::copy(structSize.begin(), structSize.end(), expected.begin());
        EXPECT_EQ(expected, Bytes(room.begin(), room.end())) << size;
    }
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(IccInitProfile, RefusesNullAndLargerRecords) {
    const HostScope host;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_InitICCProfile(nullptr, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_InitICCProfile(nullptr, 56));
    const uint64_t tooLarge[] = {57, 64, 1ULL << 32, (1ULL << 32) + 56, 1ULL << 63, UINT64_MAX};
    for (const uint64_t size : tooLarge) {
        const GuardedBuffer room(56);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_InitICCProfile(reinterpret_cast<ClrIccProfile*>(room.Data()), size));
        EXPECT_EQ(Bytes(56, 0xCD), Bytes(room.begin(), room.end())) << size;
    }
}

TEST(IccRecord, FieldsLieSideBySide) {
    EXPECT_EQ(0U, offsetof(ClrIccProfile, structSize));
    EXPECT_EQ(4U, offsetof(ClrIccProfile, profileSize));
    EXPECT_EQ(12U, offsetof(ClrIccProfile, tagDataSize));
    EXPECT_EQ(20U, offsetof(ClrIccProfile, header));
    EXPECT_EQ(28U, offsetof(ClrIccProfile, tagCount));
    EXPECT_EQ(32U, offsetof(ClrIccProfile, tagTable));
    EXPECT_EQ(40U, offsetof(ClrIccProfile, tagData));
    EXPECT_EQ(48U, offsetof(ClrIccProfile, profileData));
    EXPECT_EQ(56U, sizeof(ClrIccProfile));
    EXPECT_EQ(128U, sizeof(ClrIccHeader));
    EXPECT_EQ(12U, sizeof(ClrIccTagEntry));
}

// --- The header -----------------------------------------------------------------------------------------------------

/// In the order of the host, field by field.
Bytes DefaultHeader() {
    return Little(132, 4) + Little(0, 4) + Little(0x04200000, 4) + Little(0, 4)  // size, cmmType, version, deviceClass
           + Little(0, 4) + Little(0, 4) + Little(0, 12)                         // colour spaces, dateTime
           + Little(0x61637370, 4) + Little(0, 4) + Little(0, 4)                 // signature, platform, flags
           + Little(0, 4) + Little(0, 4) + Little(0, 8) + Little(0, 4)           // device and renderingIntent
           + Little(0xF6D6, 4) + Little(0x10000, 4) + Little(0xD32D, 4)          // illuminant
           + Little(0, 4) + Bytes(16) + Bytes(28);                               // creator, profileId, reserved
}

TEST(IccInitHeader, GivesEveryFieldItsDefault) {
    const HostScope host;
    for (const uint8_t fill : {uint8_t{0}, uint8_t{0xFF}, uint8_t{0x5A}}) {
        host->FillBlocksWith(fill);
        IccProfileHolder profile;
        ASSERT_EQ(CLR_SUCCESS, Zv_InitICCHeader(profile));
        EXPECT_EQ(DefaultHeader(), IccHeaderBytesOf(profile));
        EXPECT_EQ(132U, Value(profile->header->size));
        EXPECT_EQ(0x04200000U, Value(profile->header->version));
        EXPECT_EQ(FourCc("acsp"), Value(profile->header->signature));
        EXPECT_EQ(0xF6D6U, Value(profile->header->illuminant[0]));
        EXPECT_EQ(0x10000U, Value(profile->header->illuminant[1]));
        EXPECT_EQ(0xD32DU, Value(profile->header->illuminant[2]));
        EXPECT_EQ(Zv_DoubleTo2bFixed2bNumber(0.9642), Value(profile->header->illuminant[0]));
        EXPECT_EQ(Zv_DoubleTo2bFixed2bNumber(0.8249), Value(profile->header->illuminant[2]));
        EXPECT_EQ(0, Value(profile->tagCount));
        EXPECT_EQ(0U, Value(profile->tagDataSize));
        EXPECT_EQ(0U, Value(profile->profileSize));
        EXPECT_EQ(56U, Value(profile->structSize));
    }
}

TEST(IccInitHeader, TakesOneBlockOf128BytesOfThePrivateAllocator) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const std::vector<LiveBlock> blocks = host->LiveBlocks();
    const auto found = std::find_if(blocks.begin(), blocks.end(), [&](const LiveBlock& block) {
        return block.address == static_cast<void*>(Value(profile->header));
    });
    ASSERT_NE(blocks.end(), found);
    EXPECT_EQ(128U, found->size);
    EXPECT_FALSE(found->shared);
    EXPECT_EQ(u"Common\\IccProfile", found->file);
    EXPECT_LT(0, found->line);
    EXPECT_EQ(1, host->AllocationsSinceReset());
}

TEST(IccInitHeader, ResetsAHeaderInItsPlaceAndLeavesTheTags) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    const ClrIccHeader* header = profile->header;
    FillHeader(profile);
    host->Reset();
    EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(profile));
    EXPECT_EQ(0, host->AllocationsSinceReset());
    EXPECT_EQ(header, Value(profile->header));
    EXPECT_EQ(DefaultHeader(), IccHeaderBytesOf(profile));
    EXPECT_EQ(1, Value(profile->tagCount));
    EXPECT_EQ(20U, Value(profile->tagDataSize));
    EXPECT_EQ(CountingBytes(20), IccBodyOf(profile, "cprt"));
    // The size does not count the tag, which is why no image comes of it.
    EXPECT_EQ(132U, Value(profile->header->size));
    EXPECT_EQ(ERR_BAD_PROFILE, Zv_GenerateICCPointer(profile));
}

TEST(IccInitHeader, RefusesNullAndReportsWantOfMemory) {
    const HostScope host;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_InitICCHeader(nullptr));
    IccProfileHolder profile;
    host->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, Zv_InitICCHeader(profile));
    EXPECT_EQ(nullptr, Value(profile->header));
    EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(profile));
    EXPECT_EQ(DefaultHeader(), IccHeaderBytesOf(profile));
}

// --- The end --------------------------------------------------------------------------------------------------------

TEST(IccFreeProfile, ReleasesAllBlocksClearsPointersAndKeepsNumbers) {
    const HostScope host;
    ClrIccProfile profile;
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile, sizeof profile));
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&profile));
    AddIccTag(&profile, "cprt", CountingBytes(14));
    ASSERT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(&profile));
    EXPECT_EQ(4U, host.Leaked());
    host->Reset();
    Zv_FreeICCProfile(&profile);
    EXPECT_EQ(0U, host.Leaked());
    std::vector<std::string> operations;
    for (const HostCall& call : host->Calls()) {
        operations.push_back(call.operation);
        EXPECT_EQ(u"Common\\IccProfile", call.file);
        EXPECT_LT(0, call.line);
    }
    EXPECT_EQ((std::vector<std::string>{"HostFree", "HostFree", "HostFree", "HostFreeShared"}), operations);
    EXPECT_EQ(nullptr, Value(profile.header));
    EXPECT_EQ(nullptr, Value(profile.tagTable));
    EXPECT_EQ(nullptr, Value(profile.tagData));
    EXPECT_EQ(nullptr, Value(profile.profileData));
    EXPECT_EQ(1, Value(profile.tagCount));
    EXPECT_EQ(16U, Value(profile.tagDataSize));
    EXPECT_EQ(160U, Value(profile.profileSize));
    EXPECT_EQ(56U, Value(profile.structSize));
    // Once more is nothing.
    host->Reset();
    Zv_FreeICCProfile(&profile);
    EXPECT_TRUE(host->Calls().empty());
}

TEST(IccFreeProfile, LeavesTableAndDataAloneWithoutTags) {
    const HostScope host;
    ClrIccProfile profile;
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile, sizeof profile));
    auto* stale = reinterpret_cast<uint8_t*>(8);  // to follow it would be a fault
    profile.tagTable = reinterpret_cast<ClrIccTagEntry*>(stale);
    profile.tagData = stale;
    Zv_FreeICCProfile(&profile);
    EXPECT_EQ(stale, reinterpret_cast<uint8_t*>(Value(profile.tagTable)));
    EXPECT_EQ(stale, Value(profile.tagData));
    EXPECT_TRUE(host->Calls().empty());
}

TEST(IccFreeProfile, ReleasesTheTagsOfANegativeCount) {
    const HostScope host;
    ClrIccProfile profile;
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile, sizeof profile));
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&profile));
    AddIccTag(&profile, "cprt", CountingBytes(14));
    profile.tagCount = -1;
    Zv_FreeICCProfile(&profile);
    EXPECT_EQ(0U, host.Leaked());
    EXPECT_EQ(nullptr, Value(profile.tagTable));
    EXPECT_EQ(nullptr, Value(profile.tagData));
}

TEST(IccFreeProfile, TakesAnEmptyRecordAndNull) {
    const HostScope host;
    ClrIccProfile profile;
    ASSERT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile, sizeof profile));
    Zv_FreeICCProfile(&profile);
    Zv_FreeICCProfile(nullptr);
    EXPECT_TRUE(host->Calls().empty());
}

// --- Setters --------------------------------------------------------------------------------------------------------

/// A setter of a signature: what it accepts and where that goes.
struct SignatureSetter {
    std::string_view name;
    int32_t (*set)(ClrIccProfile*, int32_t);
    size_t offset;
    std::vector<uint32_t> accepted;
};

std::vector<SignatureSetter> SignatureSetters() {
    std::vector<uint32_t> platforms = Signatures(kPlatforms);
    platforms.push_back(0);
    return {{"class", Zv_SetICCDeviceClass, 12, Signatures(kClasses)},
            {"space", Zv_SetICCColorSpace, 16, Signatures(kColorSpaces)},
            {"platform", Zv_SetICCPrimaryPlatform, 40, platforms}};
}

TEST(IccSetters, TakeTheSignaturesOfTheirListsAndNoOthers) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    for (const SignatureSetter& setter : SignatureSetters()) {
        size_t accepted = 0;
        for (const uint32_t value : ValuesAround(setter.accepted)) {
            FillHeader(profile);
            const bool listed =
                std::find(setter.accepted.begin(), setter.accepted.end(), value) != setter.accepted.end();
            EXPECT_EQ(listed ? CLR_SUCCESS : ERR_INVALID_PARAMETER, setter.set(profile, Signed(value)))
                << setter.name << ' ' << std::hex << value;
            EXPECT_EQ(listed ? FilledBut(setter.offset, Little(value, 4)) : FilledBut(0, {}), IccHeaderBytesOf(profile))
                << setter.name << ' ' << std::hex << value;
            accepted += listed;
        }
        EXPECT_EQ(setter.accepted.size(), accepted);
    }
    EXPECT_EQ(25U, std::size(kColorSpaces));
}

TEST(IccSetters, TakeAnyNumberWhereThereIsNoList) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const struct {
        int32_t (*set)(ClrIccProfile*, uint32_t);
        size_t offset;
    } setters[] = {
        {Zv_SetICCCMMType, 4}, {Zv_SetICCDevManufacturer, 48}, {Zv_SetICCDevModel, 52}, {Zv_SetICCCreator, 80}};
    for (const auto& setter : setters) {
        for (const uint32_t value : {0U, 1U, 0x41424344U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            FillHeader(profile);
            EXPECT_EQ(CLR_SUCCESS, setter.set(profile, value));
            EXPECT_EQ(FilledBut(setter.offset, Little(value, 4)), IccHeaderBytesOf(profile));
        }
    }
}

TEST(IccSetters, MaskFlagsAndAttributes) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    for (uint32_t value = 0; value < 256; ++value) {
        FillHeader(profile);
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCFlags(profile, static_cast<uint8_t>(value)));
        EXPECT_EQ(FilledBut(44, Little(value & 3, 4)), IccHeaderBytesOf(profile)) << value;
        FillHeader(profile);
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCDeviceAttributes(profile, static_cast<uint8_t>(value)));
        EXPECT_EQ(FilledBut(56, Little(value & 15, 8)), IccHeaderBytesOf(profile)) << value;
    }
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCFlags(profile, 7));
    EXPECT_EQ(3U, Value(profile->header->flags));
    profile->header->attributes = UINT64_MAX;
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCDeviceAttributes(profile, 0x1F));
    EXPECT_EQ(0xFU, Value(profile->header->attributes));
}

TEST(IccSetters, TakeFourIntents) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    for (const uint32_t intent : {0U, 1U, 2U, 3U}) {
        FillHeader(profile);
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCRenderingIntent(profile, intent));
        EXPECT_EQ(FilledBut(64, Little(intent, 4)), IccHeaderBytesOf(profile));
    }
    for (const uint32_t intent : {4U, 5U, 255U, 0x10000U, 0x10001U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        FillHeader(profile);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCRenderingIntent(profile, intent));
        EXPECT_EQ(FilledBut(0, {}), IccHeaderBytesOf(profile));
    }
}

TEST(IccSetters, CopySixNumbersOfADate) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    FillHeader(profile);
    // Months beyond 12 and the like are the caller's; the array may begin anywhere and end at the last number.
    const Bytes date =
        Little(2026, 2) + Little(13, 2) + Little(0xFFFF, 2) + Little(0, 2) + Little(99, 2) + Little(1, 2);
    const GuardedBuffer room(date.size());
    std::copy(date.begin(), date.end(), room.begin());
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCDateTime(profile, reinterpret_cast<const uint16_t*>(room.Data())));
    EXPECT_EQ(FilledBut(24, date), IccHeaderBytesOf(profile));
    EXPECT_EQ(2026, Value(profile->header->dateTime[0]));
    EXPECT_EQ(1, Value(profile->header->dateTime[5]));
    FillHeader(profile);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDateTime(profile, nullptr));
    const auto* past = reinterpret_cast<const uint16_t*>(room.Data() + 1);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDateTime(profile, past)) << "its last byte cannot be read";
    EXPECT_EQ(FilledBut(0, {}), IccHeaderBytesOf(profile));
}

TEST(IccSetters, ClearTheIdentifier) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    FillHeader(profile);
    EXPECT_EQ(CLR_SUCCESS, Zv_SetICCProfileId(profile));
    EXPECT_EQ(FilledBut(84, Bytes(16)), IccHeaderBytesOf(profile));
}

TEST(IccSetters, NeedAProfileAndAHeader) {
    const HostScope host;
    IccProfileHolder empty;
    for (ClrIccProfile* profile : {static_cast<ClrIccProfile*>(nullptr), empty.Get()}) {
        const uint16_t date[6] = {};
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCProfileId(profile));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCCMMType(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDeviceClass(profile, Signed(FourCc("mntr"))));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCColorSpace(profile, Signed(FourCc("RGB "))));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCConnectionSpace(profile, Signed(FourCc("Lab "))));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCPrimaryPlatform(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCFlags(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDevManufacturer(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDevModel(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDeviceAttributes(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCRenderingIntent(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCCreator(profile, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCDateTime(profile, date));
    }
}

TEST(IccSetters, ConnectionSpacesDependOnTheClass) {
    const HostScope host;
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const std::vector<uint32_t> spaces = Signatures(kColorSpaces);
    const std::set<uint32_t> values = ValuesAround(spaces);
    std::vector<uint32_t> classes = Signatures(kClasses);
    // A parsed header may hold others, which connect as those of devices do.
    for (const uint32_t other : {0U, 1U, FourCc("LINK"), FourCc("cenc")}) classes.push_back(other);
    for (const uint32_t deviceClass : classes) {
        size_t accepted = 0;
        for (const uint32_t value : values) {
            FillHeader(profile);
            profile->header->deviceClass = deviceClass;
            const Bytes before = IccHeaderBytesOf(profile);
            const bool space = std::find(spaces.begin(), spaces.end(), value) != spaces.end();
            const bool pcs = value == FourCc("XYZ ") || value == FourCc("Lab ");
            const bool takes = deviceClass == FourCc("link") ? space : deviceClass != 0 && pcs;
            EXPECT_EQ(takes ? CLR_SUCCESS : ERR_INVALID_PARAMETER, Zv_SetICCConnectionSpace(profile, Signed(value)))
                << std::hex << deviceClass << ' ' << value;
            Bytes after = before;
            const Bytes field = Little(value, 4);
            if (takes) std::copy(field.begin(), field.end(), after.begin() + 20);
            EXPECT_EQ(after, IccHeaderBytesOf(profile)) << std::hex << deviceClass << ' ' << value;
            accepted += takes;
        }
        EXPECT_EQ(deviceClass == FourCc("link") ? 25U : deviceClass == 0 ? 0U : 2U, accepted);
    }
}

}  // namespace
}  // namespace zv::test
