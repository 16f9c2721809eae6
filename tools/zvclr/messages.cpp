#include "messages.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "image/image.h"

namespace zvtool {

void printNotes(const std::string& name, const std::vector<std::string>& notes) {
    for (const std::string& note : notes) {
        fmt::print(stderr, "zvclr: note: {}: {}\n", name, note);
    }
}

void printWarnings(const std::string& name, const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings) {
        fmt::print(stderr, "zvclr: warning: {}: {}\n", name, warning);
    }
}

void printSummary(const std::string& text) {
    if (::isatty(STDERR_FILENO) == 1) {
        fmt::print(stderr, "{}\n", text);
    }
}

void checkNoTerminal(const std::string& path, const char* what) {
    if (path == "-" && ::isatty(STDOUT_FILENO) == 1) {
        throw zvimage::ContradictionError(
            fmt::format("the standard output is a terminal, which cannot show {}; send it to a file", what));
    }
}

}  // namespace zvtool
