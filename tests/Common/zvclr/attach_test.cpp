// What happens when the library is loaded and unloaded, and what stands before. These programs have no entry point of
// their own: nothing is attached when a test starts.
#include "Common/kernels/print.h"
#include "host/entry.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

ClrHandle* MakeLive(int32_t source, int32_t destination) {
    ClrHandle* handle = nullptr;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, source, destination, nullptr));
    return handle;
}

TEST(Attach, TablesStandBeforeIt) {
    EXPECT_EQ(0, ClrGcrSquares[0]);
    EXPECT_EQ(1, ClrGcrSquares[16]);
    EXPECT_EQ(64, ClrGcrSquares[128]);
    EXPECT_EQ(253, ClrGcrSquares[254]);
    EXPECT_EQ(256, ClrGcrSquares[255]);
    EXPECT_EQ(0, ClrGlobalYcckTables.rangeLimit[-1]);
    EXPECT_EQ(255, ClrGlobalYcckTables.rangeLimit[300]);
    EXPECT_EQ(19595 * 255, ClrGlobalYcckTables.rToY[255]);
    EXPECT_EQ(8421375, ClrGlobalYcckTables.bToCb[0]);
    EXPECT_EQ(-22554 * -128 + 32768, ClrGlobalYcckTables.cbToG[0]);
}

TEST(Attach, ConvertersWorkBeforeIt) {
    const HostScope host;
    const Converter c(CLRSPACE_RGB, CLRSPACE_BGR);
    const uint8_t in[3] = {1, 2, 3};
    uint8_t out[3] = {};
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), in, out, 1, 1, 0, 0));
    EXPECT_EQ(3, out[0]);
}

TEST(Attach, TwoAttachesAndOneDetachLeaveTheConverters) {
    const HostScope host;
    ClrProcessAttach(nullptr);
    ClrProcessAttach(nullptr);
    ClrHandle* first = MakeLive(0, 1);
    const ClrHandle* second = MakeLive(11, 0);
    ClrProcessDetach();
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(first));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(second));
    EXPECT_EQ(2, RegisteredCount());
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(first));
}

TEST(Attach, ConverterMadeBeforeItIsReleasedAtTheLastDetach) {
    const HostScope host;
    const ClrHandle* early = MakeLive(0, 1);
    ClrProcessAttach(nullptr);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(early)) << "an attach drops nothing";
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Attach, LibraryLivesAgainAfterTheLastDetach) {
    const HostScope host;
    for (int round = 0; round < 3; ++round) {
        ClrProcessAttach(nullptr);
        MakeLive(1, 2);
        const uint8_t red[3] = {255, 0, 0};
        uint8_t yuv[3] = {};
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(0, 1, red, yuv, 1, 1, 0, 0));
        EXPECT_EQ(76, yuv[0]);
        ClrProcessDetach();
        EXPECT_EQ(0, RegisteredCount());
    }
}

TEST(Detach, ReleasesWhatFailedCreationsLeftBehind) {
    const HostScope host;
    ClrProcessAttach(nullptr);
    FullRecords records;
    records.cmyk.size = 11;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 0, &records.params));
    records.cmyk.size = 12;
    const GuardedBuffer page(8);
    records.params.labParams = reinterpret_cast<ClrLabParams*>(page.Data());
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(2, 7, &records.params));
    EXPECT_EQ(2, RegisteredCount());
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Detach, ReleasesEverythingThatConvertersOwn) {
    const HostScope host;
    ClrProcessAttach(nullptr);
    FullRecords records;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            ClrHandle* handle = nullptr;
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, source, destination, &records.params));
        }
    }
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
}

TEST(Detach, DropsACorruptConverterAtTheHead) {
    HostScope host;
    ClrProcessAttach(nullptr);
    ClrHandle* corrupt = MakeLive(0, 1);
    const ClrHandle* good = MakeLive(0, 2);
    EXPECT_EQ(corrupt, FirstRegistered());
    corrupt->size = 0xDEAD;
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrIsValid(good));
    EXPECT_EQ(1U, host.Leaked()) << "the record itself: nothing in it can be trusted";
    host.ExpectLeaked(1);
}

TEST(Detach, DropsAConverterThatCannotBeRead) {
    const HostScope host;
    GuardedBuffer record(sizeof(ClrHandle));
    ClrProcessAttach(nullptr);
    ASSERT_TRUE(RegisterConverter(reinterpret_cast<ClrHandle*>(record.Data())));
    MakeLive(0, 2);
    record.MakeUnreadable();
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
}

}  // namespace
}  // namespace zv::test
