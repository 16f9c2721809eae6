#include "tests/support/engine_reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace zv::test::reference {

namespace {

constexpr double kUnit = 1.0 / 65536.0;

/// Toward zero; what does not fit goes to the nearest end, and what is no number to 0.
int32_t Truncate(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

/// Sums of 32 bits wrap.
int32_t Wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value))); }

uint16_t Low16(double wholeNumber) {
    return static_cast<uint16_t>(static_cast<uint64_t>(static_cast<int64_t>(wholeNumber)));
}

uint16_t Clamp16(int64_t value) { return static_cast<uint16_t>(std::clamp<int64_t>(value, 0, 0xFFFF)); }

uint16_t DomainOf(size_t count) { return static_cast<uint16_t>(count - 1); }

}  // namespace

// --- Curves ---------------------------------------------------------------------------------------------------------

uint16_t EvalCurve(const Words& table, uint16_t value) {
    const uint16_t domain = DomainOf(table.size());
    if (value == 0xFFFF) return table[domain];
    const double position = value / 65535.0 * domain;
    const double index = std::floor(position);
    const auto i = static_cast<size_t>(index);
    const int low = table[i];
    // Only a table of one entry has no neighbour, and then the fraction is 0.
    const int high = i + 1 < table.size() ? table[i + 1] : 0;
    return Low16(std::floor((high - low) * (position - index) + low + 0.5));
}

Words GammaCurve(double gamma) {
    Words table(256, 0);
    if (gamma == 0.0) return table;
    for (size_t i = 0; i < 256; ++i) {
        table[i] = Low16(std::floor(std::pow(static_cast<double>(i) / 255.0, gamma) * 65535.0));
    }
    return table;
}

Words ScaleCurve(const Words& table, int32_t factor) {
    Words scaled;
    for (const uint16_t entry : table) {
        scaled.push_back(static_cast<uint16_t>(static_cast<uint32_t>(Truncate(entry * (factor * kUnit)))));
    }
    return scaled;
}

namespace {

/// One above the input at which the curve gives the target, or where the search for it ends.
uint16_t SearchInput(const Words& table, uint16_t target) {
    int high = 65536, low = 1, mid = 0;
    do {
        mid = (high + low) / 2;
        const int test = mid - 1;
        const uint16_t value = EvalCurve(table, static_cast<uint16_t>(test));
        if (value == target) break;
        if (value > target) {
            high = test;
        } else {
            low = mid + 1;
        }
    } while (high > low);
    return static_cast<uint16_t>(mid);
}

}  // namespace

Words InvertCurve(const Words& table) {
    Words inverse;
    for (int i = 0; i < 256; ++i) inverse.push_back(SearchInput(table, static_cast<uint16_t>(i * 257)));
    return inverse;
}

Words JoinCurves(const Words& first, const Words& second) {
    Words joined;
    for (int i = 0; i < 256; ++i) {
        joined.push_back(SearchInput(second, EvalCurve(first, static_cast<uint16_t>(i << 8 | i))));
    }
    return joined;
}

bool IsRamp(const Words& table) {
    const auto count = static_cast<double>(table.size());
    for (size_t i = 0; i < table.size(); ++i) {
        const double ideal = std::floor(static_cast<double>(i) / (count - 1.0) * 65535.0 + 0.5);
        if (!(ideal == table[i])) return false;
    }
    return true;
}

// --- Lookup tables --------------------------------------------------------------------------------------------------

