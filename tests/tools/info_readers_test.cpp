// What the library writes, by other programs' eyes: exiftool (header, texts, numbers; bodies of curves and tables as
// bytes only), file (header and description), exiv2 (that the stated size is that of the bytes), and python3's struct
// for the bodies that exiftool takes out without looking into them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "info_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::icc;
using zvtest::set32;
using zvtest::shell;

class InfoReaders : public testing::Test {
protected:
    InfoReaders() {
        zvtest::ProfileMaker maker;
        maker.addDisplayTags();
        maker.addEveryType();
        profile_ = maker.image();
        write("made.icc", profile_);
    }

    void write(const std::string& name, const Bytes& bytes) const { zvtest::writeFile(folder_.path(name), bytes); }
    std::string in(const std::string& line) const { return shell("cd " + folder_.root() + "\n" + line); }
    /// As an object of "group:name"; exiftool's own complaints among it.
    json exiftool(const std::string& name) const {
        return json::parse(in("exiftool -j -a -G1 -validate -warning -error -icc_profile:all " + name + " || true"))[0];
    }

    zvtest::Folder folder_;
    Bytes profile_;
};

TEST_F(InfoReaders, ExiftoolReadsEveryValueWithoutComplaint) {
    const json found = exiftool("made.icc");
    EXPECT_EQ(found["ExifTool:Validate"], "OK");
    EXPECT_FALSE(found.contains("ExifTool:Warning")) << found;
    EXPECT_FALSE(found.contains("ExifTool:Error")) << found;
    const json expected = {
        {"ICC-header:ProfileCMMType", "Unknown (ZVTS)"},
        {"ICC-header:ProfileVersion", "4.2.0"},
        {"ICC-header:ProfileClass", "Display Device Profile"},
        {"ICC-header:ColorSpaceData", "RGB "},
        {"ICC-header:ProfileConnectionSpace", "XYZ "},
        {"ICC-header:ProfileDateTime", "2026:03:04 15:16:17"},
        {"ICC-header:ProfileFileSignature", "acsp"},
        {"ICC-header:PrimaryPlatform", "Microsoft Corporation"},
        {"ICC-header:CMMFlags", "Not Embedded, Not Independent"},
        {"ICC-header:DeviceManufacturer", "Unknown (ZVmk)"},
        {"ICC-header:DeviceModel", "ZVmd"},
        {"ICC-header:DeviceAttributes", "Reflective, Matte, Positive, Color"},
        {"ICC-header:RenderingIntent", "Media-Relative Colorimetric"},
        {"ICC-header:ConnectionSpaceIlluminant", "0.9642 1 0.82491"},
        {"ICC-header:ProfileCreator", "Unknown (ZVcr)"},
        {"ICC-header:ProfileID", 0},
        {"ICC_Profile:ProfileDescription", "A display for tests \u2713"},
        {"ICC_Profile:ProfileCopyright", "No rights reserved"},
        {"ICC_Profile:MediaWhitePoint", "0.9642 1 0.82491"},
        {"ICC_Profile:RedMatrixColumn", "0.43607 0.22249 0.01392"},
        {"ICC_Profile:GreenMatrixColumn", "0.38515 0.71687 0.09708"},
        {"ICC_Profile:BlueMatrixColumn", "0.14307 0.06061 0.7141"},
        {"ICC_Profile:ChromaticAdaptation",
         "1.04788 0.02292 -0.0502 0.02959 0.99048 -0.01706 -0.00923 0.01508 0.75168"},
        {"ICC-meas:MeasurementObserver", "CIE 1931"},
        {"ICC-meas:MeasurementBacking", "0 0 0"},
        {"ICC-meas:MeasurementGeometry", "0/45 or 45/0"},
        {"ICC-meas:MeasurementFlare", "100%"},
        {"ICC-meas:MeasurementIlluminant", "D50"},
        {"ICC-view:ViewingCondIlluminant", "0.9642 1 0.82491"},
        {"ICC-view:ViewingCondSurround", "0 0.2 0"},
        {"ICC-view:ViewingCondIlluminantType", "D50"},
        {"ICC_Profile:Technology", "Active Matrix Display"},
        {"ICC_Profile:CalibrationDateTime", "2025:12:31 23:59:58"},
        {"ICC_Profile:Luminance", "0 120 0"},
        {"ICC_Profile:CharTarget", "target of twelve patches"},
        {"ICC-chrm:ChromaticityChannels", 3},
        {"ICC-chrm:ChromaticityColorant", "Unknown"},
        {"ICC-chrm:ChromaticityChannel1", "0.64 0.33"},
        {"ICC-chrm:ChromaticityChannel2", "0.3 0.60001"},
        {"ICC-chrm:ChromaticityChannel3", "0.14999 0.06"},
        {"ICC_Profile:ColorantOrder", "2 0 1"},
        {"ICC-clrt:ColorantCount", 2},
        {"ICC-clrt:Colorant1Name", "Red"},
        {"ICC-clrt:Colorant1Coordinates", "1 2 3"},
        {"ICC-clrt:Colorant2Name", "Green"},
        {"ICC-clrt:Colorant2Coordinates", "4 5 65535"},
    };
    for (const auto& [key, value] : expected.items()) {
        EXPECT_EQ(found.value(key, json()), value) << key;
    }
}

