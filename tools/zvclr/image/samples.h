// Arithmetic on samples that the file formats share.
#ifndef ZVCLR_TOOLS_SAMPLES_H
#define ZVCLR_TOOLS_SAMPLES_H

#include <cstddef>
#include <cstdint>

namespace zvimage {

/// 0..maximum to 0..255, rounded to nearest.
inline uint8_t scaleToByte(uint32_t value, uint32_t maximum) {
    return static_cast<uint8_t>((value * 255U + maximum / 2U) / maximum);
}

/// A sample over a background; alpha 255 is opaque.
inline uint8_t compositeOver(uint8_t value, uint8_t alpha, uint8_t background) {
    return static_cast<uint8_t>((value * alpha + background * (255 - alpha) + 127) / 255);
}

/// The same for a sample that has been multiplied by its alpha already.
inline uint8_t compositePremultiplied(uint8_t value, uint8_t alpha, uint8_t background) {
    const int sum = value + (background * (255 - alpha) + 127) / 255;
    return static_cast<uint8_t>(sum > 255 ? 255 : sum);
}

/// Ink as Adobe's JPEG files hold it, and back: 0 is full ink there, 255 in the library.
inline void invertBytes(uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(255 - bytes[i]);
    }
}

/// YCCK pixels of the library to those of a JPEG file with inverted ink, and back. Chroma is
/// mirrored about its zero at 128, so that 0 has no exact partner and goes to 255.
inline void mirrorYcck(uint8_t* pixels, size_t count) {
    const auto mirror = [](uint8_t chroma) { return static_cast<uint8_t>(chroma == 0 ? 255 : 256 - chroma); };
    for (size_t i = 0; i < count; ++i) {
        uint8_t* pixel = pixels + 4 * i;
        pixel[0] = static_cast<uint8_t>(255 - pixel[0]);
        pixel[1] = mirror(pixel[1]);
        pixel[2] = mirror(pixel[2]);
        pixel[3] = static_cast<uint8_t>(255 - pixel[3]);
    }
}

}  // namespace zvimage

#endif  // ZVCLR_TOOLS_SAMPLES_H
