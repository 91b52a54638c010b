#include <component/platform/files.h>

#include "open_handle.h"
#include "support/temporary_folder.h"

#include <component/platform/threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace {

using namespace platform_test;
using namespace testing_support;

constexpr std::uint32_t kRead = platform::kGenericRead;
constexpr std::uint32_t kWrite = platform::kGenericWrite;

class FilesTest : public testing::Test {
protected:
    TemporaryFolder folder;
};

struct Access {
    std::uint32_t access;
    std::uint32_t rights;   // as bits of sharing
};

constexpr Access kAccesses[] = {
    {kRead, platform::kShareRead},
    {kWrite, platform::kShareWrite},
    {kRead | kWrite, platform::kShareRead | platform::kShareWrite},
    {platform::kAccessDelete, platform::kShareDelete},
};

TEST_F(FilesTest, SecondOpenerGetsInIfEachSharesWhatTheOtherUses) {
    folder.Write(u"a", "content");
    const std::u16string path = folder.Path(u"a");
    for (const Access& first : kAccesses) {
        for (std::uint32_t firstShare = 0; firstShare <= kShareAll; ++firstShare) {
            const OpenHandle held(path, first.access, firstShare, platform::kOpenExisting);
            ASSERT_EQ(held.Error(), 0U);
            for (const Access& second : kAccesses) {
                for (std::uint32_t share = 0; share <= kShareAll; ++share) {
                    const bool getsIn = (second.rights & ~firstShare) == 0 && (first.rights & ~share) == 0;
                    const OpenHandle other(path, second.access, share, platform::kOpenExisting);
                    EXPECT_EQ(other.Error(), getsIn ? 0 : platform::kErrorSharingViolation)
                        << first.rights << '/' << firstShare << " then " << second.rights << '/' << share;
                }
            }
        }
    }
}

struct CreationCase {
    std::uint32_t creation;
    std::uint32_t access;
    std::uint32_t errorOverExisting;
    std::string_view existingAfter;
    std::uint32_t errorOverNothing;
    Scope scope = Scope::Everywhere;
};

constexpr CreationCase kCreations[] = {
    {platform::kCreateNew, kWrite, platform::kErrorFileExists, "content", 0},
    {platform::kCreateAlways, kWrite, 0, "", 0},
    {platform::kCreateAlways, kRead, 0, "", 0},
    {platform::kOpenExisting, kWrite, 0, "content", platform::kErrorFileNotFound},
    {platform::kOpenAlways, kRead, 0, "content", 0},
    {platform::kTruncateExisting, kWrite, 0, "", platform::kErrorFileNotFound},
    {platform::kTruncateExisting, kRead, platform::kErrorInvalidParameter, "content", platform::kErrorInvalidParameter,
     Scope::OursOnly},
    {0, kWrite, platform::kErrorInvalidParameter, "content", platform::kErrorInvalidParameter},
    {6, kWrite, platform::kErrorInvalidParameter, "content", platform::kErrorInvalidParameter},
};

TEST_F(FilesTest, CreationSaysWhatHappensToTheFile) {
    for (const CreationCase& row : kCreations) {
        if (IsLeftOut(row.scope)) continue;
        SCOPED_TRACE(row.creation);
        folder.Write(u"there", "content");
        EXPECT_EQ(OpenHandle(folder.Path(u"there"), row.access, 0, row.creation).Error(), row.errorOverExisting);
        EXPECT_EQ(folder.Read(u"there"), row.existingAfter);
        EXPECT_EQ(OpenHandle(folder.Path(u"new"), row.access, 0, row.creation).Error(), row.errorOverNothing);
        EXPECT_EQ(folder.Exists(u"new"), row.errorOverNothing == 0);
        std::filesystem::remove(folder.Native(u"new"));
    }
}

