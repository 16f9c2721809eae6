// The checks of Zv_ClrConvert, in their order.
#include <climits>

#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

const ClrHandle* AsConverter(const uint8_t* bytes) { return reinterpret_cast<const ClrHandle*>(bytes); }

/// Writes the start of a record: size and the two spaces.
void MakeRecord(uint8_t* bytes, uint32_t size, int32_t source, int32_t destination) {
    std::memcpy(bytes, &size, sizeof size);
    std::memcpy(bytes + 4, &source, sizeof source);
    std::memcpy(bytes + 8, &destination, sizeof destination);
}

class ConvertChecks : public ::testing::Test {
protected:
    HostScope host_;
    GuardedBuffer source_{24};
    GuardedBuffer destination_{24};
    GuardedBuffer closed_{4096};
    Converter swap_{CLRSPACE_RGB, CLRSPACE_BGR};

    void SetUp() override { closed_.MakeUnreadable(); }
    int32_t Convert(const void* converter, const void* source, void* destination, int32_t width = 4, int32_t height = 2,
                    int32_t sourceExtra = 0, int32_t destinationExtra = 0) {
        return Zv_ClrConvert(static_cast<const ClrHandle*>(converter), source, destination, width, height, sourceExtra,
                             destinationExtra);
    }
};

TEST_F(ConvertChecks, NullsSizesAndPaddingsGoBeforeAnyProbe) {
    const auto* bad = closed_.Data();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, nullptr, closed_.Data()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(nullptr, bad, closed_.Data()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, bad, nullptr));
    for (const int32_t value : {0, -1, INT_MIN}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, bad, closed_.Data(), value, 1));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, bad, closed_.Data(), 1, value));
    }
    for (const int32_t value : {-1, -5, INT_MIN}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, bad, closed_.Data(), 1, 1, value, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(bad, bad, closed_.Data(), 1, 1, 0, value));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(swap_.Get(), source_.Data(), destination_.Data(), 4, 1, value, 0));
    }
}

TEST_F(ConvertChecks, UnreadableConverter) {
    EXPECT_EQ(ERR_BAD_POINTER, Convert(closed_.Data(), source_.Data(), destination_.Data()));
    const GuardedBuffer record(1719);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), source_.Data(), destination_.Data()));
}

TEST_F(ConvertChecks, BuffersGoBeforeTheHandle) {
    GuardedBuffer record(1720, GuardedBuffer::Side::kBack, 0);
    MakeRecord(record.Data(), 1720, CLRSPACE_RGB, CLRSPACE_BGR);
    EXPECT_EQ(ERR_INVALID_HANDLE, Convert(record.Data(), source_.Data(), destination_.Data()));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), closed_.Data(), destination_.Data()));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), source_.Data(), closed_.Data()));
    record.MakeReadOnly();
    EXPECT_EQ(ERR_INVALID_HANDLE, Convert(record.Data(), source_.Data(), destination_.Data()));
}

TEST_F(ConvertChecks, SpacesAreReadBeforeTheHandleIsTested) {
    const GuardedBuffer record(1720, GuardedBuffer::Side::kBack, 0);
    // The buffers hold 24 bits a pixel: 32 are too many on either side.
    MakeRecord(record.Data(), 0, CLRSPACE_CMYK, CLRSPACE_BGR);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), source_.Data(), destination_.Data()));
    MakeRecord(record.Data(), 0, CLRSPACE_RGB, CLRSPACE_YCCK);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), source_.Data(), destination_.Data()));
    MakeRecord(record.Data(), 0, CLRSPACE_RGB444, CLRSPACE_UYVY);
    EXPECT_EQ(ERR_INVALID_HANDLE, Convert(record.Data(), source_.Data(), destination_.Data()));
    MakeRecord(record.Data(), 0, 99, CLRSPACE_BGR);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(record.Data(), source_.Data(), destination_.Data()));
}

