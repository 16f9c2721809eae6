// How converters come by emulation tables, and what becomes of them.
#include "Common/kernels/kernels.h"
#include "host/entry.h"
#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/table_file.h"

namespace zv::test {
namespace {

constexpr size_t kCmykBlock = 250563;
constexpr size_t kLabBlock = 108300;

constexpr uint32_t kBuiltin = CLRMETHOD_EMULATION;
constexpr uint32_t kCustom = CLRMETHOD_CUSTOM_EMULATION;

/// What serves a pair.
struct Serving {
    uint16_t resource = 0;  ///< 0: no table
    size_t lostBlock = 0;   ///< of a load from a file; 0: none
};

constexpr Serving ServingOf(int32_t from, int32_t to) {
    if (from == CLRSPACE_CMYK && IsHub(to)) return {111, kCmykBlock};
    if (from == CLRSPACE_LAB && IsHub(to)) return {112, 0};
    if (IsHub(from) && to == CLRSPACE_LAB) return {113, kLabBlock};
    return {};
}

class EmulationTables : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;
    Bytes data_ = RandomBytes(kCmykBlock, 41);
    Wide file_ = folder_.Write("table.tif", TableFile::Of(289, 289, 3, data_).Build());

    ClrParams Params(uint32_t methods, uint32_t active) const {
        ClrParams params = MakeParams(methods, active);
        SetName(params.emulationTableName, file_);
        return params;
    }

    /// Sizes of the blocks left behind so far, in order.
    std::vector<size_t> LeftBehind() const {
        std::vector<size_t> sizes;
        for (const LiveBlock& block : host_->LiveBlocks()) {
            const auto same = [&](const LiveBlock& other) { return other.address == block.address; };
            if (std::none_of(before_.begin(), before_.end(), same)) sizes.push_back(block.size);
        }
        std::sort(sizes.begin(), sizes.end());
        return sizes;
    }
    void DropLeftBehind() { host_->FreeAllBut(before_); }

    Wide LongName(size_t length) const {
        Wide name = WideOf(folder_.Path());
        const Wide end = WideOf(std::filesystem::path("table.tif"));
        name.push_back(ZvChar{'/'});
        if ((length - name.size() - end.size()) % 2 != 0) name.push_back(ZvChar{'/'});
        while (name.size() + end.size() < length) {
            name.push_back(ZvChar{'.'});
            name.push_back(ZvChar{'/'});
        }
        name += end;
        EXPECT_EQ(length, name.size());
        return name;
    }

private:
    std::vector<LiveBlock> before_ = host_->LiveBlocks();
};

Bytes TableOf(const EmulationTable* table, size_t size = kCmykBlock) { return {table, table + size}; }

// --- Loading one table ----------------------------------------------------------------------------------------------

TEST_F(EmulationTables, BuiltinTableOfEveryPair) {
    for (const int32_t from : kAllSpaces) {
        for (const int32_t to : kAllSpaces) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            ClrHandle converter{};
            EXPECT_EQ(CLR_SUCCESS, ClrLoadEmulationTable(&converter, from, to, nullptr, 0)) << "needs no record";
            const Serving serving = ServingOf(from, to);
            EXPECT_EQ(nullptr, converter.customEmulationTable);
            if (serving.resource == 0) {
                EXPECT_EQ(nullptr, converter.builtinEmulationTable);
            } else {
                ASSERT_NE(nullptr, converter.builtinEmulationTable);
                EXPECT_EQ(FindClrResource(ZV_WIDE("ET"), serving.resource).data, converter.builtinEmulationTable);
            }
        }
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset()) << "the tables stay where they are";
}

TEST_F(EmulationTables, BuiltinBlocksHaveTheirRasters) {
    EXPECT_EQ(kCmykBlock, FindClrResource(ZV_WIDE("ET"), 111).size);
    EXPECT_EQ(kLabBlock, FindClrResource(ZV_WIDE("ET"), 112).size);
    EXPECT_EQ(kLabBlock, FindClrResource(ZV_WIDE("ET"), 113).size);
    constexpr uint16_t kOthers[] = {105, 110, 114};
    for (const uint16_t other : kOthers) EXPECT_EQ(nullptr, FindClrResource(ZV_WIDE("ET"), other).data);
}

