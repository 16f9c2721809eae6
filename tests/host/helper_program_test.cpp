// Helper programs: what they get from this process, and what is taken from them, whatever this process and they do.
#include "host/helper_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace zv::test {
namespace {

constexpr size_t kReportSize = 16384;
constexpr int kSoon = 10;  // seconds; the helper waits twice as long for what must not be waited for

/// The bytes of a reply of that size, or "none".
std::string Reply(size_t size, const std::vector<const char*>& words, const char* program = "helper_player") {
    std::vector<const char*> arguments = words;
    arguments.push_back(nullptr);
    std::string reply(size, '?');
    return ZvRunHelper(program, arguments.data(), reply.data(), size) ? reply : "none";
}

/// What the helper says of itself: all values of each name.
std::map<std::string, std::vector<std::string>> Report(const std::vector<const char*>& more = {}) {
    std::vector<const char*> words = {"report"};
    words.insert(words.end(), more.begin(), more.end());
    const std::string reply = Reply(kReportSize, words);
    std::map<std::string, std::vector<std::string>> report;
    std::istringstream lines(reply.substr(0, reply.find('\0')));
    for (std::string line; std::getline(lines, line);) {
        const size_t equal = line.find('=');
        if (equal != std::string::npos) report[line.substr(0, equal)].push_back(line.substr(equal + 1));
    }
    return report;
}

std::vector<int> OpenDescriptors() {
    std::vector<int> open;
    for (int i = 0; i < 1024; ++i) {
        if (fcntl(i, F_GETFD) >= 0) open.push_back(i);
    }
    return open;
}

bool HasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

/// Runs a check in a process of its own, which may spoil itself; true if it says so.
bool InAnotherProcess(const std::function<bool()>& check) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// What one signal does in this process, until the end of a test.
class SignalAction {
public:
    SignalAction(int signal, void (*handler)(int), int flags) : signal_(signal) {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        sigaction(signal, &action, &before_);
    }
    ~SignalAction() { sigaction(signal_, &before_, nullptr); }
    SignalAction(const SignalAction&) = delete;
    SignalAction& operator=(const SignalAction&) = delete;

private:
    int signal_;
    struct sigaction before_;
};

/// Nothing of any run may be left in this process.
class HelperProgram : public testing::Test {
protected:
    void SetUp() override { open_ = OpenDescriptors(); }
    void TearDown() override {
        EXPECT_EQ(open_, OpenDescriptors());
        EXPECT_FALSE(HasChildren());
    }

private:
    std::vector<int> open_;
};

TEST_F(HelperProgram, GivesTheReplyThatHasTheSize) {
    EXPECT_EQ("twelve bytes", Reply(12, {"reply", "twelve bytes"}));
    EXPECT_EQ("slowly", Reply(6, {"slowly", "slowly"}));
    EXPECT_EQ("", Reply(0, {"reply"})) << "nothing was asked for, and nothing came";
}

TEST_F(HelperProgram, NoReplyOfAnotherSizeCounts) {
    EXPECT_EQ("none", Reply(12, {"reply", "eleven byte"}));
    EXPECT_EQ("none", Reply(12, {"reply", "thirteen byte"}));
    EXPECT_EQ("none", Reply(12, {"reply"}));
    EXPECT_EQ("none", Reply(0, {"reply", "x"}));
    EXPECT_EQ("none", Reply(12, {"slowly", "eleven byte"}));
    EXPECT_EQ("none", Reply(12, {"slowly", "thirteen byte"}));
}

TEST_F(HelperProgram, ThatNeverStopsWritingIsEnded) { EXPECT_EQ("none", Reply(12, {"endless"})); }

TEST_F(HelperProgram, ThatIsKilledBeforeItsReplyGivesNone) {
    EXPECT_EQ("none", Reply(4, {"killed"}));
    EXPECT_EQ("none", Reply(4, {"killed", "cut"}));
}

TEST_F(HelperProgram, TheReplyCountsAndNotTheEnd) {
    EXPECT_EQ("done", Reply(4, {"killed", "done"}));
    EXPECT_EQ("done", Reply(4, {"fail", "done"}));
    EXPECT_EQ("none", Reply(4, {"fail"}));
}

TEST_F(HelperProgram, IsWaitedForWhenItHasClosedTheConnection) {
    EXPECT_EQ("done", Reply(4, {"close", "done"}));
    EXPECT_EQ("none", Reply(4, {"close"}));
}

TEST_F(HelperProgram, CancellingTheThreadDoesNotCutTheReply) {
    struct Work {
        std::string reply;
        int state = -1;
    } work;
    const auto run = [](void* argument) -> void* {
        auto* mine = static_cast<Work*>(argument);
        pthread_cancel(pthread_self());  // pending from here on
        mine->reply = Reply(4, {"slowly", "done"});
        // Before anything acts on it: sanitizers do not bear a thread that ends in its middle.
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mine->state);
        return mine;
    };
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, run, &work));
    void* result = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(&work, result);
    EXPECT_EQ("done", work.reply);
    EXPECT_EQ(PTHREAD_CANCEL_ENABLE, work.state);
}

