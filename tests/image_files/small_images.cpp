#include "small_images.h"

#include <algorithm>
#include <cstdio>

namespace zvtest {

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

namespace {

void AppendBig(Bytes* bytes, uint64_t value, uint32_t size) {
    for (uint32_t i = size; i-- > 0;) bytes->push_back(static_cast<uint8_t>(value >> 8 * i));
}

void AppendLittle(Bytes* bytes, uint64_t value, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) bytes->push_back(static_cast<uint8_t>(value >> 8 * i));
}

}  // namespace

// --- JPEG -----------------------------------------------------------------------------------------------------------

Bytes SmallJpeg() {
    return {0xff, 0xd8, 0xff, 0xe0, 0x00, 0x10, 0x4a, 0x46, 0x49, 0x46, 0x00, 0x01, 0x01, 0x00, 0x00, 0x01, 0x00,
            0x01, 0x00, 0x00, 0xff, 0xdb, 0x00, 0x43, 0x00, 0x0d, 0x09, 0x0a, 0x0b, 0x0a, 0x08, 0x0d, 0x0b, 0x0a,
            0x0b, 0x0e, 0x0e, 0x0d, 0x0f, 0x13, 0x20, 0x15, 0x13, 0x12, 0x12, 0x13, 0x27, 0x1c, 0x1e, 0x17, 0x20,
            0x2e, 0x29, 0x31, 0x30, 0x2e, 0x29, 0x2d, 0x2c, 0x33, 0x3a, 0x4a, 0x3e, 0x33, 0x36, 0x46, 0x37, 0x2c,
            0x2d, 0x40, 0x57, 0x41, 0x46, 0x4c, 0x4e, 0x52, 0x53, 0x52, 0x32, 0x3e, 0x5a, 0x61, 0x5a, 0x50, 0x60,
            0x4a, 0x51, 0x52, 0x4f, 0xff, 0xc0, 0x00, 0x0b, 0x08, 0x00, 0x08, 0x00, 0x10, 0x01, 0x01, 0x11, 0x00,
            0xff, 0xc4, 0x00, 0x15, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
            0x00, 0x00, 0x00, 0x00, 0x05, 0x06, 0xff, 0xc4, 0x00, 0x22, 0x10, 0x00, 0x00, 0x04, 0x05, 0x05, 0x01,
            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x04, 0x11, 0x21, 0x00, 0x02, 0x03,
            0x05, 0x06, 0x15, 0x22, 0x31, 0x32, 0x41, 0x43, 0xff, 0xda, 0x00, 0x08, 0x01, 0x01, 0x00, 0x00, 0x3f,
            0x00, 0x1b, 0x1f, 0xb7, 0xf5, 0xdb, 0x16, 0x37, 0x43, 0x9a, 0x06, 0x37, 0x54, 0xdd, 0x36, 0x31, 0x3a,
            0x51, 0x2e, 0xdf, 0x49, 0x95, 0x07, 0x81, 0x06, 0x00, 0x19, 0x9d, 0x85, 0x13, 0xd8, 0xff, 0xd9};
}

Bytes JpegSegment(uint8_t marker, const Bytes& data) {
    Bytes segment = {0xFF, marker};
    AppendBig(&segment, data.size() + 2, 2);
    return segment + data;
}

Bytes JpegPart(uint8_t number, uint8_t count, const Bytes& data) {
    return JpegSegment(0xE2, Text("ICC_PROFILE") + Bytes{0, number, count} + data);
}

Bytes JpegWith(const Bytes& segments) {
    Bytes jpeg = SmallJpeg();
    jpeg.insert(jpeg.begin() + 20, segments.begin(), segments.end());
    return jpeg;
}

namespace {

/// Calls what is given with each segment; the place where the scan or the end begins, or the file's size.
template <class Visit>
size_t WalkSegments(const Bytes& jpeg, Visit visit) {
    size_t at = 2;
    while (at + 4 <= jpeg.size()) {
        if (jpeg[at] != 0xFF || jpeg[at + 1] == 0xFF) {
            ++at;
            continue;
        }
        const uint8_t marker = jpeg[at + 1];
        if (marker == 0xDA || marker == 0xD9) return at;
        if (marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            at += 2;
            continue;
        }
        const size_t length = static_cast<size_t>(jpeg[at + 2]) << 8 | jpeg[at + 3];
        const size_t end = at + 2 + length;
        if (length < 2 || end > jpeg.size()) return jpeg.size();
        visit(marker, Bytes(jpeg.data() + at + 4, jpeg.data() + end));
        at = end;
    }
    return jpeg.size() >= 2 && jpeg[jpeg.size() - 2] == 0xFF && jpeg.back() == 0xD9 ? jpeg.size() - 2 : jpeg.size();
}

}  // namespace

