// Every kernel at every width and padding, its buffers against unreadable pages at either end, under each instruction
// set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/instruction_sets.h"
#include "tests/support/kernel_cases.h"
#include "tests/support/recording_host.h"
#include "tests/support/test_pictures.h"

namespace zv::test {

namespace {

using Side = GuardedBuffer::Side;

constexpr int32_t kPaddings[] = {-5, 0, 1, 2, 3, 64};
constexpr int32_t kMostPixels = 130;
/// Groups of eight are taken in 128 pixels at a time on some machines.
constexpr int32_t kMostPixelsInGroups = 264;
int32_t MostPixels(const KernelCase& kernel) { return kernel.widthMultiple == 8 ? kMostPixelsInGroups : kMostPixels; }
constexpr int32_t kMostHeight = 4;
constexpr uint8_t kUntouched = 0xCD;

/// Bytes on either side of a destination that are looked at too.
constexpr size_t kMargin = 80;
constexpr int32_t kAlignments = 64;
constexpr size_t kMostBytes = size_t{kMostPixelsInGroups * 4 + 64} * kMostHeight + kAlignments;

size_t Clamped(int32_t extra) { return extra < 1 ? 0 : static_cast<size_t>(extra); }

/// One call's geometry: where rows stand on both sides.
struct Layout {
    const KernelCase& kernel;
    int32_t width;
    int32_t height;
    int32_t sourceExtra;
    int32_t destinationExtra;

    size_t Rows() const { return static_cast<size_t>(height); }
    size_t SourceRow() const { return kernel.SourceBytes(width, 1); }
    size_t DestinationRow() const { return kernel.DestinationBytes(width, 1); }
    size_t SourceSize() const {
        return kernel.SourceBytes(width, height) + (kernel.packedSource ? 0 : Clamped(sourceExtra) * Rows());
    }
    size_t DestinationSize() const {
        return kernel.DestinationBytes(width, height) +
               (kernel.packedDestination ? 0 : Clamped(destinationExtra) * Rows());
    }

    std::vector<uint8_t> PackedSource(const uint8_t* source) const {
        if (kernel.packedSource) return {source, source + SourceSize()};
        std::vector<uint8_t> packed;
        packed.reserve(kernel.SourceBytes(width, height));
        for (size_t row = 0; row < Rows(); ++row) {
            const size_t paddings = kernel.bandsLeaveOutPadding ? row % 4 : row;
            const uint8_t* from = source + row * SourceRow() + paddings * Clamped(sourceExtra);
            packed.insert(packed.end(), from, from + SourceRow());
        }
        return packed;
    }

    /// The whole destination as it has to be: rows by the definition, padding untouched.
    std::vector<uint8_t> Wanted(const uint8_t* source, bool rgbFirst) const {
        const std::vector<uint8_t> packedSource = PackedSource(source);
        std::vector<uint8_t> packed(kernel.DestinationBytes(width, height));
        kernel.define(packedSource.data(), packed.data(), width, height, rgbFirst);
        if (kernel.packedDestination) return packed;
        std::vector<uint8_t> spread(DestinationSize(), kUntouched);
        for (size_t row = 0; row < Rows(); ++row) {
            std::copy_n(packed.data() + row * DestinationRow(), DestinationRow(),
                        spread.data() + row * (DestinationRow() + Clamped(destinationExtra)));
        }
        return spread;
    }

    std::string Text() const {
        return std::to_string(width) + " x " + std::to_string(height) + ", paddings " + std::to_string(sourceExtra) +
               " and " + std::to_string(destinationExtra);
    }
};

uint8_t* RegionAt(const GuardedBuffer& buffer, Side side, size_t size, size_t shift) {
    return side == Side::kFront ? buffer.begin() + shift : buffer.end() - size - shift;
}

std::vector<uint8_t> RandomSource(const KernelCase& kernel, size_t size, uint32_t seed) {
    std::vector<uint8_t> bytes = RandomBytes(size, seed);
    if (kernel.nonZeroSource) {
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(byte | 1);
    }
    return bytes;
}

/// Bytes between either buffer and its guard page.
struct Shifts {
    size_t source = 0;
    size_t destination = 0;
};

/// Two source buffers of random bytes, which cannot be written any more, and two destinations.
class Buffers {
public:
    explicit Buffers(const KernelCase& kernel) {
        for (GuardedBuffer* source : {&sourceFront_, &sourceBack_}) {
            const std::vector<uint8_t> bytes = RandomSource(kernel, source->Size(), 17);
            std::copy(bytes.begin(), bytes.end(), source->begin());
            source->MakeReadOnly();
        }
    }

