#include "ara/log/system_time.h"

#include <cinttypes>
#include <cstdio>

namespace ara::log {
namespace {

constexpr time_t kYear2000 = 946684800;

}  // namespace

core::String SystemTime::SystemTimeToString(const timespec& time) {
    char text[64];
    const long micros = time.tv_nsec / 1000;
    if (time.tv_sec < kYear2000) {
        std::snprintf(text, sizeof(text), "%" PRId64 ".%06ld", static_cast<int64_t>(time.tv_sec), micros);
        return text;
    }
    tm local{};
    localtime_r(&time.tv_sec, &local);
    std::snprintf(text, sizeof(text), "%04d/%02d/%02d %02d:%02d:%02d.%06ld", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, micros);
    return text;
}

}  // namespace ara::log
