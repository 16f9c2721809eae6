#include "png_chunks.h"

#include <zlib.h>

#include <algorithm>
#include <string_view>

#include "file_cursor.h"
#include "image/image.h"
#include "profile/names.h"

namespace zvembed {

using zvinfo::sig;

namespace {

constexpr uint64_t kSignatureBytes = 8;
constexpr uint32_t kHeaderBytes = 13;
constexpr uint32_t kLargestChunk = 0x7FFFFFFF;
constexpr uint64_t kChunkFrame = 12;
constexpr std::string_view kName = "ICC profile";

void put32(std::vector<uint8_t>& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

std::vector<uint8_t> profileChunk(const std::vector<uint8_t>& profile) {
    uLongf packed = compressBound(static_cast<uLong>(profile.size()));
    std::vector<uint8_t> stream(packed);
    if (compress2(stream.data(), &packed, profile.data(), static_cast<uLong>(profile.size()), Z_BEST_COMPRESSION) !=
        Z_OK) {
        throw std::bad_alloc();
    }
    std::vector<uint8_t> chunk;
    // The name ends with a zero byte, and another zero names the compression.
    put32(chunk, static_cast<uint32_t>(kName.size() + 2 + packed));
    put32(chunk, sig("iCCP"));
    chunk.insert(chunk.end(), kName.begin(), kName.end());
    chunk.insert(chunk.end(), 2, uint8_t{0});
    chunk.insert(chunk.end(), stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(packed));
    put32(chunk, static_cast<uint32_t>(crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4))));
    return chunk;
}

void copy(FileCursor& from, uint64_t count, zvimage::OutputFile& to) {
    constexpr uint64_t kPiece = 65536;
    while (count > 0 && !from.failed()) {
        const std::vector<uint8_t> piece = from.take(std::min(count, kPiece));
        to.write(piece.data(), piece.size());
        count -= piece.size();
    }
}

}  // namespace

std::vector<std::string> copyPngWithProfile(zvimage::InputFile& file, const std::vector<uint8_t>& profile,
                                            zvimage::OutputFile& output) {
    FileCursor cursor(file);
    std::vector<std::string> notes;
    const auto damaged = [&file] { throw zvimage::ImageError(file.name() + " is damaged: its chunks are broken"); };
    copy(cursor, kSignatureBytes, output);
    uint32_t type = 0;
    while (type != sig("IEND")) {
        const uint64_t start = cursor.position();
        const uint32_t length = cursor.u32();
        const bool first = type == 0;
        type = cursor.u32();
        const bool header = type == sig("IHDR") && length == kHeaderBytes;
        if (cursor.failed() || length > kLargestChunk || first != header) {
            damaged();
        }
        cursor.seek(start);
        if (type == sig("iCCP") || type == sig("sRGB")) {
            cursor.skip(length + kChunkFrame);
        } else {
            copy(cursor, length + kChunkFrame, output);
        }
        if (cursor.failed()) {
            damaged();
        }
        if (type == sig("cICP")) {
            notes.emplace_back("it has a cICP chunk too, which goes before a profile where it is known");
        }
        if (header) {
            const std::vector<uint8_t> chunk = profileChunk(profile);
            output.write(chunk.data(), chunk.size());
        }
    }
    // Others keep data of theirs behind the image.
    copy(cursor, cursor.left(), output);
    return notes;
}

}  // namespace zvembed
