// Hashes of what the kernels write, red first. With ZVCLR_PRINT_HASHES in the environment the tests print the rows of
// these tables; a change of any row is a change of the library's results.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "tests/support/kernel_cases.h"

namespace zv::test {

struct KernelHash {
    const char* name;
    uint64_t value;
};

/// 128 levels of each channel, K 200.
inline constexpr KernelHash kCubeHashes[] = {
    {"ClrYuvFromHub", 0xCDEA87025B09E93B},
    {"ClrYuvToHub", 0xCC993AE42998F242},
    {"ClrCmykFromHub", 0x0220B1E13FD2A16A},
    {"ClrCmykToHub", 0xE250C18C31B7E825},
    {"ClrCmykFromHubLevelMinus300", 0x3C4476C826546AA4},
    {"ClrCmykToHubLevelMinus300", 0x839726AEAEDE6F66},
    {"ClrCmykFromHubLevel0", 0x8324CBDC704F0E25},
    {"ClrCmykToHubLevel0", 0xE250C18C31B7E825},
    {"ClrCmykFromHubLevel250", 0x1361470B7D04CD25},
    {"ClrCmykToHubLevel250", 0x1BE062782D123610},
    {"ClrCmykFromHubLevel500", 0x0C91B566B6EDAEA9},
    {"ClrCmykToHubLevel500", 0xABE54340FA620CB6},
    {"ClrCmykFromHubLevel1000", 0xAF0594F673FF7FF1},
    {"ClrCmykToHubLevel1000", 0x460B5946E14A83A4},
    {"ClrCmykFromHubLevel3000", 0x056EE1A3DAC56E96},
    {"ClrCmykToHubLevel3000", 0x460B5946E14A83A4},
    {"ClrHsvFromHub", 0x5753D538C0A5B059},
    {"ClrHsvToHub", 0x4B8DE1E50458D1C7},
    {"ClrHlsFromHub", 0xA6D114C61069B19E},
    {"ClrHlsToHub", 0xFCC0F7995937A438},
    {"ClrYiqFromHub", 0x418143E2A920E003},
    {"ClrYiqToHub", 0xCCB85499BD8E505F},
    {"ClrCmyFromHub", 0xE250C18C31B7E825},
    {"ClrCmyToHub", 0xE250C18C31B7E825},
    {"ClrLabFromHub", 0x88B5F844CA1D27B3},
    {"ClrLabToHub", 0xB737500F9F632748},
    {"ClrLabParamsFromHubCommon", 0xC2ED41999675C0CF},
    {"ClrLabParamsToHubCommon", 0x4F405357EAE38C5A},
    {"ClrLabParamsFromHubWide", 0x956588E9C954AEFA},
    {"ClrLabParamsToHubWide", 0xC7ABDD60B53C856E},
    {"ClrLabParamsFromHubNarrow", 0x65992D2E8B3EE416},
    {"ClrLabParamsToHubNarrow", 0x40F9B301A6073471},
    {"ClrLabParamsFromHubOneSided", 0xE1995096108B452E},
    {"ClrLabParamsToHubOneSided", 0x402E0E2C98238F67},
    {"ClrXyzFromHub", 0xA9D972D9E5B04E05},
    {"ClrXyzToHub", 0x5E3F7826249BCACB},
    {"ClrYuy2FromHub", 0x234065E486052C86},
    {"ClrYuy2ToHub", 0x96A8F9397B08062E},
    {"ClrYvu9FromHub", 0x6B4D36A5613BA597},
    {"ClrYvu9ToHub", 0x0A539A76C5B13F57},
    {"ClrYcckFromHub", 0xADB580BFA6F5CB55},
    {"ClrYcckToHub", 0xC0612CC632BE3417},
    {"ClrCmykToYcck", 0x6A863181830A2A4C},
    {"ClrYcckToCmyk", 0xBCB28E691460F0A0},
    {"ClrY41pFromHub", 0x81320F3DAB4F9587},
    {"ClrY41pToHub", 0x020EFD1932B2E25F},
    {"ClrUyvyFromHub", 0x5A061197E67EA198},
    {"ClrUyvyToHub", 0x1E02BE05DE0220A9},
    {"ClrYcbcrFromHub", 0x8A41FF21659B88BF},
    {"ClrYcbcrToHub", 0x5940533DFED7C2A5},
    {"ClrHsiFromHub", 0x4AEA8B03B6448BCA},
    {"ClrHsiToHub", 0x0680C750085FF2EF},
    {"ClrRgb444FromHub", 0xEF539E47A7402325},
    {"ClrRgb444ToHub", 0x2D16E9C998129925},
    {"ClrHubSwap", 0x9666C91D2105C52D},
};

/// All 256 levels of each channel, with three values of K.
inline constexpr KernelHash kEveryInputHashes[] = {
    {"ClrYuvFromHub", 0x53B106354685E7DF},
    {"ClrYuvToHub", 0xCF23266116EDD61D},
    {"ClrCmykFromHub", 0xD207AE970F36812B},
    {"ClrCmykToHub", 0x73A007EC0B16D325},
    {"ClrCmykFromHubLevelMinus300", 0xFC2B1F5240AA7412},
    {"ClrCmykToHubLevelMinus300", 0xC12D941574021FFA},
    {"ClrCmykFromHubLevel0", 0x926D594608118325},
    {"ClrCmykToHubLevel0", 0x73A007EC0B16D325},
    {"ClrCmykFromHubLevel250", 0xEE7BE768B6CA2C25},
    {"ClrCmykToHubLevel250", 0x92425E2E0C3EFB5D},
    {"ClrCmykFromHubLevel500", 0xA63108315B1EC98B},
    {"ClrCmykToHubLevel500", 0x108F6AA42001469D},
    {"ClrCmykFromHubLevel1000", 0xCD16BDE4DE267BB7},
    {"ClrCmykToHubLevel1000", 0x624CD8623D4A18BD},
    {"ClrCmykFromHubLevel3000", 0x63BF274BBEE98CC6},
    {"ClrCmykToHubLevel3000", 0x624CD8623D4A18BD},
    {"ClrHsvFromHub", 0x58C4B38764237FE3},
    {"ClrHsvToHub", 0xEE04AD6979A2B898},
    {"ClrHlsFromHub", 0x0475A38592BDFAAD},
    {"ClrHlsToHub", 0x8996BA783863434D},
    {"ClrYiqFromHub", 0x8551454649E8316F},
    {"ClrYiqToHub", 0xAEE819054175F73A},
    {"ClrCmyFromHub", 0xBC5D93270673B325},
    {"ClrCmyToHub", 0xBC5D93270673B325},
    {"ClrLabFromHub", 0x36696F83510D6BDC},
    {"ClrLabToHub", 0x2B6AEF03ED72D7A0},
    {"ClrLabParamsFromHubCommon", 0xE2E1BFBBB206973E},
    {"ClrLabParamsToHubCommon", 0xAA255443E8C9A02E},
    {"ClrLabParamsFromHubWide", 0x62C32FD27C01A43F},
    {"ClrLabParamsToHubWide", 0xA4E95A4953A5D2D9},
    {"ClrLabParamsFromHubNarrow", 0xADA7DD862F235970},
    {"ClrLabParamsToHubNarrow", 0x68242FC102F62BD6},
    {"ClrLabParamsFromHubOneSided", 0x44CE0F15301523A5},
    {"ClrLabParamsToHubOneSided", 0xFE09A4BF514A7EA9},
    {"ClrXyzFromHub", 0x4602ACA96BCC0ED1},
    {"ClrXyzToHub", 0xF5D02951960F8381},
    {"ClrYuy2FromHub", 0xA2146DD33F45014B},
    {"ClrYuy2ToHub", 0xE53F08378774EB95},
    {"ClrYvu9FromHub", 0x8EB6B1D34787F273},
    {"ClrYvu9ToHub", 0xA2031AA255C3E557},
    {"ClrYcckFromHub", 0x0620646295D7B726},
    {"ClrYcckToHub", 0x2A150A5B2F88F9F4},
    {"ClrCmykToYcck", 0x6919B1E1541D2252},
    {"ClrYcckToCmyk", 0x712BBA57F6ECA6F3},
    {"ClrY41pFromHub", 0x896CCF2ADF32A5DC},
    {"ClrY41pToHub", 0xD4B32533A88F8301},
    {"ClrUyvyFromHub", 0x2A7920862AEF4293},
    {"ClrUyvyToHub", 0xC404675D73E8A0CD},
    {"ClrYcbcrFromHub", 0xE3799D79EA12A581},
    {"ClrYcbcrToHub", 0xC42286231096B648},
    {"ClrHsiFromHub", 0x7190D1F7443F0F17},
    {"ClrHsiToHub", 0x90E6DA1632EDC9CC},
    {"ClrRgb444FromHub", 0x0B990B3B77362325},
    {"ClrRgb444ToHub", 0xE8FCD79D8B4EA325},
    {"ClrHubSwap", 0xD85B546CE4ABB325},
};

inline void ExpectHash(std::span<const KernelHash> table, const std::string& name, uint64_t value) {
    char row[128];
    std::snprintf(row, sizeof row, "    {\"%s\", 0x%016" PRIX64 "},", name.c_str(), value);
    if (std::getenv("ZVCLR_PRINT_HASHES") != nullptr) std::printf("%s\n", row);
    const auto found =
        std::find_if(table.begin(), table.end(), [&](const KernelHash& known) { return name == known.name; });
    ASSERT_NE(table.end(), found) << "no row for the kernel; it would be\n" << row;
    EXPECT_EQ(found->value, value) << "the row would be\n" << row;
}

/// Every row names a kernel of the table, and each kernel has one.
inline void ExpectNames(std::span<const KernelHash> table) {
    EXPECT_EQ(KernelCases().size(), table.size());
    for (const KernelCase& kernel : KernelCases()) {
        EXPECT_EQ(1, std::count_if(table.begin(), table.end(),
                                   [&](const KernelHash& known) { return kernel.name == known.name; }))
            << kernel.name;
    }
}

}  // namespace zv::test
