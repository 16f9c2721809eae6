// "mAB " and "mBA ".
#include <gtest/gtest.h>

#include "Common/IccProfile/tag_types.h"
#include "tests/Common/IccProfile/lut_fixture.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

// --- Readers --------------------------------------------------------------------------------------------------------

struct Direction {
    const char* type;
    bool toConnection;
};
constexpr Direction kDirections[] = {{"mAB ", true}, {"mBA ", false}};

/// All elements of some shape, all bytes different from one another's.
ElementBodies FullElements(bool toConnection, uint8_t inputs, uint8_t outputs, uint8_t precision = 2) {
    const uint8_t connection = toConnection ? outputs : inputs;
    const uint8_t device = toConnection ? inputs : outputs;
    ElementBodies elements;
    elements.inputs = inputs;
    elements.outputs = outputs;
    std::vector<Bytes> curves;
    for (uint32_t i = 0; i < connection; ++i) curves.push_back(CurveBody(SomeWords(3 + i, 10 + i)));
    elements.curvesB = CurveRun(curves);
    elements.matrix = MatrixBlock();
    curves.clear();
    for (uint32_t i = 0; i < connection; ++i) curves.push_back(CurveBody(SomeWords(4 + i, 20 + i)));
    elements.curvesM = CurveRun(curves);
    size_t nodes = 1;
    Bytes grid;
    for (uint8_t i = 0; i < inputs; ++i) {
        grid.push_back(static_cast<uint8_t>(2 + i % 2));
        nodes *= grid.back();
    }
    elements.clut = ClutBlock(grid, precision, CountingBytes(nodes * outputs * precision));
    curves.clear();
    for (uint32_t i = 0; i < device; ++i) curves.push_back(CurveBody(SomeWords(5 + i, 30 + i)));
    elements.curvesA = CurveRun(curves);
    return elements;
}

struct ReadElements {
    Bytes all;
    bool clut = false;
    bool curvesA = false;
    bool matrix = false;
    bool curvesM = false;
    bool curvesB = false;
    int32_t result = CLR_SUCCESS;
};

/// The order of reading, element after element.
ReadElements PlainRead(const ElementBodies& elements, bool toConnection) {
    const uint32_t connection = toConnection ? elements.outputs : elements.inputs;
    const uint32_t device = toConnection ? elements.inputs : elements.outputs;
    ReadElements read;
    const auto take = [&](const Bytes& element, const Bytes& host, bool* flag) {
        if (element.empty()) return;
        read.all = read.all + host;
        *flag = true;
    };
    const auto takeRun = [&](const Bytes& run, uint32_t count, bool* flag) {
        if (!run.empty()) take(run, HostRun(run, count), flag);
    };
    const auto takeClut = [&] {
        if (!elements.clut.empty()) take(elements.clut, HostClut(elements.clut), &read.clut);
    };
    if (toConnection) {
        takeClut();
        takeRun(elements.curvesA, device, &read.curvesA);
        read.result = ERR_BAD_TAG;
        if (elements.clut.empty() && elements.inputs != elements.outputs) return read;
        take(elements.matrix, Swapped(elements.matrix, 4), &read.matrix);
        takeRun(elements.curvesM, connection, &read.curvesM);
        if (elements.curvesB.empty()) return read;
        takeRun(elements.curvesB, connection, &read.curvesB);
        read.result = CLR_SUCCESS;
        return read;
    }
    read.result = ERR_BAD_TAG;
    if (elements.curvesB.empty()) return read;
    read.result = CLR_SUCCESS;
    takeRun(elements.curvesB, connection, &read.curvesB);
    take(elements.matrix, Swapped(elements.matrix, 4), &read.matrix);
    takeRun(elements.curvesM, connection, &read.curvesM);
    takeClut();
    takeRun(elements.curvesA, device, &read.curvesA);
    return read;
}

