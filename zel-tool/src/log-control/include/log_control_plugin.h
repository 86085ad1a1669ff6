// LogControlPlugin ("log-control"): turns "appid <id>", "ctxid <id>" and "level <name>" pairs
// into one log-level change. With an application or context id it sets that level on the
// local daemon; with neither it sets the default level on the daemon and on the MCU. Errors
// are printed; ExecCmd always returns 0.
#ifndef ZEL_CLT_LOG_CONTROL_PLUGIN_H
#define ZEL_CLT_LOG_CONTROL_PLUGIN_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "log_control_service.h"
#include "plugin.h"

namespace zel::clt {

class LogControlPlugin : public Plugin {
public:
    LogControlPlugin() = default;
    ~LogControlPlugin() override = default;

    int32_t ExecCmd(const std::vector<std::string>& args) override;

private:
    LogControlService m_logControlService;
    bool m_isDefaultLogLevel = true;
};

std::unique_ptr<Plugin> CreateLogControlPlugin();

}  // namespace zel::clt

#endif  // ZEL_CLT_LOG_CONTROL_PLUGIN_H
