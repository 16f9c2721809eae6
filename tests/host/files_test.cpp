// Files of the host and of the platform.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/host.h"

#ifdef _WIN32
#    include <process.h>
#else
#    include <sys/stat.h>
#    include <unistd.h>
#endif

namespace zv::test {
namespace {

namespace fs = std::filesystem;
using Wide = std::basic_string<ZvChar>;

Wide WideOf(const fs::path& path) {
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

/// A folder of its own for each test.
class HostFiles : public ::testing::Test {
protected:
    fs::path folder_;

    void SetUp() override {
#ifdef _WIN32
        const int process = _getpid();
#else
        const int process = getpid();
#endif
        const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        folder_ = fs::temp_directory_path() / ("zvclr_files_" + test + "_" + std::to_string(process));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    fs::path Make(const fs::path& name, const std::string& content) const {
        const fs::path path = folder_ / name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    static std::string ContentOf(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    static HostFile Open(const fs::path& path) { return HostFileOpen(WideOf(path).c_str(), 0, kHostFileRead); }
    static HANDLE Create(const fs::path& path, DWORD access, DWORD disposition) {
        return HostCreateFile(WideOf(path).c_str(), access, FILE_SHARE_READ, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr, __LINE__, nullptr);
    }
    static void Close(HANDLE handle) { HostCloseFile(handle, __LINE__, nullptr); }
};

TEST_F(HostFiles, MissingFilesDoNotOpen) {
    EXPECT_EQ(kNoHostFile, Open(folder_ / "missing"));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(folder_ / "missing", GENERIC_READ, OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_EQ(kNoHostFile, Open(folder_ / "missing" / "file"));
}

TEST_F(HostFiles, FolderIsNoFile) {
    EXPECT_EQ(kNoHostFile, Open(folder_));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(folder_, GENERIC_WRITE, OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
}

#ifndef _WIN32
TEST_F(HostFiles, PipeIsRefusedAndHoldsNobody) {
    const fs::path pipe = folder_ / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    EXPECT_EQ(kNoHostFile, Open(pipe));
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(pipe, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING));
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(pipe, GENERIC_WRITE, OPEN_EXISTING));
}
#endif

TEST_F(HostFiles, PathThroughAFileIsNotFound) {
    Make("plain", "x");
    EXPECT_EQ(kNoHostFile, Open(folder_ / "plain" / "inner"));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, GetLastError());
}

TEST_F(HostFiles, ReadsWholeShortAndAtTheEnd) {
    const HostFile file = Open(Make("digits", "0123456789"));
    ASSERT_NE(kNoHostFile, file);
    char buffer[16] = {};
    EXPECT_EQ(4, HostFileRead(file, buffer, 4));
    EXPECT_EQ("0123", std::string(buffer, 4));
    EXPECT_EQ(6, HostFileReadMore(file, buffer, 16)) << "short at the end";
    EXPECT_EQ("456789", std::string(buffer, 6));
    EXPECT_EQ(0, HostFileRead(file, buffer, 16));
    EXPECT_EQ(0, HostFileReadMore(file, buffer, 1));
    HostFileClose(file);
}

TEST_F(HostFiles, ReadsOfNoOrNegativeCountAreZero) {
    const HostFile file = Open(Make("digits", "0123456789"));
    ASSERT_NE(kNoHostFile, file);
    char buffer[2] = {};
    EXPECT_EQ(0, HostFileRead(file, buffer, 0));
    EXPECT_EQ(0, HostFileRead(file, buffer, -1));
    EXPECT_EQ(1, HostFileRead(file, buffer, 1));
    EXPECT_EQ('0', buffer[0]);
    HostFileClose(file);
}

TEST_F(HostFiles, ReadsBinaryBytesAsTheyAre) {
    const std::string bytes("a\r\n\x1A\0\xFF\n", 7);
    const HostFile file = Open(Make("binary", bytes));
    ASSERT_NE(kNoHostFile, file);
    char buffer[16] = {};
    EXPECT_EQ(7, HostFileRead(file, buffer, 16));
    EXPECT_EQ(bytes, std::string(buffer, 7));
    HostFileClose(file);
}

TEST_F(HostFiles, ReadsOfALargeFileComeWhole) {
    std::string content(3'000'001, 'x');
    for (size_t i = 0; i < content.size(); i += 1000) content[i] = static_cast<char>('a' + i / 1000 % 26);
    const HostFile file = Open(Make("large", content));
    ASSERT_NE(kNoHostFile, file);
    std::string read(content.size() + 10, ' ');
    EXPECT_EQ(3'000'001, HostFileRead(file, read.data(), static_cast<int32_t>(read.size())));
    read.resize(content.size());
    EXPECT_EQ(content, read);
    HostFileClose(file);
}

TEST_F(HostFiles, SeeksFromStartAndCurrent) {
    const HostFile file = Open(Make("digits", "0123456789"));
    ASSERT_NE(kNoHostFile, file);
    char c = 0;
    EXPECT_EQ(7, HostFileSeek(file, 7, 0));
    EXPECT_EQ(1, HostFileRead(file, &c, 1));
    EXPECT_EQ('7', c);
    EXPECT_EQ(6, HostFileSeek(file, -2, 1));
    EXPECT_EQ(1, HostFileRead(file, &c, 1));
    EXPECT_EQ('6', c);
    EXPECT_EQ(7, HostFileSeek(file, 0, 1)) << "the position";
    EXPECT_EQ(100, HostFileSeek(file, 100, 0)) << "behind the end";
    EXPECT_EQ(0, HostFileRead(file, &c, 1));
    EXPECT_EQ(-1, HostFileSeek(file, -1, 0));
    EXPECT_EQ(-1, HostFileSeek(file, -101, 1));
    EXPECT_EQ(0, HostFileSeek(file, 0, 0));
    HostFileClose(file);
}

constexpr int64_t kFiveGigabytes = 5LL << 30;

TEST_F(HostFiles, SeeksBeyondFourGigabytes) {
    const HostFile file = Open(Make("digits", "0123456789"));
    ASSERT_NE(kNoHostFile, file);
    EXPECT_EQ(kFiveGigabytes + 3, HostFileSeek(file, kFiveGigabytes + 3, 0));
    EXPECT_EQ(kFiveGigabytes + 13, HostFileSeek(file, 10, 1));
    EXPECT_EQ(0xFFFFFFFFLL, HostFileSeek(file, 0xFFFFFFFFLL, 0)) << "a low half that looks like a failure";
    EXPECT_EQ((1LL << 32) + 0xFFFFFFFFLL, HostFileSeek(file, 1LL << 32, 1));
    EXPECT_EQ(2, HostFileSeek(file, 2 - (1LL << 32) - 0xFFFFFFFFLL, 1));
    char c = 0;
    EXPECT_EQ(1, HostFileRead(file, &c, 1));
    EXPECT_EQ('2', c);
    HostFileClose(file);
}

#ifndef _WIN32
// Files have holes there: nothing of the gap reaches the disk.
TEST_F(HostFiles, ReadsAndWritesBeyondFourGigabytes) {
    const fs::path path = folder_ / "sparse";
    HANDLE handle = Create(path, GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    LONG high = 1;
    EXPECT_EQ(DWORD{0x40000000}, SetFilePointer(handle, 0x40000000, &high, FILE_BEGIN));
    EXPECT_EQ(1, high);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(handle, "far", 3, &done, nullptr));
    EXPECT_EQ(3U, done);
    Close(handle);
    EXPECT_EQ(static_cast<uintmax_t>(kFiveGigabytes + 3), fs::file_size(path));

    const HostFile file = Open(path);
    ASSERT_NE(kNoHostFile, file);
    char text[4] = {};
    EXPECT_EQ(kFiveGigabytes, HostFileSeek(file, kFiveGigabytes, 0));
    EXPECT_EQ(3, HostFileRead(file, text, 4));
    EXPECT_STREQ("far", text);
    EXPECT_EQ(kFiveGigabytes, HostFileSeek(file, -3, 1));
    HostFileClose(file);
}
#endif

TEST_F(HostFiles, SetFilePointerFromTheEndAndWithoutAHighHalf) {
    HANDLE handle = Create(Make("digits", "0123456789"), GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    EXPECT_EQ(7U, SetFilePointer(handle, -3, nullptr, FILE_END));
    EXPECT_EQ(5U, SetFilePointer(handle, -2, nullptr, FILE_CURRENT));
    SetLastError(0);
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(handle, -1, nullptr, FILE_BEGIN));
    EXPECT_EQ(DWORD{ERROR_NEGATIVE_SEEK}, GetLastError());
    EXPECT_EQ(5U, SetFilePointer(handle, 0, nullptr, FILE_CURRENT)) << "a refused seek moves nothing";
    Close(handle);
}

TEST_F(HostFiles, WritesWhatIsReadBack) {
    const fs::path path = folder_ / "written";
    HANDLE handle = Create(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    DWORD done = 99;
    EXPECT_TRUE(WriteFile(handle, "hello world", 11, &done, nullptr));
    EXPECT_EQ(11U, done);
    EXPECT_TRUE(WriteFile(handle, "", 0, &done, nullptr));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(6U, SetFilePointer(handle, 6, nullptr, FILE_BEGIN));
    EXPECT_TRUE(WriteFile(handle, "W", 1, &done, nullptr));
    EXPECT_EQ(0U, SetFilePointer(handle, 0, nullptr, FILE_BEGIN));
    char text[12] = {};
    EXPECT_TRUE(ReadFile(handle, text, 11, &done, nullptr));
    EXPECT_EQ(11U, done);
    EXPECT_STREQ("hello World", text);
    EXPECT_TRUE(ReadFile(handle, text, 11, &done, nullptr)) << "the end is no failure";
    EXPECT_EQ(0U, done);
    Close(handle);
    EXPECT_EQ("hello World", ContentOf(path));
}

TEST_F(HostFiles, AccessIsKept) {
    const fs::path path = Make("access", "abc");
    DWORD done = 0;
    char text[4] = {};
    HANDLE reader = Create(path, GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, reader);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &done, nullptr));
    Close(reader);
    HANDLE writer = Create(path, GENERIC_WRITE, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, writer);
    EXPECT_FALSE(ReadFile(writer, text, 1, &done, nullptr));
    Close(writer);
    EXPECT_EQ("abc", ContentOf(path));
}

TEST_F(HostFiles, CreateNewRefusesWhatExists) {
    const fs::path path = Make("existing", "abc");
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(path, GENERIC_WRITE, CREATE_NEW));
    EXPECT_EQ(DWORD{ERROR_FILE_EXISTS}, GetLastError());
    EXPECT_EQ("abc", ContentOf(path));
    HANDLE handle = Create(folder_ / "new", GENERIC_WRITE, CREATE_NEW);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    Close(handle);
    EXPECT_TRUE(fs::exists(folder_ / "new"));
}

TEST_F(HostFiles, DispositionsKeepOrClearTheContents) {
    const fs::path path = Make("file", "abc");
    Close(Create(path, GENERIC_WRITE, OPEN_EXISTING));
    EXPECT_EQ("abc", ContentOf(path));
    Close(Create(path, GENERIC_WRITE, OPEN_ALWAYS));
    EXPECT_EQ("abc", ContentOf(path));
    Close(Create(path, GENERIC_WRITE, TRUNCATE_EXISTING));
    EXPECT_EQ("", ContentOf(path));
    Make("file", "abc");
    Close(Create(path, GENERIC_WRITE, CREATE_ALWAYS));
    EXPECT_EQ("", ContentOf(path));

    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(folder_ / "none", GENERIC_WRITE, TRUNCATE_EXISTING));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    Close(Create(folder_ / "opened", GENERIC_WRITE, OPEN_ALWAYS));
    EXPECT_TRUE(fs::exists(folder_ / "opened"));
}

#ifndef _WIN32
// Of our own layer; Windows leaves it to the file system.
TEST_F(HostFiles, TruncationAsksForTheRightToWrite) {
    const fs::path path = Make("file", "abc");
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(path, GENERIC_READ, TRUNCATE_EXISTING));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_EQ("abc", ContentOf(path));
}
#endif

TEST_F(HostFiles, UnknownDispositionIsRefused) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, Create(folder_ / "file", GENERIC_WRITE, 77));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_FALSE(fs::exists(folder_ / "file"));
}

