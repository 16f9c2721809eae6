// A file of given bytes for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/platform.h"
#include "tests/support/profile_builder.h"

namespace zv::test {

class ProfileFile {
public:
    explicit ProfileFile(const Bytes& bytes) {
        static std::atomic<int> count = 0;
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        // Programs of one folder may run side by side: the test's name keeps their files apart.
        const std::string name =
            std::string("zv-") + test->test_suite_name() + '-' + test->name() + '-' + std::to_string(count++) + ".icm";
        path_ = std::filesystem::temp_directory_path() / name;
        std::ofstream stream(path_, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        EXPECT_TRUE(stream.good());
#ifdef _WIN32
        name_ = path_.wstring();
#else
        name_ = path_.u16string();
#endif
    }
    ~ProfileFile() {
        std::error_code failure;
        EXPECT_TRUE(std::filesystem::remove(path_, failure));
    }
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;

    const ZvChar* Name() const { return name_.c_str(); }

private:
    std::filesystem::path path_;
    std::basic_string<ZvChar> name_;
};

}  // namespace zv::test
