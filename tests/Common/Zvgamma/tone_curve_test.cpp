// Tone curves: making, evaluating, inverting and joining them.
#include "Common/Zvgamma/tone_curve.h"

#include <cmath>

#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

uint16_t Eval(const Words& table, uint16_t value) {
    return ToneCurveEval(table.data(), static_cast<uint16_t>(table.size() - 1), value);
}
int32_t IsLinear(const Words& table) { return ToneCurveIsLinear(table.data(), static_cast<int32_t>(table.size())); }

/// Lengths that tags have, and those at the edges.
constexpr size_t kCounts[] = {1, 2, 3, 17, 33, 255, 256, 257, 1024, 4096, 65535, 65536};

/// Rising tables, random ones, falling and flat ones.
std::vector<Words> TablesOf(size_t count) {
    TestRandom random(count);
    Words falling = RisingTable(count, random);
    std::reverse(falling.begin(), falling.end());
    return {RampTable(count),
            PowerTable(count, 2.2),
            PowerTable(count, 0.45),
            RisingTable(count, random),
            RandomTable(count, random),
            falling,
            Words(count, 0),
            Words(count, 0xFFFF),
            Words(count, 0x8000)};
}

// --- Records --------------------------------------------------------------------------------------------------------

TEST(ToneCurve, FreshOnesAreZero) {
    const HostScope host;
    for (const int32_t count : {1, 2, 256, 65536}) {
        const Curve curve(ToneCurveAlloc(count));
        ASSERT_NE(nullptr, curve);
        EXPECT_EQ(count, curve->count);
        EXPECT_EQ(Words(static_cast<size_t>(count), 0), TableOf(curve));
    }
}

TEST(ToneCurve, CountBelowOneIsNone) {
    const HostScope host;
    EXPECT_EQ(nullptr, ToneCurveAlloc(0));
    EXPECT_EQ(nullptr, ToneCurveAlloc(-1));
    EXPECT_EQ(nullptr, ToneCurveAlloc(INT32_MIN));
}

TEST(ToneCurve, DuplicateIsEqualAndSeparate) {
    const HostScope host;
    const Curve curve = MakeCurve({1, 2, 3, 0xFFFF});
    const Curve copy(ToneCurveDuplicate(curve.get()));
    EXPECT_EQ(TableOf(curve), TableOf(copy));
    curve->Entries()[0] = 77;
    EXPECT_EQ(1, copy->Entries()[0]);
}

TEST(ToneCurve, NullSourceGivesNull) {
    const HostScope host;
    const Curve curve = MakeCurve({0, 0xFFFF});
    EXPECT_EQ(nullptr, ToneCurveDuplicate(nullptr));
    EXPECT_EQ(nullptr, ToneCurveScale(nullptr, 0x10000));
    EXPECT_EQ(nullptr, ToneCurveInvert(nullptr));
    EXPECT_EQ(nullptr, ToneCurveJoin(nullptr, curve.get()));
    EXPECT_EQ(nullptr, ToneCurveJoin(curve.get(), nullptr));
    ToneCurveFree(nullptr);
}

TEST(ToneCurve, UnreadableSourceGivesNull) {
    const HostScope host;
    GuardedBuffer page(sizeof(ToneCurve) + 4);
    auto* bad = reinterpret_cast<ToneCurve*>(page.Data());
    bad->count = 2;
    const Curve good = MakeCurve({0, 0xFFFF});
    page.MakeUnreadable();
    EXPECT_EQ(nullptr, ToneCurveDuplicate(bad));
    EXPECT_EQ(nullptr, ToneCurveScale(bad, 0x10000));
    EXPECT_EQ(nullptr, ToneCurveInvert(bad));
    EXPECT_EQ(nullptr, ToneCurveJoin(bad, good.get()));
    EXPECT_EQ(nullptr, ToneCurveJoin(good.get(), bad));
}