namespace {

/// A word of full scale 0xFFFF as 16.16.
int32_t Widen(uint16_t value) { return Truncate(value * 65536.0 / 65535.0 + 0.5); }

int32_t Narrow(int32_t value) { return Truncate(value * 65535.0 * kUnit + 0.5); }

FixedTriple Multiply(const FixedMatrix& matrix, const FixedTriple& vector) {
    FixedTriple product{};
    for (size_t row = 0; row < 3; ++row) {
        int64_t sum = 0;
        for (size_t column = 0; column < 3; ++column) {
            const double element = matrix[row * 3 + column] * kUnit;
            const double channel = vector[column] * kUnit;
            sum += Truncate(element * channel * 65536.0 + 0.5);
        }
        product[row] = Wrapped(sum);
    }
    return product;
}

double Lerp(double fraction, double a, double b) { return (b - a) * fraction + a; }

/// Where a word falls among `domain` steps, in 16.16.
struct FixedPosition {
    uint32_t index;
    uint32_t fraction;
};
FixedPosition PositionOf(uint16_t value, uint16_t domain) {
    const uint32_t scaled = uint32_t{value} * domain;
    const auto position = static_cast<uint64_t>(scaled * 65536.0 / 65535.0 + 0.5);
    return {static_cast<uint32_t>(position >> 16), static_cast<uint32_t>(position & 0xFFFF)};
}

size_t Cube(size_t n) { return n * n * n; }

}  // namespace

Pixel Trilinear(const Lut& lut, size_t start, const Pixel& in, size_t first) {
    const size_t n = lut.gridPoints;
    const auto domain = static_cast<double>(DomainOf(n));
    std::array<size_t, 3> low{}, high{};
    Triple fraction{};
    for (size_t axis = 0; axis < 3; ++axis) {
        const uint16_t value = in[first + axis];
        const double position = value * domain / 65535.0;
        low[axis] = static_cast<size_t>(std::floor(position));
        high[axis] = value < 65535 ? low[axis] + 1 : low[axis];
        fraction[axis] = position - std::floor(position);
    }
    Pixel out{};
    for (size_t o = 0; o < lut.outputs; ++o) {
        const auto node = [&](size_t x, size_t y, size_t z) -> double {
            const size_t place = start + ((x * n + y) * n + z) * lut.outputs + o;
            return place < lut.grid.size() ? lut.grid[place] : 0;
        };
        const auto alongX = [&](size_t y, size_t z) {
            return Lerp(fraction[0], node(low[0], y, z), node(high[0], y, z));
        };
        const double c00 = alongX(low[1], low[2]);
        const double c10 = alongX(high[1], low[2]);
        const double c01 = alongX(low[1], high[2]);
        const double c11 = alongX(high[1], high[2]);
        const double c0 = Lerp(fraction[1], c00, c10);
        const double c1 = Lerp(fraction[1], c01, c11);
        out[o] = Low16(std::floor(Lerp(fraction[2], c0, c1) + 0.5));
    }
    return out;
}

Pixel EvalFourChannels(const Lut& lut, const Pixel& in) {
    const auto [slice, fraction] = PositionOf(in[0], DomainOf(lut.gridPoints));
    const size_t stride = Cube(lut.gridPoints) * lut.outputs;
    const Pixel first = Trilinear(lut, slice * stride, in, 1);
    const Pixel second = Trilinear(lut, (in[0] == 65535 ? slice : slice + 1) * stride, in, 1);
    Pixel out{};
    for (size_t o = 0; o < lut.outputs; ++o) {
        const int difference = second[o] - first[o];
        out[o] = static_cast<uint16_t>(Truncate(static_cast<double>(difference) * fraction * kUnit + first[o]));
    }
    return out;
}

Pixel EvalLut(const Lut& lut, const Pixel& in) {
    Pixel work{};
    if (lut.hasMatrix) {
        const FixedTriple product = Multiply(lut.matrix, {Widen(in[0]), Widen(in[1]), Widen(in[2])});
        for (size_t i = 0; i < 3; ++i) work[i] = Clamp16(Narrow(product[i]));
    } else {
        std::copy_n(in.begin(), lut.inputs, work.begin());
    }
    if (lut.hasInputCurves) {
        for (size_t i = 0; i < lut.inputs; ++i) work[i] = EvalCurve(lut.inputCurves[i], work[i]);
    }
    Pixel nodes{};
    if (!lut.hasGrid) {
        std::copy_n(work.begin(), lut.inputs, nodes.begin());
    } else {
        nodes = lut.inputs == 4 ? EvalFourChannels(lut, work) : Trilinear(lut, 0, work, 0);
    }
    Pixel out{};
    for (size_t o = 0; o < lut.outputs; ++o) {
        out[o] = lut.hasOutputCurves ? EvalCurve(lut.outputCurves[o], nodes[o]) : nodes[o];
    }
    return out;
}

