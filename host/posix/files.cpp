#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "host/ansi.h"
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

/// Owner and rights of another file. Only the super-user can give files away, and others only to groups of theirs.
bool TakeRights(const char* path, const struct stat& from) noexcept {
    mode_t rights = from.st_mode & mode_t{07777};
    // The owner first, since a change of owner takes rights away.
    if (chown(path, from.st_uid, from.st_gid) != 0) {
        rights &= ~mode_t{S_ISUID | S_ISGID};
        // What the old group was allowed is no other group's business.
        const mode_t everybody = rights & S_IRWXO;
        if (chown(path, static_cast<uid_t>(-1), from.st_gid) != 0) rights &= ~mode_t{S_IRWXG} | everybody << 3;
    }
    return chmod(path, rights) == 0 || Fail(errno);
}

/// Gives a file a second name, in place of another file of that name, and is never without either on the way.
/// `unique` is the beginning of a name that nobody else uses.
bool KeepAs(const char* path, const struct stat& status, LPCWSTR backup, const char* unique) noexcept {
    char backupPath[PATH_MAX];
    char linkPath[PATH_MAX];
    if (!PathOf(backup, backupPath)) return false;
    struct stat there;
    const bool isThere = stat(backupPath, &there) == 0;
    if (isThere && there.st_dev == status.st_dev && there.st_ino == status.st_ino) return Fail(EEXIST);
    if (std::snprintf(linkPath, sizeof linkPath, "%s~", unique) >= PATH_MAX) return Fail(ENAMETOOLONG);
    if (link(path, linkPath) != 0) return Fail(errno);
    if (rename(linkPath, backupPath) == 0) return true;
    const int error = errno;
    unlink(linkPath);
    return Fail(error);
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD,
                   HANDLE) noexcept {
    char path[PATH_MAX];
    if (!PathOf(name, path)) return INVALID_HANDLE_VALUE;
    constexpr int kRefused = -1;
    int flags = O_CLOEXEC;
    mode_t mode = 0666;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (writes) {
        flags |= (access & GENERIC_READ) != 0 ? O_RDWR : O_WRONLY;
    } else {
        flags |= O_RDONLY;
    }
    switch (disposition) {
        case CREATE_NEW:
            flags |= O_CREAT | O_EXCL;
            // Not shared: nobody else is to see what comes into it.
            if (share == 0) mode = 0600;
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
        descriptor = open(path, flags | O_NONBLOCK, mode);
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

BOOL FlushFileBuffers(HANDLE handle) noexcept { return fsync(DescriptorOf(handle)) == 0 ? TRUE : Fail(errno); }

BOOL DeleteFileW(LPCWSTR name) noexcept {
    char path[PATH_MAX];
    if (!PathOf(name, path)) return FALSE;
    return unlink(path) == 0 ? TRUE : Fail(errno);
}

BOOL ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup, DWORD, void*, void*) noexcept {
    char oldPath[PATH_MAX];
    char newPath[PATH_MAX];
    struct stat status;
    if (!PathOf(replaced, oldPath) || !PathOf(replacement, newPath)) return FALSE;
    if (stat(oldPath, &status) != 0) return Fail(errno);
    // A folder's rights alone would do for what follows.
    if (faccessat(AT_FDCWD, oldPath, W_OK, AT_EACCESS) != 0) return Fail(errno);
    if (!TakeRights(newPath, status)) return FALSE;
    if (backup != nullptr && !KeepAs(oldPath, status, backup, newPath)) return FALSE;
    return rename(newPath, oldPath) == 0 ? TRUE : Fail(errno);
}

DWORD GetFileType(HANDLE handle) noexcept {
    struct stat status;
    if (fstat(DescriptorOf(handle), &status) != 0) return FILE_TYPE_UNKNOWN;
    if (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode)) return FILE_TYPE_DISK;
    return S_ISCHR(status.st_mode) ? FILE_TYPE_CHAR : FILE_TYPE_PIPE;
}

std::FILE* ZvOpenStream(const ZvChar* name, const char* mode) noexcept {
    char path[PATH_MAX];
    return PathOf(name, path) ? std::fopen(path, mode) : nullptr;
}

bool ZvFinalName(const ZvChar* name, ZvChar* buffer, size_t count, size_t* folderLength) noexcept {
    char path[PATH_MAX];
    char final[PATH_MAX];
    struct stat status;
    if (!PathOf(name, path) || lstat(path, &status) != 0) return false;
    // Other names stay as they are: their folders may have names that cannot be converted.
    const bool linked = S_ISLNK(status.st_mode);
    if (linked && realpath(path, final) == nullptr) return false;
    if (!ZvWideFromAnsi(linked ? final : path, buffer, count)) return false;
    *folderLength = 0;
    for (size_t i = 0; buffer[i] != 0; ++i) {
        if (buffer[i] == '/') *folderLength = i + 1;
    }
    return true;
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
