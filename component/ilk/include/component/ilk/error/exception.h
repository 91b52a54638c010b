/// The exceptions of this system. They carry the place of the throw, a message, the call stack at their construction
/// and named properties, and tell all of it in `what()`. Copies share their details, that is all but the
/// place and the description, which are each one's own. An exception belongs to the thread that handles it; only the
/// sharing itself is safe between threads.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <exception>

namespace ilk {

struct ExceptionDetails;
class PropertyValue;

/// A counted reference to the details of a throw, or null.
class DetailsRef {
public:
    DetailsRef() = default;
    DetailsRef(const DetailsRef& other) noexcept;
    DetailsRef& operator=(const DetailsRef& other) noexcept;
    ~DetailsRef();

    /// The details, which are made if there are none yet.
    ExceptionDetails& Make();
    [[nodiscard]] ExceptionDetails* get() const noexcept { return details; }

private:
    ExceptionDetails* details = nullptr;
};

class exception : public std::exception {
public:
    /// `sourceFile` is constant text. There are no details yet.
    exception(const char* sourceFile, std::uint32_t sourceLine) noexcept : file(sourceFile), line(sourceLine) {}
    exception(const exception&) = default;
    exception& operator=(const exception&) = default;
    ~exception() override;

    /// The whole story, built at the first call; valid as long as a copy of the exception lives. Empty if there was no
    /// memory to build it.
    [[nodiscard]] const char* what() const noexcept override;

    /// Replaces the value under `key`, or appends it. The key has 31 characters at most; `std::bad_alloc` beyond and
    /// without memory.
    void SetProperty(std::string_view key, PropertyValue value);

    /// The value under `key`, or null. It lives until the property is set again or the last copy goes.
    [[nodiscard]] const PropertyValue* FindProperty(std::string_view key) const noexcept;

protected:
    /// Stores the message and the call stack from the caller's caller on: to be called by the constructors of those
    /// classes that are thrown, which must not be inlined.
    void Describe(std::string_view message);

private:
    const char* file;
    std::uint32_t line;
    DetailsRef details;
};

class Exception : public exception {
public:
    using exception::exception;
    Exception(const char* sourceFile, std::uint32_t sourceLine, std::string_view message);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;

    /// A text for people. That of this class is what `SetDescription` stored.
    [[nodiscard]] virtual basic_string_t<char16_t> GetDescription() const;

    void SetDescription(basic_string_t<char16_t> text) noexcept { description = std::move(text); }

private:
    basic_string_t<char16_t> description;
};

/// The step from `Base` to `Derived`.
template <class Derived, class Base>
class ExceptionBase : public Base {
public:
    using Base::Base;
};

/// An exception with a code, which is its property "ilk.result".
class ResultCodeException : public ExceptionBase<ResultCodeException, Exception> {
public:
    ResultCodeException(const char* sourceFile, std::uint32_t sourceLine, std::string_view message, ResultCode code);
    ResultCodeException(const ResultCodeException&) = default;
    ResultCodeException& operator=(const ResultCodeException&) = default;
    ~ResultCodeException() override;

    /// The stored text, then the code and its text.
    [[nodiscard]] basic_string_t<char16_t> GetDescription() const override;
};

inline constexpr std::string_view kResultProperty = "ilk.result";
inline constexpr std::string_view kSystemErrorProperty = "os.result";

/// Throws a `ResultCodeException` if `code` is a failure. Always inlined, so that the thrower is on top of the call
/// stack.
[[gnu::always_inline]] inline void ThrowIfFail(const char* file, std::uint32_t line, ResultCode code) {
    if (IsFailure(code)) throw ResultCodeException(file, line, "ILK_THROW_IF_FAIL", code);
}

#define ILK_THROW_IF_FAIL(code) ::ilk::ThrowIfFail(__FILE__, __LINE__, (code))

/// The code that the exception carries: its own, that of its system error, or `ResultExceptionHasNoResultCode`.
[[nodiscard]] ResultCode ResultFromException(const exception& e) noexcept;

/// The code of the exception that is being handled, always a failure. For catch blocks at a boundary.
[[nodiscard]] ResultCode ResultFromCurrentException() noexcept;

}   // namespace ilk
