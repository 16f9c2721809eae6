#include "tests/support/recording_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "host/ansi.h"
#include "host/entry.h"
#include "tests/support/recording_colours.h"
#include "tests/support/recording_images.h"

namespace zv::test {

namespace {

constexpr uint8_t kUsualFill = 0xA5;

struct State {
    std::mutex lock;
    std::unordered_map<void*, LiveBlock> live;
    std::vector<HostCall> calls;
    std::vector<BitmapCall> bitmapCalls;
    std::optional<FileRequest> lastFileRequest;
    int64_t allocations = 0;
    int64_t failAllocation = 0;
    size_t failAbove = 0;
    size_t largestRequest = 0;
    uint8_t fill = kUsualFill;
    int64_t fileAccesses = 0;
    int64_t failFileAccess = 0;
};

// Never destroyed: the library may release blocks while the process ends.
State& Host() {
    static State* state = new State;
    return *state;
}

std::u16string Text(const ZvChar* file) {
    std::u16string text;
    for (; file != nullptr && *file != 0; ++file) text.push_back(static_cast<char16_t>(*file));
    return text;
}

/// Recording stops here: tests with many rounds must not fill memory with calls.
constexpr size_t kMostCalls = 100000;

void Record(State& host, const char* operation, size_t size, int32_t line, const ZvChar* file) {
    if (host.calls.size() < kMostCalls) host.calls.push_back({operation, size, line, Text(file)});
}

void* Allocate(const char* operation, int64_t size, int64_t count, bool zeroed, bool shared, int32_t line,
               const ZvChar* file) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    int64_t product = 0;
    const bool fits = size >= 0 && count >= 0 && !__builtin_mul_overflow(size, count, &product);
    const auto bytes = fits ? static_cast<size_t>(product) : SIZE_MAX;
    Record(host, operation, bytes, line, file);
    ++host.allocations;
    host.largestRequest = std::max(host.largestRequest, bytes);
    if (!fits || host.allocations == host.failAllocation || (host.failAbove != 0 && bytes > host.failAbove)) {
        return nullptr;
    }
    void* block = std::malloc(bytes == 0 ? 1 : bytes);
    if (block == nullptr) return nullptr;
    // Contents are undefined, and made to look it.
    std::memset(block, zeroed ? 0 : host.fill, bytes);
    host.live[block] = {block, bytes, line, Text(file), shared};
    return block;
}

void* Reallocate(const char* operation, void* block, int64_t size, bool shared, int32_t line, const ZvChar* file) {
    size_t old = 0;
    if (block != nullptr) {
        State& host = Host();
        const std::lock_guard guard(host.lock);
        const auto found = host.live.find(block);
        if (found == host.live.end()) {
            ADD_FAILURE() << operation << " of a block that is not live";
            return nullptr;
        }
        old = found->second.size;
    }
    void* grown = Allocate(operation, size, 1, false, shared, line, file);
    if (grown == nullptr || block == nullptr) return grown;
    std::memcpy(grown, block, std::min(old, static_cast<size_t>(size)));
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.live.erase(block);
    std::free(block);
    return grown;
}

void Release(const char* operation, void* block, bool shared, int32_t line, const ZvChar* file) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    Record(host, operation, 0, line, file);
    if (block == nullptr) return;
    const auto found = host.live.find(block);
    if (found == host.live.end()) {
        ADD_FAILURE() << operation << " of a block that is not live, at line " << line;
        return;
    }
    EXPECT_EQ(found->second.shared, shared) << operation << " of a block of the other allocator";
    host.live.erase(found);
    std::free(block);
}

bool FileAccessFails(const char* operation, size_t size) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    Record(host, operation, size, 0, nullptr);
    return ++host.fileAccesses == host.failFileAccess;
}

/// Unit tests behave alike on every system: none has a colour management unless a test brings one.
const bool kNoPlatformColours = (RecordingColours::UseNone(), true);

