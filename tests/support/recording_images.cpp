#include "tests/support/recording_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/guarded_buffer.h"

struct HostMarkerSet {
    std::vector<zv::test::ImageMarker> markers;
};

namespace zv::test {

namespace {

ImageScript* current = nullptr;
constexpr HostFile kScripted = 0x5C817;

std::u16string Text(const ZvChar* name) {
    std::u16string text;
    for (; name != nullptr && *name != 0; ++name) text.push_back(static_cast<char16_t>(*name));
    return text;
}

std::string Bytes(const uint8_t* data, uint64_t size) {
    return data == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

ImageCall Rewriting(const char* operation, const ZvChar* name, uint32_t flags, const SAVEFILEOPTION* options) {
    ImageCall call{operation, Text(name), flags, 0, {}, options};
    if (options != nullptr) call.saveOptions = *options;
    return call;
}

void Fault() {
    // Never released: no destructor runs on the way out of a fault.
    static auto* const page = new GuardedBuffer(1, GuardedBuffer::Side::kBack);
    const volatile uint8_t* const beyond = page->Data() + 1;
    static_cast<void>(*beyond);
}

}  // namespace

struct ImageScriptAccess {
    /// The answer that is planned; otherwise nothing. The call is recorded; its result is what Done() gets.
    static std::optional<int64_t> Begin(ImageCall call) {
        if (current == nullptr) {
            ADD_FAILURE() << call.operation << " without a scripted image";
            return ERR_FAILURE;
        }
        ImageScript& script = *current;
        const int32_t n = ++script.counts_[call.operation];
        const bool faults = FaultsNow(call.operation, n);
        const auto answers = script.answers_.find(call.operation);
        std::optional<int64_t> answer;
        if (answers != script.answers_.end()) {
            const auto found = answers->second.count(n) != 0 ? answers->second.find(n) : answers->second.find(0);
            if (found != answers->second.end()) answer = found->second;
        }
        if (answer) call.result = *answer;
        script.calls_.push_back(std::move(call));
        if (faults) Fault();
        return answer;
    }
    static bool FaultsNow(const std::string& operation, int32_t n) {
        const auto fault = current->faults_.find(operation);
        return fault != current->faults_.end() && fault->second == n;
    }
    static void Touch(const char* operation) {
        if (current->faults_.empty() || current->faults_.count(operation) == 0) return;
        if (FaultsNow(operation, ++current->counts_[operation])) Fault();
    }
    static int64_t Done(int64_t result) {
        current->calls_.back().result = result;
        return result;
    }

    static int64_t& Position() { return current->position_; }
    static int32_t& OpenStreams() { return current->openStreams_; }
    static HostMarkers NewMarkers(std::vector<ImageMarker> markers) {
        return *current->liveMarkers_.insert(new HostMarkerSet{std::move(markers)}).first;
    }
    static void FreeMarkers(HostMarkers markers) {
        if (current->liveMarkers_.erase(markers) == 0) {
            ADD_FAILURE() << "HostFreeMarkers of what is not live";
            return;
        }
        delete markers;
        if (current->currentMarkers_ == markers) current->currentMarkers_ = nullptr;
    }
    /// In a block of its own, so that reads past the end are seen. The script's, so that no fault loses it.
    static const uint8_t* HandOut(const std::string& data) {
        current->handedOut_ = std::vector<uint8_t>(data.begin(), data.end());
        return current->handedOut_.data();
    }
    static HostMarkers& CurrentMarkers() { return current->currentMarkers_; }
    static uint64_t& CurrentTag() { return current->currentTag_; }
};

using Access = ImageScriptAccess;

ImageScript::ImageScript() {
    EXPECT_EQ(nullptr, current) << "two scripted images at once";
    current = this;
}

ImageScript::~ImageScript() {
    for (HostMarkers const set : liveMarkers_) delete set;
    current = nullptr;
}

void ImageScript::Answer(const std::string& operation, int64_t result, int32_t n) { answers_[operation][n] = result; }

void ImageScript::FaultIn(const std::string& operation, int32_t n) { faults_[operation] = n; }

std::vector<ImageCall> ImageScript::CallsOf(const std::string& operation) const {
    std::vector<ImageCall> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [&](const ImageCall& call) { return call.operation == operation; });
    return found;
}

std::string ImageScript::Operations() const {
    std::string names;
    for (const ImageCall& call : calls_) names += (names.empty() ? "" : " ") + call.operation;
    return names;
}

void ScriptTouches(const char* operation) {
    if (current != nullptr) Access::Touch(operation);
}

bool ScriptOpens(const ZvChar* name, int32_t reserved, int32_t mode, HostFile* file) {
    if (current == nullptr) return false;
    const auto answer =
        Access::Begin({"HostFileOpen", Text(name), static_cast<uint64_t>(reserved), static_cast<uint64_t>(mode)});
    *file = answer ? static_cast<HostFile>(*answer) : kScripted;
    if (!answer) ++Access::OpenStreams();
    return true;
}

bool ScriptOwns(HostFile file) { return current != nullptr && file == kScripted; }

int32_t ScriptRead(const char* operation, void* buffer, int32_t count) {
    const auto answer = Access::Begin({operation, {}, static_cast<uint64_t>(count)});
    if (answer) return static_cast<int32_t>(*answer);
    EXPECT_GE(count, 0);
    int64_t& position = Access::Position();
    const int64_t left = std::max<int64_t>(0, static_cast<int64_t>(current->stream.size()) - position);
    const int64_t size = std::min({left, int64_t{count}, int64_t{current->mostPerRead}});
    if (size > 0) std::memcpy(buffer, current->stream.data() + position, static_cast<size_t>(size));
    position += size;
    return static_cast<int32_t>(Access::Done(size));
}

int64_t ScriptSeek(int64_t offset, int32_t origin) {
    const auto answer =
        Access::Begin({"HostFileSeek", {}, static_cast<uint64_t>(offset), static_cast<uint64_t>(origin)});
    if (answer) return *answer;
    int64_t& position = Access::Position();
    const int64_t to = (origin == 0 ? 0 : position) + offset;
    if (to >= 0) position = to;
    return Access::Done(to >= 0 ? to : -1);
}

void ScriptClose() {
    Access::Begin({"HostFileClose", {}});
    --Access::OpenStreams();
}

}  // namespace zv::test

