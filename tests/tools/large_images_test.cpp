// Images that are far larger than the memory that a conversion may take.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "tool_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;

constexpr long kMaxKilobytes = 100 * 1024;

Bytes bytesAt(const std::string& path, int64_t offset, size_t count) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    Bytes bytes(count);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    EXPECT_TRUE(file);
    return bytes;
}

int64_t sizeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_size;
}

TEST(LargeImages, RawPixelsOf20000By20000NeedLittleMemory) {
    const Folder folder;
    // A sparse file: black but for the last pixel.
    const int64_t pixels = int64_t{20000} * 20000;
    zvtest::writeFile(folder.path("a.rgb"), Bytes());
    ASSERT_EQ(::truncate(folder.path("a.rgb").c_str(), pixels * 3), 0);
    {
        std::fstream file(folder.path("a.rgb"), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(pixels * 3 - 3);
        file.write("\xff\x00\x00", 3);
    }
    const Outcome outcome = zvtest::runTool({"convert", folder.path("a.rgb"), folder.path("a.cmyk"), "--from", "rgb",
                                             "--to", "cmyk", "--size", "20000x20000", "--method", "builtin"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, kMaxKilobytes);
    RecordProperty("peakKilobytes", static_cast<int>(outcome.peakKilobytes));
    ASSERT_EQ(sizeOf(folder.path("a.cmyk")), pixels * 4);
    EXPECT_EQ(bytesAt(folder.path("a.cmyk"), 0, 4), (Bytes{255, 255, 255, 44}));
    EXPECT_EQ(bytesAt(folder.path("a.cmyk"), pixels * 4 - 8, 8), (Bytes{255, 255, 255, 44, 0, 255, 255, 0}));
}

TEST(LargeImages, PngOf20000By3000BecomesTiffInLittleMemory) {
    const Folder folder;
    zvtest::shell("ppmmake rgb:80/40/c0 20000 3000 | pnmtopng -compression 1 > " + folder.path("a.png"));
    const Outcome outcome =
        zvtest::runTool({"convert", folder.path("a.png"), folder.path("a.tif"), "--to", "cmyk", "--method", "builtin"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, kMaxKilobytes);
    RecordProperty("peakKilobytes", static_cast<int>(outcome.peakKilobytes));
    const std::string info = zvtest::shell("tiffinfo " + folder.path("a.tif"));
    EXPECT_NE(info.find("Image Width: 20000 Image Length: 3000"), std::string::npos) << info;
    const Outcome back =
        zvtest::runTool({"convert", folder.path("a.tif"), folder.path("b.raw"), "--to", "rgb", "--method", "builtin"});
    ASSERT_EQ(back.code, 0) << back.err;
    EXPECT_LT(back.peakKilobytes, kMaxKilobytes);
    ASSERT_EQ(sizeOf(folder.path("b.raw")), int64_t{20000} * 3000 * 3);
    EXPECT_EQ(bytesAt(folder.path("b.raw"), int64_t{20000} * 3000 * 3 - 3, 3), (Bytes{0x80, 0x40, 0xc0}));
}

TEST(LargeImages, ProfilesNeedLittleMemory) {
    const Folder folder;
    const int64_t pixels = int64_t{12000} * 8000;
    zvtest::writeFile(folder.path("a.rgb"), Bytes());
    ASSERT_EQ(::truncate(folder.path("a.rgb").c_str(), pixels * 3), 0);
    {
        std::fstream file(folder.path("a.rgb"), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(pixels * 3 - 3);
        file.write("\xff\xff\xff", 3);
    }
    const Outcome there = zvtest::runTool({"convert", folder.path("a.rgb"), folder.path("a.tif"), "--from", "rgb",
                                           "--to", "cmyk", "--size", "12000x8000"});
    ASSERT_EQ(there.code, 0) << there.err;
    EXPECT_LT(there.peakKilobytes, kMaxKilobytes);
    const Outcome back =
        zvtest::runTool({"convert", folder.path("a.tif"), folder.path("b.lab"), "--to", "lab", "--method", "icc"});
    ASSERT_EQ(back.code, 0) << back.err;
    EXPECT_LT(back.peakKilobytes, kMaxKilobytes);
    RecordProperty("peakKilobytes", static_cast<int>(std::max(there.peakKilobytes, back.peakKilobytes)));
    ASSERT_EQ(sizeOf(folder.path("b.lab")), pixels * 3);
    EXPECT_LE(bytesAt(folder.path("b.lab"), pixels * 3 - 6, 1)[0], 8);
    EXPECT_GE(bytesAt(folder.path("b.lab"), pixels * 3 - 3, 1)[0], 250);
}

TEST(LargeImages, HugeSizesInSmallFilesCostNoMemory) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(64, 48, zvtest::pattern(64, 48)));
    zvtest::shell("cd " + folder.root() + R"(
        cjpeg a.ppm > base.jpg
        cjpeg -progressive a.ppm > progressive.jpg
        $ZVCLR convert a.ppm a.tif --to rgb)");
    for (const char* name : {"base.jpg", "progressive.jpg"}) {
        for (const int high : {0x20, 0x60, 0xff}) {
            Bytes file = zvtest::readFile(folder.path(name));
            const Bytes frame = {8, 0, 48, 0, 64, 3};
            const auto found = std::search(file.begin(), file.end(), frame.begin(), frame.end());
            ASSERT_NE(found, file.end());
            found[1] = static_cast<uint8_t>(high);
            found[3] = static_cast<uint8_t>(high);
            zvtest::writeFile(folder.path("huge.jpg"), file);
            const Outcome outcome = zvtest::runTool(
                {"convert", folder.path("huge.jpg"), folder.path("b.raw"), "--to", "cmyk", "--method", "builtin"});
            EXPECT_EQ(outcome.code, 1) << outcome.err;
            EXPECT_LT(outcome.peakKilobytes, kMaxKilobytes) << name << " " << high;
        }
    }
    zvtest::writeFile(folder.path("huge.ppm"), std::string("P6 1000000 1000000 255\n"));
    const Outcome outcome = zvtest::runTool(
        {"convert", folder.path("huge.ppm"), folder.path("b.raw"), "--to", "cmyk", "--method", "builtin"});
    EXPECT_EQ(outcome.code, 1) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, kMaxKilobytes);
}

TEST(LargeImages, FilesBeyondFourGigabytesAreBigTiff) {
    const Folder folder;
    const int64_t pixels = int64_t{36000} * 30000;
    zvtest::writeFile(folder.path("a.rgb"), Bytes());
    ASSERT_EQ(::truncate(folder.path("a.rgb").c_str(), pixels * 3), 0);
    const Outcome outcome =
        zvtest::runTool({"convert", folder.path("a.rgb"), folder.path("a.tif"), "--from", "rgb", "--to", "cmyk",
                         "--size", "36000x30000", "--compression", "none", "--method", "builtin"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_LT(outcome.peakKilobytes, kMaxKilobytes);
    EXPECT_GT(sizeOf(folder.path("a.tif")), pixels * 4);
    EXPECT_EQ(bytesAt(folder.path("a.tif"), 0, 4), (Bytes{'I', 'I', 43, 0}));
    EXPECT_NE(zvtest::shell("tiffinfo " + folder.path("a.tif")).find("Image Length: 30000"), std::string::npos);
}

}  // namespace
