// The hexadecimal lines of a profile in an EPS file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <vector>

#include "tests/Common/IccLoad/eps_text.h"

namespace zv::test {
namespace {

LoadOutcome LoadText(const std::string& text, int32_t mostPerRead = INT32_MAX) {
    ImageScript script;
    script.format = kEpsFormat;
    script.stream = text;
    script.mostPerRead = mostPerRead;
    return Load(script);
}

/// The model's outcome, whatever a read brings.
void ExpectAsTheModel(const std::string& text, const std::vector<int32_t>& mostPerRead = {INT32_MAX}) {
    const LoadOutcome expected = EpsModel(text).Outcome();
    for (const int32_t most : mostPerRead) {
        ASSERT_EQ(expected, LoadText(text, most)) << most << " of " << ::testing::PrintToString(text);
    }
}

class IccLoadEps : public ::testing::Test {
protected:
    HostScope host_;
};

TEST_F(IccLoadEps, Formats) {
    for (const int32_t format : {16, 63, 64, 300}) {
        ImageScript script;
        script.format = format;
        script.stream = "%!PS\r\n" + EpsOf(SomeBytes(100));
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, SomeBytes(100).substr(0, 80)}), Load(script));
        EXPECT_EQ("HostFileInfo HostFileOpen HostFileRead HostFileSeek HostFileRead HostFileClose",
                  script.Operations());
    }
}

TEST_F(IccLoadEps, TheBufferHas1024Bytes) {
    ImageScript script;
    script.format = kEpsFormat;
    EXPECT_EQ(ERR_PROFILE_UNUSABLE, Load(script).result);
    ASSERT_EQ(1, host_->AllocationsSinceReset());
    const std::vector<HostCall> calls = host_->Calls();
    const auto call = std::find_if(calls.begin(), calls.end(), [](const HostCall& c) { return c.size == 1024; });
    ASSERT_NE(calls.end(), call);
    EXPECT_EQ("HostAlloc", call->operation);
    EXPECT_EQ(u"Common\\IccLoad", call->file);
}

// --- The staged bytes -----------------------------------------------------------------------------------------------

TEST_F(IccLoadEps, TheLastBytesStayBehind) {
    for (size_t n = 0; n <= 500; ++n) {
        const std::string bytes = SomeBytes(n);
        const size_t kept = n == 0 ? 0 : 80 * ((n - 1) / 80);
        const LoadOutcome outcome = LoadText(EpsOf(bytes));
        ASSERT_EQ(kept == 0 ? ERR_NO_PROFILE : CLR_SUCCESS, outcome.result) << n;
        ASSERT_EQ(kept != 0, outcome.hasData) << n;
        ASSERT_EQ(bytes.substr(0, kept), outcome.bytes) << n;
    }
}

TEST_F(IccLoadEps, WorkedSizes) {
    const auto size = [](size_t n) { return LoadText(EpsOf(SomeBytes(n))).bytes.size(); };
    EXPECT_EQ(0U, size(80));
    EXPECT_EQ(80U, size(81));
    EXPECT_EQ(80U, size(160));
    EXPECT_EQ(160U, size(161));
    EXPECT_EQ(160U, size(240));
    EXPECT_EQ(240U, size(241));
}

TEST_F(IccLoadEps, GrowsBy80BytesAtATime) {
    LoadText(EpsOf(SomeBytes(241)));
    std::vector<std::string> calls;
    for (const HostCall& call : host_->Calls()) {
        if (call.operation.find("Shared") != std::string::npos) {
            calls.push_back(call.operation + ' ' + std::to_string(call.size));
        }
    }
    EXPECT_EQ((std::vector<std::string>{"HostAllocShared 80", "HostReallocShared 160", "HostReallocShared 240",
                                        "HostFreeShared 0"}),
              calls);
}

TEST_F(IccLoadEps, WithoutMemoryTheProfileEndsThere) {
    for (int64_t n = 1; n <= 4; ++n) {
        host_->Reset();
        host_->FailAllocation(n + 1);
        const LoadOutcome outcome = LoadText(EpsOf(SomeBytes(300)));
        const size_t kept = 80 * static_cast<size_t>(std::min<int64_t>(n - 1, 3));
        EXPECT_EQ(n <= 3 ? ERR_FAILURE : CLR_SUCCESS, outcome.result);
        EXPECT_EQ(SomeBytes(300).substr(0, kept), outcome.bytes);
    }
}

// --- Lines ----------------------------------------------------------------------------------------------------------