Bytes CodedData(const Bytes& jpeg) {
    const size_t at = WalkSegments(jpeg, [](uint8_t, const Bytes&) {});
    return Bytes(jpeg.data() + at, jpeg.data() + jpeg.size());
}

std::vector<Bytes> SegmentsOf(const Bytes& jpeg, uint8_t marker) {
    std::vector<Bytes> found;
    WalkSegments(jpeg, [&](uint8_t there, const Bytes& data) {
        if (there == marker) found.push_back(data);
    });
    return found;
}

// --- TIFF -----------------------------------------------------------------------------------------------------------

uint64_t TiffForm::Get(const Bytes& bytes, uint64_t at, uint32_t size) const {
    uint64_t value = 0;
    for (uint32_t i = 0; i < size; ++i) value |= uint64_t{bytes.at(at + i)} << 8 * (bigEndian ? size - 1 - i : i);
    return value;
}

void TiffForm::Put(Bytes* bytes, uint64_t at, uint64_t value, uint32_t size) const {
    for (uint32_t i = 0; i < size; ++i) {
        bytes->at(at + i) = static_cast<uint8_t>(value >> 8 * (bigEndian ? size - 1 - i : i));
    }
}

void TiffForm::Append(Bytes* bytes, uint64_t value, uint32_t size) const {
    if (bigEndian) {
        AppendBig(bytes, value, size);
    } else {
        AppendLittle(bytes, value, size);
    }
}

std::string NameOf(const TiffForm& form) {
    return std::string(form.big ? "BigTIFF" : "Classic") + (form.bigEndian ? "BigEndian" : "LittleEndian");
}

namespace {

constexpr uint16_t kShort = 3;
constexpr uint16_t kLong = 4;

/// Appends a directory and sets the link at a place to it; the place of its own link.
uint64_t AppendDirectory(const TiffForm& form, Bytes* tiff, uint64_t linkAt, const std::vector<TiffEntry>& entries) {
    while (tiff->size() % form.OffsetSize() != 0) tiff->push_back(0);
    form.Put(tiff, linkAt, tiff->size(), form.OffsetSize());
    form.Append(tiff, entries.size(), form.CountSize());
    for (const TiffEntry& entry : entries) {
        form.Append(tiff, entry.tag, 2);
        form.Append(tiff, entry.type, 2);
        form.Append(tiff, entry.count, form.OffsetSize());
        Bytes value = entry.value;
        value.resize(form.OffsetSize());
        *tiff = *tiff + value;
    }
    form.Append(tiff, 0, form.OffsetSize());
    return tiff->size() - form.OffsetSize();
}

TiffEntry Entry(const TiffForm& form, uint16_t tag, uint16_t type, const std::vector<uint64_t>& values) {
    Bytes bytes;
    for (const uint64_t value : values) form.Append(&bytes, value, type == kShort ? 2 : 4);
    return {tag, type, values.size(), bytes};
}

TiffEntry FarEntry(const TiffForm& form, uint16_t tag, uint16_t type, uint64_t count, uint64_t offset) {
    Bytes bytes;
    form.Append(&bytes, offset, form.OffsetSize());
    return {tag, type, count, bytes};
}

uint64_t AppendPage(const TiffForm& form, Bytes* tiff, uint64_t linkAt, uint8_t grey) {
    const uint64_t strips = tiff->size();
    for (uint32_t i = 0; i < 64; ++i) tiff->push_back(static_cast<uint8_t>(grey + 3 * i));
    const uint64_t offsets = tiff->size();
    form.Append(tiff, strips, 4);
    form.Append(tiff, strips + 32, 4);
    const uint64_t counts = tiff->size();
    form.Append(tiff, 32, 4);
    form.Append(tiff, 32, 4);
    return AppendDirectory(
        form, tiff, linkAt,
        {Entry(form, 256, kShort, {8}), Entry(form, 257, kShort, {8}), Entry(form, 258, kShort, {8}),
         Entry(form, 259, kShort, {1}), Entry(form, 262, kShort, {1}),
         form.big ? Entry(form, 273, kLong, {strips, strips + 32}) : FarEntry(form, 273, kLong, 2, offsets),
         Entry(form, 277, kShort, {1}), Entry(form, 278, kShort, {4}),
         form.big ? Entry(form, 279, kLong, {32, 32}) : FarEntry(form, 279, kLong, 2, counts)});
}

}  // namespace

