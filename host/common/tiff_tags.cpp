// Tags of a TIFF file's first directory. Strips, tiles and everything else that offsets lead to stay where they are:
// what is new goes to the end of the file.
#include <algorithm>

#include "host/byte_order.h"
#include "host/common/file_replacement.h"
#include "host/common/image_file.h"
#include "host/common/save_state.h"
#include "host/memory.h"

namespace zvhost {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\tiff_tags");
constexpr uint16_t kClassic = 42;
constexpr uint16_t kBig = 43;
constexpr uint64_t kHeaderSize = 8;
// There are no more tags.
constexpr uint64_t kMostEntries = 65536;
// Byte, text, signed byte, and what has a meaning of its own.
constexpr bool IsByteType(uint16_t type) noexcept {
    return type == 1 || type == 2 || type == 6 || type == kHostTagUndefined;
}

/// What differs between the classic form and the one with 64-bit offsets.
struct Layout {
    ByteOrder order = ByteOrder();
    uint32_t offsetSize;  ///< of an offset, of an entry's count and of its value
    uint32_t entryCountSize;
    uint64_t firstDirectoryAt;  ///< where the header has the first directory's offset
    uint64_t largestOffset;

    uint32_t EntrySize() const noexcept { return 4 + 2 * offsetSize; }
    uint16_t Tag(const uint8_t* entry) const noexcept { return order.U16(entry); }
    uint16_t Type(const uint8_t* entry) const noexcept { return order.U16(entry + 2); }
    uint64_t Count(const uint8_t* entry) const noexcept { return order.Get(entry + 4, offsetSize); }
    uint32_t ValueAt() const noexcept { return 4 + offsetSize; }
};

/// The first directory: its entries in a block, with room for one more.
class Directory {
public:
    Directory() noexcept = default;
    ~Directory() { HostFree(entries_, __LINE__, kSource); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    int32_t Open(const ZvChar* name, ImageFile* file) noexcept;

    const Layout& Form() const noexcept { return layout_; }
    /// Null if there is none.
    const uint8_t* Find(uint16_t tag) const noexcept;
    /// Where an entry's bytes lie; false if that is not inside the file.
    bool Place(const ImageFile& file, const uint8_t* entry, uint64_t* offset) const noexcept;
    /// Puts an entry in the place of those of its tag, or where the order of tags wants it.
    void Put(uint16_t tag, uint16_t type, uint64_t count, const uint8_t* value) noexcept;
    int32_t Write(FileReplacement* to) const noexcept;

private:
    int32_t ReadHeader(ImageFile* file, uint64_t* directory) noexcept;
    int32_t Read(ImageFile* file) noexcept;

    uint8_t* Entry(uint64_t i) const noexcept { return entries_ + i * layout_.EntrySize(); }

    Layout layout_ = {};
    uint64_t offset_ = 0;  ///< of the entries in the file
    uint64_t count_ = 0;
    uint8_t* entries_ = nullptr;
    uint8_t next_[8] = {};  ///< the following directory's offset, as it stands in the file
};

int32_t Directory::ReadHeader(ImageFile* file, uint64_t* directory) noexcept {
    uint8_t header[16];
    if (!file->ReadAt(0, header, kHeaderSize)) return ERR_FILE_READ;
    const bool big = header[0] == 'M';
    if (header[0] != header[1] || (!big && header[0] != 'I')) return ERR_FILE_READ;
    const ByteOrder order(big);
    const uint16_t version = order.U16(header + 2);
    if (version == kClassic) {
        layout_ = {order, 4, 2, 4, UINT32_MAX};
    } else if (version == kBig && file->ReadAt(0, header, sizeof header) &&
               order.U32(header + 4) == 8U << (big ? 16 : 0)) {
        layout_ = {order, 8, 8, 8, INT64_MAX};
    } else {
        return ERR_FILE_READ;
    }
    *directory = order.Get(header + layout_.firstDirectoryAt, layout_.offsetSize);
    return CLR_SUCCESS;
}

int32_t Directory::Read(ImageFile* file) noexcept {
    uint64_t at = 0;
    const int32_t result = ReadHeader(file, &at);
    if (result != CLR_SUCCESS) return result;
    uint8_t count[8];
    if (at < kHeaderSize || !file->ReadAt(at, count, layout_.entryCountSize)) return ERR_FILE_READ;
    count_ = layout_.order.Get(count, layout_.entryCountSize);
    offset_ = at + layout_.entryCountSize;
    if (count_ > kMostEntries || count_ > (file->Size() - offset_) / layout_.EntrySize()) return ERR_FILE_READ;
    const uint64_t bytes = count_ * layout_.EntrySize();
    entries_ =
        static_cast<uint8_t*>(HostAlloc(layout_.EntrySize(), static_cast<int64_t>(count_ + 1), __LINE__, kSource));
    if (entries_ == nullptr) return ERR_NO_MEMORY;
    if (!file->ReadAt(offset_, entries_, bytes) || !file->ReadAt(offset_ + bytes, next_, layout_.offsetSize)) {
        return ERR_FILE_READ;
    }
    return CLR_SUCCESS;
}

int32_t Directory::Open(const ZvChar* name, ImageFile* file) noexcept {
    const int32_t result = file->Open(name);
    return result == CLR_SUCCESS ? Read(file) : result;
}

const uint8_t* Directory::Find(uint16_t tag) const noexcept {
    for (uint64_t i = 0; i < count_; ++i) {
        if (layout_.Tag(Entry(i)) == tag) return Entry(i);
    }
    return nullptr;
}

bool Directory::Place(const ImageFile& file, const uint8_t* entry, uint64_t* offset) const noexcept {
    const uint64_t count = layout_.Count(entry);
    const uint8_t* value = entry + layout_.ValueAt();
    *offset = count <= layout_.offsetSize ? offset_ + static_cast<uint64_t>(value - entries_)
                                          : layout_.order.Get(value, layout_.offsetSize);
    return file.Has(*offset, count);
}

void Directory::Put(uint16_t tag, uint16_t type, uint64_t count, const uint8_t* value) noexcept {
    const uint32_t size = layout_.EntrySize();
    uint64_t kept = 0;
    for (uint64_t i = 0; i < count_; ++i) {
        if (layout_.Tag(Entry(i)) == tag) continue;
        if (kept != i) HostCopy(Entry(kept), Entry(i), size);
        ++kept;
    }
    uint64_t place = 0;
    while (place < kept && layout_.Tag(Entry(place)) < tag) ++place;
    HostMove(Entry(place + 1), Entry(place), (kept - place) * size);
    uint8_t* const entry = Entry(place);
    layout_.order.Put(entry, tag, 2);
    layout_.order.Put(entry + 2, type, 2);
    layout_.order.Put(entry + 4, count, layout_.offsetSize);
    HostCopy(entry + layout_.ValueAt(), value, layout_.offsetSize);
    count_ = kept + 1;
}

int32_t Directory::Write(FileReplacement* to) const noexcept {
    if (count_ > (layout_.entryCountSize == 2 ? UINT16_MAX : kMostEntries)) return ERR_FILE_WRITE;
    uint8_t count[8];
    layout_.order.Put(count, count_, layout_.entryCountSize);
    int32_t result = to->Write(count, layout_.entryCountSize);
    if (result == CLR_SUCCESS) result = to->Write(entries_, count_ * layout_.EntrySize());
    if (result == CLR_SUCCESS) result = to->Write(next_, layout_.offsetSize);
    return result;
}

/// Offsets are even, in the larger form multiples of 8.
int32_t Align(FileReplacement* to, const Layout& layout) noexcept {
    constexpr uint8_t kZeros[8] = {};
    const uint64_t step = layout.offsetSize == 8 ? 8 : 2;
    return to->Write(kZeros, (step - to->Size() % step) % step);
}

uint64_t AlignedSize(uint64_t size, const Layout& layout) noexcept {
    const uint64_t step = layout.offsetSize == 8 ? 8 : 2;
    return (size + step - 1) / step * step;
}

/// The old file with another offset in its header, the tag's bytes, the directory.
int32_t Rewrite(const SaveState& state, ImageFile* file, Directory* directory, FileReplacement* to) noexcept {
    const Layout& layout = directory->Form();
    const bool inEntry = state.tagCount <= layout.offsetSize;
    const uint64_t dataAt = AlignedSize(file->Size(), layout);
    const uint64_t directoryAt = inEntry ? dataAt : AlignedSize(dataAt + state.tagCount, layout);
    // The sum may have wrapped.
    if (state.tagCount > layout.largestOffset || directoryAt > layout.largestOffset) return ERR_FILE_WRITE;
    uint8_t value[8] = {};
    if (inEntry) {
        HostCopy(value, state.tagData, state.tagCount);
    } else {
        layout.order.Put(value, dataAt, layout.offsetSize);
    }
    directory->Put(static_cast<uint16_t>(state.tag), state.tagType, state.tagCount, value);

    uint8_t offset[8];
    layout.order.Put(offset, directoryAt, layout.offsetSize);
    const uint64_t headerEnd = layout.firstDirectoryAt + layout.offsetSize;
    int32_t result = to->Copy(file, 0, layout.firstDirectoryAt);
    if (result == CLR_SUCCESS) result = to->Write(offset, layout.offsetSize);
    if (result == CLR_SUCCESS) result = to->Copy(file, headerEnd, file->Size() - headerEnd);
    if (result == CLR_SUCCESS) result = Align(to, layout);
    if (result == CLR_SUCCESS && !inEntry) result = to->Write(state.tagData, state.tagCount);
    if (result == CLR_SUCCESS) result = Align(to, layout);
    return result == CLR_SUCCESS ? directory->Write(to) : result;
}

}  // namespace

}  // namespace zvhost

