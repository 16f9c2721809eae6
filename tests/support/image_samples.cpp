#include "tests/support/image_samples.h"

#include <cstdint>
#include <cstdio>

namespace zv::test {

using namespace std::string_literals;

namespace {

std::string Number(uint64_t value, int width, bool big) {
    std::string bytes;
    for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> 8 * (big ? width - 1 - i : i));
    return bytes;
}

}  // namespace

std::string JpegSegment(int marker, const std::string& data) {
    return "\xFF"s + static_cast<char>(marker) + Number(data.size() + 2, 2, true) + data;
}

std::string ProfilePart(int number, int count, const std::string& bytes) {
    return JpegSegment(0xE2, "ICC_PROFILE\0"s + static_cast<char>(number) + static_cast<char>(count) + bytes);
}

std::string SampleJpeg(const std::string& segments) {
    const std::string frame = "\x08\0\x01\0\x01\x01\x01\x11\0"s;
    return "\xFF\xD8" + JpegSegment(0xE0, "JFIF\0\x01\x02\0\0\x01\0\x01\0\0"s) + segments +
           JpegSegment(0xDB, std::string(65, '\1')) + JpegSegment(0xC0, frame) +
           JpegSegment(0xDA, "\x01\x01\0\0\x3F\0"s) + "\x12\x34\xFF\0\x56\xFF\xD9"s;
}

std::string PictureIndex(bool big) {
    const std::string entry1 = Number(0x030000, 4, big) + Number(200, 4, big) + Number(0, 8, big);
    const std::string entry2 = Number(0, 4, big) + Number(100, 4, big) + Number(150, 4, big) + Number(0, 4, big);
    return JpegSegment(0xE2, "MPF\0"s + (big ? "MM\0\x2A"s : "II\x2A\0"s) + Number(8, 4, big) + Number(1, 2, big) +
                                 Number(0xB002, 2, big) + Number(7, 2, big) + Number(32, 4, big) + Number(26, 4, big) +
                                 Number(0, 4, big) + entry1 + entry2);
}

std::string SampleTiff(bool big, bool wide, const std::vector<TiffEntry>& more) {
    const int width = wide ? 8 : 4;
    const uint64_t header = wide ? 16 : 8;
    std::vector<TiffEntry> entries = {{256, 3, 1, 1}, {257, 3, 1, 1}, {273, 4, 1, header}, {279, 4, 1, 4}};
    entries.insert(entries.end(), more.begin(), more.end());
    std::string file = big ? "MM" : "II";
    file += Number(wide ? 43 : 42, 2, big);
    if (wide) file += Number(8, 2, big) + Number(0, 2, big);
    file += Number(header + 28, width, big) + "\x11\x22\x33\x44"s + std::string(24, 'p');
    file += Number(entries.size(), wide ? 8 : 2, big);
    for (const TiffEntry& entry : entries) {
        file += Number(entry.tag, 2, big) + Number(entry.type, 2, big) + Number(entry.count, width, big);
        std::string value = Number(entry.value, entry.type == 3 ? 2 : width, big);
        value.resize(static_cast<size_t>(width));
        file += value;
    }
    const uint64_t next = file.size() + static_cast<uint64_t>(width);
    file += Number(next, width, big) + Number(0, wide ? 8 : 2, big) + Number(0, width, big);
    return file;
}

std::string HexLines(size_t bytes, const std::string& end) {
    std::string lines;
    for (size_t at = 0; at < bytes; ++at) {
        if (at % 32 == 0) lines += at == 0 ? "% " : end + "% ";
        char digits[3];
        std::snprintf(digits, sizeof digits, at % 2 == 0 ? "%02X" : "%02x", static_cast<unsigned>(at * 7 & 255));
        lines += digits;
    }
    return lines + end;
}

std::string SampleEps(size_t bytes, const std::string& end) {
    return "%!PS-Adobe-3.0 EPSF-3.0" + end + "%%BoundingBox: 0 0 1 1" + end + "%%BeginICCProfile: (x) -1 Hex" + end +
           HexLines(bytes, end) + "%%EndICCProfile" + end + "%%EOF" + end;
}

std::string PictureChunk(uint32_t type, const std::string& bytes) {
    return "\0\xA1\0\xE0"s + Number(bytes.size() + 4, 2, true) + Number(type, 4, true) + bytes;
}

std::string SamplePicture(const std::string& comments) {
    return std::string(512, '\0') + "\0\0\0\0\0\0\0\x01\0\x01"s + "\0\x11\x02\xFF\x0C\0\xFF\xFE\0\0"s + comments +
           "\0\xFF"s;
}

std::string SampleGif(const std::string& extensions) {
    return "GIF89a\x01\0\x01\0\x80\0\0\0\0\0\xFF\xFF\xFF"s + extensions +
           "\x2C\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0\x3B"s;
}

}  // namespace zv::test
