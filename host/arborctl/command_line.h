/// Parses the tool's command line, and describes its options and commands for completion.
#pragma once

#include "commands.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace CLI {
class App;
}

namespace arborctl {

enum class Colours {
    Auto,   // on a terminal
    Always,
    Never,
};

/// The words of --color.
struct ColourRow {
    const char* word;
    Colours colours;
};
inline constexpr ColourRow kColourRows[] = {
    {"auto", Colours::Auto}, {"always", Colours::Always}, {"never", Colours::Never}};

inline constexpr std::uint32_t kMaxBackupMode = 2;

struct CommandLine {
    std::filesystem::path module;
    std::uint32_t traceLevel = 0;
    bool leaks = false;
    bool json = false;
    bool flat = false;
    Colours colours = Colours::Auto;
    DocumentSettings settings;
    std::function<int(const Session&)> command;
};

/// Parses the arguments, given without the program's name. If there is nothing to run, prints the requested help, or an
/// error line to standard error, sets `exitCode` and returns none.
[[nodiscard]] std::optional<CommandLine> ReadCommandLine(std::vector<std::string> arguments, int& exitCode);

/// Returns the options and commands that `ReadCommandLine` accepts.
[[nodiscard]] std::shared_ptr<const CLI::App> DescribeCommandLine();

/// Returns null if there is no such command.
[[nodiscard]] const CLI::App* FindCommand(const CLI::App& app, const std::string& name);

/// Swaps the first two arguments if a command precedes its document.
void PutDocumentFirst(const CLI::App& app, std::vector<std::string>& arguments);

/// Returns the file that an argument names, or the target if it is a symbolic link.
[[nodiscard]] std::filesystem::path DocumentPath(const std::string& argument);

/// Returns the module's file; for an empty argument, the one in the program's directory.
[[nodiscard]] std::filesystem::path ModulePath(const std::string& argument);

}   // namespace arborctl
