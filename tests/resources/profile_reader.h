// A plain reader and evaluator of ICC profiles in double precision, for judging the built-in profiles apart from the
// engine that uses them.
#ifndef ZVCLR_TESTS_PROFILE_READER_H
#define ZVCLR_TESTS_PROFILE_READER_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/colour_difference.h"

namespace zvtest {

using ProfileBytes = std::vector<uint8_t>;

struct ProfileTag {
    std::string signature;
    size_t offset = 0;
    size_t size = 0;
};

/// A lookup table tag of either width; 8-bit values are widened by a shift of 8, as the engine does.
struct ProfileLut {
    std::string type;
    size_t inputs = 0, outputs = 0, gridPoints = 0;
    std::array<double, 9> matrix{};
    std::vector<std::vector<uint16_t>> inputTables;
    std::vector<uint16_t> grid;
    std::vector<std::vector<uint16_t>> outputTables;

    /// Words in, words out, linear on every axis, without rounding.
    std::vector<double> Evaluate(const std::vector<double>& words) const;
};

class Profile {
public:
    /// Throws std::runtime_error on bytes that are no profile.
    explicit Profile(ProfileBytes bytes);
    static Profile Open(const std::string& path);

    const std::vector<ProfileTag>& tags() const { return tags_; }
    const ProfileTag& tag(const std::string& signature) const;
    bool has(const std::string& signature) const;
    size_t size() const { return bytes_.size(); }
    uint32_t u32(size_t offset) const;
    uint16_t u16(size_t offset) const;
    uint8_t u8(size_t offset) const { return bytes_.at(offset); }
    std::string signatureAt(size_t offset) const;
    std::array<double, 3> xyz(const std::string& signature) const;
    std::vector<uint16_t> curve(const std::string& signature) const;
    ProfileLut lut(const std::string& signature) const;

private:
    ProfileBytes bytes_;
    std::vector<ProfileTag> tags_;
};

/// Lab to the words of the legacy encoding, unrounded, and back.
std::vector<double> WordsFromLab(const Lab& lab);
Lab LabFromWords(const std::vector<double>& words);

}  // namespace zvtest

#endif  // ZVCLR_TESTS_PROFILE_READER_H
