#include "tests/support/icc_settable_record.h"

#include <algorithm>
#include <cstring>

#include "tests/support/profile_builder.h"

namespace zv::test {

namespace {

constexpr size_t kCurveHead = 12;
constexpr size_t kStep = 16;
constexpr size_t kClutHead = 20;

/// A language may claim any size for its entry, and a body has it.
constexpr uint64_t kMostEntryBytes = 1 << 16;

void BoundEntrySize(ClrIccTagMultiLocalized* text) {
    if (uint64_t{text->recordSize} * text->recordCount > kMostEntryBytes) text->recordSize = 12;
}

size_t ClutValues(const uint8_t* block, uint8_t inputs, uint8_t outputs) {
    size_t size = size_t{block[16]} * outputs;
    for (uint8_t i = 0; i < inputs; ++i) size *= block[i];
    return size;
}

}  // namespace

IccRunRecords::IccRunRecords(const void* run, uint32_t count) {
    const auto* bytes = static_cast<const uint8_t*>(run);
    for (uint32_t i = 0; i < count; ++i) {
        ClrIccTagRecord record;
        std::memcpy(&record, bytes, kCurveHead);
        const uint8_t* values = bytes + kCurveHead;
        std::memcpy(reinterpret_cast<uint8_t*>(&record) + kCurveHead, &values, sizeof values);
        const bool parametric = record.typeSig == FourCc("para");
        const size_t size =
            parametric
                ? 4 * static_cast<size_t>(Zv_GetParametricCurveNumberOfParameters(record.parametricCurve.functionType))
                : (2 * size_t{record.curve.entryCount} + 3) / 4 * 4;
        Add(&record);
        bytes += kCurveHead + size;
    }
}

void IccRunRecords::Add(const void* curveRecord) {
    constexpr size_t kTail = sizeof(ClrIccTagCurve) - kStep;
    const size_t begin = bytes_.empty() ? 0 : bytes_.size() - kTail;
    const size_t skipped = bytes_.empty() ? 0 : kTail;
    bytes_.resize(begin + sizeof(ClrIccTagCurve));
    std::memcpy(bytes_.data() + begin + skipped, static_cast<const uint8_t*>(curveRecord) + skipped,
                sizeof(ClrIccTagCurve) - skipped);
}

bool IccSurvivesSetting(const ClrIccTagRecord& read, uint32_t type) {
    constexpr const char* kOthers[] = {"chrm", "data", "mAB ", "mBA ", "ncl2", "pseq", "rcs2", "sig ", "text", "ui64"};
    if (type == FourCc("para")) return read.parametricCurve.functionType == 0;
    if (type == FourCc("mluc")) return read.multiLocalized.recordCount == 0;
    return std::none_of(std::begin(kOthers), std::end(kOthers), [=](const char* name) { return type == FourCc(name); });
}

IccSettableRecord::IccSettableRecord(const ClrIccTagRecord& read, uint32_t type) : record_(read), clut_() {
    if (type == FourCc("mAB ") || type == FourCc("mBA ")) TakeElements(type);
    if (type == FourCc("pseq")) TakeSequence();
    if (type == FourCc("mluc")) TakeText();
}

IccSettableRecord::~IccSettableRecord() {
    for (ClrIccTagRecord& text : texts_) Zv_FreeICCTagType(&text, FourCc("mluc"));
}

void IccSettableRecord::TakeElements(uint32_t type) {
    ClrIccTagLutAToB& lut = record_.lutAToB;
    lut.allData = nullptr;
    const bool toConnection = type == FourCc("mAB ");
    const uint32_t connection = toConnection ? lut.outputChannels : lut.inputChannels;
    const uint32_t device = toConnection ? lut.inputChannels : lut.outputChannels;
    const auto take = [&](void* run, uint32_t count, IccRunRecords* records) -> void* {
        if (run == nullptr) return nullptr;
        *records = IccRunRecords(run, count);
        // Without curves any address serves.
        return count == 0 ? static_cast<void*>(&clut_) : records->Records();
    };
    lut.curvesB = take(lut.curvesB, connection, &curvesB_);
    lut.curvesM = take(lut.curvesM, connection, &curvesM_);
    lut.curvesA = take(lut.curvesA, device, &curvesA_);
    if (lut.clut != nullptr) {
        const auto* block = static_cast<const uint8_t*>(lut.clut);
        std::memcpy(&clut_, block, kClutHead);
        const uint8_t* values = block + kClutHead;
        values_.assign(values, values + ClutValues(block, lut.inputChannels, lut.outputChannels));
        clut_.data = values_.empty() ? static_cast<void*>(&clut_) : values_.data();
        lut.clut = &clut_;
    }
}

void IccSettableRecord::TakeSequence() {
    ClrIccTagProfileSequence& sequence = record_.profileSequence;
    entries_.assign(sequence.entries, sequence.entries + sequence.count);
    for (ClrIccProfileSeqEntry& entry : entries_) {
        for (auto* text : {&entry.manufacturerText, &entry.modelText}) {
            ClrIccTagRecord image;
            BoundEntrySize(text);
            Zv_CreateICCTagData(&image, text, FourCc("mluc"));
            *text = image.multiLocalized;
            texts_.push_back(image);
        }
    }
    if (!entries_.empty()) sequence.entries = entries_.data();
}

void IccSettableRecord::TakeText() {
    ClrIccTagMultiLocalized& mluc = record_.multiLocalized;
    BoundEntrySize(&mluc);
    if (mluc.recordCount == 0) return;
    size_t bytes = 0;
    for (uint32_t i = 0; i < mluc.recordCount; ++i) bytes += mluc.records[i].length;
    const auto* text = static_cast<const uint8_t*>(mluc.text);
    values_.assign(text, text + bytes);
    for (size_t i = 0; i + 1 < bytes; i += 2) std::swap(values_[i], values_[i + 1]);
    if (bytes != 0) mluc.text = values_.data();
}

}  // namespace zv::test
