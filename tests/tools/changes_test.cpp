#include "platform/open_handle.h"
#include "tool_fixture.h"

#include <host/system.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <random>

#include <gmock/gmock.h>

namespace {

using test::FileText;
using test::kDocument;
using test::Outcome;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr const char* kStart = "K a tDWORD 1\nK/L b tSTRING x\nM c tDOUBLE 0.5\n";

constexpr bool kIsWindows = std::filesystem::path::preferred_separator == '\\';

/// Sets an environment variable of this process and removes it at the end of the scope.
class EnvironmentVariable {
public:
    EnvironmentVariable(const std::string& name, const std::string& value) : setting(name + '=' + value) {
        putenv(setting.data());   // keeps the pointer
    }
    ~EnvironmentVariable() {
        // "NAME=" removes it on Windows, elsewhere "NAME". A copy, since the environment still uses `setting`.
        std::string removal = setting.substr(0, setting.find('=') + (kIsWindows ? 1 : 0));
        putenv(removal.data());
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string setting;
};

class ChangesTest : public test::ToolTest {
protected:
    /// Runs a command on a document with `kStart`. `result` is the document's flat text after it, or a part of the
    /// error; a refused command must leave the file as it is.
    void ExpectResult(const std::vector<std::string>& command, const std::string& input, const char* result,
                      int exitCode) {
        for (const char* former : {"n.xml", "n.xml.bak2"}) std::filesystem::remove(folder / former);
        ASSERT_EQ(RunOn("n.xml", {"apply"}, {"--create"}, kStart).exitCode, 0);
        const std::string before = FileText(folder / "n.xml");
        const Outcome outcome = RunOn("n.xml", command, {}, input);
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.error;
        if (exitCode == 0) {
            EXPECT_EQ(RunOn("n.xml", {"tree", "--flat"}).output, result);
        } else {
            EXPECT_THAT(outcome.error, HasSubstr(result));
            EXPECT_EQ(FileText(folder / "n.xml"), before);
        }
    }
};

TEST_F(ChangesTest, ApplyMakesAllChangesOrNone) {
    struct Case {
        const char* label;
        const char* lines;
        const char* result;
        int exitCode = 0;
    };
    const Case cases[] = {
        {"a comment, spaces and line ends", "# c\r\n\r\n  \tM  c\ttDOUBLE 2 # d\r\nM d tVOID ''",
         "K a tDWORD 1\nK/L b tSTRING x\nM c tDOUBLE 2\nM d tVOID \"\"\n"},
        {"every form", "set K/a tDWORD 2\nset K/L/b y\nset 'N N' d tSTRING \"\\n\"\nO/\nrm M\nmv K/L P\ncp K/a a\n",
         "/ a tDWORD 2\nK a tDWORD 2\n\"N N\" d tSTRING \"\\n\"\nO/\nP b tSTRING y\n"},
        {"a new type", "K a tSTRING 1\nset M/c tBINARY 0a", "K a tSTRING 1\nK/L b tSTRING x\nM c tBINARY 0A\n"},
        {"a key named as a change", "/rm a tINT 1\nset/\n",
         "K a tDWORD 1\nK/L b tSTRING x\nM c tDOUBLE 0.5\n/rm a tINT 1\nset/\n"},
        {"names without text and with separators", "K '' tINT 1\nK a%x2Fb tINT 2",
         "K a tDWORD 1\nK \"#1\" tINT 1\nK a%x2Fb tINT 2\nK/L b tSTRING x\nM c tDOUBLE 0.5\n"},
        {"a value out of range", "K a tDWORD 2\nK a tDWORD 4294967296\nK",
         "standard input:2: 0x80000046: invalid argument (K/a: \"4294967296\" isn't a ", 1},
        {"an open quote", "K a tDWORD 2\n\n'K a", "standard input:3: a ' has no closing '; nothing is saved", 1},
        {"an unknown type", "K a tNOPE 2", "standard input:1: tNOPE isn't a type", 1},
        {"too few words", "K a tDWORD", "input:1: a line is PATH VALUE TYPE TEXT, or PATH/ for", 1},
        {"too many operands", "rm K a b", "input:1: the form is: rm PATH [VALUE]", 1},
        {"a missing value", "K a tDWORD 2\nrm K b", "input:2: 0x8000D002: ", 1},
        {"a bad path", "K//L a tDWORD 2", "input:1: a name in the path is empty", 1},
        {"a new key with a separator", "a%x2Fb c tDWORD 2", "input:1: 0x80000046: ", 1},
        {"a copy over a key", "cp K M", "M is a key with 0 keys and 1 value; --force replaces it", 1},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        ExpectResult({"apply", "-"}, row.lines, row.result, row.exitCode);
    }
    EXPECT_EQ(RunOn("d.xml", {"apply", Path("none.txt")}).exitCode, 3);
    Write("changes.txt", "\xEF\xBB\xBFrm Network\nrm Nowhere\n");
    EXPECT_THAT(RunOn("d.xml", {"apply", Path("changes.txt")}).error, HasSubstr("changes.txt:2: "));
    EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
}

TEST_F(ChangesTest, MovesAndCopiesKeysAndValues) {
    struct Case {
        const char* label;
        std::vector<std::string> command;
        const char* result;
        int exitCode = 0;
    };
    const Case cases[] = {
        {"a value", {"mv", "K/a", "M/a"}, "K/L b tSTRING x\nM c tDOUBLE 0.5\nM a tDWORD 1\n"},
        {"a value's name in another case", {"mv", "K/a", "K/A"}, "K A tDWORD 1\nK/L b tSTRING x\nM c tDOUBLE 0.5\n"},
        {"a value over another one", {"cp", "K/a", "M/c", "--force"}, "K a tDWORD 1\nK/L b tSTRING x\nM c tDWORD 1\n"},
        {"a key to a new parent", {"mv", "K/L/", "N/O"}, "K a tDWORD 1\nM c tDOUBLE 0.5\nN/O b tSTRING x\n"},
        {"a key's name in another case", {"mv", "K", "k"}, "M c tDOUBLE 0.5\nk a tDWORD 1\nk/L b tSTRING x\n"},
        {"a key over another one", {"cp", "M", "K", "--force"}, "M c tDOUBLE 0.5\nK c tDOUBLE 0.5\n"},
        {"a key over the one above it", {"mv", "K/L", "K", "--force"}, "M c tDOUBLE 0.5\nK b tSTRING x\n"},
        {"a key over the root", {"mv", "K", "", "--force"}, "/ a tDWORD 1\nL b tSTRING x\n"},
        {"an existing value", {"cp", "K/a", "M/c"}, "M/c is a tDOUBLE; --force replaces it", 1},
        {"an existing key", {"mv", "M", "K"}, "K is a key with 1 key and 1 value; --force replaces it", 1},
        {"a key into itself", {"mv", "K", "k/L/N"}, "K can't be copied or moved into itself", 1},
        {"a key over itself", {"cp", "K", "K", "--force"}, "K can't be copied or moved into itself", 1},
        {"the root", {"mv", "", "K/N"}, "the root can't be copied or moved into itself", 1},
        {"a value over a key", {"cp", "K/a", "M", "--force"}, "M is a key, and a value needs", 1},
        {"a key over a value", {"cp", "M", "K/a", "--force"}, "K/a is a value, and a key needs", 1},
        {"a missing source", {"mv", "X", "Y"}, "0x8000D002", 1},
        {"no target", {"mv", "K"}, "TARGET is required", 2},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        ExpectResult(row.command, "", row.result, row.exitCode);
    }
    constexpr const char* kRepeated = "<r><i noname=\"1\">t</i><i v=\"2\"></i><i v=\"3\"></i></r>";
    Write("r.xml", kRepeated);
    for (const std::vector<std::string>& command : {std::vector<std::string>{"mv", "r/i", "r/i#2"},
                                                    {"cp", "r/i", "r/i#2"},
                                                    {"mv", "r/i", "r/i#2/k"},
                                                    {"mv", "r/i/noname", "r/i/noname#2"}}) {
        EXPECT_THAT(RunOn("r.xml", command, {"--convert", "--force"}).error, HasSubstr("that of another one"));
        EXPECT_EQ(FileText(folder / "r.xml"), kRepeated);
    }
    Write("from.xml", kDocument);
    ASSERT_EQ(RunOn("from.xml", {"cp", "Network/Proxy", "--to", Path("to.xml")}).exitCode, 0);
    ASSERT_EQ(RunOn("from.xml", {"mv", "Blob", "B", "--to", Path("to.xml")}).exitCode, 0);
    EXPECT_EQ(RunOn("to.xml", {"tree", "--flat"}).output,
              "/ B tBINARY 0A0BFF\nNetwork/Proxy Enabled tBOOL 1\nNetwork/Proxy Port tDWORD 8080\n");
    EXPECT_EQ(RunOn("from.xml", {"get", "Blob"}).exitCode, 1);
    EXPECT_EQ(RunOn("from.xml", {"cp", "", "--to", Path("to.xml")}).exitCode, 1);   // the root isn't empty
    EXPECT_EQ(RunOn("from.xml", {"cp", "", "--to", Path("to.xml"), "--force"}).exitCode, 0);
    EXPECT_EQ(RunOn("from.xml", {"diff", Path("to.xml")}).output, "");
    EXPECT_EQ(RunOn("from.xml", {"mv", "Wide", "W", "--to", Path("from.xml")}).exitCode, 0);
    EXPECT_EQ(RunOn("from.xml", {"get", "W"}).output, "AB\n");
}

TEST_F(ChangesTest, CopiesOfValuesThatASaveChangesAreRefusedUnlessLenient) {
    constexpr const char* kTiny =
        "<arbor><key name='K'><tINT name='i'>1</tINT><tDOUBLE name='v'>0.000000001</tDOUBLE></key></arbor>";
    constexpr const char* kReason =
        "0x80000046: invalid argument (K/v: tDOUBLE \"1e-09\" would be saved as \"0.000000\"; --lenient stores that)";
    struct Case {
        const char* document;
        std::vector<std::string> command;
        const char* input;
        const char* location;
    };
    const Case cases[] = {
        {"d.xml", {"import", "-"}, "K i tINT 1\nK v tDOUBLE 1e-9", "standard input:2: "},
        {"d.xml",
         {"import", "-"},
         R"({"keys":[{"name":"K","values":[{"name":"v","type":"tDOUBLE","value":1e-9}]}]})",
         "standard input:1:73: "},
        {"d.xml", {"import", "-"}, kTiny, ""},
        {"tiny.xml", {"cp", "K", "--to", Path("d.xml")}, "", ""},
        {"tiny.xml", {"mv", "K/v", "--to", Path("d.xml")}, "", ""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.command) + row.input);
        Write("d.xml", kDocument);
        Write("tiny.xml", kTiny);
        const Outcome exact = RunOn(row.document, row.command, {}, row.input);
        EXPECT_EQ(exact.exitCode, 1);
        EXPECT_THAT(exact.error, StartsWith(std::string("arborctl: ") + row.location + kReason));
        EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
        EXPECT_EQ(FileText(folder / "tiny.xml"), kTiny);
        EXPECT_EQ(RunOn(row.document, row.command, {"--lenient"}, row.input).exitCode, 0);
        EXPECT_EQ(RunOn("d.xml", {"get", "K/v"}).output, "0.000000\n");
    }
}

TEST_F(ChangesTest, EditStartsProgramsAndScriptsWithArguments) {
    const std::filesystem::path tools = folder / "my tools";
    std::filesystem::create_directory(tools);
    const std::string extension = kIsWindows ? ".exe" : "";
    const std::string program = (tools / ("an editor" + extension)).string();
    std::filesystem::copy_file(host::ProgramDirectory() / ("scripted_editor" + extension), program);
    const std::string script = (tools / ("a script" + std::string(kIsWindows ? ".bat" : ""))).string();
    Write(script, kIsWindows ? "@\"" + program + "\" %*\r\n" : "#!/bin/sh\nexec \"" + program + "\" \"$@\"\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    struct Case {
        const char* label;
        std::string visual;
        std::string editor;
    };
    const Case cases[] = {
        {"a program", '"' + program + "\" --wait 8080 81", "false"},
        {"a script", '"' + script + "\" --wait 8080 \"81\"", ""},
        {"EDITOR, as VISUAL is of spaces", " \t ", " \"" + program + "\" --wait 8080 81"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        Write("a b.xml", kDocument);
        const EnvironmentVariable visual("VISUAL", row.visual);
        const EnvironmentVariable editor("EDITOR", row.editor);
        const Outcome outcome = RunOn("a b.xml", {"edit", "Network"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(RunOn("a b.xml", {"get", "Network/Proxy/Port"}).output, "81\n");
    }
    const EnvironmentVariable missing("VISUAL", '"' + program + "2\" --wait");
    EXPECT_THAT(RunOn("d.xml", {"edit"}).error, HasSubstr("2\" --wait isn't found; VISUAL or EDITOR can name another"));
}

TEST_F(ChangesTest, DryRunShowsTheDifferenceAndSavesNothing) {
    Write("other.xml", "<arbor><tINT name='i'>1</tINT></arbor>");
    struct Case {
        std::vector<std::string> command;
        std::string output;
    };
    const Case cases[] = {
        {{"set", "Network/Proxy/Port", "tDWORD", "1"},
         "- Network/Proxy/Port: tDWORD 8080\n+ Network/Proxy/Port: tDWORD 1\n"},
        {{"rm", "Blob"}, "- Blob: tBINARY 0A0BFF\n"},
        {{"mv", "Blob", "B"}, "- Blob: tBINARY 0A0BFF\n+ B: tBINARY 0A0BFF\n"},
        {{"cp", "Blob", "--to", Path("other.xml")}, "+ Blob: tBINARY 0A0BFF\n"},
        {{"cp", "Blob", "--to", Path("folder/new.xml")}, "+ Blob: tBINARY 0A0BFF\n"},
        {{"mv", "Blob", "--to", Path("other.xml")},
         Path("other.xml") + ":\n+ Blob: tBINARY 0A0BFF\n" + Path("d.xml") + ":\n- Blob: tBINARY 0A0BFF\n"},
        {{"import", Path("other.xml"), "N"}, "+ N/\n+ N/i: tINT 1\n"},
        {{"apply"}, "+ i: tINT 2\n"},
        {{"restore", "bak2"}, "- Blob: tBINARY 0A0BFF\n- Wide: tWSTRING \"AB\"\n+ i: tINT 1\n- Network/\n"},
    };
    Write("d.xml.bak2", FileText(folder / "other.xml"));
    for (const Case& row : cases) {
        SCOPED_TRACE(row.command[0]);
        const Outcome outcome = RunOn("d.xml", row.command, {"--dry-run"}, "/ i tINT 2");
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_THAT(outcome.output, StartsWith(row.output));
    }
    EXPECT_THAT(RunOn("d.xml", {"rm", "Nowhere", "--dry-run"}).exitCode, 1);
    Write("f.xml", "<list><a/></list>");
    EXPECT_THAT(RunOn("f.xml", {"set", "v", "tINT", "1", "--dry-run"}).error, HasSubstr("--convert"));
    EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
    EXPECT_THAT(Files(), UnorderedElementsAre("d.xml", "d.xml.bak2", "other.xml", "f.xml"));
}

TEST_F(ChangesTest, UndoSwapsTheDocumentAndTheFormerOne) {
    EXPECT_THAT(RunOn("d.xml", {"undo"}).error, HasSubstr("no save has kept a former document"));
    for (const char* type : {"1", "2"}) ASSERT_EQ(RunOn("d.xml", {"set", "New/i", "tINT", type}).exitCode, 0);
    EXPECT_THAT(RunOn("d.xml", {"undo", "--dry-run"}).output, "- New/i: tINT 2\n+ New/i: tINT 1\n");
    for (const char* value : {"1\n", "2\n", "1\n"}) {
        ASSERT_EQ(RunOn("d.xml", {"undo"}).exitCode, 0);
        EXPECT_EQ(RunOn("d.xml", {"get", "New/i"}).output, value);
    }
    EXPECT_THAT(Files(), UnorderedElementsAre("d.xml", "d.xml.bak2"));
    Write("d.xml.bak2", "<arbor");
    EXPECT_EQ(RunOn("d.xml", {"undo"}).exitCode, 3);
    EXPECT_EQ(RunOn("d.xml", {"get", "New/i"}).output, "1\n");
    EXPECT_EQ(RunOn("d.xml", {"rm", "New", "--backup", "0"}).exitCode, 0);
    EXPECT_EQ(FileText(folder / "d.xml.bak2"), "<arbor");
}

TEST_F(ChangesTest, CleanRemovesTemporaryFilesThatNoProcessHolds) {
    for (const char* name : {"d.xml.tmp1f", "d.xml.tmp2", "d.xml.restoring", "d.xml.tmp3", "d.xml.tmpx"}) {
        Write(name, kDocument);
        const auto age = std::chrono::hours(name == std::string("d.xml.tmp3") ? 0 : 1);
        std::filesystem::last_write_time(folder / name, std::filesystem::file_time_type::clock::now() - age);
    }
    const platform_test::OpenHandle held(owned.Path(u"d.xml.tmp2"), platform::kGenericWrite, 0,
                                         platform::kOpenExisting);
    EXPECT_THAT(RunOn("d.xml", {"backups", "--clean", "--dry-run"}).output, HasSubstr("d.xml.tmp1f: would be removed"));
    const Outcome outcome = RunOn("d.xml", {"backups", "--clean"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    for (const char* line :
         {"d.xml.tmp1f: removed\n", "d.xml.restoring: removed\n", "d.xml.tmp2: left, since a process",
          "d.xml.tmp3: left, since it is less than a minute old"}) {
        EXPECT_THAT(outcome.output, HasSubstr(line));
    }
    EXPECT_THAT(Files(), UnorderedElementsAre("d.xml", "d.xml.tmp2", "d.xml.tmp3", "d.xml.tmpx"));
    std::filesystem::remove(folder / "d.xml");
    EXPECT_EQ(RunOn("d.xml", {"backups", "--clean"}).exitCode, 3);
}

/// The paths of keys, and of values with type and text. A key's path ends with a separator.
class Model {
public:
    explicit Model(unsigned seed) : random(seed) {}

    /// Makes a change at random and returns its line.
    std::string Change() {
        const std::string path = Path();
        const std::string target = Path();
        switch (random() % 8) {
            case 0:
                if (!entries.contains(path + '/')) break;
                Extract(path + '/');
                return "rm " + path + '/';
            case 1:
                if (random() % 4 != 0 || !entries.contains(path + '/') || StartsWithKey(target, path)) break;
                return Transfer(path, target);
            case 2:
                return AddKey(path + '/'), path + '/';
            default:
                break;
        }
        const std::string name(1, static_cast<char>('v' + random() % 4));
        if (random() % 4 == 0 && entries.erase(path + '/' + name) != 0) return "rm " + path + ' ' + name;
        const std::string text = "tINT " + std::to_string(random() % 1000);
        AddKey(path + '/');
        entries[path + '/' + name] = text;
        return path + ' ' + name + ' ' + text;
    }

    [[nodiscard]] std::map<std::string, std::string> Entries() const { return entries; }

private:
    std::string Path() {
        std::string path(1, static_cast<char>('a' + random() % 5));
        for (std::size_t depth = random() % 4; depth > 0; --depth) path.append("/").append(1, "abc"[random() % 3]);
        return path;
    }

    static bool StartsWithKey(const std::string& path, const std::string& key) {
        return (path + '/').starts_with(key + '/');
    }

    void AddKey(const std::string& key) {
        for (std::size_t end = key.find('/'); end != key.npos; end = key.find('/', end + 1))
            entries[key.substr(0, end + 1)];
    }

    /// Removes a key and all below it, and returns them.
    std::map<std::string, std::string> Extract(const std::string& key) {
        std::map<std::string, std::string> extracted;
        auto entry = entries.lower_bound(key);
        while (entry != entries.end() && entry->first.starts_with(key)) {
            extracted.insert(*entry);
            entry = entries.erase(entry);
        }
        return extracted;
    }

    std::string Transfer(const std::string& path, const std::string& target) {
        const bool isMove = random() % 2 == 0;
        const std::map<std::string, std::string> moved = Extract(path + '/');
        if (!isMove && !StartsWithKey(path, target)) entries.insert(moved.begin(), moved.end());
        Extract(target + '/');
        AddKey(target + '/');
        for (const auto& [entry, text] : moved) entries[target + entry.substr(path.size())] = text;
        return (isMove ? "mv " : "cp ") + path + "/ " + target + " --force";
    }

    std::map<std::string, std::string> entries;
    std::mt19937 random;
};

TEST_F(ChangesTest, AHundredThousandLinesGiveWhatAModelGives) {
    Model model(20261124);
    std::string lines;
    for (int i = 0; i < 100'000; ++i) lines += model.Change() + '\n';
    const Outcome outcome = RunOn("n.xml", {"apply"}, {"--create"}, lines);
    ASSERT_EQ(outcome.exitCode, 0) << outcome.error;
    std::map<std::string, std::string> entries;
    std::istringstream tree(RunOn("n.xml", {"find", ""}).output);
    for (std::string line; std::getline(tree, line);) {
        const std::size_t end = line.find(": ");
        entries[line.substr(0, end)] = end == line.npos ? "" : line.substr(end + 2);
    }
    EXPECT_EQ(entries, model.Entries());
    EXPECT_GT(entries.size(), 50U);
}

}   // namespace
