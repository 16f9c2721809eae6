// Rewriting: the old file or the new one, whole, and nothing beside it.
#include "host/common/file_replacement.h"

#include <random>
#include <thread>

#include "tests/host/jpeg_files.h"

#ifndef _WIN32
#    include <fcntl.h>
#    include <grp.h>
#    include <sys/resource.h>
#    include <sys/stat.h>
#    include <sys/wait.h>

#    include <chrono>
#    include <csignal>
#    include <functional>
#endif

namespace zv::test {
namespace {

using zvhost::FileReplacement;
using zvhost::ImageFile;

SAVEFILEOPTION WithBackup(const fs::path& backup) {
    SAVEFILEOPTION options = {};
    options.size = sizeof options;
    const Wide name = WideOf(backup);
    std::copy_n(name.c_str(), std::min<size_t>(name.size(), CLR_NAME_LENGTH - 1), options.backupName);
    return options;
}

class Replacement : public ImageFolder {
protected:
    const std::string old_ = kStart + App0() + Tables() + Scan();
    const std::string new_ = kStart + App0() + Icc("profile") + Tables() + Scan();

    fs::path Old(const fs::path& name = "file.jpg") const { return Make(name, old_); }
    static int32_t Save(const fs::path& path, const SAVEFILEOPTION* options = nullptr) {
        return SaveProfile(path, "profile", options);
    }
    void ExpectWhole(const fs::path& path, const std::string& content, const std::vector<std::string>& names) const {
        EXPECT_EQ(content, ContentOf(path));
        EXPECT_EQ(names, Names());
    }
};

using Texts = std::vector<std::string>;

TEST_F(Replacement, TakesTheOldFilesPlace) {
    const fs::path path = Old();
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    ExpectWhole(path, new_, {"file.jpg"});
}

TEST_F(Replacement, OfAnEmptyFileByAnEmptyOne) {
    const fs::path path = Make("empty", "");
    ImageFile old;
    FileReplacement replacement;
    ASSERT_EQ(CLR_SUCCESS, old.Open(WideOf(path).c_str()));
    ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
    EXPECT_EQ(CLR_SUCCESS, replacement.Write(nullptr, 0));
    EXPECT_EQ(CLR_SUCCESS, replacement.Copy(&old, 0, 0));
    EXPECT_EQ(0U, replacement.Size());
    EXPECT_EQ(CLR_SUCCESS, replacement.Commit(&old));
    ExpectWhole(path, "", {"empty"});
}

TEST_F(Replacement, CountsAndCopiesWhatIsAsked) {
    const std::string content = Noise(600000, 1);
    const fs::path path = Make("file", content);
    ImageFile old;
    ASSERT_EQ(CLR_SUCCESS, old.Open(WideOf(path).c_str()));
    std::string expected;
    {
        FileReplacement replacement;
        ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
        for (const auto& [offset, count] : std::vector<std::pair<size_t, size_t>>{
                 {0, 1}, {599999, 1}, {5, 262144}, {6, 262145}, {0, 600000}, {10, 524288}, {600000, 0}}) {
            EXPECT_EQ(CLR_SUCCESS, replacement.Copy(&old, offset, count));
            EXPECT_EQ(CLR_SUCCESS, replacement.Write("|", 1));
            expected += content.substr(offset, count) + "|";
            EXPECT_EQ(expected.size(), replacement.Size());
        }
        EXPECT_EQ(CLR_SUCCESS, replacement.Commit(&old));
    }
    ExpectWhole(path, expected, {"file"});
}

TEST_F(Replacement, WithoutCommitNothingHappens) {
    const fs::path path = Old();
    {
        FileReplacement replacement;
        ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
        EXPECT_EQ(CLR_SUCCESS, replacement.Write("half a file", 11));
        EXPECT_EQ(2U, Names().size());
    }
    ExpectWhole(path, old_, {"file.jpg"});
}

TEST_F(Replacement, CopyingBehindTheEndFails) {
    const fs::path path = Old();
    {
        ImageFile old;
        FileReplacement replacement;
        ASSERT_EQ(CLR_SUCCESS, old.Open(WideOf(path).c_str()));
        ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
        EXPECT_EQ(ERR_FILE_READ, replacement.Copy(&old, old_.size() - 5, 6));
        EXPECT_EQ(ERR_FILE_READ, replacement.Copy(&old, old_.size() + 1, 1));
    }
    ExpectWhole(path, old_, {"file.jpg"});
}

TEST_F(Replacement, MissingFilesAreNotMade) {
    FileReplacement replacement;
    EXPECT_EQ(ERR_FILE_OPEN, Save(folder_ / "missing"));
    EXPECT_EQ(Texts{}, Names());
}

// --- Backups -------------------------------------------------------------------------------------------------------

TEST_F(Replacement, BackupIsMadeAndReplaced) {
    const fs::path path = Old();
    const SAVEFILEOPTION options = WithBackup(folder_ / "backup");
    EXPECT_EQ(CLR_SUCCESS, Save(path, &options));
    ExpectWhole(path, new_, {"backup", "file.jpg"});
    EXPECT_EQ(old_, ContentOf(folder_ / "backup"));
    EXPECT_EQ(CLR_SUCCESS, SaveProfile(path, "another", &options));
    EXPECT_EQ(new_, ContentOf(folder_ / "backup"));
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    EXPECT_EQ(new_, ContentOf(folder_ / "backup")) << "left alone";
    EXPECT_EQ((Texts{"backup", "file.jpg"}), Names());
}

TEST_F(Replacement, BackupInAnotherFolder) {
    const fs::path path = Old();
    fs::create_directory(folder_ / "backups");
    const SAVEFILEOPTION options = WithBackup(folder_ / "backups" / "old.jpg");
    EXPECT_EQ(CLR_SUCCESS, Save(path, &options));
    ExpectWhole(path, new_, {"backups", "file.jpg"});
    EXPECT_EQ(old_, ContentOf(folder_ / "backups" / "old.jpg"));
}

TEST_F(Replacement, BackupThatCannotBeMade) {
    const fs::path path = Old();
    fs::create_directory(folder_ / "folder");
    Make(fs::path("folder") / "inner", "kept");
    for (const fs::path& backup : {folder_ / "folder", folder_ / "missing" / "backup", path / "backup"}) {
        SCOPED_TRACE(backup);
        const SAVEFILEOPTION options = WithBackup(backup);
        EXPECT_EQ(ERR_FILE_WRITE, Save(path, &options));
        ExpectWhole(path, old_, {"file.jpg", "folder"});
        EXPECT_EQ("kept", ContentOf(folder_ / "folder" / "inner"));
    }
}

TEST_F(Replacement, FileIsNotItsOwnBackup) {
    const fs::path path = Old();
    const SAVEFILEOPTION options = WithBackup(path);
    EXPECT_EQ(ERR_FILE_WRITE, Save(path, &options));
    ExpectWhole(path, old_, {"file.jpg"});
}

TEST_F(Replacement, OptionsAreChecked) {
    const fs::path path = Old();
    SAVEFILEOPTION options = WithBackup(folder_ / "backup");
    for (const uint32_t size :
         {0U, 4U, static_cast<uint32_t>(sizeof options) - 1, static_cast<uint32_t>(sizeof options) + 1, 0xFFFFFFFFU}) {
        options.size = size;
        EXPECT_EQ(ERR_STRUCT_SIZE, Save(path, &options)) << size;
    }
    options.size = sizeof options;
    std::fill_n(options.backupName, CLR_NAME_LENGTH, ZvChar{'a'});
    EXPECT_EQ(ERR_INVALID_PARAMETER, Save(path, &options)) << "a name without end";
    EXPECT_EQ(ERR_BAD_POINTER, Save(path, reinterpret_cast<const SAVEFILEOPTION*>(uintptr_t{16})));
    ExpectWhole(path, old_, {"file.jpg"});
    options.backupName[0] = 0;
    EXPECT_EQ(CLR_SUCCESS, Save(path, &options)) << "no backup wanted";
    ExpectWhole(path, new_, {"file.jpg"});
}

// --- The temporary name --------------------------------------------------------------------------------------------

std::string TemporaryName(uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(number));
    return std::string(".zvclr") + text;
}

class TemporaryNames : public Replacement {
protected:
    static constexpr uint32_t kStep = 0x9E3779B9U;

