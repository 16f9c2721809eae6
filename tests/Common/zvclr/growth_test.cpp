// Many rounds must not take memory along.
#include <functional>
#include <ostream>

#ifdef __linux__
#    include <unistd.h>

#    include <cstdio>
#endif

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/address_sanitizer.h"

#ifdef ZV_WITH_ADDRESS_SANITIZER
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace zv::test {
namespace {

/// What the process holds, as far as this build can tell: the sanitizer keeps released memory back, so there it is
/// asked for what is allocated.
size_t HeldBytes() {
#if defined(ZV_WITH_ADDRESS_SANITIZER)
    return __sanitizer_get_current_allocated_bytes();
#elif defined(__linux__)
    size_t total = 0, resident = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr) return 0;
    const int read = std::fscanf(file, "%zu %zu", &total, &resident);
    std::fclose(file);
    return read == 2 ? resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) : 0;
#else
    size_t bytes = 0;
    for (const LiveBlock& block : RecordingHost::Get().LiveBlocks()) bytes += block.size;
    return bytes;
#endif
}

void RunRounds(HostScope& host, int rounds, const std::function<void()>& round) {
    for (int i = 0; i < rounds; ++i) {
        round();
        if (i % 64 == 0) host->Reset();  // the record of calls is not the library's memory
    }
    host->Reset();
}

struct Pair {
    int32_t source;
    int32_t destination;
};

void PrintTo(const Pair& pair, std::ostream* out) { *out << pair.source << " to " << pair.destination; }

class Growth : public ::testing::TestWithParam<Pair> {};

TEST_P(Growth, TwentyThousandRoundsOfCreateConvertFree) {
    HostScope host;
    const int32_t source = GetParam().source;
    const int32_t destination = GetParam().destination;
    FullRecords records;
    const std::vector<uint8_t> pixels = ValidPixels(source, 8, 4, 0, 61);
    std::vector<uint8_t> out(PaddedBytes(destination, 8, 4, 0));
    const std::function<void()> round = [&] {
        ClrHandle* handle = nullptr;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, source, destination, &records.params));
        ASSERT_GE(Zv_ClrConvert(handle, pixels.data(), out.data(), 8, 4, 0, 0), 0);
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    };
    RunRounds(host, 500, round);
    const size_t before = HeldBytes();
    const size_t blocks = host->LiveCount();
    RunRounds(host, 20000, round);
    EXPECT_EQ(blocks, host->LiveCount());
    EXPECT_EQ(0, RegisteredCount());
    // The smallest block that a round could leave takes 32 bytes of the heap.
    EXPECT_LE(HeldBytes(), before + 16 * 20000);
}

INSTANTIATE_TEST_SUITE_P(Pairs, Growth,
                         ::testing::Values(Pair{0, 0}, Pair{2, 12}, Pair{1, 0}, Pair{11, 0}, Pair{2, 1}, Pair{0, 11}),
                         [](const auto& instance) {
                             return std::to_string(instance.param.source) + "To" +
                                    std::to_string(instance.param.destination);
                         });

/// Transforms are large: fewer rounds, and room for the allocator to settle that one transform would exceed.
void ExpectNoGrowthOfTransforms(HostScope& host, int rounds, const std::function<void()>& round) {
    RunRounds(host, 3, round);
    const size_t before = HeldBytes();
    const size_t blocks = host->LiveCount();
    RunRounds(host, rounds, round);
    EXPECT_EQ(blocks, host->LiveCount());
    EXPECT_EQ(0, RegisteredCount());
    EXPECT_LE(HeldBytes(), before + (size_t{4} << 20));
}

TEST(GrowthOfTransforms, BuiltinProfiles) {
    HostScope host;
    FullRecords records(CLRMETHOD_ICC, CLRMETHOD_ICC);
    const Bytes pixels = RandomBytes(4 * 32, 5);
    Bytes out(4 * 32);
    ExpectNoGrowthOfTransforms(host, 20, [&] {
        for (const int32_t space : {2, 7, 11}) {
            ClrHandle* handle = nullptr;
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, space, CLRSPACE_RGB, &records.params));
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(handle, pixels.data(), out.data(), 8, 4, 0, 0));
            ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        }
    });
}

TEST(GrowthOfTransforms, ProfilesOfTheCaller) {
    HostScope host;
    MemoryProfile input(GammaProfile(0x0180)), output(ExchangedProfile());
    ClrParams good = CustomParams(&input, &output), bad = good;
    MemoryProfile cut(Bytes(input.bytes.begin(), input.bytes.end() - 20));
    bad.outputProfileMemory = &cut.record;
    const Bytes pixels = RandomBytes(96, 5);
    Bytes out(96);
    ExpectNoGrowthOfTransforms(host, 5000, [&] {
        ClrHandle* handle = nullptr;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrInit(&handle, CLRSPACE_RGB, CLRSPACE_BGR, &good));
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrConvert(handle, pixels.data(), out.data(), 8, 4, 0, 0));
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        ASSERT_EQ(ERR_TRANSFORM_CREATE, FailingInit(CLRSPACE_CMYK, CLRSPACE_RGB, &good));
        ASSERT_EQ(ERR_PROFILE_UNUSABLE, FailingInit(CLRSPACE_RGB, CLRSPACE_BGR, &bad));
        ReleaseAllConverters();  // the converter of a refusal as late as this stays
    });
}

TEST(GrowthOfFailures, RefusedCreationsTakeNothingAlong) {
    HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_BUILTIN, CLRMETHOD_ICC);
    const size_t blocks = host->LiveCount();
    RunRounds(host, 20000, [&] {
        ASSERT_EQ(ERR_METHOD_UNAVAILABLE, FailingInit(0, 1, &params));
        ASSERT_EQ(ERR_COLORSPACE_UNSUPPORTED, FailingInit(0, 99, &params));
    });
    EXPECT_EQ(blocks, host->LiveCount());
    EXPECT_EQ(0, RegisteredCount());
}

}  // namespace
}  // namespace zv::test
