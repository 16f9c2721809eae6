// Loading as a whole: arguments, the order of the steps, the formats, and what becomes of an earlier block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <sstream>
#include <vector>

#include "Common/embedded_profile.h"
#include "tests/Common/IccLoad/eps_text.h"
#include "tests/Common/IccLoad/load_fixture.h"

namespace zv::test {
namespace {

const std::string kChunkStream =
    std::string("\xE0\x00\x0B\x00\x00\x00\x00", 7) + "PROFILE" + std::string("\xE0\x00\x04\x00\x00\x00\x02", 7);
const std::string kPart = std::string("ICC_PROFILE\0\1\1", 14);

class IccLoad : public ::testing::Test {
protected:
    HostScope host_;
    ImageScript script_;
    LoadedProfile profile_;
    const int options_ = 0;
};

// --- Arguments ------------------------------------------------------------------------------------------------------

TEST_F(IccLoad, NullArgumentsReachNoFile) {
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_LoadICCProfile(nullptr, profile_.Get(), nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_LoadICCProfile(kImageName, nullptr, nullptr));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_LoadICCProfile(nullptr, nullptr, &options_));
    EXPECT_EQ("", script_.Operations());
}

TEST_F(IccLoad, ANullNameComesBeforeTheSize) {
    profile_->structSize = 0;
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_LoadICCProfile(nullptr, profile_.Get(), nullptr));
}

TEST_F(IccLoad, RecordsOfAnotherSizeStayAsTheyAre) {
    uint8_t block = 0;
    for (const uint32_t size : {0U, 1U, 55U, 57U, 112U, 0x38000000U, UINT32_MAX}) {
        ClrIccProfile record = {};
        record.structSize = size;
        record.profileSize = 1;
        record.profileData = &block;
        EXPECT_EQ(ERR_STRUCT_SIZE, Zv_LoadICCProfile(kImageName, &record, nullptr)) << size;
        EXPECT_EQ(&block, static_cast<uint8_t*>(record.profileData));
        EXPECT_EQ(1U, uint64_t{record.profileSize});
    }
    EXPECT_EQ("", script_.Operations());
}

TEST_F(IccLoad, OnlyTheImageOfTheRecordChanges) {
    script_.format = kTagFormat;
    script_.tag = "profile";
    ClrIccHeader header;
    ClrIccTagEntry entry;
    uint8_t body = 0;
    profile_->tagDataSize = 77;
    profile_->header = &header;
    profile_->tagCount = 5;
    profile_->tagTable = &entry;
    profile_->tagData = &body;
    EXPECT_EQ((LoadOutcome{CLR_SUCCESS, true, "profile"}), Load(script_, &profile_));
    EXPECT_EQ(56U, uint32_t{profile_->structSize});
    EXPECT_EQ(77U, uint64_t{profile_->tagDataSize});
    EXPECT_EQ(&header, static_cast<ClrIccHeader*>(profile_->header));
    EXPECT_EQ(5, int32_t{profile_->tagCount});
    EXPECT_EQ(&entry, static_cast<ClrIccTagEntry*>(profile_->tagTable));
    EXPECT_EQ(&body, static_cast<uint8_t*>(profile_->tagData));
}

// --- Formats --------------------------------------------------------------------------------------------------------

/// Numbers and runs of numbers, as "3, 85-88".
void Assign(std::map<int32_t, IccRoute>* routes, const std::string& numbers, IccRoute route) {
    std::istringstream in(numbers);
    for (std::string item; std::getline(in, item, ',');) {
        const size_t dash = item.find('-');
        const int first = std::stoi(item);
        const int last = dash == std::string::npos ? first : std::stoi(item.substr(dash + 1));
        for (int id = first; id <= last; ++id) EXPECT_TRUE(routes->emplace(id, route).second) << id;
    }
}

