#include "process_limits.h"

#include <malloc.h>
#include <pthread.h>
#include <unistd.h>

#include <cstddef>

namespace zel::clt {
namespace {

// What the tool's threads keep on their stacks (decoding, formatting a record line, logging) is
// a small fraction of this; libdlt's threads keep their buffers on the heap.
constexpr std::size_t kThreadStack = 256 * 1024;
// The conversion's threads allocate their buffers once per pass: two arenas keep them from
// waiting on each other's allocations without reserving 64 MB per thread.
constexpr int kArenas = 1;

}  // namespace

void BoundReservations() {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) == 0) {
        (void)pthread_attr_setstacksize(&attributes, kThreadStack);
        (void)pthread_setattr_default_np(&attributes);
        (void)pthread_attr_destroy(&attributes);
    }
    (void)mallopt(M_ARENA_MAX, kArenas);
}

void ExitOutOfMemory() {
    static constexpr char kLine[] = "zel-tool: out of memory\n";
    (void)!write(STDERR_FILENO, kLine, sizeof(kLine) - 1);
    _exit(255);
}

}  // namespace zel::clt