TEST_F(HelperProgram, ALargeReplyIsTakenInPieces) {
    const std::string text(100000, 'x');
    EXPECT_EQ(text, Reply(text.size(), {"reply", text.c_str()}));
}

TEST_F(HelperProgram, ThatIsMissingGivesNone) {
    EXPECT_EQ("none", Reply(4, {"reply", "done"}, "no-such-helper"));
    EXPECT_EQ("none", Reply(4, {"reply", "done"}, std::string(5000, 'x').c_str()));
    EXPECT_EQ("none", Reply(0, {"reply"}, ".")) << "a folder";
}

TEST_F(HelperProgram, GetsItsArgumentsAndWhereToReply) {
    const std::vector<std::string> expected = {"report", "--parent", "0x1 2", "", "--reply-to", "3"};
    EXPECT_EQ(expected, Report({"--parent", "0x1 2", ""})["argument"]);
}

TEST_F(HelperProgram, GetsNoDescriptorOfThisProcessButTheFirstThree) {
    std::vector<int> open;
    for (int i = 0; i < 200; ++i) open.push_back(dup(STDERR_FILENO));
    auto report = Report();
    for (const int descriptor : open) close(descriptor);
    std::string seen;
    for (const auto& [name, values] : report) {
        if (name.starts_with("fd ")) seen += name + ";";
    }
    EXPECT_EQ("fd 0;fd 1;fd 2;fd 3;", seen);
    ASSERT_EQ(1U, report["fd 3"].size());
    EXPECT_TRUE(report["fd 3"][0].starts_with("socket:")) << report["fd 3"][0];
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/2").string(), report["fd 2"][0]);
}

TEST_F(HelperProgram, StartsWithNoSignalBlockedOrIgnored) {
    std::vector<std::string> blocked;
    std::vector<std::string> ignored;
    std::thread([&] {
        const SignalAction one(SIGPIPE, SIG_IGN, 0);
        const SignalAction two(SIGUSR1, SIG_IGN, 0);
        const SignalAction three(SIGRTMIN, SIG_IGN, 0);
        sigset_t all;
        sigset_t after;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        auto report = Report();
        blocked = report["SigBlk"];
        ignored = report["SigIgn"];
        pthread_sigmask(SIG_SETMASK, nullptr, &after);
        EXPECT_EQ(1, sigismember(&after, SIGUSR1)) << "this thread's own signals stay as they were";
    }).join();
    ASSERT_EQ(1U, blocked.size());
    ASSERT_EQ(1U, ignored.size());
    EXPECT_EQ(0U, std::stoull(blocked[0], nullptr, 16));
    // Signals 32 and 33 are the C library's own.
    EXPECT_EQ(0U, std::stoull(ignored[0], nullptr, 16) & ~0x180000000ULL);
}

TEST_F(HelperProgram, RunsWhereChildrenAreNotWaitedFor) {
    const SignalAction ignored(SIGCHLD, SIG_IGN, 0);
    EXPECT_EQ("done", Reply(4, {"reply", "done"}));
    EXPECT_EQ("done", Reply(4, {"close", "done"}));
    EXPECT_EQ("none", Reply(4, {"killed"}));
}

void TakeAllChildren(int) {
    const int before = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = before;
}

TEST_F(HelperProgram, RunsWhereAHandlerTakesAllChildren) {
    for (const int flags : {0, SA_RESTART}) {
        const SignalAction taking(SIGCHLD, TakeAllChildren, flags);
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ("done", Reply(4, {"reply", "done"}));
            ASSERT_EQ("none", Reply(4, {"killed"}));
        }
        EXPECT_EQ("done", Reply(4, {"close", "done"}));
    }
}

