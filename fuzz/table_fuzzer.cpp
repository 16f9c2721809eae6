// Bytes as a file of an emulation table: read, compared with a second plain reading, and run by all three kernels.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "Common/kernels/kernels.h"
#include "fuzz/memory_file.h"
#include "host/host.h"

namespace {

using namespace zv;
using Bytes = std::vector<uint8_t>;

constexpr size_t kBlock = 250563;
constexpr int32_t kPixels = 64;

void Require(bool condition) {
    if (!condition) std::abort();
}

std::optional<uint32_t> Little(const Bytes& bytes, uint64_t at, size_t count) {
    if (at + count > bytes.size()) return std::nullopt;
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) value |= uint32_t{bytes[at + i]} << 8 * i;
    return value;
}

/// The block that the file has to give, or nothing when its directory ends early.
std::optional<Bytes> Wanted(const Bytes& file) {
    const auto directory = Little(file, 4, 4);
    const auto entries = directory ? Little(file, *directory, 2) : std::nullopt;
    if (!entries) return std::nullopt;
    uint32_t width = 0, length = 0, samples = 0, position = 0, dropped = 0;
    for (uint64_t i = 0; i < *entries; ++i) {
        const uint64_t at = uint64_t{*directory} + 2 + 12 * i;
        const auto tag = Little(file, at, 2);
        if (!tag) return std::nullopt;
        uint32_t* const field = *tag == 256   ? &width
                                : *tag == 257 ? &length
                                : *tag == 277 ? &samples
                                : *tag == 273 ? &position
                                : *tag == 262 ? &dropped
                                              : nullptr;
        if (field == nullptr) continue;
        const auto value = Little(file, at + 8, 4);
        if (!value) return std::nullopt;
        *field = *value;
    }
    Bytes block(kBlock);
    const double claimed = double{static_cast<double>(width)} * length * samples;
    size_t count = claimed < double{kBlock} ? static_cast<size_t>(claimed) : kBlock;
    count = position < file.size() ? std::min(count, file.size() - position) : 0;
    std::copy_n(file.begin() + static_cast<ptrdiff_t>(count == 0 ? 0 : position), count, block.begin());
    return block;
}

void RunKernels(const EmulationTable* table, const Bytes& file) {
    Bytes pixels(kPixels * 4, 255);
    std::copy_n(file.begin(), std::min(file.size(), pixels.size() - 4), pixels.begin());
    Bytes out(kPixels * 3);
    for (const int32_t rgbFirst : {0, 1}) {
        Require(ClrEmulateCmykToHub(pixels.data(), table, kPixels, 1, 0, 0, out.data(), rgbFirst) == 0);
        Require(ClrEmulateHubToLab(pixels.data(), table, kPixels, 1, 0, 0, out.data(), rgbFirst) == 0);
        Require(ClrEmulateLabToHub(pixels.data(), table, kPixels, 1, 0, 0, out.data(), rgbFirst) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const zvfuzz::MemoryFile file;
    file.Hold(data, size);
    const Bytes bytes(data, data + size);

    ClrHandle converter{};
    ClrParams params{};
    std::copy_n(file.Name(), std::char_traits<ZvChar>::length(file.Name()), params.emulationTableName);
    // The one pair whose loading leaves no other block behind.
    const int32_t result = ClrLoadEmulationTable(&converter, CLRSPACE_LAB, CLRSPACE_RGB, &params, 1);
    const std::optional<Bytes> wanted = Wanted(bytes);
    EmulationTable* const table = converter.customEmulationTable;
    if (!wanted) {
        Require(result > CLR_SUCCESS && table == nullptr);
        return 0;
    }
    Require(result == CLR_SUCCESS && table != nullptr);
    Require(std::memcmp(table, wanted->data(), kBlock) == 0);
    RunKernels(table, bytes);
    HostFree(table, __LINE__, ZV_WIDE("fuzz"));
    return 0;
}
