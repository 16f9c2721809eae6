// What docs/embedded-profiles.md says is what the library does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "document_tables.h"
#include "image_profiles.h"
#include "tests/support/image_samples.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace zv::test;
using zvtest::Cells;
using zvtest::Loaded;
using zvtest::plain;
using zvtest::projectFile;

const std::string kProfile = "\1\2\3";
const std::string kByteTable = "| offset | bytes | meaning |";

std::string document() { return projectFile("docs/embedded-profiles.md"); }

std::string hexOf(const std::string& bytes) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (size_t i = 0; i < bytes.size(); ++i)
        text << (i == 0 ? "" : " ") << std::setw(2) << int{static_cast<uint8_t>(bytes[i])};
    return text.str();
}

/// The bytes of a table of this section, which have to follow each other.
std::string bytesOfSection(const std::string& heading) {
    std::string bytes;
    for (const Cells& row : zvtest::tableIn(zvtest::sectionOf(document(), heading), kByteTable)) {
        EXPECT_EQ(row[0], std::to_string(bytes.size())) << heading;
        std::istringstream words(plain(row[1]));
        for (std::string word; words >> word;) bytes += static_cast<char>(std::stoi(word, nullptr, 16));
    }
    EXPECT_FALSE(bytes.empty()) << heading;
    return bytes;
}

uint64_t little(const std::string& bytes, size_t at, size_t width) {
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i) value |= uint64_t{static_cast<uint8_t>(bytes.at(at + i))} << 8 * i;
    return value;
}

/// A code by its name in the header.
int32_t codeNamed(const std::string& name) {
    const std::string header = projectFile("include/zvclr.h");
    const size_t at = header.find(" " + name + " = ");
    EXPECT_NE(at, std::string::npos) << name;
    return at == std::string::npos ? 0 : std::stoi(header.substr(at + name.size() + 4));
}

class ImageDocument : public zvtest::ImageProfiles {};

TEST_F(ImageDocument, FormatsAreThoseOfTheTable) {
    const std::string comments = PictureChunk(0, std::string(100, 'p')) + PictureChunk(2, "");
    const std::string bigTiff = SampleTiff(true, true, {{34675, 7, 24, kBigTiffProfileAt}});
    const std::map<std::string, std::vector<std::string>> files = {
        {"JPEG", {SampleJpeg(ProfilePart(1, 1, "profile"))}},
        {"TIFF", {SampleTiff(false, false, {{34675, 7, 24, kTiffProfileAt}})}},
        {"BigTIFF", {bigTiff}},
        {"EPS", {SampleEps(100, "\r\n")}},
        {"EPS with a preview", {"\xC5\xD0\xD3\xC6" + std::string(28, '\0') + SampleEps(100, "\r\n")}},
        {"Macintosh picture", {SamplePicture(comments)}},
        {"GIF", {SampleGif("")}},
        {"others", {"\x89PNG\r\n\x1A\n", "BM", "RIFF\0\0\0\0WEBPVP8 "s, "text", ""}},
    };
    const std::map<std::string, size_t> sizes = {
        {"JPEG", 7}, {"TIFF", 24}, {"BigTIFF", 24}, {"Macintosh picture", 100}};
    const std::vector<Cells> rows =
        zvtest::tableIn(document(), "| file | loaded | saved | how | what else a save changes |");
    ASSERT_EQ(rows.size(), files.size());
    for (const Cells& row : rows) {
        ASSERT_EQ(files.count(row[0]), 1U) << row[0];
        for (const std::string& file : files.at(row[0])) {
            write("image", file);
            const Loaded loaded = load("image");
            EXPECT_EQ(loaded.result, row[1] == "no" ? ERR_FORMAT_NO_ICC : CLR_SUCCESS) << row[0];
            if (row[1] != "no") {
                EXPECT_EQ(loaded.bytes.size(), row[1] == "yes" ? sizes.at(row[0]) : 80U) << row[0];
            }
            EXPECT_EQ(save("image", kProfile), row[2] == "no" ? ERR_FORMAT_NO_ICC : CLR_SUCCESS) << row[0];
            EXPECT_EQ(bytesOf("image") == file, row[2] == "no") << row[0];
        }
    }
}

