/// The text of paths, without a look at the disk. Both separators are read, backslashes are written.
#pragma once

#include <component/ilk/rtl/basic_string.h>

namespace ilk {

[[nodiscard]] constexpr bool IsSeparator(char16_t character) { return character == u'\\' || character == u'/'; }

/// Two backslashes in front, or a drive with a separator behind it. The letter of the drive isn't looked at.
[[nodiscard]] bool IsAbsolutePath(std::u16string_view path);

/// In front is `\\?\` or `\\.\`, in backslashes.
[[nodiscard]] bool HasDevicePrefix(std::u16string_view path);

/// Where the last component starts: behind the last separator, else behind a drive, else at `begin`.
[[nodiscard]] const char16_t* LastComponentStart(const char16_t* begin, const char16_t* end);

/// The first separator, or `end`.
[[nodiscard]] const char16_t* FirstComponentEnd(const char16_t* begin, const char16_t* end);

/// `path` without its last component and one separator in front of that. A root stays, and so does the separator of a
/// drive's root: the parent of `C:\` is `C:\`.
[[nodiscard]] std::u16string_view ParentPath(std::u16string_view path);

/// Appends `path` to `target` with a backslash between them where one is missing. An empty `path` changes nothing.
/// Throws what the string throws, and then `target` is as it was.
void JoinPath(basic_string_t<char16_t>& target, std::u16string_view path);

/// Takes ".", ".." and repeated separators out of `target`, as far as the text alone can tell, and turns the separators
/// behind its root. A drive without a separator behind it is no root, but stays if there is nothing else. What is left
/// of nothing is ".".
void NormalizePath(basic_string_t<char16_t>& target);

}   // namespace ilk
