#include "tests/support/recording_colours.h"

#include <gtest/gtest.h>

#include "zvclr.h"

namespace zv::test {

namespace {

RecordingColours* current = nullptr;

constexpr ZvColourManagement kNone = {};

const char* NameOf(ColourCall::Operation operation) {
    switch (operation) {
        case ColourCall::Operation::kOpen:
            return "open";
        case ColourCall::Operation::kClose:
            return "close";
        case ColourCall::Operation::kCreate:
            return "create";
        case ColourCall::Operation::kTranslate:
            return "translate";
        case ColourCall::Operation::kDelete:
            return "delete";
    }
    return "";
}

ColourCall MakeCall(ColourCall::Operation operation) {
    ColourCall call{};
    call.operation = operation;
    return call;
}

}  // namespace

struct RecordingColoursCalls {
    static HPROFILE Open(PROFILE* profile, DWORD access, DWORD share, DWORD creation) {
        ColourCall call = MakeCall(ColourCall::Operation::kOpen);
        call.profileType = profile->dwType;
        call.profileData = profile->pProfileData;
        call.profileDataSize = profile->cbDataSize;
        call.access = access;
        call.share = share;
        call.creation = creation;
        if (profile->dwType == PROFILE_FILENAME) {
            // As the platform does: up to the zero, whatever the size says.
            for (const auto* c = static_cast<const ZvChar*>(profile->pProfileData); *c != 0; ++c) {
                call.name.push_back(static_cast<char16_t>(*c));
            }
        } else {
            const auto* bytes = static_cast<const uint8_t*>(profile->pProfileData);
            call.bytes.assign(bytes, bytes + profile->cbDataSize);
        }
        if (current->failOpens_.count(++current->opens_) == 0) {
            call.handle = current->NewHandle();
            current->profiles_.insert(call.handle);
        }
        current->calls_.push_back(call);
        return call.handle;
    }

    static BOOL Close(HPROFILE profile) {
        ColourCall call = MakeCall(ColourCall::Operation::kClose);
        call.handle = profile;
        current->calls_.push_back(call);
        EXPECT_EQ(1U, current->profiles_.erase(profile)) << "a profile that is not open is closed";
        return TRUE;
    }

    static HTRANSFORM Create(HPROFILE* profiles, DWORD profileCount, DWORD* intents, DWORD intentCount, DWORD flags,
                             DWORD preferredCmm) {
        ColourCall call = MakeCall(ColourCall::Operation::kCreate);
        call.profiles.assign(profiles, profiles + profileCount);
        call.profileCount = profileCount;
        call.intents.assign(intents, intents + intentCount);
        call.intentCount = intentCount;
        call.flags = flags;
        call.preferredCmm = preferredCmm;
        for (HPROFILE profile : call.profiles) {
            EXPECT_TRUE(profile == nullptr || current->profiles_.count(profile) == 1) << "of a profile that is closed";
        }
        if (current->failCreations_ > 0) {
            --current->failCreations_;
        } else {
            call.handle = current->NewHandle();
            current->transforms_.insert(call.handle);
        }
        current->calls_.push_back(call);
        return call.handle;
    }

    static BOOL Translate(HTRANSFORM transform, void* source, BMFORMAT sourceFormat, DWORD width, DWORD height,
                          DWORD sourceStride, void* destination, BMFORMAT destinationFormat, DWORD destinationStride,
                          LPBMCALLBACKFN callback, LPARAM callbackData) {
        ColourCall call = MakeCall(ColourCall::Operation::kTranslate);
        call.handle = transform;
        call.source = source;
        call.sourceFormat = static_cast<int32_t>(sourceFormat);
        call.width = width;
        call.height = height;
        call.sourceStride = sourceStride;
        call.destination = static_cast<uint8_t*>(destination);
        call.destinationFormat = static_cast<int32_t>(destinationFormat);
        call.destinationStride = destinationStride;
        call.hasCallback = callback != nullptr;
        call.callbackData = callbackData;
        EXPECT_TRUE(transform == nullptr || current->transforms_.count(transform) == 1) << "by a deleted transform";
        current->calls_.push_back(call);
        if (current->translate_) current->translate_(call);
        SetLastError(current->translationError_);
        return current->translationResult_;
    }

    static BOOL Delete(HTRANSFORM transform) {
        ColourCall call = MakeCall(ColourCall::Operation::kDelete);
        call.handle = transform;
        current->calls_.push_back(call);
        EXPECT_EQ(1U, current->transforms_.erase(transform)) << "a transform that does not live is deleted";
        return TRUE;
    }

    static constexpr ZvColourManagement kCalls = {Open, Close, Create, Translate, Delete};
};

std::string OrderOf(const std::vector<ColourCall>& calls) {
    std::string order;
    for (const ColourCall& call : calls) {
        if (!order.empty()) order += ' ';
        order += NameOf(call.operation);
    }
    return order;
}

RecordingColours::RecordingColours() {
    EXPECT_EQ(nullptr, current) << "one recorder at a time";
    current = this;
    ZvReplacePlatformColours(&RecordingColoursCalls::kCalls);
}

RecordingColours::~RecordingColours() {
    EXPECT_EQ(0U, profiles_.size()) << "profiles left open";
    EXPECT_EQ(expectedTransforms_, transforms_.size()) << "transforms left";
    UseNone();
    current = nullptr;
}

std::vector<ColourCall> RecordingColours::Calls(ColourCall::Operation operation) const {
    std::vector<ColourCall> calls;
    for (const ColourCall& call : calls_) {
        if (call.operation == operation) calls.push_back(call);
    }
    return calls;
}

void RecordingColours::UseNone() { ZvReplacePlatformColours(&kNone); }

void RecordingColours::UsePlatform() { ZvReplacePlatformColours(nullptr); }

/// Handles that look like nothing else.
HANDLE RecordingColours::NewHandle() { return reinterpret_cast<HANDLE>(uintptr_t{0xC0100000} + ++lastHandle_); }

}  // namespace zv::test