    /// run(source, destination) on an untouched destination under each of the sets, and what has become of it.
    template <class Run>
    void Check(const std::vector<ClrIsa>& isas, const Layout& layout, Side side, const Shifts& shifts, bool rgbFirst,
               int32_t wantedResult, const Run& run) {
        const bool front = side == Side::kFront;
        const uint8_t* source = RegionAt(front ? sourceFront_ : sourceBack_, side, layout.SourceSize(), shifts.source);
        const size_t size = layout.DestinationSize();
        uint8_t* destination = RegionAt(front ? destinationFront_ : destinationBack_, side, size, shifts.destination);
        const size_t before = front ? shifts.destination : kMargin, after = front ? kMargin : shifts.destination;
        const std::vector<uint8_t> wanted = layout.Wanted(source, rgbFirst);
        static const std::vector<uint8_t> untouched(kMargin, kUntouched);
        for (const ClrIsa isa : isas) {
            const UseIsa use(isa);
            std::memset(destination - before, kUntouched, before + size + after);
            ASSERT_EQ(wantedResult, run(source, destination)) << layout.Text();
            if (std::memcmp(destination, wanted.data(), size) != 0) {
                const auto differs = std::mismatch(wanted.begin(), wanted.end(), destination);
                FAIL() << testing::PrintToString(isa) << ", " << layout.Text() << ", red first " << rgbFirst
                       << ": byte " << differs.second - destination << " is " << int{*differs.second} << " and not "
                       << int{*differs.first};
            }
            ASSERT_TRUE(std::memcmp(destination - before, untouched.data(), before) == 0 &&
                        std::memcmp(destination + size, untouched.data(), after) == 0)
                << testing::PrintToString(isa) << ", " << layout.Text() << ": written outside";
        }
    }

private:
    static constexpr size_t kDestinationBytes = kMostBytes + kMargin;

