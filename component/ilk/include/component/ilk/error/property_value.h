/// A value that knows how it is copied and destroyed: what the properties of an exception hold.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>
#include <component/ilk/rtl/fixed_text.h>

#include <span>

namespace ilk {

/// How a value lies in memory. Plain values are bytes; others are described by a script (`type_script.h`).
struct TypeLayout {
    static constexpr std::uint8_t kDestroyFree = 0x04;   // destroying needs no work
    static constexpr std::uint8_t kCopyBytes = 0x08;     // copying is a copy of `size` bytes
    static constexpr std::uint8_t kPlain = 0x1E;
    static constexpr std::uint8_t kMembersInline = 0x01;

    union Members {
        Members() noexcept : text() {}

        FixedText<7> text;
        std::span<const std::uint8_t> bytes;
    };

    const std::uint8_t* script = nullptr;   // null for a plain value; never owned
    std::uint32_t size = 0;                 // bytes of the value
    std::uint8_t flags = kPlain;
    std::uint8_t traits = kMembersInline;
    Members members;   // what the script begins with: inside the layout, or bytes elsewhere
};

/// What a value is, for those who print it or ask for it.
enum PropertyType : std::uint32_t {
    PropertyNarrowText = 7,
    PropertyWideText = 8,
    PropertyText32 = 9,
    PropertySigned32 = 20,
    PropertyUnsigned32 = 21,
    PropertySigned64 = 22,
    PropertyUnsigned64 = 23,
    PropertyNestedValue = 32,
};

class PropertyValue {
public:
    /// Copies the value at `source`. `std::bad_alloc` without memory; `std::invalid_argument` for a layout whose script
    /// isn't understood, and then `source` isn't touched.
    PropertyValue(const TypeLayout& valueLayout, std::uint32_t typeNumber, const void* source);
    PropertyValue(const PropertyValue& source) : PropertyValue(source.layout, source.type_number, source.storage) {}
    PropertyValue(PropertyValue&& source) noexcept;
    PropertyValue& operator=(PropertyValue source) noexcept {
        swap(source);
        return *this;
    }
    ~PropertyValue();

    void swap(PropertyValue& other) noexcept;

    [[nodiscard]] std::uint32_t TypeNumber() const noexcept { return type_number; }

    /// The value if it is a `T`, otherwise null. It lives as long as this one.
    template <class T>
    [[nodiscard]] const T* GetAs() const noexcept;

private:
    TypeLayout layout;
    void* storage = nullptr;   // a block of `layout.size` bytes; null if there are none
    std::uint32_t type_number;
};

/// The number of each type that a value can hold.
template <class T>
inline constexpr std::uint32_t kPropertyType = 0;
template <>
inline constexpr std::uint32_t kPropertyType<basic_string_t<char>> = PropertyNarrowText;
template <>
inline constexpr std::uint32_t kPropertyType<basic_string_t<char16_t>> = PropertyWideText;
template <>
inline constexpr std::uint32_t kPropertyType<basic_string_t<char32_t>> = PropertyText32;
template <>
inline constexpr std::uint32_t kPropertyType<std::int32_t> = PropertySigned32;
template <>
inline constexpr std::uint32_t kPropertyType<std::uint32_t> = PropertyUnsigned32;
template <>
inline constexpr std::uint32_t kPropertyType<std::int64_t> = PropertySigned64;
template <>
inline constexpr std::uint32_t kPropertyType<std::uint64_t> = PropertyUnsigned64;
template <>
inline constexpr std::uint32_t kPropertyType<PropertyValue> = PropertyNestedValue;

template <class T>
const T* PropertyValue::GetAs() const noexcept {
    static_assert(kPropertyType<T> != 0, "no value holds this type");
    const bool isHeld = type_number == kPropertyType<T> && layout.size == sizeof(T);
    return isHeld ? static_cast<const T*>(storage) : nullptr;
}

/// A value of type `PropertySigned32`.
[[nodiscard]] PropertyValue MakeResultValue(ResultCode code);

/// A value of type `PropertyUnsigned32`.
[[nodiscard]] PropertyValue MakePlatformErrorValue(PlatformError error);

}   // namespace ilk
