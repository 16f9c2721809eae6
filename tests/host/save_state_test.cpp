// What is set for the next save has one owner at a time.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/host/jpeg_files.h"

#ifndef _WIN32
#    include <sys/wait.h>
#    include <unistd.h>
#endif

namespace zv::test {
namespace {

class SaveStates : public ImageFolder {
protected:
    /// Runs `work` on another thread, which has to wait for this one until `release` has run.
    template <class Work, class Release>
    static void ExpectToWait(Work work, Release release) {
        std::atomic<bool> started = false;
        std::atomic<bool> done = false;
        std::thread other([&] {
            started = true;
            work();
            done = true;
        });
        while (!started) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_FALSE(done) << "it did not wait";
        release();
        other.join();
    }
    /// Another thread gets in at once; this would hang otherwise.
    static void ExpectFree() {
        std::thread([] {
            EXPECT_EQ(CLR_SUCCESS, HostSetFileTag(1, 1, 1, BytesOf("x")));
            EXPECT_EQ(CLR_SUCCESS, HostSetFileTag(0, 0, 0, nullptr));
        }).join();
    }
    static HostMarkers MakeSet() {
        HostMarkers set = nullptr;
        EXPECT_EQ(CLR_SUCCESS, HostCreateMarkers(&set));
        return set;
    }
    static int32_t SetTag() {
        static constexpr uint8_t kData[] = {1, 2, 3};
        return HostSetFileTag(34675, 7, sizeof kData, kData);
    }
    static int32_t ClearTag() { return HostSetFileTag(0, 0, 0, nullptr); }
};

TEST_F(SaveStates, OthersWaitUntilMarkersAreCleared) {
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    ExpectToWait(
        [] {
            EXPECT_EQ(CLR_SUCCESS, SetTag());
            EXPECT_EQ(CLR_SUCCESS, ClearTag());
        },
        [] { EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0)); });
    HostFreeMarkers(set);
    ExpectFree();
}

TEST_F(SaveStates, OthersWaitUntilTagsAreCleared) {
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    ExpectToWait(
        [set] {
            EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
            EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
        },
        [] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); });
    HostFreeMarkers(set);
    ExpectFree();
}

TEST_F(SaveStates, ClearingWaitsAsWell) {
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    ExpectToWait([] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); }, [] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); });
    ExpectFree();
}

TEST_F(SaveStates, BothKindsHaveToBeCleared) {
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
    ExpectToWait([] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); }, [] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); });
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    ASSERT_EQ(CLR_SUCCESS, ClearTag());
    ExpectToWait([] { EXPECT_EQ(CLR_SUCCESS, ClearTag()); },
                 [] { EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0)); });
    HostFreeMarkers(set);
    ExpectFree();
}

TEST_F(SaveStates, SetTwiceIsClearedOnce) {
    HostMarkers first = MakeSet();
    HostMarkers second = MakeSet();
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(first, 0));
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(second, 0));
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
    ExpectFree();
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0)) << "nothing is there to clear";
    ExpectFree();
    EXPECT_EQ(CLR_SUCCESS, ClearTag());
    ExpectFree();
    HostFreeMarkers(first);
    HostFreeMarkers(second);
}

TEST_F(SaveStates, RefusedTagsTakeNothing) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostSetFileTag(34675, 3, 4, BytesOf("data")));
    ExpectFree();
}

TEST_F(SaveStates, OfOneThreadAreNotTheOthers) {
    const std::string content = kStart + Scan();
    const fs::path path = Make("file.jpg", content);
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 4, BytesOf("data")));
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    std::thread([&] {
        EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFile(WideOf(path).c_str(), 4, nullptr));
        EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFileTags(WideOf(path).c_str(), nullptr));
    }).join();
    EXPECT_EQ(content, ContentOf(path));
    EXPECT_EQ(CLR_SUCCESS, HostRewriteFile(WideOf(path).c_str(), 4, nullptr));
    EXPECT_EQ(kStart + Segment(0xE2, "data") + Scan(), ContentOf(path));
    EXPECT_EQ(CLR_SUCCESS, ClearTag());
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
    HostFreeMarkers(set);
}

TEST_F(SaveStates, MarkersOutliveARewriteAndATagToo) {
    const fs::path path = Make("file.jpg", kStart + Scan());
    const fs::path other = Make("other.jpg", kStart + App0() + Scan());
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostInsertMarker(set, -1, 0xE2, 4, BytesOf("data")));
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    EXPECT_EQ(CLR_SUCCESS, HostRewriteFile(WideOf(path).c_str(), 4, nullptr));
    EXPECT_EQ(CLR_SUCCESS, HostRewriteFile(WideOf(other).c_str(), 4, nullptr));
    EXPECT_EQ(kStart + Segment(0xE2, "data") + Scan(), ContentOf(path));
    EXPECT_EQ(kStart + App0() + Segment(0xE2, "data") + Scan(), ContentOf(other));
    EXPECT_EQ(CLR_SUCCESS, HostSetSaveMarkers(nullptr, 0));
    HostFreeMarkers(set);
}

TEST_F(SaveStates, FreeingTheCurrentMarkersClearsThem) {
    const fs::path path = Make("file.jpg", kStart + Scan());
    HostMarkers set = MakeSet();
    HostMarkers other = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(other));
    EXPECT_EQ(CLR_SUCCESS, HostRewriteFile(WideOf(path).c_str(), 4, nullptr)) << "another's release leaves them";
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
    EXPECT_EQ(ERR_INVALID_PARAMETER, HostRewriteFile(WideOf(path).c_str(), 4, nullptr));
    ExpectFree();
}

