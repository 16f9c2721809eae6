// "curv" and "para".
#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagCurve) == 20 && offsetof(ClrIccTagCurve, entryCount) == 8);
static_assert(offsetof(ClrIccTagCurve, entries) == 12);
static_assert(sizeof(ClrIccTagParametricCurve) == 20 && offsetof(ClrIccTagParametricCurve, functionType) == 8);
static_assert(offsetof(ClrIccTagParametricCurve, paramReserved) == 10);
static_assert(offsetof(ClrIccTagParametricCurve, parameters) == 12);

namespace zv {

namespace {

constexpr uint64_t kHead = 12;
constexpr uint16_t kLastFunction = 4;
/// By function type.
constexpr int32_t kParameters[kLastFunction + 1] = {1, 3, 4, 5, 7};

uint64_t ParameterBytes(uint16_t functionType) noexcept {
    return sizeof(uint32_t) * static_cast<uint64_t>(Zv_GetParametricCurveNumberOfParameters(functionType));
}

}  // namespace

int32_t IccReadCurve(IccBytes body, void* record) noexcept {
    auto* curve = static_cast<ClrIccTagCurve*>(record);
    if (!body.Has(0, kHead)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(8));
    if (!body.Has(kHead, sizeof(uint16_t) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    curve->entryCount = count;
    curve->entries = IccNewSwapped<uint16_t>(body.At(kHead), count, __LINE__);
    return curve->entries != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeCurve(void* image, void* host) noexcept {
    auto* curve = static_cast<ClrIccTagCurve*>(image);
    const auto* from = static_cast<const ClrIccTagCurve*>(host);
    if (!IccReadable(from->entries, sizeof(uint16_t) * uint64_t{from->entryCount})) return ERR_INVALID_PARAMETER;
    curve->entryCount = IccSwap(from->entryCount);
    curve->entries = IccNewSwapped<uint16_t>(from->entries, from->entryCount, __LINE__);
    return curve->entries != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteCurve(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* curve = static_cast<const ClrIccTagCurve*>(image);
    const uint64_t bytes = sizeof(uint16_t) * uint64_t{IccSwap(curve->entryCount)};
    IccBody body(profile, tagSignature, kHead + bytes, true);
    body.Put(0, curve, kHead);
    body.Put(kHead, curve->entries, bytes);
    return body.Result();
}
void IccFreeCurve(void* record) noexcept {
    auto* curve = static_cast<ClrIccTagCurve*>(record);
    IccRelease(curve->entries, __LINE__);
    curve->entries = nullptr;
}

int32_t IccReadParametric(IccBytes body, void* record) noexcept {
    auto* curve = static_cast<ClrIccTagParametricCurve*>(record);
    if (!body.Has(0, kHead)) return ERR_INVALID_PARAMETER;
    curve->functionType = IccReadU16(body.At(8));
    IccReverseCopy(curve->paramReserved, body.At(10), sizeof curve->paramReserved);
    if (curve->functionType > kLastFunction) return ERR_BAD_TAG;
    const uint64_t bytes = ParameterBytes(curve->functionType);
    if (!body.Has(kHead, bytes)) return ERR_INVALID_PARAMETER;
    curve->parameters = IccNewSwapped<uint32_t>(body.At(kHead), bytes / sizeof(uint32_t), __LINE__);
    return curve->parameters != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccMakeParametric(void* image, void* host) noexcept {
    auto* curve = static_cast<ClrIccTagParametricCurve*>(image);
    const auto* from = static_cast<const ClrIccTagParametricCurve*>(host);
    const uint16_t functionType = from->functionType;
    const uint64_t bytes = ParameterBytes(functionType);
    if (functionType > kLastFunction || !IccReadable(from->parameters, bytes)) return ERR_INVALID_PARAMETER;
    curve->functionType = IccSwap(functionType);
    curve->parameters = IccNewSwapped<uint32_t>(from->parameters, bytes / sizeof(uint32_t), __LINE__);
    return curve->parameters != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}
int32_t IccWriteParametric(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* curve = static_cast<const ClrIccTagParametricCurve*>(image);
    // The size misses the parameters of types 1 to 4, whose number it does not find in image form.
    IccBody body(profile, tagSignature, uint64_t{IccParametricSize(curve)} + 8, true);
    body.Put(0, curve, kHead);
    body.Put(kHead, curve->parameters, ParameterBytes(IccSwap(curve->functionType)));
    return body.Result();
}
void IccFreeParametric(void* record) noexcept {
    auto* curve = static_cast<ClrIccTagParametricCurve*>(record);
    IccRelease(curve->parameters, __LINE__);
    curve->parameters = nullptr;
}

uint32_t IccParametricSize(const void* record) noexcept {
    if (record == nullptr) return 0;
    const auto* bytes = static_cast<const uint8_t*>(record);
    const auto functionType = IccLoad<uint16_t>(bytes + offsetof(ClrIccTagParametricCurve, functionType));
    return static_cast<uint32_t>(4 + ParameterBytes(functionType));
}

}  // namespace zv

using namespace zv;

int32_t Zv_GetParametricCurveNumberOfParameters(int32_t functionType) {
    return functionType >= 0 && functionType <= kLastFunction ? kParameters[functionType] : 0;
}

int32_t Zv_ConvertCurveTypeToBuffer(void* destination, const ClrIccTagCurve* curve) {
    if (destination == nullptr || curve == nullptr) return ERR_INVALID_PARAMETER;
    const bool hostForm = curve->typeSig == IccSignature("curv");
    const uint64_t bytes = sizeof(uint16_t) * uint64_t{hostForm ? curve->entryCount : IccSwap(curve->entryCount)};
    if (!IccReadable(curve->entries, bytes)) return ERR_INVALID_PARAMETER;
    HostCopy(destination, curve, kHead);
    if (bytes != 0) HostCopy(static_cast<uint8_t*>(destination) + kHead, curve->entries, bytes);
    return CLR_SUCCESS;
}

int32_t Zv_ConvertParametricCurveTypeToBuffer(void* destination, const ClrIccTagParametricCurve* curve) {
    if (destination == nullptr || curve == nullptr) return ERR_INVALID_PARAMETER;
    const uint64_t bytes = ParameterBytes(curve->functionType);
    if (!IccReadable(curve->parameters, bytes)) return ERR_INVALID_PARAMETER;
    HostCopy(destination, curve, kHead);
    if (bytes != 0) HostCopy(static_cast<uint8_t*>(destination) + kHead, curve->parameters, bytes);
    return CLR_SUCCESS;
}
