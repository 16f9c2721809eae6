// What Zv_ClrInit refuses, in its order, and what each refusal takes back.
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

ClrParams* Unreadable(const GuardedBuffer& page) { return reinterpret_cast<ClrParams*>(page.Data() + page.Size()); }

/// Nothing was left behind by what happened in the scope.
class Untouched {
public:
    ~Untouched() {
        EXPECT_EQ(registered_, RegisteredCount());
        EXPECT_EQ(blocks_, RecordingHost::Get().LiveCount());
    }

private:
    int32_t registered_ = RegisteredCount();
    size_t blocks_ = RecordingHost::Get().LiveCount();
};

TEST(CreateRefusals, NullReceiverGoesFirst) {
    const HostScope host;
    const GuardedBuffer page(8);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrInit(nullptr, 0, 1, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrInit(nullptr, 99, 0, Unreadable(page)));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrInit(nullptr, 99, 99, nullptr));
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(CreateRefusals, ReceiverThatCannotBeWritten) {
    const HostScope host;
    GuardedBuffer page(sizeof(ClrHandle*));
    page.MakeReadOnly();
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrInit(reinterpret_cast<ClrHandle**>(page.Data()), 0, 1, nullptr));
    page.MakeUnreadable();
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrInit(reinterpret_cast<ClrHandle**>(page.Data()), 0, 0, nullptr));
}

TEST(CreateRefusals, UnreadableRecordGoesBeforeIdsAndEqualSpaces) {
    const HostScope host;
    const GuardedBuffer page(8);
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 1, Unreadable(page)));
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(99, 0, Unreadable(page)));
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(5, 5, Unreadable(page)));
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(CreateRefusals, RecordIsReadableToItsLastByteAndNoFurther) {
    const HostScope host;
    const GuardedBuffer whole(sizeof(ClrParams));
    const Converter exact(0, 1, PlaceAt(whole.Data(), MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN)));

    const GuardedBuffer shorter(sizeof(ClrParams) - 8);
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 1, reinterpret_cast<ClrParams*>(shorter.Data())));
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(5, 5, reinterpret_cast<ClrParams*>(shorter.Data())));
}

TEST(CreateRefusals, RecordAcrossAnUnreadablePage) {
    const HostScope host;
    GuardedBuffer pages(2 * GuardedBuffer::PageSize());
    uint8_t* const at = pages.Data() + GuardedBuffer::PageSize() - 1024;
    ClrParams* const params = PlaceAt(at, MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN));
    pages.MakePageUnreadable(GuardedBuffer::PageSize());
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 1, params));
}

TEST(CreateRefusals, SizeOfTheRecordMattersOnlyForDifferentSpaces) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    for (const uint32_t size : {100U, 0U, 1647U, 1649U}) {
        params.size = size;
        EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(0, 1, &params)) << size;
        const Converter copier(0, 0, &params);
    }
}

TEST(CreateRefusals, SizeOfTheRecordGoesBeforeIds) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    params.size = 100;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(99, 0, &params));
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(99, 99, &params));
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(0, 0, &params));
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(CreateRefusals, IdsGoBeforeMethods) {
    const HostScope host;
    ClrParams params = MakeParams(0, CLRMETHOD_EMULATION);
    params.emulationMethod = 0;
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(99, 0, &params));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(0, 99, &params));
    EXPECT_EQ(0, host->AllocationsSinceReset());
}

TEST(CreateRefusals, NinetyNineToHubWithoutRecord) {
    const HostScope host;
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(99, 0, nullptr));
}

TEST(CreateRefusals, EmulationMethodGoesBeforeWhitePointAndMethods) {
    const HostScope host;
    const Untouched untouched;
    const GuardedBuffer page(8);
    ClrParams params = MakeParams(0, CLRMETHOD_EMULATION);
    params.whitePoint = reinterpret_cast<ClrWhitePoint*>(page.Data() + page.Size());
    for (const uint32_t method : {0U, 1U, 9U, 16U}) {
        params.emulationMethod = method;
        EXPECT_EQ(ERR_INVALID_PARAMETER, FailingInit(2, 0, &params)) << method;
    }
    params.emulationMethod = CLRMETHOD_EMULATION;
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(2, 0, &params));
}

