// The file calls of Windows.

#include <component/platform/files.h>

#include "text.h"

#include <cstddef>

namespace platform {

static_assert(kGenericRead == GENERIC_READ && kGenericWrite == GENERIC_WRITE && kGenericExecute == GENERIC_EXECUTE);
static_assert(kAccessDelete == DELETE);
static_assert(kShareRead == FILE_SHARE_READ && kShareWrite == FILE_SHARE_WRITE && kShareDelete == FILE_SHARE_DELETE);
static_assert(kCreateNew == CREATE_NEW && kCreateAlways == CREATE_ALWAYS && kOpenExisting == OPEN_EXISTING);
static_assert(kOpenAlways == OPEN_ALWAYS && kTruncateExisting == TRUNCATE_EXISTING);
static_assert(kAttributeReadOnly == FILE_ATTRIBUTE_READONLY && kAttributeHidden == FILE_ATTRIBUTE_HIDDEN);
static_assert(kAttributeSystem == FILE_ATTRIBUTE_SYSTEM && kAttributeDirectory == FILE_ATTRIBUTE_DIRECTORY);
static_assert(kAttributeArchive == FILE_ATTRIBUTE_ARCHIVE && kAttributeNormal == FILE_ATTRIBUTE_NORMAL);
static_assert(kAttributeReparsePoint == FILE_ATTRIBUTE_REPARSE_POINT);
static_assert(kInvalidAttributes == INVALID_FILE_ATTRIBUTES);
static_assert(kFlagBackupSemantics == FILE_FLAG_BACKUP_SEMANTICS && kFlagNoBuffering == FILE_FLAG_NO_BUFFERING);
static_assert(kFlagSequentialScan == FILE_FLAG_SEQUENTIAL_SCAN && kFlagRandomAccess == FILE_FLAG_RANDOM_ACCESS);
static_assert(kMoveReplaceExisting == MOVEFILE_REPLACE_EXISTING && kMoveCopyAllowed == MOVEFILE_COPY_ALLOWED);
static_assert(kMoveWriteThrough == MOVEFILE_WRITE_THROUGH);
static_assert(sizeof(SecurityAttributes) == sizeof(SECURITY_ATTRIBUTES));
static_assert(offsetof(SecurityAttributes, length) == offsetof(SECURITY_ATTRIBUTES, nLength));
static_assert(offsetof(SecurityAttributes, descriptor) == offsetof(SECURITY_ATTRIBUTES, lpSecurityDescriptor));
static_assert(offsetof(SecurityAttributes, inherit) == offsetof(SECURITY_ATTRIBUTES, bInheritHandle));
static_assert(sizeof(DWORD) == sizeof(std::uint32_t));

namespace {

/// Casts away const: the system's parameters aren't const, although the calls don't change the attributes.
SECURITY_ATTRIBUTES* ToSystem(const SecurityAttributes* security) {
    return reinterpret_cast<SECURITY_ATTRIBUTES*>(const_cast<SecurityAttributes*>(security));
}

}   // namespace

Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share, const SecurityAttributes* security,
                   std::uint32_t creation, std::uint32_t flags, Handle templateFile) {
    return ::CreateFileW(Wide(path), access, share, ToSystem(security), creation, flags, templateFile);
}

Handle CreateReplacementFile(const char16_t* path, const char16_t* /*original*/, const char16_t* /*backup*/,
                             Handle* reservation) {
    *reservation = kInvalidHandle;
    const SecurityAttributes security;
    return CreateFileW(path, kGenericWrite, 0, &security, kCreateAlways, 0, nullptr);
}

bool ReadFile(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    DWORD transferred = 0;
    const bool succeeded = ::ReadFile(file, buffer, size, &transferred, nullptr) != 0;
    *done = transferred;
    return succeeded;
}

bool WriteFile(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    DWORD transferred = 0;
    const bool succeeded = ::WriteFile(file, buffer, size, &transferred, nullptr) != 0;
    *done = transferred;
    return succeeded;
}

bool GetFileSizeEx(Handle file, std::uint64_t* sizeBytes) {
    LARGE_INTEGER size{};
    if (::GetFileSizeEx(file, &size) == 0) return false;
    *sizeBytes = static_cast<std::uint64_t>(size.QuadPart);
    return true;
}

bool FlushFileBuffers(Handle file) { return ::FlushFileBuffers(file) != 0; }

bool CloseHandle(Handle handle) {
    if (handle != kInvalidHandle) return ::CloseHandle(handle) != 0;
    ::SetLastError(ERROR_INVALID_HANDLE);   // for the system all ones is the handle of the process itself
    return false;
}

std::uint32_t GetFileAttributesW(const char16_t* path) { return ::GetFileAttributesW(Wide(path)); }

bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* security) {
    return ::CreateDirectoryW(Wide(path), ToSystem(security)) != 0;
}

bool CopyFileW(const char16_t* source, const char16_t* target, bool failIfExists) {
    return ::CopyFileW(Wide(source), Wide(target), failIfExists) != 0;
}

bool MoveFileExW(const char16_t* source, const char16_t* target, std::uint32_t flags) {
    return ::MoveFileExW(Wide(source), Wide(target), flags) != 0;
}

bool DeleteFileW(const char16_t* path) { return ::DeleteFileW(Wide(path)) != 0; }

std::uint32_t GetCurrentDirectoryW(std::uint32_t sizeChars, char16_t* buffer) {
    return ::GetCurrentDirectoryW(sizeChars, Wide(buffer));
}

}   // namespace platform
