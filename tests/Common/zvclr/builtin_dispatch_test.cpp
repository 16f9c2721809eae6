// Which kernel runs for a pair, with which arguments: by a converter, and directly.
#include "Common/kernels/kernels.h"
#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 16, kHeight = 8, kSourceExtra = 5, kDestinationExtra = 3;

/// The kernels of the common form, bound to their ids by hand.
struct PlainKernels {
    int32_t space;
    ClrKernel fromHub;
    ClrKernel toHub;
};
constexpr PlainKernels kPlain[] = {
    {1, ClrYuvFromHub, ClrYuvToHub},         {3, ClrHsvFromHub, ClrHsvToHub},      {4, ClrHlsFromHub, ClrHlsToHub},
    {5, ClrYiqFromHub, ClrYiqToHub},         {6, ClrCmyFromHub, ClrCmyToHub},      {7, ClrLabFromHub, ClrLabToHub},
    {8, ClrXyzFromHub, ClrXyzToHub},         {9, ClrYuy2FromHub, ClrYuy2ToHub},    {13, ClrY41pFromHub, ClrY41pToHub},
    {14, ClrUyvyFromHub, ClrUyvyToHub},      {15, ClrYcbcrFromHub, ClrYcbcrToHub}, {128, ClrHsiFromHub, ClrHsiToHub},
    {144, ClrRgb444FromHub, ClrRgb444ToHub},
};

int32_t RgbFirst(int32_t hub) { return hub == 0 ? 1 : 0; }

/// A packed layout of a YUV record crosses the two paddings: its rows reach further than each side's own would.
constexpr size_t kRoom = 64;

/// Source pixels and a marked destination for one pair.
struct Pictures {
    std::vector<uint8_t> source;
    std::vector<uint8_t> destination;

    Pictures(int32_t from, int32_t to)
        : source(ValidPixels(from, kWidth, kHeight, kSourceExtra, static_cast<uint32_t>(from * 256 + to))),
          destination(PaddedBytes(to, kWidth, kHeight, kDestinationExtra) + kRoom, 0x5A) {
        source.resize(source.size() + kRoom);
    }
};

struct Outcome {
    int32_t result;
    std::vector<uint8_t> bytes;

    bool operator==(const Outcome&) const = default;
};

template <class Call>
Outcome Perform(const Pictures& pictures, const Call& call) {
    Outcome outcome{0, pictures.destination};
    outcome.result = call(pictures.source.data(), outcome.bytes.data());
    return outcome;
}

Outcome ByConverter(const Pictures& pictures, const ClrHandle* converter) {
    return Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
        return Zv_ClrConvert(converter, from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra);
    });
}
Outcome Directly(const Pictures& pictures, int32_t source, int32_t destination) {
    return Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
        return Zv_ClrConvertDirect(source, destination, from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra);
    });
}
Outcome ByKernel(const Pictures& pictures, ClrKernel kernel, int32_t rgbFirst) {
    return Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
        return kernel(from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra, rgbFirst);
    });
}

class BuiltinDispatch : public ::testing::Test {
protected:
    HostScope host_;
};

TEST_F(BuiltinDispatch, PlainKernelsFromEitherHub) {
    for (const PlainKernels& row : kPlain) {
        for (const int32_t hub : kHubs) {
            SCOPED_TRACE(std::to_string(hub) + " to " + std::to_string(row.space));
            const Pictures pictures(hub, row.space);
            const Outcome expected = ByKernel(pictures, row.fromHub, RgbFirst(hub));
            EXPECT_EQ(CLR_SUCCESS, expected.result);
            EXPECT_NE(pictures.destination, expected.bytes);
            EXPECT_NE(expected, ByKernel(pictures, row.fromHub, 1 - RgbFirst(hub))) << "the byte order must show";
            const Converter c(hub, row.space);
            EXPECT_EQ(expected, ByConverter(pictures, c.Get()));
            EXPECT_EQ(expected, Directly(pictures, hub, row.space));
        }
    }
}

TEST_F(BuiltinDispatch, PlainKernelsToEitherHub) {
    for (const PlainKernels& row : kPlain) {
        for (const int32_t hub : kHubs) {
            SCOPED_TRACE(std::to_string(row.space) + " to " + std::to_string(hub));
            const Pictures pictures(row.space, hub);
            const Outcome expected = ByKernel(pictures, row.toHub, RgbFirst(hub));
            EXPECT_EQ(CLR_SUCCESS, expected.result);
            EXPECT_NE(pictures.destination, expected.bytes);
            EXPECT_EQ(expected, Directly(pictures, row.space, hub));
            const Converter c(row.space, hub);
            // A converter's packed 4-4-4 pixels come out blue first on either hub.
            EXPECT_EQ(row.space == CLRSPACE_RGB444 ? ByKernel(pictures, row.toHub, 0) : expected,
                      ByConverter(pictures, c.Get()));
        }
    }
}

