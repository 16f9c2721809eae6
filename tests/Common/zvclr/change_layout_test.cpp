// Changes of the YUV layout of a converter.
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kEveryBit = -1;

class ChangeLayout : public ::testing::Test {
protected:
    HostScope host_;
    /// Luma of two pixels, then their U and V.
    int32_t table_[4] = {0, 2, 1, 3};
    ClrYuvParams created_{44, 0, 2, 1, 2, 1, table_, 2, 0, 0};

    /// A converter that was made with the layout.
    struct Made {
        ClrParams params = MakeParams(1, 1);
        std::optional<Converter> converter;
        explicit Made(ClrYuvParams& yuv) {
            params.yuvParams = &yuv;
            converter.emplace(CLRSPACE_YUV, CLRSPACE_RGB, &params);
        }
        const Converter& operator*() const { return *converter; }
        ClrYuvParams Own() const { return *(*converter)->yuvParams; }
    };
    static Bytes Fresh(ClrYuvParams yuv, const Bytes& pixels, int32_t width) {
        const Made made(yuv);
        const Converted out = ConvertPixels(*made, pixels, width);
        EXPECT_EQ(CLR_SUCCESS, out.result);
        return out.pixels;
    }
};

TEST_F(ChangeLayout, AsksForInksToo) {
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    const Nowhere nowhere;
    ClrCmykParams cmyk = MakeCmyk(400);
    ClrParams params = ChangeOf(CLRPARAM_YUV);
    params.yuvParams = &created_;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, params));
    EXPECT_EQ(nullptr, c->yuvParams);
    params.cmykParams = nowhere.As<ClrCmykParams>();
    EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << "and does not look at them";
    EXPECT_EQ(nullptr, c->cmykParams);
    params.cmykParams = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, params)) << "also where there is a record";
    params.cmykParams = &cmyk;
    params.yuvParams = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, params));
    params.yuvParams = nowhere.As<ClrYuvParams>();
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, params));
    const GuardedBuffer shorter(43);
    params.yuvParams = reinterpret_cast<ClrYuvParams*>(shorter.Data());
    EXPECT_EQ(ERR_BAD_POINTER, Change(c, params));
    EXPECT_EQ(RecordBytes(&created_), RecordBytes(c->yuvParams));
}

TEST_F(ChangeLayout, FirstRecordIsTakenWhole) {
    for (const int32_t mask : {0, 16, 127, kEveryBit}) {
        const Converter c(CLRSPACE_YUV, CLRSPACE_BGR);
        const ClrYuvParams given{1, mask, 2, 3, 4, 5, table_, 6, 7, 8};
        EXPECT_EQ(CLR_SUCCESS, ChangeYuv(c, given));
        EXPECT_EQ(RecordBytes(&given), RecordBytes(c->yuvParams)) << mask;
        EXPECT_NE(&given, c->yuvParams);
    }
    EXPECT_EQ(0, table_[0]);
    EXPECT_EQ(2, table_[1]);
}

TEST_F(ChangeLayout, EachBitTakesItsOwnField) {
    int32_t other[] = {3, 2, 1, 0};
    for (int32_t mask = 0; mask < 128; ++mask) {
        const Made made(created_);
        ClrYuvParams expected = created_;
        if ((mask & 1) != 0) expected.uSampleX = 11;
        if ((mask & 2) != 0) expected.uSampleY = 12;
        if ((mask & 4) != 0) expected.vSampleX = 13;
        if ((mask & 8) != 0) expected.vSampleY = 14;
        if ((mask & 32) != 0) expected.macroPixelSize = 8;
        if ((mask & 64) != 0) expected.fullRange = 16;
        table_[0] = 0x01010101;
        table_[1] = 0x02020202;
        table_[2] = 0x03030303;
        EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {5, mask | 0x700, 11, 12, 13, 14, other, 8, 16, 17}));
        const ClrYuvParams own = made.Own();
        EXPECT_EQ(RecordBytes(&expected), RecordBytes(&own)) << mask;
        const bool moved = (mask & 16) != 0;
        EXPECT_EQ(moved ? 3 : 0x01010101, table_[0]) << mask;
        EXPECT_EQ(moved ? 2 : 0x02020202, table_[1]) << "eight bytes are two positions, " << mask;
        EXPECT_EQ(0x03030303, table_[2]) << mask;
    }
}

