// Makes the data blocks that the library carries, in folders as in resources/.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "emulation_tables.h"
#include "profiles.h"

namespace {

struct Product {
    const char* name;
    zvmake::Bytes (*make)();
};

constexpr Product kProducts[] = {
    {"icm/105.icm", zvmake::MakeRgbProfile},   {"icm/106.icm", zvmake::MakeLabProfile},
    {"icm/107.icm", zvmake::MakePressProfile}, {"icm/110.icm", zvmake::MakeCmyProfile},
    {"et/111.et", zvmake::MakeCmykToRgbTable}, {"et/112.et", zvmake::MakeLabToRgbTable},
    {"et/113.et", zvmake::MakeRgbToLabTable},
};

void WriteFile(const std::filesystem::path& path, const zvmake::Bytes& bytes) {
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary | std::ios::trunc);
    for (const uint8_t byte : bytes) file.put(static_cast<char>(byte));
    file.close();
}

}  // namespace

int main(int count, char** arguments) try {
    if (count != 2) {
        std::fputs("usage: make_resources OUTPUT_DIR\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    for (const Product& product : kProducts) {
        std::filesystem::create_directories((folder / product.name).parent_path());
        const zvmake::Bytes bytes = product.make();
        WriteFile(folder / product.name, bytes);
        std::printf("%s: %zu bytes\n", product.name, bytes.size());
        std::fflush(stdout);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "make_resources: %s\n", error.what());
    return 1;
}
