// The search for the line that begins a profile in an EPS file, through a buffer of 1024 bytes.
#include <gtest/gtest.h>

#include <vector>

#include "tests/Common/IccLoad/eps_text.h"
#include "tests/support/guarded_buffer.h"

namespace zv::test {
namespace {

/// A search of its own: the place that it gives, and where the stream stands after it.
struct Search {
    explicit Search(const std::string& text, int32_t mostPerRead = INT32_MAX) {
        script.stream = text;
        script.mostPerRead = mostPerRead;
        const HostFile file = HostFileOpen(kImageName, 0, 256);
        std::vector<uint8_t> buffer(1024);
        position = IccFindEpsBegin(file, buffer.data());
        calls = script.Calls();
        HostFileClose(file);
    }
    /// Reads and seeks, with the bytes that were asked for and those that came.
    std::string Trace() const {
        std::string trace;
        for (const ImageCall& call : calls) {
            if (call.operation == "HostFileOpen") continue;
            const auto asked = static_cast<int64_t>(call.first);
            trace += call.operation.substr(8) + ' ' + std::to_string(asked) + ':' + std::to_string(call.result) + ' ';
        }
        return trace;
    }

    ImageScript script;
    std::vector<ImageCall> calls;
    int64_t position = 0;
};

class IccLoadEpsSearch : public ::testing::Test {
protected:
    static void ExpectFoundAt(const std::string& text, size_t at, int32_t mostPerRead = INT32_MAX) {
        const Search search(text, mostPerRead);
        ASSERT_EQ(static_cast<int64_t>(at + kEpsBegin.size()), search.position) << at << ' ' << mostPerRead;
        ASSERT_EQ(search.position, search.script.Position()) << at << ' ' << mostPerRead;
    }
    static void ExpectNone(const std::string& text, int32_t mostPerRead = INT32_MAX) {
        ASSERT_EQ(-1, Search(text, mostPerRead).position) << text.size() << ' ' << mostPerRead;
    }

