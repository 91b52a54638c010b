#include "file_store_test.h"
#include "support/file_faults.h"
#include "support/latch.h"

#include <component/platform/errors.h>
#include <component/platform/threads.h>

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <thread>

namespace test {
namespace {

using namespace testing_support;

class SavingTest : public FileStoreTest {
protected:
    SavingTest() {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%x", platform::GetCurrentThreadId());
        thread.assign(digits, digits + std::strlen(digits));
    }

    /// The contents of the document, the temporary file, both backups and the old second backup: for each the value `v`
    /// of a complete document, "part", "empty", or "-" for a missing file.
    std::string Disk(std::u16string_view name) {
        std::string text;
        std::size_t files = 0;
        for (const std::u16string& ending : {std::u16string(), u".tmp" + thread, std::u16string(u".bak"),
                                             std::u16string(u".bak2"), u".bak2" + thread}) {
            const std::string content = folder.Read(std::u16string(name) + ending);
            const std::size_t digits = content.find("\"v\">") + 4;
            std::string shown = content.empty() ? "empty" : "part";
            if (content.ends_with("</arbor>\r\n")) shown = content.substr(digits, content.find('<', digits) - digits);
            if (content == testing_support::TemporaryFolder::kMissing) shown = "-";
            if (shown != "-") ++files;
            text += (text.empty() ? "" : " ") + shown;
        }
        return files == folder.List().size() ? text : text + " and files of other names";
    }

    /// A shared object on a document that holds 1, to be saved when it closes.
    Store& LoadShared() {
        folder.Write(u"a.xml", kDocument);
        Store& s = MakeStore(u"a.xml");
        EXPECT_EQ(s.object.SetNumber(PropertySynchronised, 1), kDone);
        EXPECT_EQ(s.object.SetNumber(PropertySaveOnClose, 1), kDone);
        EXPECT_EQ(s.object.Ready(), kDone);
        return s;
    }

    void RemoveAll() {
        for (const auto& entry : std::filesystem::directory_iterator(folder.Folder())) std::filesystem::remove(entry);
    }

    std::u16string thread;   // as the names of files have it
};

struct BackupCase {
    const char* label;
    const char16_t* name;
    std::uint32_t mode;
    const char* afterOne;
    const char* afterThree;
    std::uint32_t modeAfter;
};
const BackupCase kBackups[] = {
    {"none", u"a.xml", 0, "1 - - - -", "3 - - - -", 0},
    {"rotating", u"a.xml", 1, "1 - - - -", "3 - - 2 -", 1},
    {"the first, then rotating", u"a.xml", 2, "1 - 1 - -", "3 - 1 2 -", 1},
    {"the default name rotates always", u"profiles.xml", 0, "1 - - - -", "3 - - 2 -", 0},
    {"its ending is enough", u"myprofiles.xml", 0, "1 - - - -", "3 - - 2 -", 0},
    {"letter case counts", u"PROFILES.XML", 0, "1 - - - -", "3 - - - -", 0},
    {"another number is none", u"a.xml", 7, "1 - - - -", "3 - - - -", 7},
};

TEST_F(SavingTest, BackupsGoByTheModeAndTheName) {
    for (const BackupCase& row : kBackups) {
        SCOPED_TRACE(row.label);
        Store& s = LoadStore(row.name);
        EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, row.mode), kDone);
        EXPECT_EQ(s.Save(), kDone);
        EXPECT_EQ(Disk(row.name), "- - - - -") << "nothing has changed yet";
        for (std::uint32_t value = 1; value <= 3; ++value) {
            s.SetNumber(0, "v", tDWORD, value);
            EXPECT_EQ(s.Save(), kDone);
            if (value == 1) {
                EXPECT_EQ(Disk(row.name), row.afterOne);
            }
        }
        EXPECT_EQ(Disk(row.name), row.afterThree);
        EXPECT_EQ(s.object.Number(PropertyBackupMode), row.modeAfter);
        RemoveAll();
    }
}

// The lines of failures up to their codes; %N is the document and %S the old second backup.
constexpr char kCannotWrite[] = "arbor\tcannot write file %N : 0x";
constexpr char kCannotCopy[] = "arbor\tcannot do first backup: 0x800000D1";
constexpr char kCannotScrap[] = "arbor\tcannot move profiles.xml.bak2 to %S: 0x";
constexpr char kCannotRemove[] = "arbor\tcannot remove %S: 0x";
constexpr char kCannotBackUp[] = "arbor\tcannot move original profiles.xml to backup file: 0x";
constexpr char kCannotMove[] = "arbor\tcannot move temporary file to %N : 0x";
constexpr char kGone[] = "arbor\tFile %N does not exist: 0x";

