// PluginFactory: the process-wide registry from plug-in name to creation function.
//
// Each plug-in's source file registers itself with a file-scope PluginFactory object, before
// main runs; the first registration of a name wins and later ones are ignored. After static
// initialisation the registry is only read, from any thread, without locks. The registry is a
// construct-on-first-use object, so registration does not depend on the order in which the
// linker lays out the files.
#ifndef ZEL_CLT_PLUGIN_FACTORY_H
#define ZEL_CLT_PLUGIN_FACTORY_H

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "plugin.h"

namespace zel::clt {

class PluginFactory {
public:
    using Creator = std::function<std::unique_ptr<Plugin>()>;

    // Registers name with creator unless the name is already registered.
    PluginFactory(std::string name, Creator creator);
    ~PluginFactory() = default;

    // A new instance of the plug-in registered under exactly this name; empty when there is none.
    static std::unique_ptr<Plugin> FindPlugin(const std::string& name);
    static bool IsPluginRegistered(const std::string& name);

private:
    static std::map<std::string, Creator>& Plugins();
};

}  // namespace zel::clt

#endif  // ZEL_CLT_PLUGIN_FACTORY_H
