// JPEG files with other markers: everything else stays as it is.
#include "tests/host/jpeg_files.h"

namespace zv::test {
namespace {

class JpegRewrite : public ImageFolder {
protected:
    /// The file's content after the markers were saved into it.
    std::string Saved(const std::string& content, const MarkerList& list) {
        const fs::path path = Make("file.jpg", content);
        EXPECT_EQ(CLR_SUCCESS, SaveMarkers(path, list));
        EXPECT_EQ(std::vector<std::string>{"file.jpg"}, Names());
        return ContentOf(path);
    }
    void ExpectRefused(const std::string& content, const MarkerList& list, int32_t result) {
        const fs::path path = Make("file.jpg", content);
        EXPECT_EQ(result, SaveMarkers(path, list));
        EXPECT_EQ(content, ContentOf(path));
        EXPECT_EQ(std::vector<std::string>{"file.jpg"}, Names());
    }
};

TEST_F(JpegRewrite, NewMarkersGoBehindTheLeadingApplicationData) {
    const MarkerList list = {{0xE2, IccData("one", 1, 2)}, {0xE2, IccData("two", 2, 2)}};
    const std::string added = Icc("one", 1, 2) + Icc("two", 2, 2);
    const std::string rest = Tables() + App0() + Segment(0xFE, "text\0"s) + Scan();
    for (const std::string& leading :
         {""s, App0(), App1(), App0() + App1(), App1() + App0(), App1() + App1() + App0()}) {
        EXPECT_EQ(kStart + leading + added + rest, Saved(kStart + leading + rest, list));
    }
    const std::string other = Segment(0xED, "Photoshop 3.0\0"s);
    EXPECT_EQ(kStart + App0() + added + other + App1() + rest, Saved(kStart + App0() + other + App1() + rest, list));
    EXPECT_EQ(kStart + App0() + added + Scan(), Saved(kStart + App0() + Scan(), list));
    EXPECT_EQ(kStart + App0() + added + kEnd, Saved(kStart + App0() + kEnd, list));
    EXPECT_EQ(kStart + added + kEnd, Saved(kStart + kEnd, list));
}

TEST_F(JpegRewrite, EverythingBehindTheScanStays) {
    // More than is copied at once, with what looks like the end, a second image, and bytes of another file behind.
    for (const size_t size : {size_t{1}, size_t{4096}, size_t{262143}, size_t{262144}, size_t{700001}}) {
        const std::string tail = Scan(size) + kStart + App0() + Icc("of the second") + Scan(10) + "MotionPhoto_Data" +
                                 Noise(1000, 3) + "\xFF";
        EXPECT_EQ(kStart + App0() + Icc("new") + Tables() + tail,
                  Saved(kStart + App0() + Tables() + Icc("old") + tail, {{0xE2, IccData("new")}}));
    }
    const std::string cut = Segment(0xDA, "head").substr(0, 3);
    EXPECT_EQ(kStart + Icc("new") + cut, Saved(kStart + cut, {{0xE2, IccData("new")}}));
}

TEST_F(JpegRewrite, PartsOfTheSameKindAreReplacedWhereverTheyStand) {
    const std::string flash = Segment(0xE2, "FPXR\0\0\1\1"s + Noise(50, 1));
    const std::string sameTextElsewhere = Segment(0xE3, IccData("kept"));
    const std::string longer = Segment(0xE2, "ICC_PROFILES\0kept"s);
    const std::string shorter = Segment(0xE2, "ICC_PROFILE"s);
    const std::string empty = Segment(0xE2, "");
    const std::string kept = flash + sameTextElsewhere + longer + shorter + empty;
    const std::string content = kStart + Icc(Noise(65519, 1), 1, 3) + App0() + Icc("before", 2, 3) + kept + Tables() +
                                Icc("", 3, 3) + Segment(0xE2, "ICC_PROFILE\0"s) + Scan();
    EXPECT_EQ(kStart + Icc("new", 1, 1) + App0() + kept + Tables() + Scan(),
              Saved(content, {{0xE2, IccData("new", 1, 1)}}));
    const std::string many =
        Saved(content, {{0xE2, IccData("a", 1, 3)}, {0xE2, IccData("b", 2, 3)}, {0xE2, IccData("c", 3, 3)}});
    EXPECT_EQ(kStart + Icc("a", 1, 3) + Icc("b", 2, 3) + Icc("c", 3, 3) + App0() + kept + Tables() + Scan(), many);
}

TEST_F(JpegRewrite, SavedTwiceIsSavedOnce) {
    const std::string once = Saved(kStart + App0() + App1() + Tables() + Scan(), {{0xE2, IccData("profile")}});
    EXPECT_EQ(once, Saved(once, {{0xE2, IccData("profile")}}));
}

TEST_F(JpegRewrite, KindIsNumberAndIdentifier) {
    // An identifier ends with a zero byte among the first 64. Without one the number alone counts.
    const std::string identifier63(63, 'i');
    const std::string identifier64(64, 'i');
    const std::string a = Segment(0xE4, identifier63 + "\0old"s);
    const std::string b = Segment(0xE4, identifier64 + "\0old"s);
    const std::string comment = Segment(0xFE, "a comment");
    const std::string other = Segment(0xFE, "another\0comment"s);
    const std::string content = kStart + a + b + comment + other + Scan();
    EXPECT_EQ(kStart + Segment(0xE4, identifier63 + "\0new"s) + b + comment + other + Scan(),
              Saved(content, {{0xE4, identifier63 + "\0new"s}}));
    EXPECT_EQ(kStart + Segment(0xE4, identifier64 + "\0new"s) + comment + other + Scan(),
              Saved(content, {{0xE4, identifier64 + "\0new"s}}));
    EXPECT_EQ(kStart + Segment(0xFE, "new") + a + b + Scan(), Saved(content, {{0xFE, "new"}}));
    EXPECT_EQ(kStart + Segment(0xFE, "") + a + b + Scan(), Saved(content, {{0xFE, ""}}));
    EXPECT_EQ(kStart + Segment(0xFE, "another\0"s) + a + b + comment + Scan(), Saved(content, {{0xFE, "another\0"s}}));
}

TEST_F(JpegRewrite, ReplacedLeadingDataStayInTheLead) {
    const std::string newJfif = "JFIF\0new"s;
    EXPECT_EQ(kStart + App1() + Segment(0xE0, newJfif) + Tables() + Scan(),
              Saved(kStart + App0() + App1() + Tables() + Scan(), {{0xE0, newJfif}}));
    EXPECT_EQ(kStart + Segment(0xE0, newJfif) + Tables() + Scan(),
              Saved(kStart + App0() + Tables() + Scan(), {{0xE0, newJfif}}));
}

TEST_F(JpegRewrite, NoMarkersChangeNothing) {
    const std::string content = kStart + "\xFF" + App0() + "stray" + Icc("old") + "\xFF\xFF\xFF" + Tables() + Scan();
    EXPECT_EQ(content, Saved(content, {}));
}

TEST_F(JpegRewrite, FillAndStrayBytesStay) {
    const std::string content =
        kStart + "\xFF\xFF" + App0() + "st" + App1() + "ray" + "\xFF" + Tables() + "\xFF" + Scan();
    EXPECT_EQ(kStart + "\xFF\xFF" + App0() + "st" + App1() + Icc("new") + "ray" + "\xFF" + Tables() + "\xFF" + Scan(),
              Saved(content, {{0xE2, IccData("new")}}));
}

// Left behind, they would make a marker of the stray byte that follows.
TEST_F(JpegRewrite, FillBytesGoWithTheirMarker) {
    EXPECT_EQ(kStart + Icc("new") + "ray" + "!" + Tables() + Scan(),
              Saved(kStart + "ray" + "\xFF\xFF" + Icc("old") + "!" + Tables() + Scan(), {{0xE2, IccData("new")}}));
    EXPECT_EQ(kStart + Icc("new") + "\xFF\xD0" + "!" + Scan(),
              Saved(kStart + "\xFF\xD0" + "\xFF" + Icc("old") + "!" + Scan(), {{0xE2, IccData("new")}}));
}

TEST_F(JpegRewrite, LargestMarkersAndManyOfThem) {
    MarkerList list;
    std::string expected = kStart + App0();
    for (uint32_t i = 0; i < 300; ++i) {
        list.emplace_back(0xE2, IccData(Noise(i % 3 == 0 ? 65519 : i, i), static_cast<int>(i & 255), 44));
        expected += Segment(0xE2, list.back().second);
    }
    EXPECT_EQ(expected + Tables() + Scan(), Saved(kStart + App0() + Tables() + Scan(), list));
}

TEST_F(JpegRewrite, DamagedFilesStayAsTheyAre) {
    const std::string head = kStart + App0() + Icc("old") + Tables();
    for (size_t size = 0; size < head.size() + 2; ++size) {
        ExpectRefused((head + Scan()).substr(0, size), {{0xE2, IccData("new")}}, ERR_FILE_READ);
    }
    ExpectRefused(kStart + "\xFF\xE5\0\1"s + Scan(), {{0xE2, IccData("new")}}, ERR_FILE_READ);
    ExpectRefused("GIF89a", {{0xE2, IccData("new")}}, ERR_FILE_READ);
}

TEST_F(JpegRewrite, AsksForMarkersAndTheirFlag) {
    const std::string content = kStart + Scan();
    const fs::path path = Make("file.jpg", content);
    const Wide name = WideOf(path);
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFile(name.c_str(), 4, nullptr)) << "nothing is set";
    HostMarkers set = nullptr;
    ASSERT_EQ(CLR_SUCCESS, HostCreateMarkers(&set));
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    for (const uint32_t flags : {0U, 1U, 3U, 5U, 6U, 0xFFFFFFFFU}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFile(name.c_str(), flags, nullptr)) << flags;
    }
    EXPECT_EQ(ERR_FILE_OPEN, HostRewriteFile(WideOf(folder_ / "missing").c_str(), 4, nullptr));
    EXPECT_EQ(ERR_FILE_OPEN, HostRewriteFile(WideOf(folder_).c_str(), 4, nullptr));
    EXPECT_EQ(ERR_FILE_OPEN, HostRewriteFile(nullptr, 4, nullptr));
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFile(name.c_str(), 4, nullptr)) << "cleared";
    HostFreeMarkers(set);
    EXPECT_EQ(content, ContentOf(path));
}