    /// The number in the name that a rewriting of this thread uses now; the next is a step farther.
    uint32_t NumberInUse(const fs::path& path) const {
        FileReplacement replacement;
        EXPECT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
        for (const std::string& name : Names()) {
            if (name.starts_with(".zvclr")) {
                EXPECT_EQ(14U, name.size());
                return static_cast<uint32_t>(std::stoul(name.substr(6), nullptr, 16));
            }
        }
        ADD_FAILURE() << "no temporary file";
        return 0;
    }
};

TEST_F(TemporaryNames, OfOthersArePassedOverAndKept) {
    const fs::path path = Old();
    uint32_t number = NumberInUse(path);
    Texts names = {"file.jpg"};
    for (int i = 0; i < 5; ++i) {
        number += kStep;
        names.push_back(TemporaryName(number));
        Make(names.back(), "of another");
    }
    number += kStep;
    names.push_back(TemporaryName(number));
    fs::create_directory(folder_ / names.back());
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    std::sort(names.begin(), names.end());
    ExpectWhole(path, new_, names);
    for (const std::string& name : names) {
        if (fs::is_regular_file(folder_ / name) && name != "file.jpg") {
            EXPECT_EQ("of another", ContentOf(folder_ / name));
        }
    }
}

TEST_F(TemporaryNames, AllTaken) {
    const fs::path path = Old();
    uint32_t number = NumberInUse(path);
    for (int i = 0; i < 1000; ++i) {
        number += kStep;
        Make(TemporaryName(number), "");
    }
    const Texts names = Names();
    EXPECT_EQ(ERR_FILE_WRITE, Save(path));
    ExpectWhole(path, old_, names);
    EXPECT_EQ(CLR_SUCCESS, Save(path)) << "others are tried the next time";
}

#ifndef _WIN32

// --- Links, owners, rights -----------------------------------------------------------------------------------------

struct stat StatusOf(const fs::path& path) {
    struct stat status = {};
    EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
    return status;
}

TEST_F(Replacement, SymbolicLinksAreFollowedAndKept) {
    fs::create_directory(folder_ / "far");
    const fs::path path = Old("far/file.jpg");
    fs::create_symlink("far/file.jpg", folder_ / "near");
    fs::create_symlink(folder_ / "near", folder_ / "nearer");
    EXPECT_EQ(CLR_SUCCESS, Save(folder_ / "nearer"));
    ExpectWhole(path, new_, {"far", "near", "nearer"});
    EXPECT_EQ("far/file.jpg", fs::read_symlink(folder_ / "near"));
    EXPECT_EQ(folder_ / "near", fs::read_symlink(folder_ / "nearer"));
    EXPECT_FALSE(fs::is_symlink(path));
    EXPECT_EQ(1, std::distance(fs::directory_iterator(folder_ / "far"), fs::directory_iterator()));

    fs::create_symlink("nowhere", folder_ / "dangling");
    EXPECT_EQ(ERR_FILE_OPEN, Save(folder_ / "dangling"));
}

TEST_F(Replacement, OtherHardLinksKeepTheOldContent) {
    const fs::path path = Old();
    fs::create_hard_link(path, folder_ / "other");
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    ExpectWhole(path, new_, {"file.jpg", "other"});
    EXPECT_EQ(old_, ContentOf(folder_ / "other"));
}

TEST_F(Replacement, BackupMayBeALinkButNotToTheFile) {
    const fs::path path = Old();
    fs::create_hard_link(path, folder_ / "hard");
    fs::create_symlink("file.jpg", folder_ / "soft");
    for (const char* name : {"hard", "soft"}) {
        const SAVEFILEOPTION options = WithBackup(folder_ / name);
        EXPECT_EQ(ERR_FILE_WRITE, Save(path, &options));
        ExpectWhole(path, old_, {"file.jpg", "hard", "soft"});
    }
    fs::remove(folder_ / "hard");
    fs::remove(folder_ / "soft");
    Make("target", "kept");
    fs::create_symlink("target", folder_ / "soft");
    const SAVEFILEOPTION options = WithBackup(folder_ / "soft");
    EXPECT_EQ(CLR_SUCCESS, Save(path, &options));
    ExpectWhole(path, new_, {"file.jpg", "soft", "target"});
    EXPECT_EQ("kept", ContentOf(folder_ / "target"));
    EXPECT_EQ(old_, ContentOf(folder_ / "soft"));
}

TEST_F(Replacement, RightsStay) {
    const fs::path path = Old();
    const mode_t mask = umask(077);
    for (const mode_t rights : {0600U, 0644U, 0666U, 0700U, 0755U, 0777U, 0640U, 04755U, 02755U, 01644U}) {
        ASSERT_EQ(0, chmod(path.c_str(), rights));
        EXPECT_EQ(CLR_SUCCESS, Save(path));
        EXPECT_EQ(rights, StatusOf(path).st_mode & 07777U) << std::oct << rights;
    }
    umask(mask);
}

TEST_F(Replacement, NobodyElseSeesTheNewFileBeforeItIsThere) {
    const fs::path path = Old();
    const mode_t mask = umask(0);
    FileReplacement replacement;
    ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
    for (const std::string& name : Names()) {
        if (name == "file.jpg") continue;
        EXPECT_EQ(mode_t{0600}, StatusOf(folder_ / name).st_mode & 07777U);
    }
    EXPECT_EQ(2U, Names().size());
    const HANDLE shared = CreateFileW(WideOf(folder_ / "shared").c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, shared);
    EXPECT_EQ(mode_t{0666}, StatusOf(folder_ / "shared").st_mode & 07777U);
    CloseHandle(shared);
    umask(mask);
}

TEST_F(Replacement, FileThatIsGoneStaysGone) {
    const fs::path path = Old();
    ImageFile old;
    {
        FileReplacement replacement;
        ASSERT_EQ(CLR_SUCCESS, old.Open(WideOf(path).c_str()));
        ASSERT_EQ(CLR_SUCCESS, replacement.Begin(WideOf(path).c_str(), nullptr));
        ASSERT_EQ(CLR_SUCCESS, replacement.Write("something new", 13));
        fs::remove(path);
        EXPECT_EQ(ERR_FILE_WRITE, replacement.Commit(&old));
    }
    EXPECT_TRUE(Names().empty());
}

TEST_F(Replacement, NamesThatAreNearlyTooLong) {
    // The file's own name fits; nothing is said of a temporary one beside it.
    const fs::path path = Old(std::string(255, 'n'));
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    EXPECT_EQ(new_, ContentOf(path));
    const SAVEFILEOPTION options = WithBackup(std::string(CLR_NAME_LENGTH - 1, 'b'));
    EXPECT_EQ(ERR_FILE_WRITE, Save(path, &options)) << "longer than names may be";
    ExpectWhole(path, new_, {path.filename().string()});
    EXPECT_EQ(ERR_FILE_OPEN, Save(folder_ / std::string(256, 'n')));
    EXPECT_EQ(ERR_FILE_OPEN, Save(folder_ / std::string(5000, 'n')));

    // Folders so deep that the file's path fits, and a temporary one just so or not.
    constexpr size_t kTemporary = 14;
    fs::path deep = folder_;
    while (deep.string().size() + 101 < PATH_MAX - 110) deep /= std::string(100, 'd');
    std::error_code error;
    ASSERT_TRUE(fs::create_directories(deep, error)) << error.message();
    for (size_t length = PATH_MAX - 20; length < PATH_MAX - 3; ++length) {
        SCOPED_TRACE(length);
        const fs::path folder = deep / std::string(length - deep.string().size() - 2, 'e');
        ASSERT_TRUE(fs::create_directory(folder, error)) << error.message();
        ASSERT_EQ(length, (folder / "").string().size());
        Fill(folder / "f", old_);
        const bool fits = length + kTemporary < PATH_MAX;
        EXPECT_EQ(fits ? CLR_SUCCESS : ERR_FILE_WRITE, Save(folder / "f"));
        EXPECT_EQ(fits ? new_ : old_, ContentOf(folder / "f"));
        EXPECT_EQ(1, std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
}

/// What `work` gives in a child process.
int InChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

constexpr uid_t kStranger = 54321;
constexpr gid_t kStrangersGroup = 54322;
constexpr gid_t kSharedGroup = 54323;

/// As a user without special rights. Where the tests run as such a user, as that one.
int AsStranger(const std::function<int()>& work) {
    return InChild([&] {
        const gid_t groups[] = {kStrangersGroup, kSharedGroup};
        if (geteuid() == 0 &&
            (setgroups(2, groups) != 0 || setresgid(kStrangersGroup, kStrangersGroup, kStrangersGroup) != 0 ||
             setresuid(kStranger, kStranger, kStranger) != 0)) {
            return 99;
        }
        return work();
    });
}

/// Results as exit codes.
int CodeOf(int32_t result) { return result == CLR_SUCCESS ? 0 : -result; }

TEST_F(Replacement, ReadOnlyFilesAndFoldersAreRefused) {
    const fs::path path = Old();
    if (geteuid() == 0) {
        ASSERT_EQ(0, chown(path.c_str(), kStranger, kStrangersGroup));
        ASSERT_EQ(0, chown(folder_.c_str(), kStranger, kStrangersGroup));
    }
    const auto save = [&] { return CodeOf(Save(path)); };
    ASSERT_EQ(0, chmod(path.c_str(), 0444));
    EXPECT_EQ(-ERR_FILE_WRITE, AsStranger(save));
    ExpectWhole(path, old_, {"file.jpg"});
    EXPECT_EQ(mode_t{0444}, StatusOf(path).st_mode & 07777U);

    ASSERT_EQ(0, chmod(path.c_str(), 0200));
    EXPECT_EQ(-ERR_FILE_OPEN, AsStranger(save)) << "no right to read";
    EXPECT_EQ(-ERR_FILE_OPEN, AsStranger([&] {
        HostImageInfo info = {};
        return CodeOf(HostFileInfo(WideOf(path).c_str(), &info, sizeof info, 0, nullptr));
    }));
    EXPECT_EQ(-ERR_FILE_OPEN, AsStranger([&] {
        HostMarkers set = nullptr;
        return CodeOf(HostLoadMarkers(WideOf(path).c_str(), &set, 0));
    }));

    ASSERT_EQ(0, chmod(path.c_str(), 0644));
    ASSERT_EQ(0, chmod(folder_.c_str(), 0555));
    EXPECT_EQ(-ERR_FILE_WRITE, AsStranger(save));
    ASSERT_EQ(0, chmod(folder_.c_str(), 0755));
    ExpectWhole(path, old_, {"file.jpg"});

    fs::create_directory(folder_ / "locked");
    const SAVEFILEOPTION options = WithBackup(folder_ / "locked" / "backup");
    if (geteuid() == 0) {
        ASSERT_EQ(0, chown((folder_ / "locked").c_str(), kStranger, kStrangersGroup));
    }
    ASSERT_EQ(0, chmod((folder_ / "locked").c_str(), 0555));
    EXPECT_EQ(-ERR_FILE_WRITE, AsStranger([&] { return CodeOf(Save(path, &options)); }));
    ASSERT_EQ(0, chmod((folder_ / "locked").c_str(), 0755));
    ExpectWhole(path, old_, {"file.jpg", "locked"});

    EXPECT_EQ(0, AsStranger(save));
    ExpectWhole(path, new_, {"file.jpg", "locked"});
}

TEST_F(Replacement, OwnersStayOrTakeTheirRightsAlong) {
    const fs::path path = Old();
    if (geteuid() != 0) {
        // Only the super-user gives files away: of an own file there are the rights to keep.
        ASSERT_EQ(0, chmod(path.c_str(), 0640));
        ASSERT_EQ(CLR_SUCCESS, Save(path));
        struct stat status;
        ASSERT_EQ(0, stat(path.c_str(), &status));
        EXPECT_EQ(geteuid(), status.st_uid);
        EXPECT_EQ(mode_t{0640}, status.st_mode & mode_t{07777});
        return;
    }
    ASSERT_EQ(0, chmod(folder_.c_str(), 0777));
    const auto save = [&] { return CodeOf(Save(path)); };
    const auto give = [&](uid_t owner, gid_t group, mode_t rights) {
        Old();
        EXPECT_EQ(0, chown(path.c_str(), owner, group));
        EXPECT_EQ(0, chmod(path.c_str(), rights));
    };
    const auto expect = [&](uid_t owner, gid_t group, mode_t rights) {
        EXPECT_EQ(new_, ContentOf(path));
        EXPECT_EQ(owner, StatusOf(path).st_uid);
        EXPECT_EQ(group, StatusOf(path).st_gid);
        EXPECT_EQ(rights, StatusOf(path).st_mode & 07777U);
    };
    give(kStranger, kSharedGroup, 06755);
    EXPECT_EQ(CLR_SUCCESS, Save(path));
    expect(kStranger, kSharedGroup, 06755);
    give(kStranger, kSharedGroup, 0660);
    EXPECT_EQ(0, AsStranger(save)) << "a group of one's own";
    expect(kStranger, kSharedGroup, 0660);
    give(777, kSharedGroup, 06775);
    EXPECT_EQ(0, AsStranger(save)) << "another's file: the group stays, and nobody runs as another";
    expect(kStranger, kSharedGroup, 0775);
    give(777, 778, 0676);
    EXPECT_EQ(0, AsStranger(save)) << "another's group loses what not everybody may";
    expect(kStranger, kStrangersGroup, 0666);
    give(777, 778, 0602);
    EXPECT_EQ(-ERR_FILE_OPEN, AsStranger(save));
}

TEST_F(Replacement, EffectiveUserCounts) {
    const fs::path path = Old();
    if (geteuid() != 0) {
        // Only the super-user becomes another.
        ASSERT_EQ(0, chmod(path.c_str(), 0444));
        EXPECT_EQ(ERR_FILE_WRITE, Save(path));
        ExpectWhole(path, old_, {"file.jpg"});
        return;
    }
    ASSERT_EQ(0, chown(path.c_str(), kStranger, kStrangersGroup));
    ASSERT_EQ(0, chown(folder_.c_str(), kStranger, kStrangersGroup));
    ASSERT_EQ(0, chmod(path.c_str(), 0444));
    EXPECT_EQ(-ERR_FILE_WRITE, InChild([&] { return seteuid(kStranger) != 0 ? 99 : CodeOf(Save(path)); }));
    ExpectWhole(path, old_, {"file.jpg"});
}

// --- Failures on the way -------------------------------------------------------------------------------------------

TEST_F(Replacement, FullDiskLeavesTheOldFile) {
    const std::string content = kStart + App0() + Tables() + Scan(400000);
    const fs::path path = Make("file.jpg", content);
    const SAVEFILEOPTION options = WithBackup(folder_ / "backup");
    for (const rlim_t limit : {rlim_t{0}, rlim_t{1}, rlim_t{30}, rlim_t{1000}, rlim_t{262144}, rlim_t{400000}}) {
        EXPECT_EQ(-ERR_FILE_WRITE, InChild([&] {
            signal(SIGXFSZ, SIG_IGN);
            const rlimit most = {limit, limit};
            return setrlimit(RLIMIT_FSIZE, &most) != 0 ? 99 : CodeOf(Save(path, &options));
        })) << limit;
        ExpectWhole(path, content, {"file.jpg"});
    }
}

/// The content whole, with one of the profiles.
bool IsOneOf(const std::string& content, const Texts& wholes) {
    return std::find(wholes.begin(), wholes.end(), content) != wholes.end();
}

bool HasTemporary(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with(".zvclr")) return true;
    }
    return false;
}

TEST_F(Replacement, KilledInTheMiddle) {
    const std::string scan = Scan(3000000);
    const Texts profiles = {Noise(40000, 1), Noise(50000, 2)};
    Texts wholes = {kStart + App0() + Tables() + scan};
    for (const std::string& profile : profiles) wholes.push_back(kStart + App0() + Icc(profile) + Tables() + scan);
    const fs::path path = Make("file.jpg", wholes[0]);
    std::mt19937 random(1);
    int interrupted = 0;
    for (int round = 0; round < 30; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            for (size_t i = 0;; ++i) {
                if (SaveProfile(path, profiles[i % 2]) != CLR_SUCCESS) _exit(1);
            }
        }
        ASSERT_GT(child, 0);
        // Once it is at work, at any moment of it.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!HasTemporary(folder_) && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        EXPECT_EQ(0, kill(child, SIGKILL));
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFSIGNALED(status)) << "a save failed";
        EXPECT_TRUE(IsOneOf(ContentOf(path), wholes)) << round;
        for (const std::string& name : Names()) {
            if (name == "file.jpg") continue;
            EXPECT_TRUE(name.starts_with(".zvclr")) << name;
            ++interrupted;
            fs::remove(folder_ / name);
        }
    }
    EXPECT_GT(interrupted, 0) << "no kill came in the middle";
}

