// A profile into bytes as an image file, and out of it again. The first two bytes of the input choose the profile, the
// others are the file. What is no profile has to be there as before, and all of it after a failure.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Common/embedded_profile.h"
#include "fuzz/plain_images.h"

namespace {

using namespace zv;
using zvfuzz::Bytes;
using zvfuzz::Segment;
namespace fs = std::filesystem;

// Around what a TIFF entry, a block of a GIF file and a part of a JPEG's profile hold.
constexpr uint32_t kSizes[] = {0,   1,   4,     5,     8,     9,     80,    254,   255,    256,    510,
                               511, 600, 65518, 65519, 65520, 65525, 65532, 65533, 131038, 131039, 131052};
constexpr uint64_t kPart = 65519;

void Require(bool condition) {
    if (!condition) std::abort();
}

/// One image in memory, in a folder that holds nothing else.
class Folder {
public:
    Folder() {
        std::string name = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string();
        name += "/image-save-XXXXXX";
        Require(mkdtemp(name.data()) != nullptr);
        path_ = name;
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    void Hold(const Bytes& bytes) const {
        std::ofstream file(path_ / kImage, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        Require(file.good());
    }
    Bytes Read(const char* name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        Require(file.good());
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::u16string Name(const char* name) const { return (path_ / name).u16string(); }
    bool Holds(ptrdiff_t count) const { return std::distance(fs::directory_iterator(path_), {}) == count; }
    void Remove(const char* name) const { fs::remove(path_ / name); }

    static constexpr char kImage[] = "image";
    static constexpr char kBackup[] = "backup";

private:
    fs::path path_;
};

Bytes ProfileOf(uint8_t choice, uint8_t seed) {
    Bytes profile(kSizes[choice % std::size(kSizes)]);
    uint32_t state = seed;
    for (uint8_t& byte : profile) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return profile;
}

class Record {
public:
    Record() { Require(Zv_InitICCProfile(&record_, sizeof record_) == CLR_SUCCESS); }
    ~Record() { Zv_FreeICCProfile(&record_); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ClrIccProfile* operator->() { return &record_; }
    ClrIccProfile* Get() { return &record_; }

private:
    ClrIccProfile record_;
};

int32_t Save(const Folder& folder, Bytes* profile, bool keepsBackup) {
    SAVEFILEOPTION options = {};
    options.size = sizeof options;
    const std::u16string backup = folder.Name(Folder::kBackup);
    if (keepsBackup) std::copy(backup.begin(), backup.end(), options.backupName);
    ClrIccProfile record = {};
    record.structSize = sizeof record;
    record.profileSize = profile->size();
    record.profileData = profile->data();
    return Zv_SaveICCProfile(folder.Name(Folder::kImage).c_str(), &record, keepsBackup ? &options : nullptr);
}

bool Loads(const Folder& folder, const Bytes& profile) {
    Record record;
    return Zv_LoadICCProfile(folder.Name(Folder::kImage).c_str(), record.Get(), nullptr) == CLR_SUCCESS &&
           record->profileSize == profile.size() && std::equal(profile.begin(), profile.end(), record->profileData);
}

int32_t WantedResult(IccRoute route, const Bytes& file, const Bytes& profile) {
    const uint64_t behindParts = profile.size() % kPart;
    switch (route) {
        case IccRoute::kMarkers:
            if (profile.size() > kPart && behindParts >= 1 && behindParts <= 13) return ERR_INVALID_PARAMETER;
            return zvfuzz::SegmentsOf(file) ? CLR_SUCCESS : ERR_FILE_READ;
        case IccRoute::kTag:
            if (profile.empty()) return ERR_INVALID_PARAMETER;
            return zvfuzz::HasDirectory(file) ? CLR_SUCCESS : ERR_FILE_READ;
        case IccRoute::kGif:
            return CLR_SUCCESS;
        default:
            return ERR_FORMAT_NO_ICC;
    }
}

/// A JPEG file without its profile. The places of its further pictures move with the profile's size.
Bytes Stripped(const Bytes& file) {
    Bytes rest = file;
    const auto segments = zvfuzz::SegmentsOf(file);
    Require(segments.has_value());
    for (auto segment = segments->rbegin(); segment != segments->rend(); ++segment) {
        const auto at = [&](size_t place) { return rest.begin() + static_cast<ptrdiff_t>(place); };
        if (zvfuzz::IsProfilePart(file, *segment)) {
            rest.erase(at(segment->begin), at(segment->end));
        } else if (zvfuzz::IsPictureIndex(file, *segment)) {
            std::fill(at(segment->data), at(segment->end), uint8_t{0});
        }
    }
    return rest;
}

void CheckJpeg(const Folder& folder, const Bytes& file, Bytes profile) {
    const Bytes saved = folder.Read(Folder::kImage);
    if (profile.empty()) {
        Require(saved == file);
        return;
    }
    Require(Stripped(saved) == Stripped(file));
    uint64_t parts = 0;
    const auto segments = zvfuzz::SegmentsOf(saved);
    for (const Segment& segment : *segments) {
        if (!zvfuzz::IsProfilePart(saved, segment)) continue;
        Require(saved[segment.data + 12] == ++parts);
        Require(saved[segment.data + 13] == (profile.size() + kPart - 1) / kPart);
    }
    Require(parts == (profile.size() + kPart - 1) / kPart);
    Require(Loads(folder, profile));
    Require(Save(folder, &profile, false) == CLR_SUCCESS);
    Require(folder.Read(Folder::kImage) == saved);
}

void CheckTiff(const Folder& folder, const Bytes& file, Bytes profile) {
    const Bytes saved = folder.Read(Folder::kImage);
    Require(saved.size() > file.size());
    // All that changes is where the first directory lies.
    const bool isWide = file[2] == 43 || file[3] == 43;
    const ptrdiff_t begin = isWide ? 8 : 4, end = isWide ? 16 : 8;
    Require(std::equal(file.begin(), file.begin() + begin, saved.begin()));
    Require(std::equal(file.begin() + end, file.end(), saved.begin() + end));
    const zvfuzz::Tags tags = zvfuzz::TagsOf(saved);
    Require(tags.profiles == 1);
    Require(tags.others == zvfuzz::TagsOf(file).others);
    Require(Loads(folder, profile));
    std::reverse(profile.begin(), profile.end());
    Require(Save(folder, &profile, false) == CLR_SUCCESS);
    Require(Loads(folder, profile));
}

void CheckGif(const Folder& folder, const Bytes& file, const Bytes& profile) {
    const char head[] = "\x21\xFF\x0BICCRGBG1\x00\x01\x02";
    Bytes wanted(file.begin(), file.end() - 1);
    wanted.insert(wanted.end(), head, head + sizeof head - 1);
    for (size_t at = 0; at < profile.size(); at += 255) {
        const size_t size = std::min<size_t>(255, profile.size() - at);
        wanted.push_back(static_cast<uint8_t>(size));
        const auto from = profile.begin() + static_cast<ptrdiff_t>(at);
        wanted.insert(wanted.end(), from, from + static_cast<ptrdiff_t>(size));
    }
    wanted.insert(wanted.end(), {0x00, 0x3B});
    Require(folder.Read(Folder::kImage) == wanted);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    static const Folder folder;
    const Bytes file(data + 2, data + size);
    Bytes profile = ProfileOf(data[0], data[1]);
    const bool keepsBackup = data[1] % 4 == 0;
    folder.Hold(file);

    IccRoute route = IccRoute::kNone;
    Require(IccFindRoute(folder.Name(Folder::kImage).c_str(), nullptr, &route) == CLR_SUCCESS);
    const int32_t result = Save(folder, &profile, keepsBackup);
    Require(result == WantedResult(route, file, profile));
    const bool hasBackup = result == CLR_SUCCESS && keepsBackup && route != IccRoute::kGif;
    Require(folder.Holds(hasBackup ? 2 : 1));
    if (hasBackup) Require(folder.Read(Folder::kBackup) == file);
    folder.Remove(Folder::kBackup);
    if (result != CLR_SUCCESS) {
        Require(folder.Read(Folder::kImage) == file);
        return 0;
    }
    if (route == IccRoute::kMarkers) CheckJpeg(folder, file, profile);
    if (route == IccRoute::kTag) CheckTiff(folder, file, profile);
    if (route == IccRoute::kGif) CheckGif(folder, file, profile);
    Require(folder.Holds(1));
    return 0;
}
