// Handles of files: opening, reading, writing, flushing.

#include <component/platform/files.h>

#include "open_file.h"
#include "replacement.h"
#include "sharing.h"
#include "sync.h"
#include "system_error.h"
#include "system_object.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <new>
#include <utility>

namespace platform {
namespace {

std::uint32_t RightsOf(std::uint32_t access) {
    return ((access & (kGenericRead | kGenericExecute)) != 0 ? kShareRead : 0) |
           ((access & kGenericWrite) != 0 ? kShareWrite : 0) | ((access & kAccessDelete) != 0 ? kShareDelete : 0);
}

class OpenedFile final : public SystemObject {
public:
    static constexpr ObjectKind kKind = ObjectKind::File;

    OpenedFile(Descriptor opened, std::uint32_t access)
        : SystemObject(kKind), descriptor(std::move(opened)), granted(access) {}

    /// Releases the claims: a duplicate of the descriptor, in a reservation or a child process, would keep them.
    ~OpenedFile() override { ReleaseClaim(descriptor.Number()); }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    const Descriptor descriptor;
    const std::uint32_t granted;
};

/// Returns the file of a handle. Null, with the last error, if the handle was opened without `access` or isn't a
/// file's.
OpenedFile* FileFor(Handle handle, std::uint32_t access) {
    OpenedFile* const file = ObjectOf<OpenedFile>(handle);
    if (file == nullptr || (file->granted & access) == access) return file;
    SetLastError(kErrorAccessDenied);
    return nullptr;
}

using OwnedObject = std::unique_ptr<SystemObject>;

/// Returns the object of a handle for an open file; null, with the last error, if there is no memory.
OwnedObject MakeObject(Descriptor descriptor, std::uint32_t access) {
    OwnedObject file(new (std::nothrow) OpenedFile(std::move(descriptor), access));
    if (!file) SetLastError(kErrorNotEnoughMemory);
    return file;
}

bool IsValidCreation(std::uint32_t creation, std::uint32_t access) {
    if (creation < kCreateNew || creation > kTruncateExisting) return false;
    return creation != kTruncateExisting || (access & kGenericWrite) != 0;
}

}   // namespace

Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share,
                   const SecurityAttributes* /*security*/, std::uint32_t creation, std::uint32_t flags,
                   Handle /*templateFile*/) {
    if (!IsValidCreation(creation, access)) {
        SetLastError(kErrorInvalidParameter);
        return kInvalidHandle;
    }
    NativePath native;
    if (!native.Assign(path)) return kInvalidHandle;
    const bool allowsDirectories = (flags & kFlagBackupSemantics) != 0;
    const mode_t newMode = (flags & kAttributeReadOnly) != 0 ? kNewFileMode & ~kWriteBits : kNewFileMode;
    Descriptor opened = OpenFile(native, {RightsOf(access), share, creation, allowsDirectories, newMode});
    if (!opened.IsOpen()) return kInvalidHandle;
    OwnedObject file = MakeObject(std::move(opened), access);
    return file ? file.release() : kInvalidHandle;
}

Handle CreateReplacementFile(const char16_t* path, const char16_t* original, const char16_t* backup,
                             Handle* reservation) {
    *reservation = kInvalidHandle;
    NativePath native;
    NativePath nativeOriginal;
    NativePath nativeBackup;
    if (!native.Assign(path) || !nativeOriginal.Assign(original) || !nativeBackup.Assign(backup)) return kInvalidHandle;
    Descriptor reserving;
    Descriptor opened = OpenReplacement(native, nativeOriginal, nativeBackup, reserving);
    if (!opened.IsOpen()) return kInvalidHandle;
    OwnedObject file = MakeObject(std::move(opened), kGenericWrite);
    OwnedObject reserved = file ? MakeObject(std::move(reserving), 0) : nullptr;
    if (!reserved) return kInvalidHandle;
    *reservation = reserved.release();
    return file.release();
}

bool ReadFile(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    const OpenedFile* const object = FileFor(file, kGenericRead);
    if (object == nullptr) return false;
    return ReadAll(object->descriptor.Number(), buffer, size, done) || FailWithErrno(errno);
}

bool WriteFile(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    const OpenedFile* const object = FileFor(file, kGenericWrite);
    if (object == nullptr) return false;
    return WriteAll(object->descriptor.Number(), buffer, size, done) || FailWithErrno(errno);
}

bool GetFileSizeEx(Handle file, std::uint64_t* sizeBytes) {
    const OpenedFile* const object = FileFor(file, 0);
    if (object == nullptr) return false;
    struct stat status {};
    if (fstat(object->descriptor.Number(), &status) != 0) return FailWithErrno(errno);
    *sizeBytes = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool FlushFileBuffers(Handle file) {
    const OpenedFile* const object = FileFor(file, kGenericWrite);
    if (object == nullptr) return false;
    return SyncFile(object->descriptor.Number()) || FailWithErrno(errno);
}

}   // namespace platform
