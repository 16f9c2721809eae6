// Changes of the custom emulation table.
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

class ChangeTables : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    const Bytes inks_ = InkTable(1), otherInks_ = InkTable(2);
    const Bytes lab_ = LabTable(3), otherLab_ = LabTable(4);
    const Wide inkFile_ = folder_.Write("inks.tif", InkTableFile(inks_));
    const Wide otherInkFile_ = folder_.Write("other inks.tif", InkTableFile(otherInks_));
    const Wide labFile_ = folder_.Write("lab.tif", LabTableFile(lab_));
    const Wide otherLabFile_ = folder_.Write("other lab.tif", LabTableFile(otherLab_));
    const Wide missingFile_ = WideOf(folder_.Path() / "missing.tif");

    static ClrParams Read(const Wide& name) {
        ClrParams params = ChangeOf(CLRPARAM_EMULATION_FILE);
        SetName(params.emulationTableName, name);
        return params;
    }
    static ClrParams Created(uint32_t methods, const Wide& name) {
        ClrParams params = MakeParams(methods, CLRMETHOD_CUSTOM_EMULATION);
        SetName(params.emulationTableName, name);
        return params;
    }
    /// Pixels on the nodes 1, 2, 3, 4 of the inks, and 1, 2, 3 of Lab on a side: the node itself comes out.
    static Bytes PixelOf(int32_t source) {
        if (source == CLRSPACE_CMYK) return {16, 32, 48, 64};
        if (source == CLRSPACE_LAB) return {8, 16 ^ 0x80, 24 ^ 0x80};
        return {8, 16, 24};
    }
    static Bytes NodeThrough(const Converter& c) {
        EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_CUSTOM_EMULATION));
        return ConvertRow(c.Get(), PixelOf(c->sourceSpace));
    }
    static Bytes Turned(Bytes pixel) {
        std::swap(pixel[0], pixel[2]);
        return pixel;
    }
    void ExpectLeft(size_t blocks) {
        EXPECT_EQ(blocks, host_.Leaked());
        host_.ExpectLeaked(blocks);
    }
};

// --- Pairs ----------------------------------------------------------------------------------------------------------

TEST_F(ChangeTables, InksToEitherHub) {
    {
        const Converter toRgb(CLRSPACE_CMYK, CLRSPACE_RGB), toBgr(CLRSPACE_CMYK, CLRSPACE_BGR);
        for (const Converter* c : {&toRgb, &toBgr}) {
            EXPECT_EQ(CLR_SUCCESS, Change(*c, Read(inkFile_)));
            EXPECT_EQ(inkFile_, NameOf((*c)->emulationTableName));
            EXPECT_EQ(1U, (*c)->activeMethod) << "the table does not become active by itself";
        }
        EXPECT_EQ(InkNode(inks_, 1, 2, 3, 4), NodeThrough(toRgb));
        EXPECT_EQ(Turned(InkNode(inks_, 1, 2, 3, 4)), NodeThrough(toBgr));
    }
    // For each converter the table and the block that its reading lost.
    ExpectLeft(4);
}

TEST_F(ChangeTables, RgbToLab) {
    {
        const Converter c(CLRSPACE_RGB, CLRSPACE_LAB);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(labFile_)));
        EXPECT_EQ(LabNode(lab_, 1, 2, 3), NodeThrough(c));
    }
    ExpectLeft(2);
}

