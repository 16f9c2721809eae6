// Elements of "mAB " and "mBA ": grids, matrices, runs of curves.
#include <gtest/gtest.h>

#include "Common/IccProfile/lut_elements.h"
#include "Common/IccProfile/tag_types.h"
#include "tests/Common/IccProfile/lut_fixture.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

// --- Grids ----------------------------------------------------------------------------------------------------------

TEST(IccClutSize, IsTheProductRoundedUp) {
    for (uint8_t inputs = 0; inputs <= 16; ++inputs) {
        for (const uint8_t outputs : Bytes{0, 1, 3, 16, 255}) {
            for (const uint8_t precision : Bytes{0, 1, 2, 3, 255}) {
                Bytes block(20);
                uint64_t product = 1;
                for (uint8_t i = 0; i < 16; ++i) {
                    block[i] = static_cast<uint8_t>(1 + (i + outputs) % 3);
                    if (i < inputs) product *= block[i];
                }
                block[16] = precision;
                const uint64_t size = (product * precision * outputs + 20 + 3) / 4 * 4;
                EXPECT_EQ(size, IccClutSize(block.data(), inputs, outputs)) << int{inputs} << " " << int{outputs};
            }
        }
    }
}

TEST(IccClutSize, WorkedExamples) {
    EXPECT_EQ(44U, IccClutSize(ClutBlock({2, 2, 2}, 1, {}).data(), 3, 3));
    EXPECT_EQ(24U, IccClutSize(ClutBlock({9, 9}, 1, {}).data(), 0, 3));
    EXPECT_EQ(28U, IccClutSize(ClutBlock({9, 9}, 2, {}).data(), 0, 3));
    EXPECT_EQ(20U, IccClutSize(ClutBlock({9, 0}, 2, {}).data(), 2, 3));
    EXPECT_EQ(100U, IccClutSize(ClutBlock({16, 0}, 1, {}).data(), 1, 5));
}

TEST(IccClutSize, GridsThatNoBlockHolds) {
    const Bytes block = ClutBlock(Bytes(16, 255), 255, {});
    EXPECT_GT(IccClutSize(block.data(), 16, 255), uint64_t{UINT32_MAX});
    EXPECT_GT(IccClutSize(block.data(), 8, 1), uint64_t{UINT32_MAX});
    EXPECT_GT(IccClutSize(block.data(), 17, 1), uint64_t{UINT32_MAX});
    EXPECT_GT(IccClutSize(block.data(), 255, 0), uint64_t{UINT32_MAX});
}

TEST(IccConvertClut, CopiesHeadAndData) {
    Bytes data = CountingBytes(33);
    ClrIccClut clut;
    for (uint8_t i = 0; i < 16; ++i) clut.gridPoints[i] = static_cast<uint8_t>(100 + i);
    clut.precision = 7;
    for (uint8_t i = 0; i < 3; ++i) clut.clutPad[i] = static_cast<uint8_t>(200 + i);
    clut.data = data.data();
    for (const int32_t precision : {1, 2}) {
        for (const size_t length : {0U, 1U, 32U, 33U}) {
            const GuardedBuffer buffer(20 + length);
            ASSERT_EQ(CLR_SUCCESS, Zv_ConvertCLUTToBuffer(buffer.Data(), &clut, precision, length));
            EXPECT_EQ(BytesOf(&clut, 20) + Slice(data, 0, length), BytesOf(buffer.Data(), buffer.Size()));
        }
    }
}

TEST(IccConvertClut, Refusals) {
    uint8_t buffer[24] = {};
    uint8_t data[4] = {1, 2, 3, 4};
    ClrIccClut clut = {{2}, 1, {}, data};
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(nullptr, &clut, 1, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(buffer, nullptr, 1, 4));
    for (const int32_t precision : {0, 3, 4, -1, 255, 256, 257, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(buffer, &clut, precision, 4)) << precision;
    }
    const GuardedBuffer shorter(3);
    clut.data = shorter.Data();
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(buffer, &clut, 1, 4));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(buffer, &clut, 1, UINT64_MAX));
    clut.data = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ConvertCLUTToBuffer(buffer, &clut, 1, 4));
    EXPECT_EQ(Bytes(24), BytesOf(buffer, 24));
    EXPECT_EQ(CLR_SUCCESS, Zv_ConvertCLUTToBuffer(buffer, &clut, 1, 0));
}