std::map<int32_t, IccRoute> Routes() {
    std::map<int32_t, IccRoute> routes;
    Assign(&routes, "10, 21, 23, 98, 101, 171, 172, 173", IccRoute::kMarkers);
    Assign(&routes,
           "3, 17, 22, 24, 85, 86, 87, 88, 93, 94, 95, 96, 97, 138, 139, 140, 141, 155, 166, 167, 174, 175, 176, 177,"
           "269-276, 315",
           IccRoute::kTag);
    Assign(&routes, "16, 63, 64, 300", IccRoute::kEps);
    Assign(&routes, "56", IccRoute::kChunks);
    Assign(&routes, "2", IccRoute::kGif);
    return routes;
}

struct RouteTrace {
    std::string operations;
    int32_t result;
};

/// What each route does with a file that is empty.
RouteTrace TraceOf(IccRoute route) {
    switch (route) {
        case IccRoute::kMarkers:
            return {"HostLoadMarkers HostEnumMarkers HostFreeMarkers ", ERR_NO_PROFILE};
        case IccRoute::kTag:
            return {"HostReadFileTag ", ERR_BAD_TAG};
        case IccRoute::kEps:
            return {"HostFileRead HostFileRead ", ERR_PROFILE_UNUSABLE};
        case IccRoute::kChunks:
            return {"HostFileRead ", ERR_PROFILE_TRUNCATED};
        case IccRoute::kGif:
        case IccRoute::kNone:
            break;
    }
    return {"", ERR_FORMAT_NO_ICC};
}

void ExpectRoute(int32_t id, IccRoute route) {
    EXPECT_EQ(route, IccRouteOf(id)) << id;
    ImageScript script;
    script.format = id;
    script.Answer("HostReadFileTag", ERR_BAD_TAG);
    const RouteTrace trace = TraceOf(route);
    EXPECT_EQ((LoadOutcome{trace.result, false, ""}), Load(script)) << id;
    EXPECT_EQ("HostFileInfo HostFileOpen " + trace.operations + "HostFileClose", script.Operations()) << id;
}

TEST(IccLoadFormats, EveryNumberHasItsRoute) {
    const HostScope host;
    const std::map<int32_t, IccRoute> routes = Routes();
    EXPECT_EQ(47U, routes.size());
    for (int32_t id = -1; id <= 400; ++id) {
        const auto found = routes.find(id);
        ExpectRoute(id, found == routes.end() ? IccRoute::kNone : found->second);
    }
}

TEST(IccLoadFormats, FarNumbersHaveNone) {
    const HostScope host;
    for (const int32_t id : {INT32_MIN, -56, -3, 266 + 256, 65536 + 10, 1001, 1002, 1011, INT32_MAX}) {
        ExpectRoute(id, IccRoute::kNone);
    }
}

// --- Order and arguments of the steps -------------------------------------------------------------------------------

TEST_F(IccLoad, TheFileIsAskedForAndOpened) {
    script_.format = kGifFormat;
    EXPECT_EQ(ERR_FORMAT_NO_ICC, Load(script_, &profile_, &options_).result);
    ASSERT_EQ("HostFileInfo HostFileOpen HostFileClose", script_.Operations());
    const ImageCall info = script_.Calls()[0];
    EXPECT_EQ(kImageText, info.name);
    EXPECT_EQ(2280U, info.first) << "the size that is given";
    EXPECT_EQ(2280U, info.second) << "the size in the record";
    EXPECT_EQ(&options_, info.options);
    const ImageCall open = script_.Calls()[1];
    EXPECT_EQ(kImageText, open.name);
    EXPECT_EQ(0U, open.first);
    EXPECT_EQ(256U, open.second);
}

TEST_F(IccLoad, NoOptionsStayNone) {
    script_.format = kTagFormat;
    script_.tag = "x";
    EXPECT_EQ(CLR_SUCCESS, Load(script_, &profile_, nullptr).result);
    for (const ImageCall& call : script_.Calls()) EXPECT_EQ(nullptr, call.options) << call.operation;
}

