/// What a program around the host asks of the system.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// `path` in the form that the property `Name` takes: absolute, and with a drive on every system.
[[nodiscard]] std::u16string DocumentName(const std::filesystem::path& path);

/// The folder of the running program.
[[nodiscard]] std::filesystem::path ProgramFolder();

/// The ending of a module's file, with its point.
[[nodiscard]] const char* ModuleEnding();

/// The program's arguments without its name, in UTF-8. Where they must be told, lets the console show UTF-8 and
/// standard output pass bytes as they are.
[[nodiscard]] std::vector<std::string> ProgramArguments(int count, const char* const* values);

enum class Stream {
    Output,
    Error,
};

/// Whether a standard stream goes to a terminal, which shows colours then.
[[nodiscard]] bool IsTerminal(Stream stream);

/// What was written to a file, or the entries of a folder, are on the disk when this returns. Throws
/// `std::filesystem::filesystem_error`.
void FlushToDisk(const std::filesystem::path& path);

}   // namespace host