// --- Matrix-shapers -------------------------------------------------------------------------------------------------

namespace {

bool IsIdentity(const FixedMatrix& matrix, double tolerance) {
    for (size_t i = 0; i < 9; ++i) {
        const double ideal = i % 4 == 0 ? 1.0 : 0.0;
        const double element = matrix[i] * kUnit;
        if (element < ideal - tolerance || element > ideal + tolerance) return false;
    }
    return true;
}

bool AllRamps(const std::array<Words, 3>& curves) { return std::all_of(curves.begin(), curves.end(), IsRamp); }

int32_t TableStep(const Words& table, size_t index, uint32_t fraction) {
    const int low = table[index];
    // Past the last entry the fraction is 0.
    const int high = index + 1 < table.size() ? table[index + 1] : 0;
    return Truncate((high - low) * kUnit * (fraction * kUnit) * 65536.0 + 0.5) + low;
}

int32_t ShapeInput(const Shaper& shaper, size_t channel, uint16_t value) {
    if (!shaper.hasShaper) return Widen(value);
    const uint16_t domain = DomainOf(shaper.curves[0].size());
    auto [index, fraction] = PositionOf(value, domain);
    if (shaper.kind == ShaperKind::kDeviceToXyz && index + 1 > domain && index > 0) --index;
    return TableStep(shaper.curves[channel], index, fraction);
}

uint16_t ShapeOutput(const Shaper& shaper, size_t channel, int32_t value) {
    const int32_t word = Narrow(value);
    if (!shaper.hasShaper) return Clamp16(word);
    const Words& table = shaper.curves[channel];
    if (word >= 0xFFFF) return table.back();
    return EvalCurve(table, Clamp16(word));
}

}  // namespace

std::optional<Shaper> MakeShaper(const Matrix& matrix, const std::array<Words, 3>& curves, ShaperKind kind) {
    if (curves[1].size() != curves[0].size() || curves[2].size() != curves[0].size()) return {};
    Shaper shaper;
    shaper.kind = kind;
    for (size_t i = 0; i < 9; ++i) shaper.matrix[i] = Truncate(matrix[i] * 65536.0 + 0.5);
    shaper.hasMatrix = !IsIdentity(shaper.matrix, 0.00001);
    shaper.hasShaper = !AllRamps(curves);
    shaper.curves = curves;
    return shaper;
}

Shaper MakeGrayShaper(const std::array<Words, 3>& curves, ShaperKind kind) {
    Shaper shaper;
    shaper.kind = kind;
    shaper.hasShaper = !AllRamps(curves);
    shaper.curves = curves;
    return shaper;
}

Pixel EvalShaper(const Shaper& shaper, const Pixel& in) {
    FixedTriple values{};
    for (size_t c = 0; c < 3; ++c) {
        values[c] = shaper.kind == ShaperKind::kXyzToDevice ? in[c] * 2 : ShapeInput(shaper, c, in[c]);
    }
    if (shaper.hasMatrix) values = Multiply(shaper.matrix, values);
    Pixel out{};
    for (size_t c = 0; c < 3; ++c) {
        switch (shaper.kind) {
            case ShaperKind::kDeviceToXyz:
                out[c] = Clamp16(values[c] >> 1);
                break;
            case ShaperKind::kXyzToDevice:
                out[c] = ShapeOutput(shaper, c, values[c]);
                break;
            case ShaperKind::kDeviceToDevice:
                out[c] = Clamp16(Narrow(values[c]));
                break;
        }
    }
    return out;
}