void CheckRead(const Direction& direction, const ElementBodies& elements, const Bytes& body) {
    const HostScope scope;
    const ReadElements wanted = PlainRead(elements, direction.toConnection);
    IccProfileHolder profile(IccImageOf("A2B0", body));
    IccRecordHolder read;
    ASSERT_EQ(wanted.result, read.Read(profile, "A2B0"));
    const ClrIccTagLutAToB& record = read->lutAToB;
    EXPECT_EQ(FourCc(direction.type), Value(record.typeSig));
    EXPECT_EQ(elements.inputs, record.inputChannels);
    EXPECT_EQ(elements.outputs, record.outputChannels);
    EXPECT_EQ((Bytes{body[11], body[10]}), BytesOf(record.lutReserved, 2));
    EXPECT_EQ((Bytes{body[7], body[6], body[5], body[4]}), BytesOf(record.typeReserved, 4));
    EXPECT_EQ(GetBig32(body, 12), Value(record.offsetB));
    EXPECT_EQ(GetBig32(body, 16), Value(record.offsetMatrix));
    EXPECT_EQ(GetBig32(body, 20), Value(record.offsetM));
    EXPECT_EQ(GetBig32(body, 24), Value(record.offsetClut));
    EXPECT_EQ(GetBig32(body, 28), Value(record.offsetA));
    ASSERT_EQ(wanted.all.empty(), record.allData == nullptr);
    if (!wanted.all.empty()) {
        EXPECT_EQ(wanted.all, BytesOf(record.allData, wanted.all.size()));
    }
    ASSERT_EQ(wanted.curvesB, record.curvesB != nullptr);
    ASSERT_EQ(wanted.curvesM, record.curvesM != nullptr);
    ASSERT_EQ(wanted.curvesA, record.curvesA != nullptr);
    ASSERT_EQ(wanted.clut, record.clut != nullptr);
    const uint32_t connection = direction.toConnection ? elements.outputs : elements.inputs;
    const uint32_t device = direction.toConnection ? elements.inputs : elements.outputs;
    const auto check = [](const void* block, const Bytes& host) { EXPECT_EQ(host, BytesOf(block, host.size())); };
    if (wanted.curvesB) check(record.curvesB, HostRun(elements.curvesB, connection));
    if (wanted.curvesM) check(record.curvesM, HostRun(elements.curvesM, connection));
    if (wanted.curvesA) check(record.curvesA, HostRun(elements.curvesA, device));
    if (wanted.clut) check(record.clut, HostClut(elements.clut));
    check(record.matrix, wanted.matrix ? Swapped(elements.matrix, 4) : Bytes(48));
}

TEST(IccLutAToB, EveryChoiceOfElements) {
    for (const Direction& direction : kDirections) {
        for (const auto& [inputs, outputs] : {std::pair<uint8_t, uint8_t>{3, 3}, {2, 3}, {3, 2}, {1, 1}, {1, 4}}) {
            for (uint32_t present = 0; present < 32; ++present) {
                SCOPED_TRACE(direction.type + std::to_string(inputs) + std::to_string(outputs) + " " +
                             std::to_string(present));
                ElementBodies elements = FullElements(direction.toConnection, inputs, outputs);
                if ((present & 1) == 0) elements.curvesB.clear();
                if ((present & 2) == 0) elements.matrix.clear();
                if ((present & 4) == 0) elements.curvesM.clear();
                if ((present & 8) == 0) elements.clut.clear();
                if ((present & 16) == 0) elements.curvesA.clear();
                Bytes body = ElementsBody(direction.type, elements);
                for (size_t i = 0; i < 4; ++i) body[4 + i] = static_cast<uint8_t>(i + 1);
                body[10] = 9;
                body[11] = 8;
                CheckRead(direction, elements, body);
            }
        }
    }
}

TEST(IccLutAToB, DifferentChannelsWithoutAGrid) {
    ElementBodies elements = FullElements(true, 2, 3);
    elements.clut.clear();
    EXPECT_EQ(ERR_BAD_TAG, PlainRead(elements, true).result);
    CheckRead(kDirections[0], elements, ElementsBody("mAB ", elements));
    elements = FullElements(false, 2, 3);
    elements.clut.clear();
    EXPECT_EQ(CLR_SUCCESS, PlainRead(elements, false).result);
    CheckRead(kDirections[1], elements, ElementsBody("mBA ", elements));
}

