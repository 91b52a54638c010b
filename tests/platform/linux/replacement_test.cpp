#include "platform/open_handle.h"
#include "support/linux/system_faults.h"
#include "support/small_stack.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

using namespace platform_test;
using namespace testing_support;

constexpr std::uint32_t kSave =
    platform::kMoveReplaceExisting | platform::kMoveCopyAllowed | platform::kMoveWriteThrough;
constexpr int kAlways = testing_support::kAllFurtherCalls;
constexpr char kList[] = "system.posix_acl_access";
constexpr char kDefaultList[] = "system.posix_acl_default";
constexpr uid_t kOtherUser = 4711;
constexpr gid_t kOtherGroup = 4712;

/// An access control list as the file system stores it: version 2, then tag, rights and number of each entry. Owner rw,
/// user 4713 r, group nothing, mask r, others nothing: `stat` shows the mode 0640.
constexpr std::uint16_t kAccessList[] = {2, 0,      0x01,   6,    0xFFFF, 0xFFFF, 0x02,   4,    4713, 0,      0x04,
                                         0, 0xFFFF, 0xFFFF, 0x10, 4,      0xFFFF, 0xFFFF, 0x20, 0,    0xFFFF, 0xFFFF};

class ReplacementTest : public testing::Test {
protected:
    ~ReplacementTest() override { Close(); }

    [[nodiscard]] std::u16string Path(std::u16string_view name) const { return folder.Path(name); }
    [[nodiscard]] std::string Native(std::u16string_view name) const { return folder.Native(name).string(); }

    std::uint32_t Create() {
        Close();
        file = platform::CreateReplacementFile(Path(u"tmp").c_str(), Path(u"doc").c_str(), Path(u"bak2").c_str(),
                                               &reservation);
        return ErrorOf(file != platform::kInvalidHandle);
    }
    void CloseFile() {
        if (file != platform::kInvalidHandle) platform::CloseHandle(file);
        file = platform::kInvalidHandle;
    }
    void Close() {
        CloseFile();
        if (reservation != platform::kInvalidHandle) platform::CloseHandle(reservation);
        reservation = platform::kInvalidHandle;
    }

    /// Type, mode, owner and group, number of names and size of the access control list: "100640 0:0 1 0".
    [[nodiscard]] std::string Attributes(std::u16string_view name) const {
        struct stat status {};
        if (lstat(Native(name).c_str(), &status) != 0) return "missing";
        const ssize_t list = getxattr(Native(name).c_str(), kList, nullptr, 0);
        char text[80];
        std::snprintf(text, sizeof text, "%o %u:%u %u %zd", status.st_mode, status.st_uid, status.st_gid,
                      static_cast<unsigned>(status.st_nlink), list < 0 ? 0 : list);
        return text;
    }

    TemporaryFolder folder;
    platform::Handle file = platform::kInvalidHandle;
    platform::Handle reservation = platform::kInvalidHandle;
};

struct PlantedCase {
    const char* label;
    void (*plant)(const char* name, const char* victim);
    std::uint32_t error = 0;
};
const PlantedCase kPlanted[] = {
    {"nothing", [](const char*, const char*) {}},
    {"a symbolic link", [](const char* name, const char* victim) { ASSERT_EQ(symlink(victim, name), 0); }},
    {"a hard link", [](const char* name, const char* victim) { ASSERT_EQ(link(victim, name), 0); }},
    {"a dangling link", [](const char* name, const char*) { ASSERT_EQ(symlink("none", name), 0); }},
    {"a FIFO", [](const char* name, const char*) { ASSERT_EQ(mkfifo(name, 0666), 0); }},
    {"a file that anyone may write",
     [](const char* name, const char*) {
         std::ofstream(name) << "planted";
         ASSERT_EQ(chmod(name, 0666), 0);
         if (geteuid() == 0) {
             ASSERT_EQ(chown(name, kOtherUser, kOtherGroup), 0);
         }
     }},
    {"a read-only file",
     [](const char* name, const char*) {
         std::ofstream(name) << "old";
         ASSERT_EQ(chmod(name, 0444), 0);
     }},
    {"a directory", [](const char* name, const char*) { ASSERT_EQ(mkdir(name, 0777), 0); },
     platform::kErrorAccessDenied},
};

TEST_F(ReplacementTest, WhateverHasTheTemporaryNameIsRemovedAndNeverWritten) {
    for (const PlantedCase& row : kPlanted) {
        SCOPED_TRACE(row.label);
        folder.Write(u"doc", "old");
        ASSERT_EQ(chmod(Native(u"doc").c_str(), 0640), 0);
        folder.Write(u"victim", "victim");
        row.plant(Native(u"tmp").c_str(), Native(u"victim").c_str());
        EXPECT_EQ(Create(), row.error);
        if (row.error == 0) {
            EXPECT_EQ(Attributes(u"tmp"), Attributes(u"doc"));
            std::uint32_t done = 0;
            EXPECT_TRUE(platform::WriteFile(file, "new", 3, &done));
            EXPECT_EQ(folder.Read(u"tmp"), "new");
        }
        EXPECT_EQ(folder.Read(u"victim"), "victim");
        EXPECT_EQ(folder.Read(u"doc"), "old");
        EXPECT_FALSE(folder.Exists(u"none"));
        Close();
        std::filesystem::remove(Native(u"tmp"));
    }
}