std::optional<Matrix> Invert(const Matrix& matrix) {
    Matrix a = matrix, b{1, 0, 0, 0, 1, 0, 0, 0, 1};
    const auto eachInRow = [](Matrix& m, size_t row, auto change) {
        for (size_t column = 0; column < 3; ++column) change(m[row * 3 + column], column);
    };
    for (size_t k = 0; k < 3; ++k) {
        size_t pivot = k;
        for (size_t row = k + 1; row < 3; ++row) {
            if (std::fabs(a[row * 3 + k]) > std::fabs(a[pivot * 3 + k])) pivot = row;
        }
        for (Matrix* m : {&a, &b}) {
            eachInRow(*m, k, [&](double& element, size_t column) { std::swap(element, (*m)[pivot * 3 + column]); });
        }
        if (a[k * 3 + k] == 0.0) return {};
        const double reciprocal = 1.0 / a[k * 3 + k];
        for (Matrix* m : {&a, &b}) eachInRow(*m, k, [&](double& element, size_t) { element *= reciprocal; });
        for (size_t row = 0; row < 3; ++row) {
            if (row == k) continue;
            const double factor = a[row * 3 + k];
            for (Matrix* m : {&a, &b}) {
                eachInRow(*m, row, [&](double& element, size_t column) { element -= factor * (*m)[k * 3 + column]; });
            }
        }
    }
    return b;
}

// --- Profiles -------------------------------------------------------------------------------------------------------

namespace {

/// Reads big-endian numbers; beyond the end it fails and gives 0.
class Reader {
public:
    Reader(const Bytes& bytes, size_t offset) : bytes_(bytes), place_(offset) {}

    uint32_t Number(size_t width) {
        if (bytes_.size() < width || place_ > bytes_.size() - width) {
            failed_ = true;
            return 0;
        }
        uint32_t value = 0;
        for (size_t i = 0; i < width; ++i) value = value << 8 | bytes_[place_++];
        return value;
    }
    int32_t Signed() { return static_cast<int32_t>(Number(4)); }
    double Fixed() { return Signed() / 65536.0; }
    /// Bytes come as the high halves of words.
    Words Table(size_t entries, size_t width) {
        Words table;
        if (entries > bytes_.size()) {
            failed_ = true;
            return table;
        }
        for (size_t i = 0; i < entries; ++i) {
            const uint32_t value = Number(width);
            table.push_back(static_cast<uint16_t>(width == 1 ? value << 8 : value));
        }
        return table;
    }
    bool Failed() const { return failed_; }

private:
    const Bytes& bytes_;
    size_t place_;
    bool failed_ = false;
};

const Profile::Tag* FindTag(const Profile& profile, std::string_view signature) {
    for (const Profile::Tag& tag : profile.tags) {
        if (tag.signature == FourCc(signature)) return &tag;
    }
    return nullptr;
}

}  // namespace

std::optional<Profile> OpenProfile(const Bytes& bytes) {
    Profile profile;
    profile.bytes = bytes;
    const auto field = [&](size_t offset) { return Reader(bytes, offset).Number(4); };
    if (field(36) != FourCc("acsp")) return {};
    profile.deviceClass = field(12);
    profile.colorSpace = field(16);
    profile.pcs = field(20);
    profile.intent = field(64);
    for (size_t i = 0; i < 3; ++i) profile.illuminant[i] = Reader(bytes, 68 + 4 * i).Fixed();
    Reader directory(bytes, 128);
    const int32_t count = directory.Signed();
    if (count > 50) return {};
    for (int32_t i = 0; i < count; ++i) {
        Profile::Tag tag;
        tag.signature = directory.Number(4);
        tag.offset = directory.Number(4);
        directory.Number(4);
        profile.tags.push_back(tag);
    }
    if (directory.Failed()) return {};
    return profile;
}

