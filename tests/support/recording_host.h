// A host for tests: it records every call, knows every live block, and fails on request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/host.h"

namespace zv::test {

/// A block that the library holds.
struct LiveBlock {
    void* address;
    size_t size;
    int32_t line;
    std::u16string file;
    bool shared;
};

/// One call of a host operation, in order.
struct HostCall {
    std::string operation;
    size_t size;
    int32_t line;
    std::u16string file;
};

/// One call of a bitmap operation, in order.
struct BitmapCall {
    std::string operation;
    HostBitmap* bitmap;
    HostBitmap before;          ///< the bitmap as the call found it
    uint32_t recordSize;        ///< HostDibToBitmap and what follows
    HostDibHeader header;       ///< as it was given, byte for byte
    std::vector<uint8_t> bits;  ///< the whole block that they lie in
};

/// The arguments of an opening by HostCreateFile.
struct FileRequest {
    std::u16string name;
    DWORD access;
    DWORD share;
    const void* security;
    DWORD disposition;
    DWORD attributes;
    HANDLE templateFile;
};

/// The state behind the host operations of the test programs. Any thread may use it.
class RecordingHost {
public:
    static RecordingHost& Get();

    /// No failures planned, no calls recorded, the usual fill; live blocks stay.
    void Reset();
    /// The n-th allocation from now on fails, counted from 1; 0 lets all pass.
    void FailAllocation(int64_t n);
    /// Every allocation of more than this many bytes fails; 0 lets all pass.
    void FailAllocationsAbove(size_t size);
    /// The n-th read or write of a file from now on fails.
    void FailFileAccess(int64_t n);

    /// What new blocks hold that are not cleared. Results that differ with it come from bytes that nobody wrote.
    void FillBlocksWith(uint8_t fill);

    int64_t AllocationsSinceReset() const;
    int64_t FileAccessesSinceReset() const;
    /// The most bytes that one call asked for since then.
    size_t LargestRequestSinceReset() const;
    size_t LiveCount() const;
    std::vector<LiveBlock> LiveBlocks() const;
    std::vector<HostCall> Calls() const;
    std::vector<BitmapCall> BitmapCalls() const;
    /// The last one since the reset; nothing without one.
    std::optional<FileRequest> LastFileRequest() const;
    /// Frees what the library left behind on purpose, so that leak checkers see only the rest. Takes blocks that were
    /// not live when `before` was taken.
    void FreeAllBut(const std::vector<LiveBlock>& before);
};

/// Resets the host around a test and fails it if blocks are left that were not there before.
class HostScope {
public:
    HostScope();
    ~HostScope();
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;

    RecordingHost* operator->() const { return &RecordingHost::Get(); }
    /// Blocks that this scope's test has left so far.
    size_t Leaked() const;
    /// Declares that so many blocks stay behind by contract, and frees them at the end.
    void ExpectLeaked(size_t blocks);

private:
    std::vector<LiveBlock> before_;
    size_t expected_ = 0;
};

}  // namespace zv::test
