// Levels and modes of the platform logger, with the values of the AUTOSAR Adaptive logging API.
#ifndef ARA_LOG_COMMON_H
#define ARA_LOG_COMMON_H

#include <cstdint>
#include <string_view>

namespace ara::log {

enum class LogLevel : std::uint8_t {
    kOff = 0x00,
    kFatal = 0x01,
    kError = 0x02,
    kWarn = 0x03,
    kInfo = 0x04,
    kDebug = 0x05,
    kVerbose = 0x06,
};

// The name of each level, indexed by its value.
inline constexpr std::string_view kLogLevelNames[] = {"off", "fatal", "error", "warn", "info", "debug", "verbose"};

enum class LogMode : std::uint8_t {
    kRemote = 0x01,
};

}  // namespace ara::log

#endif  // ARA_LOG_COMMON_H
