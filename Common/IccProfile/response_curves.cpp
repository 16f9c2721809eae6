// "rcs2".
#include "Common/IccProfile/tag_types.h"

static_assert(offsetof(ClrIccResponse, reserved) == 2 && offsetof(ClrIccTagResponseCurveSet, channels) == 8);
static_assert(sizeof(ClrIccResponse) == 8 && offsetof(ClrIccResponse, measure) == 4);
static_assert(sizeof(ClrIccResponseCurve) == 28 && offsetof(ClrIccResponseCurve, counts) == 4);
static_assert(offsetof(ClrIccResponseCurve, patches) == 12 && offsetof(ClrIccResponseCurve, responses) == 20);
static_assert(sizeof(ClrIccTagResponseCurveSet) == 28 && offsetof(ClrIccTagResponseCurveSet, types) == 10);
static_assert(offsetof(ClrIccTagResponseCurveSet, offsets) == 12);
static_assert(offsetof(ClrIccTagResponseCurveSet, curves) == 20);

namespace zv {

namespace {

constexpr uint64_t kHead = 12;
constexpr uint64_t kOffsetSize = 4;
constexpr uint64_t kCountSize = 4;
constexpr uint64_t kPatchSize = 12;
constexpr uint64_t kMeasurementSize = 4;

/// What the curves of a set have in common. A list has as many responses as the set has types, whatever the counts say.
struct Shape {
    uint16_t channels;
    uint16_t types;