    HostScope host_;
};

std::string Fill(size_t size, const std::string& pattern) {
    std::string text;
    while (text.size() < size) text += pattern;
    return text.substr(0, size);
}

const std::vector<size_t> kOffsets = [] {
    std::vector<size_t> offsets;
    for (const size_t border : {0U, 1024U, 2048U}) {
        for (size_t at = border < 41 ? 0 : border - 41; at <= border + 41; ++at) offsets.push_back(at);
    }
    return offsets;
}();

TEST_F(IccLoadEpsSearch, OfAnEmptyFileIsNoFailure) {
    const Search search("");
    EXPECT_EQ(-7, search.position);
    EXPECT_EQ("Read 1024:0 ", search.Trace());
}

TEST_F(IccLoadEpsSearch, FindsALineAtEveryOffset) {
    for (size_t at = 0; at <= 2100; ++at) ExpectFoundAt(std::string(at, 'x') + kEpsBegin + "\r\n", at);
}

TEST_F(IccLoadEpsSearch, FindsALineBehindPercentSignsAtEveryBorder) {
    for (const std::string& pattern :
         {std::string("%"), std::string("%%"), std::string("% "), std::string("%%BeginICCProfile;"),
          kEpsBegin.substr(0, 17), kEpsBegin.substr(0, 2) + "\n", std::string("12345678901234567890%")}) {
        for (const size_t at : kOffsets) {
            std::string text = Fill(at, pattern);
            // The filling itself must not begin the line.
            text += '\n' + kEpsBegin + "\r\n";
            ExpectFoundAt(text, at + 1);
            ExpectFoundAt(text, at + 1, 7);
        }
    }
}

TEST_F(IccLoadEpsSearch, FindsALineThatAPercentSignStandsBefore) {
    for (const size_t at : kOffsets) {
        for (const std::string& before : {std::string("%"), std::string("%%"), std::string("%%%Begin%%BeginICC")}) {
            ExpectFoundAt(std::string(at, ' ') + before + kEpsBegin + ' ', at + before.size());
        }
    }
}

TEST_F(IccLoadEpsSearch, ReadsThatBringFewBytesChangeNothing) {
    for (const int32_t most : {1, 2, 3, 7, 17, 18, 19, 20, 1023, 1024}) {
        for (const size_t at : {0U, 1U, 17U, 18U, 19U, 500U, 1005U, 1006U, 1007U, 1023U, 1024U, 1025U, 2047U, 2048U}) {
            ExpectFoundAt(std::string(at, 'x') + kEpsBegin + ' ', at, most);
            ExpectFoundAt(Fill(at, "%%BeginICC") + ' ' + kEpsBegin + ' ', at + 1, most);
        }
        ExpectNone(Fill(3000, "%%BeginICCProfile"), most);
        ExpectNone(std::string(3000, 'x'), most);
    }
}

TEST_F(IccLoadEpsSearch, FindsTheFirstOfTwo) {
    for (const size_t at : kOffsets) {
        ExpectFoundAt(std::string(at, 'x') + kEpsBegin + kEpsBegin + kEpsBegin, at);
    }
}

TEST_F(IccLoadEpsSearch, EveryCharacterOfTheLineCounts) {
    for (size_t i = 0; i < kEpsBegin.size(); ++i) {
        std::string line = kEpsBegin;
        line[i] = static_cast<char>(line[i] ^ 1);
        ExpectNone("%!PS\r\n" + line + " 0\r\n% 414243\r\n" + line);
        ExpectFoundAt(line + ' ' + kEpsBegin + ' ', line.size() + 1);
    }
    ExpectNone("%%beginiccprofile: 0 and more");
    ExpectNone("%%EndICCProfile and more of it");
}

TEST_F(IccLoadEpsSearch, OfAFileWithoutALineEndsAtItsEnd) {
    for (size_t size = 1; size <= 2100; ++size) ExpectNone(std::string(size, 'x'));
    for (const size_t size : kOffsets) {
        if (size == 0) continue;
        ExpectNone(std::string(size, '%'));
        ExpectNone(Fill(size, kEpsBegin.substr(0, 17)));
        ExpectNone(std::string(size, 'x') + kEpsBegin.substr(0, 17));
    }
}

TEST_F(IccLoadEpsSearch, ALineAloneInItsFileIsNotFound) {
    for (const int32_t most : {1, 7, 17, 18, INT32_MAX}) ExpectNone(kEpsBegin, most);
    ExpectFoundAt(kEpsBegin + 'x', 0);
}

TEST_F(IccLoadEpsSearch, ALineThatEndsItsFileNeedsMoreInHand) {
    for (size_t at = 1; at <= 2100; ++at) {
        const std::string text = std::string(at, 'x') + kEpsBegin;
        // A buffer without a percent sign is given up whole.
        if (at % 1024 == 0) {
            ExpectNone(text);
        } else {
            ExpectFoundAt(text, at);
        }
    }
    // The sign before it is tried, and then only the line is left.
    for (const size_t at : kOffsets) ExpectNone(std::string(at, 'x') + '%' + kEpsBegin);
}

TEST_F(IccLoadEpsSearch, ReadsABufferAtATime) {
    EXPECT_EQ("Read 1024:1024 Read 1024:1024 Read 1024:0 ", Search(std::string(2048, 'x')).Trace());
    EXPECT_EQ("Read 1024:21 Seek -3:18 ", Search(kEpsBegin + " 0\n").Trace());
    EXPECT_EQ("Read 1024:18 ReadMore 1006:0 ", Search(kEpsBegin).Trace());
    // The sign's buffer is filled up behind what follows it.
    EXPECT_EQ("Read 1024:1024 ReadMore 1014:20 Seek -12:1032 ",
              Search(std::string(1014, 'x') + kEpsBegin + std::string(12, 'x')).Trace());
    EXPECT_EQ("Read 1024:1024 ReadMore 1023:1 ReadMore 1022:0 ", Search(std::string(1023, 'x') + "%%").Trace());
}

TEST_F(IccLoadEpsSearch, SeeksFromWhereItIs) {
    const Search search("%!PS\n" + kEpsBegin + std::string(500, ' '));
    const ImageCall seek = search.calls.back();
    ASSERT_EQ("HostFileSeek", seek.operation);
    EXPECT_EQ(-500, static_cast<int64_t>(seek.first));
    EXPECT_EQ(1U, seek.second);
    EXPECT_EQ(23, search.position);
}

TEST_F(IccLoadEpsSearch, AHostThatSaysMoreThanItWasAskedForIsNotBelieved) {
    for (const char* operation : {"HostFileRead", "HostFileReadMore"}) {
        for (const int64_t said : {int64_t{1025}, int64_t{1030}, int64_t{INT32_MAX}, int64_t{-1}, int64_t{INT32_MIN}}) {
            ImageScript script;
            // The sign at the buffer's end makes the search want more.
            script.stream = std::string(1023, 'x') + '%';
            const HostFile file = HostFileOpen(kImageName, 0, 256);
            // One byte further is a fault.
            const GuardedBuffer buffer(1024, GuardedBuffer::Side::kBack, 'x');
            const bool first = std::string(operation) == "HostFileRead";
            script.Answer(operation, said, 1);
            EXPECT_EQ(first && said < 0 ? -7 : -1, IccFindEpsBegin(file, buffer.Data())) << operation << ' ' << said;
            HostFileClose(file);
        }
    }
}

}  // namespace
}  // namespace zv::test
