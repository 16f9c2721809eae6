// Damaged profiles whose transforms are baked whole: every byte cut off, every field and every byte changed.
#include "tests/Common/zvclr/hostile_profiles.h"

namespace zv::test {
namespace {

std::vector<HostileKind> BakedKinds() {
    std::vector<HostileKind> kinds = HostileKinds();
    std::erase_if(kinds, [](const HostileKind& kind) { return !kind.baked; });
    return kinds;
}

class DamagedTables : public ::testing::TestWithParam<HostileKind> {
protected:
    HostScope host_;
};

TEST_P(DamagedTables, CutAtEveryByte) {
    TruncateEverywhere(GetParam().bytes, 1, [&](const Bytes& damaged, const std::string& what) {
        SCOPED_TRACE(what);
        Try(GetParam(), damaged);
    });
}

TEST_P(DamagedTables, EveryFieldOfTheTablesChanged) {
    const Bytes& profile = GetParam().bytes;
    const size_t table = FindTagPlace(profile, GetParam().asInput ? "A2B0" : "B2A0").offset;
    ChangeEveryField(profile, [&](const Bytes& damaged, const std::string& what) {
        // Colour space, connection, intent, illuminant, directory and the table in use; the rest is not read.
        size_t place = 0;
        while (damaged[place] == profile[place] && ++place < profile.size()) continue;
        const bool read = (place >= 16 && place < 24) || (place >= 64 && place < 80) || (place >= 128 && place < 180) ||
                          (place >= table && place < table + 56);
        if (!read) return;
        SCOPED_TRACE(what);
        Try(GetParam(), damaged);
    });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedTables, ::testing::ValuesIn(BakedKinds()),
                         [](const auto& instance) { return std::string(instance.param.name); });

class DamagedBytes : public ::testing::TestWithParam<HostileKind> {
protected:
    HostScope host_;
};

TEST_P(DamagedBytes, EveryByteChanged) {
    const HostileKind& kind = GetParam();
    for (size_t place = 0; place < kind.bytes.size(); ++place) {
        SCOPED_TRACE(place);
        for (const uint8_t change : {uint8_t{0xFF}, uint8_t{0x80}, uint8_t{0x01}, kind.bytes[place]}) {
            if (change == 0) continue;
            Bytes damaged = kind.bytes;
            damaged[place] = static_cast<uint8_t>(damaged[place] ^ change);
            Try(kind, damaged, kind.baked ? kBelowEveryGrid : 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedBytes, ::testing::ValuesIn(HostileKinds()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace zv::test