TEST(IccLutAToB, ElementsInAnyPlaceOfTheBody) {
    for (const Direction& direction : kDirections) {
        for (const uint8_t precision : Bytes{1, 2}) {
            SCOPED_TRACE(direction.type);
            const ElementBodies elements = FullElements(direction.toConnection, 2, 3, precision);
            // Grid first, then the rest from the last to the first, with gaps.
            Bytes body = ElementsBody(direction.type, elements);
            body.resize(32);
            const std::pair<size_t, const Bytes*> kOrder[] = {{24, &elements.clut},
                                                              {28, &elements.curvesA},
                                                              {20, &elements.curvesM},
                                                              {16, &elements.matrix},
                                                              {12, &elements.curvesB}};
            for (const auto& [field, element] : kOrder) {
                body = body + Bytes(5, 0xEE);
                SetBig32(body, field, static_cast<uint32_t>(body.size()));
                body = body + *element;
            }
            CheckRead(direction, elements, body);
        }
    }
}

TEST(IccLutAToB, ParametricCurvesAreReadWhole) {
    for (const Direction& direction : kDirections) {
        SCOPED_TRACE(direction.type);
        ElementBodies elements = FullElements(direction.toConnection, 3, 3);
        elements.curvesB = CurveRun({ParametricBody(4, {2.4, 0.9, 0.1, 0.08, 0.04, 0.1, 0.2}), CurveBody({1, 2, 3}),
                                     ParametricBody(1, {2, 1, 0})});
        elements.curvesM =
            CurveRun({ParametricBody(2, {2, 1, 0, 3}), ParametricBody(0, {2.2}), ParametricBody(3, {2, 1, 0, 3, 4})});
        CheckRead(direction, elements, ElementsBody(direction.type, elements));
    }
}

TEST(IccLutAToB, TheLastElementMayLackItsPadding) {
    const HostScope scope;
    ElementBodies elements = FullElements(true, 3, 3, 1);
    elements.curvesB = CurveRun({CurveBody({1}), CurveBody({2, 3}), CurveBody({4, 5, 6})});
    elements.clut = ClutBlock({1, 1, 6}, 1, CountingBytes(18));
    Bytes body = ElementsBody("mAB ", elements);
    // Both elements once more behind all others.
    for (const auto& [field, element] :
         {std::pair<size_t, const Bytes*>{12, &elements.curvesB}, {24, &elements.clut}}) {
        Bytes changed = body;
        SetBig32(changed, field, static_cast<uint32_t>(body.size()));
        changed = changed + *element;
        changed.resize(changed.size() - 2);
        IccProfileHolder profile(IccImageOf("A2B0", changed));
        IccRecordHolder read;
        ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "A2B0"));
        EXPECT_EQ(HostRun(elements.curvesB, 3), BytesOf(read->lutAToB.curvesB, elements.curvesB.size()));
        EXPECT_EQ(HostClut(elements.clut), BytesOf(read->lutAToB.clut, elements.clut.size()));
        changed.pop_back();
        IccProfileHolder shorter(IccImageOf("A2B0", changed));
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(shorter, "A2B0"));
    }
}

