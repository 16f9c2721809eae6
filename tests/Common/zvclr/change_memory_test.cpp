// Changes without memory, many changes in a row, and random ones.
#include "tests/Common/zvclr/change_sweeps.h"

namespace zv::test {
namespace {

// --- Without memory -------------------------------------------------------------------------------------------------

struct RecordCase {
    int32_t source;
    int32_t destination;
    uint32_t mask;
    int64_t allocations;
};

// A route through the hub takes the records of both its spaces.
constexpr RecordCase kRecordCases[] = {
    {0, 2, CLRPARAM_CMYK, 1},
    {2, 1, CLRPARAM_CMYK | CLRPARAM_YUV, 2},
    {1, 7, CLRPARAM_YUV | CLRPARAM_LAB, 2},
    {2, 7, CLRPARAM_CMYK | CLRPARAM_LAB, 2},
    {7, 7, CLRPARAM_LAB, 1},
    {2, 1, CLRPARAM_CMYK | CLRPARAM_YUV | CLRPARAM_WHITE_POINT, 3},
    {1, 7, CLRPARAM_YUV | CLRPARAM_LAB | CLRPARAM_WHITE_POINT, 3},
};

TEST_F(ChangeWithoutMemory, NewRecordsGoAgain) {
    for (const RecordCase& r : kRecordCases) {
        SCOPED_TRACE(std::to_string(r.source) + " to " + std::to_string(r.destination));
        const ClrParams params = Change(r.mask);
        for (int64_t n = 1; n <= r.allocations; ++n) {
            const Converter c(r.source, r.destination);
            const size_t blocks = host_.Leaked();
            const Bytes before = FieldsOf(c), pixels = ConvertSample(c.Get());
            EXPECT_EQ(ERR_NO_MEMORY, FailAt(n, c, params)) << n;
            EXPECT_EQ(before, FieldsOf(c)) << n;
            EXPECT_EQ(blocks, host_.Leaked()) << n;
            EXPECT_EQ(pixels, ConvertSample(c.Get()));
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(c.Get(), &params)) << "there is memory again";
        }
        const Converter c(r.source, r.destination);
        EXPECT_EQ(CLR_SUCCESS, FailAt(r.allocations + 1, c, params));
        EXPECT_FALSE(reached_);
        // A second one needs none.
        EXPECT_EQ(CLR_SUCCESS, FailAt(1, c, params));
        EXPECT_FALSE(reached_);
    }
}

TEST_F(ChangeWithoutMemory, RecordsFromBeforeStay) {
    const Converter inksFirst(2, 1), layoutFirst(1, 7), inksAndLab(2, 7);
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(inksFirst, MakeCmyk(100)));
    ASSERT_EQ(CLR_SUCCESS, ChangeYuv(layoutFirst, records_.yuv));
    ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(inksAndLab, MakeCmyk(100)));
    records_.cmyk.mask = 1;
    records_.yuv.mask = 64;
    records_.yuv.fullRange = 1;
    EXPECT_EQ(ERR_NO_MEMORY, FailAt(1, inksFirst, Change(CLRPARAM_CMYK | CLRPARAM_YUV)));
    EXPECT_EQ(ERR_NO_MEMORY, FailAt(1, layoutFirst, Change(CLRPARAM_YUV | CLRPARAM_LAB)));
    EXPECT_EQ(ERR_NO_MEMORY, FailAt(1, inksAndLab, Change(CLRPARAM_CMYK | CLRPARAM_LAB)));
    ASSERT_NE(nullptr, inksFirst->cmykParams);
    EXPECT_EQ(400, inksFirst->cmykParams->gcrLevel) << "with what this call has taken over";
    EXPECT_EQ(nullptr, inksFirst->yuvParams);
    ASSERT_NE(nullptr, layoutFirst->yuvParams);
    EXPECT_EQ(1, layoutFirst->yuvParams->fullRange);
    EXPECT_EQ(nullptr, layoutFirst->labDecode);
    EXPECT_EQ(400, inksAndLab->cmykParams->gcrLevel);
    EXPECT_EQ(nullptr, inksAndLab->labDecode);
}

