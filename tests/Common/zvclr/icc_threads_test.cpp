// Converters by profiles on several threads at once.
#include <atomic>
#include <thread>

#include "tests/Common/zvclr/icc_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 37, kHeight = 9, kExtra = 4;
constexpr size_t kThreads = 3;

/// What the threads do together; each says whether all went as expected.
template <class Work>
void ExpectOnAllThreads(const Work& work) {
    std::atomic<int> wrong = 0;
    std::atomic<bool> go = false;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            while (!go) std::this_thread::yield();
            if (!work(i)) ++wrong;
        });
    }
    go = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
}

Bytes ConvertImage(const ClrHandle* c, const Bytes& picture) {
    Bytes out(TightBytes(c->destinationSpace, kWidth, kHeight, kExtra), 0x5A);
    if (Zv_ClrConvert(c, picture.data(), out.data(), kWidth, kHeight, kExtra, kExtra) != CLR_SUCCESS) out.clear();
    return out;
}

void ExpectTheSerialBytes(const ClrHandle* c) {
    std::vector<Bytes> pictures, expected;
    for (size_t i = 0; i < kThreads; ++i) {
        pictures.push_back(RandomBytes(PaddedBytes(c->sourceSpace, kWidth, kHeight, kExtra), static_cast<uint32_t>(i)));
        expected.push_back(ConvertImage(c, pictures.back()));
        ASSERT_FALSE(expected.back().empty());
    }
    ExpectOnAllThreads([&](size_t i) {
        for (int round = 0; round < 40; ++round) {
            if (ConvertImage(c, pictures[i]) != expected[i]) return false;
        }
        return true;
    });
}

TEST(IccThreads, OneConverterOfTheBuiltinProfiles) {
    const HostScope host;
    ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
    constexpr int32_t kPairs[][2] = {{0, 2}, {2, 12}, {0, 7}, {6, 0}, {11, 0}};
    for (const auto& pair : kPairs) {
        const Converter c(pair[0], pair[1], &params);
        ExpectTheSerialBytes(c.Get());
    }
}

TEST(IccThreads, OneConverterOfTheCallersProfiles) {
    const HostScope host;
    MemoryProfile matrix(GammaProfile(0x0200)), gray(GrayProfile(GammaBody(0x0180)).Build());
    ClrParams pair = CustomParams(&matrix, &matrix), stages = CustomParams(&gray, &matrix);
    const Converter shaper(CLRSPACE_RGB, CLRSPACE_BGR, &pair), full(CLRSPACE_BGR, CLRSPACE_RGB, &stages);
    ExpectTheSerialBytes(shaper.Get());
    ExpectTheSerialBytes(full.Get());
}

TEST(IccThreads, CreationsWithWhitesOfTheirOwn) {
    const HostScope host;
    const Bytes pixels = SamplePixels(CLRSPACE_RGB, 20);
    const auto through = [&](uint32_t code, Bytes* out) {
        ClrWhitePoint white{code, 0, 0};
        ClrParams params = MakeParams(CLRMETHOD_ICC, CLRMETHOD_ICC);
        params.whitePoint = &white;
        ClrHandle* handle = nullptr;
        if (Zv_ClrInit(&handle, CLRSPACE_RGB, CLRSPACE_LAB, &params) != CLR_SUCCESS) return false;
        out->assign(pixels.size(), 0);
        const int32_t converted =
            Zv_ClrConvert(handle, pixels.data(), out->data(), static_cast<int32_t>(pixels.size() / 3), 1, 0, 0);
        return Zv_ClrFree(handle) == CLR_SUCCESS && converted == CLR_SUCCESS;
    };
    constexpr uint32_t kCodes[kThreads] = {50, 65, 93};
    Bytes expected[kThreads];
    for (size_t i = 0; i < kThreads; ++i) ASSERT_TRUE(through(kCodes[i], &expected[i]));
    EXPECT_NE(expected[0], expected[1]);
    ExpectOnAllThreads([&](size_t i) {
        for (int round = 0; round < 8; ++round) {
            Bytes out;
            if (!through(kCodes[i], &out) || out != expected[i]) return false;
        }
        return true;
    });
    EXPECT_EQ(0, RegisteredCount());
}

}  // namespace
}  // namespace zv::test
