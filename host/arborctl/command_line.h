/// The tool's arguments.
#pragma once

#include "commands.h"

#include <functional>
#include <optional>
#include <vector>

namespace arborctl {

enum class Colours {
    Auto,   // on a terminal
    Always,
    Never,
};

struct CommandLine {
    std::filesystem::path module;
    std::uint32_t traceLevel = 0;
    bool leaks = false;
    bool json = false;
    Colours colours = Colours::Auto;
    DocumentSettings settings;
    std::function<int(const Session&)> command;
};

/// Reads the arguments, which don't hold the program's name. Without a result the program is to end with `exitCode`:
/// help was asked for and printed, or the arguments were wrong and a line on standard error says why.
[[nodiscard]] std::optional<CommandLine> ReadCommandLine(std::vector<std::string> arguments, int& exitCode);

}   // namespace arborctl
