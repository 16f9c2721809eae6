#include "jpeg_markers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "file_cursor.h"
#include "image/image.h"

namespace zvembed {

namespace {

constexpr uint8_t kSof0 = 0xC0;
constexpr uint8_t kDht = 0xC4;
constexpr uint8_t kJpg = 0xC8;
constexpr uint8_t kDac = 0xCC;
constexpr uint8_t kSof15 = 0xCF;
constexpr uint8_t kRst0 = 0xD0;
constexpr uint8_t kSoi = 0xD8;
constexpr uint8_t kEoi = 0xD9;
constexpr uint8_t kSos = 0xDA;
constexpr uint8_t kApp2 = 0xE2;
constexpr uint8_t kTem = 0x01;
constexpr char kIdentifier[] = "ICC_PROFILE";  // with its zero byte
constexpr size_t kHeadBytes = sizeof kIdentifier + 2;
// Empty ones take memory too; numbers go to 255.
constexpr size_t kMostParts = 4096;

bool standsAlone(uint8_t marker) { return marker <= kTem || (marker >= kRst0 && marker <= kSoi); }

bool isFrame(uint8_t marker) {
    return marker >= kSof0 && marker <= kSof15 && marker != kDht && marker != kJpg && marker != kDac;
}

/// Bytes of a profile that it has.
size_t readSegment(FileCursor& cursor, uint8_t marker, uint32_t length, const std::string& name, JpegHead& head) {
    size_t bytes = 0;
    const uint64_t end = cursor.position() + length;
    if (marker == kApp2 && length >= kHeadBytes) {
        const std::vector<uint8_t> identifier = cursor.take(sizeof kIdentifier);
        if (!cursor.failed() && std::memcmp(identifier.data(), kIdentifier, sizeof kIdentifier) == 0) {
            JpegPart part;
            part.number = cursor.u8();
            part.count = cursor.u8();
            part.bytes = cursor.take(length - kHeadBytes);
            bytes = part.bytes.size();
            head.parts.push_back(std::move(part));
            if (head.parts.size() > kMostParts) {
                throw zvimage::ImageError(
                    fmt::format("the profile in {} has more than {} parts, which is no profile", name, kMostParts));
            }
        }
    } else if (isFrame(marker) && head.components == 0) {
        constexpr uint32_t kBeforeComponents = 5;
        cursor.skip(std::min(kBeforeComponents, length));
        head.components = length > kBeforeComponents ? cursor.u8() : 0U;
    }
    cursor.seek(end);
    return bytes;
}

/// The first of a list of numbers, for people.
class Numbers {
public:
    void add(int number) {
        constexpr int kShown = 8;
        if (++count_ <= kShown) {
            text_ += fmt::format("{}{}", text_.empty() ? "" : ", ", number);
        } else if (count_ == kShown + 1) {
            text_ += ", ...";
        }
    }
    bool none() const { return count_ == 0; }
    const std::string& text() const { return text_; }

private:
    int count_ = 0;
    std::string text_;
};

}  // namespace

JpegHead readJpegHead(zvimage::InputFile& file) {
    FileCursor cursor(file);
    JpegHead head;
    size_t bytes = 0;
    cursor.skip(2);
    while (!cursor.failed()) {
        // Decoders pass over what is no marker, and over fill bytes before one.
        if (cursor.u8() != 0xFF || cursor.peek() == 0xFF) {
            continue;
        }
        const uint8_t marker = cursor.u8();
        if (marker == kSos || marker == kEoi) {
            return head;
        }
        if (!standsAlone(marker)) {
            const uint32_t length = cursor.u16();
            if (length < 2) {
                break;
            }
            bytes += readSegment(cursor, marker, length - 2, file.name(), head);
            if (bytes > zvimage::kMaxProfile) {
                throw zvimage::ImageError(fmt::format("the profile in {} is larger than {} MB, which no ICC profile is",
                                                      file.name(), zvimage::kMaxProfile >> 20));
            }
        }
    }
    throw zvimage::ImageError(file.name() + " is damaged: its markers break off before the first scan");
}

JoinedParts joinParts(const std::vector<JpegPart>& parts) {
    JoinedParts joined;
    std::map<int, const JpegPart*> byNumber;
    Numbers repeated;
    int count = 0;
    bool sameCount = true;
    for (const JpegPart& part : parts) {
        if (!byNumber.try_emplace(part.number, &part).second) {
            repeated.add(part.number);
        }
        sameCount = sameCount && part.count == parts.front().count;
        count = std::max<int>(count, part.count);
    }
    Numbers missing;
    for (int number = 1; number <= count; ++number) {
        if (!byNumber.contains(number)) {
            missing.add(number);
        }
    }
    Numbers order;
    for (const JpegPart& part : parts) {
        order.add(part.number);
    }
    Numbers outside;
    for (const auto& [number, part] : byNumber) {
        if (number == 0 || number > count) {
            outside.add(number);
        }
        joined.bytes.insert(joined.bytes.end(), part->bytes.begin(), part->bytes.end());
    }
    const auto warn = [&joined](const std::string& text) { joined.warnings.push_back(text); };
    const bool sorted = std::is_sorted(parts.begin(), parts.end(),
                                       [](const JpegPart& a, const JpegPart& b) { return a.number < b.number; });
    joined.asInFile = sorted && repeated.none();
    if (!sorted) {
        warn(fmt::format("the parts of its profile stand in the order {}, and are taken in that of their numbers",
                         order.text()));
    }
    if (!repeated.none()) {
        warn(fmt::format("these parts of its profile stand there more than once, and the first is taken: {}",
                         repeated.text()));
    }
    if (!sameCount) {
        warn("the parts of its profile do not agree on how many there are");
    }
    if (!outside.none()) {
        warn(
            fmt::format("its profile says that it has {} parts, but these stand there too: {}", count, outside.text()));
    }
    if (!missing.none()) {
        warn(fmt::format("its profile says that it has {} parts, but these are missing: {}", count, missing.text()));
    }
    return joined;
}

}  // namespace zvembed
