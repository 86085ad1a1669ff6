#include "cmd_line_tool.h"

#include <signal.h>

#include <chrono>
#include <cstring>
#include <iostream>
#include <new>
#include <system_error>

#include "clt_executor.h"
#include "clt_logger.h"
#include "configuration.h"
#include "plugin_factory.h"
#include "process_limits.h"
#include "processor.h"
#include "standard_output.h"

namespace zel::clt {
namespace {

constexpr char kNoPid[] = "0";
constexpr std::chrono::milliseconds kPollInterval{100};

}  // namespace

static_assert(std::atomic<ProcessExitType>::is_always_lock_free, "the signal handler must not take a lock");
std::atomic<ProcessExitType> CmdLineTool::processExitFlag_{PROCESS_NO_EXIT};

CmdLineTool::CmdLineTool(const std::vector<std::string>& inputCmd) : inputCmd_(inputCmd) {}

CmdLineTool::~CmdLineTool() {
    if (exitThread_.joinable()) {
        EndExitThread();
    }
}

int32_t CmdLineTool::Run() {
    CltExecutor executor(inputCmd_);
    if (inputCmd_.empty()) {
        std::cout << "Error, input parameter was empty!" << std::endl;
        (void)CltExecutor::Help(kCltName);
        return -1;
    }
    if (inputCmd_.size() == 1 && inputCmd_[0] == "help") {
        (void)CltExecutor::Help(kCltName);
        return 0;
    }
    if (executor.Match()) {
        return executor.Exec();
    }
    if (!LoadPlugin()) {
        CLT_LOG_DEBUG << "Error, command line tool load plugin failed";
        return -1;
    }
    if (!CheckCmd()) {
        std::cout << "Error, input cmd not support!" << std::endl;
        Configuration::GetInstance().PrintHelp();
        return -1;
    }

    CatchSignal();
    CLT_LOG_DEBUG << "Check succ, exec cmd ";
    const int32_t result = pluginInstance_->ExecCmd(inputCmd_);
    StopThread();
    if (result < 0) {
        CLT_LOG_ERROR << "Exec cmd return fail";
        return -1;
    }
    CLT_LOG_DEBUG << "Exec cmd succ";
    return 0;
}

bool CmdLineTool::LoadPlugin() {
    std::string pluginName = inputCmd_.empty() ? kCltName : inputCmd_[0];
    if (Configuration::IsCltPlugin(pluginName)) {
        pluginName = kCltName;
    }
    pluginInstance_ = PluginFactory::FindPlugin(pluginName);
    return Configuration::GetInstance().Load(pluginName);
}

bool CmdLineTool::CheckCmd() {
    if (Configuration::GetInstance().GetName() != kDebugToolName) {
        return Processor::CheckCmd(inputCmd_);
    }
    // The debug tool's plug-ins always get a trailing process id; "0" stands for none given.
    if (Processor::CheckCmd(inputCmd_)) {
        inputCmd_.emplace_back(kNoPid);
        return true;
    }
    return Processor::CheckCmdWithPid(inputCmd_);
}

void CmdLineTool::SignalProc(int32_t sig) {
    if (sig == SIGINT || sig == SIGTERM) {
        processExitFlag_.store(PROCESS_SIGNAL_EXIT);
    }
}

void CmdLineTool::SetSignal(int32_t sig, SigFunc func) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_handler = func;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a blocking call interrupted by the signal fails with EINTR, so the
    // plug-in notices. No SA_RESETHAND: the handler stays for every later signal.
    action.sa_flags = 0;
    if (sigaction(sig, &action, nullptr) != 0) {
        CLT_LOG_DEBUG << "set signal:" << static_cast<int>(sig) << "failed!";
    }
}

void CmdLineTool::CatchSignal() {
    try {
        exitThread_ = std::thread(&CmdLineTool::StopTaskThread, this);
    } catch (const std::exception&) {  // out of threads (system_error) or of memory (bad_alloc)
        // nobody would act on the flag: the signals keep ending the process at once
        CLT_LOG_ERROR << "Start exit thread failed, SIGINT and SIGTERM are not caught";
        return;
    }
    SetSignal(SIGINT, SignalProc);
    SetSignal(SIGTERM, SignalProc);
}

ProcessExitType CmdLineTool::WaitForExitFlag() {
    // The signal handler cannot notify, so a signal is seen at the next poll; StopThread wakes
    // the wait early.
    std::unique_lock<std::mutex> lock(exitMutex_);
    ProcessExitType flag = PROCESS_NO_EXIT;
    while ((flag = processExitFlag_.load()) == PROCESS_NO_EXIT) {
        exitWake_.wait_for(lock, kPollInterval);
    }
    return flag;
}

void CmdLineTool::StopTaskThread() {
    try {
        switch (WaitForExitFlag()) {
            case PROCESS_SIGNAL_EXIT:
                // the user asked to stop: what is not written yet is dropped, and a write that a
                // reader no longer takes does not hold the plug-in up
                if (StandardOutput* output = InstalledStandardOutput()) {
                    output->Abandon();
                }
                pluginInstance_->Terminate();
                CLT_LOG_DEBUG << "Capture signal process exit success";
                break;
            case PROCESS_NORMAL_EXIT:
                CLT_LOG_DEBUG << "Process normal exit success";
                break;
            default:
                CLT_LOG_DEBUG << "process exit flag is invaild";
                break;
        }
    } catch (const std::bad_alloc&) {  // a record could not be logged
        ExitOutOfMemory();
    }
}

void CmdLineTool::StopThread() {
    EndExitThread();
    CLT_LOG_DEBUG << "stop thread success";
}

void CmdLineTool::EndExitThread() {
    {
        std::lock_guard<std::mutex> lock(exitMutex_);
        processExitFlag_.store(PROCESS_NORMAL_EXIT);
    }
    exitWake_.notify_one();
    if (exitThread_.joinable()) {
        exitThread_.join();
    }
}

}  // namespace zel::clt
