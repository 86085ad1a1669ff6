#include "ara/log/logging.h"

#include <dlt/dlt.h>

#include <algorithm>
#include <deque>
#include <mutex>

#include "byte_order.h"

namespace ara::log {

struct Logger::Context {
    DltContext dlt{};
};

struct LogStream::Record {
    DltContextData data{};
};

namespace {

// DLT ids are at most four characters.
std::string DltId(core::StringView id) { return std::string(bytes::WireId(id)); }

}  // namespace

void InitLogging(std::string appId, std::string appDescription, LogLevel /*appDefLogLevel*/, LogMode /*logMode*/,
                 std::string /*directoryPath*/) {
    // libdlt reports its own troubles on the terminal and waits up to ten seconds at exit to
    // hand buffered records to a daemon; a command-line tool must do neither.
    dlt_log_init(DLT_LOG_DROPPED);
    dlt_set_resend_timeout_atexit(0);
    dlt_register_app(DltId(appId).c_str(), appDescription.c_str());
    // A failed first set-up is retried by the registration, which resets the timeout.
    dlt_set_resend_timeout_atexit(0);
}

Logger& CreateLogger(core::StringView ctxId, core::StringView ctxDescription, LogLevel ctxDefLogLevel) {
    // Contexts live until process exit, as libdlt keeps pointers to them.
    static std::mutex mutex;
    static auto* loggers = new std::deque<Logger>();
    std::lock_guard<std::mutex> lock(mutex);
    return loggers->emplace_back(ctxId, ctxDescription, ctxDefLogLevel);
}

Logger::Logger(core::StringView ctxId, core::StringView ctxDescription, LogLevel ctxDefLogLevel)
    : context_(std::make_unique<Context>()) {
    dlt_register_context_ll_ts(&context_->dlt, DltId(ctxId).c_str(), std::string(ctxDescription).c_str(),
                               static_cast<int>(ctxDefLogLevel), DLT_TRACE_STATUS_OFF);
}

Logger::~Logger() = default;

LogStream::LogStream(const Logger& logger, LogLevel level) : record_(std::make_unique<Record>()) {
    if (dlt_user_log_write_start(&logger.GetContext().dlt, &record_->data, static_cast<DltLogLevelType>(level)) <= 0) {
        record_.reset();
    }
}

LogStream::LogStream(LogStream&& other) noexcept = default;

LogStream::~LogStream() {
    if (record_) {
        dlt_user_log_write_finish(&record_->data);
    }
}

LogStream& LogStream::operator<<(core::StringView text) {
    if (!record_) {
        return *this;
    }
    // libdlt builds a record in a buffer of DLT_USER_BUF_MAX_SIZE bytes and does not check a
    // long string reliably (its sums wrap at 64 KB): a string is cut to the room that is left,
    // with "..." where it was cut.
    constexpr std::size_t kArgumentCost = 4 + 2 + 1;  // type info, length, the closing NUL
    constexpr core::StringView kCut = "...";
    const auto used = static_cast<std::size_t>(std::max(record_->data.size, 0));
    const std::size_t room = DLT_USER_BUF_MAX_SIZE - std::min<std::size_t>(used + kArgumentCost, DLT_USER_BUF_MAX_SIZE);
    if (text.size() <= room) {
        dlt_user_log_write_sized_string(&record_->data, text.data(), static_cast<uint16_t>(text.size()));
    } else if (room >= kCut.size()) {
        std::string cut(text.substr(0, room - kCut.size()));
        cut += kCut;
        dlt_user_log_write_sized_string(&record_->data, cut.data(), static_cast<uint16_t>(cut.size()));
    }
    return *this;
}

LogStream& LogStream::operator<<(const char* text) { return *this << core::StringView(text); }

LogStream& LogStream::operator<<(const core::String& text) { return *this << core::StringView(text); }

LogStream& LogStream::operator<<(int value) {
    if (record_) {
        dlt_user_log_write_int32(&record_->data, value);
    }
    return *this;
}

}  // namespace ara::log