TEST(ToneCurve, WithoutMemoryIsNull) {
    HostScope host;
    const Curve curve = MakeCurve({0, 0x4000, 0xFFFF});
    const size_t held = host.Leaked();
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveAlloc(3));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveBuildGamma(2.2));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveDuplicate(curve.get()));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveScale(curve.get(), 0x8000));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveInvert(curve.get()));
    host->FailAllocation(1);
    EXPECT_EQ(nullptr, ToneCurveJoin(curve.get(), curve.get()));
    host->FailAllocation(0);
    EXPECT_EQ(held, host.Leaked());
}

// --- Gamma ----------------------------------------------------------------------------------------------------------

TEST(ToneCurveGamma, OneIsTheRamp) {
    const HostScope host;
    const Curve curve(ToneCurveBuildGamma(1.0));
    ASSERT_EQ(256, curve->count);
    for (size_t i = 0; i < 256; ++i) EXPECT_EQ(i * 257, curve->Entries()[i]) << i;
}

TEST(ToneCurveGamma, ZeroIsAllZeros) {
    const HostScope host;
    EXPECT_EQ(Words(256, 0), TableOf(Curve(ToneCurveBuildGamma(0.0))));
}

TEST(ToneCurveGamma, RoundsDown) {
    const HostScope host;
    const Curve curve(ToneCurveBuildGamma(2.0));
    size_t below = 0;
    for (size_t i = 0; i < 256; ++i) {
        const double exact = static_cast<double>(i * i) / (255.0 * 255.0) * 65535.0;
        EXPECT_LE(curve->Entries()[i], exact + 1e-6) << i;
        EXPECT_GT(curve->Entries()[i] + 1.0 + 1e-6, exact) << i;
        if (curve->Entries()[i] < std::floor(exact + 0.5)) ++below;
    }
    EXPECT_GT(below, 80U) << "half of the middle entries round down";
    EXPECT_EQ(257 * 128 * 128 / 255, curve->Entries()[128]);
}

TEST(ToneCurveGamma, HasAlways256Entries) {
    const HostScope host;
    for (const double gamma : {0.00390625, 0.45, 1.8, 2.19921875, 2.2, 255.99609375}) {
        EXPECT_EQ(reference::GammaCurve(gamma), TableOf(Curve(ToneCurveBuildGamma(gamma)))) << gamma;
    }
}

// --- Scaling --------------------------------------------------------------------------------------------------------

TEST(ToneCurveScale, ByOneIsEqual) {
    const HostScope host;
    for (const size_t count : kCounts) {
        for (const Words& table : TablesOf(count)) {
            EXPECT_EQ(table, TableOf(Curve(ToneCurveScale(MakeCurve(table).get(), 0x10000))));
        }
    }
}

TEST(ToneCurveScale, TruncatesAndWraps) {
    const HostScope host;
    const Curve curve = MakeCurve({0, 1, 3, 0x8000, 0xFFFF});
    EXPECT_EQ((Words{0, 0, 1, 0x4000, 0x7FFF}), TableOf(Curve(ToneCurveScale(curve.get(), 0x8000))));
    EXPECT_EQ((Words{0, 2, 6, 0, 0xFFFE}), TableOf(Curve(ToneCurveScale(curve.get(), 0x20000))));
    EXPECT_EQ((Words{0, 0xFFFF, 0xFFFD, 0x8000, 1}), TableOf(Curve(ToneCurveScale(curve.get(), -0x10000))));
}

TEST(ToneCurveScale, EqualsTheReference) {
    const HostScope host;
    TestRandom random(5);
    for (const size_t count : kCounts) {
        for (const Words& table : TablesOf(count)) {
            const auto factor = static_cast<int32_t>(random.Next());
            EXPECT_EQ(reference::ScaleCurve(table, factor),
                      TableOf(Curve(ToneCurveScale(MakeCurve(table).get(), factor))))
                << count << " by " << factor;
        }
    }
}

// --- Evaluation -----------------------------------------------------------------------------------------------------

