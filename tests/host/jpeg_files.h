// JPEG files by hand.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/host.h"
#include "tests/host/image_folder.h"

namespace zv::test {

using namespace std::string_literals;

inline const std::string kStart = "\xFF\xD8"s;
inline const std::string kEnd = "\xFF\xD9"s;

inline std::string Segment(int marker, const std::string& data) {
    return "\xFF"s + static_cast<char>(marker) + Number(data.size() + 2, 2, true) + data;
}

/// A scan's header and coded bytes with what looks like markers and is none, to the end of the image.
inline std::string Scan(size_t size = 1000, uint32_t seed = 7) {
    return Segment(0xDA, "scan's head") + Noise(size, seed) + "\xFF\x00\xFF\xD0"s +
           Segment(0xE2, "ICC_PROFILE\0in scan"s) + kEnd;
}

inline std::string App0() { return Segment(0xE0, "JFIF\0\1\2\0\0\1\0\1\0\0"s); }
inline std::string App1() { return Segment(0xE1, "Exif\0\0MM\0*\0\0\0\x08\0\0\0\0\0\0"s); }
inline std::string Tables() {
    return Segment(0xDB, Noise(65, 1)) + Segment(0xC0, Noise(15, 2)) + Segment(0xC4, Noise(28, 3));
}

inline std::string IccData(const std::string& profile, int part = 1, int parts = 1) {
    return "ICC_PROFILE\0"s + static_cast<char>(part) + static_cast<char>(parts) + profile;
}
inline std::string Icc(const std::string& profile, int part = 1, int parts = 1) {
    return Segment(0xE2, IccData(profile, part, parts));
}

using MarkerList = std::vector<std::pair<uint32_t, std::string>>;

/// The road of the library: 1 or the first other result.
inline int32_t SaveMarkers(const fs::path& path, const MarkerList& list, const SAVEFILEOPTION* options = nullptr) {
    HostMarkers set = nullptr;
    int32_t result = HostCreateMarkers(&set);
    for (const auto& [id, data] : list) {
        if (result == CLR_SUCCESS) {
            result = HostInsertMarker(set, -1, id, static_cast<uint32_t>(data.size()), BytesOf(data));
        }
    }
    if (result == CLR_SUCCESS) result = HostSetSaveMarkers(nullptr, 0);
    if (result == CLR_SUCCESS) result = HostSetSaveMarkers(set, 0);
    if (result == CLR_SUCCESS) result = HostRewriteFile(WideOf(path).c_str(), 4, options);
    HostSetSaveMarkers(nullptr, 0);
    const int32_t freed = HostFreeMarkers(set);
    return result == CLR_SUCCESS ? freed : result;
}

inline int32_t SaveProfile(const fs::path& path, const std::string& profile, const SAVEFILEOPTION* options = nullptr) {
    return SaveMarkers(path, {{0xE2, IccData(profile)}}, options);
}

}  // namespace zv::test
