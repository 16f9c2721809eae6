#include "Common/IccLoad/load.h"

namespace zv {

namespace {

constexpr uint8_t kChunkCode = 0xE0;
constexpr int32_t kHeadSize = 6;
constexpr int32_t kTypeSize = 4;  // counted in by the length
constexpr uint32_t kLastDataType = 1;
constexpr uint32_t kEndType = 2;
constexpr int32_t kSeekStart = 0;
constexpr int32_t kSeekHere = 1;

/// A chunk may be longer than the buffer, which grows to the longest then. False without memory.
bool GrowBuffer(IccScan* scan, int32_t size, int32_t* capacity) noexcept {
    if (size <= *capacity) return true;
    void* grown = HostRealloc(scan->buffer, size, __LINE__, kIccLoadSource);
    if (grown == nullptr) return false;
    scan->buffer = static_cast<uint8_t*>(grown);
    *capacity = size;
    return true;
}

int32_t ReadChunks(IccScan* scan) noexcept {
    int32_t capacity = kIccChunkBufferSize;
    for (;;) {
        uint8_t byte = 0;
        if (HostFileRead(scan->file, &byte, 1) < 1) return ERR_PROFILE_TRUNCATED;
        if (byte != kChunkCode) continue;
        const int64_t behindCode = HostFileSeek(scan->file, 0, kSeekHere);
        uint8_t head[kHeadSize];
        if (HostFileRead(scan->file, head, kHeadSize) < kHeadSize) continue;
        const int32_t length = head[0] << 8 | head[1];
        const uint32_t type =
            uint32_t{head[2]} << 24 | uint32_t{head[3]} << 16 | uint32_t{head[4]} << 8 | uint32_t{head[5]};
        if (type == kEndType) return CLR_SUCCESS;
        if (type > kLastDataType) {
            if (behindCode < 0 || HostFileSeek(scan->file, behindCode, kSeekStart) < 0) return ERR_PROFILE_TRUNCATED;
            continue;
        }
        const int32_t size = length - kTypeSize;
        if (size < 0) continue;
        if (!GrowBuffer(scan, size, &capacity)) return ERR_FAILURE;
        if (size > 0 && HostFileRead(scan->file, scan->buffer, size) < size) return ERR_PROFILE_TRUNCATED;
        IccAppendProfileBytes(scan->profile, static_cast<uint64_t>(size), scan->buffer);
    }
}

}  // namespace

int32_t IccReadChunkStream(IccScan* scan) noexcept {
    if (!scan->NewBuffer(kIccChunkBufferSize)) return ERR_FAILURE;
    const int32_t result = ReadChunks(scan);
    scan->Release();
    return result;
}

}  // namespace zv
