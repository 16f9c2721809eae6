// Profiles in JPEG files of many shapes.
#include <gtest/gtest.h>

#include <algorithm>

#include "image_file_support.h"
#include "jpeg_variants.h"
#include "outside_readers.h"
#include "small_images.h"

namespace {

using namespace zvtest;

class JpegFiles : public testing::TestWithParam<JpegVariant> {
protected:
    void SetUp() override { WriteFile(file_, jpeg_); }

    /// All segments but the profile's, in their order.
    static std::vector<Bytes> Others(const Bytes& jpeg) {
        std::vector<Bytes> others;
        for (int marker = 0xC0; marker < 0xFF; ++marker) {
            for (const Bytes& data : SegmentsOf(jpeg, static_cast<uint8_t>(marker))) {
                const Bytes head = Text("ICC_PROFILE");
                const bool isPart =
                    marker == 0xE2 && data.size() > 12 && std::equal(head.begin(), head.end(), data.begin());
                if (!isPart) others.push_back(Bytes{static_cast<uint8_t>(marker)} + data);
            }
        }
        return others;
    }

    void ExpectSaved(const Bytes& profile) {
        ASSERT_EQ(Save(file_, profile), 1);
        const Bytes saved = ReadFile(file_);
        EXPECT_TRUE(CodedData(saved) == CodedData(jpeg_));
        EXPECT_TRUE(DecodeJpeg(saved) == DecodeJpeg(jpeg_));
        EXPECT_EQ(Others(saved), Others(jpeg_));
        EXPECT_TRUE(ProfileInJpeg(saved) == profile);
        const Loaded loaded = Load(file_);
        EXPECT_EQ(loaded.result, 1);
        EXPECT_TRUE(loaded.profile == profile);
    }

