// Measures how far the library's bytes are from what they should be, route by route.
//
//     zvclr_accuracy                  prints the table
//     zvclr_accuracy --update FILE    puts it between the two marks of a document
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/reference.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace zv::bench {
namespace {

using zvtest::Lab;
using Bytes = std::vector<uint8_t>;

// Every fifth level: few of them are nodes of the library's grids.
constexpr int kStep = 5;
constexpr int kInkStep = 15;
constexpr const char* kBegin = "<!-- zvclr_accuracy: begin -->";
constexpr const char* kEnd = "<!-- zvclr_accuracy: end -->";

struct FreeConverter {
    void operator()(ClrHandle* converter) const { Zv_ClrFree(converter); }
};

[[noreturn]] void Fail(const char* what, int32_t result) {
    throw std::runtime_error(std::string(what) + " returned " + std::to_string(result));
}

int32_t BitsOf(int32_t space) {
#define ZV_BITS(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                     \
    if (space == id) return bits;
    ZVCLR_SPACES(ZV_BITS)
#undef ZV_BITS
    return 24;
}

Bytes Room(int32_t space, int32_t width, int32_t height) {
    return Bytes((static_cast<size_t>(BitsOf(space)) * static_cast<size_t>(width) + 7) / 8 *
                 static_cast<size_t>(height));
}

Bytes ByFormulas(int32_t from, int32_t to, const Bytes& pixels, int32_t width, int32_t height) {
    Bytes out = Room(to, width, height);
    const int32_t result = Zv_ClrConvertDirect(from, to, pixels.data(), out.data(), width, height, 0, 0);
    if (result != CLR_SUCCESS) Fail("Zv_ClrConvertDirect", result);
    return out;
}

Bytes ByProfiles(int32_t from, int32_t to, const Bytes& pixels) {
    ClrParams params = {};
    params.size = sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    ClrHandle* handle = nullptr;
    int32_t result = Zv_ClrInit(&handle, from, to, &params);
    if (result != CLR_SUCCESS) Fail("Zv_ClrInit", result);
    const std::unique_ptr<ClrHandle, FreeConverter> converter(handle);
    const auto count = static_cast<int32_t>(pixels.size() * 8 / static_cast<size_t>(BitsOf(from)));
    Bytes out = Room(to, count, 1);
    result = Zv_ClrConvert(handle, pixels.data(), out.data(), count, 1, 0, 0);
    if (result != CLR_SUCCESS) Fail("Zv_ClrConvert", result);
    return out;
}

uint8_t ToByte(double value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0))); }

Triple Unit(const uint8_t* rgb) { return {rgb[0] / 255.0, rgb[1] / 255.0, rgb[2] / 255.0}; }

void AddRgb(Bytes& bytes, const Triple& rgb) {
    for (const double value : rgb) bytes.push_back(ToByte(value * 255));
}

// Lab bytes of the formulas have signed a and b, those of profiles an offset of 128.
enum class LabBytes { kSigned, kOffset };

void AddLab(Bytes& bytes, const Lab& lab, LabBytes kind) {
    bytes.push_back(ToByte(lab.l * 2.55));
    for (const double value : {lab.a, lab.b}) {
        const uint8_t offset = ToByte(value + 128);
        bytes.push_back(static_cast<uint8_t>(kind == LabBytes::kSigned ? offset ^ 0x80 : offset));
    }
}

Lab LabOf(const uint8_t* bytes, LabBytes kind) {
    const auto value = [kind](uint8_t byte) {
        return kind == LabBytes::kSigned ? static_cast<double>(static_cast<int8_t>(byte)) : byte - 128.0;
    };
    return {bytes[0] / 2.55, value(bytes[1]), value(bytes[2])};
}

Lab SeenOnScreen(const uint8_t* rgb) { return zvtest::SrgbToLab(rgb[0], rgb[1], rgb[2]); }

