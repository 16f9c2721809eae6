#include <array>

#include "Common/process_lock.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/entry.h"
#include "host/host.h"

namespace zv {

namespace {

// Constant-initialised, so that a converter can be made before any constructor of the library has run.
constinit ClrEngineNode* head = nullptr;
constinit ClrEngineNode* tail = nullptr;
constinit int32_t count = 0;

/// Chains stay short with ten thousand live converters.
constexpr size_t kBuckets = 1024;
constinit std::array<ClrEngineNode*, kBuckets> buckets{};

ClrEngineNode*& BucketOf(const ClrHandle* converter) noexcept {
    const auto address = reinterpret_cast<uintptr_t>(converter);
    return buckets[((address >> 4) * 0x9E3779B97F4A7C15ULL >> 32) % kBuckets];
}

}  // namespace

bool RegisterConverter(ClrHandle* converter) noexcept {
    auto* node = static_cast<ClrEngineNode*>(HostAlloc(sizeof(ClrEngineNode), 1, __LINE__, kFrameSource));
    if (node == nullptr) return false;
    ZvEntryPresent();  // live converters need the detach that releases them
    const ProcessGuard guard;
    ClrEngineNode*& bucket = BucketOf(converter);
    *node = {nullptr, tail, converter, bucket};
    bucket = node;
    (tail == nullptr ? head : tail->next) = node;
    tail = node;
    ++count;
    return true;
}

bool IsRegistered(const ClrHandle* converter) noexcept {
    const ProcessGuard guard;
    for (const ClrEngineNode* node = BucketOf(converter); node != nullptr; node = node->bucketNext) {
        if (node->converter == converter) return true;
    }
    return false;
}

bool IsLive(const ClrHandle* converter) noexcept {
    return IsRegistered(converter) && converter->size == kConverterSize;
}

bool ReadSpaces(const ClrHandle* converter, bool live, ClrSpacePair* spaces) noexcept {
    if (live) {
        *spaces = {converter->sourceSpace, converter->destinationSpace};
        return true;
    }
    static_assert(offsetof(ClrHandle, destinationSpace) == offsetof(ClrHandle, sourceSpace) + sizeof(int32_t));
    const auto* fields = reinterpret_cast<const uint8_t*>(converter) + offsetof(ClrHandle, sourceSpace);
    return ZvPeekMemory(spaces, fields, sizeof *spaces);
}

bool UnregisterConverter(const ClrHandle* converter) noexcept {
    ClrEngineNode* node = nullptr;
    {
        const ProcessGuard guard;
        ClrEngineNode** link = &BucketOf(converter);
        while (*link != nullptr && (*link)->converter != converter) link = &(*link)->bucketNext;
        node = *link;
        if (node == nullptr) return false;
        *link = node->bucketNext;
        (node->previous == nullptr ? head : node->previous->next) = node->next;
        (node->next == nullptr ? tail : node->next->previous) = node->previous;
        --count;
    }
    HostFree(node, __LINE__, kFrameSource);
    return true;
}

ClrHandle* FirstRegistered() noexcept {
    const ProcessGuard guard;
    return head == nullptr ? nullptr : head->converter;
}

int32_t RegisteredCount() noexcept {
    const ProcessGuard guard;
    return count;
}

}  // namespace zv
