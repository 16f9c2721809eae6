#include "host/helper_program.h"

#include <dlfcn.h>
#include <link.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

/// Where the helper finds its end of the connection.
constexpr int kReplyDescriptor = 3;
constexpr int kMostArguments = 8;

/// The file that this code is in, links resolved: the library, or the program that it was linked into.
bool OwnFile(char (&path)[PATH_MAX]) noexcept {
    Dl_info info;
    void* map = nullptr;
    if (dladdr1(reinterpret_cast<void*>(&ZvRunHelper), &info, &map, RTLD_DL_LINKMAP) == 0) return false;
    const char* name = static_cast<const link_map*>(map)->l_name;
    return realpath(name[0] != 0 ? name : "/proc/self/exe", path) != nullptr;
}

bool IsProgram(const char* path) noexcept {
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) && access(path, X_OK) == 0;
}

bool IsProgramIn(const char* folder, const char* below, const char* program, char (&path)[PATH_MAX]) noexcept {
    const int length = std::snprintf(path, sizeof path, "%s/%s/%s", folder, below, program);
    return length > 0 && length < PATH_MAX && IsProgram(path);
}

bool FindProgram(const char* program, char (&path)[PATH_MAX]) noexcept {
    char folder[PATH_MAX];
    if (OwnFile(folder)) {
        *std::strrchr(folder, '/') = 0;
        // As installed; as built, and as most trees are laid out; and beside a program with the library in it.
        for (const char* below : {ZVCLR_PROGRAMS_FROM_LIBRARY, "../bin", "."}) {
            if (IsProgramIn(folder, below, program, path)) return true;
        }
    }
    return IsProgramIn(ZVCLR_PROGRAMS, ".", program, path);
}

/// What a child starts with.
class SpawnSettings {
public:
    SpawnSettings() noexcept {
        ready_ = posix_spawn_file_actions_init(&actions_) == 0;
        if (ready_ && posix_spawnattr_init(&attributes_) != 0) {
            posix_spawn_file_actions_destroy(&actions_);
            ready_ = false;
        }
    }
    ~SpawnSettings() {
        if (!ready_) return;
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    /// Signals as a new program expects them, whatever this one ignores or blocks, and no files of this one.
    bool Set(int replyEnd) noexcept {
        if (!ready_) return false;
        sigset_t none;
        sigset_t usual;
        sigemptyset(&none);
        sigemptyset(&usual);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) sigaddset(&usual, signal);
        return posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
               posix_spawnattr_setsigdefault(&attributes_, &usual) == 0 &&
               posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0 &&
               posix_spawn_file_actions_adddup2(&actions_, replyEnd, kReplyDescriptor) == 0 &&
               posix_spawn_file_actions_addclosefrom_np(&actions_, kReplyDescriptor + 1) == 0;
    }

    bool Start(pid_t* child, const char* path, char* const* arguments) const noexcept {
        return posix_spawn(child, path, &actions_, &attributes_, arguments, environ) == 0;
    }

private:
    bool ready_ = false;
    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

bool Start(const char* path, const char* const* arguments, int replyEnd, pid_t* child) noexcept {
    char descriptor[12];
    std::snprintf(descriptor, sizeof descriptor, "%d", kReplyDescriptor);
    const char* all[kMostArguments + 4] = {path};
    int count = 1;
    for (; *arguments != nullptr && count <= kMostArguments; ++arguments) all[count++] = *arguments;
    all[count++] = "--reply-to";
    all[count] = descriptor;
    SpawnSettings settings;
    return settings.Set(replyEnd) && settings.Start(child, path, const_cast<char* const*>(all));
}

/// Reads until the other end is closed: exactly `size` bytes.
bool ReadReply(int end, char* reply, size_t size) noexcept {
    size_t done = 0;
    char beyond;
    for (;;) {
        const bool full = done == size;
        const ssize_t count = read(end, full ? &beyond : reply + done, full ? 1 : size - done);
        if (count == 0) return full;
        if (count > 0 && full) return false;
        if (count > 0) done += static_cast<size_t>(count);
        if (count < 0 && errno != EINTR) return false;
    }
}

/// The reply tells how it went; somebody else in this process may have taken the status.
void WaitFor(pid_t child) noexcept {
    int status;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

bool ZvRunHelper(const char* program, const char* const* arguments, void* reply, size_t size) noexcept {
    char path[PATH_MAX];
    if (!FindProgram(program, path)) return false;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
    pid_t child;
    const bool started = Start(path, arguments, ends[1], &child);
    close(ends[1]);
    const bool replied = started && ReadReply(ends[0], static_cast<char*>(reply), size);
    close(ends[0]);
    if (started) WaitFor(child);
    return replied;
}
