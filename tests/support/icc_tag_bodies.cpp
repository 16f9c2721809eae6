#include "tests/support/icc_tag_bodies.h"

namespace zv::test {

namespace {

void Pad(Bytes& bytes) {
    while (bytes.size() % 4 != 0) bytes.push_back(0);
}

void Append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

/// A body of 32-bit numbers behind its type.
Bytes Longs(std::string_view type, const std::vector<uint32_t>& values) {
    Bytes body;
    PutBig32(body, FourCc(type));
    PutBig32(body, 0);
    for (const uint32_t value : values) PutBig32(body, value);
    return body;
}

Bytes Words16(std::string_view type, const Words& values) {
    Bytes body = Longs(type, {});
    for (const uint16_t value : values) PutBig16(body, value);
    return body;
}

Bytes WithBytes(Bytes body, std::string_view text) {
    body.insert(body.end(), text.begin(), text.end());
    return body;
}

/// A name of 32 bytes.
void PutName(Bytes& body, std::string_view name) {
    const size_t end = body.size() + 32;
    body.insert(body.end(), name.begin(), name.end());
    body.resize(end);
}

Bytes ColorantTable() {
    Bytes body = Longs("clrt", {2});
    for (const char* name : {"cyan", "magenta"}) {
        PutName(body, name);
        for (const uint32_t value : {0x1122U, 0x3344U, 0x5566U}) PutBig16(body, value);
    }
    return body;
}

Bytes NamedColors() {
    Bytes body = Longs("ncl2", {0xABCD0000, 2, 3});
    PutName(body, "prefix");
    PutName(body, "suffix");
    for (const char* name : {"red", "blue"}) {
        PutName(body, name);
        // Of equal bytes: these are swapped on one way only.
        for (const uint32_t value : {0x1111U, 0x2222U, 0x3333U}) PutBig16(body, value);
        for (const uint32_t value : {1U, 2U, 3U}) PutBig16(body, value);
    }
    return body;
}

/// One language, `units` letters.
Bytes Localized(uint32_t units) {
    Bytes body = Longs("mluc", {1, 12});
    PutBig16(body, 0x656E);
    PutBig16(body, 0x5553);
    PutBig32(body, 2 * units);
    PutBig32(body, 28);
    for (uint32_t i = 0; i < units; ++i) PutBig16(body, 'a' + i);
    return body;
}

Bytes Sequence(uint32_t count) {
    Bytes body = Longs("pseq", {count});
    for (uint32_t i = 0; i < count; ++i) {
        for (uint32_t field = 0; field < 5; ++field) PutBig32(body, 16 * i + field);
        for (const uint32_t units : {8U, 3U}) {
            Append(body, Localized(units));
            Pad(body);
        }
    }
    return body;
}

Bytes Responses(uint16_t channels, uint16_t types) {
    Bytes body = Words16("rcs2", {channels, types});
    const uint32_t curve = 4U + 16U * channels + 8U * channels * types;
    for (uint32_t i = 0; i < types; ++i) PutBig32(body, 12 + 4U * types + i * curve);
    for (uint32_t i = 0; i < types; ++i) {
        PutBig32(body, FourCc("StaA"));
        for (uint32_t word = 1; word < curve / 4; ++word) PutBig32(body, 0x10000 * i + word);
    }
    return body;
}

/// Tables with their counts, which the bodies of both types have here.
Bytes Lut(std::string_view type, uint8_t inputs, uint8_t outputs, uint8_t gridPoints, uint32_t inputEntries,
          uint32_t outputEntries) {
    const bool words = type == "mft2";
    Bytes body = Longs(type, {});
    for (const uint8_t byte : {inputs, outputs, gridPoints, uint8_t{0}}) body.push_back(byte);
    for (uint32_t i = 0; i < 9; ++i) PutBig32(body, i % 4 == 0 ? 0x10000 : i);
    for (const uint32_t entries : {inputEntries, outputEntries}) {
        if (words) {
            PutBig16(body, entries);
        } else {
            body.push_back(static_cast<uint8_t>(entries));
            body.push_back(static_cast<uint8_t>(entries >> 8));
        }
    }
    uint32_t nodes = 1;
    for (uint8_t i = 0; i < inputs; ++i) nodes *= gridPoints;
    const uint32_t values = inputEntries * inputs + nodes * outputs + outputEntries * outputs;
    for (uint32_t i = 0; i < values; ++i) {
        if (words) {
            PutBig16(body, 0x0102 + 3 * i);
        } else {
            body.push_back(static_cast<uint8_t>(1 + 3 * i));
        }
    }
    return body;
}

/// Three channels on the side of the connection space, two on that of the device.
ElementBodies AllElements(bool toDevice, uint8_t precision) {
    const Bytes table = CurveBody({0, 9000, 65535});
    ElementBodies elements;
    elements.inputs = toDevice ? 3 : 2;
    elements.outputs = toDevice ? 2 : 3;
    elements.curvesB = CurveRun({table, CurveBody({}), GammaBody(0x0180)});
    elements.matrix = MatrixBlock();
    elements.curvesM = CurveRun({ParametricBody(0, {2.2}), table, table});
    const uint32_t count = 6U * elements.outputs * precision;
    Bytes values;
    for (uint32_t i = 0; i < count; ++i) values.push_back(static_cast<uint8_t>(7 * i + 1));
    elements.clut = ClutBlock({2, 3, 1}, precision, values);
    elements.curvesA = CurveRun({table, GammaBody(0x0233)});
    return elements;
}

ElementBodies OnlyB() {
    ElementBodies elements;
    elements.curvesB = CurveRun(
        {ParametricBody(4, {2.4, 0.9, 0.1, 0.08, 0.04, 0, 0}), ParametricBody(1, {2, 1, 0}), CurveBody({1, 2, 3})});
    return elements;
}

}  // namespace

Bytes CurveRun(const std::vector<Bytes>& curves) {
    Bytes run;
    for (const Bytes& curve : curves) {
        Append(run, curve);
        Pad(run);
    }
    return run;
}

Bytes ClutBlock(const std::vector<uint8_t>& gridPoints, uint8_t precision, const Bytes& values) {
    Bytes block = gridPoints;
    block.resize(16);
    block.push_back(precision);
    block.resize(20);
    Append(block, values);
    Pad(block);
    return block;
}

Bytes ElementsBody(std::string_view type, const ElementBodies& elements) {
    Bytes body = Longs(type, {});
    body.push_back(elements.inputs);
    body.push_back(elements.outputs);
    body.resize(12);
    uint32_t place = 32;
    const Bytes* const parts[] = {&elements.curvesB, &elements.matrix, &elements.curvesM, &elements.clut,
                                  &elements.curvesA};
    for (const Bytes* part : parts) {
        PutBig32(body, part->empty() ? 0 : place);
        place += static_cast<uint32_t>(part->size());
    }
    for (const Bytes* part : parts) Append(body, *part);
    return body;
}

Bytes MatrixBlock() {
    Bytes block;
    for (uint32_t i = 0; i < 12; ++i) PutBig32(block, 0x01020304 * (i + 1));
    return block;
}

std::vector<IccSampleBody> IccSampleBodies() {
    std::vector<IccSampleBody> bodies = {
        {"chrm", Longs("chrm", {0x00030000, 0xA3D7, 0x547B, 0x4CCD, 0x999A, 0x2666, 0x0F5C})},
        {"clro", WithBytes(Longs("clro", {3}), "\2\1\3")},
        {"clrt", ColorantTable()},
        {"curv_empty", CurveBody({})},
        {"curv_gamma", GammaBody(0x0233)},
        {"curv_table", CurveBody({0, 100, 30000, 65534, 65535})},
        {"data_ascii", WithBytes(Longs("data", {0}), "abc"), false},
        {"data_binary", WithBytes(Longs("data", {1}), "abcde")},
        {"dtim", Words16("dtim", {2024, 2, 29, 23, 59, 58})},
        {"mAB_bytes", ElementsBody("mAB ", AllElements(false, 1))},
        {"mAB_words", ElementsBody("mAB ", AllElements(false, 2))},
        {"mAB_b", ElementsBody("mAB ", OnlyB()), false},
        {"mBA_bytes", ElementsBody("mBA ", AllElements(true, 1))},
        {"mBA_words", ElementsBody("mBA ", AllElements(true, 2))},
        {"mBA_b", ElementsBody("mBA ", OnlyB()), false},
        {"meas", Longs("meas", {1, 0x1000, 0x2000, 0x3000, 1, 0x10000, 8})},
        {"mft1", Lut("mft1", 3, 2, 2, 5, 4)},
        {"mft1_long", Lut("mft1", 1, 1, 2, 256, 300)},
        {"mft2", Lut("mft2", 3, 2, 2, 5, 4)},
        {"mluc", Localized(5)},
        {"mluc_empty", Longs("mluc", {0, 12})},
        {"ncl2", NamedColors()},
        {"para_0", ParametricBody(0, {2.2})},
        {"para_1", ParametricBody(1, {2.2, 0.9, 0.1}), false},
        {"para_2", ParametricBody(2, {2.2, 0.9, 0.1, 0.2}), false},
        {"para_3", ParametricBody(3, {2.4, 0.95, 0.05, 0.08, 0.04}), false},
        {"para_4", ParametricBody(4, {2.4, 0.95, 0.05, 0.08, 0.04, 0.1, 0.2}), false},
        {"pseq", Sequence(1), false},
        {"pseq_two", Sequence(2), false},
        {"rcs2", Responses(2, 2)},
        {"rcs2_three", Responses(1, 3)},
        {"sf32", Longs("sf32", {0x10000, 0xFFFF0000, 3})},
        {"sig", Longs("sig ", {FourCc("fscn")})},
        {"text", WithBytes(Longs("text", {}), {"Copyright\0", 10}), false},
        {"uf32", Longs("uf32", {0x10000, 0xFFFF0000})},
        {"ui08", WithBytes(Longs("ui08", {}), "\1\2\3\4\5")},
        {"ui16", Words16("ui16", {0x0102, 0x0304, 0x0506})},
        {"ui32", Longs("ui32", {0x01020304, 0x05060708})},
        {"ui64", Longs("ui64", {0, 0x05060708, 0, 0x01020304})},
        {"view", Longs("view", {0x1000, 0x2000, 0x3000, 0x4000, 0x5000, 0x6000, 2})},
        {"XYZ", XyzBody(kD50)},
        {"unknown", WithBytes(Longs("zzzz", {}), "some bytes")},
    };
    return bodies;
}

}  // namespace zv::test