TEST(CreateRefusals, EmulationMethodIsReadForThatActiveMethodOnly) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN | CLRMETHOD_EMULATION, CLRMETHOD_BUILTIN);
    params.emulationMethod = 0;
    const Converter converter(0, 1, &params);
}

TEST(CreateRefusals, UnreadableWhitePointGoesBeforeMethods) {
    const HostScope host;
    const Untouched untouched;
    ClrParams params = MakeParams(0, 0);
    const GuardedBuffer page(sizeof(ClrWhitePoint) - 1);
    params.whitePoint = reinterpret_cast<ClrWhitePoint*>(page.Data());
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(0, 1, &params));
}

TEST(CreateRefusals, MethodsGoBeforeTheRecordsOfSpaces) {
    const HostScope host;
    const Untouched untouched;
    FullRecords records(CLRMETHOD_BUILTIN, CLRMETHOD_ICC);
    records.cmyk.size = 11;
    records.lab.size = 1;
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(2, 7, &records.params));
}

TEST(CreateRefusals, MethodsThatCannotServe) {
    const HostScope host;
    const Untouched untouched;
    struct Case {
        uint32_t methods;
        uint32_t activeMethod;
    };
    constexpr Case kCases[] = {{0, 0},  {0, 1},   {1, 0},   {1, 2},   {2, 1},   {16, 4},           {64, 64}, {32, 1},
                               {1, 32}, {32, 33}, {96, 32}, {96, 96}, {31, 32}, {0xFFFFFFE0U, 32}, {30, 1}};
    for (const Case& c : kCases) {
        ClrParams params = MakeParams(c.methods, c.activeMethod);
        EXPECT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(0, 1, &params)) << c.methods << " " << c.activeMethod;
        EXPECT_EQ(c.methods, params.methods);
        EXPECT_EQ(c.activeMethod, params.activeMethod);
    }
}

TEST(CreateRefusals, OneSharedBitIsEnough) {
    const HostScope host;
    struct Case {
        uint32_t methods;
        uint32_t activeMethod;
    };
    constexpr Case kCases[] = {{1, 1}, {1, 3}, {1, 0xFFFFFFFFU}, {33, 32}, {65, 64}, {33, 33}};
    for (const Case& c : kCases) {
        ClrParams params = MakeParams(c.methods, c.activeMethod);
        const Converter converter(0, 1, &params);
        EXPECT_EQ(c.activeMethod, converter->activeMethod);
        EXPECT_EQ(c.methods, converter->methods);
    }
}

/// What stays on the list after an early return: only the unload takes it.
void ExpectLeftOnList(HostScope& host, size_t blocks, int32_t code, int32_t source, int32_t destination,
                      ClrParams* params) {
    const int32_t registered = RegisteredCount();
    ASSERT_EQ(0U, host.Leaked());
    EXPECT_EQ(code, FailingInit(source, destination, params)) << source << " to " << destination;
    EXPECT_EQ(registered + 1, RegisteredCount());
    EXPECT_EQ(blocks, host.Leaked());
    ReleaseAllConverters();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ(0U, host.Leaked());
}

constexpr size_t kConverterNodeAndWhite = 3;

TEST(CreateEarlyReturns, BadCmykRecordLeavesTheConverterOnTheList) {
    HostScope host;
    FullRecords records;
    records.cmyk.size = 11;
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_STRUCT_SIZE, 2, 0, &records.params);
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_STRUCT_SIZE, 12, 2, &records.params);

    const GuardedBuffer page(sizeof(ClrCmykParams) - 1);
    records.params.cmykParams = reinterpret_cast<ClrCmykParams*>(page.Data());
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_BAD_POINTER, 2, 0, &records.params);
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_BAD_POINTER, 2, 7, &records.params);
}

