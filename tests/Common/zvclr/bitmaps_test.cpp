// Conversions into a bitmap of the host: what is refused and in which order, what the host is given, and that the
// bitmap stays as it was until the conversion has succeeded.
#include <functional>
#include <utility>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

/// A record of the caller's, with something in each field.
HostBitmap MarkedBitmap(uint32_t flags = 0x80) { return {1, flags, 3, 4, 5, 6, nullptr}; }

bool SameBitmap(const HostBitmap& a, const HostBitmap& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

class Bitmaps : public ::testing::Test {
protected:
    ~Bitmaps() override {
        if (bitmap_.pixels != nullptr) HostFreeBitmap(&bitmap_);
    }

    int32_t Into(const ClrHandle* c, const void* source, int32_t width, int32_t height, int32_t sourceExtra = 0,
                 int32_t destinationExtra = 0) {
        return Zv_ClrConvertToBitmap(c, source, &bitmap_, sizeof bitmap_, width, height, sourceExtra, destinationExtra);
    }
    int32_t DirectInto(int32_t from, int32_t to, const void* source, int32_t width, int32_t height,
                       int32_t sourceExtra = 0, int32_t destinationExtra = 0) {
        return Zv_ClrConvertDirectToBitmap(from, to, source, &bitmap_, sizeof bitmap_, width, height, sourceExtra,
                                           destinationExtra);
    }
    /// The host's last bitmap call, which must be the filling of this bitmap.
    BitmapCall LastFilling() const {
        const auto calls = host_->BitmapCalls();
        EXPECT_FALSE(calls.empty());
        if (calls.empty()) return {};
        EXPECT_EQ("HostDibToBitmap", calls.back().operation);
        EXPECT_EQ(&bitmap_, calls.back().bitmap);
        return calls.back();
    }
    void ExpectUntouched(const HostBitmap& before) const {
        EXPECT_TRUE(SameBitmap(before, bitmap_));
        EXPECT_TRUE(host_->BitmapCalls().empty());
    }

    HostScope host_;
    HostBitmap bitmap_ = MarkedBitmap();
    const Bytes pixels_ = RandomBytes(4096, 9);
};

uint32_t Field32(const HostDibHeader& header, size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(&header) + offset, sizeof value);
    return value;
}
uint16_t Field16(const HostDibHeader& header, size_t offset) {
    uint16_t value = 0;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(&header) + offset, sizeof value);
    return value;
}

/// Field by field; the last four bytes are nobody's.
void ExpectHeader(const HostDibHeader& header, int32_t width, int32_t height, uint32_t imageSize) {
    EXPECT_EQ(44U, Field32(header, 0));
    EXPECT_EQ(static_cast<uint32_t>(width), Field32(header, 4));
    EXPECT_EQ(0U - static_cast<uint32_t>(height), Field32(header, 8)) << "negative: rows from the top";
    EXPECT_EQ(1U, Field16(header, 12));
    EXPECT_EQ(24U, Field16(header, 14));
    EXPECT_EQ(0U, Field32(header, 16));
    EXPECT_EQ(imageSize, Field32(header, 20));
    EXPECT_EQ(0U, Field32(header, 24));
    EXPECT_EQ(0U, Field32(header, 28));
    EXPECT_EQ(0U, Field32(header, 32));
    EXPECT_EQ(0U, Field32(header, 36));
}

// --- By a converter: refusals ---------------------------------------------------------------------------------------

