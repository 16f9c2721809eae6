// Profiles that a test fills, and a record of every type.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "zvicc.h"

namespace zvtest {

inline uint32_t signatureOf(const std::string& letters) {
    EXPECT_EQ(letters.size(), 4U);
    uint32_t signature = 0;
    for (const char letter : letters) signature = signature << 8 | static_cast<uint8_t>(letter);
    return signature;
}

/// With a header and without tags, released at its end.
class TestProfile {
public:
    TestProfile() {
        EXPECT_EQ(Zv_InitICCProfile(&profile_, sizeof profile_), CLR_SUCCESS);
        EXPECT_EQ(Zv_InitICCHeader(&profile_), CLR_SUCCESS);
    }
    ~TestProfile() { Zv_FreeICCProfile(&profile_); }
    TestProfile(const TestProfile&) = delete;
    TestProfile& operator=(const TestProfile&) = delete;

    ClrIccProfile* operator->() { return &profile_; }
    ClrIccProfile* get() { return &profile_; }
    int32_t set(const std::string& tag, const std::string& type, void* record) {
        return Zv_SetICCTagData(&profile_, record, signatureOf(tag), signatureOf(type));
    }
    /// The record is cleared first.
    template <class Record>
    int32_t read(const std::string& tag, Record* record) {
        std::memset(static_cast<void*>(record), 0, sizeof *record);
        return Zv_GetICCTagData(&profile_, record, signatureOf(tag));
    }

private:
    ClrIccProfile profile_;
};

/// A record in image form, released at its end.
class ImageRecord {
public:
    ImageRecord(const std::string& type, void* host) : type_(signatureOf(type)) {
        std::memset(static_cast<void*>(&record), 0, sizeof record);
        EXPECT_EQ(Zv_CreateICCTagData(&record, host, type_), CLR_SUCCESS);
    }
    ~ImageRecord() { Zv_FreeICCTagType(&record, type_); }
    ImageRecord(const ImageRecord&) = delete;
    ImageRecord& operator=(const ImageRecord&) = delete;

    ClrIccTagRecord record;

private:
    uint32_t type_;
};

/// A list without elements.
ClrIccTagArray* noBytes();

/// Adds the document's sample of the type, under the tag "A2B0".
int32_t setSample(TestProfile* profile, const std::string& type);

/// "pseq" of one profile whose texts have these units, "abcdef...".
int32_t setSequence(TestProfile* profile, uint32_t manufacturerUnits, uint32_t modelUnits);

/// A run of `count` tables in steps of 16 bytes.
std::vector<uint8_t> runOf(uint32_t count, uint32_t entryCount, const uint16_t* entries);

}  // namespace zvtest
