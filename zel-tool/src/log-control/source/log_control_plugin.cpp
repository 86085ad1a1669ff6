#include "log_control_plugin.h"

#include <algorithm>
#include <iostream>
#include <iterator>

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

    const auto* const names = std::begin(ara::log::kLogLevelNames);
    const auto* const found = std::find(names, std::end(ara::log::kLogLevelNames), level);
    if (found == std::end(ara::log::kLogLevelNames)) {
        std::cout << "error, the input parameter level: " << level << std::endl;
        Configuration::GetInstance().PrintHelp();
        return 0;
    }
    if (bad) {
        Configuration::GetInstance().PrintHelp();
        return 0;
    }
    const auto chosen = static_cast<ara::log::LogLevel>(found - names);
    if (!m_isDefaultLogLevel) {
        m_logControlService.ControlLevel(appId, ctxId, chosen);
    } else {
        m_logControlService.ControlDefaultLevel(chosen);
    }
    return 0;
}

std::unique_ptr<Plugin> CreateLogControlPlugin() { return std::make_unique<LogControlPlugin>(); }

namespace {
const PluginFactory g_logControl("log-control", CreateLogControlPlugin);
}  // namespace

}  // namespace zel::clt
