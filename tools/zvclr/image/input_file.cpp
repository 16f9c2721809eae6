#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "image.h"

namespace zvimage {

namespace {

constexpr size_t kBufferBytes = 65536;

// Calls piece(done) until `enough` bytes are there, the input ends or it fails: a pipe may deliver in small pieces.
template <class Piece>
int64_t readUntil(size_t enough, const Piece& piece) noexcept {
    size_t done = 0;
    while (done < enough) {
        const ssize_t got = piece(done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    return static_cast<int64_t>(done);
}

int64_t readFull(int descriptor, uint8_t* data, size_t count, size_t enough) noexcept {
    return readUntil(enough, [=](size_t done) { return ::read(descriptor, data + done, count - done); });
}

}  // namespace

InputFile::InputFile(const std::string& path) : name_(path == "-" ? "standard input" : path) {
    if (path == "-") {
        descriptor_ = STDIN_FILENO;
    } else {
        descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor_ < 0) {
            throw ImageError("cannot open " + name_ + ": " + std::strerror(errno));
        }
        owned_ = true;
    }
    struct stat status = {};
    if (::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        start_ = std::max<int64_t>(0, ::lseek(descriptor_, 0, SEEK_CUR));
        size_ = std::max<int64_t>(0, status.st_size - start_);
    }
}

InputFile::~InputFile() {
    if (owned_) {
        ::close(descriptor_);
    }
}

void InputFile::fail(int error) const { throw ImageError("cannot read " + name_ + ": " + std::strerror(error)); }

void InputFile::fill(size_t count, size_t enough) {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(position_));
    position_ = 0;
    const size_t old = buffer_.size();
    if (old >= enough) {
        return;
    }
    buffer_.resize(count);
    const int64_t got = readFull(descriptor_, buffer_.data() + old, count - old, enough - old);
    const int error = errno;
    buffer_.resize(old + static_cast<size_t>(std::max<int64_t>(0, got)));
    if (got < 0) {
        fail(error);
    }
}

const std::vector<uint8_t>& InputFile::peek(size_t count) {
    fill(count, count);
    return buffer_;
}

int64_t InputFile::read(void* data, size_t count) noexcept {
    const size_t buffered = std::min(count, buffer_.size() - position_);
    uint8_t* bytes = static_cast<uint8_t*>(data);
    if (buffered > 0) {
        std::memcpy(bytes, buffer_.data() + position_, buffered);
        position_ += buffered;
    }
    if (buffered == count) {
        return static_cast<int64_t>(count);
    }
    const int64_t got = readFull(descriptor_, bytes + buffered, count - buffered, count - buffered);
    return got < 0 ? -1 : got + static_cast<int64_t>(buffered);
}

size_t InputFile::readUpTo(void* data, size_t count) {
    const int64_t got = read(data, count);
    if (got < 0) {
        fail(errno);
    }
    return static_cast<size_t>(got);
}

void InputFile::readAll(void* data, size_t count) {
    if (readUpTo(data, count) < count) {
        throw ImageError(name_ + " is damaged: it ends too early");
    }
}

int InputFile::get() {
    if (position_ == buffer_.size()) {
        fill(kBufferBytes, 1);
        if (buffer_.empty()) {
            return -1;
        }
    }
    return buffer_[position_++];
}

void InputFile::makeSeekable() {
    if (size_) {
        return;
    }
    std::FILE* spool = std::tmpfile();
    if (spool == nullptr) {
        throw ImageError(std::string("cannot create a temporary file: ") + std::strerror(errno));
    }
    const int copy = ::fcntl(::fileno(spool), F_DUPFD_CLOEXEC, 0);
    std::fclose(spool);
    if (copy < 0) {
        throw ImageError(std::string("cannot create a temporary file: ") + std::strerror(errno));
    }
    const int pipe = descriptor_;
    const bool pipeOwned = owned_;
    std::vector<uint8_t> block(kBufferBytes);
    int64_t total = 0;
    int64_t got = 0;
    bool written = true;
    while (written && (got = read(block.data(), block.size())) > 0) {
        written = ::write(copy, block.data(), static_cast<size_t>(got)) == got;
        total += got;
    }
    const int error = errno;
    if (!written) {
        ::close(copy);
        throw ImageError(std::string("cannot write a temporary file: ") + std::strerror(error));
    }
    if (got < 0) {
        ::close(copy);
        fail(error);
    }
    if (pipeOwned) {
        ::close(pipe);
    }
    descriptor_ = copy;
    owned_ = true;
    buffer_.clear();
    position_ = 0;
    start_ = 0;
    size_ = total;
    ::lseek(descriptor_, 0, SEEK_SET);
}

int64_t InputFile::readAt(void* data, size_t count, int64_t offset) noexcept {
    uint8_t* bytes = static_cast<uint8_t*>(data);
    return readUntil(count, [=, this](size_t done) {
        return ::pread(descriptor_, bytes + done, count - done, start_ + offset + static_cast<int64_t>(done));
    });
}

}  // namespace zvimage
