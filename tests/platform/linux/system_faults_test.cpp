#include "support/linux/system_faults.h"

#include "platform/open_handle.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace platform_test;
using namespace testing_support;

constexpr std::uint32_t kRead = platform::kGenericRead;
constexpr std::uint32_t kWrite = platform::kGenericWrite;
constexpr std::uint32_t kForGood = platform::kMoveReplaceExisting | platform::kMoveWriteThrough;
constexpr std::uint32_t kSave = kForGood | platform::kMoveCopyAllowed;
constexpr int kAlways = testing_support::kAllFurtherCalls;

class SystemFaultsTest : public testing::Test {
protected:
    [[nodiscard]] std::u16string Path(std::u16string_view name) const { return folder.Path(name); }

    /// Every file with its content: "source=new target=old".
    [[nodiscard]] std::string Files() const {
        std::string text;
        for (const std::string& name : folder.List()) {
            text += (text.empty() ? "" : " ") + name + "=" + folder.Read(std::u16string(name.begin(), name.end()));
        }
        return text;
    }

    [[nodiscard]] bool Move(std::uint32_t flags) const {
        return platform::MoveFileExW(Path(u"source").c_str(), Path(u"target").c_str(), flags);
    }

    TemporaryFolder folder;
};

/// What is done to a folder with the two files; it gives an error.
using Work = std::uint32_t (*)(const TemporaryFolder& folder);

std::uint32_t ReadSource(const TemporaryFolder& folder) {
    const OpenHandle file(folder.Path(u"source"), kRead, 0, platform::kOpenExisting);
    if (file.Error() != 0) return file.Error();
    char bytes[8] = {};
    std::uint32_t done = 0;
    const std::uint32_t error = ErrorOf(platform::ReadFile(file.Get(), bytes, sizeof bytes, &done));
    EXPECT_TRUE(error != 0 || std::string_view(bytes, done) == "new");
    return error;
}

std::uint32_t WriteTarget(const TemporaryFolder& folder) {
    const OpenHandle file(folder.Path(u"target"), kWrite, 0, platform::kCreateAlways);
    if (file.Error() != 0) return file.Error();
    std::uint32_t done = 0;
    const std::uint32_t error = ErrorOf(platform::WriteFile(file.Get(), "newer", 5, &done));
    EXPECT_TRUE(error != 0 || done == 5);
    return error != 0 ? error : ErrorOf(platform::FlushFileBuffers(file.Get()));
}

std::uint32_t Copy(const TemporaryFolder& folder) {
    return ErrorOf(platform::CopyFileW(folder.Path(u"source").c_str(), folder.Path(u"copy").c_str(), true));
}

template <std::uint32_t flags>
std::uint32_t Move(const TemporaryFolder& folder) {
    return ErrorOf(platform::MoveFileExW(folder.Path(u"source").c_str(), folder.Path(u"target").c_str(), flags));
}

/// To a free name, by a path that looks like another folder's.
std::uint32_t MoveAside(const TemporaryFolder& folder) {
    const std::u16string target = folder.Path() + u"\\.\\free";
    return ErrorOf(platform::MoveFileExW(folder.Path(u"source").c_str(), target.c_str(), kSave));
}

std::uint32_t Remove(const TemporaryFolder& folder) {
    return ErrorOf(platform::DeleteFileW(folder.Path(u"source").c_str()));
}

