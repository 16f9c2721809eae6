#include "tests/support/icc_profile_support.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Common/IccProfile/profile.h"

namespace zv::test {

namespace {

constexpr size_t kHeaderSize = 128;
constexpr size_t kTableOffset = 132;
constexpr size_t kEntrySize = 12;

/// A table may be shorter than its count after a failed insertion.
size_t TableLength(const ClrIccProfile* profile) { return static_cast<size_t>(IccTableLength(profile)); }

}  // namespace

void PutBig64(Bytes& bytes, uint64_t value) {
    for (int shift = 56; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

void SetBig64(Bytes& bytes, size_t offset, uint64_t value) {
    for (size_t i = 0; i < 8; ++i) bytes.at(offset + i) = static_cast<uint8_t>(value >> (56 - 8 * i));
}

uint16_t GetBig16(const Bytes& bytes, size_t offset) {
    return static_cast<uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}

uint64_t GetBig64(const Bytes& bytes, size_t offset) {
    return uint64_t{GetBig32(bytes, offset)} << 32 | GetBig32(bytes, offset + 4);
}

Bytes operator+(Bytes front, const Bytes& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

Bytes TypedBody(std::string_view type, const Bytes& rest) {
    Bytes body;
    PutBig32(body, FourCc(type));
    PutBig32(body, 0);
    return body + rest;
}

Bytes BigWords(const std::vector<uint16_t>& words) {
    Bytes bytes;
    for (const uint16_t word : words) PutBig16(bytes, word);
    return bytes;
}

Bytes BigLongs(const std::vector<uint32_t>& longs) {
    Bytes bytes;
    for (const uint32_t value : longs) PutBig32(bytes, value);
    return bytes;
}

Bytes CountingBytes(size_t count, uint8_t first) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>((first + i - 1) % 255 + 1);
    return bytes;
}

// --- Images ---------------------------------------------------------------------------------------------------------

IccImageBuilder::IccImageBuilder() : header(kHeaderSize) {
    SetBig32(header, 8, 0x04200000);
    SetBig32(header, 12, FourCc("mntr"));
    SetBig32(header, 16, FourCc("RGB "));
    SetBig32(header, 20, FourCc("XYZ "));
    SetBig32(header, 36, FourCc("acsp"));
}

IccImageBuilder& IccImageBuilder::Tag(std::string_view signature, const Bytes& body) {
    items_.push_back({FourCc(signature), bodies_.size(), 0, 0});
    bodies_.push_back(body);
    return *this;
}

IccImageBuilder& IccImageBuilder::Entry(std::string_view signature, uint32_t offset, uint32_t size) {
    items_.push_back({FourCc(signature), std::nullopt, offset, size});
    return *this;
}

IccImageBuilder& IccImageBuilder::Share(std::string_view signature, size_t index) {
    items_.push_back({FourCc(signature), items_.at(index).body, 0, 0});
    return *this;
}

Bytes IccImageBuilder::Build() const {
    std::vector<size_t> offsets;
    Bytes data;
    const size_t dataOffset = kTableOffset + kEntrySize * items_.size();
    for (const Bytes& body : bodies_) {
        offsets.push_back(dataOffset + data.size());
        data = data + body;
        while (padded && data.size() % 4 != 0) data.push_back(0);
    }
    data = data + tail;
    Bytes image = header;
    PutBig32(image, countField.value_or(static_cast<uint32_t>(items_.size())));
    for (const Item& item : items_) {
        PutBig32(image, item.signature);
        PutBig32(image, item.body ? static_cast<uint32_t>(offsets[*item.body]) : item.offset);
        PutBig32(image, item.body ? static_cast<uint32_t>(bodies_[*item.body].size()) : item.size);
    }
    image = image + data;
    SetBig32(image, 0, sizeField.value_or(static_cast<uint32_t>(image.size())));
    return image;
}

Bytes IccImageOf(std::string_view signature, const Bytes& body) {
    return IccImageBuilder().Tag(signature, body).Build();
}

// --- Records --------------------------------------------------------------------------------------------------------

IccProfileHolder::IccProfileHolder(Start start) {
    EXPECT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&record_, sizeof record_));
    if (start == Start::kHeader) {
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&record_));
    }
}