/// Creation reads a table for these; a change does not.
TEST_F(ChangeTables, OtherPairsWithTablesLoseTheirs) {
    size_t lost = 0;
    for (const auto& [source, destination] : {std::pair{12, 7}, {7, 0}, {7, 12}}) {
        ClrParams params = Created(8 | 16, labFile_);
        const Converter c(source, destination, &params);
        const Bytes node = LabNode(lab_, 1, 2, 3);
        EXPECT_EQ(source == 12 ? LabNode(lab_, 3, 2, 1) : destination == 12 ? Turned(node) : node, NodeThrough(c));
        if (source == 12) ++lost;
        const size_t blocks = host_.Leaked();
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(otherLabFile_)));
        EXPECT_EQ(blocks - 1, host_.Leaked()) << "released";
        EXPECT_EQ(nullptr, c->customEmulationTable);
        EXPECT_EQ(otherLabFile_, NameOf(c->emulationTableName));
        const Converted out = ConvertPixels(c, PixelOf(source), 1);
        EXPECT_EQ(CLR_SUCCESS, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels));
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(labFile_))) << "and nothing is released twice";
        EXPECT_EQ(blocks - 1, host_.Leaked());
        EXPECT_NE(nullptr, c->builtinEmulationTable);
    }
    ExpectLeft(lost);
}

TEST_F(ChangeTables, PairsWithoutTablesReadNothing) {
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == 2 && IsHub(destination)) continue;
            if (source == 0 && destination == 7) continue;
            const Converter c(source, destination);
            const size_t blocks = host_.Leaked();
            const int64_t accesses = host_->FileAccessesSinceReset(), allocations = host_->AllocationsSinceReset();
            EXPECT_EQ(CLR_SUCCESS, Change(c, Read(inkFile_))) << source << " to " << destination;
            EXPECT_EQ(inkFile_, NameOf(c->emulationTableName));
            EXPECT_EQ(nullptr, c->customEmulationTable);
            EXPECT_EQ(blocks, host_.Leaked());
            EXPECT_EQ(accesses, host_->FileAccessesSinceReset());
            EXPECT_EQ(allocations, host_->AllocationsSinceReset());
        }
    }
}

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(ChangeTables, WithoutThePartTheNameIsNotRead) {
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
    ClrParams params = Read(inkFile_);
    params.methods = ~uint32_t{CLRPARAM_EMULATION_FILE} << 7;
    EXPECT_EQ(CLR_SUCCESS, Change(c, params));
    EXPECT_EQ(nullptr, c->customEmulationTable);
    EXPECT_EQ(0, c->emulationTableName[0]);
}

TEST_F(ChangeTables, NamesAreCut) {
    for (const size_t length : {0U, 1U, 259U, 260U, 263U, 264U}) {
        const Converter none(CLRSPACE_RGB, CLRSPACE_HSV);
        EXPECT_EQ(CLR_SUCCESS, Change(none, Read(Wide(length, ZvChar{'x'}))));
        EXPECT_EQ(Wide(std::min<size_t>(length, 259), ZvChar{'x'}), NameOf(none->emulationTableName)) << length;
    }
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(Wide(264, ZvChar{'x'}))));
        EXPECT_EQ((Bytes{0, 0, 0}), NodeThrough(c));
    }
    ExpectLeft(1);
}

TEST_F(ChangeTables, FileIsReadByTheCutName) {
    const Wide name = LongName(folder_, "inks.tif");
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        for (const size_t more : {1U, 4U, 5U}) {
            EXPECT_EQ(CLR_SUCCESS, Change(c, Read(name + Wide(more, ZvChar{'x'}))));
            EXPECT_EQ(name, NameOf(c->emulationTableName));
            EXPECT_EQ(InkNode(inks_, 1, 2, 3, 4), NodeThrough(c)) << more;
        }
    }
    ExpectLeft(4);
}

// --- Files ----------------------------------------------------------------------------------------------------------

