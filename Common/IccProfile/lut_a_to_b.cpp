// "mAB " and "mBA ": runs of curves, a matrix, a grid.
#include <algorithm>

#include "Common/IccProfile/lut_elements.h"
#include "Common/IccProfile/tag_types.h"

static_assert(offsetof(ClrIccTagLutAToB, inputChannels) == 8 && offsetof(ClrIccTagLutAToB, outputChannels) == 9);
static_assert(sizeof(ClrIccTagLutAToB) == 120 && offsetof(ClrIccTagLutAToB, lutReserved) == 10);
static_assert(offsetof(ClrIccTagLutAToB, offsetB) == 12 && offsetof(ClrIccTagLutAToB, offsetMatrix) == 16);
static_assert(offsetof(ClrIccTagLutAToB, offsetM) == 20 && offsetof(ClrIccTagLutAToB, offsetClut) == 24);
static_assert(offsetof(ClrIccTagLutAToB, offsetA) == 28 && offsetof(ClrIccTagLutAToB, allData) == 32);
static_assert(offsetof(ClrIccTagLutAToB, curvesB) == 40 && offsetof(ClrIccTagLutAToB, curvesM) == 48);
static_assert(offsetof(ClrIccTagLutAToB, curvesA) == 56 && offsetof(ClrIccTagLutAToB, clut) == 64);
static_assert(offsetof(ClrIccTagLutAToB, matrix) == 72);
static_assert(sizeof(ClrIccTagRecord) == 120);

namespace zv {

namespace {

constexpr uint64_t kHead = 32;
constexpr uint32_t kMatrixWords = 12;
constexpr uint64_t kMatrixSize = 48;

// --- Reading --------------------------------------------------------------------------------------------------------

/// The length after it, or a negative code.
int64_t Append(ClrIccTagLutAToB* record, int64_t length, const void* bytes, uint64_t count) noexcept {
    uint8_t* place = IccGrowAllData(record, length, count);
    if (place == nullptr) return ERR_FAILURE;
    HostCopy(place, bytes, count);
    return length + static_cast<int64_t>(count);
}

/// Reads the elements of a body one after another into allData; those without an offset are not there.
class ElementReader {
public:
    ElementReader(IccBytes body, ClrIccTagLutAToB* record) noexcept : body_(body), record_(record) {}

    bool ReadHead() noexcept {
        if (!body_.Has(0, kHead)) return Fail(ERR_INVALID_PARAMETER);
        record_->inputChannels = *body_.At(8);
        record_->outputChannels = *body_.At(9);
        IccReverseCopy(record_->lutReserved, body_.At(10), sizeof record_->lutReserved);
        record_->offsetB = IccReadU32(body_.At(12));
        record_->offsetMatrix = IccReadU32(body_.At(16));
        record_->offsetM = IccReadU32(body_.At(20));
        record_->offsetClut = IccReadU32(body_.At(24));
        record_->offsetA = IccReadU32(body_.At(28));
        return true;
    }
    bool ReadClut() noexcept {
        if (record_->offsetClut == 0) return true;
        const IccBytes block = body_.From(record_->offsetClut);
        if (!block.Has(0, kIccClutHead)) return Fail(ERR_INVALID_PARAMETER);
        const uint64_t size = IccClutSize(block.At(0), record_->inputChannels, record_->outputChannels);
        // The padding of a last element may be left out.
        if (size > IccRoundUp4(block.Size())) return Fail(ERR_INVALID_PARAMETER);
        // With room for the head of a caller's grid, lest somebody takes the one for the other.
        auto* clut = static_cast<uint8_t*>(IccAllocZeroed(std::max<uint64_t>(size, sizeof(ClrIccClut)), 1, __LINE__));
        if (clut == nullptr) return Fail(ERR_FAILURE);
        record_->clut = clut;
        const int32_t result = IccClutFromImage(clut, block, record_->inputChannels, record_->outputChannels);
        return result == CLR_SUCCESS ? GoOn(Append(record_, length_, clut, size)) : Fail(result);
    }
    bool ReadMatrix() noexcept {
        if (record_->offsetMatrix == 0) return true;
        if (!body_.Has(record_->offsetMatrix, kMatrixSize)) return Fail(ERR_INVALID_PARAMETER);
        IccSwapCopy<uint32_t>(record_->matrix, body_.At(record_->offsetMatrix), kMatrixWords);
        return GoOn(Append(record_, length_, record_->matrix, kMatrixSize));
    }
    bool ReadCurves(uint32_t offset, uint32_t count, IccCurveKind kind) noexcept {
        return offset == 0 || GoOn(IccReadCurveSet(record_, length_, body_.From(offset), count, kind));
    }
    int32_t Result() const noexcept { return result_; }

private:
    bool Fail(int32_t result) noexcept {
        result_ = result;
        return false;
    }
    bool GoOn(int64_t length) noexcept {
        if (length < 0) return Fail(static_cast<int32_t>(length));
        length_ = length;
        return true;
    }

