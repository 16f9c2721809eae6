// Changes with every allocation failing in turn, and random changes.
#pragma once

#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {

class ChangeWithoutMemory : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    FullRecords records_;
    ClrParams Change(uint32_t mask) {
        ClrParams params = records_.params;
        params.methods = mask;
        params.activeMethod = 0;
        return params;
    }
    int32_t FailAt(int64_t n, const Converter& c, const ClrParams& params) {
        host_->Reset();
        host_->FailAllocation(n);
        const int32_t result = Zv_ClrSetConversionParams(c.Get(), &params);
        reached_ = host_->AllocationsSinceReset() >= n;
        host_->FailAllocation(0);
        return result;
    }
    bool reached_ = false;
};

/// Every allocation of changes that make transforms again.
class TransformsWithoutMemory : public ChangeWithoutMemory {
protected:
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};

    void ExpectSound(int32_t source, int32_t destination, ClrParams creation, const ClrParams& change) {
        const size_t held = host_.Leaked();
        int64_t n = 1, failures = 0;
        for (reached_ = true; reached_; ++n) {
            ASSERT_LT(n, 300) << "no end";
            {
                ClrParams params = creation;
                const Converter c(source, destination, &params);
                const int32_t result = FailAt(n, c, change);
                EXPECT_TRUE(result == CLR_SUCCESS || result == ERR_NO_MEMORY || result == ERR_PROFILE_LOAD ||
                            result == ERR_PROFILE_UNUSABLE)
                    << result;
                if (!reached_) {
                    EXPECT_EQ(CLR_SUCCESS, result);
                }
                const auto* transform = c->activeMethod == 2 ? c->iccTransform : c->customTransform;
                if (result != CLR_SUCCESS || transform == nullptr) ++failures;
                EXPECT_EQ(transform == nullptr ? ERR_INVALID_PARAMETER : CLR_SUCCESS,
                          ConvertPixels(c, Bytes(12), 3).result);
            }
            EXPECT_EQ(held, host_.Leaked()) << n;
        }
        EXPECT_GE(failures, 5);
    }
};

/// Random changes and conversions. Pointers are null or unreadable at times, numbers are anything.
class RandomChanges : public ::testing::Test {
protected:
    HostScope host_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};
    MemoryProfile noise_{RandomBytes(400, 3)};
    const Nowhere nowhere_;
    int32_t table_[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    ClrCmykParams cmyk_{};
    ClrYuvParams yuv_{};
    ClrLabParams lab_{};
    ClrWhitePoint white_{};

    static int32_t Number(TestRandom& random) {
        switch (random.Below(6)) {
            case 0:
                return static_cast<int32_t>(random.Next());
            case 1:
                return 0;
            case 2:
                return -static_cast<int32_t>(random.Below(300));
            default:
                return static_cast<int32_t>(random.Below(300));
        }
    }
    template <class T>
    T* Pointer(TestRandom& random, T& good) {
        switch (random.Below(10)) {
            case 0:
                return nullptr;
            case 1:
                return nowhere_.As<T>();
            default:
                return &good;
        }
    }
    /// Without the parts that leave blocks behind.
    ClrParams Random(TestRandom& random) {
        cmyk_ = {Number(random), Number(random), Number(random)};
        yuv_ = {Number(random), Number(random), Number(random), Number(random), Number(random),
                Number(random), table_,         Number(random), Number(random), Number(random)};
        if (yuv_.macroPixelSize > 64) yuv_.macroPixelSize = 64;
        lab_ = {Number(random), Number(random), Number(random), Number(random),
                Number(random), Number(random), Number(random), Number(random)};
        white_ = {random.Below(3) == 0 ? 0U : random.Below(100), random.Unit() * 2 - 0.5, random.Unit() * 2 - 0.5};
        ClrParams params = ChangeOf(random.Next() & ~uint32_t{CLRPARAM_EMULATION_FILE});
        params.whitePoint = Pointer(random, white_);
        params.cmykParams = Pointer(random, cmyk_);
        params.yuvParams = Pointer(random, yuv_);
        params.labParams = Pointer(random, lab_);
        MemoryProfile* const profiles[] = {&linear_, &steep_, &noise_};
        params.inputProfileMemory = Pointer(random, profiles[random.Below(3)]->record);
        params.outputProfileMemory = Pointer(random, profiles[random.Below(3)]->record);
        params.activeMethod = random.Below(2) == 0 ? 1U << random.Below(6) : random.Below(64);
        return params;
    }
    static void ExpectToldResult(int32_t result) {
        constexpr int32_t kTold[] = {CLR_SUCCESS,
                                     ERR_INVALID_PARAMETER,
                                     ERR_BAD_POINTER,
                                     ERR_METHOD_UNAVAILABLE,
                                     ERR_COLORSPACE_UNSUPPORTED,
                                     ERR_PROFILE_LOAD,
                                     ERR_PROFILE_UNUSABLE};
        EXPECT_NE(std::end(kTold), std::find(std::begin(kTold), std::end(kTold), result)) << result;
    }
    static void ConvertSomething(const Converter& c, TestRandom& random) {
        const auto width = static_cast<int32_t>(8 * (1 + random.Below(3)));
        constexpr int32_t kHeight = 4;
        const Bytes pixels = RandomBytes(16 * 24 * kHeight, random.Next());
        Bytes out(4 * 24 * kHeight);
        const int32_t result = Zv_ClrConvert(c.Get(), pixels.data(), out.data(), width, kHeight, 0, 0);
        ASSERT_LE(result, CLR_SUCCESS);
    }
};

}  // namespace zv::test
