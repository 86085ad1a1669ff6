// ara::core::ErrorCode: a numeric code, the name of the domain it belongs to, and a message.
// Platform calls report failures through these inside a Result; nothing throws.
#ifndef ARA_CORE_ERROR_CODE_H
#define ARA_CORE_ERROR_CODE_H

#include <cstdint>
#include <utility>

#include "ara/core/string.h"

namespace ara::core {

class ErrorCode {
public:
    using CodeType = std::int32_t;

    ErrorCode(StringView domain, CodeType value, String message)
        : domain_(domain), value_(value), message_(std::move(message)) {}

    StringView Domain() const noexcept { return domain_; }
    CodeType Value() const noexcept { return value_; }
    StringView Message() const noexcept { return message_; }

private:
    StringView domain_;  // names a string literal of the domain
    CodeType value_;
    String message_;
};

}  // namespace ara::core

#endif  // ARA_CORE_ERROR_CODE_H
