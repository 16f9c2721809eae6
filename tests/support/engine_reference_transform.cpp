// Whole transforms: how stages are chosen, sampled into a grid, and run.
#include <algorithm>
#include <cmath>

#include "tests/support/engine_reference.h"

namespace zv::test::reference {

namespace {

struct Format {
    uint32_t bytes;
    uint32_t channels;
    bool reversed;

    explicit Format(uint32_t word) : bytes(word & 7), channels(word >> 3 & 15), reversed((word & 0x400) != 0) {
        reversed = reversed && bytes == 1 && channels == 3;
    }
    bool HasFormatter() const { return (bytes == 1 || bytes == 2) && (channels == 3 || channels == 4); }
    size_t PixelBytes() const { return size_t{bytes} * channels; }
    size_t WordOf(size_t position) const { return reversed ? channels - 1 - position : position; }
};

Pixel Unpack(const Format& format, const uint8_t* from) {
    Pixel words{};
    for (size_t i = 0; i < format.channels; ++i) {
        const auto word = format.bytes == 1 ? from[i] * 257 : from[2 * i] + from[2 * i + 1] * 256;
        words[format.WordOf(i)] = static_cast<uint16_t>(word);
    }
    return words;
}

void Pack(const Format& format, const Pixel& words, uint8_t* to) {
    for (size_t i = 0; i < format.channels; ++i) {
        const uint16_t word = words[format.WordOf(i)];
        if (format.bytes == 2) *to++ = static_cast<uint8_t>(word & 0xFF);
        *to++ = static_cast<uint8_t>(word >> 8);
    }
}

bool FormatFits(uint32_t word, const Profile& profile) {
    switch (word) {
        case 0x40019:
            return profile.colorSpace == FourCc("RGB ");
        case 0x50019:
            return profile.colorSpace == FourCc("CMY ");
        case 0x60021:
            return profile.colorSpace == FourCc("CMYK");
        case 0xA0019:
            return profile.colorSpace == FourCc("Lab ");
        default:
            return true;
    }
}

Pixel WhiteOfSpace(uint32_t space) {
    if (space == FourCc("RGB ")) return {0xFFFF, 0xFFFF, 0xFFFF};
    if (space == FourCc("Lab ")) return {0xFF00, 0x8000, 0x8000};
    return {};
}

Pixel BlackOfSpace(uint32_t space) { return space == FourCc("CMYK") ? Pixel{0, 0, 0, 0xFFFF} : Pixel{}; }

// --- Stages ---------------------------------------------------------------------------------------------------------

std::optional<Shaper> ReadGrayShaper(const Profile& profile, ShaperKind kind) {
    const std::optional<Words> curve = ReadCurve(profile, "kTRC");
    if (!curve) return {};
    std::array<Words, 3> scaled;
    for (size_t c = 0; c < 3; ++c) {
        scaled[c] = ScaleCurve(*curve, static_cast<int32_t>(profile.illuminant[c] * 65536.0 + 0.5));
    }
    return MakeGrayShaper(scaled, kind);
}

std::optional<std::array<Words, 3>> ReadCurves(const Profile& profile) {
    std::array<Words, 3> curves;
    size_t c = 0;
    for (const char* signature : {"rTRC", "gTRC", "bTRC"}) {
        const std::optional<Words> curve = ReadCurve(profile, signature);
        if (!curve) return {};
        curves[c++] = *curve;
    }
    return curves;
}

std::optional<Shaper> ReadInputShaper(const Profile& profile) {
    const std::optional<Matrix> matrix = ReadColorants(profile);
    const auto curves = ReadCurves(profile);
    if (!matrix || !curves) return {};
    return MakeShaper(*matrix, *curves, ShaperKind::kDeviceToXyz);
}

std::optional<Shaper> ReadOutputShaper(const Profile& profile) {
    const std::optional<Matrix> matrix = ReadColorants(profile);
    auto curves = ReadCurves(profile);
    if (!matrix || !curves) return {};
    const std::optional<Matrix> inverse = Invert(*matrix);
    if (!inverse) return {};
    for (Words& curve : *curves) curve = InvertCurve(curve);
    return MakeShaper(*inverse, *curves, ShaperKind::kXyzToDevice);
}

std::optional<Shaper> ReadPairShaper(const Profile& from, const Profile& to) {
    const std::optional<Matrix> first = ReadColorants(from), second = ReadColorants(to);
    if (!first || !second) return {};
    const std::optional<Matrix> inverse = Invert(*second);
    const auto firstCurves = ReadCurves(from), secondCurves = ReadCurves(to);
    if (!inverse || !firstCurves || !secondCurves) return {};
    Matrix product{};
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column) {
            double sum = 0;
            for (size_t k = 0; k < 3; ++k) sum += (*inverse)[row * 3 + k] * (*first)[k * 3 + column];
            product[row * 3 + column] = sum;
        }
    }
    std::array<Words, 3> joined;
    for (size_t c = 0; c < 3; ++c) joined[c] = JoinCurves((*firstCurves)[c], (*secondCurves)[c]);
    return MakeShaper(product, joined, ShaperKind::kDeviceToDevice);
}

