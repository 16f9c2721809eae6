// Running of programs and making of files for the tests of the command-line tool.
#ifndef ZVCLR_TESTS_TOOL_SUPPORT_H
#define ZVCLR_TESTS_TOOL_SUPPORT_H

#include <cstdint>
#include <string>
#include <vector>

namespace zvtest {

using Bytes = std::vector<uint8_t>;

/// A folder of its own for one test, removed with all that it holds.
class Folder {
public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string path(const std::string& name) const { return path_ + "/" + name; }
    const std::string& root() const { return path_; }
    /// Names of the files in it, sorted, hidden ones included.
    std::vector<std::string> names() const;

private:
    std::string path_;
};

struct Outcome {
    int code = -1;  ///< exit code, or 128 and the signal
    std::string out;
    std::string err;
    long peakKilobytes = 0;
};

/// Runs a program with the standard input from a file; stderr is no terminal.
Outcome runProgram(const std::vector<std::string>& arguments, const std::string& inputFile = "/dev/null");
/// Runs the tool with these arguments.
Outcome runTool(std::vector<std::string> arguments, const std::string& inputFile = "/dev/null");
/// Runs a line of shell; $ZVCLR in it is the tool. A failing line is a failed test.
std::string shell(const std::string& line);

Bytes readFile(const std::string& path);
void writeFile(const std::string& path, const Bytes& bytes);
void writeFile(const std::string& path, const std::string& text);
bool exists(const std::string& path);

/// Smooth pixels of three channels that differ in all directions.
Bytes pattern(int32_t width, int32_t height);
Bytes ppm(int32_t width, int32_t height, const Bytes& rgb);
/// The pixels of a P5 or P6 file as other programs write it, with three channels.
Bytes pixelsOfPpm(const Bytes& file);
/// The largest difference of two blocks of the same size; 256 when the sizes differ.
int largestDifference(const Bytes& first, const Bytes& second);

}  // namespace zvtest

#endif  // ZVCLR_TESTS_TOOL_SUPPORT_H
