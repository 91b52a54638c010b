#include <component/ilk/error/exception.h>
#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>
#include <component/ilk/system/file/path.h>

#include "support/file_faults.h"
#include "support/temporary_folder.h"

#include <component/platform/errors.h>

#include <gtest/gtest.h>

#include <iterator>

namespace {

using testing_support::FileCall;
using testing_support::FileFaults;
using testing_support::TemporaryFolder;
using Text = ilk::basic_string_t<char16_t>;

struct PathCase {
    std::u16string_view path;
    std::u16string_view outcome;
};

constexpr PathCase kParents[] = {
    {u"C:\\a\\b", u"C:\\a"}, {u"C:\\a", u"C:\\"}, {u"C:\\", u"C:\\"}, {u"a", u""},
    {u"\\a", u"\\"},         {u"C:a", u"C:"},     {u"a//b", u"a/"},   {u"\\\\?\\C:\\a/b", u"\\\\?\\C:\\a"},
    {u"a\\", u"a"},          {u"", u""},
};

TEST(PathTextTest, ParentLosesOneComponentAndOneSeparator) {
    for (const PathCase& row : kParents) EXPECT_EQ(ilk::ParentPath(row.path), row.outcome);
}

constexpr PathCase kNormalized[] = {
    {u"C:\\a\\..\\b", u"C:\\b"},
    {u"C:/a//./", u"C:\\a"},
    {u"C:\\..", u"C:\\"},
    {u"C:\\.", u"C:\\"},
    {u"a\\..", u"."},
    {u"..\\..\\a\\..\\b", u"..\\..\\b"},
    {u"a\\..\\..\\..\\b", u"..\\..\\b"},
    {u".\\a", u".\\a"},
    {u".\\..\\a", u"a"},
    {u"/a/../../b\\", u"\\b"},
    {u"", u""},
    {u"C:", u"C:"},
    {u"C:a\\..\\b", u"b"},
    {u"C:a\\..", u"."},
    {u"C:a/b", u"C:a\\b"},
    {u"\\\\server\\share\\a\\..\\..\\b", u"\\\\server\\share\\b"},
    {u"\\\\server\\share", u"\\\\server\\share"},
    {u"\\\\server\\\\a\\..\\..\\b", u"\\\\server\\b"},
    {u"\\\\s\\UNC\\a\\b\\..\\..\\c", u"\\\\s\\UNC\\c"},
    {u"\\\\?\\C:\\a\\..\\..\\b", u"\\\\?\\C:\\b"},
    {u"\\\\?\\C:\\", u"\\\\?\\C:\\"},
    {u"\\\\?\\UNC\\server\\share\\..\\a/b", u"\\\\?\\UNC\\server\\share\\a\\b"},
    {u"\\\\.\\volume\\..\\a", u"\\\\.\\volume\\a"},
};

TEST(PathTextTest, NormalizingLeavesTheRootAndCollapsesTheRest) {
    for (const PathCase& row : kNormalized) {
        Text text(row.path);
        ilk::NormalizePath(text);
        EXPECT_EQ(text.view(), row.outcome);
        EXPECT_EQ(text[text.size()], u'\0');
    }
}

TEST(PathTextTest, PathsWithTwoBackslashesOrADriveRootAreAbsolute) {
    for (const std::u16string_view path : {u"\\\\a", u"C:\\", u"1:/a"}) EXPECT_TRUE(ilk::IsAbsolutePath(path));
    for (const std::u16string_view path : {u"", u"\\a", u"//a", u"C:", u"C:a", u"a:"})
        EXPECT_FALSE(ilk::IsAbsolutePath(path));
    for (const std::u16string_view path : {u"\\\\?\\", u"\\\\.\\C:"}) EXPECT_TRUE(ilk::HasDevicePrefix(path));
    for (const std::u16string_view path : {u"\\\\?", u"//?/", u"\\\\a\\"}) EXPECT_FALSE(ilk::HasDevicePrefix(path));
}

constexpr PathCase kLongForms[] = {
    {u"C:\\a", u"\\\\?\\C:\\a"},
    {u"C:/a/../b/", u"\\\\?\\C:\\b"},
    {u"\\\\server\\share\\..\\.", u"\\\\server\\share\\..\\."},
    {u"\\\\?\\C:\\a\\..", u"\\\\?\\C:\\a\\.."},
};

TEST(LongPathTest, PutsThePrefixBeforeADrive) {
    for (const PathCase& row : kLongForms) EXPECT_EQ(ilk::ToLongPath(row.path).view(), row.outcome);
    Text expected;
    ASSERT_EQ(ilk::CurrentDirectory(expected), ilk::ResultOk);
    expected.insert(0, u"\\\\?\\");
    ilk::JoinPath(expected, u"b");
    EXPECT_EQ(ilk::ToLongPath(u"a/../b"), expected);
}

TEST(LongPathTest, ThrowsIfTheCurrentDirectoryIsGone) {
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    folder.MakeFolder(u"gone");
    std::filesystem::current_path(folder.Native(u"gone"));
    std::error_code error;
    std::filesystem::remove(folder.Native(u"gone"), error);   // Windows keeps a directory that is in use
    std::string what;
    ilk::ResultCode code = ilk::ResultOk;
    try {
        static_cast<void>(ilk::ToLongPath(u"a"));
    } catch (const ilk::ResultCodeException& e) {
        what = e.what();
        code = ilk::ResultFromException(e);
    }
    const ilk::ResultCode createCode = error ? ilk::ResultOk : ilk::CreateDirectories(u"a");
    std::filesystem::current_path(before);
    if (error) GTEST_SKIP() << "the current directory can't be removed here: " << error.message();
    EXPECT_EQ(code, ilk::ResultFileNotFound);
    EXPECT_EQ(createCode, ilk::ResultFileNotFound);
    EXPECT_TRUE(
        what.starts_with("component\\ilk\\include\\component\\ilk\\system\\file\\detail/filesystem_impl(233): "))
        << what;
}

TEST(FillFromSystemTest, RetriesWithTheNeededCapacity) {
    int calls = 0;
    Text text(u"old");
    const auto needsMoreTwice = [&calls](std::uint32_t capacity, char16_t* buffer) {
        constexpr std::uint32_t kNeeds[] = {300, 400, 5};
        const std::uint32_t need = kNeeds[calls++];
        EXPECT_EQ(capacity, calls == 1 ? 260 : kNeeds[calls - 2]);
        std::fill_n(buffer, std::min(capacity, need), u'x');
        return need;
    };
    EXPECT_EQ(ilk::FillFromSystem(needsMoreTwice, text), ilk::ResultOk);
    EXPECT_EQ(text.view(), u"xxxxx");
}

TEST(FillFromSystemTest, FailureKeepsTheTarget) {
    Text text(u"old");
    const auto alwaysMore = [](std::uint32_t capacity, char16_t*) { return capacity + 1; };
    EXPECT_EQ(ilk::FillFromSystem(alwaysMore, text), ilk::ResultUnspecifiedError);
    const auto tooMuch = [](std::uint32_t, char16_t*) { return 0xFFFFFFFFU; };
    EXPECT_EQ(ilk::FillFromSystem(tooMuch, text), ilk::ResultUnspecifiedError);
    const auto fails = [](std::uint32_t, char16_t*) {
        platform::SetLastError(platform::kErrorAccessDenied);
        return 0U;
    };
    EXPECT_EQ(ilk::FillFromSystem(fails, text), ilk::ResultAccessDenied);
    EXPECT_EQ(text.view(), u"old");
}

class FileTest : public testing::Test {
protected:
    TemporaryFolder folder;