PcsSide SideOf(const Profile& profile, int32_t kind) {
    return {kind, ReadXyz(profile, "bkpt").value_or(Triple{}), ReadXyz(profile, "wtpt").value_or(kConnectionD50),
            profile.illuminant};
}

// --- Grids ----------------------------------------------------------------------------------------------------------

/// Offset of a node: the first channel moves slowest.
size_t NodeOffset(const Lut& grid, const std::vector<size_t>& node) {
    size_t offset = 0;
    for (const size_t coordinate : node) offset = offset * grid.gridPoints + coordinate;
    return offset * grid.outputs;
}

Lut SampleGrid(const Transform& transform) {
    Lut grid;
    grid.hasGrid = true;
    grid.inputs = Format(transform.inputFormat).channels;
    grid.outputs = Format(transform.outputFormat).channels;
    grid.gridPoints = grid.inputs == 3 ? 33 : 16;
    const auto position = [&](size_t i) {
        const auto step = static_cast<double>(i);
        return static_cast<uint16_t>(std::floor(grid.inputs == 3 ? step * 65535.0 * 0.03125 : step * 65535.0 / 15.0));
    };
    size_t nodes = 1;
    for (uint32_t i = 0; i < grid.inputs; ++i) nodes *= grid.gridPoints;
    for (size_t node = 0; node < nodes; ++node) {
        Pixel in{};
        size_t rest = node;
        for (size_t axis = grid.inputs; axis-- > 0; rest /= grid.gridPoints)
            in[axis] = position(rest % grid.gridPoints);
        const Pixel out = RunWords(transform, in);
        grid.grid.insert(grid.grid.end(), out.begin(), out.begin() + grid.outputs);
    }
    return grid;
}

void PatchNode(Lut& grid, const Pixel& in, const Pixel& out, size_t outputs, size_t inputs) {
    std::vector<size_t> node;
    for (size_t i = 0; i < inputs; ++i) {
        node.push_back(static_cast<size_t>(std::floor(in[i] * (grid.gridPoints - 1.0) / 65535.0)));
    }
    const size_t offset = NodeOffset(grid, node);
    for (size_t o = 0; o < outputs && offset + o < grid.grid.size(); ++o) grid.grid[offset + o] = out[o];
}

void PatchEndpoints(Lut& grid, uint32_t inputSpace, uint32_t outputSpace) {
    const auto known = [](uint32_t space) {
        return space == FourCc("CMYK") || space == FourCc("Lab ") || space == FourCc("RGB ");
    };
    if (!known(inputSpace) || !known(outputSpace)) return;
    const size_t inputs = inputSpace == FourCc("CMYK") ? 4 : 3, outputs = outputSpace == FourCc("CMYK") ? 4 : 3;
    PatchNode(grid, WhiteOfSpace(inputSpace), WhiteOfSpace(outputSpace), outputs, inputs);
    PatchNode(grid, BlackOfSpace(inputSpace), BlackOfSpace(outputSpace), outputs, inputs);
}

// --- Running --------------------------------------------------------------------------------------------------------

bool AllOnes(const Pixel& words) { return words[0] == 0xFFFF && words[1] == 0xFFFF && words[2] == 0xFFFF; }

Pixel FirstThree(const Pixel& words) { return {words[0], words[1], words[2]}; }

Pixel RunStages(const Transform& t, const Pixel& in) {
    Pixel b{};
    if (t.inputLut) b = EvalLut(*t.inputLut, in);
    if (t.inputShaper) b = EvalShaper(*t.inputShaper, in);

    Pixel c = FirstThree(b);
    if (t.pcs.function != PcsFunction::kNone) {
        c = ApplyPcs(t.pcs, b);
        if (AllOnes(c)) return WhiteOfSpace(t.outputSpace);
    }
    if (t.gamutLut && EvalLut(*t.gamutLut, c)[0] > 0xF000) return {0x7FFF, 0xFFFE, 0x7FFF, 0};
    if (t.previewLut) c = FirstThree(EvalLut(*t.previewLut, c));
    Pixel d = c;
    if (t.pcs2.function != PcsFunction::kNone) {
        d = ApplyPcs(t.pcs2, c);
        if (AllOnes(c)) return WhiteOfSpace(t.outputSpace);
    }
    Pixel e{};
    if (t.outputLut) e = EvalLut(*t.outputLut, d);
    if (t.outputShaper) e = EvalShaper(*t.outputShaper, d);
    return e;
}

}  // namespace