TEST_F(IccLoadEps, LineLengthsDoNotMatter) {
    const std::string bytes = SomeBytes(2000);
    for (const size_t perLine : {1U, 2U, 3U, 31U, 32U, 39U, 40U, 64U, 79U, 80U, 81U, 120U, 511U, 512U, 600U, 2000U}) {
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, bytes.substr(0, 1920)}), LoadText(EpsOf(bytes, perLine))) << perLine;
    }
}

TEST_F(IccLoadEps, EveryByteInBothCases) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    bytes += bytes + bytes;  // so that each stands at every third place
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, bytes.substr(0, 720)}), LoadText(EpsOf(bytes)));
}

/// One line with this behind it, in the middle of a profile of 81 bytes and the same again.
LoadOutcome LoadWithLineEnd(const std::string& lineEnd) {
    const std::string half = HexOf(SomeBytes(81));
    return LoadText(kEpsBegin + "\n% " + half + lineEnd + half + kCrLf + kEpsEnd);
}

TEST_F(IccLoadEps, LineEnds) {
    const std::string bytes = SomeBytes(81);
    const LoadOutcome both{CLR_SUCCESS, true, (bytes + bytes).substr(0, 160)};
    const LoadOutcome first{CLR_SUCCESS, true, bytes.substr(0, 80)};
    const LoadOutcome foreign{ERR_PROFILE_TRUNCATED, true, bytes.substr(0, 80)};
    EXPECT_EQ(both, LoadWithLineEnd("\r\n% "));
    EXPECT_EQ(both, LoadWithLineEnd("\r\n "));
    EXPECT_EQ(both, LoadWithLineEnd("\r% "));
    EXPECT_EQ(both, LoadWithLineEnd("% "));
    EXPECT_EQ(both, LoadWithLineEnd("\r\n\r\n% "));
    EXPECT_EQ(both, LoadWithLineEnd("\r\nanything\n% "));
    EXPECT_EQ(both, LoadWithLineEnd("\r\n % % "));
    EXPECT_EQ(both, LoadWithLineEnd("%x% "));
    EXPECT_EQ(both, LoadWithLineEnd("%%% "));
    EXPECT_EQ(first, LoadWithLineEnd("\r\n"));
    EXPECT_EQ(first, LoadWithLineEnd("\r"));
    EXPECT_EQ(first, LoadWithLineEnd("\r "));
    EXPECT_EQ(first, LoadWithLineEnd("\r\n%"));
    EXPECT_EQ(both, LoadWithLineEnd("\r\n%\r% "));
    EXPECT_EQ(foreign, LoadWithLineEnd("\n% "));
    EXPECT_EQ(foreign, LoadWithLineEnd("\n\r% "));
    EXPECT_EQ(foreign, LoadWithLineEnd(" "));
    EXPECT_EQ(foreign, LoadWithLineEnd("\r\n  "));
    EXPECT_EQ(foreign, LoadWithLineEnd("\r\n \n"));
    EXPECT_EQ(foreign, LoadWithLineEnd(std::string(1, '\0')));
    EXPECT_EQ(foreign, LoadWithLineEnd("\t"));
}

TEST_F(IccLoadEps, BareLineFeedsAreForeign) {
    const std::string bytes = SomeBytes(200);
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}),
              LoadText(kEpsBegin + "\n" + HexLines(bytes, 32, "\n") + kEpsEnd + "\n"));
    // What came to the profile before it stays.
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, true, bytes.substr(0, 160)}),
              LoadText(kEpsBegin + "\n" + HexLines(bytes, 200, "\n") + kEpsEnd + "\n"));
}

TEST_F(IccLoadEps, BareCarriageReturnsAreNot) {
    const std::string bytes = SomeBytes(200);
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, bytes.substr(0, 160)}),
              LoadText(kEpsBegin + "\r" + HexLines(bytes, 32, "\r") + kEpsEnd + "\r"));
}

TEST_F(IccLoadEps, EveryCharacterBehindADigitPair) {
    for (int c = 0; c < 256; ++c) {
        const std::string text =
            kEpsBegin + "\n% " + HexOf(SomeBytes(81)) + static_cast<char>(c) + "xx% 4142\r\n" + kEpsEnd;
        ExpectAsTheModel(text);
        const bool goesOn = std::isxdigit(c) != 0 || c == '\r' || c == '%';
        EXPECT_EQ(goesOn ? CLR_SUCCESS : ERR_PROFILE_TRUNCATED, LoadText(text).result) << c;
    }
}

