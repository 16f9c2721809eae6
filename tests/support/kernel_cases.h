// Every kernel with its arguments bound, beside what the plain definition of its pixels says: the one table that the
// exhaustive, geometry, frame and hash tests walk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "zvclr.h"

namespace zv::test {

enum class Direction { kFromHub, kToHub, kNeither };

struct KernelCase {
    std::string name;
    int32_t space;
    Direction direction;
    int32_t sourceBits;
    int32_t destinationBits;
    int32_t widthMultiple = 1;
    int32_t heightMultiple = 1;
    int32_t sizeCode = 0;  ///< result for a size that is no such multiple

    // Sides that know no padding.
    bool packedSource = false;
    bool packedDestination = false;
    /// Bands of four rows start where they would without padding.
    bool bandsLeaveOutPadding = false;
    /// Whether the kernel asks for readable and writable regions.
    bool probes = true;
    /// Zeros in the source may be data errors.
    bool nonZeroSource = false;

    // What a converter needs for the same kernel.
    std::optional<int32_t> gcrLevel;
    std::optional<ClrLabParams> encoding;
    /// The order that a converter passes whatever the hub is.
    std::optional<int32_t> converterOrder;

    std::function<int32_t(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height,
                          int32_t sourceRowExtra, int32_t destinationRowExtra, int32_t rgbFirst)>
        run;
    /// Packed images.
    std::function<void(const uint8_t* source, uint8_t* destination, int32_t width, int32_t height, bool rgbFirst)>
        define;

    size_t SourceBytes(int32_t width, int32_t height) const { return Bytes(sourceBits, width, height); }
    size_t DestinationBytes(int32_t width, int32_t height) const { return Bytes(destinationBits, width, height); }
    bool Fits(int32_t width, int32_t height) const {
        return width % widthMultiple == 0 && height % heightMultiple == 0;
    }

    friend void PrintTo(const KernelCase& kernel, std::ostream* out) { *out << kernel.name; }

private:
    static size_t Bytes(int32_t bits, int32_t width, int32_t height) {
        return static_cast<size_t>(int64_t{bits} * width * height / 8);
    }
};

/// In the order of the library's own table, each kernel's variants behind it.
const std::vector<KernelCase>& KernelCases();

/// For INSTANTIATE_TEST_SUITE_P.
std::string KernelCaseName(const KernelCase& kernel);

/// All colours whose three values come from one list of levels, as source images of any kernel.
class ColourCube {
public:
    static ColourCube Whole();  ///< all 256 levels
    static ColourCube Half();   ///< 128 levels from 0 to 255

    struct Image {
        std::vector<uint8_t> bytes;
        int32_t width = 0;
        int32_t height = 0;
    };

    int32_t ImageCount(const KernelCase& kernel) const;
    /// The image of that number; `fourth` is the last byte of four-byte pixels.
    void Fill(const KernelCase& kernel, int32_t number, uint8_t fourth, Image* image) const;
    /// What `fourth` should run through.
    static std::vector<uint8_t> Fourths(const KernelCase& kernel);

private:
    explicit ColourCube(std::vector<uint8_t> levels) : levels_(std::move(levels)) {}

    std::vector<uint8_t> levels_;
};

}  // namespace zv::test
