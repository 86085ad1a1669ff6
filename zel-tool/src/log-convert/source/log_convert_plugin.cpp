#include "log_convert_plugin.h"

#include <time.h>

#include <cerrno>
#include <iostream>

#include "configuration.h"
#include "plugin_factory.h"
#include "string_to_int.h"

namespace zel::clt {
namespace {

constexpr char kDatatime[] = "datatime";
constexpr char kManatime[] = "manatime";
constexpr char kContinue[] = "continue";

// The count after "continue".
bool ToInt(const std::string& word, int32_t& value) {
    if (StringToInt(word, value)) {
        return true;
    }
    std::cout << "error, num can not convert to be int" << std::endl;
    return false;
}

void SleepOneMillisecond() {
    timespec request{0, 1000000};
    timespec remaining{};
    while (nanosleep(&request, &remaining) != 0 && errno == EINTR) {
        request = remaining;
    }
}

}  // namespace

bool LogConvertPlugin::ParseCommand(const std::vector<std::string>& words, ConvertCommand& command) {
    // The time keyword comes first, then "continue", then the count; the file is always last.
    if (words.size() < 2 || words.size() > 5) {
        return false;
    }
    std::size_t i = 1;
    const std::size_t last = words.size() - 1;
    if (i < last && (words[i] == kDatatime || words[i] == kManatime)) {
        (words[i] == kDatatime ? command.isManatime : command.isDatatime) = false;
        ++i;
    }
    if (i < last && words[i] == kContinue) {
        command.isContinue = true;
        ++i;
        if (i < last && !ToInt(words[i++], command.tailNum)) {
            return false;
        }
    }
    command.filename = words[last];
    return i == last && !command.filename.empty();
}

int32_t LogConvertPlugin::ExecCmd(const std::vector<std::string>& cmd) {
    ConvertCommand command;
    if (!ParseCommand(cmd, command)) {
        std::cout << "error, command is wrong " << std::endl;
        Configuration::GetInstance().PrintHelp();
        exitFlag_ = true;
        return 0;
    }
    {
        std::lock_guard<std::mutex> lock(serviceMutex_);
        logViewPtr_ = std::make_unique<LogConvertService>(command);
        if (terminated_) {
            logViewPtr_->Stop();
        }
    }
    if (logViewPtr_->ConvertLogFile() < 0) {
        Configuration::GetInstance().PrintHelp();
    }
    exitFlag_ = true;
    return 0;
}

void LogConvertPlugin::Terminate() {
    {
        std::lock_guard<std::mutex> lock(serviceMutex_);
        terminated_ = true;
        if (logViewPtr_) {
            logViewPtr_->Stop();
        }
    }
    while (!exitFlag_) {
        SleepOneMillisecond();
    }
}

std::unique_ptr<Plugin> CreateLogConvertPlugin() { return std::make_unique<LogConvertPlugin>(); }

namespace {
const PluginFactory g_logConvert("log-convert", CreateLogConvertPlugin);
}  // namespace

}  // namespace zel::clt
