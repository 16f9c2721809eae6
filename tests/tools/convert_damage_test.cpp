// Failures in the middle: the old output file stays and nothing is left over.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "tool_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;

const Bytes kOld = {'o', 'l', 'd'};

TEST(ConvertDamage, CutFilesOfEveryFormatFailAndKeepTheOldOutput) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(200, 150, zvtest::pattern(200, 150)));
    zvtest::shell("cd " + folder.root() + R"(
        mkdir whole; mv a.ppm whole; cd whole
        pnmtopng a.ppm > a.png
        pnmtopng -interlace a.ppm > interlaced.png 2>/dev/null
        cjpeg a.ppm > a.jpg
        cjpeg -progressive a.ppm > progressive.jpg
        pnmtoplainpnm a.ppm > plain.ppm
        $ZVCLR convert a.ppm none.tif --to rgb --compression none
        $ZVCLR convert a.ppm lzw.tif --to cmyk --method builtin
        $ZVCLR convert a.ppm c.jpg --to cmyk --method builtin
        $ZVCLR convert a.ppm y.jpg --to ycck)");
    zvtest::writeFile(folder.path("out.raw"), kOld);
    int cut = 0;
    for (const char* name : {"a.ppm", "a.png", "interlaced.png", "a.jpg", "progressive.jpg", "plain.ppm", "none.tif",
                             "lzw.tif", "c.jpg", "y.jpg"}) {
        const Bytes whole = zvtest::readFile(folder.path("whole/") + name);
        for (const size_t percent : {0U, 1U, 30U, 60U, 98U}) {
            zvtest::writeFile(
                folder.path("cut"),
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * percent / 100)));
            const Outcome outcome = zvtest::runTool(
                {"convert", folder.path("cut"), folder.path("out.raw"), "--to", "cmy", "--method", "builtin"});
            EXPECT_EQ(outcome.code, 1) << name << " " << percent << " " << outcome.err;
            EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
            EXPECT_EQ(zvtest::readFile(folder.path("out.raw")), kOld) << name << " " << percent;
            EXPECT_EQ(folder.names(), (std::vector<std::string>{"cut", "out.raw", "whole"}));
            ++cut;
        }
    }
    EXPECT_EQ(cut, 50);
}

// The tool in the middle of an image that comes through a named pipe.
class ConvertSignal : public testing::TestWithParam<int> {
protected:
    ConvertSignal() {
        EXPECT_EQ(::mkfifo(folder_.path("in").c_str(), 0600), 0);
        zvtest::writeFile(folder_.path("out.png"), kOld);
        child_ = ::fork();
        if (child_ == 0) {
            const std::string in = folder_.path("in");
            const std::string out = folder_.path("out.png");
            ::execl(ZVCLR_PROGRAM, "zvclr", "convert", in.c_str(), out.c_str(), "--to", "rgb", nullptr);
            ::_exit(127);
        }
        pipe_ = ::open(folder_.path("in").c_str(), O_WRONLY);
        const Bytes head = {'P', '6', ' ', '9', ' ', '9', '9', '9', '9', ' ', '2', '5', '5', '\n', 1, 2, 3};
        EXPECT_EQ(::write(pipe_, head.data(), head.size()), static_cast<ssize_t>(head.size()));
    }

    // Waits until the tool has started its output.
    bool started() const {
        for (int i = 0; i < 1000; ++i) {
            if (folder_.names().size() == 3) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    int finish() {
        int status = 0;
        EXPECT_EQ(::waitpid(child_, &status, 0), child_);
        ::close(pipe_);
        return status;
    }

    Folder folder_;
    pid_t child_ = -1;
    int pipe_ = -1;
};

TEST_P(ConvertSignal, KeepsTheOldFile) {
    ASSERT_TRUE(started());
    ASSERT_EQ(::kill(child_, GetParam()), 0);
    const int status = finish();
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), GetParam());
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"in", "out.png"}));
    EXPECT_EQ(zvtest::readFile(folder_.path("out.png")), kOld);
}

// Of the image and of its backup.
TEST(EmbedSignal, NeitherOfTwoUnfinishedFilesStays) {
    const Folder folder;
    zvtest::writeFile(folder.path("a.ppm"), zvtest::ppm(20, 15, zvtest::pattern(20, 15)));
    zvtest::shell("cd " + folder.root() + "; pnmtopng a.ppm > a.png; rm a.ppm; truncate -s 400M a.png");
    const std::string image = folder.path("a.png");
    const std::string backup = folder.path("old.png");
    const std::string profile = std::string(ZVCLR_PROFILES) + "/105.icm";
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(ZVCLR_PROGRAM, "zvclr", "embed", profile.c_str(), image.c_str(), "--backup", backup.c_str(), nullptr);
        ::_exit(127);
    }
    for (int i = 0; i < 20000 && folder.names().size() < 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(folder.names().size(), 3U);
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png"}));
}

INSTANTIATE_TEST_SUITE_P(Signals, ConvertSignal, testing::Values(SIGHUP, SIGINT, SIGTERM));

}  // namespace
