// ICC profile images of version 2: big-endian tag bodies, directory with shared tags, 4-byte alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "colour.h"

namespace zvmake {

using Bytes = std::vector<uint8_t>;

/// Appends big-endian numbers.
class BigEndian {
public:
    void U8(uint8_t value) { bytes_.push_back(value); }
    void U16(uint16_t value);
    void U32(uint32_t value);
    void Signature(std::string_view four);
    /// Rounded to the nearest 1/65536.
    void S15Fixed16(double value);
    void Text(std::string_view text);
    void Zeros(size_t count) { bytes_.insert(bytes_.end(), count, 0); }
    Bytes Take() { return std::move(bytes_); }

private:
    Bytes bytes_;
};

// Tag bodies.
Bytes TextTag(std::string_view text);
Bytes DescriptionTag(std::string_view text);
Bytes XyzTag(const Vec3& xyz);
Bytes CurveTag(const std::vector<uint16_t>& entries);
Bytes SignatureTag(std::string_view four);
/// D50 surround, as ICC viewing conditions are.
Bytes ViewingConditionsTag(const Vec3& illuminant, const Vec3& surround, uint32_t illuminantType);
Bytes MeasurementTag(double flare, uint32_t illuminantType);

/// A lookup table before it is written: tables of 16-bit words, first grid channel slowest.
struct LookupTable {
    uint8_t gridPoints = 0;
    std::vector<std::vector<uint16_t>> inputTables;
    std::vector<uint16_t> grid;
    std::vector<std::vector<uint16_t>> outputTables;
};

std::vector<uint16_t> IdentityTable(size_t entries);
/// With 16-bit words as they are.
Bytes Lut16Tag(const LookupTable& table);
/// With the values of the tables as bytes: each must be below 256.
Bytes Lut8Tag(const LookupTable& table);

class ProfileWriter {
public:
    ProfileWriter(std::string_view deviceClass, std::string_view colourSpace, std::string_view connectionSpace);
    void Add(std::string_view signature, Bytes body);
    /// Another name for a tag that was added before.
    void Alias(std::string_view signature, std::string_view existing);
    /// The last tag ends without padding, as version 2 allows.
    Bytes Finish() const;

private:
    struct Tag {
        std::string signature;
        size_t body;
    };
    std::string deviceClass_, colourSpace_, connectionSpace_;
    std::vector<Tag> tags_;
    std::vector<Bytes> bodies_;
};

}  // namespace zvmake
