// Creation with every allocation failing in turn.
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

struct Case {
    int32_t source;
    int32_t destination;
    bool withParams;
    int64_t allocations;
};

// Converter and node always; with a record the white point; then the records of the spaces.
constexpr Case kCases[] = {
    {0, 0, false, 2}, {99, 99, true, 2}, {0, 1, false, 2}, {11, 0, false, 3}, {0, 1, true, 4},  {0, 3, true, 3},
    {2, 0, true, 4},  {12, 2, true, 4},  {2, 1, true, 5},  {7, 0, true, 5},   {0, 7, true, 5},  {2, 7, true, 6},
    {1, 7, true, 6},  {11, 0, true, 4},  {11, 2, true, 5}, {11, 1, true, 5},  {11, 7, true, 6}, {6, 8, true, 3},
};

TEST(CreateWithoutMemory, EveryAllocationInTurn) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(std::to_string(c.source) + " to " + std::to_string(c.destination));
        HostScope host;
        FullRecords records;
        ClrParams* const params = c.withParams ? &records.params : nullptr;
        const int32_t registered = RegisteredCount();
        int64_t n = 1;
        for (; n <= 20; ++n) {
            host->Reset();
            host->FailAllocation(n);
            ClrHandle* handle = nullptr;
            const int32_t result = Zv_ClrInit(&handle, c.source, c.destination, params);
            if (result == CLR_SUCCESS) {
                host->FailAllocation(0);
                EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
                break;
            }
            EXPECT_EQ(ERR_NO_MEMORY, result) << "allocation " << n;
            EXPECT_EQ(nullptr, handle);
            EXPECT_EQ(0U, host.Leaked()) << "allocation " << n;
            EXPECT_EQ(registered, RegisteredCount()) << "allocation " << n;
        }
        EXPECT_EQ(c.allocations + 1, n);
    }
}

TEST(CreateWithoutMemory, LeavesLiveConvertersAlone) {
    HostScope host;
    FullRecords records;
    const Converter before(0, 1);
    const size_t held = host.Leaked();
    for (int64_t n = 1; n <= 6; ++n) {
        host->FailAllocation(n);
        EXPECT_EQ(ERR_NO_MEMORY, FailingInit(11, 7, &records.params));
        EXPECT_EQ(held, host.Leaked());
        EXPECT_EQ(before.Get(), FirstRegistered());
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(before.Get()));
        EXPECT_EQ(1, RegisteredCount());
    }
    host->FailAllocation(0);
}

TEST(CreateWithoutMemory, AutomaticRecordStaysChangedOnlyAfterTheChoice) {
    const HostScope host;
    for (int64_t n = 1; n <= 5; ++n) {
        FullRecords records(32, 32);
        host->FailAllocation(n);
        EXPECT_EQ(ERR_NO_MEMORY, FailingInit(7, 2, &records.params));
        // Converter, node and white point come before the choice.
        const uint32_t expected = n <= 3 ? 32U : 1U;
        EXPECT_EQ(expected, records.params.methods) << n;
        EXPECT_EQ(expected, records.params.activeMethod) << n;
    }
    host->FailAllocation(0);
}

}  // namespace
}  // namespace zv::test
