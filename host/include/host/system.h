/// What a program around the host asks of the system.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {

/// A path that the property `Name` can't hold; `what()` names the path and the reason.
class PathError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why `Name` can't hold `path`, which is in the form of the program's arguments; empty if it can.
[[nodiscard]] std::string_view PathFault(std::string_view path);

/// The absolute path of the file that the system opens for `path`. On Linux symbolic links are resolved, the last one
/// too; parts that don't exist stay as they are.
[[nodiscard]] std::filesystem::path RealPath(const std::filesystem::path& path);

/// The real path in the form that the property `Name` takes, with a drive on every system. Throws `PathError`.
[[nodiscard]] std::u16string DocumentName(const std::filesystem::path& path);

/// The folder of the running program.
[[nodiscard]] std::filesystem::path ProgramDirectory();

/// The ending of a module's file, with its point.
[[nodiscard]] const char* ModuleExtension();

/// The program's arguments without its name, in UTF-8.
[[nodiscard]] std::vector<std::string> ProgramArguments(int count, const char* const* values);

enum class Stream {
    Output,
    Error,
};

/// Whether a standard stream goes to a terminal, which shows colours then.
[[nodiscard]] bool IsTerminal(Stream stream);

/// For the start of a program: output is UTF-8 and passes unchanged. On Linux a stream that the parent process closed
/// is replaced by one that can't be written, so that no file that is opened later gets its descriptor and what is
/// printed.
void PrepareStandardStreams();

/// Whether a standard stream is a pipe and its reader has closed it. For streams that failed: on Windows every pipe
/// counts, as nothing else makes one fail.
[[nodiscard]] bool IsPipeClosed(Stream stream);

/// Whether a call of the file system failed because another process has the file open and doesn't share it. On Linux
/// none fails so.
[[nodiscard]] bool IsSharingViolation(const std::error_code& error);

/// What was written to a file, or the entries of a folder, are on the disk when this returns. Throws
/// `std::filesystem::filesystem_error`.
void FlushToDisk(const std::filesystem::path& path);

}   // namespace host
