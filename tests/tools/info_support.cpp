#include "info_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "info_command.h"

namespace zvtest {

using namespace std::string_view_literals;

namespace {

constexpr size_t kHeaderSize = 128;

bool done(int32_t result) {
    return result == CLR_SUCCESS || result == ERR_UNKNOWN_TAG || result == ERR_UNKNOWN_TAG_TYPE ||
           result == ERR_UNKNOWN_TAG_AND_TYPE;
}

}  // namespace

uint32_t fixed(double value) { return static_cast<uint32_t>(static_cast<int32_t>(std::lround(value * 65536))); }

void put32(Bytes& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

void set32(Bytes& bytes, size_t offset, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) {
        bytes.at(offset + i) = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

uint32_t get32(const Bytes& bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = value << 8 | bytes.at(offset + i);
    }
    return value;
}

ProfileMaker::ProfileMaker() {
    Zv_InitICCProfile(&profile_, sizeof profile_);
    EXPECT_EQ(Zv_InitICCHeader(&profile_), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCDeviceClass(&profile_, static_cast<int32_t>(icc("mntr"))), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCColorSpace(&profile_, static_cast<int32_t>(icc("RGB "))), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCConnectionSpace(&profile_, static_cast<int32_t>(icc("XYZ "))), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCPrimaryPlatform(&profile_, static_cast<int32_t>(icc("MSFT"))), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCFlags(&profile_, 2), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCDeviceAttributes(&profile_, 2), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCRenderingIntent(&profile_, 1), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCCMMType(&profile_, icc("ZVTS")), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCDevManufacturer(&profile_, icc("ZVmk")), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCDevModel(&profile_, icc("ZVmd")), CLR_SUCCESS);
    EXPECT_EQ(Zv_SetICCCreator(&profile_, icc("ZVcr")), CLR_SUCCESS);
    const uint16_t date[6] = {2026, 3, 4, 15, 16, 17};
    EXPECT_EQ(Zv_SetICCDateTime(&profile_, date), CLR_SUCCESS);
}

void ProfileMaker::add(uint32_t tag, uint32_t type, void* record) {
    const int32_t result = Zv_SetICCTagData(&profile_, record, tag, type);
    EXPECT_TRUE(done(result)) << std::hex << tag << " " << type << ": " << std::dec << result;
}

void ProfileMaker::addText(uint32_t tag, std::u16string_view text) {
    ClrIccMlucEntry entry = {ZVICC_SIG(0u, 0u, 'e', 'n') & 0xFFFF, ZVICC_SIG(0u, 0u, 'U', 'S') & 0xFFFF,
                             static_cast<uint32_t>(2 * text.size()), 28};
    std::u16string copy(text);
    ClrIccTagMultiLocalized record = {};
    record.recordCount = 1;
    record.recordSize = 12;
    record.records = &entry;
    record.text = copy.data();
    add(tag, icc("mluc"), &record);
}

void ProfileMaker::addAscii(uint32_t tag, std::string_view text) {
    // As many 16-bit units before the end as the text has characters.
    std::string units(2 * text.size() + 2, 'x');
    std::copy(text.begin(), text.end(), units.begin());
    units[text.size()] = '\0';
    units[2 * text.size()] = units[2 * text.size() + 1] = '\0';
    ClrIccTagText record = {};
    record.text = units.data();
    add(tag, icc("text"), &record);
}

void ProfileMaker::addXyz(uint32_t tag, double x, double y, double z) {
    uint32_t words[3] = {fixed(x), fixed(y), fixed(z)};
    ClrIccTagArray record = {};
    record.values = words;
    record.count = 1;
    add(tag, icc("XYZ "), &record);
}

void ProfileMaker::addGamma(uint32_t tag, double gamma) {
    uint16_t entry = Zv_DoubleToU8Fixed8Number(gamma);
    ClrIccTagCurve record = {};
    record.entryCount = 1;
    record.entries = &entry;
    add(tag, icc("curv"), &record);
}

void ProfileMaker::addBody(uint32_t tag, uint32_t type, const Bytes& behindHead) {
    Bytes copy = behindHead;
    ClrIccTagArray record = {};
    record.values = copy.data();
    record.count = static_cast<uint32_t>(copy.size());
    add(tag, type, &record);
}

void ProfileMaker::addDisplayTags() {
    addText(icc("desc"), u"A display for tests \u2713");
    addText(icc("cprt"), u"No rights reserved");
    addXyz(icc("wtpt"), 0.9642, 1.0, 0.8249);
    addXyz(icc("rXYZ"), 0.43607, 0.22249, 0.01392);
    addXyz(icc("gXYZ"), 0.38515, 0.71687, 0.09708);
    addXyz(icc("bXYZ"), 0.14307, 0.06061, 0.7141);
    for (const uint32_t tag : {icc("rTRC"), icc("gTRC"), icc("bTRC")}) {
        addGamma(tag, 2.2);
    }
}

void ProfileMaker::addNumbers() {
    uint32_t chad[9];
    const double rows[9] = {1.04788, 0.02292, -0.0502, 0.02959, 0.99048, -0.01706, -0.00923, 0.01508, 0.75168};
    std::transform(rows, rows + 9, chad, fixed);
    ClrIccTagArray record = {};
    record.values = chad;
    record.count = 9;
    add(icc("chad"), icc("sf32"), &record);
    record.count = 3;
    add(icc("uf3x"), icc("uf32"), &record);
    uint8_t bytes[5] = {1, 2, 3, 4, 255};
    record.values = bytes;
    record.count = 5;
    add(icc("ui1x"), icc("ui08"), &record);
    uint16_t words[3] = {1, 256, 65535};
    record.values = words;
    record.count = 3;
    add(icc("ui2x"), icc("ui16"), &record);
    uint32_t longs[2] = {1, 4294967295};
    record.values = longs;
    record.count = 2;
    add(icc("ui4x"), icc("ui32"), &record);
    uint64_t huge[2] = {5, 0x1122334455667788};
    record.values = huge;
    add(icc("ui8x"), icc("ui64"), &record);
}

void ProfileMaker::addConditions() {
    ClrIccTagMeasurement measurement = {};
    measurement.observer = 1;
    measurement.geometry = 1;
    measurement.flare = 65536;
    measurement.illuminantType = 1;
    add(icc("meas"), icc("meas"), &measurement);
    ClrIccTagViewingConditions view = {};
    const uint32_t d50[3] = {fixed(0.9642), fixed(1), fixed(0.8249)};
    std::memcpy(&view.illuminantXyz, d50, sizeof d50);
    view.surroundXyz[1] = fixed(0.2);
    view.illuminantType = 1;
    add(icc("view"), icc("view"), &view);
    ClrIccTagSignature technology = {};
    technology.value = icc("AMD ");
    add(icc("tech"), icc("sig "), &technology);
    ClrIccTagDateTime date = {};
    const uint16_t parts[6] = {2025, 12, 31, 23, 59, 58};
    std::memcpy(&date.dateTime, parts, sizeof parts);
    add(icc("calt"), icc("dtim"), &date);
    addXyz(icc("lumi"), 0, 120, 0);
    addAscii(icc("targ"), "target of twelve patches");
    char characters[] = "eleven more";
    ClrIccTagData data = {};
    data.bytes = reinterpret_cast<uint8_t*>(characters);
    data.byteCount = 11;
    data.dataFlag = 1;
    add(icc("dat1"), icc("data"), &data);
}

void ProfileMaker::addColorants() {
    uint32_t xy[6];
    const double values[6] = {0.64, 0.33, 0.3, 0.6, 0.15, 0.06};
    std::transform(values, values + 6, xy, fixed);
    ClrIccTagChromaticity chromaticity = {};
    chromaticity.channels = 3;
    chromaticity.coordinates = xy;
    add(icc("chrm"), icc("chrm"), &chromaticity);
    uint8_t numbers[3] = {2, 0, 1};
    ClrIccTagColorantOrder order = {};
    order.count = 3;
    order.order = numbers;
    add(icc("clro"), icc("clro"), &order);
    ClrIccColorantEntry colorants[2] = {{"Red", {1, 2, 3}}, {"Green", {4, 5, 65535}}};
    ClrIccTagColorantTable table = {};
    table.count = 2;
    table.entries = colorants;
    add(icc("clrt"), icc("clrt"), &table);
    uint16_t device[3] = {10, 20, 30};
    // Values of the connection space are written as they stand.
    ClrIccNamedColorEntry color = {"Spot", {0x0080, 0x0081, 0x0082}, device};
    ClrIccTagNamedColor2 named = {};
    named.vendorFlags = 0x00010000;
    named.colorCount = 1;
    named.deviceCoords = 3;
    std::memcpy(named.prefix, "before ", 7);
    std::memcpy(named.suffix, " behind", 7);
    named.colors = &color;
    add(icc("ncl2"), icc("ncl2"), &named);
}

namespace {

/// An image-form text of 14 bytes. Of these a sequence takes 12, and leaves zero behind them: with 16 bytes, which are
/// taken whole, the second text would stand 4 bytes further on than it should.
struct SequenceText {
    Bytes bytes;
    ClrIccMlucEntry entry = {};
    ClrIccTagMultiLocalized record = {};

    explicit SequenceText(std::u16string_view text) {
        for (const char16_t unit : text) {
            bytes.push_back(static_cast<uint8_t>(unit >> 8));
            bytes.push_back(static_cast<uint8_t>(unit));
        }
        entry = {0x6E65, 0x5355, __builtin_bswap32(static_cast<uint32_t>(bytes.size())), __builtin_bswap32(28)};
        record.typeSig = __builtin_bswap32(icc("mluc"));
        record.recordCount = __builtin_bswap32(1);
        record.recordSize = __builtin_bswap32(12);
        record.records = &entry;
        record.text = bytes.data();
    }
};

}  // namespace

void ProfileMaker::addSequence() {
    SequenceText maker(u"Makers\0"sv);
    SequenceText model(u"Models\0"sv);
    ClrIccProfileSeqEntry entry = {};
    entry.manufacturer = icc("ZVmk");
    entry.model = icc("ZVmd");
    entry.technology = icc("AMD ");
    entry.manufacturerText = maker.record;
    entry.modelText = model.record;
    ClrIccTagProfileSequence sequence = {};
    sequence.count = 1;
    sequence.entries = &entry;
    add(icc("pseq"), icc("pseq"), &sequence);
}

void ProfileMaker::addResponses() {
    uint32_t counts[1] = {1};
    uint32_t patches[3] = {fixed(0.1), fixed(0.2), fixed(0.3)};
    ClrIccResponse response = {65535, 0, fixed(1.7)};
    ClrIccResponse* responses[1] = {&response};
    ClrIccResponseCurve curve = {icc("StaA"), counts, patches, responses};
    ClrIccTagResponseCurveSet set = {};
    set.channels = 1;
    set.types = 1;
    set.curves = &curve;
    add(icc("resp"), icc("rcs2"), &set);
}

void ProfileMaker::addLuts() {
    uint32_t parameter = fixed(1.8);
    ClrIccTagParametricCurve parametric = {};
    parametric.parameters = &parameter;
    add(icc("kTRC"), icc("para"), &parametric);
    const uint32_t matrix[9] = {65536, 0, 0, 0, 65536, 0, 0, 0, 65536};
    uint16_t ramp[6] = {0, 65535, 0, 65535, 0, 65535};
    uint16_t grid[24];
    for (uint16_t i = 0; i < 24; ++i) {
        grid[i] = static_cast<uint16_t>(i * 100);
    }
    ClrIccTagLut16 words = {};
    words.inputChannels = words.outputChannels = 3;
    words.gridPoints = 2;
    std::memcpy(&words.matrix, matrix, sizeof matrix);
    words.inputEntries = words.outputEntries = 2;
    words.inputTables = words.outputTables = ramp;
    words.clut = grid;
    add(icc("A2B1"), icc("mft2"), &words);
    uint8_t byteRamp[768];
    for (size_t i = 0; i < sizeof byteRamp; ++i) {
        byteRamp[i] = static_cast<uint8_t>(i);
    }
    ClrIccTagLut8 bytes = {};
    bytes.inputChannels = bytes.outputChannels = 3;
    bytes.gridPoints = 2;
    std::memcpy(&bytes.matrix, matrix, sizeof matrix);
    bytes.inputEntries = bytes.outputEntries = 256;
    bytes.inputTables = bytes.outputTables = bytes.clut = byteRamp;
    add(icc("gamt"), icc("mft1"), &bytes);
}

void ProfileMaker::addLutsWithCurves() {
    for (const uint32_t type : {icc("mAB "), icc("mBA ")}) {
        // The library leaves them swapped.
        uint16_t values[2] = {100, 60000};
        uint16_t entries[2] = {0, 65535};
        ClrIccTagCurve curve = {};
        curve.typeSig = icc("curv");
        curve.entryCount = 2;
        curve.entries = entries;
        ClrIccClut grid = {};
        grid.gridPoints[0] = 2;
        grid.precision = 2;
        grid.data = values;
        ClrIccTagLutAToB record = {};
        record.inputChannels = record.outputChannels = 1;
        record.curvesB = record.curvesM = record.curvesA = &curve;
        record.clut = &grid;
        record.matrix[0] = record.matrix[4] = record.matrix[8] = 65536;
        add(type == icc("mAB ") ? icc("A2B2") : icc("B2A2"), type, &record);
    }
}

void ProfileMaker::addEveryType() {
    addNumbers();
    addConditions();
    addColorants();
    addSequence();
    addResponses();
    addLuts();
    addLutsWithCurves();
    addBody(icc("priv"), icc("zzzz"), {'p', 'r', 'i', 'v', 'a', 't', 'e', 0, 0xFF});
}

Bytes ProfileMaker::image() {
    EXPECT_EQ(Zv_GenerateICCPointer(&profile_), CLR_SUCCESS);
    return Bytes(profile_.profileData, profile_.profileData + profile_.profileSize);
}

Version2Maker::Version2Maker(std::string_view deviceClass, std::string_view space, std::string_view connection)
    : header_(kHeaderSize) {
    set32(header_, 8, 0x02400000);
    const auto put = [this](size_t at, std::string_view letters) {
        std::copy(letters.begin(), letters.end(), header_.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(12, deviceClass);
    put(16, space);
    put(20, connection);
    const uint8_t date[12] = {0x07, 0xD0, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5};
    std::copy(std::begin(date), std::end(date), header_.begin() + 24);
    put(36, "acsp");
    set32(header_, 68, 0xF6D6);
    set32(header_, 72, 0x10000);
    set32(header_, 76, 0xD32D);
}

void Version2Maker::add(std::string_view tag, const Bytes& body) { tags_.emplace_back(tag, body); }

Bytes Version2Maker::image() const {
    Bytes image = header_;
    put32(image, static_cast<uint32_t>(tags_.size()));
    size_t offset = kHeaderSize + 4 + 12 * tags_.size();
    for (const auto& [tag, body] : tags_) {
        image.insert(image.end(), tag.begin(), tag.end());
        put32(image, static_cast<uint32_t>(offset));
        put32(image, static_cast<uint32_t>(body.size()));
        offset += (body.size() + 3) / 4 * 4;
    }
    for (const auto& [tag, body] : tags_) {
        image.insert(image.end(), body.begin(), body.end());
        image.resize((image.size() + 3) / 4 * 4);
    }
    set32(image, 0, static_cast<uint32_t>(image.size()));
    return image;
}

std::string infoOf(const Bytes& bytes, const std::vector<std::string>& options) {
    const auto has = [&options](const char* option) {
        return std::find(options.begin(), options.end(), option) != options.end();
    };
    zvtool::InfoArguments arguments;
    arguments.input = "folder/made.icc";
    arguments.json = has("--json");
    arguments.svg = has("--svg");
    arguments.all = has("--all");
    return zvtool::infoText(arguments, bytes);
}

std::vector<std::string> realProfiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator("/usr/share/color/icc")) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".icc" || extension == ".icm" || extension == ".ICM" || extension == ".ICC") {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    EXPECT_GE(files.size(), 30U) << "icc-profiles-free and colord-data";
    return files;
}

}  // namespace zvtest
