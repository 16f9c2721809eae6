// A file that is written beside an old one and takes its place at the very end, so that nothing on the way, the end of
// the process included, leaves a damaged file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/common/image_file.h"
#include "host/host.h"

namespace zvhost {

class FileReplacement {
public:
    FileReplacement() noexcept = default;
    /// Without Commit() nothing stays behind, nor after a Commit() that fails while the old file is there.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Each is 1 or an error. After an error only the destructor is left.
    int32_t Begin(const ZvChar* name, const SAVEFILEOPTION* options) noexcept;
    int32_t Write(const void* data, uint64_t count) noexcept;
    /// Bytes of another file.
    int32_t Copy(ImageFile* from, uint64_t offset, uint64_t count) noexcept;
    /// Bytes written so far.
    uint64_t Size() const noexcept { return size_; }
    /// `old` is closed before: a file that is open has to stay on some systems.
    int32_t Commit(ImageFile* old) noexcept;

private:
    static constexpr size_t kNameLength = 4096;

    bool MakeName(uint32_t number) noexcept;

    HANDLE handle_ = INVALID_HANDLE_VALUE;
    uint64_t size_ = 0;
    const ZvChar* backup_ = nullptr;
    size_t folderLength_ = 0;
    ZvChar final_[kNameLength] = {};
    ZvChar temporary_[kNameLength] = {};
};

}  // namespace zvhost