using namespace zv::test;

int32_t HostFileInfo(const ZvChar* name, HostImageInfo* info, uint32_t size, uint32_t reserved,
                     const void* loadOptions) noexcept {
    EXPECT_EQ(0U, reserved);
    const auto answer = Access::Begin({"HostFileInfo", Text(name), size, info->size, {}, loadOptions});
    if (answer) return static_cast<int32_t>(*answer);
    info->format = current->format;
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostLoadMarkers(const ZvChar* name, HostMarkers* markers, uint32_t reserved) noexcept {
    EXPECT_EQ(0U, reserved);
    const auto answer = Access::Begin({"HostLoadMarkers", Text(name)});
    if (answer) return static_cast<int32_t>(*answer);
    *markers = Access::NewMarkers(current->markers);
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostEnumMarkers(HostMarkers markers, uint32_t reserved, HostMarkerCallback callback, void* user) noexcept {
    EXPECT_EQ(0U, reserved);
    ImageCall call{"HostEnumMarkers"};
    call.set = markers;
    call.pointer = user;
    call.callback = callback;
    const auto answer = Access::Begin(std::move(call));
    if (answer) return static_cast<int32_t>(*answer);
    for (const ImageMarker& marker : markers->markers) {
        const uint8_t* data = Access::HandOut(marker.data);
        const int32_t result = callback(marker.id, static_cast<uint32_t>(marker.data.size()), data, user);
        if (result != CLR_SUCCESS) return static_cast<int32_t>(Access::Done(result));
    }
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostFreeMarkers(HostMarkers markers) noexcept {
    ImageCall call{"HostFreeMarkers"};
    call.set = markers;
    const auto answer = Access::Begin(std::move(call));
    if (markers != nullptr) Access::FreeMarkers(markers);
    return static_cast<int32_t>(answer ? *answer : Access::Done(CLR_SUCCESS));
}

int32_t HostCreateMarkers(HostMarkers* markers) noexcept {
    const auto answer = Access::Begin({"HostCreateMarkers", {}});
    if (answer) return static_cast<int32_t>(*answer);
    *markers = Access::NewMarkers({});
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostInsertMarker(HostMarkers markers, int32_t place, uint32_t id, uint32_t length,
                         const uint8_t* data) noexcept {
    EXPECT_EQ(-1, place);
    ImageCall call{"HostInsertMarker", {}, id, length, Bytes(data, length)};
    call.set = markers;
    const auto answer = Access::Begin(std::move(call));
    if (answer) return static_cast<int32_t>(*answer);
    markers->markers.push_back({id, Bytes(data, length)});
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostSetSaveMarkers(HostMarkers markers, uint32_t reserved) noexcept {
    EXPECT_EQ(0U, reserved);
    ImageCall call{"HostSetSaveMarkers"};
    call.set = markers;
    const auto answer = Access::Begin(std::move(call));
    if (answer) return static_cast<int32_t>(*answer);
    Access::CurrentMarkers() = markers;
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostRewriteFile(const ZvChar* name, uint32_t flags, const SAVEFILEOPTION* options) noexcept {
    const auto answer = Access::Begin(Rewriting("HostRewriteFile", name, flags, options));
    return static_cast<int32_t>(answer ? *answer : Access::Done(CLR_SUCCESS));
}

int32_t HostReadFileTag(const ZvChar* name, uint32_t tag, uint16_t* type, uint64_t* count, uint8_t* buffer,
                        const void* options) noexcept {
    const auto answer = Access::Begin({"HostReadFileTag", Text(name), tag, buffer != nullptr, {}, options, 0, *count});
    if (!answer && !current->tag) return static_cast<int32_t>(Access::Done(ERR_NO_PROFILE));
    if (answer && *answer < CLR_SUCCESS) return static_cast<int32_t>(*answer);
    const std::string bytes = current->tag.value_or("");
    if (buffer != nullptr) std::memcpy(buffer, bytes.data(), std::min<size_t>(bytes.size(), *count));
    *type = 7;
    *count = current->claimedCount.value_or(bytes.size());
    return static_cast<int32_t>(answer ? *answer : Access::Done(CLR_SUCCESS));
}

int32_t HostSetFileTag(uint32_t tag, uint16_t type, uint64_t count, const uint8_t* data) noexcept {
    const std::string bytes = Bytes(data, data != nullptr ? count : 0);
    const auto answer = Access::Begin({"HostSetFileTag", {}, tag, type, bytes, nullptr, 0, count, nullptr, data});
    if (answer) return static_cast<int32_t>(*answer);
    Access::CurrentTag() = tag;
    return static_cast<int32_t>(Access::Done(CLR_SUCCESS));
}

int32_t HostRewriteFileTags(const ZvChar* name, const SAVEFILEOPTION* options) noexcept {
    const auto answer = Access::Begin(Rewriting("HostRewriteFileTags", name, 0, options));
    return static_cast<int32_t>(answer ? *answer : Access::Done(CLR_SUCCESS));
}
