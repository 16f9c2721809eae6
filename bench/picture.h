// What the benchmarks convert: a picture with the smoothness and noise of a photograph, at a video's size.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace zv::bench {

inline constexpr int32_t kWidth = 1920;
inline constexpr int32_t kHeight = 1080;

inline std::vector<uint8_t> MakePhotograph() {
    std::vector<uint8_t> bytes(size_t{kWidth} * kHeight * 3);
    uint32_t noise = 1;
    size_t at = 0;
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
            const double u = x / double{kWidth}, v = y / double{kHeight};
            const double light = 0.55 + 0.35 * std::sin(5 * u + 3 * v) * std::cos(4 * v - u);
            const double tint[3] = {0.25 * std::sin(9 * u), 0.2 * std::sin(7 * v + 1), 0.25 * std::cos(6 * u + 5 * v)};
            for (const double t : tint) {
                noise = noise * 1664525U + 1013904223U;
                const double value = 255 * (light + t) + static_cast<double>(noise >> 29) - 4;
                bytes[at++] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
            }
        }
    }
    return bytes;
}

inline const std::vector<uint8_t>& Photograph() {
    static const std::vector<uint8_t> photograph = MakePhotograph();
    return photograph;
}

/// The same without its colours.
inline std::vector<uint8_t> GreyPhotograph() {
    std::vector<uint8_t> bytes = Photograph();
    for (size_t at = 0; at < bytes.size(); at += 3) bytes[at] = bytes[at + 2] = bytes[at + 1];
    return bytes;
}

}  // namespace zv::bench
