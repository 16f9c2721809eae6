// Profiles in the APP2 markers of a JPEG file.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/Common/IccLoad/load_fixture.h"
#include "tests/support/guarded_buffer.h"

namespace zv::test {
namespace {

const std::string kIdentifier = std::string("ICC_PROFILE\0", 12);

std::string Part(char number, char count, const std::string& data) { return kIdentifier + number + count + data; }

class IccLoadMarkers : public ::testing::Test {
protected:
    IccLoadMarkers() { script_.format = kMarkerFormat; }

    /// The callback on a marker whose data end before a page that cannot be read.
    int32_t Call(uint32_t id, const std::string& data) {
        const GuardedBuffer guarded(data.size() + 1);
        std::copy(data.begin(), data.end(), guarded.Data() + 1);
        return IccMarkerCallback(id, static_cast<uint32_t>(data.size()), guarded.Data() + 1, profile_.Get());
    }

    HostScope host_;
    ImageScript script_;
    LoadedProfile profile_;
};

TEST_F(IccLoadMarkers, CallsAndTheirArguments) {
    script_.markers = {{226, Part(1, 1, "profile")}};
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), Load(script_, &profile_, &script_));
    ASSERT_EQ("HostFileInfo HostFileOpen HostLoadMarkers HostEnumMarkers HostFreeMarkers HostFileClose",
              script_.Operations());
    EXPECT_EQ(kImageText, script_.Calls()[2].name);
    const ImageCall walk = script_.Calls()[3];
    EXPECT_NE(nullptr, walk.set);
    EXPECT_EQ(&IccMarkerCallback, walk.callback);
    EXPECT_EQ(profile_.Get(), walk.pointer);
    EXPECT_EQ(walk.set, script_.Calls()[4].set);
    EXPECT_EQ(0, script_.Position()) << "the stream is not read";
}

TEST_F(IccLoadMarkers, AreJoinedInTheOrderOfTheFile) {
    script_.markers = {{225, "Exif"}, {226, Part(2, 2, "second")}, {224, "JFIF"}, {226, Part(1, 2, "first")}};
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "secondfirst"}), Load(script_));
}

TEST_F(IccLoadMarkers, NumbersAreNotLookedAt) {
    script_.markers = {{226, Part(7, 3, "a")}, {226, Part(7, 0, "b")}, {226, Part(0, 9, "c")}, {226, Part(-1, 1, "d")}};
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "abcd"}), Load(script_));
}

TEST_F(IccLoadMarkers, AllBytesOfLongParts) {
    const std::string profile = SomeBytes(3 * 65519 + 1000);
    for (char i = 0; i < 4; ++i) {
        script_.markers.push_back(
            {226, Part(static_cast<char>(i + 1), 4, profile.substr(static_cast<size_t>(i) * 65519, 65519))});
    }
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, profile}), Load(script_));
}

TEST_F(IccLoadMarkers, AFileWithoutAnyHasNoProfile) {
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), Load(script_));
    ImageMarker other{225, Part(1, 1, "profile")};
    script_.markers = {other, {226, "MPF"}, {226, ""}, {226, kIdentifier}, {226, kIdentifier + '\1'}};
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}), Load(script_));
}

TEST_F(IccLoadMarkers, OfAnotherNumberAreNotReadAtAll) {
    for (const uint32_t id : {0U, 1U, 34U, 224U, 225U, 227U, 254U, 226U + 256U, UINT32_MAX}) {
        EXPECT_EQ(1, IccMarkerCallback(id, 1000, nullptr, nullptr)) << id;
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccLoadMarkers, OfTwelveBytesAndFewerAreNotReadAtAll) {
    for (uint32_t length = 0; length <= 12; ++length) {
        EXPECT_EQ(1, IccMarkerCallback(226, length, nullptr, nullptr)) << length;
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(IccLoadMarkers, OfThirteenBytesAddNothing) {
    EXPECT_EQ(1, Call(226, kIdentifier + '\1'));
    EXPECT_FALSE(profile_.HasData());
    EXPECT_EQ(0U, profile_.Size());
    profile_.Give("abc");
    EXPECT_EQ(1, Call(226, kIdentifier + '\1'));
    EXPECT_EQ("abc", profile_.Bytes());
}

TEST_F(IccLoadMarkers, OfFourteenBytesAddABlockOfNone) {
    EXPECT_EQ(1, Call(226, Part(1, 1, "")));
    EXPECT_TRUE(profile_.HasData());
    EXPECT_EQ(0U, profile_.Size());
    script_.markers = {{226, Part(1, 1, "")}};
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, ""}), Load(script_));
    script_.markers = {{226, Part(1, 3, "a")}, {226, Part(2, 3, "")}, {226, Part(3, 3, "b")}};
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "ab"}), Load(script_));
}