TEST_F(Bitmaps, NullSourceOrBitmap) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Into(c.Get(), nullptr, 2, 2));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvertToBitmap(c.Get(), pixels_.data(), nullptr, 32, 2, 2, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Into(nullptr, nullptr, 2, 2)) << "before the converter";
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvertToBitmap(nullptr, pixels_.data(), nullptr, 32, 2, 2, 0, 0));
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, ConverterThatCannotBeRead) {
    EXPECT_EQ(ERR_BAD_POINTER, Into(nullptr, pixels_.data(), 2, 2)) << "null too";
    const GuardedBuffer page(sizeof(ClrHandle) - 1);
    EXPECT_EQ(ERR_BAD_POINTER, Into(reinterpret_cast<ClrHandle*>(page.Data()), pixels_.data(), 2, 2));
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, SourceIsProbedWithThePaddingOfTheLastRow) {
    const Converter yuv(CLRSPACE_YUV, CLRSPACE_RGB), cmyk(CLRSPACE_CMYK, CLRSPACE_BGR),
        y41p(CLRSPACE_Y41P, CLRSPACE_RGB);
    const struct {
        const Converter* converter;
        int32_t width;
        int32_t extra;
        size_t bytes;  ///< of 3 rows
    } cases[] = {{&yuv, 5, 0, 45}, {&yuv, 5, 4, 57}, {&cmyk, 5, 1, 63}, {&y41p, 8, 3, 45}};
    for (const auto& region : cases) {
        const GuardedBuffer exact(region.bytes), shorter(region.bytes - 1);
        EXPECT_EQ(ERR_BAD_POINTER, Into(region.converter->Get(), shorter.Data(), region.width, 3, region.extra));
        ExpectUntouched(MarkedBitmap());
        EXPECT_EQ(CLR_SUCCESS, Into(region.converter->Get(), exact.Data(), region.width, 3, region.extra));
        HostFreeBitmap(&bitmap_);
        bitmap_ = MarkedBitmap();
        host_->Reset();
    }
    const GuardedBuffer packed(45);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Into(yuv.Get(), packed.Data(), 5, 3, -1))
        << "no padding for the probe, and the conversion refuses it";
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, SourceGoesBeforeTheHandleAndTheHandleBeforeTheSpace) {
    const Converter toInks(CLRSPACE_RGB, CLRSPACE_CMYK);
    std::vector<uint8_t> copy(sizeof(ClrHandle));
    std::memcpy(copy.data(), toInks.Get(), sizeof(ClrHandle));
    const auto* dead = reinterpret_cast<const ClrHandle*>(copy.data());
    const GuardedBuffer shorter(11);
    EXPECT_EQ(ERR_BAD_POINTER, Into(dead, shorter.Data(), 2, 2));
    EXPECT_EQ(ERR_INVALID_HANDLE, Into(dead, pixels_.data(), 2, 2));
    EXPECT_EQ(ERR_BAD_POINTER, Into(toInks.Get(), shorter.Data(), 2, 2));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Into(toInks.Get(), pixels_.data(), 2, 2));
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, OnlyHubsAreDestinations) {
    for (const int32_t space : kAllSpaces) {
        const Converter c(space, space), fromHub(CLRSPACE_RGB, space);
        if (IsHub(space)) continue;
        EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Into(c.Get(), pixels_.data(), 8, 4)) << space;
        EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Into(fromHub.Get(), pixels_.data(), 8, 4)) << space;
    }
    ExpectUntouched(MarkedBitmap());
    EXPECT_EQ(0, host_.Leaked());
}