TEST(IccLutAToB, OffsetsThatLeadOut) {
    for (const Direction& direction : kDirections) {
        const ElementBodies elements = FullElements(direction.toConnection, 2, 3);
        const Bytes body = ElementsBody(direction.type, elements);
        const auto n = static_cast<uint32_t>(body.size());
        for (size_t field = 12; field <= 28; field += 4) {
            for (const uint32_t offset : {n - 11, n - 1, n, n + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
                SCOPED_TRACE(direction.type + std::to_string(field) + " " + std::to_string(offset));
                const HostScope scope;
                Bytes changed = body;
                SetBig32(changed, field, offset);
                IccProfileHolder profile(IccImageOf("A2B0", changed));
                scope->Reset();
                IccRecordHolder read;
                EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B0"));
                EXPECT_LE(scope->LargestRequestSinceReset(), 8 * body.size());
            }
        }
    }
}

TEST(IccLutAToB, GridsThatAreRefused) {
    for (const Direction& direction : kDirections) {
        for (const uint8_t precision : Bytes{0, 3, 255}) {
            SCOPED_TRACE(direction.type);
            const HostScope scope;
            ElementBodies elements = FullElements(direction.toConnection, 2, 3);
            elements.clut[16] = precision;
            elements.clut.resize(6000);
            IccProfileHolder profile(IccImageOf("A2B0", ElementsBody(direction.type, elements)));
            IccRecordHolder read;
            EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B0"));
        }
        const HostScope scope;
        ElementBodies elements = FullElements(direction.toConnection, 2, 3);
        elements.clut = ClutBlock(Bytes(16, 255), 1, CountingBytes(1000));
        IccProfileHolder profile(IccImageOf("A2B0", ElementsBody(direction.type, elements)));
        IccRecordHolder read;
        EXPECT_EQ(ERR_INVALID_PARAMETER, read.Read(profile, "A2B0"));
        EXPECT_LT(scope->LargestRequestSinceReset(), 100000U);
    }
}

// --- Makers and writers ---------------------------------------------------------------------------------------------

/// A record as a caller makes it.
struct HostLut {
    HostLut(bool toConnection, uint8_t inputs, uint8_t outputs, uint8_t precision)
        : HostLut(toConnection, inputs, outputs, precision, Tables(toConnection ? outputs : inputs, 1),
                  Tables(toConnection ? outputs : inputs, 50), Tables(toConnection ? inputs : outputs, 90)) {}
    HostLut(bool toConnection, uint8_t inputs, uint8_t outputs, uint8_t precision, HostCurves b, HostCurves m,
            HostCurves a)
        : curvesB(std::move(b)), curvesM(std::move(m)), curvesA(std::move(a)) {
        EXPECT_EQ(toConnection ? outputs : inputs, static_cast<int>(curvesB.count));
        std::memset(&record, 0, sizeof record);
        record.inputChannels = inputs;
        record.outputChannels = outputs;
        record.lutReserved[0] = 7;
        record.offsetB = 0xEEEEEEEE;
        record.curvesB = curvesB.Records();
        record.curvesM = curvesM.Records();
        record.curvesA = curvesA.Records();
        Bytes grid;
        size_t nodes = 1;
        for (uint8_t i = 0; i < inputs; ++i) {
            grid.push_back(static_cast<uint8_t>(2 + i % 2));
            nodes *= grid.back();
        }
        values = CountingBytes(nodes * outputs * precision);
        std::memset(&clut, 0, sizeof clut);
        std::copy(grid.begin(), grid.end(), clut.gridPoints);
        clut.precision = precision;
        clut.data = values.data();
        record.clut = &clut;
        for (uint32_t i = 0; i < 12; ++i) record.matrix[i] = 0x01020304 * (i + 1);
        const Bytes imageValues = precision == 1 ? values : Swapped(values, 2);
        elements = {inputs,        outputs,       curvesB.image,
                    MatrixBlock(), curvesM.image, ClutBlock(grid, precision, imageValues),
                    curvesA.image};
    }
    HostLut(const HostLut&) = delete;
    HostLut& operator=(const HostLut&) = delete;

    HostCurves curvesB, curvesM, curvesA;
    Bytes values;
    ClrIccClut clut;
    ClrIccTagLutAToB record;
    ElementBodies elements;  ///< as they are to be written
};

TEST(IccSetLutAToB, BodyByteForByte) {
    for (const Direction& direction : kDirections) {
        for (const uint8_t precision : Bytes{1, 2}) {
            for (uint8_t inputs = 1; inputs <= 4; ++inputs) {
                for (uint8_t outputs = 1; outputs <= 4; ++outputs) {
                    SCOPED_TRACE(direction.type + std::to_string(inputs) + std::to_string(outputs));
                    const HostScope scope;
                    HostLut lut(direction.toConnection, inputs, outputs, precision);
                    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                    ASSERT_EQ(CLR_SUCCESS,
                              Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type)));
                    const Bytes body = ElementsBody(direction.type, lut.elements);
                    EXPECT_EQ(body, IccBodyOf(profile, "A2B0"));
                    EXPECT_EQ(body.size(), IccEntryOf(profile, "A2B0").size);
                    EXPECT_EQ(body.size(), Value(profile->tagDataSize)) << "no padding";
                    EXPECT_EQ(144 + body.size(), Value(profile->header->size));
                    CheckRead(direction, lut.elements, body);
                }
            }
        }
    }
}

