// "ncl2".
#include "tests/Common/IccProfile/tag_fixture.h"

namespace zv::test {
namespace {

uint16_t Pcs(uint32_t color, uint32_t i) { return static_cast<uint16_t>(0x0102 + 0x1111 * color + 0x20 * i); }
uint16_t Device(uint32_t color, uint32_t i) { return static_cast<uint16_t>(0xA1B2 + 0x0301 * color + 7 * i); }
Bytes Name(uint32_t color) { return CountingBytes(32, static_cast<uint8_t>(11 * color + 5)); }

struct Named {
    Named(uint32_t count, uint32_t coords, TagArrays::Place place = TagArrays::Place::kAtTheEnd) : arrays(place) {
        record = DirtyRecord<ClrIccTagNamedColor2>();
        record.vendorFlags = 0xABCD1234;
        record.colorCount = count;
        record.deviceCoords = coords;
        std::memcpy(record.prefix, Letters("PANEL ", 32).data(), 32);
        std::memcpy(record.suffix, CountingBytes(32, 0x90).data(), 32);
        std::vector<ClrIccNamedColorEntry> colors(count);
        for (uint32_t color = 0; color < count; ++color) {
            std::vector<uint16_t> device;
            for (uint32_t i = 0; i < coords; ++i) device.push_back(Device(color, i));
            std::memcpy(colors[color].name, Name(color).data(), 32);
            for (uint32_t i = 0; i < 3; ++i) colors[color].pcs[i] = Pcs(color, i);
            colors[color].device = arrays.Put(device);
        }
        record.colors = arrays.Put(colors);
    }

    TagArrays arrays;
    ClrIccTagNamedColor2 record;
};

Bytes LittleWord(uint16_t word) { return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)}; }

Bytes Head(uint32_t flags, uint32_t count, uint32_t coords) {
    return TypedBody("ncl2", BigLongs({flags, count, coords}) + Letters("PANEL ", 32) + CountingBytes(32, 0x90));
}

/// A standard body, or one as the library stores host records.
Bytes NamedBody(uint32_t flags, uint32_t count, uint32_t coords, bool pcsOfTheHost) {
    Bytes body = Head(flags, count, coords);
    for (uint32_t color = 0; color < count; ++color) {
        body = body + Name(color);
        for (uint32_t i = 0; i < 3; ++i) {
            body = body + (pcsOfTheHost ? LittleWord(Pcs(color, i)) : BigWords({Pcs(color, i)}));
        }
        for (uint32_t i = 0; i < coords; ++i) body = body + BigWords({Device(color, i)});
    }
    return body;
}

TEST(NamedColorsTag, OneColorByBytes) {
    const HostScope host;
    TagArrays arrays;
    std::vector<ClrIccNamedColorEntry> colors(1);
    std::memcpy(colors[0].name, Letters("Red", 32).data(), 32);
    colors[0].pcs[0] = 0x0102;
    colors[0].pcs[1] = 0x0304;
    colors[0].pcs[2] = 0xFFFE;
    colors[0].device = arrays.Put<uint16_t>({0x1122, 0x3344});
    auto record = DirtyRecord<ClrIccTagNamedColor2>();
    record.vendorFlags = 0x8001FFFF;
    record.colorCount = 1;
    record.deviceCoords = 2;
    std::memcpy(record.prefix, Letters("pre", 32).data(), 32);
    std::memcpy(record.suffix, Letters("post", 32).data(), 32);
    record.colors = arrays.Put(colors);
    // Values of the connection space in the order of the host, device values big-endian.
    const Bytes body = Bytes{'n', 'c', 'l', '2', 0, 0, 0, 0, 0x80, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 2} +
                       Letters("pre", 32) + Letters("post", 32) + Letters("Red", 32) +
                       Bytes{2, 1, 4, 3, 0xFE, 0xFF, 0x11, 0x22, 0x33, 0x44};
    ASSERT_EQ(84U + 42, body.size());
    ExpectSet(&record, "ncl2", body, true);
}

TEST(NamedColorsTag, IsStoredInEveryShape) {
    const HostScope host;
    for (uint32_t count = 0; count <= 4; ++count) {
        for (uint32_t coords = 0; coords <= 5; ++coords) {
            SCOPED_TRACE(testing::Message() << count << " colors of " << coords);
            Named named(count, coords);
            const Bytes body = NamedBody(0xABCD0000, count, coords, true);
            ASSERT_EQ(84 + count * (38 + 2 * coords), body.size());
            ExpectSet(&named.record, "ncl2", body, true);
        }
    }
}

TEST(NamedColorsTag, LowVendorFlagsAreDroppedWhenSetAndKeptWhenRead) {
    const HostScope host;
    for (const uint32_t flags : {0U, 1U, 0xFFFFU, 0x10000U, 0x00010001U, 0x80000000U, 0xFFFFFFFFU}) {
        Named named(1, 1);
        named.record.vendorFlags = flags;
        ExpectSet(&named.record, "ncl2", NamedBody(flags & 0xFFFF0000, 1, 1, true), true);
        ReadBody read(NamedBody(flags, 1, 1, false));
        ASSERT_EQ(CLR_SUCCESS, read.Result());
        EXPECT_EQ(flags, Value(read->namedColor2.vendorFlags));
    }
}

