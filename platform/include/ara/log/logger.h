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

    LogStream LogError() const { return LogStream(*this, LogLevel::kError); }
    LogStream LogDebug() const { return LogStream(*this, LogLevel::kDebug); }

    struct Context;  // libdlt's context, kept out of this header
    Context& GetContext() const { return *context_; }

private:
    std::unique_ptr<Context> context_;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOGGER_H
