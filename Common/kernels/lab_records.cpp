#include "Common/kernels/lab_records.h"

#include <algorithm>
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

}  // namespace

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
}

void ClrBuildLabEncode(ClrLabEncodeRecord* record, int32_t gammaPercent) noexcept {
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
    for (int32_t i = 0; i < 4096; ++i) {
        const float t = Single(i * 16) * 1.52587890625e-5F;
        const float v = t > 0.008856F ? SinglePower(t, 0.33333334F) : t * 7.7867F + 0.13793103F;
        record->cubeRoot[i] = static_cast<uint16_t>(TruncateToInt(double{v * 65536.0F} + 0.5));
    }
}

Pixel<3> LabFromRgb(const ClrLabEncodeRecord& record, Rgb pixel) noexcept {
    const auto sum = [&](size_t first) {
        return WrapAdd(WrapAdd(record.rgbToXyz[first][pixel.r], record.rgbToXyz[first + 1][pixel.g]),
                       record.rgbToXyz[first + 2][pixel.b]);
    };
    const auto f = [&](int32_t v) {
        if (v >= 65536) return 65536;
        v = std::max(v, 0);
        const auto i = static_cast<size_t>(v >> 4);
        const int32_t lo = record.cubeRoot[i];
        const int32_t hi = record.cubeRoot[std::min<size_t>(i + 1, 4095)];
        return lo + (((hi - lo) * (v & 15) + 8) >> 4);
    };
    // What share of a difference the encoding can hold. A difference too small to divide by is held whole.
    const auto share = [](int32_t value, int32_t low, int32_t high) {
        if (value >= low && value <= high) return 65536;
        const int32_t limit = value < low ? low : high;
        const int32_t divisor = value >> 2;
        if (divisor == 0) return 65536;
        return static_cast<int32_t>(int64_t{WrapMul(limit, 16384)} / divisor);
    };
    // The two halves of a product of 16 fractional bits, rounded and offset.
    const auto encode = [](int32_t value, int32_t scale, int32_t bias, int32_t offset) {
        return ByteOf(WrapAdd(WrapAdd(WrapAdd(ClrFixMul(value, scale), bias), 32768) >> 16, offset));
    };

    const int32_t fx = f(sum(0)), fy = f(sum(3)), fz = f(sum(6));
    int32_t a = fx - fy;
    int32_t b = fy - fz;
    const int32_t sA = share(a, record.aMin, record.aMax);
    const int32_t sB = share(b, record.bMin, record.bMax);
    if (sA != 65536 || sB != 65536) {
        // One channel's overrun pulls the other along, twice as strongly in one direction as in the other.
        a = ClrFixMul(a, std::min(sA, WrapSub(WrapMul(sB, 2), 65536)));
        b = ClrFixMul(b, std::min(sB, WrapAdd(sA, 65536) >> 1));
    }
    return {encode(fy, record.lScale, record.lBias, 0), encode(a, record.aScale, 0, record.aOffset),
            encode(b, record.bScale, 0, record.bOffset)};
}

Rgb LabToRgb(const ClrLabDecodeRecord& record, Pixel<3> pixel) noexcept {
    // 28 fractional bits; 268435456 is 1.0.
    const auto inverse = [](int32_t f) {
        int32_t value = 0;
        if (f > 55536611) {
            const int32_t t = WrapAdd(f, 128) >> 8;
            value = ClrFixMul(ClrFixMul(t, t), t);
        } else {
            value = ClrFixMul(WrapSub(f, 37025548) >> 6, 538650);
        }
        return Clamp(value, 0, 268435456);
    };
    const auto byte = [&](int32_t value) {
        const int32_t* thresholds = record.gammaThresholds;
        int32_t at = value < thresholds[127] ? 63 : 191;
        for (int32_t step = 32; step > 0; step >>= 1) at += value < thresholds[at] ? -step : step;
        return LowByte(value < thresholds[at] ? at : at + 1);
    };
    const auto row = [&](size_t first, int32_t x, int32_t y, int32_t z) {
        const int32_t* m = record.fixedMatrix + first;
        return WrapAdd(WrapAdd(ClrFixMul(m[0], x), ClrFixMul(m[1], y)), ClrFixMul(m[2], z));
    };

    const float base = static_cast<float>(pixel[0] * 65536) - record.lBase;
    const int32_t fy = ClrFixMul(TruncateToInt(double{base}), static_cast<int32_t>(record.lScale));
    const int32_t fx = WrapAdd(fy, WrapMul(WrapSub(pixel[1], record.aOffset), static_cast<int32_t>(record.aScale)));
    const int32_t fz = WrapSub(fy, WrapMul(WrapSub(pixel[2], record.bOffset), static_cast<int32_t>(record.bScale)));
    const int32_t x = inverse(fx), y = inverse(fy), z = inverse(fz);
    return {byte(row(0, x, y, z)), byte(row(3, x, y, z)), byte(row(6, x, y, z))};
}

}  // namespace zv
