/// Parses the tool's command line by the tables of commands, options and operands.
#pragma once

#include "command_table.h"

#include <optional>
#include <string>
#include <vector>

namespace arborctl {

struct CommandLine {
    Arguments given;
    PreparedCommand command;
};

/// Parses the arguments, given without the program's name. If no command is to be run on a document, prints what was
/// requested, or an error line to standard error, sets `exitCode` and returns none.
[[nodiscard]] std::optional<CommandLine> ReadCommandLine(const std::vector<std::string>& arguments, int& exitCode);

}   // namespace arborctl
