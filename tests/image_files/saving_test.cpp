// Where files lie and what they are called, backups, and arguments that cannot be used.
#include <gtest/gtest.h>

#include <string>

#include "image_file_support.h"
#include "small_images.h"

#ifdef _WIN32
#    include <windows.h>
#endif

namespace {

using namespace zvtest;

struct Kind {
    std::string name;
    Bytes image;
    bool replaced;  ///< by a new file, not written into
};

const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds = {
        {"Jpeg", SmallJpeg(), true},
        {"Tiff", SmallTiff(kTiffForms[0]), true},
        {"BigTiff", SmallTiff(kTiffForms[3]), true},
        {"Gif", SmallGif(), false},
    };
    return kinds;
}

class Saving : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override { WriteFile(file_, GetParam().image); }

    /// What the file holds after a save, by way of another that is saved into in the plainest way.
    Bytes Expected(const Bytes& profile) const {
        const Folder other;
        WriteFile(other / "plain", GetParam().image);
        EXPECT_EQ(Save(other / "plain", profile), 1);
        return ReadFile(other / "plain");
    }

    const Bytes profile_ = MadeUpProfile(1000);
    const Folder folder_;
    const fs::path file_ = folder_ / "image";
};

INSTANTIATE_TEST_SUITE_P(Kinds, Saving, testing::ValuesIn(Kinds()),
                         [](const testing::TestParamInfo<Kind>& kind) { return kind.param.name; });

TEST_P(Saving, LeavesNothingBesideTheFile) {
    ASSERT_EQ(Save(file_, profile_), 1);
    EXPECT_EQ(StateOf(folder_.Root()).size(), 1U);
    EXPECT_EQ(ReadFile(file_), Expected(profile_));
}

TEST_P(Saving, KeepsTheOldFileAsItsBackup) {
    const fs::path backup = folder_ / "old image";
    ASSERT_EQ(SaveWithBackup(file_, profile_, backup), 1);
    EXPECT_EQ(ReadFile(file_), Expected(profile_));
    // A file that is written into has no backup.
    EXPECT_EQ(fs::exists(backup), GetParam().replaced);
    EXPECT_EQ(StateOf(folder_.Root()).size(), GetParam().replaced ? 2U : 1U);
    if (!GetParam().replaced) return;
    EXPECT_EQ(ReadFile(backup), GetParam().image);
    // The next one takes its place.
    const Bytes between = ReadFile(file_);
    ASSERT_EQ(SaveWithBackup(file_, MadeUpProfile(3), backup), 1);
    EXPECT_EQ(ReadFile(backup), between);
    EXPECT_EQ(StateOf(folder_.Root()).size(), 2U);
}

TEST_P(Saving, RefusesBackupsThatCannotBe) {
    if (!GetParam().replaced) return;
    fs::create_directory(folder_ / "folder");
    const FolderState before = StateOf(folder_.Root());
    for (const fs::path& backup : {folder_ / "folder", folder_ / "none" / "old", file_}) {
        EXPECT_EQ(SaveWithBackup(file_, profile_, backup), ERR_FILE_WRITE) << backup;
        EXPECT_TRUE(StateOf(folder_.Root()) == before) << backup;
    }
    SAVEFILEOPTION options = {};
    ClrIccProfile record;
    Zv_InitICCProfile(&record, sizeof record);
    Bytes copy = profile_;
    record.profileData = copy.data();
    record.profileSize = copy.size();
    const auto name = WideName(file_);
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), &record, &options), ERR_STRUCT_SIZE);
    options.size = sizeof options - 1;
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), &record, &options), ERR_STRUCT_SIZE);
    options.size = sizeof options;
    for (ZvChar& character : options.backupName) character = 'x';
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), &record, &options), ERR_INVALID_PARAMETER);
    EXPECT_TRUE(StateOf(folder_.Root()) == before);
}

