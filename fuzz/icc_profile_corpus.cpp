// Writes small version 4 profiles into a folder, with tags of every type: what the fuzzer begins with.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/icc_tag_bodies.h"
#include "tests/support/profile_builder.h"

namespace {

using namespace zv::test;

constexpr uint32_t kVersion = 0x04200000;

bool Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file.good();
}

Bytes Version4(ProfileBuilder builder) {
    builder.header.version = kVersion;
    return builder.Build();
}

ProfileBuilder Shared() {
    const std::vector<IccSampleBody> bodies = IccSampleBodies();
    ProfileBuilder builder;
    builder.Tag("cprt", bodies.front().body).Tag("A2B0", bodies.back().body).Share("A2B1", "A2B0");
    return builder.Tag("A2B1", bodies[1].body).RawEntry("B2A0", 133, 20);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: icc_profile_corpus FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);

    struct Profile {
        std::string name;
        Bytes bytes;
    };
    std::vector<Profile> profiles = {
        {"matrix", Version4(MatrixRgbProfile({}, GammaBody(0x0233)))},
        {"shared", Version4(Shared())},
        {"no_tags", Version4(ProfileBuilder())},
        {"old", ProfileBuilder().Build()},
    };
    ProfileBuilder all;
    int number = 0;
    for (const IccSampleBody& sample : IccSampleBodies()) {
        profiles.push_back({"tag_" + sample.name, Version4(ProfileBuilder().Tag("wtpt", sample.body))});
        char signature[5];
        std::snprintf(signature, sizeof signature, "tg%02d", number++);
        all.Tag(signature, sample.body);
    }
    profiles.push_back({"all_tags", Version4(all)});
    for (const Profile& profile : profiles) {
        if (Write(folder / profile.name, profile.bytes)) continue;
        std::fprintf(stderr, "icc_profile_corpus: cannot write %s\n", profile.name.c_str());
        return 1;
    }
    return 0;
}
