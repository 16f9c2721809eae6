// Doubles and fixed-point words.
#include <cstdint>

#include "zvicc.h"

namespace {

/// From here on numbers have no integer part, and so no fraction.
constexpr double kBeyondIntegers = 2147483648.0;

/// Toward zero; numbers that do not fit become the nearest that does, and what is none becomes 0.
int32_t Truncate(double value) noexcept {
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return value == value ? static_cast<int32_t>(value) : 0;
}

/// Appends up to `digits` hexadecimal digits of the fraction to the integer part. A fraction that runs out early is not
/// moved up to its place, and a last digit that rounds up to 16 becomes 0 without a carry: files that are out there
/// hold such words.
uint32_t AppendFraction(uint32_t integer, double fraction, int digits) noexcept {
    uint32_t word = integer;
    for (int i = 1; i <= digits && fraction > 0; ++i) {
        fraction *= 16;
        // More than a digit for numbers whose integer part has lost its upper bits.
        const auto digit = static_cast<int64_t>(i == digits ? fraction + 0.5 : fraction);
        fraction -= static_cast<double>(digit);
        word = word << 4 | (static_cast<uint32_t>(digit) & 15);
    }
    return word;
}

}  // namespace

uint32_t Zv_DoubleTo2bFixed2bNumber(double value) {
    const int32_t integer = Truncate(value);
    const double fraction = value - integer;
    const auto word = static_cast<uint32_t>(integer);
    return fraction > 0 && value < kBeyondIntegers ? AppendFraction(word, fraction, 4) : word << 16;
}

double Zv_2bFixed2bNumberToDouble(uint32_t word) {
    double value = word >> 16;
    value += (word >> 12 & 15) / 16.0;
    value += (word >> 8 & 15) / 256.0;
    value += (word >> 4 & 15) / 4096.0;
    value += (word & 15) / 65536.0;
    return value;
}

uint16_t Zv_DoubleToU8Fixed8Number(double value) {
    // The integer part has 16 bits, so that numbers from 32768 on have a fraction above 1.
    const auto integer = static_cast<int16_t>(Truncate(value));
    const double fraction = value - integer;
    const auto word = static_cast<uint32_t>(static_cast<uint16_t>(integer));
    const bool hasFraction = fraction > 0 && value < kBeyondIntegers;
    return static_cast<uint16_t>(hasFraction ? AppendFraction(word, fraction, 2) : word << 8);
}

double Zv_U8Fixed8NumberToDouble(uint16_t word) {
    double value = word >> 8 & 255;
    value += (word >> 4 & 15) / 16.0;
    value += (word & 15) / 256.0;
    return value;
}