TEST_F(ConvertChecks, RecordAtAnOddAddress) {
    const GuardedBuffer record(1721, GuardedBuffer::Side::kFront, 0);
    MakeRecord(record.Data() + 1, 1720, CLRSPACE_RGB, CLRSPACE_BGR);
    EXPECT_EQ(ERR_INVALID_HANDLE, Convert(AsConverter(record.Data() + 1), source_.Data(), destination_.Data()));
}

TEST_F(ConvertChecks, BuffersGoBeforeSameBuffer) {
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(copier.Get(), closed_.Data(), closed_.Data(), 4, 2, 0, 4));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(copier.Get(), source_.Data(), source_.Data(), 4, 2, 0, 1));
}

TEST_F(ConvertChecks, SourceMayBeReadOnlyAndDestinationMayNot) {
    source_.MakeReadOnly();
    EXPECT_EQ(CLR_SUCCESS, Convert(swap_.Get(), source_.Data(), destination_.Data()));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(swap_.Get(), destination_.Data(), source_.Data()));
}

TEST_F(ConvertChecks, OneBadPageInTheMiddle) {
    const auto page = static_cast<int32_t>(GuardedBuffer::PageSize());
    const size_t bytes = static_cast<size_t>(page) * 5;
    GuardedBuffer good(bytes), hole(bytes), readOnlyHole(bytes);
    const size_t middle = bytes / 2;
    hole.MakePageUnreadable(middle);
    readOnlyHole.MakePageReadOnly(middle);
    EXPECT_EQ(ERR_BAD_POINTER, Convert(swap_.Get(), hole.Data(), good.Data(), page, 1));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(swap_.Get(), good.Data(), hole.Data(), page, 1));
    EXPECT_EQ(ERR_BAD_POINTER, Convert(swap_.Get(), good.Data(), readOnlyHole.Data(), page, 1));
    EXPECT_EQ(CLR_SUCCESS, Convert(swap_.Get(), readOnlyHole.Data(), good.Data(), page, 1));
    // Also when the bad page holds nothing but padding: what is probed is one region.
    EXPECT_EQ(ERR_BAD_POINTER, Convert(swap_.Get(), hole.Data(), good.Data(), 1, 2, 4 * page, 0));
}

TEST_F(ConvertChecks, ProductsThatLeaveThirtyTwoBitsAreRefused) {
    const GuardedBuffer large(1 << 20);
    struct Size {
        int32_t width;
        int32_t height;
        int32_t extra;
    };
    // Rows and images whose sizes come out small, or as zero, in 32 bits.
    constexpr Size kSizes[] = {{178956971, 1, 0}, {89478486, 1, 0},   {INT_MAX, 1, 0},
                               {65536, 21846, 0}, {1, 1431655766, 0}, {1 << 16, 1 << 16, 0},
                               {1, 2, INT_MAX},   {1, 65537, 65536},  {1, INT_MAX, INT_MAX}};
    for (const Size& s : kSizes) {
        EXPECT_EQ(ERR_BAD_POINTER,
                  Convert(swap_.Get(), large.Data(), large.Data(), s.width, s.height, s.extra, s.extra))
            << s.width << " x " << s.height << " + " << s.extra;
    }
}

TEST_F(ConvertChecks, RegionEndsWithTheLastRowToTheByte) {
    constexpr int32_t kWidth = 8, kHeight = 4;
    for (const int32_t space : kAllSpaces) {
        if (IsHub(space)) continue;
        for (const int32_t extra : {0, 1, 2, 3, 64}) {
            SCOPED_TRACE("space " + std::to_string(space) + ", padding " + std::to_string(extra));
            const Converter toHub(space, CLRSPACE_RGB);
            const Converter fromHub(CLRSPACE_RGB, space);
            const size_t need = TightBytes(space, kWidth, kHeight, extra);
            const GuardedBuffer enough(need), short1(need - 1);
            const GuardedBuffer hub(PaddedBytes(CLRSPACE_RGB, kWidth, kHeight, 0));
            EXPECT_NE(ERR_BAD_POINTER, Convert(toHub.Get(), enough.Data(), hub.Data(), kWidth, kHeight, extra, 0));
            EXPECT_EQ(ERR_BAD_POINTER, Convert(toHub.Get(), short1.Data(), hub.Data(), kWidth, kHeight, extra, 0));
            EXPECT_NE(ERR_BAD_POINTER, Convert(fromHub.Get(), hub.Data(), enough.Data(), kWidth, kHeight, 0, extra));
            EXPECT_EQ(ERR_BAD_POINTER, Convert(fromHub.Get(), hub.Data(), short1.Data(), kWidth, kHeight, 0, extra));
        }
    }
}

