#include "fuzz/plain_images.h"

#include <algorithm>
#include <string>

#include "zvclr.h"

namespace zvfuzz {

namespace {

bool StartsWith(const Bytes& file, size_t at, size_t end, const std::string& text) {
    return end - at >= text.size() && std::equal(text.begin(), text.end(), file.begin() + static_cast<ptrdiff_t>(at),
                                                 [](char c, uint8_t byte) { return static_cast<uint8_t>(c) == byte; });
}

void Append(std::optional<Bytes>* profile, const Bytes& file, size_t begin, size_t end) {
    if (!*profile) profile->emplace();
    (*profile)->insert((*profile)->end(), file.begin() + static_cast<ptrdiff_t>(begin),
                       file.begin() + static_cast<ptrdiff_t>(end));
}

/// The numbers of a TIFF file. What lies outside the file is nothing.
class Tiff {
public:
    explicit Tiff(const Bytes& file) : file_(file), big_(file.size() > 1 && file[0] == 'M') {}

    std::optional<uint64_t> At(uint64_t at, uint64_t width) const {
        if (at > file_.size() || file_.size() - at < width) return std::nullopt;
        uint64_t value = 0;
        for (uint64_t i = 0; i < width; ++i) value = value << 8 | file_[at + (big_ ? i : width - 1 - i)];
        return value;
    }

private:
    const Bytes& file_;
    bool big_;
};

struct Directory {
    uint64_t entries;
    uint64_t count;
    uint64_t width;  ///< of an offset, and of an entry's count and value
};

/// Nothing when the file ends before the directory does.
std::optional<Directory> DirectoryOf(const Bytes& file) {
    const Tiff tiff(file);
    const auto version = tiff.At(2, 2);
    if (!version || !tiff.At(4, 4)) return std::nullopt;
    const bool isWide = *version == 43;
    const uint64_t width = isWide ? 8 : 4;
    const auto place = tiff.At(width, width);
    if (!place || *place < 8) return std::nullopt;
    const auto count = tiff.At(*place, isWide ? 8 : 2);
    if (!count || *count > file.size()) return std::nullopt;
    const uint64_t entries = *place + (isWide ? 8 : 2);
    if (!tiff.At(entries + *count * (4 + 2 * width), width)) return std::nullopt;
    return Directory{entries, *count, width};
}

int DigitOf(uint8_t c) {
    const std::string digits = "0123456789abcdef";
    const size_t place = digits.find(static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c));
    return place == std::string::npos ? -1 : static_cast<int>(place);
}

}  // namespace

std::optional<std::vector<Segment>> SegmentsOf(const Bytes& file) {
    std::vector<Segment> segments;
    if (file.size() < 2 || file[0] != 0xFF || file[1] != 0xD8) return std::nullopt;
    size_t begin = 2;
    for (size_t at = 2; at + 2 <= file.size();) {
        const uint8_t next = file[at + 1];
        if (file[at] != 0xFF || next == 0xFF) {
            at += 1;
            if (file[at - 1] != 0xFF) begin = at;
        } else if (next == 0xDA || next == 0xD9) {
            return segments;
        } else if (next <= 0x01 || (next >= 0xD0 && next <= 0xD8)) {
            begin = at += 2;
        } else {
            if (at + 4 > file.size()) return std::nullopt;
            const size_t length = size_t{file[at + 2]} << 8 | file[at + 3];
            if (length < 2 || length > file.size() - at - 2) return std::nullopt;
            segments.push_back({next, begin, at + 4, at + 2 + length});
            begin = at += 2 + length;
        }
    }
    return std::nullopt;
}

bool IsProfilePart(const Bytes& file, const Segment& segment) {
    return segment.marker == 0xE2 && StartsWith(file, segment.data, segment.end, std::string("ICC_PROFILE\0", 12));
}

bool IsPictureIndex(const Bytes& file, const Segment& segment) {
    return segment.marker == 0xE2 && StartsWith(file, segment.data, segment.end, std::string("MPF\0", 4));
}

Reading ReadJpeg(const Bytes& file) {
    const auto segments = SegmentsOf(file);
    if (!segments) return {ERR_FILE_READ, std::nullopt};
    std::optional<Bytes> profile;
    for (const Segment& segment : *segments) {
        if (IsProfilePart(file, segment) && segment.end - segment.data >= 14) {
            Append(&profile, file, segment.data + 14, segment.end);
        }
    }
    return {profile ? CLR_SUCCESS : ERR_NO_PROFILE, profile};
}

bool HasDirectory(const Bytes& file) { return DirectoryOf(file).has_value(); }

