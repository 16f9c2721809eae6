// CLRMETHOD_CUSTOM_ICC on the pairs that a colour management of the platform would serve, where there is none.
#include <cmath>
#include <utility>

#include "tests/Common/zvclr/icc_fixture.h"

namespace zv::test {
namespace {

class WithoutSystemColours : public ::testing::Test {
protected:
    HostScope host_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};

    void ExpectLeftOnList(ClrParams params, int32_t source, int32_t destination, int32_t code = ERR_PROFILE_UNUSABLE) {
        EXPECT_EQ(code, FailingInit(source, destination, &params)) << source << " to " << destination;
        EXPECT_EQ(1, RegisteredCount());
        ReleaseAllConverters();
        EXPECT_EQ(0U, host_.Leaked());
    }
};

TEST_F(WithoutSystemColours, TheLibrarysOwnTransformTakesTheRole) {
    // From a linear profile to a square root's and back: known values, the same for both hubs.
    const Bytes pixels{0, 64, 255, 16, 128, 200};
    for (const int32_t destination : kHubs) {
        ClrParams params = CustomParams(&linear_, &steep_);
        const Converter c(CLRSPACE_RGB, destination, &params);
        ASSERT_NE(nullptr, c->customTransform);
        EXPECT_EQ(nullptr, c->systemTransform);
        Bytes out = ConvertRow(c.Get(), pixels);
        for (size_t i = 0; i < out.size(); ++i) {
            const size_t from = destination == CLRSPACE_RGB ? i : i / 3 * 3 + (2 - i % 3);
            EXPECT_NEAR(255 * std::sqrt(pixels[from] / 255.0), out[i], 1.5) << i;
        }
    }
}

TEST_F(WithoutSystemColours, ServedPairsNeedATransformOfTheirOwn) {
    constexpr int32_t kServed[] = {0, 2, 7, 8, 12};
    for (const int32_t source : kServed) {
        for (const int32_t destination : kServed) {
            ExpectLeftOnList(CustomParams(&linear_, nullptr), source, destination);
            ExpectLeftOnList(CustomParams(nullptr, nullptr), source, destination);
        }
    }
}

/// Two of the inks and Lab: the profiles are tried at creation, and the built-in steps convert.
class TwoStepsWithoutSystemColours : public WithoutSystemColours {
protected:
    MemoryProfile press_{LutProfile("CMYK", "Lab ", 16, 2).Build()};
    MemoryProfile lab_{LutProfile("Lab ", "Lab ", 16, 2).Build()};