TEST_F(ImageDocument, JpegPartIsThatOfTheTable) {
    write("a.jpg", SampleJpeg(""));
    ASSERT_EQ(save("a.jpg", kProfile), CLR_SUCCESS);
    EXPECT_EQ(bytesOf("a.jpg"), SampleJpeg(bytesOfSection("### JPEG")));
}

TEST_F(ImageDocument, PartsOfAJpegAreThoseOfTheTable) {
    const std::vector<Cells> rows = zvtest::tableIn(document(), "| profile | parts | result |");
    ASSERT_EQ(rows.size(), 8U);
    for (const Cells& row : rows) {
        const size_t size = std::stoul(row[0]);
        std::string profile(size, '\0');
        for (size_t i = 0; i < size; ++i) profile[i] = static_cast<char>(i * 31 >> 3);
        write("a.jpg", SampleJpeg(""));
        ASSERT_EQ(save("a.jpg", profile), codeNamed(plain(row[2]))) << size;
        std::string segments;
        size_t at = 0;
        int number = 0;
        const int count = static_cast<int>(std::count(row[1].begin(), row[1].end(), ',')) + 1;
        std::istringstream parts(row[1]);
        for (std::string part; std::getline(parts, part, ','); at += std::stoul(part))
            segments += ProfilePart(++number, count, profile.substr(at, std::stoul(part)));
        EXPECT_EQ(at, size);
        const bool saved = row[2] == "`CLR_SUCCESS`";
        EXPECT_TRUE(bytesOf("a.jpg") == SampleJpeg(saved ? segments : "")) << size;
        if (saved) {
            EXPECT_TRUE(load("a.jpg").bytes == profile) << size;
        }
    }
}

TEST_F(ImageDocument, JpegLoadsPartsAsTheyStand) {
    write("a.jpg", SampleJpeg(ProfilePart(2, 3, "b") + ProfilePart(1, 3, "a")));
    EXPECT_EQ(load("a.jpg").bytes, "ba");
    // A marker that ends before the last of the two numbers, and one that ends behind it.
    write("a.jpg", SampleJpeg(JpegSegment(0xE2, "ICC_PROFILE\0\1"s)));
    EXPECT_EQ(load("a.jpg").result, ERR_NO_PROFILE);
    write("a.jpg", SampleJpeg(ProfilePart(1, 1, "")));
    EXPECT_EQ(load("a.jpg").result, CLR_SUCCESS);
    EXPECT_EQ(load("a.jpg").bytes, "");
}

TEST_F(ImageDocument, EmptyProfileLeavesAJpegAsItIs) {
    const std::string file = SampleJpeg(ProfilePart(1, 1, "profile"));
    write("a.jpg", file);
    EXPECT_EQ(save("a.jpg", ""), CLR_SUCCESS);
    EXPECT_EQ(bytesOf("a.jpg"), file);
}

TEST_F(ImageDocument, TiffEntryIsThatOfTheTable) {
    const std::string old = SampleTiff(false, false, {});
    write("a.tif", old);
    ASSERT_EQ(save("a.tif", kProfile), CLR_SUCCESS);
    const std::string file = bytesOf("a.tif"), entry = bytesOfSection("### TIFF");
    ASSERT_EQ(entry.size(), 12U);
    const uint64_t directory = little(file, 4, 4);
    EXPECT_GE(directory, old.size());
    EXPECT_EQ(directory % 2, 0U);
    const uint64_t last = little(file, directory, 2) - 1;
    EXPECT_EQ(hexOf(file.substr(directory + 2 + 12 * last, 12)), hexOf(entry));
    EXPECT_EQ(hexOf(file.substr(8, old.size() - 8)), hexOf(old.substr(8)));

    // More than four bytes stand elsewhere, at an even place.
    ASSERT_EQ(save("a.tif", "12345"), CLR_SUCCESS);
    const std::string again = bytesOf("a.tif");
    const uint64_t value = little(again, little(again, 4, 4) + 2 + 12 * last + 8, 4);
    EXPECT_EQ(again.substr(value, 5), "12345");
    EXPECT_EQ(value % 2, 0U);
}

