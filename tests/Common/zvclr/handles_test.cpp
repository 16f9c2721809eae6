// Live converters, and all that is none.
#include <algorithm>
#include <numeric>

#include "Common/kernels/lab_records.h"
#include "host/host.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

/// A block that looks like a converter from 0 to 12.
void MakeLookalike(uint8_t* bytes) {
    const uint32_t size = 1720;
    const int32_t spaces[] = {0, 12};
    std::memset(bytes, 0, 1720);
    std::memcpy(bytes, &size, sizeof size);
    std::memcpy(bytes + 4, spaces, sizeof spaces);
}

const ClrHandle* AsConverter(const uint8_t* bytes) { return reinterpret_cast<const ClrHandle*>(bytes); }
ClrHandle* AsConverter(uint8_t* bytes) { return reinterpret_cast<ClrHandle*>(bytes); }

TEST(IsValid, NullAndUnreadable) {
    GuardedBuffer block(1720);
    MakeLookalike(block.Data());
    block.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(nullptr));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(AsConverter(block.Data())));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(AsConverter(block.Data() + block.Size())));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(reinterpret_cast<ClrHandle*>(uintptr_t{8})));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(reinterpret_cast<ClrHandle*>(UINTPTR_MAX - 15)));
}

TEST(IsValid, BlockThatStartsWithTheRightSize) {
    const HostScope host;
    const GuardedBuffer block(1720);
    MakeLookalike(block.Data());
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(AsConverter(block.Data()))) << "with no converter alive";
    const Converter live(0, 12);
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(AsConverter(block.Data())));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(live.Get()));
}

TEST(IsValid, CopyOfALiveConverterIsNone) {
    const HostScope host;
    const Converter live(0, 12);
    const ClrHandle copy = *live.Get();
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(&copy));
}

TEST(IsValid, AddressInsideALiveConverterIsNone) {
    const HostScope host;
    const Converter live(0, 12);
    const auto* bytes = reinterpret_cast<const uint8_t*>(live.Get());
    for (const ptrdiff_t offset : {1, 4, 8, 16, 1719}) {
        EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(AsConverter(bytes + offset))) << offset;
    }
}

TEST(IsValid, WrongSizeInALiveRecord) {
    const HostScope host;
    const Converter live(0, 12);
    uint8_t pixels[6] = {1, 2, 3};
    for (const uint32_t size : {0U, 1712U, 1719U, 1721U, 0xFFFFFFFFU}) {
        live->size = size;
        EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(live.Get()));
        EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrFree(live.Get()));
        EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrConvert(live.Get(), pixels, pixels + 3, 1, 1, 0, 0));
    }
    live->size = 1720;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(live.Get()));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(live.Get(), pixels, pixels + 3, 1, 1, 0, 0));
}

TEST(IsValid, ReleasedConverter) {
    const HostScope host;
    const Converter other(0, 1);
    ClrHandle* handle = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, 0, 12, nullptr));
    const auto address = reinterpret_cast<uintptr_t>(handle);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(reinterpret_cast<ClrHandle*>(address)));
}

TEST(Free, TwiceGivesInvalidHandle) {
    const HostScope host;
    ClrHandle* handle = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, 0, 12, nullptr));
    const auto address = reinterpret_cast<uintptr_t>(handle);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    // Invalid parameter if the allocator has given the memory back to the system.
    const int32_t second = Zv_ClrFree(reinterpret_cast<ClrHandle*>(address));
    EXPECT_TRUE(second == ERR_INVALID_HANDLE || second == ERR_INVALID_PARAMETER) << second;
    uint8_t pixels[6] = {};
    const int32_t convert = Zv_ClrConvert(reinterpret_cast<ClrHandle*>(address), pixels, pixels + 3, 1, 1, 0, 0);
    EXPECT_TRUE(convert == ERR_INVALID_HANDLE || convert == ERR_BAD_POINTER) << convert;
}

