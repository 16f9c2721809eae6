// Folders and files that cannot be written, files that go while they are read, rights that stay.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <set>
#include <thread>

#include "image_file_support.h"
#include "small_images.h"

namespace {

using namespace zvtest;

/// Runs a call in a child process, which may give up rights; what the call returns. -1000 if it did not.
int32_t InAChild(const std::function<int32_t()>& call) {
    int ends[2];
    if (pipe(ends) != 0) return -1000;
    const pid_t child = fork();
    if (child == 0) {
        const int32_t result = call();
        const bool told = write(ends[1], &result, sizeof result) == sizeof result;
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    int32_t result = -1000;
    if (read(ends[0], &result, sizeof result) != sizeof result) result = -1000;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return result;
}

constexpr uid_t kNobody = 65534;

/// Rights count for nothing with the super-user.
int32_t AsOrdinaryUser(const std::function<int32_t()>& call) {
    return InAChild([&]() -> int32_t {
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) return -1001;
        return call();
    });
}

struct Kind {
    const char* name;
    Bytes image;
    bool replaced;
};

class Faults : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        WriteFile(file_, GetParam().image);
        if (geteuid() == 0) {
            for (const fs::path& path : {folder_.Root(), file_}) ASSERT_EQ(chown(path.c_str(), kNobody, kNobody), 0);
        }
    }
    void TearDown() override { chmod(folder_.Root().c_str(), 0700); }

    int32_t SaveAsUser() const {
        return AsOrdinaryUser([&] { return Save(file_, profile_); });
    }
    FolderState State() const { return StateOf(folder_.Root()); }

    const Bytes profile_ = MadeUpProfile(1000);
    const Folder folder_;
    const fs::path file_ = folder_ / "image";
};

INSTANTIATE_TEST_SUITE_P(Kinds, Faults,
                         testing::Values(Kind{"Jpeg", SmallJpeg(), true}, Kind{"Tiff", SmallTiff(kTiffForms[1]), true},
                                         Kind{"BigTiff", SmallTiff(kTiffForms[2]), true},
                                         Kind{"Gif", SmallGif(), false}),
                         [](const testing::TestParamInfo<Kind>& kind) { return kind.param.name; });

TEST_P(Faults, NoneWithRights) {
    EXPECT_EQ(SaveAsUser(), 1);
    EXPECT_NE(ReadFile(file_), GetParam().image);
}

TEST_P(Faults, AFolderThatCannotBeWritten) {
    ASSERT_EQ(chmod(folder_.Root().c_str(), 0500), 0);
    const FolderState before = State();
    // What is written in place needs no right to the folder.
    EXPECT_EQ(SaveAsUser(), GetParam().replaced ? ERR_FILE_WRITE : 1);
    if (GetParam().replaced) {
        EXPECT_TRUE(State() == before);
    }
}

TEST_P(Faults, AFileThatCannotBeWritten) {
    ASSERT_EQ(chmod(file_.c_str(), 0400), 0);
    const FolderState before = State();
    EXPECT_EQ(SaveAsUser(), GetParam().replaced ? ERR_FILE_WRITE : ERR_FILE_OPEN);
    EXPECT_TRUE(State() == before);
}

TEST_P(Faults, AFileThatCannotBeRead) {
    ASSERT_EQ(chmod(file_.c_str(), 0000), 0);
    EXPECT_EQ(SaveAsUser(), ERR_FILE_OPEN);
    EXPECT_EQ(AsOrdinaryUser([&] { return Load(file_).result; }), ERR_FILE_OPEN);
    ASSERT_EQ(chmod(file_.c_str(), 0600), 0);
    EXPECT_EQ(ReadFile(file_), GetParam().image);
    EXPECT_EQ(State().size(), 1U);
}