// --- The index of several pictures in one file -------------------------------------------------------------------

/// An index of three pictures: the first, one that lies behind it, and one without a place.
struct Index {
    bool big;
    uint32_t size = 0;
    uint32_t second = 0;

    std::string Data() const {
        const auto field = [this](uint16_t tag, uint16_t type, uint32_t count, const std::string& value) {
            return Number(tag, 2, big) + Number(type, 2, big) + Number(count, 4, big) + value;
        };
        const auto entry = [this](uint32_t attributes, uint32_t bytes, uint32_t offset) {
            return Number(attributes, 4, big) + Number(bytes, 4, big) + Number(offset, 4, big) + Number(0, 4, big);
        };
        return "MPF\0"s + (big ? "MM\0\x2A"s : "II\x2A\0"s) + Number(8, 4, big) + Number(3, 2, big) +
               field(0xB000, 7, 4, "0100") + field(0xB001, 4, 1, Number(3, 4, big)) +
               field(0xB002, 7, 48, Number(50, 4, big)) + Number(0, 4, big) + entry(0x20030000, size, 0) +
               entry(0x00020002, 999, second) + entry(0, 555, 0);
    }
};

constexpr size_t kIndexHead = 4;  // offsets count from behind the identifier

/// A file whose index says the truth.
std::string FileWithIndex(bool big, const std::string& before, const std::string& behind, const std::string& second) {
    Index index{big};
    const std::string first = kStart + App0() + before;
    const std::string last = behind + Tables() + Scan();
    index.size = static_cast<uint32_t>(first.size() + Segment(0xE2, index.Data()).size() + last.size());
    index.second = index.size - static_cast<uint32_t>(first.size() + 4 + kIndexHead);
    return first + Segment(0xE2, index.Data()) + last + second;
}

