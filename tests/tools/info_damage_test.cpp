// zvclr info on damaged profiles: a report or one line, never a crash.
#include <gtest/gtest.h>

#include <random>

#include "image/image.h"
#include "info_support.h"

namespace {

using zvtest::Bytes;
using zvtest::get32;
using zvtest::icc;
using zvtest::infoOf;
using zvtest::set32;

/// Whether there is a report; the other good end is an ImageError.
bool reported(const Bytes& bytes, const std::vector<std::string>& options = {}) {
    try {
        EXPECT_FALSE(infoOf(bytes, options).empty());
        return true;
    } catch (const zvimage::ImageError& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
        return false;
    }
}

Bytes smallProfile() {
    zvtest::ProfileMaker maker;
    maker.addXyz(icc("wtpt"), 0.9642, 1, 0.8249);
    maker.addGamma(icc("kTRC"), 1.8);
    maker.addText(icc("desc"), u"small");
    return maker.image();
}

Bytes largeProfile() {
    zvtest::ProfileMaker maker;
    maker.addDisplayTags();
    maker.addEveryType();
    return maker.image();
}

std::vector<uint32_t> valuesFor(uint32_t old, uint32_t size) {
    return {0,          1,          old - 1,    old + 1,    old + 2,    old + 4, size - 1, size, size + 1,
            size - 132, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFC, 128,     132,      144,  old << 8};
}

TEST(InfoDamage, EveryWordOfHeaderAndDirectoryVaried) {
    const Bytes good = smallProfile();
    size_t reports = 0;
    size_t refusals = 0;
    for (size_t at = 0; at < 132 + 12 * size_t{get32(good, 128)}; at += 4) {
        for (const uint32_t value : valuesFor(get32(good, at), static_cast<uint32_t>(good.size()))) {
            Bytes bytes = good;
            set32(bytes, at, value);
            ++(reported(bytes) ? reports : refusals);
        }
    }
    EXPECT_GT(reports, 500U);
    EXPECT_GT(refusals, 10U);
}

TEST(InfoDamage, EveryWordOfEveryTypeVaried) {
    const Bytes good = largeProfile();
    size_t reports = 0;
    size_t run = 0;
    for (size_t at = 132; at + 4 <= good.size(); at += 4) {
        // Deep inside tables every word is as good as the next one.
        run = get32(good, at) - get32(good, at - 4) == 0x04040404 ? run + 1 : 0;
        for (const uint32_t value : {uint32_t{0}, get32(good, at) + 1, 0x7FFFFFFFU, 0xFFFFFFFFU, 0x00010000U}) {
            if (run > 2) {
                continue;
            }
            Bytes bytes = good;
            set32(bytes, at, value);
            reports += reported(bytes) ? 1U : 0U;
        }
    }
    EXPECT_GT(reports, 1000U);
}

TEST(InfoDamage, TruncatedAtEveryByte) {
    const Bytes good = largeProfile();
    for (size_t size = 0; size < good.size(); ++size) {
        EXPECT_FALSE(reported(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    }
    EXPECT_TRUE(reported(good));
}

TEST(InfoDamage, TruncatedWithAStatedSizeThatFits) {
    const Bytes good = largeProfile();
    size_t reports = 0;
    for (size_t size = 132; size < good.size(); size += 3) {
        Bytes bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        set32(bytes, 0, static_cast<uint32_t>(size));
        reports += reported(bytes, {size % 2 == 0 ? "--svg" : "--all"}) ? 1U : 0U;
    }
    EXPECT_GT(reports, 100U);
}

TEST(InfoDamage, BodiesCutShort) {
    const Bytes good = largeProfile();
    for (size_t entry = 132; entry < 132 + 12 * size_t{get32(good, 128)}; entry += 12) {
        for (uint32_t size = 0; size < std::min(get32(good, entry + 8), 300U); ++size) {
            Bytes bytes = good;
            set32(bytes, entry + 8, size);
            EXPECT_TRUE(reported(bytes));
        }
    }
}

TEST(InfoDamage, RandomBytes) {
    const Bytes good = largeProfile();
    std::minstd_rand random(20260304);
    for (int round = 0; round < 1000; ++round) {
        Bytes bytes = good;
        for (int i = 0; i < 8; ++i) {
            bytes[132 + random() % (bytes.size() - 132)] = static_cast<uint8_t>(random());
        }
        reported(bytes, {round % 3 == 0 ? "--svg" : round % 3 == 1 ? "--json" : "--all"});
    }
}

TEST(InfoDamage, TypesThatTheLibraryDoesNotKnowVaried) {
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    for (const char* type : {"desc", "mluc", "dict", "vcgt", "pseq", "bfd ", "scrn", "cicp", "rcs2", "mft1"}) {
        Bytes body(type, type + 4);
        std::minstd_rand random(7);
        body.resize(120);
        for (size_t i = 11; i < body.size(); i += 4) {
            body[i] = static_cast<uint8_t>(random() % 24);
        }
        maker.add(type, body);
    }
    const Bytes good = maker.image();
    for (size_t at = 252; at + 4 <= good.size(); at += 4) {
        for (const uint32_t value : {0U, 1U, 2U, 12U, 16U, 40U, 100U, 120U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            Bytes bytes = good;
            set32(bytes, at, value);
            EXPECT_TRUE(reported(bytes));
        }
    }
}

TEST(InfoDamage, ATableOfManyTagsEndsInTime) {
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    Bytes body = {'t', 'e', 'x', 't', 0, 0, 0, 0};
    body.resize(1 << 20, 'a');
    maker.add("targ", body);
    Bytes small = maker.image();
    // 20,000 tags, each with another part of one body.
    constexpr uint32_t kTags = 20000;
    Bytes bytes(small.begin(), small.begin() + 128);
    zvtest::put32(bytes, kTags);
    const uint32_t first = 132 + 12 * kTags;
    for (uint32_t i = 0; i < kTags; ++i) {
        zvtest::put32(bytes, i);
        zvtest::put32(bytes, first);
        zvtest::put32(bytes, static_cast<uint32_t>(body.size()) - i);
    }
    bytes.insert(bytes.end(), body.begin(), body.end());
    set32(bytes, 0, static_cast<uint32_t>(bytes.size()));
    EXPECT_TRUE(reported(bytes));
}

}  // namespace
