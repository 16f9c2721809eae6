// The program that shows the dialogs of Linux: what it does where it cannot show one, or is not meant to.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using Words = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// Far more than a busy machine takes, and less than the time limit of a test.
constexpr std::chrono::seconds kPatience{30};
constexpr int kReply = 3;
constexpr int kNoStatus = -1;

const Words kOffscreen = {"QT_QPA_PLATFORM=offscreen"};
const Words kNoDisplay = {};

/// A run of the program with nothing but this environment.
class Launch {
public:
    enum class Reply { kNone, kSocket, kFile };

    Launch(const Words& arguments, const Words& environment, Reply reply = Reply::kSocket) {
        int output[2];
        EXPECT_EQ(0, pipe2(output, O_CLOEXEC));
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDERR_FILENO);
        int ends[2] = {-1, -1};
        if (reply == Reply::kSocket) {
            EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
            posix_spawn_file_actions_adddup2(&actions, ends[1], kReply);
        } else if (reply == Reply::kFile) {
            posix_spawn_file_actions_addopen(&actions, kReply, "/dev/null", O_RDWR, 0);
        } else {
            posix_spawn_file_actions_addclosefrom_np(&actions, kReply);
        }
        Words words = arguments;
        words.insert(words.begin(), ZVCLR_SETTINGS_PROGRAM);
        Words settings = environment;
        // What sanitizers are told counts here too.
        for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
            if (const char* value = std::getenv(name)) settings.push_back(std::string(name) + "=" + value);
        }
        const int failure = posix_spawn(&program_, ZVCLR_SETTINGS_PROGRAM, &actions, nullptr, PointersTo(words).data(),
                                        PointersTo(settings).data());
        EXPECT_EQ(0, failure);
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);
        if (ends[1] >= 0) close(ends[1]);
        output_ = output[0];
        caller_ = ends[0];
    }
    ~Launch() {
        if (status_ == kNoStatus) {
            kill(program_, SIGKILL);
            waitpid(program_, &status_, 0);
        }
        HangUp();
        close(output_);
    }
    Launch(const Launch&) = delete;
    Launch& operator=(const Launch&) = delete;

    /// As if the caller had died.
    void HangUp() {
        if (caller_ >= 0) close(caller_);
        caller_ = -1;
    }
    void Signal(int number) const { kill(program_, number); }
    bool HasEnded() { return status_ != kNoStatus || waitpid(program_, &status_, WNOHANG) == program_; }

    /// The exit code; -N after signal N, and -1000 if it goes on.
    int Code() {
        const Clock::time_point end = Clock::now() + kPatience;
        while (!HasEnded()) {
            if (Clock::now() > end) return -1000;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
    }
    /// What an ended program wrote.
    std::string Output() const {
        std::string text;
        std::array<char, 4096> part;
        for (ssize_t count; (count = read(output_, part.data(), part.size())) > 0;) {
            text.append(part.data(), static_cast<size_t>(count));
        }
        return text;
    }
    /// Bytes of a reply, behind which the program has closed the connection.
    size_t BytesOfReply() const {
        size_t size = 0;
        std::array<char, 8192> part;
        for (ssize_t count; (count = recv(caller_, part.data(), part.size(), 0)) > 0;) {
            size += static_cast<size_t>(count);
        }
        return size;
    }

private:
    static std::vector<char*> PointersTo(Words& words) {
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        return pointers;
    }

    pid_t program_ = 0;
    int output_ = -1;
    int caller_ = -1;
    int status_ = kNoStatus;
};

void ExpectOneLine(const std::string& text) {
    EXPECT_EQ(1, std::ranges::count(text, '\n')) << text;
    EXPECT_EQ(0U, text.find("zvclr-settings: error: ")) << text;
}

void ExpectRefused(const Words& arguments, Launch::Reply reply = Launch::Reply::kSocket) {
    std::string said;
    for (const std::string& word : arguments) said += " " + word;
    SCOPED_TRACE(said);
    Launch run(arguments, kOffscreen, reply);
    EXPECT_EQ(2, run.Code());
    ExpectOneLine(run.Output());
}

const Words kCmyk = {"cmyk", "--parent", "0x0", "--reply-to", "3"};

