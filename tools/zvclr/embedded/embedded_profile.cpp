#include "embedded_profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "eps.h"
#include "gif.h"
#include "image/image.h"
#include "image/input_file.h"
#include "jpeg_markers.h"
#include "library_result.h"
#include "profile/decode.h"
#include "profile/names.h"
#include "profile/profile.h"
#include "zvicc.h"

namespace zvembed {

using zvimage::ImageError;

namespace {

struct Loaded {
    int32_t result = 0;
    std::vector<uint8_t> bytes;
    bool broken = false;  ///< there is a part of a profile
};

Loaded loadByLibrary(const std::string& path) {
    ClrIccProfile record = {};
    Zv_InitICCProfile(&record, sizeof record);
    Loaded loaded;
    loaded.result = Zv_LoadICCProfileA(path.c_str(), &record, nullptr);
    const bool tooLarge = record.profileSize > zvimage::kMaxProfile;
    if (loaded.result == CLR_SUCCESS && record.profileData != nullptr && !tooLarge) {
        loaded.bytes.assign(record.profileData, record.profileData + record.profileSize);
    }
    loaded.broken = loaded.result != CLR_SUCCESS && record.profileSize != 0;
    Zv_FreeICCProfile(&record);
    if (loaded.result == CLR_SUCCESS && tooLarge) {
        throw ImageError(fmt::format("the profile in {} is larger than {} MB, which no ICC profile is", path,
                                     zvimage::kMaxProfile >> 20));
    }
    return loaded;
}

[[noreturn]] void failed(const std::string& path, int32_t result) {
    throw ImageError(fmt::format("the profile in {} cannot be read: {}", path, libraryReason(result, {path})));
}

std::vector<uint8_t> loadOrNothing(const std::string& path) {
    Loaded loaded = loadByLibrary(path);
    if (loaded.result != CLR_SUCCESS && loaded.result != ERR_NO_PROFILE) {
        failed(path, loaded.result);
    }
    return std::move(loaded.bytes);
}

void readJpeg(const std::string& path, zvimage::InputFile& file, EmbeddedProfile& found) {
    const JpegHead head = readJpegHead(file);
    JoinedParts joined = joinParts(head.parts);
    found.parts = head.parts.size();
    found.place = fmt::format("in {} APP2 marker{}", found.parts, found.parts == 1 ? "" : "s");
    found.warnings = std::move(joined.warnings);
    if (!head.parts.empty()) {
        // The library joins the parts as they stand.
        found.bytes = joined.asInFile ? loadOrNothing(path) : std::move(joined.bytes);
    }
}

void readTiff(const std::string& path, EmbeddedProfile& found) {
    found.place = "in tag 34675 of the first directory";
    found.bytes = loadOrNothing(path);
}

void readPng(const std::string& path, EmbeddedProfile& found) {
    zvimage::ReadOptions options;
    options.format = zvimage::Format::kPng;
    options.profile = true;
    const zvimage::ImageInfo info = zvimage::openImage(path, options)->info();
    found.place = "in the iCCP chunk";
    if (!info.profileProblem.empty()) {
        throw ImageError(fmt::format("the profile in {} cannot be used: {}", path, info.profileProblem));
    }
    found.bytes = info.profile;
}

void readGif(zvimage::InputFile& file, EmbeddedProfile& found) {
    GifProfile gif = readGifProfile(file);
    found.parts = gif.extensions;
    found.place = gif.extensions > 1 ? fmt::format("in the last of {} ICCRGBG1 extensions", gif.extensions)
                                     : "in an ICCRGBG1 extension";
    found.bytes = std::move(gif.bytes);
}

void readEps(zvimage::InputFile& file, EmbeddedProfile& found) {
    found.place = "between %%BeginICCProfile and %%EndICCProfile";
    if (std::optional<std::vector<uint8_t>> bytes = readEpsProfile(file)) {
        found.bytes = std::move(*bytes);
    }
}

/// Only the library knows these; a file of another kind is none.
std::optional<EmbeddedProfile> readPicture(const std::string& path) {
    Loaded loaded = loadByLibrary(path);
    if (loaded.result == ERR_FORMAT_NO_ICC) {
        return std::nullopt;
    }
    EmbeddedProfile found;
    found.kind = ImageKind::kPicture;
    found.place = "in comments";
    // Without a profile the search ends with the file.
    if (loaded.result != CLR_SUCCESS && (loaded.result != ERR_PROFILE_TRUNCATED || loaded.broken)) {
        failed(path, loaded.result);
    }
    found.bytes = std::move(loaded.bytes);
    return found;
}

/// Images are padded behind a profile's end, and some cut it off.
void checkSize(EmbeddedProfile& found) {
    const uint32_t stated = zvinfo::Cursor(found.bytes).u32();
    const bool isProfile = found.bytes.size() >= zvinfo::kSmallestProfile &&
                           zvinfo::Cursor(found.bytes, zvinfo::kMagicAt).u32() == zvinfo::sig("acsp") &&
                           stated >= zvinfo::kSmallestProfile;
    found.valid = isProfile && stated <= found.bytes.size();
    if (!isProfile) {
        found.warnings.push_back(fmt::format("the {} bytes of its profile are no ICC profile", found.bytes.size()));
    } else if (!found.valid) {
        found.warnings.push_back(fmt::format("its profile is cut off: it says that it has {} bytes, but {} are there",
                                             stated, found.bytes.size()));
    } else if (stated < found.bytes.size()) {
        const size_t behind = found.bytes.size() - stated;
        found.notes.push_back(fmt::format("{} byte{} behind the end of its profile {} left out", behind,
                                          behind == 1 ? "" : "s", behind == 1 ? "is" : "are"));
        found.bytes.resize(stated);
    }
}

}  // namespace

std::optional<EmbeddedProfile> findEmbeddedProfile(const std::string& path) {
    checkImageFile(path);
    zvimage::InputFile file(path);
    const std::optional<ImageKind> kind = imageKind(file.peek(kKindBytes));
    if (!kind) {
        std::optional<EmbeddedProfile> picture = readPicture(path);
        if (picture && !picture->bytes.empty()) {
            checkSize(*picture);
        }
        return picture;
    }
    EmbeddedProfile found;
    found.kind = *kind;
    switch (*kind) {
        case ImageKind::kJpeg:
            readJpeg(path, file, found);
            break;
        case ImageKind::kTiff:
            readTiff(path, found);
            break;
        case ImageKind::kPng:
            readPng(path, found);
            break;
        case ImageKind::kGif:
            readGif(file, found);
            break;
        case ImageKind::kEps:
            readEps(file, found);
            break;
        case ImageKind::kPicture:
            break;
    }
    if (!found.bytes.empty()) {
        checkSize(found);
    }
    return found;
}

std::string describeProfile(const std::vector<uint8_t>& profile) {
    constexpr size_t kCountAt = 128;
    constexpr uint32_t kMostTags = 1024;
    constexpr size_t kMostBytes = 200;
    zvinfo::Cursor table(profile, kCountAt);
    const uint32_t count = table.u32();
    for (uint32_t i = 0; i < std::min(count, kMostTags) && !table.failed(); ++i) {
        const uint32_t signature = table.u32();
        const uint32_t offset = table.u32();
        const uint32_t size = table.u32();
        if (signature != zvinfo::sig("desc")) {
            continue;
        }
        zvinfo::Cursor outer(profile, offset);
        const zvinfo::Span body = outer.take(size);
        zvinfo::Cursor cursor(body);
        const uint32_t type = cursor.u32();
        cursor.skip(4);
        std::string text;
        if (type == zvinfo::sig("desc")) {
            const uint32_t length = cursor.u32();
            text = zvinfo::fromLatin1(cursor.take(std::min<uint64_t>({length, cursor.left(), kMostBytes})));
        } else if (type == zvinfo::sig("mluc")) {
            cursor.skip(12);
            const uint32_t length = cursor.u32();
            cursor.seek(cursor.u32());
            text = zvinfo::fromUtf16(cursor.take(std::min<uint64_t>({length, cursor.left(), kMostBytes})));
        }
        return zvinfo::printable(text);
    }
    return {};
}

}  // namespace zvembed
