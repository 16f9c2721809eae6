#include "host/helper_program.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
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

/// The file that the kernel has mapped at an address, links resolved.
bool MappedFile(const void* address, char (&path)[PATH_MAX]) noexcept {
    std::FILE* maps = std::fopen("/proc/self/maps", "re");
    if (maps == nullptr) return false;
    const auto wanted = reinterpret_cast<uintptr_t>(address);
    bool found = false;
    char line[PATH_MAX + 128];
    while (std::fgets(line, sizeof line, maps) != nullptr) {
        uintptr_t from = 0;
        uintptr_t to = 0;
        if (std::sscanf(line, "%" SCNxPTR "-%" SCNxPTR, &from, &to) != 2 || wanted < from || wanted >= to) continue;
        line[std::strcspn(line, "\n")] = 0;
        const char* name = std::strchr(line, '/');
        found = name != nullptr && realpath(name, path) != nullptr;
        break;
    }
    std::fclose(maps);
    return found;
}

/// The file that this code is in, links resolved: the library, or the program that it was linked into.
bool OwnFile(char (&path)[PATH_MAX]) noexcept {
    void* const here = reinterpret_cast<void*>(&ZvRunHelper);
    Dl_info info;
    void* map = nullptr;
    if (dladdr1(here, &info, &map, RTLD_DL_LINKMAP) == 0) return MappedFile(here, path);
    const char* name = static_cast<const link_map*>(map)->l_name;
    // A relative name counts from the folder that was current when the library was loaded; by now another may be.
    if (name[0] != 0 && name[0] != '/') return MappedFile(here, path);
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
        // As built, and as most trees are laid out; as installed; and beside a program with the library in it.
        for (const char* below : {"../bin", ZVCLR_PROGRAMS_FROM_LIBRARY, "."}) {
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
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        return posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
               posix_spawnattr_setsigdefault(&attributes_, &all) == 0 &&
               posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0 &&
               posix_spawn_file_actions_adddup2(&actions_, replyEnd, kReplyDescriptor) == 0 &&
               posix_spawn_file_actions_addclosefrom_np(&actions_, kReplyDescriptor + 1) == 0 && FillStandard();
    }

    bool Start(pid_t* child, const char* path, char* const* arguments) const noexcept {
        return posix_spawn(child, path, &actions_, &attributes_, arguments, environ) == 0;
    }

private:
    /// What this process has closed would be given to the first file that the program opens.
    bool FillStandard() noexcept {
        for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
            const int flags = fcntl(number, F_GETFD);
            const bool inherited = flags >= 0 && (flags & FD_CLOEXEC) == 0;
            if (!inherited && posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", O_RDWR, 0) != 0) {
                return false;
            }
        }
        return true;
    }

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

/// Never 0 to 2, even where this process has closed them: its own messages would go to the program, or be its reply.
int AboveStandard(int descriptor) noexcept {
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return moved;
}

/// Reads until the other end is closed, or the program has ended and a process that was forked meanwhile still holds
/// that end: exactly `size` bytes.
bool ReadReply(int end, pid_t child, char* reply, size_t size) noexcept {
    // Where the kernel gives none, the connection alone tells the end: poll passes over -1.
    const int program = AboveStandard(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    pollfd events[] = {{end, POLLIN, 0}, {program, POLLIN, 0}};
    size_t done = 0;
    bool complete = false;
    for (;;) {
        // Before the reading: what a program that has ended wrote is there.
        if (poll(events, std::size(events), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        const bool full = done == size;
        char beyond;
        const ssize_t count = recv(end, full ? &beyond : reply + done, full ? 1 : size - done, MSG_DONTWAIT);
        if (count > 0 && full) break;
        if (count > 0) {
            done += static_cast<size_t>(count);
            continue;
        }
        const bool ended = count == 0 || (errno == EAGAIN && events[1].revents != 0);
        complete = ended && full;
        if (ended || (errno != EAGAIN && errno != EINTR)) break;
    }
    if (program >= 0) close(program);
    return complete;
}

/// The reply tells how it went; somebody else in this process may have taken the status.
void WaitFor(pid_t child) noexcept {
    int status;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
}

bool Connect(int (&ends)[2]) noexcept {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
    for (int& end : ends) end = AboveStandard(end);
    if (ends[0] >= 0 && ends[1] >= 0) return true;
    for (const int end : ends) {
        if (end >= 0) close(end);
    }
    return false;
}

/// A thread that is cancelled while it waits ends behind the dialog: no frame of the library lets an unwinding through.
class NotCancellable {
public:
    NotCancellable() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~NotCancellable() { pthread_setcancelstate(before_, nullptr); }
    NotCancellable(const NotCancellable&) = delete;
    NotCancellable& operator=(const NotCancellable&) = delete;

private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace

bool ZvRunHelper(const char* program, const char* const* arguments, void* reply, size_t size) noexcept {
    // With raised rights the caller's environment must not reach another program.
    if (getauxval(AT_SECURE) != 0) return false;
    const NotCancellable whileWaiting;
    char path[PATH_MAX];
    if (!FindProgram(program, path)) return false;
    int ends[2];
    if (!Connect(ends)) return false;
    pid_t child;
    const bool started = Start(path, arguments, ends[1], &child);
    close(ends[1]);
    const bool replied = started && ReadReply(ends[0], child, static_cast<char*>(reply), size);
    close(ends[0]);
    if (started) WaitFor(child);
    return replied;
}