bool HasTag(const Profile& profile, std::string_view signature) { return FindTag(profile, signature) != nullptr; }

std::optional<Triple> ReadXyz(const Profile& profile, std::string_view signature) {
    const Profile::Tag* tag = FindTag(profile, signature);
    if (tag == nullptr) return {};
    Reader reader(profile.bytes, tag->offset);
    const uint32_t type = reader.Number(4);
    if (type != FourCc("XYZ ") && type != 0x07C3B10C) return {};
    reader.Number(4);
    Triple value{};
    for (double& component : value) component = reader.Fixed();
    if (reader.Failed()) return {};
    return value;
}

std::optional<Matrix> ReadColorants(const Profile& profile) {
    Matrix matrix{};
    size_t column = 0;
    for (const char* signature : {"rXYZ", "gXYZ", "bXYZ"}) {
        const std::optional<Triple> colorant = ReadXyz(profile, signature);
        if (!colorant) return {};
        for (size_t row = 0; row < 3; ++row) matrix[row * 3 + column] = (*colorant)[row];
        ++column;
    }
    return matrix;
}

std::optional<Words> ReadCurve(const Profile& profile, std::string_view signature) {
    const Profile::Tag* tag = FindTag(profile, signature);
    if (tag == nullptr) return {};
    Reader reader(profile.bytes, tag->offset);
    if (reader.Number(4) != FourCc("curv")) return {};
    reader.Number(4);
    const uint32_t count = reader.Number(4);
    Words table;
    if (count == 0) {
        table = {0, 0xFFFF};
    } else if (count == 1) {
        const uint32_t whole = reader.Number(1);
        table = GammaCurve(whole + reader.Number(1) * 0.00390625);
    } else {
        table = reader.Table(count, 2);
    }
    if (reader.Failed()) return {};
    return table;
}

std::optional<Lut> ReadLut(const Profile& profile, std::string_view signature) {
    const Profile::Tag* tag = FindTag(profile, signature);
    if (tag == nullptr) return {};
    Reader reader(profile.bytes, tag->offset);
    const uint32_t type = reader.Number(4);
    if (type != FourCc("mft1") && type != FourCc("mft2")) return {};
    const size_t width = type == FourCc("mft1") ? 1 : 2;
    reader.Number(4);
    Lut lut;
    lut.hasGrid = true;
    lut.inputs = reader.Number(1);
    lut.outputs = reader.Number(1);
    lut.gridPoints = reader.Number(1);
    reader.Number(1);
    for (int32_t& element : lut.matrix) element = reader.Signed();
    lut.hasMatrix = !IsIdentity(lut.matrix, 0.0001);
    const size_t inputEntries = width == 1 ? 256 : reader.Number(2);
    const size_t outputEntries = width == 1 ? 256 : reader.Number(2);
    const auto outside = [](uint32_t channels) { return channels < 1 || channels > 16; };
    if (outside(lut.inputs) || outside(lut.outputs) || lut.gridPoints == 0) return {};
    if (inputEntries == 0 || outputEntries == 0) return {};

    for (uint32_t i = 0; i < lut.inputs; ++i) lut.inputCurves.push_back(reader.Table(inputEntries, width));
    size_t gridEntries = lut.outputs;
    for (uint32_t i = 0; i < lut.inputs && gridEntries <= profile.bytes.size(); ++i) gridEntries *= lut.gridPoints;
    lut.grid = reader.Table(gridEntries, width);
    for (uint32_t o = 0; o < lut.outputs; ++o) lut.outputCurves.push_back(reader.Table(outputEntries, width));
    if (reader.Failed()) return {};
    lut.hasInputCurves = !std::all_of(lut.inputCurves.begin(), lut.inputCurves.end(), IsRamp);
    lut.hasOutputCurves = !std::all_of(lut.outputCurves.begin(), lut.outputCurves.end(), IsRamp);
    return lut;
}

