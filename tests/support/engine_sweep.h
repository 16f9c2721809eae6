// Synthetic profiles of every kind, to build transforms of.
#pragma once

#include <string>
#include <vector>

#include "tests/support/engine_records.h"
#include "tests/support/profile_builder.h"

namespace zv::test {

struct SweepProfile {
    std::string name;
    Bytes bytes;
    uint32_t format = 0;
};

inline ProfileBuilder WithPoints(ProfileBuilder builder, const std::optional<Triple>& white,
                                 const std::optional<Triple>& black) {
    builder.Remove("wtpt").Remove("bkpt");
    if (white) builder.Tag("wtpt", XyzBody(*white));
    if (black) builder.Tag("bkpt", XyzBody(*black));
    return builder;
}

/// Monitors with curves of every length that tags have.
inline std::vector<SweepProfile> MatrixProfiles() {
    std::vector<SweepProfile> profiles;
    const auto add = [&](const std::string& name, ProfileBuilder builder) {
        profiles.push_back({name, builder.Build(), CMMFORMAT_RGB_8});
    };
    const Colorants wide{{0.7977, 0.288, 0.0}, {0.1352, 0.7119, 0.0}, {0.0313, 0.0001, 0.8249}};
    add("identity curves", MatrixRgbProfile({}, CurveBody({})));
    add("gamma 2.2", MatrixRgbProfile({}, GammaBody(0x0233)));
    add("gamma 0", MatrixRgbProfile({}, GammaBody(0)));
    for (const size_t count : {2U, 17U, 256U, 1024U, 4096U}) {
        TestRandom random(count);
        add("rising " + std::to_string(count), MatrixRgbProfile({}, CurveBody(RisingTable(count, random))));
        const auto power = [&](double gamma) { return CurveBody(PowerTable(count, gamma)); };
        add("wide " + std::to_string(count), MatrixRgbProfile(wide, power(1.8), power(2.2), power(2.6)));
    }
    add("unit", MatrixRgbProfile({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, CurveBody({})));
    return profiles;
}

inline std::vector<SweepProfile> GrayProfiles() {
    std::vector<SweepProfile> profiles;
    const Bytes curves[] = {CurveBody({}), GammaBody(0x01CD), CurveBody(PowerTable(17, 2.0)),
                            CurveBody(PowerTable(1024, 2.2))};
    for (const Bytes& curve : curves) {
        ProfileBuilder builder = GrayProfile(curve);
        if (profiles.size() % 2 == 1) builder.header.illuminant = {0.9, 0.8, 0.7};
        profiles.push_back({"gray " + std::to_string(profiles.size()), builder.Build(), CMMFORMAT_BGR_8});
    }
    return profiles;
}

/// Tables of both widths, both connection spaces, header intents 0 and 3, points present and absent, with and without
/// a matrix and ramps. `points` is the grid's size.
inline std::vector<SweepProfile> LutProfiles(uint32_t points) {
    struct Space {
        const char* name;
        uint32_t format;
    };
    constexpr Space kSpaces[] = {
        {"RGB ", CMMFORMAT_RGB_8}, {"CMY ", CMMFORMAT_CMY_8}, {"CMYK", CMMFORMAT_CMYK_8}, {"Lab ", CMMFORMAT_LAB_8}};
    std::vector<SweepProfile> profiles;
    uint64_t seed = points;
    for (const Space& space : kSpaces) {
        for (const char* pcs : {"Lab ", "XYZ "}) {
            for (const int bits : {8, 16}) {
                ++seed;
                const uint32_t channels = space.format == CMMFORMAT_CMYK_8 ? 4 : 3;
                const uint32_t inPoints = channels == 4 && points > 17 ? 17 : points;
                const uint32_t entries = seed % 3 == 0 ? 4096 : 33;
                LutTag in = SmoothLut(bits, channels, 3, inPoints, seed, entries, 256);
                LutTag out = SmoothLut(bits, 3, channels, points, seed + 100, 256, entries);
                if (seed % 2 == 0) out.matrix = {0xF000, 0x0800, 0xFFFFFC00, 0, 0x10000, 0, 0x400, 0, 0xFC00};
                if (bits == 16 && seed % 4 == 1) {
                    in.inputTables.clear();
                    for (uint32_t c = 0; c < channels; ++c) {
                        const Words ramp = RampTable(in.inputEntries);
                        in.inputTables.insert(in.inputTables.end(), ramp.begin(), ramp.end());
                    }
                }
                ProfileBuilder builder = LutProfile(space.name, pcs, in, out);
                std::string name = std::string(space.name) + '/' + pcs + " mft" + (bits == 8 ? '1' : '2');
                switch (seed % 3) {
                    case 0:
                        builder = WithPoints(builder, {}, {});
                        name += " without points";
                        break;
                    case 1:
                        builder = WithPoints(builder, Triple{0.85, 0.9, 0.7}, Triple{0.01, 0.011, 0.009});
                        builder.header.illuminant = {0.95, 1.0, 0.9};
                        name += " with points";
                        break;
                    default:
                        break;
                }
                if (seed % 5 < 2) {
                    builder.header.intent = 3;
                    name += " absolute";
                }
                profiles.push_back({name, builder.Build(), space.format});
            }
        }
    }
    return profiles;
}

inline std::vector<SweepProfile> AllProfiles(uint32_t points) {
    std::vector<SweepProfile> all = MatrixProfiles();
    for (auto& more : {GrayProfiles(), LutProfiles(points)}) all.insert(all.end(), more.begin(), more.end());
    return all;
}

}  // namespace zv::test
