#include "dlt_daemon.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

namespace zel::test {
namespace {

bool WaitFor(const std::function<bool()>& done, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

bool Exists(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

bool WaitForFileText(const std::string& file, const std::string& text, int timeoutMs) {
    return WaitFor([&] { return ReadFile(file).find(text) != std::string::npos; }, timeoutMs);
}

DltDaemon::DltDaemon(const std::string& controlSocket) {
    char pattern[] = "/tmp/zel-dlt-XXXXXX";
    dir_ = mkdtemp(pattern);
    static int started = 0;
    port_ = 20000 + (getpid() * 7 + started++) % 30000;
    std::filesystem::create_directories(std::filesystem::path(controlSocket).parent_path());
    std::filesystem::remove(controlSocket);
    WriteFile(dir_ + "/dlt.conf", "ECUId = ECU1\nControlSocketPath = " + controlSocket +
                                      "\nSharedMemorySize = 100000\nLoggingMode = 0\nLoggingLevel = 5\n");
    daemon_ = std::make_unique<Process>(
        "/usr/bin/dlt-daemon",
        std::vector<std::string>{"dlt-daemon", "-c", dir_ + "/dlt.conf", "-t", dir_, "-p", std::to_string(port_)});
    ready_ = WaitFor([&] { return Exists(dir_ + "/dlt") && Exists(controlSocket); }, 5000) && daemon_->Running();
}

DltDaemon::~DltDaemon() {
    StopRecording();
    for (auto& client : clients_) {
        client->Signal(SIGTERM);
        client->Wait(std::chrono::seconds(2));
    }
    if (daemon_) {
        daemon_->Signal(SIGTERM);
        daemon_->Wait(std::chrono::seconds(3));
    }
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

bool DltDaemon::WaitForLog(const std::string& text, int timeoutMs) const {
    return WaitFor([&] { return Log().find(text) != std::string::npos; }, timeoutMs);
}

bool DltDaemon::Record(const std::string& file) {
    std::filesystem::remove(file);
    recorder_ = std::make_unique<Process>(
        "/usr/bin/dlt-receive",
        std::vector<std::string>{"dlt-receive", "-o", file, "-p", std::to_string(port_), "localhost"});
    // The daemon greets every new client; once that is in the file the recorder is connected.
    return WaitForFileText(file, "Daemon launched");
}

void DltDaemon::StopRecording() {
    if (recorder_) {
        recorder_->Signal(SIGTERM);
        recorder_->Wait(std::chrono::seconds(3));
        recorder_.reset();
    }
}

Process& DltDaemon::StartClient(const std::string& path, const std::vector<std::string>& argv) {
    clients_.push_back(std::make_unique<Process>(path, argv, ClientEnv()));
    return *clients_.back();
}

}  // namespace zel::test
