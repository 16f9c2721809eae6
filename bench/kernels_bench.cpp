// Every kernel in both directions over one picture, beside memcpy of the bytes that it reads and writes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "bench/picture.h"

namespace zv::bench {
namespace {

constexpr int64_t kPixels = int64_t{kWidth} * kHeight;

void CountPixels(benchmark::State& state) {
    state.counters["pixels"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kPixels), benchmark::Counter::kIsRate);
}

size_t ImageBytes(int32_t space) { return static_cast<size_t>(kPixels * ClrBitsPerPixel(space) / 8); }

void FromHub(benchmark::State& state, const ClrKernelPair& pair) {
    const std::vector<uint8_t> hub = Photograph();
    std::vector<uint8_t> out(ImageBytes(pair.space));
    for (auto _ : state) {
        pair.fromHub(hub.data(), out.data(), kWidth, kHeight, 0, 0, 1);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void ToHub(benchmark::State& state, const ClrKernelPair& pair) {
    const std::vector<uint8_t> hub = Photograph();
    std::vector<uint8_t> in(ImageBytes(pair.space));
    std::vector<uint8_t> out(hub.size());
    pair.fromHub(hub.data(), in.data(), kWidth, kHeight, 0, 0, 1);
    for (auto _ : state) {
        pair.toHub(in.data(), out.data(), kWidth, kHeight, 0, 0, 1);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void HubSwap(benchmark::State& state) {
    const std::vector<uint8_t> hub = Photograph();
    std::vector<uint8_t> out(hub.size());
    for (auto _ : state) {
        ClrHubSwap(hub.data(), out.data(), kWidth, kHeight, 0, 0);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void Memcpy(benchmark::State& state) {
    const auto bits = static_cast<int32_t>(state.range(0));
    const std::vector<uint8_t> in(static_cast<size_t>(kPixels * bits / 8), 1);
    std::vector<uint8_t> out(in.size());
    for (auto _ : state) {
        std::memcpy(out.data(), in.data(), in.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

/// The photograph in the space that a converter starts from; the bytes as they are serve for every other of three.
std::vector<uint8_t> Source(int32_t space) {
    std::vector<uint8_t> hub = Photograph();
    if (space != CLRSPACE_CMYK) return hub;
    std::vector<uint8_t> inks(ImageBytes(CLRSPACE_CMYK));
    Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_CMYK, hub.data(), inks.data(), kWidth, kHeight, 0, 0);
    return inks;
}

/// The routes that exist for a converter only: parameter records and emulation tables.
void WithConverter(benchmark::State& state, int32_t from, int32_t to, uint32_t method, ClrParams params) {
    params.size = sizeof params;
    params.methods = params.activeMethod = params.emulationMethod = method;
    ClrHandle* converter = nullptr;
    if (Zv_ClrInit(&converter, from, to, &params) != CLR_SUCCESS) {
        state.SkipWithError("no converter");
        return;
    }
    const std::vector<uint8_t> in = Source(from);
    std::vector<uint8_t> out(ImageBytes(to));
    for (auto _ : state) {
        Zv_ClrConvert(converter, in.data(), out.data(), kWidth, kHeight, 0, 0);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
    Zv_ClrFree(converter);
}

const bool registered = [] {
    for (const int bits : {9, 12, 16, 24, 32}) {
        benchmark::RegisterBenchmark("memcpy/bits", Memcpy)->Arg(bits)->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("ClrHubSwap", HubSwap)->Unit(benchmark::kMillisecond);
    for (const ClrKernelPair& pair : kKernelPairs) {
        benchmark::RegisterBenchmark(pair.fromHubName, FromHub, pair)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(pair.toHubName, ToHub, pair)->Unit(benchmark::kMillisecond);
    }
    static ClrLabParams lab = {sizeof(ClrLabParams), 0, 0, 100, 128, 170, 96, 200};
    ClrParams params{};
    params.labParams = &lab;
    benchmark::RegisterBenchmark("ClrLabParamsFromHub", WithConverter, CLRSPACE_BGR, CLRSPACE_LAB, CLRMETHOD_BUILTIN,
                                 params)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("ClrLabParamsToHub", WithConverter, CLRSPACE_LAB, CLRSPACE_BGR, CLRMETHOD_BUILTIN,
                                 params)
        ->Unit(benchmark::kMillisecond);
    static constexpr struct {
        const char* name;
        int32_t from;
        int32_t to;
    } kTables[] = {
        {"ClrEmulateCmykToHub", CLRSPACE_CMYK, CLRSPACE_RGB},
        {"ClrEmulateHubToLab", CLRSPACE_RGB, CLRSPACE_LAB},
        {"ClrEmulateLabToHub", CLRSPACE_LAB, CLRSPACE_RGB},
    };
    for (const auto& table : kTables) {
        benchmark::RegisterBenchmark(table.name, WithConverter, table.from, table.to, CLRMETHOD_EMULATION, ClrParams{})
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
}  // namespace zv::bench
