// Records with arrays between guard pages, and what a profile holds when such a record has been set.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "Common/IccProfile/tag_types.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"
#include "zvicc.h"

namespace zv::test {

/// The arrays of a caller's record: each ends where memory ends, or each begins at an odd address.
class TagArrays {
public:
    enum class Place { kAtTheEnd, kOdd };

    explicit TagArrays(Place place = Place::kAtTheEnd) : place_(place) {}

    /// The n-th array, counted from 0, is told to be a byte further on than it is, so that its last byte cannot be
    /// read.
    void Spoil(size_t n) { spoiled_ = static_cast<int64_t>(n); }
    /// The n-th array is null.
    void Omit(size_t n) { omitted_ = static_cast<int64_t>(n); }
    size_t Count() const { return count_; }

    template <class T>
    T* Put(const std::vector<T>& values) {
        return static_cast<T*>(Keep(values.data(), values.size() * sizeof(T)));
    }
    void* PutBytes(const Bytes& bytes) { return Keep(bytes.data(), bytes.size()); }

private:
    void* Keep(const void* bytes, size_t size) {
        const auto n = static_cast<int64_t>(count_++);
        if (n == omitted_) return nullptr;
        // One byte behind the beginning of a page.
        const size_t front = place_ == Place::kOdd ? 1 : 0;
        const auto side = place_ == Place::kOdd ? GuardedBuffer::Side::kFront : GuardedBuffer::Side::kBack;
        blocks_.push_back(std::make_unique<GuardedBuffer>(front + size, side));
        uint8_t* to = blocks_.back()->Data() + front;
        if (size != 0) std::memcpy(to, bytes, size);
        return n == spoiled_ ? to + 1 : to;
    }

    Place place_;
    int64_t spoiled_ = -1;
    int64_t omitted_ = -1;
    size_t count_ = 0;
    std::vector<std::unique_ptr<GuardedBuffer>> blocks_;
};

inline bool IsKnownType(std::string_view type) { return IccFindTagType(FourCc(type)) != nullptr; }
/// Of an operation that succeeds on a known tag.
inline int32_t SuccessOf(std::string_view type) { return IsKnownType(type) ? CLR_SUCCESS : ERR_UNKNOWN_TAG_TYPE; }

inline int32_t SetTag(ClrIccProfile* profile, void* record, std::string_view tag, std::string_view type) {
    return Zv_SetICCTagData(profile, record, FourCc(tag), FourCc(type));
}

inline size_t PaddingOf(const Bytes& body, bool padded) { return padded ? (4 - body.size() % 4) % 4 : 0; }

/// Sets the record twice, and compares table, sizes and every byte of the tag data.
inline void ExpectSet(void* record, std::string_view type, const Bytes& body, bool padded) {
    const Bytes before(static_cast<uint8_t*>(record),
                       static_cast<uint8_t*>(record) + IccTagTypeOf(FourCc(type)).recordSize);
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const auto size = static_cast<uint32_t>(body.size());
    const auto padding = static_cast<uint32_t>(PaddingOf(body, padded));
    ASSERT_EQ(SuccessOf(type), SetTag(profile, record, "targ", type));
    ASSERT_EQ(1, Value(profile->tagCount));
    EXPECT_EQ(FourCc("targ"), IccTableOf(profile)[0].signature);
    EXPECT_EQ(144U, IccTableOf(profile)[0].offset);
    EXPECT_EQ(size, IccTableOf(profile)[0].size);
    EXPECT_EQ(size + padding, Value(profile->tagDataSize));
    EXPECT_EQ(144 + size + padding, Value(profile->header->size));
    const Bytes stored = body + Bytes(padding, 0);
    EXPECT_EQ(stored, IccTagDataOf(profile));

    // Blocks that hold something else beforehand must end up the same.
    RecordingHost::Get().FillBlocksWith(0x3C);
    ASSERT_EQ(SuccessOf(type), SetTag(profile, record, "wtpt", type));
    ASSERT_EQ(2, Value(profile->tagCount));
    EXPECT_EQ(156U, IccTableOf(profile)[0].offset);
    EXPECT_EQ(FourCc("wtpt"), IccTableOf(profile)[1].signature);
    EXPECT_EQ(156 + size + padding, IccTableOf(profile)[1].offset);
    EXPECT_EQ(size, IccTableOf(profile)[1].size);
    EXPECT_EQ(156 + 2 * (size + padding), Value(profile->header->size));
    EXPECT_EQ(stored + stored, IccTagDataOf(profile));
    EXPECT_EQ(0, std::memcmp(before.data(), record, before.size())) << "the caller's record has changed";
}

/// Setting and making are refused, nothing is allocated for good, and the profile stays as it was.
inline void ExpectRefused(void* record, std::string_view type, int32_t expected = ERR_INVALID_PARAMETER) {
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    const size_t live = RecordingHost::Get().LiveCount();
    const Bytes header = IccHeaderBytesOf(profile);
    EXPECT_EQ(expected, SetTag(profile, record, "targ", type));
    EXPECT_EQ(0, Value(profile->tagCount));
    EXPECT_EQ(0U, Value(profile->tagDataSize));
    EXPECT_EQ(header, IccHeaderBytesOf(profile));
    EXPECT_EQ(live, RecordingHost::Get().LiveCount());
    if (type == "chrm") return;  // made from a record without a head
    ClrIccTagRecord image;
    std::memset(&image, 0xEE, sizeof image);
    EXPECT_EQ(expected, Zv_CreateICCTagData(&image, record, FourCc(type)));
    Zv_FreeICCTagType(&image, FourCc(type));
    EXPECT_EQ(live, RecordingHost::Get().LiveCount());
}

/// A body as a tag of a profile, read into a record that held something else.
class ReadBody {
public:
    explicit ReadBody(const Bytes& body) : type_(GetBig32(body, 0)) {
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        std::memset(&record_, 0xEE, sizeof record_);
        AddIccTag(profile, "targ", body);
        result_ = Zv_GetICCTagData(profile, &record_, FourCc("targ"));
    }
    ~ReadBody() { Zv_FreeICCTagType(&record_, type_); }
    ReadBody(const ReadBody&) = delete;
    ReadBody& operator=(const ReadBody&) = delete;

    int32_t Result() const { return result_; }
    ClrIccTagRecord* operator->() { return &record_; }
    ClrIccTagRecord* Record() { return &record_; }

private:
    uint32_t type_;
    ClrIccTagRecord record_;
    int32_t result_ = 0;
};

/// The body that a read record is set as.
inline Bytes SetBodyOf(void* record, std::string_view type) {
    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
    EXPECT_EQ(SuccessOf(type), SetTag(profile, record, "targ", type));
    return IccBodyOf(profile, "targ");
}

/// Of all blocks that the library holds.
inline size_t LiveBytes() {
    size_t sum = 0;
    for (const LiveBlock& block : RecordingHost::Get().LiveBlocks()) sum += block.size;
    return sum;
}

inline Bytes BytesAt(const void* bytes, size_t count) {
    return Bytes(static_cast<const uint8_t*>(bytes), static_cast<const uint8_t*>(bytes) + count);
}

/// Characters as bytes, filled up with zeros.
inline Bytes Letters(std::string_view text, size_t size = 0) {
    Bytes bytes(text.begin(), text.end());
    if (bytes.size() < size) bytes.resize(size, 0);
    return bytes;
}

template <class Record>
Record EmptyRecord() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
}

/// As a caller has it who never looks at the head.
template <class Record>
Record DirtyRecord() {
    Record record;
    std::memset(&record, 0xEE, sizeof record);
    return record;
}

}  // namespace zv::test
