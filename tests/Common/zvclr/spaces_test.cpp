#include <climits>
#include <set>

#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

const std::set<int32_t> kLegal(std::begin(kAllSpaces), std::end(kAllSpaces));

TEST(ColourSpaces, BitsPerPixelOfEverySpace) {
    struct Row {
        int32_t id;
        int32_t bits;
    };
    constexpr Row kRows[] = {
        {CLRSPACE_RGB, 24},   {CLRSPACE_YUV, 24},  {CLRSPACE_CMYK, 32},   {CLRSPACE_HSV, 24},  {CLRSPACE_HLS, 24},
        {CLRSPACE_YIQ, 24},   {CLRSPACE_CMY, 24},  {CLRSPACE_LAB, 24},    {CLRSPACE_XYZ, 24},  {CLRSPACE_YUY2, 16},
        {CLRSPACE_YVU9, 9},   {CLRSPACE_YCCK, 32}, {CLRSPACE_BGR, 24},    {CLRSPACE_Y41P, 12}, {CLRSPACE_UYVY, 16},
        {CLRSPACE_YCBCR, 24}, {CLRSPACE_HSI, 24},  {CLRSPACE_RGB444, 16},
    };
    ASSERT_EQ(18U, std::size(kRows));
    for (size_t i = 0; i < std::size(kRows); ++i) {
        EXPECT_EQ(kAllSpaces[i], kRows[i].id);
        EXPECT_EQ(kRows[i].bits, ClrBitsPerPixel(kRows[i].id)) << kRows[i].id;
    }
}

TEST(ColourSpaces, PublicListHoldsTheSameEighteen) {
    std::vector<int32_t> ids;
#define ZV_ADD(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                      \
    ids.push_back(id);                                                                                                 \
    EXPECT_EQ(BitsOf(id), bits) << (name);
    ZVCLR_SPACES(ZV_ADD)
#undef ZV_ADD
    EXPECT_EQ(std::vector<int32_t>(std::begin(kAllSpaces), std::end(kAllSpaces)), ids);
    EXPECT_EQ(18, ZVCLR_SPACE_COUNT);
}

TEST(ColourSpaces, WhatIsNotInTheListIsNoSpace) {
    for (int32_t id = -1000; id <= 1000; ++id) {
        const bool legal = kLegal.contains(id);
        EXPECT_EQ(legal, ClrIsSpace(id)) << id;
        if (!legal) {
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBitsPerPixel(id)) << id;
        }
    }
    for (const int32_t id : {16, 127, 129, 143, 145, 256, INT_MAX, INT_MIN, -1}) {
        EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBitsPerPixel(id)) << id;
    }
}

TEST(ColourSpaces, OnlyTwoAreHubs) {
    for (const int32_t id : kAllSpaces) EXPECT_EQ(id == CLRSPACE_RGB || id == CLRSPACE_BGR, ClrIsHub(id)) << id;
}

TEST(RowBytes, RoundUpToWholeBytes) {
    for (const int32_t id : kAllSpaces) {
        for (int32_t width = 1; width <= 130; ++width) {
            EXPECT_EQ((int64_t{BitsOf(id)} * width + 7) / 8, ClrRowBytes(id, width).Bytes()) << id << " " << width;
        }
    }
    EXPECT_EQ(9, ClrRowBytes(CLRSPACE_YVU9, 8).Bytes());
    EXPECT_EQ(2, ClrRowBytes(CLRSPACE_YVU9, 1).Bytes());
    EXPECT_EQ(5, ClrRowBytes(CLRSPACE_Y41P, 3).Bytes());
}

TEST(RowBytes, OfAnUnknownSpaceTakeTheLowSixteenBitsOfItsCode) {
    EXPECT_EQ(64751, ERR_COLORSPACE_UNSUPPORTED & 0xFFFF);
    EXPECT_EQ((64751 + 7) / 8, ClrRowBytes(99, 1).Bytes());
    EXPECT_EQ((64751 * 16 + 7) / 8, ClrRowBytes(16, 16).Bytes());
}