    static void ExpectTried(int32_t source, int32_t destination, ClrParams params) {
        const Converter c(source, destination, &params), builtin(source, destination);
        ASSERT_NE(nullptr, c.Get());
        EXPECT_NE(nullptr, c->customTransform);
        EXPECT_EQ(nullptr, c->systemTransform);
        EXPECT_EQ(static_cast<uint32_t>(source), c->sourceFormat);
        EXPECT_EQ(static_cast<uint32_t>(destination), c->destinationFormat);
        EXPECT_EQ(2U, c->route);
        EXPECT_EQ(params.methods, c->methods);
        EXPECT_EQ(params.activeMethod, c->activeMethod);
        EXPECT_EQ(ConvertSample(builtin.Get()), ConvertSample(c.Get()));
    }
};

TEST_F(TwoStepsWithoutSystemColours, UsableProfiles) {
    const ClrParams fromInks = CustomParams(&press_, &lab_), toInks = CustomParams(&lab_, &press_);
    ExpectTried(CLRSPACE_CMYK, CLRSPACE_LAB, fromInks);
    ExpectTried(CLRSPACE_LAB, CLRSPACE_CMYK, toInks);
    ClrParams builtin = fromInks;
    builtin.methods |= CLRMETHOD_BUILTIN;
    builtin.activeMethod = CLRMETHOD_BUILTIN;
    ExpectTried(CLRSPACE_CMYK, CLRSPACE_LAB, builtin);
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(TwoStepsWithoutSystemColours, ProfilesInFiles) {
    const TemporaryFolder folder;
    ClrParams params = CustomParams(nullptr, nullptr);
    SetName(params.inputProfileName, folder.Write("press.icc", press_.bytes));
    SetName(params.outputProfileName, folder.Write("lab.icc", lab_.bytes));
    ExpectTried(CLRSPACE_CMYK, CLRSPACE_LAB, params);
    SetName(params.outputProfileName, WideOf(folder.Path() / "missing.icc"));
    ExpectTried(CLRSPACE_CMYK, CLRSPACE_LAB, params);  // the built-in profile is usable
    SetName(params.inputProfileName, WideOf(folder.Path() / "missing.icc"));
    ExpectLeftOnList(params, CLRSPACE_CMYK, CLRSPACE_LAB);
}

TEST_F(TwoStepsWithoutSystemColours, ProfilesThatCannotBeUsed) {
    MemoryProfile noise(RandomBytes(400, 3)), empty(press_.bytes);
    empty.record.dataSize = 0;
    for (const ClrParams& params :
         {CustomParams(&press_, nullptr), CustomParams(nullptr, &lab_), CustomParams(&lab_, &press_),
          CustomParams(&linear_, &lab_), CustomParams(&press_, &steep_), CustomParams(&noise, &lab_),
          CustomParams(&press_, &noise), CustomParams(&empty, &lab_)}) {
        ExpectLeftOnList(params, CLRSPACE_CMYK, CLRSPACE_LAB);
    }
    for (const auto& [source, destination] : {std::pair(8, 7), std::pair(7, 8), std::pair(2, 8), std::pair(8, 2)}) {
        ExpectLeftOnList(CustomParams(source == 2 ? &press_ : &lab_, destination == 2 ? &press_ : &lab_), source,
                         destination);
    }
}

TEST_F(TwoStepsWithoutSystemColours, MemoryThatCannotBeRead) {
    const GuardedBuffer record(sizeof(ClrProfileMemory));
    for (const bool onInput : {true, false}) {
        ClrParams params = CustomParams(&press_, &lab_);
        auto*& given = onInput ? params.inputProfileMemory : params.outputProfileMemory;
        given = reinterpret_cast<ClrProfileMemory*>(record.Data() + 1);
        ExpectLeftOnList(params, CLRSPACE_CMYK, CLRSPACE_LAB, ERR_BAD_POINTER);
        ClrProfileMemory unreadable{20, nullptr, 100};
        given = &unreadable;
        ExpectLeftOnList(params, CLRSPACE_CMYK, CLRSPACE_LAB, ERR_BAD_POINTER);
    }
}

TEST_F(TwoStepsWithoutSystemColours, NoMemoryForTheCopies) {
    // Converter, node and white come first; then record and data of each side.
    for (const int64_t n : {4, 5, 6, 7}) {
        host_->Reset();
        host_->FailAllocation(n);
        ExpectLeftOnList(CustomParams(&press_, &lab_), CLRSPACE_CMYK, CLRSPACE_LAB, ERR_NO_MEMORY);
    }
    host_->FailAllocation(0);
}

TEST_F(WithoutSystemColours, XyzHasNone) {
    for (const auto& [source, destination] :
         {std::pair(8, 0), std::pair(0, 8), std::pair(8, 12), std::pair(12, 8), std::pair(8, 8)}) {
        ExpectLeftOnList(CustomParams(&linear_, &steep_), source, destination);
    }
}

TEST_F(WithoutSystemColours, OtherPairsNeedNone) {
    ClrParams params = CustomParams(&linear_, nullptr);
    for (const int32_t space : {1, 3, 4, 5, 6, 9, 10, 11, 13, 14, 15, 128, 144}) {
        const Converter from(space, CLRSPACE_RGB, &params), to(CLRSPACE_BGR, space, &params);
        EXPECT_EQ(nullptr, from->customTransform);
    }
}

}  // namespace
}  // namespace zv::test