TEST_F(Bitmaps, EmptySizes) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    host_->Reset();
    for (const auto& [width, height] :
         {std::pair(0, 2), std::pair(2, 0), std::pair(0, 0), std::pair(-1, 2), std::pair(2, -1), std::pair(-3, -3),
          std::pair(INT32_MIN, 1), std::pair(1, INT32_MIN), std::pair(INT32_MIN, 0)}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, DirectInto(1, 0, pixels_.data(), width, height)) << width << " " << height;
        const int32_t result = Into(c.Get(), pixels_.data(), width, height, 3, 3);
        // Sizes that make no region may fail its probe.
        if (width == INT32_MIN || height == INT32_MIN || (width < 0 && height < 0)) {
            EXPECT_TRUE(result == ERR_INVALID_PARAMETER || result == ERR_BAD_POINTER) << result;
        } else {
            EXPECT_EQ(ERR_INVALID_PARAMETER, result) << width << " " << height;
        }
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, SizesThatAHeaderCannotTell) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    constexpr int32_t kMost = INT32_MAX;
    host_->FailAllocationsAbove(size_t{1} << 24);
    const struct {
        int32_t width;
        int32_t height;
        int32_t extra;
        int32_t result;
    } cases[] = {
        {1431655765, 1, 0, ERR_NO_MEMORY},  // 2^32 - 1 bytes
        {1431655766, 1, 0, ERR_INVALID_PARAMETER},
        {1, 1431655765, 0, ERR_NO_MEMORY},
        {1, 1431655766, 0, ERR_INVALID_PARAMETER},
        {1, 1, 1431655764, ERR_NO_MEMORY},
        {1, 1, 1431655765, ERR_INVALID_PARAMETER},
        {37837, 37837, 0, ERR_NO_MEMORY},
        {37838, 37838, 0, ERR_INVALID_PARAMETER},
        {715827883, 1, 0, ERR_NO_MEMORY},
        {715827883, 1, 1, ERR_NO_MEMORY},
        {715827883, 2, 0, ERR_INVALID_PARAMETER},  // 2 in 32 bits
        {65536, 65536, 0, ERR_INVALID_PARAMETER},  // 0 in 32 bits
        {65536, 65536, 65536, ERR_INVALID_PARAMETER},
        {kMost, 1, 0, ERR_INVALID_PARAMETER},
        {1, kMost, 0, ERR_INVALID_PARAMETER},
        {1, 1, kMost, ERR_INVALID_PARAMETER},
        {kMost, kMost, 0, ERR_INVALID_PARAMETER},
        {kMost, kMost, kMost, ERR_INVALID_PARAMETER},
        {1431655765, 1, -1, ERR_NO_MEMORY},
        {1431655766, 1, INT32_MIN, ERR_INVALID_PARAMETER},
    };
    for (const auto& size : cases) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height) + ", " +
                     std::to_string(size.extra));
        EXPECT_EQ(size.result, DirectInto(1, 0, pixels_.data(), size.width, size.height, 0, size.extra));
        const bool small = size.width == 1 && size.height == 1;
        EXPECT_EQ(small ? size.result : int32_t{ERR_BAD_POINTER},
                  Into(c.Get(), pixels_.data(), size.width, size.height, 0, size.extra));
        EXPECT_EQ(ERR_BAD_POINTER, Into(c.Get(), pixels_.data(), size.width, size.height, kMost, size.extra));
    }
    EXPECT_EQ(ERR_NO_MEMORY, Into(c.Get(), pixels_.data(), 100, 10, 0, 143165476)) << "2^32 - 16 bytes";
    EXPECT_EQ(ERR_INVALID_PARAMETER, Into(c.Get(), pixels_.data(), 100, 10, 0, 143165477)) << "and 14 more than 2^32";
    EXPECT_EQ(ERR_BAD_POINTER, DirectInto(1, 0, pixels_.data(), 1, 1, kMost));
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, BitmapThatCannotBeWritten) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    GuardedBuffer page(sizeof(HostBitmap));
    auto* const bitmap = PlaceAt(page.Data(), MarkedBitmap());
    for (const bool readable : {true, false}) {
        readable ? page.MakeReadOnly() : page.MakeUnreadable();
        EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrConvertToBitmap(c.Get(), pixels_.data(), bitmap, 32, 2, 2, 0, 0));
        EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrConvertDirectToBitmap(1, 0, pixels_.data(), bitmap, 32, 2, 2, 0, 0));
    }
    EXPECT_TRUE(host_->BitmapCalls().empty());
    page.MakeWritable();
    EXPECT_TRUE(SameBitmap(MarkedBitmap(), *bitmap));
}

// --- What the host is given -----------------------------------------------------------------------------------------

TEST_F(Bitmaps, HeaderOfAConverter) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_BGR);
    ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), 10, 5, 0, 2));
    const BitmapCall call = LastFilling();
    ExpectHeader(call.header, 10, 5, 180);  // the padding three times over
    EXPECT_EQ(160U, call.bits.size()) << "of the buffer it counts once";
    ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), 7, 3, 4, 0));
    ExpectHeader(LastFilling().header, 7, 3, 63);
    EXPECT_EQ(63U, LastFilling().bits.size());
}

TEST_F(Bitmaps, HeaderOfADirectConversion) {
    ASSERT_EQ(CLR_SUCCESS, DirectInto(1, 12, pixels_.data(), 10, 5, 0, 2));
    ExpectHeader(LastFilling().header, 10, 5, 180);
    EXPECT_EQ(180U, LastFilling().bits.size()) << "three times over in the buffer too";
    ASSERT_EQ(CLR_SUCCESS, DirectInto(1, 0, pixels_.data(), 7, 3, 4, -5));
    ExpectHeader(LastFilling().header, 7, 3, 63);
    EXPECT_EQ(63U, LastFilling().bits.size());
}

