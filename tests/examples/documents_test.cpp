// The tables of the documents agree with the list of spaces and with what the library does.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "document_tables.h"
#include "zvclr.h"
#include "zvspaces.h"

namespace {

using zvtest::Cells;
using zvtest::tableOf;
using Rgb = std::array<uint8_t, 3>;

struct SpaceRow {
    int32_t id;
    std::string idName, name;
    int32_t bits, widthMultiple, heightMultiple;
    std::string bytes, description;
};

const std::vector<SpaceRow>& spaces() {
    static const std::vector<SpaceRow> rows = {
#define SPACE_ROW(id, name, bits, widthMultiple, heightMultiple, bytes, description)                                   \
    SpaceRow{id, #id, name, bits, widthMultiple, heightMultiple, bytes, description},
        ZVCLR_SPACES(SPACE_ROW)
#undef SPACE_ROW
    };
    return rows;
}

const std::map<std::string, Rgb> kColours = {
    {"black", {0, 0, 0}},   {"white", {255, 255, 255}}, {"grey", {128, 128, 128}}, {"red", {255, 0, 0}},
    {"green", {0, 255, 0}}, {"blue", {0, 0, 255}},      {"brown", {200, 100, 50}},
};

const SpaceRow* spaceNamed(const std::string& name) {
    for (const SpaceRow& space : spaces()) {
        if (space.name == name) return &space;
    }
    return nullptr;
}

/// The bytes of a picture of this space, with blanks between them as the documents have it.
std::string bytesOf(const SpaceRow& space, const std::vector<Rgb>& pixels, int32_t width) {
    const auto height = static_cast<int32_t>(pixels.size()) / width;
    // Rows of planes are rounded up to whole bytes where the library asks for its buffer.
    std::vector<uint8_t> bytes(static_cast<size_t>((space.bits * width + 7) / 8 * height));
    EXPECT_EQ(Zv_ClrConvertDirect(CLRSPACE_RGB, space.id, pixels.data(), bytes.data(), width, height, 0, 0),
              CLR_SUCCESS)
        << space.name;
    std::ostringstream text;
    for (int32_t i = 0; i < space.bits * width * height / 8; ++i)
        text << (i == 0 ? "" : " ") << int{bytes[static_cast<size_t>(i)]};
    return text.str();
}

TEST(Documents, ReadmeListsEverySpace) {
    const std::vector<Cells> rows = tableOf("README.md", "| name | identifier | bits | bytes | meaning |");
    ASSERT_EQ(rows.size(), spaces().size());
    for (size_t i = 0; i < rows.size(); ++i) {
        const SpaceRow& space = spaces()[i];
        EXPECT_EQ(rows[i], (Cells{space.name, std::string("`").append(space.idName).append("`"),
                                  std::to_string(space.bits), space.bytes, space.description}));
    }
}

TEST(Documents, FormatsListEverySpace) {
    const std::vector<Cells> rows =
        tableOf("docs/formats.md", "| name | id | bits | bytes | width multiple | height multiple |");
    ASSERT_EQ(rows.size(), spaces().size());
    for (size_t i = 0; i < rows.size(); ++i) {
        const SpaceRow& space = spaces()[i];
        EXPECT_EQ(rows[i], (Cells{space.name, std::to_string(space.id), std::to_string(space.bits), space.bytes,
                                  std::to_string(space.widthMultiple), std::to_string(space.heightMultiple)}));
    }
}

TEST(Documents, WorkedPixelsAreWhatTheLibraryWrites) {
    const Cells colours = {"black", "white", "grey", "red", "green", "blue", "brown"};
    const std::vector<Cells> rows =
        tableOf("docs/formats.md", "| space | black | white | grey | red | green | blue | brown |");
    size_t singles = 0;
    for (const SpaceRow& space : spaces()) singles += space.widthMultiple == 1 ? 1 : 0;
    ASSERT_EQ(rows.size(), singles);
    for (const Cells& row : rows) {
        const SpaceRow* space = spaceNamed(row[0]);
        ASSERT_NE(space, nullptr) << row[0];
        ASSERT_EQ(row.size(), colours.size() + 1);
        for (size_t i = 0; i < colours.size(); ++i)
            EXPECT_EQ(row[i + 1], bytesOf(*space, {kColours.at(colours[i])}, 1)) << row[0] << " " << colours[i];
    }
}

TEST(Documents, WorkedGroupsAreWhatTheLibraryWrites) {
    const std::vector<Cells> rows = tableOf("docs/formats.md", "| space | pixels | bytes |");
    std::map<std::string, int> seen;
    for (const Cells& row : rows) {
        const SpaceRow* space = spaceNamed(row[0]);
        ASSERT_NE(space, nullptr) << row[0];
        std::vector<Rgb> pixels;
        std::istringstream runs(row[1]);
        for (std::string run; std::getline(runs, run, ',');) {
            std::istringstream words(run);
            size_t count = 0;
            std::string colour;
            words >> count >> colour;
            pixels.insert(pixels.end(), count, kColours.at(colour));
        }
        EXPECT_EQ(row[2], bytesOf(*space, pixels, space->widthMultiple)) << row[0] << ": " << row[1];
        ++seen[row[0]];
    }
    for (const SpaceRow& space : spaces()) EXPECT_EQ(seen.count(space.name), space.widthMultiple == 1 ? 0U : 1U);
}

}  // namespace
