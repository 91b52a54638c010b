/// What crosses the interface: names, the C++ types that the store holds, and a value's bytes in the form of a type.
#pragma once

#include <component/client/status.h>
#include <component/kernel/value_types.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace arbor {

using kernel::TypeCode;

/// Text that brings its terminator, as names and paths must; the characters stay the caller's.
class Text {
public:
    constexpr Text(const char* terminated) : text(terminated) {}
    Text(const std::string& string) : text(string.c_str()) {}

    [[nodiscard]] constexpr const char* Chars() const { return text; }

private:
    const char* text;
};

using Blob = std::vector<std::byte>;

/// A value's bytes in the binary form of a type; a text has its terminator.
struct Datum {
    TypeCode type = 0;
    std::string bytes{};
};

/// What one register holds: the integers by their width and sign, `bool`, `char`, `float` and `double`.
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

/// The form in which a scalar crosses the interface.
template <Scalar T>
struct Form {
    using Wire = T;
    static constexpr TypeCode kType = IntegerType<T>();
};
template <>
struct Form<bool> {
    using Wire = std::uint32_t;
    static constexpr TypeCode kType = kernel::tBOOL;
};
template <>
struct Form<char> {
    using Wire = char;
    static constexpr TypeCode kType = kernel::tCHAR;
};
template <>
struct Form<double> {
    using Wire = double;
    static constexpr TypeCode kType = kernel::tDOUBLE;
};
template <>
struct Form<float> : Form<double> {};

template <class T>
consteval TypeCode LongType() {
    if constexpr (std::same_as<T, std::string>) return kernel::tSTRING;
    if constexpr (std::same_as<T, std::u16string>) return kernel::tWSTRING;
    if constexpr (std::same_as<T, Blob>) return kernel::tBINARY;
    return 0;
}

}   // namespace detail

}   // namespace arbor
