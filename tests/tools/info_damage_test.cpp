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
    // As many as are taken, each with another part of one body.
    constexpr uint32_t kTags = 1024;
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

Bytes headOf(const char* type) {
    Bytes body(type, type + 4);
    body.resize(8);
    return body;
}

void put16(Bytes& bytes, uint32_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

/// The report on one tag with that body.
std::string infoOfBody(const char* tag, const Bytes& body, const std::vector<std::string>& options = {}) {
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    maker.add(tag, body);
    return infoOf(maker.image(), options);
}

bool has(const std::string& report, const std::string& words) { return report.find(words) != std::string::npos; }

size_t countOf(const std::string& report, const std::string& words) {
    size_t count = 0;
    for (size_t at = report.find(words); at != std::string::npos; at = report.find(words, at + 1)) {
        ++count;
    }
    return count;
}

/// `count` languages with the same text of `units` letters.
Bytes languages(uint32_t count, uint32_t units) {
    Bytes body = headOf("mluc");
    zvtest::put32(body, count);
    zvtest::put32(body, 12);
    for (uint32_t i = 0; i < count; ++i) {
        zvtest::put32(body, 0x656E5553);
        zvtest::put32(body, 2 * units);
        zvtest::put32(body, 16 + 12 * count);
    }
    for (uint32_t i = 0; i < units; ++i) {
        put16(body, 'x');
    }
    return body;
}

TEST(InfoDamage, LanguagesThatShareATextTakeItOnceOrTwice) {
    const Bytes body = languages(1000, 40000);
    for (const char* form : {"--all", "--json"}) {
        const std::string report = infoOfBody("desc", body, {form});
        EXPECT_LT(report.size(), 400000U) << form;
        EXPECT_TRUE(has(report, "40000 characters not shown")) << form;
    }
    const std::string report = infoOfBody("desc", body);
    EXPECT_EQ(countOf(report, "en-US: "), 16U);
    EXPECT_TRUE(has(report, "not shown: 984 (--all shows them)"));
}

TEST(InfoDamage, LongTextsAreShownWhole) {
    const std::string report = infoOfBody("desc", languages(2, 40000));
    EXPECT_EQ(countOf(report, "en-US: " + std::string(40000, 'x')), 2U);
    EXPECT_FALSE(has(report, "not shown"));
}

TEST(InfoDamage, PairsThatShareATextTakeItOnceOrTwice) {
    constexpr uint32_t kPairs = 4000;
    constexpr uint32_t kUnits = 30000;
    Bytes body = headOf("dict");
    zvtest::put32(body, kPairs);
    zvtest::put32(body, 16);
    for (uint32_t i = 0; i < 2 * kPairs; ++i) {
        zvtest::put32(body, 16 + 16 * kPairs);
        zvtest::put32(body, 2 * kUnits);
    }
    for (uint32_t i = 0; i < kUnits; ++i) {
        put16(body, 'x');
    }
    const std::string all = infoOfBody("meta", body, {"--all"});
    EXPECT_LT(all.size(), 700000U);
    EXPECT_TRUE(has(all, "30000 characters not shown"));
    EXPECT_EQ(countOf(all, "    name: "), kPairs);
    const std::string report = infoOfBody("meta", body);
    EXPECT_EQ(countOf(report, "    name: "), 16U);
    EXPECT_TRUE(has(report, "not shown: 3984 (--all shows them)"));
}

TEST(InfoDamage, TextsOfASequenceShareOneBudget) {
    constexpr uint32_t kSteps = 10;
    Bytes body = headOf("pseq");
    zvtest::put32(body, kSteps);
    for (uint32_t i = 0; i < kSteps; ++i) {
        body.resize(body.size() + 20);
        for (int k = 0; k < 2; ++k) {
            const Bytes text = languages(20, 2000);
            body.insert(body.end(), text.begin(), text.end());
        }
    }
    const std::string report = infoOfBody("pseq", body, {"--all"});
    EXPECT_TRUE(has(report, "read from its bytes"));
    EXPECT_TRUE(has(report, "2000 characters not shown"));
    EXPECT_LT(report.size(), 2 * body.size());
}

TEST(InfoDamage, ChannelsWithoutEntriesAreNoVideoTable) {
    Bytes body = headOf("vcgt");
    zvtest::put32(body, 0);
    put16(body, 0xFFFF);
    put16(body, 0);
    put16(body, 1);
    const std::string report = infoOfBody("vcgt", body, {"--all"});
    EXPECT_LT(report.size(), 10000U);
    EXPECT_TRUE(has(report, "[its fields do not fit it, or not each other]"));
}

TEST(InfoDamage, ManyChannelsOfVideoTablesAreShownInPart) {
    Bytes body = headOf("vcgt");
    zvtest::put32(body, 0);
    put16(body, 5000);
    put16(body, 1);
    put16(body, 1);
    body.resize(body.size() + 5000, 7);
    const std::string report = infoOfBody("vcgt", body);
    EXPECT_LT(report.size(), 10000U);
    EXPECT_TRUE(has(report, "not shown: 4984 (--all shows them)"));
    EXPECT_TRUE(has(infoOfBody("vcgt", body, {"--all"}), "channel 5000: 7"));
}

Bytes table(const char* type, uint8_t channels, uint8_t grid, uint32_t entries, size_t values) {
    Bytes body = headOf(type);
    body.insert(body.end(), {channels, channels, grid, 0});
    body.resize(48);
    put16(body, entries);
    put16(body, entries);
    body.resize(52 + values);
    return body;
}

TEST(InfoDamage, TablesWithoutValuesAreNotDecoded) {
    for (const Bytes& body : {table("mft2", 255, 0, 0, 0), table("mft2", 255, 1, 0, 510), table("mft2", 3, 1, 1, 18),
                              table("mft2", 3, 0, 2, 24), table("mft1", 255, 0, 0, 0), table("mft1", 3, 0, 256, 1536),
                              table("mft2", 0, 2, 2, 0)}) {
        const std::string report = infoOfBody("A2B0", body, {"--all"});
        EXPECT_LT(report.size(), 15000U);
        EXPECT_TRUE(has(report, "ascii: ")) << report;
        EXPECT_FALSE(has(report, "grid points")) << report;
    }
    EXPECT_TRUE(has(infoOfBody("A2B0", table("mft2", 3, 1, 2, 30)), "grid points: 1"));
}

TEST(InfoDamage, ManyChannelsOfTablesAreShownInPart) {
    Bytes body = table("mft2", 100, 1, 2, 1000);
    body[body.size() - 1] = 9;
    const std::string report = infoOfBody("A2B0", body);
    EXPECT_EQ(countOf(report, "not shown: 84 (--all shows them)"), 2U);
    EXPECT_TRUE(has(infoOfBody("A2B0", body, {"--all"}), "channel 100: 0, 9"));
}

TEST(InfoDamage, ListsOfAReportHaveABound) {
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    Bytes body = headOf("ui64");
    body.resize(8 + 8 * 150000);
    maker.add("AAAA", body);
    body.back() = 1;
    maker.add("BBBB", body);
    const std::string report = infoOf(maker.image(), {"--all"});
    EXPECT_TRUE(has(report, "not shown: 100000 (more than a report has room for)"));
    EXPECT_LT(countOf(report, "\n"), 201000U);
}

TEST(InfoDamage, CurvesOfManyChannelsAreShownInPart) {
    Bytes body = headOf("mAB ");
    body.insert(body.end(), {255, 255, 0, 0});
    for (const uint32_t offset : {32U, 0U, 32U, 0U, 32U}) {
        zvtest::put32(body, offset);
    }
    for (int i = 0; i < 255; ++i) {
        const Bytes curve = {'c', 'u', 'r', 'v', 0, 0, 0, 0, 0, 0, 0, 0};
        body.insert(body.end(), curve.begin(), curve.end());
    }
    const std::string report = infoOfBody("A2B0", body);
    EXPECT_EQ(countOf(report, "not shown: 239 (--all shows them)"), 3U) << report;
    EXPECT_EQ(countOf(infoOfBody("A2B0", body, {"--all"}), "curve: identity"), 765U);
}

/// Units with one and the same curve.
Bytes responses(uint32_t units, uint32_t channels, uint32_t count) {
    Bytes body = headOf("rcs2");
    put16(body, channels);
    put16(body, units);
    for (uint32_t i = 0; i < units; ++i) {
        zvtest::put32(body, 12 + 4 * units);
    }
    zvtest::put32(body, icc("StaA"));
    for (uint32_t i = 0; i < channels; ++i) {
        zvtest::put32(body, count);
    }
    body.resize(body.size() + size_t{12} * channels + size_t{8} * channels * count);
    return body;
}

TEST(InfoDamage, UnitsThatShareACurveTakeItOnceOrTwice) {
    const Bytes body = responses(1000, 1, 5000);
    const std::string report = infoOfBody("resp", body, {"--all"});
    EXPECT_LT(report.size(), 10 * body.size());
    EXPECT_TRUE(has(report, "not shown: 998 (the units before them share their bytes)")) << report.substr(0, 2000);
}

TEST(InfoDamage, ResponsesOfManyChannelsSayWhatIsLeftOut) {
    // One response where the record has as many, and two where it does not.
    for (const uint32_t count : {1U, 2U}) {
        const std::string report = infoOfBody("resp", responses(1, 20, count));
        EXPECT_TRUE(has(report, "not shown: 4 (--all shows them)")) << report;
        EXPECT_FALSE(has(report, "channel 17"));
        EXPECT_TRUE(has(infoOfBody("resp", responses(1, 20, count), {"--all"}), "channel 20"));
    }
}

TEST(InfoDamage, TextsDoNotTurnTheDirectionOfWriting) {
    Bytes body = headOf("mluc");
    const std::u16string turns =
        u"a\u200E\u200F\u2028\u2029\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069z\u2010\u2065\u206A";
    zvtest::put32(body, 1);
    zvtest::put32(body, 12);
    zvtest::put32(body, 0x656E5553);
    zvtest::put32(body, static_cast<uint32_t>(2 * turns.size()));
    zvtest::put32(body, 28);
    for (const char16_t unit : turns) {
        put16(body, unit);
    }
    EXPECT_TRUE(has(infoOfBody("desc", body),
                    "en-US: a\\u200e\\u200f\\u2028\\u2029\\u202a\\u202b\\u202c\\u202d\\u202e\\u2066\\u2067\\u2068"
                    "\\u2069z\xE2\x80\x90\xE2\x81\xA5\xE2\x81\xAA\n"));
}

TEST(InfoDamage, UnicodeThatPassesTheBodyIsRemarkedOn) {
    Bytes body = headOf("desc");
    zvtest::put32(body, 5);
    body.insert(body.end(), {'a', 'b', 'c', 'd', 0});
    zvtest::put32(body, 0);
    zvtest::put32(body, 100);
    put16(body, 'z');
    const std::string report = infoOfBody("desc", body);
    EXPECT_TRUE(has(report, "text: abcd\n  remark: the Unicode part points past its end\n")) << report;
}

}  // namespace
