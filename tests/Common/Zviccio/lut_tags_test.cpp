// Reading `mft1` and `mft2` tags.
#include "Common/Zviccio/profile.h"
#include "tests/support/engine_records.h"
#include "tests/support/engine_reference.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

namespace zv::test {
namespace {

constexpr uint32_t kAny = Signature("test");

CmmLut* ReadBody(const Bytes& body) {
    return CmmReadLutTag(OpenBytes(ProfileBuilder().Tag("test", body).Build()).get(), kAny);
}

/// The ramp of bytes, as a tag holds it.
Words ByteRamp() {
    Words table;
    for (uint16_t i = 0; i < 256; ++i) table.push_back(i);
    return table;
}

Words Repeat(const Words& table, uint32_t times) {
    Words all;
    for (uint32_t i = 0; i < times; ++i) all.insert(all.end(), table.begin(), table.end());
    return all;
}

LutTag WithTables(LutTag tag, const Words& input, const Words& output) {
    tag.inputEntries = static_cast<uint32_t>(input.size());
    tag.outputEntries = static_cast<uint32_t>(output.size());
    tag.inputTables = Repeat(input, tag.inputs);
    tag.outputTables = Repeat(output, tag.outputs);
    return tag;
}

void ExpectLikeTheReference(const LutTag& tag) {
    const Bytes profile = ProfileBuilder().Tag("test", LutBody(tag)).Build();
    const LutRecord lut(CmmReadLutTag(OpenBytes(profile).get(), kAny));
    const auto expected = reference::ReadLut(*reference::OpenProfile(profile), "test");
    ASSERT_TRUE(expected.has_value());
    ASSERT_NE(nullptr, lut.Get());
    ExpectSameLut(*expected, PlainOf(*lut.Get()));
    EXPECT_EQ(tag.inputs, lut.Get()->clutParams.inputs);
    EXPECT_EQ(tag.outputs, lut.Get()->clutParams.outputs);
    EXPECT_EQ(tag.gridPoints, lut.Get()->clutParams.samples);
    EXPECT_EQ(tag.inputEntries - 1, lut.Get()->inputParams.domain);
    EXPECT_EQ(tag.outputEntries - 1, lut.Get()->outputParams.domain);
    EXPECT_EQ(tag.inputEntries, lut.Get()->inputParams.samples);
    EXPECT_EQ(tag.outputEntries, lut.Get()->outputParams.samples);
    EXPECT_EQ(1U, lut.Get()->inputParams.inputs);
    EXPECT_EQ(1U, lut.Get()->inputParams.outputs);
}

TEST(ReadLut8, WidensByAShift) {
    const HostScope host;
    LutTag tag = WithTables(RandomLut(8, 3, 3, 2, 1), ByteRamp(), ByteRamp());
    tag.grid[0] = 0xFF;
    tag.grid[1] = 0x80;
    const LutRecord lut(ReadBody(LutBody(tag)));
    ASSERT_NE(nullptr, lut.Get());
    EXPECT_EQ(0xFF00, lut.Get()->clut[0]);
    EXPECT_EQ(0x8000, lut.Get()->clut[1]);
    EXPECT_EQ(0xFF00, lut.Get()->inputCurves[2][255]);
    EXPECT_EQ(0x0100, lut.Get()->outputCurves[0][1]);
}

TEST(ReadLut8, IdentityTablesStayInForce) {
    const HostScope host;
    const LutRecord lut(ReadBody(LutBody(WithTables(RandomLut(8, 3, 3, 2, 1), ByteRamp(), ByteRamp()))));
    EXPECT_EQ(uint32_t{LUT_HAS_INPUT_CURVES | LUT_HAS_OUTPUT_CURVES | LUT_HAS_CLUT}, lut.Get()->flags);
    EXPECT_EQ(256U, lut.Get()->inputEntries);
    EXPECT_EQ(256U, lut.Get()->outputEntries);
}

TEST(ReadLut8, IdentityChainTopsOutBelowFullScale) {
    const HostScope host;
    LutTag tag = WithTables(RandomLut(8, 3, 3, 2, 1), ByteRamp(), ByteRamp());
    for (size_t node = 0; node < 8; ++node) {
        for (size_t o = 0; o < 3; ++o) tag.grid[node * 3 + o] = (node >> (2 - o) & 1) != 0 ? 0xFF : 0;
    }
    const LutRecord lut(ReadBody(LutBody(tag)));
    const reference::Pixel full{0xFFFF, 0xFFFF, 0xFFFF};
    reference::Pixel out{};
    CmmLutEval(lut.Get(), full.data(), out.data());
    EXPECT_LT(out[0], 0xFF00);
    EXPECT_GT(out[0], 0xFC00);
}

TEST(ReadLut16, RampsClearTheirFlags) {
    const HostScope host;
    TestRandom random(41);
    for (const size_t entries : {2U, 256U, 1024U, 4096U}) {
        const Words ramp = RampTable(entries), other = RandomTable(entries, random);
        const LutTag base = RandomLut(16, 3, 3, 2, 2);
        const auto flagsOf = [&](const Words& input, const Words& output) {
            return LutRecord(ReadBody(LutBody(WithTables(base, input, output)))).Get()->flags;
        };
        EXPECT_EQ(uint32_t{LUT_HAS_CLUT}, flagsOf(ramp, ramp)) << entries;
        EXPECT_EQ(uint32_t{LUT_HAS_CLUT | LUT_HAS_OUTPUT_CURVES}, flagsOf(ramp, other)) << entries;
        EXPECT_EQ(uint32_t{LUT_HAS_CLUT | LUT_HAS_INPUT_CURVES}, flagsOf(other, ramp)) << entries;
    }
}

TEST(ReadLut16, OneCurveThatIsNoRampKeepsTheStage) {
    const HostScope host;
    for (size_t odd = 0; odd < 3; ++odd) {
        LutTag tag = WithTables(RandomLut(16, 3, 3, 2, 2), RampTable(256), RampTable(256));
        tag.inputTables[odd * 256 + 7] = 0;
        const LutRecord lut(ReadBody(LutBody(tag)));
        EXPECT_EQ(uint32_t{LUT_HAS_CLUT | LUT_HAS_INPUT_CURVES}, lut.Get()->flags) << odd;
    }
}

TEST(ReadLut16, WithBothFlagsClearedStillRunsItsGrid) {
    const HostScope host;
    const LutTag tag = WithTables(RandomLut(16, 3, 3, 2, 3), RampTable(256), RampTable(16));
    const LutRecord lut(ReadBody(LutBody(tag)));
    const reference::Pixel zero{};
    reference::Pixel out{};
    CmmLutEval(lut.Get(), zero.data(), out.data());
    for (size_t o = 0; o < 3; ++o) EXPECT_EQ(tag.grid[o], out[o]);
}

TEST(ReadLut16, SidesHaveTheirOwnEntryCounts) {
    const HostScope host;
    for (const auto& [in, out] : {std::pair<uint32_t, uint32_t>{1, 2}, {2, 1}, {256, 4096}, {4096, 17}, {65535, 3}}) {
        ExpectLikeTheReference(RandomLut(16, 3, 4, 2, in, in, out));
    }
}

TEST(ReadLut, MatrixToleranceIsOneTenThousandth) {
    const HostScope host;
    for (const int bits : {8, 16}) {
        for (size_t element = 0; element < 9; ++element) {
            for (const auto& [units, expected] :
                 {std::pair<int32_t, bool>{6, false}, {-6, false}, {7, true}, {-7, true}}) {
                LutTag tag = RandomLut(bits, 3, 3, 2, 4);
                tag.matrix[element] = static_cast<uint32_t>(static_cast<int32_t>(tag.matrix[element]) + units);
                const LutRecord lut(ReadBody(LutBody(tag)));
                EXPECT_EQ(expected, (lut.Get()->flags & LUT_HAS_MATRIX) != 0) << element << " off by " << units;
                EXPECT_EQ(static_cast<int32_t>(tag.matrix[element]), lut.Get()->matrix[element]);
            }
        }
    }
}

TEST(ReadLut, ShapesEqualTheReference) {
    const HostScope host;
    uint64_t seed = 50;
    for (const int bits : {8, 16}) {
        for (const uint32_t inputs : {1U, 2U, 3U, 4U, 5U}) {
            for (const uint32_t outputs : {1U, 3U, 4U, 16U}) {
                const uint32_t points = inputs > 3 ? 4 : 9;
                SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(inputs) + " to " +
                             std::to_string(outputs));
                ExpectLikeTheReference(RandomLut(bits, inputs, outputs, points, ++seed, 33, 17));
            }
        }
        ExpectLikeTheReference(RandomLut(bits, 3, 3, 33, ++seed));
        ExpectLikeTheReference(RandomLut(bits, 16, 16, 1, ++seed));
        ExpectLikeTheReference(RandomLut(bits, 1, 1, 255, ++seed));
    }
}

TEST(ReadLut, OtherTypesAreNull) {
    const HostScope host;
    for (const char* type : {"mft3", "mAB ", "curv", "XYZ ", "MFT1"}) {
        Bytes body = LutBody(RandomLut(16, 3, 3, 2, 5));
        SetBig32(body, 0, FourCc(type));
        EXPECT_EQ(nullptr, ReadBody(body)) << type;
    }
    EXPECT_EQ(nullptr, CmmReadLutTag(OpenBytes(ProfileBuilder().Build()).get(), kAny)) << "absent";
}

TEST(ReadLut, SizesThatNoRecordHoldsAreNull) {
    const HostScope host;
    for (const int bits : {8, 16}) {
        for (const size_t field : {8U, 9U, 10U}) {
            Bytes none = LutBody(RandomLut(bits, 3, 3, 2, 6)), many = none;
            none[field] = 0;
            EXPECT_EQ(nullptr, ReadBody(none)) << bits << " bits, field " << field;
            many[field] = field == 10 ? 255 : 17;
            many.resize(300000);
            EXPECT_EQ(nullptr, ReadBody(many)) << bits << " bits, field " << field;
        }
    }
    for (const size_t field : {48U, 50U}) {
        Bytes none = LutBody(RandomLut(16, 3, 3, 2, 6));
        SetBig16(none, field, 0);
        EXPECT_EQ(nullptr, ReadBody(none)) << "field " << field;
    }
}

TEST(ReadLut, TablesBeyondTheDataAreNull) {
    const HostScope host;
    for (const int bits : {8, 16}) {
        const Bytes whole = LutBody(RandomLut(bits, 3, 3, 2, 7, 5, 5));
        EXPECT_NE(nullptr, LutRecord(ReadBody(whole)).Get());
        for (size_t cut = 4; cut < whole.size(); cut += 4) {
            const Bytes part(whole.begin(), whole.end() - static_cast<ptrdiff_t>(cut));
            EXPECT_EQ(nullptr, ReadBody(part)) << bits << " bits, " << cut << " bytes less";
        }
    }
}

TEST(ReadLut, WithoutMemoryIsNull) {
    HostScope host;
    for (const int bits : {8, 16}) {
        const ProfileRecord profile =
            OpenBytes(ProfileBuilder().Tag("test", LutBody(RandomLut(bits, 4, 3, 2, 8))).Build());
        const size_t held = host.Leaked();
        int64_t n = 1;
        for (;; ++n) {
            host->FailAllocation(n);
            CmmLut* const lut = CmmReadLutTag(profile.get(), kAny);
            if (lut != nullptr) {
                CmmLutFree(lut);
                break;
            }
            EXPECT_EQ(held, host.Leaked()) << bits << " bits, allocation " << n;
            ASSERT_LT(n, 40);
        }
        host->FailAllocation(0);
        EXPECT_GT(n, 9) << "the record, seven curves and the grid";
    }
}

}  // namespace
}  // namespace zv::test
