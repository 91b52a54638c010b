/// The syntax of key paths: names separated by `/` or `\`. Nothing else states which characters separate.
///
/// The separators have two rules. In a path that a caller passes (`PathSplitter`), a `/` takes precedence: while one is
/// left, a `\` is part of a name. Within one component of such a path (`AnySeparatorSplitter`) both are separators.
#pragma once

#include <cstddef>
#include <string_view>

namespace arbor::module {

/// Separates the names in paths that the module writes.
inline constexpr char kPathSeparator = '\\';

/// Separates names as well, in paths that the module reads.
inline constexpr char kSlash = '/';

[[nodiscard]] constexpr bool IsSeparator(char c) { return c == kSlash || c == kPathSeparator; }

/// True if `path` is empty or begins with a separator. A path ends there and the rest is ignored: a leading separator
/// doesn't make a path absolute, and `a//b` is `a`.
[[nodiscard]] constexpr bool StartsWithEmptyName(std::string_view path) {
    return path.empty() || IsSeparator(path.front());
}

/// Removes the first `length` bytes of `rest` and the separator after them, and returns those bytes. With `npos` it
/// removes all of `rest`.
constexpr std::string_view RemoveComponent(std::string_view& rest, std::size_t length) {
    const std::string_view component = rest.substr(0, length);
    rest.remove_prefix(component.size() == rest.size() ? rest.size() : length + 1);
    return component;
}

/// Splits a path that a caller passed. The next separator is the first `/` of what is left, and the first `\` only if
/// no `/` is left.
class PathSplitter {
public:
    explicit PathSplitter(std::string_view path) : rest(path), slash(path.find(kSlash)) {}

    /// True at the end of the path and before an empty name.
    [[nodiscard]] bool AtEnd() const { return rest.empty() || NextSeparator() == 0; }

    /// As `AtEnd`, for operations that add keys. Also true if the next component begins with `\`.
    [[nodiscard]] bool AtEndForAdding() const { return StartsWithEmptyName(rest); }

    /// True if no separator follows the next component.
    [[nodiscard]] bool AtLastComponent() const { return NextSeparator() == std::string_view::npos; }

    /// Returns the next component and moves past the separator after it.
    std::string_view Next() {
        const std::string_view component = RemoveComponent(rest, NextSeparator());
        // Once no `/` is left there is none later: searching again at each step would make long paths quadratic.
        if (slash != std::string_view::npos) slash = rest.find(kSlash);
        return component;
    }

private:
    [[nodiscard]] std::size_t NextSeparator() const {
        return slash != std::string_view::npos ? slash : rest.find(kPathSeparator);
    }

    std::string_view rest;
    std::size_t slash;   // index of the first `/` in `rest`, or npos
};

/// Splits a path at each separator of either kind, with the same `AtEnd` and `Next`.
class AnySeparatorSplitter {
public:
    explicit AnySeparatorSplitter(std::string_view path) : rest(path) {}

    [[nodiscard]] bool AtEnd() const { return StartsWithEmptyName(rest); }

    std::string_view Next() {
        constexpr char kSeparators[] = {kSlash, kPathSeparator, '\0'};
        return RemoveComponent(rest, rest.find_first_of(kSeparators));
    }

private:
    std::string_view rest;
};

}   // namespace arbor::module
