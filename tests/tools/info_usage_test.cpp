// zvclr info: what it says of files that are no profiles, of problems, and of its command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "image/image.h"
#include "info_command.h"
#include "info_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::get32;
using zvtest::icc;
using zvtest::infoOf;
using zvtest::Outcome;
using zvtest::ProfileMaker;
using zvtest::runTool;
using zvtest::set32;

Bytes displayProfile() {
    ProfileMaker maker;
    maker.addDisplayTags();
    return maker.image();
}

void refused(const Bytes& bytes, const std::string& words) {
    const zvtest::Folder folder;
    zvtest::writeFile(folder.path("in.icc"), bytes);
    const Outcome outcome = runTool({"info", folder.path("in.icc")});
    EXPECT_EQ(outcome.code, 1) << outcome.out;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << words << " in: " << outcome.err;
}

TEST(InfoUsage, WhatIsNoProfileIsRefusedInOneLine) {
    refused({}, "is empty");
    refused({'a', 'b'}, "it has 2 bytes, and the smallest profile has 132");
    refused(Bytes(500), "\"acsp\" does not stand at byte 36");
    Bytes bytes = displayProfile();
    bytes.pop_back();
    refused(bytes, "is cut off: it says that it has " + std::to_string(bytes.size() + 1) + " bytes, but " +
                       std::to_string(bytes.size()) + " are there");
    bytes = displayProfile();
    set32(bytes, 0, 100);
    refused(bytes, "is damaged: it says that it has 100 bytes");
    bytes = displayProfile();
    set32(bytes, 128, 1000);
    refused(bytes, "its table of 1000 tags");
    bytes = displayProfile();
    bytes.resize(132 + 12 * size_t{1025});
    set32(bytes, 0, static_cast<uint32_t>(bytes.size()));
    set32(bytes, 128, 1025);
    refused(bytes, "has 1025 tags, and no more than 1024 are taken");
    set32(bytes, 128, 1024);
    EXPECT_NE(infoOf(bytes).find("\nTags: 1024\n"), std::string::npos);
    Bytes large = displayProfile();
    large.resize((size_t{64} << 20) + 1);
    refused(large, "larger than 64 MB");

    const zvtest::Folder folder;
    EXPECT_EQ(runTool({"info", folder.path("missing.icc")}).code, 1);
    EXPECT_NE(runTool({"info", folder.path("missing.icc")}).err.find("cannot open"), std::string::npos);
    EXPECT_EQ(runTool({"info", folder.root()}).code, 1) << "a folder";
}

