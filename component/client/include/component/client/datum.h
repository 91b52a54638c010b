/// A value's type and bytes as the interface passes them, and the C++ types that correspond to the store's types.
#pragma once

#include <component/client/status.h>
#include <component/kernel/value_types.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace arbor {

using kernel::TypeCode;

using Blob = std::vector<std::byte>;

/// A value's type, and its bytes in the binary form of that type. A text that was read ends with its terminator; a text
/// to be written needs none.
struct Datum {
    TypeCode type = 0;
    std::string bytes{};
};

/// The types of fixed size: `bool`, `char`, `float`, `double` and the integers. The width and sign of an integer
/// determine its type in the store.
template <class T>
concept Scalar = std::same_as<T, bool> || std::same_as<T, char> || std::same_as<T, float> || std::same_as<T, double> ||
    (std::integral<T> && !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> && !std::same_as<T, char16_t> &&
     !std::same_as<T, char32_t>);

namespace detail {

template <Scalar T>
consteval TypeCode IntegerType() {
    constexpr bool kSigned = std::is_signed_v<T>;
    switch (sizeof(T)) {
        case 1:
            return kSigned ? kernel::tSBYTE : kernel::tBYTE;
        case 2:
            return kSigned ? kernel::tSHORT : kernel::tWORD;
        case 4:
            return kSigned ? kernel::tINT : kernel::tDWORD;
        default:
            return kSigned ? kernel::tLONGLONG : kernel::tQWORD;
    }
}

/// The type of a scalar in the interface: `Wire` in C++, `kType` as a code.
template <Scalar T>
struct ScalarTraits {
    using Wire = T;
    static constexpr TypeCode kType = IntegerType<T>();
};
template <>
struct ScalarTraits<bool> {
    using Wire = std::uint32_t;
    static constexpr TypeCode kType = kernel::tBOOL;
};
template <>
struct ScalarTraits<char> {
    using Wire = char;
    static constexpr TypeCode kType = kernel::tCHAR;
};
template <>
struct ScalarTraits<double> {
    using Wire = double;
    static constexpr TypeCode kType = kernel::tDOUBLE;
};
template <>
struct ScalarTraits<float> : ScalarTraits<double> {};

/// True where `wchar_t` is a unit of UTF-16, as on Windows.
inline constexpr bool kHasWideStrings = sizeof(wchar_t) == sizeof(char16_t);

/// The code of a text's or blob's type; 0 for a `T` that is neither.
template <class T>
consteval TypeCode VariableSizeType() {
    if constexpr (std::same_as<T, std::string>) return kernel::tSTRING;
    if constexpr (std::same_as<T, std::u16string>) return kernel::tWSTRING;
    if constexpr (kHasWideStrings && std::same_as<T, std::wstring>) return kernel::tWSTRING;
    if constexpr (std::same_as<T, Blob> || std::same_as<T, std::vector<std::uint8_t>>) return kernel::tBINARY;
    return 0;
}

}   // namespace detail

}   // namespace arbor
