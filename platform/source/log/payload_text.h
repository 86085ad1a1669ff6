// The text form of a DLT payload, as the standard DLT converter prints it in ASCII mode.
//
// Verbose arguments are joined by one blank: strings up to their first NUL with CR and LF
// turned into blanks; booleans and integers in decimal (unsigned ones as 0x.. or 0b.... when the
// argument asks for it); 32- and 64-bit floats as %g; raw data as hex bytes joined by "'";
// 128-bit values and 16-bit floats as hex bytes joined by blanks. Names and units of
// arguments are not shown. An argument that cannot be decoded ends the list: the rest of the
// payload follows in hex. Non-verbose: "<message id>, <hex data>". Control: the service name,
// for responses ", <status>", then ", <hex of the rest>" when anything is left.
#ifndef ARA_LOG_PAYLOAD_TEXT_H
#define ARA_LOG_PAYLOAD_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "ara/log/log_lt_message.h"

namespace ara::log {

// How the payload bytes are to be read.
struct PayloadFormat {
    enum class Kind : std::uint8_t { kVerbose, kNonVerbose, kControl };
    Kind kind = Kind::kVerbose;
    bool bigEndian = false;     // version 1 MSBF flag
    std::uint8_t noar = 0;      // verbose: number of arguments
    bool response = false;      // control: a response carries a status byte
    bool hasMessageId = false;  // version 2 non-verbose: the id comes from the header
    std::uint32_t messageId = 0;
};

void AppendPayloadText(const PayloadFormat& format, const std::uint8_t* data, std::size_t size, std::string& out);

}  // namespace ara::log

#endif  // ARA_LOG_PAYLOAD_TEXT_H