TEST_F(IccLoad, WhatTheFileLibrarySaysOfTheFileComesBackAtOnce) {
    for (const int32_t result :
         {int32_t{ERR_FILE_OPEN}, int32_t{ERR_FILE_READ}, int32_t{ERR_NO_PROFILE}, 0, 2, -9999, INT32_MAX}) {
        ImageScript* const script = &script_;
        script->format = kTagFormat;
        script->tag = "x";
        script->Answer("HostFileInfo", result);
        const size_t calls = script->Calls().size();
        EXPECT_EQ((LoadOutcome{result, false, ""}), Load(*script)) << result;
        EXPECT_EQ(calls + 1, script->Calls().size());
    }
}

TEST_F(IccLoad, AFileThatCannotBeOpenedComesBeforeItsFormat) {
    for (const int32_t format : {kMarkerFormat, kTagFormat, kEpsFormat, kChunkFormat, kGifFormat, 0, 1001}) {
        script_.format = format;
        script_.Answer("HostFileOpen", kNoHostFile);
        EXPECT_EQ((LoadOutcome{ERR_IMAGE_OPEN, false, ""}), Load(script_)) << format;
    }
    EXPECT_TRUE(script_.CallsOf("HostFileClose").empty());
    EXPECT_EQ(7U, script_.CallsOf("HostFileInfo").size());
    EXPECT_EQ(7U, script_.CallsOf("HostFileOpen").size());
    EXPECT_EQ(14U, script_.Calls().size());
}

// --- Earlier blocks -------------------------------------------------------------------------------------------------

/// An earlier block that the record holds, and what is left of it.
class EarlierBlock {
public:
    explicit EarlierBlock(LoadedProfile* profile) : profile_(profile) {
        profile->Give("earlier");
        data_ = profile->Data();
    }
    ~EarlierBlock() {
        if (profile_->Data() != data_) HostFreeShared(data_, __LINE__, nullptr);
    }
    EarlierBlock(const EarlierBlock&) = delete;
    EarlierBlock& operator=(const EarlierBlock&) = delete;

    bool IsBack() const { return profile_->Data() == data_ && profile_->Size() == 7; }
    /// Neither released nor written.
    bool IsWhole() const {
        const std::vector<LiveBlock> blocks = RecordingHost::Get().LiveBlocks();
        return std::any_of(blocks.begin(), blocks.end(), [&](const LiveBlock& b) { return b.address == data_; }) &&
               std::string(reinterpret_cast<const char*>(data_), 7) == "earlier";
    }

private:
    LoadedProfile* profile_;
    uint8_t* data_ = nullptr;
};

/// The block is neither released nor given back, but for a route that ends without a block.
void ExpectDropped(const std::function<void(ImageScript*)>& plan, int32_t result) {
    const HostScope host;
    ImageScript script;
    LoadedProfile profile;
    const EarlierBlock earlier(&profile);
    plan(&script);
    EXPECT_EQ(result, Zv_LoadICCProfile(kImageName, profile.Get(), nullptr));
    EXPECT_FALSE(earlier.IsBack());
    if (!profile.HasData()) {
        EXPECT_EQ(0U, profile.Size());
    }
    EXPECT_TRUE(earlier.IsWhole());
    EXPECT_EQ(0, script.OpenStreams());
    EXPECT_EQ(0U, script.LiveMarkers());
}

void ExpectRestored(const std::function<void(ImageScript*)>& plan) {
    const HostScope host;
    ImageScript script;
    LoadedProfile profile;
    const EarlierBlock earlier(&profile);
    plan(&script);
    EXPECT_EQ(ERR_NO_PROFILE, Zv_LoadICCProfile(kImageName, profile.Get(), nullptr));
    EXPECT_TRUE(earlier.IsBack());
    EXPECT_TRUE(earlier.IsWhole());
    EXPECT_EQ(0, script.OpenStreams());
    EXPECT_EQ(0U, script.LiveMarkers());
}

