// Streams against a plain model of a file and a place in it.
#include <random>

#include "tests/host/image_folder.h"

namespace zv::test {
namespace {

class Streams : public ImageFolder {};

/// Reads and seeks at random: near the borders of the stream's window, of the file and of nothing.
void CompareWithModel(const fs::path& path, const std::string& content, uint32_t seed) {
    std::mt19937 random(seed);
    const auto below = [&](uint32_t limit) { return static_cast<int64_t>(random() % limit); };
    const HostFile file = HostFileOpen(WideOf(path).c_str(), 0, kHostFileRead);
    ASSERT_NE(kNoHostFile, file);
    const auto size = static_cast<int64_t>(content.size());
    int64_t position = 0;
    std::string buffer(12000, '\0');
    for (int i = 0; i < 4000; ++i) {
        switch (below(4)) {
            case 0: {
                const int64_t offset = below(8) == 0 ? -1 - below(10) : below(static_cast<uint32_t>(size) + 5000);
                if (offset >= 0) position = offset;
                ASSERT_EQ(offset >= 0 ? position : -1, HostFileSeek(file, offset, 0));
                break;
            }
            case 1: {
                const int64_t offset = below(6000) - 3000;
                const bool fits = position + offset >= 0;
                if (fits) position += offset;
                ASSERT_EQ(fits ? position : -1, HostFileSeek(file, offset, 1));
                break;
            }
            default: {
                const int64_t wanted = below(3) != 0 ? below(20) : 4090 + below(12) + below(2) * 5000;
                const int64_t there = std::clamp<int64_t>(size - position, 0, wanted);
                const auto read = below(2) != 0 ? HostFileRead : HostFileReadMore;
                ASSERT_EQ(there, read(file, buffer.data(), static_cast<int32_t>(wanted))) << position;
                if (there == 0) break;
                ASSERT_EQ(content.substr(static_cast<size_t>(position), static_cast<size_t>(there)),
                          buffer.substr(0, static_cast<size_t>(there)))
                    << position;
                position += there;
            }
        }
    }
    HostFileClose(file);
}

TEST_F(Streams, BehaveAsTheirModel) {
    for (const uint32_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 20000U}) {
        SCOPED_TRACE(size);
        const std::string content = Noise(size, size);
        CompareWithModel(Make("file", content), content, size + 1);
    }
}

TEST_F(Streams, ReadsOverTheBorderOfTheWindow) {
    const std::string content = Noise(10000, 1);
    const HostFile file = HostFileOpen(WideOf(Make("file", content)).c_str(), 0, kHostFileRead);
    ASSERT_NE(kNoHostFile, file);
    char buffer[8] = {};
    for (int64_t at = 4080; at < 4110; ++at) {
        EXPECT_EQ(0, HostFileSeek(file, 0, 0));
        EXPECT_EQ(1, HostFileRead(file, buffer, 1)) << "the window is at the start";
        EXPECT_EQ(at, HostFileSeek(file, at, 0));
        EXPECT_EQ(8, HostFileRead(file, buffer, 8));
        EXPECT_EQ(content.substr(static_cast<size_t>(at), 8), std::string(buffer, 8)) << at;
        EXPECT_EQ(at - 2, HostFileSeek(file, -10, 1)) << "before the window";
        EXPECT_EQ(8, HostFileRead(file, buffer, 8));
        EXPECT_EQ(content.substr(static_cast<size_t>(at - 2), 8), std::string(buffer, 8)) << at;
    }
    HostFileClose(file);
}

TEST_F(Streams, SeeksThatOverflowAreRefused) {
    const HostFile file = HostFileOpen(WideOf(Make("file", "abc")).c_str(), 0, kHostFileRead);
    ASSERT_NE(kNoHostFile, file);
    EXPECT_EQ(INT64_MAX, HostFileSeek(file, INT64_MAX, 0));
    char c = 0;
    EXPECT_EQ(0, HostFileRead(file, &c, 1));
    EXPECT_EQ(-1, HostFileSeek(file, 1, 1));
    EXPECT_EQ(INT64_MAX, HostFileSeek(file, 0, 1)) << "a refused seek moves nothing";
    EXPECT_EQ(-1, HostFileSeek(file, INT64_MIN, 1));
    EXPECT_EQ(-1, HostFileSeek(file, INT64_MIN, 0));
    EXPECT_EQ(1, HostFileSeek(file, 1, 0));
    EXPECT_EQ(1, HostFileRead(file, &c, 1));
    EXPECT_EQ('b', c);
    HostFileClose(file);
}

#ifndef _WIN32
TEST_F(Streams, EveryFileIsClosed) {
    const auto lowestFree = [] {
        const int descriptor = dup(0);
        close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();
    const Wide name = WideOf(Make("file", "GIF89a"));
    HostImageInfo info = {};
    HostMarkers set = nullptr;
    uint16_t type = 0;
    uint64_t count = 0;
    EXPECT_EQ(CLR_SUCCESS, HostFileInfo(name.c_str(), &info, sizeof info, 0, nullptr));
    EXPECT_EQ(ERR_FILE_READ, HostLoadMarkers(name.c_str(), &set, 0));
    EXPECT_EQ(ERR_FILE_READ, HostReadFileTag(name.c_str(), 1, &type, &count, nullptr, nullptr));
    EXPECT_EQ(kNoHostFile, HostFileOpen(WideOf("/dev/null").c_str(), 0, kHostFileRead));
    HostFileClose(HostFileOpen(name.c_str(), 0, kHostFileRead));
    EXPECT_EQ(before, lowestFree());
}

TEST_F(Streams, FileThatShrinksEndsTheReading) {
    const fs::path path = Make("file", Noise(10000, 1));
    const HostFile file = HostFileOpen(WideOf(path).c_str(), 0, kHostFileRead);
    ASSERT_NE(kNoHostFile, file);
    fs::resize_file(path, 100);
    std::string buffer(9000, '\0');
    EXPECT_EQ(5000, HostFileSeek(file, 5000, 0));
    EXPECT_EQ(0, HostFileRead(file, buffer.data(), 10));
    EXPECT_EQ(0, HostFileRead(file, buffer.data(), 9000));
    EXPECT_EQ(50, HostFileSeek(file, 50, 0));
    EXPECT_EQ(0, HostFileRead(file, buffer.data(), 4900)) << "nothing in part";
    fs::resize_file(path, 20000);
    EXPECT_EQ(4900, HostFileRead(file, buffer.data(), 4900));
    EXPECT_EQ(9990, HostFileSeek(file, 9990, 0));
    EXPECT_EQ(10, HostFileRead(file, buffer.data(), 100)) << "the size is that of the opening";
    HostFileClose(file);
}
#endif

}  // namespace
}  // namespace zv::test
