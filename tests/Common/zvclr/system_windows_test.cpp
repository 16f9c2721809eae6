// The real colour management of Windows behind CLRMETHOD_CUSTOM_ICC.
#ifdef _WIN32
#    include <cmath>

#    include "tests/Common/zvclr/icc_fixture.h"
#    include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

class WindowsColours : public ::testing::Test {
protected:
    WindowsColours() { RecordingColours::UsePlatform(); }
    ~WindowsColours() override { RecordingColours::UseNone(); }

    HostScope host_;
    TemporaryFolder folder_;
    MemoryProfile linear_{GammaProfile(0x0100)};
    MemoryProfile steep_{GammaProfile(0x0200)};

    ClrParams InFiles(const Wide& input, const Wide& output) {
        ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
        SetName(params.inputProfileName, input);
        SetName(params.outputProfileName, output);
        return params;
    }
    /// A grey ramp, whichever order the bytes of a pixel have: an output of gamma 2 makes roots of linear light.
    static void ExpectRoots(ClrParams params) {
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
        ASSERT_NE(nullptr, c.Get());
        EXPECT_NE(nullptr, c->systemTransform);
        Bytes greys;
        for (int grey = 0; grey < 256; grey += 17) greys.insert(greys.end(), 3, static_cast<uint8_t>(grey));
        Bytes out(greys.size());
        // Four pixels a row: rows that need no alignment.
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), greys.data(), out.data(), 4, 4, 0, 0));
        for (size_t i = 0; i < out.size(); ++i) EXPECT_NEAR(255 * std::sqrt(greys[i] / 255.0), out[i], 3) << i;
    }
};

TEST_F(WindowsColours, AreThere) { EXPECT_TRUE(ZvPlatformColours().IsPresent()); }

TEST_F(WindowsColours, TwoProfilesInMemory) { ExpectRoots(CustomParams(&linear_, &steep_)); }

TEST_F(WindowsColours, TwoProfilesByName) {
    ExpectRoots(InFiles(folder_.Write("linear.icc", linear_.bytes), folder_.Write("steep.icc", steep_.bytes)));
}

TEST_F(WindowsColours, OneByNameAndOneInMemory) {
    ClrParams params = CustomParams(nullptr, &steep_);
    SetName(params.inputProfileName, folder_.Write("linear.icc", linear_.bytes));
    ExpectRoots(params);
}

TEST_F(WindowsColours, ManyConvertersComeAndGo) {
    for (int i = 0; i < 50; ++i) {
        ClrParams params = CustomParams(&linear_, &steep_);
        const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    }
}

/// The unload would take what such a refusal leaves.
TEST_F(WindowsColours, OneProfileOrNoneMakesNoTransform) {
    ClrParams missing = InFiles(folder_.Write("linear.icc", linear_.bytes), WideOf(folder_.Path() / "missing.icc"));
    for (ClrParams params : {CustomParams(&linear_, nullptr), CustomParams(nullptr, nullptr), missing}) {
        EXPECT_EQ(ERR_PROFILE_UNUSABLE, FailingInit(CLRSPACE_RGB, CLRSPACE_BGR, &params));
        EXPECT_EQ(1, RegisteredCount());
        ReleaseAllConverters();
    }
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(WindowsColours, ChangeReplacesTheTransform) {
    ClrParams params = CustomParams(&steep_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    const Bytes greys(12, 64);
    Bytes out(12);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), greys.data(), out.data(), 4, 1, 0, 0));
    EXPECT_NEAR(64, out[0], 2);
    ClrParams change = CustomParams(&linear_, &steep_);
    change.methods = 0;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(c.Get(), &change));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), greys.data(), out.data(), 4, 1, 0, 0));
    EXPECT_NEAR(128, out[0], 3);
}

TEST_F(WindowsColours, TransformThatWasNotMadeTranslatesNothing) {
    ClrParams params = CustomParams(&linear_, &steep_);
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR, &params);
    ClrParams change = CustomParams(&linear_, nullptr);
    change.methods = CLRPARAM_ACTIVE_METHOD;
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Zv_ClrSetConversionParams(c.Get(), &change));
    EXPECT_EQ(nullptr, c->systemTransform);
    const Bytes greys(12, 64);
    Bytes out(12, 0xCD);
    EXPECT_EQ(0, Zv_ClrConvert(c.Get(), greys.data(), out.data(), 4, 1, 0, 0));
    EXPECT_EQ(Bytes(12, 0xCD), out);
}

}  // namespace
}  // namespace zv::test
#endif
