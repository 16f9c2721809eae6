// CLRMETHOD_ICC: which pairs have a transform, in which formats, and what comes through.
#include <map>

#include "Common/kernels/kernels.h"
#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/recording_colours.h"

namespace zv::test {
namespace {

/// The format word of a space, or 0 where it has none.
uint32_t WordOf(int32_t space) {
    switch (space) {
        case CLRSPACE_RGB:
            return 0x40019;
        case CLRSPACE_BGR:
            return 0x40419;
        case CLRSPACE_CMYK:
            return 0x60021;
        case CLRSPACE_CMY:
            return 0x50019;
        case CLRSPACE_LAB:
            return 0xA0019;
        default:
            return 0;
    }
}

TEST(IccFormats, WordsAreThoseOfTheContract) {
    EXPECT_EQ(0x40019U, uint32_t{CMMFORMAT_RGB_8});
    EXPECT_EQ(0x40419U, uint32_t{CMMFORMAT_BGR_8});
    EXPECT_EQ(0x50019U, uint32_t{CMMFORMAT_CMY_8});
    EXPECT_EQ(0x60021U, uint32_t{CMMFORMAT_CMYK_8});
    EXPECT_EQ(0xA0019U, uint32_t{CMMFORMAT_LAB_8});
}

struct Outcome {
    int32_t status = CLR_SUCCESS;
    bool transform = false;
    uint32_t sourceFormat = 0;
    uint32_t destinationFormat = 0;
};

/// Of two different spaces.
Outcome OutcomeOf(int32_t source, int32_t destination) {
    if (!IsHub(source) && !IsHub(destination)) {
        return {CLR_SUCCESS, false, static_cast<uint32_t>(source), static_cast<uint32_t>(destination)};
    }
    if (IsHub(source) && IsHub(destination)) return {};
    const int32_t other = IsHub(source) ? destination : source;
    const uint32_t word = other == CLRSPACE_YCCK ? WordOf(CLRSPACE_CMYK) : WordOf(other);
    if (word == 0) return {ERR_COLORSPACE_UNSUPPORTED, false, 0, 0};
    return IsHub(source) ? Outcome{CLR_SUCCESS, true, WordOf(source), word}
                         : Outcome{CLR_SUCCESS, true, word, WordOf(destination)};
}

void ExpectOutcome(const Outcome& expected, int32_t source, int32_t destination, ClrParams params) {
    SCOPED_TRACE(std::to_string(source) + " to " + std::to_string(destination));
    const int32_t registered = RegisteredCount();
    if (expected.status != CLR_SUCCESS) {
        EXPECT_EQ(expected.status, FailingInit(source, destination, &params));
        EXPECT_EQ(registered, RegisteredCount());
        return;
    }
    const Converter c(source, destination, &params);
    ASSERT_NE(nullptr, c.Get());
    EXPECT_EQ(expected.sourceFormat, c->sourceFormat);
    EXPECT_EQ(expected.destinationFormat, c->destinationFormat);
    EXPECT_EQ(nullptr, c->customTransform);
    ASSERT_EQ(expected.transform, c->iccTransform != nullptr);
    if (!expected.transform) return;
    EXPECT_EQ(expected.sourceFormat, c->iccTransform->inputFormat);
    EXPECT_EQ(expected.destinationFormat, c->iccTransform->outputFormat);
    EXPECT_NE(nullptr, c->iccTransform->gridLut);
    const std::map<uint32_t, uint32_t> spaces = {{0x40019, FourCc("RGB ")},
                                                 {0x40419, FourCc("RGB ")},
                                                 {0x50019, FourCc("CMY ")},
                                                 {0x60021, FourCc("CMYK")},
                                                 {0xA0019, FourCc("Lab ")}};
    EXPECT_EQ(spaces.at(expected.sourceFormat), c->iccTransform->inputProfile->colorSpace);
    EXPECT_EQ(spaces.at(expected.destinationFormat), c->iccTransform->outputProfile->colorSpace);
}

TEST(IccPairs, EveryPairOfDifferentSpaces) {
    const HostScope host;
    for (const int32_t source : kAllSpaces) {
        for (const int32_t destination : kAllSpaces) {
            if (source == destination) continue;
            ExpectOutcome(OutcomeOf(source, destination), source, destination,
                          MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC));
        }
    }
}

TEST(IccPairs, EqualSpacesWithoutTheCustomMethodBuildNothing) {
    const HostScope host;
    for (const int32_t space : kAllSpaces) {
        ExpectOutcome({}, space, space, MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC));
    }
}

