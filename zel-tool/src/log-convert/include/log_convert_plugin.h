// LogConvertPlugin ("log-convert"): parses "[datatime|manatime] [continue [<num>]] <file>" into
// a ConvertCommand and runs one LogConvertService on it. Errors are printed; ExecCmd always
// returns 0.
//
// Terminate comes from the exit thread while ExecCmd runs on the main thread. It stops a
// running conversion and returns once ExecCmd has returned. A Terminate that comes before the
// conversion has started makes it stop at its first check of the follow flag; a wrong command
// runs no conversion, so Terminate then waits only for its message, and after ExecCmd has
// returned it does not wait at all.
#ifndef ZEL_CLT_LOG_CONVERT_PLUGIN_H
#define ZEL_CLT_LOG_CONVERT_PLUGIN_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "convert_command.h"
#include "log_convert_service.h"
#include "plugin.h"

namespace zel::clt {

class LogConvertPlugin : public Plugin {
public:
    LogConvertPlugin() = default;
    ~LogConvertPlugin() override = default;

    int32_t ExecCmd(const std::vector<std::string>& cmd) override;
    void Terminate() override;

private:
    // Fills command from the words; false for a wrong command (messages already printed).
    static bool ParseCommand(const std::vector<std::string>& words, ConvertCommand& command);

    std::atomic<bool> exitFlag_{false};  // set when ExecCmd returns
    std::unique_ptr<LogConvertService> logViewPtr_;
    std::mutex serviceMutex_;  // guards terminated_ and the creation of logViewPtr_
    bool terminated_ = false;
};

std::unique_ptr<Plugin> CreateLogConvertPlugin();

}  // namespace zel::clt

#endif  // ZEL_CLT_LOG_CONVERT_PLUGIN_H