TEST(IccLoadEarlierBlock, ComesBackWhenAWayEndsWithoutABlock) {
    ExpectRestored([](ImageScript* s) { s->format = kMarkerFormat; });
    ExpectRestored([](ImageScript* s) {
        s->format = kMarkerFormat;
        s->markers = {{226, "EXIF"}, {225, kPart + "profile"}, {226, kPart.substr(0, 13)}};
    });
    // The whole profile stays where it was staged.
    ExpectRestored([](ImageScript* s) {
        s->format = kEpsFormat;
        s->stream = EpsOf(SomeBytes(80));
    });
    ExpectRestored([](ImageScript* s) {
        s->format = kEpsFormat;
        s->stream = EpsOf("");
    });
    // No line that begins a profile.
    ExpectRestored([](ImageScript* s) {
        s->format = kEpsFormat;
        s->stream = "%!PS-Adobe-3.0 EPSF-3.0\nshowpage\n";
    });
    ExpectRestored([](ImageScript* s) {
        s->format = kChunkFormat;
        s->stream = std::string("\xE0\x00\x04\x00\x00\x00\x02", 7);
    });
}

TEST(IccLoadEarlierBlock, DoesNotComeBackByWayOfALibrarysOwnNoProfile) {
    // The search failed, so that the route's own result stands: it is the same number.
    ExpectDropped([](ImageScript* s) { s->format = kTagFormat; }, ERR_NO_PROFILE);
    ExpectDropped([](ImageScript* s) { s->Answer("HostFileInfo", ERR_NO_PROFILE); }, ERR_NO_PROFILE);
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kMarkerFormat;
            s->Answer("HostLoadMarkers", ERR_NO_PROFILE);
        },
        ERR_NO_PROFILE);
}

TEST(IccLoadEarlierBlock, IsForgottenForANewOne) {
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kMarkerFormat;
            s->markers = {{226, kPart + "profile"}};
        },
        CLR_SUCCESS);
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kTagFormat;
            s->tag = "profile";
        },
        CLR_SUCCESS);
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kEpsFormat;
            s->stream = EpsOf(SomeBytes(81));
        },
        CLR_SUCCESS);
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kChunkFormat;
            s->stream = kChunkStream;
        },
        CLR_SUCCESS);
}

TEST(IccLoadEarlierBlock, IsForgottenWithEveryFailure) {
    ExpectDropped([](ImageScript* s) { s->Answer("HostFileInfo", ERR_FILE_OPEN); }, ERR_FILE_OPEN);
    ExpectDropped([](ImageScript* s) { s->Answer("HostFileOpen", kNoHostFile); }, ERR_IMAGE_OPEN);
    for (const int32_t format : {0, kGifFormat, 1001}) {
        ExpectDropped([&](ImageScript* s) { s->format = format; }, ERR_FORMAT_NO_ICC);
    }
    for (const char* operation : {"HostLoadMarkers", "HostEnumMarkers"}) {
        ExpectDropped(
            [&](ImageScript* s) {
                s->format = kMarkerFormat;
                s->markers = {{226, kPart + "profile"}};
                s->Answer(operation, ERR_FILE_READ);
            },
            ERR_FILE_READ);
    }
    for (const int32_t call : {1, 2}) {
        ExpectDropped(
            [&](ImageScript* s) {
                s->format = kTagFormat;
                s->tag = "profile";
                s->Answer("HostReadFileTag", ERR_FILE_READ, call);
            },
            ERR_FILE_READ);
    }
    ExpectDropped([](ImageScript* s) { s->format = kEpsFormat; }, ERR_PROFILE_UNUSABLE);
    ExpectDropped(
        [](ImageScript* s) {
            s->format = kEpsFormat;
            s->stream = kEpsBegin + "\n% 41\n";
        },
        ERR_PROFILE_TRUNCATED);
    ExpectDropped([](ImageScript* s) { s->format = kChunkFormat; }, ERR_PROFILE_TRUNCATED);
    for (const char* operation : {"HostFileRead", "HostAlloc"}) {
        ExpectDropped(
            [&](ImageScript* s) {
                s->format = kEpsFormat;
                s->FaultIn(operation);
            },
            ERR_FILE_FAULT);
    }
    for (const int32_t format : {kEpsFormat, kChunkFormat}) {
        ExpectDropped(
            [&](ImageScript* s) {
                s->format = format;
                RecordingHost::Get().FailAllocation(1);
            },
            ERR_FAILURE);
    }
}

