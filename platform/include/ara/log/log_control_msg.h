// Log-level control requests for a DLT daemon, and their bytes.
//
// Serialize gives one DLT version 1 control request, all fields fixed, integers of the payload
// little-endian:
//
//   offset size  field
//   0      1     HTYP 0x25: extended header, ECU ID, version 1
//   1      1     MCNT 0
//   2      2     LEN, big-endian: the whole message
//   4      4     ECU ID "CLT\0"
//   8      1     MSIN 0x16: control request
//   9      1     NOAR 1
//   10     4     APID "CLT\0"
//   14     4     CTID "clt\0"
//   18           payload
//
//   set log level (service 0x01), 17 bytes: service id (uint32), APID (4), CTID (4), level (int8), "remo"
//   set default log level (service 0x11), 9 bytes: service id (uint32), level (int8), "remo"
//
// Ids are cut to four bytes and NUL-padded; the id "*" (any) is four NUL bytes. An empty id
// cannot be told from "*" on the wire, so a request that holds one has no bytes.
#ifndef ARA_LOG_LOG_CONTROL_MSG_H
#define ARA_LOG_LOG_CONTROL_MSG_H

#include <variant>
#include <vector>

#include "ara/core/string.h"
#include "ara/log/common.h"

namespace ara::log {

class LogControlMsgSetLogLevel {
public:
    LogControlMsgSetLogLevel(core::String appId, core::String ctxId, LogLevel level)
        : appId_(std::move(appId)), ctxId_(std::move(ctxId)), level_(level) {}
    const core::String& GetAppId() const { return appId_; }
    const core::String& GetCtxId() const { return ctxId_; }
    LogLevel GetLogLevel() const { return level_; }

private:
    core::String appId_;
    core::String ctxId_;
    LogLevel level_;
};

class LogControlMsgSetDefaultLogLevel {
public:
    explicit LogControlMsgSetDefaultLogLevel(LogLevel level) : level_(level) {}
    LogLevel GetLogLevel() const { return level_; }

private:
    LogLevel level_;
};

class LogControlMsg {
public:
    void SetControlLogLevel(const LogControlMsgSetLogLevel& request) { request_ = request; }
    void SetControlDefaultLogLevel(const LogControlMsgSetDefaultLogLevel& request) { request_ = request; }
    // The bytes of the request last set; empty when none was set or an id of it is empty.
    std::vector<char> Serialize() const;

private:
    std::variant<std::monostate, LogControlMsgSetLogLevel, LogControlMsgSetDefaultLogLevel> request_;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOG_CONTROL_MSG_H
