/// Prints the help texts, which the tables of commands, options and operands hold.
#pragma once

#include "command_table.h"

namespace arborctl {

/// Prints a line, wrapped at 79 columns. Its first part begins at `column`, and so does each further line.
void PrintWrapped(std::string_view text, std::size_t column);

/// Prints the help of a command, or that of the tool if `command` is null, in lines of less than 80 columns. Returns
/// the exit code.
int PrintHelp(const CommandRow* command);

}   // namespace arborctl