TEST(IccSetLutAToB, SwapsMatrixAndGridOfTheCaller) {
    for (const Direction& direction : kDirections) {
        for (const uint8_t precision : Bytes{1, 2}) {
            SCOPED_TRACE(direction.type);
            const HostScope scope;
            HostLut lut(direction.toConnection, 2, 3, precision);
            const Bytes values = lut.values;
            const Bytes before = BytesOf(&lut.record, sizeof lut.record);
            const Bytes otherValues = precision == 1 ? values : Swapped(values, 2);
            Bytes otherRecord = before;
            const Bytes matrix = Swapped(Slice(before, 72, 48), 4);
            std::copy(matrix.begin(), matrix.end(), otherRecord.begin() + 72);

            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            const Bytes right = ElementsBody(direction.type, lut.elements);
            ElementBodies wrongElements = lut.elements;
            wrongElements.matrix = Swapped(wrongElements.matrix, 4);
            if (precision == 2) {
                wrongElements.clut = Slice(wrongElements.clut, 0, 20) +
                                     Swapped({wrongElements.clut.begin() + 20, wrongElements.clut.end()}, 2);
            }
            const Bytes wrong = ElementsBody(direction.type, wrongElements);
            for (const char* tag : {"A2B0", "A2B1", "A2B2"}) {
                const bool first = tag[3] != '1';
                ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &lut.record, FourCc(tag), FourCc(direction.type)));
                EXPECT_EQ(first ? right : wrong, IccBodyOf(profile, tag));
                EXPECT_EQ(first ? otherRecord : before, BytesOf(&lut.record, sizeof lut.record));
                EXPECT_EQ(first ? otherValues : values, lut.values);
            }
        }
    }
}

TEST(IccSetLutAToB, ImageForm) {
    for (const Direction& direction : kDirections) {
        SCOPED_TRACE(direction.type);
        const HostScope scope;
        HostLut lut(direction.toConnection, 2, 3, 2);
        IccRecordHolder image;
        ASSERT_EQ(CLR_SUCCESS, image.Make(&lut.record, direction.type));
        const Bytes body = ElementsBody(direction.type, lut.elements);
        EXPECT_EQ(Slice(body, 0, 32), BytesOf(image.Get(), 32));
        const ClrIccTagLutAToB& record = image->lutAToB;
        EXPECT_EQ(Slice(body, 32, body.size() - 32), BytesOf(record.allData, body.size() - 32));
        EXPECT_EQ(lut.elements.curvesB, BytesOf(record.curvesB, lut.elements.curvesB.size()));
        EXPECT_EQ(lut.elements.curvesM, BytesOf(record.curvesM, lut.elements.curvesM.size()));
        EXPECT_EQ(lut.elements.curvesA, BytesOf(record.curvesA, lut.elements.curvesA.size()));
        EXPECT_EQ(lut.elements.clut, BytesOf(record.clut, lut.elements.clut.size()));
        EXPECT_EQ(lut.elements.matrix, BytesOf(record.matrix, 48));
        EXPECT_EQ(32U, GetBig32(body, 12));
        EXPECT_EQ(32 + lut.elements.curvesB.size(), GetBig32(body, 16));
        EXPECT_EQ(80 + lut.elements.curvesB.size(), GetBig32(body, 20));
        EXPECT_EQ(80 + lut.elements.curvesB.size() + lut.elements.curvesM.size(), GetBig32(body, 24));
        EXPECT_EQ(5U, scope.Leaked()) << "five blocks and no scratch";
    }
}

