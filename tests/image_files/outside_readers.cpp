#include "outside_readers.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>

namespace zvtest {

namespace {

std::string NamesOf(const std::vector<fs::path>& files) {
    std::string names;
    for (const fs::path& file : files) names += " '" + file.filename().string() + "'";
    return names;
}

std::vector<Bytes> Extracted(const fs::path& folder, const std::vector<fs::path>& files, const char* extension) {
    std::vector<Bytes> profiles;
    for (const fs::path& file : files) {
        const fs::path made = (folder / file.filename()).replace_extension(extension);
        profiles.push_back(fs::exists(made) ? ReadFile(made) : Bytes());
        fs::remove(made);
    }
    return profiles;
}

}  // namespace

std::string Shell(const fs::path& folder, const std::string& line) {
    const Folder results;
    const std::string out = (results / "out").string();
    const std::string err = (results / "err").string();
    const std::string command =
        "cd '" + folder.string() + "' && { " + line + "\n} >'" + out + "' 2>'" + err + "' </dev/null";
    const int status = std::system(command.c_str());
    const Bytes said = ReadFile(err);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << line << "\n" << std::string(said.begin(), said.end());
    const Bytes bytes = ReadFile(out);
    return std::string(bytes.begin(), bytes.end());
}

std::vector<Bytes> ProfilesByExiftool(const fs::path& folder, const std::vector<fs::path>& files) {
    Shell(folder, "exiftool -q -b -ICC_Profile -w %d%f.exiftool" + NamesOf(files));
    return Extracted(folder, files, ".exiftool");
}

std::vector<Bytes> ProfilesByExiv2(const fs::path& folder, const std::vector<fs::path>& files) {
    Shell(folder, "exiv2 -q -f -eC" + NamesOf(files));
    return Extracted(folder, files, ".icc");
}

std::string ComplaintsOfExiftool(const fs::path& folder, const std::vector<fs::path>& files) {
    return Shell(folder, "exiftool -q -m -a -G -validate -warning -error -p '$filename $validate $warning $error'" +
                             NamesOf(files) + " || true");
}

}  // namespace zvtest