struct Spread {
    double mean = 0, most = 0, worst = 0;  ///< mean, 95th percentile, maximum
};

Spread SpreadOf(std::vector<double> values) {
    Spread spread;
    for (const double value : values) spread.mean += value;
    spread.mean /= static_cast<double>(values.size());
    const size_t rank = (values.size() * 95 + 99) / 100 - 1;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank), values.end());
    spread.most = values[rank];
    spread.worst = *std::max_element(values.begin(), values.end());
    return spread;
}

class Report {
public:
    Report() {
        text_ << "| route | measured against | mean | 95 % | max | mean dE00 | 95 % dE00 | max dE00 |\n"
              << "|---|---|---:|---:|---:|---:|---:|---:|\n";
    }

    /// Bytes of pixels, and the Lab of pixel i in each of both.
    void add(const std::string& route, const char* against, const Bytes& got, const Bytes& expected, size_t channels,
             const std::function<Lab(size_t)>& gotLab, const std::function<Lab(size_t)>& expectedLab,
             bool signedBytes = false) {
        if (got.size() != expected.size() || got.empty()) throw std::logic_error("sizes differ in " + route);
        std::vector<double> bytes(got.size()), colours(got.size() / channels);
        for (size_t i = 0; i < got.size(); ++i) {
            const bool wraps = signedBytes && i % channels != 0;
            bytes[i] = wraps ? std::abs(static_cast<int8_t>(got[i]) - static_cast<int8_t>(expected[i]))
                             : std::abs(got[i] - expected[i]);
        }
        for (size_t i = 0; i < colours.size(); ++i) colours[i] = zvtest::DeltaE2000(gotLab(i), expectedLab(i));
        const Spread b = SpreadOf(std::move(bytes)), c = SpreadOf(std::move(colours));
        char row[256];
        std::snprintf(row, sizeof row, "| %s | %s | %.2f | %.0f | %.0f | %.2f | %.2f | %.2f |\n", route.c_str(),
                      against, b.mean, b.most, b.worst, c.mean, c.most, c.worst);
        text_ << row;
    }

    /// RGB bytes as a screen shows them.
    void addRgb(const std::string& route, const char* against, const Bytes& got, const Bytes& expected) {
        add(
            route, against, got, expected, 3, [&](size_t i) { return SeenOnScreen(&got[3 * i]); },
            [&](size_t i) { return SeenOnScreen(&expected[3 * i]); });
    }

    void addLab(const std::string& route, const char* against, const Bytes& got, const Bytes& expected, LabBytes kind,
                const std::function<Lab(size_t)>& expectedLab) {
        add(
            route, against, got, expected, 3, [&](size_t i) { return LabOf(&got[3 * i], kind); }, expectedLab,
            kind == LabBytes::kSigned);
    }

    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
};

Bytes Levels(int channels, int step) {
    Bytes pixels;
    std::vector<int> level(static_cast<size_t>(channels), 0);
    for (;;) {
        for (const int value : level) pixels.push_back(static_cast<uint8_t>(value));
        size_t channel = 0;
        while (channel < level.size() && (level[channel] += step) > 255) level[channel++] = 0;
        if (channel == level.size()) return pixels;
    }
}

/// Each colour as a block of 8 x 4 pixels, so that shared chroma is that of the colour.
Bytes Blocks(const Bytes& rgb) {
    Bytes blocks;
    blocks.reserve(rgb.size() * 32);
    for (auto pixel = rgb.begin(); pixel != rgb.end(); pixel += 3) {
        for (int i = 0; i < 32; ++i) blocks.insert(blocks.end(), pixel, pixel + 3);
    }
    return blocks;
}

