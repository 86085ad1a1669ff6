// CmdLineTool: drives one command line per process run.
//
// Run lets the built-in executor try the words, else picks the plug-in by the first word, loads
// its configuration, checks the words against the configured patterns and runs the plug-in.
// While the plug-in runs, SIGINT and SIGTERM only set the exit flag; an exit thread polls it
// every 100 ms, abandons standard output (no line starts; one begun ends within 100 ms) and
// calls the plug-in's Terminate once. The exit thread exists only around
// ExecCmd and is joined before Run returns, on every path that starts it (a failure that
// unwinds through Run included: the destructor joins it). A normal end wakes the exit thread at
// once instead of waiting out its poll, so short commands exit at once. Where the exit thread
// cannot start, the signals keep their default action and end the process at once.
#ifndef ZEL_CLT_CMD_LINE_TOOL_H
#define ZEL_CLT_CMD_LINE_TOOL_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "plugin.h"

namespace zel::clt {

enum ProcessExitType : int32_t {
    PROCESS_NO_EXIT = 0,
    PROCESS_SIGNAL_EXIT = 1,
    PROCESS_NORMAL_EXIT = 2,
};

class CmdLineTool {
public:
    explicit CmdLineTool(const std::vector<std::string>& inputCmd);
    ~CmdLineTool();
    CmdLineTool(const CmdLineTool&) = delete;
    CmdLineTool& operator=(const CmdLineTool&) = delete;

    // 0 on success, -1 on failure.
    int32_t Run();

private:
    using SigFunc = void (*)(int);

    bool LoadPlugin();
    bool CheckCmd();

    static void SignalProc(int32_t sig);
    static void SetSignal(int32_t sig, SigFunc func);
    void CatchSignal();
    void StopTaskThread();
    // The exit flag once it is no longer PROCESS_NO_EXIT.
    ProcessExitType WaitForExitFlag();
    void StopThread();
    // Tells the exit thread of a normal end and joins it, if it runs.
    void EndExitThread();

    std::vector<std::string> inputCmd_;
    std::unique_ptr<Plugin> pluginInstance_;
    // Written by the signal handler, so lock-free; never reset within a process.
    static std::atomic<ProcessExitType> processExitFlag_;
    std::thread exitThread_;
    std::mutex exitMutex_;  // pairs with exitWake_, so that a normal end is never missed
    std::condition_variable exitWake_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_CMD_LINE_TOOL_H
