// "mluc", and "pseq" that is made of it.
#include <algorithm>

#include "Common/IccProfile/tag_types.h"

static_assert(sizeof(ClrIccTagMultiLocalized) == 32 && offsetof(ClrIccTagMultiLocalized, recordCount) == 8);
static_assert(offsetof(ClrIccTagMultiLocalized, recordSize) == 12);
static_assert(offsetof(ClrIccTagMultiLocalized, records) == 16 && offsetof(ClrIccTagMultiLocalized, text) == 24);
static_assert(sizeof(ClrIccMlucEntry) == 12 && offsetof(ClrIccMlucEntry, country) == 2);
static_assert(offsetof(ClrIccMlucEntry, length) == 4 && offsetof(ClrIccMlucEntry, offset) == 8);
static_assert(sizeof(ClrIccProfileSeqEntry) == 84 && offsetof(ClrIccProfileSeqEntry, model) == 4);
static_assert(offsetof(ClrIccProfileSeqEntry, attributes) == 8 && offsetof(ClrIccProfileSeqEntry, technology) == 16);
static_assert(offsetof(ClrIccProfileSeqEntry, manufacturerText) == 20);
static_assert(offsetof(ClrIccProfileSeqEntry, modelText) == 52);
static_assert(offsetof(ClrIccTagProfileSequence, count) == 8);
static_assert(sizeof(ClrIccTagProfileSequence) == 20 && offsetof(ClrIccTagProfileSequence, entries) == 12);