Bytes RoundTrip(int32_t space, const Bytes& rgb, bool blocks) {
    const auto count = static_cast<int32_t>(rgb.size() / 3);
    if (!blocks) return ByFormulas(space, CLRSPACE_RGB, ByFormulas(CLRSPACE_RGB, space, rgb, count, 1), count, 1);
    const int32_t height = count * 4;
    const Bytes back =
        ByFormulas(space, CLRSPACE_RGB, ByFormulas(CLRSPACE_RGB, space, Blocks(rgb), 8, height), 8, height);
    Bytes first;
    first.reserve(rgb.size());
    for (size_t i = 0; i < back.size(); i += size_t{32} * 3) {
        for (size_t c = 0; c < 3; ++c) first.push_back(back[i + c]);
    }
    return first;
}

void FormulaRoundTrips(Report& report, const Bytes& rgb) {
#define ZV_ROUND_TRIP(id, name, bits, widthMultiple, heightMultiple, bytes, description)                               \
    if (id != CLRSPACE_RGB)                                                                                            \
        report.addRgb("rgb, " name ", rgb", "the source",                                                              \
                      RoundTrip(id, rgb, (widthMultiple) > 1 || (heightMultiple) > 1), rgb);
    ZVCLR_SPACES(ZV_ROUND_TRIP)
#undef ZV_ROUND_TRIP
}

void FormulasAgainstCie(Report& report, const Bytes& rgb) {
    const auto count = static_cast<int32_t>(rgb.size() / 3);
    const auto labOf = [&rgb](size_t i) { return SrgbToLabD65(Unit(&rgb[3 * i])); };
    Bytes lab, xyz, fromLab, fromXyz;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        AddLab(lab, labOf(i / 3), LabBytes::kSigned);
        AddRgb(fromLab, LabD65ToSrgb(LabOf(&lab[i], LabBytes::kSigned)));
        const zvtest::Xyz value = SrgbToXyzD65(Unit(&rgb[i]));
        AddRgb(xyz, {value.x, value.y, value.z});
        AddRgb(fromXyz, XyzD65ToSrgb({xyz[i] / 255.0, xyz[i + 1] / 255.0, xyz[i + 2] / 255.0}));
    }
    report.addLab("rgb to lab", "CIE, D65", ByFormulas(CLRSPACE_RGB, CLRSPACE_LAB, rgb, count, 1), lab,
                  LabBytes::kSigned, labOf);
    report.addRgb("lab to rgb", "CIE, D65", ByFormulas(CLRSPACE_LAB, CLRSPACE_RGB, lab, count, 1), fromLab);
    const Bytes got = ByFormulas(CLRSPACE_RGB, CLRSPACE_XYZ, rgb, count, 1);
    const auto xyzLab = [](const Bytes& bytes) {
        return [&bytes](size_t i) {
            const Triple v = Unit(&bytes[3 * i]);
            return XyzToLab({v[0], v[1], v[2]}, kWhiteD65);
        };
    };
    report.add("rgb to xyz", "CIE, D65", got, xyz, 3, xyzLab(got), xyzLab(xyz));
    report.addRgb("xyz to rgb", "CIE, D65", ByFormulas(CLRSPACE_XYZ, CLRSPACE_RGB, xyz, count, 1), fromXyz);
}

void ScreenProfiles(Report& report, const Bytes& rgb) {
    const auto labOf = [&rgb](size_t i) { return SrgbToLabD50(Unit(&rgb[3 * i])); };
    Bytes lab, fromLab, cmy;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        AddLab(lab, labOf(i / 3), LabBytes::kOffset);
        AddRgb(fromLab, LabD50ToSrgb(LabOf(&lab[i], LabBytes::kOffset)));
    }
    for (const uint8_t value : rgb) cmy.push_back(static_cast<uint8_t>(255 - value));
    const Bytes gotLab = ByProfiles(CLRSPACE_RGB, CLRSPACE_LAB, rgb);
    const Bytes gotCmy = ByProfiles(CLRSPACE_RGB, CLRSPACE_CMY, rgb);
    Bytes complement = gotCmy;
    for (uint8_t& value : complement) value = static_cast<uint8_t>(255 - value);
    report.addLab("icc: rgb to lab", "CIE, D50", gotLab, lab, LabBytes::kOffset, labOf);
    report.addRgb("icc: lab to rgb", "CIE, D50", ByProfiles(CLRSPACE_LAB, CLRSPACE_RGB, lab), fromLab);
    report.addRgb("icc: rgb, lab, rgb", "the source", ByProfiles(CLRSPACE_LAB, CLRSPACE_RGB, gotLab), rgb);
    report.addRgb("icc: rgb to cmy", "the complement", complement, rgb);
    report.addRgb("icc: cmy to rgb", "the complement", ByProfiles(CLRSPACE_CMY, CLRSPACE_RGB, cmy), rgb);
    report.addRgb("icc: rgb, cmy, rgb", "the source", ByProfiles(CLRSPACE_CMY, CLRSPACE_RGB, gotCmy), rgb);
}

