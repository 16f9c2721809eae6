// Drawing for the contact sheet: thumbnails by box filter, and text.
#ifndef ZVCLR_EXAMPLES_SHEET_H
#define ZVCLR_EXAMPLES_SHEET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

using Colour = std::array<uint8_t, 3>;

/// A small copy of a picture that arrives in strips. Each pixel is the mean of those that fall on it.
class Thumbnail {
public:
    /// The thumbnail fits the box and is never larger than the picture.
    Thumbnail(int32_t pictureWidth, int32_t pictureHeight, int32_t boxWidth, int32_t boxHeight);

    void addRows(const uint8_t* rgb, int32_t rows);

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    Colour pixel(int32_t x, int32_t y) const;

private:
    int32_t pictureWidth_, pictureHeight_, width_, height_;
    int32_t nextRow_ = 0;
    std::vector<int32_t> columnOf_;
    std::vector<uint64_t> sums_;
    std::vector<uint64_t> counts_;
};

class Sheet {
public:
    Sheet(int32_t width, int32_t height, Colour background);

    void fill(int32_t left, int32_t top, int32_t width, int32_t height, Colour colour);
    void draw(const Thumbnail& thumbnail, int32_t left, int32_t top);
    /// Lower-case letters, digits and a few signs, 6 x 8 pixels each times the scale.
    void write(int32_t left, int32_t top, std::string_view text, int32_t scale, Colour colour);

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    const uint8_t* pixels() const { return pixels_.data(); }

private:
    void set(int32_t x, int32_t y, Colour colour);

    int32_t width_, height_;
    std::vector<uint8_t> pixels_;
};

#endif  // ZVCLR_EXAMPLES_SHEET_H
