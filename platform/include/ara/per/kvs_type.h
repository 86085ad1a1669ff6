// ara::per::kvstype::KvsType: one value of a key-value storage, whatever its type. The tool asks
// only for arrays of strings; any other shape answers with a type-mismatch error.
#ifndef ARA_PER_KVS_TYPE_H
#define ARA_PER_KVS_TYPE_H

#include <type_traits>

#include "ara/core/result.h"
#include "ara/core/string.h"
#include "ara/core/vector.h"
#include "ara/per/per_error_domain.h"

namespace ara::per::kvstype {

class KvsType {
public:
    enum class Kind { kNotSet, kString, kStringArray, kOther };

    KvsType() = default;

    static KvsType FromString(core::String value) {
        KvsType t;
        t.kind_ = Kind::kString;
        t.strings_.push_back(std::move(value));
        return t;
    }
    static KvsType FromStringArray(core::Vector<core::String> values) {
        KvsType t;
        t.kind_ = Kind::kStringArray;
        t.strings_ = std::move(values);
        return t;
    }
    static KvsType Other() {
        KvsType t;
        t.kind_ = Kind::kOther;
        return t;
    }

    Kind GetKind() const noexcept { return kind_; }
    // The string of a string value; empty for any other kind.
    core::String GetString() const { return kind_ == Kind::kString ? strings_.front() : core::String(); }

    template <typename T>
    core::Result<core::Vector<T>> GetKvsArray() const {
        static_assert(std::is_same_v<T, core::String>, "only arrays of strings are stored");
        if (kind_ != Kind::kStringArray) {
            return MakeErrorCode(PerErrc::kDataTypeMismatch, "value is not an array of strings");
        }
        return strings_;
    }

private:
    Kind kind_ = Kind::kNotSet;
    core::Vector<core::String> strings_;
};

}  // namespace ara::per::kvstype

#endif  // ARA_PER_KVS_TYPE_H
