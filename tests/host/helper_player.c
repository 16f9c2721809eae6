/* A helper program for tests. `helper_player MODE [TEXT] --reply-to NUMBER` behaves as the mode says. Started for a
 * dialog, it hands back what the file "cmyk.reply" or "lab.reply" beside it holds, and leaves what it was told in
 * "cmyk.arguments" or "lab.arguments". */
#define _GNU_SOURCE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { REPORT_SIZE = 16384, MILLISECOND = 1000, LONGEST_WAIT = 20000 };

static int reply_to = -1;

static void send_bytes(const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t count = write(reply_to, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) exit(3);
        bytes += count;
        size -= (size_t)count;
    }
}

/* Whether the other side has gone, at once or before long. */
static int is_left(int milliseconds) {
    char byte;
    struct pollfd event = {reply_to, POLLIN, 0};
    return poll(&event, 1, milliseconds) == 1 && read(reply_to, &byte, 1) == 0;
}

static void say(const char* text) {
    if (write(STDOUT_FILENO, text, strlen(text)) < 0) exit(4);
}

static char report[REPORT_SIZE];

static void add(const char* what, const char* value) {
    const size_t used = strlen(report);
    snprintf(report + used, sizeof report - used, "%s=%s\n", what, value);
}

static void add_link(const char* what, const char* link) {
    char target[4096];
    const ssize_t length = readlink(link, target, sizeof target - 1);
    target[length < 0 ? 0 : length] = 0;
    add(what, length < 0 ? "-" : target);
}

/* The parent may be about to give a descriptor a higher number. */
static void wait_while_it_is_passing(const char* link) {
    char target[64];
    for (int i = 0; i < 500 && readlink(link, target, sizeof target) == 18; ++i) {
        if (memcmp(target, "anon_inode:[pidfd]", 18) != 0) return;
        usleep(10 * MILLISECOND);
    }
}

static void add_descriptors(void) {
    char name[64];
    char link[320];
    const struct dirent* entry;
    DIR* folder = opendir("/proc/self/fd");
    if (folder == NULL) exit(5);
    while ((entry = readdir(folder)) != NULL) {
        if (entry->d_name[0] == '.' || atoi(entry->d_name) == dirfd(folder)) continue;
        snprintf(name, sizeof name, "fd %.16s", entry->d_name);
        snprintf(link, sizeof link, "/proc/self/fd/%s", entry->d_name);
        add_link(name, link);
    }
    closedir(folder);
    for (int i = 0; i <= 2; ++i) {
        const int flags = fcntl(i, F_GETFL);
        snprintf(name, sizeof name, "mode %d", i);
        add(name, flags < 0 ? "-" : (flags & O_ACCMODE) == O_RDWR ? "both ways" : "one way");
        snprintf(name, sizeof name, "parent's fd %d", i);
        snprintf(link, sizeof link, "/proc/%d/fd/%d", (int)getppid(), i);
        wait_while_it_is_passing(link);
        add_link(name, link);
    }
}

static void add_signals(void) {
    char line[256];
    FILE* status = fopen("/proc/self/status", "r");
    if (status == NULL) exit(6);
    while (fgets(line, sizeof line, status) != NULL) {
        char* value = strchr(line, '\t');
        if (strncmp(line, "Sig", 3) != 0 || value == NULL) continue;
        line[strcspn(line, ":")] = 0;
        value[strcspn(value, "\n")] = 0;
        add(line, value + 1);
    }
    fclose(status);
}

static void send_report(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) add("argument", argv[i]);
    add_descriptors();
    add_signals();
    send_bytes(report, sizeof report);
}

/* A process that keeps the connection open when this one has ended. */
static void leave_a_child(void) {
    if (fork() != 0) return;
    for (int i = 0; i <= 2; ++i) close(i);
    is_left(LONGEST_WAIT);
    _exit(0);
}

static FILE* open_beside(const char* name, const char* ending, const char* mode) {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 64);
    char* folder_end;
    if (length < 0) exit(7);
    path[length] = 0;
    folder_end = strrchr(path, '/');
    snprintf(folder_end, 64, "/%s%s", name, ending);
    return fopen(path, mode);
}

static void play_dialog(int argc, char** argv) {
    static char reply[65536];
    size_t size = 0;
    FILE* arguments = open_beside(argv[1], ".arguments", "w");
    FILE* file = open_beside(argv[1], ".reply", "r");
    if (arguments == NULL) exit(8);
    for (int i = 1; i < argc; ++i) fprintf(arguments, "%s%s", i == 1 ? "" : " ", argv[i]);
    fclose(arguments);
    if (file == NULL) exit(9);
    size = fread(reply, 1, sizeof reply, file);
    fclose(file);
    send_bytes(reply, size);
}

int main(int argc, char** argv) {
    if (argc < 4 || strcmp(argv[argc - 2], "--reply-to") != 0) return 2;
    const char* mode = argv[1];
    const char* text = argc > 4 ? argv[2] : "";
    reply_to = atoi(argv[argc - 1]);

    if (strcmp(mode, "cmyk") == 0 || strcmp(mode, "lab") == 0) {
        play_dialog(argc, argv);
    } else if (strcmp(mode, "report") == 0) {
        send_report(argc, argv);
    } else if (strcmp(mode, "reply") == 0) {
        send_bytes(text, strlen(text));
    } else if (strcmp(mode, "fail") == 0) {
        send_bytes(text, strlen(text));
        return 1;
    } else if (strcmp(mode, "killed") == 0) {
        send_bytes(text, strlen(text));
        raise(SIGKILL);
    } else if (strcmp(mode, "slowly") == 0) {
        for (; *text != 0; ++text) {
            usleep(2 * MILLISECOND);
            send_bytes(text, 1);
        }
    } else if (strcmp(mode, "close") == 0) {
        send_bytes(text, strlen(text));
        close(reply_to);
        usleep(100 * MILLISECOND);
    } else if (strcmp(mode, "endless") == 0) {
        for (;;) send_bytes("more", 4);
    } else if (strcmp(mode, "orphan") == 0) {
        leave_a_child();
        send_bytes(text, strlen(text));
    } else if (strcmp(mode, "wait") == 0) {
        say("started\n");
        say(is_left(LONGEST_WAIT) ? "left\n" : "not left\n");
    } else {
        return 2;
    }
    return 0;
}
