// Text form of DLT time stamps.
#ifndef ARA_LOG_SYSTEM_TIME_H
#define ARA_LOG_SYSTEM_TIME_H

#include <cstddef>
#include <ctime>

#include "ara/core/string.h"

namespace ara::log {

class SystemTime {
public:
    // Local calendar time "YYYY/MM/DD HH:MM:SS.uuuuuu"; a time before 2000-01-01 is a time
    // since start-up and reads as seconds with six decimals ("12.345600").
    static core::String SystemTimeToString(const timespec& time);
    // The same text, written at out, which has room for kMaxTextSize characters; returns the
    // end of what was written.
    static constexpr std::size_t kMaxTextSize = 64;
    static char* WriteSystemTime(const timespec& time, char* out);
};

}  // namespace ara::log

#endif  // ARA_LOG_SYSTEM_TIME_H
