#include "payload_text.h"

#include <charconv>
#include <cstring>

#include "byte_order.h"

namespace ara::log {
namespace {

using bytes::Reader;

// Type info bits of a verbose argument.
constexpr std::uint32_t kTypeLength = 0x0000000F;
constexpr std::uint32_t kBool = 0x00000010;
constexpr std::uint32_t kSint = 0x00000020;
constexpr std::uint32_t kUint = 0x00000040;
constexpr std::uint32_t kFloat = 0x00000080;
constexpr std::uint32_t kString = 0x00000200;
constexpr std::uint32_t kRaw = 0x00000400;
constexpr std::uint32_t kVariable = 0x00000800;
constexpr std::uint32_t kFixedPoint = 0x00001000;
constexpr std::uint32_t kCoding = 0x00038000;
constexpr std::uint32_t kCodingHex = 0x00010000;
constexpr std::uint32_t kCodingBin = 0x00018000;

constexpr char kHexDigits[] = "0123456789abcdef";

// Names of the control services 0x01..0x14.
constexpr const char* kServiceNames[] = {
    "",
    "set_log_level",
    "set_trace_status",
    "get_log_info",
    "get_default_log_level",
    "store_config",
    "reset_to_factory_default",
    "set_com_interface_status",
    "set_com_interface_max_bandwidth",
    "set_verbose_mode",
    "set_message_filtering",
    "set_timing_packets",
    "get_local_time",
    "use_ecu_id",
    "use_session_id",
    "use_timestamp",
    "use_extended_header",
    "set_default_log_level",
    "set_default_trace_status",
    "get_software_version",
    "message_buffer_overflow",
};

void AppendHex(const std::uint8_t* data, std::size_t size, char separator, std::string& out) {
    if (size == 0) {
        return;
    }
    const std::size_t start = out.size();
    out.resize(start + 3 * size);
    char* p = out.data() + start;
    for (std::size_t i = 0; i < size; ++i) {
        p[0] = kHexDigits[data[i] >> 4];
        p[1] = kHexDigits[data[i] & 0x0F];
        p[2] = separator;
        p += 3;
    }
    out.pop_back();  // no separator after the last byte
}

std::size_t LengthBytes(std::uint32_t typeInfo) {
    switch (typeInfo & kTypeLength) {
        case 1:
            return 1;
        case 2:
            return 2;
        case 3:
            return 4;
        case 4:
            return 8;
        case 5:
            return 16;
        default:
            return 0;
    }
}

template <typename T>
void AppendDecimal(T value, std::string& out) {
    char text[24];
    const char* end = std::to_chars(text, text + sizeof(text), value).ptr;
    out.append(text, static_cast<std::size_t>(end - text));
}

void AppendSigned(std::uint64_t raw, std::size_t bytes, std::string& out) {
    const unsigned shift = static_cast<unsigned>(64 - 8 * bytes);
    AppendDecimal(static_cast<std::int64_t>(raw << shift) >> shift, out);  // sign-extended
}

// "0x" and the value in 2 * bytes hexadecimal digits.
void AppendHexNumber(std::uint64_t value, std::size_t bytes, std::string& out) {
    out += "0x";
    for (std::size_t nibble = 2 * bytes; nibble-- > 0;) {
        out += kHexDigits[(value >> (4 * nibble)) & 0x0F];
    }
}

void AppendBinary(std::uint64_t value, std::size_t bytes, std::string& out) {
    out += "0b";
    for (std::size_t bit = 8 * bytes; bit-- > 0;) {
        out += ((value >> bit) & 1) != 0 ? '1' : '0';
        if (bit % 4 == 0 && bit != 0) {
            out += ' ';
        }
    }
}

// As printf's %g: six significant digits, the shorter of fixed and exponent notation.
void AppendFloat(std::uint64_t raw, std::size_t bytes, std::string& out) {
    double value;
    if (bytes == 4) {
        const auto bits = static_cast<std::uint32_t>(raw);
        float f;
        std::memcpy(&f, &bits, sizeof(f));
        value = f;
    } else {
        std::memcpy(&value, &raw, sizeof(value));
    }
    char text[64];
    const char* end = std::to_chars(text, text + sizeof(text), value, std::chars_format::general, 6).ptr;
    out.append(text, static_cast<std::size_t>(end - text));
}

// Signed integers in decimal; unsigned ones in decimal, or hex or binary when the coding asks.
void AppendInteger(std::uint32_t typeInfo, std::uint64_t value, std::size_t bytes, std::string& out) {
    if ((typeInfo & kSint) != 0) {
        AppendSigned(value, bytes, out);
    } else if ((typeInfo & kCoding) == kCodingHex) {
        AppendHexNumber(value, bytes, out);
    } else if ((typeInfo & kCoding) == kCodingBin) {
        AppendBinary(value, bytes, out);
    } else {
        AppendDecimal(value, out);
    }
}

// Text up to its first NUL, with CR and LF as blanks.
void AppendText(const std::uint8_t* data, std::size_t length, std::string& out) {
    const void* nul = std::memchr(data, 0, length);
    const std::size_t textLength = nul == nullptr ? length : static_cast<const std::uint8_t*>(nul) - data;
    const std::size_t start = out.size();
    out.append(reinterpret_cast<const char*>(data), textLength);
    for (const char lineEnd : {'\r', '\n'}) {
        char* at = out.data() + start;
        while ((at = static_cast<char*>(std::memchr(at, lineEnd, out.data() + out.size() - at))) != nullptr) {
            *at = ' ';
        }
    }
}

// Skips the name (and unit) that a variable-info argument carries in front of its value; other
// arguments carry none.
bool SkipNameAndUnit(std::uint32_t typeInfo, Reader& r, bool withUnit) {
    if ((typeInfo & kVariable) == 0) {
        return true;
    }
    std::uint16_t nameLength = 0;
    std::uint16_t unitLength = 0;
    if (!r.U16(nameLength) || (withUnit && !r.U16(unitLength))) {
        return false;
    }
    return r.Skip(nameLength) && r.Skip(unitLength);
}

// A string, or raw data as hex bytes joined by "'".
bool AppendStringOrRaw(std::uint32_t typeInfo, Reader& r, std::string& out) {
    std::uint16_t length = 0;
    if (!r.U16(length) || !SkipNameAndUnit(typeInfo, r, false)) {
        return false;
    }
    const std::uint8_t* data = r.Take(length);
    if (data == nullptr) {
        return false;
    }
    if ((typeInfo & kString) != 0) {
        AppendText(data, length, out);
    } else {
        AppendHex(data, length, '\'', out);
    }
    return true;
}

// A boolean is one byte; some writers leave its length code at 0.
bool AppendBool(std::uint32_t typeInfo, Reader& r, std::string& out) {
    const std::size_t bytes = LengthBytes(typeInfo);
    std::uint64_t value = 0;
    if (!SkipNameAndUnit(typeInfo, r, false) || !r.Unsigned(bytes == 0 ? 1 : bytes, value)) {
        return false;
    }
    AppendDecimal(value, out);
    return true;
}

// Integers and floats; 128-bit values and 16-bit floats as hex bytes joined by blanks.
bool AppendNumber(std::uint32_t typeInfo, Reader& r, std::string& out) {
    const std::size_t bytes = LengthBytes(typeInfo);
    if ((typeInfo & (kSint | kUint | kFloat)) == 0 || !SkipNameAndUnit(typeInfo, r, true)) {
        return false;
    }
    const bool isFloat = (typeInfo & kFloat) != 0;
    if (bytes == 16 || (isFloat && bytes == 2)) {
        const std::uint8_t* data = r.Take(bytes);
        if (data == nullptr) {
            return false;
        }
        AppendHex(data, bytes, ' ', out);
        return true;
    }
    std::uint64_t value = 0;
    if (!r.Unsigned(bytes, value) || (isFloat && bytes == 1)) {
        return false;
    }
    if (isFloat) {
        AppendFloat(value, bytes, out);
    } else {
        AppendInteger(typeInfo, value, bytes, out);
    }
    return true;
}

bool AppendArgument(Reader& r, std::string& out) {
    std::uint32_t typeInfo = 0;
    if (!r.U32(typeInfo)) {
        return false;
    }
    if ((typeInfo & (kString | kRaw)) != 0) {
        return AppendStringOrRaw(typeInfo, r, out);
    }
    if ((typeInfo & kFixedPoint) != 0) {
        return false;  // no writer in use sends fixed-point values
    }
    if ((typeInfo & kBool) != 0) {
        return AppendBool(typeInfo, r, out);
    }
    return AppendNumber(typeInfo, r, out);
}

void AppendVerbose(const PayloadFormat& format, const std::uint8_t* data, std::size_t size, std::string& out) {
    Reader r(data, size, format.bigEndian);
    for (unsigned i = 0; i < format.noar; ++i) {
        const std::size_t start = r.Position();
        if (i != 0) {
            out += ' ';
        }
        const std::size_t before = out.size();
        if (!AppendArgument(r, out)) {
            // what is left is shown as it is: nothing of a record is ever dropped
            out.resize(before);
            AppendHex(data + start, size - start, ' ', out);
            return;
        }
    }
}

void AppendNonVerbose(const PayloadFormat& format, const std::uint8_t* data, std::size_t size, std::string& out) {
    Reader r(data, size, format.bigEndian);
    std::uint32_t id = format.messageId;
    if (!format.hasMessageId && !r.U32(id)) {
        AppendHex(data, size, ' ', out);
        return;
    }
    AppendDecimal(id, out);
    out += ", ";
    AppendHex(r.Here(), r.Left(), ' ', out);
}

void AppendControl(const PayloadFormat& format, const std::uint8_t* data, std::size_t size, std::string& out) {
    Reader r(data, size, format.bigEndian);
    std::uint32_t service = 0;
    if (!r.U32(service)) {
        AppendHex(data, size, ' ', out);
        return;
    }
    if (service >= 1 && service < sizeof(kServiceNames) / sizeof(kServiceNames[0])) {
        out += kServiceNames[service];
    } else {
        out += "service(";
        AppendDecimal(service, out);
        out += ')';
    }
    if (format.response && r.Left() > 0) {
        // the statuses the standard names; any other prints as two hex digits
        static constexpr const char* kStatus[] = {"ok",    "not_supported", "error", "perm_denied",           "warning",
                                                  nullptr, nullptr,         nullptr, "no_matching_context_id"};
        const std::uint8_t status = *r.Here();
        out += ", ";
        if (status < sizeof(kStatus) / sizeof(kStatus[0]) && kStatus[status] != nullptr) {
            out += kStatus[status];
        } else {
            AppendHex(r.Here(), 1, ' ', out);
        }
        r.Skip(1);
    }
    if (r.Left() > 0) {
        out += ", ";
        AppendHex(r.Here(), r.Left(), ' ', out);
    }
}

}  // namespace

void AppendPayloadText(const PayloadFormat& format, const std::uint8_t* data, std::size_t size, std::string& out) {
    switch (format.kind) {
        case PayloadFormat::Kind::kVerbose:
            AppendVerbose(format, data, size, out);
            break;
        case PayloadFormat::Kind::kNonVerbose:
            AppendNonVerbose(format, data, size, out);
            break;
        case PayloadFormat::Kind::kControl:
            AppendControl(format, data, size, out);
            break;
    }
}

}  // namespace ara::log
