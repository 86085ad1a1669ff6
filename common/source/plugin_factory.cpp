#include "plugin_factory.h"

#include <utility>

namespace zel::clt {

std::map<std::string, PluginFactory::Creator>& PluginFactory::Plugins() {
    static std::map<std::string, Creator> plugins;
    return plugins;
}

PluginFactory::PluginFactory(std::string name, Creator creator) {
    Plugins().emplace(std::move(name), std::move(creator));
}

std::unique_ptr<Plugin> PluginFactory::FindPlugin(const std::string& name) {
    const auto& plugins = Plugins();
    const auto it = plugins.find(name);
    if (it == plugins.end()) {
        return nullptr;
    }
    return it->second();
}

bool PluginFactory::IsPluginRegistered(const std::string& name) { return Plugins().count(name) != 0; }

}  // namespace zel::clt
