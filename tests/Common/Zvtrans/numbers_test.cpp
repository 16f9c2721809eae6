// Powers and roots come from the system's library, which differs in the last place between systems: the words must not.
#include <span>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

void AddWords(Hash& hash, std::span<const uint16_t> words) {
    hash.Add({reinterpret_cast<const uint8_t*>(words.data()), words.size_bytes()});
}

TEST(NumbersOnEverySystem, GammaCurves) {
    const HostScope host;
    Hash hash;
    for (uint32_t gamma = 0; gamma < 0x10000; gamma += 5) {
        const Curve curve(ToneCurveBuildGamma((gamma >> 8) + (gamma & 0xFF) * 0.00390625));
        AddWords(hash, TableOf(curve));
    }
    EXPECT_EQ(0x59A48B7DD2D34128U, hash.Value());
}

TEST(NumbersOnEverySystem, XyzToLab) {
    TestRandom random(101);
    Hash hash;
    for (int i = 0; i < 400000; ++i) {
        const uint16_t in[3] = {random.Word(), random.Word(), random.Word()};
        uint16_t out[3];
        XyzToLab16(in, out);
        AddWords(hash, out);
    }
    EXPECT_EQ(0x2A8C7BA30B04F9FBU, hash.Value());
}

TEST(NumbersOnEverySystem, GridOfTheBuiltInProfiles) {
    const HostScope host;
    const CmmSources none{};
    int32_t status = 0;
    Hash hash;
    for (const uint32_t to : {CMMFORMAT_LAB_8, CMMFORMAT_CMYK_8}) {
        const TransformRecord made(CmmCreateTransformByWhiteCode(CMMFORMAT_RGB_8, to, 65, none, &status));
        ASSERT_NE(nullptr, made);
        AddWords(hash, PlainOf(*made->gridLut).grid);
    }
    EXPECT_EQ(0xE9360B01C5010CECU, hash.Value());
}

}  // namespace
}  // namespace zv::test
