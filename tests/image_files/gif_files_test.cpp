// Profiles behind the images of GIF files of many shapes, made with giflib.
#include <gif_lib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>

#include "image_file_support.h"
#include "outside_readers.h"
#include "small_images.h"

namespace {

using namespace zvtest;

constexpr int kWidth = 40;
constexpr int kHeight = 30;

struct GifVariant {
    std::string name;
    bool version89 = true;
    bool interlaced = false;
    int frames = 1;
    bool comments = false;
    bool localColours = false;
};

const GifVariant kVariants[] = {
    {.name = "Of87", .version89 = false},
    {.name = "Of87Interlaced", .version89 = false, .interlaced = true},
    {.name = "Of89"},
    {.name = "Interlaced", .interlaced = true},
    {.name = "Animated", .frames = 5},
    {.name = "AnimatedWithComments", .interlaced = true, .frames = 3, .comments = true},
    {.name = "Comments", .comments = true},
    {.name = "LocalColours", .frames = 2, .localColours = true},
};

void Check(int result, const char* what) {
    if (result != GIF_OK) throw std::runtime_error(std::string("giflib: ") + what);
}

struct FreeMap {
    void operator()(ColorMapObject* map) const { GifFreeMapObject(map); }
};
using ColourMap = std::unique_ptr<ColorMapObject, FreeMap>;

ColourMap MakeMap(int step) {
    ColourMap map(GifMakeMapObject(16, nullptr));
    for (int i = 0; i < 16; ++i) {
        map->Colors[i] = {static_cast<uint8_t>(i * step), static_cast<uint8_t>(255 - i * step),
                          static_cast<uint8_t>(i)};
    }
    return map;
}

void PutExtension(GifFileType* gif, int code, const Bytes& data) {
    Check(EGifPutExtension(gif, code, static_cast<int>(data.size()), data.data()), "extension");
}

void MakeGif(const fs::path& file, const GifVariant& variant) {
    int error = 0;
    GifFileType* gif = EGifOpenFileName(file.c_str(), false, &error);
    if (gif == nullptr) throw std::runtime_error("giflib cannot make a file");
    EGifSetGifVersion(gif, variant.version89);
    const ColourMap colours = MakeMap(9);
    const ColourMap others = MakeMap(15);
    Check(EGifPutScreenDesc(gif, kWidth, kHeight, 4, 0, colours.get()), "screen");
    if (variant.frames > 1) {
        const Bytes name = Text("NETSCAPE2.0");
        const Bytes loop = {1, 0, 0};
        Check(EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE), "leader");
        Check(EGifPutExtensionBlock(gif, static_cast<int>(name.size()), name.data()), "name");
        Check(EGifPutExtensionBlock(gif, static_cast<int>(loop.size()), loop.data()), "loop");
        Check(EGifPutExtensionTrailer(gif), "trailer");
    }
    if (variant.comments) PutExtension(gif, COMMENT_EXT_FUNC_CODE, Text("a comment; with the trailer's character"));
    for (int frame = 0; frame < variant.frames; ++frame) {
        if (variant.version89) PutExtension(gif, GRAPHICS_EXT_FUNC_CODE, {0x05, 10, 0, static_cast<uint8_t>(frame)});
        Check(EGifPutImageDesc(gif, 0, 0, kWidth, kHeight, variant.interlaced,
                               variant.localColours ? others.get() : nullptr),
              "image");
        for (int y = 0; y < kHeight; ++y) {
            Bytes row;
            for (int x = 0; x < kWidth; ++x) row.push_back(static_cast<uint8_t>((x * x / 9 + y + frame) % 16));
            Check(EGifPutLine(gif, row.data(), kWidth), "row");
        }
    }
    if (variant.comments) PutExtension(gif, COMMENT_EXT_FUNC_CODE, Text("behind the image"));
    Check(EGifCloseFile(gif, &error), "close");
}

struct GifExtensionBlock {
    int code;
    Bytes data;
    bool operator==(const GifExtensionBlock&) const = default;
};
struct GifContents {
    std::vector<Bytes> frames;  ///< place, size, indices
    std::vector<Bytes> colours;
    std::vector<std::vector<GifExtensionBlock>> before;  ///< each frame
    std::vector<GifExtensionBlock> behind;               ///< the last frame
};

std::vector<GifExtensionBlock> BlocksOf(const ExtensionBlock* blocks, int count) {
    std::vector<GifExtensionBlock> made;
    for (int i = 0; i < count; ++i) {
        made.push_back({blocks[i].Function, Bytes(blocks[i].Bytes, blocks[i].Bytes + blocks[i].ByteCount)});
    }
    return made;
}

Bytes ColoursOf(const ColorMapObject* map) {
    Bytes colours;
    for (int i = 0; map != nullptr && i < map->ColorCount; ++i) {
        for (const GifByteType part : {map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue}) {
            colours.push_back(part);
        }
    }
    return colours;
}

