/* Loaded with LD_PRELOAD into a test program or the tool: sched_getaffinity reports the first
   ZEL_SHIM_PROCESSORS processors (as many as the caller's set holds), so that a process on this
   machine sizes itself as on a larger one. Its threads still run where the kernel lets them. */
#define _GNU_SOURCE
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

int sched_getaffinity(pid_t pid, size_t size, cpu_set_t *set) {
    const char *count = getenv("ZEL_SHIM_PROCESSORS");
    const long processors = count ? atol(count) : 0;
    memset(set, 0, size);
    if (processors <= 0) { /* unset: the real mask, as the C library's call gives it */
        return syscall(SYS_sched_getaffinity, pid, size, set) < 0 ? -1 : 0;
    }
    for (long i = 0; i < processors && (size_t)i < 8 * size; ++i) {
        CPU_SET_S((size_t)i, size, set);
    }
    return 0;
}
