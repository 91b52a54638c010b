#include "open_handle.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using namespace platform_test;
using namespace testing_support;

constexpr std::uint32_t kReplace = platform::kMoveReplaceExisting;
constexpr std::uint32_t kSave = kReplace | platform::kMoveCopyAllowed | platform::kMoveWriteThrough;

/// What a name is before a call.
enum class Kind {
    Missing,
    File,
    ReadOnly,
    Held,
    HeldShared,
    Folder
};

/// Makes entries, and holds open those that are to be held.
class Scene {
public:
    void Make(std::u16string_view name, Kind kind, std::string_view bytes) {
        if (kind == Kind::Missing) return;
        if (kind == Kind::Folder) return folder.MakeFolder(name);
        folder.Write(name, bytes);
        if (kind == Kind::ReadOnly) folder.MakeReadOnly(name);
        if (kind == Kind::Held) Hold(name, 0);
        if (kind == Kind::HeldShared) Hold(name, kShareAll);
    }

    TemporaryFolder folder;

private:
    void Hold(std::u16string_view name, std::uint32_t share) {
        held.push_back(
            std::make_unique<OpenHandle>(folder.Path(name), platform::kGenericRead, share, platform::kOpenExisting));
    }

    std::vector<std::unique_ptr<OpenHandle>> held;
};

struct MoveCase {
    const char* label;
    Kind source;
    Kind target;
    std::uint32_t flags;
    std::uint32_t error;
    Scope scope = Scope::Everywhere;
};

constexpr MoveCase kMoves[] = {
    {"to a free name", Kind::File, Kind::Missing, 0, 0},
    {"to a free name, for good", Kind::File, Kind::Missing, kSave, 0},
    {"over a file", Kind::File, Kind::File, kSave, 0},
    {"over a file without leave", Kind::File, Kind::File, platform::kMoveWriteThrough, platform::kErrorAlreadyExists},
    {"of a read-only file", Kind::ReadOnly, Kind::File, kSave, 0},
    {"of a file open and shared", Kind::HeldShared, Kind::File, kSave, 0},
    {"of a folder", Kind::Folder, Kind::Missing, kSave, 0},
    {"of nothing", Kind::Missing, Kind::File, kSave, platform::kErrorFileNotFound},
    {"of an open file", Kind::Held, Kind::File, kSave, platform::kErrorSharingViolation},
    {"over an open file", Kind::File, Kind::Held, kSave, platform::kErrorAccessDenied},
    {"over a read-only file", Kind::File, Kind::ReadOnly, kSave, platform::kErrorAccessDenied, Scope::OursOnly},
    {"over a folder", Kind::File, Kind::Folder, kSave, platform::kErrorAccessDenied},
    {"over a folder without leave", Kind::File, Kind::Folder, 0, platform::kErrorAlreadyExists},
    {"of a folder over a file", Kind::Folder, Kind::File, kSave, platform::kErrorAccessDenied, Scope::OursOnly},
};

TEST(MovesTest, MoveHappensWholeOrNotAtAll) {
    for (const MoveCase& row : kMoves) {
        if (IsLeftOut(row.scope)) continue;
        SCOPED_TRACE(row.label);
        Scene scene;
        scene.Make(u"source", row.source, "new");
        scene.Make(u"target", row.target, "old");
        const std::string before = scene.folder.Read(u"target");
        const std::string moved = scene.folder.Read(u"source");
        const std::u16string target = scene.folder.Path(u"target");
        EXPECT_EQ(ErrorOf(platform::MoveFileExW(scene.folder.Path(u"source").c_str(), target.c_str(), row.flags)),
                  row.error);
        EXPECT_EQ(scene.folder.Read(u"source"), row.error == 0 ? TemporaryFolder::kMissing : moved);
        EXPECT_EQ(scene.folder.Read(u"target"), row.error == 0 ? moved : before);
        EXPECT_LE(scene.folder.List().size(), 2U);
    }
}

TEST(MovesTest, MoveKnowsTheNamesThatItCantReach) {
    Scene scene;
    scene.Make(u"a", Kind::File, "content");
    const std::u16string path = scene.folder.Path(u"a");
    const auto move = [&scene](std::u16string_view source, std::u16string_view target) {
        return ErrorOf(
            platform::MoveFileExW(scene.folder.Path(source).c_str(), scene.folder.Path(target).c_str(), kSave));
    };
    EXPECT_EQ(move(u"a", u"none\\b"), platform::kErrorPathNotFound);
    EXPECT_EQ(move(u"none\\a", u"b"), platform::kErrorPathNotFound);
    EXPECT_EQ(move(u"a", u"a"), 0U) << "onto itself";
    EXPECT_EQ(move(u"a", u"\U0001F600"), 0U);
    EXPECT_EQ(scene.folder.Read(u"\U0001F600"), "content");
}

