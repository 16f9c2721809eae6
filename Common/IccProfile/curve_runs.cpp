// The runs of curves of "mAB " and "mBA ".
#include <algorithm>

#include "Common/IccProfile/lut_elements.h"
#include "Common/IccProfile/tag_types.h"

namespace zv {

namespace {

constexpr uint32_t kCurv = IccSignature("curv");
constexpr uint32_t kPara = IccSignature("para");
constexpr uint64_t kCurveHead = 12;
/// A caller's curve record has 20 bytes, and the next one begins 16 on.
constexpr uint64_t kRecordStep = 16;

/// Appends what a reader made of a curve: head and values in the order of the host. Padding is zero.
int64_t AppendCurve(ClrIccTagLutAToB* record, int64_t length, const void* head, const void* values, uint64_t count,
                    uint64_t size) noexcept {
    uint8_t* place = IccGrowAllData(record, length, size);
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

}  // namespace

uint8_t* IccGrowAllData(ClrIccTagLutAToB* record, int64_t length, uint64_t count) noexcept {
    auto* all =
        static_cast<uint8_t*>(HostRealloc(record->allData, length + static_cast<int64_t>(count), __LINE__, kIccSource));
    if (all == nullptr) return nullptr;
    record->allData = all;
    return all + length;
}

bool IccIsRun(const void* records, uint32_t count) noexcept {
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

uint64_t IccRunSize(const void* records, uint32_t count) noexcept {
    uint64_t size = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccTagRecord record = CurveRecordAt(static_cast<const uint8_t*>(records), i);
        const uint64_t body = record.typeSig == kPara ? IccParametricSize(&record)
                                                      : sizeof(uint16_t) * uint64_t{record.curve.entryCount} + 4;
        size += IccRoundUp4(body) + 8;
    }
    return size;
}

uint64_t IccWrittenRunSize(const uint8_t* run, uint32_t count) noexcept {
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

}  // namespace zv
