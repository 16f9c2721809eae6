#include "parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace zvtool {

using zvimage::ContradictionError;

namespace {

// Larger periods make the library ask for more than a call may have; video formats stop at 4.
constexpr int32_t kMaxPeriod = 16;
constexpr int32_t kMaxMacroPixel = 64;
constexpr int32_t kMaxLabValue = 100000;

// The place of an order is its code in ClrYuvParams.
constexpr const char* kOrders[] = {"YUV", "YVU", "UYV", "UVY", "VYU", "VUY"};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::optional<int32_t> integer(const std::string& text) {
    int32_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end && !text.empty() ? std::optional(value) : std::nullopt;
}

std::optional<double> number(const std::string& text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    return error == std::errc() && stop == end && !text.empty() ? std::optional(value) : std::nullopt;
}

int32_t integerBetween(const std::string& what, const std::string& text, int32_t low, int32_t high) {
    const std::optional<int32_t> value = integer(text);
    if (!value || *value < low || *value > high) {
        throw ContradictionError(
            fmt::format("{} was given as \"{}\"; expected a whole number from {} to {}", what, text, low, high));
    }
    return *value;
}

class YuvParser {
public:
    YuvLayout parse(const std::string& text) {
        for (const std::string& part : split(text, ',')) {
            const size_t equals = part.find('=');
            if (equals == std::string::npos) {
                throw ContradictionError(fmt::format("--yuv-params holds \"{}\"; expected name=value", part));
            }
            take(part.substr(0, equals), part.substr(equals + 1));
        }
        layout_.planar = planar_.value_or(layout_.positions.empty());
        if (layout_.planar) {
            checkPlanar();
        } else {
            checkPacked();
        }
        checkRatio("uSampleX", layout_.uSampleX, "vSampleX", layout_.vSampleX);
        checkRatio("uSampleY", layout_.uSampleY, "vSampleY", layout_.vSampleY);
        return layout_;
    }

private:
    void take(const std::string& name, const std::string& value) {
        const std::string what = "--yuv-params " + name;
        if (name == "uSampleX") {
            layout_.uSampleX = integerBetween(what, value, 1, kMaxPeriod);
        } else if (name == "uSampleY") {
            layout_.uSampleY = integerBetween(what, value, 1, kMaxPeriod);
        } else if (name == "vSampleX") {
            layout_.vSampleX = integerBetween(what, value, 1, kMaxPeriod);
        } else if (name == "vSampleY") {
            layout_.vSampleY = integerBetween(what, value, 1, kMaxPeriod);
        } else if (name == "macroPixelSize") {
            macroPixelSize_ = integerBetween(what, value, 1, kMaxMacroPixel);
        } else if (name == "planar") {
            planar_ = integerBetween(what, value, 0, 1) == 1;
        } else if (name == "fullRange") {
            layout_.fullRange = integerBetween(what, value, 0, 1) == 1;
        } else if (name == "order") {
            order_ = value;
        } else if (name == "positions") {
            for (const std::string& position : split(value, ':')) {
                layout_.positions.push_back(integerBetween(what, position, 0, 3 * kMaxMacroPixel - 1));
            }
        } else {
            throw ContradictionError(fmt::format(
                "--yuv-params knows no \"{}\"; expected uSampleX, uSampleY, vSampleX, vSampleY, planar, order, "
                "macroPixelSize, positions or fullRange",
                name));
        }
    }

    void checkPlanar() {
        if (!layout_.positions.empty() || macroPixelSize_) {
            throw ContradictionError(
                "--yuv-params describes planes, which have neither positions nor macroPixelSize; leave these out or "
                "give "
                "planar=0");
        }
        layout_.order = order_.value_or("YUV");
        const auto found = std::find(std::begin(kOrders), std::end(kOrders), layout_.order);
        if (found == std::end(kOrders)) {
            throw ContradictionError(fmt::format(
                "--yuv-params order was given as \"{}\"; expected YUV, YVU, UYV, UVY, VYU or VUY", layout_.order));
        }
        layout_.positions = {static_cast<int32_t>(found - std::begin(kOrders))};
    }

    void checkPacked() {
        if (order_) {
            throw ContradictionError(
                "--yuv-params describes packed pixels, which have positions and no order of planes; leave order out or "
                "give planar=1");
        }
        if (layout_.uSampleY != 1 || layout_.vSampleY != 1) {
            throw ContradictionError(
                "--yuv-params gives packed pixels a vertical period; only planes can have one, give planar=1 or leave "
                "uSampleY and vSampleY out");
        }
        const int32_t size = macroPixelSize_.value_or(1);
        layout_.macroPixelSize = size;
        if (size % layout_.uSampleX != 0 || size % layout_.vSampleX != 0) {
            throw ContradictionError(fmt::format(
                "--yuv-params gives {} pixels to a group, which is no multiple of the periods {} and {}; correct "
                "macroPixelSize",
                size, layout_.uSampleX, layout_.vSampleX));
        }
        const int32_t bytes = layout_.rawLayout().planes.front().unitBytes;
        if (layout_.positions.size() != static_cast<size_t>(bytes) ||
            *std::max_element(layout_.positions.begin(), layout_.positions.end()) >= bytes) {
            throw ContradictionError(
                fmt::format("--yuv-params gives a group {} bytes, so that positions must hold {} "
                            "numbers from 0 to {}: those of Y, then of U, then of V",
                            bytes, bytes, bytes - 1));
        }
    }

    static void checkRatio(const char* uName, int32_t u, const char* vName, int32_t v) {
        if (u % v != 0 && v % u != 0) {
            throw ContradictionError(fmt::format(
                "--yuv-params gives {} as {} and {} as {}; one must be a multiple of the other", uName, u, vName, v));
        }
    }

