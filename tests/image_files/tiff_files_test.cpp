// Profiles in TIFF files of many shapes.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "image_file_support.h"
#include "outside_readers.h"
#include "small_images.h"
#include "tiff_variants.h"

namespace {

using namespace zvtest;

using VariantAndForm = std::tuple<TiffVariant, size_t>;

class TiffFiles : public testing::TestWithParam<VariantAndForm> {
protected:
    void SetUp() override { MakeTiff(file_, std::get<0>(GetParam()), kTiffModes[std::get<1>(GetParam())]); }

    const TiffForm form_ = kTiffForms[std::get<1>(GetParam())];
    const Folder folder_;
    const fs::path file_ = folder_ / "a.tif";
};

INSTANTIATE_TEST_SUITE_P(Variants, TiffFiles,
                         testing::Combine(testing::ValuesIn(TiffVariants()), testing::Range(size_t{0}, size_t{4})),
                         [](const testing::TestParamInfo<VariantAndForm>& both) {
                             return std::get<0>(both.param).name + NameOf(kTiffForms[std::get<1>(both.param)]);
                         });

TEST_P(TiffFiles, TakeProfilesOneAfterAnother) {
    const Bytes made = ReadFile(file_);
    const std::vector<TiffPicture> pictures = PicturesIn(file_);
    const TiffVariant& variant = std::get<0>(GetParam());
    ASSERT_EQ(pictures.size(), static_cast<size_t>(variant.pages + variant.thumbnails));
    const TiffDirectory first = FirstDirectory(form_, made);
    EXPECT_EQ(Load(file_).result, ERR_NO_PROFILE);
    EXPECT_EQ(ReadFile(file_), made);

    const std::vector<Bytes> profiles = {MadeUpProfile(200000), MadeUpProfile(5), LargeRealProfile(), MadeUpProfile(1),
                                         SmallRealProfile()};
    for (const Bytes& profile : profiles) {
        ASSERT_EQ(Save(file_, profile), 1);
        EXPECT_TRUE(PicturesIn(file_) == pictures);
        EXPECT_TRUE(ProfileInTiff(file_) == profile);
        const Loaded loaded = Load(file_);
        EXPECT_EQ(loaded.result, 1);
        EXPECT_TRUE(loaded.profile == profile);
    }

    // The first directory has one entry more, all else has stayed where it was.
    const Bytes saved = ReadFile(file_);
    const auto header = static_cast<std::ptrdiff_t>(form_.HeaderSize());
    ASSERT_GT(saved.size(), made.size());
    EXPECT_TRUE(std::equal(made.begin() + header, made.end(), saved.begin() + header));
    TiffDirectory directory = FirstDirectory(form_, saved);
    EXPECT_EQ(directory.next, first.next);
    const auto isProfile = [](const TiffEntry& entry) { return entry.tag == 34675; };
    ASSERT_EQ(std::count_if(directory.entries.begin(), directory.entries.end(), isProfile), 1);
    EXPECT_TRUE(std::is_sorted(directory.entries.begin(), directory.entries.end(),
                               [](const TiffEntry& one, const TiffEntry& other) { return one.tag < other.tag; }));
    std::erase_if(directory.entries, isProfile);
    EXPECT_EQ(directory.entries, first.entries);
}

TEST(TiffByOthers, IsReadOn) {
    const Folder folder;
    std::vector<fs::path> files;
    for (size_t form = 0; form < std::size(kTiffForms); ++form) {
        for (const TiffVariant& variant : TiffVariants()) {
            files.push_back(folder / (variant.name + NameOf(kTiffForms[form]) + ".tif"));
            MakeTiff(files.back(), variant, kTiffModes[form]);
        }
    }
    // tiffinfo tells offsets of directories, one of which is new, and the profile.
    const std::string facts =
        "for file in *.tif; do tiffinfo $file || exit; done | grep -v -e 'TIFF Directory' -e 'ICC Profile'";
    const std::string before = Shell(folder.Root(), facts);
    const std::string complaintsBefore = ComplaintsOfExiftool(folder.Root(), files);
    Shell(folder.Root(), "mkdir before && cp *.tif before");
    std::vector<Bytes> profiles;
    for (size_t i = 0; i < files.size(); ++i) {
        profiles.push_back(i % 3 == 0 ? LargeRealProfile() : SmallRealProfile());
        ASSERT_EQ(Save(files[i], MadeUpProfile(1001)), 1);
        ASSERT_EQ(Save(files[i], profiles[i]), 1);
    }
    EXPECT_EQ(Shell(folder.Root(), facts), before);
    // tiffcmp reads rows, which tiles have not, nor pictures with fewer of the chroma.
    EXPECT_EQ(Shell(folder.Root(),
                    "for file in $(ls *.tif | grep -v -e Tiles -e Jpeg); do\n"
                    "tiffcmp before/$file $file 2>&1 || echo $file\ndone | sed '/^Directory [0-9]*:$/d'"),
              "");
    EXPECT_EQ(ComplaintsOfExiftool(folder.Root(), files), complaintsBefore);
    EXPECT_TRUE(ProfilesByExiftool(folder.Root(), files) == profiles);
}

}  // namespace