using namespace zvhost;

int32_t HostReadFileTag(const ZvChar* name, uint32_t tag, uint16_t* type, uint64_t* count, uint8_t* buffer,
                        const void*) noexcept {
    if (type == nullptr || count == nullptr) return ERR_INVALID_PARAMETER;
    ImageFile file;
    Directory directory;
    int32_t result = directory.Open(name, &file);
    if (result != CLR_SUCCESS) return result;
    const uint8_t* entry = tag <= UINT16_MAX ? directory.Find(static_cast<uint16_t>(tag)) : nullptr;
    // Profiles are all that is looked for here.
    if (entry == nullptr) return ERR_NO_PROFILE;
    const Layout& layout = directory.Form();
    if (!IsByteType(layout.Type(entry))) return ERR_BAD_TAG;
    uint64_t offset = 0;
    if (!directory.Place(file, entry, &offset)) return ERR_FILE_READ;
    const uint64_t size = layout.Count(entry);
    // The file may be another by now.
    if (buffer != nullptr && (size > *count || !file.ReadAt(offset, buffer, size))) return ERR_FILE_READ;
    *type = layout.Type(entry);
    *count = size;
    return CLR_SUCCESS;
}

int32_t HostSetFileTag(uint32_t tag, uint16_t type, uint64_t count, const uint8_t* data) noexcept {
    if (tag > UINT16_MAX) return ERR_INVALID_PARAMETER;
    if (tag != 0 && (!IsByteType(type) || count == 0 || data == nullptr)) return ERR_INVALID_PARAMETER;
    SaveState* state = TakeSaveState();
    state->tag = tag;
    state->tagType = type;
    state->tagCount = count;
    state->tagData = data;
    YieldSaveState();
    return CLR_SUCCESS;
}

int32_t HostRewriteFileTags(const ZvChar* name, const SAVEFILEOPTION* options) noexcept {
    const SaveState* state = OwnSaveState();
    if (state == nullptr || state->tag == 0) return ERR_INVALID_PARAMETER;
    ImageFile file;
    Directory directory;
    int32_t result = directory.Open(name, &file);
    if (result != CLR_SUCCESS) return result;
    FileReplacement replacement;
    result = replacement.Begin(name, options);
    if (result == CLR_SUCCESS) result = Rewrite(*state, &file, &directory, &replacement);
    return result == CLR_SUCCESS ? replacement.Commit(&file) : result;
}
