#include "Common/IccProfile/tag_types.h"

#include <algorithm>

namespace zv {

namespace {

/// Every record begins with the head of its body.
template <class... Records>
constexpr bool kHaveHead = ((offsetof(Records, typeSig) == 0 && offsetof(Records, typeReserved) == 4) && ...);
static_assert(
    kHaveHead<ClrIccTagArray, ClrIccTagChromaticity, ClrIccTagColorantOrder, ClrIccTagColorantTable, ClrIccTagCurve,
              ClrIccTagData, ClrIccTagDateTime, ClrIccTagLut16, ClrIccTagLut8, ClrIccTagLutAToB, ClrIccTagMeasurement,
              ClrIccTagMultiLocalized, ClrIccTagNamedColor2, ClrIccTagParametricCurve, ClrIccTagProfileSequence,
              ClrIccTagResponseCurveSet, ClrIccTagSignature, ClrIccTagText, ClrIccTagViewingConditions>);

#define ZV_ICC_ROW(letters, countsBySize, Record, Name)                                                                \
    { IccSignature(letters), countsBySize, sizeof(Record), IccRead##Name, IccMake##Name, IccWrite##Name, IccFree##Name }

constexpr IccTagType kTagTypes[] = {
    ZV_ICC_ROW("chrm", false, ClrIccTagChromaticity, Chromaticity),
    ZV_ICC_ROW("clro", false, ClrIccTagColorantOrder, ColorantOrder),
    ZV_ICC_ROW("clrt", false, ClrIccTagColorantTable, ColorantTable),
    ZV_ICC_ROW("curv", false, ClrIccTagCurve, Curve),
    ZV_ICC_ROW("data", true, ClrIccTagData, Data),
    ZV_ICC_ROW("dtim", false, ClrIccTagDateTime, DateTime),
    ZV_ICC_ROW("mAB ", false, ClrIccTagLutAToB, LutAToB),
    ZV_ICC_ROW("mBA ", false, ClrIccTagLutAToB, LutBToA),
    ZV_ICC_ROW("meas", false, ClrIccTagMeasurement, Measurement),
    ZV_ICC_ROW("mft1", false, ClrIccTagLut8, Lut8),
    ZV_ICC_ROW("mft2", false, ClrIccTagLut16, Lut16),
    ZV_ICC_ROW("mluc", false, ClrIccTagMultiLocalized, Mluc),
    ZV_ICC_ROW("ncl2", false, ClrIccTagNamedColor2, NamedColor2),
    ZV_ICC_ROW("para", false, ClrIccTagParametricCurve, Parametric),
    ZV_ICC_ROW("pseq", false, ClrIccTagProfileSequence, ProfileSequence),
    ZV_ICC_ROW("rcs2", false, ClrIccTagResponseCurveSet, ResponseCurveSet),
    ZV_ICC_ROW("sf32", true, ClrIccTagArray, Words32),
    ZV_ICC_ROW("sig ", false, ClrIccTagSignature, Signature),
    ZV_ICC_ROW("text", true, ClrIccTagText, Text),
    ZV_ICC_ROW("uf32", true, ClrIccTagArray, Words32),
    ZV_ICC_ROW("ui08", true, ClrIccTagArray, Bytes),
    ZV_ICC_ROW("ui16", true, ClrIccTagArray, Words16),
    ZV_ICC_ROW("ui32", true, ClrIccTagArray, Words32),
    ZV_ICC_ROW("ui64", true, ClrIccTagArray, Words64),
    ZV_ICC_ROW("view", false, ClrIccTagViewingConditions, ViewingConditions),
    ZV_ICC_ROW("XYZ ", true, ClrIccTagArray, Xyz),
};
static_assert(std::size(kTagTypes) == 26);

constexpr IccTagType kUnknownType = ZV_ICC_ROW("\0\0\0\0", true, ClrIccTagArray, Bytes);

#undef ZV_ICC_ROW

constexpr uint32_t kKnownTags[] = {
    IccSignature("A2B0"), IccSignature("A2B1"), IccSignature("A2B2"), IccSignature("B2A0"), IccSignature("B2A1"),
    IccSignature("B2A2"), IccSignature("bTRC"), IccSignature("bXYZ"), IccSignature("bkpt"), IccSignature("calt"),
    IccSignature("chad"), IccSignature("chrm"), IccSignature("clot"), IccSignature("clro"), IccSignature("clrt"),
    IccSignature("cprt"), IccSignature("desc"), IccSignature("dmdd"), IccSignature("dmnd"), IccSignature("gTRC"),
    IccSignature("gXYZ"), IccSignature("gamt"), IccSignature("kTRC"), IccSignature("lumi"), IccSignature("meas"),
    IccSignature("ncl2"), IccSignature("pre0"), IccSignature("pre1"), IccSignature("pre2"), IccSignature("pseq"),
    IccSignature("rTRC"), IccSignature("rXYZ"), IccSignature("resp"), IccSignature("targ"), IccSignature("tech"),
    IccSignature("view"), IccSignature("vued"), IccSignature("wtpt"),
};
static_assert(std::size(kKnownTags) == 38);

}  // namespace

std::span<const IccTagType> IccTagTypes() noexcept { return kTagTypes; }

const IccTagType* IccFindTagType(uint32_t typeSignature) noexcept {
    const auto* found = std::find_if(std::begin(kTagTypes), std::end(kTagTypes),
                                     [=](const IccTagType& type) { return type.signature == typeSignature; });
    return found != std::end(kTagTypes) ? found : nullptr;
}

const IccTagType& IccTagTypeOf(uint32_t typeSignature) noexcept {
    const IccTagType* type = IccFindTagType(typeSignature);
    return type != nullptr ? *type : kUnknownType;
}

int32_t IccIsKnownTag(uint32_t tagSignature) noexcept {
    return std::find(std::begin(kKnownTags), std::end(kKnownTags), tagSignature) != std::end(kKnownTags) ? 0 : 1;
}

int32_t IccReadTag(const IccTagType& type, IccBytes body, void* record) noexcept {
    HostFill(record, 0, type.recordSize);
    auto* head = static_cast<uint8_t*>(record);
    // Whoever releases a record after a failure goes by its type.
    if (body.Has(0, sizeof(uint32_t))) IccSwapCopy<uint32_t>(head, body.At(0), 1);
    if (!body.Has(0, kIccTagHead)) return ERR_INVALID_PARAMETER;
    IccReverseCopy(head + 4, body.At(4), 4);
    return type.read(body, record);
}

int32_t IccMakeTag(const IccTagType& type, uint32_t typeSignature, void* image, void* host) noexcept {
    HostFill(image, 0, type.recordSize);
    IccSwapCopy<uint32_t>(image, &typeSignature, 1);
    return type.make(image, host);
}

IccBody::IccBody(ClrIccProfile* profile, uint32_t tagSignature, uint64_t size, bool padded) noexcept {
    if (size >= UINT32_MAX) {
        result_ = ERR_INVALID_PARAMETER;
        return;
    }
    const ClrIccTagEntry entry = {tagSignature, 0, static_cast<uint32_t>(size)};
    place_ = IccInsertTag(profile, &entry, padded ? IccPadding(size) : kIccNoPadding);
    if (place_ == nullptr) {
        result_ = ERR_FAILURE;
        return;
    }
    room_ = size;
}

void IccBody::Put(uint64_t offset, const void* bytes, uint64_t count) noexcept {
    if (offset >= room_ || count == 0) return;
    HostCopy(place_ + offset, bytes, std::min(count, room_ - offset));
}

}  // namespace zv
