// Profile records and version 4 profile images for the tests of the profile objects.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "tests/support/profile_builder.h"
#include "zvicc.h"

namespace zv::test {

// --- Numbers --------------------------------------------------------------------------------------------------------

/// Appends eight bytes, the highest first. PutBig16, PutBig32, SetBig16, SetBig32 and GetBig32 are in
/// profile_builder.h.
void PutBig64(Bytes& bytes, uint64_t value);
void SetBig64(Bytes& bytes, size_t offset, uint64_t value);
uint16_t GetBig16(const Bytes& bytes, size_t offset);
uint64_t GetBig64(const Bytes& bytes, size_t offset);

/// A copy of a field of a packed record: EXPECT_EQ takes references, and a field may lie on any address.
template <class T>
T Value(T field) {
    return field;
}

// --- Bodies ---------------------------------------------------------------------------------------------------------

Bytes operator+(Bytes front, const Bytes& back);
/// The head of a tag's body, its type and four zero bytes, and what follows it.
Bytes TypedBody(std::string_view type, const Bytes& rest = {});
Bytes BigWords(const std::vector<uint16_t>& words);
Bytes BigLongs(const std::vector<uint32_t>& longs);
/// 1, 2, 3, ... from `first` on, never 0.
Bytes CountingBytes(size_t count, uint8_t first = 1);

// --- Images ---------------------------------------------------------------------------------------------------------

/// A profile image made from tags. Everything in it may be overwritten: the header's bytes directly, sizes and counts
/// by the fields below, entries by Entry().
class IccImageBuilder {
public:
    /// Version 4.2, "mntr", "RGB ", "XYZ ", "acsp"; zero otherwise.
    IccImageBuilder();

    /// A tag behind those that are there. The body is followed by zero bytes up to a multiple of four.
    IccImageBuilder& Tag(std::string_view signature, const Bytes& body);
    /// An entry as it stands, without a body. Offset and size may be anything.
    IccImageBuilder& Entry(std::string_view signature, uint32_t offset, uint32_t size);
    /// An entry that shares the body of the tag of that index.
    IccImageBuilder& Share(std::string_view signature, size_t index);

    Bytes Build() const;

    Bytes header;                        ///< 128 bytes; the size field is filled in by Build()
    std::optional<uint32_t> sizeField;   ///< in place of the right size
    std::optional<uint32_t> countField;  ///< in place of the right count
    bool padded = true;                  ///< bodies of Build() end on multiples of four
    Bytes tail;                          ///< behind the last body; counted by the size field

private:
    struct Item {
        uint32_t signature = 0;
        std::optional<size_t> body;
        uint32_t offset = 0;
        uint32_t size = 0;
    };
    std::vector<Item> items_;
    std::vector<Bytes> bodies_;
};

/// An image of one tag.
Bytes IccImageOf(std::string_view signature, const Bytes& body);

// --- Records --------------------------------------------------------------------------------------------------------

/// A profile of the library's, released at the end. Converts to the pointer that every operation takes.
class IccProfileHolder {
public:
    enum class Start { kEmpty, kHeader };

    /// Initialised; with a header if asked for.
    explicit IccProfileHolder(Start start = Start::kEmpty);
    /// Parsed from an image, which must succeed.
    explicit IccProfileHolder(const Bytes& image);
    ~IccProfileHolder();
    IccProfileHolder(const IccProfileHolder&) = delete;
    IccProfileHolder& operator=(const IccProfileHolder&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor)
    operator ClrIccProfile*() { return &record_; }
    ClrIccProfile* operator->() { return &record_; }
    const ClrIccProfile* operator->() const { return &record_; }
    ClrIccProfile* Get() { return &record_; }
    const ClrIccProfile* Get() const { return &record_; }

private:
    ClrIccProfile record_;
};

/// Adds a tag of any bytes, padded as tags are. Expects that it works.
void AddIccTag(ClrIccProfile* profile, std::string_view signature, const Bytes& body);
/// What Zv_GenerateICCPointer makes. Expects that it works.
Bytes GenerateIccImage(ClrIccProfile* profile);

std::vector<ClrIccTagEntry> IccTableOf(const ClrIccProfile* profile);
Bytes IccTagDataOf(const ClrIccProfile* profile);
Bytes IccImageBytesOf(const ClrIccProfile* profile);
/// The header's 128 bytes as they lie in memory.
Bytes IccHeaderBytesOf(const ClrIccProfile* profile);
/// The body of the first tag of that signature; a failure without one.
Bytes IccBodyOf(const ClrIccProfile* profile, std::string_view signature);
/// The entry of the first tag of that signature; a failure without one.
ClrIccTagEntry IccEntryOf(const ClrIccProfile* profile, std::string_view signature);

/// Room for a tag's record, released at the end as the type that it was read or made as.
class IccRecordHolder {
public:
    IccRecordHolder() { std::memset(&record_, 0, sizeof record_); }
    ~IccRecordHolder();
    IccRecordHolder(const IccRecordHolder&) = delete;
    IccRecordHolder& operator=(const IccRecordHolder&) = delete;

    /// Zv_GetICCTagData into this record.
    int32_t Read(const ClrIccProfile* profile, std::string_view tagSignature);
    /// Zv_DeleteICCTag with this record.
    int32_t Delete(ClrIccProfile* profile, std::string_view tagSignature);
    /// Zv_CreateICCTagData into this record.
    int32_t Make(void* hostRecord, std::string_view typeSignature);
    /// Releases now; may be called again.
    void Free();

    ClrIccTagRecord* operator->() { return &record_; }
    ClrIccTagRecord* Get() { return &record_; }

private:
    ClrIccTagRecord record_;
    uint32_t type_ = 0;
};

}  // namespace zv::test
