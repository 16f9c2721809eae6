// Zv_ClrSetConversionParams: what is checked before anything is taken, the mask, the active method, and what stays in
// force after a refusal.
#include "tests/Common/zvclr/change_fixture.h"

namespace zv::test {
namespace {

constexpr uint32_t kEveryPart = 127;

ClrHandle* AsConverter(uint8_t* address) { return reinterpret_cast<ClrHandle*>(address); }

// --- Checks ---------------------------------------------------------------------------------------------------------

TEST(ChangeChecks, NullGoesBeforeEverything) {
    const HostScope host;
    const Nowhere nowhere;
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    ClrParams params = ChangeOf(0);
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(c.Get(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(nullptr, &params));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(nowhere.As<ClrHandle>(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrSetConversionParams(nullptr, nowhere.As<ClrParams>()));
}

TEST(ChangeChecks, WholeRecordMustBeReadable) {
    const HostScope host;
    const Nowhere nowhere;
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    const GuardedBuffer exact(sizeof(ClrParams)), shorter(sizeof(ClrParams) - 8);
    const ClrParams params = ChangeOf(0);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(c.Get(), PlaceAt(exact.Data(), params)));
    const auto* cut = reinterpret_cast<const ClrParams*>(shorter.Data());
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(c.Get(), cut));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(c.Get(), nowhere.As<ClrParams>()));
    // Before anybody asks whether the converter is one.
    ClrHandle none{};
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(&none, nowhere.As<ClrParams>()));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(nowhere.As<ClrHandle>(), nowhere.As<ClrParams>()));
}

TEST(ChangeChecks, WholeConverterMustBeReadable) {
    const HostScope host;
    const Nowhere nowhere;
    const ClrParams params = ChangeOf(0);
    const GuardedBuffer exact(sizeof(ClrHandle), GuardedBuffer::Side::kBack, 0);
    const GuardedBuffer shorter(sizeof(ClrHandle) - 8, GuardedBuffer::Side::kBack, 0);
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(nowhere.As<ClrHandle>(), &params));
    EXPECT_EQ(ERR_BAD_POINTER, Zv_ClrSetConversionParams(AsConverter(shorter.Data()), &params));
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrSetConversionParams(AsConverter(exact.Data()), &params));
}

TEST(ChangeChecks, WhatIsNotLiveIsNotTouched) {
    const HostScope host;
    const Converter live(CLRSPACE_RGB, CLRSPACE_CMYK);
    FullRecords records;
    records.params.methods = CLRPARAM_ACTIVE_METHOD | CLRPARAM_CMYK;
    records.params.activeMethod = CLRMETHOD_CUSTOM_EMULATION;
    ClrHandle copy = *live.Get();  // begins with the right size
    const Bytes before = RecordBytes(&copy);
    EXPECT_EQ(ERR_INVALID_HANDLE, Zv_ClrSetConversionParams(&copy, &records.params));
    EXPECT_EQ(before, RecordBytes(&copy));
}

TEST(ChangeChecks, ReleasedConverter) {
    const HostScope host;
    const ClrParams params = ChangeOf(0);
    ClrHandle* handle = nullptr;
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_RGB, CLRSPACE_YUV, nullptr));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(handle, &params));
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    const int32_t result = Zv_ClrSetConversionParams(handle, &params);
    EXPECT_TRUE(result == ERR_INVALID_HANDLE || result == ERR_BAD_POINTER) << result;
}

TEST(ChangeChecks, SizeOfTheRecordIsNotLookedAt) {
    const HostScope host;
    const Converter c(CLRSPACE_RGB, CLRSPACE_CMYK);
    ClrParams params = ChangeOf(CLRPARAM_CMYK);
    int32_t level = 300;
    for (const uint32_t size : {0U, 1U, 856U, 1647U, 1648U, 1649U, 0xFFFFFFFFU}) {
        ClrCmykParams cmyk{-5, ++level, 1};  // nor at those of the records in it
        params.size = size;
        params.cmykParams = &cmyk;
        EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << size;
        EXPECT_EQ(level, c->cmykParams->gcrLevel) << size;
    }
}

// --- Mask -----------------------------------------------------------------------------------------------------------

