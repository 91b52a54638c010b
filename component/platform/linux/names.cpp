// The calls of `files.h` that work on paths alone: attributes, creation of directories, current directory.

#include <component/platform/files.h>

#include "native_path.h"
#include "open_file.h"
#include "system_error.h"

#include <component/platform/unicode.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace platform {
namespace {

std::uint32_t AttributesOf(const NativePath& path, mode_t mode) {
    if (S_ISDIR(mode)) return kAttributeDirectory;
    if (S_ISLNK(mode)) return kAttributeReparsePoint | (IsDirectory(path) ? kAttributeDirectory : kAttributeArchive);
    if (!S_ISREG(mode)) return kAttributeNormal;
    return IsReadOnly(mode) ? kAttributeArchive | kAttributeReadOnly : kAttributeArchive;
}

/// Converts UTF-8 to UTF-16 and returns the number of units, 0 for malformed text. `target` has as many units as `text`
/// has bytes: UTF-16 never needs more.
std::size_t Widen(std::string_view text, char16_t* target) {
    char16_t* end = target;
    while (!text.empty()) {
        const char32_t codePoint = ReadUtf8(text, Malformed::Reject);
        if (codePoint == kNoCodePoint) return 0;
        end = WriteUtf16(codePoint, end);
    }
    return static_cast<std::size_t>(end - target);
}

}   // namespace

std::uint32_t GetFileAttributesW(const char16_t* path) {
    NativePath native;
    if (!native.Assign(path)) return kInvalidAttributes;
    struct stat status {};
    if (lstat(native.Text(), &status) == 0) return AttributesOf(native, status.st_mode);
    FailForPath(native, errno);
    return kInvalidAttributes;
}

bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* /*security*/) {
    NativePath native;
    if (!native.Assign(path)) return false;
    if (mkdir(native.Text(), 0777) == 0) return true;
    return errno == EEXIST ? FailWith(kErrorAlreadyExists) : FailForPath(native, errno);
}

std::uint32_t GetCurrentDirectoryW(std::uint32_t sizeChars, char16_t* buffer) {
    char native[PATH_MAX];
    if (getcwd(native, sizeof(native)) == nullptr) {
        FailWithErrno(errno);
        return 0;
    }
    char narrow[kDriveFormBytes];
    char16_t wide[kDriveFormBytes];
    const std::size_t lengthChars = Widen({narrow, ToDriveForm(native, narrow)}, wide);
    if (lengthChars == 0) {
        SetLastError(kErrorInvalidName);
        return 0;
    }
    if (lengthChars >= sizeChars) return static_cast<std::uint32_t>(lengthChars + 1);
    std::copy_n(wide, lengthChars, buffer);
    buffer[lengthChars] = u'\0';
    return static_cast<std::uint32_t>(lengthChars);
}

}   // namespace platform
