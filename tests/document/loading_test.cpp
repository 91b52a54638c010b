#include "file_store_test.h"
#include "support/file_faults.h"

#include <component/platform/errors.h>
#include <host/io_object.h>

namespace test {
namespace {

using namespace testing_support;

using LoadingTest = FileStoreTest;

struct LoadCase {
    const char* label;
    std::string_view content;   // `kMissing`: there is no file
    ResultCode code;
    std::uint32_t values;
    const char16_t* name = u"a.xml";
    FileFault fault = kNoFault;
    std::size_t failedBlock = 0;   // of the host's
    const char* root = nullptr;
    std::uint32_t openFlags = 0;
};
using namespace std::string_view_literals;
constexpr std::string_view kMissing = testing_support::TemporaryFolder::kMissing;
constexpr std::string_view kOne = "<arbor><tBOOL name='v'>1</tBOOL></arbor>";
constexpr std::uint32_t kCreate = 2;
constexpr std::uint32_t kBrokenDisk = platform::kErrorIoDevice;
constexpr ResultCode kSharingViolation = MakeResult(0x80010104);
constexpr ResultCode kFromBrokenDisk = MakeResult(0x8007045D);
/// A document that is there, but not yet when it is opened first.
constexpr FileFault kMissedOnce{FileCall::Open, platform::kErrorFileNotFound};
const LoadCase kLoads[] = {
    {"a document", kOne, kDone, 1},
    {"a name that isn't ASCII", kOne, kDone, 1, u"caf\u00E9 \u20AC.xml"},
    {"a missing file", kMissing, kNoDocument, 0},
    {"a missing folder", kMissing, kNoDocument, 0, u"none\\a.xml"},
    {"no bytes", "", kDone, 0},
    {"a mark and a document", "\xEF\xBB\xBF<arbor><tBOOL name='v'>1</tBOOL></arbor>", kDone, 1},
    {"a mark alone", "\xEF\xBB\xBF", kInvalidArgument, 0},
    {"broken behind a value", "<arbor><tBOOL name='v'>1</tBOOL><", kBadDocument, 1},
    {"denied", kOne, kAccessDenied, 0, u"a.xml", {FileCall::Open, platform::kErrorAccessDenied}},
    {"held by another", kOne, kSharingViolation, 0, u"a.xml", {FileCall::Open, platform::kErrorSharingViolation}},
    {"without a size", kOne, kFromBrokenDisk, 0, u"a.xml", {FileCall::Size, kBrokenDisk}},
    {"without a byte", kOne, kFromBrokenDisk, 0, u"a.xml", {FileCall::Read, kBrokenDisk}},
    {"broken off", kOne, kFromBrokenDisk, 0, u"a.xml", {FileCall::Read, kBrokenDisk, 1, 1, 10}},
    {"shorter than it says", kOne, kNotMatched, 0, u"a.xml", {FileCall::Read, 0, 1, 1, 10}},
    {"no memory for the bytes", kOne, kOutOfMemory, 0, u"a.xml", kNoFault, 2},
    {"no memory for a value", kOne, kOutOfMemory, 0, u"a.xml", kNoFault, 3},
    {"a root that isn't there", kOne, kNoSuchEntry, 1, u"a.xml", kNoFault, 0, "x"},
    {"held, and to be made",
     kOne,
     kSharingViolation,
     0,
     u"a.xml",
     {FileCall::Open, platform::kErrorSharingViolation},
     0,
     nullptr,
     kCreate},
    {"made by another process after the first look", kOne, kDone, 1, u"a.xml", kMissedOnce, 0, nullptr, kCreate},
    {"made empty by another process", "", kDone, 0, u"a.xml", kMissedOnce, 0, nullptr, kCreate},
    {"made by another process, without the root", kOne, kNoSuchEntry, 1, u"a.xml", kMissedOnce, 0, "x", kCreate},
    {"made by another process, and broken", "<", kInvalidArgument, 0, u"a.xml", kMissedOnce, 0, nullptr, kCreate},
    {"missing, and can't be made",
     kMissing,
     MakeResult(0x80000062),
     0,
     u"a.xml",
     {FileCall::Open, platform::kErrorDiskFull, 2},
     0,
     nullptr,
     kCreate},
    {"missing, with a folder that can't be made",
     kMissing,
     kNoDocument,
     0,
     u"none\\a.xml",
     {FileCall::MakeFolder, platform::kErrorAccessDenied},
     0,
     nullptr,
     kCreate},
};

TEST_F(LoadingTest, EachLoadHasItsCodeAndAFailedOneLeavesAllFilesAsTheyWere) {
    for (const LoadCase& row : kLoads) {
        SCOPED_TRACE(row.label);
        const std::u16string name = row.name;
        folder.Write(u"a.xml.bak", "first");
        folder.Write(u"a.xml.bak2", "second");
        if (row.content != kMissing) folder.Write(name, row.content);
        const std::vector<std::string> files = folder.List();
        Store& s = MakeStore(name);
        EXPECT_EQ(s.object.SetNumber(PropertySaveOnClose, 1), kDone);
        EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, 1), kDone);
        EXPECT_EQ(s.object.SetNumber(PropertyOpenFlags, row.openFlags), kDone);
        if (row.root != nullptr) {
            EXPECT_EQ(s.object.SetRootPoint(row.root), kDone);
        }
        kernel.FailAllocation(row.failedBlock);
        {
            const FileFaults faults(row.fault);
            EXPECT_EQ(s.object.Ready(), row.code);
        }
        kernel.FailAllocation(0);
        EXPECT_EQ(s.ValueCount(), row.values);
        EXPECT_EQ(s.object.Number(PropertySaveOnClose), IsSuccess(row.code) ? 1U : 0U);
        if (IsFailure(row.code)) {
            s.Make("changed");
            EXPECT_EQ(s.object.Close(), kDone);
        }
        EXPECT_EQ(folder.List(), files);
        EXPECT_EQ(folder.Read(name), row.content);
        EXPECT_EQ(folder.Read(u"a.xml.bak") + folder.Read(u"a.xml.bak2"), "firstsecond");
        store.reset();
        std::filesystem::remove(folder.Native(row.name));
    }
}

