#include "copies.h"

#include "permissions.h"
#include "renames.h"
#include "sync.h"
#include "system_error.h"

#include <component/platform/files.h>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

namespace platform {
namespace {

constexpr std::uint32_t kAllShares = kShareRead | kShareWrite | kShareDelete;
constexpr std::uint32_t kBlockBytes = 64 * 1024;

/// Replaces the last component of `path` with a random name.
bool MakeScratchName(NativePath& path) {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof(number), 0) != sizeof(number)) return FailWithErrno(errno);
    char name[32];
    const int lengthBytes = std::snprintf(name, sizeof(name), ".move-%016llx", static_cast<unsigned long long>(number));
    return path.ReplaceName({name, static_cast<std::size_t>(lengthBytes)});
}

/// Copies from one file's position to the other's up to the end. Returns false with `errno`. The block is on the heap:
/// the threads of a host may have small stacks.
bool CopyContents(int source, int target) {
    const std::unique_ptr<char[]> block(new (std::nothrow) char[kBlockBytes]);
    errno = ENOMEM;
    if (block == nullptr) return false;
    for (;;) {
        std::uint32_t size = 0;
        std::uint32_t written = 0;
        if (!ReadAll(source, block.get(), kBlockBytes, &size)) return false;
        if (size == 0) return true;
        if (!WriteAll(target, block.get(), size, &written)) return false;
    }
}

/// Checks that a copy may replace `target`, and keeps other openers from it while `claimed` is open.
bool ClaimCopyTarget(const NativePath& target, Descriptor& claimed) {
    claimed = OpenFile(target, {kShareWrite, 0, kOpenExisting, false, 0});
    return claimed.IsOpen() || GetLastError() == kErrorFileNotFound;
}

bool CheckNameIsFree(const NativePath& target) {
    struct stat status {};
    if (lstat(target.Text(), &status) == 0) return FailWith(kErrorFileExists);
    return errno == ENOENT || FailAt(target, errno);
}

}   // namespace

bool MakeCopyBeside(const NativePath& target, const NativePath& from, const Descriptor& source, NativePath& scratch) {
    scratch = target;
    Permissions permissions;
    if (!permissions.Read(from)) return FailAt(from, errno);
    if (!MakeScratchName(scratch)) return false;
    const Descriptor copy = CreateNewFile(scratch, &permissions);
    if (!copy.IsOpen()) return false;
    if (CopyContents(source.Number(), copy.Number()) && SyncFile(copy.Number())) return true;
    FailWithErrno(errno);
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
    NativePath scratch;
    if (!directory.Open(to) || !MakeCopyBeside(to, from, original, scratch)) return false;
    if (!RenameEntry(scratch, to, replaced.IsOpen())) {
        FailAt(to, errno);
        unlink(scratch.Text());
        return false;
    }
    if (directory.Sync()) return true;
    unlink(to.Text());   // a failed copy leaves no target
    return false;
}

}   // namespace platform
