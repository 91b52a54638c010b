// Converts UTF-16 paths with drive and backslashes to Linux paths in UTF-8, and Linux paths to drive form.

#include "native_path.h"

#include "system_error.h"

#include <component/platform/unicode.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace platform {
namespace {

constexpr char32_t kDrive = U'z';   // the only drive; its root is `/`
constexpr std::string_view kDriveText = "Z:";

/// Removes the device prefix and the drive. Returns an error for a server or for a drive other than `kDrive`.
std::uint32_t RemoveDrive(std::u16string_view& path) {
    const bool isDevicePath = path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\");
    if (isDevicePath) path.remove_prefix(4);
    if (path.starts_with(isDevicePath ? u"UNC\\" : u"\\\\")) return kErrorBadNetPath;
    if (path.empty()) return kErrorPathNotFound;
    if (path.size() < 2 || path[1] != u':') return kErrorSuccess;
    const char32_t drive = path[0] | 0x20U;   // in lower case
    if (drive < U'a' || drive > U'z') return kErrorSuccess;
    if (drive != kDrive) return kErrorPathNotFound;
    path.remove_prefix(2);
    return kErrorSuccess;
}

}   // namespace

bool NativePath::Assign(const char16_t* path) {
    SetLength(0);
    if (path == nullptr) return FailWith(kErrorPathNotFound);
    std::u16string_view rest(path);
    const std::uint32_t error = RemoveDrive(rest);
    if (error != kErrorSuccess) return FailWith(error);
    if (rest.empty()) return Append(".");   // a drive alone is the current directory on it
    while (!rest.empty()) {
        const char32_t codePoint = ReadUtf16(rest, Malformed::Reject);
        if (codePoint == kNoCodePoint) return FailWith(kErrorInvalidName);
        char bytes[4];
        const char* const end = WriteUtf8(codePoint == U'\\' ? U'/' : codePoint, bytes);
        if (!Append({bytes, end})) return false;
    }
    return true;
}

NativePath NativePath::Parent() const {
    NativePath parent = *this;
    std::size_t end = StartOfName();
    while (end > 1 && text[end - 1] == '/') --end;
    parent.SetLength(end);
    if (end == 0) static_cast<void>(parent.Append("."));   // fits: the removed name was at least as long
    return parent;
}

std::string_view NativePath::Name() const { return {text + StartOfName(), EndOfName() - StartOfName()}; }

bool NativePath::ReplaceName(std::string_view name) {
    SetLength(StartOfName());
    return Append(name);
}

std::size_t NativePath::EndOfName() const {
    std::size_t end = length;
    while (end > 0 && text[end - 1] == '/') --end;
    return end;
}

std::size_t NativePath::StartOfName() const {
    const std::size_t end = EndOfName();
    if (end == 0) return length;   // the root has no name
    return std::string_view(text, end).rfind('/') + 1;
}

bool NativePath::Append(std::string_view more) {
    if (more.size() >= sizeof(text) - length) return FailWith(kErrorFilenameTooLong);
    std::memcpy(text + length, more.data(), more.size());
    SetLength(length + more.size());
    return true;
}

void NativePath::SetLength(std::size_t lengthBytes) {
    length = lengthBytes;
    text[length] = '\0';
}

bool IsDirectory(const NativePath& path) {
    struct stat status {};
    return stat(path.Text(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::uint32_t ErrorForPath(const NativePath& path, int error) {
    return error == ENOENT && !IsDirectory(path.Parent()) ? kErrorPathNotFound : ErrorFromErrno(error);
}

bool FailForPath(const NativePath& path, int error) { return FailWith(ErrorForPath(path, error)); }

std::size_t ToDriveForm(std::string_view native, std::span<char> target) {
    const std::string_view drive = native.starts_with('/') ? kDriveText : std::string_view();
    const std::size_t lengthBytes = drive.size() + native.size();
    if (lengthBytes > target.size() || native.find('\\') != std::string_view::npos) return 0;
    const auto afterDrive = std::copy(drive.begin(), drive.end(), target.begin());
    std::replace_copy(native.begin(), native.end(), afterDrive, '/', '\\');
    return lengthBytes;
}

}   // namespace platform