TEST(IccPairs, EqualSpacesWithTheCustomMethod) {
    const HostScope host;
    const RecordingColours colours;
    for (const int32_t space : kAllSpaces) {
        Outcome expected{ERR_COLORSPACE_UNSUPPORTED, false, 0, 0};
        if (IsHub(space)) expected = {};
        // The transform to the space, which is made second, takes the place of the one from it.
        if (space == 2 || space == 6 || space == 7) expected = {CLR_SUCCESS, true, 0x40419, WordOf(space)};
        ExpectOutcome(expected, space, space, MakeParams(CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC, CLRMETHOD_ICC));
    }
}

TEST(IccPairs, BuiltForTheFlagWhateverTheActiveMethod) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN | CLRMETHOD_ICC, CLRMETHOD_BUILTIN);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    ASSERT_NE(nullptr, c->iccTransform);
    const Bytes pixels = SamplePixels(CLRSPACE_CMYK);
    const Bytes builtin = ConvertRow(c.Get(), pixels);
    Bytes direct(builtin.size());
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_CMYK, CLRSPACE_RGB, pixels.data(), direct.data(),
                                               static_cast<int32_t>(pixels.size() / 4), 1, 0, 0));
    EXPECT_EQ(direct, builtin);
    c->activeMethod = CLRMETHOD_ICC;
    EXPECT_NE(builtin, ConvertRow(c.Get(), pixels));
}

TEST(IccPairs, MethodsWithoutTheFlagBuildNothing) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    EXPECT_EQ(nullptr, c->iccTransform);
    EXPECT_EQ(0U, c->sourceFormat);
}

TEST(IccPairs, StepIsCalledWithIdsOfItsOwn) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_BUILTIN);
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV, &params);
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBuildIccTransform(c.Get(), 11, 11, &params));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBuildIccTransform(c.Get(), 11, 1, &params));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBuildIccTransform(c.Get(), 8, 11, &params));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBuildIccTransform(c.Get(), 0, 1, &params));
    EXPECT_EQ(ERR_COLORSPACE_UNSUPPORTED, ClrBuildIccTransform(c.Get(), 8, 0, &params));
    EXPECT_EQ(nullptr, c->iccTransform);
    EXPECT_EQ(CLR_SUCCESS, ClrBuildIccTransform(c.Get(), 0, 12, &params));
    EXPECT_EQ(nullptr, c->iccTransform);

    ASSERT_EQ(CLR_SUCCESS, ClrBuildIccTransform(c.Get(), 11, 6, &params));
    EXPECT_EQ(WordOf(2), c->sourceFormat);
    EXPECT_EQ(WordOf(6), c->destinationFormat);
    EXPECT_NE(nullptr, c->iccTransform);
    CmmFreeTransform(c->iccTransform);
    c->iccTransform = nullptr;
}

// --- What comes through ---------------------------------------------------------------------------------------------

TEST(IccPixels, HubsDifferInTheOrderOfTheirBytesOnly) {
    const HostScope host;
    for (const int32_t space : {2, 6, 7}) {
        const ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
        Bytes rgb = SampleThrough(space, CLRSPACE_RGB, params);
        const Bytes bgr = SampleThrough(space, CLRSPACE_BGR, params);
        ASSERT_EQ(rgb.size(), bgr.size());
        for (size_t i = 0; i < rgb.size(); i += 3) std::swap(rgb[i], rgb[i + 2]);
        EXPECT_EQ(rgb, bgr) << space;

        ClrParams icc = params;
        const Converter fromRgb(CLRSPACE_RGB, space, &icc), fromBgr(CLRSPACE_BGR, space, &icc);
        Bytes pixels = SamplePixels(CLRSPACE_RGB);
        const Bytes expected = ConvertRow(fromRgb.Get(), pixels);
        for (size_t i = 0; i < pixels.size(); i += 3) std::swap(pixels[i], pixels[i + 2]);
        EXPECT_EQ(expected, ConvertRow(fromBgr.Get(), pixels)) << space;
    }
}

TEST(IccPixels, PaperAndInkOfThePress) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter toRgb(CLRSPACE_CMYK, CLRSPACE_RGB, &params);
    const Bytes inks = {0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 128};
    const Bytes rgb = ConvertRow(toRgb.Get(), inks);
    for (size_t k = 0; k < 3; ++k) {
        EXPECT_GE(rgb[k], 250) << "paper";
        EXPECT_LE(rgb[3 + k], 40) << "black";
        EXPECT_NEAR(150, rgb[6 + k], 60) << "half of it";
    }
}

TEST(IccPixels, TheSameEachTimeAndFromARow) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_BGR, &params), again(CLRSPACE_CMYK, CLRSPACE_BGR, &params);
    const Bytes pixels = RandomBytes(4 * 60, 9);
    const Bytes row = ConvertRow(c.Get(), pixels);
    EXPECT_EQ(row, ConvertRow(c.Get(), pixels));
    EXPECT_EQ(row, ConvertRow(again.Get(), pixels));
    Bytes image(row.size());
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), pixels.data(), image.data(), 5, 12, 0, 0));
    EXPECT_EQ(row, image);
}