TEST_F(BuiltinDispatch, Rgb444ToHubIsBlueFirstByAConverterOnly) {
    const uint8_t orange[2] = {0x0F, 0x80};
    uint8_t pixel[3] = {};
    const Converter c(CLRSPACE_RGB444, CLRSPACE_RGB);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(c.Get(), orange, pixel, 1, 1, 0, 0));
    EXPECT_EQ(0, pixel[0]);
    EXPECT_EQ(0xF0, pixel[2]);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(CLRSPACE_RGB444, CLRSPACE_RGB, orange, pixel, 1, 1, 0, 0));
    EXPECT_EQ(0xF0, pixel[0]);
    EXPECT_EQ(0, pixel[2]);
}

TEST_F(BuiltinDispatch, HubsSwap) {
    for (const int32_t hub : kHubs) {
        const Pictures pictures(hub, 12 - hub);
        const Outcome expected = Perform(pictures, [](const uint8_t* from, uint8_t* to) {
            return ClrHubSwap(from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra);
        });
        EXPECT_EQ(pictures.source[0], expected.bytes[2]);
        EXPECT_EQ(pictures.source[2], expected.bytes[0]);
        const Converter c(hub, 12 - hub);
        EXPECT_EQ(expected, ByConverter(pictures, c.Get()));
        EXPECT_EQ(expected, Directly(pictures, hub, 12 - hub));
    }
}

TEST_F(BuiltinDispatch, HubSwapTwiceRestoresTheImage) {
    const std::vector<uint8_t> source = RandomBytes(60, 21);
    std::vector<uint8_t> once(60), twice(60);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(0, 12, source.data(), once.data(), 5, 4, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvertDirect(12, 0, once.data(), twice.data(), 5, 4, 0, 0));
    EXPECT_EQ(source, twice);
    EXPECT_NE(source, once);
}

TEST_F(BuiltinDispatch, Yvu9TakesThePaddingOfTheHubSideOnly) {
    for (const int32_t hub : kHubs) {
        const Pictures out(hub, CLRSPACE_YVU9);
        const Outcome fromHub = Perform(out, [&](const uint8_t* from, uint8_t* to) {
            return ClrYvu9FromHub(from, to, kWidth, kHeight, kSourceExtra, RgbFirst(hub));
        });
        const Converter toPlanes(hub, CLRSPACE_YVU9);
        EXPECT_EQ(fromHub, ByConverter(out, toPlanes.Get()));
        EXPECT_EQ(fromHub, Directly(out, hub, CLRSPACE_YVU9));

        const Pictures back(CLRSPACE_YVU9, hub);
        const Outcome toHub = Perform(back, [&](const uint8_t* from, uint8_t* to) {
            return ClrYvu9ToHub(from, to, kWidth, kHeight, kDestinationExtra, RgbFirst(hub));
        });
        const Converter fromPlanes(CLRSPACE_YVU9, hub);
        EXPECT_EQ(toHub, ByConverter(back, fromPlanes.Get()));
        EXPECT_EQ(toHub, Directly(back, CLRSPACE_YVU9, hub));
    }
}

TEST_F(BuiltinDispatch, CmykTakesTheLevelOfItsRecordOr175) {
    for (const int32_t level : {175, 0, 250, 500, 1000}) {
        FullRecords records;
        records.cmyk.gcrLevel = level;
        for (const int32_t hub : kHubs) {
            const Pictures out(hub, CLRSPACE_CMYK);
            const Outcome fromHub = Perform(out, [&](const uint8_t* from, uint8_t* to) {
                return ClrCmykFromHub(from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra, level, RgbFirst(hub));
            });
            const Converter toInks(hub, CLRSPACE_CMYK, level == 175 ? nullptr : &records.params);
            EXPECT_EQ(fromHub, ByConverter(out, toInks.Get())) << level;
            EXPECT_EQ(level == 175, fromHub == Directly(out, hub, CLRSPACE_CMYK)) << level;

            const Pictures back(CLRSPACE_CMYK, hub);
            const Outcome toHub = Perform(back, [&](const uint8_t* from, uint8_t* to) {
                return ClrCmykToHub(from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra, level, RgbFirst(hub));
            });
            const Converter fromInks(CLRSPACE_CMYK, hub, level == 175 ? nullptr : &records.params);
            EXPECT_EQ(toHub, ByConverter(back, fromInks.Get())) << level;
            // Below 250 black has no influence, so that the levels do not show.
            EXPECT_EQ(level < 250, toHub == Directly(back, CLRSPACE_CMYK, hub)) << level;
        }
    }
}

