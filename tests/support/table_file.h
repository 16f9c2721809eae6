// Files of emulation tables as bytes: little-endian TIFF with one strip, and whatever differs from that.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zv::test {

enum : uint16_t {
    kTagWidth = 256,
    kTagLength = 257,
    kTagBits = 258,
    kTagCompression = 259,
    kTagPhotometric = 262,
    kTagPosition = 273,
    kTagSamples = 277,
    kTagRowsPerStrip = 278,
    kTagByteCounts = 279,
};

enum : uint16_t { kTiffShort = 3, kTiffLong = 4 };

struct TableEntry {
    uint16_t tag;
    uint32_t value;
    uint16_t type = kTiffLong;
    uint32_t count = 1;
};

/// Parts lie where the offsets say, and bytes between them are zero.
struct TableFile {
    std::vector<uint8_t> mark{'I', 'I', 42, 0};
    uint32_t directory = 8;
    std::vector<TableEntry> entries;
    uint32_t position = 0;  ///< of the data
    std::vector<uint8_t> data;

    /// A file as a scanner writes it: header, directory, data.
    static TableFile Of(uint32_t width, uint32_t length, uint32_t samples, std::vector<uint8_t> content) {
        TableFile file;
        file.entries = {{kTagWidth, width},
                        {kTagLength, length},
                        {kTagBits, 8, kTiffShort},
                        {kTagCompression, 1, kTiffShort},
                        {kTagPhotometric, 2, kTiffShort},
                        {kTagPosition, 0},
                        {kTagSamples, samples, kTiffShort},
                        {kTagRowsPerStrip, length},
                        {kTagByteCounts, static_cast<uint32_t>(content.size())}};
        file.data = std::move(content);
        file.PlaceDataBehindDirectory();
        return file;
    }

    size_t DirectoryEnd() const { return size_t{directory} + 2 + 12 * entries.size() + 4; }

    void PlaceDataBehindDirectory() {
        position = static_cast<uint32_t>(DirectoryEnd());
        if (TableEntry* entry = Find(kTagPosition)) entry->value = position;
    }
    /// The first entry of a tag, or null.
    TableEntry* Find(uint16_t tag) {
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.tag == tag; });
        return found == entries.end() ? nullptr : &*found;
    }
    void Remove(uint16_t tag) {
        std::erase_if(entries, [&](const TableEntry& entry) { return entry.tag == tag; });
    }

    std::vector<uint8_t> Build() const {
        std::vector<uint8_t> bytes(8);
        std::copy(mark.begin(), mark.end(), bytes.begin());
        Put(bytes, 4, directory, 4);
        Put(bytes, directory, static_cast<uint32_t>(entries.size()), 2);
        size_t at = size_t{directory} + 2;
        for (const TableEntry& entry : entries) {
            Put(bytes, at, entry.tag, 2);
            Put(bytes, at + 2, entry.type, 2);
            Put(bytes, at + 4, entry.count, 4);
            Put(bytes, at + 8, entry.value, 4);
            at += 12;
        }
        Put(bytes, at, 0, 4);  // no further directory
        if (bytes.size() < position + data.size()) bytes.resize(position + data.size());
        std::copy(data.begin(), data.end(), bytes.begin() + static_cast<ptrdiff_t>(position));
        return bytes;
    }

    /// Little-endian; the bytes grow as needed.
    static void Put(std::vector<uint8_t>& bytes, size_t at, uint32_t value, size_t count) {
        if (bytes.size() < at + count) bytes.resize(at + count);
        for (size_t i = 0; i < count; ++i) bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
    }
};

}  // namespace zv::test
