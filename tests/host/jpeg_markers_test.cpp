// Collections of JPEG markers: what a file holds before its coded image, and what is put into a collection.
#include "host/common/jpeg_segments.h"
#include "tests/host/jpeg_files.h"

namespace zv::test {
namespace {

class JpegMarkers : public ImageFolder {
protected:
    static MarkerList ListOf(HostMarkers set) {
        MarkerList list;
        const auto note = [](uint32_t id, uint32_t length, const uint8_t* data, void* user) -> int32_t {
            static_cast<MarkerList*>(user)->emplace_back(id, std::string(reinterpret_cast<const char*>(data), length));
            return CLR_SUCCESS;
        };
        EXPECT_EQ(CLR_SUCCESS, HostEnumMarkers(set, 0, note, &list));
        return list;
    }
    /// What a file of that content holds; empty after a failure.
    MarkerList Load(const std::string& content, int32_t expected = CLR_SUCCESS) {
        HostMarkers set = nullptr;
        const int32_t result = HostLoadMarkers(WideOf(Make("file", content)).c_str(), &set, 0);
        EXPECT_EQ(expected, result);
        EXPECT_EQ(result == CLR_SUCCESS, set != nullptr) << "a failure gives nothing";
        if (set == nullptr) return {};
        MarkerList list = ListOf(set);
        EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
        return list;
    }
};

TEST_F(JpegMarkers, ComeInTheOrderOfTheFile) {
    const MarkerList expected = {{0xE0, "JFIF\0x"s},   {0xE2, IccData("two", 2, 2)},
                                 {0xDB, Noise(65, 1)}, {0xE2, IccData("one", 1, 2)},
                                 {0xFE, ""},           {0xEF, Noise(65533, 2)}};
    std::string content = kStart;
    for (const auto& [id, data] : expected) content += Segment(static_cast<int>(id), data);
    EXPECT_EQ(expected, Load(content + Scan()));
    EXPECT_EQ(expected, Load(content + kEnd)) << "tables alone end without a scan";
    EXPECT_EQ(expected, Load(content + kEnd + Icc("behind the end") + Scan()));
    EXPECT_EQ(expected, Load(content + "\xFF\xDA")) << "nothing behind the scan's marker is looked at";
}

TEST_F(JpegMarkers, NoneIsNoFailure) {
    EXPECT_EQ(MarkerList{}, Load(kStart + Scan()));
    EXPECT_EQ(MarkerList{}, Load(kStart + kEnd));
}

TEST_F(JpegMarkers, EveryNumberIsWhatItIs) {
    for (int marker = 0; marker <= 255; ++marker) {
        SCOPED_TRACE(marker);
        const bool alone = marker == 0 || marker == 1 || (marker >= 0xD0 && marker <= 0xD8);
        const bool ends = marker == 0xD9 || marker == 0xDA;
        // One that stands alone is passed over, and its length and data with it: they are no markers.
        const MarkerList behind = {{0xE5, "behind"}};
        MarkerList expected = behind;
        if (!alone && !ends && marker != 255)
            expected.insert(expected.begin(), {static_cast<uint32_t>(marker), "data"});
        if (ends) expected.clear();
        const std::string segment = marker == 255 ? "\xFF\xFF"s : Segment(marker, "data");
        EXPECT_EQ(expected, Load(kStart + segment + Segment(0xE5, "behind") + Scan()));
        EXPECT_EQ(!alone && !ends && marker != 255, zvhost::IsJpegSegment(static_cast<uint32_t>(marker)));
    }
    EXPECT_FALSE(zvhost::IsJpegSegment(0x1E2));
}

TEST_F(JpegMarkers, FillAndStrayBytesArePassedOver) {
    const MarkerList expected = {{0xE0, "a"}, {0xE1, "b"}};
    EXPECT_EQ(expected,
              Load(kStart + "\xFF\xFF\xFF" + Segment(0xE0, "a") + "\xFF" + Segment(0xE1, "b") + "\xFF\xFF" + Scan()));
    EXPECT_EQ(expected, Load(kStart + "stray" + Segment(0xE0, "a") + "\0\0"s + Segment(0xE1, "b") + "x" + Scan()));
    EXPECT_EQ(expected,
              Load(kStart + Segment(0xE0, "a") + "\xFF\0\xFF\x01\xFF\xD7\xFF\xD8"s + Segment(0xE1, "b") + Scan()));
    EXPECT_EQ(expected, Load(kStart + Noise(9000, 1).assign(9000, 'z') + Segment(0xE0, "a") +
                             std::string(5000, '\xFF') + Segment(0xE1, "b") + Scan()));
}

TEST_F(JpegMarkers, EndlessStrayBytesAreDamage) {
    for (const char byte : {'\0', 'z', '\xFF'}) {
        const MarkerList expected = {{0xE0, "a"}, {0xE1, "b"}};
        const std::string most(65536, byte);
        EXPECT_EQ(expected, Load(kStart + most + Segment(0xE0, "a") + most + Segment(0xE1, "b") + Scan()));
        Load(kStart + most + byte + Segment(0xE0, "a") + Scan(), ERR_FILE_READ);
        Load(kStart + Segment(0xE0, "a") + most + byte + Scan(), ERR_FILE_READ);
    }
}

TEST_F(JpegMarkers, LengthsBelowTheirOwnSizeAreDamage) {
    for (const char* length : {"\0\0", "\0\1"}) {
        Load(kStart + Segment(0xE0, "a") + "\xFF\xE2" + std::string(length, 2) + Scan(), ERR_FILE_READ);
    }
    const MarkerList expected = {{0xE2, ""}};
    EXPECT_EQ(expected, Load(kStart + "\xFF\xE2\0\2"s + Scan()));
}

TEST_F(JpegMarkers, TruncatedFilesAreDamagedUpToTheScan) {
    const std::string head = kStart + App0() + Icc(Noise(20, 1)) + "stray" + "\xFF\xFF" + Tables();
    const std::string whole = head + Scan();
    for (size_t size = 0; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        const bool reached = size >= head.size() + 2;
        const MarkerList list = Load(whole.substr(0, size), reached ? CLR_SUCCESS : ERR_FILE_READ);
        EXPECT_EQ(reached ? 5U : 0U, list.size());
    }
}

TEST_F(JpegMarkers, LengthBehindTheEndIsDamage) {
    const std::string segment = Segment(0xE2, Noise(65533, 1));
    Load(kStart + segment.substr(0, segment.size() - 1), ERR_FILE_READ);
    Load(kStart + "\xFF\xE2\xFF\xFF" + Scan(), ERR_FILE_READ);
}

TEST_F(JpegMarkers, OtherFilesAreDamaged) {
    for (const std::string& content : {""s, "\xFF"s, "\xFF\xD8"s, "\xD8\xFF"s + Scan(), "\xFF\xD9"s + Scan(),
                                       "\xFE\xD8"s + Scan(), "GIF89a"s, std::string(10000, '\0')}) {
        Load(content, ERR_FILE_READ);
    }
}

TEST_F(JpegMarkers, ThatCannotBeOpened) {
    HostMarkers set = nullptr;
    EXPECT_EQ(ERR_FILE_OPEN, HostLoadMarkers(WideOf(folder_ / "missing").c_str(), &set, 0));
    EXPECT_EQ(ERR_FILE_OPEN, HostLoadMarkers(WideOf(folder_).c_str(), &set, 0));
    EXPECT_EQ(nullptr, set);
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostLoadMarkers(WideOf(Make("file", kStart + kEnd)).c_str(), nullptr, 0));
}

TEST_F(JpegMarkers, ManyOfThem) {
    std::string content = kStart;
    MarkerList expected;
    for (uint32_t i = 0; i < 20000; ++i) {
        expected.emplace_back(0xE0 + i % 16, Noise(i % 7, i));
        content += Segment(static_cast<int>(0xE0 + i % 16), expected.back().second);
    }
    EXPECT_EQ(expected, Load(content + Scan()));
}

TEST_F(JpegMarkers, CallbackEndsTheWalk) {
    HostMarkers set = nullptr;
    ASSERT_EQ(CLR_SUCCESS,
              HostLoadMarkers(WideOf(Make("file", kStart + App0() + App1() + Tables() + Scan())).c_str(), &set, 0));
    struct Walk {
        int32_t last;
        int calls;
    };
    const auto stop = [](uint32_t, uint32_t, const uint8_t*, void* user) -> int32_t {
        auto* walk = static_cast<Walk*>(user);
        return ++walk->calls == 2 ? walk->last : 1;
    };
    for (const int32_t last : {0, 2, -1, int32_t{ERR_NO_MEMORY}, INT32_MAX}) {
        Walk walk{last, 0};
        EXPECT_EQ(last, HostEnumMarkers(set, 0, stop, &walk));
        EXPECT_EQ(2, walk.calls);
    }
    Walk whole{1, 0};
    EXPECT_EQ(CLR_SUCCESS, HostEnumMarkers(set, 0, stop, &whole));
    EXPECT_EQ(5, whole.calls);
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostEnumMarkers(nullptr, 0, stop, &whole));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostEnumMarkers(set, 0, nullptr, &whole));
    HostFreeMarkers(set);
}

