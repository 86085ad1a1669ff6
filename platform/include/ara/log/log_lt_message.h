// One decoded DLT message (without its storage header): standard header, extended header and
// payload. Filled by LogStorageMsg::Deserialize; a version 2 message is presented through the
// same headers (see log_storage_msg.h for both byte layouts).
#ifndef ARA_LOG_LOG_LT_MESSAGE_H
#define ARA_LOG_LOG_LT_MESSAGE_H

#include <cstdint>
#include <string>

#include "ara/core/string.h"
#include "ara/log/common.h"

namespace ara::log {

// Message type of the message info (MSIN bits 1-3).
enum class MessageType : std::uint8_t { kLog = 0, kAppTrace = 1, kNwTrace = 2, kControl = 3 };

class StandardHeader {
public:
    std::uint8_t GetMcnt() const { return mcnt_; }
    // True when the message carries application id, context id and message info.
    bool IsHytpUeh() const { return hasExtendedHeader_; }

private:
    friend class LogStorageMsg;
    std::uint8_t mcnt_ = 0;
    bool hasExtendedHeader_ = false;
};

class ExtendedHeader {
public:
    // Ids as text, without padding; valid while the header is.
    core::StringView GetApid() const { return apid_.View(); }
    core::StringView GetCtid() const { return ctid_.View(); }
    // The type info of the message info: the level of a log message (possibly out of range).
    LogLevel GetLogLevel() const { return static_cast<LogLevel>(msin_ >> 4); }
    MessageType GetMessageType() const { return static_cast<MessageType>((msin_ >> 1) & 0x07); }

private:
    friend class LogStorageMsg;
    // An id of at most 255 characters (a version 2 length byte), kept without allocation.
    struct Id {
        char text[255];
        std::uint8_t length = 0;
        core::StringView View() const { return {text, length}; }
    };
    Id apid_;
    Id ctid_;
    std::uint8_t msin_ = 0;
};

class LogLTMessage {
public:
    const StandardHeader& GetStandardHeader() const { return standard_; }
    const ExtendedHeader& GetExtendedHeader() const { return extended_; }
    // The payload as text, the way the standard DLT converter prints it in ASCII mode.
    const core::String& GetPayload() const { return text_; }

private:
    friend class LogStorageMsg;
    StandardHeader standard_;
    ExtendedHeader extended_;
    std::string text_;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOG_LT_MESSAGE_H