TEST_F(ChangeWithoutMemory, TableTakesTheNewRecordsAlong) {
    SetName(records_.params.emulationTableName, folder_.Write("inks.tif", InkTableFile(InkTable(1))));
    const ClrParams inks = Change(CLRPARAM_CMYK | CLRPARAM_EMULATION_FILE);
    const ClrParams lab = Change(CLRPARAM_LAB | CLRPARAM_EMULATION_FILE);
    {
        const Converter toHub(CLRSPACE_CMYK, CLRSPACE_RGB), toLab(CLRSPACE_RGB, CLRSPACE_LAB);
        EXPECT_EQ(ERR_NO_MEMORY, FailAt(1, toHub, inks));
        EXPECT_EQ(0, toHub->emulationTableName[0]);
        EXPECT_EQ(ERR_NO_MEMORY, FailAt(2, toHub, inks));
        EXPECT_EQ(ERR_NO_MEMORY, FailAt(2, toLab, lab));
        EXPECT_EQ(nullptr, toHub->cmykParams);
        EXPECT_EQ(nullptr, toHub->customEmulationTable);
        EXPECT_NE(0, toHub->emulationTableName[0]);
        EXPECT_EQ(nullptr, toLab->labDecode);
        EXPECT_EQ(nullptr, toLab->customEmulationTable);
        // Records from before stay here too.
        ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(toHub, MakeCmyk(300)));
        EXPECT_EQ(ERR_NO_MEMORY, FailAt(1, toHub, inks));
        ASSERT_NE(nullptr, toHub->cmykParams);
        EXPECT_EQ(300, toHub->cmykParams->gcrLevel);
        ASSERT_EQ(CLR_SUCCESS, ChangeMethod(toHub, CLRMETHOD_CUSTOM_EMULATION));
        const Converted out = ConvertPixels(toHub, Bytes(4), 1);
        EXPECT_EQ(CLR_SUCCESS, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels));
    }
    EXPECT_EQ(0U, host_.Leaked());
}

/// Nobody hears of a reader without memory; the block of the change is lost as always.
TEST_F(ChangeWithoutMemory, ReaderWithoutABlockLeavesNoTable) {
    SetName(records_.params.emulationTableName, folder_.Write("inks.tif", InkTableFile(InkTable(1))));
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        EXPECT_EQ(CLR_SUCCESS, FailAt(3, c, Change(CLRPARAM_CMYK | CLRPARAM_EMULATION_FILE)));
        EXPECT_TRUE(reached_);
        EXPECT_EQ(400, c->cmykParams->gcrLevel);
        EXPECT_EQ(nullptr, c->customEmulationTable);
        ASSERT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_CUSTOM_EMULATION));
        const Converted out = ConvertPixels(c, Bytes(4), 1);
        EXPECT_EQ(CLR_SUCCESS, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels));
    }
    EXPECT_EQ(1U, host_.Leaked());
    host_.ExpectLeaked(1);
}

TEST_F(TransformsWithoutMemory, BuiltinProfilesOfTwoHubs) {
    ClrParams creation = CustomParams(&linear_, &steep_);
    creation.methods |= CLRMETHOD_ICC;
    creation.activeMethod = CLRMETHOD_ICC;
    ExpectSound(CLRSPACE_RGB, CLRSPACE_BGR, creation, Change(CLRPARAM_WHITE_POINT));
}

/// White, replacement and names, each of which makes the transform.
TEST_F(TransformsWithoutMemory, CallersProfiles) {
    ClrParams change = Change(CLRPARAM_WHITE_POINT | CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE);
    change.inputProfileMemory = &linear_.record;
    change.outputProfileMemory = &steep_.record;
    change.activeMethod = CLRMETHOD_CUSTOM_ICC;
    ExpectSound(CLRSPACE_RGB, CLRSPACE_BGR, CustomParams(&linear_, &steep_), change);
}

