/// A path in this system's form: UTF-8, `/` between the names, no drive. It holds its text in place, since a path that
/// doesn't fit is one that the system doesn't take either.
#pragma once

#include <component/platform/types.h>

#include <climits>
#include <span>
#include <string_view>

namespace platform {

class NativePath {
public:
    /// Takes the layer's form of a path. On a failure the last error says what is wrong with it.
    [[nodiscard]] bool Assign(const char16_t* path);

    /// The folder that holds the entry; "." for a relative path of one name, "/" for the root.
    [[nodiscard]] NativePath Parent() const;

    /// The last name on the path, without separators behind it.
    [[nodiscard]] std::string_view Name() const;

    /// Makes it the path of an entry of that name beside this one.
    [[nodiscard]] bool ReplaceName(std::string_view name);

    [[nodiscard]] const char* Text() const { return text; }

private:
    [[nodiscard]] std::size_t EndOfName() const;
    [[nodiscard]] std::size_t StartOfName() const;
    [[nodiscard]] bool Append(std::string_view more);
    void CutTo(std::size_t lengthBytes);

    std::size_t length = 0;
    char text[PATH_MAX] = {};
};

/// The number for `error`, which a call on `path` left: an entry that isn't there is another failure than a folder on
/// the way that isn't.
[[nodiscard]] std::uint32_t ErrorAt(const NativePath& path, int error);

/// Makes it the thread's last error and gives false.
bool FailAt(const NativePath& path, int error);

/// Writes the layer's form of one of this system's paths: separators turned, the drive in front of an absolute one.
/// Gives the length, and 0 where it doesn't fit or a name has a backslash in it, which this form can't tell.
[[nodiscard]] std::size_t ToDriveForm(std::string_view native, std::span<char> target);

/// Room for any path that the system gives, in drive form.
inline constexpr std::size_t kDriveFormBytes = PATH_MAX + 2;

}   // namespace platform
