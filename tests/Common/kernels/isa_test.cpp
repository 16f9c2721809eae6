// Which instruction set rows use, and that converters give the same bytes with each.
#include "Common/kernels/isa.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <set>
#include <thread>

#include "Common/kernels/kernels.h"
#include "Common/kernels/rows.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/instruction_sets.h"

#if defined(__x86_64__)
#    include <cpuid.h>
#endif

namespace zv::test {

namespace {

// Before any other choice in this process, where CTest runs each test in one of its own.
TEST(Isa, TheHighestIsInUseUntilAnotherIsAskedFor) { EXPECT_EQ(ClrHighestIsa(), ClrCurrentIsa()); }

TEST(Isa, NonsenseBeforeAnyChoiceLeavesTheHighest) {
    EXPECT_EQ(ClrHighestIsa(), ClrUseIsa(static_cast<ClrIsa>(-1)));
    EXPECT_EQ(ClrHighestIsa(), ClrCurrentIsa());
}

#if defined(__x86_64__)

/// What processor and system say themselves: a set counts when the system keeps its registers too.
ClrIsa HighestByTheProcessor() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0) return kIsaBaseline;
    unsigned saved = 0, high = 0;
    __asm__("xgetbv" : "=a"(saved), "=d"(high) : "c"(0));
    if ((saved & 0x06) != 0x06 || __get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return kIsaBaseline;
    constexpr unsigned kAvx2 = 1U << 5 | 1U << 3 | 1U << 8;
    constexpr unsigned kAvx512 = 1U << 16 | 1U << 17 | 1U << 30 | 1U << 31;
    if ((b & kAvx2) != kAvx2) return kIsaBaseline;
    return (b & kAvx512) == kAvx512 && (c & 2U) != 0 && (saved & 0xE6) == 0xE6 ? kIsaAvx512 : kIsaAvx2;
}

TEST(Isa, TheHighestIsWhatProcessorAndSystemHave) { EXPECT_EQ(HighestByTheProcessor(), ClrHighestIsa()); }

#endif

TEST(Isa, EachLevelUpToTheHighestIsTaken) {
    const UseIsa restore(ClrHighestIsa());
    for (const ClrIsa isa : InstructionSets()) {
        EXPECT_EQ(isa, ClrUseIsa(isa));
        EXPECT_EQ(isa, ClrCurrentIsa());
    }
    EXPECT_EQ(static_cast<size_t>(ClrHighestIsa()) + 1, InstructionSets().size());
}

TEST(Isa, WhatCannotRunIsNotTaken) {
    for (const ClrIsa isa : InstructionSets()) {
        const UseIsa use(isa);
        for (const int32_t level : {ClrHighestIsa() + 1, kIsaCount, kIsaCount + 1, 1000, INT_MAX, -1, -2, INT_MIN}) {
            EXPECT_EQ(isa, ClrUseIsa(static_cast<ClrIsa>(level))) << level;
            EXPECT_EQ(isa, ClrCurrentIsa()) << level;
        }
    }
}

TEST(Isa, EachLevelHasRowsOfItsOwn) {
    std::set<const void*> tables;
    for (const ClrIsa isa : InstructionSets()) {
        const UseIsa use(isa);
        EXPECT_TRUE(tables.insert(&LumaChromaRows()).second);
        EXPECT_TRUE(tables.insert(reinterpret_cast<const void*>(LumaChromaRows().yuv.fromHub[0])).second);
    }
}

TEST(Isa, AScopeGivesBackWhatWasInUse) {
    const ClrIsa before = ClrCurrentIsa();
    {
        const UseIsa outer(kIsaBaseline);
        {
            const UseIsa inner(ClrHighestIsa());
            EXPECT_EQ(ClrHighestIsa(), ClrCurrentIsa());
        }
        EXPECT_EQ(kIsaBaseline, ClrCurrentIsa());
    }
    EXPECT_EQ(before, ClrCurrentIsa());
}

// --- Converters -----------------------------------------------------------------------------------------------------

/// A picture through a converter.
class Job {
public:
    Job(int32_t from, int32_t to, ClrParams* params) : converter_(from, to, params), to_(to) {
        source_ = ValidPixels(from, kWidth, kHeight, kExtra, static_cast<uint32_t>(from * 200 + to));
    }

    std::vector<uint8_t> Convert() const {
        std::vector<uint8_t> out(PaddedBytes(to_, kWidth, kHeight, kExtra) + 1, 0x5A);
        const int32_t result =
            Zv_ClrConvert(converter_.Get(), source_.data(), out.data(), kWidth, kHeight, kExtra, kExtra);
        out.back() = static_cast<uint8_t>(result);
        return out;
    }

