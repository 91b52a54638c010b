/// Which words can come next on a command line, for the shell's completion.
#pragma once

#include <string>
#include <vector>

namespace arborctl {

/// The first argument that asks for completion; the rest is the command line up to the word to complete, which is last
/// and may be empty.
inline constexpr const char* kCompletionCommand = "__complete";

/// Prints the words that can stand for the last one, one a line. The first line is "files" if the name of a file can
/// stand there too, or else "words". A word that ends with a separator may go on.
int PrintCompletions(std::vector<std::string> words);

}   // namespace arborctl
