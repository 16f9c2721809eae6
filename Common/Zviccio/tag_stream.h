// The one way in which the bytes of a profile are read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Common/Zviccio/profile.h"

namespace zv {

/// Reads a profile from its file or from its block. Both kinds share one position among all readers of a profile.
class TagStream {
public:
    explicit TagStream(CmmProfile& profile) noexcept : profile_(profile) {}

    /// From the start of the profile; false when the file cannot be positioned there.
    bool Seek(uint64_t offset) noexcept;
    /// All of the bytes or false.
    bool Read(void* buffer, size_t count) noexcept;
    /// Whether so many bytes follow. What a profile claims is held against this before memory is taken for it.
    bool Holds(uint64_t count) noexcept;

private:
    bool FromFile() const noexcept { return profile_.file != kNoHostFile; }
    size_t LeftInBlock() const noexcept {
        return profile_.blockSize - static_cast<size_t>(profile_.cursor - profile_.block);
    }

    CmmProfile& profile_;
};

}  // namespace zv
