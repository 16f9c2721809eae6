#include "Common/kernels/lab_records.h"

#include <cmath>

namespace zv {

const LabSetup kLabDecodeSetup = {
    {95.0166015625, 100.0, 108.76499938964844},
    {3.240478992462158, -1.5371500253677368, -0.49853500723838806, -0.9692559838294983, 1.875991940498352,
     0.04155600070953369, 0.05564799904823303, -0.20404300093650818, 1.0573110580444336},
};

const LabSetup kLabEncodeSetup = {
    {95.0166015625, 100.0, 108.76499938964844},
    {0.4124529957771301, 0.3575800061225891, 0.18042300641536713, 0.21267099678516388, 0.7151600122451782,
     0.0721689984202385, 0.01933399960398674, 0.11919300258159637, 0.9502270221710205},
};

const LabSetup kLabChangeSetup = {
    {96.421, 99.997, 82.524},
    {2.830880641937256, -1.0300474166870117, -0.5604600310325623, -1.5802161693572998, 2.7214279174804688,
     0.026361215859651566, 0.2055138498544693, -0.5249314904212952, 1.7662780284881592},
};

namespace {

/// The power in single precision, rounded from double: the C libraries' single powers differ in the last place.
float SinglePower(float base, float exponent) noexcept {
    return static_cast<float>(std::pow(double{base}, double{exponent}));
}

/// ClrRound16 with the product in single precision.
int32_t SingleRound16(float v) noexcept {
    const double scaled = v * 65536.0F;
    return TruncateToInt(scaled + (v < 0 ? -0.5 : 0.5));
}

float Single(int32_t value) noexcept { return static_cast<float>(value); }

constexpr double kUnit = 1.0 / (1 << 24);
/// With 28 bits of fraction: rounded to 20 of them, the cube of all below has 31 bits and not more.
constexpr int64_t kRange = (int64_t{1} << 29) - 128;

bool IsWithin(int64_t value, int64_t range) noexcept { return value > -range && value < range; }

/// Sums of the fixed matrix in single precision.
///
/// In units of 2^-24, X, Y and Z are off by two products, 2 of themselves. The weights are exact; products make it 3,
/// two sums 5, the rounded threshold 6. In units of 2^-28: the line, 0.1285 high for each unit of a root, is off by
/// 16.5 for the root's last eight bits, by 4.1 for half a step of 64, by less than 1 for its constant and difference
/// and by half at the end of the fixed steps; the cube, which they round to 24 bits in the square, by 9. Half is what
/// they round away of each of three products and of the threshold.
bool SetLightSums(LabLightSums& sums, const int32_t (&matrix)[9]) noexcept {
    for (size_t c = 0; c < 3; ++c) {
        double most = 0, all = 0;
        for (size_t k = 0; k < 3; ++k) {
            const int32_t weight = matrix[3 * c + k];
            if (!IsWithin(weight, 1 << 24)) return false;
            sums.weights[c][k] = Single(weight) / (65536.0F * kRecordWhole);
            const double size = std::fabs(weight / 65536.0);
            if (size > most) most = size;
            all += size;
        }
        const double relative = 6.01 * kUnit * most;
        const double absolute = 1.01 * (all * 22.2 * 0x1p-28 + 4 * 0x1p-29);
        sums.relative[c] = static_cast<float>(relative / double{kRecordWhole});
        sums.absolute[c] = static_cast<float>(absolute);
        // From 8 on, the definition's sums of three products may wrap.
        if (all >= 8 || 3 * relative + absolute > kLeastHalfway) return false;
    }
    return true;
}

bool SetLanes(ClrLabDecodeRecord& record) noexcept {
    ClrLabDecodeRecord::Lanes& lanes = record.lanes;
    const auto first = LabLightness(record, 0), last = LabLightness(record, 255);
    lanes.lScale = static_cast<int32_t>(record.lScale);
    lanes.aScale = static_cast<int32_t>(record.aScale);
    lanes.bScale = static_cast<int32_t>(record.bScale);
    const int64_t aConstant = -int64_t{record.aOffset} * lanes.aScale;
    const int64_t bConstant = -int64_t{record.bOffset} * lanes.bScale;
    for (const int32_t scale : {lanes.lScale, lanes.aScale, lanes.bScale}) {
        if (!IsWithin(255 * int64_t{scale}, kRange)) return false;
    }
    if (!IsWithin(aConstant, kRange) || !IsWithin(bConstant, kRange)) return false;
    lanes.aConstant = static_cast<int32_t>(aConstant);
    lanes.bConstant = static_cast<int32_t>(bConstant);

    // Where the single-precision difference loses its last bit, another constant holds.
    lanes.lBelow = first;
    lanes.lAbove = WrapSub(last, WrapMul(255, lanes.lScale));
    lanes.lFrom = 0;
    while (lanes.lFrom < 256 && LabLightness(record, static_cast<uint8_t>(lanes.lFrom)) ==
                                    WrapAdd(first, WrapMul(lanes.lFrom, lanes.lScale))) {
        ++lanes.lFrom;
    }
    for (int32_t l = lanes.lFrom; l < 256; ++l) {
        if (LabLightness(record, static_cast<uint8_t>(l)) != WrapAdd(lanes.lAbove, WrapMul(l, lanes.lScale)))
            return false;
    }
    for (const int64_t l : {int64_t{first}, int64_t{last}}) {
        for (const int64_t byte : {0, 255}) {
            if (!IsWithin(l, kRange) || !IsWithin(l + byte * lanes.aScale + aConstant, kRange) ||
                !IsWithin(l - byte * lanes.bScale - bConstant, kRange)) {
                return false;
            }
        }
    }
    return SetLightSums(lanes.sums, record.fixedMatrix);
}

/// For numbers n + middle; `constant` holds what the definition adds to the product, 16.16. False if it may wrap.
bool SetByteScale(ClrLabEncodeRecord::ByteScale& bytes, int32_t scale, int64_t middle, int64_t constant) noexcept {
    // Numbers go up to 65536: all sums stay below 2^31, bytes before they are cut below 2^15.
    if (!IsWithin(scale, int64_t{1} << 30) || !IsWithin(constant, int64_t{1} << 29)) return false;
    const int32_t high = (scale + 32768) >> 16;
    const int32_t low = scale - high * 65536;
    const int64_t rounded = middle * low + 32768;
    bytes.low[0] = low & 65535;
    bytes.low[1] = low * 65536;
    bytes.high[0] = high & 65535;
    bytes.high[1] = high * 65536;
    bytes.round = static_cast<int32_t>(rounded & 65535);
    bytes.constant = static_cast<int32_t>(middle * high + (rounded >> 16) + constant + 32768);
    return true;
}

/// A bound of a difference, which saturates in 16 bits.
int16_t Bound(int32_t value) noexcept { return static_cast<int16_t>(Clamp(value, -32767, 32766)); }

bool SetLanes(ClrLabEncodeRecord& record) noexcept {
    ClrLabEncodeRecord::Lanes& lanes = record.lanes;
    for (size_t k = 0; k < 3; ++k) {
        int64_t white = 0;
        for (size_t c = 0; c < 3; ++c) {
            int32_t most = 0;
            for (size_t i = 0; i < 256; ++i) {
                const int32_t entry = record.rgbToXyz[3 * k + c][i];
                if (entry < 0) return false;
                if (entry > most) most = entry;
                if (k == 0) lanes.xyz[c][i] = 0;
                lanes.xyz[c][i] += static_cast<uint64_t>(entry) << (k * kLabSumBits);
            }
            white += most;
        }
        if (white >= kLabSums) return false;
    }
    lanes.aMin = Bound(record.aMin);
    lanes.aMax = Bound(record.aMax);
    lanes.bMin = Bound(record.bMin);
    lanes.bMax = Bound(record.bMax);
    return SetByteScale(lanes.bytes[0], record.lScale, kLabRootMiddle, record.lBias) &&
           SetByteScale(lanes.bytes[1], record.aScale, 0, int64_t{record.aOffset} * 65536) &&
           SetByteScale(lanes.bytes[2], record.bScale, 0, int64_t{record.bOffset} * 65536);
}

}  // namespace

void ClrBuildLabRoots(uint16_t (&cubeRoot)[4096]) noexcept {
    for (int32_t i = 0; i < 4096; ++i) {
        const float t = Single(i * 16) * 1.52587890625e-5F;
        const float v = t > 0.008856F ? SinglePower(t, 0.33333334F) : t * 7.7867F + 0.13793103F;
        cubeRoot[i] = static_cast<uint16_t>(TruncateToInt(double{v * 65536.0F} + 0.5));
    }
}

void FillLabPowers(LabPowers& powers) noexcept {
    constexpr double kPower = kLabGammaPercent / 100.0;
    for (size_t i = 0; i < 32; ++i) {
        // The exponents from -31 to 0 are stored as 96 to 127.
        powers.octaves[i] = static_cast<float>(255 * std::pow(2.0, kPower * (static_cast<double>(i) - 31)));
    }
    for (size_t i = 0; i < 16; ++i) {
        constexpr double kHalf = 1.0 / 32;
        const double b = 1 + (2 * static_cast<double>(i) + 1) * kHalf;
        const double a = b - kHalf * std::sqrt(0.75), c = b + kHalf * std::sqrt(0.75);
        const auto power = [](double x) { return std::pow(x, kPower); };
        const double ab = (power(b) - power(a)) / (b - a), bc = (power(c) - power(b)) / (c - b);
        const double abc = (bc - ab) / (c - a);
        powers.mantissas[0][i] = static_cast<float>(power(a) - ab * a + abc * a * b);
        powers.mantissas[1][i] = static_cast<float>(ab - abc * (a + b));
        powers.mantissas[2][i] = static_cast<float>(abc);
    }
}

void ClrBuildLabDecode(ClrLabDecodeRecord* record, int32_t gammaPercent) noexcept {
    record->lBase = static_cast<float>(ClrRound16(record->lOffset - 4080.0 / record->lRange));
    record->lScale = ClrRound16(record->lRange / 29580.0 * 4096.0);
    record->aScale = ClrRound16(record->aRange / 127500.0 * 4096.0);
    record->bScale = ClrRound16(record->bRange / 51000.0 * 4096.0);

    const double* m = record->matrix;
    const double x = record->whiteX, y = record->whiteY, z = record->whiteZ;
    for (size_t row = 0; row < 9; row += 3) {
        record->fixedMatrix[row] = ClrRound16(x * m[row] / y);
        record->fixedMatrix[row + 1] = ClrRound16(m[row + 1]);
        record->fixedMatrix[row + 2] = ClrRound16(z * m[row + 2] / y);
    }
    for (int32_t i = 0; i < 255; ++i) {
        record->gammaThresholds[i] =
            TruncateToInt(std::pow((i + 0.5) / 255.0, 1.0 / (gammaPercent / 100.0)) * 268435456.0 + 0.5);
    }
    record->lanes.usable = gammaPercent == kLabGammaPercent && SetLanes(*record);
}

void ClrBuildLabEncode(ClrLabEncodeRecord* record, int32_t gammaPercent) noexcept {
    record->lanes.usable = false;
    const auto yx = static_cast<float>(record->whiteY / record->whiteX);
    const auto yz = static_cast<float>(record->whiteY / record->whiteZ);
    const float exponent = 1.0F / static_cast<float>(gammaPercent / 100.0);
    const float lS = 29580.0F / Single(record->lRange);
    const float aS = 127500.0F / Single(record->aRange);
    const float bS = 51000.0F / Single(record->bRange);

    record->aMin = SingleRound16(-Single(record->aOffset) / aS);
    record->aMax = SingleRound16((255.0F - Single(record->aOffset)) / aS);
    record->bMin = SingleRound16(-Single(record->bOffset) / bS);
    record->bMax = SingleRound16((255.0F - Single(record->bOffset)) / bS);
    if (record->aMin >= 0 || record->aMax < 1 || record->bMin >= 0 || record->bMax < 1) return;

    record->lScale = SingleRound16(lS);
    record->aScale = SingleRound16(aS);
    record->bScale = SingleRound16(bS);
    record->lBias = SingleRound16(Single(record->lOffset) - 4080.0F / Single(record->lRange));

    for (int32_t i = 0; i < 256; ++i) {
        const double p = SinglePower(Single(i) / 255.0F, exponent);
        for (size_t k = 0; k < 9; ++k) {
            double entry = p * record->matrix[k];
            if (k < 3) entry *= double{yx};
            if (k >= 6) entry *= double{yz};
            record->rgbToXyz[k][i] = ClrRound16(entry);
        }
    }
    ClrBuildLabRoots(record->cubeRoot);
    record->lanes.usable = SetLanes(*record);
}

}  // namespace zv
