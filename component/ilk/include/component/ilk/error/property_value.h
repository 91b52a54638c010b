/// The value of an exception's property: a block of memory, a description of how to copy and destroy it, and a number
/// for its type.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>
#include <component/ilk/rtl/fixed_text.h>

#include <span>
#include <type_traits>

namespace ilk {

/// How to copy and destroy a value. A plain value is just bytes; the members of any other are described by a script,
/// see `type_script.h`.
struct TypeLayout {
    static constexpr std::uint8_t kDestroyFree = 0x04;   // of `flags`: destroying does nothing
    static constexpr std::uint8_t kCopyBytes = 0x08;     // of `flags`: copying copies `size` bytes
    static constexpr std::uint8_t kPlain = 0x1E;         // `flags` of a plain value; 0x02 and 0x10 have no meaning here
    static constexpr std::uint8_t kMembersInline = 0x01;   // of `traits`: `members.text` is in use, not `bytes`

    union Members {
        Members() noexcept : text() {}

        FixedText<7> text;
        std::span<const std::uint8_t> bytes;
    };

    const std::uint8_t* script = nullptr;   // the rest of the script, or null; not owned
    std::uint32_t size = 0;                 // bytes of the value
    std::uint8_t flags = kPlain;
    std::uint8_t traits = kMembersInline;
    Members members;   // the start of the script: `text`, or `bytes` stored elsewhere
};

/// The type numbers of the values that can be printed and read.
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
    /// Copies the value at `source`. Throws `std::bad_alloc` without memory, and `std::invalid_argument` for a layout
    /// with an invalid script, before it reads `source`.
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

    /// Returns the value if it is a `T`, otherwise null. Valid while this object lives and isn't assigned to.
    template <class T>
    [[nodiscard]] const T* GetAs() const noexcept;

private:
    TypeLayout layout;
    void* storage = nullptr;   // a block of `layout.size` bytes; null if that is 0
    std::uint32_t type_number;
};

/// The type number of `T`; 0 for a type that no value holds.
// clang-format off
template <class T>
inline constexpr std::uint32_t kPropertyType =
    std::is_same_v<T, basic_string_t<char>> ? PropertyNarrowText :
    std::is_same_v<T, basic_string_t<char16_t>> ? PropertyWideText :
    std::is_same_v<T, basic_string_t<char32_t>> ? PropertyText32 :
    std::is_same_v<T, std::int32_t> ? PropertySigned32 :
    std::is_same_v<T, std::uint32_t> ? PropertyUnsigned32 :
    std::is_same_v<T, std::int64_t> ? PropertySigned64 :
    std::is_same_v<T, std::uint64_t> ? PropertyUnsigned64 :
    std::is_same_v<T, PropertyValue> ? PropertyNestedValue : 0;
// clang-format on

template <class T>
const T* PropertyValue::GetAs() const noexcept {
    static_assert(kPropertyType<T> != 0, "no value holds this type");
    const bool holdsT = type_number == kPropertyType<T> && layout.size == sizeof(T);
    return holdsT ? static_cast<const T*>(storage) : nullptr;
}

/// Returns a value of type `PropertySigned32`.
[[nodiscard]] PropertyValue MakeResultValue(ResultCode code);

/// Returns a value of type `PropertyUnsigned32`.
[[nodiscard]] PropertyValue MakePlatformErrorValue(PlatformError error);

}   // namespace ilk
