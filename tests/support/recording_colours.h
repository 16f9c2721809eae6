// A colour management of the platform for tests: it records every call, hands out handles, and fails on request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "host/colour_management.h"

namespace zv::test {

/// One call with its arguments, as far as its operation has them.
struct ColourCall {
    enum class Operation { kOpen, kClose, kCreate, kTranslate, kDelete };

    Operation operation;
    /// What an open or a creation returned; the argument of the others.
    HANDLE handle = nullptr;

    // OpenColorProfileW.
    DWORD profileType = 0;
    const void* profileData = nullptr;
    DWORD profileDataSize = 0;
    std::u16string name;         ///< up to its closing zero
    std::vector<uint8_t> bytes;  ///< of a profile in memory
    DWORD access = 0;
    DWORD share = 0;
    DWORD creation = 0;

    // CreateMultiProfileTransform.
    std::vector<HANDLE> profiles;  ///< as many as the count says
    DWORD profileCount = 0;
    std::vector<DWORD> intents;
    DWORD intentCount = 0;
    DWORD flags = 0;
    DWORD preferredCmm = 0;

    // TranslateBitmapBits.
    const void* source = nullptr;
    int32_t sourceFormat = 0;
    DWORD width = 0;
    DWORD height = 0;
    DWORD sourceStride = 0;
    uint8_t* destination = nullptr;
    int32_t destinationFormat = 0;
    DWORD destinationStride = 0;
    bool hasCallback = false;
    LPARAM callbackData = 0;
};

/// "open close create ...", for comparisons of the order.
std::string OrderOf(const std::vector<ColourCall>& calls);

/// In force from its construction to its destruction, one at a time. Fails the test when a handle is closed that is not
/// open, and at its end when one is left open that was not told of.
class RecordingColours {
public:
    RecordingColours();
    ~RecordingColours();
    RecordingColours(const RecordingColours&) = delete;
    RecordingColours& operator=(const RecordingColours&) = delete;

    const std::vector<ColourCall>& Calls() const { return calls_; }
    std::vector<ColourCall> Calls(ColourCall::Operation operation) const;
    std::string Order() const { return OrderOf(calls_); }
    void Forget() { calls_.clear(); }
    size_t OpenProfiles() const { return profiles_.size(); }
    const std::set<HANDLE>& Transforms() const { return transforms_; }

    /// The n-th open from now on fails, counted from 1.
    void FailOpen(int n) { failOpens_.insert(opens_ + n); }
    /// So many creations of a transform fail from now on.
    void FailCreations(int count) { failCreations_ = count; }
    /// What a translation answers, and the last error that it leaves.
    void AnswerTranslations(BOOL result, DWORD lastError) {
        translationResult_ = result;
        translationError_ = lastError;
    }
    /// What a translation does to the pixels; nothing without this.
    void Translate(std::function<void(const ColourCall&)> translate) { translate_ = std::move(translate); }
    /// So many transforms stay by contract.
    void ExpectTransformsLeft(size_t count) { expectedTransforms_ = count; }

    /// Puts a platform without colour management in force.
    static void UseNone();
    /// Puts the platform's own in force.
    static void UsePlatform();

private:
    friend struct RecordingColoursCalls;

    HANDLE NewHandle();

    std::vector<ColourCall> calls_;
    std::set<HANDLE> profiles_;
    std::set<HANDLE> transforms_;
    uintptr_t lastHandle_ = 0;
    int opens_ = 0;
    std::set<int> failOpens_;
    int failCreations_ = 0;
    BOOL translationResult_ = 1;
    DWORD translationError_ = 0;
    std::function<void(const ColourCall&)> translate_;
    size_t expectedTransforms_ = 0;
};

}  // namespace zv::test
