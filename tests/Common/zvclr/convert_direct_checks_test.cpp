// The checks of Zv_ClrConvertDirect, in their order.
#include <climits>

#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

class DirectChecks : public ::testing::Test {
protected:
    GuardedBuffer source_{24};
    GuardedBuffer destination_{24};
    GuardedBuffer closed_{4096};

    void SetUp() override { closed_.MakeUnreadable(); }
    static int32_t Direct(int32_t from, int32_t to, const void* source, void* destination, int32_t width = 4,
                          int32_t height = 2, int32_t sourceExtra = 0, int32_t destinationExtra = 0) {
        return Zv_ClrConvertDirect(from, to, source, destination, width, height, sourceExtra, destinationExtra);
    }
};

TEST_F(DirectChecks, NullsGoBeforeTheIds) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, Direct(200, 200, nullptr, destination_.Data()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Direct(200, 0, source_.Data(), nullptr, -1, -1));
}

TEST_F(DirectChecks, GeometryOfTheSourceGoesBeforeThatOfTheDestination) {
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Direct(200, CLRSPACE_YUY2, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Direct(CLRSPACE_RGB, 200, closed_.Data(), closed_.Data(), 0, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Direct(CLRSPACE_RGB, 200, closed_.Data(), closed_.Data(), 1, 0));
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Direct(CLRSPACE_YUY2, 200, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Direct(CLRSPACE_RGB, 200, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_YVU9_SIZE, Direct(CLRSPACE_YVU9, CLRSPACE_Y41P, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Direct(CLRSPACE_Y41P, CLRSPACE_YVU9, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_YVU9_SIZE, Direct(CLRSPACE_RGB, CLRSPACE_YVU9, closed_.Data(), closed_.Data(), 4, 2));
}

TEST_F(DirectChecks, GeometryGoesBeforeTheBuffers) {
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Direct(CLRSPACE_RGB, CLRSPACE_UYVY, closed_.Data(), closed_.Data(), 3, 1));
    EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, CLRSPACE_UYVY, closed_.Data(), destination_.Data(), 2, 1));
    EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, CLRSPACE_UYVY, source_.Data(), closed_.Data(), 2, 1));
}

TEST_F(DirectChecks, BuffersGoBeforeSameBuffer) {
    EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, CLRSPACE_RGB, closed_.Data(), closed_.Data()));
    source_.MakeReadOnly();
    EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, CLRSPACE_RGB, source_.Data(), source_.Data()));
    source_.MakeWritable();
    EXPECT_EQ(ERR_SAME_BUFFER, Direct(CLRSPACE_RGB, CLRSPACE_RGB, source_.Data(), source_.Data()));
}

TEST_F(DirectChecks, SourceMayBeReadOnlyAndDestinationMayNot) {
    source_.MakeReadOnly();
    for (const int32_t space : {CLRSPACE_BGR, CLRSPACE_YUV, CLRSPACE_RGB}) {
        EXPECT_EQ(CLR_SUCCESS, Direct(CLRSPACE_RGB, space, source_.Data(), destination_.Data()));
        EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, space, destination_.Data(), source_.Data()));
    }
}

TEST_F(DirectChecks, NegativePaddingCountsAsNone) {
    for (const int32_t extra : {-1, -5, INT_MIN}) {
        EXPECT_EQ(CLR_SUCCESS,
                  Direct(CLRSPACE_RGB, CLRSPACE_BGR, source_.Data(), destination_.Data(), 4, 2, extra, extra));
        EXPECT_EQ(CLR_SUCCESS,
                  Direct(CLRSPACE_YUV, CLRSPACE_HSV, source_.Data(), destination_.Data(), 4, 2, extra, extra));
        EXPECT_EQ(CLR_SUCCESS, Direct(CLRSPACE_RGB, CLRSPACE_RGB, source_.Data(), destination_.Data(), 4, 2, extra, 0));
    }
}

