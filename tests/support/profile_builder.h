// Synthetic ICC profiles as bytes: a header, a directory, and tag bodies made from vectors.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zv::test {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

/// Four characters as a number, first character highest.
constexpr uint32_t FourCc(std::string_view text) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8 | (i < text.size() ? static_cast<uint8_t>(text[i]) : 0x20U);
    return value;
}

void PutBig16(Bytes& bytes, uint32_t value);
void PutBig32(Bytes& bytes, uint32_t value);
/// Overwrites bytes that are there.
void SetBig16(Bytes& bytes, size_t offset, uint32_t value);
void SetBig32(Bytes& bytes, size_t offset, uint32_t value);
uint32_t GetBig32(const Bytes& bytes, size_t offset);
/// Nearest s15Fixed16 number, as its bits.
uint32_t S15Fixed16(double value);

/// An XYZ value, or the rows of a matrix.
using Triple = std::array<double, 3>;
inline constexpr Triple kD50{0.9642, 1.0, 0.8249};

// --- Tag bodies -----------------------------------------------------------------------------------------------------

/// Tag body of one XYZ value; `type` replaces the type word.
Bytes XyzBody(const Triple& value, uint32_t type = FourCc("XYZ "));
/// A `curv` body of a table. A table of one entry is a u8Fixed8 gamma, an empty one the identity.
Bytes CurveBody(const Words& table);
/// A `curv` body of one u8Fixed8 gamma, as its bits.
Bytes GammaBody(uint16_t u8Fixed8);
/// A `para` body: function type 0 to 4, parameters as s15Fixed16.
Bytes ParametricBody(uint16_t function, const std::vector<double>& parameters);

/// What an `mft1` or `mft2` tag holds. 8-bit tags take the low bytes of the words.
struct LutTag {
    int bits = 16;
    uint32_t inputs = 3;
    uint32_t outputs = 3;
    uint32_t gridPoints = 2;
    uint32_t inputEntries = 256;  ///< of each table; 256 in 8-bit tags
    uint32_t outputEntries = 256;
    std::array<uint32_t, 9> matrix{0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x10000};  ///< s15Fixed16 bits
    Words inputTables;                                                            ///< one after the other
    Words grid;  ///< first channel slowest, outputs together
    Words outputTables;

    /// gridPoints to the power of inputs, times outputs.
    size_t GridEntries() const;
};
/// An `mft1` body (256 entries a table whatever the record says) or an `mft2` body.
Bytes LutBody(const LutTag& lut);

// --- Profiles -------------------------------------------------------------------------------------------------------

struct ProfileHeader {
    uint32_t version = 0x02400000;
    uint32_t deviceClass = FourCc("mntr");
    uint32_t colorSpace = FourCc("RGB ");
    uint32_t pcs = FourCc("XYZ ");
    uint32_t magic = FourCc("acsp");
    uint32_t intent = 0;
    Triple illuminant = kD50;
};

/// Collects tags in the order of the directory. A signature may come twice.
class ProfileBuilder {
public:
    ProfileBuilder& Tag(std::string_view signature, const Bytes& body);
    /// A directory entry that shares the data of the first tag of another signature.
    ProfileBuilder& Share(std::string_view signature, std::string_view with);
    /// A directory entry as it stands, which may point anywhere.
    ProfileBuilder& RawEntry(std::string_view signature, uint32_t offset, uint32_t size);
    /// Takes the first tag of the signature out of the directory.
    ProfileBuilder& Remove(std::string_view signature);

    /// Header, directory, and bodies on multiples of four; the size field is right.
    Bytes Build() const;

    ProfileHeader header;

private:
    struct Entry {
        uint32_t signature = 0;
        bool raw = false;
        uint32_t offset = 0;  ///< raw entries
        uint32_t size = 0;    ///< raw entries
        size_t body = 0;      ///< index of the body
    };
    std::vector<Entry> entries_;
    std::vector<Bytes> bodies_;
};

/// Offset of the body of the first tag of that signature in profile bytes, and its stated size; 0 when absent.
struct TagPlace {
    size_t offset = 0;
    size_t size = 0;
};
TagPlace FindTagPlace(const Bytes& profile, std::string_view signature);

// --- Contents -------------------------------------------------------------------------------------------------------

/// The same numbers on every system.
class TestRandom {
public:
    explicit TestRandom(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15U + 0x2545F4914F6CDD1DU) {}
    uint32_t Next();
    /// 0 to limit - 1.
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(uint64_t{Next()} * limit >> 32); }
    uint16_t Word() { return static_cast<uint16_t>(Next() >> 16); }
    /// 0 to below 1.
    double Unit() { return Next() / 4294967296.0; }

private:
    uint64_t state_;
};

Words RampTable(size_t entries);
/// Rising from 0 to 0xFFFF as input ^ gamma.
Words PowerTable(size_t entries, double gamma);
/// Rising, by random steps, to 0xFFFF.
Words RisingTable(size_t entries, TestRandom& random);
Words RandomTable(size_t entries, TestRandom& random);

/// A LUT tag whose tables rise and whose grid is a smooth map of its inputs with some noise.
LutTag SmoothLut(int bits, uint32_t inputs, uint32_t outputs, uint32_t gridPoints, uint64_t seed,
                 uint32_t inputEntries = 256, uint32_t outputEntries = 256);
/// A LUT tag of random words throughout.
LutTag RandomLut(int bits, uint32_t inputs, uint32_t outputs, uint32_t gridPoints, uint64_t seed,
                 uint32_t inputEntries = 256, uint32_t outputEntries = 256);

/// Colorants of sRGB adapted to D50: columns red, green, blue.
struct Colorants {
    Triple red{0.4361, 0.2225, 0.0139};
    Triple green{0.3851, 0.7169, 0.0971};
    Triple blue{0.1431, 0.0606, 0.7141};
};

/// A monitor profile: three colorants, three curves, white and black point.
ProfileBuilder MatrixRgbProfile(const Colorants& colorants, const Bytes& redCurve, const Bytes& greenCurve,
                                const Bytes& blueCurve);
/// The same with one curve, shared by the three tags.
ProfileBuilder MatrixRgbProfile(const Colorants& colorants, const Bytes& curve);
ProfileBuilder MatrixRgbProfile();
/// A monochrome profile: kTRC and a white point.
ProfileBuilder GrayProfile(const Bytes& curve);
/// A profile of a colour space ("CMYK", ...) with A2B0 and B2A0.
ProfileBuilder LutProfile(std::string_view colorSpace, std::string_view pcs, const LutTag& toPcs,
                          const LutTag& fromPcs);
/// The same with smooth tables of the right channel counts.
ProfileBuilder LutProfile(std::string_view colorSpace, std::string_view pcs, int bits = 16, uint32_t gridPoints = 5,
                          uint64_t seed = 1);
/// A device link: A2B0 alone.
ProfileBuilder DeviceLinkProfile(std::string_view from, std::string_view to, const LutTag& lut);

}  // namespace zv::test