TEST_F(IccLoadEps, ALoneDigitIsLost) {
    const std::string bytes = SomeBytes(200);
    // In the middle of the line the rest of it is lost too.
    for (const char* broken : {"7", "7 ", "7x", "7%", "7\n", "7\r", "7\r\n"}) {
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, bytes.substr(0, 160)}),
                  LoadText(kEpsBegin + "\n% " + HexOf(bytes.substr(0, 10)) + broken + "\n% " + HexOf(bytes.substr(10)) +
                           kCrLf + kEpsEnd + kCrLf))
            << broken;
    }
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}),
              LoadText(kEpsBegin + "\n% 7G" + HexOf(bytes) + kCrLf + kEpsEnd + kCrLf));
}

TEST_F(IccLoadEps, CharactersBesideTheDigitsAreForeign) {
    for (const char c : {'/', ':', '@', 'G', '`', 'g', '\x80', '\xFF', '\xB1'}) {
        const std::string text = kEpsBegin + "\n% 41" + c + "1\r\n" + kEpsEnd + "\r\n";
        EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadText(text)) << c;
        // As the second of two the outer search goes on from it.
        EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}),
                  LoadText(kEpsBegin + "\n% 411" + c + "\r\n" + kEpsEnd + "\r\n"))
            << c;
    }
}

TEST_F(IccLoadEps, TheEndLineEndsItAnywhere) {
    const std::string hex = "% " + HexOf(SomeBytes(100));
    const LoadOutcome whole{CLR_SUCCESS, true, SomeBytes(100).substr(0, 80)};
    for (const char* before : {"", "\r", "\r\n", "\r\n\r\n", "\r\nx", "\r\n%%", "\r\n%x", "\r\n% "}) {
        EXPECT_EQ(whole, LoadText(kEpsBegin + hex + before + kEpsEnd)) << before;
    }
    EXPECT_EQ(whole, LoadText(kEpsBegin + hex + kEpsEnd + "Header")) << "what follows is not looked at";
    EXPECT_EQ(whole, LoadText(kEpsBegin + hex + kCrLf + kEpsEnd + kCrLf + hex + hex));
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), LoadText(kEpsBegin + kEpsEnd + hex));
}

TEST_F(IccLoadEps, EveryCharacterOfTheEndLineCounts) {
    for (size_t i = 0; i < kEpsEnd.size(); ++i) {
        std::string line = kEpsEnd;
        line[i] = static_cast<char>(line[i] ^ 2);
        const std::string text = EpsOf(SomeBytes(100)).substr(0, EpsOf(SomeBytes(100)).size() - 17) + line + kCrLf;
        EXPECT_EQ(ERR_PROFILE_TRUNCATED, LoadText(text + std::string(20, '\n')).result) << i;
        EXPECT_EQ(CLR_SUCCESS, LoadText(text + kEpsEnd).result) << i;
    }
}

TEST_F(IccLoadEps, APercentSignBeforeTheEndLineHidesIt) {
    // Two signs are stepped over at once, so that the end line's first is taken with the one before it.
    const std::string hex = "% " + HexOf(SomeBytes(100)) + kCrLf;
    EXPECT_EQ(ERR_PROFILE_TRUNCATED, LoadText(kEpsBegin + hex + '%' + kEpsEnd + std::string(40, ' ')).result);
    EXPECT_EQ(CLR_SUCCESS, LoadText(kEpsBegin + hex + "%%" + kEpsEnd).result);
}

// --- The end of the file --------------------------------------------------------------------------------------------

TEST_F(IccLoadEps, AnEmptyFileHasNothingBehindItsBegin) {
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_UNUSABLE, false, ""}), LoadText(""));
}

TEST_F(IccLoadEps, NothingBehindTheBeginLine) {
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_UNUSABLE, false, ""}), LoadText("\n" + kEpsBegin));
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadText("\n" + kEpsBegin + "\n"));
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), LoadText(kEpsBegin));
}

TEST_F(IccLoadEps, CutAtEveryByte) {
    const std::string text = "%!PS-Adobe-3.0 EPSF-3.0\r\n" + EpsOf(SomeBytes(170));
    const size_t whole = text.size() - kCrLf.size();
    for (size_t size = 0; size <= text.size(); ++size) {
        const std::string cut = text.substr(0, size);
        ExpectAsTheModel(cut);
        // Reads of few bytes do not find a line that ends the file: too little is in hand.
        if (cut.size() < kEpsBegin.size() || !cut.ends_with(kEpsBegin)) ExpectAsTheModel(cut, {1, 7});
        EXPECT_EQ(size >= whole, LoadText(cut).result == CLR_SUCCESS) << size;
    }
}

// --- Against the model ----------------------------------------------------------------------------------------------