TEST_F(FilesTest, RefusedOpenerDoesntEmptyTheFile) {
    folder.Write(u"a", "content");
    const std::u16string path = folder.Path(u"a");
    // A reader that shares reading alone stands against the emptying too, though the second one only reads.
    const OpenHandle held(path, kRead, platform::kShareRead, platform::kOpenExisting);
    EXPECT_EQ(OpenHandle(path, kWrite, kShareAll, platform::kCreateAlways).Error(), platform::kErrorSharingViolation);
    if (kLayerIsOurs) {
        EXPECT_EQ(OpenHandle(path, kRead, kShareAll, platform::kCreateAlways).Error(),
                  platform::kErrorSharingViolation);
    }
    EXPECT_EQ(folder.Read(u"a"), "content");
}

TEST_F(FilesTest, SharingHoldsBetweenProcessesAndEndsWithThem) {
    if (!kLayerIsOurs) GTEST_SKIP() << "the system's own affair here";
    folder.Write(u"a", "content");
    const std::u16string path = folder.Path(u"a");
    OpenHandle held(path, kRead, 0, platform::kOpenExisting);
    const auto openInChild = [&path] {
        const OpenHandle own(path, kRead, 0, platform::kOpenExisting);
        std::_Exit(static_cast<int>(own.Error()));   // as a killed process would end: nothing is closed by hand
    };
    EXPECT_EXIT(openInChild(), testing::ExitedWithCode(platform::kErrorSharingViolation), "");
    held.Close();
    EXPECT_EXIT(openInChild(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(OpenHandle(path, kRead, 0, platform::kOpenExisting).Error(), 0U);
}

TEST_F(FilesTest, OfRacingOpenersOneIsInside) {
    constexpr int kThreads = 4;
    constexpr int kEntries = 400;
    const std::u16string path = folder.Path(u"a");
    std::atomic<int> inside = 0;
    std::atomic<int> entries = 0;
    std::atomic<bool> failed = false;
    const auto race = [&] {
        while (entries < kEntries) {   // it ends, since somebody always gets in
            OpenHandle own(path, kWrite, 0, platform::kCreateAlways);
            if (own.Error() == 0) {
                const int entry = ++entries;
                if (++inside != 1) failed = true;
                std::this_thread::yield();
                --inside;
                own.Close();
                // A name that goes or gets another file meanwhile must not let two in either.
                if (entry % 3 == 0) static_cast<void>(platform::DeleteFileW(path.c_str()));
            } else if (own.Error() != platform::kErrorSharingViolation && own.Error() != platform::kErrorAccessDenied) {
                ADD_FAILURE() << own.Error();   // 5 is what Windows says of a file whose deletion is under way
            }
        }
    };
    std::vector<std::jthread> threads;
    for (int count = 0; count < kThreads; ++count) threads.emplace_back(race);
    threads.clear();
    EXPECT_FALSE(failed);
}

TEST_F(FilesTest, ReadOnlyFileRefusesWritersOnceItIsMade) {
    if (IsLeftOut(Scope::OursOnly)) GTEST_SKIP();
    const std::u16string path = folder.Path(u"a");
    OpenHandle maker(path, kWrite, 0, platform::kCreateNew, platform::kAttributeReadOnly);
    std::uint32_t writtenBytes = 0;
    EXPECT_TRUE(platform::WriteFile(maker.Get(), "x", 1, &writtenBytes));
    maker.Close();
    EXPECT_NE(platform::GetFileAttributesW(path.c_str()) & platform::kAttributeReadOnly, 0U);
    EXPECT_EQ(OpenHandle(path, kRead, 0, platform::kOpenExisting).Error(), 0U);
    EXPECT_EQ(OpenHandle(path, kWrite, 0, platform::kOpenExisting).Error(), platform::kErrorAccessDenied);
    EXPECT_EQ(OpenHandle(path, kWrite, 0, platform::kCreateAlways).Error(), platform::kErrorAccessDenied);
    EXPECT_EQ(folder.Read(u"a"), "x");
}

TEST_F(FilesTest, HandleDoesWhatItWasOpenedFor) {
    folder.Write(u"a", "content");
    const std::u16string path = folder.Path(u"a");
    const OpenHandle reader(path, kRead, kShareAll, platform::kOpenExisting);
    const OpenHandle writer(path, kWrite, kShareAll, platform::kOpenExisting);
    const platform::Handle semaphore = platform::CreateSemaphoreW(nullptr, 0, 1, nullptr);
    char byte = 0;
    std::uint32_t done = 7;
    std::uint64_t size = 0;
    EXPECT_EQ(ErrorOf(platform::ReadFile(writer.Get(), &byte, 1, &done)), platform::kErrorAccessDenied);
    EXPECT_EQ(done, 0U);
    EXPECT_EQ(ErrorOf(platform::WriteFile(reader.Get(), &byte, 1, &done)), platform::kErrorAccessDenied);
    EXPECT_EQ(ErrorOf(platform::FlushFileBuffers(reader.Get())), platform::kErrorAccessDenied);
    EXPECT_EQ(ErrorOf(platform::GetFileSizeEx(semaphore, &size)), platform::kErrorInvalidHandle);
    EXPECT_EQ(ErrorOf(platform::ReleaseSemaphore(reader.Get(), 1, nullptr)), platform::kErrorInvalidHandle);
    for (const platform::Handle none : {platform::kInvalidHandle, platform::Handle{nullptr}}) {
        EXPECT_EQ(ErrorOf(platform::ReadFile(none, &byte, 1, &done)), platform::kErrorInvalidHandle);
        EXPECT_EQ(ErrorOf(platform::CloseHandle(none)), platform::kErrorInvalidHandle);
    }
    EXPECT_TRUE(platform::CloseHandle(semaphore));
}

/// What each of the calls on a name says to one; 0 is a success.
struct NameCase {
    std::u16string_view name;
    std::uint32_t open;
    std::uint32_t attributes;
    std::uint32_t makeFolder;
    std::uint32_t remove;
};

constexpr NameCase kNames[] = {
    {u"file", 0, 0, platform::kErrorAlreadyExists, 0},
    {u"folder", platform::kErrorAccessDenied, 0, platform::kErrorAlreadyExists, platform::kErrorAccessDenied},
    {u"none", platform::kErrorFileNotFound, platform::kErrorFileNotFound, 0, platform::kErrorFileNotFound},
    {u"gone\\none", platform::kErrorPathNotFound, platform::kErrorPathNotFound, platform::kErrorPathNotFound,
     platform::kErrorPathNotFound},
    {u"file\\none", platform::kErrorPathNotFound, platform::kErrorPathNotFound, platform::kErrorPathNotFound,
     platform::kErrorPathNotFound},
    {u"gr\u00fc\u00dfe \u20ac \U0001F600.xml", 0, 0, platform::kErrorAlreadyExists, 0},
};

TEST_F(FilesTest, MissingNameAndMissingFolderAreTwoFailures) {
    for (const NameCase& row : kNames) {
        SCOPED_TRACE(folder.Utf8(row.name));
        folder.MakeFolder(u"folder");
        folder.Write(u"file", "");
        folder.Write(u"gr\u00fc\u00dfe \u20ac \U0001F600.xml", "");
        const std::u16string path = folder.Path(row.name);
        EXPECT_EQ(OpenHandle(path, kRead, 0, platform::kOpenExisting).Error(), row.open);
        const bool isThere = platform::GetFileAttributesW(path.c_str()) != platform::kInvalidAttributes;
        EXPECT_EQ(ErrorOf(isThere), row.attributes);
        EXPECT_EQ(ErrorOf(platform::DeleteFileW(path.c_str())), row.remove);
        if (row.remove == 0) folder.Write(row.name, "");
        EXPECT_EQ(ErrorOf(platform::CreateDirectoryW(path.c_str(), nullptr)), row.makeFolder);
    }
}

TEST_F(FilesTest, LongPathIsTakenAndLongNameIsNot) {
    std::u16string name;
    for (int count = 0; count < 6; ++count) {
        name.append(50, u'n').push_back(u'\\');
        folder.MakeFolder(name);
    }
    const std::u16string path = u"\\\\?\\" + folder.Path(name) + u"file";
    EXPECT_EQ(OpenHandle(path, kWrite, 0, platform::kCreateNew).Error(), 0U);
    EXPECT_TRUE(platform::MoveFileExW(path.c_str(), (path + u"2").c_str(), platform::kMoveWriteThrough));
    EXPECT_TRUE(folder.Exists(name + u"file2"));
    if (IsLeftOut(Scope::OursOnly)) return;
    const std::u16string longName = folder.Path(std::u16string(300, u'n'));
    EXPECT_EQ(OpenHandle(longName, kWrite, 0, platform::kCreateNew).Error(), platform::kErrorInvalidName);
}

TEST_F(FilesTest, DeletingAHeldFileIsASharingViolation) {
    folder.Write(u"a", "content");
    OpenHandle held(folder.Path(u"a"), kRead, platform::kShareRead | platform::kShareWrite, platform::kOpenExisting);
    EXPECT_EQ(ErrorOf(platform::DeleteFileW(folder.Path(u"a").c_str())), platform::kErrorSharingViolation);
    held.Close();
    folder.MakeReadOnly(u"a");
    EXPECT_EQ(ErrorOf(platform::DeleteFileW(folder.Path(u"a").c_str())), platform::kErrorAccessDenied);
    EXPECT_EQ(folder.Read(u"a"), "content");
}

TEST_F(FilesTest, LinkShowsItselfAndWhatItLeadsTo) {
    folder.MakeFolder(u"folder");
    folder.Write(u"file", "");
    std::error_code error;
    std::filesystem::create_directory_symlink(folder.Native(u"folder"), folder.Native(u"to folder"), error);
    if (error) GTEST_SKIP() << "no links here: " << error.message();
    std::filesystem::create_symlink(folder.Native(u"file"), folder.Native(u"to file"));
    std::filesystem::create_symlink(folder.Native(u"none"), folder.Native(u"to nothing"));
    constexpr std::uint32_t kBits = platform::kAttributeDirectory | platform::kAttributeReparsePoint;
    const auto bitsOf = [this](std::u16string_view name) {
        return platform::GetFileAttributesW(folder.Path(name).c_str()) & kBits;
    };
    EXPECT_EQ(bitsOf(u"to folder"), kBits);
    EXPECT_EQ(bitsOf(u"to file"), platform::kAttributeReparsePoint);
    EXPECT_EQ(bitsOf(u"to nothing"), platform::kAttributeReparsePoint);
    EXPECT_EQ(OpenHandle(folder.Path(u"to nothing"), kWrite, 0, platform::kCreateAlways).Error(), 0U);
    EXPECT_TRUE(folder.Exists(u"none")) << "a file is made where the link leads to";
}

struct FormCase {
    std::u16string before;
    std::u16string behind;
    std::uint32_t error;
};

TEST_F(FilesTest, DriveStandsForTheRootOfASystemWithoutDrives) {
    if (!kLayerIsOurs) GTEST_SKIP() << "the system's own affair here";
    folder.Write(u"a", "");
    const std::u16string native = folder.Native(u"a").u16string();
    const FormCase kForms[] = {
        {u"", native, 0},
        {u"Z:", native, 0},
        {u"z:", native, 0},
        {u"\\\\?\\Z:", native, 0},
        {u"\\\\.\\Z:", native, 0},
        {u"C:", native, platform::kErrorPathNotFound},
        {u"\\\\?\\c:", native, platform::kErrorPathNotFound},
        {u"\\\\server", native, platform::kErrorBadNetPath},
        {u"\\\\?\\UNC\\server", native, platform::kErrorBadNetPath},
        {u"", u"", platform::kErrorPathNotFound},
        {u"\\\\?\\", u"", platform::kErrorPathNotFound},
        {u"Z:", u"", 0},
        {u"Z:", u"no such file", platform::kErrorFileNotFound},
        {native, u"\xD800", platform::kErrorInvalidName},
        {native, u"\xD800x", platform::kErrorInvalidName},
        {native, u"\xDC00", platform::kErrorInvalidName},
        {u"Z:", std::u16string(5000, u'/'), platform::kErrorFilenameTooLong},
    };
    for (const FormCase& row : kForms) {
        const std::u16string path = row.before + row.behind;
        const bool isThere = platform::GetFileAttributesW(path.c_str()) != platform::kInvalidAttributes;
        EXPECT_EQ(ErrorOf(isThere), row.error) << std::filesystem::path(row.before);
    }
}

}   // namespace