TEST_F(Bitmaps, RecordSizeIsPassedOn) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    for (const uint32_t size : {0U, 1U, 31U, 32U, 1000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertToBitmap(c.Get(), pixels_.data(), &bitmap_, size, 2, 2, 0, 0));
        EXPECT_EQ(size, LastFilling().recordSize);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirectToBitmap(1, 0, pixels_.data(), &bitmap_, size, 2, 2, 0, 0));
        EXPECT_EQ(size, LastFilling().recordSize);
    }
}

/// What the flags of a smaller record say is not its own.
TEST_F(Bitmaps, SmallerRecordsKeepTheirPixels) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), 2, 2));
    ASSERT_EQ(0x81U, bitmap_.flags);
    for (const uint32_t flags : {0x81U, 0x80U}) {
        bitmap_.flags = flags;
        const HostBitmap before = bitmap_;
        for (const uint32_t size : {0U, 1U, 24U, 31U}) {
            host_->Reset();
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertToBitmap(c.Get(), pixels_.data(), &bitmap_, size, 2, 2, 0, 0));
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirectToBitmap(1, 0, pixels_.data(), &bitmap_, size, 2, 2, 0, 0));
            EXPECT_EQ(2U, host_->BitmapCalls().size()) << "nothing is released, flags " << flags << ", size " << size;
            EXPECT_EQ("HostDibToBitmap", host_->BitmapCalls().at(0).operation);
            EXPECT_EQ("HostDibToBitmap", host_->BitmapCalls().at(1).operation);
            EXPECT_TRUE(SameBitmap(before, bitmap_));
        }
    }
    bitmap_.flags = 0x81;
    host_->Reset();
    EXPECT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), 2, 2));
    EXPECT_EQ("HostFreeBitmap", host_->BitmapCalls().at(0).operation);
}

TEST_F(Bitmaps, RowsAreThoseOfTheConversion) {
    constexpr int32_t kWidth = 8, kHeight = 4;
    for (const int32_t space : kAllSpaces) {
        for (const int32_t hub : kHubs) {
            const Converter c(space, hub);
            for (const auto& [from, to] : {std::pair(0, 0), std::pair(0, 3), std::pair(5, 0), std::pair(2, 7)}) {
                SCOPED_TRACE(std::to_string(space) + " to " + std::to_string(hub) + ", " + std::to_string(from) + " " +
                             std::to_string(to));
                const Bytes source = ValidPixels(space, kWidth, kHeight, from, 6);
                Bytes expected(PaddedBytes(hub, kWidth, kHeight, to));
                const int32_t result =
                    Zv_ClrConvert(c.Get(), source.data(), expected.data(), kWidth, kHeight, from, to);
                host_->Reset();
                EXPECT_EQ(result, Into(c.Get(), source.data(), kWidth, kHeight, from, to));
                if (result == CLR_SUCCESS) {
                    EXPECT_EQ(expected, LastFilling().bits);
                }

                Bytes direct(static_cast<size_t>((kWidth + to) * kHeight * 3));
                const int32_t directly =
                    Zv_ClrConvertDirect(space, hub, source.data(), direct.data(), kWidth, kHeight, from, to);
                host_->Reset();
                EXPECT_EQ(directly, DirectInto(space, hub, source.data(), kWidth, kHeight, from, to));
                if (directly == CLR_SUCCESS) {
                    EXPECT_EQ(direct, LastFilling().bits);
                }
            }
        }
    }
}

