// Colour spaces, parameter records and converters for tests of the conversion frame.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Common/converter.h"
#include "Common/zvclr/frame.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/recording_host.h"
#include "tests/support/test_pictures.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace zv::test {

inline constexpr int32_t kAllSpaces[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 128, 144};
inline constexpr int32_t kHubs[] = {0, 12};

/// Bits of a pixel, told apart from the library's own list.
constexpr int32_t BitsOf(int32_t space) {
    switch (space) {
        case 2:
        case 11:
            return 32;
        case 9:
        case 14:
        case 144:
            return 16;
        case 10:
            return 9;
        case 13:
            return 12;
        default:
            return 24;
    }
}
constexpr bool IsHub(int32_t space) { return space == 0 || space == 12; }
constexpr size_t RowBytesOf(int32_t space, int32_t width) {
    return static_cast<size_t>((int64_t{BitsOf(space)} * width + 7) / 8);
}
/// All rows with their padding, that of the last row too.
constexpr size_t PaddedBytes(int32_t space, int32_t width, int32_t height, int32_t extra) {
    return (RowBytesOf(space, width) + static_cast<size_t>(extra < 1 ? 0 : extra)) * static_cast<size_t>(height);
}
/// All rows, with padding between them only.
constexpr size_t TightBytes(int32_t space, int32_t width, int32_t height, int32_t extra) {
    return PaddedBytes(space, width, height, extra) - static_cast<size_t>(extra < 1 ? 0 : extra);
}

inline ClrParams MakeParams(uint32_t methods, uint32_t activeMethod) {
    ClrParams params{};
    params.size = sizeof params;
    params.methods = methods;
    params.activeMethod = activeMethod;
    params.emulationMethod = CLRMETHOD_EMULATION;
    return params;
}
inline ClrCmykParams MakeCmyk(int32_t gcrLevel) { return {12, gcrLevel, 0}; }
inline ClrLabParams MakeLab() { return {32, 0, 0, 100, 128, 170, 96, 200}; }
/// Three bytes a pixel: V, Y, U.
inline constexpr int32_t kVyuPositions[] = {1, 2, 0};
inline ClrYuvParams MakeYuv() { return {44, 0, 1, 1, 1, 1, kVyuPositions, 1, 0, 0}; }

/// Every pointer of the record set to a good record.
struct FullRecords {
    ClrWhitePoint white{65, 0.25, 0.5};
    ClrCmykParams cmyk = MakeCmyk(400);
    ClrYuvParams yuv = MakeYuv();
    ClrLabParams lab = MakeLab();
    ClrParams params;

    explicit FullRecords(uint32_t methods = CLRMETHOD_BUILTIN, uint32_t activeMethod = CLRMETHOD_BUILTIN)
        : params(MakeParams(methods, activeMethod)) {
        params.whitePoint = &white;
        params.cmykParams = &cmyk;
        params.yuvParams = &yuv;
        params.labParams = &lab;
    }
    FullRecords(const FullRecords&) = delete;
    FullRecords& operator=(const FullRecords&) = delete;
};

/// A converter for the length of a test.
class Converter {
public:
    Converter(int32_t sourceSpace, int32_t destinationSpace, ClrParams* params = nullptr) {
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle_, sourceSpace, destinationSpace, params))
            << sourceSpace << " to " << destinationSpace;
    }
    ~Converter() {
        if (handle_ != nullptr) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle_));
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    ClrHandle* Get() const { return handle_; }
    ClrHandle* operator->() const { return handle_; }

private:
    ClrHandle* handle_ = nullptr;
};

/// Zv_ClrInit that is to fail: the receiver must stay as it was.
inline int32_t FailingInit(int32_t sourceSpace, int32_t destinationSpace, ClrParams* params) {
    uint8_t mark = 0;
    auto* const before = reinterpret_cast<ClrHandle*>(&mark);
    ClrHandle* receiver = before;
    const int32_t result = Zv_ClrInit(&receiver, sourceSpace, destinationSpace, params);
    EXPECT_EQ(before, receiver) << "the receiver was written, result " << result;
    return result;
}

/// A record copied to any address, which need not be aligned.
template <class T>
T* PlaceAt(uint8_t* address, const T& record) {
    std::memcpy(address, &record, sizeof record);
    return reinterpret_cast<T*>(address);
}

inline std::vector<uint8_t> BytesOf(const GuardedBuffer& buffer) { return {buffer.begin(), buffer.end()}; }

/// Copies bytes into the buffer's front.
inline void Put(const GuardedBuffer& buffer, const std::vector<uint8_t>& bytes) {
    ASSERT_LE(bytes.size(), buffer.Size());
    if (!bytes.empty()) std::memcpy(buffer.Data(), bytes.data(), bytes.size());
}

/// Pixels that every kernel takes without an error: HLS bytes come from the hub, the rest are random.
inline std::vector<uint8_t> ValidPixels(int32_t space, int32_t width, int32_t height, int32_t extra, uint32_t seed) {
    std::vector<uint8_t> bytes = RandomBytes(PaddedBytes(space, width, height, extra), seed);
    if (space != CLRSPACE_HLS) return bytes;
    const std::vector<uint8_t> hub = RandomBytes(PaddedBytes(0, width, height, extra), seed);
    EXPECT_EQ(CLR_SUCCESS,
              Zv_ClrConvertDirect(CLRSPACE_RGB, space, hub.data(), bytes.data(), width, height, extra, extra));
    return bytes;
}

}  // namespace zv::test
