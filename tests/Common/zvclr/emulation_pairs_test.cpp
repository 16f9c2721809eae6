// What the emulation methods convert: each pair of spaces by a built-in table and by a caller's.
#include "Common/kernels/kernels.h"
#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/emulation_reference.h"
#include "tests/support/table_file.h"

namespace zv::test {
namespace {

constexpr uint32_t kBuiltin = CLRMETHOD_EMULATION;
constexpr uint32_t kCustom = CLRMETHOD_CUSTOM_EMULATION;

constexpr int32_t kWidth = 8;
constexpr int32_t kHeight = 4;
constexpr uint8_t kUntouched = 0x5A;

std::optional<EmulationKind> KindOf(int32_t from, int32_t to) {
    if (from == CLRSPACE_CMYK && IsHub(to)) return EmulationKind::kCmykToHub;
    if (IsHub(from) && to == CLRSPACE_LAB) return EmulationKind::kHubToLab;
    if (from == CLRSPACE_LAB && IsHub(to)) return EmulationKind::kLabToHub;
    return std::nullopt;
}

constexpr std::pair<int32_t, int32_t> kTablePairs[] = {{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}};

class EmulationPairs : public ::testing::Test {
protected:
    TemporaryFolder folder_;
    Bytes data_ = RandomBytes(250563, 43);
    ClrParams params_ = MakeParams(kBuiltin, kBuiltin);

    void SetUp() override {
        SetName(params_.emulationTableName, folder_.Write("table.tif", TableFile::Of(289, 289, 3, data_).Build()));
    }

    /// The grid that a method takes for a kind.
    Bytes GridOf(EmulationKind kind, uint32_t method) const {
        const size_t size = EmulationGridBytes(kind);
        if (method == kCustom) return {data_.begin(), data_.begin() + static_cast<ptrdiff_t>(size)};
        const uint16_t id = kind == EmulationKind::kCmykToHub ? 111 : kind == EmulationKind::kLabToHub ? 112 : 113;
        const ClrResource block = FindClrResource(ZV_WIDE("ET"), id);
        EXPECT_LE(size, block.size) << "table " << id;
        return block.size < size ? Bytes(size) : Bytes(block.data, block.data + size);
    }

    /// The whole destination as it has to be.
    Bytes Wanted(int32_t from, int32_t to, uint32_t method, const Bytes& source) const {
        Bytes wanted(256, kUntouched);
        if (from == to) {
            std::copy_n(source.begin(), RowBytesOf(from, kWidth) * kHeight, wanted.begin());
        } else if (!IsHub(from) && !IsHub(to)) {
            Zv_ClrConvertDirect(from, to, source.data(), wanted.data(), kWidth, kHeight, 0, 0);
        } else if (const auto kind = KindOf(from, to)) {
            const Bytes pixels(source.begin(),
                               source.begin() + static_cast<ptrdiff_t>(RowBytesOf(from, kWidth) * kHeight));
            const bool rgbFirst = from == CLRSPACE_RGB || to == CLRSPACE_RGB;
            const Bytes row = ReferenceEmulationRow(*kind, GridOf(*kind, method), pixels, rgbFirst);
            std::copy(row.begin(), row.end(), wanted.begin());
        } else if (to == CLRSPACE_CMYK) {
            // The bytes of either hub as blue, green, red.
            EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_BGR, CLRSPACE_CMYK, source.data(), wanted.data(),
                                                       kWidth, kHeight, 0, 0));
        }
        return wanted;
    }

    void ExpectEveryPair(uint32_t methods, uint32_t active) {
        HostScope host;
        const std::vector<LiveBlock> before = host->LiveBlocks();
        params_.methods = methods;
        params_.activeMethod = active;
        for (const int32_t from : kAllSpaces) {
            Bytes source = ValidPixels(from, kWidth, kHeight, 0, 3);
            source.resize(256, 0x33);  // the ways through the hub probe more than the pixels
            for (const int32_t to : kAllSpaces) {
                const Converter c(from, to, &params_);
                Bytes destination(256, kUntouched);
                EXPECT_EQ(CLR_SUCCESS,
                          Zv_ClrConvert(c.Get(), source.data(), destination.data(), kWidth, kHeight, 0, 0));
                EXPECT_EQ(Wanted(from, to, active, source), destination) << from << " to " << to;
            }
        }
        // Blocks that loading leaves behind are counted where loading is tested.
        host->FreeAllBut(before);
    }
};

TEST_F(EmulationPairs, EveryPairByTheBuiltinTables) { ExpectEveryPair(kBuiltin, kBuiltin); }

