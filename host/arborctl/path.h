/// Paths as every command takes and prints them: names with `/` or `\` between them. The tool opens a path name by
/// name, so that the store's own rules for separators never apply.
///
/// One separator may come before the first name, and one after the last; the latter makes the path one of a key. A
/// byte that a name can't show there is `%x` and two hexadecimal digits. `item#2` is the second of the siblings named
/// "item", unless a sibling has exactly the name "item#2"; `#1` is the first without a name. What `EncodeName` and
/// `SiblingNames` print is read back as the same key or value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// The store loads no deeper tree.
inline constexpr std::size_t kMaxPathNames = 2048;

/// True for a name that the store would take for a path.
[[nodiscard]] bool HasSeparator(std::string_view name);

/// One name of a path.
struct PathName {
    std::string name{};         // as the store has it
    std::string repeated{};     // the name without "#N"
    std::uint32_t number = 0;   // N; 0 without one
};

/// Reads one name, in which separators have no meaning. May be empty. Throws `std::invalid_argument` for a name that
/// holds a zero byte.
[[nodiscard]] PathName ParseName(std::string_view text);

class Path {
public:
    /// The root.
    Path() = default;
    /// Throws `std::invalid_argument` with the reason, in words.
    explicit Path(std::string_view text);

    [[nodiscard]] const std::vector<PathName>& Names() const { return names; }
    [[nodiscard]] bool IsRoot() const { return names.empty(); }
    /// True for the root and for a path with a separator at its end.
    [[nodiscard]] bool IsOfKey() const { return ofKey; }

    /// The path without its last name, which must exist.
    [[nodiscard]] Path Parent() const;

    /// The path for a message: "the root", or its names.
    [[nodiscard]] std::string Text() const;

private:
    std::vector<PathName> names;
    bool ofKey = true;
};

/// The path of a value: its key and its name there.
struct ValuePath {
    Path key;
    PathName value;
};

/// The value that `path` is the path of. Throws `std::invalid_argument` for one that only a key can have.
[[nodiscard]] ValuePath ToValuePath(const Path& path);

/// `name` as a path has it.
[[nodiscard]] std::string EncodeName(std::string_view name);

/// `path` with a printed name after it.
[[nodiscard]] inline std::string Below(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + '/' + name;
}

}   // namespace arborctl
