#include "log_control_plugin.h"

#include <functional>
#include <iostream>
#include <map>

#include "configuration.h"
#include "plugin_factory.h"

namespace zel::clt {

int32_t LogControlPlugin::ExecCmd(const std::vector<std::string>& args) {
    std::string appId = "*";
    std::string ctxId = "*";
    std::string level = "info";
    bool bad = false;
    // Pairs after the plug-in name, in any order; a later pair of a keyword wins. A keyword
    // without its value is refused by the patterns; the bound check keeps a trailing word safe.
    for (std::size_t i = 1; i < args.size(); i += 2) {
        const bool hasValue = i + 1 < args.size();
        if (args[i] == "appid" && hasValue) {
            appId = args[i + 1];
            m_isDefaultLogLevel = false;
        } else if (args[i] == "ctxid" && hasValue) {
            ctxId = args[i + 1];
            m_isDefaultLogLevel = false;
        } else if (args[i] == "level" && hasValue) {
            level = args[i + 1];
        } else {
            bad = true;
        }
    }

    using ara::log::LogLevel;
    const std::map<std::string, LogLevel> levels{{"off", LogLevel::kOff},        {"fatal", LogLevel::kFatal},
                                                 {"error", LogLevel::kError},    {"warn", LogLevel::kWarn},
                                                 {"info", LogLevel::kInfo},      {"debug", LogLevel::kDebug},
                                                 {"verbose", LogLevel::kVerbose}};
    const auto found = levels.find(level);
    if (found == levels.end()) {
        std::cout << "error, the input parameter level: " << level << std::endl;
        Configuration::GetInstance().PrintHelp();
        return 0;
    }
    if (bad) {
        Configuration::GetInstance().PrintHelp();
        return 0;
    }
    if (!m_isDefaultLogLevel) {
        m_logControlService.ControlLevel(appId, ctxId, found->second);
    } else {
        m_logControlService.ControlDefaultLevel(found->second);
    }
    return 0;
}

std::unique_ptr<Plugin> CreateLogControlPlugin() { return std::make_unique<LogControlPlugin>(); }

namespace {
const PluginFactory g_logControl("log-control", std::bind(CreateLogControlPlugin));
}  // namespace

}  // namespace zel::clt