TEST_F(EmulationPairs, EveryPairByTheCallersTable) { ExpectEveryPair(kCustom, kCustom); }

TEST_F(EmulationPairs, EveryPairWithBothTablesThere) {
    ExpectEveryPair(kBuiltin | kCustom, kBuiltin);
    ExpectEveryPair(kBuiltin | kCustom, kCustom);
}

// --- The built-in tables --------------------------------------------------------------------------------------------

struct Example {
    int32_t space;  ///< the side that is no hub
    std::array<int, 4> from;
    std::array<int, 3> to;
};

/// Hub sides red first.
constexpr Example kToHub[] = {
    {CLRSPACE_CMYK, {0, 0, 0, 0}, {255, 255, 255}},   {CLRSPACE_CMYK, {0, 0, 0, 240}, {22, 22, 22}},
    {CLRSPACE_CMYK, {0, 0, 0, 255}, {138, 138, 138}}, {CLRSPACE_CMYK, {255, 255, 255, 255}, {128, 128, 128}},
    {CLRSPACE_CMYK, {255, 0, 0, 0}, {127, 217, 245}}, {CLRSPACE_CMYK, {240, 0, 0, 0}, {0, 179, 235}},
    {CLRSPACE_CMYK, {8, 0, 0, 0}, {249, 252, 254}},   {CLRSPACE_LAB, {128, 0, 0}, {119, 119, 119}},
    {CLRSPACE_LAB, {0, 127, 127}, {118, 0, 61}},      {CLRSPACE_LAB, {255, 0, 0}, {251, 251, 251}},
};
constexpr Example kToLab[] = {
    {CLRSPACE_LAB, {0, 0, 0}, {0, 0, 0}},         {CLRSPACE_LAB, {0, 0, 8}, {1, 0, -3}},
    {CLRSPACE_LAB, {128, 128, 128}, {137, 0, 0}}, {CLRSPACE_LAB, {255, 255, 255}, {252, 0, 0}},
    {CLRSPACE_LAB, {255, 0, 0}, {136, 80, 69}},
};

template <size_t kCount>
Bytes BytesFrom(const std::array<int, kCount>& values, size_t count, bool mirrored) {
    Bytes bytes;
    for (size_t i = 0; i < count; ++i)
        bytes.push_back(static_cast<uint8_t>(values[mirrored ? count - 1 - i : i] & 255));
    return bytes;
}

TEST_F(EmulationPairs, BuiltinTablesToTheHubs) {
    for (const Example& example : kToHub) {
        for (const int32_t hub : kHubs) {
            const Converter c(example.space, hub, &params_);
            const Bytes pixel = BytesFrom(example.from, PixelBytes(example.space), false);
            EXPECT_EQ(BytesFrom(example.to, 3, hub == CLRSPACE_BGR), ConvertRow(c.Get(), pixel))
                << example.space << ": " << example.from[0] << ", " << example.from[1] << ", " << example.from[2];
        }
    }
}

TEST_F(EmulationPairs, BuiltinTableToLab) {
    for (const Example& example : kToLab) {
        for (const int32_t hub : kHubs) {
            const Converter c(hub, example.space, &params_);
            EXPECT_EQ(BytesFrom(example.to, 3, false),
                      ConvertRow(c.Get(), BytesFrom(example.from, 3, hub == CLRSPACE_BGR)))
                << example.from[0] << ", " << example.from[1] << ", " << example.from[2];
        }
    }
}

// --- To CMYK --------------------------------------------------------------------------------------------------------

TEST_F(EmulationPairs, CmykComesFromTheBuiltinKernelBlueFirst) {
    HostScope host;
    // Grey component replacement at 175: c, m, y of 200, 100, 50 are 55, 155, 205, and black is 55 * 0.175.
    const Bytes pixel{200, 100, 50};
    for (const int32_t hub : kHubs) {
        for (const uint32_t method : {kBuiltin, kCustom}) {
            params_.methods = params_.activeMethod = method;
            const Converter c(hub, CLRSPACE_CMYK, &params_);
            EXPECT_EQ((Bytes{205, 155, 55, 9}), ConvertRow(c.Get(), pixel)) << "the first byte counts as blue";
            EXPECT_EQ(nullptr, c->builtinEmulationTable);
            EXPECT_EQ(nullptr, c->customEmulationTable);
        }
    }
}

