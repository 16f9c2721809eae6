// Blocks and byte operations of the host.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>

#include "host/host.h"
#include "tests/support/address_sanitizer.h"

#ifdef ZV_WITH_ADDRESS_SANITIZER
// A request beyond all memory is to fail here as it does without the sanitizer.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace zv::test {
namespace {

using AllocFunction = void* (*)(int64_t, int64_t, int32_t, const ZvChar*) noexcept;

struct Allocator {
    const char* name;
    AllocFunction alloc;
    void (*release)(void*, int32_t, const ZvChar*) noexcept;
    void* (*grow)(void*, int64_t, int32_t, const ZvChar*) noexcept;
};
void PrintTo(const Allocator& allocator, std::ostream* out) { *out << allocator.name; }

constexpr Allocator kAllocators[] = {
    {"HostAlloc", HostAlloc, HostFree, HostRealloc},
    {"HostAllocZeroed", HostAllocZeroed, HostFree, HostRealloc},
    {"HostAllocShared", HostAllocShared, HostFreeShared, HostReallocShared},
};

class HostMemory : public ::testing::TestWithParam<Allocator> {};

TEST_P(HostMemory, BlocksHoldSizeTimesCount) {
    const Allocator& a = GetParam();
    for (const int64_t size : {1, 3, 16, 1720}) {
        for (const int64_t count : {1, 7, 100}) {
            auto* block = static_cast<uint8_t*>(a.alloc(size, count, __LINE__, nullptr));
            ASSERT_NE(nullptr, block);
            EXPECT_EQ(0U, reinterpret_cast<uintptr_t>(block) % alignof(double));
            std::memset(block, 0xEE, static_cast<size_t>(size * count));
            a.release(block, __LINE__, nullptr);
        }
    }
}

TEST_P(HostMemory, EmptyBlocksHaveAddresses) {
    const Allocator& a = GetParam();
    void* first = a.alloc(0, 10, __LINE__, nullptr);
    void* second = a.alloc(10, 0, __LINE__, nullptr);
    EXPECT_NE(nullptr, first);
    EXPECT_NE(nullptr, second);
    EXPECT_NE(first, second);
    a.release(nullptr, __LINE__, nullptr);  // tolerated
    a.release(first, __LINE__, nullptr);
    a.release(second, __LINE__, nullptr);
}

TEST_P(HostMemory, ProductsThatCannotBeHadAreNull) {
    const Allocator& a = GetParam();
    constexpr int64_t kHalf = int64_t{1} << 32;
    EXPECT_EQ(nullptr, a.alloc(INT64_MAX, 2, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(kHalf, kHalf, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(kHalf + 1, kHalf, __LINE__, nullptr)) << "wraps to a small number";
    EXPECT_EQ(nullptr, a.alloc(INT64_MAX, 1, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(int64_t{1} << 60, 1, __LINE__, nullptr));
}

TEST_P(HostMemory, NegativeSizesAreNull) {
    const Allocator& a = GetParam();
    EXPECT_EQ(nullptr, a.alloc(-1, 1, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(1, -1, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(-4, -4, __LINE__, nullptr)) << "though the product is positive";
    EXPECT_EQ(nullptr, a.alloc(INT64_MIN, -1, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.alloc(0, -1, __LINE__, nullptr));
}

TEST_P(HostMemory, ReallocKeepsTheContents) {
    const Allocator& a = GetParam();
    auto* block = static_cast<uint8_t*>(a.alloc(100, 1, __LINE__, nullptr));
    ASSERT_NE(nullptr, block);
    for (size_t i = 0; i < 100; ++i) block[i] = static_cast<uint8_t>(i);
    for (const int64_t size : {200, 100000, 50, 1}) {
        block = static_cast<uint8_t*>(a.grow(block, size, __LINE__, nullptr));
        ASSERT_NE(nullptr, block);
        for (size_t i = 0; i < 100 && i < static_cast<size_t>(size); ++i) ASSERT_EQ(i, block[i]) << size;
    }
    a.release(block, __LINE__, nullptr);
}

TEST_P(HostMemory, ReallocOfNullAllocates) {
    const Allocator& a = GetParam();
    void* block = a.grow(nullptr, 10, __LINE__, nullptr);
    EXPECT_NE(nullptr, block);
    a.release(block, __LINE__, nullptr);
}

TEST_P(HostMemory, ReallocThatFailsLeavesTheBlock) {
    const Allocator& a = GetParam();
    auto* block = static_cast<uint8_t*>(a.alloc(4, 1, __LINE__, nullptr));
    ASSERT_NE(nullptr, block);
    std::memset(block, 0x42, 4);
    EXPECT_EQ(nullptr, a.grow(block, -1, __LINE__, nullptr));
    EXPECT_EQ(nullptr, a.grow(block, int64_t{1} << 60, __LINE__, nullptr));
    EXPECT_EQ(0x42, block[3]);
    a.release(block, __LINE__, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Families, HostMemory, ::testing::ValuesIn(kAllocators),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(HostZeroed, BlocksAreZeroAlsoWhenMemoryIsUsedAgain) {
    for (int round = 0; round < 50; ++round) {
        auto* block = static_cast<uint8_t*>(HostAllocZeroed(40, 43, __LINE__, nullptr));
        ASSERT_NE(nullptr, block);
        for (size_t i = 0; i < size_t{40} * 43; ++i) ASSERT_EQ(0, block[i]);
        HostFill(block, 0xFF, size_t{40} * 43);
        HostFree(block, __LINE__, nullptr);
    }
}

/// A caller takes them over, and may hand its own back: both sides use the system's allocator.
TEST(HostShared, BlocksPassBetweenTheHostAndTheCaller) {
    for (int round = 0; round < 100; ++round) {
        void* given = HostAllocShared(100, 7, __LINE__, nullptr);
        ASSERT_NE(nullptr, given);
        std::memset(given, 0x11, 700);
#ifdef _WIN32
        EXPECT_NE(0, HeapFree(GetProcessHeap(), 0, given));
        void* back = HeapAlloc(GetProcessHeap(), 0, 40);
#else
        std::free(given);
        void* back = std::malloc(40);
#endif
        ASSERT_NE(nullptr, back);
        std::memset(back, 0x22, 40);
        back = HostReallocShared(back, 80, __LINE__, nullptr);
        ASSERT_NE(nullptr, back);
        EXPECT_EQ(0x22, static_cast<uint8_t*>(back)[39]);
        HostFreeShared(back, __LINE__, nullptr);
    }
}

TEST(HostBytes, CopyMoveAndFill) {
    uint8_t bytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    uint8_t copy[10] = {};
    HostCopy(copy, bytes, 10);
    EXPECT_EQ(0, std::memcmp(copy, bytes, 10));
    HostMove(bytes, bytes + 3, 7);
    EXPECT_EQ(0, std::memcmp(bytes, copy + 3, 7));
    HostMove(copy + 2, copy, 8);
    constexpr uint8_t kUp[10] = {0, 1, 0, 1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(0, std::memcmp(copy, kUp, 10));
    HostFill(bytes + 1, 0xAB, 8);
    EXPECT_EQ(3, bytes[0]);
    EXPECT_EQ(0xAB, bytes[1]);
    EXPECT_EQ(0xAB, bytes[8]);
    EXPECT_EQ(9, bytes[9]);
}

TEST(HostBytes, CompareAndFind) {
    constexpr uint8_t kFirst[4] = {1, 2, 3, 2};
    constexpr uint8_t kSecond[4] = {1, 2, 3, 4};
    EXPECT_EQ(0, HostCompare(kFirst, kSecond, 3));
    EXPECT_NE(0, HostCompare(kFirst, kSecond, 4));
    EXPECT_EQ(kFirst + 1, HostFind(kFirst, 2, 4)) << "the first of two";
    EXPECT_EQ(kFirst + 2, HostFind(kFirst, 3, 3));
    EXPECT_EQ(nullptr, HostFind(kFirst, 3, 2));
    EXPECT_EQ(nullptr, HostFind(kFirst, 9, 4));
}

TEST(HostBytes, CountsOfZeroTouchNothing) {
    HostCopy(nullptr, nullptr, 0);
    HostMove(nullptr, nullptr, 0);
    HostFill(nullptr, 1, 0);
    EXPECT_EQ(0, HostCompare(nullptr, nullptr, 0));
    EXPECT_EQ(nullptr, HostFind(nullptr, 1, 0));
}

}  // namespace
}  // namespace zv::test
