/// File system calls on paths. Unless stated otherwise, a function returns `ResultOk` or the code of the system's
/// error. Only `CreateDirectories` converts its path to the long form; all others pass it to the system as it is.
/// Nothing here retries or locks.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <new>

namespace ilk {

/// Sets `attributes` on success only.
[[nodiscard]] ResultCode GetAttributes(const char16_t* path, std::uint32_t& attributes);

/// Returns `ResultOk` if `path` exists, `ResultFalse` if it or a directory on the way to it doesn't.
[[nodiscard]] ResultCode PathExists(const char16_t* path);

/// Returns `ResultOk` for a directory that isn't a link, `ResultFalse` for anything else that exists.
[[nodiscard]] ResultCode IsPlainDirectory(const char16_t* path);

/// Returns `ResultOk` for a link to a directory, `ResultFalse` for anything else that exists.
[[nodiscard]] ResultCode IsLinkedDirectory(const char16_t* path);

[[nodiscard]] ResultCode MakeDirectory(const char16_t* path);

/// With `failIfExists`, returns `ResultAlreadyExists` if the target exists; otherwise replaces it.
[[nodiscard]] ResultCode CopyFileTo(const char16_t* source, const char16_t* target, bool failIfExists);

/// Moves `source` over `target`, across volumes by copying. After a success the new name is on the disk.
[[nodiscard]] ResultCode MoveFileTo(const char16_t* source, const char16_t* target);

[[nodiscard]] ResultCode RemoveFile(const char16_t* path);

/// Sets `target` to the process's current directory, on success only.
[[nodiscard]] ResultCode CurrentDirectory(basic_string_t<char16_t>& target);

/// Returns `path` in the form that the system accepts at any length: absolute, normalised, with the prefix `\\?\`. A
/// path that starts with two backslashes is returned unchanged. Throws what strings throw, and a `ResultCodeException`
/// if the current directory can't be read.
[[nodiscard]] basic_string_t<char16_t> ToLongPath(std::u16string_view path);

/// Creates a directory and its missing parents; an existing directory is a success. Directories created before a
/// failure stay. Returns `ResultInvalidArgument` for an empty path, `ResultInvalidPathName` if a part of the path isn't
/// a directory, `ResultPathNotFound` if its root doesn't exist, `ResultAlreadyExists` if `path` is a link to a
/// directory.
[[nodiscard]] ResultCode CreateDirectories(std::u16string_view path);

/// Sets `target` to the text that a system function stores in a buffer, on success only. `function(capacity, buffer)`
/// returns the length of the text, or the needed capacity if that is larger than the given one, or 0 on failure. It is
/// called up to five times, each time with the capacity that it needed before; then `ResultUnspecifiedError`.
template <class Function>
[[nodiscard]] ResultCode FillFromSystem(Function function, basic_string_t<char16_t>& target) {
    constexpr std::uint32_t kInitialCapacityChars = 260;
    constexpr int kMaxCalls = 5;
    basic_string_t<char16_t> text;
    std::uint32_t capacityChars = kInitialCapacityChars;
    for (int call = 0; call < kMaxCalls; ++call) {
        try {
            text.resize(capacityChars);
        } catch (const std::bad_alloc&) {
            return ResultOutOfMemory;
        } catch (...) {
            return ResultUnspecifiedError;
        }
        const std::uint32_t lengthChars = function(capacityChars, text.data());
        if (lengthChars == 0) return ResultFromLastError();
        if (lengthChars <= capacityChars) {
            text.resize(lengthChars);
            text.swap(target);
            return ResultOk;
        }
        capacityChars = lengthChars;
    }
    return ResultUnspecifiedError;
}

}   // namespace ilk