TEST_F(EmulationTables, CustomTableOfEveryPair) {
    ClrParams params = Params(kCustom, kCustom);
    for (const int32_t from : kAllSpaces) {
        for (const int32_t to : kAllSpaces) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            host_->Reset();
            ClrHandle converter{};
            EXPECT_EQ(CLR_SUCCESS, ClrLoadEmulationTable(&converter, from, to, &params, 1));
            EXPECT_EQ(file_, Wide(converter.emulationTableName)) << "whatever the pair";
            EXPECT_EQ(nullptr, converter.builtinEmulationTable);
            const Serving serving = ServingOf(from, to);
            if (serving.resource == 0) {
                EXPECT_EQ(nullptr, converter.customEmulationTable);
                EXPECT_EQ(0, host_->AllocationsSinceReset());
                EXPECT_EQ(0, host_->FileAccessesSinceReset()) << "the file is not opened";
                continue;
            }
            ASSERT_NE(nullptr, converter.customEmulationTable);
            EXPECT_EQ(data_, TableOf(converter.customEmulationTable));
            HostFree(converter.customEmulationTable, __LINE__, ZV_WIDE("test"));
            const std::vector<size_t> lost =
                serving.lostBlock == 0 ? std::vector<size_t>{} : std::vector<size_t>{serving.lostBlock};
            EXPECT_EQ(lost, LeftBehind());
            DropLeftBehind();
        }
    }
}

TEST_F(EmulationTables, NullArguments) {
    ClrParams params = Params(kCustom, kCustom);
    ClrHandle converter{};
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLoadEmulationTable(nullptr, 2, 0, &params, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLoadEmulationTable(nullptr, 2, 0, &params, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLoadEmulationTable(nullptr, 2, 0, nullptr, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLoadEmulationTable(&converter, 2, 0, nullptr, 1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, ClrLoadEmulationTable(&converter, 0, 1, nullptr, 1));
    EXPECT_EQ(nullptr, converter.customEmulationTable);
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(EmulationTables, FilesThatAreNotThere) {
    ClrParams params = Params(kCustom, kCustom);
    for (const Wide& name :
         {WideOf(folder_.Path() / "none.tif"), WideOf(folder_.Path() / "none" / "table.tif"), Wide()}) {
        SetName(params.emulationTableName, name);
        for (const auto& [from, to] : {std::pair{2, 0}, {0, 7}, {7, 12}, {0, 1}, {2, 7}}) {
            ClrHandle converter{};
            EXPECT_EQ(ERR_FILE_NOT_FOUND, ClrLoadEmulationTable(&converter, from, to, &params, 1));
            EXPECT_EQ(0, converter.emulationTableName[0]);
            EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(from, to, &params));
        }
    }
}

TEST_F(EmulationTables, NamesOf259CharactersAreTheLongest) {
    ClrParams params = Params(kCustom, kCustom);
    const Wide longest = LongName(259);
    SetName(params.emulationTableName, longest);
    {
        ClrHandle converter{};
        EXPECT_EQ(CLR_SUCCESS, ClrLoadEmulationTable(&converter, 7, 0, &params, 1));
        EXPECT_EQ(longest, Wide(converter.emulationTableName));
        EXPECT_EQ(0, converter.emulationTableName[259]);
        ASSERT_NE(nullptr, converter.customEmulationTable);
        EXPECT_EQ(data_, TableOf(converter.customEmulationTable));
        HostFree(converter.customEmulationTable, __LINE__, ZV_WIDE("test"));
    }
    for (const size_t length : {260U, 261U, 263U, 264U}) {
        const Wide name = LongName(length);
#ifdef __linux__
        EXPECT_EQ(1, ClrFileExists(name.c_str())) << "refused for its length alone";
#endif
        SetName(params.emulationTableName, name);
        for (const auto& [from, to] : {std::pair{2, 0}, {0, 7}, {7, 12}, {0, 1}, {2, 7}}) {
            EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(from, to, &params)) << length;
        }
    }
    EXPECT_EQ(0U, host_.Leaked());
}

TEST_F(EmulationTables, FoldersExistAndAreNoFiles) {
    ClrParams params = Params(kCustom, kCustom);
    SetName(params.emulationTableName, WideOf(folder_.Path()));
    EXPECT_EQ(ERR_FILE_READ, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &params));
    EXPECT_EQ(0U, host_.Leaked());
    const Converter unread(CLRSPACE_RGB, CLRSPACE_YUV, &params);
    EXPECT_EQ(WideOf(folder_.Path()), Wide(unread->emulationTableName));
}

TEST_F(EmulationTables, UnreadableFilesAreFileReadErrors) {
    ClrParams params = Params(kCustom, kCustom);
    for (const size_t size : {size_t{0}, size_t{4}, size_t{8}, size_t{40}}) {
        folder_.Write("table.tif", Bytes(size, 8));
        EXPECT_EQ(ERR_FILE_READ, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &params)) << size;
        EXPECT_EQ(std::vector<size_t>{}, LeftBehind());
        EXPECT_EQ(ERR_FILE_READ, FailingInit(CLRSPACE_CMYK, CLRSPACE_BGR, &params)) << size;
        EXPECT_EQ(std::vector<size_t>{kCmykBlock}, LeftBehind());
        DropLeftBehind();
        EXPECT_EQ(ERR_FILE_READ, FailingInit(CLRSPACE_BGR, CLRSPACE_LAB, &params)) << size;
        EXPECT_EQ(std::vector<size_t>{kLabBlock}, LeftBehind());
        DropLeftBehind();
    }
    EXPECT_EQ(0, RegisteredCount());
}

