#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>

#include "tool_support.h"
#include "zverror.h"

namespace {

struct Entry {
    int32_t code;
    std::string name;
    std::string meaning;
    std::string cause;
};

std::vector<Entry> listedResults() {
    std::vector<Entry> entries;
    int32_t code = 0;
    const char* name = nullptr;
    const char* meaning = nullptr;
    const char* cause = nullptr;
    for (int32_t i = 0; ZvErrorEntry(i, &code, &name, &meaning, &cause) == 1; ++i) {
        entries.push_back({code, name, meaning, cause});
    }
    return entries;
}

// The enumerators of ClrResult as the header has them.
std::map<std::string, int32_t> resultsOfHeader() {
    const zvtest::Bytes bytes = zvtest::readFile(ZVCLR_HEADER);
    const std::string text(bytes.begin(), bytes.end());
    const size_t start = text.find("enum ClrResult {");
    const std::string body = text.substr(start, text.find("};", start) - start);
    const std::regex enumerator(R"(\n\s*([A-Z_0-9]+) = (-?[0-9]+))");
    std::map<std::string, int32_t> results;
    for (auto i = std::sregex_iterator(body.begin(), body.end(), enumerator); i != std::sregex_iterator(); ++i) {
        results[(*i)[1]] = std::stoi((*i)[2]);
    }
    return results;
}

TEST(ResultList, HoldsEveryEnumeratorOfTheHeaderOnce) {
    const std::map<std::string, int32_t> header = resultsOfHeader();
    ASSERT_GT(header.size(), 30U);
    std::map<std::string, int32_t> listed;
    for (const Entry& entry : listedResults()) {
        EXPECT_TRUE(listed.emplace(entry.name, entry.code).second) << entry.name << " is listed twice";
    }
    EXPECT_EQ(listed, header);
}

TEST(ResultList, TextsAreSentencesThatDiffer) {
    std::set<std::string> texts;
    for (const Entry& entry : listedResults()) {
        for (const std::string& text : {entry.meaning, entry.cause}) {
            EXPECT_GT(text.size(), 15U) << entry.name;
            EXPECT_EQ(text.back(), '.') << entry.name;
            EXPECT_TRUE(texts.insert(text).second) << text;
        }
    }
}

TEST(ResultList, FunctionsFindWhatTheListHolds) {
    for (const Entry& entry : listedResults()) {
        EXPECT_EQ(ZvErrorName(entry.code), entry.name);
        EXPECT_EQ(ZvErrorMeaning(entry.code), entry.meaning);
        EXPECT_EQ(ZvErrorCause(entry.code), entry.cause);
    }
}

TEST(ResultList, ZeroTellsItsTwoCauses) {
    EXPECT_STREQ(ZvErrorName(0), "unknown result");
    EXPECT_NE(std::string(ZvErrorMeaning(0)).find("YCCK"), std::string::npos);
    EXPECT_NE(std::string(ZvErrorMeaning(0)).find("platform"), std::string::npos);
}

TEST(ResultList, UnknownNumbersHaveTextsToo) {
    for (const int32_t code : {2, 8, -2, -99999, INT32_MIN, INT32_MAX}) {
        EXPECT_STREQ(ZvErrorName(code), "unknown result");
        EXPECT_STREQ(ZvErrorMeaning(code), ZvErrorMeaning(2));
        EXPECT_STRNE(ZvErrorMeaning(code), ZvErrorMeaning(0));
        EXPECT_STRNE(ZvErrorCause(code), "");
    }
}

TEST(ResultList, EntriesMayBeAskedForInPart) {
    int32_t code = 0;
    EXPECT_EQ(ZvErrorEntry(0, nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(ZvErrorEntry(0, &code, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(code, CLR_SUCCESS);
    EXPECT_EQ(ZvErrorEntry(-1, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(ZvErrorEntry(static_cast<int32_t>(listedResults().size()), nullptr, nullptr, nullptr, nullptr), 0);
}

}  // namespace
