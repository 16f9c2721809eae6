// The report for people.
#include <fmt/format.h>

#include <algorithm>

#include "names.h"
#include "report.h"
#include "zverror.h"

namespace zvinfo {

namespace {

std::string leafText(const Node& node) {
    std::string line = valueText(node.value);
    const auto* letters = std::get_if<std::string>(&node.value);
    if (letters != nullptr && !node.name.empty()) {
        // Signatures are filled with blanks.
        line.erase(line.find_last_not_of(' ') + 1);
    }
    line += node.unit.empty() ? "" : " " + node.unit;
    return node.name.empty() ? line : fmt::format("{} ({})", line, printable(node.name));
}

void appendNodes(std::string& out, const std::vector<Node>& nodes, size_t indent) {
    for (const Node& node : nodes) {
        const std::string start = std::string(indent, ' ') + printable(node.label) + ":";
        if (node.kind == Node::Kind::kLeaf) {
            out += start + " " + leafText(node);
            out.erase(out.find_last_not_of(' ') + 1);
            out += "\n";
        } else {
            out += start + (node.children.empty() ? " none" : "") + "\n";
            appendNodes(out, node.children, indent + 2);
        }
    }
}

std::string placeText(const Profile& profile, const Tag& tag) {
    const auto name = [&profile](int32_t i) { return readable(profile.tags()[static_cast<size_t>(i)].signature); };
    std::string result;
    if (!tag.inside) {
        result += ", outside the data";
    }
    if (tag.sharedWith >= 0) {
        result += fmt::format(", the body of {}", name(tag.sharedWith));
    }
    if (tag.overlaps >= 0) {
        result += fmt::format(", {} bytes overlap {}", tag.overlapBytes, name(tag.overlaps));
    }
    return result;
}

void appendTable(std::string& out, const Profile& profile) {
    out += fmt::format("\nTags: {}\n", profile.tags().size());
    if (profile.tags().empty()) {
        return;
    }
    out += fmt::format("  {:<10}  {:<10}  {:>8}  {:>8}  {:>7}  {}\n", "tag", "type", "offset", "size", "padding",
                       "meaning");
    for (const Tag& tag : profile.tags()) {
        const std::string_view name = tagName(tag.signature);
        out += fmt::format("  {:<10}  {:<10}  {:>8}  {:>8}  {:>7}  {}{}\n", readable(tag.signature), readable(tag.type),
                           tag.offset, tag.size, tag.sharedWith >= 0 ? "" : std::to_string(tag.padding),
                           name.empty() ? "private" : name, placeText(profile, tag));
    }
}

void appendContents(std::string& out, const Profile& profile, const Report& report) {
    for (size_t i = 0; i < report.contents.size(); ++i) {
        const Tag& tag = profile.tags()[i];
        const Content& content = report.contents[i];
        if (tag.sharedWith >= 0) {
            continue;
        }
        const std::string_view type = typeName(tag.type);
        out += fmt::format("\n{}: {}\n", readable(tag.signature),
                           type.empty() ? fmt::format("type {}", readable(tag.type)) : std::string(type));
        if (!content.remark.empty()) {
            out += fmt::format("  [{}]\n", content.remark);
        }
        appendNodes(out, content.nodes, 2);
    }
}

void appendSide(std::string& out, const char* label, const EngineSide& side) {
    out += fmt::format("  {}: {}, {}\n", label, side.usable ? "yes" : "no", side.text);
    if (!side.tags.empty()) {
        std::string tags;
        for (const std::string& tag : side.tags) {
            tags += (tags.empty() ? "" : ", ") + tag;
        }
        out += fmt::format("    reads: {}\n", tags);
    }
    if (side.trial) {
        out += fmt::format("    tried: {}\n", *side.trial == CLR_SUCCESS ? "a converter with it works"
                                                                         : fmt::format("a converter with it gives {}",
                                                                                       ZvErrorName(*side.trial)));
    }
}

void appendEngine(std::string& out, const EngineUse& use) {
    out += "\nUse by the library's converters (method custom-icc)\n";
    out += fmt::format("  pixels: {}\n", use.space.value_or("none"));
    appendSide(out, "as input profile", use.input);
    appendSide(out, "as output profile", use.output);
}

void appendProblems(std::string& out, const std::vector<Problem>& problems) {
    out += "\nProblems\n";
    if (problems.empty()) {
        out += "  none\n";
    }
    for (const Problem& problem : problems) {
        out += fmt::format("  {}: {}: {}\n", levelName(problem.level), problem.place, problem.text);
    }
}

}  // namespace

std::string reportText(const Profile& profile, const Report& report) {
    std::string out;
    if (report.image) {
        out = fmt::format("{}: {} with an ICC profile, {} bytes\nEmbedded: {}\n", printable(report.file),
                          report.image->name, profile.bytes().size(), report.image->place);
        for (const std::string& remark : report.image->remarks) {
            out += fmt::format("  [{}]\n", remark);
        }
    } else {
        out = fmt::format("{}: ICC profile, {} bytes\n", printable(report.file), profile.bytes().size());
    }
    out += "\nHeader\n";
    appendNodes(out, report.header, 2);
    appendTable(out, profile);
    appendContents(out, profile, report);
    appendEngine(out, report.engine);
    appendProblems(out, report.problems);
    return out;
}

}  // namespace zvinfo
