// The two YCCK kernels around memory that cannot be had and around a stored ICC transform.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Common/Zvtrans/transform.h"
#include "Common/kernels/kernels.h"
#include "tests/Common/kernels/few_pixels.h"
#include "tests/support/recording_host.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

constexpr int32_t kWidth = 5;
constexpr int32_t kHeight = 3;
constexpr size_t kPixels = 15;

/// A transform that notes its input and delivers what it is told.
struct StandIn : CmmTransform {
    Bytes input;
    Bytes output;
    size_t inputBytes = 0;
    int32_t calls = 0;
    int32_t result = CLR_SUCCESS;

    StandIn(size_t inputPixelBytes, Bytes out) : CmmTransform{}, output(std::move(out)), inputBytes(inputPixelBytes) {
        run = [](CmmTransform* transform, const void* in, void* to, uint32_t pixels) {
            auto& self = *static_cast<StandIn*>(transform);
            ++self.calls;
            EXPECT_EQ(pixels, self.inputCount);
            EXPECT_EQ(pixels, self.outputCount);
            const auto* bytes = static_cast<const uint8_t*>(in);
            self.input.assign(bytes, bytes + pixels * self.inputBytes);
            std::copy(self.output.begin(), self.output.end(), static_cast<uint8_t*>(to));
            return self.result;
        };
    }
};

/// A converter as far as the kernels look at it.
ClrHandle HandleFor(int32_t source, int32_t destination, uint32_t method, CmmTransform* transform,
                    ClrYcckTables* tables) {
    ClrHandle handle{};
    handle.size = kConverterSize;
    handle.sourceSpace = source;
    handle.destinationSpace = destination;
    handle.activeMethod = method;
    handle.iccTransform = transform;
    handle.ycckTables = tables;
    return handle;
}

std::unique_ptr<ClrYcckTables> WholeTables() {
    auto tables = std::make_unique<ClrYcckTables>();
    ClrFillYcckRange(*tables);
    ClrFillYcckDecoding(*tables);
    ClrFillYcckEncoding(*tables);
    return tables;
}

/// Rows of `rowBytes` out of an image with padding.
Bytes Packed(const Bytes& image, size_t rowBytes, size_t extra) {
    Bytes packed;
    for (size_t row = 0; row < kHeight; ++row) {
        const auto from = image.begin() + static_cast<ptrdiff_t>(row * (rowBytes + extra));
        packed.insert(packed.end(), from, from + static_cast<ptrdiff_t>(rowBytes));
    }
    return packed;
}

bool PaddingIs(const Bytes& image, size_t rowBytes, size_t extra, uint8_t value) {
    for (size_t i = 0; i < image.size(); ++i) {
        if (i % (rowBytes + extra) >= rowBytes && image[i] != value) return false;
    }
    return true;
}

// --- To hub ---------------------------------------------------------------------------------------------------------

TEST(YcckToHubTransform, GetsPackedCmykAndItsResultIsSpreadAsItIs) {
    const HostScope host;
    const Bytes source = RandomBytes((kWidth * 4 + 7) * kHeight, 5);
    const auto tables = WholeTables();
    for (const int32_t rgbFirst : {0, 1}) {
        StandIn transform(4, RandomBytes(kPixels * 3, 6));
        const ClrHandle handle = HandleFor(CLRSPACE_YCCK, CLRSPACE_RGB, CLRMETHOD_ICC, &transform, tables.get());
        Bytes out((kWidth * 3 + 2) * kHeight, 0xCC);
        EXPECT_EQ(CLR_SUCCESS, ClrYcckToHub(&handle, source.data(), out.data(), kWidth, kHeight, 7, 2, rgbFirst));
        EXPECT_EQ(1, transform.calls);
        EXPECT_EQ(kPixels, transform.inputCount);

        Bytes cmyk(kPixels * 4);
        EXPECT_EQ(CLR_SUCCESS, ClrYcckToCmyk(tables.get(), source.data(), cmyk.data(), kWidth, kHeight, 7));
        EXPECT_EQ(cmyk, transform.input);
        EXPECT_EQ(transform.output, Packed(out, kWidth * 3, 2));
        EXPECT_TRUE(PaddingIs(out, kWidth * 3, 2, 0xCC));
    }
}

TEST(YcckToHubTransform, CmykDestinationHasFourBytesAPixel) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 4, 5);
    const auto tables = WholeTables();
    StandIn transform(4, RandomBytes(kPixels * 4, 6));
    const ClrHandle handle = HandleFor(CLRSPACE_YCCK, CLRSPACE_CMYK, CLRMETHOD_ICC, &transform, tables.get());
    Bytes out((kWidth * 4 + 3) * kHeight, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, ClrYcckToHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 3, 1));
    EXPECT_EQ(transform.output, Packed(out, kWidth * 4, 3));
    EXPECT_TRUE(PaddingIs(out, kWidth * 4, 3, 0xCC));
}