    GuardedBuffer sourceFront_{kMostBytes, Side::kFront}, sourceBack_{kMostBytes, Side::kBack};
    GuardedBuffer destinationFront_{kDestinationBytes, Side::kFront}, destinationBack_{kDestinationBytes, Side::kBack};
};

class KernelGeometry : public testing::TestWithParam<KernelCase> {};

TEST_P(KernelGeometry, WritesTheRightBytesAndNoOthers) {
    const HostScope host;
    const KernelCase& kernel = GetParam();
    Buffers buffers(kernel);
    for (int32_t width = kernel.widthMultiple; width <= MostPixels(kernel); width += kernel.widthMultiple) {
        for (int32_t height = kernel.heightMultiple; height <= kMostHeight; height += kernel.heightMultiple) {
            // All 36 pairs of paddings come up over the sizes, and for each size every padding on both sides, with
            // both hubs and both ends of the buffers.
            for (size_t i = 0; i < std::size(kPaddings); ++i) {
                const size_t other = (i + static_cast<size_t>(width / kernel.widthMultiple + height)) % 6;
                const Layout layout{kernel, width, height, kPaddings[i], kPaddings[other]};
                for (const int32_t rgbFirst : {0, 1}) {
                    const bool front = (i + static_cast<size_t>(width / kernel.widthMultiple + rgbFirst)) % 2 == 0;
                    buffers.Check(InstructionSets(), layout, front ? Side::kFront : Side::kBack, {}, rgbFirst != 0,
                                  CLR_SUCCESS, [&](const uint8_t* source, uint8_t* destination) {
                                      return kernel.run(source, destination, width, height, layout.sourceExtra,
                                                        layout.destinationExtra, rgbFirst);
                                  });
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST_P(KernelGeometry, StartsAtAnyByte) {
    const HostScope host;
    const KernelCase& kernel = GetParam();
    Buffers buffers(kernel);
    const int32_t height = kernel.heightMultiple;
    for (const int32_t most : {3, 63, 64, 65, 129, MostPixels(kernel)}) {
        const int32_t width = std::max(most / kernel.widthMultiple, 1) * kernel.widthMultiple;
        const Layout layout{kernel, width, height, 0, 0};
        for (size_t shift = 0; shift < size_t{kAlignments}; ++shift) {
            // Each pair of alignments would be too many: over the widths, sources and destinations differ in turn.
            const size_t other = (shift * 5 + static_cast<size_t>(most)) % size_t{kAlignments};
            for (const int32_t rgbFirst : {0, 1}) {
                buffers.Check(InstructionSets(), layout, shift % 2 == 0 ? Side::kFront : Side::kBack, {shift, other},
                              rgbFirst != 0, CLR_SUCCESS, [&](const uint8_t* source, uint8_t* destination) {
                                  return kernel.run(source, destination, width, height, 0, 0, rgbFirst);
                              });
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_P(KernelGeometry, RunsInPlaceWhenPixelsHaveOneSize) {
    const KernelCase& kernel = GetParam();
    const bool oneSize = kernel.sourceBits == kernel.destinationBits;
    const std::vector<uint8_t> random = RandomSource(kernel, kMostBytes, 23);
    const GuardedBuffer front(kMostBytes, Side::kFront), back(kMostBytes, Side::kBack);
    for (int32_t width = 1; oneSize && width <= kMostPixels; ++width) {
        for (const int32_t extra : {0, 3, 64}) {
            for (const int32_t rgbFirst : {0, 1}) {
                // Packed sides have no padding that the other could match.
                const int32_t padding = kernel.packedSource || kernel.packedDestination ? 0 : extra;
                const Layout layout{kernel, width, 3, padding, padding};
                const size_t size = layout.SourceSize(), stride = layout.SourceRow() + Clamped(padding);
                std::vector<uint8_t> wanted = layout.Wanted(random.data(), rgbFirst != 0);
                for (size_t row = 0; row < 3; ++row) {
                    const size_t rowEnd = row * stride + layout.SourceRow();
                    std::copy_n(random.data() + rowEnd, Clamped(padding), wanted.data() + rowEnd);
                }
                const Side side = (width + extra + rgbFirst) % 2 == 0 ? Side::kFront : Side::kBack;
                uint8_t* image = RegionAt(side == Side::kFront ? front : back, side, size, 0);
                for (const ClrIsa isa : InstructionSets()) {
                    const UseIsa use(isa);
                    std::memcpy(image, random.data(), size);
                    ASSERT_EQ(CLR_SUCCESS, kernel.run(image, image, width, 3, padding, padding, rgbFirst));
                    ASSERT_EQ(0, std::memcmp(image, wanted.data(), size))
                        << testing::PrintToString(isa) << ", " << layout.Text() << ", byte "
                        << std::mismatch(wanted.begin(), wanted.end(), image).first - wanted.begin();
                }
            }
        }
    }
    // What has two sizes cannot run in place: the table says which.
    EXPECT_EQ(oneSize, kernel.SourceBytes(16, 16) == kernel.DestinationBytes(16, 16));
}

// --- Through the frame ----------------------------------------------------------------------------------------------

/// The frame knows nothing of instruction sets: each call has another one.
std::vector<ClrIsa> InTurn(int32_t turn) {
    const std::vector<ClrIsa>& all = InstructionSets();
    return {all[static_cast<size_t>(turn) % all.size()]};
}

std::vector<int32_t> Widths(const KernelCase& kernel) {
    std::vector<int32_t> widths;
    for (const int32_t width : {1, 2, 3, 7, 8, 15, 16, 31, 63, 64, 65, 104, 127, 128, 130}) {
        if (width % kernel.widthMultiple == 0) widths.push_back(width);
    }
    return widths;
}

TEST_P(KernelGeometry, DirectConversionWritesTheSame) {
    const KernelCase& kernel = GetParam();
    const bool direct = kernel.direction != Direction::kNeither && !kernel.gcrLevel && !kernel.encoding;
    Buffers buffers(kernel);
    int32_t calls = 0;
    for (const int32_t width : Widths(kernel)) {
        for (const int32_t height : {1, 4}) {
            for (const int32_t sourceExtra : kPaddings) {
                for (const int32_t destinationExtra : kPaddings) {
                    const Layout layout{kernel, width, height, kernel.packedSource ? 0 : sourceExtra,
                                        kernel.packedDestination ? 0 : destinationExtra};
                    if (!direct || !kernel.Fits(width, height)) continue;
                    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
                        const bool from = kernel.direction == Direction::kFromHub;
                        buffers.Check(InTurn(calls + width), layout, Side::kBack, {}, hub == CLRSPACE_RGB, CLR_SUCCESS,
                                      [&](const uint8_t* source, uint8_t* destination) {
                                          return Zv_ClrConvertDirect(
                                              from ? hub : kernel.space, from ? kernel.space : hub, source, destination,
                                              width, height, layout.sourceExtra, layout.destinationExtra);
                                      });
                        if (HasFatalFailure()) return;
                        ++calls;
                    }
                }
            }
        }
    }
    EXPECT_EQ(direct, calls > 0);
}

class Converter {
public:
    Converter(const KernelCase& kernel, int32_t hub) {
        ClrCmykParams cmyk = {12, kernel.gcrLevel.value_or(175), 0};
        ClrLabParams lab = kernel.encoding.value_or(ClrLabParams{});
        ClrParams params{};
        params.size = sizeof params;
        params.methods = params.activeMethod = CLRMETHOD_BUILTIN;
        if (kernel.gcrLevel) params.cmykParams = &cmyk;
        if (kernel.encoding) params.labParams = &lab;
        const bool from = kernel.direction == Direction::kFromHub;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle_, from ? hub : kernel.space, from ? kernel.space : hub, &params));
    }
    ~Converter() { EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle_)); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    const ClrHandle* Get() const { return handle_; }

private:
    ClrHandle* handle_ = nullptr;
};

TEST_P(KernelGeometry, AConverterWritesTheSame) {
    const HostScope host;
    const KernelCase& kernel = GetParam();
    // To YCCK a converter writes nothing.
    const bool converts = kernel.direction == Direction::kToHub ||
                          (kernel.direction == Direction::kFromHub && kernel.space != CLRSPACE_YCCK);
    const int32_t result = kernel.space == CLRSPACE_YCCK ? 0 : CLR_SUCCESS;
    Buffers buffers(kernel);
    int32_t calls = 0;
    for (const int32_t hub : {CLRSPACE_RGB, CLRSPACE_BGR}) {
        if (!converts) continue;
        const Converter converter(kernel, hub);
        const int32_t order = kernel.converterOrder.value_or(hub == CLRSPACE_RGB ? 1 : 0);
        for (const int32_t width : Widths(kernel)) {
            for (const int32_t height : {1, 4}) {
                for (const int32_t sourceExtra : {0, 1, 2, 64}) {
                    for (const int32_t destinationExtra : {0, 1, 3, 64}) {
                        if (!kernel.Fits(width, height)) continue;
                        const Layout layout{kernel, width, height, kernel.packedSource ? 0 : sourceExtra,
                                            kernel.packedDestination ? 0 : destinationExtra};
                        buffers.Check(InTurn(calls + width), layout, Side::kBack, {}, order != 0, result,
                                      [&](const uint8_t* source, uint8_t* destination) {
                                          return Zv_ClrConvert(converter.Get(), source, destination, width, height,
                                                               layout.sourceExtra, layout.destinationExtra);
                                      });
                        if (HasFatalFailure()) return;
                        ++calls;
                    }
                }
            }
        }
    }
    EXPECT_EQ(converts, calls > 0);
}

INSTANTIATE_TEST_SUITE_P(Kernels, KernelGeometry, testing::ValuesIn(KernelCases()),
                         [](const auto& test) { return KernelCaseName(test.param); });

}  // namespace

}  // namespace zv::test
