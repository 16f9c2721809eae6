// "mft2" and "mft1".
#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagLut16) == 76 && offsetof(ClrIccTagLut16, inputChannels) == 8);
static_assert(offsetof(ClrIccTagLut16, outputChannels) == 9 && offsetof(ClrIccTagLut16, lutPad) == 11);
static_assert(offsetof(ClrIccTagLut16, gridPoints) == 10 && offsetof(ClrIccTagLut16, matrix) == 12);
static_assert(offsetof(ClrIccTagLut16, inputEntries) == 48 && offsetof(ClrIccTagLut16, outputEntries) == 50);
static_assert(offsetof(ClrIccTagLut16, inputTables) == 52 && offsetof(ClrIccTagLut16, clut) == 60);
static_assert(offsetof(ClrIccTagLut16, outputTables) == 68);
static_assert(sizeof(ClrIccTagLut8) == 76 && offsetof(ClrIccTagLut8, inputChannels) == 8);
static_assert(offsetof(ClrIccTagLut8, outputChannels) == 9 && offsetof(ClrIccTagLut8, lutPad) == 11);
static_assert(offsetof(ClrIccTagLut8, gridPoints) == 10 && offsetof(ClrIccTagLut8, matrix) == 12);
static_assert(offsetof(ClrIccTagLut8, inputEntries) == 48 && offsetof(ClrIccTagLut8, outputEntries) == 50);
static_assert(offsetof(ClrIccTagLut8, inputTables) == 52 && offsetof(ClrIccTagLut8, clut) == 60);
static_assert(offsetof(ClrIccTagLut8, outputTables) == 68);

namespace zv {

namespace {

constexpr uint64_t kHead = 52;
constexpr uint32_t kMatrixWords = 9;

/// More than any body holds; tables of more values do not fit, however many there are.
constexpr uint64_t kTooMany = UINT32_MAX;

/// Values of the three tables.
struct Lengths {
    uint64_t input;
    uint64_t clut;
    uint64_t output;

