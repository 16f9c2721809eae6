// What is known of a profile as a tree, from which text and JSON are made alike.
#ifndef ZVCLR_TOOLS_PROFILE_NODE_H
#define ZVCLR_TOOLS_PROFILE_NODE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zvinfo {

/// Numbers in a row. Of long ones the ends only.
struct Series {
    uint64_t count = 0;
    bool integers = false;
    bool whole = false;         ///< then `first` has all of them
    std::vector<double> first;  ///< rounded to five decimals where they are no integers
    std::vector<double> last;
};

using Value = std::variant<std::monostate, bool, int64_t, double, std::string, Series>;

struct Node {
    enum class Kind { kLeaf, kObject, kList };

    std::string label;  ///< for people; the JSON key is made of it
    Kind kind = Kind::kLeaf;
    Value value;       ///< of a leaf; strings are UTF-8
    std::string name;  ///< of a leaf: what the value means
    std::string unit;  ///< of a leaf
    std::vector<Node> children;

    Node& add(Node node) {
        children.push_back(std::move(node));
        return children.back();
    }
};

struct Style {
    bool all = false;  ///< tables are shown whole
    /// Nodes that the lists of a report may still take: what a hostile file costs stays bounded.
    mutable uint64_t nodesLeft = 200000;
};

Node leaf(std::string label, Value value, std::string name = {}, std::string unit = {});
Node text(std::string label, std::string value);
Node integer(std::string label, uint64_t value, std::string name = {});
/// Rounded to five decimals, which tell every 16.16 number from the next one.
Node number(std::string label, double value, std::string unit = {});
Node object(std::string label);
Node list(std::string label);
/// A signature as its value, with what it means.
Node signature(std::string label, uint32_t value, std::string_view name = {});

/// Collects a series without keeping what is not shown of it.
class SeriesBuilder {
public:
    SeriesBuilder(const Style& style, uint64_t count, bool integers);
    void add(double value);
    Node finish(std::string label) { return leaf(std::move(label), std::move(series_)); }

private:
    static constexpr uint64_t kShownWhole = 12;
    static constexpr uint64_t kShownOfEnds = 4;

    Series series_;
    uint64_t position_ = 0;
};

/// Any random access range of numbers.
template <class Range>
Node series(const Style& style, std::string label, const Range& values, bool integers) {
    SeriesBuilder builder(style, values.size(), integers);
    for (const auto value : values) {
        builder.add(static_cast<double>(value));
    }
    return builder.finish(std::move(label));
}

double rounded(double value);
double s15Fixed16(uint32_t word);
double u16Fixed16(uint32_t word);
std::string decimal(double value);
/// Four letters, or a hexadecimal number where they cannot be printed.
std::string signatureText(uint32_t signature);
/// The same without blanks at its end, and "none" for zero.
std::string readable(uint32_t signature);
/// The label in one word: "rendering intent" becomes "renderingIntent".
std::string keyOf(std::string_view label);
/// A leaf's value for people.
std::string valueText(const Value& value);
/// Control characters, those of line ends and of writing directions too, as escapes, so that no file steers a terminal.
std::string printable(std::string_view utf8);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_NODE_H
