// Types of a fixed set of numbers: dates, measurement and viewing conditions, signatures, chromaticities.
#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagChromaticity) == 22 && offsetof(ClrIccTagChromaticity, channels) == 8);
static_assert(offsetof(ClrIccTagChromaticity, phosphorType) == 10);
static_assert(offsetof(ClrIccTagChromaticity, coordinates) == 14);
static_assert(sizeof(ClrIccTagDateTime) == 20 && offsetof(ClrIccTagDateTime, dateTime) == 8);
static_assert(sizeof(ClrIccTagMeasurement) == 36 && offsetof(ClrIccTagMeasurement, observer) == 8);
static_assert(offsetof(ClrIccTagMeasurement, backing) == 12 && offsetof(ClrIccTagMeasurement, geometry) == 24);
static_assert(offsetof(ClrIccTagMeasurement, flare) == 28 && offsetof(ClrIccTagMeasurement, illuminantType) == 32);
static_assert(sizeof(ClrIccTagSignature) == 12 && offsetof(ClrIccTagSignature, value) == 8);
static_assert(sizeof(ClrIccTagViewingConditions) == 36 && offsetof(ClrIccTagViewingConditions, illuminantXyz) == 8);
static_assert(offsetof(ClrIccTagViewingConditions, surroundXyz) == 20);
static_assert(offsetof(ClrIccTagViewingConditions, illuminantType) == 32);

