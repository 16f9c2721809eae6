// Runs the example programs of ICC profiles, and lets others read what they write.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "icc_samples.h"
#include "program_runs.h"
#include "zvclr.h"
#include "zvicc.h"

namespace {

using zvtest::Outcome;
using zvtest::signatureOf;

uint32_t bigEndian(const std::string& bytes, size_t at, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i) value = value << 8 | static_cast<uint8_t>(bytes.at(at + i));
    return value;
}

struct Tag {
    std::string signature;
    uint32_t offset, size;
    std::string body;
};

/// By the bytes of the file, not by the library.
std::vector<Tag> tagsOf(const std::string& image) {
    std::vector<Tag> tags;
    for (uint32_t i = 0; i < bigEndian(image, 128, 4); ++i) {
        const size_t entry = 132 + 12 * size_t{i};
        const uint32_t offset = bigEndian(image, entry + 4, 4), size = bigEndian(image, entry + 8, 4);
        EXPECT_LE(uint64_t{offset} + size, image.size());
        tags.push_back({image.substr(entry, 4), offset, size, image.substr(offset, size)});
    }
    return tags;
}

std::string bodyOf(const std::string& image, const std::string& signature) {
    for (const Tag& tag : tagsOf(image)) {
        if (tag.signature == signature) return tag.body;
    }
    ADD_FAILURE() << signature;
    return "";
}

class IccExamples : public zvtest::ProgramRuns {
protected:
    Outcome program(const std::string& name, const std::vector<std::string>& arguments) const {
        std::string command = name;
        for (const std::string& argument : arguments) command += " '" + argument + "'";
        return run(command);
    }
    std::string madeProfile() const {
        const Outcome result = program(MAKE_PROFILE_PROGRAM, {path("made.icc")});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return zvtest::textOf(path("made.icc"));
    }
    /// What an outside reader says of a field.
    std::string exif(const std::string& file, const std::string& field) const {
        return run("exiftool -s3 -n -" + field + " '" + path(file) + "'").out;
    }
    void expectNoComplaints(const std::string& file) const {
        const Outcome result = run("exiftool -validate -warning -error -a '" + path(file) + "'");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, "Validate                        : OK\n") << file;
    }
};

