#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "names.h"

namespace zvinfo {

namespace {

/// Bodies that are not shared have fewer bytes together than the profile. Those that overlap may have any number: what
/// a hostile table costs stays bounded.
uint64_t mostDecodedBytes(const Profile& profile) { return 2 * uint64_t{profile.size()}; }

std::string versionText(uint32_t version) {
    return fmt::format("{}.{}.{}", version >> 24, version >> 20 & 0xF, version >> 16 & 0xF);
}

std::string idText(const ClrIccHeader& header) {
    std::string id;
    bool any = false;
    for (const uint8_t byte : header.profileId) {
        id += fmt::format("{:02x}", byte);
        any = any || byte != 0;
    }
    return any ? id : "none";
}

std::string createdText(const ClrIccHeader& header) {
    uint16_t date[6];
    std::copy_n(header.dateTime, 6, date);
    return std::all_of(date, date + 6, [](uint16_t part) { return part == 0; }) ? "none" : dateTimeText(date);
}

std::string flagsText(uint32_t flags) {
    return fmt::format("{}, {}", (flags & 1) != 0 ? "embedded in a file" : "not embedded",
                       (flags & 2) != 0 ? "not to be used apart from its image" : "may be used by itself");
}

std::string attributesText(uint64_t attributes) {
    return fmt::format("{}, {}, {}, {}", (attributes & 1) != 0 ? "transparency" : "reflective",
                       (attributes & 2) != 0 ? "matte" : "glossy", (attributes & 4) != 0 ? "negative" : "positive",
                       (attributes & 8) != 0 ? "black and white" : "colour");
}

std::vector<Node> headerNodes(const Profile& profile) {
    const ClrIccHeader header = profile.header();
    const uint64_t attributes = profile.at(56).u64();
    return {
        integer("size", header.size),
        signature("preferred CMM", header.cmmType),
        text("version", versionText(profile.version())),
        signature("class", header.deviceClass, className(header.deviceClass)),
        signature("colour space", header.colorSpace, spaceName(header.colorSpace)),
        signature("connection space", header.connectionSpace, spaceName(header.connectionSpace)),
        text("created", createdText(header)),
        signature("platform", header.platform, platformName(header.platform)),
        leaf("flags", fmt::format("0x{:08X}", header.flags), flagsText(header.flags)),
        signature("manufacturer", header.manufacturer),
        signature("model", header.model),
        leaf("attributes", fmt::format("0x{:016X}", attributes), attributesText(attributes)),
        integer("rendering intent", header.renderingIntent, std::string(intentName(header.renderingIntent))),
        xyzNode("illuminant", header.illuminant[0], header.illuminant[1], header.illuminant[2]),
        signature("creator", header.creator),
        text("identifier", idText(header)),
    };
}

std::vector<Content> decodeAll(const Profile& profile, const Style& style) {
    std::vector<Content> contents;
    uint64_t decoded = 0;
    for (size_t i = 0; i < profile.tags().size(); ++i) {
        const Tag& tag = profile.tags()[i];
        Content& content = contents.emplace_back();
        if (tag.sharedWith >= 0) {
            const Content& other = contents[static_cast<size_t>(tag.sharedWith)];
            content.how = other.how;
            content.result = other.result;
            content.refused = other.refused;
            content.broken = other.broken;
            content.remark = other.remark;
            content.refusal = other.refusal;
            continue;
        }
        decoded += tag.inside ? tag.size : 0;
        if (decoded > mostDecodedBytes(profile)) {
            content.remark = "not decoded, since the bodies before it overlap and have more bytes than the profile";
            continue;
        }
        content = decodeTag(profile, static_cast<int32_t>(i), style);
    }
    return contents;
}

/// Bytes of the character that begins there; 0 for what is no UTF-8, or no character that XML can hold.
size_t characterLength(std::string_view text) {
    const auto byte = [text](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const size_t length = byte(0) < 0x80   ? 1
                          : byte(0) < 0xC2 ? 0
                          : byte(0) < 0xE0 ? 2
                          : byte(0) < 0xF0 ? 3
                          : byte(0) < 0xF5 ? 4
                                           : 0;
    uint32_t code = byte(0) & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool bad = (code >= 0xD800 && code < 0xE000) || (code & 0xFFFE) == 0xFFFE || code > 0x10FFFF;
    return length > 1 && (overlong || bad) ? 0 : length;
}

/// Without folders, as UTF-8.
std::string fileName(const std::string& path) {
    std::string_view rest = path;
    rest.remove_prefix(path.find_last_of('/') + 1);
    std::string name;
    while (!rest.empty()) {
        const size_t length = characterLength(rest);
        name += length == 0 ? "?" : rest.substr(0, length);
        rest.remove_prefix(std::max<size_t>(length, 1));
    }
    return name;
}

}  // namespace

Report makeReport(const Profile& profile, const Style& style, std::optional<ImageOfProfile> image) {
    Report report;
    report.file = fileName(image ? image->path : profile.name());
    report.image = std::move(image);
    report.header = headerNodes(profile);
    report.contents = decodeAll(profile, style);
    report.engine = engineUse(profile);
    report.problems = findProblems(profile, report.contents, report.engine);
    return report;
}

}  // namespace zvinfo
