// Memory probes and the careful look: no fault, no signal, exact to the byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

#include "host/host.h"
#include "host/platform.h"
#include "tests/support/guarded_buffer.h"

#ifndef _WIN32
#    include <fcntl.h>
#    include <pthread.h>
#    include <signal.h>
#    include <sys/mman.h>
#    include <unistd.h>

#    include <cerrno>
#    include <cstdio>
#    include <cstdlib>
#    include <fstream>
#    include <sstream>
#    include <string>
#endif

namespace zv::test {
namespace {

bool Readable(const void* address, size_t size) { return IsBadReadPtr(address, size) == 0; }
bool Writable(void* address, size_t size) { return IsBadWritePtr(address, size) == 0; }

constexpr char kText[] = "constant";

TEST(MemoryProbe, OfNoBytesSucceedsAnywhere) {
    GuardedBuffer page(16);
    page.MakeUnreadable();
    EXPECT_TRUE(Readable(page.Data(), 0));
    EXPECT_TRUE(Writable(page.Data(), 0));
    EXPECT_TRUE(Readable(nullptr, 0));
    EXPECT_TRUE(Writable(nullptr, 0));
}

TEST(MemoryProbe, NullIsNothing) {
    EXPECT_FALSE(Readable(nullptr, 1));
    EXPECT_FALSE(Writable(nullptr, 1));
    EXPECT_FALSE(Readable(nullptr, 100000));
}

TEST(MemoryProbe, LowAndHighAddresses) {
    for (const uintptr_t address : {uintptr_t{1}, uintptr_t{16}, uintptr_t{4096}, UINTPTR_MAX, UINTPTR_MAX - 4095,
                                    uintptr_t{0x8000000000000000U}}) {
        EXPECT_FALSE(Readable(reinterpret_cast<void*>(address), 1)) << address;
        EXPECT_FALSE(Writable(reinterpret_cast<void*>(address), 1)) << address;
    }
}

TEST(MemoryProbe, RegionThatWrapsTheAddressSpace) {
    uint8_t byte = 0;
    EXPECT_FALSE(Readable(reinterpret_cast<void*>(UINTPTR_MAX), 2));
    EXPECT_FALSE(Writable(reinterpret_cast<void*>(UINTPTR_MAX - 10), 4096));
    EXPECT_FALSE(Readable(&byte, SIZE_MAX));
    EXPECT_FALSE(Writable(&byte, SIZE_MAX));
    EXPECT_FALSE(Readable(&byte, SIZE_MAX - reinterpret_cast<uintptr_t>(&byte) + 2));
}

TEST(MemoryProbe, ExactAtTheEndOfAPage) {
    const GuardedBuffer back(100);
    for (const size_t offset : {size_t{0}, size_t{1}, size_t{99}}) {
        const size_t rest = 100 - offset;
        EXPECT_TRUE(Readable(back.Data() + offset, rest));
        EXPECT_TRUE(Writable(back.Data() + offset, rest));
        EXPECT_FALSE(Readable(back.Data() + offset, rest + 1));
        EXPECT_FALSE(Writable(back.Data() + offset, rest + 1));
    }
    EXPECT_FALSE(Readable(back.end(), 1));
    const GuardedBuffer front(100, GuardedBuffer::Side::kFront);
    EXPECT_TRUE(Readable(front.Data(), 100));
    EXPECT_FALSE(Readable(front.Data() - 1, 100));
    EXPECT_FALSE(Writable(front.Data() - 1, 2));
}

TEST(MemoryProbe, ReadOnlyPages) {
    GuardedBuffer page(100);
    page.MakeReadOnly();
    EXPECT_TRUE(Readable(page.Data(), 100));
    EXPECT_FALSE(Writable(page.Data(), 100));
    EXPECT_FALSE(Writable(page.Data() + 99, 1));
    page.MakeWritable();
    EXPECT_TRUE(Writable(page.Data(), 100));
}

TEST(MemoryProbe, UnreadablePages) {
    GuardedBuffer page(100);
    page.MakeUnreadable();
    EXPECT_FALSE(Readable(page.Data(), 1));
    EXPECT_FALSE(Writable(page.Data(), 1));
}

TEST(MemoryProbe, OneBadPageAmongMany) {
    const size_t pageSize = GuardedBuffer::PageSize();
    constexpr size_t kPages = 9;
    for (size_t bad = 0; bad < kPages; ++bad) {
        GuardedBuffer unreadable(kPages * pageSize), readOnly(kPages * pageSize);
        unreadable.MakePageUnreadable(bad * pageSize);
        readOnly.MakePageReadOnly(bad * pageSize);
        EXPECT_FALSE(Readable(unreadable.Data(), unreadable.Size())) << bad;
        EXPECT_FALSE(Writable(unreadable.Data(), unreadable.Size())) << bad;
        EXPECT_TRUE(Readable(readOnly.Data(), readOnly.Size())) << bad;
        EXPECT_FALSE(Writable(readOnly.Data(), readOnly.Size())) << bad;
        // One byte of it is enough.
        const size_t from = bad * pageSize;
        EXPECT_FALSE(Readable(unreadable.Data(), from + 1)) << bad;
        EXPECT_FALSE(Readable(unreadable.Data() + from + pageSize - 1, 1)) << bad;
        if (bad > 0) {
            EXPECT_TRUE(Readable(unreadable.Data(), from)) << bad;
            EXPECT_TRUE(Writable(readOnly.Data(), from)) << bad;
        }
        if (bad + 1 < kPages) {
            EXPECT_TRUE(Readable(unreadable.Data() + from + pageSize, unreadable.Size() - from - pageSize)) << bad;
        }
    }
}

TEST(MemoryProbe, ChangesNoByte) {
    const GuardedBuffer page(3 * GuardedBuffer::PageSize() + 5);
    for (size_t i = 0; i < page.Size(); ++i) page.Data()[i] = static_cast<uint8_t>(i * 7);
    EXPECT_TRUE(Writable(page.Data(), page.Size()));
    EXPECT_TRUE(Readable(page.Data(), page.Size()));
    for (size_t i = 0; i < page.Size(); ++i) ASSERT_EQ(static_cast<uint8_t>(i * 7), page.Data()[i]);
}

TEST(MemoryProbe, StackHeapTextAndConstants) {
    std::array<uint8_t, 64> onStack{};
    std::vector<uint8_t> onHeap(100000);
    EXPECT_TRUE(Readable(onStack.data(), onStack.size()));
    EXPECT_TRUE(Writable(onStack.data(), onStack.size()));
    EXPECT_TRUE(Readable(onHeap.data(), onHeap.size()));
    EXPECT_TRUE(Writable(onHeap.data(), onHeap.size()));
    EXPECT_TRUE(Readable(kText, sizeof kText));
    EXPECT_FALSE(Writable(const_cast<char*>(kText), sizeof kText));
    auto* const code = reinterpret_cast<void*>(&Readable);
    EXPECT_TRUE(Readable(code, 8));
    EXPECT_FALSE(Writable(code, 8));
}

TEST(MemoryProbe, StackOfAnotherThread) {
    std::thread([] {
        std::array<uint8_t, 512> local{};
        EXPECT_TRUE(Readable(local.data(), local.size()));
        EXPECT_TRUE(Writable(local.data(), local.size()));
    }).join();
}

TEST(Peek, CopiesWhatCanBeRead) {
    const GuardedBuffer page(64);
    for (size_t i = 0; i < page.Size(); ++i) page.Data()[i] = static_cast<uint8_t>(i);
    std::array<uint8_t, 64> copy{};
    EXPECT_TRUE(ZvPeekMemory(copy.data(), page.Data(), copy.size()));
    EXPECT_EQ(0, std::memcmp(copy.data(), page.Data(), copy.size()));
    EXPECT_TRUE(ZvPeekMemory(copy.data(), page.Data() + 63, 1)) << "the last byte";
    EXPECT_EQ(63, copy[0]);
}

TEST(Peek, RefusesWhatCannotBeRead) {
    GuardedBuffer page(64);
    uint8_t copy[128] = {};
    EXPECT_FALSE(ZvPeekMemory(copy, nullptr, 4));
    EXPECT_FALSE(ZvPeekMemory(copy, page.end(), 1));
    EXPECT_FALSE(ZvPeekMemory(copy, page.Data() + 60, 8)) << "half of it lies behind the end";
    EXPECT_FALSE(ZvPeekMemory(copy, reinterpret_cast<void*>(UINTPTR_MAX - 3), 4));
    page.MakeUnreadable();
    EXPECT_FALSE(ZvPeekMemory(copy, page.Data(), 1));
}

TEST(Peek, ReadsReadOnlyMemory) {
    GuardedBuffer page(8);
    page.Fill(9);
    page.MakeReadOnly();
    uint8_t copy[8] = {};
    EXPECT_TRUE(ZvPeekMemory(copy, page.Data(), sizeof copy));
    EXPECT_EQ(9, copy[7]);
}

TEST(Peek, LooksAtReleasedMemoryUnseenByMemoryCheckers) {
    void* block = HostAlloc(64, 1, __LINE__, nullptr);
    const auto address = reinterpret_cast<uintptr_t>(block);
    HostFree(block, __LINE__, nullptr);
    uint8_t copy[8] = {};
    // Small blocks stay mapped: what is in them does not matter.
    EXPECT_TRUE(ZvPeekMemory(copy, reinterpret_cast<const void*>(address), sizeof copy));
}

// A tile of a larger picture is probed together with its neighbours, which another thread may be writing.
TEST(MemoryProbe, LosesNothingThatAnotherThreadWrites) {
    GuardedBuffer buffer(2 * GuardedBuffer::PageSize());
    std::atomic<bool> done{false};
    std::thread prober([&] {
        while (!done.load()) {
            IsBadWritePtr(buffer.Data(), buffer.Size());
            // Of single pages, which are asked for in another way.
            IsBadWritePtr(buffer.Data(), 3);
            IsBadWritePtr(buffer.Data() + GuardedBuffer::PageSize() + 1, GuardedBuffer::PageSize() - 1);
        }
    });
    int lost = 0;
    for (uint32_t round = 0; round < 200000; ++round) {
        for (const size_t at : {size_t{0}, GuardedBuffer::PageSize(), buffer.Size() - 1}) {
            const std::atomic_ref<uint8_t> byte(buffer.Data()[at]);
            const auto value = static_cast<uint8_t>(round);
            byte.store(value);
            if (byte.load() != value) ++lost;
        }
    }
    done.store(true);
    prober.join();
    EXPECT_EQ(0, lost);
}

#ifndef _WIN32

void LoadAll(const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i) static_cast<void>(*static_cast<const volatile uint8_t*>(bytes + i));
}

/// Anonymous pages of one protection, unmapped at the end.
class Mapping {
public:
    Mapping(size_t size, int protection, int flags = MAP_PRIVATE | MAP_ANONYMOUS, int file = -1)
        : size_(size), base_(mmap(nullptr, size, protection, flags, file, 0)) {
        EXPECT_NE(MAP_FAILED, base_);
    }
    ~Mapping() { munmap(base_, size_); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    uint8_t* Data() const { return static_cast<uint8_t*>(base_); }

private:
    size_t size_;
    void* base_;
};

TEST(MemoryProbe, UnmappedPages) {
    const size_t page = GuardedBuffer::PageSize();
    const Mapping mapping(3 * page, PROT_READ | PROT_WRITE);
    ASSERT_EQ(0, munmap(mapping.Data() + page, page));
    EXPECT_TRUE(Readable(mapping.Data(), page));
    EXPECT_FALSE(Readable(mapping.Data(), page + 1));
    EXPECT_FALSE(Readable(mapping.Data(), 3 * page));
    EXPECT_FALSE(Writable(mapping.Data() + page, 1));
    EXPECT_TRUE(Writable(mapping.Data() + 2 * page, page));
    uint8_t copy[2] = {};
    EXPECT_FALSE(ZvPeekMemory(copy, mapping.Data() + page - 1, 2));
}

TEST(MemoryProbe, OnePageOfALargeRegion) {
    const size_t page = GuardedBuffer::PageSize();
    constexpr size_t kPages = 600;
    const size_t size = kPages * page;
    for (const size_t place : {size_t{0}, size_t{1}, size_t{299}, kPages - 2, kPages - 1}) {
        for (const int kind : {-1, PROT_NONE, PROT_READ, PROT_READ | PROT_WRITE}) {
            const Mapping mapping(size, PROT_READ | PROT_WRITE);
            uint8_t* start = mapping.Data() + place * page;
            ASSERT_EQ(0, kind == -1 ? munmap(start, page) : mprotect(start, page, kind));
            const bool loads = kind > PROT_NONE, stores = kind == (PROT_READ | PROT_WRITE);
            EXPECT_EQ(loads, Readable(mapping.Data(), size)) << place << ", " << kind;
            EXPECT_EQ(loads, ZvCanLoad(mapping.Data(), size)) << place << ", " << kind;
            EXPECT_EQ(stores, Writable(mapping.Data(), size)) << place << ", " << kind;
            const bool isInside = place > 0 && place < kPages - 1;
            EXPECT_EQ(!isInside || loads, Readable(mapping.Data() + page, size - 2 * page)) << place << ", " << kind;
            EXPECT_EQ(!isInside || stores, Writable(mapping.Data() + page, size - 2 * page)) << place << ", " << kind;
        }
    }
}

TEST(MemoryProbe, LargeFilesEndWhereTheirBytesDo) {
    const size_t page = GuardedBuffer::PageSize();
    constexpr size_t kPages = 300;
    std::FILE* file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    ASSERT_EQ(0, ftruncate(fileno(file), static_cast<off_t>(150 * page)));
    for (const int flags : {MAP_PRIVATE, MAP_SHARED}) {
        const Mapping mapping(kPages * page, PROT_READ | PROT_WRITE, flags, fileno(file));
        EXPECT_TRUE(Readable(mapping.Data(), 150 * page));
        EXPECT_TRUE(Writable(mapping.Data(), 150 * page));
        EXPECT_FALSE(Readable(mapping.Data(), kPages * page));
        EXPECT_FALSE(Writable(mapping.Data(), kPages * page));
    }
    std::fclose(file);
}

TEST(MemoryProbe, WriteOnlyPages) {
    const size_t page = GuardedBuffer::PageSize();
    const Mapping mapping(page, PROT_WRITE);
    EXPECT_TRUE(Writable(mapping.Data(), page));
    EXPECT_FALSE(Readable(mapping.Data(), 1)) << "no permission to read, whatever the processor would do";
}

TEST(MemoryProbe, ExecuteOnlyAndReadExecutePages) {
    const size_t page = GuardedBuffer::PageSize();
    const Mapping readable(page, PROT_READ | PROT_EXEC);
    EXPECT_TRUE(Readable(readable.Data(), page));
    EXPECT_FALSE(Writable(readable.Data(), page));
}

/// Every row of three pages of these kinds, by regions that start and end at, before and behind their borders.
TEST(MemoryProbe, EveryKindOfPageBesideEveryOther) {
    const size_t page = GuardedBuffer::PageSize();
    constexpr int kUnmapped = -1;
    constexpr int kKinds[] = {kUnmapped, PROT_NONE, PROT_READ, PROT_READ | PROT_WRITE, PROT_READ | PROT_EXEC};
    for (const int first : kKinds) {
        for (const int second : kKinds) {
            for (const int third : kKinds) {
                const int kinds[] = {first, second, third};
                const Mapping mapping(3 * page, PROT_READ | PROT_WRITE);
                for (size_t i = 0; i < 3; ++i) {
                    uint8_t* start = mapping.Data() + i * page;
                    if ((first + second) % 2 == 0) *start = 1;  // pages that are there already, and ones that are not
                    ASSERT_EQ(0, kinds[i] == kUnmapped ? munmap(start, page) : mprotect(start, page, kinds[i]));
                }
                const auto allow = [&](size_t from, size_t size, int protection) {
                    for (size_t i = from / page; i <= (from + size - 1) / page; ++i) {
                        if (kinds[i] == kUnmapped || (kinds[i] & protection) == 0) return false;
                    }
                    return true;
                };
                for (const size_t from :
                     {size_t{0}, size_t{1}, page - 9, page - 3, page - 1, page, 2 * page - 1, 2 * page + 5}) {
                    for (const size_t size : {size_t{1}, size_t{2}, size_t{4}, size_t{9}, page - 5, page, 2 * page}) {
                        if (from + size > 3 * page) continue;
                        uint8_t* at = mapping.Data() + from;
                        const std::string what =
                            testing::PrintToString(kinds) + ", " + std::to_string(from) + " + " + std::to_string(size);
                        ASSERT_EQ(allow(from, size, PROT_READ), Readable(at, size)) << what;
                        ASSERT_EQ(allow(from, size, PROT_READ), ZvCanLoad(at, size)) << what;
                        ASSERT_EQ(allow(from, size, PROT_WRITE), Writable(at, size)) << what;
                    }
                }
            }
        }
    }
}

TEST(MemoryProbe, WhatCanBeLoadedDoesNotFault) {
    const size_t page = GuardedBuffer::PageSize();
    for (const int protection : {PROT_WRITE, PROT_EXEC, PROT_WRITE | PROT_EXEC, PROT_READ}) {
        const Mapping mapping(page, protection);
        // Where there is no permission to read it is the processor's matter.
        const bool loads = ZvCanLoad(mapping.Data(), page);
        for (const size_t pages : {size_t{2}, size_t{5}, size_t{100}}) {
            const Mapping larger(pages * page, protection);
            EXPECT_EQ(loads, ZvCanLoad(larger.Data(), pages * page)) << pages;
        }
        if (protection == PROT_READ) {
            EXPECT_TRUE(loads);
        }
        if (loads) LoadAll(mapping.Data(), page);
    }
}

TEST(MemoryProbe, LoadsOfNothingAndOfNowhere) {
    GuardedBuffer page(64);
    EXPECT_TRUE(ZvCanLoad(page.Data(), 64));
    EXPECT_TRUE(ZvCanLoad(page.Data() + 63, 1));
    EXPECT_FALSE(ZvCanLoad(page.Data() + 63, 2));
    EXPECT_FALSE(ZvCanLoad(page.end(), 1));
    EXPECT_FALSE(ZvCanLoad(nullptr, 1));
    EXPECT_FALSE(ZvCanLoad(reinterpret_cast<void*>(UINTPTR_MAX), 1));
    EXPECT_FALSE(ZvCanLoad(reinterpret_cast<void*>(UINTPTR_MAX), 2));
    EXPECT_FALSE(ZvCanLoad(page.Data(), SIZE_MAX));
    page.MakeUnreadable();
    EXPECT_FALSE(ZvCanLoad(page.Data(), 1));
    EXPECT_TRUE(ZvCanLoad(page.Data(), 0));
    EXPECT_TRUE(ZvCanLoad(nullptr, 0));
}

TEST(MemoryProbe, SignalsAndWordsStayAsTheyWere) {
    sigset_t before, after;
    ASSERT_EQ(0, pthread_sigmask(SIG_SETMASK, nullptr, &before));
    GuardedBuffer page(64);
    page.Fill(0xFF);
    EXPECT_TRUE(ZvCanLoad(page.Data(), 64));
    EXPECT_TRUE(Writable(page.Data(), 64));
    EXPECT_TRUE(std::all_of(page.begin(), page.end(), [](uint8_t byte) { return byte == 0xFF; }));
    ASSERT_EQ(0, pthread_sigmask(SIG_SETMASK, nullptr, &after));
    for (int signal = 1; signal < 32; ++signal) EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal));
}