TEST_F(Bitmaps, KnownPixelsOnBothHubs) {
    const Bytes rgb{10, 20, 30, 40, 50, 60};
    EXPECT_EQ(CLR_SUCCESS, DirectInto(CLRSPACE_RGB, CLRSPACE_BGR, rgb.data(), 2, 1));
    EXPECT_EQ((Bytes{30, 20, 10, 60, 50, 40}), LastFilling().bits);
    EXPECT_EQ(CLR_SUCCESS, DirectInto(CLRSPACE_RGB, CLRSPACE_RGB, rgb.data(), 2, 1));
    EXPECT_EQ(rgb, LastFilling().bits) << "red comes first, though bitmaps have blue there";
    const Converter swap(CLRSPACE_BGR, CLRSPACE_RGB), copy(CLRSPACE_BGR, CLRSPACE_BGR);
    EXPECT_EQ(CLR_SUCCESS, Into(swap.Get(), rgb.data(), 1, 2));
    EXPECT_EQ((Bytes{30, 20, 10, 60, 50, 40}), LastFilling().bits);
    EXPECT_EQ(CLR_SUCCESS, Into(copy.Get(), rgb.data(), 1, 2));
    EXPECT_EQ(rgb, LastFilling().bits);
}

TEST_F(Bitmaps, PaddingIsAnAlignmentByProfiles) {
    MemoryProfile linear(GammaProfile(0x0100)), steep(GammaProfile(0x0200));
    ClrParams params = CustomParams(&linear, &steep);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    for (const int32_t extra : {0, 1, 3, 4, 5, 7, 10, 64}) {
        ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), 3, 4, 2, extra));
        const Bytes bits = LastFilling().bits;
        ASSERT_EQ(static_cast<size_t>((9 + extra) * 4), bits.size()) << extra;
        const size_t pitch = extra < 2 || 9 % extra == 0 ? 9 : static_cast<size_t>((9 + extra - 1) / extra * extra);
        for (size_t row = 0; row < 4; ++row) {
            const Bytes packed = ConvertRow(c.Get(), Bytes(pixels_.begin() + static_cast<ptrdiff_t>(row * 11),
                                                           pixels_.begin() + static_cast<ptrdiff_t>(row * 11 + 9)));
            EXPECT_EQ(0, std::memcmp(packed.data(), bits.data() + row * pitch, 9)) << extra << ", row " << row;
        }
    }
}

TEST_F(Bitmaps, ConversionsThatWriteNothingGiveBlack) {
    ClrParams emulation = MakeParams(CLRMETHOD_EMULATION, CLRMETHOD_EMULATION);
    ClrParams builtin = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter noTable(CLRSPACE_YUV, CLRSPACE_RGB, &emulation), changed(CLRSPACE_CMYK, CLRSPACE_BGR, &builtin);
    const ClrParams change = MakeParams(CLRPARAM_ACTIVE_METHOD, CLRMETHOD_CUSTOM_EMULATION);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(changed.Get(), &change));
    for (const Converter* c : {&noTable, &changed}) {
        for (const uint8_t fill : {uint8_t{0xA5}, uint8_t{0xFF}}) {
            host_->FillBlocksWith(fill);
            ASSERT_EQ(CLR_SUCCESS, Into(c->Get(), pixels_.data(), 4, 4, 0, 1));
            EXPECT_EQ(Bytes(52), LastFilling().bits);
        }
    }
    // Padding displaces the rows of equal spaces; what they leave is black too.
    ASSERT_EQ(CLR_SUCCESS, DirectInto(0, 0, Bytes(60, 0x11).data(), 2, 3, 0, 9));
    Bytes expected(99);
    for (const size_t row : {0U, 9U, 18U})
        std::fill_n(expected.begin() + static_cast<ptrdiff_t>(row), 6, uint8_t{0x11});
    EXPECT_EQ(expected, LastFilling().bits);
}

TEST_F(Bitmaps, PlatformMayAlignRowsThatComeWithoutPadding) {
    RecordingColours colours;
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR, &params);
    for (int32_t width = 1; width <= 8; ++width) {
        ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), width, 5));
        EXPECT_GE(LastFilling().bits.size(), static_cast<size_t>((width * 3 + 3) / 4 * 4 * 5)) << width;
        EXPECT_EQ(Bytes(LastFilling().bits.size()), LastFilling().bits) << "black as far as it reaches";
        EXPECT_EQ(0U, colours.Calls().back().destinationStride);
        ExpectHeader(LastFilling().header, width, 5, static_cast<uint32_t>(width * 5 * 3));
        ASSERT_EQ(CLR_SUCCESS, Into(c.Get(), pixels_.data(), width, 5, 0, 2));
        EXPECT_EQ(static_cast<size_t>((width * 3 + 2) * 5), LastFilling().bits.size());
    }
}