TEST_F(EmulationPairs, CmykTakesTheStoredLevel) {
    HostScope host;
    ClrCmykParams cmyk = MakeCmyk(1000);
    params_.cmykParams = &cmyk;
    for (const int32_t hub : kHubs) {
        for (const uint32_t method : {kBuiltin, kCustom}) {
            params_.methods = params_.activeMethod = method;
            const Converter c(hub, CLRSPACE_CMYK, &params_);
            EXPECT_EQ((Bytes{196, 146, 46, 55, 0, 0, 0, 255, 0, 0, 0, 127}),
                      ConvertRow(c.Get(), {200, 100, 50, 0, 0, 0, 128, 128, 128}));
        }
    }
}

TEST_F(EmulationPairs, LevelPlaysNoPartFromCmyk) {
    ClrCmykParams cmyk = MakeCmyk(1000);
    const Bytes sample = SamplePixels(CLRSPACE_CMYK);
    Bytes plain;
    {
        const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params_);
        plain = ConvertRow(c.Get(), sample);
    }
    params_.cmykParams = &cmyk;
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params_);
    EXPECT_EQ(plain, ConvertRow(c.Get(), sample));
}

TEST_F(EmulationPairs, LabRecordPlaysNoPart) {
    ClrLabParams lab = MakeLab();
    for (const auto& [from, to] : {std::pair{7, 0}, {7, 12}, {0, 7}, {12, 7}}) {
        params_.labParams = nullptr;
        const Converter without(from, to, &params_);
        params_.labParams = &lab;
        const Converter with(from, to, &params_);
        EXPECT_EQ(ConvertSample(without.Get()), ConvertSample(with.Get()));
    }
}

// --- Images ---------------------------------------------------------------------------------------------------------

TEST_F(EmulationPairs, RowsWithPadding) {
    constexpr int32_t kExtras[][2] = {{0, 0}, {1, 3}, {5, 0}, {0, 64}};
    for (const auto& [from, to] : kTablePairs) {
        const Converter c(from, to, &params_);
        const EmulationKind kind = *KindOf(from, to);
        const Bytes grid = GridOf(kind, kBuiltin);
        const bool rgbFirst = from == CLRSPACE_RGB || to == CLRSPACE_RGB;
        for (const auto& [sourceExtra, extra] : kExtras) {
            const size_t sourceRow = RowBytesOf(from, kWidth), row = RowBytesOf(to, kWidth);
            const Bytes source = RandomBytes(PaddedBytes(from, kWidth, kHeight, sourceExtra), 6);
            Bytes destination(PaddedBytes(to, kWidth, kHeight, extra), kUntouched), wanted = destination;
            for (size_t y = 0; y < kHeight; ++y) {
                const auto line =
                    source.begin() + static_cast<ptrdiff_t>(y * (sourceRow + static_cast<size_t>(sourceExtra)));
                const Bytes out =
                    ReferenceEmulationRow(kind, grid, Bytes(line, line + static_cast<ptrdiff_t>(sourceRow)), rgbFirst);
                std::copy(out.begin(), out.end(),
                          wanted.begin() + static_cast<ptrdiff_t>(y * (row + static_cast<size_t>(extra))));
            }
            EXPECT_EQ(CLR_SUCCESS,
                      Zv_ClrConvert(c.Get(), source.data(), destination.data(), kWidth, kHeight, sourceExtra, extra));
            EXPECT_EQ(wanted, destination) << from << " to " << to;
        }
    }
}

TEST_F(EmulationPairs, InPlaceBetweenLabAndTheHubs) {
    for (const auto& [from, to] : {std::pair{7, 0}, {7, 12}, {0, 7}, {12, 7}}) {
        const Converter c(from, to, &params_);
        Bytes image = RandomBytes(300, 8);
        const Bytes wanted = ConvertRow(c.Get(), image);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), image.data(), image.data(), 100, 1, 0, 0));
        EXPECT_EQ(wanted, image);
    }
}

TEST_F(EmulationPairs, KernelsThatCannotReachTheLastPaddingAreNotHeard) {
    HostScope host;
    // The frame asks for no padding behind the last row, the kernels do.
    constexpr int32_t kExtra = 5;
    for (const auto& [from, to] : {std::pair{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}, {0, 2}, {12, 2}}) {
        const Converter c(from, to, &params_);
        const GuardedBuffer source(PaddedBytes(from, kWidth, kHeight, kExtra), GuardedBuffer::Side::kBack, 7);
        const GuardedBuffer tight(TightBytes(to, kWidth, kHeight, kExtra), GuardedBuffer::Side::kBack, kUntouched);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.Data(), tight.Data(), kWidth, kHeight, kExtra, kExtra));
        EXPECT_EQ(Bytes(tight.Size(), kUntouched), BytesOf(tight));
        EXPECT_EQ(ERR_BAD_POINTER,
                  Zv_ClrConvert(c.Get(), source.Data(), tight.Data() + 1, kWidth, kHeight, kExtra, kExtra));
        EXPECT_EQ(Bytes(tight.Size(), kUntouched), BytesOf(tight));
    }
}

