#include "node.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>

namespace zvinfo {

namespace {

std::string joined(const std::vector<double>& values, bool integers) {
    std::string result;
    for (const double value : values) {
        result += result.empty() ? "" : ", ";
        result += integers ? fmt::format("{:.0f}", value) : decimal(value);
    }
    return result;
}

std::string seriesText(const Series& series) {
    std::string first = joined(series.first, series.integers);
    if (series.whole) {
        return first;
    }
    return fmt::format("{}, ..., {} ({} values)", first, joined(series.last, series.integers), series.count);
}

}  // namespace

Node leaf(std::string label, Value value, std::string name, std::string unit) {
    Node node;
    node.label = std::move(label);
    node.value = std::move(value);
    node.name = std::move(name);
    node.unit = std::move(unit);
    return node;
}

Node text(std::string label, std::string value) { return leaf(std::move(label), std::move(value)); }

Node integer(std::string label, uint64_t value, std::string name) {
    return leaf(std::move(label), static_cast<int64_t>(value), std::move(name));
}

Node number(std::string label, double value, std::string unit) {
    return leaf(std::move(label), rounded(value), {}, std::move(unit));
}

Node object(std::string label) {
    Node node;
    node.label = std::move(label);
    node.kind = Node::Kind::kObject;
    return node;
}

Node list(std::string label) {
    Node node = object(std::move(label));
    node.kind = Node::Kind::kList;
    return node;
}

Node signature(std::string label, uint32_t value, std::string_view name) {
    return leaf(std::move(label), value == 0 ? "none" : signatureText(value), std::string(name));
}

SeriesBuilder::SeriesBuilder(const Style& style, uint64_t count, bool integers) {
    series_.count = count;
    series_.integers = integers;
    series_.whole = style.all || count <= kShownWhole;
}

void SeriesBuilder::add(double value) {
    const double shown = series_.integers ? value : rounded(value);
    if (series_.whole || position_ < kShownOfEnds) {
        series_.first.push_back(shown);
    } else if (position_ + kShownOfEnds >= series_.count) {
        series_.last.push_back(shown);
    }
    ++position_;
}

// The sum takes away the sign of a zero.
double rounded(double value) { return std::round(value * 1e5) / 1e5 + 0.0; }

double s15Fixed16(uint32_t word) { return static_cast<int32_t>(word) / 65536.0; }

double u16Fixed16(uint32_t word) { return word / 65536.0; }

std::string decimal(double value) { return fmt::format("{:.5f}", value); }

std::string signatureText(uint32_t signature) {
    std::string letters;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto letter = static_cast<char>(signature >> shift & 0xFF);
        if (letter < ' ' || letter > '~') {
            return fmt::format("0x{:08X}", signature);
        }
        letters += letter;
    }
    return letters;
}

std::string readable(uint32_t signature) {
    if (signature == 0) {
        return "none";
    }
    std::string letters = signatureText(signature);
    letters.erase(letters.find_last_not_of(' ') + 1);
    return letters;
}

std::string keyOf(std::string_view label) {
    std::string key;
    bool upper = false;
    for (const char c : label) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) {
            upper = !key.empty();
        } else {
            key += upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
            upper = false;
        }
    }
    return key;
}

namespace {

/// The last byte of a character that turns the direction of writing or ends a line; these begin with E2 80 or E2 81.
bool turnsOrEnds(unsigned char second, unsigned char last) {
    return (second == 0x80 && (last == 0x8E || last == 0x8F || (last >= 0xA8 && last <= 0xAE))) ||
           (second == 0x81 && last >= 0xA6 && last <= 0xA9);
}

}  // namespace

std::string valueText(const Value& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return "none"; }
        std::string operator()(bool flag) const { return flag ? "yes" : "no"; }
        std::string operator()(int64_t whole) const { return std::to_string(whole); }
        std::string operator()(double real) const { return decimal(real); }
        std::string operator()(const std::string& words) const { return printable(words); }
        std::string operator()(const Series& numbers) const { return seriesText(numbers); }
    };
    return std::visit(Visitor{}, value);
}

std::string printable(std::string_view utf8) {
    std::string result;
    const auto byteAt = [utf8](size_t i) { return static_cast<unsigned char>(i < utf8.size() ? utf8[i] : '\0'); };
    for (size_t i = 0; i < utf8.size(); ++i) {
        const unsigned char byte = byteAt(i);
        const bool c1 = byte == 0xC2 && i + 1 < utf8.size() && byteAt(i + 1) < 0xA0;
        if (byte == '\n') {
            result += "\\n";
        } else if (byte == '\\') {
            result += "\\\\";
        } else if (byte < ' ' || byte == 0x7F) {
            result += fmt::format("\\x{:02x}", byte);
        } else if (c1) {
            result += fmt::format("\\x{:02x}", byteAt(++i));
        } else if (byte == 0xE2 && turnsOrEnds(byteAt(i + 1), byteAt(i + 2))) {
            result += fmt::format("\\u{:04x}", 0x2000 | (byteAt(i + 1) & 0x3F) << 6 | (byteAt(i + 2) & 0x3F));
            i += 2;
        } else {
            result += utf8[i];
        }
    }
    return result;
}

}  // namespace zvinfo
