// Between a caller's pixels and the engine's words. Formatters have no branches inside.
#include <cstring>

#include "Common/Zvtrans/transform.h"

namespace zv {

namespace {

/// The byte in both halves, so that both ends of the scale stay what they are.
constexpr uint16_t Widen(uint8_t byte) noexcept { return static_cast<uint16_t>(byte * 257); }
/// The high half, without rounding.
constexpr uint8_t Narrow(uint16_t word) noexcept { return static_cast<uint8_t>(word >> 8); }

template <size_t kChannels, bool kReversed>
const uint8_t* UnpackBytes(CmmTransform*, uint16_t* words, const uint8_t* position) {
    for (size_t i = 0; i < kChannels; ++i) words[kReversed ? kChannels - 1 - i : i] = Widen(position[i]);
    return position + kChannels;
}

template <size_t kChannels, bool kReversed>
uint8_t* PackBytes(CmmTransform*, const uint16_t* words, uint8_t* position) {
    for (size_t i = 0; i < kChannels; ++i) position[i] = Narrow(words[kReversed ? kChannels - 1 - i : i]);
    return position + kChannels;
}

template <size_t kChannels>
const uint8_t* UnpackWords(CmmTransform*, uint16_t* words, const uint8_t* position) {
    std::memcpy(words, position, kChannels * sizeof *words);
    return position + kChannels * sizeof *words;
}

template <size_t kChannels>
uint8_t* PackWords(CmmTransform*, const uint16_t* words, uint8_t* position) {
    std::memcpy(position, words, kChannels * sizeof *words);
    return position + kChannels * sizeof *words;
}

struct Formatters {
    uint32_t bytes;
    uint32_t channels;
    bool reversed;  // honoured for three bytes only
    CmmUnpack unpack;
    CmmPack pack;
};

constexpr Formatters kFormatters[] = {
    {1, 3, false, UnpackBytes<3, false>, PackBytes<3, false>},
    {1, 3, true, UnpackBytes<3, true>, PackBytes<3, true>},
    {1, 4, false, UnpackBytes<4, false>, PackBytes<4, false>},
    {2, 3, false, UnpackWords<3>, PackWords<3>},
    {2, 4, false, UnpackWords<4>, PackWords<4>},
};

const Formatters* FindFormatters(uint32_t format) noexcept {
    const uint32_t bytes = FormatBytes(format), channels = FormatChannels(format);
    const bool reversed = FormatReversed(format) && bytes == 1 && channels == 3;
    for (const Formatters& entry : kFormatters) {
        if (entry.bytes == bytes && entry.channels == channels && entry.reversed == reversed) return &entry;
    }
    return nullptr;
}

}  // namespace

CmmUnpack CmmSelectUnpack(uint32_t format) noexcept {
    const Formatters* found = FindFormatters(format);
    return found == nullptr ? nullptr : found->unpack;
}

CmmPack CmmSelectPack(uint32_t format) noexcept {
    const Formatters* found = FindFormatters(format);
    return found == nullptr ? nullptr : found->pack;
}

}  // namespace zv
