#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "host/common/utf.h"
#include "host/platform.h"

namespace {

DWORD ErrorFromErrno(int error) noexcept {
    switch (error) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case EEXIST:
            return ERROR_FILE_EXISTS;
        case ENOSPC:
        case EFBIG:
            return ERROR_DISK_FULL;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        default:
            return ERROR_GEN_FAILURE;
    }
}

bool Fail(int error) noexcept {
    SetLastError(ErrorFromErrno(error));
    return false;
}

// Descriptor 0 must not look like a null handle.
HANDLE HandleOf(int descriptor) noexcept { return reinterpret_cast<HANDLE>(static_cast<intptr_t>(descriptor) + 1); }
int DescriptorOf(HANDLE handle) noexcept { return static_cast<int>(reinterpret_cast<intptr_t>(handle) - 1); }

bool PathOf(LPCWSTR name, char (&path)[PATH_MAX]) noexcept {
    if (name != nullptr && ZvUtf8FromUtf16(name, path, sizeof path)) return true;
    SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD, HANDLE) noexcept {
    char path[PATH_MAX];
    if (!PathOf(name, path)) return INVALID_HANDLE_VALUE;
    constexpr int kRefused = -1;
    int flags = O_CLOEXEC;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (writes) {
        flags |= (access & GENERIC_READ) != 0 ? O_RDWR : O_WRONLY;
    } else {
        flags |= O_RDONLY;
    }
    switch (disposition) {
        case CREATE_NEW:
            flags |= O_CREAT | O_EXCL;
            break;
        case CREATE_ALWAYS:
            flags |= O_CREAT | O_TRUNC;
            break;
        case OPEN_EXISTING:
            break;
        case OPEN_ALWAYS:
            flags |= O_CREAT;
            break;
        case TRUNCATE_EXISTING:
            // Asked for with the right to write only.
            flags = writes ? flags | O_TRUNC : kRefused;
            break;
        default:
            flags = kRefused;
            break;
    }
    if (flags == kRefused) {
        Fail(EINVAL);
        return INVALID_HANDLE_VALUE;
    }
    int descriptor = -1;
    do {
        // A pipe without a writer would hold the caller for ever.
        descriptor = open(path, flags | O_NONBLOCK, 0666);
    } while (descriptor < 0 && errno == EINTR);
    struct stat status;
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && (S_ISDIR(status.st_mode) || S_ISFIFO(status.st_mode))) {
        close(descriptor);
        descriptor = -1;
        errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    }
    if (descriptor < 0) {
        Fail(errno);
        return INVALID_HANDLE_VALUE;
    }
    return HandleOf(descriptor);
}

BOOL CloseHandle(HANDLE handle) noexcept { return close(DescriptorOf(handle)) == 0 ? TRUE : Fail(errno); }

BOOL ReadFile(HANDLE handle, void* buffer, DWORD count, DWORD* done, OVERLAPPED*) noexcept {
    auto* to = static_cast<char*>(buffer);
    DWORD got = 0;
    *done = 0;
    while (got < count) {
        const ssize_t piece = read(DescriptorOf(handle), to + got, count - got);
        if (piece < 0 && errno == EINTR) continue;
        if (piece < 0) return Fail(errno);
        if (piece == 0) break;
        got += static_cast<DWORD>(piece);
    }
    *done = got;
    return TRUE;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD count, DWORD* done, OVERLAPPED*) noexcept {
    const auto* from = static_cast<const char*>(buffer);
    *done = 0;
    while (*done < count) {
        const ssize_t piece = write(DescriptorOf(handle), from + *done, count - *done);
        if (piece < 0 && errno == EINTR) continue;
        if (piece < 0) return Fail(errno);
        if (piece == 0) return Fail(ENOSPC);
        *done += static_cast<DWORD>(piece);
    }
    return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG low, LONG* high, DWORD origin) noexcept {
    int64_t distance = low;
    if (high != nullptr) {
        const uint64_t whole = (static_cast<uint64_t>(static_cast<uint32_t>(*high)) << 32) | static_cast<uint32_t>(low);
        distance = static_cast<int64_t>(whole);
    }
    const int whence = origin == FILE_BEGIN ? SEEK_SET : origin == FILE_CURRENT ? SEEK_CUR : SEEK_END;
    const off_t position = lseek(DescriptorOf(handle), distance, whence);
    if (position < 0) {
        SetLastError(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorFromErrno(errno));
        return INVALID_SET_FILE_POINTER;
    }
    if (high != nullptr) {
        *high = static_cast<LONG>(position >> 32);
    } else if (position > 0xFFFFFFFELL) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    SetLastError(0);
    return static_cast<DWORD>(position & 0xFFFFFFFFLL);
}

// Names are taken literally: '*' and '?' are ordinary characters of a POSIX name.
HANDLE FindFirstFileW(LPCWSTR name, WIN32_FIND_DATAW* data) noexcept {
    char path[PATH_MAX];
    struct stat status;
    if (!PathOf(name, path)) return INVALID_HANDLE_VALUE;
    if (stat(path, &status) != 0) {
        Fail(errno);
        return INVALID_HANDLE_VALUE;
    }
    data->dwFileAttributes = S_ISDIR(status.st_mode) ? 0x10 : FILE_ATTRIBUTE_NORMAL;
    static char search;
    return &search;
}

BOOL FindClose(HANDLE) noexcept { return TRUE; }