TEST_F(ChangeLayout, LayoutStaysPlanarOrPacked) {
    const Made made(created_);
    EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, kEveryBit, 1, 1, 1, 1, table_, 1, 1, 1}));
    EXPECT_EQ(0, made.Own().planar);
    EXPECT_EQ(44, made.Own().size);
    EXPECT_EQ(0, made.Own().mask);
    EXPECT_EQ(1, made.Own().fullRange);
}

TEST_F(ChangeLayout, PositionsAreCountedInBytesOfTheGivenMacroPixel) {
    created_.macroPixelSize = 4;
    const int32_t given[] = {0x11121314, 0x21222324, 0x31323334, 0x41424344};
    for (int32_t bytes = 1; bytes <= 16; ++bytes) {
        std::memset(table_, 0x77, sizeof table_);
        const Made made(created_);
        EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16, 9, 9, 9, 9, given, bytes, 9, 9}));
        Bytes expected(16, 0x77);
        std::memcpy(expected.data(), given, static_cast<size_t>(bytes));
        EXPECT_EQ(expected, Bytes(reinterpret_cast<uint8_t*>(table_), reinterpret_cast<uint8_t*>(table_ + 4))) << bytes;
        EXPECT_EQ(4, made.Own().macroPixelSize);
        const int32_t* own = made.Own().positions;
        EXPECT_EQ(table_, own) << "the table stays the one of the creation";
    }
}

TEST_F(ChangeLayout, MacroPixelsOfNoBytesTouchNoTable) {
    const Nowhere nowhere;
    const Made made(created_);
    for (const int32_t size : {0, -1, -4, INT32_MIN}) {
        for (const int32_t* given : {static_cast<const int32_t*>(nullptr), nowhere.As<const int32_t>()}) {
            EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16 | 32, 1, 1, 1, 1, given, size, 0, 0})) << size;
            EXPECT_EQ(size, made.Own().macroPixelSize);
        }
    }
    EXPECT_EQ(2, table_[1]);
    const Converted out = ConvertPixels(*made, RandomBytes(32, 1), 4);
    EXPECT_EQ(ERR_INVALID_PARAMETER, out.result);
}

TEST_F(ChangeLayout, TablesThatCannotBeReached) {
    const Nowhere nowhere;
    const GuardedBuffer shortTable(7);
    const int32_t given[] = {3, 2, 1, 0};
    const auto* cut = reinterpret_cast<const int32_t*>(shortTable.Data());
    {
        const Made made(created_);
        for (const int32_t* bad : {static_cast<const int32_t*>(nullptr), nowhere.As<const int32_t>(), cut}) {
            EXPECT_EQ(ERR_BAD_POINTER, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, bad, 8, 0, 0}));
        }
        EXPECT_EQ(ERR_BAD_POINTER, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, given, INT32_MAX, 0, 0}));
        EXPECT_EQ(0, table_[0]);
        EXPECT_EQ(2, table_[1]);
    }
    GuardedBuffer readOnly(8);
    readOnly.MakeReadOnly();
    for (const int32_t* own : {static_cast<const int32_t*>(nullptr), nowhere.As<const int32_t>(), cut,
                               reinterpret_cast<const int32_t*>(readOnly.Data())}) {
        created_.positions = own;
        const Made made(created_);
        EXPECT_EQ(ERR_BAD_POINTER, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, given, 8, 0, 0}));
    }
    const auto* seven = reinterpret_cast<const int32_t*>(shortTable.Data());
    created_.positions = seven;
    const Made made(created_);
    EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, given, 7, 0, 0})) << "as many bytes as there are";
    EXPECT_EQ(3, shortTable.Data()[0]);
    EXPECT_EQ(2, shortTable.Data()[4]);
}