TEST(RowBytes, ThatLeaveThirtyTwoBitsAreNoSize) {
    EXPECT_TRUE(ClrRowBytes(CLRSPACE_RGB, 89478485).Fits());    // 24 bits a pixel: 2147483640
    EXPECT_FALSE(ClrRowBytes(CLRSPACE_RGB, 89478486).Fits());   // one pixel more
    EXPECT_FALSE(ClrRowBytes(CLRSPACE_RGB, 178956971).Fits());  // wraps to 8 bits
    EXPECT_FALSE(ClrRowBytes(CLRSPACE_CMYK, INT_MAX).Fits());
}

class GeometryCheck : public ::testing::Test {
protected:
    uint8_t pixel_ = 0;
    int32_t Check(int32_t id, int32_t width, int32_t height) const {
        return ClrCheckGeometry(id, width, height, &pixel_);
    }
};

TEST_F(GeometryCheck, IdGoesBeforeBufferAndSize) {
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrCheckGeometry(200, 1, 1, nullptr));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrCheckGeometry(-1, 0, 0, nullptr));
    for (const int32_t id : {16, 127, 129, 143, 145, -5, INT_MIN, INT_MAX}) {
        EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, Check(id, 0, -1)) << id;
    }
}

TEST_F(GeometryCheck, BufferAndSizeGoBeforeMultiples) {
    for (const int32_t id : kAllSpaces) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, ClrCheckGeometry(id, 3, 3, nullptr)) << id;
        for (const int32_t bad : {0, -1, INT_MIN}) {
            EXPECT_EQ(ERR_INVALID_PARAMETER, Check(id, bad, 3)) << id;
            EXPECT_EQ(ERR_INVALID_PARAMETER, Check(id, 3, bad)) << id;
        }
    }
}

TEST_F(GeometryCheck, EverySpaceAndSize) {
    for (const int32_t id : kAllSpaces) {
        for (int32_t width = 1; width <= 17; ++width) {
            for (int32_t height = 1; height <= 9; ++height) {
                int32_t expected = CLR_SUCCESS;
                if (id == 13 && width % 8 != 0) expected = ERR_WIDTH_MULTIPLE;
                if ((id == 9 || id == 14) && width % 2 != 0) expected = ERR_WIDTH_MULTIPLE;
                if (id == 10 && (width % 4 != 0 || height % 4 != 0)) expected = ERR_YVU9_SIZE;
                EXPECT_EQ(expected, Check(id, width, height)) << id << ": " << width << " x " << height;
            }
        }
    }
}

TEST_F(GeometryCheck, SizesOfEachSpace) {
    EXPECT_EQ(ERR_YVU9_SIZE, Check(CLRSPACE_YVU9, 8, 6));
    EXPECT_EQ(CLR_SUCCESS, Check(CLRSPACE_YVU9, 8, 8));
    EXPECT_EQ(ERR_WIDTH_MULTIPLE, Check(CLRSPACE_Y41P, 12, 1));
    EXPECT_EQ(CLR_SUCCESS, Check(CLRSPACE_UYVY, 12, 1));
}

TEST(Constants, ResultCodes) {
    struct Code {
        int32_t value;
        int32_t name;
    };
    constexpr Code kCodes[] = {
        {1, CLR_SUCCESS},
        {-1, ERR_FAILURE},
        {-3, ERR_NO_MEMORY},
        {-5, ERR_FILE_WRITE},
        {-7, ERR_FILE_READ},
        {-8, ERR_FILE_NOT_FOUND},
        {-10, ERR_IMAGE_OPEN},
        {-13, ERR_INVALID_PARAMETER},
        {-14, ERR_FILE_OPEN},
        {-37, ERR_BAD_TAG},
        {-60, ERR_BAD_POINTER},
        {-149, ERR_FILE_FAULT},
        {-261, ERR_INVALID_HANDLE},
        {-351, ERR_SAME_BUFFER},
        {-785, ERR_COLORSPACE_UNSUPPORTED},
        {-786, ERR_METHOD_UNAVAILABLE},
        {-787, ERR_PROFILE_LOAD},
        {-788, ERR_TRANSFORM_CREATE},
        {-789, ERR_STRUCT_SIZE},
        {-791, ERR_YUV_SAMPLING_RATIO},
        {-792, ERR_YUV_VERTICAL_PACKED},
        {-793, ERR_YUV_PLANAR_PADDING},
        {-796, ERR_WIDTH_MULTIPLE},
        {-797, ERR_YVU9_SIZE},
        {-812, ERR_NO_PROFILE},
        {-813, ERR_PROFILE_TRUNCATED},
        {-817, ERR_PROFILE_UNUSABLE},
        {-918, ERR_COLORSPACE_MISMATCH},
        {-1150, ERR_UNKNOWN_TAG},
        {-1151, ERR_UNKNOWN_TAG_TYPE},
        {-1152, ERR_UNKNOWN_TAG_AND_TYPE},
        {-1153, ERR_BAD_PROFILE},
        {-1154, ERR_FORMAT_NO_ICC},
    };
    for (const Code& code : kCodes) EXPECT_EQ(code.value, code.name);
}