TEST_F(HostFiles, NamesBeyondAscii) {
    // Latin, Greek, Han, and a character outside the first plane.
    const fs::path path = Make(fs::path(u"f\u00E4rb\u03B1\u8272\U0001F3A8.icc"), "colour");
    const HostFile file = Open(path);
    ASSERT_NE(kNoHostFile, file);
    char text[8] = {};
    EXPECT_EQ(6, HostFileRead(file, text, 8));
    EXPECT_STREQ("colour", text);
    HostFileClose(file);
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(WideOf(path).c_str(), &data);
    EXPECT_NE(INVALID_HANDLE_VALUE, search);
    FindClose(search);
}

TEST_F(HostFiles, FindSeesFilesAndFolders) {
    WIN32_FIND_DATAW data;
    HANDLE search = FindFirstFileW(WideOf(Make("file", "x")).c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    EXPECT_EQ(0U, data.dwFileAttributes & 0x10U);
    EXPECT_TRUE(FindClose(search));
    search = FindFirstFileW(WideOf(folder_).c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    EXPECT_NE(0U, data.dwFileAttributes & 0x10U);
    EXPECT_TRUE(FindClose(search));
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW(WideOf(folder_ / "none").c_str(), &data));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
}

#ifndef _WIN32

TEST_F(HostFiles, NamesThatAreNoUtf16) {
    constexpr ZvChar kLoneSurrogate[] = {u'a', 0xD800, u'b', 0};
    EXPECT_EQ(kNoHostFile, HostFileOpen(kLoneSurrogate, 0, kHostFileRead));
    EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, GetLastError());
    EXPECT_EQ(kNoHostFile, HostFileOpen(nullptr, 0, kHostFileRead));
    WIN32_FIND_DATAW data;
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW(kLoneSurrogate, &data));
    const Wide tooLong(5000, u'a');
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW(tooLong.c_str(), &data));
}