TEST_F(IccExamples, BuiltProfileIsReadByOthers) {
    const Outcome result = program(MAKE_PROFILE_PROGRAM, {path("made.icc")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, path("made.icc") + ": 10 tags, 6672 bytes\n");
    EXPECT_EQ(result.err, "");
    expectNoComplaints("made.icc");
    EXPECT_EQ(exif("made.icc", "ProfileVersion"), "1056\n");  // 0x0420
    EXPECT_EQ(exif("made.icc", "ProfileDescription"), "Example RGB\n");
    EXPECT_EQ(exif("made.icc", "ProfileCopyright"), "No rights reserved\n");
    EXPECT_EQ(exif("made.icc", "ColorSpaceData"), "RGB\n");
    EXPECT_EQ(exif("made.icc", "MediaWhitePoint"), "0.9642 1 0.82491\n");
    EXPECT_EQ(exif("made.icc", "RedMatrixColumn"), "0.43607 0.22249 0.01392\n");
    EXPECT_EQ(exif("made.icc", "ChromaticAdaptation"),
              "1.04788 0.02292 -0.05022 0.02959 0.99048 -0.01706 -0.00925 0.01508 0.75168\n");
    EXPECT_EQ(exif("made.icc", "ProfileDateTime"), "2026:01:31 12:00:00\n");
    EXPECT_NE(run("file '" + path("made.icc") + "'").out.find("color profile 4.2, RGB/XYZ-mntr device, 6672 bytes"),
              std::string::npos);
}

TEST_F(IccExamples, BuiltProfileIsReadBack) {
    const std::string image = madeProfile();
    ClrIccProfile profile;
    ASSERT_EQ(Zv_InitICCProfile(&profile, sizeof profile), CLR_SUCCESS);
    const std::string file = path("made.icc");
    ASSERT_EQ(Zv_FillICCProfileFromICCFile(std::u16string(file.begin(), file.end()).c_str(), &profile), CLR_SUCCESS);
    EXPECT_EQ(+profile.tagCount, 10);
    EXPECT_EQ(+profile.header->size, image.size());

    ClrIccTagArray matrix = {};
    ASSERT_EQ(Zv_GetICCTagData(&profile, &matrix, signatureOf("chad")), CLR_SUCCESS);
    ASSERT_EQ(+matrix.count, 9U);
    // Each row takes D65 to a coordinate of D50.
    const std::array<double, 3> d65 = {0.95047, 1.0, 1.08883}, d50 = {0.9642, 1.0, 0.8249};
    for (size_t row = 0; row < 3; ++row) {
        double sum = 0;
        for (size_t i = 0; i < 3; ++i) sum += static_cast<int32_t*>(matrix.values)[3 * row + i] / 65536.0 * d65[i];
        EXPECT_NEAR(sum, d50[row], 0.0002);
    }
    Zv_FreeICCTagType(&matrix, signatureOf("sf32"));

    ClrIccTagCurve curve = {};
    ASSERT_EQ(Zv_GetICCTagData(&profile, &curve, signatureOf("gTRC")), CLR_SUCCESS);
    ASSERT_EQ(+curve.entryCount, 1024U);
    EXPECT_EQ(+curve.entries[0], 0);
    EXPECT_EQ(+curve.entries[1023], 65535);
    EXPECT_NEAR(+curve.entries[512] / 65535.0, std::pow((512 / 1023.0 + 0.055) / 1.055, 2.4), 1e-5);
    Zv_FreeICCTagType(&curve, signatureOf("curv"));

    ASSERT_EQ(Zv_GenerateICCPointer(&profile), CLR_SUCCESS);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(profile.profileData), profile.profileSize), image);
    Zv_FreeICCProfile(&profile);
}

TEST_F(IccExamples, BuiltProfileConvertsAsTheLibrarysOwn) {
    std::string image = madeProfile();
    ClrProfileMemory memory = {};
    memory.data = image.data();
    memory.size = sizeof memory;
    memory.dataSize = image.size();
    const uint8_t rgb[] = {0, 0, 0, 255, 255, 255, 128, 128, 128, 200, 100, 50, 10, 250, 30, 0, 0, 255};
    uint8_t own[sizeof rgb], given[sizeof rgb];
    const auto convert = [&](ClrParams* params, uint8_t* lab) {
        ClrHandle* converter = nullptr;
        ASSERT_EQ(Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_LAB, params), CLR_SUCCESS);
        EXPECT_EQ(Zv_ClrConvert(converter, rgb, lab, sizeof rgb / 3, 1, 0, 0), CLR_SUCCESS);
        EXPECT_EQ(Zv_ClrFree(converter), CLR_SUCCESS);
    };
    ClrParams params = {};
    params.size = sizeof params;
    params.methods = params.activeMethod = CLRMETHOD_ICC;
    convert(&params, own);
    params.methods = params.activeMethod = CLRMETHOD_CUSTOM_ICC;
    params.inputProfileMemory = &memory;
    params.outputProfileName[0] = u'-';  // no such file: the library's own
    convert(&params, given);
    for (size_t i = 0; i < sizeof rgb; ++i) EXPECT_NEAR(own[i], given[i], 1) << i;
}

