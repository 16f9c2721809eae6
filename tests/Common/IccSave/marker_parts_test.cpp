// The parts of a profile in a JPEG file: how it is divided, and what happens when a step fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "tests/Common/IccSave/save_fixture.h"

namespace zv::test {
namespace {

const std::string kIdentifier = std::string("ICC_PROFILE\0", 12);

/// A plain second dividing.
std::vector<std::string> PartsOf(const std::string& profile) {
    const size_t count = (profile.size() + 65518) / 65519;
    std::vector<std::string> parts;
    size_t at = 0;
    for (size_t number = 1; number <= count; ++number) {
        const size_t left = profile.size() - at;
        const size_t length = left < 65533 ? left : 65519;
        parts.push_back(kIdentifier + static_cast<char>(number % 256) + static_cast<char>(count % 256) +
                        profile.substr(at, length));
        at += length;
    }
    return parts;
}

class IccSaveMarkers : public ::testing::Test {
protected:
    IccSaveMarkers() { script_.format = kSavedMarkerFormat; }

    std::vector<size_t> LengthsOf(const std::string& profile) {
        ImageScript* const script = &script_;
        const size_t before = script->CallsOf("HostInsertMarker").size();
        const SavedProfile saved(profile);
        EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, saved.Get(), nullptr));
        const std::vector<std::string> parts = PartsOf(profile);
        const std::vector<ImageCall> calls = script->CallsOf("HostInsertMarker");
        EXPECT_EQ(parts.size(), calls.size() - before) << profile.size();
        std::vector<size_t> lengths;
        for (size_t i = 0; i < std::min(parts.size(), calls.size() - before); ++i) {
            const ImageCall& call = calls[before + i];
            EXPECT_EQ(226U, call.first);
            EXPECT_EQ(parts[i].size(), call.second) << profile.size() << ' ' << i;
            EXPECT_TRUE(parts[i] == call.data) << profile.size() << ' ' << i;
            lengths.push_back(call.second - 14);
        }
        return lengths;
    }

    HostScope host_;
    ImageScript script_;
    SAVEFILEOPTION options_ = {};
};

using Lengths = std::vector<size_t>;

TEST_F(IccSaveMarkers, CallsAndTheirArguments) {
    const SavedProfile profile(ProfileBytes(65533));
    EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), &options_));
    ASSERT_EQ(
        "HostFileInfo HostCreateMarkers HostInsertMarker HostInsertMarker HostSetSaveMarkers HostSetSaveMarkers "
        "HostRewriteFile HostSetSaveMarkers HostFreeMarkers",
        script_.Operations());
    const std::vector<ImageCall>& calls = script_.Calls();
    const void* set = calls[2].set;
    EXPECT_NE(nullptr, set);
    EXPECT_EQ(set, calls[3].set);
    EXPECT_EQ(nullptr, calls[4].set);
    EXPECT_EQ(set, calls[5].set);
    EXPECT_EQ(kSavedText, calls[6].name);
    EXPECT_EQ(4U, calls[6].first);
    EXPECT_EQ(&options_, calls[6].options);
    EXPECT_EQ(nullptr, calls[7].set);
    EXPECT_EQ(set, calls[8].set);
    EXPECT_EQ(nullptr, script_.CurrentMarkers());
    EXPECT_EQ(0U, script_.LiveMarkers());
}

TEST_F(IccSaveMarkers, NoOptionsStayNone) {
    const SavedProfile profile("profile");
    EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
    for (const ImageCall& call : script_.Calls()) EXPECT_EQ(nullptr, call.options) << call.operation;
}

TEST_F(IccSaveMarkers, WorkedSizes) {
    EXPECT_EQ((Lengths{1}), LengthsOf(ProfileBytes(1)));
    EXPECT_EQ((Lengths{65518}), LengthsOf(ProfileBytes(65518)));
    EXPECT_EQ((Lengths{65519}), LengthsOf(ProfileBytes(65519)));
    EXPECT_EQ((Lengths{65520, 0}), LengthsOf(ProfileBytes(65520)));
    EXPECT_EQ((Lengths{65525, 0}), LengthsOf(ProfileBytes(65525)));
    EXPECT_EQ((Lengths{65532, 0}), LengthsOf(ProfileBytes(65532)));
    EXPECT_EQ((Lengths{65519, 14}), LengthsOf(ProfileBytes(65533)));
    EXPECT_EQ((Lengths{65519, 65519}), LengthsOf(ProfileBytes(131038)));
    EXPECT_EQ((Lengths{65519, 65520, 0}), LengthsOf(ProfileBytes(131039)));
    EXPECT_EQ((Lengths{65519, 65532, 0}), LengthsOf(ProfileBytes(131051)));
    EXPECT_EQ((Lengths{65519, 65519, 14}), LengthsOf(ProfileBytes(131052)));
}