TEST(InfoUsage, TheCommandLineIsChecked) {
    const std::string profile = std::string(ZVCLR_PROFILES) + "/105.icm";
    EXPECT_EQ(runTool({"info"}).code, 2);
    EXPECT_EQ(runTool({"info", profile, "--json", "--svg"}).code, 2);
    EXPECT_EQ(runTool({"info", profile, "--unknown"}).code, 2);
    const Outcome help = runTool({"info", "--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"error ", "warning ", "note ", "hint ", "--json", "--svg", "--all", "--strict"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
}

TEST(InfoUsage, TheStandardInputIsRead) {
    const std::string profile = std::string(ZVCLR_PROFILES) + "/105.icm";
    const Outcome outcome = runTool({"info", "-"}, profile);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::string named = runTool({"info", profile}).out;
    EXPECT_EQ(outcome.out.substr(outcome.out.find('\n')), named.substr(named.find('\n')));
}

TEST(InfoUsage, StrictFailsWithErrorsAndWarnings) {
    const zvtest::Folder folder;
    zvtest::writeFile(folder.path("good.icc"), displayProfile());
    EXPECT_EQ(runTool({"info", folder.path("good.icc"), "--strict"}).code, 0);
    Bytes bytes = displayProfile();
    set32(bytes, 68, 0x10000);
    set32(bytes, 132 + 4, 4);
    zvtest::writeFile(folder.path("bad.icc"), bytes);
    EXPECT_EQ(runTool({"info", folder.path("bad.icc")}).code, 0);
    const Outcome outcome = runTool({"info", folder.path("bad.icc"), "--strict"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.out.find("\nProblems\n"), std::string::npos);
    EXPECT_NE(outcome.err.find("1 error and 1 warning"), std::string::npos) << outcome.err;
}

/// "level: place: text" of all.
std::string problemsOf(const Bytes& bytes) {
    std::string lines;
    const json report = json::parse(infoOf(bytes, {"--json"}));
    for (const json& problem : report["problems"]) {
        lines += problem["level"].get<std::string>() + ": " + problem["place"].get<std::string>() + ": " +
                 problem["text"].get<std::string>() + "\n";
    }
    return lines;
}

void expectProblem(const Bytes& bytes, const std::string& words) {
    const std::string problems = problemsOf(bytes);
    EXPECT_NE(problems.find(words), std::string::npos) << words << " in:\n" << problems;
}

/// The number of the tag in the table.
size_t entryOf(const Bytes& bytes, uint32_t tag) {
    for (size_t at = 132; at < 132 + 12 * size_t{get32(bytes, 128)}; at += 12) {
        if (get32(bytes, at) == tag) {
            return at;
        }
    }
    ADD_FAILURE() << "no such tag";
    return 132;
}

TEST(InfoUsage, AGoodProfileHasHintsOnly) {
    EXPECT_EQ(problemsOf(displayProfile()),
              "hint: header: an identifier would let programs tell equal profiles by it\n");
}

TEST(InfoUsage, ProblemsOfTheHeaderAreFound) {
    const auto with = [](size_t offset, uint32_t value) {
        Bytes bytes = displayProfile();
        set32(bytes, offset, value);
        return bytes;
    };
    expectProblem(with(8, 0x04300000), "note: header: neither version 4.0 nor 4.2");
    expectProblem(with(8, 0x02400000), "note: header: version 2: ");
    expectProblem(with(8, 0x09000000), "warning: header: version 9 is unknown");
    expectProblem(with(8, 0x04200001), "warning: header: the two reserved bytes of the version");
    expectProblem(with(12, icc("abcd")), "warning: header: the class abcd is unknown");
    expectProblem(with(16, icc("abcd")), "warning: header: the colour space abcd is unknown");
    expectProblem(with(20, icc("RGB ")), "warning: header: RGB is no connection space");
    expectProblem(with(24, 0x07EA000D), "warning: header: 2026-13-04 15:16:17 is no date");
    expectProblem(with(40, icc("abcd")), "note: header: the platform abcd is unknown");
    expectProblem(with(56, 1), "note: header: the vendor's half");
    expectProblem(with(64, 4), "warning: header: there is no rendering intent 4");
    expectProblem(with(72, 0xFFF0), "warning: header: the illuminant of the connection space is not D50");
    expectProblem(with(100, 1), "warning: header: reserved bytes");
    expectProblem(with(128, 0x80000000), "error: tag table: no file holds the stated number of tags, 2147483648");
    expectProblem(with(128, 0), "warning: tag table: there are no tags");
    Bytes longer = displayProfile();
    longer.resize(longer.size() + 7);
    expectProblem(longer, "and 7 more follow");
}

TEST(InfoUsage, ProblemsOfTagsAreFound) {
    const Bytes good = displayProfile();
    const auto size = static_cast<uint32_t>(good.size());
    const auto with = [&good](uint32_t tag, size_t field, uint32_t value) {
        Bytes bytes = good;
        set32(bytes, entryOf(bytes, tag) + field, value);
        return bytes;
    };
    const uint32_t white = get32(good, entryOf(good, icc("wtpt")) + 4);
    expectProblem(with(icc("wtpt"), 4, size), "error: wtpt: the body of 20 bytes at " + std::to_string(size));
    expectProblem(with(icc("wtpt"), 8, size), "error: wtpt: the body of " + std::to_string(size));
    expectProblem(with(icc("wtpt"), 4, 128), "error: wtpt: the body at 128 lies in the header or the tag table");
    expectProblem(with(icc("wtpt"), 8, 6), "error: wtpt: a body of 6 bytes is too small for any type");
    expectProblem(with(icc("wtpt"), 4, white + 2), "warning: wtpt: the body at " + std::to_string(white + 2));
    expectProblem(with(icc("wtpt"), 8, 40), "20 bytes of the body are part of that of");
    expectProblem(with(icc("wtpt"), 0, icc("rXYZ")), "warning: rXYZ: an earlier tag has the same signature");
    expectProblem(with(icc("wtpt"), 0, icc("rXYZ")), "must have are missing: wtpt");
    expectProblem(with(icc("wtpt"), 0, icc("abcd")), "note: abcd: a private tag");
    expectProblem(with(icc("wtpt"), 0, icc("vcgt")), "note: vcgt: not in the standard, but widely used");
    expectProblem(with(icc("wtpt"), 0, icc("vued")), "warning: vued: the type is XYZ, where version 4 has mluc");
    expectProblem(with(icc("wtpt"), 0, icc("ps2i")), "note: ps2i: version 4 has no such tag");
    expectProblem(with(icc("wtpt"), 0, icc("kTRC")), "the type is XYZ, where version 4 has curv or para");
    expectProblem(with(icc("wtpt"), 0, icc("A2B0")), "the type is XYZ, where version 4 has mft1, mft2 or mAB");
    expectProblem(with(icc("wtpt"), 0, icc("tech")), "warning: tech: the type is XYZ, where version 4 has sig");
    const auto body = [&good](size_t place, uint32_t value) {
        Bytes bytes = good;
        set32(bytes, place, value);
        return bytes;
    };
    expectProblem(body(white + 4, 1), "warning: wtpt: the four reserved bytes");
    expectProblem(body(white + 8, 0xF000), "warning: wtpt: the media white of a display is D50 in version 4");
    const uint32_t red = get32(good, entryOf(good, icc("rTRC")) + 4);
    expectProblem(body(red + 8, 1000),
                  "error: rTRC: the body is not what its type curv asks for: the library refuses it "
                  "with ERR_INVALID_PARAMETER");
    expectProblem(body(red + 8, 1000),
                  "warning: converters: as input profile its tags are of the right types, but a converter with it "
                  "cannot be made or run: ERR_");
}

void expectNoProblem(const Bytes& bytes, const std::string& words) {
    const std::string problems = problemsOf(bytes);
    EXPECT_EQ(problems.find(words), std::string::npos) << words << " in:\n" << problems;
}

TEST(InfoUsage, TheBlackPointIsGoneSince43) {
    Bytes bytes = displayProfile();
    set32(bytes, entryOf(bytes, icc("wtpt")), icc("bkpt"));
    for (const uint32_t version : {0x02400000U, 0x04000000U, 0x04200000U}) {
        set32(bytes, 8, version);
        expectNoProblem(bytes, ": bkpt: ");
    }
    for (const uint32_t version : {0x04300000U, 0x04400000U, 0x05000000U}) {
        set32(bytes, 8, version);
        expectProblem(bytes, "note: bkpt: gone from the standard since version 4.3");
        expectNoProblem(bytes, "warning: bkpt: ");
    }
}

TEST(InfoUsage, OldVersionsAreShownThroughACopy) {
    Bytes bytes = displayProfile();
    for (const uint32_t major : {0U, 1U, 2U, 3U}) {
        set32(bytes, 8, major << 24);
        const std::string version = "version " + std::to_string(major);
        expectProblem(bytes, "note: header: " + version + ": shown through a copy that says 4.2");
        if (major != 2) {
            expectProblem(bytes, "warning: header: " + version + " is unknown");
        }
    }
    set32(bytes, 8, 0x04000000);
    expectNoProblem(bytes, "shown through a copy");
}

TEST(InfoUsage, NoDateIsNone) {
    Bytes bytes = displayProfile();
    std::fill_n(bytes.begin() + 24, 12, uint8_t{0});
    EXPECT_NE(infoOf(bytes).find("\n  created: none\n"), std::string::npos);
    EXPECT_EQ(json::parse(infoOf(bytes, {"--json"}))["header"]["created"], "none");
}

TEST(InfoUsage, NamesOfFilesBecomeUtf8) {
    const auto titleOf = [](const std::string& name) {
        zvtool::InfoArguments arguments;
        arguments.input = "folder/" + name;
        arguments.svg = true;
        const std::string picture = zvtool::infoText(arguments, displayProfile());
        const size_t start = picture.find("<title>") + 7;
        return picture.substr(start, picture.find("</title>") - start);
    };
    EXPECT_EQ(titleOf("a\xc3\xa9\xe2\x9c\x93\xf0\x9f\x98\x80.icc"), "a\xc3\xa9\xe2\x9c\x93\xf0\x9f\x98\x80.icc");
    EXPECT_EQ(titleOf("n\xfc\x80\x80\x80.icc"), "n????.icc");
    for (int lead = 0xF5; lead <= 0xFF; ++lead) {
        EXPECT_EQ(titleOf(std::string(1, static_cast<char>(lead)) + "\x90\x80\x80.icc"), "????.icc") << lead;
    }
    EXPECT_EQ(titleOf("\xf4\x90\x80\x80.icc"), "????.icc") << "beyond the last character";
}

/// 8-bit values, long enough for hints on equal bodies.
Bytes someBytes(size_t count) {
    Bytes bytes(count);
    bytes.back() = 1;
    return bytes;
}

TEST(InfoUsage, OverlappingBodiesAreNoTwins) {
    ProfileMaker maker;
    maker.addBody(icc("abcd"), icc("ui08"), Bytes(100));
    maker.addBody(icc("abce"), icc("ui08"), Bytes(100));
    Bytes bytes = maker.image();
    expectProblem(bytes, "hint: abce: the same 108 bytes as abcd");
    // Into the zeros of the first, 20 bytes apart.
    const uint32_t first = get32(bytes, entryOf(bytes, icc("abcd")) + 4);
    set32(bytes, entryOf(bytes, icc("abcd")) + 4, first + 8);
    set32(bytes, entryOf(bytes, icc("abcd")) + 8, 60);
    set32(bytes, entryOf(bytes, icc("abce")) + 4, first + 28);
    set32(bytes, entryOf(bytes, icc("abce")) + 8, 60);
    expectNoProblem(bytes, "hint: abce");
}

TEST(InfoUsage, ManyLongBodiesAreComparedInPart) {
    // 24 bodies of 500 KB that differ in their last byte: all pairs would be 138 MB.
    constexpr size_t kBodies = 24;
    ProfileMaker maker;
    maker.addBody(icc("frst"), icc("ui08"), someBytes(64));
    maker.addBody(icc("scnd"), icc("ui08"), someBytes(64));
    for (uint32_t i = 0; i < kBodies; ++i) {
        Bytes bytes(500000);
        bytes.back() = static_cast<uint8_t>(i);
        maker.addBody(icc("aaaa") + i, icc("ui08"), bytes);
    }
    maker.addBody(icc("zzzz"), icc("ui08"), Bytes(500000));
    const std::string problems = problemsOf(maker.image());
    EXPECT_NE(problems.find("hint: scnd: the same 72 bytes as frst"), std::string::npos) << problems;
    EXPECT_EQ(problems.find("hint: zzzz: the same"), std::string::npos) << "beyond the bound";
}

TEST(InfoUsage, TablesAreAskedForWithoutAWholeMatrix) {
    for (const uint32_t deviceClass : {icc("scnr"), icc("mntr")}) {
        Bytes bytes = displayProfile();
        set32(bytes, 12, deviceClass);
        expectNoProblem(bytes, "must have are missing");
        // A table beside the matrix changes nothing, whichever way it goes.
        for (const uint32_t table : {icc("A2B0"), icc("B2A0")}) {
            Bytes more = bytes;
            set32(more, entryOf(more, icc("desc")), table);
            expectProblem(more, "must have are missing: desc\n");
        }
        set32(bytes, entryOf(bytes, icc("gTRC")), icc("abcd"));
        expectProblem(bytes, "must have are missing: gTRC\n");
    }
    // Output profiles have no form with a matrix.
    Bytes bytes = displayProfile();
    set32(bytes, 12, icc("prtr"));
    expectProblem(bytes, "must have are missing: A2B0, A2B1, A2B2, B2A0");
    bytes = displayProfile();
    set32(bytes, entryOf(bytes, icc("gTRC")), icc("A2B0"));
    expectProblem(bytes, "must have are missing: B2A0\n");
}

TEST(InfoUsage, ClassesWithoutAPlaceInAPairAreNotUsable) {
    const std::pair<uint32_t, const char*> classes[] = {
        {icc("link"), "a device link"}, {icc("abst"), "an abstract profile"}, {icc("nmcl"), "a named-colour profile"}};
    for (const auto& [deviceClass, words] : classes) {
        Bytes bytes = displayProfile();
        set32(bytes, 12, deviceClass);
        const json report = json::parse(infoOf(bytes, {"--json"}))["engine"];
        for (const char* name : {"input", "output"}) {
            EXPECT_EQ(report[name]["usable"], false) << words;
            EXPECT_EQ(report[name]["text"].get<std::string>().rfind(words, 0), 0U) << report[name];
            EXPECT_EQ(report[name]["trial"], nullptr) << words;
            EXPECT_EQ(report[name]["tags"].size(), 0U) << words;
        }
        expectNoProblem(bytes, ": converters: ");
    }
    Bytes bytes = displayProfile();
    set32(bytes, 12, icc("spac"));
    EXPECT_EQ(json::parse(infoOf(bytes, {"--json"}))["engine"]["input"]["usable"], true);
}

TEST(InfoUsage, AbsoluteFormsAreOfTablesOnly) {
    Bytes bytes = displayProfile();
    set32(bytes, 64, 3);
    json side = json::parse(infoOf(bytes, {"--json"}))["engine"]["input"];
    EXPECT_EQ(side["text"], "colorants and tone curves");
    EXPECT_EQ(side["tags"].size(), 6U);

    ProfileMaker maker;
    maker.addDisplayTags();
    maker.addBody(icc("A2B0"), icc("zzzz"), Bytes(100));
    bytes = maker.image();
    set32(bytes, get32(bytes, entryOf(bytes, icc("A2B0")) + 4), icc("mft2"));
    const auto input = [&bytes] { return json::parse(infoOf(bytes, {"--json"}))["engine"]["input"]; };
    EXPECT_EQ(input()["text"], "the table A2B0");
    EXPECT_EQ(input()["tags"], json({"A2B0"}));
    set32(bytes, 64, 3);
    EXPECT_EQ(input()["text"].get<std::string>().rfind("the table A2B0, whose XYZ is taken as absolute", 0), 0U);
    EXPECT_EQ(input()["tags"], json({"A2B0", "wtpt"}));
    EXPECT_EQ(json::parse(infoOf(bytes, {"--json"}))["engine"]["output"]["text"], "colorants and tone curves");
    set32(bytes, 20, icc("RGB "));
    EXPECT_EQ(input()["text"], "the table A2B0") << "no connection space";
}

TEST(InfoUsage, EqualBodiesAreHintedAt) {
    ProfileMaker maker;
    maker.addAscii(icc("targ"), "twelve words and more");
    maker.addAscii(icc("abcd"), "twelve words and more");
    expectProblem(maker.image(), "hint: abcd: the same 30 bytes as targ: one body could serve both");
}

TEST(InfoUsage, CurvesThatTheEngineDoesNotReadAreHintedAt) {
    ProfileMaker maker;
    maker.addDisplayTags();
    EXPECT_EQ(Zv_DeleteICCTag(maker.get(), icc("gTRC"), nullptr), CLR_SUCCESS);
    uint32_t parameter = zvtest::fixed(1.8);
    ClrIccTagParametricCurve curve = {};
    curve.parameters = &parameter;
    maker.add(icc("gTRC"), icc("para"), &curve);
    expectProblem(maker.image(), "hint: converters: not usable as output profile: without B2A0, gTRC is of type para");
}

TEST(InfoUsage, SharedBodiesAreShownOnce) {
    const std::string text = infoOf(zvtest::readFile(std::string(ZVCLR_PROFILES) + "/105.icm"));
    EXPECT_NE(text.find("tone curve of green, the body of rTRC"), std::string::npos);
    EXPECT_NE(text.find("\nrTRC: curve\n"), std::string::npos);
    EXPECT_EQ(text.find("\ngTRC: curve\n"), std::string::npos);
}

TEST(InfoUsage, TagsThatAnEarlierOneHidesAreShownToo) {
    ProfileMaker maker;
    maker.addAscii(icc("targ"), "first of two");
    maker.addAscii(icc("targ"), "second of two");
    const std::string text = infoOf(maker.image());
    EXPECT_NE(text.find("text: first of two\n"), std::string::npos);
    EXPECT_NE(text.find("text: second of two\n"), std::string::npos);
}

TEST(InfoUsage, TextsDoNotSteerTheTerminal) {
    ProfileMaker maker;
    maker.addText(icc("desc"), u"a\u001b[2Jb\u009bc\u0007");
    const std::string text = infoOf(maker.image());
    EXPECT_NE(text.find("en-US: a\\x1b[2Jb\\x9bc\\x07\n"), std::string::npos) << text;
    for (const char c : text) {
        EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= ' ') << int{c};
    }
}

Bytes body(const char* type, std::initializer_list<uint32_t> words) {
    Bytes bytes(type, type + 4);
    zvtest::put32(bytes, 0);
    for (const uint32_t word : words) {
        zvtest::put32(bytes, word);
    }
    return bytes;
}

void append(Bytes& bytes, const std::string& text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

TEST(InfoUsage, OldTypesAreReadFromTheirBytes) {
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    Bytes description = body("desc", {5});
    append(description, std::string("caf\xe9\0", 5));
    zvtest::put32(description, icc("enUS"));
    zvtest::put32(description, 2);
    append(description, std::string("\x4e\x2d\0\0", 4));
    append(description, std::string("\0\1\3old", 6));
    description.resize(description.size() + 64);
    maker.add("desc", description);
    Bytes generation = body("bfd ", {2, 0x00010002, 1});
    append(generation, std::string("\0\7method\0", 9));
    maker.add("bfd ", generation);
    maker.add("scrn", body("scrn", {1, 1, 0x00850000, 0x000F0000, 2}));
    Bytes video = body("vcgt", {1});
    for (const double value : {1.5, 0.0, 1.0, 1.6, 0.1, 0.9, 1.7, 0.2, 0.8}) {
        zvtest::put32(video, zvtest::fixed(value));
    }
    maker.add("vcgt", video);
    const std::string text = infoOf(maker.image());
    for (const char* line :
         {"version: 2.4.0\n", "text: caf\u00e9\n", "unicode: \u4e2d (enUS)\n", "script: old (script code 1)\n",
          "under colour removal: 1, 2\n", "black generation: 7\n", "description: method\n", "frequency: 133.00000\n",
          "angle: 15.00000 degrees\n", "spot shape: 2 (round)\n", "    gamma: 1.60001\n    lowest: 0.10001\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
    }
}

TEST(InfoUsage, SeveralLanguagesAreReadFromTheBody) {
    Bytes texts = body("mluc", {2, 12, icc("enGB"), 4, 40, icc("de\0\0"), 6, 44});
    append(texts, std::string("\0H\0i\0H\0a\0\xdf", 10));
    zvtest::Version2Maker maker("mntr", "RGB ", "XYZ ");
    maker.add("desc", texts);
    const std::string text = infoOf(maker.image());
    EXPECT_NE(text.find("en-GB: Hi\n    de: Ha\u00df\n"), std::string::npos) << text;
    EXPECT_NE(text.find("[read from its bytes, since the library"), std::string::npos);
}

TEST(InfoUsage, StandardTablesOfBytesAreReadFromTheBody) {
    zvtest::Version2Maker maker("spac", "Lab ", "Lab ");
    Bytes table = body("mft1", {0x01010200, 65536, 0, 0, 0, 65536, 0, 0, 0, 65536});
    // Zeros in front, where the library looks for counts.
    table.resize(48 + 256);
    append(table, "\x0b\x16");
    table.resize(table.size() + 255);
    table.push_back(99);
    maker.add("A2B0", table);
    const std::string text = infoOf(maker.image());
    EXPECT_NE(text.find("input table entries: 256\n"), std::string::npos) << text;
    EXPECT_NE(text.find("grid: 11, 22\n"), std::string::npos) << text;
    EXPECT_NE(text.find("channel 1: 0, 0, 0, 0, ..., 0, 0, 0, 99 (256 values)\n"), std::string::npos) << text;
}

TEST(InfoUsage, NumbersOf64BitsKeepTheirUpperHalves) {
    ProfileMaker maker;
    maker.addDisplayTags();
    maker.addEveryType();
    EXPECT_NE(infoOf(maker.image()).find(std::to_string(0x1122334455667788)), std::string::npos);
}

}  // namespace
