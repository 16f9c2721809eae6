// zvclr info and the library's profile objects on real profiles.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "info_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::get32;
using zvtest::infoOf;
using zvtest::set32;

TEST(InfoProfiles, RealProfilesAreShownWithoutErrors) {
    for (const std::string& path : zvtest::realProfiles()) {
        const Bytes bytes = zvtest::readFile(path);
        const std::string text = infoOf(bytes);
        EXPECT_NE(text.find("\nProblems\n"), std::string::npos) << path;
        EXPECT_EQ(text.find("  error: "), std::string::npos) << path << "\n" << text.substr(text.find("\nProblems\n"));
        const json report = json::parse(infoOf(bytes, {"--json"}));
        ASSERT_EQ(report["tags"].size(), get32(bytes, 128)) << path;
        for (const json& tag : report["tags"]) {
            EXPECT_TRUE(tag["read"] == "record" || tag["read"] == "body") << path << " " << tag["signature"];
        }
    }
}

TEST(InfoProfiles, ConvertersDoWhatIsSaidOfThem) {
    size_t usable = 0;
    for (const std::string& path : zvtest::realProfiles()) {
        const json engine = json::parse(infoOf(zvtest::readFile(path), {"--json"}))["engine"];
        for (const char* name : {"input", "output"}) {
            const json& side = engine[name];
            if (engine["pixels"].is_null()) {
                EXPECT_TRUE(side["trial"].is_null()) << path;
                continue;
            }
            EXPECT_EQ(side["usable"].get<bool>(), side["trial"] == "CLR_SUCCESS") << path << " " << name << side;
            usable += side["usable"].get<bool>() ? 1U : 0U;
        }
    }
    EXPECT_GE(usable, 10U);
}

TEST(InfoProfiles, PicturesOfRealProfilesAreXml) {
    const zvtest::Folder folder;
    const std::vector<std::string> files = zvtest::realProfiles();
    for (size_t i = 0; i < files.size(); ++i) {
        zvtest::writeFile(folder.path(std::to_string(i)), infoOf(zvtest::readFile(files[i]), {"--svg"}));
    }
    const std::string count = zvtest::shell("cd " + folder.root() + R"(
python3 -c 'import os, xml.dom.minidom
print(len([xml.dom.minidom.parse(name) for name in os.listdir(".")]))')");
    EXPECT_EQ(count, std::to_string(files.size()) + "\n");
}

/// What is generated of a profile as it was parsed.
Bytes regenerated(const Bytes& bytes) {
    ClrIccProfile profile = {};
    EXPECT_EQ(Zv_InitICCProfile(&profile, sizeof profile), CLR_SUCCESS);
    EXPECT_EQ(Zv_FillICCProfileStructure(&profile, bytes.data(), bytes.size()), CLR_SUCCESS);
    EXPECT_EQ(Zv_GenerateICCPointer(&profile), CLR_SUCCESS);
    Bytes result(profile.profileData, profile.profileData + profile.profileSize);
    Zv_FreeICCProfile(&profile);
    return result;
}

TEST(InfoProfiles, RealProfilesAreGeneratedAgain) {
    size_t old = 0;
    for (const std::string& path : zvtest::realProfiles()) {
        Bytes bytes = zvtest::readFile(path);
        if (get32(bytes, 8) < 0x04000000) {
            set32(bytes, 8, 0x04200000);
            ++old;
        }
        Bytes expected(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(get32(bytes, 0)));
        set32(expected, 56, 0);
        std::fill(expected.begin() + 100, expected.begin() + 128, uint8_t{0});
        const Bytes again = regenerated(bytes);
        EXPECT_EQ(again, expected) << path;
        EXPECT_EQ(regenerated(again), again) << path;
    }
    EXPECT_GE(old, 10U);
}

}  // namespace
