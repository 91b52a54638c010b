/// Prints the difference of two trees.
#pragma once

#include "commands.h"
#include "compare.h"

#include <vector>

namespace arborctl {

/// Prints the changes to standard output as lines with "-" and "+", as JSON or as flat text, as the session demands.
/// The flat text is one that `apply` reads: applied to the first tree it gives the second.
void PrintChanges(const Session& session, const std::vector<Change>& changes);

/// Compares two trees and prints the changes. Returns whether there are any.
bool PrintDifference(const Session& session, const arbor::Key& before, const arbor::Key& after);

/// Returns the flat text of the changes, a line each.
[[nodiscard]] std::vector<std::string> FlatLines(const std::vector<Change>& changes);

}   // namespace arborctl