TEST_F(InfoReaders, ExiftoolComplainsOfDamage) {
    Bytes bytes = profile_;
    set32(bytes, 132 + 4, 60000);
    write("bad.icc", bytes);
    EXPECT_TRUE(exiftool("bad.icc").contains("ExifTool:Warning"));
    bytes = profile_;
    set32(bytes, 0, static_cast<uint32_t>(bytes.size()) + 96);
    write("bad.icc", bytes);
    EXPECT_TRUE(exiftool("bad.icc").contains("ExifTool:Error"));
}

TEST_F(InfoReaders, BodiesAreLaidOutAsTheStandardSays) {
    const std::string found = in(R"(cat > read.py <<'END'
import struct, subprocess
def body(name):
    return subprocess.run(["exiftool", "-b", "-" + name, "made.icc"], check=True, stdout=subprocess.PIPE).stdout
def be(form, data, at): return struct.unpack_from(">" + form, data, at)
def text(data, at):
    assert data[at:at + 4] == b"mluc" and be("II", data, at + 8) == (1, 12)
    language, length, offset = be("4sII", data, at + 16)
    end = (offset + length + 3) // 4 * 4
    return language.decode(), data[at + offset:at + offset + length].decode("utf-16-be").rstrip("\0"), at + end
def curve(data, at):
    assert data[at:at + 4] == b"curv"
    count = be("I", data, at + 8)[0]
    return be("%dH" % count, data, at + 12)
red = body("RedTRC")
print(red[:4], len(red), curve(red, 0)[0] / 256)
gray = body("GrayTRC")
print(gray[:4], len(gray), be("HHi", gray, 8)[0], round(be("i", gray, 12)[0] / 65536, 4))
spot = body("NamedColor2")
print(spot[:4], len(spot), be("III", spot, 8), spot[20:52].rstrip(b"\0"), spot[52:84].rstrip(b"\0"),
      spot[84:116].rstrip(b"\0"), be("3H", spot, 116), be("3H", spot, 122))
steps = body("ProfileSequenceDesc")
maker = text(steps, 32)
model = text(steps, maker[2])
print(steps[:4], be("I", steps, 8), steps[12:20], steps[28:32], maker[:2], model[:2], len(steps) - model[2])
answers = body("OutputResponse")
print(answers[:4], be("HHI", answers, 8), answers[16:20], be("I3i", answers, 20), be("HHi", answers, 36))
table = body("AToB1")
print(table[:4], len(table), be("3B", table, 8), be("9i", table, 12)[::4], be("HH", table, 48), be("6H", table, 52),
      be("24H", table, 64)[-1], be("6H", table, 112))
for name in "AToB2", "BToA2":
    lut = body(name)
    b, matrix, m, grid, a = be("5I", lut, 12)
    print(lut[:4], len(lut), lut[8], lut[9], curve(lut, b), curve(lut, m), curve(lut, a),
          be("12i", lut, matrix)[:9:4], lut[grid], lut[grid + 16], be("2H", lut, grid + 20))
END
python3 read.py)");
    EXPECT_EQ(found,
              "b'curv' 14 2.19921875\n"
              "b'para' 16 0 1.8\n"
              "b'ncl2' 128 (65536, 1, 3) b'before ' b' behind' b'Spot' (32768, 33024, 33280) (10, 20, 30)\n"
              "b'pseq' (1,) b'ZVmkZVmd' b'AMD ' ('enUS', 'Makers') ('enUS', 'Models') 0\n"
              "b'rcs2' (1, 1, 16) b'StaA' (1, 6554, 13107, 19661) (65535, 0, 111411)\n"
              "b'mft2' 124 (3, 3, 2) (65536, 65536, 65536) (2, 2) (0, 65535, 0, 65535, 0, 65535) 2300 "
              "(0, 65535, 0, 65535, 0, 65535)\n"
              "b'mAB ' 152 1 1 (0, 65535) (0, 65535) (0, 65535) (65536, 65536, 65536) 2 2 (100, 60000)\n"
              "b'mBA ' 152 1 1 (0, 65535) (0, 65535) (0, 65535) (65536, 65536, 65536) 2 2 (100, 60000)\n");
}

