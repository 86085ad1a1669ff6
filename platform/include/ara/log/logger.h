// ara::log::Logger: one logging context of the registered application. Contexts are made by
// CreateLogger, belong to the logging library and live until the process exits. Records may be
// written from several threads at once.
#ifndef ARA_LOG_LOGGER_H
#define ARA_LOG_LOGGER_H

#include <memory>

#include "ara/core/string.h"
#include "ara/log/common.h"
#include "ara/log/log_stream.h"

namespace ara::log {

class Logger {
public:
    Logger(core::StringView ctxId, core::StringView ctxDescription, LogLevel ctxDefLogLevel);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    LogStream LogFatal() const { return LogStream(*this, LogLevel::kFatal); }
    LogStream LogError() const { return LogStream(*this, LogLevel::kError); }
    LogStream LogWarn() const { return LogStream(*this, LogLevel::kWarn); }
    LogStream LogInfo() const { return LogStream(*this, LogLevel::kInfo); }
    LogStream LogDebug() const { return LogStream(*this, LogLevel::kDebug); }
    LogStream LogVerbose() const { return LogStream(*this, LogLevel::kVerbose); }

    struct Context;  // libdlt's context, kept out of this header
    Context& GetContext() const { return *context_; }

private:
    std::unique_ptr<Context> context_;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOGGER_H
