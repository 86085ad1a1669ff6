#include "clt_plugin.h"

#include <iostream>

#include "configuration.h"
#include "plugin_factory.h"
#include "zel_paths.h"

namespace zel::clt {
namespace {

constexpr char kReservedName[] = "mcu";

}  // namespace

CltPlugin::CltPlugin()
    : execMap_{{"-h", &CltPlugin::Help},        {"--help", &CltPlugin::Help},
               {"-l", &CltPlugin::List},        {"--list", &CltPlugin::List},
               {"-a", &CltPlugin::All},         {"--all", &CltPlugin::All},
               {"-v", &CltPlugin::ShowVersion}, {"--version", &CltPlugin::ShowVersion}} {}

int32_t CltPlugin::ExecCmd(const std::vector<std::string>& cmd) {
    const auto it = cmd.empty() ? execMap_.end() : execMap_.find(cmd.front());
    if (it == execMap_.end()) {
        std::cout << "Error, no match cmd" << std::endl;
        return -1;
    }
    return it->second();
}

int32_t CltPlugin::Help() {
    Configuration::GetInstance().PrintHelp();
    return 0;
}

int32_t CltPlugin::ShowVersion() {
    std::cout << "command line tool version " << paths::kVersion << std::endl;
    return 0;
}

int32_t CltPlugin::List() {
    std::cout << "command line tool support plugin: " << std::endl;
    for (const auto& name : Configuration::GetInstance().GetAllPluginName()) {
        if (name != kReservedName) {
            std::cout << "\t" << name << std::endl;
        }
    }
    return 0;
}

int32_t CltPlugin::All() {
    std::vector<ConfTuple> confs;
    if (!Configuration::GetInstance().GetAllConf(confs)) {
        return -1;
    }
    for (const auto& [app, commands, helps] : confs) {
        if (app == kReservedName) {
            continue;
        }
        std::cout << app << ":" << std::endl;
        for (const auto& command : commands) {
            std::cout << "\t" << command << std::endl;
        }
        std::cout << std::endl;
    }
    return 0;
}

std::unique_ptr<Plugin> CreateCltPlugin() { return std::make_unique<CltPlugin>(); }

namespace {
const PluginFactory g_clt(kCltName, CreateCltPlugin);
}  // namespace

}  // namespace zel::clt
