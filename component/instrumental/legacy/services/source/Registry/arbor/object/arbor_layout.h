/// Offsets of an object's fields from the end of the header, for the host's property table. On the 32-bit target they
/// are fixed numbers: a moved field breaks the build here instead of a host at run time.
#pragma once

#include "object/arbor.h"

#include <cstddef>

namespace arbor::module {

// `Arbor` isn't a standard-layout class, for which `offsetof` is optional. The compilers used here support it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

struct ArborLayout {
    static constexpr std::size_t kHeaderBytes = sizeof(HostObjectHeader);
    static constexpr std::size_t kTree = offsetof(Arbor, tree) - kHeaderBytes;
    static constexpr std::size_t kReadOnly = offsetof(Arbor, ReadOnly) - kHeaderBytes;
    static constexpr std::size_t kOption1002 = offsetof(Arbor, Option1002) - kHeaderBytes;
    static constexpr std::size_t kOption1003 = offsetof(Arbor, Option1003) - kHeaderBytes;
    static constexpr std::size_t kSaveOnClose = offsetof(Arbor, SaveOnClose) - kHeaderBytes;
    static constexpr std::size_t kName = offsetof(Arbor, Name) - kHeaderBytes;
    static constexpr std::size_t kPendingRootPath = offsetof(Arbor, PendingRootPath) - kHeaderBytes;
    static constexpr std::size_t kOpenFlags = offsetof(Arbor, OpenFlags) - kHeaderBytes;
    static constexpr std::size_t kIoObject = offsetof(Arbor, IoObject) - kHeaderBytes;
    static constexpr std::size_t kSynchronised = offsetof(Arbor, Synchronised) - kHeaderBytes;
    static constexpr std::size_t kBackupMode = offsetof(Arbor, BackupMode) - kHeaderBytes;
    static constexpr std::size_t kLock = offsetof(Arbor, lock) - kHeaderBytes;
    static constexpr std::size_t kDirty = offsetof(Arbor, Dirty) - kHeaderBytes;
    static constexpr std::size_t kDataAreaBytes = sizeof(Arbor) - kHeaderBytes;

    /// True if every offset has its fixed number; always true on other targets.
    static constexpr bool HasFixedLayout() {
        if (sizeof(HostWord) != 4) return true;
        return kTree == 0x00 && kReadOnly == 0x0C && kOption1002 == 0x10 && kOption1003 == 0x14 &&
               kSaveOnClose == 0x18 && kName == 0x1C && kPendingRootPath == 0x3C && kOpenFlags == 0x40 &&
               kIoObject == 0x44 && kSynchronised == 0x48 && kBackupMode == 0x4C && kLock == 0x50 && kDirty == 0x80 &&
               kDataAreaBytes == 0x84 && sizeof(Arbor) == 144;
    }

    static constexpr bool LockHasFixedLayout() {
        if (sizeof(HostWord) != 4) return true;
        return offsetof(ReadersWriterLock, section) == 0 && offsetof(ReadersWriterLock, readersGate) == 24 &&
               offsetof(ReadersWriterLock, writersGate) == 28 && offsetof(ReadersWriterLock, readersWaiting) == 32 &&
               offsetof(ReadersWriterLock, writersWaiting) == 36 && offsetof(ReadersWriterLock, active) == 40 &&
               sizeof(ReadersWriterLock) == 44;
    }
};

#pragma GCC diagnostic pop

static_assert(sizeof(HostObjectHeader) == 3 * sizeof(HostWord));
static_assert(ArborLayout::HasFixedLayout(), "the host allocates and reads exactly this layout");
static_assert(ArborLayout::LockHasFixedLayout());

}   // namespace arbor::module
