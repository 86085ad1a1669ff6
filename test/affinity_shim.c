/* Loaded with LD_PRELOAD into a test program or the tool: sched_getaffinity reports the first
   ZEL_SHIM_PROCESSORS processors (as many as the caller's set holds), so that a process on this
   machine sizes itself as on a larger one. Its threads still run where the kernel lets them. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>

int sched_getaffinity(pid_t pid, size_t size, cpu_set_t *set) {
    const char *count = getenv("ZEL_SHIM_PROCESSORS");
    const long processors = count ? atol(count) : 0;
    if (processors <= 0) {
        void *found = dlsym(RTLD_NEXT, __func__);
        int (*real)(pid_t, size_t, cpu_set_t *);
        memcpy(&real, &found, sizeof real);  /* ISO C has no cast from an object pointer */
        return real(pid, size, set);
    }
    memset(set, 0, size);
    for (long i = 0; i < processors && (size_t)i < 8 * size; ++i) {
        CPU_SET_S((size_t)i, size, set);
    }
    return 0;
}
