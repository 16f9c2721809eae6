// The chunk stream of a Macintosh picture.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

#include "tests/Common/IccLoad/load_fixture.h"

namespace zv::test {
namespace {

/// A head with these numbers and the data, whatever the length says of them.
std::string Chunk(uint32_t length, uint32_t type, const std::string& data) {
    std::string chunk(1, '\xE0');
    for (const int shift : {8, 0}) chunk.push_back(static_cast<char>(length >> shift));
    for (const int shift : {24, 16, 8, 0}) chunk.push_back(static_cast<char>(type >> shift));
    return chunk + data;
}

std::string DataChunk(const std::string& data, uint32_t type = 0) {
    return Chunk(static_cast<uint32_t>(data.size()) + 4, type, data);
}

const std::string kEnd = Chunk(4, 2, "");

/// A plain second reading. `fails` tells whether the access of that number, from 1, fails.
class ChunkModel {
public:
    using Fails = std::function<bool(int64_t)>;

    explicit ChunkModel(
        std::string stream, size_t mostPerRead = SIZE_MAX, Fails fails = [](int64_t) { return false; })
        : stream_(std::move(stream)), mostPerRead_(mostPerRead), fails_(std::move(fails)) {}

    LoadOutcome Outcome() {
        int32_t result = Scan();
        if (result == CLR_SUCCESS && !hasData_) result = ERR_NO_PROFILE;
        return {result, hasData_, profile_};
    }

private:
    int32_t Scan() {
        while (true) {
            const std::string byte = Read(1);
            if (byte.empty()) return ERR_PROFILE_TRUNCATED;
            if (byte != "\xE0") continue;
            const bool lost = fails_(++accesses_);
            const size_t noted = at_;
            const std::string head = Read(6);
            if (head.size() < 6) continue;
            const size_t length = Number(head, 0, 2);
            const size_t type = Number(head, 2, 4);
            if (type == 2) return CLR_SUCCESS;
            if (type == 0 || type == 1) {
                if (length < 4) continue;
                const std::string data = length > 4 ? Read(length - 4) : "";
                if (data.size() < length - 4) return ERR_PROFILE_TRUNCATED;
                profile_ += data;
                hasData_ = true;
                continue;
            }
            if (lost || fails_(++accesses_)) return ERR_PROFILE_TRUNCATED;
            at_ = noted;
        }
    }

    std::string Read(size_t count) {
        if (fails_(++accesses_)) return "";
        const std::string bytes = stream_.substr(at_, std::min(count, mostPerRead_));
        at_ += bytes.size();
        return bytes;
    }

    static size_t Number(const std::string& bytes, size_t from, size_t count) {
        size_t number = 0;
        for (size_t i = from; i < from + count; ++i) number = number << 8U | static_cast<unsigned char>(bytes[i]);
        return number;
    }

    std::string stream_;
    size_t mostPerRead_;
    Fails fails_;
    size_t at_ = 0;
    int64_t accesses_ = 0;
    std::string profile_;
    bool hasData_ = false;
};

class IccLoadChunks : public ::testing::Test {
protected:
    static LoadOutcome LoadStream(const std::string& stream, int32_t mostPerRead = INT32_MAX) {
        ImageScript script;
        script.format = kChunkFormat;
        script.stream = stream;
        script.mostPerRead = mostPerRead;
        return Load(script);
    }
    std::vector<std::string> Allocations() const {
        std::vector<std::string> calls;
        for (const HostCall& call : host_->Calls()) {
            if (call.operation.find("lloc") == std::string::npos) continue;
            calls.push_back(call.operation + ' ' + std::to_string(call.size));
            EXPECT_EQ(u"Common\\IccLoad", call.file);
        }
        return calls;
    }

    HostScope host_;
};

TEST_F(IccLoadChunks, CallsAndTheirArguments) {
    ImageScript script;
    script.format = kChunkFormat;
    script.stream = "x" + DataChunk("profile") + Chunk(9, 3, "") + kEnd;
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), Load(script));
    std::string trace;
    for (const ImageCall& call : script.Calls()) {
        trace += call.operation.substr(4) + ' ';
        if (call.operation == "HostFileRead") trace += std::to_string(call.first) + ' ';
        if (call.operation == "HostFileSeek") {
            trace += std::to_string(call.first) + " from " + std::to_string(call.second) + ' ';
        }
    }
    EXPECT_EQ(
        "FileInfo FileOpen FileRead 1 "
        "FileRead 1 FileSeek 0 from 1 FileRead 6 FileRead 7 "
        "FileRead 1 FileSeek 0 from 1 FileRead 6 FileSeek 16 from 0 "
        "FileRead 1 FileRead 1 FileRead 1 FileRead 1 FileRead 1 FileRead 1 "
        "FileRead 1 FileSeek 0 from 1 FileRead 6 FileClose ",
        trace);
    EXPECT_EQ((std::vector<std::string>{"HostAlloc 32767", "HostAllocShared 7"}), Allocations());
}

