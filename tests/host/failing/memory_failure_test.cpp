// Host operations on memory that runs out: every allocation fails once, and nothing leaks or is damaged.
#include <cstdlib>
#include <cstring>
#include <functional>

#include "tests/host/jpeg_files.h"

namespace {

int64_t allocationsLeft = 0;
int64_t liveBlocks = 0;
bool isFailing = false;

bool MayAllocate() {
    if (!isFailing) return true;
    if (allocationsLeft <= 0) return false;
    --allocationsLeft;
    return true;
}

void* Count(void* block) {
    if (block != nullptr) ++liveBlocks;
    return block;
}

}  // namespace

// The memory of these tests, in place of the host's own.
void* HostAlloc(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    if (!MayAllocate()) return nullptr;
    const auto bytes = static_cast<size_t>(std::max<int64_t>(size * count, 1));
    void* block = Count(std::malloc(bytes));
    if (block != nullptr) std::memset(block, 0xCD, bytes);
    return block;
}

void* HostAllocZeroed(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    return MayAllocate() ? Count(std::calloc(1, static_cast<size_t>(std::max<int64_t>(size * count, 1)))) : nullptr;
}

void HostFree(void* block, int32_t, const ZvChar*) noexcept {
    if (block != nullptr) --liveBlocks;
    std::free(block);
}

void* HostRealloc(void* block, int64_t size, int32_t, const ZvChar*) noexcept {
    if (!MayAllocate()) return nullptr;
    if (block == nullptr) ++liveBlocks;
    return std::realloc(block, static_cast<size_t>(std::max<int64_t>(size, 1)));
}

namespace zv::test {
namespace {

class MemoryFailures : public ImageFolder {
protected:
    /// `work` with the n-th allocation and all behind it failing, for every n, until it needs no more.
    /// `check` sees each failure.
    static int64_t FailEach(const std::function<int32_t()>& work, const std::function<void(int32_t)>& check,
                            int32_t success = CLR_SUCCESS) {
        for (int64_t n = 0; n < 1000; ++n) {
            SCOPED_TRACE(n);
            const int64_t before = liveBlocks;
            allocationsLeft = n;
            isFailing = true;
            const int32_t result = work();
            isFailing = false;
            EXPECT_EQ(before, liveBlocks) << "leaked";
            if (result == success) {
                EXPECT_EQ(0, allocationsLeft) << "an allocation was not needed";
                return n;
            }
            check(result);
            if (HasFatalFailure()) return -1;
        }
        ADD_FAILURE() << "it never succeeds";
        return -1;
    }
    static void ExpectNoMemory(int32_t result) { EXPECT_EQ(ERR_NO_MEMORY, result); }

    std::function<void(int32_t)> FileStays(const fs::path& path) const {
        return [this, path, content = ContentOf(path), names = Names()](int32_t result) {
            EXPECT_EQ(ERR_NO_MEMORY, result);
            EXPECT_EQ(content, ContentOf(path));
            EXPECT_EQ(names, Names());
        };
    }
};

TEST_F(MemoryFailures, OpeningAStream) {
    const Wide name = WideOf(Make("file", "content"));
    EXPECT_EQ(1, FailEach(
                     [&] {
                         SetLastError(0);
                         const HostFile file = HostFileOpen(name.c_str(), 0, kHostFileRead);
                         if (file == kNoHostFile) return -static_cast<int32_t>(GetLastError());
                         HostFileClose(file);
                         return int32_t{CLR_SUCCESS};
                     },
                     [](int32_t result) { EXPECT_EQ(-static_cast<int32_t>(ERROR_NOT_ENOUGH_MEMORY), result); }));
    EXPECT_EQ(kNoHostFile, HostFileOpen(WideOf(folder_ / "missing").c_str(), 0, kHostFileRead));
    EXPECT_EQ(0, liveBlocks);
}

TEST_F(MemoryFailures, TellingTheFormat) {
    const Wide name = WideOf(Make("file", "GIF89a"));
    HostImageInfo info = {};
    EXPECT_EQ(0, FailEach([&] { return HostFileInfo(name.c_str(), &info, sizeof info, 0, nullptr); }, ExpectNoMemory))
        << "needs none";
}

TEST_F(MemoryFailures, LoadingMarkers) {
    const Wide name =
        WideOf(Make("file", kStart + App0() + Icc(Noise(5000, 1)) + App1() + Icc(Noise(60000, 2)) + Scan()));
    const int64_t needed = FailEach(
        [&] {
            HostMarkers set = nullptr;
            const int32_t result = HostLoadMarkers(name.c_str(), &set, 0);
            EXPECT_EQ(result == CLR_SUCCESS, set != nullptr);
            HostFreeMarkers(set);
            return result;
        },
        ExpectNoMemory);
    EXPECT_GE(needed, 3);
    for (const std::string& damaged : {kStart + App0() + Icc("cut").substr(0, 10), "GIF89a"s}) {
        HostMarkers set = nullptr;
        EXPECT_EQ(ERR_FILE_READ, HostLoadMarkers(WideOf(Make("damaged", damaged)).c_str(), &set, 0));
        EXPECT_EQ(nullptr, set);
        EXPECT_EQ(0, liveBlocks);
    }
}

TEST_F(MemoryFailures, InsertingMarkersKeepsThoseBefore) {
    HostMarkers set = nullptr;
    EXPECT_EQ(1, FailEach(
                     [&] {
                         const int32_t result = HostCreateMarkers(&set);
                         if (result == CLR_SUCCESS) HostFreeMarkers(set);
                         return result;
                     },
                     ExpectNoMemory));
    ASSERT_EQ(CLR_SUCCESS, HostCreateMarkers(&set));
    const std::string first = Noise(100, 1);
    const std::string second = Noise(60000, 2);
    ASSERT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 100, BytesOf(first)));
    isFailing = true;
    allocationsLeft = 0;
    EXPECT_EQ(ERR_NO_MEMORY, HostInsertMarker(set, -1, 0xE3, 60000, BytesOf(second)));
    isFailing = false;
    ASSERT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE4, 60000, BytesOf(second)));
    MarkerList list;
    HostEnumMarkers(
        set, 0,
        [](uint32_t id, uint32_t length, const uint8_t* data, void* user) -> int32_t {
            static_cast<MarkerList*>(user)->emplace_back(id, std::string(reinterpret_cast<const char*>(data), length));
            return CLR_SUCCESS;
        },
        &list);
    EXPECT_EQ((MarkerList{{0xE2, first}, {0xE4, second}}), list);
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
    EXPECT_EQ(0, liveBlocks);
}

