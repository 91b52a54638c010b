/// The customisation points for types of your own: `Convert` for a type that is stored as one value, `VisitMembers` for
/// a structure that is stored as the values of a key. Besides: enumerations, durations and `std::optional`.
#pragma once

#include <component/client/status.h>
#include <component/client/text.h>

#include <concepts>
#include <optional>
#include <type_traits>

namespace arbor {

/// Specialise it to store a `T` as a value of another type:
///
///     template <>
///     struct arbor::Convert<Colour> {
///         using Stored = std::uint32_t;
///         static Stored ToStored(const Colour& colour) { return colour.rgb; }
///         static Result<Colour> FromStored(Stored rgb) { return Colour{rgb}; }
///     };
///
/// `FromStored` returns `Status(kernel::kInvalidArgument)` for what isn't a `T`. `Stored` may be converted itself.
template <class T>
struct Convert {};

/// An enumeration is stored as its underlying integer. A number without an enumerator is read, too.
template <class T>
requires std::is_enum_v<T>
struct Convert<T> {
    using Stored = std::underlying_type_t<T>;
    static Stored ToStored(T value) { return static_cast<Stored>(value); }
    static Result<T> FromStored(Stored stored) { return static_cast<T>(stored); }
};

/// A `std::chrono::duration` is stored as its count: its unit is the type's, not the document's. Recognised by its
/// members, because the header `<chrono>` would take 14 % of the time to compile the client.
template <class T>
requires requires(const T& duration) {
    typename T::period;
    { duration.count() } -> std::same_as<typename T::rep>;
}
struct Convert<T> {
    using Stored = typename T::rep;
    static Stored ToStored(const T& value) { return value.count(); }
    static Result<T> FromStored(Stored stored) { return T(stored); }
};

namespace detail {

template <class T>
concept Converted = requires {
    typename Convert<T>::Stored;
};

template <class T>
inline constexpr bool kIsOptional = false;
template <class T>
inline constexpr bool kIsOptional<std::optional<T>> = true;

/// True for a `std::optional` without a value.
template <class T>
constexpr bool IsAbsent(const T& value) {
    if constexpr (kIsOptional<T>)
        return !value;
    else
        return false;
}

struct MemberProbe {
    template <class Member>
    void operator()(Text, Member&) {}
};

/// A structure with a function that lists its members, found beside its type:
///
///     template <class Visitor>
///     void VisitMembers(Visitor& visit, Proxy& proxy) {
///         visit("Host", proxy.host);
///         visit("Port", proxy.port);
///     }
template <class T>
concept Structure = std::is_class_v<T> && requires(MemberProbe& probe, T& object) {
    VisitMembers(probe, object);
};

/// Calls `visit(name, member)` for each member. A visitor that writes to the store doesn't change the members.
template <Structure T, class Visitor>
void Visit(Visitor& visit, const T& object) {
    VisitMembers(visit, const_cast<T&>(object));   // one function of the user serves reading and writing
}

}   // namespace detail

}   // namespace arbor