    ilk::ResultCode Make(std::u16string_view name) { return ilk::CreateDirectories(folder.Path(name)); }
};

TEST_F(FileTest, WritesReadsAndCloses) {
    const std::u16string path = folder.Path(u"a.txt");
    ilk::File file;
    std::uint32_t done = 99;
    ASSERT_EQ(file.Open(path.c_str(), ilk::kFileWrite, ilk::kFileCreateAlways, 0), ilk::ResultOk);
    EXPECT_EQ(file.Write("abcdef", 6, done), ilk::ResultOk);
    EXPECT_EQ(done, 6U);
    EXPECT_EQ(file.Flush(), ilk::ResultOk);
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, 3, done), ilk::ResultAccessDenied);
    EXPECT_EQ(done, 6U) << "a failure leaves it unchanged";

    // The second open closes the first handle, which doesn't share the file.
    ASSERT_EQ(file.Open(path.c_str(), ilk::kFileRead, ilk::kFileOpenExisting, 0), ilk::ResultOk);
    std::uint64_t size = 0;
    EXPECT_EQ(file.GetSize(size), ilk::ResultOk);
    EXPECT_EQ(size, 6U);
    EXPECT_EQ(file.Read(buffer, sizeof(buffer), done), ilk::ResultOk);
    EXPECT_EQ(std::string_view(buffer, done), "abcdef");

    EXPECT_EQ(file.Open(folder.Path(u"b.txt").c_str(), ilk::kFileRead, ilk::kFileOpenExisting, 0),
              ilk::ResultFileNotFound);
    EXPECT_EQ(file.GetSize(size), ilk::ResultInvalidHandle) << "a failed open leaves it closed";
    EXPECT_EQ(file.Close(), ilk::ResultOk);
    EXPECT_EQ(ilk::RemoveFile(path.c_str()), ilk::ResultOk) << "no handle is left open";
}