TEST_F(IccLoadMarkers, OfFifteenBytesAddOne) {
    EXPECT_EQ(1, Call(226, Part(1, 1, "z")));
    EXPECT_EQ("z", profile_.Bytes());
}

TEST_F(IccLoadMarkers, EveryByteOfTheIdentifierCounts) {
    for (size_t i = 0; i < kIdentifier.size(); ++i) {
        for (const int change : {1, 32, 128}) {
            std::string data = Part(1, 1, "profile");
            data[i] = static_cast<char>(data[i] ^ change);
            EXPECT_EQ(1, Call(226, data)) << i;
            EXPECT_FALSE(profile_.HasData()) << i;
        }
    }
    EXPECT_EQ(1, Call(226, Part(1, 1, "profile")));
    EXPECT_EQ("profile", profile_.Bytes());
}

TEST_F(IccLoadMarkers, ThatCannotBeReadComeBackAsTheLibrarySays) {
    script_.markers = {{226, Part(1, 1, "profile")}};
    for (const int32_t result : {int32_t{ERR_FILE_READ}, -4711, 0, 2}) {
        const size_t calls = script_.Calls().size();
        script_.Answer("HostLoadMarkers", result);
        EXPECT_EQ((LoadOutcome{result, false, ""}), Load(script_));
        EXPECT_EQ(calls + 4, script_.Calls().size()) << "no walk, nothing to release";
    }
    EXPECT_TRUE(script_.CallsOf("HostEnumMarkers").empty());
    EXPECT_TRUE(script_.CallsOf("HostFreeMarkers").empty());
}

TEST_F(IccLoadMarkers, TheResultIsTheWalksAndTheSetIsReleased) {
    for (const int32_t result : {int32_t{ERR_FAILURE}, -4711, 0, 2}) {
        ImageScript* const script = &script_;
        script->Answer("HostEnumMarkers", result);
        const size_t calls = script->CallsOf("HostFreeMarkers").size();
        EXPECT_EQ((LoadOutcome{result, false, ""}), Load(*script));
        EXPECT_EQ(calls + 1, script->CallsOf("HostFreeMarkers").size());
    }
}

TEST_F(IccLoadMarkers, TheReleasesResultIsNotLookedAt) {
    script_.markers = {{226, Part(1, 1, "profile")}};
    for (const int32_t result : {int32_t{ERR_FAILURE}, 0, 2}) {
        script_.Answer("HostFreeMarkers", result);
        EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), Load(script_));
    }
}

TEST_F(IccLoadMarkers, WithoutMemoryTheWalkEnds) {
    script_.markers = {{226, Part(1, 3, "a")}, {226, Part(2, 3, "b")}, {226, Part(3, 3, "c")}};
    const std::vector<std::string> before = {"", "a", "ab"};
    for (size_t n = 0; n < 3; ++n) {
        host_->FailAllocation(static_cast<int64_t>(n) + 1);
        EXPECT_EQ((LoadOutcome{ERR_FAILURE, n > 0, before[n]}), Load(script_));
        EXPECT_EQ(ERR_FAILURE, script_.CallsOf("HostEnumMarkers").back().result);
    }
    host_->FailAllocation(4);
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "abc"}), Load(script_));
}

}  // namespace
}  // namespace zv::test
