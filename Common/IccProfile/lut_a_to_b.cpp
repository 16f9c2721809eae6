// "mAB " and "mBA ": runs of curves, a matrix, a grid.
#include <algorithm>

#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccClut) == 28 && offsetof(ClrIccClut, precision) == 16);
static_assert(offsetof(ClrIccClut, clutPad) == 17 && offsetof(ClrIccClut, data) == 20);
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

constexpr uint32_t kCurv = IccSignature("curv");
constexpr uint32_t kPara = IccSignature("para");
constexpr uint64_t kHead = 32;
constexpr uint64_t kCurveHead = 12;
constexpr uint64_t kClutHead = 20;
constexpr uint32_t kMatrixWords = 12;
constexpr uint64_t kMatrixSize = 48;
constexpr uint8_t kMostClutInputs = 16;
/// A caller's curve record has 20 bytes, and the next one begins 16 on.
constexpr uint64_t kRecordStep = 16;
/// Bounds sizes of grids, so that what is added to them cannot overflow.
constexpr uint64_t kTooLarge = uint64_t{1} << 40;

/// Bytes of the values of a grid.
uint64_t ClutValueBytes(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    if (inputChannels > kMostClutInputs) return kTooLarge;
    uint64_t product = uint64_t{block[offsetof(ClrIccClut, precision)]} * outputChannels;
    for (uint8_t i = 0; i < inputChannels; ++i) product = std::min(product * block[i], kTooLarge);
    return product;
}

/// A run of curves in image bytes, by what each element really takes. Only for runs that are known to be whole.
uint64_t WrittenRunSize(const uint8_t* run, uint32_t count) noexcept {
    uint64_t size = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* element = run + size;
        const bool parametric = IccReadU32(element) == kPara;
        const uint64_t values =
            parametric ? sizeof(uint32_t) *
                             static_cast<uint64_t>(Zv_GetParametricCurveNumberOfParameters(IccReadU16(element + 8)))
                       : sizeof(uint16_t) * uint64_t{IccReadU32(element + 8)};
        size += IccRoundUp4(kCurveHead + values);
    }
    return size;
}

// --- Reading --------------------------------------------------------------------------------------------------------

/// Makes room behind the first `length` bytes of allData; null without memory.
uint8_t* Grow(ClrIccTagLutAToB* record, int64_t length, uint64_t count) noexcept {
    auto* all =
        static_cast<uint8_t*>(HostRealloc(record->allData, length + static_cast<int64_t>(count), __LINE__, kIccSource));
    if (all == nullptr) return nullptr;
    record->allData = all;
    return all + length;
}

/// The length after it, or a negative code.
int64_t Append(ClrIccTagLutAToB* record, int64_t length, const void* bytes, uint64_t count) noexcept {
    uint8_t* place = Grow(record, length, count);
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
        if (!block.Has(0, kClutHead)) return Fail(ERR_INVALID_PARAMETER);
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

/// Appends what a reader made of a curve: head and values in the order of the host. Padding is zero.
int64_t AppendCurve(ClrIccTagLutAToB* record, int64_t length, const void* head, const void* values, uint64_t count,
                    uint64_t size) noexcept {
    uint8_t* place = Grow(record, length, size);
    if (place == nullptr) return ERR_FAILURE;
    HostCopy(place, head, kCurveHead);
    if (count != 0) HostCopy(place + kCurveHead, values, count);
    HostFill(place + kCurveHead + count, 0, size - kCurveHead - count);
    return length + static_cast<int64_t>(size);
}

/// Reads a curve, appends it and tells its size in the image.
int64_t ReadCurveOf(ClrIccTagLutAToB* record, int64_t length, IccBytes bytes, uint64_t* size) noexcept {
    if (!bytes.Has(0, sizeof(uint32_t))) return ERR_INVALID_PARAMETER;
    // Everything that is no formula is taken for a table.
    const IccTagType& type = IccTagTypeOf(IccReadU32(bytes.At(0)) == kPara ? kPara : kCurv);
    ClrIccTagRecord scratch;
    int64_t result = IccReadTag(type, bytes, &scratch);
    if (result == CLR_SUCCESS && type.signature == kPara) {
        const uint64_t count = uint64_t{IccParametricSize(&scratch)} - 4;
        *size = kCurveHead + count;
        result = AppendCurve(record, length, &scratch, scratch.parametricCurve.parameters, count, *size);
    } else if (result == CLR_SUCCESS) {
        const uint64_t count = sizeof(uint16_t) * uint64_t{scratch.curve.entryCount};
        *size = IccRoundUp4(kCurveHead + count);
        result = AppendCurve(record, length, &scratch, scratch.curve.entries, count, *size);
    }
    type.release(&scratch);
    return result;
}

// --- Making ---------------------------------------------------------------------------------------------------------

/// Bytes of the caller's run, of which the last record is whole.
uint64_t RecordBytes(uint32_t count) noexcept {
    return count == 0 ? 0 : kRecordStep * (count - 1) + sizeof(ClrIccTagCurve);
}

/// A caller's record of either kind, out of its place among others.
ClrIccTagRecord CurveRecordAt(const uint8_t* records, uint32_t index) noexcept {
    ClrIccTagRecord record = {};
    HostCopy(&record, records + kRecordStep * index, sizeof(ClrIccTagCurve));
    return record;
}

/// Bytes of a curve of a run. Only the low byte of a table's count counts.
uint64_t WrittenSize(const ClrIccTagRecord& record) noexcept {
    if (record.typeSig == kPara) return IccRoundUp4(uint64_t{IccParametricSize(&record)} + 8);
    return IccRoundUp4(kCurveHead + sizeof(uint16_t) * uint64_t{record.curve.entryCount & 0xFF});
}

/// Whether records and what they point to can be read, and fit into their elements. Records that do not stand in the
/// steps of a run are found by pointers that lead nowhere.
bool IsRun(const void* records, uint32_t count) noexcept {
    if (!IccReadable(records, RecordBytes(count))) return false;
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccTagRecord record = CurveRecordAt(static_cast<const uint8_t*>(records), i);
        if (record.typeSig == kPara) {
            const ClrIccTagParametricCurve& curve = record.parametricCurve;
            const uint64_t parameters = uint64_t{IccParametricSize(&curve)} - 4;
            if (parameters == 0 || !IccReadable(curve.parameters, parameters)) return false;
            continue;
        }
        const uint64_t values = sizeof(uint16_t) * uint64_t{record.curve.entryCount};
        if (kCurveHead + values > WrittenSize(record)) return false;
        const uint16_t* entries = record.curve.entries;
        if ((entries != nullptr || values != 0) && !IccReadable(entries, std::max<uint64_t>(values, 1))) return false;
    }
    return true;
}

