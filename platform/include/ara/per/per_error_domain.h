// Error codes of the key-value storage.
#ifndef ARA_PER_PER_ERROR_DOMAIN_H
#define ARA_PER_PER_ERROR_DOMAIN_H

#include <cstdint>

#include "ara/core/error_code.h"

namespace ara::per {

enum class PerErrc : std::int32_t {
    kStorageNotFound = 1,  // the file is missing or cannot be read
    kPhysicalStorageFailure = 2,
    kValidationFailed = 3,  // not a JSON object, or a key given twice
    kKeyNotFound = 4,
    kDataTypeMismatch = 5,
};

inline core::ErrorCode MakeErrorCode(PerErrc code, core::String message) {
    return core::ErrorCode("Per", static_cast<std::int32_t>(code), std::move(message));
}

}  // namespace ara::per

#endif  // ARA_PER_PER_ERROR_DOMAIN_H
