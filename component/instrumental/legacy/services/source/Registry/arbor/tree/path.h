/// Paths: names with `/` or `\` between them.
#pragma once

#include <string_view>

namespace arbor::module {

[[nodiscard]] constexpr bool IsSeparator(char c) { return c == '/' || c == '\\'; }

/// True where a walk along `path` ends: nothing is left, or a separator stands where a name should. What follows such a
/// separator is ignored, so that a leading one makes no absolute path and `a//b` ends at `a`.
[[nodiscard]] constexpr bool EndsWalk(std::string_view path) { return path.empty() || IsSeparator(path.front()); }

/// Takes a path apart from its start. While a `/` is left it alone separates, and a `\` before it belongs to the name;
/// behind the last `/` the `\` separates.
class PathCutter {
public:
    explicit PathCutter(std::string_view path) : rest(path), slash(path.find('/')) {}

    /// True where a walk ends: nothing is left, or the next name would be empty.
    [[nodiscard]] bool AtEnd() const { return rest.empty() || NextSeparator() == 0; }

    /// The same for who makes keys: no name that is made begins with a separator of either kind.
    [[nodiscard]] bool AtEndOfNames() const { return EndsWalk(rest); }

    /// True if no separator follows the next component.
    [[nodiscard]] bool AtLastComponent() const { return NextSeparator() == std::string_view::npos; }

    /// The next component; the cutter moves behind the separator that ends it.
    std::string_view Next() {
        const std::size_t cut = NextSeparator();
        const std::string_view component = rest.substr(0, cut);
        rest = cut == std::string_view::npos ? std::string_view() : rest.substr(cut + 1);
        // A text without a `/` never gets one: searching it anew at each step would make long paths quadratic.
        if (slash != std::string_view::npos) slash = rest.find('/');
        return component;
    }

private:
    [[nodiscard]] std::size_t NextSeparator() const {
        return slash != std::string_view::npos ? slash : rest.find('\\');
    }

    std::string_view rest;
    std::size_t slash;   // of the next `/` in `rest`
};

/// Takes a path apart at whichever separator comes first.
class RangeCutter {
public:
    explicit RangeCutter(std::string_view path) : rest(path) {}

    [[nodiscard]] bool AtEnd() const { return EndsWalk(rest); }

    std::string_view Next() {
        const std::size_t cut = rest.find_first_of("/\\");
        const std::string_view component = rest.substr(0, cut);
        rest = cut == std::string_view::npos ? std::string_view() : rest.substr(cut + 1);
        return component;
    }

private:
    std::string_view rest;
};

}   // namespace arbor::module
