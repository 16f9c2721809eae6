// A JPEG file with other markers. The coded image and all that follows stay as they are, byte for byte.
#include <cstring>

#include "host/common/file_replacement.h"
#include "host/common/jpeg_markers.h"
#include "host/common/jpeg_segments.h"
#include "host/common/multi_picture.h"
#include "host/common/save_state.h"
#include "host/memory.h"

namespace zvhost {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("host\\jpeg_rewrite");
constexpr uint8_t kApp0 = 0xE0;
constexpr uint8_t kApp1 = 0xE1;
constexpr uint32_t kMarkerHeadSize = 4;
constexpr uint32_t kLongestIdentifier = 64;

/// Application data begin with a name and a zero byte. Without one the marker's number alone tells the kind.
uint32_t IdentifierSize(const uint8_t* data, uint32_t size) noexcept {
    const uint32_t most = size < kLongestIdentifier ? size : kLongestIdentifier;
    const void* end = size == 0 ? nullptr : std::memchr(data, 0, most);
    return end == nullptr ? 0 : static_cast<uint32_t>(static_cast<const uint8_t*>(end) - data) + 1;
}

int64_t CountMarkers(const HostMarkerSet& set) noexcept {
    int64_t count = 0;
    Marker marker;
    for (uint64_t offset = 0; NextMarker(set, &offset, &marker);) ++count;
    return count;
}

/// One rewriting, in two walks: the first finds what changes, and whether the file can be walked at all.
class Rewriting {
public:
    Rewriting(const HostMarkerSet& set, ImageFile* file, FileReplacement* to) noexcept
        : set_(set), file_(file), to_(to), kinds_(CountMarkers(set), __LINE__, kSource) {}

    int32_t Plan() noexcept;
    int32_t Write() noexcept;

private:
    /// What tells markers that replace each other.
    struct Kind {
        uint32_t id;
        uint32_t size;
        const uint8_t* identifier;
    };

    void FindKinds() noexcept;
    bool Replaces(uint32_t id, const uint8_t* data, uint32_t size) const noexcept;
    int32_t ReadData(const JpegSegment& segment) noexcept;
    int32_t CopyTo(uint64_t end) noexcept;
    int32_t Insert() noexcept;
    int32_t WriteIndex(const JpegSegment& segment) noexcept;

