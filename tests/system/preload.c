// Preloaded into a program under test: tells what it does to files, and holds it up where a test wants to look.
//   ONUQOS_TRACE=FILE            a line for each fsync and rename
//   ONUQOS_HOLD=CALL TEXT FILE   the first call of that name (open, fsync) for a path that holds TEXT makes FILE, and
//                                waits until FILE is gone
#define _GNU_SOURCE
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

static void trace(const char* call, const char* first, const char* second) {
    const char* file = getenv("ONUQOS_TRACE");
    if (file == NULL) {
        return;
    }
    char line[3 * PATH_MAX];
    const int size = snprintf(line, sizeof line, "%s %s%s%s\n", call, first, *second == '\0' ? "" : " ", second);
    const int descriptor = (int)syscall(SYS_openat, AT_FDCWD, file, O_WRONLY | O_APPEND | O_CREAT, 0600);
    if (descriptor != -1) {
        if (write(descriptor, line, (size_t)size) != size) {
            abort();
        }
        close(descriptor);
    }
}

static void hold(const char* call, const char* path) {
    static atomic_flag reached = ATOMIC_FLAG_INIT;
    char wantedCall[16], text[PATH_MAX], file[PATH_MAX];
    const char* wanted = getenv("ONUQOS_HOLD");
    if (wanted == NULL || sscanf(wanted, "%15s %4095s %4095s", wantedCall, text, file) != 3 ||
        strcmp(call, wantedCall) != 0 || strstr(path, text) == NULL || atomic_flag_test_and_set(&reached)) {
        return;
    }
    close((int)syscall(SYS_openat, AT_FDCWD, file, O_WRONLY | O_CREAT, 0600));
    while (access(file, F_OK) == 0) {
        const struct timespec pause = {.tv_sec = 0, .tv_nsec = 10000000};
        nanosleep(&pause, NULL);
    }
}

EXPORTED int fsync(int descriptor) {
    char link[64], path[PATH_MAX] = "";
    snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    if (readlink(link, path, sizeof path - 1) < 0) {
        abort();
    }
    hold("fsync", path);
    trace("fsync", path, "");
    return (int)syscall(SYS_fsync, descriptor);
}

EXPORTED int rename(const char* from, const char* to) {
    trace("rename", from, to);
    return (int)syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to);
}

static int openHeld(const char* path, int flags, va_list more) {
    hold("open", path);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

EXPORTED int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int descriptor = openHeld(path, flags, more);
    va_end(more);
    return descriptor;
}

EXPORTED int open64(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int descriptor = openHeld(path, flags, more);
    va_end(more);
    return descriptor;
}