TEST(MemoryProbe, NeighbouringMappingsAreOneRegion) {
    const size_t page = GuardedBuffer::PageSize();
    const Mapping mapping(4 * page, PROT_READ | PROT_WRITE);
    ASSERT_EQ(0, mprotect(mapping.Data() + page, page, PROT_READ));
    EXPECT_TRUE(Readable(mapping.Data() + 10, 3 * page));
    EXPECT_FALSE(Writable(mapping.Data() + 10, 3 * page));
}

class TemporaryFile {
public:
    TemporaryFile() : path_((std::filesystem::temp_directory_path() / "zvclr_probe_XXXXXX").string()) {
        file_ = mkstemp(path_.data());
        EXPECT_GE(file_, 0);
    }
    ~TemporaryFile() {
        close(file_);
        unlink(path_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    int Descriptor() const { return file_; }

private:
    std::string path_;
    int file_;
};

TEST(MemoryProbe, MappingThatReachesPastTheEndOfItsFile) {
    const auto page = static_cast<off_t>(GuardedBuffer::PageSize());
    const TemporaryFile file;
    ASSERT_EQ(0, ftruncate(file.Descriptor(), page + 10));
    const auto size = static_cast<size_t>(page);
    const Mapping mapping(4 * size, PROT_READ | PROT_WRITE, MAP_SHARED, file.Descriptor());
    EXPECT_TRUE(Readable(mapping.Data(), 2 * size)) << "the page of the file's last byte is whole";
    EXPECT_TRUE(Writable(mapping.Data(), 2 * size));
    EXPECT_FALSE(Readable(mapping.Data(), 2 * size + 1)) << "a load there is a bus error";
    EXPECT_FALSE(Writable(mapping.Data() + 2 * size, 1));
    EXPECT_FALSE(Readable(mapping.Data() + 3 * size, 1));
    EXPECT_TRUE(ZvCanLoad(mapping.Data() + size, size));
    EXPECT_FALSE(ZvCanLoad(mapping.Data() + 2 * size - 1, 2));
    EXPECT_FALSE(ZvCanLoad(mapping.Data() + 2 * size, 1));
    EXPECT_TRUE(Writable(mapping.Data() + 2 * size - 1, 1));
    uint8_t copy[1] = {};
    EXPECT_FALSE(ZvPeekMemory(copy, mapping.Data() + 2 * size, 1));
}

TEST(MemoryProbe, WriteProbeOfAPrivateMappingDoesNotReachTheFile) {
    const TemporaryFile file;
    const std::string content(8192, 'a');
    ASSERT_EQ(static_cast<ssize_t>(content.size()), write(file.Descriptor(), content.data(), content.size()));
    const Mapping mapping(content.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE, file.Descriptor());
    EXPECT_TRUE(Writable(mapping.Data(), content.size()));
    EXPECT_EQ('a', mapping.Data()[8191]);
}

TEST(MemoryProbe, KeepsErrno) {
    GuardedBuffer page(8);
    page.MakeUnreadable();
    errno = 4711;
    EXPECT_FALSE(Readable(page.Data(), 8));
    EXPECT_FALSE(Writable(page.Data(), 8));
    EXPECT_FALSE(ZvCanLoad(page.Data(), 8));
    page.MakeWritable();
    EXPECT_TRUE(Writable(page.Data(), 8));
    EXPECT_TRUE(ZvCanLoad(page.Data(), 8));
    page.MakeUnreadable();
    uint8_t copy[8];
    EXPECT_FALSE(ZvPeekMemory(copy, page.Data(), 8));
    EXPECT_EQ(4711, errno);
}

/// A mapping of the kernel's own pages, which cannot be populated: a probe of it is answered from the memory map.
struct KernelMapping {
    uint8_t* start = nullptr;
    size_t size = 0;
};
KernelMapping FindKernelMapping(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.size() < name.size() || line.compare(line.size() - name.size(), name.size(), name) != 0) continue;
        uintptr_t start = 0, end = 0;
        char dash = 0;
        std::istringstream(line) >> std::hex >> start >> dash >> end;
        return {reinterpret_cast<uint8_t*>(start), end - start};
    }
    return {};
}

TEST(MemoryProbe, KernelsOwnPagesAreAnsweredFromTheMemoryMap) {
    const KernelMapping clock = FindKernelMapping("[vvar]");
    ASSERT_NE(nullptr, clock.start) << "this system maps no clock page";
    constexpr int kPopulateRead = 22;
    ASSERT_NE(0, madvise(clock.start, GuardedBuffer::PageSize(), kPopulateRead)) << "no case for the memory map";
    ASSERT_EQ(EINVAL, errno);
    EXPECT_TRUE(Readable(clock.start, clock.size));
    EXPECT_TRUE(ZvCanLoad(clock.start, clock.size));
    EXPECT_FALSE(Writable(clock.start, clock.size));
    EXPECT_FALSE(Writable(clock.start, 1));
    EXPECT_TRUE(Readable(clock.start + clock.size - 1, 1));
}

#endif

}  // namespace
}  // namespace zv::test