TEST_F(BuiltinDispatch, YuvRecordDecodesToBlueFirstOnEitherHub) {
    FullRecords records;
    for (const int32_t hub : kHubs) {
        const Pictures pictures(CLRSPACE_YUV, hub);
        const Outcome expected = Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
            return ClrYuvParamsToHub(from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra, &records.yuv);
        });
        EXPECT_EQ(CLR_SUCCESS, expected.result);
        const Converter c(CLRSPACE_YUV, hub, &records.params);
        EXPECT_EQ(expected, ByConverter(pictures, c.Get()));
        EXPECT_NE(expected, Directly(pictures, CLRSPACE_YUV, hub));
    }
}

TEST_F(BuiltinDispatch, YuvRecordIsNotUsedFromTheHub) {
    FullRecords records;
    const Pictures pictures(CLRSPACE_RGB, CLRSPACE_YUV);
    const Converter c(CLRSPACE_RGB, CLRSPACE_YUV, &records.params);
    EXPECT_EQ(ByKernel(pictures, ClrYuvFromHub, 1), ByConverter(pictures, c.Get()));
}

TEST_F(BuiltinDispatch, CodesOfTheYuvRecordComeThrough) {
    FullRecords records;
    const Pictures pictures(CLRSPACE_YUV, CLRSPACE_RGB);
    records.yuv.uSampleY = 2;
    {
        const Converter c(CLRSPACE_YUV, CLRSPACE_RGB, &records.params);
        EXPECT_EQ(ERR_YUV_VERTICAL_PACKED, ByConverter(pictures, c.Get()).result);
    }
    records.yuv.planar = 1;
    {
        const Converter c(CLRSPACE_YUV, CLRSPACE_RGB, &records.params);
        EXPECT_EQ(ERR_YUV_PLANAR_PADDING, ByConverter(pictures, c.Get()).result);
    }
}

TEST_F(BuiltinDispatch, LabRecordsGoBeforeThePlainKernels) {
    FullRecords records;
    for (const int32_t hub : kHubs) {
        const Pictures back(CLRSPACE_LAB, hub);
        const Converter decoder(CLRSPACE_LAB, hub, &records.params);
        const Outcome toHub = Perform(back, [&](const uint8_t* from, uint8_t* to) {
            return ClrLabParamsToHub(decoder->labDecode, from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra,
                                     RgbFirst(hub));
        });
        EXPECT_EQ(CLR_SUCCESS, toHub.result);
        EXPECT_EQ(toHub, ByConverter(back, decoder.Get()));
        EXPECT_NE(toHub, Directly(back, CLRSPACE_LAB, hub));

        const Pictures out(hub, CLRSPACE_LAB);
        const Converter encoder(hub, CLRSPACE_LAB, &records.params);
        const auto encode = [&](int32_t rgbFirst) {
            return Perform(out, [&](const uint8_t* from, uint8_t* to) {
                return ClrLabParamsFromHub(encoder->labEncode, from, to, kWidth, kHeight, kSourceExtra,
                                           kDestinationExtra, rgbFirst);
            });
        };
        EXPECT_EQ(encode(0), ByConverter(out, encoder.Get())) << "blue first on either hub";
        EXPECT_NE(encode(1), ByConverter(out, encoder.Get()));
    }
}

TEST_F(BuiltinDispatch, YcckToHubIsWrittenAndGivesZeroByAConverter) {
    FullRecords records;
    for (const int32_t hub : kHubs) {
        const Pictures pictures(CLRSPACE_YCCK, hub);
        Outcome expected = Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
            return ClrYcckToHub(nullptr, from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra, RgbFirst(hub));
        });
        EXPECT_EQ(CLR_SUCCESS, expected.result);
        EXPECT_NE(pictures.destination, expected.bytes);
        EXPECT_EQ(expected, Directly(pictures, CLRSPACE_YCCK, hub));
        expected.result = 0;
        const Converter plain(CLRSPACE_YCCK, hub), withRecord(CLRSPACE_YCCK, hub, &records.params);
        EXPECT_EQ(expected, ByConverter(pictures, plain.Get()));
        EXPECT_EQ(expected, ByConverter(pictures, withRecord.Get()));
    }
}

TEST_F(BuiltinDispatch, HubToYcckByAConverterWritesNothing) {
    for (const int32_t hub : kHubs) {
        const Pictures pictures(hub, CLRSPACE_YCCK);
        const Converter c(hub, CLRSPACE_YCCK);
        EXPECT_EQ((Outcome{CLR_SUCCESS, pictures.destination}), ByConverter(pictures, c.Get()));
        const Outcome expected = Perform(pictures, [&](const uint8_t* from, uint8_t* to) {
            return ClrYcckFromHub(nullptr, from, to, kWidth, kHeight, kSourceExtra, kDestinationExtra);
        });
        EXPECT_NE(pictures.destination, expected.bytes);
        EXPECT_EQ(expected, Directly(pictures, hub, CLRSPACE_YCCK));
    }
}

