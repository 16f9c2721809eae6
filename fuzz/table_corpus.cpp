// Writes small files of emulation tables into a folder: what the fuzzer begins with.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/support/table_file.h"

namespace {

using namespace zv::test;
using Bytes = std::vector<uint8_t>;

bool Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file.good();
}

TableFile DataFirst() {
    TableFile file = TableFile::Of(2, 2, 3, Bytes(12, 200));
    file.position = 8;
    file.Find(kTagPosition)->value = file.position;
    file.directory = 20;
    return file;
}

TableFile Without(uint16_t tag) {
    TableFile file = TableFile::Of(2, 2, 3, Bytes(12, 200));
    file.Remove(tag);
    return file;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: table_corpus FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const struct {
        const char* name;
        TableFile file;
    } kFiles[] = {
        {"plain", TableFile::Of(2, 2, 3, Bytes(12, 200))},
        {"claims_more", TableFile::Of(289, 289, 3, Bytes(12, 200))},
        {"claims_all", TableFile::Of(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, Bytes(12, 200))},
        {"data_first", DataFirst()},
        {"no_position", Without(kTagPosition)},
        {"no_width", Without(kTagWidth)},
        {"no_entries", TableFile()},
    };
    for (const auto& [name, file] : kFiles) {
        if (Write(folder / name, file.Build())) continue;
        std::fprintf(stderr, "table_corpus: cannot write %s\n", name);
        return 1;
    }
    return 0;
}
