// Converters on several threads at once.
#include <atomic>
#include <thread>

#include "tests/support/frame_fixture.h"

namespace zv::test {
namespace {

constexpr int32_t kWidth = 64, kHeight = 16;
constexpr int kRounds = 60;

struct Job {
    int32_t source;
    int32_t destination;
};

std::vector<uint8_t> ConvertOnce(const ClrHandle* converter, const Job& job) {
    const std::vector<uint8_t> pixels = ValidPixels(job.source, kWidth, kHeight, 3, 51);
    std::vector<uint8_t> out(PaddedBytes(job.destination, kWidth, kHeight, 3), 0x5A);
    if (Zv_ClrConvert(converter, pixels.data(), out.data(), kWidth, kHeight, 3, 3) < 0) out.clear();
    return out;
}

TEST(Threads, TwoConvertersAtOnceGiveTheSerialResult) {
    const HostScope host;
    constexpr Job kPairs[][2] = {
        {{0, 2}, {2, 12}}, {{0, 7}, {7, 0}}, {{11, 0}, {11, 12}}, {{12, 128}, {0, 8}}, {{2, 7}, {1, 11}}};
    FullRecords records;
    for (const auto& jobs : kPairs) {
        const Converter first(jobs[0].source, jobs[0].destination, &records.params);
        const Converter second(jobs[1].source, jobs[1].destination, &records.params);
        const Converter* const converters[2] = {&first, &second};
        std::vector<uint8_t> expected[2];
        for (size_t i = 0; i < 2; ++i) expected[i] = ConvertOnce(converters[i]->Get(), jobs[i]);

        std::atomic<int> wrong = 0;
        std::atomic<bool> go = false;
        std::vector<std::thread> threads;
        for (size_t i = 0; i < 2; ++i) {
            threads.emplace_back([&, i] {
                while (!go) std::this_thread::yield();
                for (int round = 0; round < kRounds; ++round) {
                    if (ConvertOnce(converters[i]->Get(), jobs[i]) != expected[i]) ++wrong;
                }
            });
        }
        go = true;
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(0, wrong) << jobs[0].source << " to " << jobs[0].destination;
        EXPECT_FALSE(expected[0].empty());
        EXPECT_FALSE(expected[1].empty());
    }
}

TEST(Threads, OneConverterOnTwoThreads) {
    const HostScope host;
    const Job job{0, 7};
    FullRecords records;
    const Converter c(job.source, job.destination, &records.params);
    const std::vector<uint8_t> expected = ConvertOnce(c.Get(), job);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                if (ConvertOnce(c.Get(), job) != expected) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
}

TEST(Threads, CreationAndReleaseOnFourThreads) {
    const HostScope host;
    constexpr int kPerThread = 1500;
    const Converter bystander(0, 1);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < 4; ++i) {
        threads.emplace_back([&wrong, i] {
            ClrHandle* held[3] = {};
            for (int round = 0; round < kPerThread; ++round) {
                ClrHandle*& slot = held[round % 3];
                if (slot != nullptr && Zv_ClrFree(slot) != CLR_SUCCESS) ++wrong;
                if (Zv_ClrInit(&slot, kAllSpaces[i], 12, nullptr) != CLR_SUCCESS) ++wrong;
                if (Zv_ClrIsValid(slot) != CLR_SUCCESS || slot->sourceSpace != kAllSpaces[i]) ++wrong;
            }
            for (ClrHandle* handle : held) {
                if (Zv_ClrFree(handle) != CLR_SUCCESS) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(1, RegisteredCount());
    EXPECT_EQ(bystander.Get(), FirstRegistered());
}

}  // namespace
}  // namespace zv::test