TEST_F(EmulationPairs, ChecksOfTheFrameComeFirst) {
    const Converter c(CLRSPACE_LAB, CLRSPACE_RGB, &params_);
    const Bytes source(256, 9);
    Bytes destination(256, kUntouched);
    const auto convert = [&](int32_t width, int32_t height, int32_t sourceExtra, int32_t extra) {
        return Zv_ClrConvert(c.Get(), source.data(), destination.data(), width, height, sourceExtra, extra);
    };
    EXPECT_EQ(ERR_INVALID_PARAMETER, convert(0, 1, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, convert(1, 0, 0, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, convert(1, 1, -1, 0));
    EXPECT_EQ(ERR_INVALID_PARAMETER, convert(1, 1, 0, -1));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrConvert(c.Get(), nullptr, destination.data(), 1, 1, 0, 0));
    EXPECT_EQ(Bytes(256, kUntouched), destination);
}

// --- Tables that are not there --------------------------------------------------------------------------------------

TEST_F(EmulationPairs, WithoutATableNothingIsConverted) {
    for (const auto& [from, to] : kTablePairs) {
        const Converter c(from, to, &params_);
        const Bytes source = RandomBytes(256, 8);
        Bytes destination(256, kUntouched);
        c->builtinEmulationTable = nullptr;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.data(), destination.data(), kWidth, kHeight, 0, 0));
        c->activeMethod = kCustom;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.data(), destination.data(), kWidth, kHeight, 0, 0));
        EXPECT_EQ(Bytes(256, kUntouched), destination) << from << " to " << to;
    }
}

TEST_F(EmulationPairs, ActiveMethodMayBecomeTheCallersTableWithoutOne) {
    const Converter c(CLRSPACE_CMYK, CLRSPACE_RGB, &params_);
    ClrParams change = MakeParams(CLRPARAM_ACTIVE_METHOD, kCustom);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(c.Get(), &change));
    const Bytes source = RandomBytes(256, 8);
    Bytes destination(256, kUntouched);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), source.data(), destination.data(), kWidth, kHeight, 0, 0));
    EXPECT_EQ(Bytes(256, kUntouched), destination);
}

TEST_F(EmulationPairs, MethodsChangeBetweenTablesThatAreThere) {
    HostScope host;
    params_.methods = kBuiltin | kCustom;
    const Converter c(CLRSPACE_LAB, CLRSPACE_BGR, &params_);
    const Bytes sample = SamplePixels(CLRSPACE_LAB);
    for (const uint32_t method : {kCustom, kBuiltin, kCustom}) {
        ClrParams change = MakeParams(CLRPARAM_ACTIVE_METHOD, method);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrSetConversionParams(c.Get(), &change));
        const Bytes grid = GridOf(EmulationKind::kLabToHub, method);
        EXPECT_EQ(ReferenceEmulationRow(EmulationKind::kLabToHub, grid, sample, false), ConvertRow(c.Get(), sample));
    }
}

TEST_F(EmulationPairs, ShortFilesGiveBlackNodes) {
    HostScope host;
    const std::vector<LiveBlock> before = host->LiveBlocks();
    params_.methods = params_.activeMethod = kCustom;
    // The first four nodes and nothing else.
    SetName(params_.emulationTableName,
            folder_.Write("short.tif", TableFile::Of(2, 2, 3, {90, 80, 70, 60, 50, 40, 30, 20, 10, 9, 8, 7}).Build()));
    {
        const Converter cmyk(CLRSPACE_CMYK, CLRSPACE_RGB, &params_), lab(CLRSPACE_LAB, CLRSPACE_BGR, &params_);
        const Converter toLab(CLRSPACE_RGB, CLRSPACE_LAB, &params_);
        EXPECT_EQ((Bytes{90, 80, 70, 30, 20, 10, 0, 0, 0}),
                  ConvertRow(cmyk.Get(), {0, 0, 0, 0, 0, 0, 0, 32, 64, 64, 64, 64}));
        EXPECT_EQ((Bytes{40, 50, 60, 0, 0, 0}), ConvertRow(lab.Get(), {0, 0x80, 0x88, 255, 0x7F, 0x7F}));
        EXPECT_EQ((Bytes{9, 8, 7, 0, 0, 0}), ConvertRow(toLab.Get(), {0, 0, 24, 255, 255, 255}));
    }
    host->FreeAllBut(before);
}

}  // namespace
}  // namespace zv::test