TEST_F(DirectChecks, RegionHoldsThePaddingOfTheLastRowToTheByte) {
    constexpr int32_t kWidth = 8, kHeight = 4;
    for (const int32_t space : kAllSpaces) {
        for (const int32_t extra : {-5, 0, 1, 2, 3, 64}) {
            SCOPED_TRACE("space " + std::to_string(space) + ", padding " + std::to_string(extra));
            const size_t need = PaddedBytes(space, kWidth, kHeight, extra);
            const int32_t other = space == CLRSPACE_RGB ? CLRSPACE_BGR : CLRSPACE_RGB;
            const GuardedBuffer enough(need, GuardedBuffer::Side::kBack, 0), short1(need - 1);
            const GuardedBuffer hub(PaddedBytes(CLRSPACE_RGB, kWidth, kHeight, 0));
            for (const int32_t hubExtra : {0, -1}) {
                EXPECT_EQ(CLR_SUCCESS,
                          Direct(space, other, enough.Data(), hub.Data(), kWidth, kHeight, extra, hubExtra));
                EXPECT_EQ(CLR_SUCCESS,
                          Direct(other, space, hub.Data(), enough.Data(), kWidth, kHeight, hubExtra, extra));
                EXPECT_EQ(ERR_BAD_POINTER,
                          Direct(space, other, short1.Data(), hub.Data(), kWidth, kHeight, extra, hubExtra));
                EXPECT_EQ(ERR_BAD_POINTER,
                          Direct(other, space, hub.Data(), short1.Data(), kWidth, kHeight, hubExtra, extra));
            }
        }
    }
}

TEST_F(DirectChecks, RegionOfEqualSpacesToTheByte) {
    constexpr int32_t kWidth = 8, kHeight = 4;
    for (const int32_t space : kAllSpaces) {
        const size_t need = PaddedBytes(space, kWidth, kHeight, 3);
        const GuardedBuffer a(need), b(need), short1(need - 1);
        EXPECT_EQ(CLR_SUCCESS, Direct(space, space, a.Data(), b.Data(), kWidth, kHeight, 3, 3)) << space;
        EXPECT_EQ(ERR_BAD_POINTER, Direct(space, space, short1.Data(), b.Data(), kWidth, kHeight, 3, 3)) << space;
        EXPECT_EQ(ERR_BAD_POINTER, Direct(space, space, a.Data(), short1.Data(), kWidth, kHeight, 3, 3)) << space;
    }
}

TEST_F(DirectChecks, OneBadPageInTheMiddle) {
    const auto page = static_cast<int32_t>(GuardedBuffer::PageSize());
    const size_t bytes = static_cast<size_t>(page) * 5;
    const GuardedBuffer good(bytes);
    GuardedBuffer hole(bytes), readOnlyHole(bytes);
    hole.MakePageUnreadable(bytes / 2);
    readOnlyHole.MakePageReadOnly(bytes / 2);
    for (const int32_t space : {CLRSPACE_RGB, CLRSPACE_BGR, CLRSPACE_HSV}) {
        EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, space, hole.Data(), good.Data(), page, 1));
        EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, space, good.Data(), hole.Data(), page, 1));
        EXPECT_EQ(ERR_BAD_POINTER, Direct(CLRSPACE_RGB, space, good.Data(), readOnlyHole.Data(), page, 1));
        EXPECT_EQ(CLR_SUCCESS, Direct(CLRSPACE_RGB, space, readOnlyHole.Data(), good.Data(), page, 1));
    }
}

TEST_F(DirectChecks, ProductsThatLeaveThirtyTwoBitsAreRefused) {
    const GuardedBuffer large(1 << 20);
    struct Size {
        int32_t width;
        int32_t height;
        int32_t extra;
    };
    constexpr Size kSizes[] = {{178956971, 1, 0},     {89478486, 1, 0}, {INT_MAX, 1, 0},   {65536, 21846, 0},
                               {1 << 16, 1 << 16, 0}, {1, 1, INT_MAX},  {1, 65536, 65533}, {1, INT_MAX, INT_MAX}};
    for (const Size& s : kSizes) {
        for (const int32_t space : {CLRSPACE_BGR, CLRSPACE_YUV, CLRSPACE_RGB}) {
            EXPECT_EQ(ERR_BAD_POINTER,
                      Direct(CLRSPACE_RGB, space, large.Data(), large.Data() + 1, s.width, s.height, s.extra, s.extra))
                << s.width << " x " << s.height << " + " << s.extra;
        }
    }
}

}  // namespace
}  // namespace zv::test
