#include <cstddef>

#include "Common/IccLoad/load.h"

namespace zv {

namespace {

constexpr char kBeginLine[] = "%%BeginICCProfile:";
constexpr int32_t kBeginSize = sizeof kBeginLine - 1;
constexpr char kEndLine[] = "%%EndICCProfile";
constexpr int32_t kEndSize = sizeof kEndLine - 1;

/// The file by way of a small buffer: what stands from `at` on is in hand.
class Window {
public:
    Window(HostFile file, uint8_t* buffer) noexcept : file_(file), buffer_(buffer) {}

    int32_t InHand() const noexcept { return size_ - at_; }
    const uint8_t* Here() const noexcept { return buffer_ + at_; }
    uint8_t operator[](int32_t i) const noexcept { return buffer_[at_ + i]; }
    void Step(int32_t count) noexcept { at_ += count; }
    bool StartsWith(const char* text, int32_t size) const noexcept {
        return HostCompare(Here(), text, static_cast<size_t>(size)) == 0;
    }

    /// New contents; false at the end of the file.
    bool Fresh() noexcept {
        at_ = 0;
        size_ = Taken(HostFileRead(file_, buffer_, kIccEpsBufferSize), kIccEpsBufferSize);
        return size_ > 0;
    }
    /// Makes sure that so many bytes are in hand; false if the file ends before.
    bool Have(int32_t count) noexcept {
        while (InHand() < count) {
            HostMove(buffer_, Here(), static_cast<size_t>(InHand()));
            size_ = InHand();
            at_ = 0;
            const int32_t room = kIccEpsBufferSize - size_;
            const int32_t got = Taken(HostFileReadMore(file_, buffer_ + size_, room), room);
            if (got < 1) return false;
            size_ += got;
        }
        return true;
    }

private:
    /// A host that says more than it was asked for is not believed.
    static int32_t Taken(int32_t got, int32_t asked) noexcept { return got < 0 ? 0 : got < asked ? got : asked; }

    HostFile file_;
    uint8_t* buffer_;
    int32_t at_ = 0;
    int32_t size_ = 0;
};

constexpr int32_t kNoDigit = -1;

int32_t DigitOf(uint8_t c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return kNoDigit;
}

/// Bytes on their way to the profile. What is in it goes there with the byte that finds it full, never by itself.
class Staging {
public:
    int32_t Put(ClrIccProfile* profile, uint8_t byte) noexcept {
        if (count_ == kSize) {
            const int32_t result = IccAppendProfileBytes(profile, kSize, bytes_);
            if (result != CLR_SUCCESS) return result;
            count_ = 0;
        }
        bytes_[count_++] = byte;
        return CLR_SUCCESS;
    }

private:
    static constexpr size_t kSize = 80;
    uint8_t bytes_[kSize] = {};
    size_t count_ = 0;
};

/// The hexadecimal digits of a line and of those that follow it directly. 1: on with the search for lines.
int32_t ReadHex(Window* window, ClrIccProfile* profile, Staging* staging) noexcept {
    constexpr int32_t kLookAhead = 4;
    for (;;) {
        if (!window->Have(kLookAhead)) return ERR_PROFILE_TRUNCATED;
        const uint8_t c = (*window)[0];
        const int32_t high = DigitOf(c);
        if (high != kNoDigit) {
            const int32_t low = DigitOf((*window)[1]);
            if (low == kNoDigit) {
                window->Step(1);
                return CLR_SUCCESS;
            }
            const int32_t result = staging->Put(profile, static_cast<uint8_t>(high << 4 | low));
            if (result != CLR_SUCCESS) return result;
            window->Step(2);
        } else if (c == '\r') {
            const bool paired = (*window)[1] == '\n';
            if (paired && (*window)[2] == ' ') {
                window->Step(3);
                continue;
            }
            window->Step(paired ? 2 : 1);
            return CLR_SUCCESS;
        } else {
            return c == '%' ? int32_t{CLR_SUCCESS} : int32_t{ERR_PROFILE_TRUNCATED};
        }
    }
}

int32_t ReadLines(Window* window, ClrIccProfile* profile) noexcept {
    constexpr int32_t kLookAhead = 5;
    Staging staging;
    if (!window->Fresh()) return ERR_PROFILE_UNUSABLE;
    for (;;) {
        if (!window->Have(kLookAhead)) return ERR_PROFILE_TRUNCATED;
        if ((*window)[0] != '%') {
            window->Step(1);
            continue;
        }
        const uint8_t second = (*window)[1];
        if (second == '%') {
            if (!window->Have(kEndSize)) return ERR_PROFILE_TRUNCATED;
            if (window->StartsWith(kEndLine, kEndSize)) return CLR_SUCCESS;
        }
        window->Step(2);
        if (second == ' ') {
            const int32_t result = ReadHex(window, profile, &staging);
            if (result != CLR_SUCCESS) return result;
        }
    }
}

}  // namespace

int64_t IccFindEpsBegin(HostFile file, uint8_t* buffer) noexcept {
    Window window(file, buffer);
    if (!window.Fresh()) return kIccEpsEmpty;
    for (;;) {
        // Wherever a "%" stands, only the end of the file ends the search: 18 last bytes are not looked at any more.
        if (!window.Have(kBeginSize + 1)) return kIccEpsNotFound;
        const uint8_t* found = HostFind(window.Here(), '%', static_cast<size_t>(window.InHand()));
        if (found == nullptr) {
            if (!window.Fresh()) return kIccEpsNotFound;
            continue;
        }
        window.Step(static_cast<int32_t>(found - window.Here()));
        if (!window.Have(kBeginSize)) return kIccEpsNotFound;
        if (window.StartsWith(kBeginLine, kBeginSize)) {
            return HostFileSeek(file, int64_t{kBeginSize} - window.InHand(), kHostSeekHere);
        }
        window.Step(1);
    }
}

int32_t IccReadEpsHex(IccScan* scan) noexcept {
    Window window(scan->file, scan->buffer);
    const int32_t result = ReadLines(&window, scan->profile);
    scan->Release();
    return result;
}

int32_t IccReadEps(IccScan* scan) noexcept {
    if (!scan->NewBuffer(kIccEpsBufferSize)) return ERR_FAILURE;
    if (IccFindEpsBegin(scan->file, scan->buffer) != kIccEpsNotFound) return IccReadEpsHex(scan);
    scan->Release();
    return ERR_NO_PROFILE;
}

}  // namespace zv
