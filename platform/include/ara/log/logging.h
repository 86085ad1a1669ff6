// Entry points of the platform logger, backed by libdlt and a DLT daemon.
//
// InitLogging registers the process as one DLT application; CreateLogger registers a context
// of it. Without a running daemon both succeed and records are dropped: nothing is printed on
// the terminal and exiting does not wait for a daemon.
#ifndef ARA_LOG_LOGGING_H
#define ARA_LOG_LOGGING_H

#include <string>

#include "ara/core/string.h"
#include "ara/log/common.h"
#include "ara/log/logger.h"

namespace ara::log {

void InitLogging(std::string appId, std::string appDescription, LogLevel appDefLogLevel, LogMode logMode,
                 std::string directoryPath);

Logger& CreateLogger(core::StringView ctxId, core::StringView ctxDescription, LogLevel ctxDefLogLevel);

}  // namespace ara::log

#endif  // ARA_LOG_LOGGING_H