TEST_F(JpegRewrite, IndexOfPicturesFollowsThePictures) {
    const std::string second = kStart + App1() + Scan(500, 9);
    const std::string part = Icc(Noise(300, 1), 1, 2);
    const std::string other = Icc(Noise(400, 2), 2, 2);
    for (const bool big : {false, true}) {
        for (const std::string& before : {""s, part, part + other}) {
            for (const std::string& behind : {""s, other, part + other}) {
                for (const std::string& profile : {"small"s, Noise(350, 3), Noise(5000, 4)}) {
                    SCOPED_TRACE(std::to_string(big) + " " + std::to_string(before.size()) + " " +
                                 std::to_string(behind.size()) + " " + std::to_string(profile.size()));
                    EXPECT_EQ(FileWithIndex(big, Icc(profile), "", second),
                              Saved(FileWithIndex(big, before, behind, second), {{0xE2, IccData(profile)}}));
                }
            }
        }
    }
}

TEST_F(JpegRewrite, IndexThatIsItselfSavedStaysAsItIsGiven) {
    const std::string content = FileWithIndex(true, "", "", kStart + Scan());
    const Index given{true, 1234, 5678};
    const size_t at = kStart.size() + App0().size();
    const size_t size = Segment(0xE2, given.Data()).size();
    const std::string saved = Saved(content, {{0xE2, given.Data()}});
    EXPECT_EQ(content.substr(0, at) + Segment(0xE2, given.Data()) + content.substr(at + size), saved);
}