IccProfileHolder::IccProfileHolder(const Bytes& image) : IccProfileHolder() {
    EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileStructure(&record_, image.data(), image.size()));
}

IccProfileHolder::~IccProfileHolder() { Zv_FreeICCProfile(&record_); }

void AddIccTag(ClrIccProfile* profile, std::string_view signature, const Bytes& body) {
    const ClrIccTagEntry entry = {FourCc(signature), 0, static_cast<uint32_t>(body.size())};
    uint8_t* place = IccInsertTag(profile, &entry, IccPadding(body.size()));
    ASSERT_NE(nullptr, place);
    std::copy(body.begin(), body.end(), place);
}

Bytes GenerateIccImage(ClrIccProfile* profile) {
    EXPECT_EQ(CLR_SUCCESS, Zv_GenerateICCPointer(profile));
    return IccImageBytesOf(profile);
}

std::vector<ClrIccTagEntry> IccTableOf(const ClrIccProfile* profile) {
    const ClrIccTagEntry* table = profile->tagTable;
    if (profile->tagCount < 1 || table == nullptr) return {};
    return {table, table + TableLength(profile)};
}

Bytes IccTagDataOf(const ClrIccProfile* profile) {
    const uint8_t* data = profile->tagData;
    if (profile->tagCount == 0 || data == nullptr) return {};
    return {data, data + profile->tagDataSize};
}

Bytes IccImageBytesOf(const ClrIccProfile* profile) {
    const uint8_t* image = profile->profileData;
    if (image == nullptr) return {};
    return {image, image + profile->profileSize};
}

Bytes IccHeaderBytesOf(const ClrIccProfile* profile) {
    if (profile->header == nullptr) return {};
    Bytes bytes(kHeaderSize);
    std::memcpy(bytes.data(), profile->header, bytes.size());
    return bytes;
}

ClrIccTagEntry IccEntryOf(const ClrIccProfile* profile, std::string_view signature) {
    for (const ClrIccTagEntry& entry : IccTableOf(profile)) {
        if (entry.signature == FourCc(signature)) return entry;
    }
    ADD_FAILURE() << "no tag " << signature;
    return {};
}

Bytes IccBodyOf(const ClrIccProfile* profile, std::string_view signature) {
    const ClrIccTagEntry entry = IccEntryOf(profile, signature);
    const Bytes data = IccTagDataOf(profile);
    const uint64_t front = kTableOffset + kEntrySize * static_cast<uint64_t>(profile->tagCount);
    if (entry.offset < front || entry.offset - front + entry.size > data.size()) {
        ADD_FAILURE() << "no body of " << signature;
        return {};
    }
    const auto begin = data.begin() + static_cast<ptrdiff_t>(entry.offset - front);
    return {begin, begin + static_cast<ptrdiff_t>(entry.size)};
}

IccRecordHolder::~IccRecordHolder() { Free(); }

int32_t IccRecordHolder::Read(const ClrIccProfile* profile, std::string_view tagSignature) {
    Free();
    std::memset(&record_, 0, sizeof record_);
    type_ = Zv_GetICCTagTypeSig(profile, FourCc(tagSignature));
    return Zv_GetICCTagData(profile, &record_, FourCc(tagSignature));
}

int32_t IccRecordHolder::Delete(ClrIccProfile* profile, std::string_view tagSignature) {
    Free();
    std::memset(&record_, 0, sizeof record_);
    type_ = Zv_GetICCTagTypeSig(profile, FourCc(tagSignature));
    return Zv_DeleteICCTag(profile, FourCc(tagSignature), &record_);
}

int32_t IccRecordHolder::Make(void* hostRecord, std::string_view typeSignature) {
    Free();
    std::memset(&record_, 0, sizeof record_);
    type_ = FourCc(typeSignature);
    return Zv_CreateICCTagData(&record_, hostRecord, type_);
}

void IccRecordHolder::Free() {
    // A record that was never filled is all zero, and so nothing is released of it.
    Zv_FreeICCTagType(&record_, type_);
}

}  // namespace zv::test
