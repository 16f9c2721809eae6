// Which regions a call asks for: none twice, none of the library's own. The probes of this program are its own: they
// keep a list, and say no where they are told.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "host/platform.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

struct Probe {
    const void* address;
    size_t size;
    bool write;

    bool operator==(const Probe&) const = default;
    const uint8_t* Begin() const { return static_cast<const uint8_t*>(address); }
    const uint8_t* End() const { return Begin() + size; }
};

void PrintTo(const Probe& probe, std::ostream* out) {
    *out << (probe.write ? "write " : "read ") << probe.address << " + " << probe.size;
}

std::vector<Probe> probes;
const void* forbidden = nullptr;  ///< regions that begin here cannot be reached

bool Answer(const void* address, size_t size, bool write) {
    probes.push_back({address, size, write});
    return address != forbidden;
}

}  // namespace
}  // namespace zv::test

BOOL IsBadReadPtr(const void* address, size_t size) noexcept { return zv::test::Answer(address, size, false) ? 0 : 1; }
BOOL IsBadWritePtr(void* address, size_t size) noexcept { return zv::test::Answer(address, size, true) ? 0 : 1; }
bool ZvCanLoad(const void* address, size_t size) noexcept { return zv::test::Answer(address, size, false); }
bool ZvPeekMemory(void* destination, const void* source, size_t count) noexcept {
    std::memcpy(destination, source, count);
    return true;
}

namespace zv::test {
namespace {

constexpr int32_t kWidth = 16;
constexpr size_t kRoom = 16384;

class Probes : public testing::Test {
protected:
    void SetUp() override { Forget(); }

    static void Forget() {
        probes.clear();
        forbidden = nullptr;
    }
    static std::vector<Probe> OfPixels(size_t sourceBytes, size_t destinationBytes) {
        return {{source, sourceBytes, false}, {destination, destinationBytes, true}};
    }
    /// No byte is asked for twice with one purpose.
    static void ExpectNoneTwice(const std::string& what) {
        for (size_t i = 0; i < probes.size(); ++i) {
            for (size_t j = 0; j < i; ++j) {
                EXPECT_FALSE(probes[i].write == probes[j].write && probes[i].Begin() < probes[j].End() &&
                             probes[j].Begin() < probes[i].End())
                    << what << ": " << testing::PrintToString(probes[j]) << ", " << testing::PrintToString(probes[i]);
            }
        }
    }
    /// All are of the caller's pixels.
    static void ExpectOnlyPixels(const std::string& what) {
        for (const Probe& probe : probes) {
            const uint8_t* start = probe.write ? destination : source;
            EXPECT_TRUE(probe.Begin() >= start && probe.End() <= start + kRoom)
                << what << ": " << testing::PrintToString(probe);
        }
    }
    static int32_t Run(const Converter& converter, int32_t height, int32_t sourceExtra, int32_t destinationExtra) {
        Forget();
        return Zv_ClrConvert(converter.Get(), source, destination, kWidth, height, sourceExtra, destinationExtra);
    }