TEST_F(ImageDocument, TiffTagsOfBytesOfAnyKindAreLoaded) {
    for (const uint32_t type : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U}) {
        write("a.tif", SampleTiff(false, false, {{34675, type, 24, kTiffProfileAt}}));
        const bool isBytes = type == 1 || type == 2 || type == 6 || type == 7;
        EXPECT_EQ(load("a.tif").result, isBytes ? CLR_SUCCESS : ERR_BAD_TAG) << type;
    }
}

TEST_F(ImageDocument, EpsProfilesLoseTheirEndAsTheTableSays) {
    const std::vector<Cells> rows = zvtest::tableIn(document(), "| bytes in the file | bytes loaded |");
    ASSERT_EQ(rows.size(), 7U);
    for (const Cells& row : rows) {
        for (const char* lineEnd : {"\r\n", "\r"}) {
            write("a.eps", SampleEps(std::stoul(row[0]), lineEnd));
            const Loaded loaded = load("a.eps");
            EXPECT_EQ(std::to_string(loaded.bytes.size()), row[1]) << row[0];
            EXPECT_EQ(loaded.result, row[1] == "0" ? ERR_NO_PROFILE : CLR_SUCCESS) << row[0];
            for (size_t i = 0; i < loaded.bytes.size(); ++i) ASSERT_EQ(loaded.bytes[i], static_cast<char>(i * 7)) << i;
        }
        write("a.eps", SampleEps(std::stoul(row[0]), "\n"));
        EXPECT_EQ(load("a.eps").result, ERR_PROFILE_TRUNCATED);
    }
}

TEST_F(ImageDocument, EpsLinesOfTheDocumentAreRead) {
    const std::string section = zvtest::sectionOf(document(), "### EPS");
    const size_t begin = section.find("%%Begin"), end = section.find("```", begin);
    const auto lines = [&](const std::string& replaced, const std::string& with) {
        return std::regex_replace(section.substr(begin, end - begin), std::regex(replaced), with);
    };
    // Four times these lines are enough to see what has been read.
    const std::string digits = std::regex_replace(lines("%.*ICCProfile.*\n", ""), std::regex("\n"), "\r\n");
    write("a.eps", "%!PS\r\n%%BeginICCProfile:\r\n" + digits + digits + digits + digits + "%%EndICCProfile\r\n");
    const Loaded loaded = load("a.eps");
    EXPECT_EQ(loaded.result, CLR_SUCCESS);
    EXPECT_EQ(hexOf(loaded.bytes.substr(0, 6)), "00 00 0C 48 00 00");
    EXPECT_EQ(loaded.bytes.substr(12, 8), "mntrRGB ");
    write("a.eps", "%!PS\r\n" + lines("\n", "\r\n"));
    EXPECT_EQ(load("a.eps").result, ERR_NO_PROFILE);
    write("a.eps", "%!PS\n" + lines("", ""));
    EXPECT_EQ(load("a.eps").result, ERR_PROFILE_TRUNCATED);
}

TEST_F(ImageDocument, ChunksAreThoseOfTheTable) {
    const std::string chunks = bytesOfSection("### Macintosh picture");
    EXPECT_EQ("\0\xA1\0"s + chunks, PictureChunk(0, kProfile) + PictureChunk(2, "").substr(3));
    write("a.pct", SamplePicture(chunks));
    const Loaded loaded = load("a.pct");
    EXPECT_EQ(loaded.result, CLR_SUCCESS);
    EXPECT_EQ(loaded.bytes, kProfile);
}