TEST_F(JpegMarkers, InsertedOnesAreCopiesAtTheEnd) {
    HostMarkers set = nullptr;
    ASSERT_EQ(CLR_SUCCESS, HostCreateMarkers(&set));
    EXPECT_EQ(MarkerList{}, ListOf(set));
    std::string data = "first";
    EXPECT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 5, BytesOf(data)));
    data = "other";
    EXPECT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE3, 5, BytesOf(data)));
    EXPECT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 0, nullptr));
    const std::string largest = Noise(65533, 1);
    EXPECT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 65533, BytesOf(largest)));
    const MarkerList expected = {{0xE2, "first"}, {0xE3, "other"}, {0xE2, ""}, {0xE2, largest}};
    EXPECT_EQ(expected, ListOf(set));

    const std::string tooLarge = Noise(65534, 1);
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(set, -1, 0xE2, 65534, BytesOf(tooLarge)));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(set, -1, 0xE2, 0xFFFFFFFF, BytesOf(tooLarge)));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(set, -1, 0xE2, 1, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(set, 0, 0xE2, 1, BytesOf(data)));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(nullptr, -1, 0xE2, 1, BytesOf(data)));
    for (const uint32_t id : {256U, 0x1E2U, 0xFFFFFFE2U, 0U, 1U, 0xD0U, 0xD8U, 0xD9U, 0xDAU, 0xFFU}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, HostInsertMarker(set, -1, id, 1, BytesOf(data))) << id;
    }
    EXPECT_EQ(expected, ListOf(set)) << "what is refused changes nothing";
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
}

TEST_F(JpegMarkers, NullCollections) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostCreateMarkers(nullptr));
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(nullptr));
}

}  // namespace
}  // namespace zv::test
