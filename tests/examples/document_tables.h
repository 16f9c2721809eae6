// Tables of documents.
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

/// The rows of the table whose first line is this, that line not among them.
inline std::vector<Cells> tableOf(const std::string& file, const std::string& head) {
    std::ifstream text(std::string(PROJECT_FOLDER) + "/" + file);
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

}  // namespace zvtest
