// The white point of a transform: by code, by chromaticities, or D50.

#include "tests/Common/zvclr/icc_fixture.h"

namespace zv::test {
namespace {

struct Xy {
    double x, y;
};
/// Chromaticities of X, 1, Z.
constexpr Xy XyOf(double bigX, double bigZ) { return {bigX / (bigX + 1 + bigZ), 1 / (bigX + 1 + bigZ)}; }

struct Code {
    uint32_t code;
    double bigX, bigZ;
};
constexpr Code kCodes[] = {
    {50, 0.964294, 0.825104}, {55, 0.956543, 0.920264}, {65, 0.950166, 1.08765},
    {75, 0.94942, 1.22493},   {93, 0.952988, 1.41274},
};

Bytes ThroughWhite(int32_t source, int32_t destination, ClrWhitePoint white) {
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    params.whitePoint = &white;
    return SampleThrough(source, destination, params);
}

TEST(WhitePoint, WithoutARecordIsCodeFifty) {
    const HostScope host;
    for (const int32_t space : {2, 6, 7}) {
        const Bytes none = SampleThrough(CLRSPACE_RGB, space, MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC));
        EXPECT_EQ(none, ThroughWhite(CLRSPACE_RGB, space, {50, 9.0, 9.0})) << space;
    }
}

TEST(WhitePoint, ByCodeAndByChromaticitiesAreTheSame) {
    const HostScope host;
    std::vector<Bytes> different;
    for (const Code& c : kCodes) {
        const Xy xy = XyOf(c.bigX, c.bigZ);
        const Bytes byCode = ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {c.code, 0.0, 0.0});
        EXPECT_EQ(byCode, ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {0, xy.x, xy.y})) << c.code;
        for (const Bytes& other : different) EXPECT_NE(other, byCode) << "every white shows in the bytes";
        different.push_back(byCode);
    }
}

TEST(WhitePoint, NonzeroCodeLeavesTheChromaticitiesUnread) {
    const HostScope host;
    const Bytes plain = ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {65, 0.0, 0.0});
    EXPECT_EQ(plain, ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {65, 0.3457, 0.3585}));
}

TEST(WhitePoint, UnknownCodesAndAnYOfZeroAreD50) {
    const HostScope host;
    const Bytes fifty = ThroughWhite(CLRSPACE_BGR, CLRSPACE_LAB, {50, 0.0, 0.0});
    for (const uint32_t code : {1U, 49U, 51U, 100U, 5000U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(fifty, ThroughWhite(CLRSPACE_BGR, CLRSPACE_LAB, {code, 0.3127, 0.3290})) << code;
    }
    EXPECT_EQ(fifty, ThroughWhite(CLRSPACE_BGR, CLRSPACE_LAB, {0, 0.3127, 0.0}));
    EXPECT_EQ(fifty, ThroughWhite(CLRSPACE_BGR, CLRSPACE_LAB, {0, 0.0, 0.0}));
}

TEST(WhitePoint, AnotherWhiteChangesWhatComesOutOfRgb) {
    const HostScope host;
    for (const int32_t hub : kHubs) {
        for (const int32_t space : {2, 6, 7}) {
            EXPECT_NE(ThroughWhite(hub, space, {50, 0, 0}), ThroughWhite(hub, space, {93, 0, 0})) << space;
        }
    }
}

TEST(WhitePoint, AnotherWhiteChangesNothingOutOfLabCmyAndCmyk) {
    const HostScope host;
    for (const int32_t space : {2, 6, 7}) {
        const Bytes fifty = ThroughWhite(space, CLRSPACE_RGB, {50, 0, 0});
        EXPECT_EQ(fifty, ThroughWhite(space, CLRSPACE_RGB, {93, 0, 0})) << space;
        EXPECT_EQ(fifty, ThroughWhite(space, CLRSPACE_RGB, {0, 0.4476, 0.4074})) << space;
    }
}

TEST(WhitePoint, ChromaticitiesThatAreNoColourConvertSomehow) {
    const HostScope host;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    for (const Xy& xy : {Xy{0.3, -0.3}, Xy{1e300, 1e-300}, Xy{infinity, 1.0}, Xy{-infinity, infinity}, Xy{none, 0.3},
                         Xy{0.3, none}, Xy{0.3, 1e-310}}) {
        const Bytes first = ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {0, xy.x, xy.y});
        EXPECT_EQ(first, ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {0, xy.x, xy.y})) << xy.x << ", " << xy.y;
    }
}

TEST(WhitePoint, EarlierConvertersKeepTheirBytes) {
    const HostScope host;
    ClrWhitePoint daylight{65, 0, 0}, blue{93, 0, 0};
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    params.whitePoint = &daylight;
    const Converter first(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    const Bytes before = ConvertSample(first.Get());
    params.whitePoint = &blue;
    const Converter second(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    params.whitePoint = nullptr;
    const Converter third(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    const Bytes ofSecond = ConvertSample(second.Get());
    EXPECT_NE(before, ofSecond);
    EXPECT_EQ(before, ConvertSample(first.Get()));
    EXPECT_EQ(ofSecond, ConvertSample(second.Get()));
    EXPECT_EQ(ThroughWhite(CLRSPACE_RGB, CLRSPACE_LAB, {50, 0, 0}), ConvertSample(third.Get()));
}

TEST(WhitePoint, HoldsForTheCustomMethodToo) {
    const HostScope host;
    MemoryProfile input(GammaProfile(0x0200));
    const auto through = [&](ClrWhitePoint white) {
        ClrParams params = CustomParams(&input, nullptr);
        // A name that no file has stands for the library's own output profile.
        SetName(params.outputProfileName, Wide(1, ZvChar{'|'}) + Wide(20, ZvChar{'n'}));
        params.whitePoint = &white;
        return SampleThrough(CLRSPACE_RGB, CLRSPACE_LAB, params);
    };
    const Bytes fifty = through({50, 0, 0});
    EXPECT_EQ(fifty, through({7, 0, 0}));
    EXPECT_NE(fifty, through({65, 0, 0}));
    const Xy xy = XyOf(0.950166, 1.08765);
    EXPECT_EQ(through({65, 0, 0}), through({0, xy.x, xy.y}));
}

}  // namespace
}  // namespace zv::test
