#include "file_store_test.h"

#include <component/platform/files.h>
#include <host/io_object.h>

namespace test {
namespace {

using LoadingTest = FileStoreTest;

struct LoadCase {
    const char* label;
    const char16_t* name;
    std::string_view content;   // `kMissing`: there is no file
    ResultCode code;
    std::uint32_t values;
};
using namespace std::string_view_literals;
constexpr std::string_view kMissing = testing_support::TemporaryFolder::kMissing;
const LoadCase kLoads[] = {
    {"a document", u"a.xml", "<arbor><tBOOL name='v'>1</tBOOL></arbor>", kDone, 1},
    {"a missing file", u"a.xml", kMissing, kNoDocument, 0},
    {"a missing folder", u"none\\a.xml", kMissing, kNoDocument, 0},
    {"no bytes", u"a.xml", "", kDone, 0},
    {"a mark and a document", u"a.xml", "\xEF\xBB\xBF<arbor><tBOOL name='v'>1</tBOOL></arbor>", kDone, 1},
    {"a mark alone", u"a.xml", "\xEF\xBB\xBF", kInvalidArgument, 0},
    {"blanks", u"a.xml", " \n", kInvalidArgument, 0},
    {"wide text", u"a.xml", "\xFF\xFE<\0a\0>\0"sv, kInvalidArgument, 0},
    {"broken behind a value", u"a.xml", "<arbor><tBOOL name='v'>1</tBOOL><", kBadDocument, 1},
    {"a foreign document", u"a.xml", "<r/><s/>", kInvalidArgument, 0},
    {"a name that isn't ASCII", u"caf\u00E9 \u20AC.xml", "<arbor><tBOOL name='v'>1</tBOOL></arbor>", kDone, 1},
};

TEST_F(LoadingTest, EachDocumentHasItsCodeAndStaysAsItWas) {
    for (const LoadCase& row : kLoads) {
        SCOPED_TRACE(row.label);
        if (row.content != kMissing) folder.Write(row.name, row.content);
        folder.Write(u"a.xml.bak2", "backup");
        Store& s = MakeStore(row.name);
        EXPECT_EQ(s.object.SetNumber(PropertySaveOnClose, 1), kDone);
        EXPECT_EQ(s.object.Ready(), row.code);
        EXPECT_EQ(s.ValueCount(), row.values);
        EXPECT_EQ(s.object.Number(PropertySaveOnClose), IsSuccess(row.code) ? 1U : 0U);
        s.Make("changed");
        if (IsFailure(row.code)) {
            EXPECT_EQ(s.object.Close(), kDone);
            EXPECT_EQ(folder.Read(row.name), row.content) << "never overwritten at close";
        }
        EXPECT_EQ(folder.Read(u"a.xml.bak2"), "backup");
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
    EXPECT_EQ(LoadStore(u"new\\deep\\a.xml").code, kDone);

    // The flag helps a missing file and nothing else.
    const platform::Handle held =
        platform::CreateFileW(folder.Path(u"new\\deep\\a.xml").c_str(), platform::kGenericRead, 0, nullptr,
                              platform::kOpenExisting, 0, nullptr);
    ASSERT_NE(held, platform::kInvalidHandle);
    Store& locked = MakeStore(u"new\\deep\\a.xml");
    EXPECT_EQ(locked.object.SetNumber(PropertyOpenFlags, 2), kDone);
    EXPECT_EQ(locked.object.Ready(), MakeResult(0x80010104));
    platform::CloseHandle(held);

    folder.Write(u"file", "");
    Store& blocked = MakeStore(u"file\\a.xml");
    EXPECT_EQ(blocked.object.SetNumber(PropertyOpenFlags, 2), kDone);
    EXPECT_EQ(blocked.object.SetNumber(PropertySaveOnClose, 1), kDone);
    EXPECT_EQ(blocked.object.Ready(), kNoDocument);
    EXPECT_EQ(blocked.object.Number(PropertySaveOnClose), 0U);
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
    Store& missing = MakeStore(u"a.xml");
    EXPECT_EQ(missing.object.SetNumber(PropertySaveOnClose, 1), kDone);
    EXPECT_EQ(missing.object.SetRootPoint("a/c"), kDone);
    EXPECT_EQ(missing.object.Ready(), kNoSuchEntry);
    EXPECT_EQ(missing.object.Number(PropertySaveOnClose), 0U);
    EXPECT_NE(missing.Open("a/b"), kNoKey);
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
    EXPECT_EQ(io.Writes(), 1U) << "nothing changed since";
    EXPECT_EQ(io.Completions(), 1U);
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
    io.ShortenReads(20);
    EXPECT_TRUE(IsFailure(load())) << "what is missing of the bytes is zeroes, and no document";
    io.ShortenReads(~0U);
    EXPECT_EQ(load(), kDone);
}

}   // namespace
}   // namespace test
