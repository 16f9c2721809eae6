#include "hostile_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace zvtest {

namespace {

constexpr int32_t kCodesOfLoading[] = {1,
                                       ERR_INVALID_PARAMETER,
                                       ERR_STRUCT_SIZE,
                                       ERR_FORMAT_NO_ICC,
                                       ERR_NO_PROFILE,
                                       ERR_FILE_OPEN,
                                       ERR_FILE_READ,
                                       ERR_IMAGE_OPEN,
                                       ERR_PROFILE_TRUNCATED,
                                       ERR_PROFILE_UNUSABLE,
                                       ERR_FAILURE,
                                       ERR_NO_MEMORY,
                                       ERR_BAD_TAG};
constexpr int32_t kCodesOfSaving[] = {1,
                                      ERR_INVALID_PARAMETER,
                                      ERR_STRUCT_SIZE,
                                      ERR_NO_PROFILE,
                                      ERR_FORMAT_NO_ICC,
                                      ERR_FILE_OPEN,
                                      ERR_FILE_READ,
                                      ERR_FILE_WRITE,
                                      ERR_NO_MEMORY};

template <size_t kCount>
bool IsOneOf(int32_t code, const int32_t (&codes)[kCount]) {
    return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

bool BeginsWith(const Bytes& bytes, const Bytes& head) {
    return bytes.size() >= head.size() && std::equal(head.begin(), head.end(), bytes.begin());
}

bool EndsWith(const Bytes& bytes, const Bytes& tail) {
    return bytes.size() >= tail.size() && std::equal(tail.rbegin(), tail.rend(), bytes.rbegin());
}

}  // namespace

const std::vector<HostileSource>& HostileSources() {
    static const std::vector<HostileSource> sources = [] {
        const Bytes profile = MadeUpProfile(130);
        const Bytes first(profile.begin(), profile.begin() + 70);
        const Bytes second(profile.begin() + 70, profile.end());
        const Bytes exif = JpegSegment(0xE1, Text("Exif") + Bytes{0, 0} + Text("MM") + Bytes{0, 42, 0, 0, 0, 8, 0, 0});
        // A second picture at 40 bytes behind the byte order, in the file of this one.
        const Bytes pictures = JpegSegment(
            0xE2, Text("MPF") + Bytes{0} + Text("MM") +
                      Bytes{0, 42, 0, 0, 0, 8, 0, 1, 0xB0, 0x02, 0, 7, 0, 0, 0, 32, 0, 0, 0, 26, 0, 0, 0, 0} +
                      Bytes{0, 3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0} +
                      Bytes{0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0});
        std::vector<HostileSource> made = {
            {"Jpeg", JpegWith(JpegPart(1, 2, first) + JpegPart(2, 2, second))},
            {"JpegOfACamera", JpegWith(exif + JpegPart(1, 1, first) + pictures + JpegSegment(0xFE, Text("none")))},
            {"Gif", SmallGif()},
            {"EpsCrLf", Eps(MadeUpProfile(200), "\r\n")},
            {"EpsLf", Eps(MadeUpProfile(100), "\n")},
            {"EpsPreview", EpsWithPreview(MadeUpProfile(100), "\r")},
            {"Picture", Picture(ChunksOf(profile, 70))},
            {"PictureAlone", Picture(ChunksOf(profile, 70), false)},
            {"Png", Bytes{0x89} + Text("PNG\r\n\x1A\n") + Bytes{0, 0, 0, 13} + Text("IHDR") + Bytes(40)},
        };
        for (const TiffForm& form : kTiffForms) {
            made.push_back({NameOf(form), TiffWith(form, SmallTiff(form), 34675, 7, profile)});
            made.push_back({NameOf(form) + "Inline", TiffWith(form, SmallTiff(form), 34675, 7, {1, 2, 3})});
        }
        return made;
    }();
    return sources;
}

bool HostileCheck::Try(const Bytes& file) {
    TryToLoad(file);
    TryToSave(file);
    return !testing::Test::HasFailure();
}

void HostileCheck::TryToLoad(const Bytes& file) {
    WriteFile(file_, file);
    const Loaded loaded = Load(file_);
    EXPECT_TRUE(IsOneOf(loaded.result, kCodesOfLoading)) << loaded.result;
    EXPECT_LE(loaded.profile.size(), file.size());
    EXPECT_EQ(ReadFile(file_), file);
    if (loaded.result == 1) ++loads_;
}

void HostileCheck::TryToSave(const Bytes& file) {
    const FolderState before = StateOf(folder_.Root());
    const int32_t result = Save(file_, profile_);
    EXPECT_TRUE(IsOneOf(result, kCodesOfSaving)) << result;
    const FolderState after = StateOf(folder_.Root());
    if (result == 1) {
        ++saved_;
        ASSERT_EQ(after.size(), 1U);
        CheckSaved(file, after.begin()->second.bytes);
    } else {
        EXPECT_TRUE(after == before);
    }
}

void HostileCheck::CheckSaved(const Bytes& before, const Bytes& after) {
    if (BeginsWith(before, Text("GIF"))) {
        EXPECT_TRUE(BeginsWith(after, Bytes(before.begin(), before.end() - 1) + GifExtension(profile_)));
        EXPECT_EQ(Load(file_).result, ERR_FORMAT_NO_ICC);
        return;
    }
    const Loaded loaded = Load(file_);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.profile, profile_);
    if (BeginsWith(before, {0xFF, 0xD8})) {
        EXPECT_TRUE(EndsWith(after, CodedData(before)));
    } else {
        // Offsets lead where they led.
        ASSERT_GE(before.size(), 8U);
        ASSERT_GE(after.size(), before.size());
        const std::ptrdiff_t header = before[2] == 43 || before[3] == 43 ? 16 : 8;
        ASSERT_GE(before.size(), static_cast<size_t>(header));
        EXPECT_TRUE(std::equal(before.begin() + header, before.end(), after.begin() + header));
    }
}

}  // namespace zvtest
