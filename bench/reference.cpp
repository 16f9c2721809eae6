#include "bench/reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

#include "resources/resources.h"

namespace zv::bench {

using zvtest::Lab;
using zvtest::Xyz;

namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

// Linear sRGB to XYZ, relative to its own white (IEC 61966-2-1).
constexpr Matrix kToXyzD65 = {
    {{0.412453, 0.357580, 0.180423}, {0.212671, 0.715160, 0.072169}, {0.019334, 0.119193, 0.950227}}};
// The same with the primaries adapted to the white of profiles.
constexpr Matrix kToXyzD50 = {{{0.4361, 0.3851, 0.1431}, {0.2225, 0.7169, 0.0606}, {0.0139, 0.0971, 0.7141}}};

Triple Apply(const Matrix& m, const Triple& v) {
    Triple out{};
    for (size_t i = 0; i < 3; ++i) out[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    return out;
}

Matrix Inverse(const Matrix& m) {
    Matrix out{};
    const auto minor = [&m](size_t row, size_t column) {
        const size_t r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    for (size_t i = 0; i < 3; ++i) {
        for (size_t j = 0; j < 3; ++j) out[i][j] = minor(j, i) / determinant;
    }
    return out;
}

Xyz ToXyz(const Matrix& m, const Triple& rgb) {
    const Triple v =
        Apply(m, {zvtest::SrgbToLinear(rgb[0]), zvtest::SrgbToLinear(rgb[1]), zvtest::SrgbToLinear(rgb[2])});
    return {v[0], v[1], v[2]};
}

Triple ToSrgb(const Matrix& m, const Xyz& xyz) {
    static const Matrix inverses[] = {Inverse(kToXyzD65), Inverse(kToXyzD50)};
    Triple out = Apply(inverses[&m == &kToXyzD50 ? 1 : 0], {xyz.x, xyz.y, xyz.z});
    for (double& value : out) value = zvtest::LinearToSrgb(std::clamp(value, 0.0, 1.0));
    return out;
}

uint32_t BigEndian(const uint8_t* bytes, size_t count) {
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
    return value;
}

const ZvModuleResource& Resource(uint32_t id) {
    for (const ZvModuleResource* entry = zvclrOwnResources; entry->type != nullptr; ++entry) {
        if (entry->id == id) return *entry;
    }
    throw std::runtime_error("the library carries no profile " + std::to_string(id));
}

const uint8_t* FindTag(const ZvModuleResource& profile, const char* tag, size_t bytes) {
    const auto* data = static_cast<const uint8_t*>(profile.data);
    const uint32_t count = BigEndian(data + 128, 4);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* entry = data + 132 + 12 * size_t{i};
        const uint32_t offset = BigEndian(entry + 4, 4);
        if (std::memcmp(entry, tag, 4) == 0 && offset <= profile.size && profile.size - offset >= bytes) {
            return data + offset;
        }
    }
    throw std::runtime_error(std::string("a profile of the library has no ") + tag);
}

double Curve(const std::vector<double>& curve, double value) {
    const double position = std::clamp(value, 0.0, 1.0) * static_cast<double>(curve.size() - 1);
    const auto low = static_cast<size_t>(position);
    const size_t high = std::min(low + 1, curve.size() - 1);
    return curve[low] + (position - static_cast<double>(low)) * (curve[high] - curve[low]);
}

}  // namespace

Xyz SrgbToXyzD65(const Triple& rgb) { return ToXyz(kToXyzD65, rgb); }
Lab SrgbToLabD65(const Triple& rgb) { return XyzToLab(SrgbToXyzD65(rgb), kWhiteD65); }
Triple XyzD65ToSrgb(const Xyz& xyz) { return ToSrgb(kToXyzD65, xyz); }
Triple LabD65ToSrgb(const Lab& lab) { return XyzD65ToSrgb(LabToXyz(lab, kWhiteD65)); }
Lab SrgbToLabD50(const Triple& rgb) { return zvtest::XyzToLab(ToXyz(kToXyzD50, rgb)); }
Triple LabD50ToSrgb(const Lab& lab) { return ToSrgb(kToXyzD50, zvtest::LabToXyz(lab)); }

ProfileTable::ProfileTable(uint32_t profileId, const char* tag) {
    constexpr size_t kHead = 52;
    const ZvModuleResource& profile = Resource(profileId);
    const uint8_t* at = FindTag(profile, tag, kHead);
    if (std::memcmp(at, "mft2", 4) != 0) throw std::runtime_error(std::string(tag) + " is no table of words");
    inputs_ = at[8];
    outputs_ = at[9];
    points_ = at[10];
    const size_t inputEntries = BigEndian(at + 48, 2), outputEntries = BigEndian(at + 50, 2);
    size_t nodes = outputs_;
    for (size_t i = 0; i < inputs_; ++i) nodes *= points_;
    at = FindTag(profile, tag, kHead + 2 * (inputs_ * inputEntries + nodes + outputs_ * outputEntries)) + kHead;
    const auto words = [&at](size_t count) {
        std::vector<double> values(count);
        for (double& value : values) {
            value = BigEndian(at, 2) / 65535.0;
            at += 2;
        }
        return values;
    };
    for (size_t i = 0; i < inputs_; ++i) inputCurves_.push_back(words(inputEntries));
    nodes_ = words(nodes);
    for (size_t i = 0; i < outputs_; ++i) outputCurves_.push_back(words(outputEntries));
}

std::vector<double> ProfileTable::eval(std::vector<double> channels) const {
    for (size_t i = 0; i < inputs_; ++i) channels[i] = Curve(inputCurves_[i], channels[i]);
    std::vector<double> out(outputs_);
    for (size_t o = 0; o < outputs_; ++o) out[o] = Curve(outputCurves_[o], grid(channels, o));
    return out;
}

double ProfileTable::grid(const std::vector<double>& channels, size_t output) const {
    std::array<size_t, 4> low{}, high{};
    std::array<double, 4> fraction{};
    for (size_t i = 0; i < inputs_; ++i) {
        const double position = channels[i] * static_cast<double>(points_ - 1);
        low[i] = static_cast<size_t>(position);
        high[i] = std::min(low[i] + 1, points_ - 1);
        fraction[i] = position - static_cast<double>(low[i]);
    }
    double sum = 0;
    for (size_t corner = 0; corner < size_t{1} << inputs_; ++corner) {
        double weight = 1;
        size_t node = 0;
        for (size_t i = 0; i < inputs_; ++i) {
            const bool upper = (corner >> i & 1) != 0;
            weight *= upper ? fraction[i] : 1 - fraction[i];
            node = node * points_ + (upper ? high[i] : low[i]);
        }
        if (weight != 0) sum += weight * nodes_[node * outputs_ + output];
    }
    return sum;
}

Lab Press::lab(const Quad& inks) const {
    const std::vector<double> out = toLab_.eval({inks.begin(), inks.end()});
    return zvtest::LabFromWords(out[0] * 65535, out[1] * 65535, out[2] * 65535);
}

Quad Press::inks(const Lab& lab) const {
    const std::vector<double> out =
        toInks_.eval({lab.l * 652.8 / 65535, (lab.a + 128) * 256 / 65535, (lab.b + 128) * 256 / 65535});
    return {out[0], out[1], out[2], out[3]};
}

}  // namespace zv::bench
