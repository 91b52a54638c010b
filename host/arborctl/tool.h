/// The whole tool, but for the program's start.
#pragma once

#include <string>
#include <vector>

namespace arborctl {

/// Which standard streams go to a terminal.
struct Terminals {
    bool output = false;
    bool error = false;
};

/// Runs one command line, without the program's name, and returns the program's exit code. A process runs one at a
/// time.
[[nodiscard]] int RunTool(std::vector<std::string> arguments, Terminals terminals = {});

}   // namespace arborctl
