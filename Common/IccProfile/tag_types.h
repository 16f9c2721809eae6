// Tag types: what is done with a body of each, and the list of them.
#pragma once

#include <cstdint>
#include <span>

#include "Common/IccProfile/bytes.h"
#include "Common/IccProfile/profile.h"
#include "zvicc.h"

namespace zv {

/// Type signature and reserved bytes, which every body begins with.
inline constexpr uint64_t kIccTagHead = 8;

/// What is known of a tag type. A reader finds the record cleared and its head filled, and the body has the 8 bytes of
/// a head at least. A maker finds the image record cleared with its type signature. A writer takes the maker's record.
/// A releaser takes either form, in any state that reader and maker can leave.
struct IccTagType {
    uint32_t signature;
    bool countsBySize;  ///< the body's size tells the reader how many elements there are; otherwise its fields do
    uint32_t recordSize;
    int32_t (*read)(IccBytes body, void* record) noexcept;
    int32_t (*make)(void* image, void* host) noexcept;
    int32_t (*write)(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept;
    void (*release)(void* record) noexcept;
};

/// All types that are known, by signature.
std::span<const IccTagType> IccTagTypes() noexcept;
/// The type of that signature, or null.
const IccTagType* IccFindTagType(uint32_t typeSignature) noexcept;
/// The same, or what all other types have in common: bytes.
const IccTagType& IccTagTypeOf(uint32_t typeSignature) noexcept;
/// 0 for a tag that is known.
int32_t IccIsKnownTag(uint32_t tagSignature) noexcept;

/// Clears the record and reads the body into it.
int32_t IccReadTag(const IccTagType& type, IccBytes body, void* record) noexcept;
/// Clears the image record and makes it from the caller's.
int32_t IccMakeTag(const IccTagType& type, uint32_t typeSignature, void* image, void* host) noexcept;

/// A tag's body as it is written.
class IccBody {
public:
    IccBody(ClrIccProfile* profile, uint32_t tagSignature, uint64_t size, bool padded) noexcept;

    /// From `offset` on. What does not fit into the body is left out, and padding stays zero.
    void Put(uint64_t offset, const void* bytes, uint64_t count) noexcept;
    /// CLR_SUCCESS, or why there is no body.
    int32_t Result() const noexcept { return result_; }

private:
    uint8_t* place_ = nullptr;
    uint64_t room_ = 0;
    int32_t result_ = CLR_SUCCESS;
};

#define ZV_ICC_TAG_TYPE(Name)                                                                                          \
    int32_t IccRead##Name(IccBytes body, void* record) noexcept;                                                       \
    int32_t IccMake##Name(void* image, void* host) noexcept;                                                           \
    int32_t IccWrite##Name(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept;                 \
    void IccFree##Name(void* record) noexcept

ZV_ICC_TAG_TYPE(Bytes);
ZV_ICC_TAG_TYPE(Words16);
ZV_ICC_TAG_TYPE(Words32);
ZV_ICC_TAG_TYPE(Words64);
ZV_ICC_TAG_TYPE(Xyz);
ZV_ICC_TAG_TYPE(Chromaticity);
ZV_ICC_TAG_TYPE(ColorantOrder);
ZV_ICC_TAG_TYPE(ColorantTable);
ZV_ICC_TAG_TYPE(Curve);
ZV_ICC_TAG_TYPE(Data);
ZV_ICC_TAG_TYPE(DateTime);
ZV_ICC_TAG_TYPE(LutAToB);
ZV_ICC_TAG_TYPE(LutBToA);
ZV_ICC_TAG_TYPE(Lut8);
ZV_ICC_TAG_TYPE(Lut16);
ZV_ICC_TAG_TYPE(Measurement);
ZV_ICC_TAG_TYPE(Mluc);
ZV_ICC_TAG_TYPE(NamedColor2);
ZV_ICC_TAG_TYPE(Parametric);
ZV_ICC_TAG_TYPE(ProfileSequence);
ZV_ICC_TAG_TYPE(ResponseCurveSet);
ZV_ICC_TAG_TYPE(Signature);
ZV_ICC_TAG_TYPE(Text);
ZV_ICC_TAG_TYPE(ViewingConditions);

#undef ZV_ICC_TAG_TYPE

/// Bytes behind the head of a "mluc" element, by its own fields: 8 for its two counts, entries and texts.
uint64_t IccMlucSize(const ClrIccTagMultiLocalized* record) noexcept;
/// Brings the caller's "mluc" record, which is in image form already, into an entry of an image record.
int32_t IccCopyMluc(ClrIccTagMultiLocalized* destination, const ClrIccTagMultiLocalized* source) noexcept;

/// Bytes of a "para" body less 8. The function type is taken in the order of the host, in image form too.
uint32_t IccParametricSize(const void* record) noexcept;

}  // namespace zv
