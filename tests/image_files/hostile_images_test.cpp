// Damaged files: no crash, a code of the header's list, and nothing lost.
#include <gtest/gtest.h>

#include <algorithm>

#include "hostile_images.h"

namespace {

using namespace zvtest;

class HostileImages : public testing::TestWithParam<HostileSource> {
protected:
    /// Damage of pixels, texts or profiles is no hindrance: a sweep that only meets refusals tests little.
    void TearDown() override {
        const bool holdsNone = GetParam().name == "Png" || GetParam().name == "EpsLf";
        EXPECT_EQ(check_.Saved() + check_.Loads() > 0, !holdsNone);
    }

    const Bytes& source_ = GetParam().bytes;
    HostileCheck check_;
};

INSTANTIATE_TEST_SUITE_P(Formats, HostileImages, testing::ValuesIn(HostileSources()),
                         [](const testing::TestParamInfo<HostileSource>& source) { return source.param.name; });

TEST_P(HostileImages, CutAtEveryByte) {
    for (size_t size = 0; size <= source_.size(); ++size) {
        ASSERT_TRUE(check_.Try(Bytes(source_.begin(), source_.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    }
}

TEST_P(HostileImages, EveryByteZero) {
    Bytes file = source_;
    for (size_t at = 0; at < std::min<size_t>(600, file.size()); ++at) {
        file[at] = 0;
        ASSERT_TRUE(check_.Try(file)) << at;
        file[at] = source_[at];
    }
}

TEST_P(HostileImages, EveryByteFull) {
    Bytes file = source_;
    for (size_t at = 0; at < std::min<size_t>(600, file.size()); ++at) {
        file[at] = 0xFF;
        ASSERT_TRUE(check_.Try(file)) << at;
        file[at] = source_[at];
    }
}

TEST_P(HostileImages, EveryByteFlipped) {
    Bytes file = source_;
    for (size_t at = 0; at < std::min<size_t>(600, file.size()); ++at) {
        file[at] = static_cast<uint8_t>(~file[at]);
        ASSERT_TRUE(check_.Try(file)) << at;
        file[at] = source_[at];
    }
}

constexpr uint32_t kLengths[] = {0, 1, 2, 13, 14, 15, 16, 255, 32767, 32768, 65534, 65535};

TEST(HostileLengths, OfJpegSegments) {
    const Bytes source = HostileSources()[1].bytes;
    HostileCheck check;
    int places = 0;
    for (size_t at = 2; at + 4 < source.size() && source[at + 1] != 0xDA; ++places) {
        const size_t length = static_cast<size_t>(source[at + 2]) << 8 | source[at + 3];
        for (const uint32_t lie : kLengths) {
            Bytes file = source;
            file[at + 2] = static_cast<uint8_t>(lie >> 8);
            file[at + 3] = static_cast<uint8_t>(lie);
            ASSERT_TRUE(check.Try(file)) << at << " " << lie;
            // The same with enough behind it.
            ASSERT_TRUE(check.Try(file + Bytes(70000, 0x11) + (Bytes{0xFF, 0xD9}))) << at << " " << lie;
        }
        at += 2 + length;
    }
    EXPECT_EQ(places, 9);
    EXPECT_GT(check.Saved(), 0);
}

// The data of a part by the segment's length: below its head, at it, above it.
TEST(HostileLengths, OfTheDataOfAPart) {
    const Bytes whole = Text("ICC_PROFILE") + Bytes{0, 1, 1, 0x77, 0x78};
    HostileCheck check;
    for (size_t size = 0; size <= whole.size(); ++size) {
        const Bytes data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        const Folder folder;
        WriteFile(folder / "a.jpg", JpegWith(JpegSegment(0xE2, data)));
        const Loaded loaded = Load(folder / "a.jpg");
        EXPECT_EQ(loaded.result, size < 14 ? ERR_NO_PROFILE : 1) << size;
        EXPECT_EQ(loaded.profile.size(), size < 14 ? 0 : size - 14) << size;
        ASSERT_TRUE(check.Try(JpegWith(JpegSegment(0xE2, data))));
        // Beside a whole one nothing is lost.
        WriteFile(folder / "b.jpg", JpegWith(JpegSegment(0xE2, data) + JpegPart(1, 1, {1, 2, 3})));
        EXPECT_EQ(Load(folder / "b.jpg").profile.size(), loaded.profile.size() + 3);
    }
}

TEST(HostileLengths, OfPictureChunks) {
    const Bytes source = Picture(ChunksOf(MadeUpProfile(100), 40));
    HostileCheck check;
    int places = 0;
    for (size_t at = 0; at + 5 < source.size(); ++at) {
        if (source[at] != 0xA1 || source[at + 1] != 0 || source[at + 2] != 0xE0) continue;
        ++places;
        for (const uint32_t lie : kLengths) {
            Bytes file = source;
            file[at + 3] = static_cast<uint8_t>(lie >> 8);
            file[at + 4] = static_cast<uint8_t>(lie);
            ASSERT_TRUE(check.Try(file)) << at << " " << lie;
            ASSERT_TRUE(check.Try(file + Bytes(70000, 0x11))) << at << " " << lie;
        }
    }
    EXPECT_EQ(places, 4);
    EXPECT_GT(check.Loads(), 0);
}

// Once the fill byte before a part outlived the part, and became a marker with the stray bytes behind it.
TEST(HostileJpeg, FillAndStrayBytesAroundAPart) {
    HostileCheck check;
    const Bytes part = JpegPart(1, 1, MadeUpProfile(20));
    for (const Bytes& before : {Bytes{}, Bytes{0xFF}, Bytes{0xFF, 0xFF, 0xFF}, Bytes{0x7F}, Bytes{0x7F, 0xFF},
                                Bytes{0xFF, 0x00}, Bytes{0xFF, 0x00, 0xFF}, Bytes{0xFF, 0x01, 0xFF}}) {
        for (const Bytes& behind : {Bytes{}, Bytes{0x7F, 0x7F}, Bytes{0xDB, 0xFF}, Bytes{0xD9}, Bytes{0xDA, 0x00},
                                    Bytes{0x00}, Bytes{0xD0, 0xFF}, Bytes{0xFF}}) {
            ASSERT_TRUE(check.Try(JpegWith(before + part + behind)));
            ASSERT_TRUE(check.Try(JpegWith(JpegSegment(0xFE, {}) + before + part + behind)));
            ASSERT_TRUE(check.Try(JpegWith(before + part + behind + JpegSegment(0xFE, {}) + before + part + behind)));
        }
    }
    EXPECT_EQ(check.Saved(), 3 * 8 * 8);
    EXPECT_EQ(check.Loads(), 3 * 8 * 8);
}

class HostileTiff : public testing::TestWithParam<TiffForm> {
protected:
    uint64_t FirstAt() const { return form_.Get(source_, form_.FirstDirectoryAt(), form_.OffsetSize()); }

    const TiffForm form_ = GetParam();
    const Bytes source_ = TiffWith(form_, SmallTiff(form_), 34675, 7, MadeUpProfile(130));
    HostileCheck check_;
};

INSTANTIATE_TEST_SUITE_P(Forms, HostileTiff, testing::ValuesIn(kTiffForms),
                         [](const testing::TestParamInfo<TiffForm>& form) { return NameOf(form.param); });

TEST_P(HostileTiff, LyingFields) {
    const uint64_t size = source_.size();
    const uint64_t numbers[] = {0,          1,          2,         7,           8,         13,         14,
                                65535,      65536,      size - 1,  size,        size + 1,  size - 130, 0x7FFFFFFF,
                                0x80000000, 0xFFFFFFFF, FirstAt(), 0x100000000, INT64_MAX, 1ULL << 63, UINT64_MAX - 129,
                                UINT64_MAX};
    std::vector<uint64_t> places = {form_.FirstDirectoryAt()};
    const TiffDirectory first = FirstDirectory(form_, source_);
    for (size_t i = 0; i < first.entries.size(); ++i) {
        const uint64_t entry = FirstAt() + form_.CountSize() + i * form_.EntrySize();
        places.push_back(entry + 4);
        places.push_back(entry + 4 + form_.OffsetSize());
    }
    places.push_back(FirstAt() + form_.CountSize() + first.entries.size() * form_.EntrySize());
    for (const uint64_t at : places) {
        for (const uint64_t number : numbers) {
            Bytes file = source_;
            form_.Put(&file, at, number, form_.OffsetSize());
            ASSERT_TRUE(check_.Try(file)) << at << " " << number;
        }
    }
    for (const uint64_t number : numbers) {
        Bytes file = source_;
        form_.Put(&file, FirstAt(), number, form_.CountSize());
        ASSERT_TRUE(check_.Try(file)) << number;
    }
    EXPECT_GT(check_.Saved(), 100);
}

TEST_P(HostileTiff, TypesOfTheTag) {
    for (uint16_t type = 0; type < 20; ++type) {
        ASSERT_TRUE(check_.Try(TiffWith(form_, SmallTiff(form_), 34675, type, MadeUpProfile(130)))) << type;
    }
    EXPECT_EQ(check_.Saved(), 20);
}

TEST_P(HostileTiff, DirectoriesThatLeadToThemselves) {
    const TiffDirectory first = FirstDirectory(form_, source_);
    const uint64_t linkAt = FirstAt() + form_.CountSize() + first.entries.size() * form_.EntrySize();
    for (const uint64_t target : {FirstAt(), first.next, form_.FirstDirectoryAt(), uint64_t{0}}) {
        // The first leads back, or the second does.
        const TiffDirectory second = DirectoryAt(form_, source_, first.next);
        const uint64_t secondLink = second.offset + form_.CountSize() + second.entries.size() * form_.EntrySize();
        for (const uint64_t at : {linkAt, secondLink}) {
            Bytes file = source_;
            form_.Put(&file, at, target, form_.OffsetSize());
            ASSERT_TRUE(check_.Try(file)) << target;
        }
    }
    EXPECT_EQ(check_.Saved(), 8);
    // A directory below the first that is the first.
    Bytes offset;
    form_.Append(&offset, FirstAt(), form_.OffsetSize());
    ASSERT_TRUE(check_.Try(TiffWith(form_, source_, 330, form_.big ? 18 : 13, offset)));
}

TEST_P(HostileTiff, TheFirstDirectoryInTheHeader) {
    for (uint64_t at = 0; at < 24; ++at) {
        Bytes file = source_;
        form_.Put(&file, form_.FirstDirectoryAt(), at, form_.OffsetSize());
        ASSERT_TRUE(check_.Try(file)) << at;
    }
}

TEST_P(HostileTiff, AsManyEntriesAsTheFileHolds) {
    // A directory of which every byte is the same, to the last byte of the file.
    for (const uint8_t byte : Bytes{0x00, 0x01, 0x84, 0xFF}) {
        for (size_t size = 0; size < 120; ++size) {
            Bytes file(source_.begin(), source_.begin() + static_cast<std::ptrdiff_t>(form_.HeaderSize()));
            form_.Put(&file, form_.FirstDirectoryAt(), file.size(), form_.OffsetSize());
            form_.Append(&file, size / form_.EntrySize(), form_.CountSize());
            ASSERT_TRUE(check_.Try(file + Bytes(size, byte))) << size;
        }
    }
    EXPECT_GT(check_.Saved(), 0);
}

}  // namespace
