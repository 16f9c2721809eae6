// Data blocks by type and id, in the module in force.
#include <string_view>

#include "Common/lookup.h"
#include "host/entry.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/loaded_module.h"
#include "tests/support/resource_module.h"

namespace zv::test {
namespace {

constexpr const ZvChar* kIcm = ZV_WIDE("ICM");
constexpr const ZvChar* kEt = ZV_WIDE("ET");

std::string_view TextOf(const ClrResource& resource) {
    return {reinterpret_cast<const char*>(resource.data), resource.size};
}

TEST(Resources, OfNoModuleHaveNoSuchTypeOrId) {
    for (const ZvChar* type : {kIcm, kEt, ZV_WIDE("NONE"), ZV_WIDE("")}) {
        const ClrResource block = FindClrResource(type, 60000);
        EXPECT_EQ(nullptr, block.data);
        EXPECT_EQ(0U, block.size);
    }
    EXPECT_EQ(nullptr, FindClrResource(ZV_WIDE("NONE"), 105).data);
}

TEST(Resources, LibraryCarriesItsProfiles) {
    struct Profile {
        uint16_t id;
        uint32_t size;
    };
    constexpr Profile kProfiles[] = {{105, 3144}, {106, 200182}, {107, 725436}, {110, 102000}};
    for (const Profile& profile : kProfiles) {
        const ClrResource block = FindClrResource(kIcm, profile.id);
        ASSERT_NE(nullptr, block.data) << profile.id;
        EXPECT_EQ(profile.size, block.size) << profile.id;
        EXPECT_EQ("acsp", TextOf(block).substr(36, 4)) << profile.id;
        const uint8_t* size = block.data;
        EXPECT_EQ(block.size, uint32_t{size[0]} << 24 | uint32_t{size[1]} << 16 | uint32_t{size[2]} << 8 | size[3]);
    }
    constexpr uint16_t kOthers[] = {0, 104, 108, 109, 111};
    for (const uint16_t other : kOthers) EXPECT_EQ(nullptr, FindClrResource(kIcm, other).data) << other;
}

TEST(Resources, ProfilesComeFromTheModuleInForce) {
    const HostScope host;
    const LoadedModule empty(ZVCLR_TEST_EMPTY_MODULE), noise(ZVCLR_TEST_RESOURCE_MODULE);
    ASSERT_NE(nullptr, empty.Handle());
    ASSERT_NE(nullptr, noise.Handle());
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    // The one has no profiles, in the other there is no profile behind the id.
    for (const LoadedModule* module : {&empty, &noise}) {
        SetResModule(module->Handle());
        for (const int32_t space : {2, 6, 7, 11}) {
            EXPECT_EQ(ERR_PROFILE_LOAD, FailingInit(CLRSPACE_RGB, space, &params)) << space;
            EXPECT_EQ(ERR_PROFILE_LOAD, FailingInit(space, CLRSPACE_BGR, &params)) << space;
        }
        const Converter hubs(CLRSPACE_RGB, CLRSPACE_BGR, &params);  // needs none
    }
    EXPECT_EQ(0, RegisteredCount());
    SetResModule(nullptr);
    const Converter again(CLRSPACE_RGB, CLRSPACE_CMYK, &params);
    EXPECT_NE(nullptr, again->iccTransform);
}

TEST(Resources, OfALoadedModuleHaveExactSizesAndBytes) {
    const LoadedModule module(ZVCLR_TEST_RESOURCE_MODULE);
    ASSERT_NE(nullptr, module.Handle());
    SetResModule(module.Handle());
    EXPECT_EQ(ZV_TEST_PROFILE, TextOf(FindClrResource(kIcm, 105)));
    EXPECT_EQ(ZV_TEST_TABLE, TextOf(FindClrResource(kEt, 111)));
    EXPECT_EQ(ZV_TEST_OTHER_PROFILE, TextOf(FindClrResource(kIcm, 900)));
    EXPECT_EQ(ZV_TEST_PROFILE, TextOf(FindClrResource(ZV_WIDE("icm"), 105))) << "types have no case";
}

TEST(Resources, MissingTypeAndMissingId) {
    const LoadedModule module(ZVCLR_TEST_RESOURCE_MODULE);
    ASSERT_NE(nullptr, module.Handle());
    SetResModule(module.Handle());
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 111).data) << "the id of the other type";
    EXPECT_EQ(nullptr, FindClrResource(kEt, 105).data);
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 0).data);
    EXPECT_EQ(nullptr, FindClrResource(ZV_WIDE("IC"), 105).data);
    EXPECT_EQ(nullptr, FindClrResource(ZV_WIDE("ICMX"), 105).data);
    EXPECT_EQ(0U, FindClrResource(ZV_WIDE("ICMX"), 105).size);
}

TEST(Resources, LastErrorTellsTypeFromId) {
    const LoadedModule module(ZVCLR_TEST_RESOURCE_MODULE);
    ASSERT_NE(nullptr, module.Handle());
    const auto handle = static_cast<HMODULE>(module.Handle());
    SetLastError(0);
    EXPECT_EQ(nullptr, FindResourceW(handle, MAKEINTRESOURCEW(105), ZV_WIDE("NONE")));
    EXPECT_EQ(DWORD{ERROR_RESOURCE_TYPE_NOT_FOUND}, GetLastError());
    EXPECT_EQ(nullptr, FindResourceW(handle, MAKEINTRESOURCEW(106), kIcm));
    EXPECT_EQ(DWORD{ERROR_RESOURCE_NAME_NOT_FOUND}, GetLastError());
    EXPECT_EQ(nullptr, FindResourceW(handle, ZV_WIDE("105"), kIcm)) << "ids are no names";
}

TEST(Resources, ModuleWithoutAnyFindsNothing) {
    const LoadedModule module(ZVCLR_TEST_EMPTY_MODULE);
    ASSERT_NE(nullptr, module.Handle());
    SetResModule(module.Handle());
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 105).data);
    EXPECT_EQ(0U, FindClrResource(kEt, 111).size);
}

TEST(Resources, LaterAttachSetsTheModuleBack) {
    const HostScope host;
    const LoadedModule module(ZVCLR_TEST_RESOURCE_MODULE), empty(ZVCLR_TEST_EMPTY_MODULE);
    ASSERT_NE(nullptr, module.Handle());
    ASSERT_NE(nullptr, empty.Handle());
    ClrProcessAttach(nullptr);
    SetResModule(module.Handle());
    EXPECT_NE(nullptr, FindClrResource(kIcm, 900).data);
    ClrProcessAttach(nullptr);
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 900).data);
    ClrProcessDetach();
    ClrProcessAttach(module.Handle());
    EXPECT_NE(nullptr, FindClrResource(kIcm, 900).data);
    SetResModule(empty.Handle());
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 900).data);
    ClrProcessDetach();
    EXPECT_EQ(nullptr, FindClrResource(kIcm, 900).data) << "a detach leaves the module";
    ClrProcessDetach();
}

}  // namespace
}  // namespace zv::test
