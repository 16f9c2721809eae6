// The report for programs.
#include <nlohmann/json.hpp>

#include <cctype>
#include <set>
#include <string>
#include <utility>

#include "names.h"
#include "report.h"
#include "zverror.h"

namespace zvinfo {

namespace {

using Json = nlohmann::ordered_json;

Json numbers(const std::vector<double>& values, bool integers) {
    Json array = Json::array();
    for (const double value : values) {
        array.push_back(integers ? Json(static_cast<int64_t>(value)) : Json(value));
    }
    return array;
}

Json valueOf(const Value& value) {
    struct Visitor {
        Json operator()(std::monostate) const { return nullptr; }
        Json operator()(bool flag) const { return flag; }
        Json operator()(int64_t whole) const { return whole; }
        Json operator()(double real) const { return real; }
        Json operator()(const std::string& words) const { return words; }
        Json operator()(const Series& s) const {
            if (s.whole) {
                return numbers(s.first, s.integers);
            }
            return {{"count", s.count}, {"first", numbers(s.first, s.integers)}, {"last", numbers(s.last, s.integers)}};
        }
    };
    return std::visit(Visitor{}, value);
}

bool isNumber(const std::string& label) { return !label.empty() && std::isdigit(static_cast<unsigned char>(label[0])); }

Json jsonOf(const Node& node);

void addMembers(Json& members, const std::vector<Node>& nodes) {
    // Ordered objects look each key up from the front, which is too slow for lists of many thousands.
    auto& object = members.get_ref<Json::object_t&>();
    std::set<std::string> keys;
    for (const auto& [key, value] : object) {
        keys.insert(key);
    }
    for (const Node& node : nodes) {
        std::string key = keyOf(node.label);
        if (keys.insert(key).second) {
            object.emplace_back(std::move(key), jsonOf(node));
        } else {
            members[key] = jsonOf(node);
        }
    }
}

/// Items that are more than numbered keep their label.
Json itemOf(const Node& node) {
    if (isNumber(node.label)) {
        return jsonOf(node);
    }
    Json item = {{"label", node.label}};
    if (node.kind == Node::Kind::kObject) {
        addMembers(item, node.children);
    } else {
        item["value"] = jsonOf(node);
    }
    return item;
}

Json jsonOf(const Node& node) {
    if (node.kind == Node::Kind::kList) {
        Json items = Json::array();
        for (const Node& child : node.children) {
            items.push_back(itemOf(child));
        }
        return items;
    }
    if (node.kind == Node::Kind::kObject) {
        Json members = Json::object();
        addMembers(members, node.children);
        return members;
    }
    if (node.name.empty() && node.unit.empty()) {
        return valueOf(node.value);
    }
    Json leaf = {{"value", valueOf(node.value)}};
    if (!node.name.empty()) {
        leaf["name"] = node.name;
    }
    if (!node.unit.empty()) {
        leaf["unit"] = node.unit;
    }
    return leaf;
}

const char* howName(Content::How how) {
    constexpr const char* kNames[] = {"record", "body", "bytes", "nothing"};
    return kNames[static_cast<size_t>(how)];
}

Json tagJson(const Profile& profile, const Tag& tag, const Content& content) {
    const auto name = [&profile](int32_t i) { return signatureText(profile.tags()[static_cast<size_t>(i)].signature); };
    Json json = {{"signature", signatureText(tag.signature)}};
    json["name"] = std::string(tagName(tag.signature));
    json["type"] = tag.type == 0 ? "none" : signatureText(tag.type);
    json["typeName"] = std::string(typeName(tag.type));
    json["offset"] = tag.offset;
    json["size"] = tag.size;
    json["inside"] = tag.inside;
    if (tag.sharedWith >= 0) {
        json["sharedWith"] = name(tag.sharedWith);
    } else {
        json["padding"] = tag.padding;
    }
    if (tag.overlaps >= 0) {
        json["overlaps"] = {{"tag", name(tag.overlaps)}, {"bytes", tag.overlapBytes}};
    }
    json["result"] = ZvErrorName(content.result);
    json["read"] = howName(content.how);
    json["remark"] = content.remark;
    if (tag.sharedWith < 0) {
        json["contents"] = Json::object();
        addMembers(json["contents"], content.nodes);
    }
    return json;
}

Json sideJson(const EngineSide& side) {
    Json json = {{"usable", side.usable}, {"text", side.text}, {"tags", side.tags}};
    json["trial"] = side.trial ? Json(ZvErrorName(*side.trial)) : Json(nullptr);
    return json;
}

}  // namespace

std::string reportJson(const Profile& profile, const Report& report) {
    Json json;
    json["file"] = report.file;
    if (report.image) {
        json["image"] = {{"format", report.image->key},
                         {"embedded", report.image->place},
                         {"parts", report.image->parts},
                         {"remarks", report.image->remarks}};
    }
    json["bytes"] = profile.bytes().size();
    json["header"] = Json::object();
    addMembers(json["header"], report.header);
    json["tags"] = Json::array();
    for (size_t i = 0; i < profile.tags().size(); ++i) {
        json["tags"].push_back(tagJson(profile, profile.tags()[i], report.contents[i]));
    }
    json["engine"] = {{"pixels", report.engine.space ? Json(*report.engine.space) : Json(nullptr)},
                      {"input", sideJson(report.engine.input)},
                      {"output", sideJson(report.engine.output)}};
    json["problems"] = Json::array();
    for (const Problem& problem : report.problems) {
        json["problems"].push_back(
            {{"level", levelName(problem.level)}, {"place", problem.place}, {"text", problem.text}});
    }
    // A file's name need not be UTF-8.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace zvinfo
