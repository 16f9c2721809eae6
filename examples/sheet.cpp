#include "sheet.h"

#include <algorithm>

namespace {

// Glyphs of 5 x 8: one byte for each row, the leftmost pixel in bit 4; the last row is for descenders.
struct Glyph {
    char character;
    std::array<uint8_t, 8> rows;
};

constexpr Glyph kGlyphs[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14, 0}}, {'1', {4, 12, 4, 4, 4, 4, 14, 0}},
    {'2', {14, 17, 1, 6, 8, 16, 31, 0}},    {'3', {14, 17, 1, 6, 1, 17, 14, 0}},
    {'4', {2, 6, 10, 18, 31, 2, 2, 0}},     {'5', {31, 16, 30, 1, 1, 17, 14, 0}},
    {'6', {14, 16, 30, 17, 17, 17, 14, 0}}, {'7', {31, 1, 2, 4, 4, 8, 8, 0}},
    {'8', {14, 17, 17, 14, 17, 17, 14, 0}}, {'9', {14, 17, 17, 15, 1, 1, 14, 0}},
    {'a', {0, 0, 14, 1, 15, 17, 15, 0}},    {'b', {16, 16, 30, 17, 17, 17, 30, 0}},
    {'c', {0, 0, 14, 16, 16, 17, 14, 0}},   {'d', {1, 1, 15, 17, 17, 17, 15, 0}},
    {'e', {0, 0, 14, 17, 31, 16, 14, 0}},   {'f', {6, 9, 8, 28, 8, 8, 8, 0}},
    {'g', {0, 0, 15, 17, 17, 15, 1, 14}},   {'h', {16, 16, 30, 17, 17, 17, 17, 0}},
    {'i', {4, 0, 12, 4, 4, 4, 14, 0}},      {'j', {2, 0, 6, 2, 2, 2, 18, 12}},
    {'k', {16, 16, 18, 20, 24, 20, 18, 0}}, {'l', {12, 4, 4, 4, 4, 4, 14, 0}},
    {'m', {0, 0, 26, 21, 21, 21, 21, 0}},   {'n', {0, 0, 30, 17, 17, 17, 17, 0}},
    {'o', {0, 0, 14, 17, 17, 17, 14, 0}},   {'p', {0, 0, 30, 17, 17, 30, 16, 16}},
    {'q', {0, 0, 15, 17, 17, 15, 1, 1}},    {'r', {0, 0, 22, 25, 16, 16, 16, 0}},
    {'s', {0, 0, 15, 16, 14, 1, 30, 0}},    {'t', {8, 8, 28, 8, 8, 9, 6, 0}},
    {'u', {0, 0, 17, 17, 17, 17, 15, 0}},   {'v', {0, 0, 17, 17, 17, 10, 4, 0}},
    {'w', {0, 0, 17, 17, 21, 21, 10, 0}},   {'x', {0, 0, 17, 10, 4, 10, 17, 0}},
    {'y', {0, 0, 17, 17, 17, 15, 1, 14}},   {'z', {0, 0, 31, 2, 4, 8, 31, 0}},
    {'.', {0, 0, 0, 0, 0, 12, 12, 0}},      {',', {0, 0, 0, 0, 0, 12, 4, 8}},
    {':', {0, 12, 12, 0, 12, 12, 0, 0}},    {'-', {0, 0, 0, 31, 0, 0, 0, 0}},
    {'/', {1, 1, 2, 4, 8, 16, 16, 0}},
};

const Glyph* glyphOf(char character) {
    const auto* found = std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                                     [character](const Glyph& glyph) { return glyph.character == character; });
    return found == std::end(kGlyphs) ? nullptr : found;
}

int32_t scaled(int32_t position, int32_t to, int32_t from) {
    return static_cast<int32_t>(int64_t{position} * to / from);
}

}  // namespace

Thumbnail::Thumbnail(int32_t pictureWidth, int32_t pictureHeight, int32_t boxWidth, int32_t boxHeight)
    : pictureWidth_(pictureWidth), pictureHeight_(pictureHeight), width_(pictureWidth), height_(pictureHeight) {
    if (width_ > boxWidth) {
        width_ = boxWidth;
        height_ = std::max(1, scaled(pictureHeight, boxWidth, pictureWidth));
    }
    if (height_ > boxHeight) {
        height_ = boxHeight;
        width_ = std::max(1, std::min(boxWidth, scaled(pictureWidth, boxHeight, pictureHeight)));
    }
    for (int32_t x = 0; x < pictureWidth; ++x) columnOf_.push_back(scaled(x, width_, pictureWidth));
    const size_t count = static_cast<size_t>(width_) * static_cast<size_t>(height_);
    sums_.resize(count * 3);
    counts_.resize(count);
}

void Thumbnail::addRows(const uint8_t* rgb, int32_t rows) {
    for (int32_t row = 0; row < rows; ++row, ++nextRow_) {
        const size_t line = static_cast<size_t>(scaled(nextRow_, height_, pictureHeight_));
        for (int32_t x = 0; x < pictureWidth_; ++x, rgb += 3) {
            const size_t index =
                line * static_cast<size_t>(width_) + static_cast<size_t>(columnOf_[static_cast<size_t>(x)]);
            for (size_t channel = 0; channel < 3; ++channel) sums_[index * 3 + channel] += rgb[channel];
            ++counts_[index];
        }
    }
}

Colour Thumbnail::pixel(int32_t x, int32_t y) const {
    const size_t index = static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
    Colour colour{};
    for (size_t channel = 0; channel < 3; ++channel) {
        colour[channel] = static_cast<uint8_t>((sums_[index * 3 + channel] + counts_[index] / 2) / counts_[index]);
    }
    return colour;
}

Sheet::Sheet(int32_t width, int32_t height, Colour background)
    : width_(width), height_(height), pixels_(static_cast<size_t>(width) * static_cast<size_t>(height) * 3) {
    fill(0, 0, width, height, background);
}

void Sheet::set(int32_t x, int32_t y, Colour colour) {
    if (x < 0 || x >= width_ || y < 0 || y >= height_) return;
    const size_t index = (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 3;
    std::copy(colour.begin(), colour.end(), pixels_.begin() + static_cast<ptrdiff_t>(index));
}

void Sheet::fill(int32_t left, int32_t top, int32_t width, int32_t height, Colour colour) {
    for (int32_t y = top; y < top + height; ++y) {
        for (int32_t x = left; x < left + width; ++x) set(x, y, colour);
    }
}

void Sheet::draw(const Thumbnail& thumbnail, int32_t left, int32_t top) {
    for (int32_t y = 0; y < thumbnail.height(); ++y) {
        for (int32_t x = 0; x < thumbnail.width(); ++x) set(left + x, top + y, thumbnail.pixel(x, y));
    }
}

void Sheet::write(int32_t left, int32_t top, std::string_view text, int32_t scale, Colour colour) {
    for (const char character : text) {
        if (const Glyph* glyph = glyphOf(character)) {
            for (int32_t row = 0; row < 8; ++row) {
                for (int32_t column = 0; column < 5; ++column) {
                    if (glyph->rows[static_cast<size_t>(row)] & (16 >> column))
                        fill(left + column * scale, top + row * scale, scale, scale, colour);
                }
            }
        }
        left += 6 * scale;
    }
}