Bytes SmallTiff(const TiffForm& form) {
    Bytes tiff(2, form.bigEndian ? 'M' : 'I');
    form.Append(&tiff, form.big ? 43 : 42, 2);
    if (form.big) {
        form.Append(&tiff, 8, 2);
        form.Append(&tiff, 0, 2);
    }
    form.Append(&tiff, 0, form.OffsetSize());
    const uint64_t link = AppendPage(form, &tiff, form.FirstDirectoryAt(), 10);
    AppendPage(form, &tiff, link, 100);
    return tiff;
}

TiffDirectory DirectoryAt(const TiffForm& form, const Bytes& tiff, uint64_t offset) {
    TiffDirectory directory = {offset, {}, 0};
    const uint64_t count = form.Get(tiff, offset, form.CountSize());
    uint64_t at = offset + form.CountSize();
    for (uint64_t i = 0; i < count; ++i, at += form.EntrySize()) {
        const auto value = tiff.begin() + static_cast<std::ptrdiff_t>(at + 4 + form.OffsetSize());
        directory.entries.push_back({form.Get(tiff, at, 2), form.Get(tiff, at + 2, 2),
                                     form.Get(tiff, at + 4, form.OffsetSize()),
                                     Bytes(value, value + form.OffsetSize())});
    }
    directory.next = form.Get(tiff, at, form.OffsetSize());
    return directory;
}

TiffDirectory FirstDirectory(const TiffForm& form, const Bytes& tiff) {
    return DirectoryAt(form, tiff, form.Get(tiff, form.FirstDirectoryAt(), form.OffsetSize()));
}

Bytes TiffWith(const TiffForm& form, const Bytes& tiff, uint16_t tag, uint16_t type, const Bytes& data) {
    TiffDirectory first = FirstDirectory(form, tiff);
    first.entries.push_back(data.size() <= form.OffsetSize() ? TiffEntry{tag, type, data.size(), data}
                                                             : FarEntry(form, tag, type, data.size(), tiff.size()));
    Bytes made = tiff;
    if (data.size() > form.OffsetSize()) made = made + data;
    const uint64_t link = AppendDirectory(form, &made, form.FirstDirectoryAt(), first.entries);
    form.Put(&made, link, first.next, form.OffsetSize());
    return made;
}

// --- GIF ------------------------------------------------------------------------------------------------------------

Bytes SmallGif(const std::string& version) {
    return Text(version) + Bytes{2,   0,    2, 0, 0x91, 0, 0, 0, 0, 0, 255, 0, 0, 0,    255,  0,    0, 0,
                                 255, 0x2C, 0, 0, 0,    0, 2, 0, 2, 0, 0,   2, 3, 0x44, 0xB4, 0x02, 0, 0x3B};
}

Bytes GifExtension(const Bytes& profile) {
    Bytes extension = Bytes{0x21, 0xFF, 11} + Text("ICCRGBG1") + Bytes{0, 1, 2};
    for (size_t at = 0; at < profile.size(); at += 255) {
        const size_t size = std::min<size_t>(255, profile.size() - at);
        extension.push_back(static_cast<uint8_t>(size));
        extension.insert(extension.end(), profile.begin() + static_cast<std::ptrdiff_t>(at),
                         profile.begin() + static_cast<std::ptrdiff_t>(at + size));
    }
    return extension + Bytes{0, 0x3B};
}

// --- EPS ------------------------------------------------------------------------------------------------------------

