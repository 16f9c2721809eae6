#include "host/common/multi_picture.h"

#include <cstring>

#include "host/byte_order.h"

namespace zvhost {

namespace {

constexpr uint8_t kIndexMarker = 0xE2;
constexpr char kIdentifier[] = "MPF";  // with its zero byte
constexpr uint32_t kIdentifierSize = sizeof kIdentifier;
constexpr uint32_t kHeaderSize = 8;
constexpr uint32_t kFieldSize = 12;
constexpr uint16_t kEntriesTag = 0xB002;
constexpr uint32_t kEntrySize = 16;  // attributes, size, offset, two numbers of dependent pictures
constexpr uint32_t kSizeAt = 4;
constexpr uint32_t kOffsetAt = 8;

void Add(ByteOrder order, uint8_t* word, int64_t amount) noexcept {
    order.Put(word, static_cast<uint64_t>(int64_t{order.U32(word)} + amount), sizeof(uint32_t));
}

}  // namespace

bool IsPictureIndex(uint8_t marker, const uint8_t* data, uint32_t size) noexcept {
    if (marker != kIndexMarker || size < kIdentifierSize + kHeaderSize) return false;
    constexpr uint32_t kMarkSize = 4;
    const uint8_t* const mark = data + kIdentifierSize;
    return std::memcmp(data, kIdentifier, kIdentifierSize) == 0 &&
           (std::memcmp(mark, "II\x2A\0", kMarkSize) == 0 || std::memcmp(mark, "MM\0\x2A", kMarkSize) == 0);
}

void MovePictures(uint8_t* data, uint32_t size, int64_t growth, int64_t growthBehind) noexcept {
    uint8_t* const base = data + kIdentifierSize;
    const uint32_t room = size - kIdentifierSize;
    const ByteOrder order(base[0] == 'M');
    const uint32_t directory = order.U32(base + 4);
    if (directory > room || room - directory < 2) return;
    const uint32_t fields = order.U16(base + directory);
    if ((room - directory - 2) / kFieldSize < fields) return;
    for (uint32_t i = 0; i < fields; ++i) {
        const uint8_t* field = base + directory + 2 + kFieldSize * i;
        if (order.U16(field) != kEntriesTag) continue;
        const uint32_t bytes = order.U32(field + 4);
        const uint32_t offset = order.U32(field + 8);
        if (offset > room || room - offset < bytes) return;
        for (uint32_t entry = 0; entry < bytes / kEntrySize; ++entry) {
            uint8_t* const at = base + offset + kEntrySize * entry;
            // The first picture is the file's beginning, whatever its offset; it has none.
            if (entry == 0) Add(order, at + kSizeAt, growth);
            if (order.U32(at + kOffsetAt) != 0) Add(order, at + kOffsetAt, growthBehind);
        }
        return;
    }
}

}  // namespace zvhost
