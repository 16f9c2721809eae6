#include "tests/support/engine_records.h"

namespace zv::test {

CmmLut* MakeLutRecord(const reference::Lut& lut) {
    CmmLut* record = CmmLutAlloc();
    if (record == nullptr) return nullptr;
    const auto own = [](const Words& table) {
        auto* copy = static_cast<uint16_t*>(HostAlloc(2, static_cast<int64_t>(table.size()), 1, ZV_WIDE("test")));
        std::copy(table.begin(), table.end(), copy);
        return copy;
    };
    record->inputChannels = lut.inputs;
    record->outputChannels = lut.outputs;
    std::copy(lut.matrix.begin(), lut.matrix.end(), record->matrix);
    if (lut.hasGrid) {
        EXPECT_EQ(1, CmmLutAllocGrid(record, lut.gridPoints, lut.inputs, lut.outputs));
        std::copy(lut.grid.begin(), lut.grid.end(), record->clut);
    }
    for (size_t i = 0; i < lut.inputCurves.size(); ++i) record->inputCurves[i] = own(lut.inputCurves[i]);
    for (size_t o = 0; o < lut.outputCurves.size(); ++o) record->outputCurves[o] = own(lut.outputCurves[o]);
    if (!lut.inputCurves.empty()) record->inputEntries = static_cast<uint32_t>(lut.inputCurves[0].size());
    if (!lut.outputCurves.empty()) record->outputEntries = static_cast<uint32_t>(lut.outputCurves[0].size());
    record->inputParams = CmmCurveParams(record->inputEntries);
    record->outputParams = CmmCurveParams(record->outputEntries);
    record->flags |= (lut.hasMatrix ? LUT_HAS_MATRIX : 0U) | (lut.hasInputCurves ? LUT_HAS_INPUT_CURVES : 0U) |
                     (lut.hasOutputCurves ? LUT_HAS_OUTPUT_CURVES : 0U);
    return record;
}

reference::Lut PlainOf(const CmmLut& lut) {
    reference::Lut plain;
    plain.hasMatrix = (lut.flags & LUT_HAS_MATRIX) != 0;
    plain.hasInputCurves = (lut.flags & LUT_HAS_INPUT_CURVES) != 0;
    plain.hasOutputCurves = (lut.flags & LUT_HAS_OUTPUT_CURVES) != 0;
    plain.hasGrid = (lut.flags & LUT_HAS_CLUT) != 0;
    std::copy_n(lut.matrix, 9, plain.matrix.begin());
    plain.inputs = lut.inputChannels;
    plain.outputs = lut.outputChannels;
    plain.gridPoints = lut.gridPoints;
    for (uint32_t i = 0; i < lut.inputChannels && lut.inputCurves[i] != nullptr; ++i) {
        plain.inputCurves.emplace_back(lut.inputCurves[i], lut.inputCurves[i] + lut.inputEntries);
    }
    for (uint32_t o = 0; o < lut.outputChannels && lut.outputCurves[o] != nullptr; ++o) {
        plain.outputCurves.emplace_back(lut.outputCurves[o], lut.outputCurves[o] + lut.outputEntries);
    }
    if (lut.clut != nullptr) {
        size_t entries = lut.outputChannels;
        for (uint32_t i = 0; i < lut.inputChannels; ++i) entries *= lut.gridPoints;
        plain.grid.assign(lut.clut, lut.clut + entries);
    }
    return plain;
}

void ExpectSameLut(const reference::Lut& expected, const reference::Lut& actual) {
    EXPECT_EQ(expected.hasMatrix, actual.hasMatrix);
    EXPECT_EQ(expected.hasInputCurves, actual.hasInputCurves);
    EXPECT_EQ(expected.hasOutputCurves, actual.hasOutputCurves);
    EXPECT_EQ(expected.hasGrid, actual.hasGrid);
    if (expected.hasMatrix) {
        EXPECT_EQ(expected.matrix, actual.matrix);
    }
    EXPECT_EQ(expected.inputs, actual.inputs);
    EXPECT_EQ(expected.outputs, actual.outputs);
    EXPECT_EQ(expected.gridPoints, actual.gridPoints);
    EXPECT_EQ(expected.inputCurves, actual.inputCurves);
    EXPECT_EQ(expected.outputCurves, actual.outputCurves);
    EXPECT_TRUE(expected.grid == actual.grid) << "grids differ";
}

namespace {

template <class Build>
ShaperRecord BuildShaper(const std::array<Words, 3>& tables, const Build& build) {
    const Curve owned[3] = {MakeCurve(tables[0]), MakeCurve(tables[1]), MakeCurve(tables[2])};
    ToneCurve* const curves[3] = {owned[0].get(), owned[1].get(), owned[2].get()};
    return ShaperRecord(build(curves, MatShaperAlloc()));
}

size_t BytesPerPixel(uint32_t format) { return size_t{format & 7U} * (format >> 3 & 15U); }

}  // namespace

ShaperRecord MakeShaperRecord(const reference::Matrix& matrix, const std::array<Words, 3>& curves, uint32_t kind) {
    double elements[9];
    std::copy(matrix.begin(), matrix.end(), elements);
    return BuildShaper(curves, [&](ToneCurve* const(&records)[3], MatShaper* shaper) {
        return MatShaperBuild(elements, records, kind, shaper);
    });
}

ShaperRecord MakeGrayShaperRecord(const std::array<Words, 3>& curves, uint32_t kind) {
    return BuildShaper(curves, [&](ToneCurve* const(&records)[3], MatShaper* shaper) {
        return MatShaperBuildGray(records, kind, shaper);
    });
}

Built BuildFromBytes(const std::optional<Bytes>& input, uint32_t inputFormat, const std::optional<Bytes>& output,
                     uint32_t outputFormat, const reference::BuildOptions& options, int32_t statusBefore) {
    Built built;
    built.status = statusBefore;
    CmmProfile* const from = input ? CmmOpenProfileFromMemory(input->data(), input->size()) : nullptr;
    CmmProfile* const to = output ? CmmOpenProfileFromMemory(output->data(), output->size()) : nullptr;
    if ((input && from == nullptr) || (output && to == nullptr)) {
        CmmCloseProfile(from);
        CmmCloseProfile(to);
        return built;
    }
    built.transform.reset(CmmBuildTransform(
        from, inputFormat, to, outputFormat, AsWhite(options.white),
        (options.patchEndpoints ? CMMBUILD_PATCH_ENDPOINTS : 0U) | (options.noGrid ? CMMBUILD_NO_GRID : 0U),
        &built.status));
    return built;
}

Bytes RunPixels(CmmTransform* transform, const Bytes& pixels) {
    const size_t count = pixels.size() / BytesPerPixel(transform->inputFormat);
    Bytes out(count * BytesPerPixel(transform->outputFormat), 0xCD);
    EXPECT_EQ(CLR_SUCCESS, CmmRunTransform(pixels.data(), out.data(), static_cast<uint32_t>(count), transform));
    return out;
}

Bytes PixelsOf(uint32_t format, size_t randomPixels, uint64_t seed) {
    const size_t size = BytesPerPixel(format);
    const size_t wordBytes = format & 7U, channels = format >> 3 & 15U;
    Bytes pixels;
    for (size_t corner = 0; corner < size_t{1} << channels; ++corner) {
        for (size_t c = 0; c < channels; ++c) {
            pixels.insert(pixels.end(), wordBytes, (corner >> c & 1) != 0 ? uint8_t{0xFF} : uint8_t{0});
        }
    }
    for (size_t level = 0; level < 256; level += 5) pixels.insert(pixels.end(), size, static_cast<uint8_t>(level));
    TestRandom random(seed);
    for (size_t i = 0; i < randomPixels * size; ++i) pixels.push_back(static_cast<uint8_t>(random.Below(256)));
    return pixels;
}

void ExpectLikeTheReference(const std::optional<Bytes>& input, uint32_t inputFormat, const std::optional<Bytes>& output,
                            uint32_t outputFormat, size_t randomPixels, const reference::BuildOptions& options) {
    const Built built = BuildFromBytes(input, inputFormat, output, outputFormat, options);
    const auto expected = reference::Build(input, inputFormat, output, outputFormat, options);
    ASSERT_TRUE(expected.has_value());
    ASSERT_NE(nullptr, built.transform);
    EXPECT_EQ(CLR_SUCCESS, built.status);
    ASSERT_EQ(expected->gridLut.has_value(), built.transform->gridLut != nullptr);
    if (expected->gridLut) {
        EXPECT_TRUE(expected->gridLut->grid == PlainOf(*built.transform->gridLut).grid) << "grids differ";
    }
    const Bytes pixels = PixelsOf(inputFormat, randomPixels, 77);
    const Bytes wanted = reference::Run(*expected, pixels), got = RunPixels(built.transform.get(), pixels);
    ASSERT_EQ(wanted.size(), got.size());
    const auto differs = std::mismatch(wanted.begin(), wanted.end(), got.begin());
    EXPECT_TRUE(differs.first == wanted.end())
        << "byte " << differs.first - wanted.begin() << ": " << int{*differs.first} << " by the reference, "
        << int{*differs.second} << " by the library";
}

}  // namespace zv::test
