// LogControlService: carries one log-level change to where it applies, the local log daemon
// over its control socket and, for the default level, the MCU over UDP. One connection per
// send, nothing waits for a reply; a failing path prints its lines and the other still runs.
// Main thread only.
#ifndef ZEL_CLT_LOG_CONTROL_SERVICE_H
#define ZEL_CLT_LOG_CONTROL_SERVICE_H

#include <cstdint>
#include <string>

#include "ara/log/common.h"
#include "ara/log/log_control_msg.h"
#include "ara/log/socket.h"

namespace zel::clt {

class LogControlService {
public:
    LogControlService();
    virtual ~LogControlService() = default;

    // Level of one application and context (ids cut to four characters; "*" for all), on the
    // local daemon only. An empty id is never sent: it would read as "*" there.
    void ControlLevel(std::string appId, std::string ctxId, ara::log::LogLevel level);
    // Default level, on the local daemon and then on the MCU.
    void ControlDefaultLevel(ara::log::LogLevel level);

private:
    int32_t SendLocalLogLevel();
    int32_t SendLogLevelToRemote() const;

    ara::log::UnixTcpClient m_unixTcpconnect;
    ara::log::LogControlMsg m_ctrlMsg;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_LOG_CONTROL_SERVICE_H
