// CLRMETHOD_AUTOMATIC: the choice for a pair, and what becomes of the caller's record.
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr uint32_t kAutomatic = 32;

/// The method for a pair, or 32 where there is no choice to make.
uint32_t ExpectedMethod(int32_t source, int32_t destination) {
    const bool withHub = source == 0 || source == 12 || destination == 0 || destination == 12;
    if (!withHub) return 1;
    if (source == 2 || destination == 2) return 2;
    if (source == 7 || destination == 7) return 1;
    if (source == 11) return 2;
    return 32;
}

TEST(AutomaticMethod, OfEveryPair) {
    const HostScope host;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
            ClrParams params = MakeParams(kAutomatic, kAutomatic);
            const uint32_t expected = ExpectedMethod(source, destination);
            if (source == destination) {
                const Converter copier(source, destination, &params);
                EXPECT_EQ(0U, copier->activeMethod);
            } else if (expected == kAutomatic) {
                EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(source, destination, &params));
            } else {
                const Converter chosen(source, destination, &params);
                EXPECT_EQ(expected, chosen->activeMethod);
                EXPECT_EQ(expected, chosen->methods);
                EXPECT_EQ(expected == CLRMETHOD_ICC, chosen->iccTransform != nullptr);
                EXPECT_EQ(nullptr, chosen->customTransform);
            }
            EXPECT_EQ(kAutomatic, params.methods);
            EXPECT_EQ(kAutomatic, params.activeMethod);
        }
    }
    EXPECT_EQ(0, RegisteredCount());
}

TEST(AutomaticMethod, RefusesHubToYuvAndHubToYcck) {
    const HostScope host;
    ClrParams params = MakeParams(kAutomatic, kAutomatic);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(0, 1, &params));
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(0, 11, &params));
    EXPECT_EQ(kAutomatic, params.methods);
    EXPECT_EQ(kAutomatic, params.activeMethod);
}

TEST(AutomaticMethod, HubToCmykIsByProfilesAndTheRecordIsPutBack) {
    const HostScope host;
    ClrParams params = MakeParams(kAutomatic, kAutomatic);
    const ClrParams before = params;
    const Converter c(0, 2, &params);
    EXPECT_EQ(2U, c->activeMethod);
    EXPECT_EQ(0, std::memcmp(&before, &params, sizeof params));

    ClrParams icc = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter named(0, 2, &icc);
    const std::vector<uint8_t> pixels = RandomBytes(60, 4);
    std::vector<uint8_t> chosen(80), expected(80);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), chosen.data(), 20, 1, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(named.Get(), pixels.data(), expected.data(), 20, 1, 0, 0));
    EXPECT_EQ(expected, chosen);
}

/// Creation that fails in the method's own step, after the choice.
TEST(AutomaticMethod, AFailureOfTheTransformLeavesTheRecordChanged) {
    const HostScope host;
    ClrParams params = MakeParams(kAutomatic, kAutomatic);
    host->FailAllocationsAbove(100000);
    EXPECT_EQ(ERR_PROFILE_LOAD, FailingInit(2, 0, &params));
    host->FailAllocationsAbove(0);
    EXPECT_EQ(2U, params.methods);
    EXPECT_EQ(2U, params.activeMethod);
    EXPECT_EQ(0, RegisteredCount());
}

TEST(AutomaticMethod, NeedsBothFieldsToHoldExactlyThirtyTwo) {
    const HostScope host;
    struct Case {
        uint32_t methods;
        uint32_t activeMethod;
        int32_t result;
    };
    constexpr Case kCases[] = {{32, 2, ERR_METHOD_UNAVAILABLE},
                               {2, 32, ERR_METHOD_UNAVAILABLE},
                               {34, 32, CLR_SUCCESS},
                               {32, 34, ERR_METHOD_UNAVAILABLE}};
    for (const Case& c : kCases) {
        ClrParams params = MakeParams(c.methods, c.activeMethod);
        ClrHandle* handle = nullptr;
        EXPECT_EQ(c.result, Zv_ClrInit(&handle, 0, 2, &params));
        EXPECT_EQ(c.methods, params.methods);
        EXPECT_EQ(c.activeMethod, params.activeMethod);
        if (handle != nullptr) {
            EXPECT_EQ(32U, handle->activeMethod) << "no choice is made";
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        }
    }
}

TEST(AutomaticMethod, AFailureAfterTheChoiceLeavesTheRecordChanged) {
    const HostScope host;
    FullRecords records(kAutomatic, kAutomatic);
    records.cmyk.size = 11;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 7, &records.params));
    EXPECT_EQ(1U, records.params.methods);
    EXPECT_EQ(1U, records.params.activeMethod);

    records.params.methods = records.params.activeMethod = kAutomatic;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(0, 2, &records.params));
    EXPECT_EQ(2U, records.params.methods);
    EXPECT_EQ(2U, records.params.activeMethod);
    ReleaseAllConverters();
}

TEST(AutomaticMethod, AFailureBeforeTheChoiceLeavesTheRecordAlone) {
    const HostScope host;
    ClrParams params = MakeParams(kAutomatic, kAutomatic);
    const GuardedBuffer page(8);
    params.whitePoint = reinterpret_cast<ClrWhitePoint*>(page.Data());
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 2, &params));
    EXPECT_EQ(kAutomatic, params.methods);
    EXPECT_EQ(kAutomatic, params.activeMethod);
    EXPECT_EQ(0, RegisteredCount());
}

TEST(AutomaticMethod, RecordThatCannotBeWritten) {
    const HostScope host;
    GuardedBuffer page(sizeof(ClrParams));
    ClrParams* params = PlaceAt(page.Data(), MakeParams(kAutomatic, kAutomatic));
    page.MakeReadOnly();
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 2, params));
    EXPECT_EQ(0, RegisteredCount());
}

}  // namespace
}  // namespace zv::test
