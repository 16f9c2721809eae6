// The ICC methods: pixels through the runners, and the making of converters.
#include <utility>

#include "Common/Zvtrans/transform.h"
#include "bench/measure.h"
#include "resources/resources.h"
#include "zvclr.h"

namespace zv::bench {
namespace {

ClrProfileMemory OwnProfile(uint32_t id) {
    const ZvModuleResource* entry = zvclrOwnResources;
    while (entry->type != nullptr && entry->id != id) ++entry;
    // The library copies profiles and writes to none.
    return {sizeof(ClrProfileMemory), const_cast<void*>(entry->data), entry->size};
}

struct Sides {
    int32_t from;
    int32_t to;
    uint32_t inputProfile = 0;  ///< 0 for the method with built-in profiles
    uint32_t outputProfile = 0;
};

ClrHandle* Create(const Sides& sides) {
    ClrProfileMemory input = OwnProfile(sides.inputProfile);
    ClrProfileMemory output = OwnProfile(sides.outputProfile);
    ClrParams params{};
    params.size = sizeof params;
    params.methods = params.activeMethod = sides.inputProfile != 0 ? CLRMETHOD_CUSTOM_ICC : CLRMETHOD_ICC;
    params.inputProfileMemory = sides.inputProfile != 0 ? &input : nullptr;
    params.outputProfileMemory = sides.outputProfile != 0 ? &output : nullptr;
    ClrHandle* converter = nullptr;
    return Zv_ClrInit(&converter, sides.from, sides.to, &params) == CLR_SUCCESS ? converter : nullptr;
}

size_t PixelBytes(int32_t space) { return space == CLRSPACE_CMYK ? 4 : 3; }

/// The photograph in the space that the converter starts from.
std::vector<uint8_t> Source(int32_t space) {
    std::vector<uint8_t> rgb = Photograph();
    if (space == CLRSPACE_RGB) return rgb;
    std::vector<uint8_t> pixels(static_cast<size_t>(kPixels) * PixelBytes(space));
    ClrHandle* converter = Create({CLRSPACE_RGB, space});
    if (converter == nullptr ||
        Zv_ClrConvert(converter, rgb.data(), pixels.data(), kWidth, kHeight, 0, 0) != CLR_SUCCESS) {
        pixels.clear();
    }
    Zv_ClrFree(converter);
    return pixels;
}

void Convert(benchmark::State& state, const Sides& sides, ClrHandle* converter) {
    const std::vector<uint8_t> in = Source(sides.from);
    if (converter == nullptr || in.empty()) {
        state.SkipWithError("no converter");
        return;
    }
    std::vector<uint8_t> out(static_cast<size_t>(kPixels) * PixelBytes(sides.to));
    MeasurePixels(state, out, [&] {
        if (Zv_ClrConvert(converter, in.data(), out.data(), kWidth, kHeight, 0, 0) != CLR_SUCCESS) {
            state.SkipWithError("no pixels");
        }
    });
}

void IccPixels(benchmark::State& state, ClrIsa isa, const Sides& sides) {
    const test::UseIsa use(isa);
    ClrHandle* converter = Create(sides);
    Convert(state, sides, converter);
    Zv_ClrFree(converter);
}

/// The loop over single pixels, which serves where a transform has no tables of bytes.
void IccPlain(benchmark::State& state, const Sides& sides) {
    ClrHandle* converter = Create(sides);
    CmmTransform* transform = converter == nullptr      ? nullptr
                              : sides.inputProfile != 0 ? converter->customTransform
                                                        : converter->iccTransform;
    CmmByteTables* tables = transform == nullptr ? nullptr : std::exchange(transform->byteTables, nullptr);
    Convert(state, sides, converter);
    if (transform != nullptr) transform->byteTables = tables;
    Zv_ClrFree(converter);
}

void IccCreate(benchmark::State& state, const Sides& sides) {
    for (auto _ : state) {
        ClrHandle* converter = Create(sides);
        if (converter == nullptr) {
            state.SkipWithError("no converter");
            break;
        }
        Zv_ClrFree(converter);
    }
}

/// A white exchanged on a live converter: what making the transform again costs, without the rest of a creation.
void IccChangeWhite(benchmark::State& state, const Sides& sides) {
    ClrHandle* converter = Create(sides);
    ClrWhitePoint white = {50, 0.0, 0.0};
    ClrParams change{};
    change.size = sizeof change;
    change.methods = CLRPARAM_WHITE_POINT;
    change.whitePoint = &white;
    for (auto _ : state) {
        white.whiteCode = white.whiteCode == 50 ? 65 : 50;
        if (Zv_ClrSetConversionParams(converter, &change) != CLR_SUCCESS) {
            state.SkipWithError("no change");
            break;
        }
    }
    Zv_ClrFree(converter);
}

const bool registered = [] {
    static constexpr struct {
        const char* name;
        Sides sides;
    } kRoutes[] = {
        {"rgb_to_cmyk", {CLRSPACE_RGB, CLRSPACE_CMYK}},
        {"cmyk_to_rgb", {CLRSPACE_CMYK, CLRSPACE_RGB}},
        {"rgb_to_cmy", {CLRSPACE_RGB, CLRSPACE_CMY}},
        {"cmy_to_rgb", {CLRSPACE_CMY, CLRSPACE_RGB}},
        {"rgb_to_lab", {CLRSPACE_RGB, CLRSPACE_LAB}},
        {"lab_to_rgb", {CLRSPACE_LAB, CLRSPACE_RGB}},
        {"custom_rgb_to_rgb", {CLRSPACE_RGB, CLRSPACE_RGB, 105, 105}},
        {"custom_cmyk_to_cmyk", {CLRSPACE_CMYK, CLRSPACE_CMYK, 107, 107}},
    };
    for (const auto& route : kRoutes) {
        const std::string name = route.name;
        AddForEachIsa("IccPixels/" + name, IccPixels, route.sides);
        AddBenchmark("plain/IccPixels/" + name, IccPlain, route.sides);
        AddBenchmark("IccCreate/" + name, IccCreate, route.sides);
        if (route.sides.inputProfile == 0) AddBenchmark("IccChangeWhite/" + name, IccChangeWhite, route.sides);
    }
    return true;
}();

}  // namespace
}  // namespace zv::bench
