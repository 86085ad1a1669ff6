// Runs a program the way an operator would: its own argv[0], standard input from /dev/null,
// standard output and error into files that can be read while it runs. Every started process
// is stopped by its process id when the object goes away.
#ifndef ZEL_TEST_SUPPORT_PROCESS_H
#define ZEL_TEST_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace zel::test {

struct ProcessResult {
    int exitStatus = -1;  // the exit status, or -1 when killed by a signal or timed out
    int termSignal = 0;
    bool timedOut = false;
    std::string out;
    std::string err;
};

class Process {
public:
    // path is executed with argv as given (argv[0] included); env entries "K=V" are added to
    // (or replace in) this process's environment.
    Process(const std::string& path, const std::vector<std::string>& argv, const std::vector<std::string>& env = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Pid() const { return pid_; }
    bool Running();
    void Signal(int sig) const;
    // Waits for the exit; kills the process after timeout. The result carries all output.
    ProcessResult Wait(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    std::string Out() const;
    std::string Err() const;
    // Polls the output until it holds text, or timeout; true when found.
    bool WaitForOut(const std::string& text, std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

private:
    pid_t pid_ = -1;
    bool reaped_ = false;
    int rawStatus_ = 0;
    std::string outPath_;
    std::string errPath_;
};

// Runs to the end and returns what happened.
ProcessResult RunProgram(const std::string& path, const std::vector<std::string>& argv,
                         const std::vector<std::string>& env = {},
                         std::chrono::milliseconds timeout = std::chrono::seconds(20));

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_PROCESS_H