struct OriginalCase {
    const char* label;
    mode_t mode;   // of the original as `mknod` takes it; 0 for none
    std::uint32_t error = 0;
};
constexpr OriginalCase kOriginals[] = {
    {"of its owner alone", S_IFREG | 0600},
    {"of a group", S_IFREG | 0660},
    {"of everybody", S_IFREG | 0666},
    {"read-only", S_IFREG | 0444},
    {"a FIFO", S_IFIFO | 0600, platform::kErrorNotSupported},
    {"a socket", S_IFSOCK | 0600, platform::kErrorNotSupported},
    {"a device", S_IFCHR | 0600, platform::kErrorNotSupported},
    {"a directory", S_IFDIR | 0700, platform::kErrorAccessDenied},
};

TEST_F(ReplacementTest, TheNewFileAndItsCopyHavePermissionsOfTheOriginal) {
    const std::string path = Native(u"doc");
    for (const OriginalCase& row : kOriginals) {
        if (S_ISCHR(row.mode) && geteuid() != 0) continue;   // only root may make one
        SCOPED_TRACE(row.label);
        ASSERT_EQ(S_ISDIR(row.mode) ? mkdir(path.c_str(), 0) : mknod(path.c_str(), row.mode, makedev(1, 3)), 0);
        if (geteuid() == 0) {
            ASSERT_EQ(chown(path.c_str(), kOtherUser, kOtherGroup), 0);
        }
        ASSERT_EQ(chmod(path.c_str(), row.mode & 0777), 0);
        const std::string original = Attributes(u"doc");
        EXPECT_EQ(Create(), row.error);
        EXPECT_EQ(Attributes(u"tmp"), row.error == 0 ? original : "missing");
        CloseFile();
        if (row.error == 0) {
            EXPECT_TRUE(platform::CopyFileW(Path(u"tmp").c_str(), Path(u"copy").c_str(), true));
            EXPECT_EQ(Attributes(u"copy"), original);
        } else {
            // Neither moved away nor replaced, whatever the type; a directory may be moved.
            folder.Write(u"tmp", "new");
            const auto move = [this](const char16_t* from, const char16_t* to) {
                return ErrorOf(platform::MoveFileExW(Path(from).c_str(), Path(to).c_str(), kSave));
            };
            EXPECT_EQ(move(u"tmp", u"doc"), row.error);
            EXPECT_EQ(move(u"doc", u"bak2"), S_ISDIR(row.mode) ? 0 : row.error);
            EXPECT_EQ(Attributes(S_ISDIR(row.mode) ? u"bak2" : u"doc"), original);
            EXPECT_EQ(OpenHandle(Path(u"doc"), platform::kGenericRead, 0, platform::kOpenExisting).Error(),
                      S_ISDIR(row.mode) ? platform::kErrorFileNotFound : row.error);
        }
        for (const auto& entry : std::filesystem::directory_iterator(folder.Folder())) std::filesystem::remove(entry);
    }
}

TEST_F(ReplacementTest, AFirstFileHasThePermissionsOfAnyNewFile) {
    folder.Write(u"new", "");
    EXPECT_EQ(Create(), 0U);
    EXPECT_EQ(Attributes(u"tmp"), Attributes(u"new"));
    // A document that was moved aside counts, and so does one behind a link.
    folder.Write(u"bak2", "old");
    ASSERT_EQ(chmod(Native(u"bak2").c_str(), 0600), 0);
    EXPECT_EQ(Create(), 0U);
    EXPECT_EQ(Attributes(u"tmp"), Attributes(u"bak2"));
    folder.Write(u"target", "old");
    ASSERT_EQ(chmod(Native(u"target").c_str(), 0606), 0);
    ASSERT_EQ(symlink("target", Native(u"doc").c_str()), 0);
    EXPECT_EQ(Create(), 0U);
    EXPECT_EQ(Attributes(u"tmp"), Attributes(u"target"));
}

