#include <component/platform/files.h>

#include "open_file.h"
#include "sync.h"
#include "system_error.h"
#include "system_object.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace platform {
namespace {

struct AccessRow {
    std::uint32_t access;
    std::uint32_t right;
};

constexpr AccessRow kAccessRights[] = {
    {kGenericRead, kShareRead},
    {kGenericExecute, kShareRead},
    {kGenericWrite, kShareWrite},
    {kAccessDelete, kShareDelete},
};

std::uint32_t RightsOf(std::uint32_t access) {
    std::uint32_t rights = 0;
    for (const AccessRow& row : kAccessRights) {
        if ((access & row.access) != 0) rights |= row.right;
    }
    return rights;
}

class OpenedFile final : public SystemObject {
public:
    static constexpr ObjectKind kKind = ObjectKind::File;

    OpenedFile(Descriptor opened, std::uint32_t access)
        : SystemObject(kKind), descriptor(std::move(opened)), granted(access) {}

    const Descriptor descriptor;
    const std::uint32_t granted;
};

/// The file of a handle that was opened with the access, or null with the error.
OpenedFile* FileFor(Handle handle, std::uint32_t access) {
    OpenedFile* const file = ObjectOf<OpenedFile>(handle);
    if (file == nullptr || (file->granted & access) == access) return file;
    SetLastError(kErrorAccessDenied);
    return nullptr;
}

/// Repeats `call`, which gets how many bytes are behind and how many are left, until all are moved, no more come or one
/// fails. The system moves fewer where a signal comes in between, and never more than 2 GiB at once.
template <class Call>
bool MoveAll(std::uint32_t size, std::uint32_t* done, Call call) {
    *done = 0;
    while (*done < size) {
        const ssize_t moved = call(*done, size - *done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0) return FailWithErrno(errno);
        if (moved == 0) break;
        *done += static_cast<std::uint32_t>(moved);
    }
    return true;
}

bool IsValidCreation(std::uint32_t creation, std::uint32_t access) {
    if (creation < kCreateNew || creation > kTruncateExisting) return false;
    return creation != kTruncateExisting || (access & kGenericWrite) != 0;
}

}   // namespace

Handle CreateFileW(const char16_t* path, std::uint32_t access, std::uint32_t share,
                   const SecurityAttributes* /*security*/, std::uint32_t creation, std::uint32_t flags,
                   Handle /*pattern*/) {
    if (!IsValidCreation(creation, access)) {
        SetLastError(kErrorInvalidParameter);
        return kInvalidHandle;
    }
    NativePath native;
    if (!native.Assign(path)) return kInvalidHandle;
    const bool takesFolders = (flags & kFlagBackupSemantics) != 0;
    const mode_t newMode = (flags & kAttributeReadOnly) != 0 ? kNewFileMode & ~kWriteBits : kNewFileMode;
    Descriptor descriptor = OpenFile(native, {RightsOf(access), share, creation, takesFolders, newMode});
    if (!descriptor.IsOpen()) return kInvalidHandle;
    SystemObject* const file = new (std::nothrow) OpenedFile(std::move(descriptor), access);
    if (file != nullptr) return file;
    SetLastError(kErrorNotEnoughMemory);
    return kInvalidHandle;
}

bool ReadFile(Handle file, void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    const OpenedFile* const object = FileFor(file, kGenericRead);
    if (object == nullptr) return false;
    return MoveAll(size, done, [&](std::uint32_t behind, std::uint32_t left) {
        return read(object->descriptor.Number(), static_cast<char*>(buffer) + behind, left);
    });
}

bool WriteFile(Handle file, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    *done = 0;
    const OpenedFile* const object = FileFor(file, kGenericWrite);
    if (object == nullptr) return false;
    return MoveAll(size, done, [&](std::uint32_t behind, std::uint32_t left) {
        return write(object->descriptor.Number(), static_cast<const char*>(buffer) + behind, left);
    });
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