TEST_F(ChangeLayout, OneTableOnBothSides) {
    const Made made(created_);
    EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, table_, 16, 0, 0}));
    EXPECT_EQ((std::vector<int32_t>{0, 2, 1, 3}), std::vector<int32_t>(table_, table_ + 4));
    EXPECT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16, 1, 1, 1, 1, table_ + 1, 12, 0, 0}));
    EXPECT_EQ((std::vector<int32_t>{2, 1, 3, 3}), std::vector<int32_t>(table_, table_ + 4)) << "they may overlap";
}

TEST_F(ChangeLayout, ConversionsUseTheNewLayout) {
    const Bytes pixels = RandomBytes(64, 3);
    const Converter c(CLRSPACE_YUV, CLRSPACE_RGB);
    const Bytes plain = ConvertPixels(c, pixels, 4).pixels;
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(c, created_));
    const Bytes packed = ConvertPixels(c, pixels, 4).pixels;
    EXPECT_NE(plain, packed);
    EXPECT_EQ(Fresh(created_, pixels, 4), packed);

    // Y, U and V of a single pixel, at places of their own.
    int32_t single[] = {2, 0, 1};
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(c, {44, 1 | 4 | 16, 1, 1, 1, 1, single, 12, 0, 0}));
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(c, {44, 32 | 64, 1, 1, 1, 1, nullptr, 1, 1, 0}));
    EXPECT_EQ(2, table_[0]) << "was written into the caller's table";
    EXPECT_EQ(Fresh({44, 0, 1, 1, 1, 1, single, 1, 1, 0}, pixels, 4), ConvertPixels(c, pixels, 4).pixels);
}

TEST_F(ChangeLayout, PlaneOrderFollows) {
    int32_t order[] = {0};
    ClrYuvParams planar{44, 0, 2, 2, 2, 2, order, 1, 0, 1};
    const Made made(planar);
    const Bytes pixels = RandomBytes(512, 4);
    const auto convert = [&] {
        Bytes out(4 * 4 * 3, kUntouched);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert((*made).Get(), pixels.data(), out.data(), 4, 4, 0, 0));
        return out;
    };
    const Bytes yuv = convert();
    const int32_t yvu[] = {1};
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 16, 0, 0, 0, 0, yvu, 4, 0, 0}));
    EXPECT_EQ(1, order[0]);
    EXPECT_NE(yuv, convert());
    EXPECT_EQ(1, made.Own().planar);
}

TEST_F(ChangeLayout, PeriodsThatCannotBeAreRefusedAtTheConversion) {
    const Made made(created_);
    const Bytes pixels = RandomBytes(64, 5);
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 2, 0, 2, 0, 0, nullptr, 0, 0, 0}));
    EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, ConvertPixels(*made, pixels, 4).result);
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 1 | 2, 3, 1, 0, 0, nullptr, 0, 0, 0}));
    EXPECT_EQ(ERR_YUV_SAMPLING_RATIO, ConvertPixels(*made, pixels, 4).result);
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 1, 0, 0, 0, 0, nullptr, 0, 0, 0}));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(*made, pixels, 4).result);
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(*made, {44, 1, 2, 0, 0, 0, nullptr, 0, 0, 0}));
    EXPECT_EQ(Fresh(created_, pixels, 4), ConvertPixels(*made, pixels, 4).pixels);
}

TEST_F(ChangeLayout, TheWayToYuvHasNoUseForIt) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV), plain(CLRSPACE_RGB, CLRSPACE_YUV);
    EXPECT_EQ(CLR_SUCCESS, ChangeYuv(c, created_));
    EXPECT_EQ(ConvertSample(plain.Get()), ConvertSample(c.Get()));
}

}  // namespace
}  // namespace zv::test