TEST_F(IccLoadEps, EveryBorderOfTheBuffer) {
    const std::vector<std::string> seams = {"\r\n% ",  "\r\n ",
                                            "\r",      "\r%",
                                            "%",       "%%",
                                            "%%E",     "% ",
                                            "7",       "7%",
                                            "\r\n%%x", kCrLf + kEpsEnd,
                                            kEpsEnd,   "\r\n%x%%EndICCProfil",
                                            "\r\n",    "\n",
                                            "G"};
    for (const std::string& seam : seams) {
        for (size_t at = 1024 - 40; at <= 1024 + 40; ++at) {
            // The seam begins at this place of the hexadecimal text's first buffer, and again a buffer later.
            const std::string front = "% " + HexOf(SomeBytes((at - 2) / 2)) + (at % 2 == 0 ? "" : "\r");
            const std::string text =
                kEpsBegin + front + seam + "% " + HexOf(SomeBytes(511)) + seam + "% 414243\r\n" + kEpsEnd;
            ExpectAsTheModel(text);
        }
    }
}

TEST_F(IccLoadEps, EveryBorderForTheEndOfTheFile) {
    for (size_t at = 1024 - 40; at <= 1024 + 40; ++at) {
        for (size_t cut = 0; cut <= kEpsEnd.size(); ++cut) {
            const std::string front = "% " + HexOf(SomeBytes((at - 4) / 2)) + (at % 2 == 0 ? "\r\n" : "\r\n\n");
            ExpectAsTheModel(kEpsBegin + front + kEpsEnd.substr(0, cut));
        }
    }
}

/// Texts of pieces that mean something, with what makes them mean something else.
std::string RandomText(std::mt19937* random) {
    const auto below = [&](uint32_t n) { return static_cast<size_t>((*random)() % n); };
    const std::vector<std::string> pieces = {"%",      "%%", "% ", "\r\n", "\r",      "\n",        " ",
                                             "\r\n% ", "7",  "4B", "fF",   "%%Begin", "%%EndICC",  "\r\n ",
                                             "\r\n%%", "x",  "g0", "%%x",  "\r\r",    "% 4142\r\n"};
    std::string text = std::string(below(3) == 0 ? below(2200) : below(30), below(4) == 0 ? '%' : 'x') + '\n';
    if (below(20) != 0) text += kEpsBegin;
    const size_t count = below(60);
    for (size_t i = 0; i < count; ++i) {
        switch (below(8)) {
            case 0:
                text += pieces[below(static_cast<uint32_t>(pieces.size()))];
                break;
            case 1:
                text += below(6) == 0 ? kEpsEnd : "";
                break;
            default:
                text += "% " + HexOf(SomeBytes(below(below(4) == 0 ? 700 : 50), static_cast<uint32_t>((*random)()))) +
                        (below(9) == 0 ? pieces[below(8)] : kCrLf);
                break;
        }
    }
    if (below(4) != 0) text += kEpsEnd;
    // No begin line at the very end: whether that is found goes by the buffer.
    return text + (below(2) == 0 ? kCrLf : " ");
}

TEST_F(IccLoadEps, RandomTexts) {
    std::mt19937 random(46);
    std::vector<int32_t> few = {1, 2, 3, 7};
    size_t successes = 0;
    size_t truncations = 0;
    for (int round = 0; round < 800; ++round) {
        const std::string text = RandomText(&random);
        const LoadOutcome expected = EpsModel(text).Outcome();
        successes += expected.result == CLR_SUCCESS;
        truncations += expected.result == ERR_PROFILE_TRUNCATED;
        ExpectAsTheModel(text);
        if (round % 16 == 0) ExpectAsTheModel(text, {few[static_cast<size_t>(round / 16) % few.size()]});
        if (HasFatalFailure()) return;
    }
    EXPECT_LT(100U, successes);
    EXPECT_LT(100U, truncations);
}

TEST_F(IccLoadEps, RandomCharacters) {
    std::mt19937 random(47);
    static constexpr char kAlphabet[] = "%% \r\n4Fag\n\r%E";
    for (int round = 0; round < 2000; ++round) {
        std::string text = kEpsBegin + "% " + HexOf(SomeBytes(79 + random() % 3)) + kCrLf;
        const size_t size = random() % 40;
        for (size_t i = 0; i < size; ++i) text.push_back(kAlphabet[random() % (sizeof kAlphabet - 1)]);
        ExpectAsTheModel(text + (random() % 2 == 0 ? kEpsEnd : ""), {INT32_MAX, 3});
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace zv::test