HANDLE HandleOf(HostFile file) { return reinterpret_cast<HANDLE>(file); }

}  // namespace

RecordingHost& RecordingHost::Get() {
    static RecordingHost host;
    return host;
}

void RecordingHost::Reset() {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.calls.clear();
    host.bitmapCalls.clear();
    host.lastFileRequest.reset();
    host.allocations = 0;
    host.failAllocation = 0;
    host.failAbove = 0;
    host.largestRequest = 0;
    host.fill = kUsualFill;
    host.fileAccesses = 0;
    host.failFileAccess = 0;
}

void RecordingHost::FailAllocation(int64_t n) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.failAllocation = n == 0 ? 0 : host.allocations + n;
}

void RecordingHost::FailAllocationsAbove(size_t size) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.failAbove = size;
}

void RecordingHost::FailFileAccess(int64_t n) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.failFileAccess = n == 0 ? 0 : host.fileAccesses + n;
}

void RecordingHost::FillBlocksWith(uint8_t fill) {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    host.fill = fill;
}

int64_t RecordingHost::FileAccessesSinceReset() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.fileAccesses;
}

size_t RecordingHost::LargestRequestSinceReset() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.largestRequest;
}

int64_t RecordingHost::AllocationsSinceReset() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.allocations;
}

size_t RecordingHost::LiveCount() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.live.size();
}

std::vector<LiveBlock> RecordingHost::LiveBlocks() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    std::vector<LiveBlock> blocks;
    for (const auto& [address, block] : host.live) blocks.push_back(block);
    return blocks;
}

std::vector<HostCall> RecordingHost::Calls() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.calls;
}

std::vector<BitmapCall> RecordingHost::BitmapCalls() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.bitmapCalls;
}

std::optional<FileRequest> RecordingHost::LastFileRequest() const {
    State& host = Host();
    const std::lock_guard guard(host.lock);
    return host.lastFileRequest;
}

void RecordingHost::FreeAllBut(const std::vector<LiveBlock>& before) {
    for (const LiveBlock& block : LiveBlocks()) {
        const auto same = [&](const LiveBlock& other) { return other.address == block.address; };
        if (std::none_of(before.begin(), before.end(), same)) Release("Free", block.address, block.shared, 0, nullptr);
    }
}

HostScope::HostScope() : before_(RecordingHost::Get().LiveBlocks()) { RecordingHost::Get().Reset(); }

HostScope::~HostScope() {
    EXPECT_EQ(Leaked(), expected_) << "blocks left behind";
    RecordingHost::Get().Reset();
    if (expected_ > 0) RecordingHost::Get().FreeAllBut(before_);
}

size_t HostScope::Leaked() const { return RecordingHost::Get().LiveCount() - before_.size(); }

void HostScope::ExpectLeaked(size_t blocks) { expected_ = blocks; }

}  // namespace zv::test

using namespace zv::test;

