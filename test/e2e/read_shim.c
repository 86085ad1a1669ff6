/* Loaded with LD_PRELOAD into the tool under test: reads of the file ZEL_SHIM_FILE fail with EIO
   at and past byte ZEL_SHIM_FAIL_AT (a read that reaches it first returns what lies before it),
   and the number of bytes read from that file so far is kept, as text, in ZEL_SHIM_COUNT. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

ssize_t pread64(int fd, void *into, size_t length, off_t pos) {
    static ssize_t (*real)(int, void *, size_t, off_t);
    static long total;
    char link[64], path[4096], text[32];
    const char *file = getenv("ZEL_SHIM_FILE"), *failAt = getenv("ZEL_SHIM_FAIL_AT"), *count = getenv("ZEL_SHIM_COUNT");
    if (!real) real = (ssize_t(*)(int, void *, size_t, off_t))dlsym(RTLD_NEXT, "pread64");
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t n = readlink(link, path, sizeof path - 1);
    if (!file || n <= 0 || (path[n] = 0, strcmp(path, file) != 0)) return real(fd, into, length, pos);
    if (failAt && pos >= atoll(failAt)) return errno = EIO, -1;
    if (failAt && pos + (off_t)length > atoll(failAt)) length = (size_t)(atoll(failAt) - pos);
    const ssize_t got = real(fd, into, length, pos);
    const int out = got > 0 && count ? open(count, O_WRONLY | O_CREAT, 0644) : -1;
    const long now = __atomic_add_fetch(&total, got > 0 ? got : 0, __ATOMIC_SEQ_CST);
    const int size = snprintf(text, sizeof text, "%020ld", now);
    if (out >= 0 && pwrite(out, text, (size_t)size, 0) >= 0) close(out);
    return got;
}

ssize_t pread(int fd, void *into, size_t length, off_t pos) { return pread64(fd, into, length, pos); }
