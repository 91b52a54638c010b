// Copies a file under a random name first, so that the target's name never refers to an incomplete copy.

#include "copies.h"

#include "permissions.h"
#include "renames.h"
#include "sync.h"
#include "system_error.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

namespace platform {
namespace {

constexpr std::uint32_t kBufferBytes = 64 * 1024;

/// Replaces the last name of `path` with a random one.
bool MakeScratchName(NativePath& path) {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof(number), 0) != sizeof(number)) return FailWithErrno(errno);
    char name[32];
    const int lengthBytes = std::snprintf(name, sizeof(name), ".move-%016llx", static_cast<unsigned long long>(number));
    return path.ReplaceName({name, static_cast<std::size_t>(lengthBytes)});
}

/// Copies from one file's position to the other's up to the end. Returns false with `errno`. The buffer is on the heap:
/// the threads of a host may have small stacks.
bool CopyContents(int source, int target) {
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kBufferBytes]);
    errno = ENOMEM;
    if (buffer == nullptr) return false;
    for (;;) {
        std::uint32_t size = 0;
        std::uint32_t written = 0;
        if (!ReadAll(source, buffer.get(), kBufferBytes, &size)) return false;
        if (size == 0) return true;
        if (!WriteAll(target, buffer.get(), size, &written)) return false;
    }
}

/// Checks that a copy may replace `target`. If the target exists, `claimed` is open and excludes other openers.
bool ClaimCopyTarget(const NativePath& target, Descriptor& claimed) {
    claimed = OpenFile(target, {kShareWrite, 0, kOpenExisting, false, 0});
    return claimed.IsOpen() || GetLastError() == kErrorFileNotFound;
}

bool CheckNameIsFree(const NativePath& target) {
    struct stat status {};
    if (lstat(target.Text(), &status) == 0) return FailWith(kErrorFileExists);
    return errno == ENOENT || FailForPath(target, errno);
}

}   // namespace

bool CopyToName(const NativePath& source, const Descriptor& file, const NativePath& target, bool replaces) {
    NativePath scratch = target;
    Permissions permissions;
    if (!permissions.Read(source)) return FailForPath(source, errno);
    if (!MakeScratchName(scratch)) return false;
    const Descriptor copy = CreateNewFile(scratch, &permissions);
    if (!copy.IsOpen()) return false;
    if (!CopyContents(file.Number(), copy.Number()) || !SyncFile(copy.Number())) {
        FailWithErrno(errno);
    } else if (RenameEntry(scratch, target, replaces)) {
        return true;
    } else {
        FailForPath(target, errno);
    }
    unlink(scratch.Text());
    return false;
}

bool CopyFileW(const char16_t* source, const char16_t* target, bool failIfExists) {
    NativePath from;
    NativePath to;
    if (!from.Assign(source) || !to.Assign(target)) return false;
    const Descriptor original = OpenFile(from, {kShareRead, kAllShares, kOpenExisting, false, 0});
    if (!original.IsOpen()) return false;
    Descriptor replaced;
    if (failIfExists ? !CheckNameIsFree(to) : !ClaimCopyTarget(to, replaced)) return false;
    ParentDirectory directory;
    if (!directory.Open(to) || !CopyToName(from, original, to, replaced.IsOpen())) return false;
    if (directory.Sync()) return true;
    unlink(to.Text());   // a failed copy leaves no target
    return false;
}

}   // namespace platform
