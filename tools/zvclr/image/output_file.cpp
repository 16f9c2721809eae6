#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "image.h"

namespace zvimage {

namespace {

constexpr size_t kBufferBytes = 65536;
constexpr std::array kSignals = {SIGHUP, SIGINT, SIGTERM};

// What a signal handler may read: an output and a copy of what was there before.
struct Unfinished {
    char name[PATH_MAX];
    volatile std::sig_atomic_t used;
};
std::array<Unfinished, 2> unfinished;

void removeUnfinished(int signal) {
    for (const Unfinished& file : unfinished) {
        if (file.used != 0) {
            ::unlink(file.name);
        }
    }
    // The signal is blocked here and ends the process on return.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// The signals are blocked while these run.
void noteUnfinished(const std::string& name) {
    for (Unfinished& file : unfinished) {
        if (file.used == 0 && name.size() < sizeof file.name) {
            std::memcpy(file.name, name.c_str(), name.size() + 1);
            file.used = 1;
            return;
        }
    }
}

void noteFinished(const std::string& name) {
    for (Unfinished& file : unfinished) {
        file.used = file.used != 0 && name != file.name ? 1 : 0;
    }
}

class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : kSignals) {
            sigaddset(&set, signal);
        }
        ::sigprocmask(SIG_BLOCK, &set, &old_);
    }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;
    ~BlockedSignals() { ::sigprocmask(SIG_SETMASK, &old_, nullptr); }

private:
    sigset_t old_;
};

bool writeFull(int descriptor, const uint8_t* data, size_t count) noexcept {
    while (count > 0) {
        const ssize_t done = ::write(descriptor, data, count);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done < 0) {
            return false;
        }
        data += done;
        count -= static_cast<size_t>(done);
    }
    return true;
}

mode_t currentUmask() {
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

}  // namespace

void removeTemporaryOnSignals() {
    for (const int signal : kSignals) {
        struct sigaction old = {};
        ::sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_IGN) {
            continue;
        }
        struct sigaction action = {};
        action.sa_handler = removeUnfinished;
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

OutputFile::OutputFile(const std::string& path) : name_(path == "-" ? "standard output" : path), buffer_(kBufferBytes) {
    if (path == "-") {
        descriptor_ = STDOUT_FILENO;
        return;
    }
    // A link is followed, so that it goes on pointing to the file.
    char resolved[PATH_MAX];
    target_ = ::realpath(path.c_str(), resolved) != nullptr ? resolved : path;
    struct stat status = {};
    if (::stat(target_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) {
            throw ImageError("cannot write " + name_ + ": " + std::strerror(errno));
        }
        owned_ = true;
        return;
    }
    createTemporary();
}

void OutputFile::createTemporary() {
    const size_t slash = target_.rfind('/');
    std::string name = (slash == std::string::npos ? "" : target_.substr(0, slash + 1)) + ".zvclr-XXXXXX";
    struct stat status = {};
    const bool exists = ::stat(target_.c_str(), &status) == 0;
    if (exists && ::access(target_.c_str(), W_OK) != 0) {
        throw ImageError("cannot write " + name_ + ": " + std::strerror(errno));
    }
    const BlockedSignals blocked;
    descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        throw ImageError("cannot write " + name_ + ": " + std::strerror(errno));
    }
    owned_ = true;
    temporary_ = name;
    // mkostemp gives the file to its owner alone.
    if (::fchmod(descriptor_, exists ? status.st_mode & 0777 : 0666 & ~currentUmask()) != 0) {
        error_ = errno;
    }
    noteUnfinished(name);
}

OutputFile::~OutputFile() {
    if (owned_) {
        ::close(descriptor_);
    }
    if (!temporary_.empty()) {
        const BlockedSignals blocked;
        ::unlink(temporary_.c_str());
        noteFinished(temporary_);
    }
}

void OutputFile::fail() const {
    throw ImageError("cannot write " + name_ + ": " + std::strerror(error_ != 0 ? error_ : EIO));
}

bool OutputFile::flush() noexcept {
    const bool done = writeFull(descriptor_, buffer_.data(), used_);
    if (!done) {
        error_ = errno;
    }
    used_ = 0;
    return done;
}

bool OutputFile::put(const void* data, size_t count) noexcept {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    if (used_ + count > buffer_.size() && !flush()) {
        return false;
    }
    if (count > buffer_.size()) {
        const bool done = writeFull(descriptor_, bytes, count);
        error_ = done ? error_ : errno;
        return done;
    }
    std::copy_n(bytes, count, buffer_.data() + used_);
    used_ += count;
    return true;
}

void OutputFile::write(const void* data, size_t count) {
    if (!put(data, count)) {
        fail();
    }
}

void OutputFile::handOver() {
    if (!flush()) {
        fail();
    }
}

void OutputFile::commit() {
    handOver();
    if (owned_) {
        owned_ = false;
        if (::close(descriptor_) != 0) {
            error_ = errno;
            fail();
        }
    }
    if (temporary_.empty()) {
        return;
    }
    const BlockedSignals blocked;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
        error_ = errno;
        fail();
    }
    noteFinished(temporary_);
    temporary_.clear();
}

}  // namespace zvimage