// --- Order, and what a failure leaves -------------------------------------------------------------------------------

/// The operations of the host that say something, in order.
std::string OrderOfHost(const HostScope& host) {
    std::string order;
    for (const HostCall& call : host->Calls()) {
        if (!order.empty()) order += ' ';
        order += call.operation;
    }
    return order;
}

TEST_F(Bitmaps, PixelsOfAnAllocatedBitmapGoAfterTheConversion) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    const std::function<int32_t()> kConversions[] = {[&] { return Into(c.Get(), pixels_.data(), 2, 2); },
                                                     [&] { return DirectInto(1, 0, pixels_.data(), 2, 2); }};
    for (const auto& convert : kConversions) {
        if (bitmap_.pixels != nullptr) HostFreeBitmap(&bitmap_);
        bitmap_ = MarkedBitmap(0xFFFFFFFE);
        host_->Reset();
        ASSERT_EQ(CLR_SUCCESS, convert());
        EXPECT_EQ("HostAlloc HostDibToBitmap HostAllocShared HostFree", OrderOfHost(host_));
        EXPECT_TRUE(SameBitmap(MarkedBitmap(0xFFFFFFFE), LastFilling().before));
        uint8_t* const old = bitmap_.pixels;
        ASSERT_EQ(0xFFFFFFFF, bitmap_.flags);

        host_->Reset();
        ASSERT_EQ(CLR_SUCCESS, convert());
        EXPECT_EQ("HostAlloc HostFreeBitmap HostFreeShared HostDibToBitmap HostAllocShared HostFree",
                  OrderOfHost(host_));
        const auto calls = host_->BitmapCalls();
        ASSERT_EQ(2U, calls.size());
        EXPECT_EQ(&bitmap_, calls[0].bitmap);
        EXPECT_EQ(old, calls[0].before.pixels);
        EXPECT_EQ(nullptr, calls[1].before.pixels);
    }
}

TEST_F(Bitmaps, FailedConversionLeavesTheBitmapAlone) {
    ClrParams icc = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter yuv(CLRSPACE_YUV, CLRSPACE_RGB), yvu9(CLRSPACE_YVU9, CLRSPACE_RGB),
        y41p(CLRSPACE_Y41P, CLRSPACE_BGR), hubs(CLRSPACE_RGB, CLRSPACE_BGR, &icc), none(CLRSPACE_YUV, CLRSPACE_RGB);
    none->activeMethod = 3;
    ASSERT_EQ(CLR_SUCCESS, Into(yuv.Get(), pixels_.data(), 2, 2));
    const HostBitmap before = bitmap_;
    const Bytes held(before.pixels, before.pixels + 12);
    const size_t blocks = host_->LiveCount();
    const std::pair<int32_t, std::function<int32_t()>> kFailures[] = {
        {ERR_INVALID_PARAMETER, [&] { return Into(yuv.Get(), pixels_.data(), 2, 2, 0, -1); }},
        {ERR_INVALID_PARAMETER, [&] { return Into(yuv.Get(), pixels_.data(), 2, 2, -1, 0); }},
        {ERR_INVALID_PARAMETER, [&] { return Into(hubs.Get(), pixels_.data(), 2, 2); }},
        {ERR_METHOD_UNAVAILABLE, [&] { return Into(none.Get(), pixels_.data(), 2, 2); }},
        {ERR_YVU9_SIZE, [&] { return Into(yvu9.Get(), pixels_.data(), 6, 4); }},
        {ERR_WIDTH_MULTIPLE, [&] { return Into(y41p.Get(), pixels_.data(), 12, 1); }},
        {ERR_YVU9_SIZE, [&] { return DirectInto(10, 0, pixels_.data(), 8, 6); }},
        {ERR_WIDTH_MULTIPLE, [&] { return DirectInto(13, 0, pixels_.data(), 12, 1); }},
        {ERR_COLORSPACE_UNSUPPORTED, [&] { return DirectInto(200, 0, pixels_.data(), 2, 2); }},
        {ERR_COLORSPACE_UNSUPPORTED, [&] { return DirectInto(-1, 12, pixels_.data(), 2, 2); }},
    };
    for (const auto& [code, convert] : kFailures) {
        host_->Reset();
        EXPECT_EQ(code, convert());
        EXPECT_EQ(0U, OrderOfHost(host_).find("HostAlloc")) << "the buffer is taken first";
        EXPECT_EQ(blocks, host_->LiveCount());
        ExpectUntouched(before);
    }
    EXPECT_EQ(held, Bytes(bitmap_.pixels, bitmap_.pixels + 12));
}

