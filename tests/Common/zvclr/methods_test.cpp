// Methods whose objects are absent: accepted at creation, and what they convert to. Without profiles the custom method
// has none, between two hubs neither has the other, and no emulation table serves most pairs.
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 8;
constexpr int32_t kHeight = 4;

class MethodsWithoutObjects : public ::testing::Test {
protected:
    HostScope host_;
    std::vector<uint8_t> source_ = RandomBytes(256, 7);
    std::vector<uint8_t> destination_ = std::vector<uint8_t>(256, 0x5A);

    int32_t Convert(const ClrHandle* converter) {
        return Zv_ClrConvert(converter, source_.data(), destination_.data(), kWidth, kHeight, 0, 0);
    }
    bool Unwritten() const { return destination_ == std::vector<uint8_t>(256, 0x5A); }
};

TEST_F(MethodsWithoutObjects, BuiltinProfilesGiveInvalidParameterBetweenHubs) {
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    for (const int32_t hub : kHubs) {
        const Converter c(hub, 12 - hub, &params);
        EXPECT_EQ(nullptr, c->iccTransform);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(c.Get()));
        EXPECT_TRUE(Unwritten());
    }
}

TEST_F(MethodsWithoutObjects, CustomProfilesGiveInvalidParameterWhereTheLibraryAloneServes) {
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    for (const int32_t hub : kHubs) {
        const Converter fromHub(hub, CLRSPACE_CMY, &params), toHub(CLRSPACE_CMY, hub, &params);
        for (const Converter* c : {&fromHub, &toHub}) {
            EXPECT_EQ(nullptr, (*c)->customTransform);
            EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(c->Get()));
            EXPECT_TRUE(Unwritten());
        }
    }
}

TEST_F(MethodsWithoutObjects, EmulationConvertsNothingWhereNoTableServes) {
    ClrParams params = MakeParams(CLRMETHOD_EMULATION, CLRMETHOD_EMULATION);
    for (const int32_t hub : kHubs) {
        for (const int32_t other : {12 - hub, 1, 3, 6, 11, 15, 128}) {
            const Converter fromHub(hub, other, &params);
            const Converter toHub(other, hub, &params);
            EXPECT_EQ(nullptr, fromHub->builtinEmulationTable);
            EXPECT_EQ(nullptr, toHub->builtinEmulationTable);
            EXPECT_EQ(CLR_SUCCESS, Convert(fromHub.Get()));
            EXPECT_EQ(CLR_SUCCESS, Convert(toHub.Get()));
            EXPECT_TRUE(Unwritten());
        }
    }
}

TEST_F(MethodsWithoutObjects, TheCallersTableMustBeNamedWhateverTheSpaces) {
    const uint32_t sets[] = {CLRMETHOD_CUSTOM_EMULATION, CLRMETHOD_CUSTOM_EMULATION | CLRMETHOD_BUILTIN};
    for (const uint32_t methods : sets) {
        ClrParams params = MakeParams(methods, CLRMETHOD_CUSTOM_EMULATION);
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &params));
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(CLRSPACE_RGB, CLRSPACE_YUV, &params));
        EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(CLRSPACE_CMYK, CLRSPACE_LAB, &params));
    }
}

TEST_F(MethodsWithoutObjects, ProfilesFromAndToYcck) {
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    // No output profile is given, so that nothing is built.
    const Converter toHub(CLRSPACE_YCCK, CLRSPACE_RGB, &params);
    EXPECT_EQ(0, Convert(toHub.Get()));
    EXPECT_TRUE(Unwritten());
    const Converter fromHub(CLRSPACE_RGB, CLRSPACE_YCCK, &params);
    EXPECT_EQ(CLR_SUCCESS, Convert(fromHub.Get()));
    EXPECT_TRUE(Unwritten());
}

TEST_F(MethodsWithoutObjects, EqualSpacesByCustomProfilesDoNotCopy) {
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    const Converter c(CLRSPACE_HSV, CLRSPACE_HSV, &params);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Convert(c.Get()));
    EXPECT_TRUE(Unwritten());
}

TEST_F(MethodsWithoutObjects, EqualSpacesCopyWithAnyOtherMethod) {
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC | CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter c(CLRSPACE_HSV, CLRSPACE_HSV, &params);
    EXPECT_EQ(CLR_SUCCESS, Convert(c.Get()));
    EXPECT_EQ(0, std::memcmp(source_.data(), destination_.data(), size_t{kWidth * kHeight * 3}));
}

TEST_F(MethodsWithoutObjects, RouteThroughTheHubIgnoresTheMethod) {
    struct Case {
        uint32_t method;
        int32_t from, to;
    };
    constexpr Case kCases[] = {{1, CLRSPACE_CMYK, CLRSPACE_LAB},
                               {2, CLRSPACE_CMYK, CLRSPACE_LAB},
                               {8, CLRSPACE_CMYK, CLRSPACE_LAB},
                               {4, CLRSPACE_CMYK, CLRSPACE_HSV}};
    for (const Case& c : kCases) {
        std::vector<uint8_t> expected(256, 0x5A);
        ASSERT_EQ(CLR_SUCCESS,
                  Zv_ClrConvertDirect(c.from, c.to, source_.data(), expected.data(), kWidth, kHeight, 0, 0));
        FullRecords records(c.method, c.method);
        const Converter converter(c.from, c.to, &records.params);
        EXPECT_EQ(2U, converter->route);
        EXPECT_EQ(nullptr, converter->iccTransform);
        EXPECT_EQ(nullptr, converter->customTransform);
        EXPECT_EQ(nullptr, converter->builtinEmulationTable);
        std::fill(destination_.begin(), destination_.end(), uint8_t{0x5A});
        EXPECT_EQ(CLR_SUCCESS, Convert(converter.Get()));
        EXPECT_EQ(expected, destination_) << "the records of the converter are not used";
    }
}

TEST_F(MethodsWithoutObjects, UnknownActiveMethodOfARecord) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    for (const uint32_t method : {0U, 3U, 5U, 6U, 7U, 9U, 12U, 24U, 32U, 33U, 64U, 0x80000000U, 0xFFFFFFFFU}) {
        c->activeMethod = method;
        EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Convert(c.Get())) << method;
        EXPECT_TRUE(Unwritten());
    }
}

TEST_F(MethodsWithoutObjects, AcceptedSetsThatNameNoMethodToConvertBy) {
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN | CLRMETHOD_AUTOMATIC, CLRMETHOD_AUTOMATIC);
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV, &params);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Convert(c.Get()));
}

}  // namespace
}  // namespace zv::test