TEST(NamedColorsTag, IsReadWithEveryNumberSwapped) {
    const HostScope host;
    for (uint32_t count = 0; count <= 4; ++count) {
        for (uint32_t coords = 0; coords <= 5; ++coords) {
            ReadBody read(NamedBody(7, count, coords, false));
            ASSERT_EQ(CLR_SUCCESS, read.Result());
            const ClrIccTagNamedColor2& named = read->namedColor2;
            EXPECT_EQ(FourCc("ncl2"), Value(named.typeSig));
            ASSERT_EQ(count, Value(named.colorCount));
            EXPECT_EQ(coords, Value(named.deviceCoords));
            EXPECT_EQ(Letters("PANEL ", 32), BytesAt(named.prefix, 32));
            EXPECT_EQ(CountingBytes(32, 0x90), BytesAt(named.suffix, 32));
            for (uint32_t color = 0; color < count; ++color) {
                const ClrIccNamedColorEntry& entry = named.colors[color];
                EXPECT_EQ(Name(color), BytesAt(entry.name, 32));
                for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(Pcs(color, i), Value(entry.pcs[i]));
                for (uint32_t i = 0; i < coords; ++i) EXPECT_EQ(Device(color, i), Value(entry.device[i]));
            }
        }
    }
}

TEST(NamedColorsTag, ConnectionSpaceValuesComeOutSwappedAfterARound) {
    const HostScope host;
    ReadBody read(NamedBody(0x30000, 3, 4, false));
    ASSERT_EQ(CLR_SUCCESS, read.Result());
    const Bytes once = NamedBody(0x30000, 3, 4, true);
    ExpectSet(read.Record(), "ncl2", once, true);
    ReadBody again(once);
    ASSERT_EQ(CLR_SUCCESS, again.Result());
    ExpectSet(again.Record(), "ncl2", NamedBody(0x30000, 3, 4, false), true);
}

TEST(NamedColorsTag, ImageFormIsReleasedByItsOwnCount) {
    const HostScope host;
    Named named(3, 2);
    ClrIccTagRecord image;
    std::memset(&image, 0xEE, sizeof image);
    ASSERT_EQ(CLR_SUCCESS, Zv_CreateICCTagData(&image, &named.record, FourCc("ncl2")));
    EXPECT_EQ(Head(0xABCD0000, 3, 2), BytesAt(&image, 84));
    for (uint32_t color = 0; color < 3; ++color) {
        const ClrIccNamedColorEntry& entry = image.namedColor2.colors[color];
        EXPECT_EQ(Name(color), BytesAt(entry.name, 32));
        for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(Pcs(color, i), Value(entry.pcs[i]));
        EXPECT_EQ(BigWords({Device(color, 0), Device(color, 1)}), BytesAt(entry.device, 4));
    }
    Zv_FreeICCTagType(&image, FourCc("ncl2"));
    EXPECT_EQ(nullptr, Value(image.namedColor2.colors));
    Zv_FreeICCTagType(&image, FourCc("ncl2"));
}

TEST(NamedColorsTag, NullArraysAreRefused) {
    const HostScope host;
    for (const uint32_t count : {0U, 1U, 0xFFFFFFFFU}) {
        Named named(1, 1);
        named.record.colorCount = count;
        named.record.colors = nullptr;
        ExpectRefused(&named.record, "ncl2");
    }
    for (uint32_t color = 0; color < 3; ++color) {
        Named named(3, 2);
        named.record.colors[color].device = nullptr;
        ExpectRefused(&named.record, "ncl2");
    }
    Named none(2, 0);
    none.record.colors[0].device = nullptr;
    none.record.colors[1].device = nullptr;
    ExpectSet(&none.record, "ncl2", NamedBody(0xABCD0000, 2, 0, true), true);
}

TEST(NamedColorsTag, ArraysThatCannotBeReadAreRefused) {
    const HostScope host;
    for (const uint32_t value : {4U, 0x06BCA1AFU, 0x06186186U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        Named count(3, 2);
        count.record.colorCount = value;
        ExpectRefused(&count.record, "ncl2");
        Named coords(3, 2);
        coords.record.deviceCoords = value;
        ExpectRefused(&coords.record, "ncl2");
        count.record.deviceCoords = value;
        ExpectRefused(&count.record, "ncl2");
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 160U);
}

TEST(NamedColorsTag, ColorsWhoseSizesComeOutAsNothingInSixtyFourBitsAreRefused) {
    const HostScope host;
    // 2^31 colors of 2^33 bytes.
    constexpr uint32_t kCount = 0x80000000;
    constexpr uint32_t kCoords = 0xFFFFFFED;
    static_assert(kCount * (38 + 2 * uint64_t{kCoords}) == 0);
    Bytes body = NamedBody(0, 3, 2, false);
    SetBig32(body, 12, kCount);
    SetBig32(body, 16, kCoords);
    ReadBody read(body);
    EXPECT_EQ(ERR_INVALID_PARAMETER, read.Result());
    Named named(3, 2);
    named.record.colorCount = kCount;
    named.record.deviceCoords = kCoords;
    ExpectRefused(&named.record, "ncl2");
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

TEST(NamedColorsTag, CountsPastTheBodyAreRefused) {
    const HostScope host;
    for (const uint32_t value : {4U, 0x06BCA1AFU, 0x06186186U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFEDU, 0xFFFFFFFFU}) {
        Bytes body = NamedBody(0, 3, 2, false);
        SetBig32(body, 12, value);
        ReadBody count(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, count.Result());
        SetBig32(body, 16, value);
        ReadBody both(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, both.Result());
        SetBig32(body, 12, 3);
        ReadBody coords(body);
        EXPECT_EQ(ERR_INVALID_PARAMETER, coords.Result());
        SetBig32(body, 12, 0);  // no colors, so it does not matter how large they are
        ReadBody none(body);
        EXPECT_EQ(CLR_SUCCESS, none.Result());
        EXPECT_EQ(value, Value(none->namedColor2.deviceCoords));
    }
    EXPECT_LE(host->LargestRequestSinceReset(), 256U);
}

}  // namespace
}  // namespace zv::test