uint64_t RunSize(const void* records, uint32_t count) noexcept {
    uint64_t size = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccTagRecord record = CurveRecordAt(static_cast<const uint8_t*>(records), i);
        const uint64_t body = record.typeSig == kPara ? IccParametricSize(&record)
                                                      : sizeof(uint16_t) * uint64_t{record.curve.entryCount} + 4;
        size += IccRoundUp4(body) + 8;
    }
    return size;
}

/// Writes one curve of a run.
int32_t WriteCurve(uint8_t* destination, ClrIccTagRecord* host, uint64_t size) noexcept {
    const bool parametric = host->typeSig == kPara;
    const uint32_t type = parametric ? kPara : kCurv;
    ClrIccTagRecord image;
    int32_t result = Zv_CreateICCTagData(&image, host, type);
    if (result == CLR_SUCCESS) {
        auto* block = static_cast<uint8_t*>(IccAllocZeroed(size, 1, __LINE__));
        if (block == nullptr) {
            result = ERR_FAILURE;
        } else {
            // A formula's number is looked for in the order of the host, and parameters of types 1 to 4 stay behind.
            result = parametric ? Zv_ConvertParametricCurveTypeToBuffer(block, &image.parametricCurve)
                                : Zv_ConvertCurveTypeToBuffer(block, &image.curve);
            if (result == CLR_SUCCESS) HostCopy(destination, block, size);
            HostFree(block, __LINE__, kIccSource);
        }
    }
    Zv_FreeICCTagType(&image, type);
    return result;
}

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
    if (!IsRun(from->curvesB, counts.connection) || !IsRun(from->curvesM, counts.connection) ||
        !IsRun(from->curvesA, counts.device) || !IccReadable(from->clut, sizeof(ClrIccClut))) {
        return false;
    }
    const auto* clut = static_cast<const ClrIccClut*>(from->clut);
    const uint64_t values =
        ClutValueBytes(static_cast<const uint8_t*>(from->clut), from->inputChannels, from->outputChannels);
    if (values >= kTooLarge || !IccReadable(clut->data, values)) return false;
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
        RunSize(from->curvesB, counts.connection), RunSize(from->curvesM, counts.connection),
        IccClutSize(static_cast<const uint8_t*>(from->clut), from->inputChannels, from->outputChannels),
        RunSize(from->curvesA, counts.device)};
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
    if (!IccCurveSetSize(IccBytes(bytes, WrittenRunSize(bytes, count)), count, true, &size)) return false;
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

uint64_t IccClutSize(const uint8_t* block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    return IccRoundUp4(ClutValueBytes(block, inputChannels, outputChannels) + kClutHead);
}

