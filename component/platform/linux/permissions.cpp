// Reads permissions by path and sets them on a new file: group, access control list or mode, then owner.

#include "permissions.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace platform {
namespace {

constexpr char kAccessListName[] = "system.posix_acl_access";
constexpr mode_t kPermissionBits = 0777;
constexpr mode_t kGroupBits = 0070;

/// True if `error` means that the file system doesn't support the attribute, or doesn't let this process set it.
bool IsNotStored(int error) { return error == EPERM || error == EOPNOTSUPP || error == ENOSYS; }

/// `mode` with no more rights for the group than for all others.
mode_t LimitGroup(mode_t mode) { return mode & (~kGroupBits | (mode << 3)); }

/// Removes the access control list that a new file inherits if its directory has a default list.
bool RemoveAccessList(int file) {
    return fremovexattr(file, kAccessListName) == 0 || errno == ENODATA || IsNotStored(errno);
}

}   // namespace

bool Permissions::Read(const NativePath& path) {
    return stat(path.Text(), &status) == 0 && (!S_ISREG(status.st_mode) || ReadAccessList(path));
}

bool Permissions::ReadAccessList(const NativePath& path) {
    const ssize_t size = getxattr(path.Text(), kAccessListName, nullptr, 0);
    if (size < 0) return errno == ENODATA || IsNotStored(errno);
    accessList.reset(new (std::nothrow) char[static_cast<std::size_t>(size)]);
    errno = ENOMEM;
    if (accessList == nullptr) return false;
    const ssize_t read = getxattr(path.Text(), kAccessListName, accessList.get(), static_cast<std::size_t>(size));
    accessListBytes = read < 0 ? 0 : static_cast<std::size_t>(read);
    return read >= 0;
}

bool Permissions::ApplyTo(int file) const {
    // The owner comes last: afterwards this process may no longer be allowed to set the mode.
    const bool hasGroup = fchown(file, static_cast<uid_t>(-1), status.st_gid) == 0;
    const bool hasList =
        hasGroup && accessListBytes > 0 && fsetxattr(file, kAccessListName, accessList.get(), accessListBytes, 0) == 0;
    if (!hasList) {
        const mode_t mode = status.st_mode & kPermissionBits;
        const bool isComplete = hasGroup && accessListBytes == 0;
        if (!RemoveAccessList(file)) return false;
        if (fchmod(file, isComplete ? mode : LimitGroup(mode)) != 0 && !IsNotStored(errno)) return false;
    }
    static_cast<void>(fchown(file, status.st_uid, static_cast<gid_t>(-1)));   // only root may change an owner
    return true;
}

}   // namespace platform