TEST_F(ImageDocument, GifExtensionIsThatOfTheTable) {
    const std::string old = SampleGif(""), extension = bytesOfSection("### GIF");
    write("a.gif", old);
    ASSERT_EQ(save("a.gif", kProfile), CLR_SUCCESS);
    EXPECT_EQ(hexOf(bytesOf("a.gif")), hexOf(old.substr(0, old.size() - 1) + extension));
    ASSERT_EQ(save("a.gif", kProfile), CLR_SUCCESS);
    const std::string both = extension.substr(0, extension.size() - 1) + extension;
    EXPECT_EQ(hexOf(bytesOf("a.gif")), hexOf(old.substr(0, old.size() - 1) + both));
    // Options are not looked at.
    SAVEFILEOPTIONA options = {};
    options.size = sizeof options;
    std::strcpy(options.backupName, path("backup.gif").c_str());
    EXPECT_EQ(save("a.gif", kProfile, &options), CLR_SUCCESS);
    EXPECT_FALSE(fs::exists(path("backup.gif")));
}

/// The code of a step of a section's table; 0 if there is no such step.
int32_t codeOfStep(const std::string& before, const std::string& step) {
    const std::string text = document();
    const std::string section = text.substr(text.find("\n" + before + "\n"));
    for (const Cells& row : zvtest::tableIn(section.substr(0, section.find("|\n\n")), "| step | result |")) {
        if (row[0] == step) return codeNamed(plain(row[1]));
    }
    ADD_FAILURE() << step;
    return 0;
}

TEST_F(ImageDocument, LoadsEndWithTheCodesOfTheirSteps) {
    const auto expectStep = [&](const std::string& step, int32_t result) {
        EXPECT_EQ(result, codeOfStep("A load goes through these steps, and ends with the first that fails:", step))
            << step;
    };
    const auto expectLoad = [&](const std::string& step, const std::string& file) {
        write("image", file);
        expectStep(step, load("image").result);
    };
    ClrIccProfile record = {};
    record.structSize = 55;
    expectStep("a null name or record", Zv_LoadICCProfileA(path("none").c_str(), nullptr, nullptr));
    expectStep("a null name or record", Zv_LoadICCProfile(nullptr, &record, nullptr));
    expectStep("`structSize` is not 56", Zv_LoadICCProfileA(path("none").c_str(), &record, nullptr));
    expectStep("the file is not there, no plain file, or not allowed", load("none").result);
    expectStep("the file is not there, no plain file, or not allowed", load("").result);
    expectLoad("a format that is not loaded, GIF among them", SampleGif(""));
    expectLoad("JPEG or TIFF: damaged before the profile is found", SampleJpeg("").substr(0, 30));
    expectLoad("JPEG or TIFF: damaged before the profile is found", SampleTiff(false, false, {}).substr(0, 50));
    expectLoad("TIFF: the tag is there, but of numbers", SampleTiff(true, false, {{34675, 4, 1, 1}}));
    expectLoad("EPS: nothing stands behind the begin line", "%!PS-Adobe\r%%BeginICCProfile:");
    expectLoad("EPS: no end line, or a character that does not belong there", "%!PS\r%%BeginICCProfile:\r% 00\r");
    expectLoad("EPS: no end line, or a character that does not belong there", SampleEps(3, "\n"));
    expectLoad("picture: no end, or data that end early", SamplePicture(PictureChunk(0, kProfile)));
    expectLoad("picture: no end, or data that end early", SamplePicture(PictureChunk(0, kProfile).substr(0, 11)));
    for (const std::string& file : {SampleJpeg(""), SampleTiff(true, true, {}), SampleEps(1, "\r"), "%!PS\r"s,
                                    SamplePicture(PictureChunk(2, ""))})
        expectLoad("there is no profile", file);
}

