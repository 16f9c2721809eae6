// Every kernel over one picture: the code of each instruction set, the plain definition, and memcpy of the bytes.
#include <algorithm>
#include <cstring>

#include "Common/kernels/kernels.h"
#include "Common/zvclr/frame.h"
#include "bench/measure.h"
#include "tests/support/kernel_cases.h"

namespace zv::bench {
namespace {

using test::Direction;
using test::KernelCase;

size_t ImageBytes(int32_t bits) { return static_cast<size_t>(kPixels * bits / 8); }

const KernelCase& CaseOf(const std::string& name) {
    const auto& cases = test::KernelCases();
    return *std::find_if(cases.begin(), cases.end(), [&](const KernelCase& kernel) { return kernel.name == name; });
}

/// The kernel whose pixels this one reads; empty for those that read the hub's.
std::string SourceKernel(const KernelCase& kernel) {
    if (kernel.name == "ClrCmykToYcck") return "ClrCmykFromHub";
    if (kernel.name == "ClrYcckToCmyk") return "ClrYcckFromHub";
    if (kernel.direction != Direction::kToHub) return {};
    std::string name = kernel.name;
    return name.replace(name.find("ToHub"), 5, "FromHub");
}

/// The picture as the kernel reads it.
std::vector<uint8_t> Source(const KernelCase& kernel, std::vector<uint8_t> hub) {
    const std::string first = SourceKernel(kernel);
    if (first.empty()) return hub;
    std::vector<uint8_t> pixels(ImageBytes(kernel.sourceBits));
    CaseOf(first).run(hub.data(), pixels.data(), kWidth, kHeight, 0, 0, 1);
    return pixels;
}

void Rows(benchmark::State& state, ClrIsa isa, const KernelCase* kernel, bool grey) {
    const test::UseIsa use(isa);
    const std::vector<uint8_t> in = Source(*kernel, grey ? GreyPhotograph() : Photograph());
    std::vector<uint8_t> out(ImageBytes(kernel->destinationBits));
    MeasurePixels(state, out, [&] { kernel->run(in.data(), out.data(), kWidth, kHeight, 0, 0, 1); });
}

void Plain(benchmark::State& state, const KernelCase* kernel) {
    const std::vector<uint8_t> in = Source(*kernel, Photograph());
    std::vector<uint8_t> out(ImageBytes(kernel->destinationBits));
    MeasurePixels(state, out, [&] { kernel->define(in.data(), out.data(), kWidth, kHeight, true); });
}

/// A copy of so many bits a pixel: the bound for kernels that do little else.
void Memcpy(benchmark::State& state) {
    const std::vector<uint8_t> in(ImageBytes(static_cast<int32_t>(state.range(0))), 1);
    std::vector<uint8_t> out(in.size());
    MeasurePixels(state, out, [&] { std::memcpy(out.data(), in.data(), in.size()); });
}

/// A converter with emulation tables, from the photograph in its own space where that is the inks, and from the bytes
/// as they are in others.
void Emulation(benchmark::State& state, ClrIsa isa, int32_t from, int32_t to) {
    const test::UseIsa use(isa);
    ClrParams params{};
    params.size = sizeof params;
    params.methods = params.activeMethod = params.emulationMethod = CLRMETHOD_EMULATION;
    ClrHandle* converter = nullptr;
    if (Zv_ClrInit(&converter, from, to, &params) != CLR_SUCCESS) {
        state.SkipWithError("no converter");
        return;
    }
    std::vector<uint8_t> in = Photograph();
    if (from == CLRSPACE_CMYK) in = Source(CaseOf("ClrCmykToHub"), in);
    std::vector<uint8_t> out(ImageBytes(ClrBitsPerPixel(to)));
    MeasurePixels(state, out, [&] { Zv_ClrConvert(converter, in.data(), out.data(), kWidth, kHeight, 0, 0); });
    Zv_ClrFree(converter);
}

const bool registered = [] {
#ifdef __clang__
    benchmark::AddCustomContext("compiler", __VERSION__);
#else
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
    for (const int bits : {9, 12, 16, 24, 32}) {
        benchmark::RegisterBenchmark("memcpy/bits", Memcpy)->Arg(bits)->Unit(benchmark::kMillisecond);
    }
    for (const KernelCase& kernel : test::KernelCases()) {
        // One form of the kernels with parameters is enough.
        if (kernel.gcrLevel.has_value() ||
            (kernel.encoding.has_value() && kernel.name.find("Common") == std::string::npos)) {
            continue;
        }
        AddForEachIsa(kernel.name, Rows, &kernel, false);
        AddBenchmark("plain/" + kernel.name, Plain, &kernel);
        // The colours that lie on the edges between bytes.
        if (kernel.direction != Direction::kNeither) AddForEachIsa("grey/" + kernel.name, Rows, &kernel, true);
    }
    AddForEachIsa("ClrEmulateCmykToHub", Emulation, int32_t{CLRSPACE_CMYK}, int32_t{CLRSPACE_RGB});
    AddForEachIsa("ClrEmulateHubToLab", Emulation, int32_t{CLRSPACE_RGB}, int32_t{CLRSPACE_LAB});
    AddForEachIsa("ClrEmulateLabToHub", Emulation, int32_t{CLRSPACE_LAB}, int32_t{CLRSPACE_RGB});
    return true;
}();

}  // namespace
}  // namespace zv::bench