Bytes Eps(const Bytes& profile, const std::string& lineEnd, size_t bytesInLine) {
    std::string text;
    const auto line = [&](const std::string& content) { text += content + lineEnd; };
    line("%!PS-Adobe-3.0 EPSF-3.0");
    line("%%Creator: (100% by hand)");
    line("%%Title: (a 50 % grey box)");
    line("%%BoundingBox: 0 0 100 50");
    line("%%LanguageLevel: 2");
    line("%%DocumentData: Clean7Bit");
    line("%%EndComments");
    line("% 00 no profile yet");
    line("%%BeginProlog");
    line("/box { newpath 0 0 moveto 100 0 lineto 100 50 lineto 0 50 lineto closepath } bind def % four sides");
    line("%%EndProlog");
    line("%%Page: 1 1");
    if (!profile.empty()) {
        line("%%BeginICCProfile: (made up) -1 Hex");
        for (size_t at = 0; at < profile.size(); at += bytesInLine) {
            std::string digits = "% ";
            for (size_t i = at; i < std::min(profile.size(), at + bytesInLine); ++i) {
                char pair[3];
                std::snprintf(pair, sizeof pair, at % 2 == 0 ? "%02X" : "%02x", profile[i]);
                digits += pair;
            }
            line(digits);
        }
        line("%%EndICCProfile");
    }
    line("0.5 setgray box fill");
    line("showpage");
    line("%%Trailer");
    line("%%EOF");
    return Text(text);
}

Bytes EpsWithPreview(const Bytes& profile, const std::string& lineEnd) {
    const Bytes preview = SmallTiff(kTiffForms[0]);
    const Bytes program = Eps(profile, lineEnd);
    constexpr size_t kHeaderSize = 30;
    Bytes file = {0xC5, 0xD0, 0xD3, 0xC6};
    // The program, a preview in WMF that is not there, one in TIFF, no checksum.
    for (const size_t number :
         {kHeaderSize + preview.size(), program.size(), size_t{0}, size_t{0}, kHeaderSize, preview.size()}) {
        AppendLittle(&file, number, 4);
    }
    AppendLittle(&file, 0xFFFF, 2);
    return file + preview + program;
}

Bytes AllButTheStaged(const Bytes& profile) {
    if (profile.empty()) return {};
    return Bytes(profile.begin(), profile.begin() + static_cast<std::ptrdiff_t>((profile.size() - 1) / 80 * 80));
}

// --- Macintosh picture ----------------------------------------------------------------------------------------------

Bytes Picture(const std::vector<PictureChunk>& chunks, bool withHead) {
    Bytes file(withHead ? 512 : 0);
    // Size in its lowest 16 bits, frame, version 2 with its header.
    file = file + Bytes{0, 0, 0, 0, 0, 0, 0, 50, 0, 100, 0x00, 0x11, 0x02, 0xFF, 0x0C, 0x00};
    file = file + Bytes{0xFF, 0xFE, 0, 0, 0, 72, 0, 0, 0, 72, 0, 0, 0, 0, 0, 0, 0, 50, 0, 100, 0, 0, 0, 0};
    // The clip, a short comment (a grouping begins), and a colour with the code of a chunk in it.
    file = file + Bytes{0x00, 0x01, 0, 10, 0, 0, 0, 0, 0, 50, 0, 100, 0x00, 0xA0, 0, 140};
    file = file + Bytes{0x00, 0x1A, 0xE0, 0xE0, 0x80, 0x00, 0x12, 0x34};
    for (const PictureChunk& chunk : chunks) {
        file = file + Bytes{0x00, 0xA1, 0x00, 0xE0};
        AppendBig(&file, chunk.data.size() + 4, 2);
        AppendBig(&file, chunk.type, 4);
        file = file + chunk.data;
        if (chunk.data.size() % 2 != 0) file.push_back(0);
    }
    // A filled rectangle, and the end.
    file = file + Bytes{0x00, 0x31, 0, 10, 0, 10, 0, 40, 0, 90, 0x00, 0xFF};
    if (withHead) {
        const size_t size = file.size() - 512;
        file[512] = static_cast<uint8_t>(size >> 8);
        file[513] = static_cast<uint8_t>(size);
    }
    return file;
}

std::vector<PictureChunk> ChunksOf(const Bytes& profile, size_t most) {
    std::vector<PictureChunk> chunks;
    for (size_t at = 0; at < profile.size(); at += most) {
        const auto begin = profile.begin() + static_cast<std::ptrdiff_t>(at);
        const auto size = static_cast<std::ptrdiff_t>(std::min(most, profile.size() - at));
        chunks.push_back({at == 0 ? 0U : 1U, Bytes(begin, begin + size)});
    }
    chunks.push_back({2, {}});
    return chunks;
}

}  // namespace zvtest
