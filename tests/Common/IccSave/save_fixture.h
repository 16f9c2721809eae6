// Saves into a scripted image file.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Common/IccSave/save.h"
#include "tests/support/recording_host.h"
#include "tests/support/recording_images.h"

namespace zv::test {

inline constexpr ZvChar kSavedName[] = ZV_WIDE("folder/a saved image");
inline const std::u16string kSavedText = u"folder/a saved image";

inline constexpr int32_t kSavedMarkerFormat = 10;
inline constexpr int32_t kSavedTagFormat = 3;
inline constexpr int32_t kSavedGifFormat = 2;

/// A record with this image; the bytes stay the test's.
class SavedProfile {
public:
    explicit SavedProfile(std::string bytes) : bytes_(bytes.begin(), bytes.end()) {
        Zv_InitICCProfile(&record_, sizeof record_);
        record_.profileData = bytes_.data();
        record_.profileSize = bytes_.size();
    }
    SavedProfile(const SavedProfile&) = delete;
    SavedProfile& operator=(const SavedProfile&) = delete;

    const ClrIccProfile* Get() const { return &record_; }
    ClrIccProfile* operator->() { return &record_; }
    const uint8_t* Data() const { return bytes_.data(); }

private:
    std::vector<uint8_t> bytes_;  // of its own size, so that reads past the end are seen
    ClrIccProfile record_;
};

/// Bytes that differ from their neighbours.
inline std::string ProfileBytes(size_t count) {
    std::string bytes(count, '\0');
    uint32_t state = 99;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(static_cast<unsigned char>(state >> 24));
    }
    return bytes;
}

}  // namespace zv::test