GifContents ReadGif(const fs::path& file) {
    int error = 0;
    GifFileType* gif = DGifOpenFileName(file.c_str(), &error);
    if (gif == nullptr) throw std::runtime_error("giflib cannot open " + file.string());
    Check(DGifSlurp(gif), "reading");
    GifContents contents;
    contents.colours.push_back(ColoursOf(gif->SColorMap));
    for (int i = 0; i < gif->ImageCount; ++i) {
        const SavedImage& image = gif->SavedImages[i];
        const GifImageDesc& place = image.ImageDesc;
        contents.frames.push_back(Bytes{static_cast<uint8_t>(place.Left), static_cast<uint8_t>(place.Top),
                                        static_cast<uint8_t>(place.Width), static_cast<uint8_t>(place.Height),
                                        static_cast<uint8_t>(place.Interlace)} +
                                  Bytes(image.RasterBits, image.RasterBits + place.Width * place.Height));
        contents.colours.push_back(ColoursOf(place.ColorMap));
        contents.before.push_back(BlocksOf(image.ExtensionBlocks, image.ExtensionBlockCount));
    }
    contents.behind = BlocksOf(gif->ExtensionBlocks, gif->ExtensionBlockCount);
    Check(DGifCloseFile(gif, &error), "close");
    return contents;
}

/// The profiles behind the last frame, put together from their blocks.
std::vector<Bytes> ProfilesIn(const GifContents& contents) {
    std::vector<Bytes> profiles;
    bool inProfile = false;
    for (const GifExtensionBlock& block : contents.behind) {
        if (block.code != CONTINUE_EXT_FUNC_CODE) {
            inProfile = block.code == APPLICATION_EXT_FUNC_CODE && block.data == Text("ICCRGBG1") + Bytes{0, 1, 2};
            if (inProfile) profiles.emplace_back();
        } else if (inProfile) {
            profiles.back() = profiles.back() + block.data;
        }
    }
    return profiles;
}

class GifFiles : public testing::TestWithParam<GifVariant> {
protected:
    void SetUp() override { MakeGif(file_, GetParam()); }

    const Folder folder_;
    const fs::path file_ = folder_ / "a.gif";
};

INSTANTIATE_TEST_SUITE_P(Variants, GifFiles, testing::ValuesIn(kVariants),
                         [](const testing::TestParamInfo<GifVariant>& variant) { return variant.param.name; });

TEST_P(GifFiles, TakeOneProfileBehindAnother) {
    const Bytes made = ReadFile(file_);
    ASSERT_EQ(made.back(), 0x3B);
    ASSERT_EQ(made[4], GetParam().version89 ? '9' : '7');
    const GifContents before = ReadGif(file_);
    ASSERT_EQ(before.frames.size(), static_cast<size_t>(GetParam().frames));
    std::vector<Bytes> saved;
    Bytes expected = made;
    for (const Bytes& profile :
         {MadeUpProfile(256), MadeUpProfile(1), SmallRealProfile(), MadeUpProfile(510), MadeUpProfile(200000)}) {
        ASSERT_EQ(Save(file_, profile), 1);
        saved.push_back(profile);
        expected.pop_back();
        expected = expected + GifExtension(profile);
        EXPECT_TRUE(ReadFile(file_) == expected);
        const GifContents after = ReadGif(file_);
        EXPECT_EQ(after.frames, before.frames);
        EXPECT_EQ(after.colours, before.colours);
        EXPECT_EQ(after.before, before.before);
        EXPECT_TRUE(ProfilesIn(after) == saved);
        EXPECT_EQ(Load(file_).result, ERR_FORMAT_NO_ICC);
    }
}

TEST(GifByOthers, IsReadOn) {
    const Folder folder;
    for (const GifVariant& variant : kVariants) MakeGif(folder / (variant.name + ".gif"), variant);
    WriteFile(folder / "Small.gif", SmallGif());
    const std::string pictures = "for file in *.gif; do echo $file; giftopnm -image=all $file | md5sum || exit; done";
    const std::string facts =
        "identify -format '%f %m %w %h %T\\n' *.gif; exiftool -q -p '$filename $framecount' *.gif";
    const std::string comments = "exiftool -q -a -s3 -Comment Comments.gif";
    const std::string before = Shell(folder.Root(), pictures);
    const std::string factsBefore = Shell(folder.Root(), facts);
    const std::string commentsBefore = Shell(folder.Root(), comments);
    EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), 2 * 9);
    EXPECT_NE(commentsBefore.find("behind the image"), std::string::npos);
    for (const auto& entry : fs::directory_iterator(folder.Root())) {
        ASSERT_EQ(Save(entry.path(), SmallRealProfile()), 1);
        ASSERT_EQ(Save(entry.path(), MadeUpProfile(765)), 1);
    }
    EXPECT_EQ(Shell(folder.Root(), pictures), before);
    EXPECT_EQ(Shell(folder.Root(), facts), factsBefore);
    EXPECT_EQ(Shell(folder.Root(), comments), commentsBefore);
}

}  // namespace
