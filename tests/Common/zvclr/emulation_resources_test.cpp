// Built-in tables of another module: missing ones and short ones are no failure, and they convert nothing.
#include "Common/kernels/kernels.h"
#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/loaded_module.h"
#include "tests/support/resource_module.h"
#include "tests/support/table_file.h"

namespace zv::test {
namespace {

constexpr uint32_t kBuiltin = CLRMETHOD_EMULATION;
constexpr uint32_t kCustom = CLRMETHOD_CUSTOM_EMULATION;

constexpr std::pair<int32_t, int32_t> kTablePairs[] = {{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}};

TEST(EmulationResources, MissingAndShortTablesConvertNothing) {
    const HostScope host;
    ClrParams params = MakeParams(kBuiltin, kBuiltin);
    // The one has no tables at all, the other a table 111 of some bytes.
    for (const bool isShort : {false, true}) {
        const LoadedModule module(isShort ? ZVCLR_TEST_RESOURCE_MODULE : ZVCLR_TEST_EMPTY_MODULE);
        ASSERT_NE(nullptr, module.Handle());
        SetResModule(module.Handle());
        EXPECT_EQ(isShort, FindClrResource(ZV_WIDE("ET"), 111).data != nullptr);
        for (const auto& [from, to] : kTablePairs) {
            const Converter c(from, to, &params);
            EXPECT_EQ(nullptr, c->builtinEmulationTable) << from << " to " << to;
            const Bytes source(256, 9);
            Bytes destination(256, 0x5A);
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.data(), destination.data(), 8, 4, 0, 0));
            EXPECT_EQ(Bytes(256, 0x5A), destination) << from << " to " << to;
        }
    }
    const Converter again(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    EXPECT_NE(nullptr, again->builtinEmulationTable) << "the library's own are back";
}

TEST(EmulationResources, TablesStayWithTheModuleOfTheCreation) {
    ClrParams params = MakeParams(kBuiltin, kBuiltin);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    const LoadedModule module(ZVCLR_TEST_EMPTY_MODULE);
    SetResModule(module.Handle());
    EXPECT_EQ((Bytes{255, 255, 255}), ConvertRow(c.Get(), {0, 0, 0, 0}));
}

TEST(EmulationResources, WithoutABuiltinTableTheCallersIsKept) {
    HostScope host;
    const TemporaryFolder folder;
    ClrParams params = MakeParams(kBuiltin | kCustom, kCustom);
    SetName(params.emulationTableName, folder.Write("table.tif", TableFile::Of(1, 1, 3, {1, 2, 3}).Build()));
    {
        const LoadedModule module(ZVCLR_TEST_EMPTY_MODULE);
        SetResModule(module.Handle());
        const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params);
        EXPECT_EQ(nullptr, c->builtinEmulationTable);
        EXPECT_EQ((Bytes{1, 2, 3}), ConvertRow(c.Get(), {0, 0x80, 0x80}));
    }
    host.ExpectLeaked(1);
    const Converter released(CLRSPACE_LAB, CLRSPACE_RGB, &params);
    EXPECT_NE(nullptr, released->builtinEmulationTable);
}

}  // namespace
}  // namespace zv::test
