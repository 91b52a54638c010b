/// A path as Linux takes it: UTF-8, with `/` between the names and without a drive. The text is an array in the object,
/// long enough for any path that the system accepts.
#pragma once

#include <component/platform/types.h>

#include <climits>
#include <span>
#include <string_view>

namespace platform {

class NativePath {
public:
    /// Converts a path that `files.h` accepts. Returns false with the last error if the path is invalid.
    [[nodiscard]] bool Assign(const char16_t* path);

    /// Returns the path of the parent directory: "." for a relative path of one name, "/" for the root.
    [[nodiscard]] NativePath Parent() const;

    /// Returns the last name of the path, without trailing separators.
    [[nodiscard]] std::string_view Name() const;

    /// Replaces the last name. Returns false with the last error if the path gets too long.
    [[nodiscard]] bool ReplaceName(std::string_view name);

    [[nodiscard]] const char* Text() const { return text; }

private:
    [[nodiscard]] std::size_t EndOfName() const;
    [[nodiscard]] std::size_t StartOfName() const;
    [[nodiscard]] bool Append(std::string_view more);
    void SetLength(std::size_t lengthBytes);

    std::size_t length = 0;
    char text[PATH_MAX] = {};
};

/// True if `path` is a directory or a symbolic link to one.
[[nodiscard]] bool IsDirectory(const NativePath& path);

/// Converts `error`, the `errno` of a call on `path`. A missing entry and a missing parent directory have different
/// numbers.
[[nodiscard]] std::uint32_t ErrorForPath(const NativePath& path, int error);

/// Sets `ErrorForPath(path, error)` as the thread's last error and returns false.
bool FailForPath(const NativePath& path, int error);

/// Converts a Linux path to drive form: with backslashes, and `Z:` before an absolute path. Returns the length, or 0 if
/// `target` is too small or a name has a backslash, which this form can't represent.
[[nodiscard]] std::size_t ToDriveForm(std::string_view native, std::span<char> target);

/// Enough for any path of the system in drive form.
inline constexpr std::size_t kDriveFormBytes = PATH_MAX + 2;

}   // namespace platform
