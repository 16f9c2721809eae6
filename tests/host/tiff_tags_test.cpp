// Tags of TIFF files: both byte orders, classic and with 64-bit offsets, all built by hand.
#include <optional>

#include "tests/host/image_folder.h"

namespace zv::test {
namespace {

using namespace std::string_literals;

constexpr uint32_t kProfileTag = 34675;

struct Form {
    bool big;
    bool large;

    size_t OffsetSize() const { return large ? 8 : 4; }
    size_t CountSize() const { return large ? 8 : 2; }
    size_t HeaderSize() const { return large ? 16 : 8; }
    size_t EntrySize() const { return large ? 20 : 12; }
    size_t Step() const { return large ? 8 : 2; }
    std::string Word(uint64_t value) const { return Number(value, OffsetSize(), big); }
    std::string Header(uint64_t directory) const {
        const std::string mark = big ? "MM" : "II";
        return large ? mark + Number(43, 2, big) + Number(8, 2, big) + Number(0, 2, big) + Word(directory)
                     : mark + Number(42, 2, big) + Word(directory);
    }
    /// The value is the bytes themselves, filled up, or an offset.
    std::string Entry(uint16_t tag, uint16_t type, uint64_t count, std::string value) const {
        value.resize(OffsetSize());
        return Number(tag, 2, big) + Number(type, 2, big) + Word(count) + value;
    }
    std::string Directory(const std::vector<std::string>& entries, uint64_t next) const {
        std::string bytes = Number(entries.size(), CountSize(), big);
        for (const std::string& entry : entries) bytes += entry;
        return bytes + Word(next);
    }
};

constexpr Form kForms[] = {{false, false}, {true, false}, {false, true}, {true, true}};

std::string NameOf(const Form& form) { return (form.big ? "MM "s : "II "s) + (form.large ? "large" : "classic"); }

struct Entry {
    uint16_t tag;
    uint16_t type;
    uint64_t count;
    std::string value;
    bool operator==(const Entry&) const = default;
};

/// What a reader sees of the first directory.
struct View {
    uint64_t at = 0;
    std::vector<Entry> entries;
    uint64_t next = 0;
};

View Look(const Form& form, const std::string& file) {
    View view;
    view.at = NumberAt(file, form.HeaderSize() - form.OffsetSize(), form.OffsetSize(), form.big);
    size_t at = static_cast<size_t>(view.at);
    const uint64_t count = NumberAt(file, at, form.CountSize(), form.big);
    at += form.CountSize();
    for (uint64_t i = 0; i < count; ++i, at += form.EntrySize()) {
        view.entries.push_back({static_cast<uint16_t>(NumberAt(file, at, 2, form.big)),
                                static_cast<uint16_t>(NumberAt(file, at + 2, 2, form.big)),
                                NumberAt(file, at + 4, form.OffsetSize(), form.big),
                                file.substr(at + 4 + form.OffsetSize(), form.OffsetSize())});
    }
    view.next = NumberAt(file, at, form.OffsetSize(), form.big);
    EXPECT_EQ(file.size(), at + form.OffsetSize()) << "the directory is the file's end";
    return view;
}

class TiffTags : public ImageFolder {
protected:
    struct Tag {
        int32_t result = 0;
        uint16_t type = 0;
        uint64_t count = 0;
        std::string data{};
    };
    static constexpr uint16_t kNoType = 0xEEEE;
    static constexpr uint64_t kNoCount = 0xEEEEEEEE;

