// Problems of the header, and tags that the profile's class asks for.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "names.h"
#include "problems.h"

namespace zvinfo {

namespace {

constexpr char kHeader[] = "header";
constexpr uint32_t kD50[3] = {0xF6D6, 0x10000, 0xD32D};
/// Writers round the illuminant's three numbers each in their way.
constexpr int64_t kD50Tolerance = 2;
constexpr size_t kVendorAttributesAt = 56;
constexpr size_t kIdAt = 84;
constexpr size_t kReservedAt = 100;
constexpr size_t kHeaderSize = 128;

bool allZero(const Profile& profile, size_t from, size_t to) {
    const auto begin = profile.bytes().begin();
    return std::all_of(begin + static_cast<std::ptrdiff_t>(from), begin + static_cast<std::ptrdiff_t>(to),
                       [](uint8_t byte) { return byte == 0; });
}

void checkVersion(const Profile& profile, Findings& findings) {
    const uint32_t version = profile.version();
    const uint32_t major = version >> 24;
    if (major != 2 && major != 4 && major != 5) {
        findings.add(Level::kWarning, kHeader, fmt::format("version {} is unknown", major));
    }
    if (profile.isOld()) {
        findings.add(Level::kNote, kHeader,
                     fmt::format("version {}: shown through a copy that says 4.2; Zv_FillICCProfileFromICCFile keeps "
                                 "the bytes without reading them",
                                 major));
    } else if (version != 0x04000000 && version != 0x04200000) {
        findings.add(Level::kNote, kHeader,
                     "neither version 4.0 nor 4.2: Zv_FillICCProfileFromICCFile keeps the bytes without reading them");
    }
    if ((version & 0xFFFF) != 0) {
        findings.add(Level::kWarning, kHeader, "the two reserved bytes of the version are not zero");
    }
}

void checkDate(const Profile& profile, Findings& findings) {
    uint16_t date[6];
    std::copy_n(profile.header().dateTime, 6, date);
    if (std::all_of(date, date + 6, [](uint16_t part) { return part == 0; })) {
        findings.add(Level::kNote, kHeader, "there is no date");
    } else if (date[1] < 1 || date[1] > 12 || date[2] < 1 || date[2] > 31 || date[3] > 23 || date[4] > 59 ||
               date[5] > 60) {
        findings.add(Level::kWarning, kHeader, fmt::format("{} is no date", dateTimeText(date)));
    }
}

void checkSignatures(const Profile& profile, Findings& findings) {
    const ClrIccHeader& header = profile.header();
    if (className(header.deviceClass).empty()) {
        findings.add(Level::kWarning, kHeader, fmt::format("the class {} is unknown", readable(header.deviceClass)));
    }
    if (spaceName(header.colorSpace).empty()) {
        findings.add(Level::kWarning, kHeader,
                     fmt::format("the colour space {} is unknown", readable(header.colorSpace)));
    }
    const bool link = header.deviceClass == sig("link");
    const bool connection = header.connectionSpace == sig("XYZ ") || header.connectionSpace == sig("Lab ");
    if (!connection && (!link || spaceName(header.connectionSpace).empty())) {
        findings.add(Level::kWarning, kHeader,
                     fmt::format("{} is no connection space", readable(header.connectionSpace)));
    }
    if (header.platform != 0 && platformName(header.platform).empty()) {
        findings.add(Level::kNote, kHeader, fmt::format("the platform {} is unknown", readable(header.platform)));
    }
}

bool isD50(Cursor cursor) {
    for (const uint32_t expected : kD50) {
        if (std::llabs(int64_t{cursor.u32()} - expected) > kD50Tolerance) {
            return false;
        }
    }
    return !cursor.failed();
}

/// Version 4 keeps the colours of a display relative to its white.
void checkDisplayWhite(const Profile& profile, Findings& findings) {
    const int32_t index = profile.find(sig("wtpt"));
    if (profile.isOld() || profile.header().deviceClass != sig("mntr") || index < 0) {
        return;
    }
    constexpr size_t kValueAt = 8;
    const Tag& white = profile.tags()[static_cast<size_t>(index)];
    if (white.type == sig("XYZ ") && !isD50(Cursor(profile.body(white), kValueAt))) {
        findings.add(Level::kWarning, "wtpt", "the media white of a display is D50 in version 4");
    }
}

void checkNumbers(const Profile& profile, Findings& findings) {
    const ClrIccHeader& header = profile.header();
    if (header.renderingIntent > 3) {
        findings.add(Level::kWarning, kHeader, fmt::format("there is no rendering intent {}", header.renderingIntent));
    }
    constexpr size_t kIlluminantAt = 68;
    if (!isD50(profile.at(kIlluminantAt))) {
        findings.add(Level::kWarning, kHeader, "the illuminant of the connection space is not D50");
    }
    if (!allZero(profile, kReservedAt, kHeaderSize)) {
        findings.add(Level::kWarning, kHeader, "reserved bytes from 100 on are not zero");
    }
    if (profile.isOld() && !allZero(profile, kIdAt, kReservedAt)) {
        findings.add(Level::kNote, kHeader, "bytes 84 to 99 are not zero, although version 2 has no identifier there");
    } else if (!profile.isOld() && allZero(profile, kIdAt, kReservedAt)) {
        findings.add(Level::kHint, kHeader, "an identifier would let programs tell equal profiles by it");
    }
    if (!allZero(profile, kVendorAttributesAt, kVendorAttributesAt + 4)) {
        findings.add(Level::kNote, kHeader, "the vendor's half of the attributes is set; the library does not read it");
    }
}

void checkSize(const Profile& profile, Findings& findings) {
    if (profile.size() < profile.bytes().size()) {
        findings.add(Level::kWarning, kHeader,
                     fmt::format("the profile says that it has {} bytes, and {} more follow", profile.size(),
                                 profile.bytes().size() - profile.size()));
    }
    if (!profile.isOld() && profile.size() % 4 != 0) {
        findings.add(Level::kWarning, kHeader, fmt::format("the size {} is no multiple of 4", profile.size()));
    }
}

bool has(const Profile& profile, const char* tag) { return profile.find(sigOf(tag)) >= 0; }

/// Those of a list, with blanks between them, that are not there.
std::string missing(const Profile& profile, std::string_view tags) {
    std::string result;
    while (!tags.empty()) {
        const std::string_view tag = tags.substr(0, 4);
        if (profile.find(sigOf(tag)) < 0) {
            result += (result.empty() ? "" : ", ") + readable(sigOf(tag));
        }
        tags.remove_prefix(std::min<size_t>(5, tags.size()));
    }
    return result;
}

/// What the class asks for beyond what all have.
std::string_view tagsOfClass(const Profile& profile) {
    const ClrIccHeader& header = profile.header();
    const bool gray = header.colorSpace == sig("GRAY");
    const bool rgb = header.colorSpace == sig("RGB ");
    constexpr std::string_view kMatrix = "rXYZ gXYZ bXYZ rTRC gTRC bTRC";
    // Tables are extra then.
    const bool wholeMatrix = rgb && missing(profile, kMatrix).empty();
    switch (header.deviceClass) {
        case sig("scnr"):
            return has(profile, "A2B0") ? "" : gray ? "kTRC" : rgb ? kMatrix : "A2B0";
        case sig("mntr"):
            if (wholeMatrix) return "";
            return has(profile, "A2B0") || has(profile, "B2A0") ? "A2B0 B2A0"
                   : gray                                       ? "kTRC"
                   : rgb                                        ? kMatrix
                                                                : "A2B0 B2A0";
        case sig("prtr"):
            if (gray && !has(profile, "A2B0")) return "kTRC";
            return "A2B0 A2B1 A2B2 B2A0 B2A1 B2A2 gamt";
        case sig("link"):
            return "A2B0 pseq";
        case sig("spac"):
            return "A2B0 B2A0";
        case sig("abst"):
            return "A2B0";
        case sig("nmcl"):
            return "ncl2";
        default:
            return "";
    }
}

}  // namespace

void checkHeader(const Profile& profile, Findings& findings) {
    checkSize(profile, findings);
    checkVersion(profile, findings);
    checkSignatures(profile, findings);
    checkDate(profile, findings);
    checkNumbers(profile, findings);
    checkDisplayWhite(profile, findings);
}

void checkRequired(const Profile& profile, Findings& findings) {
    const bool link = profile.header().deviceClass == sig("link");
    const std::string common = missing(profile, link ? "desc cprt" : "desc cprt wtpt");
    const std::string special = missing(profile, tagsOfClass(profile));
    const std::string all = common + (common.empty() || special.empty() ? "" : ", ") + special;
    if (!all.empty()) {
        const std::string_view name = className(profile.header().deviceClass);
        findings.add(Level::kWarning, "tag table",
                     fmt::format("tags that {} profile must have are missing: {}",
                                 name.empty() ? "every" : fmt::format("this kind of {}", name), all));
    }
}

}  // namespace zvinfo
