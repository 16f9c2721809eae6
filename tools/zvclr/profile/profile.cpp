#include "profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "image/image.h"
#include "image/input_file.h"
#include "names.h"
#include "zverror.h"

namespace zvinfo {

using zvimage::ImageError;

namespace {

// Real profiles have some dozens; some checks take time with the square of the number.
constexpr uint32_t kMostTags = 1024;
constexpr size_t kVersionAt = 8;
constexpr size_t kCountAt = 128;
constexpr size_t kTableAt = 132;
constexpr size_t kEntrySize = 12;
constexpr uint32_t kReadVersion = 0x04200000;

void checkFront(const std::string& name, const std::vector<uint8_t>& bytes) {
    if (bytes.empty()) {
        throw ImageError(fmt::format("{} is empty", name));
    }
    if (bytes.size() < kSmallestProfile) {
        throw ImageError(fmt::format("{} is no ICC profile: it has {} bytes, and the smallest profile has {}", name,
                                     bytes.size(), kSmallestProfile));
    }
    if (Cursor(bytes, kMagicAt).u32() != sig("acsp")) {
        throw ImageError(fmt::format("{} is no ICC profile: \"acsp\" does not stand at byte {}", name, kMagicAt));
    }
    const uint32_t stated = Cursor(bytes).u32();
    if (stated > bytes.size()) {
        throw ImageError(
            fmt::format("{} is cut off: it says that it has {} bytes, but {} are there", name, stated, bytes.size()));
    }
    const uint32_t count = Cursor(bytes, kCountAt).u32();
    if (stated < kSmallestProfile || (count <= INT32_MAX && (stated - kTableAt) / kEntrySize < count)) {
        throw ImageError(
            fmt::format("{} is damaged: it says that it has {} bytes, which do not hold its header and "
                        "its table of {} tags",
                        name, stated, count));
    }
    if (count <= INT32_MAX && count > kMostTags) {
        throw ImageError(fmt::format("{} has {} tags, and no more than {} are taken", name, count, kMostTags));
    }
}

}  // namespace

Profile::Profile(std::string name, std::vector<uint8_t> bytes) : name_(std::move(name)), bytes_(std::move(bytes)) {
    checkFront(name_, bytes_);
    version_ = at(kVersionAt).u32();
    std::vector<uint8_t> image = bytes_;
    if (isOld()) {
        for (size_t i = 0; i < 4; ++i) {
            image.at(kVersionAt + i) = static_cast<uint8_t>(kReadVersion >> (24 - 8 * i));
        }
    }
    Zv_InitICCProfile(&record_, sizeof record_);
    const int32_t result = Zv_FillICCProfileStructure(&record_, image.data(), image.size());
    if (result != CLR_SUCCESS) {
        Zv_FreeICCProfile(&record_);
        throw ImageError(fmt::format("{} cannot be read: {} ({})", name_, ZvErrorMeaning(result), ZvErrorName(result)));
    }
    readTable();
    findNeighbours();
}

Profile::~Profile() { Zv_FreeICCProfile(&record_); }

void Profile::readTable() {
    const int32_t count = std::max(record_.tagCount, 0);
    const uint64_t first = kTableAt + kEntrySize * static_cast<uint64_t>(count);
    std::set<uint32_t> seen;
    for (int32_t i = 0; i < count; ++i) {
        const ClrIccTagEntry entry = record_.tagTable[i];
        Tag tag;
        tag.signature = entry.signature;
        tag.offset = entry.offset;
        tag.size = entry.size;
        tag.inside = entry.offset >= first && entry.offset <= size() && entry.size <= size() - entry.offset;
        tag.type = tag.inside && entry.size >= 4 ? at(entry.offset).u32() : 0;
        tag.repeated = !seen.insert(tag.signature).second;
        tags_.push_back(tag);
    }
}

void Profile::findNeighbours() {
    std::map<std::pair<uint32_t, uint32_t>, int32_t> bodies;
    for (size_t i = 0; i < tags_.size(); ++i) {
        Tag& tag = tags_[i];
        const auto [place, first] = bodies.try_emplace({tag.offset, tag.size}, static_cast<int32_t>(i));
        tag.sharedWith = first ? -1 : place->second;
    }
    // In the order of their offsets; the body that reaches farthest so far is what the next one can overlap.
    int32_t farthest = -1;
    const auto endOf = [this](int32_t i) {
        const Tag& tag = tags_[static_cast<size_t>(i)];
        return uint64_t{tag.offset} + tag.size;
    };
    const auto close = [this](int32_t i, uint64_t start, uint64_t end) {
        Tag& tag = tags_[static_cast<size_t>(i)];
        tag.padding = end > start ? end - start : 0;
        const auto zero = [](uint8_t byte) { return byte == 0; };
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(start);
        tag.paddingIsZero = std::all_of(from, from + static_cast<std::ptrdiff_t>(tag.padding), zero);
    };
    for (const auto& [body, index] : bodies) {
        Tag& tag = tags_[static_cast<size_t>(index)];
        if (!tag.inside || tag.size == 0) {
            continue;
        }
        if (farthest >= 0 && endOf(farthest) > tag.offset) {
            tag.overlaps = farthest;
            tag.overlapBytes = std::min(endOf(farthest), endOf(index)) - tag.offset;
        } else if (farthest >= 0) {
            close(farthest, endOf(farthest), tag.offset);
        }
        farthest = farthest < 0 || endOf(index) > endOf(farthest) ? index : farthest;
    }
    if (farthest >= 0) {
        close(farthest, endOf(farthest), size());
    }
}

int32_t Profile::find(uint32_t signature) const {
    const auto found =
        std::find_if(tags_.begin(), tags_.end(), [signature](const Tag& tag) { return tag.signature == signature; });
    return found != tags_.end() ? static_cast<int32_t>(found - tags_.begin()) : -1;
}

Span Profile::body(const Tag& tag) const { return tag.inside ? Span(bytes_).subspan(tag.offset, tag.size) : Span(); }

int32_t Profile::read(int32_t index, ClrIccTagRecord* record) const {
    // The library finds the first tag of a signature: the one that is meant stands in front for the time of the call.
    ClrIccTagEntry* table = record_.tagTable;
    const uint32_t wanted = table[index].signature;
    std::swap(table[0], table[index]);
    const int32_t result = Zv_GetICCTagData(&record_, record, wanted);
    std::swap(table[0], table[index]);
    return result;
}

bool TagRecord::filled() const {
    return result_ == CLR_SUCCESS || result_ == ERR_UNKNOWN_TAG || result_ == ERR_UNKNOWN_TAG_TYPE ||
           result_ == ERR_UNKNOWN_TAG_AND_TYPE;
}

std::vector<uint8_t> readProfileFile(const std::string& path, const std::string& advice) {
    zvimage::InputFile file(path);
    std::vector<uint8_t> bytes;
    constexpr size_t kBlock = size_t{1} << 20;
    size_t got = kBlock;
    while (got == kBlock && bytes.size() <= zvimage::kMaxProfile) {
        const size_t start = bytes.size();
        bytes.resize(start + kBlock);
        got = file.readUpTo(bytes.data() + start, kBlock);
        bytes.resize(start + got);
    }
    if (bytes.size() > zvimage::kMaxProfile) {
        throw ImageError(fmt::format("{} is larger than {} MB, which no ICC profile is{}", file.name(),
                                     zvimage::kMaxProfile >> 20, advice));
    }
    return bytes;
}

}  // namespace zvinfo
