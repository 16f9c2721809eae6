// Problems of tags and their bodies, and the list of all.
#include "problems.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "names.h"
#include "zverror.h"

namespace zvinfo {

namespace {

constexpr size_t kReservedAt = 4;

void checkPlace(const Profile& profile, const Tag& tag, Findings& findings) {
    const std::string place = readable(tag.signature);
    if (tag.offset < ZVICC_FIRST_TAG_OFFSET(static_cast<uint32_t>(profile.tags().size()))) {
        findings.add(Level::kError, place,
                     fmt::format("the body at {} lies in the header or the tag table", tag.offset));
    } else if (!tag.inside) {
        findings.add(Level::kError, place,
                     fmt::format("the body of {} bytes at {} reaches beyond the profile's {}", tag.size, tag.offset,
                                 profile.size()));
    } else if (tag.size < 8) {
        findings.add(Level::kError, place, fmt::format("a body of {} bytes is too small for any type", tag.size));
    }
    if (tag.offset % 4 != 0) {
        findings.add(Level::kWarning, place,
                     fmt::format("the body at {} does not begin at a multiple of 4", tag.offset));
    }
}

void checkNeighbours(const Profile& profile, const Tag& tag, Findings& findings) {
    const std::string place = readable(tag.signature);
    if (tag.overlaps >= 0) {
        const Tag& other = profile.tags()[static_cast<size_t>(tag.overlaps)];
        findings.add(Level::kWarning, place,
                     fmt::format("{} bytes of the body are part of that of {} too, without being the same body",
                                 tag.overlapBytes, readable(other.signature)));
    }
    if (tag.repeated) {
        findings.add(Level::kWarning, place, "an earlier tag has the same signature, and readers find that one");
    }
    if (!tag.paddingIsZero) {
        findings.add(Level::kNote, place, fmt::format("bytes behind the body ({}) are not zero", tag.padding));
    } else if (tag.padding > 3) {
        findings.add(Level::kNote, place, fmt::format("bytes behind the body ({}) belong to no tag", tag.padding));
    }
}

/// "mft1, mft2 or mAB".
std::string listOf(std::string_view types) {
    std::string list;
    while (!types.empty()) {
        const size_t end = std::min(types.find(' '), types.size());
        const bool last = end == types.size();
        list += (list.empty() ? "" : last ? " or " : ", ") + std::string(types.substr(0, end));
        types.remove_prefix(last ? end : end + 1);
    }
    return list;
}

void checkType(const Profile& profile, const Tag& tag, Findings& findings) {
    const std::string place = readable(tag.signature);
    const TagName* known = findTag(tag.signature);
    if (known == nullptr) {
        const std::string_view name = tagName(tag.signature);
        findings.add(Level::kNote, place,
                     name.empty() ? "a private tag" : fmt::format("not in the standard, but widely used: {}", name));
        return;
    }
    const std::string_view types = profile.isOld() ? known->types2 : known->types4;
    const std::string_view others = profile.isOld() ? known->types4 : known->types2;
    const int major = profile.isOld() ? 2 : 4;
    if (known->goneIn != 0 && profile.version() >= known->goneIn) {
        findings.add(
            Level::kNote, place,
            fmt::format("gone from the standard since version {}.{}", known->goneIn >> 24, known->goneIn >> 20 & 0xF));
    }
    if (types.empty()) {
        findings.add(Level::kNote, place, fmt::format("version {} has no such tag", major));
    }
    if (tag.type != 0 && !hasType(types, tag.type) && (!types.empty() || !hasType(others, tag.type))) {
        findings.add(Level::kWarning, place,
                     fmt::format("the type is {}, where version {} has {}", readable(tag.type), major,
                                 types.empty() ? "no such tag" : listOf(types)));
    }
}

void checkContent(const Profile& profile, const Tag& tag, const Content& content, Findings& findings) {
    const std::string place = readable(tag.signature);
    if (content.how == Content::How::kNothing) {
        return;
    }
    if (content.how == Content::How::kBytes && (content.refused || content.broken)) {
        findings.add(Level::kError, place,
                     fmt::format("the body is not what its type {} asks for: {}", readable(tag.type), content.remark));
    } else if (content.refused) {
        findings.add(Level::kNote, place, fmt::format("{}, though the body is good", content.refusal));
    }
    if (Cursor(profile.body(tag), kReservedAt).u32() != 0) {
        findings.add(Level::kWarning, place, "the four reserved bytes behind the type are not zero");
    }
}

/// Elements of "mAB " and "mBA " begin where their offsets say, and a matrix has 48 bytes.
void checkElements(const Profile& profile, const Tag& tag, Findings& findings) {
    if (tag.type != sig("mAB ") && tag.type != sig("mBA ")) {
        return;
    }
    constexpr uint64_t kMatrixSize = 48;
    constexpr size_t kOffsetsAt = 12;
    constexpr size_t kMatrix = 1;
    const Span body = profile.body(tag);
    Cursor cursor(body, kOffsetsAt);
    uint64_t offsets[5];
    for (uint64_t& offset : offsets) {
        offset = cursor.u32();
    }
    for (size_t i = 0; i < 5; ++i) {
        const bool curves = i != kMatrix && i != 3;
        const uint32_t type = Cursor(body, offsets[i]).u32();
        if (offsets[i] == 0) {
            continue;
        }
        if (curves && type != sig("curv") && type != sig("para")) {
            findings.add(Level::kWarning, readable(tag.signature),
                         fmt::format("there is no curve at byte {} of the body", offsets[i]));
        }
        if (i != kMatrix && offsets[kMatrix] != 0 && offsets[i] >= offsets[kMatrix] &&
            offsets[i] < offsets[kMatrix] + kMatrixSize) {
            findings.add(Level::kWarning, readable(tag.signature),
                         fmt::format("the matrix at byte {} of the body reaches into the element at {}",
                                     offsets[kMatrix], offsets[i]));
        }
    }
}

void checkUse(const EngineUse& use, Findings& findings) {
    const std::pair<const EngineSide&, const char*> sides[] = {{use.input, "input"}, {use.output, "output"}};
    for (const auto& [side, name] : sides) {
        if (use.space && !side.usable) {
            findings.add(Level::kHint, "converters", fmt::format("not usable as {} profile: {}", name, side.text));
        } else if (side.trial && *side.trial != CLR_SUCCESS) {
            findings.add(Level::kWarning, "converters",
                         fmt::format("as {} profile its tags are of the right types, but a converter with it cannot be "
                                     "made or run: {}",
                                     name, ZvErrorName(*side.trial)));
        }
    }
}

bool apart(const Tag& a, const Tag& b) {
    return uint64_t{a.offset} + a.size <= b.offset || uint64_t{b.offset} + b.size <= a.offset;
}

/// Takes what was compared from `budget`, and leaves alone what has more bytes.
bool sameBytes(Span a, Span b, size_t& budget) {
    if (a.size() != b.size() || a.size() > budget) {
        return false;
    }
    const auto differs = std::mismatch(a.begin(), a.end(), b.begin()).first;
    budget -= static_cast<size_t>(differs - a.begin());
    return differs == a.end();
}

/// Bodies of the same bytes that stand there twice.
void checkTwins(const Profile& profile, Findings& findings) {
    const std::vector<Tag>& tags = profile.tags();
    // Smaller ones are not worth a hint.
    constexpr size_t kSmallest = 17;
    // Every pair is compared: a hostile file has many long bodies that differ late.
    size_t budget = size_t{64} << 20;
    for (size_t i = 0; i < tags.size(); ++i) {
        const Span body = profile.body(tags[i]);
        if (tags[i].sharedWith >= 0 || body.size() < kSmallest) {
            continue;
        }
        const auto end = tags.begin() + static_cast<std::ptrdiff_t>(i);
        const auto twin = std::find_if(tags.begin(), end, [&](const Tag& other) {
            return other.sharedWith < 0 && apart(tags[i], other) && sameBytes(body, profile.body(other), budget);
        });
        if (twin != end) {
            findings.add(Level::kHint, readable(tags[i].signature),
                         fmt::format("the same {} bytes as {}: one body could serve both", body.size(),
                                     readable(twin->signature)));
        }
    }
}

}  // namespace

const char* levelName(Level level) {
    constexpr const char* kNames[] = {"error", "warning", "note", "hint"};
    return kNames[static_cast<size_t>(level)];
}

std::vector<Problem> Findings::take() {
    std::stable_sort(problems_.begin(), problems_.end(),
                     [](const Problem& a, const Problem& b) { return a.level < b.level; });
    return std::move(problems_);
}

void checkTable(const Profile& profile, Findings& findings) {
    if (profile.statedTags() < 0) {
        findings.add(
            Level::kError, "tag table",
            fmt::format("no file holds the stated number of tags, {}", static_cast<uint32_t>(profile.statedTags())));
    } else if (profile.tags().empty()) {
        findings.add(Level::kWarning, "tag table", "there are no tags");
    }
    for (const Tag& tag : profile.tags()) {
        checkPlace(profile, tag, findings);
        checkNeighbours(profile, tag, findings);
    }
    checkTwins(profile, findings);
}

void checkTags(const Profile& profile, const std::vector<Content>& contents, Findings& findings) {
    for (size_t i = 0; i < profile.tags().size(); ++i) {
        checkType(profile, profile.tags()[i], findings);
        if (i < contents.size()) {
            checkContent(profile, profile.tags()[i], contents[i], findings);
            checkElements(profile, profile.tags()[i], findings);
        }
    }
}

std::vector<Problem> findProblems(const Profile& profile, const std::vector<Content>& contents, const EngineUse& use) {
    Findings findings;
    checkHeader(profile, findings);
    checkTable(profile, findings);
    checkRequired(profile, findings);
    checkTags(profile, contents, findings);
    checkUse(use, findings);
    return findings.take();
}

}  // namespace zvinfo
