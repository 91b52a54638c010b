/// Lists candidates for the last word of a command line, for the shell's completion (arborctl.bash).
#pragma once

#include <string>
#include <vector>

namespace arborctl {

/// As the first argument, requests completion. The other arguments are the command line up to the word to complete,
/// which is last and may be empty.
inline constexpr const char* kCompletionCommand = "__complete";

/// Prints a header line, "files" if a file name is also possible or else "words", then the candidates, one a line. A
/// candidate that ends with a separator is incomplete. Returns the exit code.
int PrintCompletions(std::vector<std::string> words);

}   // namespace arborctl