TEST(Free, NullAndUnreadableGiveInvalidParameter) {
    GuardedBuffer block(1720);
    MakeLookalike(block.Data());
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrFree(nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrFree(AsConverter(block.Data() + 1))) << "1719 readable bytes";
    block.MakeUnreadable();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrFree(AsConverter(block.Data())));
}

TEST(Free, ReadableBlockThatIsNoneGivesInvalidHandle) {
    const HostScope host;
    GuardedBuffer block(1720);
    MakeLookalike(block.Data());
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrFree(AsConverter(block.Data())));
    block.Fill(0xFF);
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrFree(AsConverter(block.Data())));
    block.MakeReadOnly();
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrFree(AsConverter(block.Data())));
    EXPECT_TRUE(host->Calls().empty()) << "nothing is released";
}

TEST(Free, ReleasesAllThatAConverterOwns) {
    const HostScope host;
    FullRecords records;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            const Converter c(source, destination, &records.params);
        }
    }
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Free, ReleasesProfilesInMemoryWithTheirData) {
    const HostScope host;
    const auto makeMemory = [](bool withData) {
        auto* memory = static_cast<ClrProfileMemory*>(HostAlloc(sizeof(ClrProfileMemory), 1, __LINE__, nullptr));
        *memory = {20, withData ? HostAlloc(64, 1, __LINE__, nullptr) : nullptr, 64};
        return memory;
    };
    for (const bool withData : {true, false}) {
        const Converter c(0, 1);
        c->inputProfileMemory = makeMemory(withData);
        c->outputProfileMemory = makeMemory(!withData);
    }
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Registry, KeepsTheOrderOfCreation) {
    const HostScope host;
    ClrHandle* c[5] = {};
    for (ClrHandle*& handle : c) ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, 0, 1, nullptr));
    EXPECT_EQ(5, RegisteredCount());
    EXPECT_EQ(c[0], FirstRegistered());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[2])) << "from the middle";
    EXPECT_EQ(c[0], FirstRegistered());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[0])) << "the head";
    EXPECT_EQ(c[1], FirstRegistered());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[4])) << "the tail";
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&c[4], 0, 1, nullptr));
    EXPECT_EQ(c[1], FirstRegistered());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[1]));
    EXPECT_EQ(c[3], FirstRegistered());
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[3]));
    EXPECT_EQ(c[4], FirstRegistered()) << "a new one went to the tail";
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(c[4]));
    EXPECT_EQ(nullptr, FirstRegistered());
    EXPECT_EQ(0, RegisteredCount());
}

TEST(Registry, ReleasesAllInTheOrderOfCreation) {
    const HostScope host;
    for (int32_t i = 0; i < 4; ++i) {
        ClrHandle* handle = nullptr;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, kAllSpaces[i], 12, nullptr));
    }
    EXPECT_EQ(kAllSpaces[0], FirstRegistered()->sourceSpace);
    ReleaseAllConverters();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(nullptr, FirstRegistered());
}

TEST(Registry, TenThousandLiveConverters) {
    const HostScope host;
    constexpr size_t kCount = 10000;
    std::vector<ClrHandle*> handles(kCount);
    for (ClrHandle*& handle : handles) ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, 3, 3, nullptr));
    EXPECT_EQ(int32_t{kCount}, RegisteredCount());
    for (const ClrHandle* handle : handles) ASSERT_EQ(CLR_SUCCESS, Zv_ClrIsValid(handle));

    // In an order that is neither that of creation nor its reverse.
    std::vector<size_t> order(kCount);
    std::iota(order.begin(), order.end(), size_t{0});
    for (size_t i = 0; i < kCount; ++i) std::swap(order[i], order[i * 7919 % kCount]);
    for (size_t i = 0; i < kCount; ++i) {
        ClrHandle* const handle = handles[order[i]];
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        ASSERT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(handle));
        if (i + 1 < kCount) {
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrIsValid(handles[order[i + 1]]));
        }
    }
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(nullptr, FirstRegistered());
}

}  // namespace
}  // namespace zv::test