TEST_F(ReplacementTest, AccessControlListsArePassedOnAndNotInvented) {
    folder.Write(u"doc", "old");
    if (setxattr(Native(u"doc").c_str(), kList, kAccessList, sizeof kAccessList, 0) != 0) {
        GTEST_SKIP() << "this file system stores no access control lists";
    }
    EXPECT_EQ(Create(), 0U);
    EXPECT_EQ(Attributes(u"tmp"), Attributes(u"doc"));
    CloseFile();
    EXPECT_TRUE(platform::CopyFileW(Path(u"tmp").c_str(), Path(u"copy").c_str(), true));
    EXPECT_EQ(Attributes(u"copy"), Attributes(u"doc"));
    // The directory gives every new file a list, which would let another user read what the original kept from him.
    ASSERT_EQ(removexattr(Native(u"doc").c_str(), kList), 0);
    ASSERT_EQ(chmod(Native(u"doc").c_str(), 0640), 0);
    ASSERT_EQ(setxattr(folder.Folder().c_str(), kDefaultList, kAccessList, sizeof kAccessList, 0), 0);
    EXPECT_EQ(Create(), 0U);
    EXPECT_EQ(Attributes(u"tmp"), Attributes(u"doc"));
}

struct LimitedCase {
    const char* label;
    SystemFault fault;
    bool hasList;   // else the original has the mode 0664
    mode_t mode;
    std::uint32_t error = 0;
};
constexpr LimitedCase kLimited[] = {
    {"all of it", {SystemCall::Owner, EPERM, kAlways}, false, 0664},
    {"not the group", {SystemCall::Owner, EPERM, 1, kAlways}, false, 0644},
    {"not the group of a list", {SystemCall::Owner, EPERM, 1, kAlways}, true, 0600},
    {"not the list", {SystemCall::AccessList, EOPNOTSUPP}, true, 0600},
    {"not the mode", {SystemCall::Permissions, EPERM}, false, 0600},
    {"a disk that fails", {SystemCall::Permissions, EIO}, false, 0, platform::kErrorIoDevice},
};

TEST_F(ReplacementTest, WhatCantBePassedOnOnlyTakesRightsAway) {
    for (const LimitedCase& row : kLimited) {
        SCOPED_TRACE(row.label);
        folder.Write(u"doc", "old");
        ASSERT_EQ(chmod(Native(u"doc").c_str(), 0664), 0);
        if (row.hasList && setxattr(Native(u"doc").c_str(), kList, kAccessList, sizeof kAccessList, 0) != 0) continue;
        {
            const SystemFaults faults(row.fault);
            EXPECT_EQ(Create(), row.error);
        }
        struct stat status {};
        EXPECT_EQ(stat(Native(u"tmp").c_str(), &status) == 0 ? status.st_mode & 0777U : 0U, row.mode);
        EXPECT_LT(getxattr(Native(u"tmp").c_str(), kList, nullptr, 0), 0);
        Close();
        std::filesystem::remove(Native(u"doc"));
    }
}

TEST_F(ReplacementTest, TheNameStaysReservedUntilTheReservationIsClosed) {
    folder.Write(u"doc", "old");
    const auto createInChild = [this] {
        platform::Handle other = platform::kInvalidHandle;
        const platform::Handle own =
            platform::CreateReplacementFile(Path(u"tmp").c_str(), Path(u"doc").c_str(), Path(u"bak2").c_str(), &other);
        std::_Exit(static_cast<int>(ErrorOf(own != platform::kInvalidHandle)));
    };
    const auto refused = testing::ExitedWithCode(platform::kErrorSharingViolation);
    std::uint32_t done = 0;
    ASSERT_EQ(Create(), 0U);
    ASSERT_TRUE(platform::WriteFile(file, "new", 3, &done));
    EXPECT_EXIT(createInChild(), refused, "") << "while it is open";
    CloseFile();
    EXPECT_EXIT(createInChild(), refused, "") << "until it is moved";
    EXPECT_EQ(folder.Read(u"tmp"), "new");
    EXPECT_TRUE(platform::CopyFileW(Path(u"tmp").c_str(), Path(u"bak").c_str(), true));
    EXPECT_TRUE(platform::MoveFileExW(Path(u"tmp").c_str(), Path(u"doc").c_str(), kSave));
    EXPECT_EQ(OpenHandle(Path(u"doc"), platform::kGenericRead, 0, platform::kOpenExisting).Error(), 0U);
    EXPECT_EXIT(createInChild(), testing::ExitedWithCode(0), "") << "the name is free again";
    ASSERT_EQ(Create(), 0U) << "the child's reservation ended with it";
    CloseFile();
    Close();
    EXPECT_EXIT(createInChild(), testing::ExitedWithCode(0), "");
}

TEST_F(ReplacementTest, CopiesAndMovesNeedLittleStack) {
    folder.Write(u"doc", std::string(200'000, 'd'));
    testing_support::RunOnSmallStack(
        [this] {
            EXPECT_EQ(Create(), 0U);
            CloseFile();
            EXPECT_TRUE(platform::CopyFileW(Path(u"doc").c_str(), Path(u"bak").c_str(), true));
            EXPECT_TRUE(platform::MoveFileExW(Path(u"tmp").c_str(), Path(u"doc").c_str(), kSave));
        },
        48 * 1024);
}

}   // namespace
