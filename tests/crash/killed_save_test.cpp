#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

using std::chrono::microseconds;
using testing_support::TemporaryFolder;

/// For each mode and size; more where the environment asks for more.
int Kills() {
    const char* const asked = std::getenv("ARBOR_KILLS");
    return asked != nullptr ? std::atoi(asked) : 10;
}

constexpr std::size_t kTexts = 20;
constexpr char16_t kDocument[] = u"store.xml";

struct KillCase {
    const char* label;
    std::size_t textBytes;
};
constexpr KillCase kSizes[] = {{"1 KB", 10}, {"100 KB", 5'000}, {"5 MB", 250'000}};

/// A store on the document of that name. A round fills all its values with one letter, so that a mix of two shows.
class RoundStore {
public:
    RoundStore(host::Kernel& kernel, const TemporaryFolder& folder, std::u16string_view name, std::uint32_t mode = 0)
        : store(kernel) {
        store.object.SetName(folder.Path(name));
        store.object.SetNumber(PropertyBackupMode, mode);
        code = store.object.Ready();
    }

    ResultCode SaveRound(unsigned round, std::size_t textBytes) {
        const std::string text(textBytes, static_cast<char>('a' + round % 26));
        for (std::size_t i = 0; i < kTexts; ++i) store.SetText(0, ("n" + std::to_string(i)).c_str(), text);
        return store.Save();
    }

    /// True for one complete document of one round.
    [[nodiscard]] bool IsWhole(std::size_t textBytes) {
        if (IsFailure(code) || store.ValueCount() != kTexts) return false;
        const std::string first = store.Text(0, "n0");
        if (first.size() != textBytes || first.find_first_not_of(first[0]) != std::string::npos) return false;
        for (std::size_t i = 1; i < kTexts; ++i) {
            if (store.Text(0, ("n" + std::to_string(i)).c_str()) != first) return false;
        }
        return true;
    }

private:
    Store store;
    ResultCode code = 0;
};

class KilledSaveTest : public testing::Test {
protected:
    KilledSaveTest() { kernel.LoadModule(ModulePath()); }

    /// Saves a first document that only its owner may read.
    static void MakeDocument(host::Kernel& kernel, const TemporaryFolder& folder, std::size_t textBytes) {
        folder.Write(kDocument, "<arbor></arbor>");
        ASSERT_EQ(chmod(folder.Native(kDocument).c_str(), 0600), 0);
        ASSERT_EQ(RoundStore(kernel, folder, kDocument).SaveRound(0, textBytes), kDone);
    }

    /// Runs a process that saves one round after the other, waits until it has done so many saves, calls `work`, and
    /// kills it.
    template <class Work>
    void KillSaver(const TemporaryFolder& folder, std::size_t textBytes, std::uint32_t mode, int saves, Work work) {
        int progress[2];
        ASSERT_EQ(pipe(progress), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            RoundStore store(kernel, folder, kDocument, mode);
            for (unsigned round = 1; write(progress[1], "s", 1) == 1; ++round) {
                if (IsFailure(store.SaveRound(round, textBytes))) break;
            }
            _exit(1);
        }
        const auto wait = [&progress] {
            char byte = 0;
            EXPECT_EQ(read(progress[0], &byte, 1), 1);
        };
        for (int done = 0; done <= saves; ++done) wait();
        work(wait);
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the saver must have been killed and not have ended";
        close(progress[0]);
        close(progress[1]);
    }

    /// How long a save takes in such a process, its changes included.
    microseconds TimeOfSave(std::size_t textBytes, std::uint32_t mode) {
        const TemporaryFolder folder;
        MakeDocument(kernel, folder, textBytes);
        microseconds time{};
        KillSaver(folder, textBytes, mode, 0, [&time](const auto& wait) {
            const auto start = std::chrono::steady_clock::now();
            wait();
            time = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);
        });
        return time;
    }

    /// Each file is one complete document with the permissions of the first one, but for those that were being written:
    /// the temporary file and a copy without its name.
    void CheckFiles(const TemporaryFolder& folder, std::size_t textBytes, std::uint32_t mode) {
        for (const std::string& name : folder.List()) {
            struct stat status {};
            const std::u16string wide(name.begin(), name.end());
            ASSERT_EQ(stat(folder.Native(wide).c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 0777U, 0600U) << name;
            const bool isWhole = RoundStore(kernel, folder, wide).IsWhole(textBytes);
            const bool mayBeTorn = name.starts_with("store.xml.tmp") || name.starts_with(".move-");
            EXPECT_TRUE(isWhole || mayBeTorn) << name << " is torn, mode " << mode;
            if (!isWhole) ++(mayBeTorn ? unfinished : torn);
        }
        if (folder.Exists(kDocument)) return;
        ++betweenMoves;
        EXPECT_NE(mode, 0U) << "without backups the document always has its name";
        EXPECT_TRUE(folder.Exists(u"store.xml.bak2"));   // and it is whole, as all files are
    }

    host::Kernel kernel;
    int torn = 0, unfinished = 0, betweenMoves = 0;
};

TEST_F(KilledSaveTest, EveryFileIsACompleteDocumentUnderItsName) {
    std::mt19937 random(20261122);
    const int kills = Kills();
    ASSERT_GT(kills, 0);
    for (const KillCase& size : kSizes) {
        for (const std::uint32_t mode : {0U, 1U, 2U}) {
            std::uniform_int_distribution<std::int64_t> delays(0, 5 * TimeOfSave(size.textBytes, mode).count() / 4);
            torn = unfinished = betweenMoves = 0;
            for (int kill = 0; kill < kills; ++kill) {
                SCOPED_TRACE(testing::Message() << size.label << ", mode " << mode << ", kill " << kill);
                const TemporaryFolder folder;
                MakeDocument(kernel, folder, size.textBytes);
                // The first three saves differ: by the first backup, and by what has to make way for the second one.
                const microseconds delay(delays(random));
                KillSaver(folder, size.textBytes, mode, kill % 3,
                          [&delay](const auto&) { std::this_thread::sleep_for(delay); });
                if (HasFatalFailure()) return;
                CheckFiles(folder, size.textBytes, mode);
            }
            std::printf("%s, mode %u: %d kills, %d torn; %d unfinished temporary files, %d between the moves\n",
                        size.label, mode, kills, torn, unfinished, betweenMoves);
        }
    }
}

}   // namespace
}   // namespace test
