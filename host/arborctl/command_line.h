/// The tool's arguments.
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
    Colours colours = Colours::Auto;
    DocumentSettings settings;
    std::function<int(const Session&)> command;
};

/// Reads the arguments, which don't hold the program's name. Without a result the program is to end with `exitCode`:
/// help was asked for and printed, or the arguments were wrong and a line on standard error says why.
[[nodiscard]] std::optional<CommandLine> ReadCommandLine(std::vector<std::string> arguments, int& exitCode);

/// The options and commands that `ReadCommandLine` accepts.
[[nodiscard]] std::shared_ptr<const CLI::App> DescribeCommandLine();

/// Null for a word that is no command.
[[nodiscard]] const CLI::App* FindCommand(const CLI::App& app, const std::string& name);

/// Swaps the first two arguments where a command comes before its document.
void PutDocumentFirst(const CLI::App& app, std::vector<std::string>& arguments);

/// The file of a document that an argument names, with a symbolic link followed.
[[nodiscard]] std::filesystem::path DocumentOf(const std::string& argument);

/// The module's file; the empty argument names the one beside this program.
[[nodiscard]] std::filesystem::path ModuleOf(const std::string& argument);

}   // namespace arborctl