TEST(CreateEarlyReturns, UnreadableYuvRecordLeavesTheConverterOnTheList) {
    HostScope host;
    FullRecords records;
    const GuardedBuffer page(sizeof(ClrYuvParams) - 1);
    records.params.yuvParams = reinterpret_cast<ClrYuvParams*>(page.Data());
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_BAD_POINTER, 1, 0, &records.params);
    ExpectLeftOnList(host, kConverterNodeAndWhite + 1, ERR_BAD_POINTER, 2, 1, &records.params);
}

TEST(CreateEarlyReturns, UnreadableLabRecordLeavesTheConverterOnTheList) {
    HostScope host;
    FullRecords records;
    const GuardedBuffer page(sizeof(ClrLabParams) - 1);
    records.params.labParams = reinterpret_cast<ClrLabParams*>(page.Data());
    ExpectLeftOnList(host, kConverterNodeAndWhite, ERR_BAD_POINTER, 7, 12, &records.params);
    ExpectLeftOnList(host, kConverterNodeAndWhite + 1, ERR_BAD_POINTER, 7, 2, &records.params);
    ExpectLeftOnList(host, kConverterNodeAndWhite + 1, ERR_BAD_POINTER, 1, 7, &records.params);
}

TEST(CreateEarlyReturns, LeftConverterIsLive) {
    const HostScope host;
    FullRecords records;
    records.cmyk.size = 13;
    ASSERT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 0, &records.params));
    const ClrHandle* left = FirstRegistered();
    ASSERT_NE(nullptr, left);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrIsValid(left));
    ReleaseAllConverters();
}

TEST(CreateUnwinding, WrongYuvSizeTakesAllBackButTheCmykCopy) {
    FullRecords records;
    records.yuv.size = 40;
    {
        const HostScope host;
        const Untouched untouched;
        EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(1, 0, &records.params));
    }
    HostScope host;
    const int32_t registered = RegisteredCount();
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 1, &records.params));
    EXPECT_EQ(registered, RegisteredCount());
    host.ExpectLeaked(1);
    for (const LiveBlock& block : host->LiveBlocks()) EXPECT_EQ(sizeof(ClrCmykParams), block.size);
}

TEST(CreateUnwinding, WrongLabSizeTakesAllBackButTheYuvCopy) {
    FullRecords records;
    records.lab.size = 28;
    {
        const HostScope host;
        const Untouched untouched;
        EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(7, 0, &records.params));
        EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 7, &records.params));
    }
    HostScope host;
    const int32_t registered = RegisteredCount();
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(7, 1, &records.params));
    EXPECT_EQ(registered, RegisteredCount());
    host.ExpectLeaked(1);
    for (const LiveBlock& block : host->LiveBlocks()) EXPECT_EQ(sizeof(ClrYuvParams), block.size);
}

TEST(CreateUnwinding, CmykGoesBeforeYuvBeforeLab) {
    HostScope host;
    FullRecords records;
    records.cmyk.size = 0;
    records.yuv.size = 0;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(2, 1, &records.params));
    EXPECT_EQ(1, RegisteredCount()) << "the record of CMYK is looked at first: its refusal unwinds nothing";
    ReleaseAllConverters();

    records.lab.size = 0;
    const GuardedBuffer page(8);
    records.params.yuvParams = reinterpret_cast<ClrYuvParams*>(page.Data());
    EXPECT_EQ(ERR_BAD_POINTER, FailingInit(7, 1, &records.params));
    ReleaseAllConverters();
}

TEST(CreateRefusals, RecordsOfOtherSpacesAreNotLookedAt) {
    const HostScope host;
    const GuardedBuffer page(8);
    uint8_t* const beyond = page.Data() + page.Size();
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    params.cmykParams = reinterpret_cast<ClrCmykParams*>(beyond);
    params.yuvParams = reinterpret_cast<ClrYuvParams*>(beyond);
    params.labParams = reinterpret_cast<ClrLabParams*>(beyond);
    for (const int32_t space : {3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 14, 15, 128, 144}) {
        const Converter fromHub(0, space, &params);
        const Converter toHub(space, 0, &params);
        EXPECT_EQ(nullptr, fromHub->cmykParams);
        EXPECT_EQ(nullptr, toHub->labDecode);
    }
    const Converter copier(2, 2, &params);
}

}  // namespace
}  // namespace zv::test