// --- Connections ----------------------------------------------------------------------------------------------------

Triple WhiteOfCode(int32_t code) {
    switch (code) {
        case 55:
            return {0.956543, 1.0, 0.920264};
        case 65:
            return {0.950166, 1.0, 1.08765};
        case 75:
            return {0.94942, 1.0, 1.22493};
        case 93:
            return {0.952988, 1.0, 1.41274};
        default:
            return kConnectionD50;
    }
}

Triple WhiteOfXy(double x, double y) {
    if (y == 0.0) return kConnectionD50;
    return {x / y, 1.0, (1 - x - y) / y};
}

int32_t PcsKindOf(const Profile& profile) {
    const bool absolute = profile.intent == 3;
    if (profile.pcs == FourCc("Lab ")) return absolute ? 3 : 1;
    if (profile.pcs == FourCc("XYZ ")) return absolute ? 2 : 0;
    return 0;
}

namespace {

struct Affine {
    double scale = 1.0;
    double offset = 0.0;
};

Affine OutOf(double black, double white, double illuminant) { return {(white - black) / illuminant, -black}; }

Affine Into(double black, double white, double illuminant) {
    const double scale = illuminant / (white - black);
    return {scale, -scale * black};
}

Affine Chain(const Affine& first, const Affine& second) {
    return {first.scale * second.scale, first.offset * second.scale + second.offset};
}

Affine Times(const Affine& map, double factor) { return {map.scale * factor, map.offset * factor}; }

/// One channel of the connection between two kinds, which are known to have one.
Affine DeriveChannel(size_t c, bool absolute, const PcsSide& in, const PcsSide& out, const Triple& white) {
    const double w = white[c], ii = in.illuminant[c], io = out.illuminant[c], d = kConnectionD50[c];
    const auto outOf = [&](double illuminant) { return OutOf(in.black[c], in.white[c], illuminant); };
    const auto into = [&](double illuminant) { return Into(out.black[c], out.white[c], illuminant); };
    const auto chain = [&](double first, double second) { return Chain(outOf(first), into(second)); };
    switch (in.kind * 4 + out.kind) {
        case 0:  // XYZ to XYZ
            return absolute ? chain(ii, io) : Affine{io / ii, 0.0};
        case 1:  // XYZ to Lab
            return absolute ? Times(chain(ii, io), w / ii) : Affine{w / ii, 0.0};
        case 2:  // XYZ to absolute XYZ
            return outOf(ii);
        case 3:  // XYZ to absolute Lab
            return Times(chain(ii, io), w / io);
        case 4:  // Lab to XYZ
            return absolute ? chain(w, io) : Affine{c == 1 ? io : io / d, 0.0};
        case 5:  // Lab to Lab
            return absolute ? chain(ii, w) : Affine{};
        case 6:  // Lab to absolute XYZ
        case 7:  // Lab to absolute Lab
            return outOf(w);
        case 8:  // absolute XYZ to XYZ
        case 9:  // absolute XYZ to Lab
            return into(io);
        case 11:  // absolute XYZ to absolute Lab
            return {c == 1 ? io : io / d, 0.0};
        case 12:  // absolute Lab to XYZ
            return {d / io, Into(in.black[c], in.white[c], ii).offset};
        case 13:  // absolute Lab to Lab
        case 14:  // absolute Lab to absolute XYZ
            return into(io);
        default:
            return {};
    }
}

PcsFunction FunctionBetween(bool absolute, int32_t from, int32_t to) {
    const bool known = from >= 0 && from <= 3 && to >= 0 && to <= 3;
    if (!known || (from == to && from != 0 && !(from == 1 && absolute))) return PcsFunction::kNone;
    const bool fromLab = from % 2 == 1, toLab = to % 2 == 1;
    if (fromLab) return toLab ? PcsFunction::kLabToLab : PcsFunction::kLabToXyz;
    return toLab ? PcsFunction::kXyzToLab : PcsFunction::kScaleXyz;
}

Pixel ScaleXyz(const PcsConversion& conversion, const Pixel& in) {
    Pixel out{};
    for (size_t c = 0; c < 3; ++c) {
        const double doubled = in[c] * 2;
        const int32_t scaled = Truncate(doubled * kUnit * conversion.scale[c] * kUnit * 65536.0 + 0.5);
        out[c] = Clamp16(Wrapped(int64_t{scaled} + conversion.offset[c]) >> 1);
    }
    return out;
}

}  // namespace

