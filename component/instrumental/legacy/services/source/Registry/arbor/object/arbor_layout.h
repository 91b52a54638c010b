/// Where the host finds an object's fields: offsets from the end of the header, as the property table gives them. On
/// the 32-bit target they are fixed numbers, and a moved field fails the build and not the host.
#pragma once

#include "object/arbor.h"

#include <cstddef>

namespace arbor::module {

// The class has a base with fields, for which the language leaves `offsetof` to the compiler; ours has it.
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

    /// True off the 32-bit target, and on it if every place is the one that the host was built for.
    static constexpr bool HoldsOnTarget() {
        if (sizeof(HostWord) != 4) return true;
        return kTree == 0x00 && kReadOnly == 0x0C && kOption1002 == 0x10 && kOption1003 == 0x14 &&
               kSaveOnClose == 0x18 && kName == 0x1C && kPendingRootPath == 0x3C && kOpenFlags == 0x40 &&
               kIoObject == 0x44 && kSynchronised == 0x48 && kBackupMode == 0x4C && kLock == 0x50 && kDirty == 0x80 &&
               kDataAreaBytes == 0x84 && sizeof(Arbor) == 144;
    }

    // The record of the lock, in the order that a debugger's script reads it.
    static constexpr bool LockHoldsOnTarget() {
        if (sizeof(HostWord) != 4) return true;
        return offsetof(ReadersWriterLock, section) == 0 && offsetof(ReadersWriterLock, readersGate) == 24 &&
               offsetof(ReadersWriterLock, writersGate) == 28 && offsetof(ReadersWriterLock, readersWaiting) == 32 &&
               offsetof(ReadersWriterLock, writersWaiting) == 36 && offsetof(ReadersWriterLock, active) == 40 &&
               sizeof(ReadersWriterLock) == 44;
    }
};

#pragma GCC diagnostic pop

static_assert(sizeof(HostObjectHeader) == 3 * sizeof(HostWord));
static_assert(ArborLayout::HoldsOnTarget(), "the host takes exactly these bytes");
static_assert(ArborLayout::LockHoldsOnTarget());

}   // namespace arbor::module
