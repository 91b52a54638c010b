/// What a call of the store returns: a `Status`, which is a code, or a `Result`, which is a value or a failure's code.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/result_text.h>

#include <string_view>
#include <utility>

namespace arbor {

using kernel::ResultCode;

/// The code that a call returned. True for a success; there are successes other than 0.
class Status {
public:
    constexpr explicit Status(ResultCode result = kernel::kDone) : code(result) {}

    [[nodiscard]] constexpr explicit operator bool() const { return kernel::IsSuccess(code); }
    [[nodiscard]] constexpr ResultCode Code() const { return code; }
    /// The code's meaning in words, as "no such key or value".
    [[nodiscard]] constexpr std::string_view Text() const { return kernel::ResultText(code); }

private:
    ResultCode code;
};

/// A value, or the code of the failure; after a failure `*` returns a `T{}`.
template <class T>
class [[nodiscard]] Result : public Status {
public:
    constexpr Result(Status failure) : Status(failure) {}
    constexpr Result(T result) : value(std::move(result)) {}

    [[nodiscard]] constexpr const T& operator*() const& { return value; }
    [[nodiscard]] constexpr T&& operator*() && { return std::move(value); }
    [[nodiscard]] constexpr const T* operator->() const { return &value; }
    /// The value, or `other` after a failure.
    [[nodiscard]] constexpr T ValueOr(T other) const { return *this ? value : std::move(other); }

private:
    T value{};
};

}   // namespace arbor
