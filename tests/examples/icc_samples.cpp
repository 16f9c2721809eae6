#include "icc_samples.h"

#include <map>

namespace zvtest {

namespace {

uint8_t bytes[4096];
uint16_t words[4096];
uint32_t longs[64];
uint64_t doubles[8];

ClrIccTagArray listOf(void* values, uint32_t count) {
    ClrIccTagArray record = {};
    record.values = values;
    record.count = count;
    return record;
}

template <class Record>
int32_t add(TestProfile* profile, const char* type, Record record) {
    return profile->set("A2B0", type, &record);
}

int32_t setChromaticity(TestProfile* profile) {
    ClrIccTagChromaticity record = {};
    record.channels = 3;
    record.coordinates = longs;
    return add(profile, "chrm", record);
}

int32_t setColorantOrder(TestProfile* profile) {
    ClrIccTagColorantOrder record = {};
    record.count = 5;
    record.order = bytes;
    return add(profile, "clro", record);
}

int32_t setColorantTable(TestProfile* profile) {
    ClrIccColorantEntry entries[3] = {};
    ClrIccTagColorantTable record = {};
    record.count = 3;
    record.entries = entries;
    return add(profile, "clrt", record);
}

int32_t setCurve(TestProfile* profile) {
    ClrIccTagCurve record = {};
    record.entryCount = 3;
    record.entries = words;
    return add(profile, "curv", record);
}

int32_t setData(TestProfile* profile) {
    ClrIccTagData record = {};
    record.bytes = bytes;
    record.byteCount = 10;
    return add(profile, "data", record);
}

int32_t setLutAToB(TestProfile* profile, const char* type) {
    const std::vector<uint8_t> one = runOf(3, 1, words), none = runOf(3, 0, nullptr);
    std::vector<uint8_t> runA = one, runM = none, runB = none;
    ClrIccClut clut = {{2, 2, 2}, 2, {}, words};
    ClrIccTagLutAToB record = {};
    record.inputChannels = 3;
    record.outputChannels = 3;
    record.curvesA = runA.data();
    record.curvesM = runM.data();
    record.curvesB = runB.data();
    record.clut = &clut;
    return add(profile, type, record);
}

template <class Record, class Value>
int32_t setLut(TestProfile* profile, const char* type, uint16_t entries, Value* values) {
    Record record = {};
    record.inputChannels = 3;
    record.outputChannels = 3;
    record.gridPoints = 2;
    record.inputEntries = entries;
    record.outputEntries = entries;
    record.inputTables = values;
    record.clut = values;
    record.outputTables = values;
    return add(profile, type, record);
}

int32_t setMluc(TestProfile* profile) {
    ClrIccMlucEntry entry = {0x656E, 0x5553, 22, 28};
    ClrIccTagMultiLocalized record = {};
    record.recordCount = 1;
    record.recordSize = 12;
    record.records = &entry;
    record.text = words;
    return add(profile, "mluc", record);
}

int32_t setNamedColors(TestProfile* profile) {
    ClrIccNamedColorEntry colors[2] = {};
    for (ClrIccNamedColorEntry& color : colors) color.device = words;
    ClrIccTagNamedColor2 record = {};
    record.colorCount = 2;
    record.deviceCoords = 4;
    record.colors = colors;
    return add(profile, "ncl2", record);
}

int32_t setParametric(TestProfile* profile) {
    ClrIccTagParametricCurve record = {};
    record.parameters = longs;
    return add(profile, "para", record);
}

int32_t setResponses(TestProfile* profile) {
    ClrIccResponse list[1] = {};
    ClrIccResponse* lists[3] = {list, list, list};
    ClrIccResponseCurve curve = {};
    curve.counts = longs;
    curve.patches = longs;
    curve.responses = lists;
    ClrIccTagResponseCurveSet record = {};
    record.channels = 3;
    record.types = 1;
    record.curves = &curve;
    return add(profile, "rcs2", record);
}

int32_t setSignature(TestProfile* profile) {
    ClrIccTagSignature record = {};
    record.value = 0x41;
    return add(profile, "sig ", record);
}

int32_t setText(TestProfile* profile) {
    char text[] = "abcd\0...";  // and the two zeros
    char given[10] = {};
    std::memcpy(given, text, 8);
    ClrIccTagText record = {};
    record.text = given;
    return add(profile, "text", record);
}

}  // namespace

ClrIccTagArray* noBytes() {
    static ClrIccTagArray record;
    record = {};
    return &record;
}

std::vector<uint8_t> runOf(uint32_t count, uint32_t entryCount, const uint16_t* entries) {
    std::vector<uint8_t> run(16 * count + 4);
    const uint32_t type = signatureOf("curv");
    std::memcpy(run.data(), &type, sizeof type);
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(run.data() + 16 * i + 8, &entryCount, sizeof entryCount);
        std::memcpy(run.data() + 16 * i + 12, &entries, sizeof entries);
    }
    return run;
}

int32_t setSequence(TestProfile* profile, uint32_t manufacturerUnits, uint32_t modelUnits) {
    uint16_t letters[26];
    for (uint16_t i = 0; i < 26; ++i) letters[i] = static_cast<uint16_t>('a' + i);
    ClrIccMlucEntry entry = {0x656E, 0x5553, manufacturerUnits * 2, 28};
    ClrIccTagMultiLocalized text = {};
    text.recordCount = 1;
    text.recordSize = 12;
    text.records = &entry;
    text.text = letters;
    const ImageRecord manufacturer("mluc", &text);
    entry.length = modelUnits * 2;
    const ImageRecord model("mluc", &text);

    ClrIccProfileSeqEntry one = {};
    one.manufacturerText = manufacturer.record.multiLocalized;
    one.modelText = model.record.multiLocalized;
    ClrIccTagProfileSequence record = {};
    record.count = 1;
    record.entries = &one;
    return profile->set("pseq", "pseq", &record);
}

int32_t setSample(TestProfile* profile, const std::string& type) {
    if (type == "chrm") return setChromaticity(profile);
    if (type == "clro") return setColorantOrder(profile);
    if (type == "clrt") return setColorantTable(profile);
    if (type == "curv") return setCurve(profile);
    if (type == "data") return setData(profile);
    if (type == "dtim") return add(profile, "dtim", ClrIccTagDateTime{});
    if (type == "mAB " || type == "mBA ") return setLutAToB(profile, type.c_str());
    if (type == "meas") return add(profile, "meas", ClrIccTagMeasurement{});
    if (type == "mft1") return setLut<ClrIccTagLut8>(profile, "mft1", 256, bytes);
    if (type == "mft2") return setLut<ClrIccTagLut16>(profile, "mft2", 3, words);
    if (type == "mluc") return setMluc(profile);
    if (type == "ncl2") return setNamedColors(profile);
    if (type == "para") return setParametric(profile);
    if (type == "pseq") return setSequence(profile, 7, 7);
    if (type == "rcs2") return setResponses(profile);
    if (type == "sig ") return setSignature(profile);
    if (type == "text") return setText(profile);
    if (type == "view") return add(profile, "view", ClrIccTagViewingConditions{});
    // Lists: three elements of whatever size.
    void* values = type == "ui64" ? static_cast<void*>(doubles) : static_cast<void*>(longs);
    return add(profile, type.c_str(), listOf(values, 3));
}

}  // namespace zvtest
