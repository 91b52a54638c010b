/// The system's calls on paths. The first group hands the path on as it is; `CreateDirectories` alone takes its long
/// form. Each gives 0 or the system's error as a code, unless it says otherwise. Nothing here retries or locks.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <new>

namespace ilk {

/// `attributes` is set on success only.
[[nodiscard]] ResultCode GetAttributes(const char16_t* path, std::uint32_t& attributes);

/// 0 if something has that name, 1 if nothing has, also for want of a folder on the way.
[[nodiscard]] ResultCode PathExists(const char16_t* path);

/// 0 for a folder that is no link, 1 for anything else that is there.
[[nodiscard]] ResultCode IsPlainDirectory(const char16_t* path);

/// 0 for a link to a folder, 1 for anything else that is there.
[[nodiscard]] ResultCode IsLinkedDirectory(const char16_t* path);

[[nodiscard]] ResultCode MakeDirectory(const char16_t* path);

/// `ResultAlreadyExists` for a target that is there, with `failIfExists`.
[[nodiscard]] ResultCode CopyFileTo(const char16_t* source, const char16_t* target, bool failIfExists);

/// Replaces the target, copies across volumes, and after a success the new name is on the disk.
[[nodiscard]] ResultCode MoveFileTo(const char16_t* source, const char16_t* target);

[[nodiscard]] ResultCode RemoveFile(const char16_t* path);

/// The process's current folder; `target` is set on success only.
[[nodiscard]] ResultCode CurrentDirectory(basic_string_t<char16_t>& target);

/// The form of `path` that the system takes at any length: absolute, normalised, with the long prefix. A path with two
/// backslashes in front comes back as it is. Throws what strings throw, and a `ResultCodeException` where the current
/// folder can't be told.
[[nodiscard]] basic_string_t<char16_t> ToLongPath(std::u16string_view path);

/// Makes the folder and those that are missing on the way; what is there already is a success. Folders made before a
/// failure stay. `ResultInvalidArgument` for an empty path, `ResultInvalidPathName` where something else than a folder
/// has the name, `ResultPathNotFound` where the root is missing, `ResultAlreadyExists` for a link to a folder.
[[nodiscard]] ResultCode CreateDirectories(std::u16string_view path);

/// Runs a system function that takes the room in characters and the buffer, and gives the length of the text or, above
/// the room, the room it needs; 0 is its failure. Asks again with that room, five times in all, then gives up with
/// `ResultUnspecifiedError`. `target` is set on success only.
template <class Function>
[[nodiscard]] ResultCode FillFromSystem(Function function, basic_string_t<char16_t>& target) {
    constexpr std::uint32_t kFirstRoomChars = 260;
    constexpr int kPasses = 5;
    basic_string_t<char16_t> work;
    std::uint32_t roomChars = kFirstRoomChars;
    for (int pass = 0; pass < kPasses; ++pass) {
        try {
            work.resize(roomChars);
        } catch (const std::bad_alloc&) {
            return ResultOutOfMemory;
        } catch (...) {
            return ResultUnspecifiedError;
        }
        const std::uint32_t lengthChars = function(roomChars, work.data());
        if (lengthChars == 0) return ResultFromLastError();
        if (lengthChars <= roomChars) {
            work.resize(lengthChars);
            work.swap(target);
            return ResultOk;
        }
        roomChars = lengthChars;
    }
    return ResultUnspecifiedError;
}

}   // namespace ilk
