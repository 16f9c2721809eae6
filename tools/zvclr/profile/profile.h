// A profile as the library reads it, with what the library leaves out.
#ifndef ZVCLR_TOOLS_PROFILE_PROFILE_H
#define ZVCLR_TOOLS_PROFILE_PROFILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cursor.h"
#include "zvicc.h"

namespace zvinfo {

/// Header and count of tags.
inline constexpr size_t kSmallestProfile = 132;
/// Where "acsp" stands.
inline constexpr size_t kMagicAt = 36;

/// A tag as the table has it, and how its body lies among the others.
struct Tag {
    uint32_t signature = 0;
    uint32_t offset = 0;
    uint32_t size = 0;
    uint32_t type = 0;          ///< 0 for a body that is outside or has no room for it
    bool inside = false;        ///< the body lies behind the table and before the end
    bool repeated = false;      ///< an earlier tag has the same signature
    int32_t sharedWith = -1;    ///< an earlier tag with the same body
    int32_t overlaps = -1;      ///< another tag whose body shares some bytes, not all
    uint64_t overlapBytes = 0;  ///< how many
    uint64_t padding = 0;       ///< bytes between this body and the next one or the end
    bool paddingIsZero = true;
};

class Profile {
public:
    /// Throws ImageError where the bytes are no profile or end too early. `name` is for messages.
    Profile(std::string name, std::vector<uint8_t> bytes);
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;
    ~Profile();

    const std::string& name() const { return name_; }
    /// The whole file, also what lies behind the profile.
    const std::vector<uint8_t>& bytes() const { return bytes_; }
    Cursor at(size_t offset) const { return Cursor(bytes_, offset); }

    const ClrIccHeader& header() const { return *record_.header; }
    /// As in the file. The library reads versions below 4 under another number.
    uint32_t version() const { return version_; }
    bool isOld() const { return version_ < 0x04000000; }
    uint32_t size() const { return header().size; }
    /// As in the file: a negative one is no table at all.
    int32_t statedTags() const { return record_.tagCount; }
    const std::vector<Tag>& tags() const { return tags_; }

    /// Index of the first tag of that signature, or -1.
    int32_t find(uint32_t signature) const;
    /// Nothing for bodies that lie outside.
    Span body(const Tag& tag) const;
    /// Zv_GetICCTagData, also for tags that an earlier one of the same signature hides.
    int32_t read(int32_t index, ClrIccTagRecord* record) const;

private:
    void readTable();
    void findNeighbours();

    std::string name_;
    std::vector<uint8_t> bytes_;
    uint32_t version_ = 0;
    ClrIccProfile record_ = {};
    std::vector<Tag> tags_;
};

/// A tag that the library has read, released with it.
class TagRecord {
public:
    TagRecord(const Profile& profile, int32_t index)
        : type_(profile.tags()[static_cast<size_t>(index)].type), result_(profile.read(index, &record_)) {}
    TagRecord(const TagRecord&) = delete;
    TagRecord& operator=(const TagRecord&) = delete;
    ~TagRecord() { Zv_FreeICCTagType(&record_, type_); }

    const ClrIccTagRecord& get() const { return record_; }
    int32_t result() const { return result_; }
    /// With or without a warning.
    bool filled() const;

private:
    ClrIccTagRecord record_ = {};
    uint32_t type_;
    int32_t result_;
};

/// Reads a file of up to 64 MB; "-" is the standard input. Throws ImageError, with `advice` for larger files.
std::vector<uint8_t> readProfileFile(const std::string& path, const std::string& advice = {});

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_PROFILE_H