#endif

// --- Threads -------------------------------------------------------------------------------------------------------

#ifdef _WIN32
constexpr int kRounds = 50;  // a save there takes ten times as long
#else
constexpr int kRounds = 200;
#endif

TEST_F(Replacement, TwoThreadsAndTwoFiles) {
    const auto work = [this](const char* name, const std::string& profile, int* failures) {
        const fs::path path = Old(name);
        const std::string expected = kStart + App0() + Icc(profile) + Tables() + Scan();
        for (int i = 0; i < kRounds; ++i) {
            const std::string other = "other of " + profile;
            *failures += SaveProfile(path, other) != CLR_SUCCESS;
            *failures += SaveProfile(path, profile) != CLR_SUCCESS;
            *failures += ContentOf(path) != expected;
        }
    };
    int failures[2] = {};
    std::thread first(work, "a.jpg", Noise(3000, 1), &failures[0]);
    std::thread second(work, "b.jpg", Noise(5000, 2), &failures[1]);
    first.join();
    second.join();
    EXPECT_EQ(0, failures[0]);
    EXPECT_EQ(0, failures[1]);
    EXPECT_EQ((Texts{"a.jpg", "b.jpg"}), Names());
}

TEST_F(Replacement, TwoThreadsAndOneFile) {
    const fs::path path = Old();
    const Texts profiles = {Noise(3000, 1), Noise(5000, 2)};
    Texts wholes = {old_};
    for (const std::string& profile : profiles) wholes.push_back(kStart + App0() + Icc(profile) + Tables() + Scan());
    int failures[2] = {};
    const auto work = [&](size_t i) {
        for (int round = 0; round < kRounds; ++round) {
            failures[i] += SaveProfile(path, profiles[i]) != CLR_SUCCESS;
#ifndef _WIN32
            // A file that is open cannot be replaced on Windows.
            failures[i] += std::find(wholes.begin(), wholes.end(), ContentOf(path)) == wholes.end();
#endif
        }
    };
    std::thread first(work, 0);
    std::thread second(work, 1);
    first.join();
    second.join();
    EXPECT_EQ(0, failures[0]);
    EXPECT_EQ(0, failures[1]);
    EXPECT_NE(wholes.end(), std::find(wholes.begin() + 1, wholes.end(), ContentOf(path)));
    EXPECT_EQ(Texts{"file.jpg"}, Names());
}

}  // namespace
}  // namespace zv::test
