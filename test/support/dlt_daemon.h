// A private DLT daemon for integration tests: its own configuration, FIFO directory, TCP port
// and control socket, so that test runs cannot collide. Started in the constructor, stopped by
// its process id in the destructor, together with any recorder started on it.
#ifndef ZEL_TEST_SUPPORT_DLT_DAEMON_H
#define ZEL_TEST_SUPPORT_DLT_DAEMON_H

#include <memory>
#include <string>
#include <vector>

#include "process.h"

namespace zel::test {

class DltDaemon {
public:
    // controlSocket: the daemon's ControlSocketPath.
    explicit DltDaemon(const std::string& controlSocket);
    ~DltDaemon();
    DltDaemon(const DltDaemon&) = delete;
    DltDaemon& operator=(const DltDaemon&) = delete;

    bool Ready() const { return ready_; }
    // Environment that makes a libdlt application talk to this daemon.
    std::vector<std::string> ClientEnv() const { return {"DLT_PIPE_DIR=" + dir_}; }
    int Port() const { return port_; }
    const std::string& Dir() const { return dir_; }
    // What the daemon itself reported so far (its own log, at notice level and above).
    std::string Log() const { return daemon_->Out() + daemon_->Err(); }
    // Waits until the daemon's log holds text.
    bool WaitForLog(const std::string& text, int timeoutMs = 5000) const;

    // Starts dlt-receive writing everything the daemon forwards to file; true once connected.
    bool Record(const std::string& file);
    // Stops the recorder, so that its file is complete.
    void StopRecording();
    // Starts a program that logs through this daemon; it is stopped with the daemon.
    Process& StartClient(const std::string& path, const std::vector<std::string>& argv);

private:
    std::string dir_;
    int port_;
    bool ready_ = false;
    std::unique_ptr<Process> daemon_;
    std::unique_ptr<Process> recorder_;
    std::vector<std::unique_ptr<Process>> clients_;
};

// Waits until the file holds text (as raw bytes), or timeout.
bool WaitForFileText(const std::string& file, const std::string& text, int timeoutMs = 5000);

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_DLT_DAEMON_H