MATCHER(BeginsLike, "") { return std::get<0>(arg).starts_with(std::get<1>(arg)); }

struct SaveSetting {
    std::uint32_t mode;
    const char16_t* name;
    bool keepsFirst;    // the first backup
    bool keepsSecond;   // the second one
};
constexpr SaveSetting kSettings[] = {
    {0, u"a.xml", false, false},       {1, u"a.xml", false, true},        {2, u"a.xml", true, true},
    {0, u"profiles.xml", false, true}, {1, u"profiles.xml", false, true}, {2, u"profiles.xml", true, true},
};

/// The settings that a row is for.
enum class With {
    NoBackup,
    Backup,
    FirstBackup,
    Any
};

bool IsFor(const SaveSetting& setting, With with) {
    if (with == With::NoBackup) return !setting.keepsSecond;
    return with == With::Any || (with == With::FirstBackup ? setting.keepsFirst : setting.keepsSecond);
}

/// The document held 1 and its second backup 0, an older temporary file 7; the save has 2. A `*` is the first backup
/// where the setting keeps one.
struct SaveCase {
    const char* label;
    With with;
    FileFault fault;
    ResultCode code;
    const char* disk;   // as `Disk` tells it
    std::vector<std::string> failures{};
    int waits = 0;
    bool hasText = true;   // else a value that can't be written keeps the tree from it
};
constexpr FileCall kMove = FileCall::Move;
constexpr std::uint32_t kDenied = platform::kErrorAccessDenied;
constexpr std::uint32_t kHeld = platform::kErrorSharingViolation;
constexpr ResultCode kSharingViolation = MakeResult(0x80010104);
const SaveCase kSaves[] = {
    {"all goes well", With::Backup, kNoFault, kDone, "2 - * 1 -"},
    {"all goes well", With::NoBackup, kNoFault, kDone, "2 - - 0 -"},
    {"no text", With::Any, kNoFault, kUnspecified, "1 empty - 0 -", {kCannotWrite}, 0, false},
    {"no open", With::Any, {FileCall::Open, kHeld}, kSharingViolation, "1 7 - 0 -", {kCannotWrite}},
    {"no byte", With::Any, {FileCall::Write, kDenied}, kAccessDenied, "1 empty - 0 -", {kCannotWrite}},
    {"a full disk",
     With::Any,
     {FileCall::Write, platform::kErrorDiskFull, 1, 1, 20},
     MakeResult(0x80000062),
     "1 part - 0 -",
     {kCannotWrite}},
    {"a short write", With::Any, {FileCall::Write, 0, 1, 1, 20}, kNotMatched, "1 part - 0 -", {kCannotWrite}},
    {"no flush", With::Backup, {FileCall::Flush, platform::kErrorIoDevice}, kDone, "2 - * 1 -"},
    {"no flush", With::NoBackup, {FileCall::Flush, platform::kErrorIoDevice}, kDone, "2 - - 0 -"},
    {"no copy", With::FirstBackup, {FileCall::Copy, platform::kErrorFileExists}, kDone, "2 - - 1 -", {kCannotCopy}},
    {"no look at the backup", With::Backup, {FileCall::Attributes, kDenied}, kDone, "2 - * 1 -"},
    {"the old backup stays", With::Backup, {kMove, kHeld}, kDone, "2 - * 1 -", {kCannotScrap, kCannotRemove}},
    {"the old second backup stays", With::Backup, {FileCall::Remove, kHeld}, kDone, "2 - * 1 0", {kCannotRemove}},
    {"the document stays", With::Backup, {kMove, kHeld, 2}, kDone, "2 - * - -", {kCannotBackUp}},
    {"no backup moves",
     With::Backup,
     {kMove, kHeld, 1, 2},
     kDone,
     "2 - * 0 -",
     {kCannotScrap, kCannotRemove, kCannotBackUp}},
    {"refused once", With::Backup, {kMove, kDenied, 3, 1}, kDone, "2 - * 1 -", {}, 1},
    {"refused twice", With::Backup, {kMove, kDenied, 3, 2}, kDone, "2 - * 1 -", {}, 2},
    {"refused thrice", With::Backup, {kMove, kDenied, 3, 3}, kAccessDenied, "- 2 * 1 -", {kCannotMove, kGone}, 2},
    {"refused once", With::NoBackup, {kMove, kDenied, 1, 1}, kDone, "2 - - 0 -", {}, 1},
    {"refused twice", With::NoBackup, {kMove, kDenied, 1, 2}, kDone, "2 - - 0 -", {}, 2},
    {"refused thrice", With::NoBackup, {kMove, kDenied, 1, 3}, kAccessDenied, "1 2 - 0 -", {kCannotMove}, 2},
    {"no final move", With::Backup, {kMove, kHeld, 3, 1}, kSharingViolation, "- 2 * 1 -", {kCannotMove, kGone}},
    {"no final move", With::NoBackup, {kMove, kHeld, 1, 1}, kSharingViolation, "1 2 - 0 -", {kCannotMove}},
    {"no move at all",
     With::Backup,
     {kMove, kHeld, 1, 3},
     kSharingViolation,
     "1 2 * 0 -",
     {kCannotScrap, kCannotRemove, kCannotBackUp, kCannotMove}},
    {"no look at the end", With::Backup, {FileCall::Attributes, kDenied, 2}, kDone, "2 - * 1 -", {kGone}},
    {"no look at the end", With::NoBackup, {FileCall::Attributes, kDenied}, kDone, "2 - - 0 -", {kGone}},
};

