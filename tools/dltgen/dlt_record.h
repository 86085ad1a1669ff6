// Writes DLT records, version 1 and version 2, as a log daemon stores them: the test-data
// generator of this project. Every header field and argument type that the decoder reads can
// be set; anything left alone takes a plain default (a verbose info message of APP/CTX).
#ifndef ZEL_DLTGEN_DLT_RECORD_H
#define ZEL_DLTGEN_DLT_RECORD_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zel::dltgen {

// One verbose argument: its type info and its value bytes, little-endian; Encode turns them
// around for a big-endian version 1 payload.
struct Arg {
    uint32_t typeInfo = 0;
    std::string name;   // with a name, the variable-info flag is set
    std::string unit;   // numbers only
    std::string value;  // number bytes (LE), or string/raw bytes

    static Arg String(const std::string& text, bool utf8 = false);  // NUL appended
    static Arg Bool(bool value);
    static Arg Int(int64_t value, int bytes);
    static Arg Uint(uint64_t value, int bytes);
    static Arg Hex(uint64_t value, int bytes);  // printed 0x..
    static Arg Bin(uint64_t value, int bytes);  // printed 0b....
    static Arg Float32(float value);
    static Arg Float64(double value);
    static Arg Raw(const std::string& bytes);
    static Arg Uint128(const std::string& sixteenBytes);
    Arg&& Named(std::string argName, std::string argUnit = "") &&;
};

enum class MessageType : uint8_t { kLog = 0, kAppTrace = 1, kNwTrace = 2, kControl = 3 };
// The layout of a version 2 storage time: A seconds (BE 5) then nanoseconds LE, as the COVESA
// daemon writes on a little-endian host; B the same with nanoseconds BE; C nanoseconds LE then
// seconds (LE 5), as the COVESA viewer writes.
enum class TimeLayout : uint8_t { kA, kB, kC };

struct Record {
    int version = 1;
    // storage header
    uint64_t seconds = 1700000000;
    uint32_t subseconds = 0;             // version 1: microseconds; version 2: nanoseconds
    TimeLayout layout = TimeLayout::kA;  // version 2
    std::string ecu = "ECU1";
    // standard / base header
    uint8_t mcnt = 0;
    bool withEcuId = true;  // v1: ECU id in the standard header; v2: in the extension
    std::optional<uint32_t> sessionId;
    std::optional<uint32_t> timestamp = 12345;  // v1: 0.1 ms units
    bool bigEndian = false;                     // v1 only
    bool extended = true;                       // v1: extended header; v2: application and context ids
    std::string apid = "APP";
    std::string ctid = "CTX";
    MessageType type = MessageType::kLog;
    uint8_t typeInfo = 4;  // level of a log message, or the message type info
    bool verbose = true;
    std::vector<Arg> args;
    std::optional<std::string> payload;  // raw payload instead of the arguments
    uint32_t messageId = 0;              // v2 non-verbose
    // version 2 only
    uint64_t tsSeconds = 5;
    uint32_t tsNanos = 250000000;
    bool tsRelative = true;
    std::optional<std::pair<std::string, uint32_t>> fileLine;
    std::vector<std::string> tags;
    std::optional<uint8_t> privacy;
    std::optional<std::string> segmentation;
    std::optional<uint16_t> lengthOverride;  // announce another LEN than the real one
};

// The bytes of one stored record.
std::string Encode(const Record& record);

// Writes VALUE into the WIDTH bytes of OUT at AT, most significant byte first when BIGENDIAN:
// the one byte-order writer of the generator, also used to patch encoded records in place.
void Put(std::string& out, std::size_t at, uint64_t value, int width, bool bigEndian);
// Writes a version 2 storage time into the 9 bytes of OUT at AT.
void PutStorageTime(std::string& out, std::size_t at, uint64_t seconds, uint32_t nanos, TimeLayout layout);

}  // namespace zel::dltgen

#endif  // ZEL_DLTGEN_DLT_RECORD_H
