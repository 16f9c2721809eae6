#include "host/common/jpeg_segments.h"

namespace zvhost {

namespace {

constexpr uint8_t kFill = 0xFF;
constexpr uint8_t kStartOfImage = 0xD8;
constexpr uint8_t kEndOfImage = 0xD9;
constexpr uint8_t kStartOfScan = 0xDA;
// Between two segments. More is no image any longer, and may be the hole of a file that takes no room and has no end.
constexpr uint64_t kMostStrayBytes = 65536;

/// Markers without a length, none of which belongs here: decoders pass over them.
bool StandsAlone(uint32_t marker) noexcept {
    return marker == 0x00 || marker == 0x01 || (marker >= 0xD0 && marker <= kStartOfImage);
}

}  // namespace

bool IsJpegSegment(uint32_t marker) noexcept {
    return marker < kFill && !StandsAlone(marker) && marker != kEndOfImage && marker != kStartOfScan;
}

int32_t JpegSegments::Begin() noexcept {
    uint8_t start[2];
    if (!file_->ReadAt(0, start, sizeof start) || start[0] != kFill || start[1] != kStartOfImage) return ERR_FILE_READ;
    at_ = sizeof start;
    return CLR_SUCCESS;
}

int32_t JpegSegments::Next(JpegSegment* segment) noexcept {
    uint64_t begin = at_;
    const uint64_t limit = at_ + kMostStrayBytes;
    for (;;) {
        uint8_t pair[2];
        if (at_ > limit || !file_->ReadAt(at_, pair, sizeof pair)) return ERR_FILE_READ;
        // Decoders pass over what is no marker, and over fill bytes before one.
        if (pair[0] != kFill || pair[1] == kFill) {
            ++at_;
            if (pair[0] != kFill) begin = at_;
            continue;
        }
        if (pair[1] == kStartOfScan || pair[1] == kEndOfImage) return 0;
        if (StandsAlone(pair[1])) {
            at_ += sizeof pair;
            begin = at_;
            continue;
        }
        segment->marker = pair[1];
        segment->begin = begin;
        uint8_t length[2];
        if (!file_->ReadAt(at_ + 2, length, sizeof length)) return ERR_FILE_READ;
        const auto size = static_cast<uint32_t>(length[0] << 8 | length[1]);
        if (size < sizeof length) return ERR_FILE_READ;
        segment->dataOffset = at_ + 4;
        segment->dataSize = size - static_cast<uint32_t>(sizeof length);
        at_ = segment->End();
        return file_->Has(segment->dataOffset, segment->dataSize) ? int32_t{CLR_SUCCESS} : int32_t{ERR_FILE_READ};
    }
}

}  // namespace zvhost