int32_t IccClutFromImage(uint8_t* destination, IccBytes block, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    if (!block.Has(0, kClutHead)) return ERR_INVALID_PARAMETER;
    const uint64_t values = ClutValueBytes(block.At(0), inputChannels, outputChannels);
    if (!block.Has(kClutHead, values)) return ERR_INVALID_PARAMETER;
    const uint64_t size = IccClutSize(block.At(0), inputChannels, outputChannels);
    ClrIccClut clut = {};
    HostCopy(clut.gridPoints, block.At(0), sizeof clut.gridPoints);
    clut.precision = *block.At(offsetof(ClrIccClut, precision));
    IccReverseCopy(clut.clutPad, block.At(offsetof(ClrIccClut, clutPad)), sizeof clut.clutPad);
    auto* data = static_cast<uint8_t*>(IccAllocZeroed(size - kClutHead, 1, __LINE__));
    if (data == nullptr) return ERR_FAILURE;
    // Padding that the block has is taken along.
    const uint64_t there = std::min(size, block.Size()) - kClutHead;
    HostCopy(data, block.At(kClutHead), there);
    int32_t result = CLR_SUCCESS;
    if (destination != nullptr) {
        if (clut.precision != 1) IccSwapCopy<uint16_t>(data, data, (size - kClutHead) / sizeof(uint16_t));
        clut.data = data;
        result = Zv_ConvertCLUTToBuffer(destination, &clut, clut.precision, size - kClutHead);
    }
    HostFree(data, __LINE__, kIccSource);
    return result;
}

int32_t IccClutToImage(uint8_t* destination, ClrIccClut* clut, uint8_t inputChannels, uint8_t outputChannels) noexcept {
    const uint64_t values = ClutValueBytes(reinterpret_cast<const uint8_t*>(clut), inputChannels, outputChannels);
    if (clut->precision != 1) IccSwapCopy<uint16_t>(clut->data, clut->data, values / sizeof(uint16_t));
    // A precision that is refused here leaves the destination as it was.
    Zv_ConvertCLUTToBuffer(destination, clut, clut->precision, values);
    return CLR_SUCCESS;
}

int32_t IccMatrixToImage(uint8_t* destination, void* matrix) noexcept {
    if (destination == nullptr || matrix == nullptr) return ERR_INVALID_PARAMETER;
    IccSwapCopy<uint32_t>(matrix, matrix, kMatrixWords);
    HostCopy(destination, matrix, kMatrixSize);
    return CLR_SUCCESS;
}

int64_t IccReadCurveSet(ClrIccTagLutAToB* record, int64_t length, IccBytes bytes, uint32_t count,
                        IccCurveKind kind) noexcept {
    const int64_t begin = length;
    uint64_t place = 0;
    for (uint32_t i = 0; i < count; ++i) {
        uint64_t size = 0;
        length = ReadCurveOf(record, length, bytes.From(place), &size);
        if (length < 0) return length;
        place += size;
    }
    const auto runSize = static_cast<uint64_t>(length - begin);
    constexpr uint64_t kRoom = 8;  // times the run: curves as records with pointers would fit too
    auto* run = static_cast<uint8_t*>(IccAlloc(runSize, kRoom, __LINE__));
    if (run == nullptr) return ERR_FAILURE;
    if (runSize != 0) {
        HostCopy(run, record->allData + begin, runSize);
        // Zero as far as records would reach, for who takes the run for such; the rest is never touched.
        HostFill(run + runSize, 0, std::min((kRoom - 1) * runSize, RecordBytes(count)));
    }
    switch (kind) {
        case IccCurveKind::kA:
            record->curvesA = run;
            break;
        case IccCurveKind::kB:
            record->curvesB = run;
            break;
        case IccCurveKind::kM:
            record->curvesM = run;
            break;
    }
    return length;
}

int32_t IccWriteCurveSet(uint8_t* destination, const uint8_t* records, uint32_t count) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        ClrIccTagRecord record = CurveRecordAt(records, i);
        const uint64_t size = WrittenSize(record);
        const int32_t result = WriteCurve(destination, &record, size);
        if (result != CLR_SUCCESS) return result;
        destination += size;
    }
    return CLR_SUCCESS;
}

bool IccCurveSetSize(IccBytes run, uint32_t count, bool bigEndian, uint64_t* size) noexcept {
    *size = 0;
    if (run.At(0) == nullptr) return true;
    for (uint32_t i = 0; i < count; ++i) {
        if (!run.Has(*size, kCurveHead)) return false;
        const uint8_t* element = run.At(*size);
        const auto number = [&](uint64_t offset) {
            const auto word = IccLoad<uint32_t>(element + offset);
            return bigEndian ? IccSwap(word) : word;
        };
        const uint64_t body =
            number(0) == kPara ? IccParametricSize(element) : sizeof(uint16_t) * uint64_t{number(8)} + 4;
        *size += IccRoundUp4(body) + 8;
    }
    return *size <= run.Size();
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

using namespace zv;

int32_t Zv_ConvertCLUTToBuffer(void* destination, const ClrIccClut* clut, int32_t precision, uint64_t length) {
    if (destination == nullptr || clut == nullptr || (precision != 1 && precision != 2)) return ERR_INVALID_PARAMETER;
    if (!IccReadable(clut->data, length)) return ERR_INVALID_PARAMETER;
    HostCopy(destination, clut, kClutHead);
    if (length != 0) HostCopy(static_cast<uint8_t*>(destination) + kClutHead, clut->data, length);
    return CLR_SUCCESS;
}
