// What the benchmarks of pixels share.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "bench/picture.h"
#include "tests/support/instruction_sets.h"

namespace zv::bench {

inline constexpr int64_t kPixels = int64_t{kWidth} * kHeight;

/// Repeats `run`, which converts the whole picture into `out`, and counts pixels.
template <class Run>
void MeasurePixels(benchmark::State& state, const std::vector<uint8_t>& out, const Run& run) {
    for (auto _ : state) {
        run();
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.counters["pixels"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kPixels), benchmark::Counter::kIsRate);
}

/// Registers function(state, arguments...) in milliseconds.
template <class Function, class... Arguments>
void AddBenchmark(const std::string& name, const Function& function, const Arguments&... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), function, arguments...)->Unit(benchmark::kMillisecond);
}

/// The same once for each instruction set that this machine has, as name/set; the set is the first argument.
template <class Function, class... Arguments>
void AddForEachIsa(const std::string& name, const Function& function, const Arguments&... arguments) {
    for (const ClrIsa isa : test::InstructionSets()) {
        std::ostringstream set;
        PrintTo(isa, &set);
        AddBenchmark(name + "/" + set.str(), function, isa, arguments...);
    }
}

}  // namespace zv::bench
