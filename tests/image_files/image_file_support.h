// Files, folders and the library's two calls for the tests of profiles in image files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "zvicc.h"

namespace zvtest {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;
using Sizes = std::initializer_list<size_t>;

/// A folder of its own for one test, in memory where the system offers that: every save waits for the disk.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const fs::path& Root() const { return root_; }
    fs::path operator/(const fs::path& name) const { return root_ / name; }

private:
    fs::path root_;
};

Bytes ReadFile(const fs::path& path);
void WriteFile(const fs::path& path, const Bytes& bytes);

/// All that a refused save must leave as it was.
struct FileState {
    Bytes bytes;
    fs::perms rights;
    fs::file_time_type written;
    bool operator==(const FileState&) const = default;
};
using FolderState = std::map<fs::path, FileState>;
FolderState StateOf(const fs::path& folder);

std::basic_string<ZvChar> WideName(const fs::path& path);

struct Loaded {
    int32_t result;
    Bytes profile;
};
Loaded Load(const fs::path& image);
int32_t Save(const fs::path& image, const Bytes& profile);
int32_t SaveWithBackup(const fs::path& image, const Bytes& profile, const fs::path& backup);

/// Made-up bytes that differ from size to size and from seed to seed.
Bytes MadeUpProfile(size_t size, uint8_t seed = 1);
/// The library's own profiles, and those of the system.
std::vector<fs::path> RealProfiles();
/// An RGB profile of one part, and one of several.
Bytes SmallRealProfile();
Bytes LargeRealProfile();

}  // namespace zvtest