TEST_F(IccLoadChunks, AreJoinedInTheOrderOfTheFile) {
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "onetwothree"}),
              LoadStream("front" + DataChunk("one", 1) + DataChunk("two", 0) + "between" + DataChunk("three", 1) +
                         kEnd + DataChunk("four", 0)));
}

TEST_F(IccLoadChunks, NoneAndOnlyAnEnd) {
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadStream(""));
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadStream("no chunk in it"));
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), LoadStream(kEnd));
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, true, "profile"}), LoadStream(DataChunk("profile")));
}

TEST_F(IccLoadChunks, AnEndIsOneOfAnyLength) {
    for (const uint32_t length : {0U, 3U, 4U, 5U, 65535U}) {
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "a"}), LoadStream(DataChunk("a") + Chunk(length, 2, ""))) << length;
    }
}

TEST_F(IccLoadChunks, OfOtherTypesAreNone) {
    for (const uint32_t type :
         {3U, 4U, 5U, 0x80U, 0x100U, 0x200U, 0x10000U, 0x1000000U, 0x2000000U, 0x80000000U, 0x80000002U, 0xFFFFFFFFU}) {
        // The search goes on behind the 0xE0, so that a chunk within its head is found.
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "inner"}), LoadStream(Chunk(9, type, "") + DataChunk("inner") + kEnd))
            << type;
    }
    const std::string inHead = std::string("\xE0") + DataChunk("inner");
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "inner"}), LoadStream(inHead + kEnd));
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "inner"}), LoadStream(std::string(50, '\xE0') + inHead + kEnd));
}

TEST_F(IccLoadChunks, CodesWithinDataAreData) {
    const std::string data = DataChunk("x") + kEnd + std::string(9, '\xE0');
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, data}), LoadStream(DataChunk(data) + kEnd));
}

TEST_F(IccLoadChunks, LengthsBelow4AddNothing) {
    for (const uint32_t length : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), LoadStream(Chunk(length, 0, "") + kEnd)) << length;
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "ab"}),
                  LoadStream(DataChunk("a") + Chunk(length, 1, "skip") + DataChunk("b") + kEnd))
            << length;
        // The search goes on behind the head, not within it.
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "c"}), LoadStream(Chunk(length, 0, DataChunk("c")) + kEnd));
    }
}

TEST_F(IccLoadChunks, ALengthOf4IsABlockOfNone) {
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, ""}), LoadStream(Chunk(4, 0, "") + kEnd));
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "ab"}),
              LoadStream(DataChunk("a") + Chunk(4, 1, "") + DataChunk("b") + kEnd));
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "b"}), LoadStream(Chunk(5, 1, "b") + kEnd));
}

TEST_F(IccLoadChunks, LongOnesGetABufferThatFits) {
    const struct {
        uint32_t length;
        std::vector<std::string> allocations;
    } rows[] = {
        {32770, {"HostAlloc 32767", "HostAllocShared 32766"}},
        {32771, {"HostAlloc 32767", "HostAllocShared 32767"}},
        {32772, {"HostAlloc 32767", "HostRealloc 32768", "HostAllocShared 32768"}},
        {65535, {"HostAlloc 32767", "HostRealloc 65531", "HostAllocShared 65531"}},
    };
    for (const auto& row : rows) {
        const std::string data = SomeBytes(row.length - 4, row.length);
        host_->Reset();
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, data}), LoadStream(DataChunk(data) + kEnd)) << row.length;
        EXPECT_EQ(row.allocations, Allocations()) << row.length;
    }
}

TEST_F(IccLoadChunks, TheBufferStaysAsLongAsItWas) {
    const std::string data = SomeBytes(65531);
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, data + data.substr(0, 40000) + data}),
              LoadStream(DataChunk(data) + DataChunk(data.substr(0, 40000)) + DataChunk(data) + kEnd));
    EXPECT_EQ((std::vector<std::string>{"HostAlloc 32767", "HostRealloc 65531", "HostAllocShared 65531",
                                        "HostReallocShared 105531", "HostReallocShared 171062"}),
              Allocations());
}

TEST_F(IccLoadChunks, WithoutMemoryForTheBuffer) {
    host_->FailAllocation(1);
    EXPECT_EQ((LoadOutcome{ERR_FAILURE, false, ""}), LoadStream(DataChunk("a") + kEnd));
    host_->FailAllocation(3);
    EXPECT_EQ((LoadOutcome{ERR_FAILURE, true, "a"}), LoadStream(DataChunk("a") + DataChunk(SomeBytes(40000)) + kEnd));
}

TEST_F(IccLoadChunks, WithoutMemoryForTheProfileAPartIsMissing) {
    const std::vector<std::string> left = {"bc", "ac", "ab", "abc"};
    for (size_t n = 0; n < left.size(); ++n) {
        host_->FailAllocation(static_cast<int64_t>(n) + 2);
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, left[n]}),
                  LoadStream(DataChunk("a") + DataChunk("b", 1) + DataChunk("c") + kEnd));
    }
    host_->FailAllocation(2);
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), LoadStream(DataChunk("a") + kEnd));
}

