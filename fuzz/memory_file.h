// A file without a place in a folder; its name opens it anew.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "zvclr.h"

namespace zvfuzz {

class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("input", 0)) {
        if (descriptor_ < 0) std::abort();
        for (const char c : "/proc/self/fd/" + std::to_string(descriptor_)) name_.push_back(ZvChar(c));
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void Hold(const uint8_t* bytes, size_t size) const {
        if (ftruncate(descriptor_, 0) != 0) std::abort();
        if (pwrite(descriptor_, bytes, size, 0) != static_cast<ssize_t>(size)) std::abort();
    }
    const ZvChar* Name() const { return name_.c_str(); }

private:
    int descriptor_;
    std::basic_string<ZvChar> name_;
};

}  // namespace zvfuzz