TEST(IccClutFromImage, BytesAndWords) {
    for (const uint8_t precision : Bytes{1, 2}) {
        for (const uint8_t outputs : Bytes{1, 2, 3, 4, 5}) {
            SCOPED_TRACE(int{precision} * 10 + int{outputs});
            const HostScope host;
            // Padding bytes are values like others.
            Bytes block = ClutBlock({3, 1}, precision, CountingBytes(size_t{3} * outputs * precision));
            for (size_t i = 20 + size_t{3} * outputs * precision; i < block.size(); ++i) block[i] = 0xAA;
            block[17] = 1;
            block[18] = 2;
            block[19] = 3;
            ASSERT_EQ(block.size(), IccClutSize(block.data(), 2, outputs));
            const GuardedBuffer source(block.size());
            std::copy(block.begin(), block.end(), source.begin());
            const GuardedBuffer destination(block.size());
            ASSERT_EQ(CLR_SUCCESS, IccClutFromImage(destination.Data(), {source.Data(), source.Size()}, 2, outputs));
            EXPECT_EQ(HostClut(block), BytesOf(destination.Data(), block.size()));
        }
    }
}

TEST(IccClutFromImage, WithoutADestination) {
    const HostScope host;
    for (const uint8_t precision : Bytes{1, 2, 3}) {
        const Bytes block = ClutBlock({3, 1}, precision, CountingBytes(size_t{6} * precision));
        EXPECT_EQ(CLR_SUCCESS, IccClutFromImage(nullptr, {block.data(), block.size()}, 2, 2));
        EXPECT_EQ(ERR_INVALID_PARAMETER, IccClutFromImage(nullptr, {block.data(), 25}, 2, 2));
    }
}

TEST(IccClutFromImage, OtherPrecisionsAndShortBlocks) {
    const HostScope host;
    for (const uint8_t precision : Bytes{0, 3, 4, 255}) {
        const Bytes block = ClutBlock({3, 1}, precision, CountingBytes(size_t{3} * 2 * precision));
        Bytes destination(block.size(), 0xEE);
        EXPECT_EQ(ERR_INVALID_PARAMETER, IccClutFromImage(destination.data(), {block.data(), block.size()}, 2, 2));
        EXPECT_EQ(Bytes(block.size(), 0xEE), destination);
    }
    const Bytes block = ClutBlock({3, 1}, 1, CountingBytes(6));
    for (size_t size = 0; size < 26; ++size) {
        Bytes destination(block.size(), 0xEE);
        EXPECT_EQ(ERR_INVALID_PARAMETER, IccClutFromImage(destination.data(), {block.data(), size}, 2, 2)) << size;
    }
}

TEST(IccClutToImage, SwapsTheCallersValues) {
    const HostScope host;
    Bytes values = CountingBytes(24);
    const Bytes before = values;
    ClrIccClut clut = {{2, 2}, 2, {4, 5, 6}, values.data()};
    const GuardedBuffer destination(44);
    ASSERT_EQ(CLR_SUCCESS, IccClutToImage(destination.Data(), &clut, 2, 3));
    EXPECT_EQ(Swapped(before, 2), values);
    EXPECT_EQ(BytesOf(&clut, 20) + Swapped(before, 2), BytesOf(destination.Data(), 44));
    ASSERT_EQ(CLR_SUCCESS, IccClutToImage(destination.Data(), &clut, 2, 3));
    EXPECT_EQ(before, values);
    EXPECT_EQ(BytesOf(&clut, 20) + before, BytesOf(destination.Data(), 44));
    ASSERT_EQ(CLR_SUCCESS, IccClutToImage(nullptr, &clut, 2, 3));
    EXPECT_EQ(Swapped(before, 2), values);
    clut.precision = 1;
    values = before;
    const GuardedBuffer bytes(32);
    ASSERT_EQ(CLR_SUCCESS, IccClutToImage(bytes.Data(), &clut, 2, 3));
    EXPECT_EQ(before, values);
    EXPECT_EQ(BytesOf(&clut, 20) + Slice(before, 0, 12), BytesOf(bytes.Data(), 32));
}

TEST(IccClutToImage, IsContentWithOtherPrecisions) {
    Bytes values = CountingBytes(36);
    const Bytes before = values;
    ClrIccClut clut = {{2, 2}, 3, {4, 5, 6}, values.data()};
    Bytes destination(56, 0xEE);
    EXPECT_EQ(CLR_SUCCESS, IccClutToImage(destination.data(), &clut, 2, 3));
    EXPECT_EQ(Bytes(56, 0xEE), destination);
    EXPECT_EQ(Swapped(before, 2), values);
}

TEST(IccMatrixToImage, SwapsTheCallersWords) {
    Bytes matrix = MatrixBlock();
    const Bytes before = matrix;
    const GuardedBuffer destination(48);
    ASSERT_EQ(CLR_SUCCESS, IccMatrixToImage(destination.Data(), matrix.data()));
    EXPECT_EQ(Swapped(before, 4), matrix);
    EXPECT_EQ(matrix, BytesOf(destination.Data(), 48));
    ASSERT_EQ(CLR_SUCCESS, IccMatrixToImage(destination.Data(), matrix.data()));
    EXPECT_EQ(before, matrix);
    EXPECT_EQ(before, BytesOf(destination.Data(), 48));
    EXPECT_EQ(ERR_INVALID_PARAMETER, IccMatrixToImage(nullptr, matrix.data()));
    EXPECT_EQ(ERR_INVALID_PARAMETER, IccMatrixToImage(destination.Data(), nullptr));
    EXPECT_EQ(before, matrix);
}