namespace zv {

namespace {

constexpr uint32_t kMluc = IccSignature("mluc");
constexpr uint64_t kMlucHead = 16;
constexpr uint64_t kCounts = 8;  // of entries and of their bytes
constexpr uint64_t kUnit = 2;
constexpr uint64_t kDescriptionSize = offsetof(ClrIccProfileSeqEntry, manufacturerText);
static_assert(kDescriptionSize == 20);

bool IsHostForm(const ClrIccTagMultiLocalized* record) noexcept { return record->typeSig == kMluc; }
bool IsImageForm(const ClrIccTagMultiLocalized* record) noexcept { return record->typeSig == IccSwap(kMluc); }

uint64_t TextBytes(const ClrIccMlucEntry* entries, uint64_t count, bool hostForm) noexcept {
    uint64_t sum = 0;
    for (uint64_t i = 0; i < count; ++i) sum += hostForm ? entries[i].length : IccSwap(entries[i].length);
    return sum;
}

/// Entries of an image record and of the texts behind them.
struct ImageSizes {
    uint64_t entries;
    uint64_t text;
};

ImageSizes SizesOf(const ClrIccTagMultiLocalized* image) noexcept {
    if (image->records == nullptr) return {0, 0};
    const uint32_t count = IccSwap(image->recordCount);
    return {sizeof(ClrIccMlucEntry) * uint64_t{count}, TextBytes(image->records, count, false)};
}

void PutMluc(IccBody* body, uint64_t place, const ClrIccTagMultiLocalized* image) noexcept {
    const ImageSizes sizes = SizesOf(image);
    body->Put(place, image, kMlucHead);
    body->Put(place + kMlucHead, image->records, sizes.entries);
    body->Put(place + kMlucHead + sizes.entries, image->text, sizes.text);
}

/// From an element of "pseq" to the next one: behind its padding, and four bytes on where none is needed.
uint64_t ElementStep(const ClrIccTagMultiLocalized* image) noexcept {
    const uint64_t size = kIccTagHead + IccMlucSize(image);
    return size + IccPadding(size);
}

constexpr uint64_t kSequenceHead = 12;
constexpr uint64_t kMlucStep = 32;

/// Bytes of a "mluc" element behind its head.
uint64_t MlucSize(uint64_t count, uint64_t entrySize, const ClrIccMlucEntry* entries, bool hostForm) noexcept {
    if (entrySize == 0) return kCounts;
    return entrySize * count + kCounts + (entries != nullptr ? TextBytes(entries, count, hostForm) : 0);
}

/// Up to the next element, whatever type this one is of.
uint64_t ElementSize(IccBytes body) noexcept {
    if (!body.Has(0, kMlucHead)) return kMlucHead;
    const uint32_t count = IccReadU32(body.At(8));
    const bool whole = body.Has(kMlucHead, sizeof(ClrIccMlucEntry) * uint64_t{count});
    const auto* entries = reinterpret_cast<const ClrIccMlucEntry*>(body.At(kMlucHead));
    return IccRoundUp4(kIccTagHead + MlucSize(count, IccReadU32(body.At(12)), whole ? entries : nullptr, false));
}

/// An element that cannot be read counts as an empty one. Returns how far the next one is.
uint64_t ReadElement(IccBytes body, ClrIccTagMultiLocalized* record) noexcept {
    const uint64_t size = ElementSize(body);
    // Texts may run on past their element, as those of several languages do. Where its size does not count them, each
    // element could take the rest of the tag.
    const bool counted = body.Has(0, kMlucHead) && IccReadU32(body.At(12)) != 0;
    const IccBytes element = counted ? body : IccBytes(body.At(0), std::min(size, body.Size()));
    if (IccReadTag(IccTagTypeOf(kMluc), element, record) != CLR_SUCCESS) {
        IccFreeMluc(record);
        record->recordCount = 0;
    }
    return size;
}

/// Only the last entry counts, as sequences of one were what it was made for.
uint64_t SequenceSize(const ClrIccProfileSeqEntry* entries, uint32_t count) noexcept {
    uint64_t sum = 0;
    for (uint32_t i = 0; i < count; ++i) {
        sum = IccRoundUp4(IccMlucSize(&entries[i].manufacturerText)) + IccRoundUp4(IccMlucSize(&entries[i].modelText)) +
              36;
    }
    return sum + 4;
}

}  // namespace

uint64_t IccMlucSize(const ClrIccTagMultiLocalized* record) noexcept {
    if (record == nullptr) return 0;
    const bool hostForm = IsHostForm(record);
    const uint32_t count = record->recordCount;
    const uint32_t entrySize = record->recordSize;
    return MlucSize(hostForm ? count : IccSwap(count), hostForm ? entrySize : IccSwap(entrySize), record->records,
                    hostForm);
}

int32_t IccReadMluc(IccBytes body, void* record) noexcept {
    auto* mluc = static_cast<ClrIccTagMultiLocalized*>(record);
    if (!body.Has(0, kMlucHead)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(8));
    mluc->recordCount = count;
    mluc->recordSize = IccReadU32(body.At(12));
    if (count == 0) return CLR_SUCCESS;
    if (!body.Has(kMlucHead, sizeof(ClrIccMlucEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    mluc->records = static_cast<ClrIccMlucEntry*>(IccAlloc(sizeof(ClrIccMlucEntry), count, __LINE__));
    if (mluc->records == nullptr) return ERR_FAILURE;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* entry = body.At(kMlucHead + i * sizeof(ClrIccMlucEntry));
        mluc->records[i] = {IccReadU16(entry), IccReadU16(entry + 2), IccReadU32(entry + 4), IccReadU32(entry + 8)};
    }
    // All texts together, from that of the last entry on: right for one language, which is what profiles have.
    const uint64_t bytes = TextBytes(mluc->records, count, true);
    const uint32_t offset = mluc->records[count - 1].offset;
    if (!body.Has(offset, bytes)) return ERR_INVALID_PARAMETER;
    mluc->text = IccNewCopy<uint8_t>(body.At(offset), bytes, __LINE__);
    return mluc->text != nullptr ? CLR_SUCCESS : ERR_FAILURE;
}

int32_t IccMakeMluc(void* image, void* host) noexcept {
    auto* mluc = static_cast<ClrIccTagMultiLocalized*>(image);
    const auto* from = static_cast<const ClrIccTagMultiLocalized*>(host);
    const uint32_t count = from->recordCount;
    mluc->recordCount = IccSwap(count);
    mluc->recordSize = IccSwap(from->recordSize);
    if (count == 0) return CLR_SUCCESS;
    if (from->records == nullptr || from->text == nullptr) return ERR_INVALID_PARAMETER;
    if (!IccReadable(from->records, sizeof(ClrIccMlucEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    const uint64_t bytes = TextBytes(from->records, count, true);
    if (bytes > UINT32_MAX || !IccReadable(from->text, bytes)) return ERR_INVALID_PARAMETER;

    mluc->records = static_cast<ClrIccMlucEntry*>(IccAlloc(sizeof(ClrIccMlucEntry), count, __LINE__));
    if (mluc->records == nullptr) return ERR_FAILURE;
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccMlucEntry& entry = from->records[i];
        mluc->records[i] = {IccSwap(entry.language), IccSwap(entry.country), IccSwap(entry.length),
                            IccSwap(entry.offset)};
    }
    // The last byte of an odd sum belongs to no unit.
    mluc->text = IccAllocZeroed(bytes, 1, __LINE__);
    if (mluc->text == nullptr) return ERR_FAILURE;
    IccSwapCopy<uint16_t>(mluc->text, from->text, bytes / kUnit);
    return CLR_SUCCESS;
}

int32_t IccWriteMluc(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    // Under this signature "mluc" is an element of a body and no tag.
    if (tagSignature == IccSignature("pseq")) return ERR_INVALID_PARAMETER;
    const auto* mluc = static_cast<const ClrIccTagMultiLocalized*>(image);
    IccBody body(profile, tagSignature, kIccTagHead + IccMlucSize(mluc), true);
    PutMluc(&body, 0, mluc);
    return body.Result();
}

void IccFreeMluc(void* record) noexcept {
    auto* mluc = static_cast<ClrIccTagMultiLocalized*>(record);
    IccRelease(mluc->records, __LINE__);
    mluc->records = nullptr;
    IccRelease(mluc->text, __LINE__);
    mluc->text = nullptr;
}

int32_t IccCopyMluc(ClrIccTagMultiLocalized* destination, const ClrIccTagMultiLocalized* source) noexcept {
    HostCopy(destination, source, kMlucHead);
    destination->records = nullptr;
    destination->text = nullptr;
    const uint32_t count = IccSwap(source->recordCount);
    if (count == 0) return CLR_SUCCESS;
    // Pointers of anything else are no pointers.
    if (!IsImageForm(source)) return ERR_INVALID_PARAMETER;
    if (source->records == nullptr || source->text == nullptr) return ERR_INVALID_PARAMETER;
    if (!IccReadable(source->records, sizeof(ClrIccMlucEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    const uint64_t text = TextBytes(source->records, count, false);
    // The head is taken off twice, and the rest counted as units: only texts of 16 bytes come out whole.
    const auto units = static_cast<int64_t>(IccMlucSize(source) - 16 - uint64_t{IccSwap(source->recordSize)} * count);
    const uint64_t copied = units > 0 ? static_cast<uint64_t>(units) * kUnit : 0;
    if (copied > text || !IccReadable(source->text, text)) return ERR_INVALID_PARAMETER;

    destination->records = IccNewCopy<ClrIccMlucEntry>(source->records, count, __LINE__);
    if (destination->records == nullptr) return ERR_FAILURE;
    destination->text = IccAllocZeroed(text, 1, __LINE__);
    if (destination->text == nullptr) return ERR_FAILURE;
    if (copied != 0) HostCopy(destination->text, source->text, copied);
    return CLR_SUCCESS;
}

int32_t IccReadProfileSequence(IccBytes body, void* record) noexcept {
    auto* sequence = static_cast<ClrIccTagProfileSequence*>(record);
    if (!body.Has(0, kSequenceHead)) return ERR_INVALID_PARAMETER;
    const uint32_t count = IccReadU32(body.At(8));
    // An entry has its description and two elements, which are 16 bytes at the least.
    if (!body.Has(kSequenceHead, (kDescriptionSize + 2 * kMlucHead) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    sequence->entries =
        static_cast<ClrIccProfileSeqEntry*>(IccAllocZeroed(sizeof(ClrIccProfileSeqEntry), count, __LINE__));
    if (sequence->entries == nullptr) return ERR_FAILURE;
    sequence->count = count;
    uint64_t place = kSequenceHead;
    for (uint32_t i = 0; i < count; ++i) {
        ClrIccProfileSeqEntry* entry = &sequence->entries[i];
        if (!body.Has(place, kDescriptionSize)) return ERR_INVALID_PARAMETER;
        entry->manufacturer = IccReadU32(body.At(place));
        entry->model = IccReadU32(body.At(place + 4));
        IccReverseCopy(entry->attributes, body.At(place + 8), sizeof entry->attributes);
        entry->technology = IccReadU32(body.At(place + 16));
        place += kDescriptionSize;
        place += ReadElement(body.From(place), &entry->manufacturerText);
        place += ReadElement(body.From(place), &entry->modelText);
    }
    return CLR_SUCCESS;
}

int32_t IccMakeProfileSequence(void* image, void* host) noexcept {
    auto* sequence = static_cast<ClrIccTagProfileSequence*>(image);
    const auto* from = static_cast<const ClrIccTagProfileSequence*>(host);
    const uint32_t count = from->count;
    if (from->entries == nullptr) return ERR_INVALID_PARAMETER;
    if (!IccReadable(from->entries, sizeof(ClrIccProfileSeqEntry) * uint64_t{count})) return ERR_INVALID_PARAMETER;
    sequence->entries =
        static_cast<ClrIccProfileSeqEntry*>(IccAllocZeroed(sizeof(ClrIccProfileSeqEntry), count, __LINE__));
    if (sequence->entries == nullptr) return ERR_FAILURE;
    sequence->count = IccSwap(count);
    // Two streams of texts that go on by their own size, not by that of an entry.
    const auto* manufacturerText = reinterpret_cast<const uint8_t*>(&from->entries[0].manufacturerText);
    const auto* modelText = reinterpret_cast<const uint8_t*>(&from->entries[0].modelText);
    for (uint32_t i = 0; i < count; ++i) {
        const ClrIccProfileSeqEntry& source = from->entries[i];
        ClrIccProfileSeqEntry* entry = &sequence->entries[i];
        entry->manufacturer = IccSwap(source.manufacturer);
        entry->model = IccSwap(source.model);
        HostCopy(entry->attributes, source.attributes, sizeof entry->attributes);
        entry->technology = IccSwap(source.technology);
        ClrIccTagMultiLocalized text;
        HostCopy(&text, manufacturerText + i * kMlucStep, sizeof text);
        int32_t result = IccCopyMluc(&entry->manufacturerText, &text);
        if (result != CLR_SUCCESS) return result;
        HostCopy(&text, modelText + i * kMlucStep, sizeof text);
        result = IccCopyMluc(&entry->modelText, &text);
        if (result != CLR_SUCCESS) return result;
    }
    return CLR_SUCCESS;
}

int32_t IccWriteProfileSequence(ClrIccProfile* profile, const void* image, uint32_t tagSignature) noexcept {
    const auto* sequence = static_cast<const ClrIccTagProfileSequence*>(image);
    const uint32_t count = IccSwap(sequence->count);
    IccBody body(profile, tagSignature, kIccTagHead + SequenceSize(sequence->entries, count), true);
    body.Put(0, sequence, kSequenceHead);
    uint64_t place = kSequenceHead;
    for (uint32_t i = 0; i < count; ++i) {
        body.Put(place, &sequence->entries[0], kDescriptionSize);  // of the first entry each time
        place += kDescriptionSize;
        for (const auto* text : {&sequence->entries[i].manufacturerText, &sequence->entries[i].modelText}) {
            PutMluc(&body, place, text);
            place += ElementStep(text);
        }
    }
    return body.Result();
}

void IccFreeProfileSequence(void* record) noexcept {
    auto* sequence = static_cast<ClrIccTagProfileSequence*>(record);
    if (sequence->entries == nullptr) return;
    const bool hostForm = sequence->typeSig == IccSignature("pseq");
    const uint32_t count = hostForm ? sequence->count : IccSwap(sequence->count);
    for (uint32_t i = 0; i < count; ++i) {
        IccFreeMluc(&sequence->entries[i].manufacturerText);
        IccFreeMluc(&sequence->entries[i].modelText);
    }
    IccRelease(sequence->entries, __LINE__);
    sequence->entries = nullptr;
}

}  // namespace zv