TEST_F(Bitmaps, AnswersOfThePlatformComeBack) {
    RecordingColours colours;
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR, &params);
    for (const auto& [error, expected] : {std::pair(87, 0), std::pair(2021, -918)}) {
        colours.AnswerTranslations(0, static_cast<DWORD>(error));
        EXPECT_EQ(expected, Into(c.Get(), pixels_.data(), 4, 4));
        ExpectUntouched(MarkedBitmap());
    }
}

TEST_F(Bitmaps, EveryAllocation) {
    MemoryProfile linear(GammaProfile(0x0100)), steep(GammaProfile(0x0200));
    ClrParams params = CustomParams(&linear, &steep);
    const Converter icc(CLRSPACE_RGB, CLRSPACE_BGR, &params), yuv(CLRSPACE_YUV, CLRSPACE_RGB);
    const size_t held = host_.Leaked();
    const std::pair<int64_t, std::function<int32_t()>> kConversions[] = {
        {2, [&] { return Into(icc.Get(), pixels_.data(), 4, 4, 0, 5); }},
        {1, [&] { return Into(yuv.Get(), pixels_.data(), 4, 4); }},
        {1, [&] { return DirectInto(1, 0, pixels_.data(), 4, 4); }}};
    for (const auto& [ownAllocations, convert] : kConversions) {
        for (int64_t n = 1; n <= ownAllocations; ++n) {
            host_->Reset();
            host_->FailAllocation(n);
            EXPECT_EQ(ERR_NO_MEMORY, convert()) << n;
            ExpectUntouched(MarkedBitmap());
            EXPECT_EQ(held, host_.Leaked());
        }
        host_->Reset();
        host_->FailAllocation(ownAllocations + 1);
        EXPECT_EQ(CLR_SUCCESS, convert()) << "the host's own are its own affair";
        EXPECT_EQ(nullptr, bitmap_.pixels);
        EXPECT_EQ(held, host_.Leaked());
        bitmap_ = MarkedBitmap();
    }
}

// --- Without a converter --------------------------------------------------------------------------------------------

TEST_F(Bitmaps, DirectRefusals) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, DirectInto(1, 0, nullptr, 2, 2));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvertDirectToBitmap(1, 0, pixels_.data(), nullptr, 32, 2, 2, 0, 0));
    host_->Reset();
    for (const int32_t space : kAllSpaces) {
        if (IsHub(space)) continue;
        EXPECT_EQ(ERR_INVALID_PARAMETER, DirectInto(0, space, pixels_.data(), 8, 4)) << space;
    }
    for (const int32_t space : {-1, 16, 99, 145, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, DirectInto(0, space, pixels_.data(), 8, 4)) << space;
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
    const GuardedBuffer shorter(11);
    EXPECT_EQ(ERR_BAD_POINTER, DirectInto(1, 0, shorter.Data(), 2, 2));
    EXPECT_EQ(ERR_BAD_POINTER, DirectInto(1, 0, shorter.Data(), 1, 2, 3)) << "with the padding of the last row";
    ExpectUntouched(MarkedBitmap());
}

TEST_F(Bitmaps, DirectPaddingsBelowOneCountAsNone) {
    const Bytes rgb{10, 20, 30, 40, 50, 60};
    for (const int32_t extra : {-1, -5, INT32_MIN}) {
        ASSERT_EQ(CLR_SUCCESS, DirectInto(CLRSPACE_RGB, CLRSPACE_BGR, rgb.data(), 1, 2, extra, extra));
        EXPECT_EQ((Bytes{30, 20, 10, 60, 50, 40}), LastFilling().bits);
        ExpectHeader(LastFilling().header, 1, 2, 6);
    }
}

}  // namespace
}  // namespace zv::test