// --- Runs -----------------------------------------------------------------------------------------------------------

TEST(IccCurveSetSize, WalksTheRun) {
    const Bytes table = CurveBody({1, 2, 3});
    const std::vector<std::vector<Bytes>> runs = {
        {table},
        {table, CurveBody({}), GammaBody(1), CurveBody(SomeWords(300, 3))},
        {ParametricBody(0, {1})},
        {ParametricBody(0, {1}), table, ParametricBody(0, {2})},
    };
    for (const auto& curves : runs) {
        const Bytes run = CurveRun(curves);
        const auto count = static_cast<uint32_t>(curves.size());
        uint64_t size = 77;
        ASSERT_TRUE(IccCurveSetSize({run.data(), run.size()}, count, true, &size));
        EXPECT_EQ(run.size(), size);
        EXPECT_EQ(size, PlainCurveSetSize(run, count, true));
        const Bytes host = HostRun(run, count);
        ASSERT_TRUE(IccCurveSetSize({host.data(), host.size()}, count, false, &size));
        EXPECT_EQ(host.size(), size);
        EXPECT_FALSE(IccCurveSetSize({run.data(), run.size() - 1}, count, true, &size));
    }
}

TEST(IccCurveSetSize, ParametricCurvesByTheOrderOfTheHost) {
    for (uint16_t type = 0; type <= 4; ++type) {
        const std::vector<double> parameters(static_cast<size_t>(Zv_GetParametricCurveNumberOfParameters(type)), 1.0);
        const Bytes image = ParametricBody(type, parameters);
        const Bytes host = HostRun(image, 1);
        uint64_t size = 0;
        ASSERT_TRUE(IccCurveSetSize({image.data(), image.size()}, 1, true, &size));
        EXPECT_EQ(type == 0 ? 16U : 12U, size) << "in the image " << type;
        ASSERT_TRUE(IccCurveSetSize({host.data(), host.size()}, 1, false, &size));
        EXPECT_EQ(host.size(), size) << "in the order of the host " << type;
    }
}

TEST(IccCurveSetSize, NothingIsZero) {
    const Bytes run = CurveBody({1, 2});
    uint64_t size = 77;
    EXPECT_TRUE(IccCurveSetSize({run.data(), run.size()}, 0, true, &size));
    EXPECT_EQ(0U, size);
    size = 77;
    EXPECT_TRUE(IccCurveSetSize({nullptr, 0}, 3, true, &size));
    EXPECT_EQ(0U, size);
}

TEST(IccReadCurveSet, AppendsAndKeepsACopy) {
    const Bytes run =
        CurveRun({CurveBody({1, 2, 3}), ParametricBody(4, {1, 2, 3, 4, 5, 6, 7}), ParametricBody(1, {1, 2, 3}),
                  CurveBody({}), CurveBody({0x1122}), ParametricBody(0, {5})});
    const Bytes host = HostRun(run, 6);
    for (const auto kind : {IccCurveKind::kA, IccCurveKind::kB, IccCurveKind::kM}) {
        for (const size_t front : {0U, 20U}) {
            SCOPED_TRACE(static_cast<int>(kind));
            const HostScope scope;
            ClrIccTagLutAToB record = {};
            const Bytes older = CountingBytes(front);
            if (front != 0) record.allData = IccNewCopy<uint8_t>(older.data(), front, 1);
            const GuardedBuffer source(run.size());
            std::copy(run.begin(), run.end(), source.begin());
            const int64_t length =
                IccReadCurveSet(&record, static_cast<int64_t>(front), {source.Data(), source.Size()}, 6, kind);
            ASSERT_EQ(static_cast<int64_t>(front + host.size()), length);
            EXPECT_EQ(older + host, BytesOf(record.allData, front + host.size()));
            void* const pointers[] = {record.curvesA, record.curvesB, record.curvesM};
            const int index = static_cast<int>(kind) - 1;
            for (int i = 0; i < 3; ++i) EXPECT_EQ(i == index, pointers[i] != nullptr);
            EXPECT_EQ(host, BytesOf(pointers[index], host.size()));
            // Eight times what it needs.
            bool found = false;
            for (const LiveBlock& block : scope->LiveBlocks()) {
                found |= block.address == pointers[index] && block.size == 8 * host.size();
            }
            EXPECT_TRUE(found);
            Zv_FreeICCTagType(&record, FourCc("mAB "));
        }
    }
}