TEST_F(BuiltinDispatch, YcckKernelsWithoutMemory) {
    for (const int32_t hub : kHubs) {
        const Pictures back(CLRSPACE_YCCK, hub), out(hub, CLRSPACE_YCCK);
        const Converter decoder(CLRSPACE_YCCK, hub), encoder(hub, CLRSPACE_YCCK);
        host_->FailAllocation(1);
        EXPECT_EQ((Outcome{ERR_NO_MEMORY, back.destination}), ByConverter(back, decoder.Get()));
        host_->FailAllocation(1);
        EXPECT_EQ((Outcome{ERR_NO_MEMORY, out.destination}), ByConverter(out, encoder.Get()));
        // Without a converter the kernel's result is not looked at.
        host_->FailAllocation(1);
        EXPECT_EQ((Outcome{CLR_SUCCESS, back.destination}), Directly(back, CLRSPACE_YCCK, hub));
        host_->FailAllocation(1);
        EXPECT_EQ((Outcome{CLR_SUCCESS, out.destination}), Directly(out, hub, CLRSPACE_YCCK));
    }
}

TEST_F(BuiltinDispatch, ErrorsOfPixelsComeThrough) {
    // A hue without saturation, as the second pixel.
    const uint8_t pixels[6] = {0, 128, 0, 85, 128, 0};
    for (const int32_t hub : kHubs) {
        const Converter c(CLRSPACE_HLS, hub);
        uint8_t byConverter[6] = {1, 1, 1, 1, 1, 1};
        uint8_t directly[6] = {1, 1, 1, 1, 1, 1};
        EXPECT_EQ(ERR_BAD_TAG, Zv_ClrConvert(c.Get(), pixels, byConverter, 2, 1, 0, 0));
        EXPECT_EQ(ERR_BAD_TAG, Zv_ClrConvertDirect(CLRSPACE_HLS, hub, pixels, directly, 2, 1, 0, 0));
        EXPECT_EQ(0, std::memcmp(byConverter, directly, sizeof directly));
        EXPECT_EQ(128, directly[0]);
        EXPECT_EQ(1, directly[3]);
    }
}

TEST_F(BuiltinDispatch, IdsThatNoKernelServesConvertToNothing) {
    const std::vector<uint8_t> source = RandomBytes(8094, 22);
    std::vector<uint8_t> destination(8094, 0x5A);
    const std::vector<uint8_t> before = destination;
    const Converter toHub(CLRSPACE_YUV, CLRSPACE_RGB), fromHub(CLRSPACE_RGB, CLRSPACE_YUV);
    toHub->sourceSpace = 99;
    fromHub->destinationSpace = 99;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(toHub.Get(), source.data(), destination.data(), 1, 1, 0, 0));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(fromHub.Get(), source.data(), destination.data(), 1, 1, 0, 0));
    EXPECT_EQ(before, destination);
}

TEST_F(BuiltinDispatch, ADestinationThatIsNoHubConvertsToNothingInOneStep) {
    const Pictures pictures(CLRSPACE_YUV, CLRSPACE_HSV);
    const Converter c(CLRSPACE_YUV, CLRSPACE_HSV);
    c->route = 1;
    EXPECT_EQ((Outcome{CLR_SUCCESS, pictures.destination}), ByConverter(pictures, c.Get()));
}

TEST_F(BuiltinDispatch, ConversionWritesNothingInTheConverter) {
    FullRecords records;
    for (const int32_t space : kAllSpaces) {
        if (IsHub(space)) continue;
        const Converter c(space, CLRSPACE_BGR, &records.params);
        const ClrHandle before = *c.Get();
        const Pictures pictures(space, CLRSPACE_BGR);
        ByConverter(pictures, c.Get());
        EXPECT_EQ(0, std::memcmp(&before, c.Get(), sizeof before)) << space;
    }
}

TEST_F(BuiltinDispatch, TableHoldsEverySpaceButTheHubs) {
    for (const int32_t space : kAllSpaces) {
        const ClrKernelPair* pair = FindKernelPair(space);
        EXPECT_EQ(IsHub(space), pair == nullptr) << space;
        if (pair != nullptr) {
            EXPECT_EQ(space, pair->space);
        }
    }
    EXPECT_EQ(nullptr, FindKernelPair(99));
    EXPECT_EQ(16, kKernelPairCount);
}

}  // namespace
}  // namespace zv::test