TEST_F(EmulationTables, FilesThatCannotBeOpened) {
    ClrParams params = Params(kCustom, kCustom);
    host_->FailFileAccess(1);
    EXPECT_EQ(ERR_FILE_READ, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &params));
    host_->FailFileAccess(0);
    EXPECT_EQ(0U, host_.Leaked());
}

// --- Converters -----------------------------------------------------------------------------------------------------

TEST_F(EmulationTables, EachMethodBindsItsOwn) {
    for (const auto& [from, to] : {std::pair{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}}) {
        SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
        const EmulationTable* builtin = FindClrResource(ZV_WIDE("ET"), ServingOf(from, to).resource).data;
        ASSERT_NE(nullptr, builtin);
        for (const uint32_t methods : {kBuiltin, kCustom, kBuiltin | kCustom}) {
            ClrParams params = Params(methods, methods == kCustom ? kCustom : kBuiltin);
            {
                const Converter c(from, to, &params);
                EXPECT_EQ((methods & kBuiltin) != 0 ? builtin : nullptr, c->builtinEmulationTable);
                ASSERT_EQ((methods & kCustom) != 0, c->customEmulationTable != nullptr);
                EXPECT_EQ((methods & kCustom) != 0 ? file_ : Wide(), Wide(c->emulationTableName));
                if ((methods & kCustom) != 0) {
                    EXPECT_EQ(data_, TableOf(c->customEmulationTable));
                }
            }
            // The first block of each load is lost, and the caller's flag alone keeps the table too.
            std::vector<size_t> left;
            const size_t lost = ServingOf(from, to).lostBlock;
            if ((methods & kCustom) != 0 && lost != 0) left.push_back(lost);
            if (methods == kCustom) left.push_back(kCmykBlock);
            EXPECT_EQ(left, LeftBehind());
            DropLeftBehind();
        }
    }
}

TEST_F(EmulationTables, EitherMethodMayBeTheActiveOne) {
    ClrParams params = Params(kBuiltin | kCustom, kCustom);
    params.emulationMethod = 0;
    {
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
        EXPECT_EQ(kCustom, c->activeMethod);
    }
    params.activeMethod = kBuiltin;
    for (const uint32_t other : {0U, 1U, 9U, 16U, 24U, 0xFFFFFFFFU}) {
        params.emulationMethod = other;
        EXPECT_EQ(ERR_INVALID_PARAMETER, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &params)) << other;
        const Converter copier(CLRSPACE_LAB, CLRSPACE_LAB, &params);
        EXPECT_EQ(0U, copier->activeMethod) << "equal spaces copy whatever the record holds";
    }
    EXPECT_EQ(0U, host_.Leaked());
    params.emulationMethod = kBuiltin;
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
    EXPECT_EQ(kBuiltin, c->activeMethod);
}

TEST_F(EmulationTables, BuiltinFlagThatIsNotActiveAsksForNoEmulationMethod) {
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN | kBuiltin, CLRMETHOD_BUILTIN);
    params.emulationMethod = 0;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    EXPECT_NE(nullptr, c->builtinEmulationTable);
}

TEST_F(EmulationTables, AutomaticChoiceTakesNoTable) {
    ClrParams params = Params(CLRMETHOD_AUTOMATIC, CLRMETHOD_AUTOMATIC);
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
    EXPECT_EQ(nullptr, c->builtinEmulationTable);
    EXPECT_EQ(nullptr, c->customEmulationTable);
}

TEST_F(EmulationTables, ReleaseLooksAtTheBuiltinPointer) {
    ClrParams params = Params(kBuiltin | kCustom, kCustom);
    {
        // Without a built-in table the caller's stays, whatever the flags are.
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
        c->builtinEmulationTable = nullptr;
    }
    EXPECT_EQ(std::vector<size_t>{kCmykBlock}, LeftBehind());
    DropLeftBehind();
    {
        // So does a table that the flags do not name.
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
        c->methods = kBuiltin;
    }
    EXPECT_EQ(std::vector<size_t>{kCmykBlock}, LeftBehind());
    DropLeftBehind();
}

TEST_F(EmulationTables, UnloadReleasesAsTheCallerDoes) {
    ClrProcessAttach(nullptr);
    ClrParams both = Params(kBuiltin | kCustom, kCustom), alone = Params(kCustom, kCustom);
    ClrHandle* handle = nullptr;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_BGR, CLRSPACE_LAB, &both));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_LAB, CLRSPACE_RGB, &both));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_LAB, CLRSPACE_RGB, &alone));
    ClrProcessDetach();
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_EQ((std::vector<size_t>{kLabBlock, kCmykBlock}), LeftBehind()) << "a lost block and the last one's table";
    DropLeftBehind();
}

