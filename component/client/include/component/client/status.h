/// How a call of the store ended: a status, and a result that is a value or the code of a failure. Nothing here throws.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/result_text.h>

#include <string_view>
#include <utility>

namespace arbor {

using kernel::ResultCode;

/// How a call ended. True for every success, of which 0 is only one.
class Status {
public:
    constexpr explicit Status(ResultCode result = kernel::kDone) : code(result) {}

    [[nodiscard]] constexpr explicit operator bool() const { return kernel::IsSuccess(code); }
    [[nodiscard]] constexpr ResultCode Code() const { return code; }
    [[nodiscard]] constexpr std::string_view Text() const { return kernel::ResultText(code); }

private:
    ResultCode code;
};

/// A value, or the code that says why there is none; a `T{}` stands in its place then.
template <class T>
class [[nodiscard]] Result : public Status {
public:
    constexpr Result(Status failure) : Status(failure) {}
    constexpr Result(T result) : value(std::move(result)) {}

    [[nodiscard]] constexpr const T& operator*() const& { return value; }
    [[nodiscard]] constexpr T&& operator*() && { return std::move(value); }
    [[nodiscard]] constexpr const T* operator->() const { return &value; }
    [[nodiscard]] constexpr T ValueOr(T other) const { return *this ? value : std::move(other); }

private:
    T value{};
};

}   // namespace arbor
