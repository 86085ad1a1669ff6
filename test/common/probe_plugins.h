// Plug-ins registered only in the test binary: "ut-probe" records what it is given and
// returns a chosen value; "ut-slow" runs until Terminate is called.
#ifndef ZEL_TEST_COMMON_PROBE_PLUGINS_H
#define ZEL_TEST_COMMON_PROBE_PLUGINS_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace zel::clt::probe {

extern std::vector<std::string> lastWords;
extern int32_t result;
extern int created;

extern std::atomic<bool> slowStarted;
extern std::atomic<int> terminateCalls;
extern std::atomic<int64_t> terminateAtNs;    // steady clock, when Terminate was first called
extern std::chrono::milliseconds slowLinger;  // how long ExecCmd goes on after Terminate

int64_t NowNs();

}  // namespace zel::clt::probe

#endif  // ZEL_TEST_COMMON_PROBE_PLUGINS_H
