// A folder of its own for each test, and bytes to fill files with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"

#ifdef _WIN32
#    include <process.h>
#else
#    include <unistd.h>
#endif

namespace zv::test {

namespace fs = std::filesystem;
using Wide = std::basic_string<ZvChar>;

inline Wide WideOf(const fs::path& path) {
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

inline std::string ContentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    char piece[65536];
    do {
        file.read(piece, sizeof piece);
        content.append(piece, static_cast<size_t>(file.gcount()));
    } while (file);
    return content;
}

inline void Fill(const fs::path& path, std::string_view content) {
    // Some file systems write an emptied file to the disk at once, and that takes long.
    fs::remove(path);
    std::ofstream(path, std::ios::binary) << content;
}

/// In memory where the system has such a place: every save waits for the disk, and tests make thousands.
inline fs::path FolderOfFolders() {
#ifndef _WIN32
    const fs::path memory = "/dev/shm";
    if (access(memory.c_str(), W_OK | X_OK) == 0) return memory;
#endif
    return fs::temp_directory_path();
}

class ImageFolder : public ::testing::Test {
protected:
    fs::path folder_;

    void SetUp() override {
#ifdef _WIN32
        const int process = _getpid();
#else
        const int process = getpid();
#endif
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        folder_ = FolderOfFolders() /
                  ("zvclr_" + std::string(test->test_suite_name()) + test->name() + "_" + std::to_string(process));
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    fs::path Make(const fs::path& name, std::string_view content) const {
        const fs::path path = folder_ / name;
        Fill(path, content);
        return path;
    }
    /// Names in the folder, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

/// A number of `size` bytes.
inline std::string Number(uint64_t value, size_t size, bool big) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[big ? size - 1 - i : i] = static_cast<char>(value >> 8 * i & 255);
    return bytes;
}

inline uint64_t NumberAt(const std::string& bytes, size_t at, size_t size, bool big) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) {
        value = value << 8 | static_cast<uint8_t>(bytes.at(big ? at + i : at + size - 1 - i));
    }
    return value;
}

/// Bytes that repeat late, and differ by their seed.
inline std::string Noise(size_t size, uint32_t seed) {
    std::string bytes(size, '\0');
    uint32_t state = seed * 2654435761U + 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

inline const uint8_t* BytesOf(const std::string& text) { return reinterpret_cast<const uint8_t*>(text.data()); }

}  // namespace zv::test