    IccBytes body_;
    ClrIccTagLutAToB* record_;
    int64_t length_ = 0;
    int32_t result_ = CLR_SUCCESS;
};

// --- Making ---------------------------------------------------------------------------------------------------------

/// Curves on the side of the connection space, which B and M have, and on that of the device.
struct CurveCounts {
    uint32_t connection;
    uint32_t device;
};

/// Whether everything that a maker needs is there and can be read, and written where it is swapped in place.
bool CanBeMade(ClrIccTagLutAToB* from, const CurveCounts& counts) noexcept {
    // What a reader has filled holds runs and a grid of another make, with bytes of a file where pointers would be.
    if (from->allData != nullptr) return false;
    if (from->curvesB == nullptr || from->curvesM == nullptr || from->clut == nullptr || from->curvesA == nullptr) {
        return false;
    }
    if (!IccIsRun(from->curvesB, counts.connection) || !IccIsRun(from->curvesM, counts.connection) ||
        !IccIsRun(from->curvesA, counts.device) || !IccReadable(from->clut, sizeof(ClrIccClut))) {
        return false;
    }
    const auto* clut = static_cast<const ClrIccClut*>(from->clut);
    const uint64_t values =
        IccClutValueBytes(static_cast<const uint8_t*>(from->clut), from->inputChannels, from->outputChannels);
    if (values >= kIccTooLarge || !IccReadable(clut->data, values)) return false;
    return clut->precision == 1 || values == 0 || !IsBadWritePtr(clut->data, values);
}

/// Sizes and places in allData of the elements that are made, in their order: B, matrix, M, CLUT, A.
struct Layout {
    uint64_t sizeB;
    uint64_t sizeM;
    uint64_t sizeClut;
    uint64_t sizeA;

