// CltPlugin: the tool's own options (help, list, all, version), registered as "clt". The driver
// sends it every line whose first word is no registered plug-in, once the line has matched the
// "clt" configuration. A configuration named "mcu" is never listed.
#ifndef ZEL_CLT_CLT_PLUGIN_H
#define ZEL_CLT_CLT_PLUGIN_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plugin.h"

namespace zel::clt {

class CltPlugin : public Plugin {
public:
    CltPlugin();
    ~CltPlugin() override = default;

    // Runs the option named by the first word; later words are ignored.
    int32_t ExecCmd(const std::vector<std::string>& cmd) override;

    static int32_t Help();
    static int32_t List();
    static int32_t All();
    static int32_t ShowVersion();

private:
    std::map<std::string, std::function<int32_t()>> execMap_;
};

std::unique_ptr<Plugin> CreateCltPlugin();

}  // namespace zel::clt

#endif  // ZEL_CLT_CLT_PLUGIN_H
