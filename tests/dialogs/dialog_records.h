// Callers' records and files for tests of the settings dialogs. Nothing here knows more than the public interface.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/dialogs/dialog_user.h"

namespace zv::test {

inline constexpr int32_t kCmykType = 1;
inline constexpr int32_t kLabType = 2;
inline constexpr int kOk = 1;
inline constexpr int kCancel = 2;

/// Of ASCII characters.
inline Text T(const std::string& text) { return {text.begin(), text.end()}; }
inline Text NameOf(const std::filesystem::path& path) {
    const std::u16string name = path.u16string();
    return {name.begin(), name.end()};
}

/// What a caller gives: every byte and every pointer is something that a dialog would not leave there.
struct CallersRecords {
    ClrWhitePoint white;
    ClrCmykParams cmyk;
    ClrYuvParams yuv;
    ClrLabParams lab;
    ClrProfileMemory memory[2];
    ClrParams params;

    explicit CallersRecords(int fill = 0xA5) {
        std::memset(static_cast<void*>(this), fill, sizeof *this);
        params.whitePoint = &white;
        params.cmykParams = &cmyk;
        params.yuvParams = &yuv;
        params.labParams = &lab;
        params.inputProfileMemory = &memory[0];
        params.outputProfileMemory = &memory[1];
    }
    CallersRecords(const CallersRecords&) = delete;
    CallersRecords& operator=(const CallersRecords&) = delete;

    std::vector<uint8_t> Bytes() const {
        const auto* first = reinterpret_cast<const uint8_t*>(this);
        return {first, first + sizeof *this};
    }
};

/// What a dialog leaves in the caller's records after OK.
struct Choices {
    uint32_t method = CLRMETHOD_BUILTIN;
    uint32_t whiteCode = 50;
    Text input = {};
    Text output = {};
    Text table = {};
};

/// The names hold the whole of it: what is behind a name is not the caller's any more.
inline Text NameIn(const ZvChar (&field)[CLR_NAME_LENGTH]) {
    const ZvChar* const end = std::find(std::begin(field), std::end(field), ZvChar{0});
    EXPECT_NE(std::end(field), end);
    return {std::begin(field), end};
}

/// Every field that the dialogs fill, and every one that they must leave.
inline void ExpectChoices(int32_t dialogType, const CallersRecords& records, const Choices& choices, int fill = 0xA5) {
    const ClrParams& params = records.params;
    EXPECT_EQ(1648U, params.size);
    EXPECT_EQ(choices.method, params.activeMethod);
    EXPECT_EQ(choices.method, params.methods);
    EXPECT_EQ(8U, params.emulationMethod);
    EXPECT_EQ(choices.input, NameIn(params.inputProfileName));
    EXPECT_EQ(choices.output, NameIn(params.outputProfileName));
    EXPECT_EQ(choices.table, NameIn(params.emulationTableName));
    EXPECT_EQ(choices.whiteCode, uint32_t{records.white.whiteCode});
    EXPECT_EQ(0.0, double{records.white.x});
    EXPECT_EQ(0.0, double{records.white.y});
    const CallersRecords before(fill);
    if (dialogType == kCmykType) {
        EXPECT_EQ(12, records.cmyk.size);
        EXPECT_EQ(250, records.cmyk.gcrLevel);
        EXPECT_EQ(1, records.cmyk.mask);
    } else {
        EXPECT_EQ(0, std::memcmp(&before.cmyk, &records.cmyk, sizeof before.cmyk));
    }
    EXPECT_EQ(0, std::memcmp(&before.yuv, &records.yuv, sizeof before.yuv));
    EXPECT_EQ(0, std::memcmp(&before.lab, &records.lab, sizeof before.lab));
    EXPECT_EQ(0, std::memcmp(&before.memory, &records.memory, sizeof before.memory));
    EXPECT_EQ(&records.white, params.whitePoint);
    EXPECT_EQ(&records.cmyk, params.cmykParams);
    EXPECT_EQ(&records.yuv, params.yuvParams);
    EXPECT_EQ(&records.lab, params.labParams);
    EXPECT_EQ(&records.memory[0], params.inputProfileMemory);
    EXPECT_EQ(&records.memory[1], params.outputProfileMemory);
}

/// A place for a converter, which starts with something that is none.
class ConverterReceiver {
public:
    ConverterReceiver() : handle_(Untouched()) {}
    ~ConverterReceiver() {
        if (!IsUntouched()) {
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle_));
        }
    }
    ConverterReceiver(const ConverterReceiver&) = delete;
    ConverterReceiver& operator=(const ConverterReceiver&) = delete;

    ClrHandle** Place() { return &handle_; }
    const ClrHandle* Get() const { return handle_; }
    bool IsUntouched() const { return handle_ == Untouched(); }

    /// One row of three-byte pixels. Empty if there is no converter or it fails.
    std::vector<uint8_t> Convert(const std::vector<uint8_t>& pixels, size_t bytesOfResult) const {
        const size_t count = pixels.size() / 3;
        std::vector<uint8_t> out(count * bytesOfResult, 0xCD);
        if (IsUntouched()) return {};
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(handle_, pixels.data(), out.data(), static_cast<int32_t>(count), 1, 0, 0));
        return out;
    }

private:
    static ClrHandle* Untouched() {
        static uint8_t mark = 0;
        return reinterpret_cast<ClrHandle*>(&mark);
    }
    ClrHandle* handle_;
};

/// Files in a folder of its own for each test, gone at its end.
class DialogFiles {
public:
    DialogFiles() {
        static std::atomic<int> count = 0;
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("zvclr_") + test->test_suite_name() + "_" + test->name();
        std::ranges::replace(name, '/', '_');
        // Test programs of several faces may run side by side.
        const auto clock = std::filesystem::file_time_type::clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                (name + "_" + std::to_string(clock) + "_" + std::to_string(count++));
        std::filesystem::create_directories(path_);
    }
    ~DialogFiles() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    DialogFiles(const DialogFiles&) = delete;
    DialogFiles& operator=(const DialogFiles&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    /// A file that nobody reads.
    Text Make(const std::filesystem::path& name) const {
        std::ofstream(path_ / name, std::ios::binary) << "nothing";
        EXPECT_TRUE(std::filesystem::exists(path_ / name)) << name;
        return NameOf(path_ / name);
    }
    /// A copy of one of the library's own profiles.
    Text Profile(const std::string& number, const std::string& name) const {
        std::error_code failure;
        std::filesystem::copy_file(std::filesystem::path(ZVCLR_TEST_PROFILES) / (number + ".icm"), path_ / name,
                                   failure);
        EXPECT_FALSE(failure) << failure.message();
        return NameOf(path_ / name);
    }
    void Remove(const std::string& name) const { EXPECT_TRUE(std::filesystem::remove(path_ / name)) << name; }

private:
    std::filesystem::path path_;
};

}  // namespace zv::test
