/// The syntax of the paths that commands accept and print: names separated by `/` or `\`. The tool opens a path name by
/// name and doesn't pass whole paths to the store, whose rules for separators differ.
///
/// One separator may precede the first name, and one may follow the last: then the path is that of a key. `%xNN` is the
/// byte with that hexadecimal number; it encodes separators, control characters and bytes that aren't UTF-8. `item#2`
/// is the second of the siblings named "item", unless a sibling has exactly the name "item#2". `item#1` is the first
/// "item" or, if there is none, the sibling with exactly that name; `#1` is the first sibling with an empty name. A
/// path that `EncodeName` and `SiblingNames` have formed is parsed as that of the same key or value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// The greatest depth of a tree that the store loads.
inline constexpr std::size_t kMaxPathNames = 2048;

/// True for a name that the store would split into several.
[[nodiscard]] bool HasSeparator(std::string_view name);

/// One name of a path.
struct PathName {
    std::string name{};         // the whole name, decoded; a "#N" at its end is part of it
    std::string baseName{};     // the name before a final "#N", decoded; empty if `number` is 0
    std::uint32_t number = 0;   // the N of a final "#N", counted from 1; 0 if there is none
};

/// Parses one name, which may be empty. Separators have no meaning in it. Throws `std::invalid_argument` for a name
/// with a zero byte.
[[nodiscard]] PathName ParseName(std::string_view text);

class Path {
public:
    /// The root.
    Path() = default;
    /// Parses a path. Throws `std::invalid_argument` with the reason as its text.
    explicit Path(std::string_view text);

    [[nodiscard]] const std::vector<PathName>& Names() const { return names; }
    [[nodiscard]] bool IsRoot() const { return names.empty(); }
    /// True for the root and for a path with a separator at its end.
    [[nodiscard]] bool IsOfKey() const { return ofKey; }

    /// The path without its last name. Not for the root.
    [[nodiscard]] Path Parent() const;

    /// The path for messages; "the root" for the root.
    [[nodiscard]] std::string Text() const;

private:
    std::vector<PathName> names;
    bool ofKey = true;
};

/// A value: the path of its key, and its name.
struct ValuePath {
    Path key;
    PathName value;

    /// The path for messages.
    [[nodiscard]] std::string Text() const;
};

/// Splits a path into that of a key and the name of a value. Throws `std::invalid_argument` if `path.IsOfKey()`.
[[nodiscard]] ValuePath ToValuePath(const Path& path);

/// Encodes a name for a path.
[[nodiscard]] std::string EncodeName(std::string_view name);

/// Appends an encoded name to a path.
[[nodiscard]] inline std::string JoinPath(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + '/' + name;
}

}   // namespace arborctl