    YuvLayout layout_;
    std::optional<bool> planar_;
    std::optional<std::string> order_;
    std::optional<int32_t> macroPixelSize_;
};

}  // namespace

int32_t parseSpace(const std::string& option, const std::string& name) {
    const std::optional<int32_t> space = zvimage::spaceFromName(name);
    if (!space) {
        throw ContradictionError(fmt::format("{} was given as \"{}\"; expected one of {}", option, name,
                                             zvimage::spaceNames(zvimage::spacesOfFormat(zvimage::Format::kRaw))));
    }
    return *space;
}

zvimage::Format parseFormat(const std::string& option, const std::string& name) {
    const std::optional<zvimage::Format> format = zvimage::formatFromName(name);
    if (!format) {
        throw ContradictionError(
            fmt::format("{} was given as \"{}\"; expected one of png, jpeg, tiff, pnm, raw", option, name));
    }
    return *format;
}

zvimage::TiffCompression parseCompression(const std::string& name) {
    if (name == "none") {
        return zvimage::TiffCompression::kNone;
    }
    if (name == "lzw") {
        return zvimage::TiffCompression::kLzw;
    }
    if (name == "deflate") {
        return zvimage::TiffCompression::kDeflate;
    }
    throw ContradictionError(
        fmt::format("--compression was given as \"{}\"; expected one of none, lzw, deflate", name));
}

std::pair<int32_t, int32_t> parseSize(const std::string& text) {
    const std::vector<std::string> parts = split(text, 'x');
    if (parts.size() != 2) {
        throw ContradictionError(
            fmt::format("--size was given as \"{}\"; expected width x height, for example 640x480", text));
    }
    return {integerBetween("the width of --size", parts[0], 1, zvimage::kMaxDimension),
            integerBetween("the height of --size", parts[1], 1, zvimage::kMaxDimension)};
}

ClrWhitePoint parseWhite(const std::string& text) {
    static constexpr struct {
        const char* name;
        uint32_t code;
    } kNamed[] = {{"D50", 50}, {"D55", 55}, {"D65", 65}, {"D75", 75}, {"D93", 93}};
    for (const auto& white : kNamed) {
        if (text == white.name) {
            return {white.code, 0.0, 0.0};
        }
    }
    const std::vector<std::string> parts = split(text, ',');
    const std::optional<double> x = number(parts[0]);
    const std::optional<double> y = parts.size() == 2 ? number(parts[1]) : std::nullopt;
    // Outside of these no light lies.
    if (!x || !y || !(*x > 0.0) || !(*y > 0.0) || !(*x + *y < 1.0)) {
        throw ContradictionError(fmt::format(
            "--white was given as \"{}\"; expected D50, D55, D65, D75, D93, or a chromaticity x,y with both "
            "above 0 and their sum below 1, for example 0.3127,0.3290",
            text));
    }
    return {0, *x, *y};
}

ClrLabParams parseLabParams(const std::string& text) {
    const std::vector<std::string> parts = split(text, ',');
    if (parts.size() != 6) {
        throw ContradictionError(fmt::format(
            "--lab-params holds {} numbers; expected six: lOffset,lRange,aOffset,aRange,bOffset,bRange", parts.size()));
    }
    ClrLabParams params = {};
    params.size = static_cast<int32_t>(sizeof params);
    int32_t* const fields[] = {&params.lOffset, &params.lRange,  &params.aOffset,
                               &params.aRange,  &params.bOffset, &params.bRange};
    for (size_t i = 0; i < parts.size(); ++i) {
        // Offsets and ranges alternate; a range of 0 leaves nothing to encode.
        const bool range = i % 2 == 1;
        *fields[i] = integerBetween(fmt::format("number {} of --lab-params", i + 1), parts[i],
                                    range ? 1 : -kMaxLabValue, kMaxLabValue);
    }
    return params;
}

zvimage::RawLayout YuvLayout::rawLayout() const {
    if (!planar) {
        return {{{macroPixelSize + macroPixelSize / uSampleX + macroPixelSize / vSampleX, macroPixelSize, 1}}};
    }
    zvimage::RawLayout layout;
    for (const char plane : order) {
        layout.planes.push_back(plane == 'Y'   ? zvimage::RawPlane{1, 1, 1}
                                : plane == 'U' ? zvimage::RawPlane{1, uSampleX, uSampleY}
                                               : zvimage::RawPlane{1, vSampleX, vSampleY});
    }
    return layout;
}

ClrYuvParams YuvLayout::record() const {
    ClrYuvParams params = {};
    params.size = static_cast<int32_t>(sizeof params);
    params.uSampleX = uSampleX;
    params.uSampleY = uSampleY;
    params.vSampleX = vSampleX;
    params.vSampleY = vSampleY;
    params.positions = positions.data();
    params.macroPixelSize = macroPixelSize;
    params.fullRange = fullRange ? 1 : 0;
    params.planar = planar ? 1 : 0;
    return params;
}

int64_t YuvLayout::sourceBytes(int32_t width, int32_t rows) const {
    // The library's check of planes overstates them; the frame asks for plain pixels of three bytes.
    const int64_t bits = planar ? (int64_t{uSampleX} * vSampleX * 8 + 16) / uSampleX * vSampleX
                                : (int64_t{uSampleX} * 8 + 16) / uSampleX;
    const int64_t pixels = int64_t{width} * rows;
    return std::max({rawLayout().bytes(width, rows), (bits * pixels + 7) / 8, 3 * pixels});
}

YuvLayout parseYuvParams(const std::string& text) { return YuvParser().parse(text); }

}  // namespace zvtool