TEST_F(SavingTest, EachStepThatFailsLeavesItsOwnDisk) {
    for (const SaveSetting& setting : kSettings) {
        for (const SaveCase& row : kSaves) {
            if (!IsFor(setting, row.with)) continue;
            SCOPED_TRACE(row.label + std::string(", mode ") + std::to_string(setting.mode));
            const std::u16string name = setting.name;
            folder.Write(name, kDocument);
            folder.Write(name + u".bak2", DocumentOf(0));
            folder.Write(name + u".tmp" + thread, DocumentOf(7));
            Store& s = LoadStore(name);
            EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, setting.mode), kDone);
            s.SetNumber(0, "v", tDWORD, 2U);
            if (!row.hasText) s.SetText(0, "w", "xx", tWCHAR);
            lines.clear();
            {
                const FileFaults faults(row.fault);
                EXPECT_EQ(s.Save(), row.code);
                EXPECT_EQ(testing_support::TakeWaits(), row.waits);
            }
            std::string disk = row.disk;
            if (const std::size_t first = disk.find('*'); first != std::string::npos) {
                disk[first] = setting.keepsFirst ? '2' : '-';
            }
            EXPECT_EQ(Disk(name), disk);
            std::vector<std::string> failures = row.failures;
            for (std::string& line : failures) {
                if (const std::size_t at = line.find('%'); at != std::string::npos) {
                    line.replace(at, 2, folder.Utf8(line[at + 1] == 'N' ? name : name + u".bak2" + thread));
                }
            }
            EXPECT_THAT(LinesOf(300), testing::Pointwise(BeginsLike(), failures));
            // What failed is still there to be saved, and what didn't is not.
            if (!row.hasText) s.methods.DeleteValue(s.object.Get(), 0, "w");
            EXPECT_EQ(s.Save(), kDone);
            EXPECT_EQ(LinesOf(400).at(0).starts_with("arbor\tskip saving"), IsSuccess(row.code));
            EXPECT_EQ(Disk(name).substr(0, 3), "2 -");
            RemoveAll();
        }
    }
}

// Whatever call fails with whatever error, once or from there on: the answer tells whether the new document stands, and
// if it doesn't, a complete one does all the same.
TEST_F(SavingTest, NoFailedCallLosesADocument) {
    for (const SaveSetting& setting : kSettings) {
        for (const std::uint32_t error : {kDenied, platform::kErrorFileNotFound, platform::kErrorIoDevice}) {
            for (const int times : {1, testing_support::kAllFurtherCalls}) {
                int failed = 1;
                for (int nth = 1; failed > 0; ++nth) {
                    SCOPED_TRACE(testing::Message() << setting.mode << ", error " << error << " of call " << nth);
                    folder.Write(setting.name, kDocument);
                    Store& s = LoadStore(setting.name);
                    EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, setting.mode), kDone);
                    s.SetNumber(0, "v", tDWORD, 2U);
                    const FileFaults faults({FileCall::Any, error, nth, times});
                    const ResultCode code = s.Save();
                    failed = faults.Failed();
                    const std::string disk = Disk(setting.name);
                    EXPECT_EQ(disk[0] == '2', IsSuccess(code)) << disk;
                    EXPECT_TRUE(disk[0] == '2' || disk[0] == '1' || disk.starts_with("- 2")) << disk;
                    RemoveAll();
                }
            }
        }
    }
}