TEST(Constants, MethodFlagsAndChangeMask) {
    EXPECT_EQ(1, CLRMETHOD_BUILTIN);
    EXPECT_EQ(2, CLRMETHOD_ICC);
    EXPECT_EQ(4, CLRMETHOD_CUSTOM_ICC);
    EXPECT_EQ(8, CLRMETHOD_EMULATION);
    EXPECT_EQ(16, CLRMETHOD_CUSTOM_EMULATION);
    EXPECT_EQ(32, CLRMETHOD_AUTOMATIC);
    EXPECT_EQ(1, CLRPARAM_ACTIVE_METHOD);
    EXPECT_EQ(2, CLRPARAM_PROFILES);
    EXPECT_EQ(4, CLRPARAM_WHITE_POINT);
    EXPECT_EQ(8, CLRPARAM_EMULATION_FILE);
    EXPECT_EQ(16, CLRPARAM_CMYK);
    EXPECT_EQ(32, CLRPARAM_YUV);
    EXPECT_EQ(64, CLRPARAM_LAB);
}

TEST(LegalIds, CreationTakesEveryPairOfTheEighteen) {
    const HostScope host;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            const Converter plain(source, destination);
            ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
            const Converter withRecord(source, destination, &params);
        }
    }
}

TEST(LegalIds, CreationRefusesAnyOtherIdOnEitherSide) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    for (int32_t id = -20; id <= 300; ++id) {
        if (kLegal.contains(id)) continue;
        for (ClrParams* record : {static_cast<ClrParams*>(nullptr), &params}) {
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(id, CLRSPACE_RGB, record)) << id;
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(CLRSPACE_RGB, id, record)) << id;
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(id, id + 1000, record)) << id;
        }
    }
}

TEST(LegalIds, CreationOfEqualSpacesTakesAnyValue) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    for (const int32_t id : {99, 16, 145, -1, INT_MAX, INT_MIN}) {
        const Converter plain(id, id);
        const Converter withRecord(id, id, &params);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(plain.Get()));
    }
}

TEST(LegalIds, CreationOfEqualSpacesByCustomProfilesChecksThem) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC | CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(99, 99, &params));
}

TEST(LegalIds, DirectConversionTakesTheEighteenAndNoOther) {
    const std::vector<uint8_t> source(1024, 0);
    std::vector<uint8_t> destination(1024);
    for (int32_t id = -20; id <= 300; ++id) {
        const bool legal = kLegal.contains(id);
        const int32_t toHub = Zv_ClrConvertDirect(id, CLRSPACE_RGB, source.data(), destination.data(), 8, 4, 0, 0);
        const int32_t fromHub = Zv_ClrConvertDirect(CLRSPACE_RGB, id, source.data(), destination.data(), 8, 4, 0, 0);
        EXPECT_EQ(legal ? int32_t{CLR_SUCCESS} : int32_t{ERR_COLORSPACE_UNSUPPORTED}, toHub) << id;
        EXPECT_EQ(legal ? int32_t{CLR_SUCCESS} : int32_t{ERR_COLORSPACE_UNSUPPORTED}, fromHub) << id;
        if (!legal) {
            EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED,
                      Zv_ClrConvertDirect(id, id, source.data(), destination.data(), 8, 4, 0, 0));
        }
    }
}

}  // namespace
}  // namespace zv::test