TEST(IccSetLutAToB, NullElements) {
    for (const Direction& direction : kDirections) {
        for (int element = 0; element < 4; ++element) {
            SCOPED_TRACE(direction.type + std::to_string(element));
            const HostScope scope;
            HostLut lut(direction.toConnection, 2, 3, 2);
            const Bytes values = lut.values;
            if (element == 0) lut.record.curvesB = nullptr;
            if (element == 1) lut.record.curvesM = nullptr;
            if (element == 2) lut.record.curvesA = nullptr;
            if (element == 3) lut.record.clut = nullptr;
            const Bytes before = BytesOf(&lut.record, sizeof lut.record);
            IccProfileHolder profile(IccProfileHolder::Start::kHeader);
            EXPECT_EQ(ERR_INVALID_PARAMETER,
                      Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type)));
            EXPECT_EQ(0, Value(profile->tagCount));
            EXPECT_EQ(before, BytesOf(&lut.record, sizeof lut.record)) << "and nothing is swapped";
            EXPECT_EQ(values, lut.values);
        }
    }
}

// What a reader leaves there are bytes of a file where pointers would be.
TEST(IccSetLutAToB, RecordsThatWereRead) {
    for (const Direction& direction : kDirections) {
        SCOPED_TRACE(direction.type);
        const HostScope scope;
        const ElementBodies elements = FullElements(direction.toConnection, 2, 3);
        IccProfileHolder profile(IccImageOf("A2B0", ElementsBody(direction.type, elements)));
        IccRecordHolder read;
        ASSERT_EQ(CLR_SUCCESS, read.Read(profile, "A2B0"));
        const Bytes before = BytesOf(read.Get(), sizeof(ClrIccTagLutAToB));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_SetICCTagData(profile, read.Get(), FourCc("A2B1"), FourCc(direction.type)));
        EXPECT_EQ(before, BytesOf(read.Get(), sizeof(ClrIccTagLutAToB)));
        EXPECT_EQ(1, Value(profile->tagCount));
    }
}

TEST(IccSetLutAToB, EntryCounts) {
    for (const Direction& direction : kDirections) {
        for (int element = 0; element < 3; ++element) {
            for (const size_t count : {0U, 1U, 254U, 255U, 256U, 257U, 300U, 511U, 512U, 65536U}) {
                for (uint32_t place = 0; place < 3; ++place) {
                    SCOPED_TRACE(direction.type + std::to_string(element) + " " + std::to_string(count));
                    const HostScope scope;
                    const auto curves = [&](int which) {
                        HostCurves made;
                        for (uint32_t i = 0; i < 3; ++i) {
                            made.AddTable(SomeWords(which == element && i == place ? count : 2 + i, i));
                        }
                        return made;
                    };
                    HostLut lut(direction.toConnection, 3, 3, 1, curves(0), curves(1), curves(2));
                    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                    const int32_t result =
                        Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type));
                    EXPECT_EQ(count <= 255 ? CLR_SUCCESS : ERR_INVALID_PARAMETER, result);
                    if (result != CLR_SUCCESS) continue;
                    EXPECT_EQ(ElementsBody(direction.type, lut.elements), IccBodyOf(profile, "A2B0"));
                }
            }
        }
    }
}

/// The body with its size as it is computed: each run by a walk over what was written. Nothing if one derails.
Bytes CutBody(const char* type, const ElementBodies& elements, uint32_t connection, uint32_t device) {
    Bytes body = ElementsBody(type, elements);
    uint64_t size = 32 + 48 + elements.clut.size();
    for (const auto& [run, count] : {std::pair<const Bytes*, uint32_t>{&elements.curvesA, device},
                                     {&elements.curvesM, connection},
                                     {&elements.curvesB, connection}}) {
        const uint64_t runSize = PlainCurveSetSize(*run, count, true);
        if (runSize == kDerailed) return {};
        size += runSize;
    }
    EXPECT_LE(size, body.size());
    body.resize(size);
    return body;
}