    uint64_t PlaceM() const noexcept { return sizeB + kMatrixSize; }
    uint64_t PlaceClut() const noexcept { return PlaceM() + sizeM; }
    uint64_t PlaceA() const noexcept { return PlaceClut() + sizeClut; }
    uint64_t All() const noexcept { return PlaceA() + sizeA; }
};

/// Scratch blocks of a maker. Without memory it ends where it is, and those so far stay behind, as records half made
/// do.
struct Scratch {
    uint8_t* curvesB;
    uint8_t* matrix;
    uint8_t* curvesM;
    uint8_t* clut;
    uint8_t* curvesA;
};

/// A run of the caller's records in image form.
int32_t MakeRun(const void* records, uint32_t count, uint64_t size, uint8_t** run) noexcept {
    *run = static_cast<uint8_t*>(IccAllocZeroed(size, 1, __LINE__));
    if (*run == nullptr) return ERR_FAILURE;
    return IccWriteCurveSet(*run, static_cast<const uint8_t*>(records), count);
}

/// Puts an element into allData and returns its offset as the image has it.
uint32_t PlaceElement(const ClrIccTagLutAToB* lut, uint64_t place, const uint8_t* element, uint64_t size) noexcept {
    HostCopy(lut->allData + place, element, size);
    return IccSwap(static_cast<uint32_t>(kHead + place));
}

int32_t MakeElements(ClrIccTagLutAToB* lut, ClrIccTagLutAToB* from, const CurveCounts& counts, const Layout& layout,
                     Scratch* scratch) noexcept {
    int32_t result = MakeRun(from->curvesB, counts.connection, layout.sizeB, &scratch->curvesB);
    if (result != CLR_SUCCESS) return result;
    lut->offsetB = PlaceElement(lut, 0, scratch->curvesB, layout.sizeB);

    scratch->matrix = static_cast<uint8_t*>(IccAlloc(kMatrixSize, 1, __LINE__));
    if (scratch->matrix == nullptr) return ERR_FAILURE;
    result = IccMatrixToImage(scratch->matrix, from->matrix);
    if (result != CLR_SUCCESS) return result;
    lut->offsetMatrix = PlaceElement(lut, layout.sizeB, scratch->matrix, kMatrixSize);

    result = MakeRun(from->curvesM, counts.connection, layout.sizeM, &scratch->curvesM);
    if (result != CLR_SUCCESS) return result;
    lut->offsetM = PlaceElement(lut, layout.PlaceM(), scratch->curvesM, layout.sizeM);

    scratch->clut = static_cast<uint8_t*>(IccAllocZeroed(layout.sizeClut, 1, __LINE__));
    if (scratch->clut == nullptr) return ERR_FAILURE;
    IccClutToImage(scratch->clut, static_cast<ClrIccClut*>(from->clut), from->inputChannels, from->outputChannels);
    lut->offsetClut = PlaceElement(lut, layout.PlaceClut(), scratch->clut, layout.sizeClut);

    result = MakeRun(from->curvesA, counts.device, layout.sizeA, &scratch->curvesA);
    if (result != CLR_SUCCESS) return result;
    lut->offsetA = PlaceElement(lut, layout.PlaceA(), scratch->curvesA, layout.sizeA);
    return CLR_SUCCESS;
}

int32_t MakeLut(void* image, void* host, const CurveCounts& counts) noexcept {
    auto* lut = static_cast<ClrIccTagLutAToB*>(image);
    auto* from = static_cast<ClrIccTagLutAToB*>(host);
    if (!CanBeMade(from, counts)) return ERR_INVALID_PARAMETER;
    const Layout layout = {
        IccRunSize(from->curvesB, counts.connection), IccRunSize(from->curvesM, counts.connection),
        IccClutSize(static_cast<const uint8_t*>(from->clut), from->inputChannels, from->outputChannels),
        IccRunSize(from->curvesA, counts.device)};
    if (layout.All() > UINT32_MAX - kHead) return ERR_INVALID_PARAMETER;

    lut->inputChannels = from->inputChannels;
    lut->outputChannels = from->outputChannels;
    lut->allData = static_cast<uint8_t*>(IccAllocZeroed(layout.All(), 1, __LINE__));
    if (lut->allData == nullptr) return ERR_FAILURE;
    Scratch scratch = {};
    const int32_t result = MakeElements(lut, from, counts, layout, &scratch);
    if (result != CLR_SUCCESS) return result;

    lut->curvesB = IccNewCopy<uint8_t>(scratch.curvesB, layout.sizeB, __LINE__);
    lut->curvesM = IccNewCopy<uint8_t>(scratch.curvesM, layout.sizeM, __LINE__);
    lut->clut = IccNewCopy<uint8_t>(scratch.clut, layout.sizeClut, __LINE__);
    lut->curvesA = IccNewCopy<uint8_t>(scratch.curvesA, layout.sizeA, __LINE__);
    if (lut->curvesB == nullptr || lut->curvesM == nullptr || lut->clut == nullptr || lut->curvesA == nullptr) {
        return ERR_FAILURE;
    }
    HostCopy(lut->matrix, scratch.matrix, kMatrixSize);
    for (uint8_t* block : {scratch.curvesB, scratch.matrix, scratch.curvesM, scratch.clut, scratch.curvesA}) {
        HostFree(block, __LINE__, kIccSource);
    }
    return CLR_SUCCESS;
}

// --- Writing --------------------------------------------------------------------------------------------------------

/// Adds a run of an image record to the size of a body, if it is there.
bool AddRun(const void* run, uint32_t offset, uint32_t count, uint64_t* bodySize) noexcept {
    if (offset == 0) return true;
    const auto* bytes = static_cast<const uint8_t*>(run);
    uint64_t size = 0;
    if (!IccCurveSetSize(IccBytes(bytes, IccWrittenRunSize(bytes, count)), count, true, &size)) return false;
    *bodySize += size;
    return true;
}

int32_t WriteLut(ClrIccProfile* profile, const void* image, uint32_t tagSignature, const CurveCounts& counts) noexcept {
    const auto* lut = static_cast<const ClrIccTagLutAToB*>(image);
    uint64_t size = kHead + (lut->offsetMatrix != 0 ? kMatrixSize : 0);
    if (lut->offsetClut != 0) {
        size += IccClutSize(static_cast<const uint8_t*>(lut->clut), lut->inputChannels, lut->outputChannels);
    }
    if (!AddRun(lut->curvesA, lut->offsetA, counts.device, &size) ||
        !AddRun(lut->curvesM, lut->offsetM, counts.connection, &size) ||
        !AddRun(lut->curvesB, lut->offsetB, counts.connection, &size)) {
        return ERR_INVALID_PARAMETER;
    }
    // "mAB " has its padding 48 bytes further on than "mBA ", where its block has ended: zero bytes in both.
    IccBody body(profile, tagSignature, size, true);
    body.Put(0, lut, kHead);
    body.Put(kHead, lut->allData, size - kHead);
    return body.Result();
}

CurveCounts CountsOfAToB(const void* record) noexcept {
    const auto* lut = static_cast<const ClrIccTagLutAToB*>(record);
    return {lut->outputChannels, lut->inputChannels};
}

CurveCounts CountsOfBToA(const void* record) noexcept {
    const auto* lut = static_cast<const ClrIccTagLutAToB*>(record);
    return {lut->inputChannels, lut->outputChannels};
}

}  // namespace

int32_t IccMatrixToImage(uint8_t* destination, void* matrix) noexcept {
    if (destination == nullptr || matrix == nullptr) return ERR_INVALID_PARAMETER;
    IccSwapCopy<uint32_t>(matrix, matrix, kMatrixWords);
    HostCopy(destination, matrix, kMatrixSize);
    return CLR_SUCCESS;
}

int32_t IccReadLutAToB(IccBytes body, void* record) noexcept {
    auto* lut = static_cast<ClrIccTagLutAToB*>(record);
    ElementReader elements(body, lut);
    if (!elements.ReadHead() || !elements.ReadClut()) return elements.Result();
    const CurveCounts counts = CountsOfAToB(lut);
    if (!elements.ReadCurves(lut->offsetA, counts.device, IccCurveKind::kA)) return elements.Result();
    if (lut->offsetClut == 0 && lut->inputChannels != lut->outputChannels) return ERR_BAD_TAG;
    if (!elements.ReadMatrix()) return elements.Result();
    if (!elements.ReadCurves(lut->offsetM, counts.connection, IccCurveKind::kM)) return elements.Result();
    if (lut->offsetB == 0) return ERR_BAD_TAG;
    elements.ReadCurves(lut->offsetB, counts.connection, IccCurveKind::kB);
    return elements.Result();
}
int32_t IccMakeLutAToB(void* image, void* host) noexcept { return MakeLut(image, host, CountsOfAToB(host)); }
int32_t IccWriteLutAToB(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteLut(profile, image, tagSignature, CountsOfAToB(image));
}
void IccFreeLutAToB(void* record) noexcept {
    auto* lut = static_cast<ClrIccTagLutAToB*>(record);
    IccRelease(lut->allData, __LINE__);
    lut->allData = nullptr;
    IccRelease(lut->clut, __LINE__);
    lut->clut = nullptr;
    IccRelease(lut->curvesA, __LINE__);
    lut->curvesA = nullptr;
    IccRelease(lut->curvesB, __LINE__);
    lut->curvesB = nullptr;
    IccRelease(lut->curvesM, __LINE__);
    lut->curvesM = nullptr;
}

int32_t IccReadLutBToA(IccBytes body, void* record) noexcept {
    auto* lut = static_cast<ClrIccTagLutAToB*>(record);
    ElementReader elements(body, lut);
    if (!elements.ReadHead()) return elements.Result();
    if (lut->offsetB == 0) return ERR_BAD_TAG;
    const CurveCounts counts = CountsOfBToA(lut);
    if (!elements.ReadCurves(lut->offsetB, counts.connection, IccCurveKind::kB)) return elements.Result();
    if (!elements.ReadMatrix()) return elements.Result();
    if (!elements.ReadCurves(lut->offsetM, counts.connection, IccCurveKind::kM)) return elements.Result();
    if (!elements.ReadClut()) return elements.Result();
    elements.ReadCurves(lut->offsetA, counts.device, IccCurveKind::kA);
    return elements.Result();
}
int32_t IccMakeLutBToA(void* image, void* host) noexcept { return MakeLut(image, host, CountsOfBToA(host)); }
int32_t IccWriteLutBToA(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    return WriteLut(profile, image, tagSignature, CountsOfBToA(image));
}
void IccFreeLutBToA(void* record) noexcept { IccFreeLutAToB(record); }

}  // namespace zv
