/// The whole tool, but for the program's start.
#pragma once

#include <string>
#include <vector>

namespace arborctl {

/// Runs one command line, without the program's name, and returns the program's exit code: 0, 1 for a refused
/// operation, 2 for a wrong command line. A process runs one at a time.
[[nodiscard]] int RunTool(std::vector<std::string> arguments);

}   // namespace arborctl