std::atomic<int> alarms = 0;

TEST_F(HelperProgram, SignalsDoNotCutTheReply) {
    const SignalAction counting(
        SIGALRM, [](int) { ++alarms; }, 0);
    const itimerval often = {{0, 300}, {0, 300}};
    const itimerval never = {};
    const std::string text(200, 'x');
    alarms = 0;
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(text, Reply(text.size(), {"slowly", text.c_str()}));
    EXPECT_EQ("done", Reply(4, {"close", "done"}));
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_LT(100, alarms) << "the reply was not disturbed";
}

TEST_F(HelperProgram, RunsWhereTheFirstThreeDescriptorsAreClosed) {
    for (unsigned closed = 1; closed < 8; ++closed) {
        EXPECT_TRUE(InAnotherProcess([closed] {
            bool good = true;
            for (int i = 0; i < 3; ++i) {
                if ((closed >> i & 1U) != 0) close(i);
            }
            good = Reply(4, {"reply", "done"}) == "done" && Reply(5, {"reply", "done"}) == "none";
            auto report = Report();
            for (int i = 0; i < 3; ++i) {
                const std::string fd = "fd " + std::to_string(i);
                if ((closed >> i & 1U) == 0) continue;
                good = good && report[fd] == std::vector<std::string>{"/dev/null"};
                good = good && report["mode " + std::to_string(i)] == std::vector<std::string>{"both ways"};
                good = good && report["parent's " + fd] == std::vector<std::string>{"-"};
                good = good && fcntl(i, F_GETFD) < 0;
            }
            return good && report["fd 3"].size() == 1 && report.count("fd 4") == 0;
        })) << "closed: "
            << closed;
    }
}

TEST_F(HelperProgram, DescriptorsThatThisProcessKeepsToItselfAreNotHandedOn) {
    EXPECT_TRUE(InAnotherProcess([] {
        fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC);
        auto report = Report();
        return report["fd 0"] == std::vector<std::string>{"/dev/null"} &&
               report["mode 0"] == std::vector<std::string>{"both ways"};
    }));
}

bool UseUpDescriptors(rlim_t most) {
    const rlimit few = {most, most};
    closefrom(STDERR_FILENO + 1);
    if (setrlimit(RLIMIT_NOFILE, &few) != 0) return false;
    while (dup(STDERR_FILENO) >= 0) {
    }
    return errno == EMFILE;
}

TEST_F(HelperProgram, GivesNoneWhenDescriptorsAreUsedUp) {
    EXPECT_TRUE(InAnotherProcess([] {
        if (!UseUpDescriptors(64)) return false;
        const std::vector<int> all = OpenDescriptors();
        if (all.size() != 64 || Reply(4, {"reply", "done"}) != "none" || OpenDescriptors() != all) return false;
        // From two on there is a connection.
        for (int free = 1; free <= 4; ++free) {
            close(all[all.size() - static_cast<size_t>(free)]);
            const std::vector<int> before = OpenDescriptors();
            if (Reply(4, {"reply", "done"}) != (free < 2 ? "none" : "done")) return false;
            if (OpenDescriptors() != before || HasChildren()) return false;
        }
        return true;
    }));
}

TEST_F(HelperProgram, WithoutFreeNumbersAboveTheFirstThreeThereIsNone) {
    for (const int other : {STDOUT_FILENO, 5}) {
        EXPECT_TRUE(InAnotherProcess([other] {
            if (!UseUpDescriptors(16)) return false;
            close(STDIN_FILENO);
            close(other);
            const std::vector<int> before = OpenDescriptors();
            return Reply(4, {"reply", "done"}) == "none" && OpenDescriptors() == before && !HasChildren();
        })) << other;
    }
}

TEST_F(HelperProgram, LeavesNothingBehindInAThousandRuns) {
    for (int i = 0; i < 1000; ++i) {
        const bool replies = i % 2 == 0;
        ASSERT_EQ(replies ? "done" : "none", Reply(4, {replies ? "reply" : "killed", replies ? "done" : ""})) << i;
    }
}

TEST_F(HelperProgram, TwoAtOnceKeepTheirRepliesApart) {
    std::atomic<int> wrong = 0;
    const auto work = [&](const char* text) {
        for (int i = 0; i < 100; ++i) {
            if (Reply(5, {"slowly", text}) != text) ++wrong;
        }
    };
    std::thread one(work, "first");
    std::thread two(work, "other");
    one.join();
    two.join();
    EXPECT_EQ(0, wrong);
}