TEST_F(ChangeTables, FilesThatCannotBeReadGiveABlackTable) {
    const Bytes good = InkTableFile(inks_);
    const Wide kBad[] = {
        missingFile_,
        Wide(),
        WideOf(folder_.Path()),
        folder_.Write("empty.tif", {}),
        folder_.Write("header.tif", Bytes(good.begin(), good.begin() + 8)),
        folder_.Write("half.tif", Bytes(good.begin(), good.begin() + 40)),
        folder_.Write("far.tif", {'I', 'I', 42, 0, 0xFF, 0xFF, 0xFF, 0x7F}),
    };
    size_t loaded = 0;
    for (const Wide& bad : kBad) {
        const Converter inks(CLRSPACE_CMYK, CLRSPACE_RGB), lab(CLRSPACE_RGB, CLRSPACE_LAB);
        for (const Converter* c : {&inks, &lab}) {
            EXPECT_EQ(CLR_SUCCESS, Change(*c, Read(bad)));
            ASSERT_NE(nullptr, (*c)->customEmulationTable);
            EXPECT_EQ((Bytes{0, 0, 0}), NodeThrough(*c));
            // The far end of the grid is there too.
            const Converted out = ConvertPixels(*c, {255, 255, 255, 255}, 1);
            EXPECT_EQ(CLR_SUCCESS, out.result);
            EXPECT_EQ((Bytes{0, 0, 0}), out.pixels);
            ++loaded;
        }
    }
    // The block of the change itself is the table, and the reader has made none.
    ExpectLeft(loaded);
}

TEST_F(ChangeTables, FilesThatClaimMoreThanTheyHoldAreBlackBehindTheirEnd) {
    {
        const Bytes start(inks_.begin(), inks_.begin() + 60000);
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(folder_.Write("short.tif", InkTableFile(start)))));
        EXPECT_EQ(InkNode(inks_, 1, 2, 3, 4), NodeThrough(c));
        EXPECT_EQ((Bytes{0, 0, 0}), ConvertRow(c.Get(), {240, 240, 240, 240}));
        host_->Reset();
        TableFile huge = TableFile::Of(0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU, inks_);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(folder_.Write("huge.tif", huge.Build()))));
        EXPECT_LT(host_->LargestRequestSinceReset(), 1000000U);
        EXPECT_EQ(InkNode(inks_, 1, 2, 3, 4), NodeThrough(c));
    }
    ExpectLeft(3);
}

TEST_F(ChangeTables, SmallTablesAreBlackBehindTheirEnd) {
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR), lab(CLRSPACE_RGB, CLRSPACE_LAB);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(labFile_)));
        EXPECT_EQ(CLR_SUCCESS, Change(lab, Read(folder_.Write("dot.tif", TableFile::Of(1, 1, 3, {9, 8, 7}).Build()))));
        EXPECT_EQ((Bytes{0, 0, 0}), NodeThrough(lab));
        EXPECT_EQ((Bytes{9, 8, 7}), ConvertRow(lab.Get(), {0, 0, 0}));
        EXPECT_EQ(Turned(InkNode(lab_, 1, 2, 3, 4)), NodeThrough(c));
        EXPECT_EQ((Bytes{0, 0, 0}), ConvertRow(c.Get(), {240, 240, 240, 240}));
    }
    ExpectLeft(4);
}

TEST_F(ChangeTables, FileThatCannotBeOpened) {
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        host_->FailFileAccess(1);
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(inkFile_)));
        host_->FailFileAccess(0);
        EXPECT_EQ((Bytes{0, 0, 0}), NodeThrough(c));
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(inkFile_)));
        EXPECT_EQ(InkNode(inks_, 1, 2, 3, 4), NodeThrough(c));
    }
    ExpectLeft(2);
}

// --- Blocks ---------------------------------------------------------------------------------------------------------

TEST_F(ChangeTables, ReadingAgainReplacesTheTableAndLosesABlockEachTime) {
    {
        ClrParams params = Created(8 | 16, inkFile_);
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
        const size_t blocks = host_.Leaked();
        const Bytes first = InkNode(inks_, 1, 2, 3, 4), second = InkNode(otherInks_, 1, 2, 3, 4);
        ASSERT_NE(first, second);
        for (size_t round = 1; round <= 4; ++round) {
            EXPECT_EQ(CLR_SUCCESS, Change(c, Read(round % 2 == 0 ? inkFile_ : otherInkFile_)));
            EXPECT_EQ(round % 2 == 0 ? first : second, NodeThrough(c));
            EXPECT_EQ(blocks + round, host_.Leaked());
        }
        // A file that is not there makes the table of the change itself the one in use.
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(missingFile_)));
        EXPECT_EQ((Bytes{0, 0, 0}), NodeThrough(c));
        EXPECT_EQ(blocks + 4, host_.Leaked());
    }
    ExpectLeft(5);  // one of the creation
}