TEST(SettingsProgram, RefusesOtherArgumentsThanTheLibrarys) {
    ExpectRefused({});
    ExpectRefused({"cmyk"});
    ExpectRefused({"--reply-to", "3"});
    ExpectRefused({"rgb", "--reply-to", "3"});
    ExpectRefused({"CMYK", "--reply-to", "3"});
    ExpectRefused({"cmyk", "lab", "--reply-to", "3"});
    ExpectRefused({"cmyk", "--reply-to"});
    ExpectRefused({"cmyk", "--reply-to", "three"});
    ExpectRefused({"cmyk", "--reply-to", ""});
    ExpectRefused({"cmyk", "--reply-to", "-3"});
    ExpectRefused({"cmyk", "--reply-to", "99999999999"});
    ExpectRefused({"cmyk", "--reply-to", "3", "--parent", "window"});
    ExpectRefused({"cmyk", "--reply-to", "3", "--parent", "0x1ffffffffffffffff"});
    ExpectRefused({"cmyk", "--reply-to", "3", "--colour"});
}

TEST(SettingsProgram, RefusesADescriptorThatIsNoConnection) {
    ExpectRefused(kCmyk, Launch::Reply::kNone);
    ExpectRefused(kCmyk, Launch::Reply::kFile);
}

TEST(SettingsProgram, TellsAboutItselfWithoutADisplay) {
    Launch help({"--help"}, kNoDisplay, Launch::Reply::kNone);
    EXPECT_EQ(0, help.Code());
    const std::string text = help.Output();
    EXPECT_NE(std::string::npos, text.find("zvclr settings")) << text;
    EXPECT_NE(std::string::npos, text.find("--reply-to")) << text;
    Launch version({"--version"}, kNoDisplay, Launch::Reply::kNone);
    EXPECT_EQ(0, version.Code());
    EXPECT_EQ("zvclr-settings " ZVCLR_TEST_VERSION "\n", version.Output());
}

TEST(SettingsProgram, EndsWhereThereIsNoDisplay) {
    for (const Words& environment : {kNoDisplay, Words{"DISPLAY="}, Words{"DISPLAY=", "WAYLAND_DISPLAY="}}) {
        Launch run(kCmyk, environment);
        EXPECT_EQ(1, run.Code());
        EXPECT_EQ("zvclr-settings: error: there is no display\n", run.Output());
        EXPECT_EQ(0U, run.BytesOfReply());
    }
}

TEST(SettingsProgram, EndsWithoutASignalWhereTheDisplayDoesNotAnswer) {
    for (const Words& environment :
         {Words{"DISPLAY=:98765"}, Words{"DISPLAY=nonsense"}, Words{"QT_QPA_PLATFORM=nonsense"}}) {
        Launch run(kCmyk, environment);
        EXPECT_EQ(1, run.Code()) << environment.front();
        const std::string text = run.Output();
        ExpectOneLine(text);
        const std::string subject = environment.front().substr(environment.front().find('=') + 1);
        EXPECT_NE(std::string::npos, text.find(subject)) << text;
        EXPECT_EQ(0U, run.BytesOfReply());
    }
}

TEST(SettingsProgram, ShowsNothingWhereNobodyWouldSeeIt) {
    for (const char* platform : {"offscreen", "offscreen:option", "minimal"}) {
        Launch run(kCmyk, {std::string("QT_QPA_PLATFORM=") + platform, "DISPLAY=:98765"});
        EXPECT_EQ(1, run.Code());
        EXPECT_EQ("zvclr-settings: error: there is no display\n", run.Output());
    }
    // Qt minds no case, takes lists, and says what it did not find.
    for (const char* platform : {"Offscreen", "VNC", "offscreen;xcb", "nonsense;offscreen"}) {
        SCOPED_TRACE(platform);
        Launch run(kCmyk, {std::string("QT_QPA_PLATFORM=") + platform, "DISPLAY="});
        EXPECT_EQ(1, run.Code());
        EXPECT_NE(std::string::npos, run.Output().find("zvclr-settings: error: "));
        EXPECT_EQ(0U, run.BytesOfReply());
    }
}

TEST(SettingsProgram, ServesOnlyTheLibraryOfItsOwnVersion) {
    Words arguments = kCmyk;
    arguments.insert(arguments.end(), {"--version-of-caller", "0.9.9"});
    Launch run(arguments, kNoDisplay);
    EXPECT_EQ(1, run.Code());
    const std::string text = run.Output();
    ExpectOneLine(text);
    EXPECT_NE(std::string::npos, text.find("version")) << text;
    EXPECT_EQ(0U, run.BytesOfReply());
}

}  // namespace
