// Writes a small profile of every kind into a folder: what the fuzzer begins with.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/profile_builder.h"

namespace {

using namespace zv::test;

LutTag Tiny(int bits, uint32_t inputs, uint32_t outputs) { return SmoothLut(bits, inputs, outputs, 2, 5, 3, 2); }

Bytes Tables(const char* space, const char* pcs, uint32_t channels, int bits) {
    return LutProfile(space, pcs, Tiny(bits, channels, 3), Tiny(bits, 3, channels)).Build();
}

bool Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file.good();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: profile_corpus FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);

    ProfileBuilder unequal = MatrixRgbProfile({}, CurveBody({0, 9000, 65535}), GammaBody(0x0180), CurveBody({}));
    ProfileBuilder parametric = MatrixRgbProfile({}, ParametricBody(0, {2.2}));
    ProfileBuilder absolute = LutProfile("CMYK", "Lab ", Tiny(16, 4, 3), Tiny(16, 3, 4));
    absolute.header.intent = 3;
    const struct {
        const char* name;
        Bytes bytes;
    } kProfiles[] = {
        {"matrix_gamma", MatrixRgbProfile({}, GammaBody(0x0233)).Build()},
        {"matrix_table", MatrixRgbProfile({}, CurveBody({0, 9000, 30000, 65535})).Build()},
        {"matrix_unequal", unequal.Build()},
        {"matrix_parametric", parametric.Build()},
        {"gray", GrayProfile(CurveBody({0, 9000, 30000, 65535})).Build()},
        {"rgb_words", Tables("RGB ", "XYZ ", 3, 16)},
        {"rgb_bytes", Tables("RGB ", "Lab ", 3, 8)},
        {"cmyk_words", Tables("CMYK", "Lab ", 4, 16)},
        {"cmyk_absolute", absolute.Build()},
        {"cmy_words", Tables("CMY ", "Lab ", 3, 16)},
        {"lab_words", Tables("Lab ", "Lab ", 3, 16)},
        {"link_rgb", DeviceLinkProfile("RGB ", "RGB ", Tiny(16, 3, 3)).Build()},
        {"link_cmyk", DeviceLinkProfile("CMYK", "RGB ", Tiny(16, 4, 3)).Build()},
        {"no_tags", ProfileBuilder().Build()},
    };
    for (const auto& profile : kProfiles) {
        if (Write(folder / profile.name, profile.bytes)) continue;
        std::fprintf(stderr, "profile_corpus: cannot write %s\n", profile.name);
        return 1;
    }
    return 0;
}