TEST_F(TransformsWithoutMemory, CallersFiles) {
    ClrParams creation = CustomParams(nullptr, nullptr);
    SetName(creation.inputProfileName, folder_.Write("linear.icc", linear_.bytes));
    SetName(creation.outputProfileName, folder_.Write("steep.icc", steep_.bytes));
    ClrParams change = Change(CLRPARAM_WHITE_POINT | CLRPARAM_PROFILES);
    std::copy(std::begin(creation.inputProfileName), std::end(creation.inputProfileName), change.outputProfileName);
    std::copy(std::begin(creation.outputProfileName), std::end(creation.outputProfileName), change.inputProfileName);
    ExpectSound(CLRSPACE_RGB, CLRSPACE_BGR, creation, change);
}

// --- In a row -------------------------------------------------------------------------------------------------------

TEST(ChangesInARow, EndAsAConverterCreatedWithTheLastOnes) {
    const HostScope host;
    const Converter toInks(CLRSPACE_RGB, CLRSPACE_CMYK), fromYuv(CLRSPACE_YUV, CLRSPACE_BGR);
    FullRecords records;
    const Converter fromLab(CLRSPACE_LAB, CLRSPACE_RGB, &records.params);
    const size_t blocks = host.Leaked();
    int32_t table[3] = {0, 1, 2};
    ClrYuvParams yuv{44, 1 | 4 | 32 | 64, 1, 1, 1, 1, table, 1, 0, 0};
    ClrLabParams lab{32, 63, 0, 0, 0, 0, 0, 0};
    int32_t level = 0;
    for (int32_t round = 0; round < 200; ++round) {
        level = round * 7 % 1200;
        lab = {
            32, 63, round % 9, 80 + round % 50, 100 + round % 60, 150 + round % 70, 80 + round % 30, 190 + round % 33};
        yuv.fullRange = round % 3;
        ASSERT_EQ(CLR_SUCCESS, ChangeCmyk(toInks, {12, level, 1}));
        ASSERT_EQ(CLR_SUCCESS, ChangeYuv(fromYuv, yuv));
        ASSERT_EQ(CLR_SUCCESS, ChangeLab(fromLab, lab));
        ASSERT_EQ(CLR_SUCCESS, ChangeWhite(fromLab, {50U + static_cast<uint32_t>(round), 0, 0}));
    }
    EXPECT_EQ(blocks + 2, host.Leaked()) << "the records that the first round made";
    ClrCmykParams cmyk = MakeCmyk(level);
    records.params.cmykParams = &cmyk;
    records.params.yuvParams = &yuv;
    records.params.labParams = &lab;
    EXPECT_EQ(SampleThrough(CLRSPACE_RGB, CLRSPACE_CMYK, records.params), ConvertSample(toInks.Get()));
    EXPECT_EQ(SampleThrough(CLRSPACE_YUV, CLRSPACE_BGR, records.params), ConvertSample(fromYuv.Get()));
    EXPECT_EQ(SampleThrough(CLRSPACE_LAB, CLRSPACE_RGB, records.params), ConvertSample(fromLab.Get()));
}

TEST(ChangesInARow, AllAtOnceAndAgain) {
    HostScope host;
    const TemporaryFolder folder;
    const Bytes inks = InkTable(9);
    {
        FullRecords records;
        ClrParams creation = MakeParams(1 | 8 | 16, 1);
        SetName(creation.emulationTableName, folder.Write("inks.tif", InkTableFile(inks)));
        const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR, &creation);
        ClrParams change = records.params;
        change.methods =
            CLRPARAM_ACTIVE_METHOD | CLRPARAM_PROFILES | CLRPARAM_WHITE_POINT | CLRPARAM_EMULATION_FILE | CLRPARAM_CMYK;
        std::copy(std::begin(creation.emulationTableName), std::end(creation.emulationTableName),
                  change.emulationTableName);
        SetName(change.inputProfileName, {ZvChar{'i'}});
        for (const uint32_t method : {16U, 8U, 1U, 16U}) {
            change.activeMethod = method;
            records.cmyk.gcrLevel = 700;
            ASSERT_EQ(CLR_SUCCESS, Change(c, change));
            EXPECT_EQ(method, c->activeMethod);
        }
        EXPECT_EQ(700, c->cmykParams->gcrLevel);
        EXPECT_TRUE(SameWhite(c->whitePoint, records.white));
        EXPECT_EQ((Wide{ZvChar{'i'}}), NameOf(c->inputProfileName));
        Bytes node = InkNode(inks, 2, 2, 2, 2);
        std::swap(node[0], node[2]);
        EXPECT_EQ(node, ConvertRow(c.Get(), {32, 32, 32, 32}));
    }
    EXPECT_EQ(5U, host.Leaked()) << "one for the creation and each change";
    host.ExpectLeaked(5);
}

