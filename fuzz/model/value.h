/// The rules of values a second time, as plainly as they can be said: a datum is a type and bytes, numbers are the C
/// library's. Slow, and without a line in common with the module.
#pragma once

#include <component/kernel/result_codes.h>
#include <component/kernel/value_types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace model {

using kernel::ResultCode;
using kernel::TypeCode;

/// The success of a `Set` that changes nothing.
inline constexpr ResultCode kUnchanged = 71;

/// Texts are held without their terminator.
struct Value {
    TypeCode type;
    std::string bytes;

    bool operator==(const Value&) const = default;
};

/// A caller's buffer.
struct Buffer {
    bool given;
    std::uint32_t size;
};

/// What a call answers: `count` only if it is stored, and the bytes that the buffer starts with afterwards.
struct Answer {
    ResultCode code = kernel::kDone;
    std::optional<std::uint32_t> count{};
    std::string bytes{};
};

/// One 16-bit unit as UTF-8.
[[nodiscard]] std::string Utf8(std::uint32_t unit);

/// The contract of all reads, for `bytes` of which a reader may ask for more than it gets.
[[nodiscard]] Answer Deliver(std::string_view bytes, std::size_t needed, Buffer buffer);

/// Whether a value of the type can be made.
[[nodiscard]] bool IsStored(TypeCode type);

/// The name of the element that a document has for a value of the type.
[[nodiscard]] const char* ElementOf(TypeCode type);

/// A value as it comes to life: zero or empty. The type must be one that is stored.
[[nodiscard]] Value NewValue(TypeCode type);

[[nodiscard]] Answer Get(const Value& value, Buffer buffer);

/// A null `data` is no data at all.
ResultCode Set(Value& value, const char* data, std::uint32_t size);

[[nodiscard]] Answer ToText(const Value& value, Buffer buffer);
ResultCode FromText(Value& value, const std::string& text);
void SetFromUtf8(Value& value, std::string_view text);

/// The text form as conversions and documents take it: up to the first 0 byte. Nothing but the code on a failure.
[[nodiscard]] ResultCode TextOf(const Value& value, std::string& text);

}   // namespace model