    static inline uint8_t source[kRoom], destination[kRoom];
};

TEST_F(Probes, PackedImagesAreAskedForOnceAndWhole) {
    for (const int32_t space : kAllSpaces) {
        for (const bool fromHub : {true, false}) {
            const int32_t from = fromHub ? CLRSPACE_RGB : space, to = fromHub ? space : CLRSPACE_RGB;
            const Converter converter(from, to);
            Run(converter, 4, 0, 0);
            // Some kernels ask for more than the frame: what they ask for lies behind it.
            ASSERT_GE(probes.size(), 2U) << from << " to " << to;
            EXPECT_EQ(OfPixels(TightBytes(from, kWidth, 4, 0), TightBytes(to, kWidth, 4, 0)),
                      std::vector<Probe>(probes.begin(), probes.begin() + 2))
                << from << " to " << to;
            EXPECT_EQ(2U, probes.size()) << from << " to " << to;
        }
    }
}

TEST_F(Probes, NoByteIsAskedForTwiceAndNoneOfTheLibrarysOwn) {
    for (const int32_t from : kAllSpaces) {
        for (const int32_t to : kAllSpaces) {
            const Converter converter(from, to);
            for (const int32_t height : {1, 4}) {
                for (const int32_t extra : {0, 1, 24}) {
                    for (const int32_t other : {0, 1, 24}) {
                        const std::string what = std::to_string(from) + " to " + std::to_string(to) + ", " +
                                                 std::to_string(height) + " rows, " + std::to_string(extra) + " and " +
                                                 std::to_string(other);
                        Run(converter, height, extra, other);
                        EXPECT_GE(probes.size(), 2U) << what;
                        ExpectNoneTwice(what);
                        ExpectOnlyPixels(what);
                        Forget();
                        Zv_ClrConvertDirect(from, to, source, destination, kWidth, height, extra, other);
                        ExpectNoneTwice("directly, " + what);
                        ExpectOnlyPixels("directly, " + what);
                    }
                }
            }
        }
    }
}

TEST_F(Probes, OtherMethodsAskForPixelsOnly) {
    for (const uint32_t method : {CLRMETHOD_ICC, CLRMETHOD_EMULATION}) {
        for (const int32_t space : {CLRSPACE_CMYK, CLRSPACE_LAB}) {
            for (const bool fromHub : {true, false}) {
                const int32_t from = fromHub ? CLRSPACE_RGB : space, to = fromHub ? space : CLRSPACE_RGB;
                ClrParams params = MakeParams(method, method);
                const Converter converter(from, to, &params);
                for (const int32_t height : {1, 4}) {
                    ASSERT_EQ(CLR_SUCCESS, Run(converter, height, 0, 0));
                    EXPECT_EQ(OfPixels(TightBytes(from, kWidth, height, 0), TightBytes(to, kWidth, height, 0)), probes)
                        << method << ": " << from << " to " << to;
                }
            }
        }
    }
}

TEST_F(Probes, OnlyThePaddingBehindTheLastRowIsLeftForAKernel) {
    const Converter converter(CLRSPACE_RGB, CLRSPACE_YUV);
    constexpr size_t kPixels = kWidth * 3, kTight = 2 * kPixels + 5, kTightOut = 2 * kPixels + 9;
    EXPECT_EQ(CLR_SUCCESS, Run(converter, 2, 5, 9));
    const std::vector<Probe> all = {{source, kTight, false},
                                    {destination, kTightOut, true},
                                    {source + kTight, 5, false},
                                    {destination + kTightOut, 9, true}};
    EXPECT_EQ(all, probes);

    // Each no has its own code, and nothing is asked after it.
    const int32_t codes[] = {ERR_BAD_POINTER, ERR_BAD_POINTER, ERR_INVALID_PARAMETER, ERR_INVALID_PARAMETER};
    for (size_t i = 0; i < all.size(); ++i) {
        Forget();
        forbidden = all[i].address;
        EXPECT_EQ(codes[i], Zv_ClrConvert(converter.Get(), source, destination, kWidth, 2, 5, 9)) << i;
        EXPECT_EQ(std::vector<Probe>(all.begin(), all.begin() + static_cast<ptrdiff_t>(i) + 1), probes) << i;
    }
}

TEST_F(Probes, WhatIsNoLiveConverterIsAskedForFirst) {
    alignas(16) static uint8_t stranger[kConverterSize];
    const auto* handle = reinterpret_cast<const ClrHandle*>(stranger);
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrConvert(handle, source, destination, kWidth, 1, 0, 0));
    ASSERT_EQ(3U, probes.size());
    EXPECT_EQ((Probe{stranger, kConverterSize, false}), probes[0]);

    Forget();
    forbidden = stranger;
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrConvert(handle, source, destination, kWidth, 1, 0, 0));
    EXPECT_EQ((std::vector<Probe>{{stranger, kConverterSize, false}}), probes);
}

TEST_F(Probes, PixelsOfABitmapAreTheLibrarysOwn) {
    const Converter converter(CLRSPACE_YUV, CLRSPACE_BGR);
    HostBitmap bitmap = {};
    Forget();
    Zv_ClrConvertToBitmap(converter.Get(), source, &bitmap, sizeof bitmap, kWidth, 3, 7, 7);
    ExpectNoneTwice("through a converter");
    EXPECT_EQ(
        (std::vector<Probe>{{source, PaddedBytes(CLRSPACE_YUV, kWidth, 3, 7), false}, {&bitmap, sizeof bitmap, true}}),
        probes);
    RecordingHost::Get().Reset();

    Forget();
    bitmap = {};
    Zv_ClrConvertDirectToBitmap(CLRSPACE_YUV, CLRSPACE_BGR, source, &bitmap, sizeof bitmap, kWidth, 3, 7, 7);
    EXPECT_EQ(
        (std::vector<Probe>{{&bitmap, sizeof bitmap, true}, {source, PaddedBytes(CLRSPACE_YUV, kWidth, 3, 7), false}}),
        probes);
}

}  // namespace
}  // namespace zv::test