TEST_F(JpegRewrite, DamagedIndexIsLeftAlone) {
    for (const bool big : {false, true}) {
        const Index index{big, 5000, 4000};
        const auto changed = [&](size_t at, uint64_t value, size_t size) {
            std::string data = index.Data();
            data.replace(kIndexHead + at, size, Number(value, size, big));
            return data;
        };
        // The directory's fields stand at 10, the entries from 50 to the end at 98.
        constexpr size_t kEntries = 10 + 24;
        std::vector<std::string> damaged = {
            changed(4, 0xFFFFFFFF, 4),  // the directory behind the end
            changed(4, 99, 4),
            changed(4, 97, 4),
            changed(8, 0xFFFF, 2),  // more fields than there are
            changed(8, 8, 2),
            changed(8, 2, 2),  // no entries
            changed(kEntries, 0xB003, 2),
            changed(kEntries + 4, 15, 4),
            changed(kEntries + 4, 0xFFFFFFFF, 4),  // entries behind the end
            changed(kEntries + 4, 49, 4),
            changed(kEntries + 8, 0xFFFFFFFF, 4),
            changed(kEntries + 8, 99, 4),
            changed(kEntries + 8, 51, 4),
        };
        std::string otherOrder = index.Data();
        otherOrder.replace(kIndexHead, 2, "XX");
        damaged.push_back(otherOrder);
        otherOrder.replace(kIndexHead, 2, big ? "II" : "MM");
        damaged.push_back(otherOrder);
        damaged.push_back("MPX" + index.Data().substr(3));
        for (const size_t size : {3U, 4U, 11U, 12U, 13U, 20U}) damaged.push_back(index.Data().substr(0, size));
        for (size_t i = 0; i < damaged.size(); ++i) {
            SCOPED_TRACE(i);
            const std::string segment = Segment(0xE2, damaged[i]);
            EXPECT_EQ(kStart + Icc("new") + segment + Scan(),
                      Saved(kStart + segment + Scan(), {{0xE2, IccData("new")}}));
        }
        const std::string elsewhere = Segment(0xE3, index.Data());
        EXPECT_EQ(kStart + Icc("new") + elsewhere + Scan(),
                  Saved(kStart + elsewhere + Scan(), {{0xE2, IccData("new")}}));
    }
}

TEST_F(JpegRewrite, IndexIsNotReadBehindItsSegment) {
    // What the segment before it held at those places looks like the rest of a directory.
    for (const uint32_t directory : {97U, 98U}) {
        std::string data = Index{true, 5000, 4000}.Data();
        data.replace(kIndexHead + 4, 4, Number(directory, 4, true));
        std::string bait(kIndexHead + directory, '\0');
        bait += Number(1, 2, true) + Number(0xB002, 2, true) + Number(7, 2, true) + Number(16, 4, true) +
                Number(50, 4, true);
        const std::string rest = Segment(0xE5, bait) + Segment(0xE2, data) + Scan();
        EXPECT_EQ(kStart + Icc("new") + rest, Saved(kStart + rest, {{0xE2, IccData("new")}})) << directory;
    }
}

TEST_F(JpegRewrite, IndexThatFillsItsSegmentToTheLastByte) {
    // Entries at the very end, and a directory that begins right there, without fields.
    Index index{true, 5000, 4000};
    const std::string content = kStart + Segment(0xE2, index.Data()) + Scan();
    const uint32_t growth = static_cast<uint32_t>(Icc("new").size());
    const Index grown{true, 5000 + growth, 4000};
    EXPECT_EQ(kStart + Icc("new") + Segment(0xE2, grown.Data()) + Scan(), Saved(content, {{0xE2, IccData("new")}}));
    const std::string empty = "MPF\0II\x2A\0\x08\0\0\0\0\0"s;
    EXPECT_EQ(kStart + Icc("new") + Segment(0xE2, empty) + Scan(),
              Saved(kStart + Segment(0xE2, empty) + Scan(), {{0xE2, IccData("new")}}));
}

}  // namespace
}  // namespace zv::test