TEST_F(LoadingTest, ALoadLeavesNothingToSave) {
    folder.Write(u"foreign.xml", "<r a='b'>x</r>");
    Store& s = LoadStore(u"foreign.xml");
    EXPECT_EQ(s.code, kDone);
    EXPECT_EQ(s.Text(s.Open("r"), "noname"), "x");
    EXPECT_EQ(s.Save(), kDone);
    EXPECT_EQ(folder.Read(u"foreign.xml"), "<r a='b'>x</r>");
}

TEST_F(LoadingTest, AMissingDocumentIsMadeWhereTheFlagAsksForIt) {
    Store& s = MakeStore(u"new\\deep\\a.xml");
    EXPECT_EQ(s.object.SetNumber(PropertyOpenFlags, 2), kDone);
    EXPECT_EQ(s.object.Ready(), kDone);
    EXPECT_EQ(folder.Read(u"new\\deep\\a.xml"), "");
    Store& made = LoadStore(u"new\\deep\\a.xml");
    EXPECT_EQ(made.code, kDone);
    made.Make("k");
    EXPECT_EQ(made.Save(), kDone) << "what was made can be replaced";
}

TEST_F(LoadingTest, WarningsDontStopALoad) {
    folder.Write(u"100%.xml", kDocument);
    EXPECT_EQ(LoadStore(u"100%.xml").code, kDone);
    const std::vector<std::string> expansion = LinesOf(350);
    ASSERT_EQ(expansion.size(), 1U);
    EXPECT_NE(expansion[0].find("contains '%' symbol, but environment variable expansion is currently not supported"),
              std::string::npos);

    std::string large(kDocument);
    large.append(0xA00000 - large.size(), ' ');
    folder.Write(u"large.xml", large);
    EXPECT_EQ(LoadStore(u"large.xml").code, kDone);
    EXPECT_TRUE(LinesOf(350).empty());
    folder.Write(u"large.xml", large + " ");
    EXPECT_EQ(LoadStore(u"large.xml").code, kDone);
    const std::vector<std::string> warned = LinesOf(350);
    ASSERT_EQ(warned.size(), 1U);
    EXPECT_NE(warned[0].find("file size is too big (10485761 > 10Mb)"), std::string::npos);
}

TEST_F(LoadingTest, ThePendingRootIsAppliedToAFile) {
    folder.Write(u"a.xml", "<arbor><key name='a'><key name='b'/></key></arbor>");
    Store& s = MakeStore(u"a.xml");
    EXPECT_EQ(s.object.SetRootPoint("a/b"), kDone);
    EXPECT_EQ(s.object.Ready(), kDone);
    EXPECT_EQ(s.Name(0, false), "b");
}

TEST_F(LoadingTest, AnObjectOfTheHostHoldsADocumentToo) {
    host::MemoryIo io(kernel, std::string(kDocument));
    const auto load = [&] {
        store.emplace(kernel);
        EXPECT_EQ(store->object.SetIoObject(io.Get()), kDone);
        return store->code = store->object.Ready();
    };
    EXPECT_EQ(load(), kDone);
    store->SetNumber(0, "v", tDWORD, 22U);
    EXPECT_EQ(store->Save(), kDone);
    EXPECT_NE(io.Content().find(">22<"), std::string::npos);
    EXPECT_EQ(store->Save(), kDone);
    EXPECT_EQ(io.WriteCount(), 1U) << "nothing changed since";
    EXPECT_EQ(io.CompleteCount(), 1U);
    store->Make("k");
    io.FailWrite(kMediaError);
    EXPECT_EQ(store->Save(), kMediaError);
    io.FailWrite(kDone);
    EXPECT_EQ(store->Save(), kDone) << "the change was still there to save";
    io.FailSize(kAccessDenied);
    EXPECT_EQ(load(), kAccessDenied);
    io.FailSize(kDone);
    io.FailRead(kMediaError);
    EXPECT_EQ(load(), kMediaError);
    io.FailRead(kDone);
    io.LimitReads(20);
    EXPECT_TRUE(IsFailure(load())) << "what is missing of the bytes is zeroes, and no document";
    io.LimitReads(~0U);
    EXPECT_EQ(load(), kDone);
}

}   // namespace
}   // namespace test