TEST_F(SaveStates, FreeingMarkersWhileATagIsSetKeepsTheTag) {
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
    EXPECT_EQ(ERR_FILE_OPEN, HostRewriteFileTags(WideOf(folder_ / "missing").c_str(), nullptr)) << "the tag is set";
    EXPECT_EQ(CLR_SUCCESS, ClearTag());
    ExpectFree();
}

#ifndef _WIN32
TEST_F(SaveStates, ChildrenBeginWithNothingSet) {
    // Whoever has set something here is not there.
    const auto inChild = [this] {
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            int failures = HostRewriteFileTags(WideOf(folder_ / "missing").c_str(), nullptr) != ERR_INVALID_PARAMETER;
            failures += SetTag() != CLR_SUCCESS;
            failures += HostRewriteFileTags(WideOf(folder_ / "missing").c_str(), nullptr) != ERR_FILE_OPEN;
            failures += ClearTag() != CLR_SUCCESS;
            failures += HostRewriteFile(WideOf(folder_ / "missing").c_str(), 4, nullptr) != ERR_INVALID_PARAMETER;
            _exit(failures);
        }
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status)) << "it waits for ever";
        EXPECT_EQ(0, WEXITSTATUS(status));
    };
    HostMarkers set = MakeSet();
    ASSERT_EQ(CLR_SUCCESS, HostSetSaveMarkers(set, 0));
    ASSERT_EQ(CLR_SUCCESS, SetTag());
    inChild();
    std::thread(inChild).join();
    EXPECT_EQ(ERR_FILE_OPEN, HostRewriteFileTags(WideOf(folder_ / "missing").c_str(), nullptr)) << "set here still";
    ASSERT_EQ(CLR_SUCCESS, ClearTag());
    EXPECT_EQ(CLR_SUCCESS, HostFreeMarkers(set));
    inChild();
    ExpectFree();
}
#endif

// --- Narrow save options -------------------------------------------------------------------------------------------

SAVEFILEOPTIONA Narrow(const std::string& backup) {
    SAVEFILEOPTIONA options = {};
    options.size = sizeof options;
    std::copy_n(backup.begin(), std::min(backup.size(), sizeof options.backupName), options.backupName);
    return options;
}

TEST(SaveOptions, AreWideFromBeginToEnd) {
    const SAVEFILEOPTIONA narrow = Narrow("folder/backup.jpg");
    SAVEFILEOPTION_Conv conversion(&narrow);
    EXPECT_EQ(nullptr, conversion.ValueW()) << "not begun";
    ASSERT_EQ(CLR_SUCCESS, conversion.Begin());
    ASSERT_NE(nullptr, conversion.ValueW());
    EXPECT_EQ(sizeof(SAVEFILEOPTION), conversion.ValueW()->size);
    EXPECT_EQ(Wide(ZV_WIDE("folder/backup.jpg")), conversion.ValueW()->backupName);
    conversion.End();
    EXPECT_EQ(nullptr, conversion.ValueW());
    EXPECT_EQ(CLR_SUCCESS, conversion.Begin()) << "once more";
    EXPECT_NE(nullptr, conversion.ValueW());
}

TEST(SaveOptions, NoneStayNone) {
    SAVEFILEOPTION_Conv conversion(nullptr);
    EXPECT_EQ(CLR_SUCCESS, conversion.Begin());
    EXPECT_EQ(nullptr, conversion.ValueW());
    conversion.End();
}

TEST(SaveOptions, LongestName) {
    const SAVEFILEOPTIONA narrow = Narrow(std::string(CLR_NAME_LENGTH - 1, 'n'));
    SAVEFILEOPTION_Conv conversion(&narrow);
    ASSERT_EQ(CLR_SUCCESS, conversion.Begin());
    EXPECT_EQ(Wide(CLR_NAME_LENGTH - 1, ZvChar{'n'}), conversion.ValueW()->backupName);
}

TEST(SaveOptions, ThatAreRefused) {
    const auto begin = [](const SAVEFILEOPTIONA* options) {
        SAVEFILEOPTION_Conv conversion(options);
        const int32_t result = conversion.Begin();
        EXPECT_EQ(nullptr, conversion.ValueW());
        return result;
    };
    SAVEFILEOPTIONA narrow = Narrow("backup");
    for (const uint32_t size : {0U, static_cast<uint32_t>(sizeof narrow) - 1, static_cast<uint32_t>(sizeof narrow) + 1,
                                static_cast<uint32_t>(sizeof(SAVEFILEOPTION))}) {
        narrow.size = size;
        EXPECT_EQ(ERR_STRUCT_SIZE, begin(&narrow)) << size;
    }
    narrow = Narrow(std::string(CLR_NAME_LENGTH, 'n'));
    EXPECT_EQ(ERR_INVALID_PARAMETER, begin(&narrow)) << "a name without end";
    EXPECT_EQ(ERR_BAD_POINTER, begin(reinterpret_cast<const SAVEFILEOPTIONA*>(uintptr_t{16})));
#ifndef _WIN32
    narrow = Narrow("\xFF\xFE");
    EXPECT_EQ(ERR_FAILURE, begin(&narrow)) << "no UTF-8";
#endif
}

TEST(SaveOptions, AFailureForgetsWhatWasThere) {
    SAVEFILEOPTIONA narrow = Narrow("backup");
    SAVEFILEOPTION_Conv conversion(&narrow);
    ASSERT_EQ(CLR_SUCCESS, conversion.Begin());
    narrow.size = 0;
    EXPECT_EQ(ERR_STRUCT_SIZE, conversion.Begin());
    EXPECT_EQ(nullptr, conversion.ValueW());
}

}  // namespace
}  // namespace zv::test
