#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <random>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

/// More where the environment asks for more: ARBOR_KILLS=6000 are 2,000 in each backup mode.
int Kills() {
    const char* const asked = std::getenv("ARBOR_KILLS");
    return asked != nullptr ? std::atoi(asked) : 200;
}

constexpr std::uint32_t kTexts = 400;
constexpr char16_t kDocument[] = u"store.xml";

/// Saves for ever, or until a save fails: every document holds the same number in all its values, so that a torn one
/// shows.
void SaveForEver(host::Kernel& kernel, const testing_support::TemporaryFolder& folder, std::uint32_t backupMode) {
    Store store(kernel);
    store.object.SetName(folder.Path(kDocument));
    store.object.SetNumber(PropertyBackupMode, backupMode);
    store.object.Ready();
    for (std::uint32_t round = 1; IsSuccess(store.code); ++round) {
        for (std::uint32_t i = 0; i < kTexts; ++i) store.SetNumber(0, ("n" + std::to_string(i)).c_str(), tDWORD, round);
        store.Save();
    }
}

/// The round that the document of that name holds; nothing if it isn't one whole document.
std::optional<std::uint32_t> WholeRound(host::Kernel& kernel, const testing_support::TemporaryFolder& folder,
                                        std::u16string_view name) {
    Store store(kernel);
    store.object.SetName(folder.Path(name));
    if (IsFailure(store.object.Ready()) || store.ValueCount() != kTexts) return std::nullopt;
    const auto round = store.Number<std::uint32_t>(0, "n0", tDWORD);
    for (std::uint32_t i = 1; i < kTexts; ++i) {
        if (store.Number<std::uint32_t>(0, ("n" + std::to_string(i)).c_str(), tDWORD) != round) return std::nullopt;
    }
    return round;
}

TEST(KilledSaveTest, ACompleteDocumentStandsUnderOneOfItsNames) {
    std::mt19937 random(20261122);
    host::Kernel kernel;
    kernel.LoadModule(ModulePath());
    int afterTheMove = 0;
    const int kills = Kills();
    ASSERT_GT(kills, 0);
    for (int kill = 0; kill < kills; ++kill) {
        SCOPED_TRACE(kill);
        const testing_support::TemporaryFolder folder;
        const auto backupMode = static_cast<std::uint32_t>(kill % 3);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            SaveForEver(kernel, folder, backupMode);
            _exit(1);
        }
        // Once the first save is through, there must never be less than one document again.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!folder.Exists(kDocument) && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the saver must have been killed and not have ended";

        const auto document = WholeRound(kernel, folder, kDocument);
        EXPECT_EQ(document.has_value(), folder.Exists(kDocument)) << "what bears the name is whole";
        if (document.has_value()) continue;
        ++afterTheMove;
        EXPECT_NE(backupMode, 0U) << "without backups the name is never empty";
        EXPECT_TRUE(WholeRound(kernel, folder, u"store.xml.bak2").has_value());
    }
    RecordProperty("killed between the two moves", afterTheMove);
}

}   // namespace
}   // namespace test
