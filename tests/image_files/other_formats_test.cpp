// Files of formats that hold no profile here, and files of none.
#include <gtest/gtest.h>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

struct Head {
    const char* name;
    Bytes bytes;
};

Bytes Riff(const std::string& kind) {
    return Text("RIFF") + Bytes{0x24, 0, 0, 0} + Text("WEBP") + Text(kind) + Bytes(24);
}

const std::vector<Head>& Heads() {
    static const std::vector<Head> heads = {
        {"png", Bytes{0x89} + Text("PNG\r\n\x1A\n") + Bytes{0, 0, 0, 13} + Text("IHDR") + Bytes(17)},
        {"bmp", Text("BM") + Bytes{70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0} + Bytes(52)},
        {"webp_lossy", Riff("VP8 ")},
        {"webp_lossless", Riff("VP8L")},
        {"webp_extended", Riff("VP8X")},
        {"psd", Text("8BPS") + Bytes{0, 1} + Bytes(20)},
        {"pdf", Text("%PDF-1.7\n%%BeginICCProfile: no\r\n% 00112233\r\n%%EndICCProfile\r\n")},
        {"jp2", Bytes{0, 0, 0, 12} + Text("jP  \r\n\x87\n") + Bytes(20)},
        {"heic", Bytes{0, 0, 0, 24} + Text("ftypheic") + Bytes(20)},
        {"ppm", Text("P6 1 1 255\n") + Bytes{1, 2, 3}},
        {"ico", Bytes{0, 0, 1, 0, 1, 0} + Bytes(30)},
        {"icc", SmallRealProfile()},
        {"text", Text("JPEG, TIFF, GIF87a, %!PS: none of them begins here\n")},
        {"zeros", Bytes(2000)},
        {"empty", {}},
        {"one_byte", {0xFF}},
        {"two_bytes", {0xFF, 0xD8}},
        {"gif_of_no_version", SmallGif("GIF88a")},
        {"tiff_of_no_version", Text("II") + Bytes{41, 0, 8, 0, 0, 0, 0, 0}},
        {"bigtiff_of_other_offsets", Text("II") + Bytes{43, 0, 16, 0, 0, 0} + Bytes(32)},
    };
    return heads;
}

class OtherFormats : public testing::TestWithParam<Head> {};

INSTANTIATE_TEST_SUITE_P(Heads, OtherFormats, testing::ValuesIn(Heads()),
                         [](const testing::TestParamInfo<Head>& head) { return head.param.name; });

TEST_P(OtherFormats, HoldNoProfile) {
    const Folder folder;
    // The name says nothing.
    for (const char* name : {"a.jpg", "a.tif", "a"}) {
        WriteFile(folder / name, GetParam().bytes);
        const FolderState before = StateOf(folder.Root());
        const Loaded loaded = Load(folder / name);
        EXPECT_EQ(loaded.result, ERR_FORMAT_NO_ICC);
        EXPECT_TRUE(loaded.profile.empty());
        EXPECT_EQ(Save(folder / name, MadeUpProfile(100)), ERR_FORMAT_NO_ICC);
        EXPECT_TRUE(StateOf(folder.Root()) == before);
    }
}

TEST(OtherNames, DoNotMatter) {
    const Folder folder;
    const std::vector<std::pair<const char*, Bytes>> files = {
        {"jpeg.tif", SmallJpeg()}, {"tiff.gif", SmallTiff(kTiffForms[1])}, {"jpeg", SmallJpeg()}};
    for (const auto& [name, image] : files) {
        WriteFile(folder / name, image);
        EXPECT_EQ(Save(folder / name, MadeUpProfile(100)), 1);
        EXPECT_EQ(Load(folder / name).profile, MadeUpProfile(100));
    }
}

}  // namespace