TEST_P(Saving, NamesInOtherScripts) {
    for (const char16_t* name :
         {u"Grüße aus Zürich", u"写真 その一", u"снимок", u"\U0001F308 rainbow", u"with  blanks ' \u201E"}) {
        const fs::path file = folder_ / fs::path(name);
        WriteFile(file, GetParam().image);
        EXPECT_EQ(SaveWithBackup(file, profile_, folder_ / fs::path(std::u16string(u"old ") + name)), 1);
        EXPECT_EQ(ReadFile(file), Expected(profile_));
        EXPECT_EQ(Load(file).result, GetParam().replaced ? 1 : ERR_FORMAT_NO_ICC);
    }
    EXPECT_EQ(StateOf(folder_.Root()).size(), GetParam().replaced ? 11U : 6U);
}

std::string Narrow(const fs::path& path) {
#ifdef _WIN32
    char name[MAX_PATH] = {};
    BOOL changed = FALSE;
    WideCharToMultiByte(CP_ACP, 0, path.c_str(), -1, name, MAX_PATH, nullptr, &changed);
    EXPECT_FALSE(changed) << "not in the system's code page";
    return name;
#else
    return path.string();
#endif
}

TEST_P(Saving, NarrowNames) {
    // These two are in the code pages of western Europe too.
    const fs::path file = folder_ / fs::path(u"Gr\u00FC\u00DFe");
    const fs::path backup = folder_ / fs::path(u"alte Gr\u00FC\u00DFe");
    WriteFile(file, GetParam().image);
    ClrIccProfile record;
    Zv_InitICCProfile(&record, sizeof record);
    Bytes copy = profile_;
    record.profileData = copy.data();
    record.profileSize = copy.size();
    SAVEFILEOPTIONA options = {};
    options.size = sizeof options;
    Narrow(backup).copy(options.backupName, sizeof options.backupName - 1);
    ASSERT_EQ(Zv_SaveICCProfileA(Narrow(file).c_str(), &record, &options), 1);
    EXPECT_EQ(ReadFile(file), Expected(profile_));
    EXPECT_EQ(fs::exists(backup), GetParam().replaced);
    EXPECT_EQ(Zv_SaveICCProfileA(Narrow(file).c_str(), &record, nullptr), 1);

    Zv_InitICCProfile(&record, sizeof record);
    const int32_t result = Zv_LoadICCProfileA(Narrow(file).c_str(), &record, nullptr);
    EXPECT_EQ(result, GetParam().replaced ? 1 : ERR_FORMAT_NO_ICC);
    const uint8_t* const data = record.profileData;
    if (GetParam().replaced) {
        ASSERT_EQ(record.profileSize + 0, profile_.size());
        EXPECT_EQ(Bytes(data, data + profile_.size()), profile_);
    }
    Zv_FreeICCProfile(&record);
}

