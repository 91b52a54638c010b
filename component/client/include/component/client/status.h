/// What a call of the store returns: a `Status`, which is a code, or a `Result`, which is a value or a failure's code.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/result_text.h>

#include <concepts>
#include <string_view>
#include <type_traits>
#include <utility>

namespace arbor {

using kernel::ResultCode;

/// The code that a call returned. True for a success; there are successes other than 0.
class [[nodiscard]] Status {
public:
    constexpr explicit Status(ResultCode result = kernel::kDone) : code(result) {}

    [[nodiscard]] constexpr explicit operator bool() const { return kernel::IsSuccess(code); }
    [[nodiscard]] constexpr ResultCode Code() const { return code; }
    /// The code's meaning in words, as "no such key or value".
    [[nodiscard]] constexpr std::string_view Text() const { return kernel::ResultText(code); }

private:
    ResultCode code;
};

namespace detail {

/// Throws `StoreError`. Defined in `throwing.h`, so that `Result::value` compiles only with that header.
struct Thrower;

/// As `std::invoke` with one argument, without the header `<functional>`, which costs more to compile than this client.
template <class F, class Argument>
constexpr decltype(auto) Call(F&& function, Argument&& argument) {
    if constexpr (std::is_member_object_pointer_v<std::remove_cvref_t<F>>)
        return (std::forward<Argument>(argument).*function);
    else if constexpr (std::is_member_function_pointer_v<std::remove_cvref_t<F>>)
        return (std::forward<Argument>(argument).*function)();
    else
        return std::forward<F>(function)(std::forward<Argument>(argument));
}

}   // namespace detail

/// A value, or the code of the failure, with the members of `std::expected<T, ResultCode>`. `T` has a default
/// constructor. Unlike there, `*` and `->` are defined after a failure: they return a `T{}`, or a `T` that returns the
/// failure's code from each of its calls if it has a constructor from `Status`, as `Key` has.
template <class T>
class [[nodiscard]] Result : public Status {
public:
    using value_type = T;
    using error_type = ResultCode;

    constexpr Result(Status failure) : Status(failure), content(MakeFailed(failure)) {}
    constexpr Result(T result) : content(std::move(result)) {}

    [[nodiscard]] constexpr bool has_value() const { return static_cast<bool>(*this); }
    /// The code: of the failure, or 0.
    [[nodiscard]] constexpr ResultCode error() const { return Code(); }

    [[nodiscard]] constexpr T& operator*() & { return content; }
    [[nodiscard]] constexpr const T& operator*() const& { return content; }
    [[nodiscard]] constexpr T&& operator*() && { return std::move(content); }
    [[nodiscard]] constexpr T* operator->() { return &content; }
    [[nodiscard]] constexpr const T* operator->() const { return &content; }

    /// Throws `StoreError` after a failure. Needs the header `throwing.h`.
    template <class Failure = detail::Thrower>
    [[nodiscard]] const T& value() const& {
        if (!*this) Failure::Throw(*this);
        return content;
    }
    template <class Failure = detail::Thrower>
    [[nodiscard]] T value() && {
        if (!*this) Failure::Throw(*this);
        return std::move(content);
    }

    /// True for a success with this value.
    [[nodiscard]] friend constexpr bool operator==(const Result& result,
                                                   const T& value) requires std::equality_comparable<T> {
        return result && result.content == value;
    }

    /// The value, or `other` after a failure.
    template <class U>
    [[nodiscard]] constexpr T value_or(U&& other) const& {
        return *this ? content : static_cast<T>(std::forward<U>(other));
    }
    template <class U>
    [[nodiscard]] constexpr T value_or(U&& other) && {
        return *this ? std::move(content) : static_cast<T>(std::forward<U>(other));
    }

    /// Returns `next(value)`, which is a `Result`, or the failure.
    template <class F>
    constexpr auto and_then(F&& next) const& {
        return Continue<std::invoke_result_t<F, const T&>>(next, content);
    }
    template <class F>
    constexpr auto and_then(F&& next) && {
        return Continue<std::invoke_result_t<F, T>>(next, std::move(content));
    }
    /// Returns a `Result` with `change(value)`, or the failure.
    template <class F>
    constexpr auto transform(F&& change) const& {
        return Continue<Result<std::remove_cvref_t<std::invoke_result_t<F, const T&>>>>(change, content);
    }
    template <class F>
    constexpr auto transform(F&& change) && {
        return Continue<Result<std::remove_cvref_t<std::invoke_result_t<F, T>>>>(change, std::move(content));
    }
    /// Returns this result, or after a failure `recover(code)`, which is a `Result<T>`.
    template <class F>
    constexpr Result or_else(F&& recover) const& {
        return *this ? *this : Result(std::forward<F>(recover)(Code()));
    }
    template <class F>
    constexpr Result or_else(F&& recover) && {
        return *this ? std::move(*this) : Result(std::forward<F>(recover)(Code()));
    }

    /// Converts to `std::expected<T, ResultCode>`, which this header doesn't need: the conversion is a template. To
    /// initialise a `std::expected<bool, ResultCode>` write `=`.
    template <class Expected>
    requires std::same_as<typename Expected::value_type, T> && std::same_as<typename Expected::error_type, ResultCode>
    constexpr operator Expected() const {
        if (*this) return Expected(content);
        return Expected(typename Expected::unexpected_type(Code()));
    }

private:
    static constexpr T MakeFailed(Status failure) {
        if constexpr (std::is_constructible_v<T, Status>)
            return T(failure);
        else
            return T{};
    }

    template <class Next, class F, class U>
    constexpr Next Continue(F& step, U&& argument) const {
        if (!*this) return Status(Code());
        return detail::Call(step, std::forward<U>(argument));
    }

    T content;
};

}   // namespace arbor