TEST(IccReadCurveSet, AnyOtherTypeIsATable) {
    const HostScope scope;
    Bytes run = CurveBody({0x0102, 0x0304});
    SetBig32(run, 0, FourCc("zzzz"));
    SetBig32(run, 4, 0x01020304);
    ClrIccTagLutAToB record = {};
    ASSERT_EQ(16, IccReadCurveSet(&record, 0, {run.data(), run.size()}, 1, IccCurveKind::kB));
    EXPECT_EQ((Bytes{'z', 'z', 'z', 'z', 4, 3, 2, 1, 2, 0, 0, 0, 2, 1, 4, 3}), BytesOf(record.curvesB, 16));
    Zv_FreeICCTagType(&record, FourCc("mAB "));
}

TEST(IccReadCurveSet, AFailureStopsIt) {
    const Bytes good = CurveRun({CurveBody({1, 2, 3})});
    const std::pair<Bytes, int64_t> kCases[] = {
        {good, ERR_INVALID_PARAMETER},
        {good + ParametricBody(5, {1}), ERR_BAD_TAG},
        {good + Slice(CurveBody({1, 2, 3}), 0, 17), ERR_INVALID_PARAMETER},
    };
    for (const auto& [run, result] : kCases) {
        const HostScope scope;
        ClrIccTagLutAToB record = {};
        EXPECT_EQ(result, IccReadCurveSet(&record, 0, {run.data(), run.size()}, 2, IccCurveKind::kB));
        EXPECT_EQ(nullptr, Value(record.curvesB));
        EXPECT_EQ(HostRun(good, 1), BytesOf(record.allData, good.size()));
        Zv_FreeICCTagType(&record, FourCc("mAB "));
    }
    for (int64_t n = 1; n <= 5; ++n) {
        const HostScope scope;
        scope->FailAllocation(n);
        const Bytes run = good + good;
        ClrIccTagLutAToB record = {};
        EXPECT_EQ(ERR_FAILURE, IccReadCurveSet(&record, 0, {run.data(), run.size()}, 2, IccCurveKind::kB)) << n;
        Zv_FreeICCTagType(&record, FourCc("mAB "));
    }
}

TEST(IccWriteCurveSet, RunsOfOneTwoAndThree) {
    for (uint32_t count = 0; count <= 3; ++count) {
        SCOPED_TRACE(count);
        const HostScope scope;
        HostCurves curves = Tables(count);
        const GuardedBuffer destination(std::max<size_t>(curves.image.size(), 1));
        ASSERT_EQ(CLR_SUCCESS, IccWriteCurveSet(destination.Data(), static_cast<uint8_t*>(curves.Records()), count));
        EXPECT_EQ(curves.image, BytesOf(destination.Data(), curves.image.size()));
    }
}

TEST(IccWriteCurveSet, ParametricCurvesKeepTheParameterOfTypeZeroOnly) {
    for (uint16_t type = 0; type <= 4; ++type) {
        for (uint32_t behind = 0; behind <= 2; ++behind) {
            SCOPED_TRACE(type);
            const HostScope scope;
            HostCurves curves;
            curves.AddParametric(type, {0x01020304, 0x11121314, 0x21222324, 0x31323334, 5, 6, 7});
            for (uint32_t i = 0; i < behind; ++i) curves.AddTable(SomeWords(3 + i, i));
            const GuardedBuffer destination(curves.image.size());
            ASSERT_EQ(CLR_SUCCESS,
                      IccWriteCurveSet(destination.Data(), static_cast<uint8_t*>(curves.Records()), curves.count));
            EXPECT_EQ(curves.image.size(), destination.Size());
            Bytes expected = curves.image;
            const size_t kept = type == 0 ? 16 : 12;
            std::fill(expected.begin() + static_cast<ptrdiff_t>(kept),
                      expected.begin() + 12 + 4 * Zv_GetParametricCurveNumberOfParameters(type), uint8_t{0});
            EXPECT_EQ(expected, BytesOf(destination.Data(), destination.Size()));
        }
    }
}

TEST(IccWriteCurveSet, AFailureEndsTheWalk) {
    for (int64_t n = 1; n <= 6; ++n) {
        const HostScope scope;
        HostCurves curves = Tables(3);
        Bytes destination(curves.image.size(), 0xEE);
        scope->FailAllocation(n);
        EXPECT_EQ(ERR_FAILURE, IccWriteCurveSet(destination.data(), static_cast<uint8_t*>(curves.Records()), 3)) << n;
        size_t written = 0;
        for (int64_t i = 0; i < (n - 1) / 2; ++i) {
            written += CurveRun({CurveBody(curves.tables[static_cast<size_t>(i)])}).size();
        }
        EXPECT_EQ(Slice(curves.image, 0, written) + Bytes(destination.size() - written, 0xEE), destination);
    }
}

}  // namespace
}  // namespace zv::test
