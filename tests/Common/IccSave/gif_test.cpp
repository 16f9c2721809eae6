// The application extension of a GIF file, on files that are really there.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/Common/IccSave/save_fixture.h"
#include "tests/support/profile_file.h"

namespace zv::test {
namespace {

/// The extension byte by byte.
std::string ExtensionOf(const std::string& profile) {
    std::string extension = "\x21\xFF\x0BICCRGBG1";
    extension += std::string("\0\1\2", 3);
    for (size_t at = 0; at < profile.size(); at += 255) {
        const std::string block = profile.substr(at, 255);
        extension += static_cast<char>(block.size()) + block;
    }
    return extension + std::string("\0\x3B", 2);
}

class IccSaveGif : public ::testing::Test {
protected:
    IccSaveGif() { script_.format = kSavedGifFormat; }

    static zv::test::Bytes Content(const std::string& text) { return {text.begin(), text.end()}; }
    static std::string ContentOf(const ProfileFile& file) {
        std::ifstream stream(std::filesystem::path(file.Name()), std::ios::binary);
        EXPECT_TRUE(stream.good());
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static int32_t Save(const ProfileFile& file, const std::string& profile, const SAVEFILEOPTION* options = nullptr) {
        const SavedProfile saved(profile);
        return Zv_SaveICCProfile(file.Name(), saved.Get(), options);
    }

    HostScope host_;
    ImageScript script_;
};

const std::string kGif = std::string("GIF89a\1\0\1\0\x80\0\0\1\2\3\4\5\6\x2C\0\0\0\0\1\0\1\0\0\2\2\x44\1\0\x3B", 35);

TEST_F(IccSaveGif, WorkedExtension) {
    const ProfileFile file(Content(kGif));
    EXPECT_EQ(CLR_SUCCESS, Save(file, "abc"));
    EXPECT_EQ(kGif.substr(0, 34) + std::string("\x21\xFF\x0B"
                                               "ICCRGBG1\0\1\2"
                                               "\3abc\0\x3B",
                                               20),
              ContentOf(file));
    EXPECT_EQ("HostFileInfo", script_.Operations());
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccSaveGif, BlocksOf255AndWhatIsLeft) {
    for (const size_t size : {0U, 1U, 2U, 254U, 255U, 256U, 509U, 510U, 511U, 765U, 100000U}) {
        const ProfileFile file(Content(kGif));
        const std::string profile = ProfileBytes(size);
        EXPECT_EQ(CLR_SUCCESS, Save(file, profile)) << size;
        const std::string content = ContentOf(file);
        EXPECT_EQ(kGif.substr(0, 34) + ExtensionOf(profile), content) << size;
        const size_t blocks = size / 255 + (size % 255 != 0);
        EXPECT_EQ(34 + 14 + size + blocks + 2, content.size()) << size;
    }
}

TEST_F(IccSaveGif, NoShortBlockBehindFullOnes) {
    const ProfileFile full(Content(kGif)), longer(Content(kGif));
    EXPECT_EQ(CLR_SUCCESS, Save(full, std::string(255, 'p')));
    EXPECT_EQ('\xFF', ContentOf(full)[34 + 14]);
    EXPECT_EQ(std::string("\0\x3B", 2), ContentOf(full).substr(34 + 14 + 256));
    EXPECT_EQ(CLR_SUCCESS, Save(longer, std::string(256, 'p')));
    EXPECT_EQ(std::string("\1p\0\x3B", 4), ContentOf(longer).substr(34 + 14 + 256));
}

TEST_F(IccSaveGif, TheLastByteGoesWhateverItIs) {
    for (const char last : {'\x3B', '\0', 'x', '\xFF'}) {
        const ProfileFile file(Content("no GIF at all" + std::string(1, last)));
        EXPECT_EQ(CLR_SUCCESS, Save(file, "p"));
        EXPECT_EQ("no GIF at all" + ExtensionOf("p"), ContentOf(file));
    }
    const ProfileFile byte(Content(";"));
    EXPECT_EQ(CLR_SUCCESS, Save(byte, "p"));
    EXPECT_EQ(ExtensionOf("p"), ContentOf(byte));
}

TEST_F(IccSaveGif, BytesThatTextModesChangeAreKept) {
    const std::string odd = "\r\n\n\r\x1A\n\x1A\r\n" + std::string(3, '\0');
    const ProfileFile file(Content(odd + kGif));
    EXPECT_EQ(CLR_SUCCESS, Save(file, odd));
    EXPECT_EQ(odd + kGif.substr(0, 34) + ExtensionOf(odd), ContentOf(file));
}

TEST_F(IccSaveGif, AnotherIsAddedBehindTheFirst) {
    const ProfileFile file(Content(kGif));
    EXPECT_EQ(CLR_SUCCESS, Save(file, "first"));
    EXPECT_EQ(CLR_SUCCESS, Save(file, "second"));
    const std::string first = ExtensionOf("first");
    EXPECT_EQ(kGif.substr(0, 34) + first.substr(0, first.size() - 1) + ExtensionOf("second"), ContentOf(file));
}

TEST_F(IccSaveGif, OptionsPlayNoPart) {
    const ProfileFile file(Content(kGif));
    SAVEFILEOPTION options = {};
    options.size = 1;
    options.backupName[0] = 'b';
    EXPECT_EQ(CLR_SUCCESS, Save(file, "p", &options));
    EXPECT_EQ(kGif.substr(0, 34) + ExtensionOf("p"), ContentOf(file));
    EXPECT_FALSE(std::filesystem::exists("b"));
}

TEST_F(IccSaveGif, AnEmptyFileGetsTheExtensionAlone) {
    const ProfileFile file({});
    EXPECT_EQ(CLR_SUCCESS, Save(file, "p"));
    EXPECT_EQ(ExtensionOf("p"), ContentOf(file));
}

TEST_F(IccSaveGif, FilesThatCannotBeOpenedForWriting) {
    const SavedProfile profile("p");
    EXPECT_EQ(ERR_FILE_OPEN, Zv_SaveICCProfile(ZV_WIDE("no file of that name"), profile.Get(), nullptr));
    EXPECT_FALSE(std::filesystem::exists("no file of that name")) << "none is made";
    EXPECT_EQ(ERR_FILE_OPEN, Zv_SaveICCProfile(ZV_WIDE(""), profile.Get(), nullptr));
    EXPECT_EQ(ERR_FILE_OPEN, Zv_SaveICCProfile(ZV_WIDE("."), profile.Get(), nullptr)) << "a folder";
}

TEST_F(IccSaveGif, AFileThatMayOnlyBeRead) {
    namespace fs = std::filesystem;
    const ProfileFile file(Content(kGif));
    const fs::path path(file.Name());
    fs::permissions(path, fs::perms::owner_read, fs::perm_options::replace);
    // The super-user may write it all the same.
    const bool mayWrite = std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).is_open();
    EXPECT_EQ(mayWrite ? CLR_SUCCESS : ERR_FILE_OPEN, Save(file, "p"));
    EXPECT_EQ(mayWrite ? kGif.substr(0, 34) + ExtensionOf("p") : kGif, ContentOf(file));
    fs::permissions(path, fs::perms::owner_all, fs::perm_options::replace);
}

#ifdef _WIN32
TEST_F(IccSaveGif, TheFileIsClosed) {
    // More often than a process may have streams open.
    const ProfileFile file(Content(kGif));
    for (int i = 0; i < 600; ++i) ASSERT_EQ(CLR_SUCCESS, Save(file, "")) << i;
    EXPECT_EQ(34U + 600 * 15 + 1, ContentOf(file).size());
}
#else
TEST_F(IccSaveGif, TheFileIsClosed) {
    const ProfileFile file(Content(kGif));
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = openFiles();
    EXPECT_LT(2, before);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(CLR_SUCCESS, Save(file, "")) << i;
    EXPECT_EQ(before, openFiles());
    EXPECT_EQ(34U + 3 * 15 + 1, ContentOf(file).size());
}
#endif

}  // namespace
}  // namespace zv::test
