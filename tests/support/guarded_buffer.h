// Memory between unreadable pages, so that one byte read or written too far is a fault.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zv::test {

class GuardedBuffer {
public:
    /// Which guard page the bytes touch.
    enum class Side { kFront, kBack };

    explicit GuardedBuffer(size_t size, Side side = Side::kBack, uint8_t fill = 0xCD);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* Data() const noexcept { return data_; }
    size_t Size() const noexcept { return size_; }
    uint8_t* begin() const noexcept { return data_; }
    uint8_t* end() const noexcept { return data_ + size_; }

    void Fill(uint8_t value) noexcept;
    /// Every page of the bytes.
    void MakeReadOnly();
    void MakeUnreadable();
    void MakeWritable();
    /// The page that holds byte `offset` only.
    void MakePageUnreadable(size_t offset);
    void MakePageReadOnly(size_t offset);

    static size_t PageSize() noexcept;

private:
    uint8_t* base_;
    size_t mapped_;  ///< without the guards
    uint8_t* data_;
    size_t size_;
};

}  // namespace zv::test
