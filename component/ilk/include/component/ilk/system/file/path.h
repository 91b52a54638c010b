/// Functions on the text of paths; none of them accesses the file system. Backslash and slash are separators in every
/// argument; results are written with backslashes.
#pragma once

#include <component/ilk/rtl/basic_string.h>

namespace ilk {

inline constexpr char16_t kSeparator = u'\\';
inline constexpr std::u16string_view kTwoSeparators = u"\\\\";

[[nodiscard]] constexpr bool IsSeparator(char16_t character) { return character == kSeparator || character == u'/'; }

/// True if `path` starts with two backslashes, or with a drive and a separator. Any character counts as a drive letter.
[[nodiscard]] bool IsAbsolutePath(std::u16string_view path);

/// True if `path` starts with `\\?\` or `\\.\`.
[[nodiscard]] bool HasDevicePrefix(std::u16string_view path);

/// Returns the start of the last component: the position after the last separator, otherwise after the drive, otherwise
/// `begin`.
[[nodiscard]] const char16_t* LastComponentStart(const char16_t* begin, const char16_t* end);

/// Returns the first separator, or `end`.
[[nodiscard]] const char16_t* FirstComponentEnd(const char16_t* begin, const char16_t* end);

/// Returns `path` without its last component and the separator before that. The separator of a root stays: the parent
/// of `C:\` is `C:\`.
[[nodiscard]] std::u16string_view ParentPath(std::u16string_view path);

/// Appends `path` to `target`, with a backslash between them unless `target` is empty or ends in a separator. An empty
/// `path` changes nothing. Throws what the string throws; `target` is unchanged then.
void JoinPath(basic_string_t<char16_t>& target, std::u16string_view path);

/// Resolves "." and ".." in the text of `target`, removes repeated and trailing separators and turns slashes after the
/// root into backslashes. The `C:` of `C:name` isn't a root, but `C:` alone is unchanged. If no component is left,
/// `target` becomes ".".
void NormalizePath(basic_string_t<char16_t>& target);

}   // namespace ilk