struct SystemCase {
    const char* label;
    Work work;
    SystemFault fault;
    std::uint32_t error;
    const char* files = "source=new target=old";
};
constexpr SystemFault kNoProgress{SystemCall::Write, 0, 1, kAlways, 0};
constexpr char kMoved[] = "target=new";
constexpr char kAside[] = "free=new target=old";
constexpr char kCopied[] = "copy=new source=new target=old";
constexpr SystemCase kCases[] = {
    {"a read in pieces", &ReadSource, {SystemCall::Read, 0, 1, kAlways, 2}, 0},
    {"a read that a signal breaks", &ReadSource, {SystemCall::Read, EINTR, 1, 2}, 0},
    {"a read that fails", &ReadSource, {SystemCall::Read, EIO}, platform::kErrorIoDevice},
    {"a file system without range locks", &ReadSource, {SystemCall::QueryByteLock, EOPNOTSUPP, 1, kAlways}, 0},
    {"range locks without their lock service", &ReadSource, {SystemCall::QueryByteLock, ENOLCK, 1, kAlways}, 0},
    {"range locks that are refused", &ReadSource, {SystemCall::ByteLock, ENOLCK}, platform::kErrorNoSystemResources},
    {"a file system without flock", &ReadSource, {SystemCall::FileLock, ENOLCK, 1, kAlways}, 0},
    {"a lease", &ReadSource, {SystemCall::Open, EWOULDBLOCK}, platform::kErrorSharingViolation},
    {"a write in pieces", &WriteTarget, {SystemCall::Write, 0, 1, kAlways, 2}, 0, "source=new target=newer"},
    {"a write that a signal breaks", &WriteTarget, {SystemCall::Write, EINTR, 1, 2}, 0, "source=new target=newer"},
    {"a full disk", &WriteTarget, {SystemCall::Write, ENOSPC}, platform::kErrorDiskFull, "source=new target="},
    {"a write without progress", &WriteTarget, kNoProgress, platform::kErrorDiskFull, "source=new target="},
    {"a sync that a signal breaks", &WriteTarget, {SystemCall::Sync, EINTR, 1, 2}, 0, "source=new target=newer"},
    {"a file that can't be emptied", &WriteTarget, {SystemCall::Truncate, EIO}, platform::kErrorIoDevice},
    {"a copy without permissions", &Copy, {SystemCall::Permissions, EPERM}, 0, kCopied},
    {"a copy whose permissions fail", &Copy, {SystemCall::Permissions, EIO}, platform::kErrorIoDevice},
    {"a copy that breaks off", &Copy, {SystemCall::Write, ENOSPC}, platform::kErrorDiskFull},
    {"a copy without progress", &Copy, kNoProgress, platform::kErrorDiskFull},
    {"a copy to a name that is taken meanwhile", &Copy, {SystemCall::Rename, EEXIST}, platform::kErrorFileExists},
    {"a copy by hard link", &Copy, {SystemCall::Rename, ENOSYS}, 0, kCopied},
    {"a copy without locks", &Copy, {SystemCall::QueryByteLock, ENOLCK, 1, kAlways}, 0, kCopied},
    {"a copy that isn't on the disk", &Copy, {SystemCall::Sync, EIO}, platform::kErrorIoDevice},
    {"a copy whose name isn't there", &Copy, {SystemCall::Sync, EIO, 2}, platform::kErrorIoDevice},
    {"a move without descriptors", &Move<kSave>, {SystemCall::Open, EMFILE}, platform::kErrorTooManyOpenFiles},
    {"the same at the target", &Move<kSave>, {SystemCall::Open, EMFILE, 2}, platform::kErrorTooManyOpenFiles},
    {"a move in unreadable folders", &Move<kSave>, {SystemCall::Open, EACCES, 3, 2}, 0, kMoved},
    {"a move of what isn't on the disk", &Move<kSave>, {SystemCall::Sync, EIO}, platform::kErrorIoDevice},
    {"a move that only the folder loses", &Move<kSave>, {SystemCall::Sync, EIO, 2}, platform::kErrorIoDevice, kMoved},
    {"a folder without a sync", &Move<kSave>, {SystemCall::Sync, EINVAL, 2, 2}, 0, kMoved},
    {"a move that the other folder loses", &MoveAside, {SystemCall::Sync, EIO, 3}, platform::kErrorIoDevice, kAside},
    {"no rename to free names alone", &MoveAside, {SystemCall::Rename, EINVAL}, 0, kAside},
    {"no hard links either", &MoveAside, {SystemCall::Rename, EINVAL, 1, 2}, 0, kAside},
    {"a mount point", &Move<kSave>, {SystemCall::Rename, EBUSY}, platform::kErrorNotSupported},
    {"a move without locks", &Move<kSave>, {SystemCall::QueryByteLock, ENOLCK, 1, kAlways}, 0, kMoved},
    {"a name that is taken meanwhile", &MoveAside, {SystemCall::Rename, EEXIST}, platform::kErrorAccessDenied},
    {"another volume", &Move<kSave>, {SystemCall::Rename, EXDEV}, 0, kMoved},
    {"another volume without leave", &Move<kForGood>, {SystemCall::Rename, EXDEV}, platform::kErrorNotSameDevice},
    {"another volume that is full", &Move<kSave>, {SystemCall::Rename, EXDEV, 1, 2}, platform::kErrorNotSameDevice},
    {"a removal without descriptors", &Remove, {SystemCall::Open, EMFILE}, platform::kErrorTooManyOpenFiles},
    {"a removal of what mustn't be read", &Remove, {SystemCall::Open, EACCES, 1, 2}, 0, "target=old"},
};

TEST_F(SystemFaultsTest, EachFailureHasItsErrorAndLeavesNothingHalfDone) {
    for (const SystemCase& row : kCases) {
        SCOPED_TRACE(row.label);
        folder.Write(u"source", "new");
        folder.Write(u"target", "old");
        {
            const SystemFaults faults(row.fault);
            EXPECT_EQ(row.work(folder), row.error);
            EXPECT_GT(faults.Failed(), 0);
        }
        EXPECT_EQ(Files(), row.files);
        for (const char16_t* name : {u"source", u"target", u"copy", u"free"}) {
            static_cast<void>(platform::DeleteFileW(Path(name).c_str()));   // a row's loss goes with its file
        }
    }
}

TEST_F(SystemFaultsTest, WhatTheDiskLostStaysLostUntilItIsWrittenAnew) {
    folder.Write(u"target", "old");
    for (const bool removes : {false, true}) {
        {
            const OpenHandle file(Path(u"source"), kWrite, kShareAll, platform::kCreateAlways);
            const SystemFaults faults({SystemCall::Sync, EIO});   // the system tells once
            EXPECT_EQ(ErrorOf(platform::FlushFileBuffers(file.Get())), platform::kErrorIoDevice);
            EXPECT_EQ(ErrorOf(platform::FlushFileBuffers(file.Get())), platform::kErrorIoDevice);
        }
        EXPECT_EQ(ErrorOf(Move(kSave)), platform::kErrorIoDevice);
        EXPECT_EQ(folder.Read(u"target"), "old");
        if (removes) {
            EXPECT_TRUE(platform::DeleteFileW(Path(u"source").c_str()));
            folder.Write(u"source", "new");   // most likely in the place of the one before
        } else {
            EXPECT_EQ(OpenHandle(Path(u"source"), kWrite, 0, platform::kCreateAlways).Error(), 0U);
        }
        EXPECT_EQ(ErrorOf(Move(kSave)), 0U);
        folder.Write(u"target", "old");
    }
}

}   // namespace