    uint64_t All() const noexcept { return input + clut + output; }
};

/// Of a record whose entry counts are in the order of the host.
template <class Record>
Lengths LengthsOf(const Record& record, uint16_t inputEntries, uint16_t outputEntries) noexcept {
    // A product of whole doubles is what a power of them is, while it fits.
    double power = 1;
    for (int i = 0; i < record.inputChannels && power <= kTooMany; ++i) power *= record.gridPoints;
    const uint64_t nodes = power <= kTooMany ? static_cast<uint64_t>(power) : kTooMany;
    return {uint64_t{inputEntries} * record.inputChannels, nodes * record.outputChannels,
            uint64_t{outputEntries} * record.outputChannels};
}

/// What the two types differ in.
struct Words {
    using Record = ClrIccTagLut16;
    using Value = uint16_t;
    static uint16_t EntriesOfImage(uint16_t entries) noexcept { return IccSwap(entries); }
};
struct Bytes {
    using Record = ClrIccTagLut8;
    using Value = uint8_t;
    /// The counts, which only this family's bodies have, have always stood in the order of the host.
    static uint16_t EntriesOfImage(uint16_t entries) noexcept { return entries; }
};

template <class Kind>
int32_t NewTables(typename Kind::Record* record, const Lengths& lengths, const void* input, const void* clut,
                  const void* output) noexcept {
    using Value = typename Kind::Value;
    record->inputTables = IccNewSwapped<Value>(input, lengths.input, __LINE__);
    if (record->inputTables == nullptr) return ERR_FAILURE;
    record->clut = IccNewSwapped<Value>(clut, lengths.clut, __LINE__);
    if (record->clut == nullptr) return ERR_FAILURE;
    record->outputTables = IccNewSwapped<Value>(output, lengths.output, __LINE__);
    return record->outputTables != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}

template <class Kind>
int32_t ReadLut(IccBytes body, void* record) noexcept {
    using Value = typename Kind::Value;
    auto* lut = static_cast<typename Kind::Record*>(record);
    if (!body.Has(0, kHead)) return ERR_INVALID_PARAMETER;
    lut->inputChannels = *body.At(8);
    lut->outputChannels = *body.At(9);
    lut->gridPoints = *body.At(10);
    lut->lutPad = *body.At(11);
    for (uint32_t i = 0; i < kMatrixWords; ++i) lut->matrix[i] = IccReadU32(body.At(12 + 4 * i));
    lut->inputEntries = Kind::EntriesOfImage(IccLoad<uint16_t>(body.At(48)));
    lut->outputEntries = Kind::EntriesOfImage(IccLoad<uint16_t>(body.At(50)));
    const Lengths lengths = LengthsOf(*lut, lut->inputEntries, lut->outputEntries);
    if (!body.Has(kHead, sizeof(Value) * lengths.All())) return ERR_INVALID_PARAMETER;
    const uint8_t* input = body.At(kHead);
    const uint8_t* clut = input + sizeof(Value) * lengths.input;
    const uint8_t* output = clut + sizeof(Value) * lengths.clut;
    return NewTables<Kind>(lut, lengths, input, clut, output);
}

/// The matrix comes as words of the image.
template <class Kind>
int32_t MakeLutOf(typename Kind::Record* lut, const typename Kind::Record& from, const uint32_t* matrix) noexcept {
    using Value = typename Kind::Value;
    if (from.inputTables == nullptr || from.clut == nullptr || from.outputTables == nullptr) {
        return ERR_INVALID_PARAMETER;
    }
    const Lengths lengths = LengthsOf(from, from.inputEntries, from.outputEntries);
    if (lengths.All() > kTooMany / sizeof(Value)) return ERR_INVALID_PARAMETER;
    if (!IccReadable(from.inputTables, sizeof(Value) * lengths.input) ||
        !IccReadable(from.clut, sizeof(Value) * lengths.clut) ||
        !IccReadable(from.outputTables, sizeof(Value) * lengths.output)) {
        return ERR_INVALID_PARAMETER;
    }
    lut->inputChannels = from.inputChannels;
    lut->outputChannels = from.outputChannels;
    lut->gridPoints = from.gridPoints;
    lut->lutPad = from.lutPad;
    HostCopy(lut->matrix, matrix, sizeof lut->matrix);
    lut->inputEntries = Kind::EntriesOfImage(from.inputEntries);
    lut->outputEntries = Kind::EntriesOfImage(from.outputEntries);
    return NewTables<Kind>(lut, lengths, from.inputTables, from.clut, from.outputTables);
}

template <class Kind>
int32_t MakeLut(void* image, void* host) noexcept {
    const auto* from = static_cast<const typename Kind::Record*>(host);
    auto* matrix = static_cast<uint32_t*>(IccAlloc(sizeof(uint32_t), kMatrixWords, __LINE__));
    if (matrix == nullptr) return ERR_FAILURE;
    IccSwapCopy<uint32_t>(matrix, from->matrix, kMatrixWords);
    const int32_t result = MakeLutOf<Kind>(static_cast<typename Kind::Record*>(image), *from, matrix);
    HostFree(matrix, __LINE__, kIccSource);
    return result;
}

template <class Kind>
int32_t WriteLut(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    using Value = typename Kind::Value;
    const auto* lut = static_cast<const typename Kind::Record*>(image);
    const Lengths lengths =
        LengthsOf(*lut, Kind::EntriesOfImage(lut->inputEntries), Kind::EntriesOfImage(lut->outputEntries));
    IccBody body(profile, tagSignature, kHead + sizeof(Value) * lengths.All(), true);
    const uint64_t clut = kHead + sizeof(Value) * lengths.input;
    body.Put(0, lut, kHead);
    body.Put(kHead, lut->inputTables, sizeof(Value) * lengths.input);
    body.Put(clut, lut->clut, sizeof(Value) * lengths.clut);
    body.Put(clut + sizeof(Value) * lengths.clut, lut->outputTables, sizeof(Value) * lengths.output);
    return body.Result();
}

template <class Kind>
void FreeLut(void* record) noexcept {
    auto* lut = static_cast<typename Kind::Record*>(record);
    IccRelease(lut->inputTables, __LINE__);
    lut->inputTables = nullptr;
    IccRelease(lut->outputTables, __LINE__);
    lut->outputTables = nullptr;
    IccRelease(lut->clut, __LINE__);
    lut->clut = nullptr;
}

}  // namespace

int32_t IccReadLut16(IccBytes body, void* record) noexcept { return ReadLut<Words>(body, record); }
int32_t IccMakeLut16(void* image, void* host) noexcept { return MakeLut<Words>(image, host); }
int32_t IccWriteLut16(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteLut<Words>(profile, image, tagSignature);
}
void IccFreeLut16(void* record) noexcept { FreeLut<Words>(record); }

int32_t IccReadLut8(IccBytes body, void* record) noexcept { return ReadLut<Bytes>(body, record); }
int32_t IccMakeLut8(void* image, void* host) noexcept { return MakeLut<Bytes>(image, host); }
int32_t IccWriteLut8(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteLut<Bytes>(profile, image, tagSignature);
}
void IccFreeLut8(void* record) noexcept { FreeLut<Bytes>(record); }

}  // namespace zv
