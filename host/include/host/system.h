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

/// The program's arguments without its name, in UTF-8. Lets the console show UTF-8 where it must be told.
[[nodiscard]] std::vector<std::string> ProgramArguments(int count, const char* const* values);

}   // namespace host
