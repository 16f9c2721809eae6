// Faults in the middle of a load, and everything that can fail failing in turn: nothing stays open or live but what a
// fault in the release itself leaves.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tests/Common/IccLoad/eps_text.h"
#include "tests/Common/IccLoad/load_fixture.h"

namespace zv::test {
namespace {

const std::string kPartHead = std::string("ICC_PROFILE\0\1\2", 14);
const std::string kEndChunk = std::string("\xE0\0\4\0\0\0\2", 7);

std::string LongChunk(size_t size) {
    std::string chunk = std::string("\xE0") + static_cast<char>((size + 4) >> 8) + static_cast<char>(size + 4);
    return chunk + std::string(4, '\0') + SomeBytes(size);
}

/// A file of each route that makes use of every operation that the route has.
void Plan(int32_t format, ImageScript* script) {
    script->format = format;
    switch (format) {
        case kMarkerFormat:
            script->markers = {{226, kPartHead + "first"}, {226, kPartHead + "second"}};
            break;
        case kTagFormat:
            script->tag = "profile";
            break;
        case kEpsFormat:
            // Percent signs at the ends of both buffers.
            script->stream = std::string(1020, 'x') + "%%Begin " + std::string(300, 'x') + EpsOf(SomeBytes(1000));
            break;
        default:
            script->stream = LongChunk(10) + std::string("\xE0\0\4\0\0\0\7", 7) + LongChunk(50000) + kEndChunk;
            break;
    }
}

struct Row {
    int32_t format;
    std::vector<const char*> operations;
};

const std::vector<Row> kRows = {
    {kMarkerFormat,
     {"HostLoadMarkers", "HostEnumMarkers", "HostFreeMarkers", "HostCompare", "HostAllocShared", "HostReallocShared",
      "HostCopy"}},
    {kTagFormat, {"HostReadFileTag", "HostAllocShared"}},
    {kEpsFormat,
     {"HostAlloc", "HostFileRead", "HostFileReadMore", "HostFileSeek", "HostFind", "HostCompare", "HostMove",
      "HostAllocShared", "HostReallocShared", "HostCopy", "HostFree"}},
    {kChunkFormat,
     {"HostAlloc", "HostFileRead", "HostFileSeek", "HostRealloc", "HostAllocShared", "HostReallocShared", "HostCopy",
      "HostFree"}},
};

TEST(IccLoadFaultPlans, AreGoodFiles) {
    const HostScope host;
    for (const Row& row : kRows) {
        ImageScript script;
        Plan(row.format, &script);
        EXPECT_EQ(CLR_SUCCESS, Load(script).result) << row.format;
    }
}

/// How many blocks are left.
size_t FaultIn(int32_t format, const char* operation, int32_t n, bool* happened) {
    const size_t before = RecordingHost::Get().LiveCount();
    ImageScript script;
    LoadedProfile profile;
    Plan(format, &script);
    script.FaultIn(operation, n);
    const int32_t result = Zv_LoadICCProfile(kImageName, profile.Get(), nullptr);
    *happened = result == ERR_FILE_FAULT;
    if (!*happened) {
        EXPECT_EQ(CLR_SUCCESS, result) << operation << ' ' << n;
    }
    EXPECT_EQ(0, script.OpenStreams()) << operation << ' ' << n;
    EXPECT_EQ(1U, script.CallsOf("HostFileClose").size()) << operation << ' ' << n;
    if (std::string(operation) != "HostFreeMarkers") {
        EXPECT_EQ(0U, script.LiveMarkers()) << operation << ' ' << n;
    }
    return RecordingHost::Get().LiveCount() - before - size_t{profile.HasData()};
}

TEST(IccLoadFaults, InEveryCallOfEveryOperation) {
    HostScope host;
    size_t leaked = 0;
    for (const Row& row : kRows) {
        for (const char* operation : row.operations) {
            int32_t n = 0;
            for (bool happened = true; happened && n < 200;) {
                const size_t left = FaultIn(row.format, operation, ++n, &happened);
                // The block that was to be released is beyond help: it may be half released.
                const bool ofBuffer = happened && std::string(operation) == "HostFree";
                EXPECT_EQ(ofBuffer ? 1U : 0U, left) << row.format << ' ' << operation << ' ' << n;
                leaked += ofBuffer;
            }
            EXPECT_LT(1, n) << row.format << " never comes to " << operation;
        }
    }
    host.ExpectLeaked(leaked);
    EXPECT_EQ(2U, leaked);
}

TEST(IccLoadFaults, KeepWhatWasJoinedBefore) {
    const HostScope host;
    ImageScript script;
    LoadedProfile profile;
    Plan(kMarkerFormat, &script);
    script.FaultIn("HostReallocShared");
    EXPECT_EQ((LoadOutcome{ERR_FILE_FAULT, true, "first"}), Load(script, &profile));
}

TEST(IccLoadFaults, ReleaseTheSetOnce) {
    const HostScope host;
    ImageScript script;
    Plan(kMarkerFormat, &script);
    script.FaultIn("HostEnumMarkers");
    EXPECT_EQ(ERR_FILE_FAULT, Load(script).result);
    ASSERT_EQ("HostFileInfo HostFileOpen HostLoadMarkers HostEnumMarkers HostFreeMarkers HostFileClose",
              script.Operations());
    EXPECT_EQ(script.Calls()[3].set, script.Calls()[4].set);
}

TEST(IccLoadFaults, InTheReleaseOfTheSetEndTheLoadToo) {
    const HostScope host;
    ImageScript script;
    LoadedProfile profile;
    Plan(kMarkerFormat, &script);
    script.FaultIn("HostFreeMarkers");
    EXPECT_EQ(ERR_FILE_FAULT, Zv_LoadICCProfile(kImageName, profile.Get(), nullptr));
    EXPECT_EQ("firstsecond", profile.Bytes());
    EXPECT_EQ(1U, script.CallsOf("HostFreeMarkers").size()) << "it may be half released";
    EXPECT_EQ(0, script.OpenStreams());
}

TEST(IccLoadFaults, InTheCleanupAfterAFaultAreCaughtToo) {
    HostScope host;
    {
        ImageScript script;
        Plan(kMarkerFormat, &script);
        script.FaultIn("HostEnumMarkers");
        script.FaultIn("HostFreeMarkers");
        LoadedProfile profile;
        EXPECT_EQ(ERR_FILE_FAULT, Zv_LoadICCProfile(kImageName, profile.Get(), nullptr));
        EXPECT_EQ(0, script.OpenStreams());
        EXPECT_EQ(1U, script.CallsOf("HostFreeMarkers").size());
    }
    for (const int32_t format : {kEpsFormat, kChunkFormat}) {
        ImageScript script;
        Plan(format, &script);
        script.FaultIn("HostFileRead");
        script.FaultIn("HostFree");
        LoadedProfile profile;
        EXPECT_EQ(ERR_FILE_FAULT, Zv_LoadICCProfile(kImageName, profile.Get(), nullptr));
        EXPECT_EQ(0, script.OpenStreams());
    }
    host.ExpectLeaked(2);
}

TEST(IccLoadScans, AreReleasedOnce) {
    const HostScope host;
    ImageScript script;
    IccScan scan;
    scan.Release();
    EXPECT_EQ("", script.Operations());
    ASSERT_TRUE(scan.NewBuffer(10));
    HostMarkers set = nullptr;
    ASSERT_EQ(CLR_SUCCESS, HostCreateMarkers(&set));
    scan.markers = set;
    scan.Release();
    EXPECT_EQ(nullptr, scan.buffer);
    EXPECT_EQ(nullptr, scan.markers);
    EXPECT_EQ(0U, host.Leaked());
    scan.Release();
    EXPECT_EQ(1U, script.CallsOf("HostFreeMarkers").size());
}

TEST(IccLoadFaults, LeaveTheNextLoadAlone) {
    const HostScope host;
    for (int round = 0; round < 50; ++round) {
        ImageScript script;
        Plan(kChunkFormat, &script);
        script.FaultIn("HostFileRead", 3);
        EXPECT_EQ(ERR_FILE_FAULT, Load(script).result);
        script.Rewind();
        EXPECT_EQ(CLR_SUCCESS, Load(script).result);
    }
}

// --- Failures -------------------------------------------------------------------------------------------------------

TEST(IccLoadFailures, EveryAllocation) {
    const HostScope host;
    for (const Row& row : kRows) {
        int64_t n = 0;
        for (bool all = false; !all && n < 100;) {
            host->Reset();
            host->FailAllocation(++n);
            ImageScript script;
            LoadedProfile profile;
            Plan(row.format, &script);
            const LoadOutcome outcome = Load(script, &profile);
            all = host->AllocationsSinceReset() < n;
            // Chunks that find no room are left out, and nobody says so.
            const bool silent = row.format == kChunkFormat && n != 1 && n != 3;
            EXPECT_EQ(all || silent ? CLR_SUCCESS : ERR_FAILURE, outcome.result) << row.format << ' ' << n;
            EXPECT_EQ(1U, script.CallsOf("HostFileClose").size());
        }
        EXPECT_LT(1, n);
    }
}

/// What an EPS load comes to when that access fails, by what the access was for.
int32_t EpsResultWithout(const std::vector<ImageCall>& calls, size_t n) {
    size_t seek = 0;
    while (calls[seek].operation != "HostFileSeek") ++seek;
    if (n == 0) return ERR_IMAGE_OPEN;
    if (n == 1) return CLR_SUCCESS;  // an empty file, it seems: the lines are read from its front on
    if (n <= seek) return ERR_NO_PROFILE;
    return n == seek + 1 ? ERR_PROFILE_UNUSABLE : ERR_PROFILE_TRUNCATED;
}

TEST(IccLoadFailures, EveryAccessOfAnEpsFile) {
    const HostScope host;
    LoadOutcome best;
    std::vector<ImageCall> calls;  // of the stream alone
    {
        ImageScript whole;
        Plan(kEpsFormat, &whole);
        best = Load(whole);
        for (const ImageCall& call : whole.Calls()) {
            if (call.operation != "HostFileInfo" && call.operation != "HostFileClose") calls.push_back(call);
        }
    }
    const int64_t accesses = host->FileAccessesSinceReset();
    ASSERT_EQ(static_cast<size_t>(accesses), calls.size());
    ASSERT_LE(7, accesses);
    for (size_t n = 0; n < calls.size(); ++n) {
        host->Reset();
        host->FailFileAccess(static_cast<int64_t>(n) + 1);
        ImageScript script;
        LoadedProfile each;
        Plan(kEpsFormat, &script);
        const LoadOutcome outcome = Load(script, &each);
        EXPECT_EQ(EpsResultWithout(calls, n), outcome.result) << n << ' ' << calls[n].operation;
        EXPECT_EQ(best.bytes.substr(0, outcome.bytes.size()), outcome.bytes);
        EXPECT_EQ(0U, outcome.bytes.size() % 80);
        EXPECT_EQ(outcome.result == CLR_SUCCESS, outcome.bytes == best.bytes) << n;
    }
}

TEST(IccLoadFailures, EveryAccessOfTheRoutesThatReadNoStream) {
    const HostScope host;
    for (const int32_t format : {kMarkerFormat, kTagFormat}) {
        ImageScript script;
        Plan(format, &script);
        EXPECT_EQ(CLR_SUCCESS, Load(script).result);
    }
    EXPECT_EQ(2, host->FileAccessesSinceReset()) << "the openings";
}

}  // namespace
}  // namespace zv::test
