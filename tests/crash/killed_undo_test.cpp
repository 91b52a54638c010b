// A run of the tool that replaces the document by a backup is killed before each of its system calls.

#include "tools/tool_fixture.h"

#include <csignal>
#include <cstdio>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using test::Outcome;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class KilledUndoTest : public test::ToolTest {
protected:
    /// Runs a command on the document and kills it before its `call`th system call, counted from 1. Returns false if
    /// the command makes fewer.
    bool KillBefore(int call, const std::vector<std::string>& command) {
        const pid_t child = fork();
        if (child == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            std::raise(SIGSTOP);
            static_cast<void>(RunOn("d.xml", command));
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        for (int stops = 2 * call - 1; stops > 0 && WIFSTOPPED(status); --stops) {   // at each entry and each return
            EXPECT_EQ(ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
            EXPECT_EQ(waitpid(child, &status, 0), child);
        }
        if (!WIFSTOPPED(status)) return false;
        EXPECT_EQ(kill(child, SIGKILL), 0);
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return true;
    }

    /// The contents of all files by their names.
    [[nodiscard]] std::map<std::string, std::string> Contents() const {
        std::map<std::string, std::string> contents;
        for (const std::string& name : Files()) contents[name] = test::FileText(folder / name);
        return contents;
    }

    /// Returns the document's value, also if it is in a file with this ending; "" if there is no such document.
    std::string ValueIn(const std::string& ending) { return RunOn(("d.xml" + ending).c_str(), {"get", "v"}).output; }
};

TEST_F(KilledUndoTest, BothDocumentsAreCompleteBeforeEachSystemCall) {
    bool isBetweenMoves = false;
    for (const std::vector<std::string>& command : {std::vector<std::string>{"undo"}, {"restore", "bak2"}}) {
        int call = 1;
        std::set<std::map<std::string, std::string>> seen;
        for (bool isKilled = true; isKilled; ++call) {
            SCOPED_TRACE(testing::Message() << command[0] << ", killed before call " << call);
            for (const std::string& name : Files()) std::filesystem::remove(folder / name);
            Write("d.xml", "<arbor><tINT name='v'>2</tINT></arbor>");
            Write("d.xml.bak2", "<arbor><tINT name='v'>1</tINT></arbor>");
            isKilled = KillBefore(call, command);
            if (!seen.insert(Contents()).second) continue;
            const std::string document = ValueIn("");
            const std::string backup = ValueIn(".bak2");
            const std::string kept = ValueIn(".before-restore");
            EXPECT_THAT(document, testing::AnyOf("1\n", "2\n"));
            EXPECT_THAT((std::set{document, backup, kept, std::string()}), UnorderedElementsAre("", "1\n", "2\n"));
            if (backup.empty()) {
                isBetweenMoves = true;
                EXPECT_THAT(RunOn("d.xml", {"undo"}).error, HasSubstr("; \"restore d.xml.before-restore\" restores"));
            }
            EXPECT_EQ(RunOn("d.xml", {"backups"}).exitCode, 0);
            EXPECT_EQ(RunOn("d.xml", {"set", "w", "1"}).exitCode, 0);
            EXPECT_EQ(RunOn("d.xml", {"undo"}).exitCode, 0);
            EXPECT_EQ(ValueIn(""), document);
            if (HasFailure()) return;
        }
        std::printf("%s: %d kills, %zu states of the files\n", command[0].c_str(), call - 2, seen.size());
    }
    EXPECT_TRUE(isBetweenMoves);
}

}   // namespace
