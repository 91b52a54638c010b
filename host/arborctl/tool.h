/// Runs the tool on one command line; callable from tests, in their own process.
#pragma once

#include <string>
#include <vector>

namespace arborctl {

/// Which standard streams are terminals.
struct Terminals {
    bool output = false;
    bool error = false;
};

/// Runs a command line, given without the program's name. Returns the exit code. Not reentrant: it uses the standard
/// streams.
[[nodiscard]] int RunTool(const std::vector<std::string>& arguments, Terminals terminals = {});

}   // namespace arborctl
