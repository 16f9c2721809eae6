// Loads from a scripted image file, and what has to hold after each.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "Common/IccLoad/load.h"
#include "tests/support/recording_host.h"
#include "tests/support/recording_images.h"

namespace zv::test {

inline constexpr ZvChar kImageName[] = ZV_WIDE("folder/an image");
inline const std::u16string kImageText = u"folder/an image";

inline constexpr int32_t kMarkerFormat = 10;
inline constexpr int32_t kTagFormat = 3;
inline constexpr int32_t kEpsFormat = 16;
inline constexpr int32_t kChunkFormat = 56;
inline constexpr int32_t kGifFormat = 2;

/// A record whose image, if it has one, is released at the end.
class LoadedProfile {
public:
    LoadedProfile() { Zv_InitICCProfile(&record_, sizeof record_); }
    ~LoadedProfile() {
        if (record_.profileData != nullptr) HostFreeShared(record_.profileData, __LINE__, nullptr);
    }
    LoadedProfile(const LoadedProfile&) = delete;
    LoadedProfile& operator=(const LoadedProfile&) = delete;

    ClrIccProfile* Get() { return &record_; }
    ClrIccProfile* operator->() { return &record_; }
    bool HasData() const { return record_.profileData != nullptr; }
    uint8_t* Data() const { return record_.profileData; }
    uint64_t Size() const { return record_.profileSize; }
    /// A block of the host's, as an earlier load leaves it. The bytes that were there are forgotten.
    void Give(const std::string& bytes) {
        record_.profileData =
            static_cast<uint8_t*>(HostAllocShared(static_cast<int64_t>(bytes.size()), 1, __LINE__, nullptr));
        HostCopy(record_.profileData, bytes.data(), bytes.size());
        record_.profileSize = bytes.size();
    }
    std::string Bytes() const {
        return HasData() ? std::string(reinterpret_cast<const char*>(Data()), Size()) : std::string();
    }

private:
    ClrIccProfile record_;
};

/// What a load gives: the result, and the bytes if there is a block.
struct LoadOutcome {
    int32_t result;
    bool hasData;
    std::string bytes;

    friend bool operator==(const LoadOutcome&, const LoadOutcome&) = default;
    friend std::ostream& operator<<(std::ostream& out, const LoadOutcome& outcome) {
        return out << "result " << outcome.result << (outcome.hasData ? ", " : ", no block, ") << outcome.bytes.size()
                   << " bytes: " << ::testing::PrintToString(outcome.bytes.substr(0, 200));
    }
};

/// Nothing stays open or live but the profile's block.
inline LoadOutcome Load(const ImageScript& script, LoadedProfile* profile, const void* options = nullptr) {
    const size_t before = RecordingHost::Get().LiveCount();
    const bool had = profile->HasData();
    const int32_t result = Zv_LoadICCProfile(kImageName, profile->Get(), options);
    EXPECT_EQ(before + size_t{profile->HasData()} - size_t{had}, RecordingHost::Get().LiveCount());
    EXPECT_EQ(0, script.OpenStreams());
    EXPECT_EQ(0U, script.LiveMarkers());
    if (!profile->HasData() && result != ERR_FAILURE) {
        EXPECT_EQ(0U, profile->Size());
    }
    return {result, profile->HasData(), profile->Bytes()};
}

inline LoadOutcome Load(const ImageScript& script) {
    LoadedProfile profile;
    return Load(script, &profile);
}

/// Bytes that differ from their neighbours, and from run to run of 256.
inline std::string SomeBytes(size_t count, uint32_t seed = 1) {
    std::string bytes;
    bytes.reserve(count);
    uint32_t state = seed * 2654435761U + 12345;
    for (size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(state >> 24)));
    }
    return bytes;
}

}  // namespace zv::test