TEST_F(ConvertChecks, KernelsAskForThePaddingBehindTheLastRowToo) {
    constexpr int32_t kWidth = 8, kHeight = 4, kExtra = 3;
    // All but the three whose kernels ask for something else.
    for (const int32_t space : {1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 14, 15, 128}) {
        SCOPED_TRACE(space);
        const Converter toHub(space, CLRSPACE_BGR);
        const Converter fromHub(CLRSPACE_BGR, space);
        const GuardedBuffer tight(TightBytes(space, kWidth, kHeight, kExtra), GuardedBuffer::Side::kBack, 0);
        const GuardedBuffer whole(PaddedBytes(space, kWidth, kHeight, kExtra), GuardedBuffer::Side::kBack, 0);
        const GuardedBuffer hub(PaddedBytes(CLRSPACE_RGB, kWidth, kHeight, kExtra), GuardedBuffer::Side::kBack, 0);
        const GuardedBuffer tightHub(TightBytes(CLRSPACE_RGB, kWidth, kHeight, kExtra));
        const auto run = [&](const Converter& c, const GuardedBuffer& from, const GuardedBuffer& to) {
            return Convert(c.Get(), from.Data(), to.Data(), kWidth, kHeight, kExtra, kExtra);
        };
        EXPECT_EQ(CLR_SUCCESS, run(toHub, whole, hub));
        EXPECT_EQ(CLR_SUCCESS, run(fromHub, hub, whole));
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(toHub, tight, hub));
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(toHub, whole, tightHub));
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(fromHub, tightHub, whole));
        EXPECT_EQ(ERR_INVALID_PARAMETER, run(fromHub, hub, tight));
    }
}

TEST_F(ConvertChecks, CopiesNeedNoPaddingBehindTheLastRow) {
    const Converter copier(CLRSPACE_RGB, CLRSPACE_RGB);
    const GuardedBuffer from(TightBytes(0, 5, 3, 7)), to(TightBytes(0, 5, 3, 7));
    EXPECT_EQ(CLR_SUCCESS, Convert(copier.Get(), from.Data(), to.Data(), 5, 3, 7, 7));
}

TEST_F(ConvertChecks, MultiplesAreTheKernelsBusiness) {
    const GuardedBuffer from(1024), to(1024);
    struct Case {
        int32_t space;
        int32_t width;
        int32_t height;
        int32_t code;
    };
    constexpr Case kCases[] = {{9, 3, 1, ERR_WIDTH_MULTIPLE},
                               {14, 5, 2, ERR_WIDTH_MULTIPLE},
                               {13, 12, 1, ERR_WIDTH_MULTIPLE},
                               {10, 8, 6, ERR_YVU9_SIZE},
                               {10, 6, 8, ERR_YVU9_SIZE}};
    for (const Case& c : kCases) {
        const Converter toHub(c.space, 0), fromHub(0, c.space), copier(c.space, c.space);
        EXPECT_EQ(c.code, Convert(toHub.Get(), from.Data(), to.Data(), c.width, c.height)) << c.space;
        EXPECT_EQ(c.code, Convert(fromHub.Get(), from.Data(), to.Data(), c.width, c.height)) << c.space;
        EXPECT_EQ(CLR_SUCCESS, Convert(copier.Get(), from.Data(), to.Data(), c.width, c.height)) << c.space;
    }
}

}  // namespace
}  // namespace zv::test