TEST(ChangeMask, WithoutAPartNothingIsReadOrChanged) {
    const HostScope host;
    const Nowhere nowhere;
    const std::pair<int32_t, int32_t> kPairs[] = {{2, 0}, {0, 2}, {1, 0}, {7, 12}, {0, 7}, {2, 7}, {1, 2}, {0, 12}};
    for (const auto& [source, destination] : kPairs) {
        FullRecords records;
        const Converter c(source, destination, &records.params);
        const Bytes before = FieldsOf(c);
        ClrParams params = ChangeOf(0);
        nowhere.Fill(params);
        SetName(params.inputProfileName, Wide(264, ZvChar{'x'}));
        SetName(params.outputProfileName, Wide(264, ZvChar{'x'}));
        SetName(params.emulationTableName, Wide(264, ZvChar{'x'}));
        params.activeMethod = CLRMETHOD_ICC;
        params.emulationMethod = 99;
        for (const uint32_t mask : {0U, 0x80U, 0x100U, 0x40000000U, 0x80000000U, 0xFFFFFF80U}) {
            params.methods = mask;
            EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << mask;
            EXPECT_EQ(before, FieldsOf(c)) << mask;
        }
        EXPECT_EQ(400, c->cmykParams == nullptr ? 400 : c->cmykParams->gcrLevel);
        EXPECT_TRUE(SameWhite(c->whitePoint, records.white));
    }
}

TEST(ChangeMask, EachPartReadsItsOwnRecordOnly) {
    const HostScope host;
    const Nowhere nowhere;
    FullRecords good;
    good.cmyk.mask = 1;
    const auto expectTaken = [&](uint32_t part, int32_t source, int32_t destination, auto set) {
        const Converter c(source, destination, &good.params);
        ClrParams params = ChangeOf(part);
        nowhere.Fill(params);
        EXPECT_EQ(ERR_BAD_POINTER, Change(c, params)) << part;
        set(params);
        EXPECT_EQ(CLR_SUCCESS, Change(c, params)) << part;
    };
    expectTaken(CLRPARAM_CMYK, 2, 0, [&](ClrParams& p) { p.cmykParams = &good.cmyk; });
    expectTaken(CLRPARAM_YUV, 1, 0, [&](ClrParams& p) { p.yuvParams = &good.yuv; });
    expectTaken(CLRPARAM_LAB, 7, 0, [&](ClrParams& p) { p.labParams = &good.lab; });
    expectTaken(CLRPARAM_WHITE_POINT, 7, 0, [&](ClrParams& p) { p.whitePoint = &good.white; });
}

/// Records of spaces that the converter does not have are refused before they are looked at.
TEST(ChangeMask, RecordsNeedTheirSpaceOnASide) {
    const HostScope host;
    FullRecords records;
    ClrParams params = ChangeOf(0);
    params.cmykParams = &records.cmyk;
    params.yuvParams = &records.yuv;
    params.labParams = &records.lab;
    const std::pair<uint32_t, int32_t> kParts[] = {{CLRPARAM_CMYK, 2}, {CLRPARAM_YUV, 1}, {CLRPARAM_LAB, 7}};
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            const Converter c(source, destination);
            for (const auto& [part, space] : kParts) {
                const bool served = source == space || destination == space;
                params.methods = part;
                EXPECT_EQ(served ? CLR_SUCCESS : ERR_METHOD_UNAVAILABLE, Change(c, params))
                    << source << " to " << destination << ", " << part;
                EXPECT_EQ(served ? ERR_INVALID_PARAMETER : ERR_METHOD_UNAVAILABLE, Change(c, ChangeOf(part)));
            }
            EXPECT_EQ(source == 2 || destination == 2, c->cmykParams != nullptr);
            EXPECT_EQ(source == 1 || destination == 1, c->yuvParams != nullptr);
            EXPECT_EQ(source == 7 || destination == 7, c->labDecode != nullptr);
            EXPECT_EQ(nullptr, c->labEncode);
        }
    }
}

// --- Active method --------------------------------------------------------------------------------------------------