TEST_F(InfoReaders, FileReadsTheHeader) {
    const std::string found = in("file -b made.icc");
    for (const char* words :
         {"Microsoft color profile 4.2", "type ZVTS", "RGB/XYZ-mntr device", "ZVmk/ZVmd model by ZVcr",
          "4-3-2026 15:16:17", "dependently", "matte", "relative colorimetric", "A display for tests"}) {
        EXPECT_NE(found.find(words), std::string::npos) << words << " in: " << found;
    }
    EXPECT_NE(found.find(std::to_string(profile_.size()) + " bytes"), std::string::npos) << found;
}

TEST_F(InfoReaders, Exiv2TakesTheProfileIntoAnImage) {
    write("in.ppm", zvtest::ppm(2, 2, zvtest::pattern(2, 2)));
    in("cjpeg in.ppm > made.jpg && exiv2 -f -iC made.jpg && exiv2 -pC made.jpg > out.icc");
    EXPECT_EQ(zvtest::readFile(folder_.path("out.icc")), profile_);
    // It looks at the size alone.
    Bytes bytes = profile_;
    set32(bytes, 0, static_cast<uint32_t>(bytes.size()) + 4);
    write("made.icc", bytes);
    EXPECT_EQ(in("exiv2 -f -iC made.jpg 2>&1 || true").find("Not a valid ICC Profile") == std::string::npos, false);
}

TEST_F(InfoReaders, ToolAndExiftoolAgreeOnRealProfiles) {
    std::string command = "exiftool -j -a -G1 -n -q -icc_profile:all";
    for (const std::string& path : zvtest::realProfiles()) {
        command += " '" + path + "'";
    }
    const json all = json::parse(shell(command));
    size_t compared = 0;
    for (const json& theirs : all) {
        const std::string path = theirs["SourceFile"];
        const json report = json::parse(zvtest::infoOf(zvtest::readFile(path), {"--json"}));
        const json& header = report["header"];
        std::string date = theirs["ICC-header:ProfileDateTime"];
        date[4] = date[7] = '-';
        EXPECT_EQ(header["created"], date) << path;
        EXPECT_EQ(header["class"]["value"], theirs["ICC-header:ProfileClass"]) << path;
        EXPECT_EQ(header["colourSpace"]["value"], theirs["ICC-header:ColorSpaceData"]) << path;
        EXPECT_EQ(header["connectionSpace"]["value"], theirs["ICC-header:ProfileConnectionSpace"]) << path;
        EXPECT_EQ(header["renderingIntent"]["value"], theirs["ICC-header:RenderingIntent"]) << path;
        for (const json& tag : report["tags"]) {
            const std::string signature = tag["signature"];
            const char* name = signature == "wtpt"   ? "ICC_Profile:MediaWhitePoint"
                               : signature == "rXYZ" ? "ICC_Profile:RedMatrixColumn"
                               : signature == "bXYZ" ? "ICC_Profile:BlueMatrixColumn"
                                                     : nullptr;
            if (name == nullptr || !tag.contains("contents")) {
                continue;
            }
            double values[3];
            const std::string numbers = theirs[name];
            ASSERT_EQ(std::sscanf(numbers.c_str(), "%lf %lf %lf", values, values + 1, values + 2), 3) << numbers;
            for (size_t i = 0; i < 3; ++i) {
                EXPECT_NEAR(tag["contents"]["value"]["XYZ"][i].get<double>(), values[i], 1e-5) << path << name;
            }
            ++compared;
        }
    }
    EXPECT_GE(compared, 80U);
}

}  // namespace
