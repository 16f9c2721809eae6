// What the tests of tag editing have in common: the whole state of a profile, tags of an unknown type.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "Common/IccProfile/tag_types.h"
#include "tests/Common/IccProfile/lut_fixture.h"

namespace zv::test {

inline constexpr auto kHeader = IccProfileHolder::Start::kHeader;

/// All of a record that callers see, and the blocks behind it.
inline Bytes StateOf(const ClrIccProfile* profile) {
    Bytes state = BytesOf(profile, sizeof *profile) + IccHeaderBytesOf(profile) + IccTagDataOf(profile);
    for (const ClrIccTagEntry& entry : IccTableOf(profile)) state = state + BytesOf(&entry, sizeof entry);
    return state + IccImageBytesOf(profile);
}

/// Adds a body of so many bytes in all, of an unknown type, whose bytes behind the head begin with `first`.
inline Bytes AddUnknown(ClrIccProfile* profile, std::string_view tag, size_t size, uint8_t first,
                        std::string_view type = "zzzz") {
    Bytes values = CountingBytes(size - 8, first);
    ClrIccTagArray record = {0, {}, values.data(), static_cast<uint32_t>(values.size())};
    const int32_t result = Zv_SetICCTagData(profile, &record, FourCc(tag), FourCc(type));
    EXPECT_EQ(IccIsKnownTag(FourCc(tag)) == 0 ? ERR_UNKNOWN_TAG_TYPE : ERR_UNKNOWN_TAG_AND_TYPE, result);
    return TypedBody(type, values);
}

inline void FillProfileId(ClrIccProfile* profile) { std::memset(profile->header->profileId, 0x77, 16); }

inline bool ProfileIdIsClear(const ClrIccProfile* profile) {
    return std::all_of(std::begin(profile->header->profileId), std::end(profile->header->profileId),
                       [](uint8_t byte) { return byte == 0; });
}

}  // namespace zv::test
