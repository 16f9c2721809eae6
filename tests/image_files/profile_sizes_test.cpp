// Profiles of every size on its way into small files and out of them again.
#include <gtest/gtest.h>

#include <algorithm>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

constexpr size_t kSizes[] = {1, 4, 5, 8, 9, 254, 255, 256, 65519, 65533, 200000, 3000000};
// With its head the last part would be longer than a marker can be.
constexpr size_t kSizesThatNoJpegHolds[] = {65520, 65525, 65532, 65519 + 65520, 65519 + 65532};

class EachSize : public testing::TestWithParam<size_t> {
protected:
    const Bytes profile_ = MadeUpProfile(GetParam());
    const Folder folder_;
};

INSTANTIATE_TEST_SUITE_P(ProfileSizes, EachSize, testing::ValuesIn(kSizes), testing::PrintToStringParamName());

TEST_P(EachSize, GoesThroughAJpeg) {
    const fs::path file = folder_ / "a.jpg";
    WriteFile(file, SmallJpeg());
    ASSERT_EQ(Save(file, profile_), 1);
    const Loaded loaded = Load(file);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.profile, profile_);

    const Bytes saved = ReadFile(file);
    EXPECT_EQ(CodedData(saved), CodedData(SmallJpeg()));
    const std::vector<Bytes> parts = SegmentsOf(saved, 0xE2);
    ASSERT_EQ(parts.size(), (profile_.size() + 65518) / 65519);
    for (size_t i = 0; i < parts.size(); ++i) {
        EXPECT_EQ(Bytes(parts[i].begin(), parts[i].begin() + 14),
                  Text("ICC_PROFILE") + (Bytes{0, static_cast<uint8_t>(i + 1), static_cast<uint8_t>(parts.size())}));
    }
    // Nothing but the parts, behind the leading segment.
    Bytes without = SmallJpeg();
    Bytes segments;
    for (const Bytes& part : parts) segments = segments + JpegSegment(0xE2, part);
    EXPECT_EQ(saved, JpegWith(segments));
}

TEST_P(EachSize, GoesThroughATiffOfEachForm) {
    for (const TiffForm& form : kTiffForms) {
        SCOPED_TRACE(NameOf(form));
        const fs::path file = folder_ / (NameOf(form) + ".tif");
        const Bytes tiff = SmallTiff(form);
        WriteFile(file, tiff);
        ASSERT_EQ(Save(file, profile_), 1);
        const Loaded loaded = Load(file);
        EXPECT_EQ(loaded.result, 1);
        EXPECT_EQ(loaded.profile, profile_);

        const Bytes saved = ReadFile(file);
        ASSERT_GT(saved.size(), tiff.size());
        const auto behindHeader = static_cast<std::ptrdiff_t>(form.HeaderSize());
        EXPECT_TRUE(std::equal(tiff.begin() + behindHeader, tiff.end(), saved.begin() + behindHeader));
        const TiffDirectory before = FirstDirectory(form, tiff);
        TiffDirectory after = FirstDirectory(form, saved);
        EXPECT_EQ(after.next, before.next);
        ASSERT_EQ(after.entries.size(), before.entries.size() + 1);
        const TiffEntry added = after.entries.back();
        EXPECT_EQ(added.tag, 34675U);
        EXPECT_EQ(added.type, 7U);
        EXPECT_EQ(added.count, profile_.size());
        after.entries.pop_back();
        EXPECT_EQ(after.entries, before.entries);
        if (profile_.size() <= form.OffsetSize()) {
            EXPECT_TRUE(std::equal(profile_.begin(), profile_.end(), added.value.begin()));
            // No bytes but those of the directory.
            EXPECT_LE(saved.size(), tiff.size() + 8 + form.CountSize() +
                                        form.EntrySize() * (before.entries.size() + 1) + form.OffsetSize());
        } else {
            const uint64_t at = form.Get(added.value, 0, form.OffsetSize());
            EXPECT_EQ(at % 2, 0U);
            EXPECT_GE(at, tiff.size());
        }
    }
}

