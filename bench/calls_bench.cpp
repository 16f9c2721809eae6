// What a call costs beside its pixels: one row of 64 pixels, and the making of a converter.
#include <benchmark/benchmark.h>

#include <array>
#include <vector>

#include "zvclr.h"

namespace {

constexpr int32_t kRowPixels = 64;

/// A row through a converter while so many others live.
void OneRow(benchmark::State& state, int32_t from, int32_t to) {
    std::vector<ClrHandle*> others(static_cast<size_t>(state.range(0)));
    for (ClrHandle*& other : others) Zv_ClrInit(&other, CLRSPACE_RGB, CLRSPACE_YUV, nullptr);
    ClrHandle* converter = nullptr;
    Zv_ClrInit(&converter, from, to, nullptr);
    std::array<uint8_t, kRowPixels * 4> in{}, out{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Zv_ClrConvert(converter, in.data(), out.data(), kRowPixels, 1, 0, 0));
        benchmark::ClobberMemory();
    }
    Zv_ClrFree(converter);
    for (ClrHandle* other : others) Zv_ClrFree(other);
}
BENCHMARK_CAPTURE(OneRow, swap, CLRSPACE_RGB, CLRSPACE_BGR)->Arg(0)->Arg(10000);
BENCHMARK_CAPTURE(OneRow, yuv, CLRSPACE_RGB, CLRSPACE_YUV)->Arg(0)->Arg(10000);
BENCHMARK_CAPTURE(OneRow, copy, CLRSPACE_RGB, CLRSPACE_RGB)->Arg(0)->Arg(10000);

void OneRowDirect(benchmark::State& state) {
    std::array<uint8_t, kRowPixels * 3> in{}, out{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_YUV, in.data(), out.data(), kRowPixels, 1, 0, 0));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(OneRowDirect);

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