// --- Failures -------------------------------------------------------------------------------------------------------

/// One failing allocation of a creation: what it answers and what stays.
struct Failure {
    int32_t result;
    std::vector<size_t> left;
};

TEST_F(EmulationTables, EveryAllocationOfEveryCreation) {
    const Failure none{ERR_NO_MEMORY, {}};
    // Converter, node and white point; the lost block and the reader's; the records of the spaces.
    const Failure lostCmyk{ERR_FILE_READ, {kCmykBlock}}, lostLab{ERR_FILE_READ, {kLabBlock}}, unread{ERR_FILE_READ, {}};
    const Failure bothCmyk{ERR_NO_MEMORY, {kCmykBlock, kCmykBlock}}, bothLab{ERR_NO_MEMORY, {kLabBlock, kCmykBlock}};
    const Failure table{ERR_NO_MEMORY, {kCmykBlock}};
    struct Case {
        int32_t from, to;
        std::vector<Failure> failures;
    };
    const Case cases[] = {
        {2, 0, {none, none, none, none, lostCmyk, bothCmyk}},
        {2, 12, {none, none, none, none, lostCmyk, bothCmyk}},
        {0, 7, {none, none, none, none, lostLab, bothLab, bothLab}},
        {12, 7, {none, none, none, none, lostLab, bothLab, bothLab}},
        {7, 0, {none, none, none, unread, table, table}},
        {7, 12, {none, none, none, unread, table, table}},
        {0, 2, {none, none, none, none}},
        {0, 3, {none, none, none}},
        {2, 7, {none, none, none, none, none, none}},
        {1, 12, {none, none, none, none}},
    };
    for (const Case& c : cases) {
        for (const uint32_t methods : {kCustom, kBuiltin | kCustom}) {
            FullRecords records(methods, kCustom);
            SetName(records.params.emulationTableName, file_);
            size_t n = 1;
            for (; n <= 20; ++n) {
                SCOPED_TRACE(std::to_string(c.from) + " to " + std::to_string(c.to) + ", allocation " +
                             std::to_string(n));
                host_->Reset();
                host_->FailAllocation(static_cast<int64_t>(n));
                ClrHandle* handle = nullptr;
                const int32_t result = Zv_ClrInit(&handle, c.from, c.to, &records.params);
                host_->FailAllocation(0);
                if (result == CLR_SUCCESS) {
                    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
                    DropLeftBehind();
                    break;
                }
                ASSERT_GE(c.failures.size(), n);
                EXPECT_EQ(c.failures[n - 1].result, result);
                EXPECT_EQ(nullptr, handle);
                EXPECT_EQ(c.failures[n - 1].left, LeftBehind());
                EXPECT_EQ(0, RegisteredCount());
                DropLeftBehind();
            }
            EXPECT_EQ(c.failures.size() + 1, n) << c.from << " to " << c.to;
        }
    }
}

TEST_F(EmulationTables, BuiltinTablesNeedNoMemory) {
    ClrParams params = MakeParams(kBuiltin, kBuiltin);
    for (const auto& [from, to] : {std::pair{2, 0}, {12, 7}, {7, 12}}) {
        host_->Reset();
        const Converter c(from, to, &params);
        EXPECT_EQ(3, host_->AllocationsSinceReset()) << "converter, node and white point";
    }
}

TEST_F(EmulationTables, RefusedRecordsAfterTheTables) {
    FullRecords records(kBuiltin | kCustom, kCustom);
    SetName(records.params.emulationTableName, file_);
    records.lab.size = 31;
    EXPECT_EQ(ERR_STRUCT_SIZE, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &records.params));
    EXPECT_EQ(std::vector<size_t>{kCmykBlock}, LeftBehind()) << "an unwinding leaves the tables";
    EXPECT_EQ(0, RegisteredCount());
    DropLeftBehind();
}

TEST_F(EmulationTables, TransformsOfOtherMethodsGoWithARefusedTable) {
    ClrParams params = Params(CLRMETHOD_ICC | kCustom, CLRMETHOD_ICC);
    SetName(params.emulationTableName, WideOf(folder_.Path() / "none.tif"));
    EXPECT_EQ(ERR_FILE_NOT_FOUND, FailingInit(CLRSPACE_LAB, CLRSPACE_RGB, &params));
    EXPECT_EQ(0U, host_.Leaked());
    SetName(params.emulationTableName, file_);
    {
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
        EXPECT_NE(nullptr, c->iccTransform);
        EXPECT_NE(nullptr, c->customEmulationTable);
    }
    EXPECT_EQ(std::vector<size_t>{kCmykBlock}, LeftBehind());
    DropLeftBehind();
}

}  // namespace
}  // namespace zv::test