    const Bytes jpeg_ = MakeJpeg(GetParam());
    const Folder folder_;
    const fs::path file_ = folder_ / "a.jpg";
};

INSTANTIATE_TEST_SUITE_P(Variants, JpegFiles, testing::ValuesIn(JpegVariants()),
                         [](const testing::TestParamInfo<JpegVariant>& variant) { return variant.param.name; });

TEST_P(JpegFiles, HaveNoProfileAtFirst) {
    ASSERT_GT(CodedData(jpeg_).size(), 100U);
    EXPECT_EQ(Load(file_).result, ERR_NO_PROFILE);
    EXPECT_EQ(ReadFile(file_), jpeg_);
}

TEST_P(JpegFiles, TakeProfilesOneAfterAnother) {
    for (const size_t size : Sizes{65533, 1, 255, 200000}) ExpectSaved(MadeUpProfile(size));
    ExpectSaved(LargeRealProfile());
    ExpectSaved(SmallRealProfile());
    // Nothing but the last one's part has been added.
    EXPECT_EQ(ReadFile(file_).size(), jpeg_.size() + 4 + 14 + SmallRealProfile().size());
}

TEST_P(JpegFiles, KeepWhatFollowsThePicture) {
    const Bytes tail = Text("appended by a phone") + SmallJpeg() + Bytes(5000, 0xFF);
    WriteFile(file_, jpeg_ + tail);
    ASSERT_EQ(Save(file_, MadeUpProfile(70000)), 1);
    const Bytes saved = ReadFile(file_);
    EXPECT_TRUE(CodedData(saved) == CodedData(jpeg_ + tail));
    EXPECT_TRUE(Load(file_).profile == MadeUpProfile(70000));
}

TEST_P(JpegFiles, LeadingSegmentsLeadOn) {
    ASSERT_EQ(Save(file_, MadeUpProfile(100)), 1);
    const Bytes saved = ReadFile(file_);
    // The same bytes up to the first part: it stands behind all that may lead.
    const Bytes part = JpegPart(1, 1, MadeUpProfile(100));
    const auto at = std::search(saved.begin(), saved.end(), part.begin(), part.end());
    ASSERT_NE(at, saved.end());
    EXPECT_TRUE(std::equal(saved.begin(), at, jpeg_.begin()));
    EXPECT_TRUE(std::equal(at + static_cast<std::ptrdiff_t>(part.size()), saved.end(),
                           jpeg_.begin() + (at - saved.begin()), jpeg_.end()));
    const uint8_t next = *(at + static_cast<std::ptrdiff_t>(part.size()) + 1);
    EXPECT_TRUE(next != 0xE0 && next != 0xE1) << int{next};
}

TEST(JpegParts, AreJoinedAsTheyStand) {
    const Folder folder;
    const Bytes first = MadeUpProfile(100, 1);
    const Bytes second = MadeUpProfile(50, 2);
    const fs::path file = folder / "a.jpg";
    WriteFile(file, JpegWith(JpegPart(2, 2, second) + JpegSegment(0xFE, {1}) + JpegPart(1, 2, first)));
    EXPECT_EQ(Load(file).profile, second + first);
    WriteFile(file, JpegWith(JpegPart(7, 3, first)));
    EXPECT_EQ(Load(file).profile, first);
    // Parts anywhere are replaced, and stand together then.
    WriteFile(file, JpegWith(JpegPart(2, 2, second) + JpegSegment(0xFE, {1}) + JpegPart(1, 2, first)));
    const Bytes profile = MadeUpProfile(70000);
    ASSERT_EQ(Save(file, profile), 1);
    const auto cut = profile.begin() + 65519;
    EXPECT_EQ(ReadFile(file), JpegWith(JpegPart(1, 2, Bytes(profile.begin(), cut)) +
                                       JpegPart(2, 2, Bytes(cut, profile.end())) + JpegSegment(0xFE, {1})));
    EXPECT_EQ(ProfileInJpeg(ReadFile(file)), profile);
}

TEST(JpegParts, OfOthersAreLeftAlone) {
    const Folder folder;
    const fs::path file = folder / "a.jpg";
    const Bytes others = JpegSegment(0xE2, Text("ICC_PROFILE")) +
                         JpegSegment(0xE2, Text("ICC_PROFILE2") + Bytes{0, 1, 1, 9}) +
                         JpegSegment(0xE1, Text("ICC_PROFILE") + Bytes{0, 1, 1, 9}) + JpegSegment(0xE2, {});
    WriteFile(file, JpegWith(others));
    EXPECT_EQ(Load(file).result, ERR_NO_PROFILE);
    ASSERT_EQ(Save(file, MadeUpProfile(10)), 1);
    EXPECT_EQ(ReadFile(file), JpegWith(JpegPart(1, 1, MadeUpProfile(10)) + others));
}

TEST(JpegByOthers, IsReadOn) {
    const Folder folder;
    std::vector<fs::path> files;
    for (const JpegVariant& variant : JpegVariants()) {
        files.push_back(folder / (variant.name + ".jpg"));
        WriteFile(files.back(), MakeJpeg(variant));
    }
    const std::string pictures = "for file in *.jpg; do echo $file; djpeg $file | md5sum || exit; done";
    const std::string facts = "identify -format '%f %m %w %h %[jpeg:sampling-factor]\\n' *.jpg";
    const std::string before = Shell(folder.Root(), pictures);
    const std::string factsBefore = Shell(folder.Root(), facts);
    const std::string complaintsBefore = ComplaintsOfExiftool(folder.Root(), files);
    EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), 2 * static_cast<std::ptrdiff_t>(files.size()));
    // Long ones in files with an even place, short ones in the others.
    std::vector<Bytes> profiles;
    for (size_t i = 0; i < files.size(); ++i) {
        profiles.push_back(i % 2 == 0 ? LargeRealProfile() : SmallRealProfile());
        ASSERT_EQ(Save(files[i], MadeUpProfile(131038)), 1);
        ASSERT_EQ(Save(files[i], profiles[i]), 1);
    }
    EXPECT_EQ(Shell(folder.Root(), pictures), before);
    EXPECT_EQ(Shell(folder.Root(), facts), factsBefore);
    EXPECT_EQ(ComplaintsOfExiftool(folder.Root(), files), complaintsBefore);
    EXPECT_TRUE(ProfilesByExiftool(folder.Root(), files) == profiles);
    EXPECT_TRUE(ProfilesByExiv2(folder.Root(), files) == profiles);
    // Comments and Exif are still seen.
    EXPECT_NE(Shell(folder.Root(), "exiftool -s -Orientation ExifAndXmp.jpg Exif.jpg").find("Horizontal"),
              std::string::npos);
}

}  // namespace
