// Headers, directories and sizes of the four profiles, and what another reader says of them.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>

#include "tests/resources/profile_reader.h"

namespace {

using zvtest::Profile;
using zvtest::ProfileLut;
using zvtest::ProfileTag;

const std::string kFolder = ZVCLR_PROFILE_FOLDER;

struct Expected {
    const char* name;
    size_t size;
    const char* deviceClass;
    const char* space;
    const char* connection;
    std::set<std::string> tags;
};

const Expected kExpected[] = {
    {"105.icm",
     3144,
     "mntr",
     "RGB ",
     "XYZ ",
     {"cprt", "desc", "wtpt", "bkpt", "rXYZ", "gXYZ", "bXYZ", "dmnd", "dmdd", "vued", "view", "lumi", "meas", "tech",
      "rTRC", "gTRC", "bTRC"}},
    {"106.icm", 200182, "spac", "Lab ", "Lab ", {"desc", "cprt", "wtpt", "A2B0", "B2A0"}},
    {"107.icm",
     725436,
     "prtr",
     "CMYK",
     "Lab ",
     {"desc", "cprt", "wtpt", "bkpt", "A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "gamt"}},
    {"110.icm", 102000, "spac", "CMY ", "Lab ", {"desc", "cprt", "wtpt", "A2B0", "B2A0"}},
};

Profile Open(const char* name) { return Profile::Open(kFolder + "/" + name); }

TEST(ProfileTags, HeadersSayWhatTheProfilesAre) {
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.name);
        const Profile profile = Open(expected.name);
        EXPECT_EQ(profile.size(), expected.size);
        EXPECT_EQ(profile.u32(0), expected.size);
        EXPECT_EQ(profile.u8(8), 2) << "version";
        EXPECT_EQ(profile.signatureAt(12), expected.deviceClass);
        EXPECT_EQ(profile.signatureAt(16), expected.space);
        EXPECT_EQ(profile.signatureAt(20), expected.connection);
        EXPECT_EQ(profile.signatureAt(36), "acsp");
        EXPECT_EQ(profile.u32(64), 0U) << "intent";
        EXPECT_EQ(profile.u32(68), 0xF6D6U);
        EXPECT_EQ(profile.u32(72), 0x10000U);
        EXPECT_EQ(profile.u32(76), 0xD32DU);
        for (const size_t offset : {4U, 40U, 48U, 52U, 80U})
            EXPECT_EQ(profile.u32(offset), 0U) << "signature at " << offset;
    }
}

TEST(ProfileTags, DirectoriesAreAlignedAndDoNotOverlap) {
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.name);
        const Profile profile = Open(expected.name);
        std::set<std::string> names;
        std::map<size_t, size_t> bodies;
        for (const ProfileTag& tag : profile.tags()) {
            EXPECT_TRUE(names.insert(tag.signature).second) << tag.signature;
            EXPECT_EQ(tag.offset % 4, 0U) << tag.signature;
            const auto [place, isNew] = bodies.emplace(tag.offset, tag.size);
            EXPECT_TRUE(isNew || place->second == tag.size) << "a shared body has one size";
        }
        EXPECT_EQ(names, expected.tags);
        size_t end = 132 + 12 * profile.tags().size();
        for (const auto& [offset, size] : bodies) {
            EXPECT_GE(offset, end);
            EXPECT_LT(offset - end, 4U) << "no room lost";
            end = offset + size;
        }
        EXPECT_EQ(end, profile.size());
    }
}

TEST(ProfileTags, DescriptionsAreWhole) {
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.name);
        const Profile profile = Open(expected.name);
        for (const ProfileTag& tag : profile.tags()) {
            if (profile.signatureAt(tag.offset) != "desc") continue;
            const size_t length = profile.u32(tag.offset + 8);
            ASSERT_GT(length, 1U);
            EXPECT_EQ(tag.size, 12 + length + 8 + 70) << tag.signature;
            EXPECT_EQ(profile.u8(tag.offset + 12 + length - 1), 0) << "terminator";
            for (size_t i = 0; i + 1 < length; ++i) {
                const uint8_t character = profile.u8(tag.offset + 12 + i);
                EXPECT_TRUE(character >= 0x20 && character < 0x7F);
            }
        }
        const ProfileTag& copyright = profile.tag("cprt");
        EXPECT_EQ(profile.signatureAt(copyright.offset), "text");
        EXPECT_EQ(profile.u8(copyright.offset + copyright.size - 1), 0);
    }
}