namespace zv {

namespace {

constexpr uint32_t kLastObserver = 2;
constexpr uint32_t kLastGeometry = 2;
constexpr uint32_t kNoFlare = 0;
constexpr uint32_t kFullFlare = 0x10000;
constexpr uint32_t kLastIlluminant = 8;

/// A record without arrays has the same layout as its body.
template <class Word, uint32_t words>
int32_t ReadFields(IccBytes body, void* record) noexcept {
    if (!body.Has(kIccTagHead, sizeof(Word) * words)) return ERR_INVALID_PARAMETER;
    IccSwapCopy<Word>(static_cast<uint8_t*>(record) + kIccTagHead, body.At(kIccTagHead), words);
    return CLR_SUCCESS;
}

template <class Word, uint32_t words>
int32_t MakeFields(void* image, const void* host) noexcept {
    IccSwapCopy<Word>(static_cast<uint8_t*>(image) + kIccTagHead, static_cast<const uint8_t*>(host) + kIccTagHead,
                      words);
    return CLR_SUCCESS;
}

int32_t WriteFields(ClrIccProfile* profile, const void* image, uint32_t tagSignature, uint64_t size) noexcept {
    IccBody body(profile, tagSignature, size, false);
    body.Put(0, image, size);
    return body.Result();
}

constexpr int32_t kPresetChannels = 3;
constexpr int32_t kMostChannels = 3;

/// x and y of red, green and blue for phosphor types 1 to 4.
constexpr double kPresets[][2 * kPresetChannels] = {
    {0.64, 0.33, 0.30, 0.60, 0.15, 0.06},
    {0.63, 0.34, 0.31, 0.595, 0.155, 0.07},
    {0.64, 0.33, 0.29, 0.60, 0.15, 0.06},
    {0.625, 0.34, 0.28, 0.605, 0.155, 0.07},
};
constexpr uint64_t kChromaticityHead = 12;
constexpr uint64_t kPairSize = 8;

}  // namespace

int32_t IccReadDateTime(IccBytes body, void* record) noexcept { return ReadFields<uint16_t, 6>(body, record); }
int32_t IccMakeDateTime(void* image, void* host) noexcept { return MakeFields<uint16_t, 6>(image, host); }
int32_t IccWriteDateTime(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteFields(profile, image, tagSignature, sizeof(ClrIccTagDateTime));
}
void IccFreeDateTime(void*) noexcept {}

int32_t IccReadMeasurement(IccBytes body, void* record) noexcept { return ReadFields<uint32_t, 7>(body, record); }
int32_t IccMakeMeasurement(void* image, void* host) noexcept {
    const auto* from = static_cast<const ClrIccTagMeasurement*>(host);
    if (from->observer > kLastObserver || from->geometry > kLastGeometry) return ERR_INVALID_PARAMETER;
    if (from->flare != kNoFlare && from->flare != kFullFlare) return ERR_INVALID_PARAMETER;
    if (from->illuminantType > kLastIlluminant) return ERR_INVALID_PARAMETER;
    return MakeFields<uint32_t, 7>(image, host);
}
int32_t IccWriteMeasurement(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteFields(profile, image, tagSignature, sizeof(ClrIccTagMeasurement));
}
void IccFreeMeasurement(void*) noexcept {}

int32_t IccReadViewingConditions(IccBytes body, void* record) noexcept { return ReadFields<uint32_t, 7>(body, record); }
int32_t IccMakeViewingConditions(void* image, void* host) noexcept {
    const auto* from = static_cast<const ClrIccTagViewingConditions*>(host);
    if (from->illuminantType > kLastIlluminant) return ERR_INVALID_PARAMETER;
    return MakeFields<uint32_t, 7>(image, host);
}
int32_t IccWriteViewingConditions(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteFields(profile, image, tagSignature, sizeof(ClrIccTagViewingConditions));
}
void IccFreeViewingConditions(void*) noexcept {}

int32_t IccReadSignature(IccBytes body, void* record) noexcept { return ReadFields<uint32_t, 1>(body, record); }
int32_t IccMakeSignature(void* image, void* host) noexcept {
    uint32_t value = static_cast<const ClrIccTagSignature*>(host)->value;
    // Fewer than four letters go to the left, with blanks behind them.
    if (value < 0x100) {
        value = value << 24 | 0x202020;
    } else if (value < 0x10000) {
        value = value << 16 | 0x2020;
    } else if (value < 0x1000000) {
        value = value << 8 | 0x20;
    }
    static_cast<ClrIccTagSignature*>(image)->value = IccSwap(value);
    return CLR_SUCCESS;
}
int32_t IccWriteSignature(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteFields(profile, image, tagSignature, sizeof(ClrIccTagSignature));
}
void IccFreeSignature(void*) noexcept {}

int32_t IccReadChromaticity(IccBytes body, void* record) noexcept {
    auto* chromaticity = static_cast<ClrIccTagChromaticity*>(record);
    if (!body.Has(0, kChromaticityHead)) return ERR_INVALID_PARAMETER;
    const uint16_t channels = IccReadU16(body.At(8));
    if (!body.Has(kChromaticityHead, kPairSize * channels)) return ERR_INVALID_PARAMETER;
    chromaticity->channels = channels;
    chromaticity->phosphorType = IccReadU16(body.At(10));
    chromaticity->coordinates = IccNewSwapped<uint32_t>(body.At(kChromaticityHead), 2 * channels, __LINE__);
    return chromaticity->coordinates != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeChromaticity(void* image, void* host) noexcept {
    auto* chromaticity = static_cast<ClrIccTagChromaticity*>(image);
    const auto* from = static_cast<const ClrIccTagChromaticity*>(host);
    const uint16_t channels = from->channels;
    const uint32_t preset = from->phosphorType;
    if (from->coordinates == nullptr || channels > kMostChannels) return ERR_INVALID_PARAMETER;
    if (preset > std::size(kPresets)) return ERR_INVALID_PARAMETER;
    if (preset != 0 ? channels < kPresetChannels : !IccReadable(from->coordinates, kPairSize * channels)) {
        return ERR_INVALID_PARAMETER;
    }
    chromaticity->channels = IccSwap(channels);
    chromaticity->phosphorType = IccSwap(static_cast<uint16_t>(preset));  // two bytes of the image
    uint32_t words[2 * kMostChannels] = {};
    if (preset == 0) {
        HostCopy(words, static_cast<const void*>(from->coordinates), kPairSize * channels);
    } else {
        for (int i = 0; i < 2 * kPresetChannels; ++i) words[i] = Zv_DoubleTo2bFixed2bNumber(kPresets[preset - 1][i]);
    }
    chromaticity->coordinates = IccNewSwapped<uint32_t>(words, 2 * channels, __LINE__);
    return chromaticity->coordinates != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteChromaticity(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* chromaticity = static_cast<const ClrIccTagChromaticity*>(image);
    const uint64_t bytes = kPairSize * IccSwap(chromaticity->channels);
    IccBody body(profile, tagSignature, kChromaticityHead + bytes, false);
    body.Put(0, chromaticity, kChromaticityHead);
    body.Put(kChromaticityHead, chromaticity->coordinates, bytes);
    return body.Result();
}
void IccFreeChromaticity(void* record) noexcept {
    auto* chromaticity = static_cast<ClrIccTagChromaticity*>(record);
    IccRelease(chromaticity->coordinates, __LINE__);
    chromaticity->coordinates = nullptr;
}

}  // namespace zv
