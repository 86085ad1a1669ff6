// What the process reserves, and how it ends when memory runs out.
//
// Address space is reserved long before it is used: every thread reserves its whole stack
// (8 MB by default) and glibc gives each thread that allocates a heap arena of its own (64 MB of
// address space each). Under an address-space limit (ulimit -v) those reservations, not the
// memory in use, run out first. BoundReservations, called by main before any thread starts,
// makes threads start with small stacks and share two arenas.
//
// Memory that cannot be had ends the tool with one line, "zel-tool: out of memory", on standard
// error and status 255, never with an abort: main catches the failure on its own thread once the
// threads it started are joined, and every other thread of the tool catches its own. Where the
// work can go on with less (fewer conversion threads), the code that allocates catches the
// failure itself.
#ifndef ZEL_CLT_PROCESS_LIMITS_H
#define ZEL_CLT_PROCESS_LIMITS_H

namespace zel::clt {

void BoundReservations();
// Writes the out-of-memory line on standard error and ends the process with status 255; what
// standard output has not yet written is lost.
[[noreturn]] void ExitOutOfMemory();

}  // namespace zel::clt

#endif  // ZEL_CLT_PROCESS_LIMITS_H