TEST_F(IccLoad, ABlockOfNoBytesIsNotRemembered) {
    script_.format = kMarkerFormat;
    uint8_t block = 0;
    profile_->profileData = &block;
    profile_->profileSize = 0;
    EXPECT_EQ((LoadOutcome{ERR_NO_PROFILE, false, ""}),
              (LoadOutcome{Zv_LoadICCProfile(kImageName, profile_.Get(), nullptr), profile_.HasData(), ""}));
    EXPECT_EQ(0U, profile_.Size());
}

TEST_F(IccLoad, ASizeWithoutABlockIsRemembered) {
    script_.format = kMarkerFormat;
    profile_->profileSize = 99;
    EXPECT_EQ(ERR_NO_PROFILE, Zv_LoadICCProfile(kImageName, profile_.Get(), nullptr));
    EXPECT_FALSE(profile_.HasData());
    EXPECT_EQ(99U, profile_.Size());
}

// --- Joining --------------------------------------------------------------------------------------------------------

TEST_F(IccLoad, BytesAreJoinedInOneBlockOfTheCallersKind) {
    EXPECT_EQ(CLR_SUCCESS, IccAppendProfileBytes(profile_.Get(), 3, reinterpret_cast<const uint8_t*>("abc")));
    EXPECT_EQ("abc", profile_.Bytes());
    EXPECT_EQ(CLR_SUCCESS, IccAppendProfileBytes(profile_.Get(), 0, nullptr));
    EXPECT_EQ("abc", profile_.Bytes());
    const std::string more = SomeBytes(70000);
    EXPECT_EQ(CLR_SUCCESS,
              IccAppendProfileBytes(profile_.Get(), more.size(), reinterpret_cast<const uint8_t*>(more.data())));
    EXPECT_EQ("abc" + more, profile_.Bytes());
    std::vector<std::string> calls;
    for (const HostCall& call : host_->Calls()) {
        calls.push_back(call.operation + " " + std::to_string(call.size));
        EXPECT_EQ(u"Common\\IccLoad", call.file);
    }
    EXPECT_EQ((std::vector<std::string>{"HostAllocShared 3", "HostReallocShared 3", "HostReallocShared 70003"}), calls);
}

TEST_F(IccLoad, JoiningStartsAnewWithoutABlockWhateverTheSizeSays) {
    profile_->profileSize = 1000;
    EXPECT_EQ(CLR_SUCCESS, IccAppendProfileBytes(profile_.Get(), 3, reinterpret_cast<const uint8_t*>("abc")));
    EXPECT_EQ("abc", profile_.Bytes());
}

TEST_F(IccLoad, JoiningWithoutMemoryKeepsWhatIsThere) {
    const auto* bytes = reinterpret_cast<const uint8_t*>("abc");
    host_->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, IccAppendProfileBytes(profile_.Get(), 3, bytes));
    EXPECT_FALSE(profile_.HasData());
    EXPECT_EQ(0U, profile_.Size());
    ASSERT_EQ(CLR_SUCCESS, IccAppendProfileBytes(profile_.Get(), 3, bytes));
    host_->FailAllocation(1);
    EXPECT_EQ(ERR_FAILURE, IccAppendProfileBytes(profile_.Get(), 2, bytes));
    EXPECT_EQ("abc", profile_.Bytes());
    EXPECT_EQ(ERR_FAILURE, IccAppendProfileBytes(profile_.Get(), uint64_t{INT64_MAX}, bytes));
    EXPECT_EQ("abc", profile_.Bytes());
}

}  // namespace
}  // namespace zv::test