TEST_P(EachSize, StandsBehindTheImageOfAGif) {
    for (const char* version : {"GIF87a", "GIF89a"}) {
        const fs::path file = folder_ / (std::string(version) + ".gif");
        WriteFile(file, SmallGif(version));
        ASSERT_EQ(Save(file, profile_), 1);
        Bytes expected = SmallGif(version);
        expected.pop_back();
        expected = expected + GifExtension(profile_);
        EXPECT_EQ(ReadFile(file), expected);
        EXPECT_EQ(Load(file).result, ERR_FORMAT_NO_ICC);

        // Another goes behind the first, whose trailer it takes.
        const Bytes second = MadeUpProfile(300, 2);
        ASSERT_EQ(Save(file, second), 1);
        expected.pop_back();
        EXPECT_EQ(ReadFile(file), expected + GifExtension(second));
    }
}

TEST_P(EachSize, ComesOutOfAnEps) {
    for (const char* lineEnd : {"\r\n", "\r"}) {
        const fs::path file = folder_ / "a.eps";
        WriteFile(file, Eps(profile_, lineEnd));
        const Loaded loaded = Load(file);
        EXPECT_EQ(loaded.result, profile_.size() > 80 ? 1 : ERR_NO_PROFILE);
        EXPECT_EQ(loaded.profile, AllButTheStaged(profile_));
    }
}

TEST_P(EachSize, ComesOutOfAPicture) {
    const fs::path file = folder_ / "a.pct";
    // The second is longer than the scan's buffer, the last as long as a length can say.
    for (const size_t most : Sizes{24576, 32768, 65531}) {
        WriteFile(file, Picture(ChunksOf(profile_, most)));
        const Loaded loaded = Load(file);
        EXPECT_EQ(loaded.result, 1);
        EXPECT_EQ(loaded.profile, profile_);
    }
}

TEST(ProfileSizes, SavingAgainReplaces) {
    const Folder folder;
    std::vector<std::pair<fs::path, Bytes>> files = {{folder / "a.jpg", SmallJpeg()}};
    for (const TiffForm& form : kTiffForms) files.emplace_back(folder / (NameOf(form) + ".tif"), SmallTiff(form));
    for (const auto& [file, image] : files) {
        SCOPED_TRACE(file);
        WriteFile(file, image);
        uint8_t seed = 0;
        for (const size_t size : Sizes{200000, 3, 65533, 256, 256}) {
            const Bytes profile = MadeUpProfile(size, ++seed);
            ASSERT_EQ(Save(file, profile), 1);
            EXPECT_EQ(Load(file).profile, profile);
        }
    }
    // What went before has left nothing in the JPEG.
    EXPECT_EQ(ReadFile(files[0].first), JpegWith(JpegPart(1, 1, MadeUpProfile(256, 5))));
    for (size_t i = 0; i < 4; ++i) {
        const TiffDirectory directory = FirstDirectory(kTiffForms[i], ReadFile(files[i + 1].first));
        const auto profiles = std::count_if(directory.entries.begin(), directory.entries.end(),
                                            [](const TiffEntry& entry) { return entry.tag == 34675; });
        EXPECT_EQ(profiles, 1);
        EXPECT_EQ(directory.entries.size(), 10U);
    }
}

TEST(ProfileSizes, RefusedOnesLeaveAllAsItWas) {
    const Folder folder;
    WriteFile(folder / "plain.jpg", SmallJpeg());
    WriteFile(folder / "profile.jpg", JpegWith(JpegPart(1, 1, MadeUpProfile(100))));
    fs::permissions(folder / "profile.jpg", fs::perms::owner_read | fs::perms::owner_write);
    const FolderState before = StateOf(folder.Root());
    for (const size_t size : kSizesThatNoJpegHolds) {
        for (const char* name : {"plain.jpg", "profile.jpg"}) {
            EXPECT_EQ(Save(folder / name, MadeUpProfile(size)), ERR_INVALID_PARAMETER) << size;
            EXPECT_EQ(SaveWithBackup(folder / name, MadeUpProfile(size), folder / "old.jpg"), ERR_INVALID_PARAMETER);
            EXPECT_TRUE(StateOf(folder.Root()) == before) << size;
        }
    }
    EXPECT_EQ(Load(folder / "profile.jpg").profile, MadeUpProfile(100));
}