Tags TagsOf(const Bytes& file) {
    const auto directory = DirectoryOf(file);
    if (!directory) return {};
    const Tiff tiff(file);
    const uint64_t size = 4 + 2 * directory->width;
    size_t profiles = 0;
    std::optional<Bytes> others;
    for (uint64_t i = 0; i < directory->count; ++i) {
        const uint64_t entry = directory->entries + i * size;
        if (tiff.At(entry, 2) == 34675) {
            ++profiles;
        } else {
            Append(&others, file, entry, entry + size);
        }
    }
    const uint64_t next = directory->entries + directory->count * size;
    Append(&others, file, next, next + directory->width);
    return {profiles, *others};
}

Reading ReadTiff(const Bytes& file) {
    const auto directory = DirectoryOf(file);
    if (!directory) return {ERR_FILE_READ, std::nullopt};
    const Tiff tiff(file);
    const uint64_t width = directory->width;
    for (uint64_t i = 0; i < directory->count; ++i) {
        const uint64_t entry = directory->entries + i * (4 + 2 * width);
        if (tiff.At(entry, 2) != 34675) continue;
        const uint64_t type = *tiff.At(entry + 2, 2);
        if (type != 1 && type != 2 && type != 6 && type != 7) return {ERR_BAD_TAG, std::nullopt};
        const uint64_t size = *tiff.At(entry + 4, width);
        const uint64_t value = size <= width ? entry + 4 + width : *tiff.At(entry + 4 + width, width);
        if (value > file.size() || file.size() - value < size) return {ERR_FILE_READ, std::nullopt};
        std::optional<Bytes> profile;
        Append(&profile, file, value, value + size);
        return {CLR_SUCCESS, profile};
    }
    return {ERR_NO_PROFILE, std::nullopt};
}

Reading ReadPicture(const Bytes& file) {
    std::optional<Bytes> profile;
    for (size_t at = 0; at < file.size();) {
        if (file[at++] != 0xE0) continue;
        if (file.size() - at < 6) break;
        const size_t length = size_t{file[at]} << 8 | file[at + 1];
        const bool isSmall = file[at + 2] == 0 && file[at + 3] == 0 && file[at + 4] == 0;
        if (isSmall && file[at + 5] == 2) return {profile ? CLR_SUCCESS : ERR_NO_PROFILE, profile};
        if (!isSmall || file[at + 5] > 2) continue;
        at += 6;
        if (length < 4) continue;
        if (file.size() - at < length - 4) break;
        Append(&profile, file, at, at + length - 4);
        at += length - 4;
    }
    return {ERR_PROFILE_TRUNCATED, profile};
}

Reading ReadEps(const Bytes& file, bool findsLineAtEnd) {
    const std::string beginLine = "%%BeginICCProfile:", endLine = "%%EndICCProfile";
    const auto found = std::search(file.begin(), file.end(), beginLine.begin(), beginLine.end());
    const auto begin = static_cast<size_t>(found - file.begin()) + beginLine.size();
    if (found == file.end() || (begin == file.size() && !findsLineAtEnd)) return {ERR_NO_PROFILE, std::nullopt};
    if (begin == file.size()) return {ERR_PROFILE_UNUSABLE, std::nullopt};

    Bytes decoded;
    int32_t result = ERR_PROFILE_TRUNCATED;
    bool inDigits = false;
    for (size_t at = begin; file.size() - at >= (inDigits ? 4 : 5);) {
        const uint8_t c = file[at], next = file[at + 1];
        if (!inDigits) {
            if (c == '%' && next == '%') {
                if (file.size() - at < endLine.size()) break;
                if (StartsWith(file, at, file.size(), endLine)) {
                    result = CLR_SUCCESS;
                    break;
                }
            }
            inDigits = c == '%' && next == ' ';
            at += c == '%' ? 2 : 1;
        } else if (DigitOf(c) >= 0) {
            inDigits = DigitOf(next) >= 0;
            if (inDigits) decoded.push_back(static_cast<uint8_t>(DigitOf(c) * 16 + DigitOf(next)));
            at += inDigits ? 2 : 1;
        } else if (c == '\r' && next == '\n') {
            inDigits = file[at + 2] == ' ';
            at += inDigits ? 3 : 2;
        } else if (c == '\r' || c == '%') {
            inDigits = false;
            at += c == '\r' ? 1 : 0;
        } else {
            break;
        }
    }
    std::optional<Bytes> profile;
    if (decoded.size() > 80) Append(&profile, decoded, 0, (decoded.size() - 1) / 80 * 80);
    return {result == CLR_SUCCESS && !profile ? ERR_NO_PROFILE : result, profile};
}

}  // namespace zvfuzz
