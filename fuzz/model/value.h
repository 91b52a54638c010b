/// A model of values and their conversions, which the fuzz targets compare with the module: a value is a type and
/// bytes, and the C library reads and prints its numbers. Slow, and without the module's code.
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

/// The result of a read: `count` if the read stores one, and the bytes that it writes to the start of the buffer.
struct ReadResult {
    ResultCode code = kernel::kDone;
    std::optional<std::uint32_t> count{};
    std::string bytes{};
};

/// One 16-bit unit as UTF-8.
[[nodiscard]] std::string Utf8(std::uint32_t unit);

/// The result of reading `bytes` into `buffer`, as all methods do it, if the read needs a buffer of `needed` bytes.
[[nodiscard]] ReadResult FillBuffer(std::string_view bytes, std::size_t needed, Buffer buffer);

/// Whether there are values of the type.
[[nodiscard]] bool IsStored(TypeCode type);

/// The name of the element that a document has for a value of the type.
[[nodiscard]] const char* ElementOf(TypeCode type);

/// A new value, which is zero or empty. `IsStored(type)` must be true.
[[nodiscard]] Value NewValue(TypeCode type);

[[nodiscard]] ReadResult Get(const Value& value, Buffer buffer);

/// `data` may be null.
ResultCode Set(Value& value, const char* data, std::uint32_t size);

[[nodiscard]] ReadResult ToText(const Value& value, Buffer buffer);
ResultCode FromText(Value& value, const std::string& text);
void SetFromUtf8(Value& value, std::string_view text);

/// The text form for conversions and documents: `ToText` up to its first 0 byte. On a failure `text` is unchanged.
[[nodiscard]] ResultCode TextOf(const Value& value, std::string& text);

}   // namespace model