TEST(ProfileSizes, NeighboursOfTheRefusedOnes) {
    const Folder folder;
    const fs::path file = folder / "a.jpg";
    WriteFile(file, SmallJpeg());
    for (const size_t size : Sizes{65518, 65519, 65533, 65519 + 65519, 65519 + 65533}) {
        ASSERT_EQ(Save(file, MadeUpProfile(size)), 1) << size;
        EXPECT_EQ(Load(file).profile, MadeUpProfile(size)) << size;
    }
}

TEST(ProfileSizes, OfNothing) {
    const Folder folder;
    const fs::path jpeg = folder / "a.jpg";
    WriteFile(jpeg, JpegWith(JpegPart(1, 1, MadeUpProfile(100))));
    const Bytes before = ReadFile(jpeg);
    EXPECT_EQ(Save(jpeg, {}), 1);
    EXPECT_EQ(ReadFile(jpeg), before);

    const fs::path tiff = folder / "a.tif";
    WriteFile(tiff, SmallTiff(kTiffForms[0]));
    EXPECT_EQ(Save(tiff, {}), ERR_INVALID_PARAMETER);
    EXPECT_EQ(ReadFile(tiff), SmallTiff(kTiffForms[0]));

    const fs::path gif = folder / "a.gif";
    WriteFile(gif, SmallGif());
    EXPECT_EQ(Save(gif, {}), 1);
    Bytes expected = SmallGif();
    expected.pop_back();
    EXPECT_EQ(ReadFile(gif), expected + GifExtension({}));
}

TEST(ProfileSizes, MorePartsThanTheirNumbersCount) {
    const Folder folder;
    const fs::path file = folder / "a.jpg";
    WriteFile(file, SmallJpeg());
    const Bytes profile(size_t{65519} * 257 + 20, 0x5A);
    ASSERT_EQ(Save(file, profile), 1);
    EXPECT_TRUE(Load(file).profile == profile);
    const std::vector<Bytes> parts = SegmentsOf(ReadFile(file), 0xE2);
    ASSERT_EQ(parts.size(), 258U);
    EXPECT_EQ(parts[254][12], 255);
    EXPECT_EQ(parts[255][12], 0);
    EXPECT_EQ(parts[257][12], 2);
    EXPECT_EQ(parts[257][13], 2);
}

TEST(ProfileSizes, RealProfilesInEachFormat) {
    const Folder folder;
    for (const fs::path& source : RealProfiles()) {
        SCOPED_TRACE(source);
        const Bytes profile = ReadFile(source);
        ASSERT_FALSE(profile.empty());
        WriteFile(folder / "a.jpg", SmallJpeg());
        WriteFile(folder / "a.pct", Picture(ChunksOf(profile, 32762)));
        WriteFile(folder / "a.eps", Eps(profile, "\r\n"));
        std::vector<fs::path> whole = {folder / "a.jpg"};
        for (const TiffForm& form : kTiffForms) {
            whole.push_back(folder / (NameOf(form) + ".tif"));
            WriteFile(whole.back(), SmallTiff(form));
        }
        for (const fs::path& file : whole) EXPECT_EQ(Save(file, profile), 1);
        whole.push_back(folder / "a.pct");
        for (const fs::path& file : whole) {
            const Loaded loaded = Load(file);
            EXPECT_EQ(loaded.result, 1) << file;
            EXPECT_TRUE(loaded.profile == profile) << file;
        }
        EXPECT_TRUE(Load(folder / "a.eps").profile == AllButTheStaged(profile));
    }
}

}  // namespace