TEST(IccSetLutAToB, ParametricCurvesAloneAndAtTheFrontOfRuns) {
    int derailed = 0;
    int written = 0;
    for (const Direction& direction : kDirections) {
        for (uint16_t type = 0; type <= 4; ++type) {
            for (uint8_t channels = 1; channels <= 3; ++channels) {
                for (uint32_t where = 1; where < 8; ++where) {
                    SCOPED_TRACE(direction.type + std::to_string(type) + std::to_string(channels) + " " +
                                 std::to_string(where));
                    const HostScope scope;
                    const auto curves = [&](uint32_t bit) {
                        HostCurves made;
                        if ((where & bit) != 0) {
                            made.AddParametric(type, {0x01020304, 0x11121314, 0x21222324, 0x31323334, 5, 6, 7});
                        }
                        while (made.count < channels) made.AddTable(SomeWords(1 + made.count, made.count));
                        return made;
                    };
                    HostLut lut(direction.toConnection, channels, channels, 1, curves(1), curves(2), curves(4));
                    IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                    const int32_t result =
                        Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type));
                    const Bytes body = CutBody(direction.type, lut.elements, channels, channels);
                    ASSERT_EQ(body.empty() ? ERR_INVALID_PARAMETER : CLR_SUCCESS, result);
                    derailed += body.empty() ? 1 : 0;
                    if (body.empty()) continue;
                    ++written;
                    EXPECT_EQ(body, IccBodyOf(profile, "A2B0"));
                    EXPECT_EQ(body.size(), Value(profile->tagDataSize));
                    EXPECT_EQ(type == 0, body.size() == ElementsBody(direction.type, lut.elements).size());
                }
            }
        }
    }
    // Behind a long formula the walk of three meets the type of a table as its count.
    EXPECT_GT(derailed, 0);
    EXPECT_GT(written, 10 * derailed);
}

TEST(IccSetLutAToB, PlainArraysOfRecords) {
    Words words[3] = {{1, 2, 3}, {4, 5}, {6}};
    for (const Direction& direction : kDirections) {
        for (uint8_t count = 2; count <= 3; ++count) {
            for (int element = 0; element < 3; ++element) {
                SCOPED_TRACE(direction.type + std::to_string(count));
                const HostScope scope;
                HostLut lut(direction.toConnection, count, count, 1);
                ClrIccTagCurve plain[3];
                for (int i = 0; i < 3; ++i) {
                    plain[i] = {FourCc("curv"), {}, static_cast<uint32_t>(words[i].size()), words[i].data()};
                }
                (element == 0 ? lut.record.curvesB : element == 1 ? lut.record.curvesM : lut.record.curvesA) = plain;
                IccProfileHolder profile(IccProfileHolder::Start::kHeader);
                EXPECT_EQ(ERR_INVALID_PARAMETER,
                          Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type)));
                EXPECT_EQ(0, Value(profile->tagCount));
            }
        }
    }
}

TEST(IccSetLutAToB, PlainRecordsOfParametricCurves) {
    std::vector<uint32_t> parameters(7, 0x10000);
    for (uint16_t type = 0; type <= 4; ++type) {
        const HostScope scope;
        HostLut lut(true, 3, 3, 1);
        ClrIccTagParametricCurve plain[3];
        for (auto& record : plain) record = {FourCc("para"), {}, type, {}, parameters.data()};
        lut.record.curvesB = plain;
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        const int32_t result = Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc("mAB "));
        EXPECT_EQ(ERR_INVALID_PARAMETER, result) << type;
        EXPECT_EQ(0, Value(profile->tagCount));
    }
}

TEST(IccSetLutAToB, RunsThatCannotBeRead) {
    for (const Direction& direction : kDirections) {
        for (int element = 0; element < 3; ++element) {
            SCOPED_TRACE(direction.type + std::to_string(element));
            const HostScope scope;
            HostLut lut(direction.toConnection, 3, 3, 1);
            // The last record needs 20 bytes.
            const GuardedBuffer records(16 * 3 + 4 - 1);
            const HostCurves& source = element == 0 ? lut.curvesB : element == 1 ? lut.curvesM : lut.curvesA;
            HostCurves copy = source;
            std::memcpy(records.Data(), copy.Records(), records.Size());
            (element == 0   ? lut.record.curvesB
             : element == 1 ? lut.record.curvesM
                            : lut.record.curvesA) = records.Data();
            IccRecordHolder image;
            EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type));
        }
    }
}