TEST_P(Saving, NarrowNamesThatAreNone) {
    const FolderState before = StateOf(folder_.Root());
    ClrIccProfile record;
    Zv_InitICCProfile(&record, sizeof record);
    Bytes copy = profile_;
    record.profileData = copy.data();
    record.profileSize = copy.size();
    const std::string name = Narrow(file_);
    EXPECT_EQ(Zv_SaveICCProfileA(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Zv_LoadICCProfileA(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
    SAVEFILEOPTIONA options = {};
    options.size = sizeof options - 4;
    EXPECT_EQ(Zv_SaveICCProfileA(name.c_str(), &record, &options), ERR_FAILURE);
    options.size = sizeof options;
    for (char& character : options.backupName) character = 'x';
    EXPECT_EQ(Zv_SaveICCProfileA(name.c_str(), &record, &options), ERR_FAILURE);
#ifndef _WIN32
    EXPECT_EQ(Zv_SaveICCProfileA((name + "\xFF\xFE").c_str(), &record, nullptr), ERR_FAILURE);
    EXPECT_EQ(Zv_LoadICCProfileA((name + "\xC3").c_str(), &record, nullptr), ERR_FAILURE);
    options = {};
    options.size = sizeof options;
    options.backupName[0] = '\x80';
    EXPECT_EQ(Zv_SaveICCProfileA(name.c_str(), &record, &options), ERR_FAILURE);
#endif
    EXPECT_TRUE(StateOf(folder_.Root()) == before);
}

TEST_P(Saving, WithoutAProfileNothingHappens) {
    const FolderState before = StateOf(folder_.Root());
    ClrIccProfile record;
    Zv_InitICCProfile(&record, sizeof record);
    record.profileSize = 100;
    const auto name = WideName(file_);
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), &record, nullptr), ERR_NO_PROFILE);
    record.structSize = 55;
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), &record, nullptr), ERR_STRUCT_SIZE);
    EXPECT_EQ(Zv_LoadICCProfile(name.c_str(), &record, nullptr), ERR_STRUCT_SIZE);
    EXPECT_EQ(Zv_SaveICCProfile(name.c_str(), nullptr, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Zv_LoadICCProfile(name.c_str(), nullptr, nullptr), ERR_INVALID_PARAMETER);
    record.structSize = 56;
    EXPECT_EQ(Zv_SaveICCProfile(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Zv_LoadICCProfile(nullptr, &record, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_TRUE(StateOf(folder_.Root()) == before);
}

TEST(Loading, TheBlockBeforeComesBackOrIsForgotten) {
    const Folder folder;
    WriteFile(folder / "none.jpg", SmallJpeg());
    WriteFile(folder / "none.tif", SmallTiff(kTiffForms[1]));
    WriteFile(folder / "damaged.jpg", {0xFF, 0xD8, 0xFF, 0xE0, 0, 1});
    WriteFile(folder / "none.png", Bytes{0x89} + Text("PNG\r\n\x1A\n"));
    WriteFile(folder / "some.jpg", JpegWith(JpegPart(1, 1, {5, 6, 7})));
    uint8_t earlier[] = {1, 2, 3};
    const auto load = [&](const char* name, int32_t expected) {
        ClrIccProfile record;
        Zv_InitICCProfile(&record, sizeof record);
        record.profileData = earlier;
        record.profileSize = sizeof earlier;
        EXPECT_EQ(Zv_LoadICCProfile(WideName(folder / name).c_str(), &record, nullptr), expected) << name;
        return record;
    };
    const ClrIccProfile restored = load("none.jpg", ERR_NO_PROFILE);
    EXPECT_TRUE(restored.profileData == earlier);
    EXPECT_EQ(restored.profileSize + 0, sizeof earlier);
    for (const char* name : {"none.tif", "damaged.jpg", "none.png", "missing"}) {
        const std::string text = name;
        const ClrIccProfile forgotten = load(name, text == "none.tif"      ? ERR_NO_PROFILE
                                                   : text == "damaged.jpg" ? ERR_FILE_READ
                                                   : text == "none.png"    ? ERR_FORMAT_NO_ICC
                                                                           : ERR_FILE_OPEN);
        EXPECT_TRUE(forgotten.profileData == nullptr) << name;
        EXPECT_EQ(forgotten.profileSize + 0, 0U) << name;
    }
    ClrIccProfile found = load("some.jpg", 1);
    EXPECT_TRUE(found.profileData != earlier);
    EXPECT_EQ(found.profileSize + 0, 3U);
    Zv_FreeICCProfile(&found);
}

TEST(Files, ThatAreNotThere) {
    const Folder folder;
    fs::create_directory(folder / "folder");
    const FolderState before = StateOf(folder.Root());
    for (const fs::path& file : {folder / "none.jpg", folder / "none" / "none.tif", folder / "folder", fs::path()}) {
        EXPECT_EQ(Load(file).result, ERR_FILE_OPEN) << file;
        EXPECT_EQ(Save(file, MadeUpProfile(100)), ERR_FILE_OPEN) << file;
        EXPECT_TRUE(StateOf(folder.Root()) == before) << file;
    }
}

}  // namespace