Quad Inks(const uint8_t* cmyk) { return {cmyk[0] / 255.0, cmyk[1] / 255.0, cmyk[2] / 255.0, cmyk[3] / 255.0}; }

void PressProfile(Report& report, const Bytes& rgb) {
    const Press press;
    Bytes expectedInks;
    for (size_t i = 0; i < rgb.size(); i += 3) {
        for (const double ink : press.inks(SrgbToLabD50(Unit(&rgb[i])))) expectedInks.push_back(ToByte(ink * 255));
    }
    const Bytes gotInks = ByProfiles(CLRSPACE_RGB, CLRSPACE_CMYK, rgb);
    report.add(
        "icc: rgb to cmyk", "the profile's table", gotInks, expectedInks, 4,
        [&](size_t i) { return press.lab(Inks(&gotInks[4 * i])); },
        [&](size_t i) { return press.lab(Inks(&expectedInks[4 * i])); });

    const Bytes cmyk = Levels(4, kInkStep);
    Bytes expected;
    for (size_t i = 0; i < cmyk.size(); i += 4) AddRgb(expected, LabD50ToSrgb(press.lab(Inks(&cmyk[i]))));
    const Bytes printed = ByProfiles(CLRSPACE_CMYK, CLRSPACE_RGB, cmyk);
    report.addRgb("icc: cmyk to rgb", "the profile's table", printed, expected);
    report.addRgb("icc: rgb, cmyk, rgb", "the source", ByProfiles(CLRSPACE_CMYK, CLRSPACE_RGB, gotInks), rgb);
    const Bytes again = ByProfiles(CLRSPACE_CMYK, CLRSPACE_RGB, ByProfiles(CLRSPACE_RGB, CLRSPACE_CMYK, printed));
    report.addRgb("icc: printed rgb, cmyk, rgb", "the source", again, printed);
}

std::string Table() {
    const Bytes rgb = Levels(3, kStep);
    Report report;
    FormulaRoundTrips(report, rgb);
    FormulasAgainstCie(report, rgb);
    ScreenProfiles(report, rgb);
    PressProfile(report, rgb);
    return report.text();
}

void Update(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream read;
    read << in.rdbuf();
    std::string text = read.str();
    const size_t begin = text.find(kBegin), end = text.find(kEnd);
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        throw std::runtime_error(std::string(path) + " lacks the two marks of the table");
    }
    const size_t start = begin + std::string(kBegin).size();
    text.replace(start, end - start, "\n\n" + Table() + "\n");
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) throw std::runtime_error(std::string("cannot write ") + path);
}

}  // namespace
}  // namespace zv::bench

int main(int argc, char** argv) {
    const bool update = argc == 3 && std::string(argv[1]) == "--update";
    if (argc != 1 && !update) {
        std::fputs("Usage: zvclr_accuracy [--update FILE]\n", stderr);
        return 2;
    }
    try {
        if (update) {
            zv::bench::Update(argv[2]);
        } else {
            std::fputs(zv::bench::Table().c_str(), stdout);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zvclr_accuracy: %s\n", error.what());
        return 1;
    }
}
