// Changes of converters whose transforms take long to make.
#include "tests/Common/zvclr/change_sweeps.h"

namespace zv::test {
namespace {

TEST_F(TransformsWithoutMemory, BuiltinProfilesToLab) {
    records_.white.whiteCode = 93;
    ExpectSound(CLRSPACE_RGB, CLRSPACE_LAB, MakeParams(2, 2), Change(CLRPARAM_LAB | CLRPARAM_WHITE_POINT));
}

TEST_F(TransformsWithoutMemory, CallersProfilesOfInks) {
    MemoryProfile press(LutProfile("CMYK", "Lab ", 16, 2).Build());
    ClrParams change = Change(CLRPARAM_CMYK);
    change.inputProfileMemory = &press.record;
    change.outputProfileMemory = &steep_.record;
    change.activeMethod = CLRMETHOD_CUSTOM_ICC;
    ExpectSound(CLRSPACE_CMYK, CLRSPACE_RGB, CustomParams(&press, &steep_), change);
}

TEST_F(RandomChanges, RecordsAndProfilesOfEveryPairForLong) {
    TestRandom random(11);
    for (int round = 0; round < 3000; ++round) {
        const int32_t source = kAllSpaces[random.Below(18)], destination = kAllSpaces[random.Below(18)];
        ClrParams creation = MakeParams(1, 1);
        const Converter c(source, destination, random.Below(2) == 0 ? nullptr : &creation);
        for (int i = 0; i < 20; ++i) {
            ClrParams params = Random(random);
            params.activeMethod &= ~uint32_t{CLRMETHOD_CUSTOM_ICC};
            ExpectToldResult(Change(c, params));
            ConvertSomething(c, random);
        }
    }
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(RandomChanges, ProfilesOfTwoHubsForLong) {
    TestRandom random(12);
    for (int round = 0; round < 600; ++round) {
        ClrParams creation = CustomParams(&linear_, &steep_);
        creation.methods |= 1 | 8;
        const Converter c(kHubs[random.Below(2)], kHubs[random.Below(2)], &creation);
        for (int i = 0; i < 15; ++i) {
            ExpectToldResult(Change(c, Random(random)));
            ConvertSomething(c, random);
        }
    }
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(RandomChanges, BuiltinProfilesOfTheHub) {
    TestRandom random(13);
    for (int round = 0; round < 24; ++round) {
        constexpr std::pair<int32_t, int32_t> kPairs[] = {{0, 7}, {7, 12}, {6, 0}, {12, 6}};
        const auto& [source, destination] = kPairs[random.Below(4)];
        ClrParams creation = MakeParams(1 | 2 | 8, 2);
        const Converter c(source, destination, &creation);
        for (int i = 0; i < 10; ++i) {
            ClrParams params = Random(random);
            // Else a transform would belong to no method of the converter.
            params.methods &= ~uint32_t{CLRPARAM_PROFILES};
            params.activeMethod &= ~uint32_t{CLRMETHOD_CUSTOM_ICC};
            ExpectToldResult(Change(c, params));
            ConvertSomething(c, random);
        }
    }
    EXPECT_EQ(0U, host_.Leaked());
}

}  // namespace
}  // namespace zv::test