TEST_F(IccSaveMarkers, EverySizeAroundTheTwoLimits) {
    for (size_t size = 65519 - 3; size <= 65533 + 3; ++size) {
        LengthsOf(ProfileBytes(size));
        LengthsOf(ProfileBytes(size + 65519));
    }
    LengthsOf(ProfileBytes(65519 * 3 + 13));
    LengthsOf(ProfileBytes(65519 * 3 + 14));
}

TEST_F(IccSaveMarkers, AnImageOfNoBytesHasNoParts) {
    SavedProfile profile("x");
    profile->profileSize = 0;
    for (uint8_t* data : {const_cast<uint8_t*>(profile.Data()), static_cast<uint8_t*>(nullptr)}) {
        profile->profileData = data;
        EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
    }
    EXPECT_TRUE(script_.CallsOf("HostInsertMarker").empty());
    EXPECT_EQ(2U, script_.CallsOf("HostRewriteFile").size());
}

TEST_F(IccSaveMarkers, NumbersWrapBeyond255) {
    const auto numbers = [&](size_t part) {
        const std::string data = script_.CallsOf("HostInsertMarker")[part - 1].data;
        return std::pair{static_cast<unsigned char>(data[12]), static_cast<unsigned char>(data[13])};
    };
    const std::string profile = ProfileBytes(300 * 65519);
    const Lengths lengths = LengthsOf(profile);
    ASSERT_EQ(300U, lengths.size());
    EXPECT_EQ((std::pair<unsigned char, unsigned char>{255, 44}), numbers(255));
    EXPECT_EQ((std::pair<unsigned char, unsigned char>{0, 44}), numbers(256));
    EXPECT_EQ((std::pair<unsigned char, unsigned char>{44, 44}), numbers(300));
}

TEST_F(IccSaveMarkers, TheCountsWrapAt256) {
    const auto counts = [&](size_t size) {
        ImageScript* const script = &script_;
        const size_t before = script->CallsOf("HostInsertMarker").size();
        const Lengths lengths = LengthsOf(ProfileBytes(size));
        EXPECT_EQ(size % 65519 == 0 ? 65519U : 0U, lengths.back());
        return std::pair{lengths.size(),
                         static_cast<unsigned char>(script->CallsOf("HostInsertMarker")[before].data[13])};
    };
    EXPECT_EQ((std::pair<size_t, unsigned char>{255, 255}), counts(255 * 65519));
    EXPECT_EQ((std::pair<size_t, unsigned char>{256, 0}), counts(255 * 65519 + 1));
}

TEST_F(IccSaveMarkers, TheBufferFitsTheLongestPart) {
    for (const size_t size : {size_t{0}, size_t{1}, size_t{65519}, size_t{65533}, size_t{65519 * 4}}) {
        host_->Reset();
        SavedProfile profile(ProfileBytes(size));
        EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
        ASSERT_EQ(1, host_->AllocationsSinceReset());
        EXPECT_EQ("HostAlloc", host_->Calls()[0].operation);
        EXPECT_EQ(65533U, host_->Calls()[0].size) << size;
        EXPECT_EQ(u"Common\\IccSave", host_->Calls()[0].file);
    }
    for (const size_t extra : {1U, 5U, 6U, 13U}) {
        host_->Reset();
        SavedProfile profile(ProfileBytes(2 * 65519 + extra));
        EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
        EXPECT_EQ(65519 + 14 + extra, host_->Calls()[0].size) << "as long as the part and its head";
    }
}

// --- Failures -------------------------------------------------------------------------------------------------------