TEST(IccPixels, ImagesWithPaddingOnBothSides) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter c(CLRSPACE_RGB, CLRSPACE_LAB, &params);
    constexpr int32_t kWidth = 3, kHeight = 4, kExtra = 5;
    const Bytes picture = RandomBytes(TightBytes(0, kWidth, kHeight, kExtra), 2);
    Bytes packed;
    for (size_t y = 0; y < kHeight; ++y) {
        const auto row = picture.begin() + static_cast<ptrdiff_t>(y * (9 + kExtra));
        packed.insert(packed.end(), row, row + 9);
    }
    const Bytes expected = ConvertRow(c.Get(), packed);
    const GuardedBuffer from(picture.size()), to(TightBytes(7, kWidth, kHeight, 4));
    Put(from, picture);
    ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), from.Data(), to.Data(), kWidth, kHeight, kExtra, 4));
    for (size_t y = 0; y < kHeight; ++y) EXPECT_EQ(0, std::memcmp(expected.data() + 9 * y, to.Data() + 12 * y, 9)) << y;
}

TEST(IccPixels, TwoHubsAreInvalidParameter) {
    const HostScope host;
    for (const int32_t hub : kHubs) {
        ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
        const Converter c(hub, 12 - hub, &params);
        Bytes out(27, 0xCD);
        const Bytes picture = RandomBytes(27, 1);
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 9, 1, 0, 0));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 3, 3, 0, 0));
        EXPECT_EQ(Bytes(27, 0xCD), out);
    }
}

TEST(IccPixels, EqualSpacesOfTheIccMethodCopy) {
    const HostScope host;
    const RecordingColours colours;
    ClrParams params = MakeParams(CLRMETHOD_ICC | CLRMETHOD_CUSTOM_ICC, CLRMETHOD_ICC);
    const Converter c(CLRSPACE_CMYK, CLRSPACE_CMYK, &params);
    const Bytes pixels = SamplePixels(CLRSPACE_CMYK);
    EXPECT_EQ(pixels, ConvertRow(c.Get(), pixels));
}

// --- YCCK -----------------------------------------------------------------------------------------------------------

TEST(IccYcck, ToHubGoesByTheInksThroughThePressProfile) {
    const HostScope host;
    constexpr int32_t kWidth = 6, kHeight = 5, kFrom = 3, kTo = 2;
    const Bytes picture = RandomBytes(PaddedBytes(11, kWidth, kHeight, kFrom), 21);
    for (const int32_t hub : kHubs) {
        ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
        const Converter c(CLRSPACE_YCCK, hub, &params), press(CLRSPACE_CMYK, hub, &params);
        Bytes inks(size_t{kWidth * kHeight * 4});
        ASSERT_EQ(CLR_SUCCESS, ClrYcckToCmyk(c->ycckTables, picture.data(), inks.data(), kWidth, kHeight, kFrom));
        const Bytes expected = ConvertRow(press.Get(), inks);
        const GuardedBuffer from(picture.size()), to(TightBytes(hub, kWidth, kHeight, kTo));
        Put(from, picture);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), from.Data(), to.Data(), kWidth, kHeight, kFrom, kTo));
        // Here the padding is a count of bytes.
        constexpr size_t kRow = kWidth * 3;
        for (size_t i = 0; i < to.Size(); ++i) {
            const size_t y = i / (kRow + kTo), x = i % (kRow + kTo);
            ASSERT_EQ(x < kRow ? expected[y * kRow + x] : 0xCD, to.Data()[i]) << hub << ", byte " << i;
        }
    }
}

TEST(IccYcck, WhitePaperIsWhite) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Converter c(CLRSPACE_YCCK, CLRSPACE_RGB, &params);
    const Bytes rgb = ConvertRow(c.Get(), {255, 128, 128, 0});
    for (const uint8_t byte : rgb) EXPECT_GE(byte, 250);
}

TEST(IccYcck, FromHubRunsTheTransformAndWritesNothingForWantOfTables) {
    const HostScope host;
    for (const int32_t hub : kHubs) {
        ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
        const Converter c(hub, CLRSPACE_YCCK, &params);
        ASSERT_NE(nullptr, c->iccTransform);
        ASSERT_EQ(nullptr, c->ycckTables);
        const Bytes picture = RandomBytes(PaddedBytes(0, 6, 5, 3), 21);
        Bytes out(PaddedBytes(11, 6, 5, 2), 0xCD);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), picture.data(), out.data(), 6, 5, 3, 2));
        EXPECT_EQ(30U, c->iccTransform->inputCount);
        EXPECT_EQ(Bytes(out.size(), 0xCD), out);
    }
}

}  // namespace
}  // namespace zv::test
