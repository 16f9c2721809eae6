// What must hold whatever stands in a file: for the tests that damage small ones.
#pragma once

#include <string>
#include <vector>

#include "image_file_support.h"
#include "small_images.h"

namespace zvtest {

struct HostileSource {
    std::string name;
    Bytes bytes;
};
/// A small file of each format, most with a profile in it.
const std::vector<HostileSource>& HostileSources();

/// Loads from and saves into files of any content, and fails where a promise of the header is broken.
class HostileCheck {
public:
    /// False if something has failed; more files would only say the same.
    bool Try(const Bytes& file);

    int Saved() const { return saved_; }
    int Loads() const { return loads_; }

private:
    void TryToLoad(const Bytes& file);
    void TryToSave(const Bytes& file);
    void CheckSaved(const Bytes& before, const Bytes& after);

    const Folder folder_;
    const fs::path file_ = folder_ / "image";
    const Bytes profile_ = MadeUpProfile(90, 7);
    int saved_ = 0;
    int loads_ = 0;
};

}  // namespace zvtest
