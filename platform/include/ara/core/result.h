// ara::core::Result: either a value or an ErrorCode. Value() on an error result (or Error() on a
// value) is a programming error and aborts, like any other broken precondition of the platform.
#ifndef ARA_CORE_RESULT_H
#define ARA_CORE_RESULT_H

#include <cstdlib>
#include <utility>
#include <variant>

#include "ara/core/error_code.h"

namespace ara::core {

template <typename T, typename E = ErrorCode>
class Result {
public:
    Result(const T& value) : data_(std::in_place_index<0>, value) {}
    Result(T&& value) : data_(std::in_place_index<0>, std::move(value)) {}
    Result(const E& error) : data_(std::in_place_index<1>, error) {}
    Result(E&& error) : data_(std::in_place_index<1>, std::move(error)) {}

    bool HasValue() const noexcept { return data_.index() == 0; }

    const T& Value() const& { return *Checked<0>(); }
    T& Value() & { return *Checked<0>(); }
    const E& Error() const& { return *Checked<1>(); }

private:
    template <std::size_t I>
    auto* Checked() const {
        auto* p = std::get_if<I>(const_cast<std::variant<T, E>*>(&data_));
        if (p == nullptr) {
            std::abort();
        }
        return p;
    }

    std::variant<T, E> data_;
};

// A result that carries no value: success, or an ErrorCode.
template <typename E>
class Result<void, E> {
public:
    Result() = default;
    Result(const E& error) : error_(error), ok_(false) {}

    bool HasValue() const noexcept { return ok_; }
    const E& Error() const& {
        if (ok_) {
            std::abort();
        }
        return error_;
    }

private:
    E error_{"", 0, ""};
    bool ok_ = true;
};

}  // namespace ara::core

#endif  // ARA_CORE_RESULT_H