TEST_F(FileTest, OpenMapsItsArgumentsToTheSystems) {
    folder.Write(u"a", "old");
    const std::u16string path = folder.Path(u"a");
    struct Row {
        std::uint32_t access, creation, flags;
        ilk::ResultCode code;
        std::string_view after;
    };
    const Row rows[] = {
        {ilk::kFileRead, ilk::kFileOpenExisting, ilk::kFileSequentialScan, ilk::ResultOk, "old"},
        {ilk::kFileRead, 0, 0, ilk::ResultInvalidArgument, "old"},
        {ilk::kFileRead, 6, 0, ilk::ResultInvalidArgument, "old"},
        {ilk::kFileWrite, ilk::kFileCreateNew, 0, ilk::ResultAlreadyExists, "old"},
        {ilk::kFileWrite | ilk::kFileDelete, ilk::kFileOpenAlways, 0, ilk::ResultOk, "old"},
        {ilk::kFileWrite, ilk::kFileTruncateExisting, 0, ilk::ResultOk, ""},
    };
    for (const Row& row : rows) {
        ilk::File file;
        EXPECT_EQ(file.Open(path.c_str(), row.access, row.creation, row.flags), row.code) << row.creation;
        static_cast<void>(file.Close());
        EXPECT_EQ(folder.Read(u"a"), row.after) << row.creation;
    }
    ilk::File shared;
    ilk::File second;
    ASSERT_EQ(shared.Open(path.c_str(), ilk::kFileRead | ilk::kFileShareRead, ilk::kFileOpenExisting, 0),
              ilk::ResultOk);
    EXPECT_EQ(second.Open(path.c_str(), ilk::kFileRead, ilk::kFileOpenExisting, 0), ilk::ResultSharingViolation);
    EXPECT_EQ(second.Open(path.c_str(), ilk::kFileRead | ilk::kFileShareRead, ilk::kFileOpenExisting, 0),
              ilk::ResultOk);

    ilk::File readOnly;
    ASSERT_EQ(readOnly.Open(folder.Path(u"b").c_str(), ilk::kFileWrite, ilk::kFileCreateNew, ilk::kFileReadOnly),
              ilk::ResultOk);
    static_cast<void>(readOnly.Close());
    EXPECT_EQ(ilk::RemoveFile(folder.Path(u"b").c_str()), ilk::ResultAccessDenied);
}

