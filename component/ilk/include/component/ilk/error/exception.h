/// The exceptions of this library. `what()` reports the source position of the throw, a message, named properties and
/// the call stack at the construction. Copies of an exception share all of these but the position. An exception belongs
/// to the thread that handles it: only the reference count of the shared part is thread-safe.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <exception>

namespace ilk {

struct ExceptionDetails;
class PropertyValue;

/// A counted reference to the part that copies of an exception share, or null.
class DetailsRef {
public:
    DetailsRef() = default;
    DetailsRef(const DetailsRef& other) noexcept;
    DetailsRef& operator=(const DetailsRef& other) noexcept;
    ~DetailsRef();

    /// Returns the details; creates them if the reference is null.
    ExceptionDetails& GetOrCreate();
    [[nodiscard]] ExceptionDetails* get() const noexcept { return details; }

private:
    ExceptionDetails* details = nullptr;
};

/// Base of the exceptions of this library. It has details only after `CaptureDetails` or `SetProperty`.
class exception : public std::exception {
public:
    /// Creates no details. `sourceFile` must outlive every copy of the exception.
    exception(const char* sourceFile, std::uint32_t sourceLine) noexcept : file(sourceFile), line(sourceLine) {}

    /// Returns the text described at the top of this file. The first call builds it; it stays valid while a copy of the
    /// exception lives. Empty if there was no memory for it.
    [[nodiscard]] const char* what() const noexcept override;

    /// Sets the property `key`; a new one is appended. A text that `what()` has built doesn't change. Throws
    /// `std::bad_alloc` for a key above 31 characters and without memory.
    void SetProperty(std::string_view key, PropertyValue value);

    /// Returns the property `key`, or null. It stays valid until the property is set again or the last copy of the
    /// exception is destroyed.
    [[nodiscard]] const PropertyValue* FindProperty(std::string_view key) const noexcept;

protected:
    /// Stores `message` and the call stack. Call it from a constructor that is never inlined: the stack omits exactly
    /// that constructor and this function.
    void CaptureDetails(std::string_view message);

private:
    const char* file;
    std::uint32_t line;
    DetailsRef details;
};

/// An exception with a message, a call stack and a description for users.
class Exception : public exception {
public:
    using exception::exception;
    Exception(const char* sourceFile, std::uint32_t sourceLine, std::string_view message);

    /// Returns a text for users: here the one that `SetDescription` stored.
    [[nodiscard]] virtual basic_string_t<char16_t> GetDescription() const;

    void SetDescription(basic_string_t<char16_t> text) noexcept { description = std::move(text); }

private:
    basic_string_t<char16_t> description;
};

/// The direct base of `Derived`; adds nothing to `Base`.
template <class Derived, class Base>
class ExceptionBase : public Base {
public:
    using Base::Base;
};

/// An exception with a result code, stored as the property "ilk.result".
class ResultCodeException : public ExceptionBase<ResultCodeException, Exception> {
public:
    ResultCodeException(const char* sourceFile, std::uint32_t sourceLine, std::string_view message, ResultCode code);

    /// Returns the inherited description, the code and the text of the code.
    [[nodiscard]] basic_string_t<char16_t> GetDescription() const override;
};

inline constexpr std::string_view kResultProperty = "ilk.result";
inline constexpr std::string_view kSystemErrorProperty = "os.result";

/// Throws a `ResultCodeException` if `code` is a failure. Always inlined, so that the calling function is the first
/// frame of the call stack.
[[gnu::always_inline]] inline void ThrowIfFail(const char* file, std::uint32_t line, ResultCode code) {
    if (IsFailure(code)) throw ResultCodeException(file, line, "ILK_THROW_IF_FAIL", code);
}

#define ILK_THROW_IF_FAIL(code) ::ilk::ThrowIfFail(__FILE__, __LINE__, (code))

/// Returns the property "ilk.result", otherwise the code for the property "os.result", otherwise
/// `ResultExceptionHasNoResultCode`.
[[nodiscard]] ResultCode ResultFromException(const exception& e) noexcept;

/// Returns a failure code for the exception that the calling thread is handling.
[[nodiscard]] ResultCode ResultFromCurrentException() noexcept;

}   // namespace ilk
