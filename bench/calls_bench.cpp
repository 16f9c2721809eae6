// What a call costs beside its pixels: 64 of them in one row, and the making of a converter.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "Common/kernels/kernels.h"
#include "bench/picture.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace zv::bench {
namespace {

constexpr int32_t kRowPixels = 64;

/// What a call converts. A space whose blocks are four rows high has no single row.
struct Shape {
    int32_t width;
    int32_t height;
};
Shape ShapeOf(int32_t space) {
#define ZV_SHAPE(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                    \
    if (space == (id)) return {kRowPixels / (heightMultiple), heightMultiple};
    ZVCLR_SPACES(ZV_SHAPE)
#undef ZV_SHAPE
    return {kRowPixels, 1};
}

constexpr size_t kRowBytes = size_t{4} * kRowPixels;

/// From the middle of the photograph, in a space.
std::array<uint8_t, kRowBytes> PartOfPhotograph(int32_t space, Shape shape) {
    const std::vector<uint8_t>& photograph = Photograph();
    std::array<uint8_t, kRowBytes> hub{}, pixels{};
    for (int32_t y = 0; y < shape.height; ++y) {
        const ptrdiff_t first = ptrdiff_t{3} * ((kHeight / 2 + y) * kWidth + kWidth / 2);
        std::copy_n(photograph.begin() + first, 3 * shape.width, hub.begin() + ptrdiff_t{3} * shape.width * y);
    }
    if (space == CLRSPACE_RGB) return hub;
    Zv_ClrConvertDirect(CLRSPACE_RGB, space, hub.data(), pixels.data(), shape.width, shape.height, 0, 0);
    return pixels;
}

/// 64 pixels through a converter while so many others live.
void OneRow(benchmark::State& state, int32_t from, int32_t to, uint32_t method) {
    std::vector<ClrHandle*> others(static_cast<size_t>(state.range(0)));
    for (ClrHandle*& other : others) Zv_ClrInit(&other, CLRSPACE_RGB, CLRSPACE_YUV, nullptr);
    ClrParams params{};
    params.size = sizeof params;
    params.methods = params.activeMethod = params.emulationMethod = method;
    ClrHandle* converter = nullptr;
    if (Zv_ClrInit(&converter, from, to, &params) == CLR_SUCCESS) {
        const Shape shape = ShapeOf(from == CLRSPACE_RGB ? to : from);
        const std::array<uint8_t, kRowBytes> in = PartOfPhotograph(from, shape);
        std::array<uint8_t, kRowBytes> out{};
        for (auto _ : state) {
            benchmark::DoNotOptimize(Zv_ClrConvert(converter, in.data(), out.data(), shape.width, shape.height, 0, 0));
            benchmark::ClobberMemory();
        }
    } else {
        state.SkipWithError("no converter");
    }
    Zv_ClrFree(converter);
    for (ClrHandle* other : others) Zv_ClrFree(other);
}

void OneRowDirect(benchmark::State& state) {
    std::array<uint8_t, kRowPixels * 3> in{}, out{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_YUV, in.data(), out.data(), kRowPixels, 1, 0, 0));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(OneRowDirect);

const bool registered = [] {
    const auto add = [](const std::string& name, int32_t from, int32_t to, uint32_t method) {
        benchmark::RegisterBenchmark(("OneRow/" + name).c_str(), OneRow, from, to, method)->Arg(0)->Arg(10000);
    };
    add("copy", CLRSPACE_RGB, CLRSPACE_RGB, CLRMETHOD_BUILTIN);
    add("ClrHubSwap", CLRSPACE_RGB, CLRSPACE_BGR, CLRMETHOD_BUILTIN);
    for (const ClrKernelPair& pair : kKernelPairs) {
        add(pair.fromHubName, CLRSPACE_RGB, pair.space, CLRMETHOD_BUILTIN);
        add(pair.toHubName, pair.space, CLRSPACE_RGB, CLRMETHOD_BUILTIN);
    }
    add("two_kernels", CLRSPACE_YUV, CLRSPACE_LAB, CLRMETHOD_BUILTIN);
    add("icc_rgb_to_cmyk", CLRSPACE_RGB, CLRSPACE_CMYK, CLRMETHOD_ICC);
    add("icc_cmyk_to_rgb", CLRSPACE_CMYK, CLRSPACE_RGB, CLRMETHOD_ICC);
    add("icc_rgb_to_lab", CLRSPACE_RGB, CLRSPACE_LAB, CLRMETHOD_ICC);
    add("emulation_rgb_to_lab", CLRSPACE_RGB, CLRSPACE_LAB, CLRMETHOD_EMULATION);
    return true;
}();

void CreateAndFree(benchmark::State& state, int32_t from, int32_t to) {
    for (auto _ : state) {
        ClrHandle* converter = nullptr;
        Zv_ClrInit(&converter, from, to, nullptr);
        Zv_ClrFree(converter);
    }
}
BENCHMARK_CAPTURE(CreateAndFree, plain, CLRSPACE_RGB, CLRSPACE_YUV);
BENCHMARK_CAPTURE(CreateAndFree, ycck, CLRSPACE_YCCK, CLRSPACE_RGB);

void CreateWithLabRecords(benchmark::State& state) {
    ClrLabParams lab = {sizeof(ClrLabParams), 0, 0, 100, 128, 170, 96, 200};
    ClrParams params{};
    params.size = sizeof params;
    params.methods = params.activeMethod = CLRMETHOD_BUILTIN;
    params.labParams = &lab;
    for (auto _ : state) {
        ClrHandle* converter = nullptr;
        Zv_ClrInit(&converter, CLRSPACE_RGB, CLRSPACE_LAB, &params);
        Zv_ClrFree(converter);
    }
}
BENCHMARK(CreateWithLabRecords)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace zv::bench
