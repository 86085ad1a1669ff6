// Plugin: the base of every command family of the tool.
//
// The driver creates one plug-in per run through PluginFactory, hands it a command line that
// already passed the configured pattern check, and owns it through a std::unique_ptr. ExecCmd
// runs on the main thread. Terminate is called from the exit thread while ExecCmd may still be
// running, so an override must be safe to call concurrently with ExecCmd, and harmless after it.
#ifndef ZEL_CLT_PLUGIN_H
#define ZEL_CLT_PLUGIN_H

#include <cstdint>
#include <string>
#include <vector>

namespace zel::clt {

class Plugin {
public:
    Plugin() = default;
    virtual ~Plugin() = default;
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    // Runs the command words, the plug-in's own name or command word first.
    // Negative means failure; 0 or more success.
    virtual int32_t ExecCmd(const std::vector<std::string>& cmd) = 0;

    // Asks a running ExecCmd to stop because the user interrupted the process.
    virtual void Terminate() {}
};

}  // namespace zel::clt

#endif  // ZEL_CLT_PLUGIN_H
