// Exceptions: the text of `what()`, the properties, and the translation of a caught exception into a result code.

#include <component/ilk/error/exception.h>

#include <component/ilk/error/exception_details.h>
#include <component/ilk/rtl/format.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <typeinfo>

namespace ilk {
namespace {

/// The innermost frames during a construction: `Capture`, `CaptureDetails` and the constructor.
constexpr std::uint32_t kConstructionFrames = 3;

template <class Number>
constexpr FormatSpec kHexadecimal{
    .width = 2 + 2 * sizeof(Number), .base = 16, .align = 0, .fill = U'0', .show_base = true};

template <class Target, class Number>
void PrintHexadecimal(Target& target, Number number) {
    Print(target, kHexadecimal<Number>, static_cast<std::make_unsigned_t<Number>>(number));
}

void PrintValue(const PropertyValue& value, CompactString& target) {
    if (const auto* narrow = value.GetAs<basic_string_t<char>>()) {
        target.append(*narrow);
    } else if (const auto* wide = value.GetAs<basic_string_t<char16_t>>()) {
        Print(target, {}, wide->view());
    } else if (const auto* signed32 = value.GetAs<std::int32_t>()) {
        PrintHexadecimal(target, *signed32);
    } else if (const auto* unsigned32 = value.GetAs<std::uint32_t>()) {
        PrintHexadecimal(target, *unsigned32);
    } else if (const auto* signed64 = value.GetAs<std::int64_t>()) {
        PrintHexadecimal(target, *signed64);
    } else if (const auto* unsigned64 = value.GetAs<std::uint64_t>()) {
        PrintHexadecimal(target, *unsigned64);
    } else {
        target.append("<typeid=");
        Print(target, {}, value.TypeNumber());
        target.append('>');
    }
}

CompactString BuildText(const char* file, std::uint32_t line, const ExceptionDetails& details) {
    CompactString text;
    text.append(file).append('(');
    Print(text, {}, line);
    text.append("): ").append(details.message.view()).append('.');
    text.append(details.properties.empty() ? " " : " Properties:");
    for (const Property& property : details.properties) {
        text.append('\n').append(property.key.view()).append('=');
        PrintValue(property.value, text);
    }
    if (!details.properties.empty()) text.append('\n');
    text.append("Call stack:\n");
    PrintStack(details.stack, text);
    return text;
}

/// As `ResultFromException`, but a success code in the exception becomes a failure.
ResultCode FailureFromException(const exception& e) noexcept {
    const ResultCode code = ResultFromException(e);
    return IsFailure(code) ? code : ResultExceptionWithSuccessfulResultCode;
}

}   // namespace

DetailsRef::DetailsRef(const DetailsRef& other) noexcept : details(other.details) {
    if (details != nullptr) details->references.fetch_add(1, std::memory_order_relaxed);
}

DetailsRef& DetailsRef::operator=(const DetailsRef& other) noexcept {
    DetailsRef copy(other);
    std::swap(details, copy.details);
    return *this;
}

DetailsRef::~DetailsRef() {
    if (details != nullptr && details->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete details;
}

ExceptionDetails& DetailsRef::GetOrCreate() {
    if (details == nullptr) details = std::make_unique<ExceptionDetails>().release();
    return *details;
}

const char* exception::what() const noexcept {
    ExceptionDetails* const shared = details.get();
    if (shared == nullptr) return "Unknown exception";
    if (shared->text.empty()) {
        try {
            shared->text = BuildText(file, line, *shared);
        } catch (...) {
            // `what()` can't throw: the text stays empty.
        }
    }
    return shared->text.data();
}

void exception::SetProperty(std::string_view key, PropertyValue value) {
    PropertyList& properties = details.GetOrCreate().properties;
    for (Property& property : properties) {
        if (property.key == key) {
            property.value.swap(value);
            return;
        }
    }
    properties.append(Property{FixedText<31>(key), std::move(value)});
}

const PropertyValue* exception::FindProperty(std::string_view key) const noexcept {
    if (details.get() == nullptr) return nullptr;
    for (const Property& property : details.get()->properties) {
        if (property.key == key) return &property.value;
    }
    return nullptr;
}

[[gnu::noinline]] void exception::CaptureDetails(std::string_view message) {
    ExceptionDetails& shared = details.GetOrCreate();
    shared.message.append(message);
    shared.stack = Capture(kConstructionFrames);
}

[[gnu::noinline]] Exception::Exception(const char* sourceFile, std::uint32_t sourceLine, std::string_view message)
    : exception(sourceFile, sourceLine) {
    CaptureDetails(message);
}

basic_string_t<char16_t> Exception::GetDescription() const { return description; }

[[gnu::noinline]] ResultCodeException::ResultCodeException(const char* sourceFile, std::uint32_t sourceLine,
                                                           std::string_view message, ResultCode code)
    : ExceptionBase(sourceFile, sourceLine) {
    CaptureDetails(message);
    SetProperty(kResultProperty, MakeResultValue(code));
}

basic_string_t<char16_t> ResultCodeException::GetDescription() const {
    const ResultCode code = ResultFromException(*this);
    basic_string_t<char16_t> text = Exception::GetDescription();
    if (!text.empty()) text.append(u": ");
    PrintHexadecimal(text, code);
    text.append(u" (");
    for (const char character : ResultText(code)) text.append(static_cast<char16_t>(character));
    return text.append(u')');
}

ResultCode ResultFromException(const exception& e) noexcept {
    const PropertyValue* const result = e.FindProperty(kResultProperty);
    if (const std::int32_t* code = result != nullptr ? result->GetAs<std::int32_t>() : nullptr) return *code;
    const PropertyValue* const system = e.FindProperty(kSystemErrorProperty);
    if (const std::uint32_t* error = system != nullptr ? system->GetAs<std::uint32_t>() : nullptr) {
        return ResultFromPlatformError(*error);
    }
    return ResultExceptionHasNoResultCode;
}

ResultCode ResultFromCurrentException() noexcept {
    const std::exception_ptr current = std::current_exception();
    if (current == nullptr) return ResultNoCurrentException;
    try {
        std::rethrow_exception(current);
    } catch (const ResultCodeException& e) {
        return FailureFromException(e);
    } catch (const Exception&) {
        return ResultExceptionHasNoResultCode;
    } catch (const exception& e) {
        return FailureFromException(e);
    } catch (const std::bad_alloc&) {
        return ResultOutOfMemory;
    } catch (const std::bad_cast&) {
        return ResultBadCast;
    } catch (const std::length_error&) {
        return ResultInvalidSize;
    } catch (const std::out_of_range&) {
        return ResultOutOfRange;
    } catch (const std::invalid_argument&) {
        return ResultInvalidArgument;
    } catch (const std::exception&) {
        return ResultExceptionHasNoResultCode;
    } catch (...) {
        return ResultUnknownException;
    }
}

}   // namespace ilk
