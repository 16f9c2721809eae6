// What docs/icc-profiles.md says of records and bodies is what the library does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "document_tables.h"
#include "icc_samples.h"
#include "record_layouts.h"
#include "zvicc.h"

namespace {

using zvtest::Cells;
using zvtest::codeOf;
using zvtest::plain;
using zvtest::projectFile;
using zvtest::tableOf;
using zvtest::TestProfile;

const std::string kDocument = "docs/icc-profiles.md";
const std::string kImageDocument = "docs/embedded-profiles.md";

std::string hexOf(const uint8_t* bytes, size_t count) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (size_t i = 0; i < count; ++i) text << (i == 0 ? "" : " ") << std::setw(2) << int{bytes[i]};
    return text.str();
}

std::vector<char> bytesOfHex(const std::string& hex) {
    std::vector<char> bytes;
    std::istringstream words(hex);
    for (std::string word; words >> word;) bytes.push_back(static_cast<char>(std::stoi(word, nullptr, 16)));
    return bytes;
}

struct DocumentTable {
    size_t size;
    std::vector<Cells> rows;
};

/// Tables of records, each behind a line "`Name`, N bytes:".
std::map<std::string, DocumentTable> recordTables() {
    std::map<std::string, DocumentTable> tables;
    std::istringstream lines(projectFile(kDocument) + projectFile(kImageDocument));
    const std::regex title("`(\\w+)`, ([0-9]+) bytes:");
    DocumentTable* open = nullptr;
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_match(line, match, title)) {
            EXPECT_EQ(tables.count(match[1]), 0U) << match[1];
            open = &(tables[match[1]] = {std::stoul(match[2]), {}});
        } else if (open != nullptr && line.rfind("| ", 0) == 0) {
            if (line.rfind("| offset", 0) != 0) open->rows.push_back(zvtest::cellsOf(line));
        } else if (!line.empty() && line[0] != '|') {
            open = nullptr;
        }
    }
    return tables;
}

TEST(IccDocument, LayoutsHoldEveryRecordOfTheHeaderWithoutGaps) {
    std::set<std::string> listed, declared;
    for (const zvtest::RecordLayout& layout : zvtest::recordLayouts()) {
        listed.insert(layout.name);
        size_t end = 0;
        for (const zvtest::RecordField& field : layout.fields) {
            EXPECT_EQ(field.offset, end) << layout.name << "." << field.name;
            end += field.width;
        }
        EXPECT_EQ(end, layout.size) << layout.name;
    }
    const std::string header = projectFile("include/zvicc.h");
    const std::regex record("typedef struct _?(\\w+) \\{");
    for (auto i = std::sregex_iterator(header.begin(), header.end(), record); i != std::sregex_iterator(); ++i)
        declared.insert((*i)[1]);
    EXPECT_GT(declared.size(), 25U);
    EXPECT_EQ(listed, declared);
}

TEST(IccDocument, TablesOfRecordsAreThoseOfTheCompiler) {
    const std::map<std::string, DocumentTable> tables = recordTables();
    const std::vector<zvtest::RecordLayout> layouts = zvtest::recordLayouts();
    EXPECT_EQ(tables.size(), layouts.size());
    for (const zvtest::RecordLayout& layout : layouts) {
        ASSERT_EQ(tables.count(layout.name), 1U) << layout.name;
        const DocumentTable& table = tables.at(layout.name);
        EXPECT_EQ(table.size, layout.size) << layout.name;
        ASSERT_EQ(table.rows.size(), layout.fields.size()) << layout.name;
        for (size_t i = 0; i < table.rows.size(); ++i) {
            const zvtest::RecordField& field = layout.fields[i];
            ASSERT_GE(table.rows[i].size(), 4U);
            EXPECT_EQ(plain(table.rows[i][2]), field.name) << layout.name;
            EXPECT_EQ(table.rows[i][0], std::to_string(field.offset)) << layout.name << "." << field.name;
            EXPECT_EQ(table.rows[i][1], std::to_string(field.width)) << layout.name << "." << field.name;
        }
    }
}

TEST(IccDocument, SamplesOfTypesHaveTheBodiesOfTheTable) {
    const std::vector<Cells> rows = tableOf(kDocument, "| type | record | body | padded | sample | bytes |");
    std::set<std::string> seen;
    for (const Cells& row : rows) {
        ASSERT_EQ(row.size(), 6U);
        std::istringstream types(row[0]);
        for (std::string cell; std::getline(types, cell, ',');) {
            std::string type = cell.find('`') == std::string::npos
                                   ? "zzzz"
                                   : cell.substr(cell.find('`') + 1, cell.rfind('`') - cell.find('`') - 1);
            EXPECT_TRUE(seen.insert(type).second) << type;
            TestProfile profile;
            const int32_t result = zvtest::setSample(&profile, type);
            ASSERT_EQ(result, type == "zzzz" ? ERR_UNKNOWN_TAG_TYPE : CLR_SUCCESS) << type;
            const uint32_t size = profile->tagTable[0].size;
            EXPECT_EQ(std::to_string(size), row[5]) << type;
            EXPECT_EQ(+profile->tagDataSize, row[3] == "yes" ? (size + 3) / 4 * 4 : size) << type;
            // A sample that needs no padding would say nothing of it.
            if (type != "mAB " && type != "mBA " && type != "mft1" && type != "mft2" && type != "ncl2" &&
                type != "para" && type != "pseq" && type != "rcs2" && type != "data") {
                EXPECT_EQ(row[3] == "yes", size % 4 != 0) << type;
            }
            EXPECT_EQ(std::memcmp(profile->tagData, type.c_str(), 4), 0) << type;
        }
    }
    EXPECT_EQ(seen.size(), 27U);
}

