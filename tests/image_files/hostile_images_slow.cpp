// Files damaged in several places at random.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "hostile_images.h"

namespace {

using namespace zvtest;

class ManyDamages : public testing::TestWithParam<HostileSource> {};

INSTANTIATE_TEST_SUITE_P(Formats, ManyDamages, testing::ValuesIn(HostileSources()),
                         [](const testing::TestParamInfo<HostileSource>& source) { return source.param.name; });

TEST_P(ManyDamages, AtRandom) {
    constexpr uint8_t kBytes[] = {0x00, 0x01, 0x02, 0x0D, 0x0E, 0x7F, 0x80, 0xE0, 0xE2, 0xFF, 0xD8, 0xD9, 0xDA, '%'};
    const Bytes& source = GetParam().bytes;
    HostileCheck check;
    for (unsigned seed = 0; seed < 6000; ++seed) {
        std::minstd_rand random(seed + 1);
        const auto upTo = [&random](size_t limit) { return static_cast<size_t>(random()) % limit; };
        Bytes file = source;
        for (size_t damages = 1 + upTo(6); damages > 0 && !file.empty(); --damages) {
            const size_t at = upTo(file.size());
            const auto place = file.begin() + static_cast<std::ptrdiff_t>(at);
            switch (upTo(5)) {
                case 0:
                    file[at] = static_cast<uint8_t>(upTo(256));
                    break;
                case 1:
                    file[at] = kBytes[upTo(sizeof kBytes)];
                    break;
                case 2:
                    file.erase(place,
                               place + static_cast<std::ptrdiff_t>(1 + upTo(std::min<size_t>(20, file.size() - at))));
                    break;
                case 3:
                    file.insert(place, 1 + upTo(20), kBytes[upTo(sizeof kBytes)]);
                    break;
                default:
                    file.insert(place, source.begin(),
                                source.begin() + static_cast<std::ptrdiff_t>(upTo(source.size())));
                    break;
            }
        }
        ASSERT_TRUE(check.Try(file)) << "seed " << seed;
    }
}

}  // namespace
