/// Suggests what the user may have meant by an unknown word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// Returns the end of a message, "; did you mean NAME?", with the first of the names that are nearest to `word`; "" if
/// none is near. A name that begins with the word is near, and one that a few changes turn into the other: a letter
/// added, left out or replaced, or two neighbours swapped. Letters are compared without regard to case.
[[nodiscard]] std::string Suggestion(std::string_view word, const std::vector<std::string_view>& names);

}   // namespace arborctl