TEST(YcckToHubTransform, ResultIsPassedOn) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 4, 5);
    const auto tables = WholeTables();
    for (const int32_t code : std::initializer_list<int32_t>{ERR_TRANSFORM_CREATE, ERR_NO_MEMORY, 0, -1}) {
        StandIn transform(4, Bytes(kPixels * 3));
        transform.result = code;
        const ClrHandle handle = HandleFor(CLRSPACE_YCCK, CLRSPACE_RGB, CLRMETHOD_ICC, &transform, tables.get());
        Bytes out(kPixels * 3, 0xCC);
        EXPECT_EQ(code, ClrYcckToHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0, 1));
    }
}

TEST(YcckToHubTransform, WithoutATransformIsInvalid) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 4, 5);
    const auto tables = WholeTables();
    const ClrHandle handle = HandleFor(CLRSPACE_YCCK, CLRSPACE_RGB, CLRMETHOD_ICC, nullptr, tables.get());
    Bytes out(kPixels * 3, 0xCC);
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckToHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0, 1));
    EXPECT_EQ(Bytes(kPixels * 3, 0xCC), out);
}

TEST(YcckToHub, OtherMethodsReturn0AndWriteNothing) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 4, 5);
    const auto tables = WholeTables();
    for (const uint32_t method : {CLRMETHOD_CUSTOM_ICC, CLRMETHOD_EMULATION, CLRMETHOD_CUSTOM_EMULATION}) {
        StandIn transform(4, Bytes(kPixels * 3));
        const ClrHandle handle = HandleFor(CLRSPACE_YCCK, CLRSPACE_RGB, method, &transform, tables.get());
        Bytes out(kPixels * 3, 0xCC);
        EXPECT_EQ(0, ClrYcckToHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0, 1));
        EXPECT_EQ(Bytes(kPixels * 3, 0xCC), out);
        EXPECT_EQ(0, transform.calls);
    }
}

// --- From hub -------------------------------------------------------------------------------------------------------

TEST(YcckFromHubTransform, GetsThePackedHubImageAndItsInksAreEncoded) {
    const HostScope host;
    const Bytes source = RandomBytes((kWidth * 3 + 4) * kHeight, 8);
    const auto tables = WholeTables();
    StandIn transform(3, RandomBytes(kPixels * 4, 9));
    const ClrHandle handle = HandleFor(CLRSPACE_BGR, CLRSPACE_YCCK, CLRMETHOD_ICC, &transform, tables.get());
    Bytes out((kWidth * 4 + 6) * kHeight, 0xCC);
    EXPECT_EQ(CLR_SUCCESS, ClrYcckFromHub(&handle, source.data(), out.data(), kWidth, kHeight, 4, 6));
    EXPECT_EQ(Packed(source, kWidth * 3, 4), transform.input);
    Bytes wanted(kPixels * 4);
    EXPECT_EQ(CLR_SUCCESS, ClrCmykToYcck(tables.get(), transform.output.data(), wanted.data(), kPixels, 1, 0));
    EXPECT_EQ(wanted, Packed(out, kWidth * 4, 6));
    EXPECT_TRUE(PaddingIs(out, kWidth * 4, 6, 0xCC));
}

TEST(YcckFromHubTransform, WithoutTablesNothingIsWrittenAndTheResultIsTheTransforms) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 3, 8);
    for (const int32_t code : std::initializer_list<int32_t>{CLR_SUCCESS, ERR_TRANSFORM_CREATE, 0}) {
        StandIn transform(3, Bytes(kPixels * 4));
        transform.result = code;
        const ClrHandle handle = HandleFor(CLRSPACE_RGB, CLRSPACE_YCCK, CLRMETHOD_ICC, &transform, nullptr);
        Bytes out(kPixels * 4, 0xCC);
        EXPECT_EQ(code, ClrYcckFromHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0));
        EXPECT_EQ(1, transform.calls);
        EXPECT_EQ(Bytes(kPixels * 4, 0xCC), out);
    }
}

TEST(YcckFromHubTransform, WithoutATransformIsInvalid) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 3, 8);
    const ClrHandle handle = HandleFor(CLRSPACE_RGB, CLRSPACE_YCCK, CLRMETHOD_ICC, nullptr, nullptr);
    Bytes out(kPixels * 4, 0xCC);
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrYcckFromHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(Bytes(kPixels * 4, 0xCC), out);
}

TEST(YcckFromHub, OtherMethodsReturn1AndWriteNothing) {
    const HostScope host;
    const Bytes source = RandomBytes(kPixels * 3, 8);
    const auto tables = WholeTables();
    for (const uint32_t method : {CLRMETHOD_CUSTOM_ICC, CLRMETHOD_EMULATION, CLRMETHOD_CUSTOM_EMULATION}) {
        const ClrHandle handle = HandleFor(CLRSPACE_RGB, CLRSPACE_YCCK, method, nullptr, tables.get());
        Bytes out(kPixels * 4, 0xCC);
        EXPECT_EQ(CLR_SUCCESS, ClrYcckFromHub(&handle, source.data(), out.data(), kWidth, kHeight, 0, 0));
        EXPECT_EQ(Bytes(kPixels * 4, 0xCC), out);
    }
}