TEST_F(FileTest, PredicatesDistinguishDirectoriesFilesAndMissingPaths) {
    folder.Write(u"file", "");
    folder.MakeFolder(u"folder");
    struct Row {
        std::u16string_view name;
        ilk::ResultCode exists, plain, linked;
    };
    const Row rows[] = {
        {u"file", ilk::ResultOk, ilk::ResultFalse, ilk::ResultFalse},
        {u"folder", ilk::ResultOk, ilk::ResultOk, ilk::ResultFalse},
        {u"none", ilk::ResultFalse, ilk::ResultFileNotFound, ilk::ResultFileNotFound},
        {u"none\\none", ilk::ResultFalse, ilk::ResultPathNotFound, ilk::ResultPathNotFound},
        {u"file\\none", ilk::ResultFalse, ilk::ResultPathNotFound, ilk::ResultPathNotFound},
    };
    for (const Row& row : rows) {
        const std::u16string path = folder.Path(row.name);
        SCOPED_TRACE(folder.Utf8(row.name));
        EXPECT_EQ(ilk::PathExists(path.c_str()), row.exists);
        EXPECT_EQ(ilk::IsPlainDirectory(path.c_str()), row.plain);
        EXPECT_EQ(ilk::IsLinkedDirectory(path.c_str()), row.linked);
    }
    EXPECT_EQ(ilk::MakeDirectory(folder.Path(u"folder").c_str()), ilk::ResultAlreadyExists);
    EXPECT_EQ(ilk::CopyFileTo(folder.Path(u"file").c_str(), folder.Path(u"file").c_str(), true),
              ilk::ResultAlreadyExists);
    EXPECT_EQ(ilk::MoveFileTo(folder.Path(u"none").c_str(), folder.Path(u"x").c_str()), ilk::ResultFileNotFound);
}

TEST_F(FileTest, CreateDirectoriesCreatesMissingOnes) {
    folder.Write(u"file", "");
    EXPECT_EQ(ilk::CreateDirectories(u""), ilk::ResultInvalidArgument);
    EXPECT_EQ(ilk::CreateDirectories(u"Q:\\a\\b"), ilk::ResultPathNotFound) << "no such drive";
    EXPECT_EQ(Make(u"a\\b/c\\"), ilk::ResultOk);
    EXPECT_TRUE(folder.Exists(u"a\\b\\c"));
    EXPECT_EQ(Make(u"a\\b\\c"), ilk::ResultOk);
    EXPECT_EQ(Make(u"a\\none\\..\\d"), ilk::ResultOk) << "the text is normalised first";
    EXPECT_FALSE(folder.Exists(u"a\\none"));
    EXPECT_EQ(Make(u"file"), ilk::ResultInvalidPathName);
    EXPECT_EQ(Make(u"file\\a"), ilk::ResultInvalidPathName);
    const FileFaults faults({FileCall::Attributes, platform::kErrorFileNotFound, 3});
    EXPECT_EQ(Make(u"a\\b\\c"), ilk::ResultOk) << "another process creates it after the check";
    EXPECT_EQ(faults.Failed(), 1);
}

TEST_F(FileTest, ALinkedDirectoryIsFollowedButIsntPlain) {
    folder.MakeFolder(u"target");
    std::error_code error;
    std::filesystem::create_directory_symlink(folder.Native(u"target"), folder.Native(u"link"), error);
    if (error) GTEST_SKIP() << "no links here: " << error.message();
    EXPECT_EQ(ilk::IsPlainDirectory(folder.Path(u"link").c_str()), ilk::ResultFalse);
    EXPECT_EQ(ilk::IsLinkedDirectory(folder.Path(u"link").c_str()), ilk::ResultOk);
    EXPECT_EQ(Make(u"link"), ilk::ResultAlreadyExists);
    EXPECT_EQ(Make(u"link\\a"), ilk::ResultOk);
    EXPECT_TRUE(folder.Exists(u"target\\a"));
}

}   // namespace
