// zvclr info: dumps of known profiles, kept as they were reviewed, and the same facts as JSON and as a picture.
//
// ZVCLR_REGENERATE_GOLDEN=1 writes the dumps anew; what has changed shows as a difference in the sources.
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "info_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::infoOf;
using zvtest::runTool;

std::string resource(const std::string& name) { return std::string(ZVCLR_PROFILES) + "/" + name; }

void compare(const std::string& name, const std::string& dump) {
    const std::string path = std::string(ZVCLR_GOLDEN) + "/" + name;
    if (std::getenv("ZVCLR_REGENERATE_GOLDEN") != nullptr) {
        zvtest::writeFile(path, dump);
        GTEST_SKIP() << "written anew: " << path;
    }
    const Bytes kept = zvtest::readFile(path);
    EXPECT_EQ(dump, std::string(kept.begin(), kept.end())) << name;
}

class BuiltinDump : public testing::TestWithParam<const char*> {};

TEST_P(BuiltinDump, IsAsReviewed) {
    const std::string name = GetParam();
    const zvtest::Outcome outcome = runTool({"info", resource(name + ".icm")});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find('/' + name), std::string::npos) << "no folders";
    compare(name + ".txt", outcome.out);
}

INSTANTIATE_TEST_SUITE_P(InfoGolden, BuiltinDump, testing::Values("105", "106", "107", "110"),
                         [](const auto& row) { return std::string("Profile") + row.param; });

Bytes madeProfile() {
    zvtest::ProfileMaker maker;
    maker.addDisplayTags();
    maker.addEveryType();
    return maker.image();
}

TEST(InfoGolden, AProfileWithEveryTypeIsAsReviewed) { compare("every_type.txt", infoOf(madeProfile())); }

TEST(InfoGolden, AllShowsTablesWhole) {
    const Bytes profile = zvtest::readFile(resource("105.icm"));
    const std::string some = infoOf(profile);
    const std::string all = infoOf(profile, {"--all"});
    EXPECT_NE(some.find("(1024 values)"), std::string::npos);
    EXPECT_EQ(all.find("(1024 values)"), std::string::npos);
    const json curve = json::parse(infoOf(profile, {"--json", "--all"}))["tags"][14]["contents"]["entries"];
    ASSERT_EQ(curve.size(), 1024U);
    for (size_t i = 0; i < 1024; ++i) {
        const auto* at = profile.data() + 1084 + 12 + 2 * i;
        ASSERT_EQ(curve[i], at[0] * 256 + at[1]) << i;
    }
}

/// Every leaf of the tree, as the text shows it.
void leavesOf(const json& node, std::vector<std::string>& leaves) {
    if (node.is_object() || node.is_array()) {
        for (const json& child : node) {
            leavesOf(child, leaves);
        }
    } else if (node.is_string()) {
        leaves.push_back(node.get<std::string>());
    } else if (node.is_number_integer()) {
        leaves.push_back(std::to_string(node.get<int64_t>()));
    } else if (node.is_number()) {
        char digits[64];
        std::snprintf(digits, sizeof digits, "%.5f", node.get<double>());
        leaves.emplace_back(digits);
    }
}

std::string withoutBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

void expectAgreement(const Bytes& profile) {
    const std::string text = infoOf(profile);
    const json report = json::parse(infoOf(profile, {"--json"}));
    std::vector<std::string> leaves;
    leavesOf(report["header"], leaves);
    for (const json& tag : report["tags"]) {
        EXPECT_NE(text.find(withoutBlanks(tag["signature"])), std::string::npos);
        leaves.push_back(std::to_string(tag["offset"].get<uint32_t>()));
        leaves.push_back(std::to_string(tag["size"].get<uint32_t>()));
        leaves.push_back(tag["remark"]);
        if (tag.contains("contents")) {
            leavesOf(tag["contents"], leaves);
        }
    }
    for (const char* side : {"input", "output"}) {
        leaves.push_back(report["engine"][side]["text"]);
    }
    for (const json& problem : report["problems"]) {
        leaves.push_back(problem["level"].get<std::string>() + ": " + problem["place"].get<std::string>() + ": " +
                         problem["text"].get<std::string>());
    }
    EXPECT_GT(leaves.size(), 100U);
    for (const std::string& leaf : leaves) {
        EXPECT_NE(text.find(withoutBlanks(leaf)), std::string::npos) << "not in the text: " << leaf;
    }
}

TEST(InfoGolden, JsonHasTheFactsOfTheText) {
    expectAgreement(madeProfile());
    for (const char* name : {"105.icm", "106.icm", "107.icm", "110.icm"}) {
        expectAgreement(zvtest::readFile(resource(name)));
    }
}

TEST(InfoGolden, JsonHasStableKeys) {
    const json report = json::parse(infoOf(madeProfile(), {"--json"}));
    EXPECT_EQ(report["file"], "made.icc");
    EXPECT_EQ(report["header"]["class"]["value"], "mntr");
    EXPECT_EQ(report["header"]["renderingIntent"]["value"], 1);
    EXPECT_EQ(report["header"]["colourSpace"]["value"], "RGB ");
    EXPECT_EQ(report["header"]["created"], "2026-03-04 15:16:17");
    EXPECT_EQ(report["tags"][0]["signature"], "desc");
    EXPECT_EQ(report["tags"][0]["contents"]["texts"][0]["label"], "en-US");
    EXPECT_EQ(report["tags"][0]["contents"]["texts"][0]["value"], "A display for tests \u2713");
    EXPECT_EQ(report["tags"][3]["contents"]["value"]["XYZ"][0], 0.43607);
    EXPECT_EQ(report["engine"]["input"]["trial"], "CLR_SUCCESS");
}

TEST(InfoGolden, ThePictureIsXmlWithCurvesTriangleAndWhite) {
    const zvtest::Folder folder;
    zvtest::writeFile(folder.path("a & <b>.icc"), madeProfile());
    const std::string check = "$ZVCLR info --svg '" + folder.path("a & <b>.icc") + R"(' | python3 -c '
import sys, xml.etree.ElementTree as tree
root = tree.fromstring(sys.stdin.buffer.read())
space = "{http://www.w3.org/2000/svg}"
assert root.tag == space + "svg", root.tag
print(root.find(space + "title").text)
print(" ".join(sorted(e.get("id") for e in root.iter() if e.get("id"))))
curve = [e for e in root.iter() if e.get("id") == "gTRC"][0]
print(len(curve.get("d").split("L")))
white = [e for e in root.iter() if e.get("id") == "white"][0]
print(round((float(white.get("cx")) - 540) / 380 * 0.9, 3), round((440 - float(white.get("cy"))) / 380 * 0.9, 3))
')";
    EXPECT_EQ(zvtest::shell(check), "a & <b>.icc\nbTRC colorants gTRC kTRC locus rTRC white\n129\n0.346 0.359\n");
}

TEST(InfoGolden, ThePictureOfATableSaysWhatIsMissing) {
    const std::string picture = infoOf(zvtest::readFile(resource("107.icm")), {"--svg"});
    EXPECT_NE(picture.find("The profile has no tone curves."), std::string::npos);
    EXPECT_NE(picture.find("The profile has no colorants."), std::string::npos);
    EXPECT_NE(picture.find("id=\"white\""), std::string::npos);
}

}  // namespace
