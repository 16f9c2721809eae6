// Readers against files that were cut or changed.
#include <gtest/gtest.h>

#include <regex>

#include "image/image.h"
#include "tool_support.h"
#include "zvclr.h"

namespace {

using namespace zvimage;
using zvtest::Bytes;
using zvtest::Folder;

// The pixels of a file, or nothing when the reader refuses it.
std::optional<Bytes> tryRead(const std::string& path, const ReadOptions& options = {}) {
    try {
        const auto reader = openImage(path, options);
        const ImageInfo& info = reader->info();
        const int64_t bytes = layoutOf(info.space).bytes(info.width, info.height);
        if (bytes > 1 << 24) {
            // A flipped bit of a size: the first rows must do.
            Bytes rows(static_cast<size_t>(layoutOf(info.space).bytes(info.width, 4)));
            reader->readRows(rows.data(), std::min(4, info.height));
            return rows;
        }
        Bytes pixels(static_cast<size_t>(bytes));
        reader->readRows(pixels.data(), info.height);
        reader->finish();
        return pixels;
    } catch (const ImageError&) {
        return std::nullopt;
    } catch (const ContradictionError&) {
        return std::nullopt;
    }
}

struct Sample {
    std::string name;
    Bytes file;
};

// Small files of every format and compression.
std::vector<Sample> samples() {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(19, 13, zvtest::pattern(19, 13)));
    zvtest::shell("cd " + folder.root() + R"(
        pnmtopng a.ppm > rgb.png 2>/dev/null
        pnmtopng -interlace a.ppm > interlaced.png 2>/dev/null
        cjpeg a.ppm > rgb.jpg
        cjpeg -progressive a.ppm > progressive.jpg
        ppmtopgm a.ppm | cjpeg -restart 1 > grey.jpg
        pnmtoplainpnm a.ppm > plain.ppm
        $ZVCLR convert a.ppm none.tif --to rgb --compression none
        $ZVCLR convert a.ppm lzw.tif --to cmyk --method builtin
        $ZVCLR convert a.ppm deflate.tif --to lab --method builtin --compression deflate
        $ZVCLR convert a.ppm cmyk.jpg --to cmyk --method builtin
        $ZVCLR convert a.ppm ycck.jpg --to ycck
        tiffcp -t -w 16 -l 16 -c lzw none.tif tiles.tif
        tiffcp -p separate -c packbits none.tif planes.tif
        tiffcp -c jpeg none.tif jpeg.tif
        tiffcp -B -c zip none.tif big-endian.tif
    )");
    std::vector<Sample> found;
    for (const std::string& name : folder.names()) {
        found.push_back({name, zvtest::readFile(folder.path(name))});
    }
    return found;
}

TEST(ImageDamage, CutFilesAreRefusedAtEveryByte) {
    const Folder folder;
    const std::vector<Sample> found = samples();
    ASSERT_EQ(found.size(), 16U);
    for (const Sample& sample : found) {
        const std::string path = folder.path(sample.name);
        zvtest::writeFile(path, sample.file);
        const std::optional<Bytes> whole = tryRead(path);
        ASSERT_TRUE(whole) << sample.name;
        const bool plain = sample.name == "plain.ppm";
        for (size_t length = 0; length < sample.file.size(); ++length) {
            zvtest::writeFile(path,
                              Bytes(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(length)));
            const std::optional<Bytes> cut = tryRead(path);
            if (!cut) {
                continue;
            }
            // A cut may take what no pixel needs: white space, or what lies behind the last strip. A
            // text that ends inside its last number cannot be told from a whole one.
            const std::string tail(sample.file.begin() + static_cast<std::ptrdiff_t>(length), sample.file.end());
            const bool lastNumber = plain && std::regex_match(tail, std::regex("[0-9]*\\s*"));
            EXPECT_TRUE(lastNumber || *cut == *whole) << sample.name << " cut to " << length;
            const bool tiff = sample.name.ends_with(".tif");
            EXPECT_TRUE(lastNumber || tiff) << sample.name << " cut to " << length;
        }
    }
}

TEST(ImageDamage, ChangedBytesDoNoHarm) {
    const Folder folder;
    size_t refused = 0;
    for (const Sample& sample : samples()) {
        const std::string path = folder.path(sample.name);
        for (size_t i = 0; i < sample.file.size(); ++i) {
            for (const int mask : {0x01, 0x80, 0xff}) {
                Bytes file = sample.file;
                file[i] = static_cast<uint8_t>(file[i] ^ mask);
                zvtest::writeFile(path, file);
                refused += tryRead(path) ? 0U : 1U;
            }
        }
    }
    EXPECT_GT(refused, 1000U);
}

// The decoder fills such holes with grey and warns.
TEST(ImageDamage, HolesInTheScansOfJpegFilesAreRefused) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(200, 150, zvtest::pattern(200, 150)));
    zvtest::shell("cd " + folder.root() + R"(
        cjpeg a.ppm > base.jpg
        cjpeg -progressive a.ppm > progressive.jpg
        cjpeg -restart 1 a.ppm > restart.jpg)");
    for (const char* name : {"base.jpg", "progressive.jpg", "restart.jpg"}) {
        Bytes file = zvtest::readFile(folder.path(name));
        ASSERT_TRUE(tryRead(folder.path(name))) << name;
        const auto hole = file.end() - static_cast<std::ptrdiff_t>(file.size() / 4);
        file.erase(hole, hole + 60);
        zvtest::writeFile(folder.path(name), file);
        EXPECT_FALSE(tryRead(folder.path(name))) << name;
    }
}

TEST(ImageDamage, HugeSizesWithoutPixelsAreRefused) {
    const Folder folder;
    for (const char* head : {"P6 1000000 1000000 255\n", "P6 1000001 1 255\n", "P6 0 1 255\n", "P6 1 1 65536\n",
                             "P6 1 1 0\n", "P6 99999999999 1 255\n", "P6 -1 1 255\n", "P6 1 x 255\n", "P6", "P6 1",
                             "P1 1 1 1\n", "P4 1 1 1\n", "P2 1 1 7 8\n", "P3 1 1 7 1 1\n"}) {
        zvtest::writeFile(folder.path("a.ppm"), std::string(head));
        EXPECT_FALSE(tryRead(folder.path("a.ppm"))) << head;
    }
}

TEST(ImageDamage, RawFilesOfAnotherLengthAreContradictions) {
    const Folder folder;
    ReadOptions options;
    options.space = CLRSPACE_RGB;
    options.width = 4;
    options.height = 4;
    for (const size_t bytes : {0U, 1U, 47U, 49U, 96U}) {
        zvtest::writeFile(folder.path("a.raw"), Bytes(bytes));
        EXPECT_THROW(openImage(folder.path("a.raw"), options), ContradictionError) << bytes;
    }
}

TEST(ImageDamage, FilesOfNoKnownKindAreRefused) {
    const Folder folder;
    for (const char* text : {"", "x", "GIF89a", "P", "P6", "P9 1 1 1", "\x89PN", "II*", "\xff\xd8"}) {
        zvtest::writeFile(folder.path("a.dat"), std::string(text));
        EXPECT_THROW(openImage(folder.path("a.dat"), {}), ImageError) << text;
    }
    EXPECT_THROW(openImage(folder.path("missing.png"), {}), ImageError);
    EXPECT_THROW(openImage(folder.root(), {}), ImageError);
}

}  // namespace