TEST_F(ImageDocument, SavesEndWithTheCodesOfTheirSteps) {
    const auto expectStep = [&](const std::string& step, int32_t result) {
        EXPECT_EQ(result, codeOfStep("A save:", step)) << step;
    };
    const std::string jpeg = SampleJpeg("");
    write("a.jpg", jpeg);
    const std::string name = path("a.jpg");
    ClrIccProfile record = {};
    record.structSize = 55;
    expectStep("a null name or record", Zv_SaveICCProfileA(name.c_str(), nullptr, nullptr));
    expectStep("a null name or record", Zv_SaveICCProfile(nullptr, &record, nullptr));
    expectStep("`structSize` is not 56", Zv_SaveICCProfileA(name.c_str(), &record, nullptr));
    record.structSize = sizeof record;
    record.profileSize = 3;
    expectStep("`profileData` is null and `profileSize` is not 0", Zv_SaveICCProfileA(name.c_str(), &record, nullptr));
    record.profileData = reinterpret_cast<uint8_t*>(16);
    expectStep("`profileData` cannot be read", Zv_SaveICCProfileA(name.c_str(), &record, nullptr));
    expectStep("the file is not there, no plain file, or not allowed", save("none", kProfile));
    write("a.eps", SampleEps(3, "\r"));
    expectStep("a format that is not saved", save("a.eps", kProfile));
    expectStep("JPEG: a size that is refused; TIFF: no bytes", save("a.jpg", std::string(65520, 'p')));
    write("a.tif", SampleTiff(false, false, {}));
    expectStep("JPEG: a size that is refused; TIFF: no bytes", save("a.tif", ""));
    write("b.jpg", jpeg.substr(0, 30));
    expectStep("JPEG or TIFF: the file is damaged", save("b.jpg", kProfile));

    const std::u16string wide(name.begin(), name.end());
    std::string bytes = kProfile;
    record.profileData = reinterpret_cast<uint8_t*>(bytes.data());
    SAVEFILEOPTION options = {};
    expectStep("`size` of the options is another", Zv_SaveICCProfile(wide.c_str(), &record, &options));
    options.size = sizeof options;
    std::fill(std::begin(options.backupName), std::end(options.backupName), u'b');
    expectStep("`backupName` does not end", Zv_SaveICCProfile(wide.c_str(), &record, &options));
    expectStep("the options cannot be read",
               Zv_SaveICCProfile(wide.c_str(), &record, reinterpret_cast<const SAVEFILEOPTION*>(16)));
    SAVEFILEOPTIONA itself = {};
    itself.size = sizeof itself;
    std::strcpy(itself.backupName, name.c_str());
    expectStep("the new file cannot be written, or not take the place of the old one",
               save("a.jpg", kProfile, &itself));
    EXPECT_EQ(bytesOf("a.jpg"), jpeg);

    itself.size = 0;
    EXPECT_EQ(save("a.jpg", kProfile, &itself), ERR_FAILURE);
    EXPECT_EQ(Zv_SaveICCProfileA("\xFF", &record, nullptr), ERR_FAILURE);
    EXPECT_EQ(Zv_LoadICCProfileA("\xFF", &record, nullptr), ERR_FAILURE);
    EXPECT_EQ(Zv_LoadICCProfileA(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Zv_SaveICCProfileA(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
}

TEST_F(ImageDocument, ResultCodesAreThoseOfTheHeader) {
    std::set<std::string> names;
    const std::string text = document();
    const std::regex code("`((ERR|CLR)_[A-Z_]+)`");
    for (auto i = std::sregex_iterator(text.begin(), text.end(), code); i != std::sregex_iterator(); ++i)
        names.insert((*i)[1]);
    EXPECT_GT(names.size(), 14U);
    for (const std::string& name : names) codeNamed(name);
}

TEST_F(ImageDocument, EarlierProfilesBecomeWhatTheTableSays) {
    const std::vector<Cells> rows = zvtest::tableIn(document(), "| result | the two fields afterwards |");
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0][1], "as they were");
    EXPECT_EQ(rows[1][1], "the profile from the file");
    EXPECT_EQ(rows[2][1], "as they were; with a TIFF file null and 0");
    EXPECT_EQ(rows[3][1], "null and 0, or what was loaded until then");

    uint8_t earlier[5] = {};
    const auto loadOver = [&](const std::string& file, size_t size, const ClrIccProfile& expected, int32_t result) {
        write("image", file);
        ClrIccProfile record = {};
        record.structSize = sizeof record;
        record.profileData = earlier;
        record.profileSize = size;
        EXPECT_EQ(Zv_LoadICCProfileA(path("image").c_str(), &record, nullptr), result);
        EXPECT_EQ(+record.profileSize, +expected.profileSize) << result;
        EXPECT_TRUE(record.profileData == expected.profileData) << result;
    };
    ClrIccProfile same = {}, none = {};
    same.profileData = earlier;
    same.profileSize = sizeof earlier;
    loadOver(SampleJpeg(""), sizeof earlier, same, ERR_NO_PROFILE);
    loadOver(SampleEps(80, "\r"), sizeof earlier, same, ERR_NO_PROFILE);
    loadOver("%!PS\r", sizeof earlier, same, ERR_NO_PROFILE);
    loadOver(SamplePicture(PictureChunk(2, "")), sizeof earlier, same, ERR_NO_PROFILE);
    loadOver(SampleTiff(false, false, {}), sizeof earlier, none, ERR_NO_PROFILE);
    loadOver(SampleJpeg(""), 0, none, ERR_NO_PROFILE);
    loadOver(SampleGif(""), sizeof earlier, none, ERR_FORMAT_NO_ICC);
    loadOver(SampleJpeg("").substr(0, 30), sizeof earlier, none, ERR_FILE_READ);
    loadOver(SampleEps(80, "\n"), sizeof earlier, none, ERR_PROFILE_TRUNCATED);

    zvtest::TestProfile profile;
    write("image", SampleEps(161, "\r").substr(0, 400));
    EXPECT_EQ(Zv_LoadICCProfileA(path("image").c_str(), profile.get(), nullptr), ERR_PROFILE_TRUNCATED);
    EXPECT_EQ(+profile->profileSize, 80U);
}

TEST_F(ImageDocument, BackupsAndLinksAreKept) {
    const std::string old = SampleJpeg("");
    write("a.jpg", old);
    write("backup.jpg", "another file");
    fs::create_symlink("a.jpg", path("link.jpg"));
    fs::create_hard_link(path("a.jpg"), path("other.jpg"));
    fs::permissions(path("a.jpg"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
    SAVEFILEOPTIONA options = {};
    options.size = sizeof options;
    std::strcpy(options.backupName, path("backup.jpg").c_str());
    ASSERT_EQ(save("link.jpg", kProfile, &options), CLR_SUCCESS);
    EXPECT_EQ(load("a.jpg").bytes, kProfile);
    EXPECT_EQ(fs::read_symlink(path("link.jpg")), "a.jpg");
    EXPECT_EQ(bytesOf("other.jpg"), old);
    EXPECT_EQ(bytesOf("backup.jpg"), old);
    EXPECT_EQ(fs::status(path("a.jpg")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
    // a.jpg, backup.jpg, link.jpg, other.jpg.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 4);
}

TEST_F(ImageDocument, FormatNumbersAreThoseOfTheSource) {
    const std::string source = projectFile("Common/embedded_profile.cpp");
    std::map<std::string, std::string> ways;
    const std::regex row("\\{([0-9]+), ([0-9]+), IccRoute::k(\\w+)\\}");
    for (auto i = std::sregex_iterator(source.begin(), source.end(), row); i != std::sregex_iterator(); ++i) {
        std::string& numbers = ways[(*i)[3]];
        numbers += (numbers.empty() ? "" : ", ") + (*i)[1].str();
        if ((*i)[1] != (*i)[2]) numbers += " to " + (*i)[2].str();
    }
    ASSERT_EQ(ways.size(), 5U);
    const std::map<std::string, std::string> names = {
        {"markers", "Markers"}, {"tag", "Tag"}, {"EPS", "Eps"}, {"chunks", "Chunks"}, {"GIF", "Gif"}};
    const std::vector<Cells> rows = zvtest::tableIn(document(), "| way | numbers | load | save |");
    ASSERT_EQ(rows.size(), ways.size());
    for (const Cells& cells : rows) EXPECT_EQ(cells[1], ways.at(names.at(cells[0]))) << cells[0];
}

TEST_F(ImageDocument, CodeIsThatOfTheExample) {
    const std::string program = projectFile("examples/embed_profile.c");
    const std::vector<std::string> pieces = zvtest::codeOf(document());
    EXPECT_EQ(pieces.size(), 6U);
    for (const std::string& piece : pieces) EXPECT_NE(program.find(piece), std::string::npos) << piece;
}

}  // namespace