TEST_F(ChangeTables, LostBlocksHaveTheSizeOfTheTable) {
    for (const auto& [source, destination, file, bytes] :
         {std::tuple{2, 12, inkFile_, size_t{250563}}, {0, 7, labFile_, size_t{108300}}}) {
        ClrParams params = MakeParams(8 | 16, 8);
        SetName(params.emulationTableName, file);
        const auto before = host_->LiveBlocks();
        {
            const Converter c(source, destination, &params);
            EXPECT_EQ(CLR_SUCCESS, Change(c, Read(file)));
        }
        size_t lost = 0;
        for (const LiveBlock& block : host_->LiveBlocks()) {
            const auto same = [&](const LiveBlock& other) { return other.address == block.address; };
            if (std::any_of(before.begin(), before.end(), same)) continue;
            EXPECT_EQ(bytes, block.size);
            ++lost;
        }
        EXPECT_EQ(2U, lost);
    }
    ExpectLeft(4);
}

/// The built-in table decides over the release of the custom one.
TEST_F(ChangeTables, ReleaseNeedsBothMethods) {
    size_t left = 0;
    for (const uint32_t methods : {1U, 1U | 8U, 1U | 16U, 8U | 16U}) {
        {
            ClrParams params = MakeParams(methods, methods & (1U | 8U));
            SetName(params.emulationTableName, labFile_);
            const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
            EXPECT_EQ(CLR_SUCCESS, Change(c, Read(otherLabFile_)));
            EXPECT_EQ(LabNode(otherLab_, 1, 2, 3), NodeThrough(c));
        }
        left += 1;                             // lost by the change
        if ((methods & 16) != 0) left += 1;    // lost by the creation
        if (methods != (8U | 16U)) left += 1;  // the table
        EXPECT_EQ(left, host_.Leaked()) << methods;
    }
    ExpectLeft(left);
}

TEST_F(ChangeTables, OtherMethodsGoOn) {
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB);
        const Bytes before = ConvertSample(c.Get());
        EXPECT_EQ(CLR_SUCCESS, Change(c, Read(inkFile_)));
        EXPECT_EQ(before, ConvertSample(c.Get()));
        EXPECT_NE(before, (NodeThrough(c), ConvertSample(c.Get())));
        EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_BUILTIN));
        EXPECT_EQ(before, ConvertSample(c.Get()));
    }
    ExpectLeft(2);
}

/// As one created with the file.
TEST_F(ChangeTables, ConvertsAsAConverterOfThatFile) {
    {
        ClrParams inks = Created(16, inkFile_), lab = Created(16, labFile_);
        const Converter toHub(CLRSPACE_CMYK, CLRSPACE_BGR), toLab(CLRSPACE_RGB, CLRSPACE_LAB);
        EXPECT_EQ(CLR_SUCCESS, Change(toHub, Read(inkFile_)));
        EXPECT_EQ(CLR_SUCCESS, Change(toLab, Read(labFile_)));
        NodeThrough(toHub);
        NodeThrough(toLab);
        EXPECT_EQ(SampleThrough(CLRSPACE_CMYK, CLRSPACE_BGR, inks), ConvertSample(toHub.Get()));
        EXPECT_EQ(SampleThrough(CLRSPACE_RGB, CLRSPACE_LAB, lab), ConvertSample(toLab.Get()));
    }
    ExpectLeft(8);
}

}  // namespace
}  // namespace zv::test