TEST(IccDocument, NumbersAreThoseOfTheTable) {
    const std::vector<Cells> rows = tableOf(kDocument, "| value | word of the function | the 16.16 word |");
    ASSERT_EQ(rows.size(), 9U);
    for (const Cells& row : rows) {
        const double value = std::stod(row[0]);
        EXPECT_EQ(Zv_DoubleTo2bFixed2bNumber(value), std::stoul(row[1], nullptr, 16)) << value;
        const auto word = static_cast<int32_t>(value * 65536 + (value < 0 ? -0.5 : 0.5));
        EXPECT_EQ(static_cast<uint32_t>(word), std::stoul(row[2], nullptr, 16)) << value;
    }
    EXPECT_EQ(Zv_DoubleToU8Fixed8Number(2.2), 0x0233);
    EXPECT_EQ(Zv_DoubleToU8Fixed8Number(0.5), 0x0008);
    EXPECT_EQ(Zv_2bFixed2bNumberToDouble(0xFFFF0000), 65535.0);
}

TEST(IccDocument, TextsAreStoredAsTheTableSays) {
    const std::vector<Cells> rows = tableOf(kDocument, "| text | bytes to give | body from 8 |");
    ASSERT_EQ(rows.size(), 4U);
    for (const Cells& row : rows) {
        std::vector<char> given = bytesOfHex(plain(row[1]));
        const std::string text = row[0].substr(1, row[0].size() - 2);
        EXPECT_EQ(given.size(), 2 * text.size() + 2) << row[0];
        EXPECT_EQ(text, given.data());
        TestProfile profile;
        ClrIccTagText record = {};
        record.text = given.data();
        ASSERT_EQ(profile.set("targ", "text", &record), CLR_SUCCESS) << row[0];
        EXPECT_EQ(hexOf(profile->tagData + 8, profile->tagTable[0].size - 8), plain(row[2])) << row[0];
    }
    std::vector<char> wide = bytesOfHex("61 00 62 00 63 00 00 00");
    TestProfile profile;
    ClrIccTagText record = {};
    record.text = wide.data();
    ASSERT_EQ(profile.set("targ", "text", &record), CLR_SUCCESS);
    EXPECT_EQ(hexOf(profile->tagData + 8, profile->tagTable[0].size - 8), "61 00 62 00");
}

TEST(IccDocument, CodeIsThatOfTheExamples) {
    std::string programs;
    for (const char* name : {"icc_records.c", "make_profile.c", "edit_profile.c", "make_lut_profile.c"})
        programs += projectFile(std::string("examples/") + name);
    const std::vector<std::string> pieces = codeOf(projectFile(kDocument));
    EXPECT_GT(pieces.size(), 8U);
    for (const std::string& piece : pieces) EXPECT_NE(programs.find(piece), std::string::npos) << piece;
}

TEST(IccDocument, ResultCodesAreThoseOfTheHeader) {
    const std::string header = projectFile("include/zvclr.h");
    const std::vector<Cells> rows = tableOf(kDocument, "| code | when |");
    EXPECT_GT(rows.size(), 8U);
    for (const Cells& row : rows) EXPECT_NE(header.find(" " + plain(row[0]) + " = "), std::string::npos) << row[0];
}

TEST(IccDocument, KnownTagsAreThoseWithoutAWarning) {
    const std::string text = projectFile(kDocument);
    const size_t begin = text.find("The signatures that are known: ");
    ASSERT_NE(begin, std::string::npos);
    std::set<std::string> listed;
    const std::regex signature("`(\\w{4})`");
    const std::string list = text.substr(begin);
    for (auto i = std::sregex_iterator(list.begin(), list.end(), signature); i != std::sregex_iterator(); ++i)
        listed.insert((*i)[1]);
    EXPECT_EQ(listed.size(), 38U);
    ClrIccTagSignature record = {};
    for (const std::string& tag : listed) {
        TestProfile profile;
        EXPECT_EQ(profile.set(tag, "sig ", &record), CLR_SUCCESS) << tag;
        EXPECT_EQ(profile.set(tag, "zzzz", zvtest::noBytes()), ERR_UNKNOWN_TAG_TYPE) << tag;
    }
    // What the standard has besides, and what nobody has.
    for (const char* tag : {"ciis", "rig0", "rig2", "D2B0", "abcd"}) {
        TestProfile profile;
        EXPECT_EQ(profile.set(tag, "sig ", &record), ERR_UNKNOWN_TAG) << tag;
        EXPECT_EQ(profile.set(tag, "zzzz", zvtest::noBytes()), ERR_UNKNOWN_TAG_AND_TYPE) << tag;
        EXPECT_EQ(+profile->tagCount, 2) << tag;
    }
}

}  // namespace