/// What other threads do in turn after a save has written its temporary file and before it moves it: `c` changes the
/// value, `s` saves, `f` fails to save. `S` and `F` do so too, and move their temporary files only after the first save
/// has returned.
struct OverlapCase {
    const char* steps;
    FileFault fault = kNoFault;   // of the first save
};
constexpr FileFault kNoMove{kMove, kHeld, 1, 1};
const OverlapCase kOverlaps[] = {
    {"c"},  {"c", kNoMove},  {"cs"},   {"cf"},   {"cS"}, {"cS", kNoMove}, {"cF"},
    {"Sc"}, {"Sc", kNoMove}, {"cScF"}, {"cFcS"}, {"s"},  {"s", kNoMove},  {"f"},
};

TEST_F(SavingTest, NoChangeDuringASaveIsLost) {
    for (const OverlapCase& row : kOverlaps) {
        SCOPED_TRACE(row.steps);
        Store& s = LoadShared();
        std::uint32_t value = 2;
        s.SetNumber(0, "v", tDWORD, value);
        testing_support::Latch returned(1);
        std::vector<std::thread> savers;
        const auto startSave = [&](bool fails, bool waits) {
            testing_support::Latch written(1);
            savers.emplace_back([&, fails, waits] {
                const FileFaults faults(fails ? kNoMove : kNoFault, [&](const testing_support::FileEvent& event) {
                    if (!waits || event.call != FileCall::Write) return;
                    written.CountDown();
                    returned.Wait();
                });
                EXPECT_EQ(IsFailure(s.object.OwnMethods().Save(s.object.Get(), 1)), fails);
            });
            waits ? written.Wait() : savers.back().join();
        };
        const auto step = [&](char what) {
            if (what == 'c') std::thread([&] { s.SetNumber(0, "v", tDWORD, ++value); }).join();
            if (what == 's' || what == 'f') startSave(what == 'f', false);
            if (what == 'S' || what == 'F') startSave(what == 'F', true);
        };
        {
            const FileFaults faults(row.fault, [&](const testing_support::FileEvent& event) {
                if (event.call == FileCall::Write) std::for_each_n(row.steps, std::strlen(row.steps), step);
            });
            s.Save();
        }
        returned.CountDown();
        for (std::thread& saver : savers) {
            if (saver.joinable()) saver.join();
        }
        EXPECT_EQ(s.object.Close(), kDone);
        EXPECT_EQ(folder.Read(u"a.xml"), DocumentOf(static_cast<int>(value)));
        store.reset();
        RemoveAll();
    }
}

TEST_F(SavingTest, SaversAndAWriterTogetherLoseNoChange) {
    for (int round = 0; round < 50; ++round) {
        Store& s = LoadShared();
        std::atomic<int> saving{2};
        testing_support::Latch start(3);
        const auto save = [&] {
            start.ArriveAndWait();
            for (int nth = 1; nth <= 4; ++nth) {
                const FileFaults faults(nth % 2 == 0 ? kNoMove : FileFault{FileCall::Flush, 0});
                static_cast<void>(s.object.OwnMethods().Save(s.object.Get(), 1));   // some fail, as they should
            }
            --saving;
        };
        std::thread first(save);
        std::thread second(save);
        start.ArriveAndWait();
        int value = 1;
        while (saving.load() != 0) s.SetNumber(0, "v", tDWORD, ++value);
        first.join();
        second.join();
        EXPECT_EQ(s.object.Close(), kDone);
        EXPECT_EQ(folder.Read(u"a.xml"), DocumentOf(value));
        store.reset();
        RemoveAll();
    }
}

TEST_F(SavingTest, ATerminatorInsideTheNameEndsThePath) {
    folder.Write(u"a.xml", kDocument);
    Store& s = LoadStore(u"a.xml");
    EXPECT_EQ(s.object.SetName(folder.Path(u"a.xml") + std::u16string(3, u'\0')), kDone);
    EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, 1), kDone);
    s.SetNumber(0, "v", tDWORD, 2U);
    EXPECT_EQ(s.Save(), kDone);
    EXPECT_EQ(Disk(u"a.xml"), "2 - - 1 -");
}

TEST_F(SavingTest, ClosingSavesWhereItIsAsked) {
    for (const std::uint32_t saveOnClose : {0U, 1U}) {
        folder.Write(u"a.xml", kDocument);
        Store& s = MakeStore(u"a.xml");
        EXPECT_EQ(s.object.SetNumber(PropertySaveOnClose, saveOnClose), kDone);
        EXPECT_EQ(s.object.Ready(), kDone);
        s.SetNumber(0, "v", tDWORD, 2U);
        EXPECT_EQ(s.object.Close(), kDone);
        EXPECT_EQ(Disk(u"a.xml"), saveOnClose != 0 ? "2 - - - -" : "1 - - - -");
        store.reset();
    }
}

}   // namespace
}   // namespace test
