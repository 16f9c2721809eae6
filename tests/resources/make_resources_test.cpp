// The committed profiles and emulation tables are what the tool makes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string Contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

class OutputFolder {
public:
    OutputFolder() {
        std::string pattern = (fs::temp_directory_path() / "zvclr_resources_XXXXXX").string();
        path_ = mkdtemp(pattern.data()) != nullptr ? pattern : "";
    }
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;
    ~OutputFolder() {
        std::error_code ignored;
        if (!path_.empty()) fs::remove_all(path_, ignored);
    }
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

int RunTool(const std::string& arguments) {
    std::string line = "'" ZVCLR_MAKE_RESOURCES "' ";
    line.append(arguments).append(" > /dev/null 2>&1");
    return std::system(line.c_str());
}

TEST(MakeResources, MakesTheCommittedBlocksByteForByte) {
    const OutputFolder folder;
    ASSERT_FALSE(folder.path().empty());
    ASSERT_EQ(RunTool(folder.path().string()), 0);
    for (const char* name :
         {"icm/105.icm", "icm/106.icm", "icm/107.icm", "icm/110.icm", "et/111.et", "et/112.et", "et/113.et"}) {
        const std::string committed = Contents(fs::path(ZVCLR_RESOURCE_FOLDER) / name);
        EXPECT_GT(committed.size(), 3000U);
        // Not by EXPECT_EQ: a difference would print both.
        EXPECT_TRUE(Contents(folder.path() / name) == committed) << name;
    }
}

TEST(MakeResources, RefusesOtherArguments) {
    EXPECT_NE(RunTool(""), 0);
    EXPECT_NE(RunTool("one two"), 0);
    EXPECT_NE(RunTool("/dev/null/folder"), 0);
}

}  // namespace