Pixel RunWords(const Transform& transform, const Pixel& in) {
    switch (transform.runner) {
        case Runner::kFull:
            return RunStages(transform, in);
        case Runner::kGrid:
            return EvalLut(*transform.gridLut, in);
        case Runner::kShaper:
            return EvalShaper(*transform.combinedShaper, in);
        case Runner::kCopy:
            break;
    }
    return in;
}

Bytes Run(const Transform& transform, const Bytes& pixels) {
    const Format from(transform.inputFormat), to(transform.outputFormat);
    const size_t count = pixels.size() / from.PixelBytes();
    Bytes out(count * to.PixelBytes());
    for (size_t i = 0; i < count; ++i) {
        const Pixel words = Unpack(from, pixels.data() + i * from.PixelBytes());
        Pack(to, RunWords(transform, words), out.data() + i * to.PixelBytes());
    }
    return out;
}

// --- Building -------------------------------------------------------------------------------------------------------

namespace {

std::optional<Transform> BuildWithoutOutput(Transform transform, const std::optional<Profile>& input) {
    if (!input) {
        transform.runner = Runner::kCopy;
        return transform;
    }
    if (input->deviceClass != FourCc("link")) return {};
    transform.gridLut = ReadLut(*input, "A2B0");
    if (!transform.gridLut) return {};
    transform.runner = Runner::kGrid;
    return transform;
}

/// Fills the stages; false where there is none. Raises `noGrid` where a transform stays without a grid.
bool ChooseStages(Transform& t, const Profile& input, const Profile& output, const Triple& white, bool& noGrid) {
    const bool inputTag = HasTag(input, "A2B0"), outputTag = HasTag(output, "B2A0");
    const uint32_t rgb = FourCc("RGB "), gray = FourCc("GRAY");
    int32_t inputKind = PcsKindOf(input), outputKind = PcsKindOf(output);
    if (!inputTag && !outputTag && input.colorSpace == rgb && output.colorSpace == rgb) {
        noGrid = true;
        t.runner = Runner::kShaper;
        t.combinedShaper = ReadPairShaper(input, output);
        return t.combinedShaper.has_value();
    }
    if (inputTag) {
        t.inputLut = ReadLut(input, "A2B0");
        if (!t.inputLut) return false;
    } else {
        const bool isGray = input.colorSpace == gray;
        noGrid = noGrid || isGray;
        t.inputShaper = isGray ? ReadGrayShaper(input, ShaperKind::kDeviceToXyz) : ReadInputShaper(input);
        if (!t.inputShaper) return false;
        inputKind = 0;
    }
    if (outputTag) {
        t.outputLut = ReadLut(output, "B2A0");
        if (!t.outputLut) return false;
    } else {
        const bool isGray = output.colorSpace == gray;
        noGrid = noGrid || isGray;
        t.outputShaper = isGray ? ReadGrayShaper(output, ShaperKind::kXyzToDevice) : ReadOutputShaper(output);
        if (!t.outputShaper) return false;
        outputKind = 0;
    }
    t.pcs = DerivePcs(false, SideOf(input, inputKind), SideOf(output, outputKind), white);
    return true;
}

}  // namespace

std::optional<Transform> Build(const std::optional<Bytes>& input, uint32_t inputFormat,
                               const std::optional<Bytes>& output, uint32_t outputFormat, const BuildOptions& options) {
    Transform t;
    t.inputFormat = inputFormat;
    t.outputFormat = outputFormat;
    if (!Format(inputFormat).HasFormatter() || !Format(outputFormat).HasFormatter()) return {};
    std::optional<Profile> from, to;
    if (input) from = OpenProfile(*input);
    if (output) to = OpenProfile(*output);
    if ((input && !from) || (output && !to)) return {};
    if ((from && !FormatFits(inputFormat, *from)) || (to && !FormatFits(outputFormat, *to))) return {};
    if (!to) return BuildWithoutOutput(t, from);
    if (!from) return {};
    t.outputSpace = to->colorSpace;

    bool noGrid = options.noGrid;
    if (!ChooseStages(t, *from, *to, options.white, noGrid)) return {};
    if (noGrid && !options.patchEndpoints) return t;
    Lut grid = SampleGrid(t);
    if (options.patchEndpoints) PatchEndpoints(grid, from->colorSpace, to->colorSpace);
    t.gridLut = grid;
    t.runner = Runner::kGrid;
    return t;
}

}  // namespace zv::test::reference
