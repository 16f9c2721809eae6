// Every pixel of three channels, and fifty million of four, through grids of each kind and size.
#include "Common/Zvgamma/fixed_point.h"
#include "tests/Common/Zvtrans/byte_grids.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

class EveryByteGrid : public ::testing::TestWithParam<Nodes> {};

TEST_P(EveryByteGrid, OfThreeChannelsEqualsTheWords) {
    const HostScope host;
    const Bytes pixels = EveryPixel();
    for (const uint32_t points : {33U, 2U, 18U, 52U}) {
        GridTransform grid(points, points == 18 ? CMMFORMAT_BGR_8 : CMMFORMAT_RGB_8,
                           points == 33 ? CMMFORMAT_CMYK_8 : CMMFORMAT_RGB_8, GetParam(), points);
        ExpectBytesLikeWords(grid.Get(), pixels);
    }
}

TEST_P(EveryByteGrid, OfFourChannelsEqualsTheWords) {
    const HostScope host;
    TestRandom random(11);
    Bytes pixels(size_t{4} * 5000000);
    for (int round = 0; round < 10; ++round) {
        for (uint8_t& byte : pixels) byte = static_cast<uint8_t>(random.Next() >> 24);
        GridTransform grid(round < 7    ? 16
                           : round == 7 ? 2
                           : round == 8 ? 11
                                        : 22,
                           CMMFORMAT_CMYK_8, round % 2 == 0 ? CMMFORMAT_BGR_8 : CMMFORMAT_CMYK_8, GetParam(),
                           static_cast<uint64_t>(round));
        ExpectBytesLikeWords(grid.Get(), pixels);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryByteGrid, ::testing::ValuesIn(kAllNodes));

TEST(EveryByteShaper, EqualsTheWords) {
    const HostScope host;
    const Bytes rgb = MatrixRgbProfile().Build();
    const Built built = BuildFromBytes(rgb, CMMFORMAT_RGB_8, rgb, CMMFORMAT_BGR_8);
    ASSERT_NE(nullptr, built.transform);
    ExpectBytesLikeWords(built.transform.get(), EveryPixel());
}

TEST(EverySum, HasTheHighByteOfItsWord) {
    for (int64_t sum = INT32_MIN; sum <= INT32_MAX; ++sum) {
        const auto fixed = static_cast<int32_t>(sum);
        if (ClampToWord(WordScaleOfFixed(fixed)) >> 8 != HighByteOfFixed(fixed)) FAIL() << fixed;
    }
}

}  // namespace
}  // namespace zv::test
