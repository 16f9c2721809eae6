// Profiles made by the library, for the tests of zvclr info.
#ifndef ZVCLR_TESTS_INFO_SUPPORT_H
#define ZVCLR_TESTS_INFO_SUPPORT_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tool_support.h"
#include "zvicc.h"

namespace zvtest {

constexpr uint32_t icc(const char (&letters)[5]) {
    return ZVICC_SIG(static_cast<uint32_t>(letters[0]), static_cast<uint32_t>(letters[1]),
                     static_cast<uint32_t>(letters[2]), static_cast<uint32_t>(letters[3]));
}

/// A display profile of version 4.2 that grows tag by tag.
class ProfileMaker {
public:
    ProfileMaker();
    ProfileMaker(const ProfileMaker&) = delete;
    ProfileMaker& operator=(const ProfileMaker&) = delete;
    ~ProfileMaker() { Zv_FreeICCProfile(&profile_); }

    ClrIccProfile* get() { return &profile_; }

    /// Zv_SetICCTagData; the result must be 1 or a warning.
    void add(uint32_t tag, uint32_t type, void* record);
    /// In English.
    void addText(uint32_t tag, std::u16string_view text);
    void addAscii(uint32_t tag, std::string_view text);
    void addXyz(uint32_t tag, double x, double y, double z);
    void addGamma(uint32_t tag, double gamma);
    /// A type that the library has no record for.
    void addBody(uint32_t tag, uint32_t type, const Bytes& behindHead);
    /// desc, cprt, wtpt, colorants and tone curves.
    void addDisplayTags();
    /// A tag of every other type that the library writes.
    void addEveryType();

    Bytes image();

private:
    void addNumbers();
    void addConditions();
    void addColorants();
    void addSequence();
    void addResponses();
    void addLuts();
    void addLutsWithCurves();

    ClrIccProfile profile_ = {};
};

/// 16.16 without the library's short forms.
uint32_t fixed(double value);
/// A version 2 profile by its bytes.
class Version2Maker {
public:
    Version2Maker(std::string_view deviceClass, std::string_view space, std::string_view connection);
    void add(std::string_view tag, const Bytes& body);
    Bytes image() const;

private:
    Bytes header_;
    std::vector<std::pair<std::string, Bytes>> tags_;
};

void put32(Bytes& bytes, uint32_t value);
void set32(Bytes& bytes, size_t offset, uint32_t value);
uint32_t get32(const Bytes& bytes, size_t offset);

/// What zvclr info prints for these bytes, made in this process. Throws as the command does.
std::string infoOf(const Bytes& bytes, const std::vector<std::string>& options = {});

/// Files of the packages with real profiles; at least 30.
std::vector<std::string> realProfiles();

}  // namespace zvtest

#endif  // ZVCLR_TESTS_INFO_SUPPORT_H