TEST(YcckFromHub, ABuiltinConverterWithTablesWouldEncodeWithThem) {
    const HostScope host;
    const auto tables = WholeTables();
    const ClrHandle handle = HandleFor(CLRSPACE_RGB, CLRSPACE_YCCK, CLRMETHOD_BUILTIN, nullptr, tables.get());
    const uint8_t red[3] = {255, 0, 0};
    Bytes out(4);
    EXPECT_EQ(CLR_SUCCESS, ClrYcckFromHub(&handle, red, out.data(), 1, 1, 0, 0));
    EXPECT_EQ((Bytes{76, 85, 255, 0}), out);
}

// --- Memory ---------------------------------------------------------------------------------------------------------

/// Runs with each allocation failing in turn, then with all passing; `allocations` is how many there are.
template <class Run>
void FailEach(int64_t allocations, const Run& run) {
    for (int64_t n = 1; n <= allocations; ++n) {
        HostScope host;
        host->FailAllocation(n);
        EXPECT_EQ(ERR_NO_MEMORY, run()) << "allocation " << n;
        EXPECT_EQ(n, host->AllocationsSinceReset());
        EXPECT_EQ(0U, host.Leaked());
    }
    const HostScope host;
    EXPECT_EQ(CLR_SUCCESS, run());
    EXPECT_EQ(allocations, host->AllocationsSinceReset());
}

TEST(YcckKernelsWithoutMemory, EveryAllocationOfEveryBranch) {
    const Bytes source = RandomBytes(kPixels * 4, 5);
    const auto tables = WholeTables();
    Bytes out(kPixels * 4, 0xCC);
    FailEach(1, [&] { return ClrYcckFromHub(nullptr, source.data(), out.data(), kWidth, kHeight, 0, 0); });
    FailEach(1, [&] { return ClrYcckToHub(nullptr, source.data(), out.data(), kWidth, kHeight, 0, 0, 1); });

    StandIn from(3, Bytes(kPixels * 4));
    const ClrHandle fromHandle = HandleFor(CLRSPACE_RGB, CLRSPACE_YCCK, CLRMETHOD_ICC, &from, tables.get());
    FailEach(2, [&] { return ClrYcckFromHub(&fromHandle, source.data(), out.data(), kWidth, kHeight, 0, 0); });

    StandIn to(4, Bytes(kPixels * 3));
    const ClrHandle toHandle = HandleFor(CLRSPACE_YCCK, CLRSPACE_RGB, CLRMETHOD_ICC, &to, tables.get());
    FailEach(2, [&] { return ClrYcckToHub(&toHandle, source.data(), out.data(), kWidth, kHeight, 0, 0, 1); });
}

TEST(YcckKernelsWithoutMemory, NothingIsWritten) {
    const Bytes source = RandomBytes(kPixels * 4, 5);
    HostScope host;
    host->FailAllocationsAbove(1);
    Bytes out(kPixels * 4, 0xCC);
    EXPECT_EQ(ERR_NO_MEMORY, ClrYcckFromHub(nullptr, source.data(), out.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(ERR_NO_MEMORY, ClrYcckToHub(nullptr, source.data(), out.data(), kWidth, kHeight, 0, 0, 1));
    EXPECT_EQ(Bytes(kPixels * 4, 0xCC), out);
}

TEST(YcckKernelsWithoutMemory, SizesBeyondAnyMemoryAreNoMemory) {
    const HostScope host;
    uint8_t bytes[16] = {};
    for (const auto& [width, height] : {std::pair{INT32_MAX, INT32_MAX}, {1 << 30, 1}, {1 << 29, 1 << 29}}) {
        EXPECT_EQ(ERR_NO_MEMORY, ClrYcckFromHub(nullptr, bytes, bytes, width, height, 0, 0));
        EXPECT_EQ(ERR_NO_MEMORY, ClrYcckToHub(nullptr, bytes, bytes, width, height, 0, 0, 1));
    }
}

TEST(YcckKernels, EmptyImagesTouchAndAllocateNothing) {
    const HostScope host;
    uint8_t bytes[16] = {};
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {1, -1}}) {
        EXPECT_EQ(CLR_SUCCESS, ClrYcckFromHub(nullptr, bytes, bytes, width, height, 0, 0));
        EXPECT_EQ(CLR_SUCCESS, ClrYcckToHub(nullptr, bytes, bytes, width, height, 0, 0, 1));
    }
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(ClrConvert, YcckWithoutMemoryReachesTheCallerOfAConverterOnly) {
    HostScope host;
    const uint8_t ycck[4] = {76, 85, 255, 0};
    Bytes out(3, 0xCC);
    ClrHandle* converter = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&converter, CLRSPACE_YCCK, CLRSPACE_RGB, nullptr));
    host->FailAllocation(1);
    EXPECT_EQ(ERR_NO_MEMORY, Zv_ClrConvert(converter, ycck, out.data(), 1, 1, 0, 0));
    host->FailAllocation(1);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_YCCK, CLRSPACE_RGB, ycck, out.data(), 1, 1, 0, 0));
    EXPECT_EQ(Bytes(3, 0xCC), out);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(converter));
}

}  // namespace

}  // namespace zv::test