TEST_F(IccExamples, CopyrightIsReplacedAndAllElseIsKept) {
    const std::string before = madeProfile();
    const Outcome result = program(EDIT_PROFILE_PROGRAM, {path("made.icc"), path("edited.icc"), "Somebody, 2026"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "version 4.2, 10 tags\n"
              "desc  mluc        50 at 252\n"
              "cprt  mluc        64 at 304\n"
              "wtpt  XYZ         20 at 368\n"
              "chad  sf32        44 at 388\n"
              "rXYZ  XYZ         20 at 432\n"
              "gXYZ  XYZ         20 at 452\n"
              "bXYZ  XYZ         20 at 472\n"
              "rTRC  curv      2060 at 492\n"
              "gTRC  curv      2060 at 2552\n"
              "bTRC  curv      2060 at 4612\n"
              "copyright: No rights reserved\n");
    expectNoComplaints("edited.icc");
    EXPECT_EQ(exif("edited.icc", "ProfileCopyright"), "Somebody, 2026\n");

    const std::string after = zvtest::textOf(path("edited.icc"));
    EXPECT_EQ(bigEndian(after, 0, 4), after.size());
    EXPECT_EQ(after.substr(4, 124), before.substr(4, 124));
    const std::vector<Tag> tags = tagsOf(after);
    EXPECT_EQ(tags.size(), 10U);
    for (const Tag& tag : tags) {
        EXPECT_EQ(tag.offset % 4, 0U) << tag.signature;
        if (tag.signature != "cprt") {
            EXPECT_EQ(tag.body, bodyOf(before, tag.signature)) << tag.signature;
        }
    }
}

TEST_F(IccExamples, ProfilesOfVersion2AreEditedToo) {
    const std::string name = std::string(PROJECT_FOLDER) + "/resources/icm/105.icm";
    for (const std::string text : {"", "a", "ab", "abc", "Copyright of somebody else, much longer than before"}) {
        const Outcome result = program(EDIT_PROFILE_PROGRAM, {name, path("edited.icc"), text});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_NE(result.out.find("version 2.1, 17 tags\n"), std::string::npos);
        EXPECT_NE(result.out.find("\ncopyright: Copyright zvclr authors\n"), std::string::npos) << result.out;
        expectNoComplaints("edited.icc");
        EXPECT_EQ(exif("edited.icc", "ProfileVersion"), "528\n");  // 0x0210
        const std::string before = zvtest::textOf(name), after = zvtest::textOf(path("edited.icc"));
        EXPECT_EQ(bodyOf(after, "cprt"), std::string("text\0\0\0\0", 8) + text + '\0');
        for (const Tag& tag : tagsOf(after)) {
            EXPECT_EQ(tag.offset % 4, 0U) << tag.signature;
            if (tag.signature != "cprt") {
                EXPECT_EQ(tag.body, bodyOf(before, tag.signature)) << tag.signature;
            }
        }
        // What it has written it reads again.
        const Outcome again = program(EDIT_PROFILE_PROGRAM, {path("edited.icc"), path("again.icc"), "x"});
        ASSERT_EQ(again.exitCode, 0) << again.err;
        EXPECT_NE(again.out.find("\ncopyright: " + text + "\n"), std::string::npos) << again.out;
    }
}

TEST_F(IccExamples, SharedCopyrightsAndFilesThatAreNoProfilesAreRefused) {
    std::string image = madeProfile();
    // "cprt" gets the body of "desc".
    image.replace(132 + 12 + 4, 8, image.substr(132 + 4, 8));
    std::ofstream(path("shared.icc"), std::ios::binary) << image;
    const Outcome shared = program(EDIT_PROFILE_PROGRAM, {path("shared.icc"), path("edited.icc"), "x"});
    EXPECT_EQ(shared.exitCode, 1);
    EXPECT_NE(shared.err.find("another tag has bytes of this one"), std::string::npos) << shared.err;
    EXPECT_FALSE(zvtest::fs::exists(path("edited.icc")));

    for (const size_t size : {size_t{0}, size_t{4}, size_t{11}, size_t{12}, size_t{131}, image.size() - 1}) {
        std::ofstream(path("short.icc"), std::ios::binary) << image.substr(0, size);
        const Outcome result = program(EDIT_PROFILE_PROGRAM, {path("short.icc"), path("edited.icc"), "x"});
        EXPECT_EQ(result.exitCode, 1) << size;
        EXPECT_NE(result.err.find("ERR_FILE_READ"), std::string::npos) << size << result.err;
    }
    // A version 2 file that says that it has four bytes.
    std::string tiny = image;
    tiny.replace(0, 4, std::string("\0\0\0\4", 4));
    tiny[8] = 2;
    std::ofstream(path("tiny.icc"), std::ios::binary) << tiny;
    const Outcome result = program(EDIT_PROFILE_PROGRAM, {path("tiny.icc"), path("edited.icc"), "x"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("ERR_BAD_PROFILE"), std::string::npos) << result.err;
}

TEST_F(IccExamples, ProgramsAskForTheirArguments) {
    for (const char* name : {MAKE_PROFILE_PROGRAM, EDIT_PROFILE_PROGRAM, MAKE_LUT_PROFILE_PROGRAM}) {
        const Outcome result = run(name);
        EXPECT_EQ(result.exitCode, 2) << name;
        EXPECT_EQ(result.err.rfind("usage: ", 0), 0U) << result.err;
    }
    const Outcome nowhere = program(MAKE_PROFILE_PROGRAM, {path("none/made.icc")});
    EXPECT_EQ(nowhere.exitCode, 1);
    EXPECT_NE(nowhere.err.find("ERR_FILE_OPEN"), std::string::npos) << nowhere.err;
}

/// A colour through the stages of a "mAB " body of gamma curves and a grid of two points along each channel.
std::array<double, 3> evaluate(const std::string& body, const std::array<double, 3>& rgb) {
    const size_t curvesA = bigEndian(body, 28, 4), grid = bigEndian(body, 24, 4);
    std::array<double, 3> linear{}, xyz{};
    for (size_t i = 0; i < 3; ++i) {
        const size_t curve = curvesA + 16 * i;
        EXPECT_EQ(body.substr(curve, 4), "curv");
        EXPECT_EQ(bigEndian(body, curve + 8, 4), 1U);
        linear[i] = std::pow(rgb[i], bigEndian(body, curve + 12, 2) / 256.0);
    }
    for (size_t node = 0; node < 8; ++node) {
        double weight = 1;
        for (size_t i = 0; i < 3; ++i) weight *= (node >> (2 - i) & 1) != 0 ? linear[i] : 1 - linear[i];
        for (size_t i = 0; i < 3; ++i) xyz[i] += weight * bigEndian(body, grid + 20 + 6 * node + 2 * i, 2) / 32768.0;
    }
    return xyz;
}

TEST_F(IccExamples, LutProfileHoldsWhatItSays) {
    const Outcome result = program(MAKE_LUT_PROFILE_PROGRAM, {path("lut.icc")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "B curves at 32, matrix at 68, M curves at 116, grid at 152, A curves at 220: gamma 2.199 gamma 2.199 "
              "gamma 2.199\n");
    expectNoComplaints("lut.icc");
    EXPECT_EQ(exif("lut.icc", "ProfileDescription"), "Example scanner\n");
    const std::string body = bodyOf(zvtest::textOf(path("lut.icc")), "A2B0");
    ASSERT_EQ(body.size(), 268U);
    EXPECT_EQ(body.substr(0, 4), "mAB ");
    EXPECT_EQ(bigEndian(body, 8, 4), 0x03030000U);
    // Curves that are the identity, and the unit matrix.
    for (const size_t run : {size_t{32}, size_t{116}}) {
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(body.substr(run + 12 * i, 4), "curv");
            EXPECT_EQ(bigEndian(body, run + 12 * i + 8, 4), 0U);
        }
    }
    for (size_t i = 0; i < 12; ++i) EXPECT_EQ(bigEndian(body, 68 + 4 * i, 4), i % 4 == 0 && i < 9 ? 0x10000U : 0U);
    EXPECT_EQ(bigEndian(body, 152, 4), 0x02020200U);
    EXPECT_EQ(bigEndian(body, 152 + 16, 4), 0x02000000U);

    const std::array<double, 3> white = evaluate(body, {1, 1, 1}), red = evaluate(body, {0.5, 0, 0});
    const std::array<double, 3> d50 = {0.9643, 1.0, 0.8251}, halfRed = {0.09493, 0.04843, 0.00303};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(white[i], d50[i], 0.0001);
        EXPECT_NEAR(red[i], halfRed[i], 0.0002);
    }
}

}  // namespace