TEST(IccSetLutAToB, GridsThatCannotBeUsed) {
    for (const Direction& direction : kDirections) {
        SCOPED_TRACE(direction.type);
        const HostScope scope;
        HostLut lut(direction.toConnection, 2, 3, 2);
        IccRecordHolder image;
        lut.clut.data = nullptr;
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type));
        const GuardedBuffer shorter(lut.values.size() - 1);
        lut.clut.data = shorter.Data();
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type));
        lut.clut.data = lut.values.data();
        const GuardedBuffer head(27);
        std::memcpy(head.Data(), &lut.clut, 27);
        lut.record.clut = head.Data();
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type));
        lut.record.clut = &lut.clut;
        std::fill(std::begin(lut.clut.gridPoints), std::end(lut.clut.gridPoints), uint8_t{255});
        HostCurves many = Tables(17);
        lut.record.curvesB = many.Records();
        lut.record.curvesM = many.Records();
        lut.record.curvesA = many.Records();
        lut.record.inputChannels = 17;
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type));
        lut.record.inputChannels = 2;
        lut.clut.data = shorter.Data();
        EXPECT_EQ(ERR_INVALID_PARAMETER, image.Make(&lut.record, direction.type)) << "more values than there are";
    }
}

TEST(IccSetLutAToB, GridsOfOtherPrecisionsAreLeftOut) {
    for (const Direction& direction : kDirections) {
        SCOPED_TRACE(direction.type);
        const HostScope scope;
        HostLut lut(direction.toConnection, 2, 2, 3);
        const Bytes values = lut.values;
        IccProfileHolder profile(IccProfileHolder::Start::kHeader);
        ASSERT_EQ(CLR_SUCCESS, Zv_SetICCTagData(profile, &lut.record, FourCc("A2B0"), FourCc(direction.type)));
        EXPECT_EQ(Swapped(values, 2), lut.values);
        // The size is counted by the written block, whose precision is 0.
        ElementBodies elements = lut.elements;
        elements.clut.assign(elements.clut.size(), 0);
        Bytes body = ElementsBody(direction.type, elements);
        body.resize(body.size() - (elements.clut.size() - 20));
        EXPECT_EQ(body, IccBodyOf(profile, "A2B0"));
    }
}

TEST(IccSetLutAToB, AFailureLeavesScratchBlocks) {
    for (const Direction& direction : kDirections) {
        int64_t total = 0;
        {
            const HostScope scope;
            HostLut lut(direction.toConnection, 2, 3, 2);
            IccRecordHolder image;
            ASSERT_EQ(CLR_SUCCESS, image.Make(&lut.record, direction.type));
            total = scope->AllocationsSinceReset();
        }
        // allData, then five scratch blocks with two blocks for each curve among them, then four copies.
        const uint32_t connection = direction.toConnection ? 3 : 2;
        const uint32_t device = direction.toConnection ? 2 : 3;
        ASSERT_EQ(1 + 5 + 2 * (2 * connection + device) + 4, total);
        for (int64_t n = 1; n <= total; ++n) {
            SCOPED_TRACE(direction.type + std::to_string(n));
            HostScope scope;
            HostLut lut(direction.toConnection, 2, 3, 2);
            IccRecordHolder image;
            scope->FailAllocation(n);
            EXPECT_EQ(ERR_FAILURE, image.Make(&lut.record, direction.type));
            image.Free();
            // Scratch blocks in the order of their making.
            const int64_t kMade[] = {2, 3 + 2 * connection, 4 + 2 * connection, 5 + 4 * connection, 6 + 4 * connection};
            size_t scratch = 0;
            for (const int64_t made : kMade) scratch += made < n ? 1 : 0;
            EXPECT_EQ(scratch, scope.Leaked());
            scope.ExpectLeaked(scratch);
        }
    }
}

}  // namespace
}  // namespace zv::test