TEST(ChangeMethod, EveryValueAgainstEverySetOfMethods) {
    const HostScope host;
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV);
    std::vector<uint32_t> values = {0x80, 0x100, 0x10001, 0x80000000, 0x80000001, 0xFFFFFFF8, 0xFFFFFFFF};
    for (uint32_t value = 0; value <= 64; ++value) values.push_back(value);
    for (uint32_t methods = 0; methods < 32; ++methods) {
        c->methods = methods;
        for (const uint32_t value : values) {
            const bool tested = value == 1 || value == 2 || value == 4 || value == 8;
            const bool taken = !tested || (methods & value) != 0;
            c->activeMethod = 77;
            ASSERT_EQ(taken ? CLR_SUCCESS : ERR_METHOD_UNAVAILABLE, ChangeMethod(c, value)) << methods << ' ' << value;
            ASSERT_EQ(taken ? value : 77U, c->activeMethod) << methods << ' ' << value;
            ASSERT_EQ(methods, c->methods) << value;
        }
    }
    c->methods = CLRMETHOD_BUILTIN;
}

TEST(ChangeMethod, ChoosesAmongWhatCreationBuilt) {
    const HostScope host;
    const auto fresh = [](uint32_t method) { return SampleThrough(2, 0, MakeParams(method, method)); };
    const Bytes builtin = fresh(CLRMETHOD_BUILTIN), icc = fresh(CLRMETHOD_ICC), table = fresh(CLRMETHOD_EMULATION);
    ASSERT_NE(builtin, icc);
    ASSERT_NE(builtin, table);
    ClrParams params = MakeParams(1 | 2 | 8, 1);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    EXPECT_EQ(builtin, ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, 2));
    EXPECT_EQ(icc, ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, 8));
    EXPECT_EQ(table, ConvertSample(c.Get()));
    EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, 1));
    EXPECT_EQ(builtin, ConvertSample(c.Get()));
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, ChangeMethod(c, 4));
    EXPECT_EQ(builtin, ConvertSample(c.Get()));
}

TEST(ChangeMethod, CustomTableThatIsAbsentConvertsNothing) {
    const HostScope host;
    const Bytes pixels = RandomBytes(40, 11);
    for (const auto& [source, destination] : {std::pair{2, 0}, {2, 12}, {7, 0}, {12, 7}, {0, 7}, {0, 1}, {5, 0}}) {
        const Converter c(source, destination);
        EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_CUSTOM_EMULATION));
        const Converted out = ConvertPixels(c, pixels, 8);
        EXPECT_EQ(CLR_SUCCESS, out.result);
        EXPECT_TRUE(IsUntouched(out.pixels)) << source << " to " << destination;
    }
    // To the inks no table leads, and the built-in kernel serves with blue first.
    const Converter toInks(CLRSPACE_RGB, CLRSPACE_CMYK), fromBlue(CLRSPACE_BGR, CLRSPACE_CMYK);
    EXPECT_EQ(CLR_SUCCESS, ChangeMethod(toInks, CLRMETHOD_CUSTOM_EMULATION));
    EXPECT_EQ(ConvertPixels(fromBlue, pixels, 8), ConvertPixels(toInks, pixels, 8));
}

TEST(ChangeMethod, WhatIsNoMethodIsRefusedAtTheConversion) {
    const HostScope host;
    const Bytes pixels = RandomBytes(40, 12);
    const Converter c(CLRSPACE_RGB, CLRSPACE_HSV);
    for (const uint32_t value : {0U, 3U, 5U, 32U, 64U, 0x80000001U}) {
        EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, value)) << value;
        const Converted out = ConvertPixels(c, pixels, 8);
        EXPECT_EQ(ERR_METHOD_UNAVAILABLE, out.result) << value;
        EXPECT_TRUE(IsUntouched(out.pixels));
    }
    EXPECT_EQ(CLR_SUCCESS, ChangeMethod(c, CLRMETHOD_BUILTIN));
    EXPECT_EQ(CLR_SUCCESS, ConvertPixels(c, pixels, 8).result);
}

// --- Order ----------------------------------------------------------------------------------------------------------

/// All records good, the mask asks for all of them, and a pair has at most two of their spaces: the first that it does
/// not have ends the change.
class ChangeOrder : public ::testing::Test {
protected:
    HostScope host_;
    FullRecords records_;
    void SetUp() override {
        records_.params.methods = kEveryPart & ~uint32_t{CLRPARAM_PROFILES};
        records_.params.activeMethod = CLRMETHOD_CUSTOM_EMULATION;
        SetName(records_.params.emulationTableName, {ZvChar{'t'}});
    }
};

