// The transform engine once more, plain and slow: what each stage gives, and whole transforms of profile bytes. Shares
// no code with the library.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tests/support/profile_builder.h"

namespace zv::test::reference {

/// The words of a pixel; those that no stage wrote are 0.
using Pixel = std::array<uint16_t, 16>;
using Matrix = std::array<double, 9>;
using FixedMatrix = std::array<int32_t, 9>;
using FixedTriple = std::array<int32_t, 3>;

// --- Curves ---------------------------------------------------------------------------------------------------------

uint16_t EvalCurve(const Words& table, uint16_t value);
Words GammaCurve(double gamma);
Words ScaleCurve(const Words& table, int32_t factor);
Words InvertCurve(const Words& table);
Words JoinCurves(const Words& first, const Words& second);
bool IsRamp(const Words& table);

// --- Lookup tables --------------------------------------------------------------------------------------------------

struct Lut {
    bool hasMatrix = false;
    bool hasInputCurves = false;
    bool hasOutputCurves = false;
    bool hasGrid = false;
    FixedMatrix matrix{};
    uint32_t inputs = 0;
    uint32_t outputs = 0;
    uint32_t gridPoints = 0;
    std::vector<Words> inputCurves;
    std::vector<Words> outputCurves;
    Words grid;
};

Pixel EvalLut(const Lut& lut, const Pixel& in);
/// Three words of `in` at `first`; the three-dimensional grid starts at `start`.
Pixel Trilinear(const Lut& lut, size_t start, const Pixel& in, size_t first);
Pixel EvalFourChannels(const Lut& lut, const Pixel& in);

// --- Matrix-shapers -------------------------------------------------------------------------------------------------

enum class ShaperKind { kDeviceToXyz = 4, kXyzToDevice = 8, kDeviceToDevice = 12 };

struct Shaper {
    ShaperKind kind{};
    bool hasMatrix = false;
    bool hasShaper = false;
    FixedMatrix matrix{};
    std::array<Words, 3> curves;
};

/// None for curves of different lengths.
std::optional<Shaper> MakeShaper(const Matrix& matrix, const std::array<Words, 3>& curves, ShaperKind kind);
Shaper MakeGrayShaper(const std::array<Words, 3>& curves, ShaperKind kind);
Pixel EvalShaper(const Shaper& shaper, const Pixel& in);
std::optional<Matrix> Invert(const Matrix& matrix);

// --- Profiles -------------------------------------------------------------------------------------------------------

struct Profile {
    struct Tag {
        uint32_t signature = 0;
        uint32_t offset = 0;
    };
    Bytes bytes;
    uint32_t deviceClass = 0;
    uint32_t colorSpace = 0;
    uint32_t pcs = 0;
    uint32_t intent = 0;
    Triple illuminant{};
    std::vector<Tag> tags;
};

std::optional<Profile> OpenProfile(const Bytes& bytes);
bool HasTag(const Profile& profile, std::string_view signature);
std::optional<Triple> ReadXyz(const Profile& profile, std::string_view signature);
std::optional<Matrix> ReadColorants(const Profile& profile);
std::optional<Words> ReadCurve(const Profile& profile, std::string_view signature);
std::optional<Lut> ReadLut(const Profile& profile, std::string_view signature);

// --- Connections ----------------------------------------------------------------------------------------------------

inline constexpr Triple kConnectionD50{0.964294, 1.0, 0.825104};
Triple WhiteOfCode(int32_t code);
Triple WhiteOfXy(double x, double y);

enum class PcsFunction { kNone, kScaleXyz, kXyzToLab, kLabToXyz, kLabToLab };

struct PcsConversion {
    PcsFunction function = PcsFunction::kNone;
    FixedTriple scale{};
    FixedTriple offset{};
};

/// What a profile brings to a connection.
struct PcsSide {
    int32_t kind = 0;
    Triple black{};
    Triple white{};
    Triple illuminant{};
};

int32_t PcsKindOf(const Profile& profile);
PcsConversion DerivePcs(bool absolute, const PcsSide& in, const PcsSide& out, const Triple& white);
Pixel ApplyPcs(const PcsConversion& conversion, const Pixel& in);
Pixel XyzToLab(const Pixel& in);
Pixel LabToXyz(const Pixel& in, double lightness);

// --- Transforms -----------------------------------------------------------------------------------------------------

enum class Runner { kFull, kGrid, kShaper, kCopy };

struct Transform {
    uint32_t inputFormat = 0;
    uint32_t outputFormat = 0;
    uint32_t outputSpace = 0;
    Runner runner = Runner::kFull;
    std::optional<Lut> inputLut, outputLut, gridLut, gamutLut, previewLut;
    std::optional<Shaper> inputShaper, outputShaper, combinedShaper;
    PcsConversion pcs, pcs2;
};

struct BuildOptions {
    Triple white = kConnectionD50;
    bool patchEndpoints = false;
    bool noGrid = false;
};

/// None where the library has no transform. Without profile bytes: a device link, or with neither a copy.
std::optional<Transform> Build(const std::optional<Bytes>& input, uint32_t inputFormat,
                               const std::optional<Bytes>& output, uint32_t outputFormat,
                               const BuildOptions& options = {});
/// One pixel of words through the transform's runner.
Pixel RunWords(const Transform& transform, const Pixel& in);
/// Interleaved pixels of the input format to such of the output format.
Bytes Run(const Transform& transform, const Bytes& pixels);

}  // namespace zv::test::reference