    uint64_t ListSize() const noexcept { return sizeof(ClrIccResponse) * types; }
    uint64_t CurveSize() const noexcept {
        return kMeasurementSize + (kCountSize + kPatchSize) * channels + ListSize() * channels;
    }
    uint64_t BodySize() const noexcept { return kHead + (kOffsetSize + CurveSize()) * types; }
};

void SwapResponse(uint8_t* destination, const uint8_t* source) noexcept {
    IccSwapCopy<uint16_t>(destination, source, 2);
    IccSwapCopy<uint32_t>(destination + 4, source + 4, 1);
}

ClrIccResponse* NewSwappedList(const void* source, const Shape& shape) noexcept {
    auto* list = static_cast<uint8_t*>(IccAlloc(shape.ListSize(), 1, __LINE__));
    if (list == nullptr) return nullptr;
    const auto* from = static_cast<const uint8_t*>(source);
    for (uint64_t at = 0; at < shape.ListSize(); at += sizeof(ClrIccResponse)) SwapResponse(list + at, from + at);
    return reinterpret_cast<ClrIccResponse*>(list);
}

/// Where a curve comes from: a body or the caller's record.
struct CurveSource {
    const void* counts;
    const void* patches;
};

/// Arrays of a curve but its lists, which are null; the curve is cleared before.
int32_t MakeCurveArrays(ClrIccResponseCurve* curve, const CurveSource& source, const Shape& shape) noexcept {
    curve->counts = IccNewSwapped<uint32_t>(source.counts, shape.channels, __LINE__);
    if (curve->counts == nullptr) return ERR_FAILURE;
    curve->patches = IccNewSwapped<uint32_t>(source.patches, uint64_t{3} * shape.channels, __LINE__);
    if (curve->patches == nullptr) return ERR_FAILURE;
    curve->responses = static_cast<ClrIccResponse**>(IccAllocZeroed(sizeof(ClrIccResponse*), shape.channels, __LINE__));
    return curve->responses != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}

int32_t ReadCurve(IccBytes bytes, const Shape& shape, ClrIccResponseCurve* curve) noexcept {
    if (!bytes.Has(0, shape.CurveSize())) return ERR_INVALID_PARAMETER;
    curve->measurement = IccReadU32(bytes.At(0));
    const uint64_t patches = kMeasurementSize + kCountSize * shape.channels;
    const uint64_t lists = patches + kPatchSize * shape.channels;
    if (MakeCurveArrays(curve, {bytes.At(kMeasurementSize), bytes.At(patches)}, shape) != CLR_SUCCESS) {
        return ERR_FAILURE;
    }
    for (uint32_t channel = 0; channel < shape.channels; ++channel) {
        curve->responses[channel] = NewSwappedList(bytes.At(lists + channel * shape.ListSize()), shape);
        if (curve->responses[channel] == nullptr) return ERR_FAILURE;
    }
    return CLR_SUCCESS;
}

int32_t MakeCurve(const ClrIccResponseCurve& from, const Shape& shape, ClrIccResponseCurve* curve) noexcept {
    if (!IccReadable(from.counts, kCountSize * shape.channels) ||
        !IccReadable(from.patches, kPatchSize * shape.channels) ||
        !IccReadable(from.responses, sizeof(ClrIccResponse*) * shape.channels)) {
        return ERR_INVALID_PARAMETER;
    }
    curve->measurement = IccSwap(from.measurement);
    if (MakeCurveArrays(curve, {from.counts, from.patches}, shape) != CLR_SUCCESS) return ERR_FAILURE;
    const auto* lists = reinterpret_cast<const uint8_t*>(from.responses);
    for (uint32_t channel = 0; channel < shape.channels; ++channel) {
        const auto* list = IccLoad<const ClrIccResponse*>(lists + channel * sizeof(ClrIccResponse*));
        if (!IccReadable(list, shape.ListSize())) return ERR_INVALID_PARAMETER;
        curve->responses[channel] = NewSwappedList(list, shape);
        if (curve->responses[channel] == nullptr) return ERR_FAILURE;
    }
    return CLR_SUCCESS;
}

void FreeCurve(const ClrIccResponseCurve& curve, const Shape& shape) noexcept {
    IccRelease(curve.counts, __LINE__);
    IccRelease(curve.patches, __LINE__);
    if (curve.responses == nullptr) return;
    for (uint32_t channel = 0; channel < shape.channels; ++channel) IccRelease(curve.responses[channel], __LINE__);
    IccRelease(curve.responses, __LINE__);
}

int32_t NewCurves(ClrIccTagResponseCurveSet* set, const Shape& shape) noexcept {
    set->curves = static_cast<ClrIccResponseCurve*>(IccAllocZeroed(sizeof(ClrIccResponseCurve), shape.types, __LINE__));
    return set->curves != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}

}  // namespace

int32_t IccReadResponseCurveSet(IccBytes body, void* record) noexcept {
    auto* set = static_cast<ClrIccTagResponseCurveSet*>(record);
    if (!body.Has(0, kHead)) return ERR_INVALID_PARAMETER;
    const Shape shape = {IccReadU16(body.At(8)), IccReadU16(body.At(10))};
    // Curves that share bytes would make records that are much larger than their body.
    if (!body.Has(0, shape.BodySize())) return ERR_INVALID_PARAMETER;
    set->channels = shape.channels;
    set->types = shape.types;
    set->offsets = IccNewSwapped<uint32_t>(body.At(kHead), shape.types, __LINE__);
    if (set->offsets == nullptr) return ERR_FAILURE;
    if (NewCurves(set, shape) != CLR_SUCCESS) return ERR_FAILURE;
    for (uint32_t type = 0; type < shape.types; ++type) {
        const int32_t result = ReadCurve(body.From(set->offsets[type]), shape, &set->curves[type]);
        if (result != CLR_SUCCESS) return result;
    }
    return CLR_SUCCESS;
}

int32_t IccMakeResponseCurveSet(void* image, void* host) noexcept {
    auto* set = static_cast<ClrIccTagResponseCurveSet*>(image);
    const auto* from = static_cast<const ClrIccTagResponseCurveSet*>(host);
    const Shape shape = {from->channels, from->types};
    if (shape.BodySize() > UINT32_MAX) return ERR_INVALID_PARAMETER;
    if (!IccReadable(from->curves, sizeof(ClrIccResponseCurve) * shape.types)) return ERR_INVALID_PARAMETER;
    set->channels = IccSwap(shape.channels);
    set->types = IccSwap(shape.types);
    set->offsets = static_cast<uint32_t*>(IccAlloc(kOffsetSize, shape.types, __LINE__));
    if (set->offsets == nullptr) return ERR_FAILURE;
    if (NewCurves(set, shape) != CLR_SUCCESS) return ERR_FAILURE;
    for (uint32_t type = 0; type < shape.types; ++type) {
        const uint64_t offset = kHead + kOffsetSize * shape.types + shape.CurveSize() * type;
        set->offsets[type] = IccSwap(static_cast<uint32_t>(offset));
        const int32_t result = MakeCurve(from->curves[type], shape, &set->curves[type]);
        if (result != CLR_SUCCESS) return result;
    }
    return CLR_SUCCESS;
}

int32_t IccWriteResponseCurveSet(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* set = static_cast<const ClrIccTagResponseCurveSet*>(image);
    const Shape shape = {IccSwap(set->channels), IccSwap(set->types)};
    IccBody body(profile, tagSignature, shape.BodySize(), true);
    body.Put(0, set, kHead);
    body.Put(kHead, set->offsets, kOffsetSize * shape.types);
    uint64_t place = kHead + kOffsetSize * shape.types;
    const auto put = [&](const void* bytes, uint64_t count) {
        body.Put(place, bytes, count);
        place += count;
    };
    for (uint32_t type = 0; type < shape.types; ++type) {
        const ClrIccResponseCurve& curve = set->curves[type];
        put(&curve.measurement, kMeasurementSize);
        put(curve.counts, kCountSize * shape.channels);
        put(curve.patches, kPatchSize * shape.channels);
        for (uint32_t channel = 0; channel < shape.channels; ++channel) {
            put(curve.responses[channel], shape.ListSize());
        }
    }
    return body.Result();
}

void IccFreeResponseCurveSet(void* record) noexcept {
    auto* set = static_cast<ClrIccTagResponseCurveSet*>(record);
    const bool hostForm = set->typeSig == IccSignature("rcs2");
    const Shape shape = {hostForm ? set->channels : IccSwap(set->channels),
                         hostForm ? set->types : IccSwap(set->types)};
    IccRelease(set->offsets, __LINE__);
    set->offsets = nullptr;
    if (set->curves == nullptr) return;
    for (uint32_t type = 0; type < shape.types; ++type) FreeCurve(set->curves[type], shape);
    IccRelease(set->curves, __LINE__);
    set->curves = nullptr;
}

}  // namespace zv