void ExpectLut(const ProfileLut& lut, const char* type, size_t inputs, size_t outputs, size_t gridPoints,
               size_t inputEntries, size_t outputEntries) {
    EXPECT_EQ(lut.type, type);
    EXPECT_EQ(lut.inputs, inputs);
    EXPECT_EQ(lut.outputs, outputs);
    EXPECT_EQ(lut.gridPoints, gridPoints);
    EXPECT_EQ(lut.inputTables[0].size(), inputEntries);
    EXPECT_EQ(lut.outputTables[0].size(), outputEntries);
    EXPECT_EQ(lut.matrix, (std::array<double, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    for (const auto& table : lut.inputTables) {
        for (size_t i = 1; i < table.size(); ++i) ASSERT_GE(table[i], table[i - 1]) << "input tables rise";
    }
}

TEST(ProfileTags, TablesHaveTheirShapes) {
    const Profile lab = Open("106.icm");
    ExpectLut(lab.lut("A2B0"), "mft1", 3, 3, 32, 256, 256);
    ExpectLut(lab.lut("B2A0"), "mft1", 3, 3, 32, 256, 256);
    const Profile press = Open("107.icm");
    ExpectLut(press.lut("A2B0"), "mft2", 4, 3, 16, 256, 256);
    ExpectLut(press.lut("B2A0"), "mft2", 3, 4, 33, 256, 256);
    ExpectLut(press.lut("gamt"), "mft1", 3, 1, 33, 256, 256);
    for (const char* kind : {"A2B", "B2A"}) {
        const std::string name = kind;
        EXPECT_EQ(press.tag(name + "1").offset, press.tag(name + "0").offset);
        EXPECT_EQ(press.tag(name + "2").offset, press.tag(name + "0").offset);
    }
    const Profile cmy = Open("110.icm");
    ExpectLut(cmy.lut("A2B0"), "mft2", 3, 3, 16, 256, 4096);
    ExpectLut(cmy.lut("B2A0"), "mft2", 3, 3, 16, 256, 4096);
}

void ExpectXyz(const Profile& profile, const char* tag, double x, double y, double z) {
    const auto xyz = profile.xyz(tag);
    EXPECT_NEAR(xyz[0], x, 0.00001) << tag;
    EXPECT_NEAR(xyz[1], y, 0.00001) << tag;
    EXPECT_NEAR(xyz[2], z, 0.00001) << tag;
}

TEST(ProfileTags, WhitesBlacksAndColorants) {
    const Profile rgb = Open("105.icm");
    ExpectXyz(rgb, "rXYZ", 0.4361, 0.2225, 0.0139);
    ExpectXyz(rgb, "gXYZ", 0.3851, 0.7169, 0.0971);
    ExpectXyz(rgb, "bXYZ", 0.1431, 0.0606, 0.7141);
    ExpectXyz(rgb, "wtpt", 0.9505, 1.0, 1.0891);
    ExpectXyz(rgb, "bkpt", 0, 0, 0);
    ExpectXyz(Open("106.icm"), "wtpt", 0.9505, 1.0, 1.0890);
    ExpectXyz(Open("107.icm"), "wtpt", 0.9642, 1.0, 0.8249);
    ExpectXyz(Open("107.icm"), "bkpt", 0, 0, 0);
    ExpectXyz(Open("110.icm"), "wtpt", 0.9642, 1.0, 0.8249);
}

TEST(ProfileTags, AnotherReaderFindsNoFault) {
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.name);
        const std::string line = "exiftool -validate -warning -error -a '" + kFolder + "/" + expected.name + "' 2>&1";
        FILE* pipe = popen(line.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string said;
        char part[256];
        while (std::fgets(part, sizeof part, pipe) != nullptr) said += part;
        EXPECT_EQ(pclose(pipe), 0) << said;
        EXPECT_EQ(said, "Validate                        : OK\n");
    }
}

}  // namespace
