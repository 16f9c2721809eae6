// Example programs run as a user would, in a folder of their own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace zvtest {

namespace fs = std::filesystem;

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

inline std::string textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class ProgramRuns : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "zvclr-examples-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    Outcome run(const std::string& command) const {
        const fs::path out = folder_ / "stdout.txt", err = folder_ / "stderr.txt";
        const int status =
            std::system((command + " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, textOf(out), textOf(err)};
    }

    fs::path folder_;
};

}  // namespace zvtest
