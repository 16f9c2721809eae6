// Sends strips of a picture through a colour space and back, and measures what that costs and changes.
#ifndef ZVCLR_EXAMPLES_ROUND_TRIP_H
#define ZVCLR_EXAMPLES_ROUND_TRIP_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zvclr.h"

struct SpaceRow {
    int32_t id;
    const char* name;
    int32_t bits;
};

/// The colour spaces in the order of their ids.
const std::vector<SpaceRow>& spaces();

/// Widths and heights must be multiples of these to go through every space.
constexpr int32_t kWidthMultiple = 8;
constexpr int32_t kHeightMultiple = 4;

/// Converts RGB, or what the file holds, without a converter; throws std::runtime_error with the library's text.
void convert(int32_t from, int32_t to, const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows);

/// Bytes of an image of a space.
size_t imageBytes(int32_t bits, int32_t width, int32_t rows);

/// How pixels go to a space and back.
struct Route {
    const char* name;
    SpaceRow space;
    bool profiles;  ///< by the profiles of the library, not by its formulas
};

/// Every space by the formulas, then those that the library has profiles for.
std::vector<Route> routes();

struct FreeConverter {
    void operator()(ClrHandle* converter) const { Zv_ClrFree(converter); }
};
using Converter = std::unique_ptr<ClrHandle, FreeConverter>;

/// Buffers of one round trip, shared by those that run one after the other.
struct Scratch {
    std::vector<uint8_t> encoded;
    std::vector<uint8_t> decoded;
};

class RoundTrip {
public:
    /// Throws std::runtime_error when the library has no such route.
    explicit RoundTrip(const Route& route);

    /// Takes one RGB strip there and back; scratch.decoded is the result.
    void run(const std::vector<uint8_t>& rgb, int32_t width, int32_t rows, Scratch& scratch);

    const char* name() const { return route_.name; }
    double megapixelsPerSecondTo() const { return pixels_ / secondsTo_ * 1e-6; }
    double megapixelsPerSecondBack() const { return pixels_ / secondsBack_ * 1e-6; }
    double meanDifference() const { return static_cast<double>(sum_) / (pixels_ * 3.0); }
    int maximumDifference() const { return maximum_; }

private:
    void compare(const std::vector<uint8_t>& rgb, const std::vector<uint8_t>& decoded);

    Route route_;
    Converter to_;    ///< null on the way of the formulas, which needs none
    Converter back_;  ///< the same
    double pixels_ = 0.0;
    double secondsTo_ = 0.0;
    double secondsBack_ = 0.0;
    uint64_t sum_ = 0;
    int maximum_ = 0;
};

#endif  // ZVCLR_EXAMPLES_ROUND_TRIP_H
