#include "image_file_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>

namespace zvtest {

namespace {

fs::path PlaceForFolders() {
    std::error_code none;
    const fs::path memory = "/dev/shm";
    return fs::is_directory(memory, none) ? memory : fs::path(testing::TempDir());
}

}  // namespace

Folder::Folder() {
    static std::random_device random;
    for (int tries = 0; tries < 100; ++tries) {
        root_ = PlaceForFolders() / ("zvclr-images-" + std::to_string(random()));
        if (fs::create_directory(root_)) return;
    }
    throw std::runtime_error("cannot make a folder");
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

Bytes ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        ADD_FAILURE() << "no file " << path;
        return {};
    }
    Bytes bytes(static_cast<size_t>(fs::file_size(path)));
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

void WriteFile(const fs::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.string());
}

FolderState StateOf(const fs::path& folder) {
    FolderState state;
    for (const auto& entry : fs::directory_iterator(folder)) {
        Bytes bytes;
        if (entry.is_regular_file()) bytes = ReadFile(entry.path());
        state[entry.path().filename()] = {bytes, entry.symlink_status().permissions(), fs::last_write_time(entry)};
    }
    return state;
}

std::basic_string<ZvChar> WideName(const fs::path& path) { return path.string<ZvChar>(); }

Loaded Load(const fs::path& image) {
    ClrIccProfile record;
    EXPECT_EQ(Zv_InitICCProfile(&record, sizeof record), 1);
    Loaded loaded;
    loaded.result = Zv_LoadICCProfile(WideName(image).c_str(), &record, nullptr);
    const uint8_t* const data = record.profileData;
    if (data != nullptr) loaded.profile.assign(data, data + record.profileSize);
    Zv_FreeICCProfile(&record);
    return loaded;
}

namespace {

int32_t Save(const fs::path& image, const Bytes& profile, const SAVEFILEOPTION* options) {
    ClrIccProfile record;
    EXPECT_EQ(Zv_InitICCProfile(&record, sizeof record), 1);
    Bytes copy = profile;
    record.profileData = copy.data();
    record.profileSize = copy.size();
    const int32_t result = Zv_SaveICCProfile(WideName(image).c_str(), &record, options);
    EXPECT_EQ(copy, profile);
    EXPECT_TRUE(record.profileData == copy.data() && record.profileSize == copy.size());
    return result;
}

}  // namespace

int32_t Save(const fs::path& image, const Bytes& profile) { return Save(image, profile, nullptr); }

int32_t SaveWithBackup(const fs::path& image, const Bytes& profile, const fs::path& backup) {
    SAVEFILEOPTION options = {};
    options.size = sizeof options;
    const std::basic_string<ZvChar> name = WideName(backup);
    std::copy_n(name.begin(), std::min<size_t>(name.size(), CLR_NAME_LENGTH - 1), options.backupName);
    return Save(image, profile, &options);
}

Bytes MadeUpProfile(size_t size, uint8_t seed) {
    // Most of the bytes look like markers, digits and line ends to those who take them for such.
    constexpr uint8_t kBytes[] = {0xFF, 0xE0, 0x00, 0xD8, 0xDA, 0xD9, '%', ' ', '0', 'f', '\r', '\n', 0x3B, 0x21};
    std::minstd_rand random(static_cast<unsigned>(size) * 256U + seed);
    Bytes bytes(size);
    for (uint8_t& byte : bytes) {
        const auto number = static_cast<uint32_t>(random());
        byte = number % 4 == 0 ? static_cast<uint8_t>(number >> 8) : kBytes[(number >> 8) % std::size(kBytes)];
    }
    if (size > 0) bytes[0] = seed;
    return bytes;
}

std::vector<fs::path> RealProfiles() {
    std::vector<fs::path> files;
    const auto collect = [&files](const auto& folder) {
        for (const auto& entry : folder) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".icm" || extension == ".icc" || extension == ".ICM") files.push_back(entry.path());
        }
    };
    collect(fs::directory_iterator(ZVCLR_PROFILES));
    EXPECT_GE(files.size(), 4U);
#ifndef _WIN32
    const size_t own = files.size();
    collect(fs::recursive_directory_iterator("/usr/share/color/icc"));
    EXPECT_GE(files.size() - own, 30U) << "icc-profiles-free and colord-data";
#endif
    std::sort(files.begin(), files.end());
    return files;
}

Bytes SmallRealProfile() { return ReadFile(fs::path(ZVCLR_PROFILES) / "105.icm"); }

Bytes LargeRealProfile() { return ReadFile(fs::path(ZVCLR_PROFILES) / "107.icm"); }

}  // namespace zvtest