    Tag ReadPath(const fs::path& path, uint32_t tag = kProfileTag) {
        Tag read{0, kNoType, kNoCount};
        const Wide name = WideOf(path);
        read.result = HostReadFileTag(name.c_str(), tag, &read.type, &read.count, nullptr, nullptr);
        if (read.result < 1) {
            EXPECT_EQ(kNoType, read.type) << "a failure tells nothing";
            EXPECT_EQ(kNoCount, read.count);
            return read;
        }
        std::vector<uint8_t> buffer(read.count + 1, 0xCC);
        Tag again{0, kNoType, read.count};
        again.result = HostReadFileTag(name.c_str(), tag, &again.type, &again.count, buffer.data(), nullptr);
        EXPECT_EQ(read.result, again.result);
        EXPECT_EQ(read.type, again.type);
        EXPECT_EQ(read.count, again.count);
        EXPECT_EQ(0xCC, buffer.back()) << "no byte too many";
        read.data.assign(buffer.begin(), buffer.end() - 1);
        return read;
    }
    Tag Read(const std::string& content, uint32_t tag = kProfileTag) {
        return ReadPath(Make("file.tif", content), tag);
    }

    static int32_t Set(const fs::path& path, const std::string& data, uint16_t type = 7, uint32_t tag = kProfileTag,
                       const SAVEFILEOPTION* options = nullptr) {
        int32_t result = HostSetFileTag(tag, type, data.size(), BytesOf(data));
        if (result != CLR_SUCCESS) return result;
        result = HostRewriteFileTags(WideOf(path).c_str(), options);
        EXPECT_EQ(CLR_SUCCESS, HostSetFileTag(0, 0, 0, nullptr));
        return result;
    }
    /// The content after the tag was set in a file.
    std::string After(const std::string& content, const std::string& data, uint16_t type = 7,
                      uint32_t tag = kProfileTag) {
        const fs::path path = Make("file.tif", content);
        EXPECT_EQ(CLR_SUCCESS, Set(path, data, type, tag));
        EXPECT_EQ(std::vector<std::string>{"file.tif"}, Names());
        return ContentOf(path);
    }
    void ExpectRefused(const std::string& content, int32_t result, const std::string& data = "profile of some bytes") {
        const fs::path path = Make("file.tif", content);
        EXPECT_EQ(result, Set(path, data));
        EXPECT_EQ(content, ContentOf(path));
        EXPECT_EQ(std::vector<std::string>{"file.tif"}, Names());
    }
    static void ExpectNothingElseMoved(const Form& form, const std::string& before, const std::string& after) {
        const size_t field = form.HeaderSize() - form.OffsetSize();
        EXPECT_EQ(before.substr(0, field), after.substr(0, field));
        EXPECT_EQ(before.substr(form.HeaderSize()), after.substr(form.HeaderSize(), before.size() - form.HeaderSize()));
    }
};

/// A file with strips, a profile and a directory with `next` behind it.
std::string Picture(const Form& form, const std::string& profile, uint64_t next = 0, uint16_t type = 7) {
    const std::string strips = Noise(100, 5);
    const uint64_t profileAt = form.HeaderSize() + strips.size();
    const bool isInline = profile.size() <= form.OffsetSize();
    const std::string body = isInline ? "" : profile;
    return form.Header(profileAt + body.size()) + strips + body +
           form.Directory({form.Entry(256, 4, 1, Number(10, 4, form.big)),
                           form.Entry(273, 4, 1, Number(form.HeaderSize(), 4, form.big)),
                           form.Entry(kProfileTag, type, profile.size(), isInline ? profile : form.Word(profileAt))},
                          next);
}

// --- Reading -------------------------------------------------------------------------------------------------------

TEST_F(TiffTags, AreReadFromTheirPlaceOrFromTheEntry) {
    for (const Form& form : kForms) {
        for (const size_t size : {0U, 1U, 3U, 4U, 5U, 7U, 8U, 9U, 100U, 70000U}) {
            SCOPED_TRACE(NameOf(form) + " " + std::to_string(size));
            const std::string profile = Noise(size, 1);
            const Tag tag = Read(Picture(form, profile));
            EXPECT_EQ(CLR_SUCCESS, tag.result);
            EXPECT_EQ(7, tag.type);
            EXPECT_EQ(size, tag.count);
            EXPECT_EQ(profile, tag.data);
        }
    }
}

TEST_F(TiffTags, OnlyByteTypesAreRead) {
    for (const Form& form : kForms) {
        for (uint16_t type = 0; type < 20; ++type) {
            const bool bytes = type == 1 || type == 2 || type == 6 || type == 7;
            const Tag tag = Read(Picture(form, "0123456789", 0, type));
            EXPECT_EQ(bytes ? CLR_SUCCESS : ERR_BAD_TAG, tag.result) << type;
            EXPECT_EQ(bytes ? type : kNoType, tag.type);
        }
        EXPECT_EQ(ERR_BAD_TAG, Read(Picture(form, "0123456789", 0, 0x0107)).result);
    }
}

TEST_F(TiffTags, ThatAreNotThere) {
    for (const Form& form : kForms) {
        const std::string picture = Picture(form, "0123456789");
        for (const uint32_t tag : {0U, 1U, 255U, 34674U, 34676U, 65535U, 65536U + kProfileTag, 0xFFFFFFFFU}) {
            EXPECT_EQ(ERR_NO_PROFILE, Read(picture, tag).result) << tag;
        }
        EXPECT_EQ(ERR_NO_PROFILE, Read(form.Header(form.HeaderSize()) + form.Directory({}, 0)).result);
        // Only the first directory counts.
        const std::string second = form.Directory({form.Entry(kProfileTag, 7, 3, "abc")}, 0);
        const uint64_t first = form.HeaderSize() + second.size();
        EXPECT_EQ(ERR_NO_PROFILE, Read(form.Header(first) + second + form.Directory({}, form.HeaderSize())).result);
    }
}

TEST_F(TiffTags, FirstOfSeveralIsRead) {
    for (const Form& form : kForms) {
        const std::string file = form.Header(form.HeaderSize()) +
                                 form.Directory({form.Entry(65000, 1, 1, "z"), form.Entry(kProfileTag, 7, 3, "abc"),
                                                 form.Entry(kProfileTag, 7, 3, "def"), form.Entry(256, 1, 1, "w")},
                                                0);
        EXPECT_EQ("abc", Read(file).data);
        EXPECT_EQ("z", Read(file, 65000).data);
        EXPECT_EQ("w", Read(file, 256).data) << "behind larger ones";
    }
}

TEST_F(TiffTags, ValuesBehindTheEndAreDamage) {
    for (const Form& form : kForms) {
        SCOPED_TRACE(NameOf(form));
        const auto file = [&](uint64_t count, uint64_t offset) {
            return form.Header(form.HeaderSize()) +
                   form.Directory({form.Entry(kProfileTag, 7, count, form.Word(offset))}, 0);
        };
        const uint64_t size = file(0, 0).size();
        EXPECT_EQ(CLR_SUCCESS, Read(file(size, 0)).result);
        EXPECT_EQ(file(size, 0), Read(file(size, 0)).data);
        EXPECT_EQ(CLR_SUCCESS, Read(file(size - 1, 1)).result);
        const uint64_t largest = form.large ? UINT64_MAX : UINT32_MAX;
        for (const auto& [count, offset] : std::vector<std::pair<uint64_t, uint64_t>>{{size + 1, 0},
                                                                                      {size, 1},
                                                                                      {10, size - 9},
                                                                                      {10, size},
                                                                                      {10, size + 1},
                                                                                      {10, largest},
                                                                                      {largest, 0},
                                                                                      {largest, 1},
                                                                                      {largest, largest},
                                                                                      {largest - 8, 10}}) {
            EXPECT_EQ(ERR_FILE_READ, Read(file(count, offset)).result) << count << " at " << offset;
        }
    }
}

TEST_F(TiffTags, DirectoriesBehindTheEndAreDamage) {
    for (const Form& form : kForms) {
        SCOPED_TRACE(NameOf(form));
        const std::string directory = form.Directory({form.Entry(kProfileTag, 7, 3, "abc")}, 0);
        const auto at = [&](uint64_t offset) { return Read(form.Header(offset) + directory).result; };
        const uint64_t size = form.HeaderSize() + directory.size();
        EXPECT_EQ(CLR_SUCCESS, at(form.HeaderSize()));
        const uint64_t largest = form.large ? UINT64_MAX : UINT32_MAX;
        for (const uint64_t offset :
             {uint64_t{0}, uint64_t{1}, uint64_t{7}, size - 1, size, size + 1, largest, largest - 1, largest - 7}) {
            EXPECT_EQ(ERR_FILE_READ, at(offset)) << offset;
        }
        // Entries that the file does not hold.
        const uint64_t manyEntries = form.large ? UINT64_MAX : UINT16_MAX;
        for (const uint64_t count : {uint64_t{2}, uint64_t{3}, manyEntries / 20 + 1, manyEntries}) {
            std::string file = form.Header(form.HeaderSize()) + directory;
            file.replace(form.HeaderSize(), form.CountSize(), Number(count, form.CountSize(), form.big));
            EXPECT_EQ(ERR_FILE_READ, Read(file).result) << count;
            ExpectRefused(file, ERR_FILE_READ);
        }
    }
}

TEST_F(TiffTags, DirectoryBelowTheHeadersEnd) {
    // Its count is the header's own last field: no reason to refuse the first that lies behind eight bytes.
    const std::string file = "II\x2B\0\x08\0\0\0\x08\0\0\0\0\0\0\0"s + Noise(8 * 20 + 8, 3);
    EXPECT_EQ(ERR_NO_PROFILE, Read(file).result);
    EXPECT_EQ(ERR_FILE_READ, Read("II\x2A\0\x07\0\0\0"s + std::string(100, '\0')).result);
    EXPECT_EQ(ERR_NO_PROFILE, Read("II\x2A\0\x08\0\0\0"s + std::string(100, '\0')).result);
}

TEST_F(TiffTags, TruncatedFilesAreDamaged) {
    for (const Form& form : kForms) {
        SCOPED_TRACE(NameOf(form));
        const std::string whole = Picture(form, Noise(10, 1));
        for (size_t size = 0; size < whole.size(); ++size) {
            EXPECT_EQ(ERR_FILE_READ, Read(whole.substr(0, size)).result) << size;
            ExpectRefused(whole.substr(0, size), ERR_FILE_READ);
        }
    }
}

TEST_F(TiffTags, OtherHeadersAreDamage) {
    for (const Form& form : kForms) {
        const std::string picture = Picture(form, "0123456789");
        for (size_t i = 0; i < form.HeaderSize() - form.OffsetSize(); ++i) {
            std::string changed = picture;
            changed[i] = static_cast<char>(changed[i] ^ 0x40);
            EXPECT_EQ(ERR_FILE_READ, Read(changed).result) << i;
            ExpectRefused(changed, ERR_FILE_READ);
        }
        std::string mixed = picture;
        mixed[1] = form.big ? 'I' : 'M';
        EXPECT_EQ(ERR_FILE_READ, Read(mixed).result);
        mixed[0] = form.big ? 'I' : 'M';
        EXPECT_EQ(ERR_FILE_READ, Read(mixed).result) << "the version in the other order";
    }
}

TEST_F(TiffTags, DirectoryChainsMayLoop) {
    for (const Form& form : kForms) {
        const std::string file =
            form.Header(form.HeaderSize()) + form.Directory({form.Entry(kProfileTag, 7, 3, "abc")}, form.HeaderSize());
        EXPECT_EQ("abc", Read(file).data);
        EXPECT_EQ(form.HeaderSize(), Look(form, After(file, "defgh")).next);
    }
}

TEST_F(TiffTags, BufferSaysWhatItHolds) {
    const Wide name = WideOf(Make("file.tif", Picture(kForms[0], "0123456789")));
    for (const uint64_t room : {uint64_t{0}, uint64_t{9}, uint64_t{10}, uint64_t{11}}) {
        uint8_t buffer[12] = {};
        uint16_t type = 0;
        uint64_t count = room;
        const int32_t result = HostReadFileTag(name.c_str(), kProfileTag, &type, &count, buffer, nullptr);
        EXPECT_EQ(room >= 10 ? CLR_SUCCESS : ERR_FILE_READ, result) << room;
        EXPECT_EQ(room >= 10 ? 10 : room, count);
        EXPECT_EQ(room >= 10 ? '9' : 0, buffer[9]);
        EXPECT_EQ(0, buffer[10]);
    }
    uint16_t type = 0;
    uint64_t count = 0;
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostReadFileTag(name.c_str(), kProfileTag, nullptr, &count, nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostReadFileTag(name.c_str(), kProfileTag, &type, nullptr, nullptr, nullptr));
}

TEST_F(TiffTags, OfFilesThatCannotBeOpened) {
    for (const fs::path& path : {folder_ / "missing", folder_}) {
        EXPECT_EQ(ERR_FILE_OPEN, ReadPath(path).result);
        EXPECT_EQ(ERR_FILE_OPEN, Set(path, "profile"));
    }
}

// --- Setting -------------------------------------------------------------------------------------------------------

TEST_F(TiffTags, NewOneStandsInTheOrderOfTags) {
    for (const Form& form : kForms) {
        for (const uint16_t tag : {uint16_t{1}, uint16_t{300}, uint16_t{65535}}) {
            SCOPED_TRACE(NameOf(form) + " " + std::to_string(tag));
            const std::string before = Picture(form, "0123456789");
            const std::string after = After(before, "a new value", 1, tag);
            ExpectNothingElseMoved(form, before, after);
            View view = Look(form, after);
            ASSERT_EQ(4U, view.entries.size());
            const auto isLess = [](const Entry& a, const Entry& b) { return a.tag < b.tag; };
            EXPECT_TRUE(std::is_sorted(view.entries.begin(), view.entries.end(), isLess));
            std::erase_if(view.entries, [&](const Entry& entry) { return entry.tag == tag; });
            EXPECT_EQ(256, view.entries.at(0).tag);
            EXPECT_EQ(Number(10, 4, form.big), view.entries.at(0).value.substr(0, 4));
            EXPECT_EQ(273, view.entries.at(1).tag);
            EXPECT_EQ(Number(form.HeaderSize(), 4, form.big), view.entries.at(1).value.substr(0, 4));
            EXPECT_EQ((Entry{kProfileTag, 7, 10, form.Word(form.HeaderSize() + 100)}), view.entries.at(2));
            EXPECT_EQ("a new value", Read(after, tag).data);
            EXPECT_EQ(1, Read(after, tag).type);
            EXPECT_EQ("0123456789", Read(after).data);
        }
    }
}

TEST_F(TiffTags, ProfilesOfEverySizeInFilesOfEverySize) {
    for (const Form& form : kForms) {
        for (size_t size = 1; size <= 20; ++size) {
            for (size_t behind = 0; behind < form.Step(); ++behind) {
                SCOPED_TRACE(NameOf(form) + " " + std::to_string(size) + " " + std::to_string(behind));
                const std::string profile = Noise(size, 4);
                const std::string before = Picture(form, Noise(33, 1)) + std::string(behind, 'e');
                const std::string after = After(before, profile);
                ExpectNothingElseMoved(form, before, after);
                const View view = Look(form, after);
                ASSERT_EQ(3U, view.entries.size());
                const Entry& entry = view.entries[2];
                EXPECT_EQ(kProfileTag, entry.tag);
                EXPECT_EQ(7, entry.type);
                EXPECT_EQ(size, entry.count);
                EXPECT_EQ(0U, view.at % form.Step()) << "directories are aligned";
                const uint64_t dataAt = (before.size() + form.Step() - 1) / form.Step() * form.Step();
                if (size <= form.OffsetSize()) {
                    EXPECT_EQ(profile + std::string(form.OffsetSize() - size, '\0'), entry.value);
                    EXPECT_EQ(dataAt, view.at);
                } else {
                    EXPECT_EQ(form.Word(dataAt), entry.value);
                    EXPECT_EQ((dataAt + size + form.Step() - 1) / form.Step() * form.Step(), view.at);
                }
                const std::string padding = after.substr(before.size(), dataAt - before.size());
                EXPECT_EQ(std::string(padding.size(), '\0'), padding);
                EXPECT_EQ(profile, Read(after).data);
            }
        }
    }
}

TEST_F(TiffTags, DuplicatesBecomeOne) {
    for (const Form& form : kForms) {
        const auto mark = [&](uint16_t tag, const char* value) { return form.Entry(tag, 1, 1, value); };
        const std::string before =
            form.Header(form.HeaderSize()) +
            form.Directory({mark(kProfileTag, "1"), mark(256, "a"), mark(kProfileTag, "2"), mark(300, "b"),
                            mark(kProfileTag, "3"), mark(40000, "c"), mark(kProfileTag, "4")},
                           0);
        const View view = Look(form, After(before, "xyz"));
        std::vector<uint16_t> tags;
        std::string values;
        for (const Entry& entry : view.entries) {
            tags.push_back(entry.tag);
            values += entry.value[0];
        }
        EXPECT_EQ((std::vector<uint16_t>{256, 300, kProfileTag, 40000}), tags);
        EXPECT_EQ("abxc", values);
    }
}

TEST_F(TiffTags, UnsortedDirectoriesKeepTheirOrder) {
    for (const Form& form : kForms) {
        const auto mark = [&](uint16_t tag, const char* value) { return form.Entry(tag, 1, 1, value); };
        const std::string before = form.Header(form.HeaderSize()) +
                                   form.Directory({mark(300, "a"), mark(256, "b"), mark(50000, "c"), mark(5, "d")}, 0);
        std::string values;
        for (const Entry& entry : Look(form, After(before, "x")).entries) values += entry.value[0];
        EXPECT_EQ("abxcd", values);
    }
}

TEST_F(TiffTags, FirstOfADirectoryWithoutAny) {
    for (const Form& form : kForms) {
        const std::string after = After(form.Header(form.HeaderSize()) + form.Directory({}, 77), "the profile");
        EXPECT_EQ(1U, Look(form, after).entries.size());
        EXPECT_EQ(77U, Look(form, after).next);
        EXPECT_EQ("the profile", Read(after).data);
    }
}

TEST_F(TiffTags, OtherPagesStay) {
    for (const Form& form : kForms) {
        const std::string third = form.Directory({form.Entry(254, 1, 1, "3")}, 0);
        const uint64_t thirdAt = form.HeaderSize();
        const std::string second =
            form.Directory({form.Entry(254, 1, 1, "2"), form.Entry(kProfileTag, 7, 3, "2nd")}, thirdAt);
        const uint64_t secondAt = thirdAt + third.size();
        const std::string before = form.Header(secondAt + second.size()) + third + second +
                                   form.Directory({form.Entry(254, 1, 1, "1")}, secondAt);
        const std::string after = After(before, "profile of the first page");
        ExpectNothingElseMoved(form, before, after);
        EXPECT_EQ(secondAt, Look(form, after).next);
        EXPECT_EQ("profile of the first page", Read(after).data);
        EXPECT_EQ("1", Read(after, 254).data);
    }
}

TEST_F(TiffTags, LargeFilesAndProfiles) {
    for (const Form& form : kForms) {
        const std::string before = Picture(form, Noise(300001, 1)) + Noise(600000, 2);
        const std::string profile = Noise(500003, 3);
        const std::string after = After(before, profile);
        ExpectNothingElseMoved(form, before, after);
        EXPECT_EQ(profile, Read(after).data);
        EXPECT_EQ(3U, Look(form, after).entries.size());
    }
}

TEST_F(TiffTags, ClassicDirectoryThatIsFull) {
    const Form& form = kForms[0];
    std::vector<std::string> entries(65535, form.Entry(300, 1, 1, "a"));
    ExpectRefused(form.Header(8) + form.Directory(entries, 0), ERR_FILE_WRITE);
    entries.back() = form.Entry(kProfileTag, 1, 1, "b");
    EXPECT_EQ("replaced", Read(After(form.Header(8) + form.Directory(entries, 0), "replaced")).data);
    const Form& large = kForms[2];
    entries.assign(65535, large.Entry(300, 1, 1, "a"));
    EXPECT_EQ("added", Read(After(large.Header(16) + large.Directory(entries, 0), "added")).data);
    // As many as there are tags; what could not be read again is not written.
    entries.assign(65536, large.Entry(300, 1, 1, "a"));
    ExpectRefused(large.Header(16) + large.Directory(entries, 0), ERR_FILE_WRITE);
    entries.assign(65537, large.Entry(300, 1, 1, "a"));
    ExpectRefused(large.Header(16) + large.Directory(entries, 0), ERR_FILE_READ);
}

TEST_F(TiffTags, SetRefusesWhatIsNoTag) {
    const std::string data = "data";
    const uint8_t* bytes = BytesOf(data);
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostSetFileTag(65536, 7, 4, bytes));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostSetFileTag(kProfileTag, 7, 0, bytes));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostSetFileTag(kProfileTag, 7, 4, nullptr));
    for (const int type : {0, 3, 4, 5, 8, 13, 0x0107}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, HostSetFileTag(kProfileTag, static_cast<uint16_t>(type), 4, bytes)) << type;
    }
    const fs::path path = Make("file.tif", Picture(kForms[0], "abc"));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFileTags(WideOf(path).c_str(), nullptr)) << "nothing is set";
    for (const uint16_t type : std::vector<uint16_t>{1, 2, 6, 7}) {
        EXPECT_EQ(CLR_SUCCESS, Set(path, "data", type));
        EXPECT_EQ(type, ReadPath(path).type);
    }
    EXPECT_EQ(CLR_SUCCESS, Set(path, "data of the last tag", 7, 65535));
    EXPECT_EQ("data of the last tag", ReadPath(path, 65535).data);
}