TEST_P(Faults, AFileOfSomebodyElse) {
    if (geteuid() != 0) return;  // only the super-user gives files away
    ASSERT_EQ(chown(file_.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(file_.c_str(), 0644), 0);
    const FolderState before = State();
    EXPECT_EQ(SaveAsUser(), GetParam().replaced ? ERR_FILE_WRITE : ERR_FILE_OPEN);
    EXPECT_TRUE(State() == before);
    // The super-user saves for him.
    EXPECT_EQ(chown(file_.c_str(), 1234, 4321), 0);
    EXPECT_EQ(Save(file_, profile_), 1);
    struct stat status = {};
    ASSERT_EQ(stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 4321U);
}

TEST_P(Faults, RightsStay) {
    for (const mode_t mode : {mode_t{0600}, mode_t{0640}, mode_t{0666}, mode_t{0755}}) {
        ASSERT_EQ(chmod(file_.c_str(), mode), 0);
        ASSERT_EQ(SaveAsUser(), 1);
        struct stat status = {};
        ASSERT_EQ(stat(file_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
}

TEST_P(Faults, NoRoomForTheNewFile) {
    const FolderState before = State();
    // Limits on the size of files stand for a full disk. The place written in has no notice of failing.
    const int32_t result = AsOrdinaryUser([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {GetParam().image.size() + 100, GetParam().image.size() + 100};
        setrlimit(RLIMIT_FSIZE, &limit);
        return Save(file_, profile_);
    });
    EXPECT_EQ(result, GetParam().replaced ? ERR_FILE_WRITE : 1);
    if (GetParam().replaced) {
        EXPECT_TRUE(State() == before);
    }
}

TEST_P(Faults, LinksLeadToTheFile) {
    fs::create_symlink(file_.filename(), folder_ / "link");
    fs::create_symlink("link", folder_ / "link to it");
    EXPECT_EQ(AsOrdinaryUser([&] { return Save(folder_ / "link to it", profile_); }), 1);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "link to it"));
    EXPECT_FALSE(fs::is_symlink(file_));
    EXPECT_NE(ReadFile(file_), GetParam().image);
    EXPECT_EQ(State().size(), 3U);
    fs::create_symlink("nothing", folder_ / "broken");
    fs::create_symlink("loop", folder_ / "loop");
    for (const char* name : {"broken", "loop"}) {
        EXPECT_EQ(Save(folder_ / name, profile_), ERR_FILE_OPEN);
        EXPECT_EQ(Load(folder_ / name).result, ERR_FILE_OPEN);
    }
}

// A file that comes and goes while others read and save it.
TEST_P(Faults, AFileThatVanishes) {
    std::atomic<bool> done{false};
    const fs::path away = folder_ / "away";
    std::thread mover([&] {
        std::error_code ignored;
        while (!done) {
            fs::rename(file_, away, ignored);
            fs::rename(away, file_, ignored);
        }
    });
    std::set<int32_t> results;
    for (int round = 0; round < 300; ++round) {
        results.insert(Load(file_).result);
        results.insert(Save(file_, profile_));
    }
    done = true;
    mover.join();
    for (const int32_t result : results) {
        EXPECT_TRUE(result == 1 || result == ERR_FILE_OPEN || result == ERR_IMAGE_OPEN || result == ERR_NO_PROFILE ||
                    result == ERR_FILE_WRITE || (!GetParam().replaced && result == ERR_FORMAT_NO_ICC))
            << result;
    }
    // Whole, wherever it is, and nothing beside it.
    const FolderState after = State();
    ASSERT_FALSE(after.empty());
    for (const auto& [name, state] : after) {
        EXPECT_TRUE(name == "image" || name == "away") << name;
        const bool begins = std::equal(state.bytes.begin(), state.bytes.begin() + 4, GetParam().image.begin());
        EXPECT_TRUE(begins) << name;
        if (GetParam().replaced && state.bytes != GetParam().image) {
            EXPECT_EQ(Load(folder_ / name).profile, profile_);
        }
    }
}

// Two programs that save into one file: one of their profiles is in it in the end, whole.
TEST_P(Faults, TwoProgramsAtOnce) {
    if (!GetParam().replaced) return;
    const pid_t child = fork();
    const Bytes profile = MadeUpProfile(2000, child == 0 ? 1 : 2);
    int32_t worst = 1;
    for (int round = 0; round < 50; ++round) worst = std::min(worst, Save(file_, profile));
    if (child == 0) _exit(worst == 1 ? 0 : 1);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(worst, 1);
    const Bytes kept = Load(file_).profile;
    EXPECT_TRUE(kept == MadeUpProfile(2000, 1) || kept == MadeUpProfile(2000, 2));
    EXPECT_EQ(State().size(), 1U);
}

TEST(Devices, AreNoFiles) {
    const Folder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const fs::path& file :
         {folder / "pipe", fs::path("/dev/null"), fs::path("/dev/zero"), fs::path("/dev/full")}) {
        EXPECT_EQ(Load(file).result, ERR_FILE_OPEN) << file;
        EXPECT_EQ(Save(file, MadeUpProfile(100)), ERR_FILE_OPEN) << file;
    }
}

}  // namespace
