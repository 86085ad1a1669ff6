#include "process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <thread>

extern char** environ;

namespace zel::test {
namespace {

std::string TempPath(const char* what) {
    std::string pattern = std::string(P_tmpdir) + "/zel-test-" + what + "-XXXXXX";
    const int fd = mkstemp(pattern.data());
    if (fd >= 0) {
        close(fd);
    }
    return pattern;
}

std::vector<std::string> MergedEnvironment(const std::vector<std::string>& extra) {
    std::map<std::string, std::string> entries;
    std::vector<std::string> order;
    auto add = [&](const std::string& entry) {
        const std::string key = entry.substr(0, entry.find('='));
        if (entries.count(key) == 0) {
            order.push_back(key);
        }
        entries[key] = entry;
    };
    for (char** e = environ; *e != nullptr; ++e) {
        add(*e);
    }
    for (const auto& entry : extra) {
        add(entry);
    }
    std::vector<std::string> merged;
    for (const auto& key : order) {
        merged.push_back(entries[key]);
    }
    return merged;
}

std::vector<char*> CStrings(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (auto& s : strings) {
        pointers.push_back(s.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

Process::Process(const std::string& path, const std::vector<std::string>& argv, const std::vector<std::string>& env)
    : outPath_(TempPath("out")), errPath_(TempPath("err")) {
    std::vector<std::string> args = argv;
    std::vector<std::string> environment = MergedEnvironment(env);
    auto argp = CStrings(args);
    auto envp = CStrings(environment);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath_.c_str(), O_WRONLY | O_TRUNC, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errPath_.c_str(), O_WRONLY | O_TRUNC, 0);
    // The child starts with default signal actions, whatever the test process changed.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    sigaddset(&defaults, SIGPIPE);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    if (posix_spawn(&pid_, path.c_str(), &actions, &attr, argp.data(), envp.data()) != 0) {
        pid_ = -1;
        reaped_ = true;
    }
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&actions);
}

Process::~Process() {
    if (!reaped_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &rawStatus_, 0);
    }
    unlink(outPath_.c_str());
    unlink(errPath_.c_str());
}

bool Process::Running() {
    if (reaped_) {
        return false;
    }
    if (waitpid(pid_, &rawStatus_, WNOHANG) == pid_) {
        reaped_ = true;
    }
    return !reaped_;
}

void Process::Signal(int sig) const {
    if (!reaped_) {
        kill(pid_, sig);
    }
}

ProcessResult Process::Wait(std::chrono::milliseconds timeout) {
    ProcessResult result;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (Running() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (Running()) {
        result.timedOut = true;
        kill(pid_, SIGKILL);
        waitpid(pid_, &rawStatus_, 0);
        reaped_ = true;
    } else if (pid_ > 0) {
        if (WIFEXITED(rawStatus_)) {
            result.exitStatus = WEXITSTATUS(rawStatus_);
        } else if (WIFSIGNALED(rawStatus_)) {
            result.termSignal = WTERMSIG(rawStatus_);
        }
    }
    result.out = Out();
    result.err = Err();
    return result;
}

std::string Process::Out() const { return ReadFile(outPath_); }

std::string Process::Err() const { return ReadFile(errPath_); }

bool Process::WaitForOut(const std::string& text, std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (Out().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

ProcessResult RunProgram(const std::string& path, const std::vector<std::string>& argv,
                         const std::vector<std::string>& env, std::chrono::milliseconds timeout) {
    Process process(path, argv, env);
    return process.Wait(timeout);
}

}  // namespace zel::test