TEST_F(TiffTags, DataAreReadWhenTheFileIsRewritten) {
    const fs::path path = Make("file.tif", Picture(kForms[0], "abc"));
    std::string data = "first of the data";
    ASSERT_EQ(CLR_SUCCESS, HostSetFileTag(kProfileTag, 7, data.size(), BytesOf(data)));
    data[0] = 'F';
    EXPECT_EQ(CLR_SUCCESS, HostRewriteFileTags(WideOf(path).c_str(), nullptr));
    EXPECT_EQ(CLR_SUCCESS, HostSetFileTag(0, 0, 0, nullptr));
    EXPECT_EQ("First of the data", ReadPath(path).data);
}

#ifndef _WIN32
// The file is all hole; it is refused before anything is copied.
TEST_F(TiffTags, ClassicFilesEndAtFourGigabytes) {
    for (const Form& form : {kForms[0], kForms[1]}) {
        const fs::path path = Make("file.tif", form.Header(8) + form.Directory({form.Entry(256, 1, 1, "w")}, 0));
        const std::string profile = Noise(200, 1);
        for (const uint64_t size : {(uint64_t{1} << 32) - 100, (uint64_t{1} << 32) - 200, (uint64_t{1} << 32) - 1,
                                    uint64_t{1} << 32, (uint64_t{1} << 32) + 5000, uint64_t{1} << 40}) {
            fs::resize_file(path, size);
            EXPECT_EQ(ERR_FILE_WRITE, Set(path, profile)) << size;
            EXPECT_EQ(size, fs::file_size(path));
            EXPECT_EQ("w", ReadPath(path, 256).data);
        }
        fs::resize_file(path, uint64_t{1} << 32);
        EXPECT_EQ(ERR_FILE_WRITE, Set(path, "abc")) << "no room for the directory";
        EXPECT_EQ(std::vector<std::string>{"file.tif"}, Names());
    }
}
#endif

}  // namespace
}  // namespace zv::test
