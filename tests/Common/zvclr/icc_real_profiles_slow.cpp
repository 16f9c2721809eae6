// Profiles that people use: those that the system's packages install, from and to both hubs.
#include <map>

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/engine_reference.h"

#ifdef __linux__

namespace zv::test {
namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/usr/share/color/icc";

Bytes ContentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Every file with the mark of a profile, by name.
std::map<std::string, Bytes> InstalledProfiles() {
    std::map<std::string, Bytes> profiles;
    std::error_code missing;
    for (const auto& entry : fs::recursive_directory_iterator(kFolder, missing)) {
        if (!entry.is_regular_file()) continue;
        Bytes bytes = ContentOf(entry.path());
        if (bytes.size() >= 132 && GetBig32(bytes, 36) == FourCc("acsp")) profiles[entry.path().string()] = bytes;
    }
    return profiles;
}

/// The space whose pixels such a profile describes. Those of no space of ours go as BGR, which takes any profile.
int32_t SpaceOf(const Bytes& profile) {
    const uint32_t space = GetBig32(profile, 16);
    if (space == FourCc("RGB ")) return CLRSPACE_RGB;
    if (space == FourCc("CMYK")) return CLRSPACE_CMYK;
    if (space == FourCc("CMY ")) return CLRSPACE_CMY;
    if (space == FourCc("Lab ")) return CLRSPACE_LAB;
    return CLRSPACE_BGR;
}

uint32_t FormatOf(int32_t space) {
    switch (space) {
        case CLRSPACE_RGB:
            return CMMFORMAT_RGB_8;
        case CLRSPACE_CMYK:
            return CMMFORMAT_CMYK_8;
        case CLRSPACE_CMY:
            return CMMFORMAT_CMY_8;
        case CLRSPACE_LAB:
            return CMMFORMAT_LAB_8;
        default:
            return CMMFORMAT_BGR_8;
    }
}

class RealProfiles : public ::testing::Test {
protected:
    HostScope host_;
    Bytes rgb_;
    std::map<uint32_t, int> made_;  ///< by the profile's colour space

    void SetUp() override {
        const ClrResource resource = FindClrResource(ZV_WIDE("ICM"), 105);
        ASSERT_NE(nullptr, resource.data);
        rgb_.assign(resource.data, resource.data + resource.size);
    }

    /// Nothing where there is no transform.
    Bytes Through(const Bytes& input, int32_t source, const Wide& output, const Bytes& outputBytes, int32_t destination,
                  uint8_t fill) {
        MemoryProfile in(input), out(outputBytes);
        ClrParams params = CustomParams(&in, output.empty() ? &out : nullptr);
        SetName(params.outputProfileName, output);
        host_->FillBlocksWith(fill);
        ClrHandle* handle = nullptr;
        Bytes pixels;
        const int32_t result = Zv_ClrInit(&handle, source, destination, &params);
        if (result == CLR_SUCCESS) {
            if (handle->customTransform != nullptr) pixels = ConvertSample(handle);
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        } else if (result == ERR_PROFILE_UNUSABLE) {
            // No transform, on a pair that nothing else serves: the unload takes the converter.
            EXPECT_EQ(1, RegisteredCount());
            EXPECT_EQ(nullptr, FirstRegistered()->customTransform);
            ReleaseAllConverters();
        } else {
            EXPECT_EQ(ERR_TRANSFORM_CREATE, result);
        }
        host_->Reset();
        return pixels;
    }

    void ExpectLikeReference(const Bytes& profile, bool asInput, int32_t hub, const std::string& path) {
        const int32_t source = asInput ? SpaceOf(profile) : hub;
        const int32_t destination = asInput ? hub : SpaceOf(profile);
        SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
        const Bytes& input = asInput ? profile : rgb_;
        const Bytes& output = asInput ? rgb_ : profile;
        const Bytes pixels = Through(input, source, {}, output, destination, 0xA5);
        EXPECT_EQ(pixels, Through(input, source, {}, output, destination, 0x3C)) << "bytes that nobody wrote";
        if (!asInput) {
            EXPECT_EQ(pixels, Through(input, source, WideOf(fs::path(path)), {}, destination, 0xA5)) << "by name";
        }
        const auto reference = reference::Build(input, FormatOf(source), output, FormatOf(destination));
        ASSERT_EQ(reference.has_value(), !pixels.empty());
        if (!reference) return;
        EXPECT_EQ(reference::Run(*reference, SamplePixels(source)), pixels);
        ++made_[GetBig32(profile, 16)];
    }
};

TEST_F(RealProfiles, FromAndToBothHubsLikeTheReference) {
    const std::map<std::string, Bytes> profiles = InstalledProfiles();
    ASSERT_GE(profiles.size(), 20U) << "install icc-profiles-free and colord-data, which put profiles into " << kFolder;
    for (const auto& [path, bytes] : profiles) {
        SCOPED_TRACE(path);
        for (const int32_t hub : kHubs) {
            ExpectLikeReference(bytes, true, hub, path);
            ExpectLikeReference(bytes, false, hub, path);
        }
    }
    // Profiles with parametric curves or the tables of version 4 have no transform.
    EXPECT_GE(made_[FourCc("RGB ")], 20);
    EXPECT_GE(made_[FourCc("GRAY")], 2);
    EXPECT_GE(made_[FourCc("Lab ")], 2);
}

/// The packages have no profile of inks; the library's own serves, and its others with it.
TEST_F(RealProfiles, LibrarysOwnAsProfilesOfTheCaller) {
    TemporaryFolder folder;
    constexpr uint16_t kIds[] = {105, 106, 107, 110};
    for (const uint16_t id : kIds) {
        SCOPED_TRACE(id);
        const ClrResource resource = FindClrResource(ZV_WIDE("ICM"), id);
        ASSERT_NE(nullptr, resource.data);
        const Bytes bytes(resource.data, resource.data + resource.size);
        folder.Write("profile.icc", bytes);
        for (const int32_t hub : kHubs) {
            ExpectLikeReference(bytes, true, hub, (folder.Path() / "profile.icc").string());
            ExpectLikeReference(bytes, false, hub, (folder.Path() / "profile.icc").string());
        }
    }
    for (const char* space : {"RGB ", "Lab ", "CMYK", "CMY "}) EXPECT_EQ(4, made_[FourCc(space)]) << space;
}

}  // namespace
}  // namespace zv::test

#endif
