// ara::log::LogStream: one log record being built. Each insertion becomes one argument of a
// verbose DLT message; the record is sent when the stream is destroyed, at the end of the
// statement that made it. A stream whose level is disabled, or whose application is not
// registered, takes insertions and sends nothing.
#ifndef ARA_LOG_LOG_STREAM_H
#define ARA_LOG_LOG_STREAM_H

#include <cstdint>
#include <memory>

#include "ara/core/string.h"
#include "ara/log/common.h"

namespace ara::log {

class Logger;

class LogStream {
public:
    LogStream(const Logger& logger, LogLevel level);
    ~LogStream();
    LogStream(LogStream&& other) noexcept;
    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;
    LogStream& operator=(LogStream&&) = delete;

    LogStream& operator<<(core::StringView text);
    LogStream& operator<<(const char* text);
    LogStream& operator<<(const core::String& text);
    LogStream& operator<<(int value);

private:
    struct Record;  // libdlt's message state, kept out of this header
    std::unique_ptr<Record> record_;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOG_STREAM_H