TEST(ToneCurveEval, AtFullScaleReadsTheLastEntryAndNoMore) {
    for (const size_t count : {1U, 2U, 256U}) {
        const GuardedBuffer buffer(count * sizeof(uint16_t));
        auto* entries = reinterpret_cast<uint16_t*>(buffer.Data());
        std::fill_n(entries, count, uint16_t{5});
        entries[count - 1] = 0x1234;
        EXPECT_EQ(0x1234, ToneCurveEval(entries, static_cast<uint16_t>(count - 1), 0xFFFF)) << count;
    }
}

TEST(ToneCurveEval, NeverReadsOutsideTheTable) {
    for (const auto side : {GuardedBuffer::Side::kFront, GuardedBuffer::Side::kBack}) {
        for (const size_t count : kCounts) {
            const Words table = TablesOf(count)[3];
            const GuardedBuffer buffer(count * sizeof(uint16_t), side);
            std::memcpy(buffer.Data(), table.data(), buffer.Size());
            const auto* entries = reinterpret_cast<const uint16_t*>(buffer.Data());
            for (uint32_t value = 0; value < 0x10000; value += 21) {
                const auto word = static_cast<uint16_t>(value);
                ASSERT_EQ(reference::EvalCurve(table, word),
                          ToneCurveEval(entries, static_cast<uint16_t>(count - 1), word));
            }
        }
    }
}

TEST(ToneCurveEval, RoundsToNearest) {
    const Words table{0, 1};
    EXPECT_EQ(0, Eval(table, 0x7FFF));
    EXPECT_EQ(1, Eval(table, 0x8000));
    EXPECT_EQ(1, Eval({1, 0}, 0x7FFF));
    EXPECT_EQ(0, Eval({1, 0}, 0x8000));
}

TEST(ToneCurveEval, EqualsTheReferenceForEveryInput) {
    for (const size_t count : {1U, 2U, 17U, 256U, 1024U, 4096U, 65536U}) {
        for (const Words& table : TablesOf(count)) {
            for (uint32_t value = 0; value < 0x10000; ++value) {
                const auto word = static_cast<uint16_t>(value);
                ASSERT_EQ(reference::EvalCurve(table, word), Eval(table, word)) << count << " entries at " << value;
            }
        }
    }
}

// --- Ramps ----------------------------------------------------------------------------------------------------------

TEST(ToneCurveIsLinear, RampsOfEveryLength) {
    for (const size_t count : kCounts) {
        if (count > 1) {
            EXPECT_EQ(1, IsLinear(RampTable(count))) << count;
        }
    }
    EXPECT_EQ(1, IsLinear({0, 0xFFFF}));
    EXPECT_EQ(1, IsLinear(RampTable(1024)));
}

TEST(ToneCurveIsLinear, OneStepOffIsNot) {
    for (const size_t count : {2U, 17U, 256U, 4096U}) {
        for (const size_t place : {size_t{0}, count / 2, count - 1}) {
            Words table = RampTable(count);
            table[place] = static_cast<uint16_t>(table[place] + 1);
            EXPECT_EQ(0, IsLinear(table)) << count << " entries, at " << place;
            table[place] = static_cast<uint16_t>(table[place] - 2);
            EXPECT_EQ(0, IsLinear(table)) << count << " entries, at " << place;
        }
    }
}

TEST(ToneCurveIsLinear, SingleEntryNeverAndNoEntriesAlways) {
    for (const uint16_t entry : {uint16_t{0}, uint16_t{0x8000}, uint16_t{0xFFFF}}) EXPECT_EQ(0, IsLinear({entry}));
    const uint16_t entry = 7;
    EXPECT_EQ(1, ToneCurveIsLinear(&entry, 0));
    EXPECT_EQ(1, ToneCurveIsLinear(&entry, -5));
}

TEST(ToneCurveIsLinear, EqualsTheReference) {
    for (const size_t count : kCounts) {
        for (const Words& table : TablesOf(count)) EXPECT_EQ(reference::IsRamp(table), IsLinear(table) == 1) << count;
    }
}

// --- Inverting and joining ------------------------------------------------------------------------------------------

