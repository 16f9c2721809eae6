// Weighted sums of a pixel's bytes, in single precision where the definition has them in double.
//
// The weights come from the definition itself, which is taken apart at compile time. Cheap as they are, estimates
// decide nothing that is close: each sum is formed a margin too low and a margin too high, and where the two are cut to
// different bytes the pixel is done again by the definition.
#pragma once

#include <array>
#include <cstdint>

#include "Common/kernels/planes.h"

namespace zv::inline ZV_ISA {

struct LinearSum {
    std::array<float, 3> weights;
    float lowConstant;  ///< the definition's, less the margin
    float window;       ///< twice the margin

    /// The least that the definition's sum can be.
    Floats Low(Floats a, Floats b, Floats c) const noexcept {
        Floats sum = a * weights[0];
        if (weights[1] != 0) sum += b * weights[1];
        if (weights[2] != 0) sum += c * weights[2];
        return sum + lowConstant;
    }
};

constexpr double Magnitude(double value) noexcept { return value < 0 ? -value : value; }

/// The sum `definition(a, b, c)[channel]` of numbers up to `most`, whose constant and weights are what it gives for
/// zeros and ones.
///
/// With u = 2^-24, the weights are off by a part of u, each of three products by u, each of three additions and the
/// constant by u of what is summed, whose magnitude never passes M = most * sum |weight| + |constant|: 6 u M together.
/// Forming the constant with the margin and adding the window cost another 2 u M. The definition's own roundings are
/// smaller by 2^-29.
template <class Definition>
constexpr LinearSum LinearSumOf(const Definition& definition, size_t channel, double most) noexcept {
    const double constant = definition(0, 0, 0)[channel];
    const double weights[3] = {definition(1, 0, 0)[channel] - constant, definition(0, 1, 0)[channel] - constant,
                               definition(0, 0, 1)[channel] - constant};
    double magnitude = Magnitude(constant);
    for (const double weight : weights) magnitude += most * Magnitude(weight);
    const double margin = 9 * magnitude / (1 << 24);
    return {{static_cast<float>(weights[0]), static_cast<float>(weights[1]), static_cast<float>(weights[2])},
            static_cast<float>(constant - margin),
            static_cast<float>(2 * margin)};
}

template <class Definition>
constexpr std::array<LinearSum, 3> LinearSumsOf(const Definition& definition, double most) noexcept {
    return {LinearSumOf(definition, 0, most), LinearSumOf(definition, 1, most), LinearSumOf(definition, 2, most)};
}

/// A sum cut to an integer, from its least and from its greatest value.
struct Bracket {
    Ints low;
    Ints high;

    Bracket(const LinearSum& sum, Floats a, Floats b, Floats c) noexcept {
        const Floats least = sum.Low(a, b, c);
        low = Truncate(least);
        high = Truncate(least + sum.window);
    }
    Ints Differences() const noexcept { return low ^ high; }
};

}  // namespace zv::inline ZV_ISA
