#include "file_store_test.h"

#include <component/platform/files.h>
#include <component/platform/threads.h>

#include <chrono>
#include <cstdio>

namespace test {
namespace {

class SavingTest : public FileStoreTest {
protected:
    SavingTest() {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%x", platform::GetCurrentThreadId());
        thread.assign(digits, digits + std::strlen(digits));
    }

    /// Opens a file of the folder and shares it with nobody.
    platform::Handle Hold(std::u16string_view name) {
        return platform::CreateFileW(folder.Path(name).c_str(), platform::kGenericRead, 0, nullptr,
                                     platform::kOpenExisting, 0, nullptr);
    }

    /// The files of the folder, each with the value `v` that it holds: "a.xml=2 a.xml.bak2=1".
    std::string Files() {
        std::string text;
        for (const std::string& name : folder.List()) {
            const std::string content = folder.Read(std::u16string(name.begin(), name.end()));
            const std::size_t value = content.find("\"v\">");
            const std::size_t digits = value + 4;
            std::string shown = name;
            const std::string number(thread.begin(), thread.end());
            if (shown.ends_with(number)) shown.replace(shown.size() - number.size(), number.size(), "N");
            text += (text.empty() ? "" : " ") + shown + "=";
            text += value == std::string::npos ? (content.empty() ? "empty" : "?")
                                               : content.substr(digits, content.find('<', digits) - digits);
        }
        return text;
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
    {"none", u"a.xml", 0, "a.xml=1", "a.xml=3", 0},
    {"rotating", u"a.xml", 1, "a.xml=1", "a.xml=3 a.xml.bak2=2", 1},
    {"the first, then rotating", u"a.xml", 2, "a.xml=1 a.xml.bak=1", "a.xml=3 a.xml.bak=1 a.xml.bak2=2", 1},
    {"the default name rotates always", u"profiles.xml", 0, "profiles.xml=1", "profiles.xml=3 profiles.xml.bak2=2", 0},
    {"its ending is enough", u"myprofiles.xml", 0, "myprofiles.xml=1", "myprofiles.xml=3 myprofiles.xml.bak2=2", 0},
    {"letter case counts", u"PROFILES.XML", 0, "PROFILES.XML=1", "PROFILES.XML=3", 0},
    {"another number is none", u"a.xml", 7, "a.xml=1", "a.xml=3", 7},
};

TEST_F(SavingTest, BackupsGoByTheModeAndTheName) {
    for (const BackupCase& row : kBackups) {
        SCOPED_TRACE(row.label);
        Store& s = LoadStore(row.name);
        EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, row.mode), kDone);
        EXPECT_EQ(s.Save(), kDone);
        EXPECT_EQ(Files(), "") << "nothing has changed yet";
        for (std::uint32_t value = 1; value <= 3; ++value) {
            s.SetNumber(0, "v", tDWORD, value);
            EXPECT_EQ(s.Save(), kDone);
            EXPECT_TRUE(value != 1 || Files() == row.afterOne) << Files();
        }
        EXPECT_EQ(Files(), row.afterThree);
        EXPECT_EQ(s.object.Number(PropertyBackupMode), row.modeAfter);
        RemoveAll();
    }
}

constexpr char kCannotWrite[] = "arbor\tcannot write file ";
constexpr char kCannotMove[] = "arbor\tcannot move temporary file to ";
constexpr char kNoOldDocument[] = "arbor\tcannot move original profiles.xml to backup file: ";

// What stands on the disk after each way a save can end. The document held 1 and its second backup 0; the save has 2.
TEST_F(SavingTest, AFailureLeavesACompleteDocument) {
    struct Row {
        const char* label;
        std::uint32_t mode;
        std::function<void()> obstacle;   // before the save
        std::function<void()> atBackup;   // when the backups begin
        ResultCode code;
        const char* files;
        std::vector<std::string> failures;   // the lines' beginnings
    };
    std::vector<platform::Handle> held;
    const auto hold = [&](std::u16string_view name) {
        held.push_back(Hold(name));
        ASSERT_NE(held.back(), platform::kInvalidHandle);
    };
    const std::u16string temporary = u"a.xml.tmp" + thread;
    const Row rows[] = {
        {"all goes well, with a backup", 1, [] {}, [] {}, kDone, "a.xml=2 a.xml.bak2=1", {}},
        {"all goes well, without", 0, [] {}, [] {}, kDone, "a.xml=2 a.xml.bak2=0", {}},
        {"the temporary file can't be opened",
         1,
         [&] { folder.Write(temporary, "older"), hold(temporary); },
         [] {},
         MakeResult(0x80010104),
         "a.xml=1 a.xml.bak2=0 a.xml.tmpN=?",
         {kCannotWrite}},
        {"a value has no text",
         1,
         [&] { store->SetText(0, "w", "xx", tWCHAR); },
         [] {},
         kUnspecified,
         "a.xml=1 a.xml.bak2=0 a.xml.tmpN=empty",
         {kCannotWrite}},
        {"the old backup can't go",
         1,
         [&] { hold(u"a.xml.bak2"); },
         [] {},
         kDone,
         "a.xml=2 a.xml.bak2=0",
         {"arbor\tcannot move profiles.xml.bak2 to ", "arbor\tcannot remove ", kNoOldDocument}},
        {"the final move fails, without a backup",
         0,
         [&] { hold(u"a.xml"); },
         [] {},
         kAccessDenied,
         "a.xml=1 a.xml.bak2=0 a.xml.tmpN=2",
         {kCannotMove}},
        {"the final move fails, with a backup",
         1,
         [] {},
         [&] { hold(temporary); },
         MakeResult(0x80010104),
         "a.xml.bak2=1 a.xml.tmpN=2",
         {kCannotMove, "arbor\tFile "}},
        {"the first backup is there already",
         2,
         [&] { folder.Write(u"a.xml.bak", "\"v\">7<"); },
         [] {},
         kDone,
         "a.xml=2 a.xml.bak=7 a.xml.bak2=1",
         {"arbor\tcannot do first backup: 0x800000D1"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        folder.Write(u"a.xml", kDocument);
        folder.Write(u"a.xml.bak2", "<arbor><tDWORD name=\"v\">0</tDWORD></arbor>");
        Store& s = LoadStore(u"a.xml");
        EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, row.mode), kDone);
        s.SetNumber(0, "v", tDWORD, 2U);
        row.obstacle();
        lines.clear();
        atBackup = row.atBackup;
        EXPECT_EQ(s.Save(), row.code);
        for (const platform::Handle handle : held) platform::CloseHandle(handle);
        held.clear();
        EXPECT_EQ(Files(), row.files);
        const std::vector<std::string> failures = LinesOf(300);
        ASSERT_EQ(failures.size(), row.failures.size());
        for (std::size_t i = 0; i < failures.size(); ++i)
            EXPECT_EQ(failures[i].rfind(row.failures[i], 0), 0U) << failures[i];
        // What failed is still there to be saved, and the next try gets through.
        if (IsFailure(row.code) && row.code != kUnspecified) {
            atBackup = [] {};
            EXPECT_EQ(s.Save(), kDone);
            EXPECT_NE(Files().find("a.xml=2"), std::string::npos) << Files();
        }
        RemoveAll();
    }
}

TEST_F(SavingTest, ADeniedMoveIsTriedThreeTimes) {
    folder.Write(u"a.xml", kDocument);
    Store& s = LoadStore(u"a.xml");
    s.SetNumber(0, "v", tDWORD, 2U);
    const platform::Handle held = Hold(u"a.xml");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(s.Save(), kAccessDenied);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
    EXPECT_EQ(LinesOf(300).size(), 1U);
    platform::CloseHandle(held);
}

TEST_F(SavingTest, ATerminatorInsideTheNameEndsThePath) {
    folder.Write(u"a.xml", kDocument);
    Store& s = LoadStore(u"a.xml");
    EXPECT_EQ(s.object.SetName(folder.Path(u"a.xml") + std::u16string(3, u'\0')), kDone);
    EXPECT_EQ(s.object.SetNumber(PropertyBackupMode, 1), kDone);
    s.SetNumber(0, "v", tDWORD, 2U);
    EXPECT_EQ(s.Save(), kDone);
    EXPECT_EQ(Files(), "a.xml=2 a.xml.bak2=1");
}

TEST_F(SavingTest, ClosingSavesWhereItIsAsked) {
    for (const std::uint32_t saveOnClose : {0U, 1U}) {
        folder.Write(u"a.xml", kDocument);
        Store& s = MakeStore(u"a.xml");
        EXPECT_EQ(s.object.SetNumber(PropertySaveOnClose, saveOnClose), kDone);
        EXPECT_EQ(s.object.Ready(), kDone);
        s.SetNumber(0, "v", tDWORD, 2U);
        EXPECT_EQ(s.object.Close(), kDone);
        EXPECT_EQ(Files(), saveOnClose != 0 ? "a.xml=2" : "a.xml=1");
        store.reset();
    }
}

TEST_F(SavingTest, ASaveSurvivesEveryFailedAllocation) {
    folder.Write(u"a.xml", kDocument);
    Store& s = LoadStore(u"a.xml");
    for (std::size_t failAt = 1;; ++failAt) {
        s.SetNumber(0, "v", tDWORD, static_cast<std::uint32_t>(failAt + 1));
        kernel.FailAllocation(failAt);
        const ResultCode code = s.Save();
        const bool failed = kernel.AllocationFailed();
        kernel.FailAllocation(0);
        EXPECT_EQ(code, failed ? kOutOfMemory : kDone);
        if (!failed) break;
    }
}

}   // namespace
}   // namespace test