TEST_F(MemoryFailures, InsertingManyMarkersTakesFewAllocations) {
    const int64_t needed = FailEach(
        [] {
            HostMarkers set = nullptr;
            int32_t result = HostCreateMarkers(&set);
            for (int i = 0; result == CLR_SUCCESS && i < 2000; ++i) {
                result = HostInsertMarker(set, -1, 0xE2, 4, BytesOf("data"));
            }
            if (set != nullptr) HostFreeMarkers(set);
            return result;
        },
        ExpectNoMemory);
    EXPECT_LT(needed, 20) << "room grows by doubling";
}

SAVEFILEOPTION WithBackup(const fs::path& backup) {
    SAVEFILEOPTION options = {};
    options.size = sizeof options;
    const Wide name = WideOf(backup);
    std::copy_n(name.c_str(), std::min<size_t>(name.size(), CLR_NAME_LENGTH - 1), options.backupName);
    return options;
}

TEST_F(MemoryFailures, RewritingMarkers) {
    const fs::path path = Make("file.jpg", kStart + App0() + Icc("old") + Tables() + Scan(300000));
    const SAVEFILEOPTION options = WithBackup(folder_ / "backup");
    const int64_t needed = FailEach([&] { return SaveProfile(path, Noise(1000, 1), &options); }, FileStays(path));
    EXPECT_GE(needed, 4);
    EXPECT_EQ(kStart + App0() + Icc(Noise(1000, 1)) + Tables() + Scan(300000), ContentOf(path));
}

TEST_F(MemoryFailures, ReadingAndSettingATag) {
    const std::string directory = "\1\0\x00\x01\x04\0\1\0\0\0\x0A\0\0\0\0\0\0\0"s;
    const fs::path path = Make("file.tif", "II\x2A\0\x08\0\0\0"s + directory + Noise(300000, 1));
    const Wide name = WideOf(path);
    const std::string profile = Noise(1000, 2);
    const SAVEFILEOPTION options = WithBackup(folder_ / "backup");
    const int64_t needed = FailEach(
        [&] {
            int32_t result = HostSetFileTag(34675, 7, profile.size(), BytesOf(profile));
            if (result == CLR_SUCCESS) result = HostRewriteFileTags(name.c_str(), &options);
            HostSetFileTag(0, 0, 0, nullptr);
            return result;
        },
        FileStays(path));
    EXPECT_GE(needed, 3);
    std::string read(profile.size(), '\0');
    EXPECT_EQ(1, FailEach(
                     [&] {
                         uint16_t type = 0;
                         uint64_t count = read.size();
                         return HostReadFileTag(name.c_str(), 34675, &type, &count,
                                                reinterpret_cast<uint8_t*>(read.data()), nullptr);
                     },
                     ExpectNoMemory));
    EXPECT_EQ(profile, read);
}

TEST_F(MemoryFailures, WideningStrings) {
    EXPECT_EQ(1, FailEach(
                     [] {
                         Zv_A2W text;
                         const int32_t result = text.Convert("name");
                         EXPECT_EQ(result == CLR_SUCCESS, text.Value() != nullptr);
                         return result;
                     },
                     ExpectNoMemory));
    Zv_A2W text;
    ASSERT_EQ(CLR_SUCCESS, text.Convert("name"));
    isFailing = true;
    allocationsLeft = 0;
    EXPECT_EQ(ERR_NO_MEMORY, text.Convert("another"));
    EXPECT_EQ(nullptr, text.Value()) << "the old text is gone";
    SAVEFILEOPTIONA narrow = {};
    narrow.size = sizeof narrow;
    SAVEFILEOPTION_Conv conversion(&narrow);
    EXPECT_EQ(CLR_SUCCESS, conversion.Begin()) << "needs none";
    isFailing = false;
}

}  // namespace
}  // namespace zv::test
