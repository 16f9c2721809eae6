// Records that were read, as they are to be set again.
#pragma once

#include <cstdint>
#include <vector>

#include "zvicc.h"

namespace zv::test {

/// Curve records in steps of 16 bytes: the upper half of a record's pointer is the type of the next one.
class IccRunRecords {
public:
    IccRunRecords() = default;
    /// `count` curves of a run as a reader leaves it, which must stay.
    IccRunRecords(const void* run, uint32_t count);

    /// The fields behind the type count for every record, the type for the first one alone.
    void Add(const void* curveRecord);
    /// Null without records.
    void* Records() { return bytes_.empty() ? nullptr : bytes_.data(); }

private:
    std::vector<uint8_t> bytes_;
};

/// Whether Zv_SetICCTagData stores what was read, so that the body is the same but for reserved bytes and what no field
/// counts.
bool IccSurvivesSetting(const ClrIccTagRecord& read, uint32_t type);

/// A host-form record for Zv_SetICCTagData, from one that Zv_GetICCTagData has filled and that must stay. Most types
/// are taken as they are. Texts of "mluc" get the order of the host and those of "pseq" that of the image, elements of
/// "mAB " and "mBA " become records.
class IccSettableRecord {
public:
    IccSettableRecord(const ClrIccTagRecord& read, uint32_t type);
    ~IccSettableRecord();
    IccSettableRecord(const IccSettableRecord&) = delete;
    IccSettableRecord& operator=(const IccSettableRecord&) = delete;

    ClrIccTagRecord* Get() { return &record_; }
    ClrIccTagRecord* operator->() { return &record_; }

private:
    void TakeElements(uint32_t type);
    void TakeSequence();
    void TakeText();

    ClrIccTagRecord record_;
    IccRunRecords curvesB_, curvesM_, curvesA_;
    ClrIccClut clut_;
    std::vector<uint8_t> values_;
    std::vector<ClrIccProfileSeqEntry> entries_;
    std::vector<ClrIccTagRecord> texts_;
};

}  // namespace zv::test