PcsConversion DerivePcs(bool absolute, const PcsSide& in, const PcsSide& out, const Triple& white) {
    PcsConversion conversion;
    conversion.function = FunctionBetween(absolute, in.kind, out.kind);
    for (size_t c = 0; c < 3; ++c) {
        Affine map;
        if (conversion.function != PcsFunction::kNone) map = DeriveChannel(c, absolute, in, out, white);
        conversion.scale[c] = Truncate(map.scale * 65536.0 + 0.5);
        conversion.offset[c] = Truncate(map.offset * 65536.0 + 0.5);
    }
    return conversion;
}

Pixel XyzToLab(const Pixel& in) {
    if (in[0] == 0 && in[1] == 0 && in[2] == 0) return {0, 0x7E00, 0x7E00};
    const auto f = [](double t) {
        return t > 0.008856 ? std::pow(t, 0.3333333333333333) : 7.787 * t + 0.13793103448275862;
    };
    const double fx = f(in[0] * 2 * kUnit / 0.964294);
    const double fy = f(in[1] * 2 * kUnit);
    const double fz = f(in[2] * 2 * kUnit / 0.825104);
    const double lightness = fy * 116.0 - 16.0;
    const double a = (fx - fy) * 500.0 + 128.0;
    const double b = (fy - fz) * 200.0 + 128.0;
    const auto l = static_cast<uint32_t>(Truncate(lightness * 652.8 + 0.5));
    return {static_cast<uint16_t>(std::min(l, 0xFF00U)), Clamp16(Truncate(a * 256.0 + 0.5)),
            Clamp16(Truncate(b * 256.0 + 0.5))};
}

Pixel LabToXyz(const Pixel& in, double lightness) {
    const double fy = (lightness + 16.0) / 116.0;
    const double fx = (in[1] * 0.00390625 - 128.0) * 0.002 + fy;
    const double fz = fy - (in[2] * 0.00390625 - 128.0) * 0.005;
    const auto word = [](double value) {
        const int32_t fixed = Truncate(value * 65536.0 + 0.5);
        if (fixed >> 1 < 0) return uint16_t{0};
        return fixed >= 131072 ? uint16_t{0xFFFF} : static_cast<uint16_t>(fixed >> 1);
    };
    return {word(fx * fx * fx * 0.964294), word(fy * fy * fy), word(fz * fz * fz * 0.825104)};
}

Pixel ApplyPcs(const PcsConversion& conversion, const Pixel& in) {
    const auto fromLab = [&] {
        const double lightness = in[0] * 100.0 / 65280.0;
        return ScaleXyz(conversion, lightness == 0.0 ? Pixel{} : LabToXyz(in, lightness));
    };
    switch (conversion.function) {
        case PcsFunction::kScaleXyz:
            return ScaleXyz(conversion, in);
        case PcsFunction::kXyzToLab:
            return XyzToLab(ScaleXyz(conversion, in));
        case PcsFunction::kLabToXyz:
            return fromLab();
        case PcsFunction::kLabToLab:
            return XyzToLab(fromLab());
        case PcsFunction::kNone:
            break;
    }
    return {in[0], in[1], in[2]};
}

}  // namespace zv::test::reference
