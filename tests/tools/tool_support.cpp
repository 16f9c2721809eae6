#include "tool_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace zvtest {

namespace {

std::string textOf(const std::string& path) {
    const Bytes bytes = readFile(path);
    return std::string(bytes.begin(), bytes.end());
}

void redirect(const std::string& path, int flags, int descriptor) {
    const int file = ::open(path.c_str(), flags, 0600);
    if (file < 0 || ::dup2(file, descriptor) < 0) {
        ::_exit(126);
    }
}

}  // namespace

Folder::Folder() {
    std::string name = testing::TempDir() + "zvclr-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder");
    }
    path_ = name;
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> Folder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

Outcome runProgram(const std::vector<std::string>& arguments, const std::string& inputFile) {
    const Folder folder;
    std::vector<std::string> copies = arguments;
    std::vector<char*> pointers;
    std::transform(copies.begin(), copies.end(), std::back_inserter(pointers), [](std::string& s) { return s.data(); });
    pointers.push_back(nullptr);
    const std::string out = folder.path("out");
    const std::string err = folder.path("err");
    const pid_t child = ::fork();
    if (child == 0) {
        redirect(inputFile, O_RDONLY, STDIN_FILENO);
        redirect(out, O_WRONLY | O_CREAT, STDOUT_FILENO);
        redirect(err, O_WRONLY | O_CREAT, STDERR_FILENO);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage = {};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child) {
        throw std::runtime_error("cannot run a program");
    }
    Outcome outcome;
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.out = textOf(out);
    outcome.err = textOf(err);
    outcome.peakKilobytes = usage.ru_maxrss;
    return outcome;
}

Outcome runTool(std::vector<std::string> arguments, const std::string& inputFile) {
    arguments.insert(arguments.begin(), ZVCLR_PROGRAM);
    return runProgram(arguments, inputFile);
}

std::string shell(const std::string& line) {
    const Outcome outcome =
        runProgram({"/bin/bash", "-c", std::string("set -o pipefail; export ZVCLR='") + ZVCLR_PROGRAM + "'\n" + line});
    EXPECT_EQ(outcome.code, 0) << line << "\n" << outcome.err;
    return outcome.out;
}

Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        ADD_FAILURE() << "no file " << path;
    }
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& path, const Bytes& bytes) {
    // Some file systems wait for the disk when a file is emptied and written anew.
    std::filesystem::remove(path);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

void writeFile(const std::string& path, const std::string& text) { writeFile(path, Bytes(text.begin(), text.end())); }

bool exists(const std::string& path) { return std::filesystem::exists(path); }

Bytes pattern(int32_t width, int32_t height) {
    Bytes pixels;
    pixels.reserve(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            pixels.push_back(static_cast<uint8_t>(x * 255 / std::max(1, width - 1)));
            pixels.push_back(static_cast<uint8_t>(y * 255 / std::max(1, height - 1)));
            pixels.push_back(static_cast<uint8_t>((x + y) * 255 / std::max(1, width + height - 2)));
        }
    }
    return pixels;
}

Bytes ppm(int32_t width, int32_t height, const Bytes& rgb) {
    std::ostringstream head;
    head << "P6\n" << width << " " << height << "\n255\n";
    const std::string text = head.str();
    Bytes file(text.begin(), text.end());
    file.insert(file.end(), rgb.begin(), rgb.end());
    return file;
}

Bytes pixelsOfPpm(const Bytes& file) {
    std::istringstream head(std::string(
        file.begin(), file.begin() + std::min<std::ptrdiff_t>(64, static_cast<std::ptrdiff_t>(file.size()))));
    std::string magic;
    size_t width = 0;
    size_t height = 0;
    size_t maximum = 0;
    head >> magic >> width >> height >> maximum;
    const size_t channels = magic == "P5" ? 1 : 3;
    const size_t bytes = width * height * channels;
    if ((magic != "P5" && magic != "P6") || maximum != 255 || file.size() < bytes) {
        ADD_FAILURE() << "no P5 or P6 file of bytes: " << magic << " " << maximum;
        return {};
    }
    Bytes pixels;
    for (size_t i = file.size() - bytes; i < file.size(); ++i) {
        pixels.insert(pixels.end(), 3 / channels, file[i]);
    }
    return pixels;
}

int largestDifference(const Bytes& first, const Bytes& second) {
    if (first.size() != second.size()) {
        return 256;
    }
    int largest = 0;
    for (size_t i = 0; i < first.size(); ++i) {
        largest = std::max(largest, std::abs(first[i] - second[i]));
    }
    return largest;
}

}  // namespace zvtest