/// One call that fails, and what is called until then; the set goes and what it was set for is clear.
void ExpectEnd(const char* operation, int32_t n, const std::string& operations) {
    for (const int32_t result : {int32_t{ERR_FILE_WRITE}, -4711, 0, 2}) {
        const HostScope host;
        ImageScript script;
        script.format = kSavedMarkerFormat;
        script.Answer(operation, result, n);
        const SavedProfile profile(ProfileBytes(65533));
        EXPECT_EQ(result, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr)) << operation << ' ' << n;
        EXPECT_EQ(operations, script.Operations()) << operation << ' ' << n;
        EXPECT_EQ(0U, script.LiveMarkers()) << operation << ' ' << n;
        EXPECT_EQ(nullptr, script.CurrentMarkers()) << operation << ' ' << n;
    }
}

TEST(IccSaveMarkersFailing, EndsTheSaveWithTheSetReleased) {
    const std::string start = "HostFileInfo HostCreateMarkers ";
    const std::string end = "HostFreeMarkers";
    ExpectEnd("HostInsertMarker", 1, start + "HostInsertMarker " + end);
    const std::string inserted = start + "HostInsertMarker HostInsertMarker ";
    ExpectEnd("HostInsertMarker", 2, inserted + end);
    ExpectEnd("HostSetSaveMarkers", 1, inserted + "HostSetSaveMarkers " + end);
    const std::string set = inserted + "HostSetSaveMarkers HostSetSaveMarkers ";
    ExpectEnd("HostSetSaveMarkers", 2, set + end);
    ExpectEnd("HostRewriteFile", 1, set + "HostRewriteFile " + end);
    ExpectEnd("HostSetSaveMarkers", 3, set + "HostRewriteFile HostSetSaveMarkers " + end);
    ExpectEnd("HostFreeMarkers", 1, set + "HostRewriteFile HostSetSaveMarkers " + end);
}

TEST(IccSaveMarkersFailing, WithoutASetWhatIsThereOfItIsReleased) {
    for (const int32_t result : {int32_t{ERR_NO_MEMORY}, -4711, 0, 2}) {
        const HostScope host;
        ImageScript script;
        script.format = kSavedMarkerFormat;
        script.Answer("HostCreateMarkers", result);
        script.Answer("HostFreeMarkers", -99);
        const SavedProfile profile("profile");
        EXPECT_EQ(result, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
        EXPECT_EQ("HostFileInfo HostCreateMarkers HostFreeMarkers", script.Operations());
        EXPECT_EQ(nullptr, script.Calls()[2].set);
        EXPECT_EQ(0, host->AllocationsSinceReset());
    }
}

TEST(IccSaveMarkersFailing, TheFirstFailureIsTheResult) {
    for (const char* operation : {"HostInsertMarker", "HostSetSaveMarkers", "HostRewriteFile"}) {
        const HostScope host;
        ImageScript script;
        script.format = kSavedMarkerFormat;
        script.Answer(operation, ERR_FILE_WRITE);
        script.Answer("HostFreeMarkers", -99);
        const SavedProfile profile("profile");
        EXPECT_EQ(ERR_FILE_WRITE, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr)) << operation;
    }
}

TEST(IccSaveMarkersFailing, TheReleasesResultIsPassedOn) {
    for (const int32_t result : {int32_t{ERR_FAILURE}, 0, 2, 8, INT32_MIN}) {
        const HostScope host;
        ImageScript script;
        script.format = kSavedMarkerFormat;
        script.Answer("HostFreeMarkers", result);
        const SavedProfile profile("profile");
        EXPECT_EQ(result, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
    }
}

TEST(IccSaveMarkersFailing, WithoutMemoryForThePartsIs8AndTheSetStays) {
    for (const size_t size : {0U, 7U, 65525U, 200000U}) {
        const HostScope host;
        ImageScript script;
        script.format = kSavedMarkerFormat;
        const SavedProfile profile(ProfileBytes(size));
        host->FailAllocation(1);
        EXPECT_EQ(8, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
        EXPECT_EQ("HostFileInfo HostCreateMarkers", script.Operations());
        EXPECT_EQ(1U, script.LiveMarkers());
        host->FailAllocation(2);
        EXPECT_EQ(CLR_SUCCESS, Zv_SaveICCProfile(kSavedName, profile.Get(), nullptr));
    }
}

}  // namespace
}  // namespace zv::test