TEST_F(HelperProgram, OneThatStaysOpenDoesNotHoldUpAnother) {
    int says[2];
    ASSERT_EQ(0, pipe2(says, O_CLOEXEC));
    const pid_t caller = fork();
    if (caller == 0) {
        // The first one waits for its caller, which goes on in another thread.
        dup2(says[1], STDOUT_FILENO);
        std::thread([] { Reply(4, {"wait"}); }).detach();
        char byte;
        if (read(says[0], &byte, 1) != 1) _exit(1);
        alarm(kSoon);
        _exit(Reply(4, {"reply", "done"}) == "done" ? 0 : 1);
    }
    close(says[1]);
    int status = -1;
    ASSERT_EQ(caller, waitpid(caller, &status, 0));
    EXPECT_EQ(0, status);
    close(says[0]);
}

/// Until all writers have gone.
std::string AllOf(int descriptor) {
    std::string text;
    char bytes[256];
    for (ssize_t count; (count = read(descriptor, bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<size_t>(count));
    }
    return text;
}

TEST_F(HelperProgram, SeesThatItsCallerHasGone) {
    int says[2];
    int control[2];
    ASSERT_EQ(0, pipe2(says, O_CLOEXEC));
    ASSERT_EQ(0, pipe2(control, O_CLOEXEC));
    const pid_t caller = fork();
    if (caller == 0) {
        dup2(says[1], STDOUT_FILENO);
        std::thread([] { Reply(4, {"wait"}); }).detach();
        // Meanwhile another program is started, which lives longer.
        char go;
        if (read(control[0], &go, 1) != 1) _exit(1);
        const pid_t other = fork();
        if (other == 0) {
            close(STDOUT_FILENO);
            execlp("sleep", "sleep", "60", nullptr);
            _exit(1);
        }
        if (write(says[1], &other, sizeof other) != sizeof other) _exit(1);
        sleep(60);
        _exit(1);
    }
    close(says[1]);
    char started[8] = {};
    ASSERT_EQ(8, read(says[0], started, sizeof started));
    EXPECT_EQ(0, std::memcmp("started\n", started, sizeof started));
    pid_t other = 0;
    ASSERT_EQ(1, write(control[1], "g", 1));
    ASSERT_EQ(static_cast<ssize_t>(sizeof other), read(says[0], &other, sizeof other));
    while (std::filesystem::read_symlink("/proc/" + std::to_string(other) + "/exe") ==
           std::filesystem::read_symlink("/proc/self/exe")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(caller, SIGKILL);
    int status = 0;
    ASSERT_EQ(caller, waitpid(caller, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ("left\n", AllOf(says[0]));
    kill(other, SIGKILL);
    for (const int descriptor : {says[0], control[0], control[1]}) close(descriptor);
}

TEST_F(HelperProgram, ItsEndIsSeenWhenAnotherProcessHoldsTheConnection) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ("done", Reply(4, {"orphan", "done"}));
    EXPECT_EQ("none", Reply(5, {"orphan", "done"}));
    EXPECT_EQ("none", Reply(3, {"orphan", "done"}));
    EXPECT_GT(std::chrono::seconds(kSoon), std::chrono::steady_clock::now() - begin);
}

TEST_F(HelperProgram, RunsBesideAThreadThatForks) {
    std::atomic<bool> stop = false;
    std::vector<pid_t> forked;
    std::thread forking([&] {
        while (!stop && forked.size() < 400) {
            const pid_t child = fork();
            if (child == 0) {
                // Holds whatever was open then, far longer than the calls may take.
                sleep(60);
                _exit(0);
            }
            if (child > 0) forked.push_back(child);
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    const auto begin = std::chrono::steady_clock::now();
    int replies = 0;
    for (int i = 0; i < 100; ++i) replies += Reply(4, {"reply", "done"}) == "done" ? 1 : 0;
    const auto end = std::chrono::steady_clock::now();
    stop = true;
    forking.join();
    for (const pid_t child : forked) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    EXPECT_EQ(100, replies);
    EXPECT_LT(10U, forked.size());
    EXPECT_GT(std::chrono::seconds(30), end - begin);
}

}  // namespace
}  // namespace zv::test
