/// Suggests what the user may have meant by an unknown word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

/// Returns the end of a message, "; did you mean NAME?", with the name that is most similar to `word`, the first of
/// several; "" if none is similar. Similar are a name that begins with the word, and one that differs by a few changes:
/// a letter added, removed or replaced, or two neighbours swapped. Letters are compared without regard to case.
[[nodiscard]] std::string Suggestion(std::string_view word, const std::vector<std::string_view>& names);

}   // namespace arborctl
