// What files of any content cost in memory: a small multiple of their size at most.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

constexpr size_t kSize = 12 << 20;

struct Cost {
    int32_t result;
    int64_t peak;  ///< bytes more than at the start
};

int64_t Peak() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return int64_t{usage.ru_maxrss} * 1024;
}

/// Loads, and with a profile saves, in a process of its own.
Cost CostOf(const fs::path& file, const Bytes* profile = nullptr) {
    int ends[2];
    Cost cost = {0, -1};
    if (pipe(ends) != 0) return cost;
    const auto name = WideName(file);
    malloc_trim(0);
    const pid_t child = fork();
    if (child == 0) {
        const int64_t before = Peak();
        if (profile != nullptr) {
            cost.result = Save(file, *profile);
        } else {
            ClrIccProfile record;
            Zv_InitICCProfile(&record, sizeof record);
            cost.result = Zv_LoadICCProfile(name.c_str(), &record, nullptr);
        }
        cost.peak = Peak() - before;
        const bool told = write(ends[1], &cost, sizeof cost) == sizeof cost;
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &cost, sizeof cost) != sizeof cost) cost = {0, -1};
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    return cost;
}

class Memory : public testing::Test {
protected:
    void ExpectModest(const Bytes& image, int32_t expected, int64_t multiple) {
        WriteFile(file_, image);
        const Cost cost = CostOf(file_);
        EXPECT_EQ(cost.result, expected);
        ASSERT_GE(cost.peak, 0);
        EXPECT_LE(cost.peak, static_cast<int64_t>(image.size()) * multiple + (2 << 20)) << image.size();
    }

    const Folder folder_;
    const fs::path file_ = folder_ / "image";
};

TEST_F(Memory, IsMeasured) {
    // A profile that is loaded has to be somewhere.
    WriteFile(file_, TiffWith(kTiffForms[0], SmallTiff(kTiffForms[0]), 34675, 7, Bytes(kSize, 1)));
    const Cost cost = CostOf(file_);
    EXPECT_EQ(cost.result, 1);
    EXPECT_GE(cost.peak, static_cast<int64_t>(kSize));
}

TEST_F(Memory, JpegOfPartsAlone) {
    Bytes segments;
    for (int i = 0; i < 180; ++i) segments = segments + JpegPart(1, 1, Bytes(65519, 1));
    ExpectModest(JpegWith(segments), 1, 4);
}

TEST_F(Memory, JpegOfEmptySegments) {
    Bytes segments(4 << 20);
    for (size_t i = 0; i < segments.size(); i += 4) {
        segments[i] = 0xFF;
        segments[i + 1] = 0xE2;
        segments[i + 3] = 2;
    }
    ExpectModest(JpegWith(segments), ERR_NO_PROFILE, 6);
}

TEST_F(Memory, JpegOfFillBytes) { ExpectModest(JpegWith(Bytes(kSize, 0xFF)), ERR_FILE_READ, 1); }

TEST_F(Memory, TiffOfEntriesAlone) {
    for (const TiffForm& form : kTiffForms) {
        Bytes tiff = SmallTiff(form);
        form.Put(&tiff, form.FirstDirectoryAt(), tiff.size(), form.OffsetSize());
        const uint64_t count = form.big ? 65536 : 65535;
        form.Append(&tiff, count, form.CountSize());
        ExpectModest(tiff + Bytes(count * form.EntrySize() + 8), ERR_NO_PROFILE, 2);
        // More than there are.
        form.Put(&tiff, tiff.size() - form.CountSize(), form.big ? UINT64_MAX : 65535, form.CountSize());
        ExpectModest(tiff + Bytes(1000), ERR_FILE_READ, 1);
    }
}

TEST_F(Memory, TiffThatClaimsTooMuch) {
    for (const TiffForm& form : kTiffForms) {
        Bytes tiff = TiffWith(form, SmallTiff(form), 34675, 7, Bytes(100));
        const uint64_t first = form.Get(tiff, form.FirstDirectoryAt(), form.OffsetSize());
        const uint64_t last = first + form.CountSize() + 9 * form.EntrySize();
        form.Put(&tiff, last + 4, form.big ? uint64_t{1} << 40 : 0x7FFFFFFF, form.OffsetSize());
        ExpectModest(tiff, ERR_FILE_READ, 1);
    }
}

TEST_F(Memory, EpsOfDigits) { ExpectModest(Eps(Bytes(kSize / 4, 1), "\r\n"), 1, 1); }

TEST_F(Memory, EpsOfPercentSigns) { ExpectModest(Text("%!PS") + Bytes(kSize, '%'), ERR_NO_PROFILE, 0); }

TEST_F(Memory, PictureOfChunks) {
    ExpectModest(Picture(ChunksOf(Bytes(kSize, 1), 60000)), 1, 2);
    ExpectModest(Picture({{3, {}}}) + Bytes(kSize, 0xE0), ERR_PROFILE_TRUNCATED, 0);
}

TEST_F(Memory, SavingCopiesByPieces) {
    const Bytes profile(100000, 1);
    for (const auto& [head, name] : {std::pair{SmallJpeg(), "jpeg"}, {SmallTiff(kTiffForms[0]), "tiff"}}) {
        WriteFile(folder_ / name, head + Bytes(kSize, 1));
        const Cost cost = CostOf(folder_ / name, &profile);
        EXPECT_EQ(cost.result, 1);
        EXPECT_LE(cost.peak, 2 << 20) << name;
    }
}

}  // namespace
