#include "native_path.h"

#include "system_error.h"

#include <component/platform/unicode.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace platform {
namespace {

constexpr char16_t kDrive = u'Z';
constexpr std::string_view kDriveText = "Z:";

char16_t UpperOf(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

bool StartsWith(const char16_t* text, std::u16string_view start) {
    return std::char_traits<char16_t>::length(text) >= start.size() && start == std::u16string_view(text, start.size());
}

/// Steps past the prefixes and the drive. Gives the error of a path that lies on no drive of this system.
std::uint32_t SkipDrive(const char16_t*& path) {
    const bool isDevicePath = StartsWith(path, u"\\\\?\\") || StartsWith(path, u"\\\\.\\");
    if (isDevicePath) path += 4;
    if (isDevicePath && StartsWith(path, u"UNC\\")) return kErrorBadNetPath;
    if (!isDevicePath && StartsWith(path, u"\\\\")) return kErrorBadNetPath;
    if (path[0] == u'\0') return kErrorPathNotFound;
    if (path[1] != u':') return kErrorSuccess;
    const char16_t drive = UpperOf(path[0]);
    if (drive == kDrive)
        path += 2;
    else if (drive >= u'A' && drive <= u'Z')
        return kErrorPathNotFound;
    return kErrorSuccess;
}

bool IsFolder(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}   // namespace

bool NativePath::Assign(const char16_t* path) {
    CutTo(0);
    if (path == nullptr) return FailWith(kErrorPathNotFound);
    const std::uint32_t error = SkipDrive(path);
    if (error != kErrorSuccess) return FailWith(error);
    std::u16string_view rest(path);
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
    parent.CutTo(end);
    if (end == 0) static_cast<void>(parent.Append("."));   // it fits: the path had a name here
    return parent;
}

std::string_view NativePath::Name() const { return {text + StartOfName(), EndOfName() - StartOfName()}; }

bool NativePath::ReplaceName(std::string_view name) {
    CutTo(StartOfName());
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
    CutTo(length + more.size());
    return true;
}

void NativePath::CutTo(std::size_t lengthBytes) {
    length = lengthBytes;
    text[length] = '\0';
}

std::uint32_t ErrorAt(const NativePath& path, int error) {
    return error == ENOENT && !IsFolder(path.Parent().Text()) ? kErrorPathNotFound : ErrorFromErrno(error);
}

bool FailAt(const NativePath& path, int error) { return FailWith(ErrorAt(path, error)); }

std::size_t ToDriveForm(std::string_view native, std::span<char> target) {
    const std::string_view drive = native.starts_with('/') ? kDriveText : std::string_view();
    const std::size_t lengthBytes = drive.size() + native.size();
    if (lengthBytes > target.size() || native.find('\\') != std::string_view::npos) return 0;
    const auto behindDrive = std::copy(drive.begin(), drive.end(), target.begin());
    std::replace_copy(native.begin(), native.end(), behindDrive, '/', '\\');
    return lengthBytes;
}

}   // namespace platform