TEST_F(ChangeOrder, MethodThenInksThenLayoutThenLab) {
    const Converter inks(2, 0), layout(1, 0), lab(7, 0), inksAndLayout(2, 1), inksAndLab(2, 7), layoutAndLab(1, 7);
    for (const Converter* c : {&inks, &layout, &lab, &inksAndLayout, &inksAndLab, &layoutAndLab}) {
        EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(*c, records_.params));
        EXPECT_EQ(16U, (*c)->activeMethod) << "was taken first";
        EXPECT_EQ(nullptr, (*c)->whitePoint) << "comes later";
        EXPECT_EQ(0, (*c)->emulationTableName[0]);
    }
    EXPECT_NE(nullptr, inks->cmykParams);
    EXPECT_NE(nullptr, inksAndLayout->cmykParams);
    EXPECT_NE(nullptr, inksAndLayout->yuvParams);
    EXPECT_NE(nullptr, inksAndLab->cmykParams);
    // Lab comes after the layout, which is refused there; without the inks nothing is.
    EXPECT_EQ(nullptr, inksAndLab->labDecode);
    EXPECT_EQ(nullptr, layout->yuvParams);
    EXPECT_EQ(nullptr, layoutAndLab->yuvParams);
    EXPECT_EQ(nullptr, layoutAndLab->labDecode);
}

TEST_F(ChangeOrder, RefusedMethodEndsTheChange) {
    const Converter c(2, 0);
    records_.params.activeMethod = CLRMETHOD_ICC;
    const Bytes before = FieldsOf(c);
    EXPECT_EQ(ERR_METHOD_UNAVAILABLE, Change(c, records_.params));
    EXPECT_EQ(before, FieldsOf(c));
}

TEST_F(ChangeOrder, RefusedLabKeepsTheLayout) {
    const Converter c(1, 7);
    records_.params.methods = CLRPARAM_YUV | CLRPARAM_LAB | CLRPARAM_WHITE_POINT;
    records_.params.labParams = nullptr;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, records_.params));
    EXPECT_NE(nullptr, c->yuvParams);
    EXPECT_EQ(nullptr, c->labDecode);
    EXPECT_EQ(nullptr, c->whitePoint);
}

TEST_F(ChangeOrder, RefusedWhiteKeepsWhatCameBeforeAndEndsTheChange) {
    const Converter c(2, 0);
    records_.params.methods =
        CLRPARAM_ACTIVE_METHOD | CLRPARAM_CMYK | CLRPARAM_WHITE_POINT | CLRPARAM_PROFILES | CLRPARAM_EMULATION_FILE;
    records_.params.activeMethod = CLRMETHOD_BUILTIN;
    records_.params.whitePoint = nullptr;
    SetName(records_.params.inputProfileName, {ZvChar{'i'}});
    EXPECT_EQ(ERR_INVALID_PARAMETER, Change(c, records_.params));
    EXPECT_EQ(400, c->cmykParams->gcrLevel);
    EXPECT_EQ(0, c->inputProfileName[0]);
    EXPECT_EQ(0, c->emulationTableName[0]);
    EXPECT_EQ(nullptr, c->customEmulationTable);
}

/// Which method is active for the white is settled by the same call.
TEST_F(ChangeOrder, NewMethodDecidesWhatTheWhiteDoes) {
    const Converter c(CLRSPACE_RGB, CLRSPACE_HSV);
    records_.params.methods = CLRPARAM_ACTIVE_METHOD | CLRPARAM_WHITE_POINT;
    EXPECT_EQ(CLR_SUCCESS, Change(c, records_.params));
    EXPECT_EQ(nullptr, c->whitePoint) << "a custom table takes none";
    records_.params.activeMethod = CLRMETHOD_BUILTIN;
    EXPECT_EQ(CLR_SUCCESS, Change(c, records_.params));
    EXPECT_TRUE(SameWhite(c->whitePoint, records_.white));
}

}  // namespace
}  // namespace zv::test
