// The document of accuracy holds what the program measures.
#include <gtest/gtest.h>

#include <sstream>

#include "tool_support.h"

namespace {

using zvtest::Folder;
using zvtest::Outcome;

const std::string kBegin = "<!-- zvclr_accuracy: begin -->";
const std::string kEnd = "<!-- zvclr_accuracy: end -->";

std::string document() {
    const zvtest::Bytes bytes = zvtest::readFile(ZVCLR_ACCURACY_DOCUMENT);
    return std::string(bytes.begin(), bytes.end());
}

Outcome run(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {ZVCLR_ACCURACY_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return zvtest::runProgram(all);
}

TEST(Accuracy, DocumentHoldsTheMeasuredTable) {
    const Outcome outcome = run({});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const std::string text = document();
    const size_t begin = text.find(kBegin);
    const size_t end = text.find(kEnd);
    ASSERT_NE(begin, std::string::npos);
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(text.substr(begin + kBegin.size(), end - begin - kBegin.size()), "\n\n" + outcome.out + "\n")
        << "if the change is meant: zvclr_accuracy --update docs/accuracy.md";
}

TEST(Accuracy, RoutesAreAsGoodAsTheyAreMeantToBe) {
    // Largest mean CIEDE2000 that the routes of the profiles may have.
    const std::pair<const char*, double> limits[] = {
        {"icc: rgb to lab", 0.5},   {"icc: lab to rgb", 0.5},  {"icc: rgb, lab, rgb", 0.6},
        {"icc: rgb to cmy", 0.5},   {"icc: cmy to rgb", 0.5},  {"icc: rgb, cmy, rgb", 0.5},
        {"icc: rgb to cmyk", 0.5},  {"icc: cmyk to rgb", 1.0}, {"icc: printed rgb, cmyk, rgb", 1.0},
        {"rgb, cmyk, rgb", 0.0001}, {"rgb, cmy, rgb", 0.0001},
    };
    const std::string text = document();
    for (const auto& [route, limit] : limits) {
        const size_t at = text.find(std::string("| ") + route + " |");
        ASSERT_NE(at, std::string::npos) << route;
        std::istringstream line(text.substr(at, text.find('\n', at) - at));
        std::vector<std::string> cells;
        for (std::string cell; std::getline(line, cell, '|');) cells.push_back(cell);
        ASSERT_EQ(cells.size(), 9U) << route;
        EXPECT_LE(std::stod(cells[6]), limit) << route;
    }
}

TEST(Accuracy, UpdateWritesTheTableBetweenTheMarks) {
    const Folder folder;
    const std::string path = folder.path("accuracy.md");
    zvtest::writeFile(path, "before\n" + kBegin + "\nold\n" + kEnd + "\nafter\n");
    ASSERT_EQ(run({"--update", path}).code, 0);
    const zvtest::Bytes bytes = zvtest::readFile(path);
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_EQ(text.rfind("before\n" + kBegin + "\n\n| route |", 0), 0U) << text;
    EXPECT_EQ(text.find("old"), std::string::npos);
    EXPECT_TRUE(text.ends_with(" |\n\n" + kEnd + "\nafter\n")) << text;
}

TEST(Accuracy, DocumentsWithoutMarksAreLeftAlone) {
    const Folder folder;
    const std::string path = folder.path("other.md");
    zvtest::writeFile(path, std::string("no table here\n"));
    const Outcome outcome = run({"--update", path});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("marks"), std::string::npos) << outcome.err;
    EXPECT_EQ(zvtest::readFile(path).size(), 14U);
    EXPECT_EQ(run({"--update", folder.path("missing.md")}).code, 1);
    EXPECT_EQ(run({"--update"}).code, 2);
    EXPECT_EQ(run({"--print", path}).code, 2);
}

}  // namespace