    /// Whether more than the result was written.
    static bool HasPixels(const std::vector<uint8_t>& out) {
        return std::any_of(out.begin(), out.end() - 1, [](uint8_t byte) { return byte != 0x5A; });
    }

private:
    static constexpr int32_t kWidth = 200, kHeight = 12, kExtra = 4;

    Converter converter_;
    int32_t to_;
    std::vector<uint8_t> source_;
};

void ExpectTheSameBytes(int32_t from, int32_t to, ClrParams* params) {
    const Job job(from, to, params);
    std::vector<uint8_t> wanted;
    for (const ClrIsa isa : InstructionSets()) {
        const UseIsa use(isa);
        const std::vector<uint8_t> got = job.Convert();
        if (wanted.empty()) wanted = got;
        EXPECT_EQ(wanted, got) << from << " to " << to << ", " << testing::PrintToString(isa);
    }
    // To YCCK a converter writes nothing.
    EXPECT_EQ(to != CLRSPACE_YCCK || from == to, Job::HasPixels(wanted)) << from << " to " << to;
}

TEST(IsaConverters, GiveTheSameBytesForEveryPairOfSpaces) {
    const HostScope host;
    int32_t pairs = 0;
    for (const int32_t hub : kHubs) {
        for (const int32_t space : kAllSpaces) {
            ExpectTheSameBytes(hub, space, nullptr);
            ExpectTheSameBytes(space, hub, nullptr);
            pairs += 2;
        }
    }
    EXPECT_EQ(72, pairs);
}

TEST(IsaConverters, GiveTheSameBytesWithParameters) {
    const HostScope host;
    FullRecords records;
    constexpr int32_t kPairs[][2] = {{0, 2}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}, {11, 0}, {1, 12}};
    for (const auto& pair : kPairs) ExpectTheSameBytes(pair[0], pair[1], &records.params);
}

TEST(IsaConverters, GiveTheSameBytesByProfiles) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    constexpr int32_t kPairs[][2] = {{0, 2}, {2, 12}, {0, 7}, {7, 12}, {6, 0}, {11, 0}};
    for (const auto& pair : kPairs) ExpectTheSameBytes(pair[0], pair[1], &params);
}

TEST(IsaConverters, GiveTheSameBytesByEmulation) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_EMULATION, CLRMETHOD_EMULATION);
    constexpr int32_t kPairs[][2] = {{2, 0}, {2, 12}, {0, 7}, {12, 7}, {7, 0}, {7, 12}};
    for (const auto& pair : kPairs) ExpectTheSameBytes(pair[0], pair[1], &params);
}

TEST(IsaConverters, MayRunWhileTheLevelChanges) {
    const HostScope host;
    const UseIsa restore(ClrHighestIsa());
    FullRecords records;
    const Job jobs[] = {Job(0, 1, nullptr), Job(7, 0, nullptr), Job(2, 12, &records.params)};
    std::atomic<int> wrong = 0;
    std::atomic<size_t> running = std::size(jobs);
    std::vector<std::thread> threads;
    for (const Job& job : jobs) {
        threads.emplace_back([&] {
            const std::vector<uint8_t> wanted = job.Convert();
            for (int round = 0; round < 200; ++round) wrong += job.Convert() != wanted ? 1 : 0;
            --running;
        });
    }
    size_t turns = 0;
    for (; running != 0 || turns < 100; ++turns) {
        ClrUseIsa(InstructionSets()[turns % InstructionSets().size()]);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_GE(turns, 100U);
}

// --- Data errors ----------------------------------------------------------------------------------------------------

TEST(IsaErrors, APixelThatIsNoColourStopsEachAtTheSamePlace) {
    constexpr int32_t kWidth = 130, kHeight = 2;
    constexpr size_t kPixels = size_t{kWidth} * kHeight;
    std::vector<uint8_t> good = ValidPixels(CLRSPACE_HLS, kWidth, kHeight, 0, 9), whole(kPixels * 3);
    ASSERT_EQ(CLR_SUCCESS, ClrHlsToHub(good.data(), whole.data(), kWidth, kHeight, 0, 0, 1));
    for (size_t bad = 0; bad < kPixels; ++bad) {
        std::vector<uint8_t> source = good;
        source[bad * 3] = 10;
        source[bad * 3 + 2] = 0;
        std::vector<uint8_t> wanted = whole;
        std::fill(wanted.begin() + static_cast<ptrdiff_t>(bad * 3), wanted.end(), uint8_t{0xCD});
        for (const ClrIsa isa : InstructionSets()) {
            const UseIsa use(isa);
            std::vector<uint8_t> got(kPixels * 3, 0xCD);
            ASSERT_EQ(ERR_BAD_TAG, ClrHlsToHub(source.data(), got.data(), kWidth, kHeight, 0, 0, 1));
            ASSERT_EQ(wanted, got) << testing::PrintToString(isa) << ", pixel " << bad;
        }
    }
}

}  // namespace

}  // namespace zv::test
