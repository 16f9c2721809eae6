// Files of several pictures: the index in the first one's head leads to the others after a save too.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

/// The index of a file with two pictures more, as told by their places behind the byte order.
Bytes Index(const TiffForm& form, size_t firstSize, size_t second, size_t third, size_t otherSize) {
    Bytes index(2, form.bigEndian ? 'M' : 'I');
    const auto append = [&](uint64_t value, uint32_t size) { form.Append(&index, value, size); };
    append(42, 2);
    append(8, 4);
    append(1, 2);
    append(0xB002, 2);
    append(7, 2);
    append(3 * 16, 4);
    append(8 + 2 + 12 + 4, 4);
    append(0, 4);
    for (const auto& [size, offset] : {std::pair{firstSize, size_t{0}}, {otherSize, second}, {otherSize, third}}) {
        append(0x030000, 4);
        append(size, 4);
        append(offset, 4);
        append(0, 4);
    }
    return Text("MPF") + Bytes{0} + index;
}

/// The place of a text in a file.
size_t PlaceOf(const Bytes& file, const Bytes& text) {
    const auto at = std::search(file.begin(), file.end(), text.begin(), text.end());
    EXPECT_NE(at, file.end());
    return static_cast<size_t>(at - file.begin());
}

struct Pictures {
    const char* name;
    Bytes before;  ///< segments around the index
    Bytes behind;
};

class MultiPicture : public testing::TestWithParam<Pictures> {};

INSTANTIATE_TEST_SUITE_P(
    Heads, MultiPicture,
    testing::Values(Pictures{"Plain", {}, {}}, Pictures{"ProfileBefore", JpegPart(1, 1, MadeUpProfile(500)), {}},
                    Pictures{"ProfileBehind", {}, JpegPart(1, 1, MadeUpProfile(500))},
                    Pictures{"PartsAround", JpegPart(1, 2, MadeUpProfile(700)), JpegPart(2, 2, MadeUpProfile(90))},
                    Pictures{"ExifBefore", JpegSegment(0xE1, Text("Exif") + Bytes(30)), {}}),
    [](const testing::TestParamInfo<Pictures>& pictures) { return pictures.param.name; });

TEST_P(MultiPicture, StayWhereTheIndexSays) {
    const Folder folder;
    const fs::path file = folder / "a.jpg";
    for (const TiffForm& form : {kTiffForms[0], kTiffForms[1]}) {
        const auto make = [&](size_t firstSize, size_t second, size_t third) {
            return JpegWith(GetParam().before +
                            JpegSegment(0xE2, Index(form, firstSize, second, third, SmallJpeg().size())) +
                            GetParam().behind);
        };
        const Bytes model = make(0, 0, 0);
        const size_t base = PlaceOf(model, Text("MPF")) + 4;
        const size_t second = model.size() - base;
        const Bytes whole = make(model.size(), second, second + SmallJpeg().size()) + SmallJpeg() + SmallJpeg();
        ASSERT_EQ(whole.size(), model.size() + 2 * SmallJpeg().size());
        WriteFile(file, whole);
        for (const size_t size : Sizes{100, 200000, 3, 65533}) {
            ASSERT_EQ(Save(file, MadeUpProfile(size)), 1);
            EXPECT_TRUE(Load(file).profile == MadeUpProfile(size));
            const Bytes saved = ReadFile(file);
            const size_t index = PlaceOf(saved, Text("MPF")) + 4;
            const size_t entries = index + 8 + 2 + 12 + 4;
            ASSERT_LE(entries + 3 * 16, saved.size());
            const size_t firstSize = saved.size() - 2 * SmallJpeg().size();
            EXPECT_EQ(form.Get(saved, entries + 4, 4), firstSize);
            EXPECT_EQ(form.Get(saved, entries + 8, 4), 0U);
            for (size_t i = 1; i <= 2; ++i) {
                EXPECT_EQ(form.Get(saved, entries + 16 * i + 4, 4), SmallJpeg().size());
                EXPECT_EQ(index + form.Get(saved, entries + 16 * i + 8, 4), firstSize + (i - 1) * SmallJpeg().size());
            }
        }
    }
}

}  // namespace