TEST_F(IccLoadChunks, CutAtEveryByte) {
    const std::string stream = "ab" + DataChunk("profile") + Chunk(5, 9, "") + DataChunk(SomeBytes(60), 1) + kEnd;
    for (size_t size = 0; size <= stream.size(); ++size) {
        const std::string cut = stream.substr(0, size);
        const LoadOutcome outcome = LoadStream(cut);
        EXPECT_EQ(ChunkModel(cut).Outcome(), outcome) << size;
        EXPECT_EQ(size < stream.size() ? ERR_PROFILE_TRUNCATED : CLR_SUCCESS, outcome.result) << size;
    }
}

TEST_F(IccLoadChunks, AShortHeadGoesOnAndShortDataEndIt) {
    // What was read of the head is not looked at again.
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadStream(DataChunk("profile") + kEnd, 5));
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), LoadStream(DataChunk("profile") + kEnd, 6));
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), LoadStream(DataChunk("profile") + kEnd, 7));
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "six by"}), LoadStream(DataChunk("six by") + kEnd, 6));
}

// --- Against the model ----------------------------------------------------------------------------------------------

std::string RandomStream(std::mt19937* random) {
    const auto below = [&](uint32_t n) { return static_cast<uint32_t>((*random)() % n); };
    std::string stream;
    const uint32_t count = below(12);
    for (uint32_t i = 0; i < count; ++i) {
        switch (below(9)) {
            case 0:
                stream += std::string(below(9), '\xE0');
                break;
            case 1:
                stream += Chunk(below(9), below(2), SomeBytes(below(7), below(1000)));
                break;
            case 2:
                stream += Chunk(below(65536), below(5) == 0 ? 2 : 3 + below(9), "");
                break;
            case 3:
                stream += DataChunk(std::string(below(20), '\xE0') + kEnd);
                break;
            case 4:
                stream += SomeBytes(below(60), below(1000));
                break;
            case 5:
                stream += std::string("\0\0\0\1\2\xE0\0\4\0\0", 10).substr(0, below(11));
                break;
            default:
                stream += DataChunk(SomeBytes(below(below(9) == 0 ? 65532 : 100), below(1000)), below(2));
                break;
        }
    }
    if (below(4) != 0) stream += kEnd;
    if (below(5) == 0) stream.resize(stream.size() - std::min<size_t>(stream.size(), below(40)));
    return stream;
}

TEST_F(IccLoadChunks, RandomStreams) {
    std::mt19937 random(56);
    size_t successes = 0;
    for (int round = 0; round < 800; ++round) {
        const std::string stream = RandomStream(&random);
        const LoadOutcome expected = ChunkModel(stream).Outcome();
        successes += expected.result == CLR_SUCCESS;
        ASSERT_EQ(expected, LoadStream(stream)) << round;
        const size_t most = 1 + random() % 60;
        ASSERT_EQ(ChunkModel(stream, most).Outcome(), LoadStream(stream, static_cast<int32_t>(most)))
            << round << ' ' << most;
    }
    EXPECT_LT(300U, successes);
}

TEST_F(IccLoadChunks, APlaceThatWasNotNotedIsNotGoneBackTo) {
    ImageScript script;
    script.format = kChunkFormat;
    script.stream = Chunk(9, 3, "") + DataChunk("profile") + kEnd;
    script.Answer("HostFileSeek", -1, 1);
    EXPECT_EQ((LoadOutcome{ERR_PROFILE_TRUNCATED, false, ""}), Load(script));
    EXPECT_EQ(1U, script.CallsOf("HostFileSeek").size());
}

TEST_F(IccLoadChunks, EveryAccessFailing) {
    const std::string stream = "ab" + DataChunk("profile") + Chunk(5, 9, "") + std::string(3, '\xE0') +
                               DataChunk("more" + kEnd, 1) + Chunk(4, 0, "") + Chunk(2, 1, "") + kEnd;
    ImageScript whole;
    whole.format = kChunkFormat;
    whole.stream = stream;
    host_->Reset();
    ASSERT_EQ((LoadOutcome{CLR_SUCCESS, true, "profilemore" + kEnd}), Load(whole));
    const int64_t accesses = host_->FileAccessesSinceReset();
    ASSERT_LT(20, accesses);
    for (int64_t n = 2; n <= accesses + 1; ++n) {  // the first opens the file
        host_->Reset();
        host_->FailFileAccess(n);
        // The reader has its own script, and the model counts for itself.
        const auto fails = [&](int64_t access) { return access + 1 == n; };
        EXPECT_EQ(ChunkModel(stream, SIZE_MAX, fails).Outcome(), [&] {
            whole.Rewind();
            return Load(whole);
        }()) << n;
    }
}

}  // namespace
}  // namespace zv::test