TEST(MovesTest, MoveOverAnotherNameOfTheSameFileTakesTheOldNameAway) {
    if (IsLeftOut(Scope::OursOnly)) GTEST_SKIP();
    Scene scene;
    scene.Make(u"a", Kind::File, "content");
    std::filesystem::create_hard_link(scene.folder.Native(u"a"), scene.folder.Native(u"b"));
    EXPECT_EQ(ErrorOf(platform::MoveFileExW(scene.folder.Path(u"a").c_str(), scene.folder.Path(u"b").c_str(), kSave)),
              0U);
    EXPECT_EQ(scene.folder.List(), std::vector<std::string>{"b"});
}

TEST(MovesTest, ReadersSeeTheOldOrTheNewFileWhileItIsReplaced) {
    if (IsLeftOut(Scope::OursOnly))
        GTEST_SKIP() << "an open file isn't replaced, and one reader or other is always there";
    const TemporaryFolder folder;
    const std::u16string target = folder.Path(u"target");
    folder.Write(u"target", std::string(5000, 'o'));
    std::atomic<bool> done = false;
    std::jthread reader([&] {
        while (!done) {
            const OpenHandle file(target, platform::kGenericRead, kShareAll, platform::kOpenExisting);
            if (file.Error() != 0) continue;   // in the middle of a move
            char bytes[6000];
            std::uint32_t count = 0;
            EXPECT_TRUE(platform::ReadFile(file.Get(), bytes, sizeof(bytes), &count));
            EXPECT_EQ(count, 5000U);
        }
    });
    int moves = 0;
    for (int round = 0; round < 100; ++round) {
        folder.Write(u"source", std::string(5000, 'n'));
        if (platform::MoveFileExW(folder.Path(u"source").c_str(), target.c_str(), kReplace)) ++moves;
    }
    done = true;
    reader.join();
    EXPECT_EQ(moves, 100);
}

struct CopyCase {
    const char* label;
    Kind source;
    Kind target;
    bool failIfExists;
    std::uint32_t error;
    Scope scope = Scope::Everywhere;
};

constexpr CopyCase kCopies[] = {
    {"to a free name", Kind::File, Kind::Missing, true, 0},
    {"over a file", Kind::File, Kind::File, false, 0},
    {"over a file that must not be there", Kind::File, Kind::File, true, platform::kErrorFileExists},
    {"of a file open and shared", Kind::HeldShared, Kind::Missing, true, 0},
    {"of an open file", Kind::Held, Kind::Missing, true, platform::kErrorSharingViolation},
    {"over an open file", Kind::File, Kind::Held, false, platform::kErrorSharingViolation},
    {"over a read-only file", Kind::File, Kind::ReadOnly, false, platform::kErrorAccessDenied, Scope::OursOnly},
    {"of nothing", Kind::Missing, Kind::File, false, platform::kErrorFileNotFound},
    {"of a folder", Kind::Folder, Kind::Missing, false, platform::kErrorAccessDenied},
    {"over a folder", Kind::File, Kind::Folder, false, platform::kErrorAccessDenied},
};

TEST(MovesTest, CopyLeavesTheSourceAndEitherTarget) {
    for (const CopyCase& row : kCopies) {
        if (IsLeftOut(row.scope)) continue;
        SCOPED_TRACE(row.label);
        Scene scene;
        const std::string bytes(150'000, 'n');   // several blocks of a copy
        scene.Make(u"source", row.source, bytes);
        scene.Make(u"target", row.target, "old");
        const std::string source = scene.folder.Read(u"source");
        const std::string before = scene.folder.Read(u"target");
        const std::u16string target = scene.folder.Path(u"target");
        const bool copied = platform::CopyFileW(scene.folder.Path(u"source").c_str(), target.c_str(), row.failIfExists);
        EXPECT_EQ(ErrorOf(copied), row.error);
        EXPECT_TRUE(scene.folder.Read(u"source") == source);
        EXPECT_TRUE(scene.folder.Read(u"target") == (row.error == 0 ? bytes : before));
    }
}

}   // namespace
