// Makes the data blocks that the library carries.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "profiles.h"

namespace {

struct Product {
    const char* name;
    zvmake::Bytes (*make)();
};

constexpr Product kProducts[] = {
    {"105.icm", zvmake::MakeRgbProfile},
    {"106.icm", zvmake::MakeLabProfile},
    {"107.icm", zvmake::MakePressProfile},
    {"110.icm", zvmake::MakeCmyProfile},
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
    std::filesystem::create_directories(folder);
    for (const Product& product : kProducts) {
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
