#include "file_cursor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "image/image.h"

namespace zvembed {

namespace {

constexpr size_t kWindowBytes = 65536;

}  // namespace

FileCursor::FileCursor(zvimage::InputFile& file)
    : file_(file), size_(static_cast<uint64_t>(file.size().value_or(0))), window_(kWindowBytes) {}

void FileCursor::seek(uint64_t position) {
    failed_ = failed_ || position > size_;
    position_ = failed_ ? size_ : position;
}

void FileCursor::skip(uint64_t count) {
    failed_ = failed_ || count > left();
    position_ = failed_ ? size_ : position_ + count;
}

void FileCursor::endAt(uint64_t position) {
    size_ = std::min(size_, position);
    seek(position_);
}

size_t FileCursor::fill(size_t count) {
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(count, left()));
    if (position_ < windowStart_ || position_ + wanted > windowStart_ + windowUsed_) {
        const auto bytes = static_cast<size_t>(std::min<uint64_t>(window_.size(), left()));
        const int64_t got = file_.readAt(window_.data(), bytes, static_cast<int64_t>(position_));
        if (got < 0) {
            throw zvimage::ImageError("cannot read " + file_.name() + ": " + std::strerror(errno));
        }
        windowStart_ = position_;
        windowUsed_ = static_cast<size_t>(got);
    }
    return static_cast<size_t>(std::min<uint64_t>(wanted, windowStart_ + windowUsed_ - position_));
}

uint64_t FileCursor::number(size_t count) {
    if (failed_ || fill(count) < count) {
        failed_ = true;
        position_ = size_;
        return 0;
    }
    uint64_t result = 0;
    const uint8_t* bytes = window_.data() + (position_ - windowStart_);
    for (size_t i = 0; i < count; ++i) {
        result = result << 8 | bytes[i];
    }
    position_ += count;
    return result;
}

uint16_t FileCursor::u16Little() {
    const uint16_t number = u16();
    return static_cast<uint16_t>(number << 8 | number >> 8);
}

uint32_t FileCursor::u32Little() {
    const uint32_t low = u16Little();
    return low | uint32_t{u16Little()} << 16;
}

std::vector<uint8_t> FileCursor::take(uint64_t count) {
    if (failed_ || count > left()) {
        failed_ = true;
        position_ = size_;
        return {};
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(count));
    size_t done = 0;
    while (done < bytes.size()) {
        const size_t step = fill(std::min(kWindowBytes, bytes.size() - done));
        if (step == 0) {
            failed_ = true;
            position_ = size_;
            return {};
        }
        std::memcpy(bytes.data() + done, window_.data() + (position_ - windowStart_), step);
        done += step;
        position_ += step;
    }
    return bytes;
}

int FileCursor::peek() { return failed_ || fill(1) == 0 ? -1 : window_[position_ - windowStart_]; }

}  // namespace zvembed
