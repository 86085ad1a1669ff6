// CltLogger: the tool's one logging context on the platform logger ("CLT"/"clt").
//
// main calls InitLoger once, before any record is written; afterwards CltGetLogger may be used
// from any thread. Records go to the log daemon only, never to the terminal. CLT_LOG_DEBUG and
// CLT_LOG_ERROR start a record with the source file's base name, line and function in front:
//     CLT_LOG_DEBUG << "stop thread success";
#ifndef ZEL_CLT_CLT_LOGGER_H
#define ZEL_CLT_CLT_LOGGER_H

#include "ara/core/string.h"
#include "ara/log/logging.h"

namespace zel::clt {

class CltLogger {
public:
    static CltLogger& GetInstance();
    ~CltLogger() = default;
    CltLogger(const CltLogger&) = delete;
    CltLogger& operator=(const CltLogger&) = delete;

    void InitLoger();
    ara::log::Logger* CltGetLogger() const { return logger_; }

private:
    CltLogger() = default;

    ara::log::Logger* logger_ = nullptr;
};

// The base name of a path: the part after the last '/', a view into path.
ara::core::StringView GetFilename(const ara::core::StringView& path);

}  // namespace zel::clt

#define CLT_LOG_RECORD(level)                                                            \
    ::zel::clt::CltLogger::GetInstance().CltGetLogger()->level()                         \
        << ::zel::clt::GetFilename(__FILE__) << ":" << static_cast<int>(__LINE__) << " " \
        << ::ara::core::StringView(__func__) << ":"
#define CLT_LOG_DEBUG CLT_LOG_RECORD(LogDebug)
#define CLT_LOG_ERROR CLT_LOG_RECORD(LogError)

#endif  // ZEL_CLT_CLT_LOGGER_H
