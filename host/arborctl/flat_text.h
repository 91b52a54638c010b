/// The text with one value or key a line that `tree --flat` prints and `apply` reads.
///
///     Network/Proxy Port tDWORD 8080     a value: the path of its key, its name, its type, its exact text
///     / "#1" tSTRING "a \"b\"\n"         a value of the root without a name
///     Network/Empty/                     a key without values and keys
///
/// A line consists of words, separated by spaces and tabs. Single quotes keep all characters between them. In double
/// quotes and outside quotes a backslash makes the next character an ordinary one; in double quotes \n, \r and \t are
/// control characters, and \xNN is the byte with this hexadecimal number. A "#" at the start of a word begins a
/// comment. Paths and names have the syntax of `path.h`; the root is "/". A path whose text is a command of `apply` is
/// written with a separator before it.
#pragma once

#include "packed_tree.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// The words that begin a change in the text that `apply` reads.
inline constexpr std::string_view kChangeWords[] = {"set", "rm", "mv", "cp"};

/// Returns `text` as one word of a line, in quotes if it needs them.
[[nodiscard]] std::string QuoteWord(std::string_view text);

/// Returns the words of a line, without their quotes. Throws `std::invalid_argument` with the reason as its text.
[[nodiscard]] std::vector<std::string> SplitWords(std::string_view line);

/// Returns a line without its end. `path` and `name` are printed forms, as of `PrintedPaths`; an empty path is the
/// root.
[[nodiscard]] std::string FlatValue(const std::string& path, const std::string& name, const arbor::Datum& datum);
[[nodiscard]] std::string FlatKey(const std::string& path);

/// Calls `print(line)` for the values of `top` and the keys below it, depth first, and for the keys that are empty.
/// `path` is the printed path of `top`. Calls `onKey()` for each key.
void PrintFlat(const arbor::Key& top, const std::string& path, const std::function<void(const std::string&)>& print,
               const std::function<void()>& onKey);
/// The same for a packed tree with printed names.
void PrintFlat(const PackedTree& tree, const std::string& path, const std::function<void(const std::string&)>& print);

}   // namespace arborctl
