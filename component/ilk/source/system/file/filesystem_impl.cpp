// File system calls on paths, the long form of a path, and the creation of missing directories.

#include <component/ilk/system/file/detail/filesystem_impl.h>

#include <component/ilk/error/exception.h>
#include <component/ilk/system/file/path.h>
#include <component/platform/files.h>

#include <utility>

namespace ilk {
namespace {

using Text = basic_string_t<char16_t>;

constexpr std::u16string_view kLongPrefix = u"\\\\?\\";

/// The source position in the exception for a current directory that can't be read. It is part of the text that users
/// see, so it is fixed and isn't the actual position.
constexpr char kLongPathFile[] = "component\\ilk\\include\\component\\ilk\\system\\file\\detail/filesystem_impl";
constexpr std::uint32_t kLongPathLine = 233;

/// Returns `ResultOk` if the directory and link bits of `path` are exactly `expected`, `ResultFalse` if they aren't.
ResultCode HasDirectoryBits(const char16_t* path, std::uint32_t expected) {
    constexpr std::uint32_t kDirectoryBits = platform::kAttributeDirectory | platform::kAttributeReparsePoint;
    std::uint32_t attributes = 0;
    const ResultCode code = GetAttributes(path, attributes);
    if (IsFailure(code)) return code;
    return (attributes & kDirectoryBits) == expected ? ResultOk : ResultFalse;
}

/// Terminates a path in place after its first `length` characters while this object lives.
class ScopedTruncation {
public:
    ScopedTruncation(Text& path, std::size_t length)
        : start(path.data()), cut(path.data() + length), oldCharacter(std::exchange(*cut, u'\0')) {}
    ~ScopedTruncation() { *cut = oldCharacter; }
    ScopedTruncation(const ScopedTruncation&) = delete;
    ScopedTruncation& operator=(const ScopedTruncation&) = delete;

    [[nodiscard]] const char16_t* Path() const { return start; }

private:
    const char16_t* const start;
    char16_t* const cut;
    const char16_t oldCharacter;
};

/// Sets `lengthChars` to the length of the longest part of `path` that exists. It must be a directory. `path` begins
/// with a separator: its shortest part is a root, which is its own parent.
ResultCode FindExistingPart(Text& path, std::size_t& lengthChars) {
    lengthChars = path.size();
    for (;;) {
        const ScopedTruncation part(path, lengthChars);
        const ResultCode exists = PathExists(part.Path());
        if (IsFailure(exists)) return exists;
        if (exists == ResultOk) {
            const bool isDirectory =
                IsPlainDirectory(part.Path()) == ResultOk || IsLinkedDirectory(part.Path()) == ResultOk;
            return isDirectory ? ResultOk : ResultInvalidPathName;
        }
        const std::size_t parentChars = ParentPath(path.view().substr(0, lengthChars)).size();
        if (parentChars == lengthChars) return ResultPathNotFound;
        lengthChars = parentChars;
    }
}

/// Creates one directory unless it exists, even if another process creates it at the same time.
ResultCode EnsureDirectory(const char16_t* path) {
    if (IsPlainDirectory(path) == ResultOk) return ResultOk;
    const ResultCode code = MakeDirectory(path);
    return code == ResultAlreadyExists && IsPlainDirectory(path) == ResultOk ? ResultOk : code;
}

/// Creates the directories of `path` after its existing first `lengthChars` characters. If all of `path` exists, it
/// still calls `EnsureDirectory` for it, which fails for a link.
ResultCode CreateMissingParts(Text& path, std::size_t lengthChars) {
    ResultCode code = ResultOk;
    do {
        const char16_t* position = path.data() + lengthChars;
        while (position != path.end() && IsSeparator(*position)) ++position;
        lengthChars = static_cast<std::size_t>(FirstComponentEnd(position, path.end()) - path.data());
        code = EnsureDirectory(ScopedTruncation(path, lengthChars).Path());
    } while (IsSuccess(code) && lengthChars < path.size());
    return code;
}

}   // namespace

ResultCode GetAttributes(const char16_t* path, std::uint32_t& attributes) {
    const std::uint32_t found = platform::GetFileAttributesW(path);
    if (found == platform::kInvalidAttributes) return ResultFromLastError();
    attributes = found;
    return ResultOk;
}

ResultCode PathExists(const char16_t* path) {
    std::uint32_t attributes = 0;
    const ResultCode code = GetAttributes(path, attributes);
    return code == ResultFileNotFound || code == ResultPathNotFound ? ResultFalse : code;
}

ResultCode IsPlainDirectory(const char16_t* path) { return HasDirectoryBits(path, platform::kAttributeDirectory); }

ResultCode IsLinkedDirectory(const char16_t* path) {
    return HasDirectoryBits(path, platform::kAttributeDirectory | platform::kAttributeReparsePoint);
}

ResultCode MakeDirectory(const char16_t* path) { return ResultOfCall(platform::CreateDirectoryW(path, nullptr)); }

ResultCode CopyFileTo(const char16_t* source, const char16_t* target, bool failIfExists) {
    return ResultOfCall(platform::CopyFileW(source, target, failIfExists));
}

ResultCode MoveFileTo(const char16_t* source, const char16_t* target) {
    constexpr std::uint32_t kFlags =
        platform::kMoveReplaceExisting | platform::kMoveCopyAllowed | platform::kMoveWriteThrough;
    return ResultOfCall(platform::MoveFileExW(source, target, kFlags));
}

ResultCode RemoveFile(const char16_t* path) { return ResultOfCall(platform::DeleteFileW(path)); }

ResultCode CurrentDirectory(Text& target) { return FillFromSystem(platform::GetCurrentDirectoryW, target); }

Text ToLongPath(std::u16string_view path) {
    if (path.starts_with(kTwoSeparators)) return Text(path);
    Text result;
    if (!IsAbsolutePath(path)) ThrowIfFail(kLongPathFile, kLongPathLine, CurrentDirectory(result));
    if (!HasDevicePrefix(result)) result.insert(0, kLongPrefix);
    JoinPath(result, path);
    NormalizePath(result);
    return result;
}

ResultCode CreateDirectories(std::u16string_view path) {
    if (path.empty()) return ResultInvalidArgument;
    Text text;
    try {
        text = ToLongPath(path);
    } catch (const ResultCodeException& e) {
        return ResultFromException(e);
    } catch (...) {
        return ResultOutOfMemory;
    }
    std::size_t existingChars = 0;
    const ResultCode code = FindExistingPart(text, existingChars);
    return IsFailure(code) ? code : CreateMissingParts(text, existingChars);
}

}   // namespace ilk
