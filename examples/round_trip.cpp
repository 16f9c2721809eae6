#include "round_trip.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "zverror.h"
#include "zvspaces.h"

namespace {

using Clock = std::chrono::steady_clock;

// Short strips are converted again and the best time counts: one run is mostly noise there.
constexpr double kEnoughSeconds = 0.02;
constexpr int kMostRuns = 7;

template <typename Work>
double bestSeconds(Work work) {
    double best = 0.0, total = 0.0;
    for (int run = 0; run < kMostRuns && total < kEnoughSeconds; ++run) {
        const auto start = Clock::now();
        work();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = run == 0 ? seconds : std::min(best, seconds);
        total += seconds;
    }
    return best;
}

const SpaceRow& rowOf(int32_t id) {
    return *std::find_if(spaces().begin(), spaces().end(), [id](const SpaceRow& space) { return space.id == id; });
}

void check(int32_t result, int32_t from, int32_t to) {
    if (result != CLR_SUCCESS) {
        throw std::runtime_error(std::string("converting ") + rowOf(from).name + " to " + rowOf(to).name +
                                 " failed: " + ZvErrorName(result) + ": " + ZvErrorMeaning(result));
    }
}

Converter profileConverter(int32_t from, int32_t to) {
    ClrParams params = {};
    params.size = sizeof params;
    params.methods = CLRMETHOD_ICC;
    params.activeMethod = CLRMETHOD_ICC;
    ClrHandle* handle = nullptr;
    check(Zv_ClrInit(&handle, from, to, &params), from, to);
    return Converter(handle);
}

void runStep(const Converter& converter, int32_t from, int32_t to, const uint8_t* source, uint8_t* destination,
             int32_t width, int32_t rows) {
    if (converter) {
        check(Zv_ClrConvert(converter.get(), source, destination, width, rows, 0, 0), from, to);
    } else {
        convert(from, to, source, destination, width, rows);
    }
}

}  // namespace

const std::vector<SpaceRow>& spaces() {
    static const std::vector<SpaceRow> rows = {
#define SPACE_ROW(id, name, bits, widthMultiple, heightMultiple, bytes, description) SpaceRow{id, name, bits},
        ZVCLR_SPACES(SPACE_ROW)
#undef SPACE_ROW
    };
    return rows;
}

#define CHECK_MULTIPLES(id, name, bits, widthMultiple, heightMultiple, bytes, description)                             \
    static_assert(kWidthMultiple % (widthMultiple) == 0, "the crop must suit every space");                            \
    static_assert(kHeightMultiple % (heightMultiple) == 0, "the crop must suit every space");
ZVCLR_SPACES(CHECK_MULTIPLES)
#undef CHECK_MULTIPLES

size_t imageBytes(int32_t bits, int32_t width, int32_t rows) {
    return (static_cast<size_t>(bits) * static_cast<size_t>(width) + 7) / 8 * static_cast<size_t>(rows);
}

void convert(int32_t from, int32_t to, const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) {
    check(Zv_ClrConvertDirect(from, to, source, destination, width, rows, 0, 0), from, to);
}

std::vector<Route> routes() {
    std::vector<Route> all;
    for (const SpaceRow& space : spaces()) all.push_back({space.name, space, false});
    all.push_back({"icc-cmyk", rowOf(CLRSPACE_CMYK), true});
    all.push_back({"icc-cmy", rowOf(CLRSPACE_CMY), true});
    all.push_back({"icc-lab", rowOf(CLRSPACE_LAB), true});
    return all;
}

RoundTrip::RoundTrip(const Route& route) : route_(route) {
    if (!route.profiles) return;
    to_ = profileConverter(CLRSPACE_RGB, route.space.id);
    back_ = profileConverter(route.space.id, CLRSPACE_RGB);
}

void RoundTrip::run(const std::vector<uint8_t>& rgb, int32_t width, int32_t rows, Scratch& scratch) {
    scratch.encoded.resize(imageBytes(route_.space.bits, width, rows));
    scratch.decoded.resize(imageBytes(24, width, rows));
    uint8_t* encoded = scratch.encoded.data();
    uint8_t* decoded = scratch.decoded.data();
    // Red comes first on both ways: YCCK takes the hub's bytes as they stand.
    const int32_t space = route_.space.id;
    secondsTo_ += bestSeconds([&] { runStep(to_, CLRSPACE_RGB, space, rgb.data(), encoded, width, rows); });
    secondsBack_ += bestSeconds([&] { runStep(back_, space, CLRSPACE_RGB, encoded, decoded, width, rows); });
    pixels_ += static_cast<double>(width) * rows;
    compare(rgb, scratch.decoded);
}

void RoundTrip::compare(const std::vector<uint8_t>& rgb, const std::vector<uint8_t>& decoded) {
    for (size_t i = 0; i < decoded.size(); ++i) {
        const int difference = std::abs(static_cast<int>(rgb[i]) - static_cast<int>(decoded[i]));
        sum_ += static_cast<unsigned>(difference);
        maximum_ = std::max(maximum_, difference);
    }
}
