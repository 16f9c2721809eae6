// Tables and pieces of code of documents.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zvtest {

using Cells = std::vector<std::string>;

inline Cells cellsOf(const std::string& line) {
    Cells cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        const size_t first = cell.find_first_not_of(' '), last = cell.find_last_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
    }
    return cells;
}

inline std::string projectFile(const std::string& name) {
    std::ifstream file(std::string(PROJECT_FOLDER) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The rows of the tables whose first line is this, that line not among them.
inline std::vector<Cells> tableIn(const std::string& document, const std::string& head) {
    std::istringstream text(document);
    std::vector<Cells> rows;
    bool inside = false;
    for (std::string line; std::getline(text, line);) {
        if (line == head) {
            inside = true;
        } else if (inside && line.rfind("|---", 0) == 0) {
            continue;
        } else if (inside && line.rfind("| ", 0) == 0) {
            rows.push_back(cellsOf(line));
        } else {
            inside = false;
        }
    }
    return rows;
}

inline std::vector<Cells> tableOf(const std::string& file, const std::string& head) {
    return tableIn(projectFile(file), head);
}

/// What stands below a heading, up to the next one.
inline std::string sectionOf(const std::string& document, const std::string& heading) {
    const size_t begin = document.find("\n" + heading + "\n");
    return begin == std::string::npos ? "" : document.substr(begin + 1, document.find("\n#", begin + 1) - begin);
}

/// Without the marks of code around it.
inline std::string plain(const std::string& cell) {
    std::string text;
    for (const char letter : cell) {
        if (letter != '`') text += letter;
    }
    return text;
}

/// Pieces of C code of a document.
inline std::vector<std::string> codeOf(const std::string& text) {
    std::vector<std::string> pieces;
    const std::string open = "\n```c\n", close = "\n```\n";
    for (size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
        const size_t begin = at + open.size();
        at = text.find(close, begin);
        pieces.push_back(text.substr(begin, at + 1 - begin));
    }
    return pieces;
}

}  // namespace zvtest
