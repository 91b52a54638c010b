#include <component/ilk/system/file/detail/filesystem_impl.h>

#include <component/ilk/error/exception.h>
#include <component/ilk/system/file/path.h>
#include <component/platform/files.h>

namespace ilk {
namespace {

using Text = basic_string_t<char16_t>;

constexpr std::u16string_view kTwoBackslashes = u"\\\\";
constexpr std::u16string_view kLongPrefix = u"\\\\?\\";

/// The place that the failure of the current folder is known by, wherever this file lies and however it changes.
constexpr char kLongPathFile[] = "component\\ilk\\include\\component\\ilk\\system\\file\\detail/filesystem_impl";
constexpr std::uint32_t kLongPathLine = 233;

ResultCode ResultOf(bool succeeded) { return succeeded ? ResultOk : ResultFromLastError(); }

/// 0 if those of the two bits of folders that are set are `wanted`, else 1.
ResultCode HasFolderBits(const char16_t* path, std::uint32_t wanted) {
    constexpr std::uint32_t kFolderBits = platform::kAttributeDirectory | platform::kAttributeReparsePoint;
    std::uint32_t attributes = 0;
    const ResultCode code = GetAttributes(path, attributes);
    if (IsFailure(code)) return code;
    return (attributes & kFolderBits) == wanted ? ResultOk : ResultFalse;
}

/// A path that is cut in place behind a part of it, and whole again when the cut goes.
class CutPath {
public:
    CutPath(Text& whole, std::size_t lengthChars) : text(whole), length(lengthChars), behind(text.data()[length]) {
        text.data()[length] = u'\0';
    }
    ~CutPath() { text.data()[length] = behind; }
    CutPath(const CutPath&) = delete;
    CutPath& operator=(const CutPath&) = delete;

    [[nodiscard]] const char16_t* Part() const { return text.data(); }

private:
    Text& text;
    const std::size_t length;
    const char16_t behind;
};

/// Gives in `lengthChars` the longest part of `path` that is there and is a folder.
ResultCode FindExistingPart(Text& path, std::size_t& lengthChars) {
    lengthChars = path.size();
    while (lengthChars > 0) {
        const CutPath cut(path, lengthChars);
        const ResultCode exists = PathExists(cut.Part());
        if (IsFailure(exists)) return exists;
        if (exists == ResultOk) {
            const bool isFolder = IsPlainDirectory(cut.Part()) == ResultOk || IsLinkedDirectory(cut.Part()) == ResultOk;
            return isFolder ? ResultOk : ResultInvalidPathName;
        }
        const std::size_t parentChars = ParentPath(path.view().substr(0, lengthChars)).size();
        if (parentChars == lengthChars) return ResultPathNotFound;
        lengthChars = parentChars;
    }
    return ResultOk;
}

/// Somebody else may make the same folder at the same moment, which is as good.
ResultCode MakeOneDirectory(const char16_t* path) {
    if (IsPlainDirectory(path) == ResultOk) return ResultOk;
    const ResultCode code = MakeDirectory(path);
    return code == ResultAlreadyExists && IsPlainDirectory(path) == ResultOk ? ResultOk : code;
}

/// Makes one component of `path` after the other, from those on that begin at `lengthChars`. Where nothing is left to
/// make, the whole path is looked at once, so that a link in its place is told.
ResultCode MakeMissingParts(Text& path, std::size_t lengthChars) {
    ResultCode code = ResultOk;
    do {
        const char16_t* position = path.data() + lengthChars;
        while (position != path.end() && IsSeparator(*position)) ++position;
        lengthChars = static_cast<std::size_t>(FirstComponentEnd(position, path.end()) - path.data());
        code = MakeOneDirectory(CutPath(path, lengthChars).Part());
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

ResultCode IsPlainDirectory(const char16_t* path) { return HasFolderBits(path, platform::kAttributeDirectory); }

ResultCode IsLinkedDirectory(const char16_t* path) {
    return HasFolderBits(path, platform::kAttributeDirectory | platform::kAttributeReparsePoint);
}

ResultCode MakeDirectory(const char16_t* path) { return ResultOf(platform::CreateDirectoryW(path, nullptr)); }

ResultCode CopyFileTo(const char16_t* source, const char16_t* target, bool failIfExists) {
    return ResultOf(platform::CopyFileW(source, target, failIfExists));
}

ResultCode MoveFileTo(const char16_t* source, const char16_t* target) {
    constexpr std::uint32_t kFlags =
        platform::kMoveReplaceExisting | platform::kMoveCopyAllowed | platform::kMoveWriteThrough;
    return ResultOf(platform::MoveFileExW(source, target, kFlags));
}

ResultCode RemoveFile(const char16_t* path) { return ResultOf(platform::DeleteFileW(path)); }

ResultCode CurrentDirectory(Text& target) { return FillFromSystem(platform::GetCurrentDirectoryW, target); }

Text ToLongPath(std::u16string_view path) {
    if (path.starts_with(kTwoBackslashes)) return Text(path);
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
    return IsFailure(code) ? code : MakeMissingParts(text, existingChars);
}

}   // namespace ilk