// --- At random ------------------------------------------------------------------------------------------------------

TEST_F(RandomChanges, RecordsOfEveryPair) {
    TestRandom random(1);
    for (int round = 0; round < 150; ++round) {
        constexpr int32_t kSpaces[] = {0, 12, 1, 2, 7, 6, 11};
        const int32_t source = kSpaces[random.Below(7)], destination = kSpaces[random.Below(7)];
        ClrParams creation = MakeParams(1, 1);
        const Converter c(source, destination, random.Below(2) == 0 ? nullptr : &creation);
        for (int i = 0; i < 20; ++i) {
            ClrParams params = Random(random);
            // A transform of the caller's profiles would be one of a method that the converter does not have.
            params.activeMethod &= ~uint32_t{CLRMETHOD_CUSTOM_ICC};
            ExpectToldResult(Change(c, params));
            ConvertSomething(c, random);
            ASSERT_EQ(nullptr, c->customTransform);
            ASSERT_EQ(nullptr, c->iccTransform);
        }
    }
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(RandomChanges, ProfilesOfTwoHubs) {
    TestRandom random(2);
    int made = 0, gone = 0;
    for (int round = 0; round < 60; ++round) {
        const int32_t source = kHubs[random.Below(2)], destination = kHubs[random.Below(2)];
        ClrParams creation = CustomParams(&linear_, &steep_);
        creation.methods |= 1 | 8;
        const Converter c(source, destination, &creation);
        for (int i = 0; i < 15; ++i) {
            ExpectToldResult(Change(c, Random(random)));
            ConvertSomething(c, random);
            ++(c->customTransform != nullptr ? made : gone);
        }
    }
    EXPECT_GT(made, 50);
    EXPECT_GT(gone, 50);
    EXPECT_EQ(0U, host_.Leaked());
}

/// Each table that is read leaves a block behind, and a converter without both methods its last table.
TEST_F(RandomChanges, Tables) {
    const TemporaryFolder folder;
    const Wide kFiles[] = {folder.Write("inks.tif", InkTableFile(InkTable(1))),
                           folder.Write("lab.tif", LabTableFile(LabTable(1))), folder.Write("none.tif", {}), Wide()};
    constexpr std::pair<int32_t, int32_t> kPairs[] = {{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {0, 2}, {2, 7}};
    TestRandom random(3);
    size_t expected = 0;
    for (int round = 0; round < 25; ++round) {
        const auto& [source, destination] = kPairs[random.Below(7)];
        const bool reads = (source == 2 && IsHub(destination)) || (source == 0 && destination == 7);
        const Converter c(source, destination);
        bool hasTable = false;
        for (int i = 0; i < 6; ++i) {
            ClrParams params = ChangeOf(CLRPARAM_EMULATION_FILE | CLRPARAM_ACTIVE_METHOD);
            const uint32_t file = random.Below(4);
            SetName(params.emulationTableName, kFiles[file]);
            params.activeMethod = random.Below(2) == 0 ? CLRMETHOD_BUILTIN : CLRMETHOD_CUSTOM_EMULATION;
            ASSERT_EQ(CLR_SUCCESS, Change(c, params));
            ConvertSomething(c, random);
            if (reads && file < 2) ++expected;
            hasTable = reads;
        }
        if (hasTable) ++expected;
    }
    EXPECT_EQ(expected, host_.Leaked());
    host_.ExpectLeaked(expected);
}

}  // namespace
}  // namespace zv::test