    const HostMarkerSet& set_;
    ImageFile* file_;
    FileReplacement* to_;
    const zv::HostBlock<uint8_t> data_{kLargestJpegData, __LINE__, kSource};
    const zv::HostBlock<Kind> kinds_;  ///< the parts of a profile are all of one
    uint64_t kindCount_ = 0;
    uint64_t insertAt_ = 0;
    uint64_t dropped_ = 0;        ///< bytes of all that is replaced
    uint64_t droppedBefore_ = 0;  ///< of that, what the second walk has passed
    uint64_t inserted_ = 0;
    uint64_t copied_ = 0;
};

bool Rewriting::Replaces(uint32_t id, const uint8_t* data, uint32_t size) const noexcept {
    for (uint64_t i = 0; i < kindCount_; ++i) {
        const Kind& kind = kinds_.Data()[i];
        if (kind.id == id && size >= kind.size && HostCompare(data, kind.identifier, kind.size) == 0) return true;
    }
    return false;
}

void Rewriting::FindKinds() noexcept {
    Marker marker;
    for (uint64_t offset = 0; NextMarker(set_, &offset, &marker);) {
        inserted_ += kMarkerHeadSize + marker.length;
        if (Replaces(marker.id, marker.data, marker.length)) continue;
        kinds_.Data()[kindCount_++] = {marker.id, IdentifierSize(marker.data, marker.length), marker.data};
    }
}

int32_t Rewriting::ReadData(const JpegSegment& segment) noexcept {
    return file_->ReadAt(segment.dataOffset, data_.Data(), segment.dataSize) ? int32_t{CLR_SUCCESS}
                                                                             : int32_t{ERR_FILE_READ};
}

int32_t Rewriting::Plan() noexcept {
    if (!data_ || !kinds_) return ERR_NO_MEMORY;
    FindKinds();

    JpegSegments segments(file_);
    int32_t result = segments.Begin();
    JpegSegment segment;
    bool leading = true;
    insertAt_ = 2;
    while (result == CLR_SUCCESS && (result = segments.Next(&segment)) == CLR_SUCCESS) {
        // Readers expect these two kinds first.
        leading = leading && (segment.marker == kApp0 || segment.marker == kApp1);
        if (leading) insertAt_ = segment.End();
        result = ReadData(segment);
        if (result == CLR_SUCCESS && Replaces(segment.marker, data_.Data(), segment.dataSize))
            dropped_ += segment.End() - segment.begin;
    }
    return result == 0 ? int32_t{CLR_SUCCESS} : result;
}

int32_t Rewriting::CopyTo(uint64_t end) noexcept {
    const int32_t result = to_->Copy(file_, copied_, end - copied_);
    copied_ = end;
    return result;
}

int32_t Rewriting::Insert() noexcept {
    int32_t result = CopyTo(insertAt_);
    Marker marker;
    for (uint64_t offset = 0; result == CLR_SUCCESS && NextMarker(set_, &offset, &marker);) {
        const uint32_t size = marker.length + 2;
        const uint8_t head[kMarkerHeadSize] = {0xFF, static_cast<uint8_t>(marker.id), static_cast<uint8_t>(size >> 8),
                                               static_cast<uint8_t>(size)};
        result = to_->Write(head, sizeof head);
        if (result == CLR_SUCCESS) result = to_->Write(marker.data, marker.length);
    }
    return result;
}

int32_t Rewriting::WriteIndex(const JpegSegment& segment) noexcept {
    const int32_t result = CopyTo(segment.dataOffset);
    if (result != CLR_SUCCESS) return result;
    const auto droppedBehind = static_cast<int64_t>(dropped_ - droppedBefore_);
    MovePictures(data_.Data(), segment.dataSize, static_cast<int64_t>(inserted_ - dropped_), -droppedBehind);
    copied_ = segment.End();
    return to_->Write(data_.Data(), segment.dataSize);
}

int32_t Rewriting::Write() noexcept {
    JpegSegments segments(file_);
    int32_t result = segments.Begin();
    JpegSegment segment;
    bool inserted = false;
    while (result == CLR_SUCCESS && (result = segments.Next(&segment)) == CLR_SUCCESS) {
        if (!inserted && segment.begin >= insertAt_) {
            inserted = true;
            result = Insert();
            if (result != CLR_SUCCESS) return result;
        }
        result = ReadData(segment);
        if (result != CLR_SUCCESS) return result;
        if (Replaces(segment.marker, data_.Data(), segment.dataSize)) {
            result = CopyTo(segment.begin);
            copied_ = segment.End();
            droppedBefore_ += segment.End() - segment.begin;
        } else if (IsPictureIndex(segment.marker, data_.Data(), segment.dataSize)) {
            result = WriteIndex(segment);
        }
    }
    if (result != 0) return result;
    result = inserted ? int32_t{CLR_SUCCESS} : Insert();
    return result == CLR_SUCCESS ? CopyTo(file_->Size()) : result;
}

}  // namespace

}  // namespace zvhost

using namespace zvhost;

int32_t HostRewriteFile(const ZvChar* name, uint32_t flags, const SAVEFILEOPTION* options) noexcept {
    const SaveState* state = OwnSaveState();
    if (flags != kHostRewriteMarkers || state == nullptr || state->markers == nullptr) return ERR_INVALID_PARAMETER;
    ImageFile file;
    int32_t result = file.Open(name);
    if (result != CLR_SUCCESS) return result;
    FileReplacement replacement;
    Rewriting rewriting(*state->markers, &file, &replacement);
    result = rewriting.Plan();
    if (result == CLR_SUCCESS) result = replacement.Begin(name, options);
    if (result == CLR_SUCCESS) result = rewriting.Write();
    return result == CLR_SUCCESS ? replacement.Commit(&file) : result;
}
