#include "object/registration.h"
#include "support/crash_disk.h"
#include "support/file_faults.h"
#include "support/linux/system_faults.h"
#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>
#include <component/platform/threads.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

namespace test {
namespace {

using namespace testing_support;

std::string DocumentOf(int value) { return "<arbor><tDWORD name='v'>" + std::to_string(value) + "</tDWORD></arbor>"; }

/// The last name of a path of either kind; all names here are ASCII.
template <class Path>
std::string NameOf(Path path) {
    std::string name;
    for (const auto unit : path) {
        if (unit == '/' || unit == '\\') {
            name.clear();
        } else {
            name.push_back(static_cast<char>(unit));
        }
    }
    return name;
}

/// Records what a save does to a disk, and every state that a power cut at any moment can leave.
class SaveRecord {
public:
    CrashDisk disk;
    std::set<CrashDisk::State> states;

    /// Records a call of the platform, with what the platform promises for it: a move changes names only and syncs
    /// them, and a copy isn't flushed.
    void Record(const FileEvent& event) {
        const std::string name = NameOf(event.path), target = NameOf(event.target);
        if (event.call == FileCall::Open) files[event.file] = disk.FileNumber(name), disk.Empty(disk.FileNumber(name));
        if (event.call == FileCall::Write) disk.Write(files[event.file], event.bytes);
        if (event.call == FileCall::Flush) disk.Flush(files[event.file]);
        if (event.call == FileCall::Copy) disk.Write(disk.FileNumber(target), disk.Bytes(name));
        if (event.call == FileCall::Remove) disk.Remove(name);
        if (event.call == FileCall::Move) disk.Rename(name, target);
        disk.AddStates(states);
        if (event.call == FileCall::Move) disk.SyncDirectory();
    }

    /// Records a system call.
    void Record(const SystemEvent& event) {
        struct stat status {};
        const bool isFolder = event.file >= 0 && fstat(event.file, &status) == 0 && S_ISDIR(status.st_mode);
        if (event.call == SystemCall::Open && !isFolder) descriptors[event.file] = disk.FileNumber(NameOf(event.path));
        if (event.call == SystemCall::Truncate) disk.Empty(descriptors[event.file]);
        if (event.call == SystemCall::Write) disk.Write(descriptors[event.file], event.bytes);
        if (event.call == SystemCall::Sync && !isFolder) disk.Flush(descriptors[event.file]);
        if (event.call == SystemCall::Sync && isFolder) disk.SyncDirectory();
        if (event.call == SystemCall::Rename) disk.Rename(NameOf(event.path), NameOf(event.target));
        if (event.call == SystemCall::Unlink) disk.Remove(NameOf(event.path));
        disk.AddStates(states);
    }

private:
    std::map<platform::Handle, std::size_t> files;
    std::map<int, std::size_t> descriptors;
};

constexpr FileFault kFlushLies{FileCall::Flush, 0, 1, kAllFurtherCalls};
constexpr SystemFault kNoSystemFault{.nth = kAllFurtherCalls};
constexpr SystemFault kSyncLies{SystemCall::Sync, 0, 1, kAllFurtherCalls};

struct CutCase {
    const char* label;
    bool bySystem;   // the record is of the system's calls
    FileFault fileFault;
    SystemFault systemFault;
    bool holds;   // a complete document holdsDocument at every moment, and the new one stays once the save is through
};
constexpr CutCase kCuts[] = {
    {"a flush before the moves", false, kNoFault, kNoSystemFault, true},
    {"no flush before the moves", false, kFlushLies, kNoSystemFault, false},
    {"the calls of this system", true, kNoFault, kNoSystemFault, true},
    {"no sync at all", true, kNoFault, kSyncLies, false},
};

/// A save with the document in its place, or after one whose final move failed: the document is in the second backup
/// and the temporary file then.
struct CutSetting {
    const char16_t* name;
    std::uint32_t mode;
    bool hasDocument;
    bool covers;   // an old document holdsDocument aside through the whole save
};
constexpr CutSetting kSettings[] = {{u"a.xml", 0, true, false}, {u"a.xml", 1, true, true},
                                    {u"a.xml", 2, true, true},  {u"profiles.xml", 0, true, true},
                                    {u"a.xml", 0, false, true}, {u"a.xml", 1, false, false}};

class PowerCutTest : public testing::Test {
protected:
    PowerCutTest() {
        kernel.Start(&ModuleEntry);
        char digits[16];
        std::snprintf(digits, sizeof digits, ".tmp%x", platform::GetCurrentThreadId());
        temporary.assign(digits, digits + std::strlen(digits));
    }

    /// The number in the file `name` after a load: 0 if the file is missing, incomplete or the old backup.
    std::uint32_t ValueUnder(const CrashDisk::State& state, const std::string& name) {
        const auto found = state.find(name);
        if (found == state.end()) return 0;
        folder.Write(u"found", found->second);
        Store fresh(kernel);
        fresh.object.SetName(folder.Path(u"found"));
        return IsSuccess(fresh.object.Ready()) ? fresh.Number<std::uint32_t>(0, "v", tDWORD) : 0;
    }

    SaveRecord RecordSave(const CutSetting& setting, const CutCase& row) {
        const TemporaryFolder home;
        SaveRecord record;
        const std::u16string name = setting.name;
        const auto put = [&](const std::u16string& file, int value) {
            home.Write(file, DocumentOf(value));
            record.disk.Put(NameOf(file), DocumentOf(value));
        };
        put(setting.hasDocument ? name : name + temporary, 1);
        put(name + u".bak2", setting.hasDocument ? 0 : 1);
        Store store(kernel);
        store.object.SetName(home.Path(name));
        store.object.SetNumber(PropertyBackupMode, setting.mode);
        EXPECT_EQ(store.object.Ready(), setting.hasDocument ? kDone : kNoDocument);
        store.SetNumber(0, "v", tDWORD, 2U);
        const FileFaults files(row.fileFault, [&](const FileEvent& event) {
            if (!row.bySystem) record.Record(event);
        });
        const SystemFaults calls(row.systemFault, [&](const SystemEvent& event) {
            if (row.bySystem) record.Record(event);
        });
        EXPECT_EQ(store.Save(), kDone);
        return record;
    }

    std::u16string temporary;   // the ending of a temporary file's name
    TemporaryFolder folder;
    host::Kernel kernel;
};

TEST_F(PowerCutTest, ACompleteDocumentIsFoundAtEveryCallOfASave) {
    for (const CutSetting& setting : kSettings) {
        for (const CutCase& row : kCuts) {
            const std::string name = NameOf(std::u16string_view(setting.name));
            SCOPED_TRACE(row.label + (", " + name) + std::to_string(setting.mode));
            const SaveRecord record = RecordSave(setting, row);
            const auto holdsDocument = [&](const CrashDisk::State& state) {
                return ValueUnder(state, name) != 0 || ValueUnder(state, name + ".bak2") != 0 ||
                       ValueUnder(state, name + NameOf(temporary)) != 0;
            };
            EXPECT_EQ(std::ranges::all_of(record.states, holdsDocument), row.holds || setting.covers);
            std::set<CrashDisk::State> after;
            record.disk.AddStates(after);
            EXPECT_EQ(row.holds, std::ranges::all_of(after, [&](const CrashDisk::State& state) {
                          return ValueUnder(state, name) == 2;
                      }));
        }
    }
}

}   // namespace
}   // namespace test
