#include "ara/log/system_time.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace ara::log {
namespace {

constexpr time_t kYear2000 = 946684800;
constexpr char kPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// "." and the microseconds in six digits.
char* WriteMicros(long micros, char* out) {
    *out++ = '.';
    if (micros < 0 || micros >= 1000000) {  // not a valid sub-second count: shown as it is
        const int n = std::snprintf(out, SystemTime::kMaxTextSize - 28, "%06ld", micros);
        return out + (n > 0 ? n : 0);
    }
    for (int i = 4; i >= 0; i -= 2, micros /= 100) {
        const long pair = micros % 100;
        out[i] = kPairs[2 * pair];
        out[i + 1] = kPairs[2 * pair + 1];
    }
    return out + 6;
}

}  // namespace

char* SystemTime::WriteSystemTime(const timespec& time, char* out) {
    const long micros = time.tv_nsec / 1000;
    if (time.tv_sec < kYear2000) {
        out = std::to_chars(out, out + 20, static_cast<long long>(time.tv_sec)).ptr;
        return WriteMicros(micros, out);
    }
    // Consecutive records mostly fall in the same second: its calendar text is made once.
    thread_local time_t cachedSecond = -1;
    thread_local char cachedText[24];
    thread_local std::size_t cachedLength = 0;
    if (time.tv_sec != cachedSecond) {
        tm local{};
        localtime_r(&time.tv_sec, &local);
        const int n =
            std::snprintf(cachedText, sizeof(cachedText), "%04d/%02d/%02d %02d:%02d:%02d", local.tm_year + 1900,
                          local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
        cachedLength = n > 0 ? static_cast<std::size_t>(n) : 0;
        cachedSecond = time.tv_sec;
    }
    std::memcpy(out, cachedText, sizeof(cachedText));  // a fixed size copies inline; out has the room
    static_assert(sizeof(cachedText) + 7 <= kMaxTextSize, "the text and the microseconds fit");
    return WriteMicros(micros, out + cachedLength);
}

core::String SystemTime::SystemTimeToString(const timespec& time) {
    char text[kMaxTextSize];
    return core::String(text, WriteSystemTime(time, text));
}

}  // namespace ara::log
