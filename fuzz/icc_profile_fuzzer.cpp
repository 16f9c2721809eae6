// Bytes as a profile image: parsed, every tag read and set again, tags deleted, images generated and parsed again.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/icc_settable_record.h"

namespace {

using namespace zv;
using Bytes = std::vector<uint8_t>;
using test::IccSettableRecord;
using test::IccSurvivesSetting;

/// Later tags are found by deletion only: each is looked for from the front.
constexpr int32_t kMostReads = 64;
constexpr int32_t kMostDeletions = 24;

void Require(bool condition) {
    if (!condition) std::abort();
}

bool Done(int32_t result) {
    return result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG || result == ERR_UNKNOWN_TAG_TYPE ||
           result == ERR_UNKNOWN_TAG_AND_TYPE;
}

class Profile {
public:
    Profile() { Require(Zv_InitICCProfile(&record_, sizeof record_) == CLR_SUCCESS); }
    ~Profile() { Zv_FreeICCProfile(&record_); }
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    ClrIccProfile* Get() { return &record_; }
    ClrIccProfile* operator->() { return &record_; }

private:
    ClrIccProfile record_;
};

/// A record of any type, released as what it was read as.
class Record {
public:
    Record() { std::memset(&record_, 0, sizeof record_); }
    ~Record() { Free(); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    int32_t Read(ClrIccProfile* profile, uint32_t tag) {
        type_ = Zv_GetICCTagTypeSig(profile, tag);
        return Zv_GetICCTagData(profile, &record_, tag);
    }
    int32_t Delete(ClrIccProfile* profile, uint32_t tag) {
        type_ = Zv_GetICCTagTypeSig(profile, tag);
        return Zv_DeleteICCTag(profile, tag, &record_);
    }
    void Free() {
        Zv_FreeICCTagType(&record_, type_);
        Zv_FreeICCTagType(&record_, type_);
    }
    uint32_t Type() const { return type_; }
    ClrIccTagRecord* Get() { return &record_; }
    ClrIccTagRecord* operator->() { return &record_; }

private:
    ClrIccTagRecord record_;
    uint32_t type_ = 0;
};

Bytes BodyOf(ClrIccProfile* profile, int32_t index) {
    const ClrIccTagEntry& entry = profile->tagTable[index];
    uint64_t place = 0;
    Require(IccFindBody(profile, entry, &place));
    return {profile->tagData + place, profile->tagData + place + entry.size};
}

/// The body that was set is the beginning of the one that was read.
void CompareBodies(ClrIccProfile* from, int32_t index, ClrIccProfile* to) {
    const Bytes read = BodyOf(from, index);
    const Bytes set = BodyOf(to, to->tagCount - 1);
    Require(set.size() <= read.size() && set.size() >= 8);
    Require(std::equal(set.begin(), set.begin() + 4, read.begin()));
    for (size_t i = 8; i < set.size(); ++i) {
        const bool reserved = set[0] == 'p' && set[1] == 'a' && i < 12 && i >= 10;
        Require(reserved || set[i] == read[i]);
    }
}

void ReadAndSetAgain(ClrIccProfile* from, ClrIccProfile* to) {
    const int32_t count = std::min(IccTableLength(from), kMostReads);
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t tag = from->tagTable[i].signature;
        Record record;
        const int32_t result = record.Read(from, tag);
        Require(Done(result) || result == ERR_INVALID_PARAMETER || result == ERR_BAD_TAG || result == ERR_FAILURE);
        if (!Done(result)) continue;
        Require(record.Type() == record->typeSig);
        const int32_t before = to->tagCount;
        IccSettableRecord settable(*record.Get(), record.Type());
        const int32_t set = Zv_SetICCTagData(to, settable.Get(), tag, record.Type());
        Require(set == result || set == ERR_INVALID_PARAMETER);
        Require(to->tagCount == before + (set == result ? 1 : 0));
        if (set != result) continue;
        if (IccSurvivesSetting(*record.Get(), record.Type()) && IccFindTag(from, tag) == i) CompareBodies(from, i, to);
        Record again;
        again.Read(to, tag);
    }
}

/// Generated and parsed again, a profile is the same.
void RoundTrip(ClrIccProfile* profile) {
    Require(Zv_GenerateICCPointer(profile) == CLR_SUCCESS);
    Profile again;
    const uint32_t version = profile->header->version;
    const int32_t result = Zv_FillICCProfileStructure(again.Get(), profile->profileData, profile->profileSize);
    Require(result == (version < 0x04000000 ? ERR_BAD_PROFILE : CLR_SUCCESS));
    if (result != CLR_SUCCESS) return;
    Require(again->tagCount == profile->tagCount);
    if (profile->tagCount == 0) return;
    Require(again->tagDataSize == profile->tagDataSize);
    const size_t tableBytes = sizeof(ClrIccTagEntry) * static_cast<size_t>(profile->tagCount);
    Require(std::memcmp(again->tagTable, profile->tagTable, tableBytes) == 0);
    Require(std::memcmp(again->tagData, profile->tagData, profile->tagDataSize) == 0);
    Require(Zv_GenerateICCPointer(again.Get()) == CLR_SUCCESS);
    Require(again->profileSize == profile->profileSize);
    Require(std::memcmp(again->profileData, profile->profileData, profile->profileSize) == 0);
}

/// Deletes tags from here and there, with a record and without one.
void Delete(ClrIccProfile* profile, uint32_t seed) {
    for (int32_t i = 0; i < kMostDeletions && profile->tagCount > 0; ++i) {
        seed = seed * 1664525 + 1013904223;
        const auto index = static_cast<int32_t>((seed >> 8) % static_cast<uint32_t>(profile->tagCount));
        const uint32_t tag = profile->tagTable[index].signature;
        const int32_t before = profile->tagCount;
        int32_t result = ERR_BAD_TAG;
        if ((seed & 0x100) != 0) {
            Record record;
            result = record.Delete(profile, tag);
        } else {
            result = Zv_DeleteICCTag(profile, tag, nullptr);
            Require(result == CLR_SUCCESS || result == ERR_BAD_TAG);
        }
        Require(profile->tagCount == before - (result == CLR_SUCCESS ? 1 : 0));
        if (i < 4 && profile->tagCount > 0) RoundTrip(profile);
    }
    if (profile->tagCount == 0) Require(Zv_DeleteICCTag(profile, 0, nullptr) == ERR_INVALID_PARAMETER);
}

uint32_t SeedOf(const uint8_t* data, size_t size) {
    uint32_t seed = 1;
    for (size_t i = 0; i < size; ++i) seed = seed * 31 + data[i];
    return seed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Profile profile;
    const int32_t result = Zv_FillICCProfileStructure(profile.Get(), data, size);
    if (result != CLR_SUCCESS) {
        Require(result == ERR_BAD_PROFILE || (size == 0 && result == ERR_INVALID_PARAMETER));
        Zv_GetICCTagTypeSig(profile.Get(), IccSignature("wtpt"));
        if (profile->header != nullptr) Zv_GenerateICCPointer(profile.Get());
        return 0;
    }
    Profile copy;
    Require(Zv_InitICCHeader(copy.Get()) == CLR_SUCCESS);
    ReadAndSetAgain(profile.Get(), copy.Get());
    RoundTrip(copy.Get());
    Profile second;
    Require(Zv_InitICCHeader(second.Get()) == CLR_SUCCESS);
    ReadAndSetAgain(copy.Get(), second.Get());

    if (profile->tagCount > 0) RoundTrip(profile.Get());
    Delete(profile.Get(), SeedOf(data, size));
    Delete(copy.Get(), SeedOf(data, size / 2));
    // Whatever is left takes new tags.
    if (profile->tagCount >= 0) ReadAndSetAgain(second.Get(), profile.Get());
    return 0;
}
