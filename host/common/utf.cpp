#include "host/common/utf.h"

#include <cstdint>

namespace {

constexpr uint32_t kInvalid = 0xFFFFFFFF;

uint32_t NextUtf16(const ZvChar*& at) noexcept {
    const uint32_t unit = static_cast<uint16_t>(*at++);
    if (unit < 0xD800 || unit > 0xDFFF) return unit;
    const uint32_t low = static_cast<uint16_t>(*at);
    if (unit > 0xDBFF || low < 0xDC00 || low > 0xDFFF) return kInvalid;
    ++at;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

uint32_t NextUtf8(const char*& at) noexcept {
    const auto lead = static_cast<unsigned char>(*at++);
    if (lead < 0x80) return lead;
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4) return kInvalid;
    uint32_t code = lead & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(*at);
        if ((next & 0xC0) != 0x80) return kInvalid;
        code = (code << 6) | (next & 0x3FU);
        ++at;
    }
    constexpr uint32_t kShortest[] = {0, 0x80, 0x800, 0x10000};
    if (code < kShortest[more] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return kInvalid;
    return code;
}

}  // namespace

bool ZvUtf8FromUtf16(const ZvChar* source, char* destination, size_t count) noexcept {
    size_t used = 0;
    const auto put = [&](uint32_t byte) {
        if (used < count) destination[used] = static_cast<char>(static_cast<unsigned char>(byte));
        ++used;
    };
    for (;;) {
        const uint32_t code = NextUtf16(source);
        if (code == kInvalid) return false;
        if (code < 0x80) {
            put(code);
        } else if (code < 0x800) {
            put(0xC0 | (code >> 6));
            put(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            put(0xE0 | (code >> 12));
            put(0x80 | ((code >> 6) & 0x3F));
            put(0x80 | (code & 0x3F));
        } else {
            put(0xF0 | (code >> 18));
            put(0x80 | ((code >> 12) & 0x3F));
            put(0x80 | ((code >> 6) & 0x3F));
            put(0x80 | (code & 0x3F));
        }
        if (used > count) return false;
        if (code == 0) return true;
    }
}

bool ZvUtf16FromUtf8(const char* source, ZvChar* destination, size_t count) noexcept {
    size_t used = 0;
    for (;;) {
        const uint32_t code = NextUtf8(source);
        const size_t units = code < 0x10000 ? 1 : 2;
        if (code == kInvalid || used + units > count) return false;
        if (units == 1) {
            destination[used] = static_cast<ZvChar>(code);
        } else {
            destination[used] = static_cast<ZvChar>(0xD800 + ((code - 0x10000) >> 10));
            destination[used + 1] = static_cast<ZvChar>(0xDC00 + ((code - 0x10000) & 0x3FF));
        }
        used += units;
        if (code == 0) return true;
    }
}