TEST_F(HostFiles, StarsAndQuestionMarksArePlainCharacters) {
    Make("abc", "x");
    WIN32_FIND_DATAW data;
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW(WideOf(folder_ / "a*").c_str(), &data));
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileW(WideOf(folder_ / "ab?").c_str(), &data));
}

TEST_F(HostFiles, ClosedHandlesAreRefused) {
    HANDLE handle = Create(Make("file", "x"), GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_FALSE(CloseHandle(handle));
    EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, GetLastError());
    char c = 0;
    DWORD done = 5;
    EXPECT_FALSE(ReadFile(handle, &c, 1, &done, nullptr));
    EXPECT_EQ(0U, done);
    EXPECT_FALSE(WriteFile(handle, &c, 1, &done, nullptr));
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(handle, 0, nullptr, FILE_BEGIN));
    EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, GetLastError());
}

TEST_F(HostFiles, PositionThatDoesNotFitWithoutAHighHalf) {
    HANDLE handle = Create(Make("file", "x"), GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    LONG high = 1;
    EXPECT_EQ(0U, SetFilePointer(handle, 0, &high, FILE_BEGIN));
    EXPECT_EQ(INVALID_SET_FILE_POINTER, SetFilePointer(handle, 0, nullptr, FILE_CURRENT));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    Close(handle);
}

TEST_F(HostFiles, FullDisk) {
    if (!fs::exists("/dev/full")) FAIL() << "this system has no full device";
    HANDLE handle = Create("/dev/full", GENERIC_WRITE, OPEN_EXISTING);
    ASSERT_NE(INVALID_HANDLE_VALUE, handle);
    DWORD done = 7;
    EXPECT_FALSE(WriteFile(handle, "abc", 3, &done, nullptr));
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
    EXPECT_EQ(0U, done);
    Close(handle);
}

#endif

}  // namespace
}  // namespace zv::test