void* HostAlloc(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept {
    ScriptTouches("HostAlloc");
    return Allocate("HostAlloc", size, count, false, false, line, file);
}
void* HostAllocZeroed(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept {
    return Allocate("HostAllocZeroed", size, count, true, false, line, file);
}
void HostFree(void* block, int32_t line, const ZvChar* file) noexcept {
    ScriptTouches("HostFree");
    Release("HostFree", block, false, line, file);
}
void* HostRealloc(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept {
    ScriptTouches("HostRealloc");
    return Reallocate("HostRealloc", block, size, false, line, file);
}
void* HostAllocShared(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept {
    ScriptTouches("HostAllocShared");
    return Allocate("HostAllocShared", size, count, false, true, line, file);
}
void* HostReallocShared(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept {
    ScriptTouches("HostReallocShared");
    return Reallocate("HostReallocShared", block, size, true, line, file);
}
void HostFreeShared(void* block, int32_t line, const ZvChar* file) noexcept {
    Release("HostFreeShared", block, true, line, file);
}

void HostCopy(void* destination, const void* source, size_t count) noexcept {
    ScriptTouches("HostCopy");
    const auto* from = static_cast<const uint8_t*>(source);
    const auto* to = static_cast<const uint8_t*>(destination);
    EXPECT_TRUE(count == 0 || from + count <= to || to + count <= from) << "HostCopy of overlapping blocks";
    if (count != 0) std::memmove(destination, source, count);
}
void HostMove(void* destination, const void* source, size_t count) noexcept {
    ScriptTouches("HostMove");
    if (count != 0) std::memmove(destination, source, count);
}
void HostFill(void* destination, uint8_t value, size_t count) noexcept {
    if (count != 0) std::memset(destination, value, count);
}
int32_t HostCompare(const void* first, const void* second, size_t count) noexcept {
    ScriptTouches("HostCompare");
    return count == 0 ? 0 : std::memcmp(first, second, count);
}
const uint8_t* HostFind(const void* buffer, uint8_t value, size_t count) noexcept {
    ScriptTouches("HostFind");
    return count == 0 ? nullptr : static_cast<const uint8_t*>(std::memchr(buffer, value, count));
}

HostFile HostFileOpen(const ZvChar* name, int32_t reserved, int32_t mode) noexcept {
    if (FileAccessFails("HostFileOpen", 0)) return kNoHostFile;
    HostFile scripted = kNoHostFile;
    if (ScriptOpens(name, reserved, mode, &scripted)) return scripted;
    return reinterpret_cast<HostFile>(
        CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}
void HostFileClose(HostFile file) noexcept {
    if (ScriptOwns(file)) {
        ScriptClose();
    } else {
        CloseHandle(HandleOf(file));
    }
}
int32_t HostFileRead(HostFile file, void* buffer, int32_t count) noexcept {
    DWORD done = 0;
    if (FileAccessFails("HostFileRead", static_cast<size_t>(count))) return 0;
    if (ScriptOwns(file)) return ScriptRead("HostFileRead", buffer, count);
    if (!ReadFile(HandleOf(file), buffer, static_cast<DWORD>(count), &done, nullptr)) return 0;
    return static_cast<int32_t>(done);
}
int32_t HostFileReadMore(HostFile file, void* buffer, int32_t count) noexcept {
    if (!ScriptOwns(file)) return HostFileRead(file, buffer, count);
    return FileAccessFails("HostFileReadMore", static_cast<size_t>(count))
               ? 0
               : ScriptRead("HostFileReadMore", buffer, count);
}
int64_t HostFileSeek(HostFile file, int64_t offset, int32_t origin) noexcept {
    if (FileAccessFails("HostFileSeek", 0)) return -1;
    if (ScriptOwns(file)) return ScriptSeek(offset, origin);
    auto high = static_cast<LONG>(offset >> 32);
    const auto low = static_cast<LONG>(static_cast<uint32_t>(static_cast<uint64_t>(offset)));
    const DWORD position = SetFilePointer(HandleOf(file), low, &high, origin == 0 ? FILE_BEGIN : FILE_CURRENT);
    if (position == INVALID_SET_FILE_POINTER && GetLastError() != 0) return -1;
    return (static_cast<int64_t>(high) << 32) | static_cast<int64_t>(position);
}
HANDLE HostCreateFile(const ZvChar* name, DWORD access, DWORD share, void* security, DWORD disposition, DWORD flags,
                      HANDLE templateFile, int32_t, const ZvChar*) noexcept {
    {
        State& host = Host();
        const std::lock_guard guard(host.lock);
        host.lastFileRequest = {Text(name), access, share, security, disposition, flags, templateFile};
    }
    if (FileAccessFails("HostCreateFile", 0)) return INVALID_HANDLE_VALUE;
    return CreateFileW(name, access, share, static_cast<SECURITY_ATTRIBUTES*>(security), disposition, flags,
                       templateFile);
}
void HostCloseFile(HANDLE handle, int32_t line, const ZvChar* file) noexcept {
    {
        State& host = Host();
        const std::lock_guard guard(host.lock);
        Record(host, "HostCloseFile", 0, line, file);
    }
    EXPECT_TRUE(CloseHandle(handle)) << "HostCloseFile of what is not open";
}

void HostFreeBitmap(HostBitmap* bitmap) noexcept {
    {
        State& host = Host();
        const std::lock_guard guard(host.lock);
        Record(host, "HostFreeBitmap", 0, 0, nullptr);
        host.bitmapCalls.push_back({"HostFreeBitmap", bitmap, *bitmap, 0, {}, {}});
    }
    HostFreeShared(bitmap->pixels, __LINE__, nullptr);
    bitmap->pixels = nullptr;
    bitmap->flags &= ~kHostBitmapAllocated;
}

void HostDibToBitmap(HostBitmap* bitmap, uint32_t bitmapRecordSize, const HostDibHeader* header,
                     const uint8_t* bits) noexcept {
    {
        State& host = Host();
        const std::lock_guard guard(host.lock);
        Record(host, "HostDibToBitmap", bitmapRecordSize, 0, nullptr);
        BitmapCall call{"HostDibToBitmap", bitmap, *bitmap, bitmapRecordSize, *header, {}};
        const auto block = host.live.find(const_cast<uint8_t*>(bits));
        if (block == host.live.end()) {
            ADD_FAILURE() << "bits that are no block of the host";
            return;
        }
        call.bits.assign(bits, bits + block->second.size);
        host.bitmapCalls.push_back(std::move(call));
    }
    // There is no room for pixels in such a record.
    if (bitmapRecordSize < sizeof *bitmap) return;
    // The rows as they came, with what stands between them: tests look at these.
    const size_t size = RecordingHost::Get().BitmapCalls().back().bits.size();
    auto* pixels = static_cast<uint8_t*>(HostAllocShared(1, static_cast<int64_t>(size), __LINE__, nullptr));
    if (pixels == nullptr) return;
    std::memcpy(pixels, bits, size);
    *bitmap = {sizeof *bitmap,
               bitmap->flags | kHostBitmapAllocated,
               header->width,
               -header->height,
               header->bitCount,
               header->width * 3,
               pixels};
}

Zv_A2W::~Zv_A2W() { HostFree(value_, __LINE__, nullptr); }

int32_t Zv_A2W::Convert(const char* source) noexcept {
    HostFree(value_, __LINE__, nullptr);
    const auto room = static_cast<int64_t>(std::strlen(source)) + 1;
    value_ = static_cast<ZvChar*>(HostAlloc(sizeof(ZvChar), room, __LINE__, nullptr));
    return value_ != nullptr ? Convert(source, value_, static_cast<size_t>(room)) : int32_t{ERR_FAILURE};
}

int32_t Zv_A2W::Convert(const char* source, ZvChar* destination, size_t count) noexcept {
    if (ZvWideFromAnsi(source, destination, count)) return CLR_SUCCESS;
    destination[0] = 0;
    return ERR_FAILURE;
}

int32_t Zv_W2A::Convert(const ZvChar* source, char* destination, size_t count) noexcept {
    if (ZvAnsiFromWide(source, destination, count)) return CLR_SUCCESS;
    destination[0] = 0;
    return ERR_FAILURE;
}

int32_t SAVEFILEOPTION_Conv::Begin() noexcept {
    value_ = nullptr;
    if (options_ == nullptr) return CLR_SUCCESS;
    wide_.size = sizeof wide_;
    const int32_t result = Zv_A2W::Convert(options_->backupName, wide_.backupName, CLR_NAME_LENGTH);
    if (result == CLR_SUCCESS) value_ = &wide_;
    return result;
}

void ZvEntryPresent() noexcept {}
