#include "Common/IccLoad/load.h"
#include "host/byte_order.h"

namespace zv {

namespace {

constexpr uint8_t kChunkCode = 0xE0;
constexpr int32_t kHeadSize = 6;
constexpr int32_t kTypeSize = 4;  // counted in by the length
constexpr uint32_t kLastDataType = 1;
constexpr uint32_t kEndType = 2;

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
        const int64_t behindCode = HostFileSeek(scan->file, 0, kHostSeekHere);
        uint8_t head[kHeadSize];
        if (HostFileRead(scan->file, head, kHeadSize) < kHeadSize) continue;
        constexpr auto kOrder = zvhost::ByteOrder::Big();
        const int32_t length = kOrder.U16(head);
        const uint32_t type = kOrder.U32(head + 2);
        if (type == kEndType) return CLR_SUCCESS;
        if (type > kLastDataType) {
            if (behindCode < 0 || HostFileSeek(scan->file, behindCode, kHostSeekStart) < 0)
                return ERR_PROFILE_TRUNCATED;
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