TEST(ToneCurveInvert, StoresOneAboveTheMatch) {
    const HostScope host;
    const Curve inverse(ToneCurveInvert(MakeCurve({0, 0xFFFF}).get()));
    ASSERT_EQ(256, inverse->count);
    // The search for 0 ends at test value 1 before it can reach 0.
    EXPECT_EQ(2, inverse->Entries()[0]);
    // Matches store the input plus one; at even places the search ends beside its target.
    for (size_t i = 1; i < 255; i += 2) EXPECT_EQ(i * 257 + 1, inverse->Entries()[i]) << i;
    for (size_t i = 2; i < 255; i += 2) EXPECT_EQ(i * 257 + (i % 4 == 0 ? 2 : 0), inverse->Entries()[i]) << i;
    EXPECT_EQ(0xFFFF, inverse->Entries()[255]);
}

TEST(ToneCurveInvert, HasAlways256Entries) {
    const HostScope host;
    for (const size_t count : kCounts) EXPECT_EQ(256, Curve(ToneCurveInvert(MakeCurve(RampTable(count)).get()))->count);
}

TEST(ToneCurveInvert, EndsOnFallingAndFlatCurves) {
    const HostScope host;
    for (const Words& table : {Words{0xFFFF, 0}, Words{0x8000, 0x8000}, Words{0, 0}, Words{0xFFFF}}) {
        EXPECT_EQ(reference::InvertCurve(table), TableOf(Curve(ToneCurveInvert(MakeCurve(table).get()))));
    }
}

TEST(ToneCurveInvert, EqualsTheReference) {
    const HostScope host;
    for (const size_t count : kCounts) {
        for (const Words& table : TablesOf(count)) {
            EXPECT_EQ(reference::InvertCurve(table), TableOf(Curve(ToneCurveInvert(MakeCurve(table).get())))) << count;
        }
    }
}

TEST(ToneCurveJoin, WithItselfIsCloseToTheRampButNotIt) {
    const HostScope host;
    const Curve curve = MakeCurve(PowerTable(1024, 2.2));
    const Curve joined(ToneCurveJoin(curve.get(), curve.get()));
    ASSERT_EQ(256, joined->count);
    EXPECT_EQ(0, ToneCurveIsLinear(joined->Entries(), joined->count));
    // The foot of the curve is flat, where many inputs give one value.
    for (int32_t i = 32; i < 256; ++i) EXPECT_NEAR(i * 257, joined->Entries()[i], 32) << i;
}

TEST(ToneCurveJoin, RunsTheFirstForwardAndTheSecondBackward) {
    const HostScope host;
    const Curve dark = MakeCurve(PowerTable(4096, 2.0)), ramp = MakeCurve(RampTable(2));
    const Curve forward(ToneCurveJoin(dark.get(), ramp.get())), backward(ToneCurveJoin(ramp.get(), dark.get()));
    EXPECT_NEAR(0x4000, forward->Entries()[128], 200);
    EXPECT_NEAR(0xB504, backward->Entries()[128], 200);
}

TEST(ToneCurveJoin, EqualsTheReferenceForAllLengths) {
    const HostScope host;
    for (const size_t firstCount : {1U, 2U, 17U, 256U, 1024U, 4096U, 65536U}) {
        for (const size_t secondCount : {1U, 2U, 17U, 256U, 1024U, 4096U, 65536U}) {
            const Words first = TablesOf(firstCount)[3], random = TablesOf(firstCount)[4],
                        second = TablesOf(secondCount)[1];
            const Curve joined(ToneCurveJoin(MakeCurve(first).get(), MakeCurve(second).get()));
            EXPECT_EQ(reference::JoinCurves(first, second), TableOf(joined)) << firstCount << ", " << secondCount;
            const Curve rough(ToneCurveJoin(MakeCurve(second).get(), MakeCurve(random).get()));
            EXPECT_EQ(reference::JoinCurves(second, random), TableOf(rough)) << firstCount << ", " << secondCount;
        }
    }
}

}  // namespace
}  // namespace zv::test
