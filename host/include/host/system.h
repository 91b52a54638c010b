/// What a program that uses the host needs from the operating system: paths, arguments, standard streams, flushes.
/// Each system has an implementation of its own.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {

/// The property `Name` can't hold a path; `what()` names the path and the reason.
class PathError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The reason why the property `Name` can't hold `path`, a path as `ProgramArguments` returns it; empty if it can.
[[nodiscard]] std::string_view PathFault(std::string_view path);

/// The absolute path of the file that the system opens for `path`. On Linux all symbolic links are resolved, as far as
/// the path exists.
[[nodiscard]] std::filesystem::path RealPath(const std::filesystem::path& path);

/// `RealPath` in the form of the property `Name`, which begins with a drive on every system. Throws `PathError`.
[[nodiscard]] std::u16string DocumentName(const std::filesystem::path& path);

/// The directory of the running program's file.
[[nodiscard]] std::filesystem::path ProgramDirectory();

/// The extension of a module's file name, with its dot.
[[nodiscard]] const char* ModuleExtension();

/// The program's arguments in UTF-8, without the program's name. Takes the arguments of `main`.
[[nodiscard]] std::vector<std::string> ProgramArguments(int count, const char* const* values);

/// An environment variable in UTF-8; empty if it isn't set.
[[nodiscard]] std::string EnvironmentVariable(const char* name);

enum class Stream {
    Output,
    Error,
};

/// Whether a standard stream is a terminal. On Windows this also enables the terminal's colour sequences.
[[nodiscard]] bool IsTerminal(Stream stream);

/// To be called first in a program. On Windows the console shows output as UTF-8, and line ends aren't translated. On
/// Linux a standard stream that the parent process closed is opened as /dev/null for reading: otherwise a file opened
/// later would get that descriptor, and the program's output would go to the file.
void PrepareStandardStreams();

/// Whether a write to a standard stream failed because it is a pipe whose reader has closed it. Call it only after a
/// failed write: on Windows it is true for every pipe, since a write to a pipe fails for no other reason.
[[nodiscard]] bool IsPipeClosed(Stream stream);

/// Whether a file operation failed because another process has the file open without sharing. Never on Linux.
[[nodiscard]] bool IsSharingViolation(const std::error_code& error);

/// Removes a file unless a process has it open through the module. Returns false if one has, or if that can't be
/// found out. Throws `std::filesystem::filesystem_error` on another failure.
[[nodiscard]] bool RemoveIfUnused(const std::filesystem::path& path);

/// Runs a command line of the system's shell, with `file` as its last argument, on this process's standard streams, and
/// waits for its end. A program's path with spaces is in double quotes. Returns its exit code, on Linux 128 and more if
/// a signal killed it. Throws `std::system_error` if the shell can't be started.
[[nodiscard]] int RunWithFile(const std::string& commandLine, const std::filesystem::path& file);

/// The exit code of the shell if it doesn't find the command.
[[nodiscard]] int CommandNotFoundCode();

/// The command line of the editor that every installation of the system has.
[[nodiscard]] const char* DefaultEditor();

/// Flushes the data written to a file, or the entries of a directory, to the disk. Throws
/// `std::filesystem::filesystem_error`.
void FlushToDisk(const std::filesystem::path& path);

}   // namespace host
