#include "tool_fixture.h"

#include <arborctl/command_table.h>
#include <arborctl/flat_text.h>
#include <arborctl/type_texts.h>
#include <host/system.h>
#include <host/text.h>
#include <host/timed_file_lock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

namespace {

using test::FileText;
using test::kDocument;
using test::Outcome;
using test::RunTool;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

using ArborctlTest = test::ToolTest;

bool IsOneLine(const std::string& text) { return text.find('\n') + 1 == text.size(); }

/// Whether file names may hold any byte but `/`, as on systems without drive letters.
constexpr bool kNamesAreBytes = std::filesystem::path::preferred_separator == '/';

/// Changes the working directory and restores it at the end of the scope.
class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~WorkingDirectory() { std::filesystem::current_path(previous); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    const std::filesystem::path previous = std::filesystem::current_path();
};

TEST_F(ArborctlTest, ReadCommandsPrintValues) {
    struct Case {
        const char* label;
        std::vector<std::string> command;
        const char* output;
    };
    const Case cases[] = {
        {"own type", {"get", "Network/Proxy", "Port"}, "8080\n"},
        {"path and name in any case", {"get", "network\\PROXY", "port"}, "8080\n"},
        {"the path of the value", {"get", "Network/Proxy/Port"}, "8080\n"},
        {"separators of both kinds, at both ends", {"get", "\\Network/Proxy\\", "Port"}, "8080\n"},
        {"the root by its separator alone", {"get", "/", "Blob"}, "0A0BFF\n"},
        {"the tree of a value", {"tree", "Network/Proxy/Port"}, "Port: tDWORD 8080\n"},
        {"a value as a document",
         {"export", "Blob"},
         "<arbor>\r\n    <tBINARY name=\"Blob\">0A0BFF</tBINARY>\r\n</arbor>\r\n"},
        {"a number as text", {"get", "Network/Proxy", "Port", "--as", "tSTRING"}, "8080\n"},
        {"a truth value as a number", {"get", "Network/Proxy", "Enabled", "--as", "tQWORD"}, "1\n"},
        {"a number as wide text", {"get", "Network/Proxy", "Port", "--as", "tWSTRING"}, "8080\n"},
        {"several values", {"get", "Network/Proxy", "Port", "", "Blob"}, "8080\n0A0BFF\n"},
        {"several as JSON",
         {"get", "Network/Proxy", "Port", "", "None", "--json", "--default", "x"},
         "[{\"type\":\"tDWORD\",\"value\":8080},{\"default\":\"x\"}]\n"},
        {"a replacement of a missing value", {"get", "Nowhere/V", "--default", "-5"}, "-5\n"},
        {"an empty replacement, beside a value", {"get", "a", "b", "", "Blob", "--default="}, "\n0A0BFF\n"},
        {"the bytes of a blob", {"get", "Blob", "--raw"}, "\n\v\xFF"},
        {"a number without a line end", {"get", "Network/Proxy/Port", "--raw"}, "8080"},
        {"a type in any case", {"get", "Network/Proxy/Port", "--as", "TSTRING"}, "8080\n"},
        {"a text without escapes", {"get", "Network", "Comment"}, "a & b\t<c>\n"},
        {"a blob as text", {"get", "", "Blob", "--as", "tSTRING"}, "0A0BFF\n"},
        {"a blob by its text", {"get", "", "Blob", "--as", "tDWORD"}, "658431\n"},
        {"wide text", {"get", "", "Wide"}, "AB\n"},
        {"the whole tree",
         {"tree"},
         "Blob: tBINARY 0A0BFF\nWide: tWSTRING \"AB\"\nNetwork/\n    Comment: tSTRING \"a & b\\x09<c>\"\n"
         "    Proxy/\n        Enabled: tBOOL 1\n        Port: tDWORD 8080\n"},
        {"the whole tree as flat text",
         {"tree", "--flat"},
         "/ Blob tBINARY 0A0BFF\n/ Wide tWSTRING AB\nNetwork Comment tSTRING \"a & b\\t<c>\"\n"
         "Network/Proxy Enabled tBOOL 1\nNetwork/Proxy Port tDWORD 8080\n"},
        {"a value as flat text", {"tree", "Network/Proxy/Port", "--flat"}, "Network/Proxy Port tDWORD 8080\n"},
        {"a value as JSON", {"get", "Network/Proxy", "Port", "--json"}, "{\"type\":\"tDWORD\",\"value\":8080}\n"},
        {"a subtree as JSON",
         {"tree", "Network", "--json"},
         R"({"name":"","values":[{"name":"Comment","type":"tSTRING","value":"a & b\t<c>"}],"keys":[{"name":"Proxy","values":[)"
         R"({"name":"Enabled","type":"tBOOL","value":true},{"name":"Port","type":"tDWORD","value":8080}],"keys":[]}]})"
         "\n"},
        {"search in names, in any case", {"find", "pRo"}, "Network/Proxy/\n"},
        {"search in texts", {"find", "808"}, "Network/Proxy/Port: tDWORD 8080\n"},
        {"search for a regular expression", {"find", "--regex", "^[0-9]{4}$"}, "Network/Proxy/Port: tDWORD 8080\n"},
        {"search in names by a pattern",
         {"find", "--name", "?*O*t"},
         "Network/Comment: tSTRING \"a & b\\x09<c>\"\nNetwork/Proxy/Port: tDWORD 8080\n"},
        {"search by type, flat", {"find", "--type", "tbool", "--flat"}, "Network/Proxy Enabled tBOOL 1\n"},
        {"search by name and text", {"find", "e", "--text", "*1*"}, "Network/Proxy/Enabled: tBOOL 1\n"},
        {"search for keys, flat", {"find", "--name", "prox?", "--flat"}, "Network/Proxy/\n"},
        {"the first level", {"tree", "--depth", "1"}, "Blob: tBINARY 0A0BFF\nWide: tWSTRING \"AB\"\nNetwork/\n"},
        {"values of a type", {"tree", "Network", "--type", "tBOOL"}, "Proxy/\n    Enabled: tBOOL 1\n"},
        {"converted values",
         {"tree", "Network/Proxy", "--as", "tDOUBLE"},
         "Enabled: tDOUBLE 1.000000\nPort: tDOUBLE 8080.000000\n"},
        {"search as JSON",
         {"find", "Port", "--json"},
         "[{\"path\":\"Network/Proxy\",\"name\":\"Port\",\"type\":\"tDWORD\",\"value\":8080}]\n"},
        {"a subtree as a document",
         {"export", "Network/Proxy"},
         "<arbor>\r\n    <tBOOL name=\"Enabled\">1</tBOOL>\r\n    <tDWORD name=\"Port\">8080</tDWORD>\r\n</arbor>\r\n"},
        {"a value as a JSON document",
         {"export", "Network/Proxy/Port", "--json"},
         "{\"name\":\"\",\"values\":[{\"name\":\"Port\",\"type\":\"tDWORD\",\"value\":8080}],\"keys\":[]}\n"},
        {"no difference", {"diff", Path("d.xml")}, ""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        const Outcome outcome = RunOn("d.xml", row.command);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, row.output);
        EXPECT_THAT(outcome.error, IsEmpty());
    }
    EXPECT_EQ(RunOn("d.xml", {"get", "Proxy", "Port"}, {"--root", "Network"}).output, "8080\n");
    EXPECT_EQ(RunOn("d.xml", {"get", "Network/Proxy", "Port"}, {"--color", "always"}).output, "8080\n");
    EXPECT_THAT(RunOn("d.xml", {"tree", "Network/Proxy"}, {"--color", "always"}).output,
                HasSubstr("\033[36mPort\033[0m: "));
    EXPECT_EQ(RunTool({"find", Path("d.xml"), "nowhere"}).exitCode, 1);
    EXPECT_EQ(RunTool({"find", Path("d.xml"), "--name", "ort"}).exitCode, 1);   // a pattern is that of the whole name
    Write("long.xml", "<arbor><tSTRING name='T'>" + std::string(1 << 16, 'a') + "</tSTRING></arbor>");
    EXPECT_EQ(RunOn("long.xml", {"find", "--regex", "(a|b)*c"}).exitCode, 1);   // within a second
    for (const auto& [wrong, position] : {std::pair("a(b", "2"), {"(a)[b", "4"}, {"*a", "1"}, {"a)b", "2"}})
        EXPECT_THAT(RunOn("d.xml", {"find", "--regex", wrong}).error,
                    HasSubstr(std::string("wrong at character ") + position));
    EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
}

TEST_F(ArborctlTest, ChangesAreSaved) {
    struct Case {
        const char* label;
        std::vector<std::string> value;   // key, name
        std::vector<std::string> given;   // type, text
        const char* output;
    };
    const Case cases[] = {
        {"wide text, before a save turns it into text", {"", "Wide"}, {"tSTRING", "B\u00e4r"}, "B\u00e4r\n"},
        {"a change in the own type", {"Network/Proxy", "Port"}, {"tDWORD", "0xFF"}, "255\n"},
        {"a change through a conversion", {"Network/Proxy", "Port"}, {"tSTRING", "77"}, "77\n"},
        {"a new value in new keys", {"A/B\\C", "New"}, {"tSHORT", "-5"}, "-5\n"},
        {"a text like an option", {"A", "Dash"}, {"tSTRING", "--", "-x"}, "-x\n"},
        {"a text like the end of options", {"A", "Dashes"}, {"tSTRING", "--", "--"}, "--\n"},
        {"a text like a list", {"A", "List"}, {"tSTRING", "[a,b]"}, "[a,b]\n"},
        {"an empty text", {"A", "Empty"}, {"tSTRING", ""}, "\n"},
        {"a blob in small letters", {"A", "Blob"}, {"tPTR", "00ff"}, "00FF\n"},
        {"a blob as long as the text of its bytes", {"", "Blob"}, {"tBINARY", "ABCDEF"}, "ABCDEF\n"},
        {"an empty blob", {"", "Blob"}, {"tBINARY", ""}, "\n"},
        {"a floating number", {"A", "Double"}, {"tDOUBLE", "-1.5"}, "-1.500000\n"},
        {"a type without a text", {"A", "Void"}, {"tVOID", ""}, "\n"},
        {"new wide text", {"A", "Wide"}, {"tWSTRING", "B\u00e4r"}, "B\u00e4r\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        std::vector<std::string> set{"set"};
        set.insert(set.end(), row.value.begin(), row.value.end());
        set.insert(set.end(), row.given.begin(), row.given.end());
        const Outcome outcome = RunOn("d.xml", set);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(RunOn("d.xml", {"get", row.value[0], row.value[1]}).output, row.output);
    }
    EXPECT_THAT(FileText(folder / "d.xml"), HasSubstr("<tDWORD name=\"Port\">77</tDWORD>"));
    EXPECT_EQ(RunOn("d.xml", {"set", "A/B/Deep", "tSTRING", "--", "-y"}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"get", "A/B", "Deep"}).output, "-y\n");
    EXPECT_EQ(RunOn("d.xml", {"rm", "Network", "Comment"}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"rm", "/Network/Proxy/Enabled"}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"rm", "A/"}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"tree"}).output,
              "Blob: tBINARY\nWide: tSTRING \"B\u00e4r\"\nNetwork/\n    Proxy/\n"
              "        Port: tDWORD 77\n");
}

/// Parses the output of `find`: paths, each with the number that is its value.
std::vector<std::pair<std::string, std::string>> PrintedPaths(const std::string& found) {
    std::vector<std::pair<std::string, std::string>> paths;
    std::istringstream lines(found);
    for (std::string line; std::getline(lines, line);) {
        std::string text = line.substr(line.rfind(' ') + 1);
        std::erase(text, '"');
        paths.emplace_back(line.substr(0, line.find(": t")), text);
    }
    return paths;
}

TEST_F(ArborctlTest, PrintedPathsAreAcceptedByAllCommands) {
    const char* const documents[] = {
        "<arbor><key name='K'><tINT name='a/b\\c'>1</tINT><tINT name=''>2</tINT><tINT name=''>3</tINT>"
        "<tINT name='\t\x7F\xFF\xC2\x9B'>4</tINT><tINT name='%%x41%x4'>5</tINT><tINT name='D'>6</tINT>"
        "<tINT name='d'>7</tINT><tINT name='D#2'>8</tINT><tINT name='D#2'>9</tINT><tINT name='e#x'>10</tINT></key>"
        "<key name='q\\r/c'><tINT name='v'>11</tINT></key><key name='Q\\r/d'><tINT name='v'>12</tINT></key></arbor>",
        "<a m='1'><m x='2'/><M x='3'/><b>4</b></a>",
    };
    for (const char* document : documents) {
        SCOPED_TRACE(document);
        Write("odd.xml", document);
        const std::string found = RunOn("odd.xml", {"find", ""}).output;
        std::set<std::string> distinct;
        for (const auto& [path, number] : PrintedPaths(found)) {
            SCOPED_TRACE(path);
            EXPECT_TRUE(distinct.insert(path).second);
            EXPECT_EQ(RunOn("odd.xml", {"export", path}).exitCode, 0);
            EXPECT_EQ(RunOn("odd.xml", {"tree", path}).exitCode, 0);
            Write("changed.xml", document);
            EXPECT_EQ(RunOn("changed.xml", {"rm", path}, {"--convert"}).exitCode, 0);
            if (path.ends_with('/')) continue;
            EXPECT_EQ(RunOn("odd.xml", {"get", path, "--as", "tINT"}).output, number + '\n');
            Write("changed.xml", document);
            EXPECT_EQ(RunOn("changed.xml", {"set", path, "tINT", number}, {"--convert"}).exitCode, 0);
            EXPECT_EQ(RunOn("changed.xml", {"cp", path, "Copy/v"}, {"--convert"}).exitCode, 0);
            EXPECT_EQ(RunOn("changed.xml", {"get", "Copy/v", "--as", "tINT"}).output, number + '\n');
            Write("changed.xml", document);
            const std::string line = "mv " + arborctl::QuoteWord(path) + " Moved/v";
            EXPECT_EQ(RunOn("changed.xml", {"apply"}, {"--convert"}, line).exitCode, 0);
            EXPECT_EQ(RunOn("changed.xml", {"get", "Moved/v", "--as", "tINT"}).output, number + '\n');
        }
        EXPECT_GE(distinct.size(), 7U) << found;
    }
    EXPECT_EQ(RunOn("odd.xml", {"get", "a/m#2/x"}).output, "3\n");
    EXPECT_EQ(RunOn("odd.xml", {"get", "a", "m"}).output, "1\n");
    ASSERT_EQ(RunOn("odd.xml", {"rm", "a/m"}, {"--convert"}).exitCode, 0);   // removes the value, not the key
    EXPECT_EQ(RunOn("odd.xml", {"get", "a/m/x"}).output, "2\n");
}

TEST_F(ArborctlTest, ErrorsReportTheCodeAndKeepTheDocument) {
    for (const char* name : {"bad.xml", "d.xml.tmp1f"}) Write(name, "<arbor><key name=\"x\"></arbor>");
    struct Case {
        const char* label;
        std::vector<std::string> command;
        const char* error;
        int exitCode = 1;
        const char* document = "d.xml";
        std::vector<std::string> options{};
    };
    constexpr const char* kNoEntry = "0x8000D002: no such key or value";
    constexpr const char* kNoDocument = "0x800000C5: no such document";
    constexpr const char* kMalformed = "0x800000C0: the document is malformed";
    constexpr const char* kInvalid = "0x80000046: invalid argument";
    constexpr const char* kReadOnly = "0x800000C1: the document is open";
    const std::string folderText = Path("") + " can't be read";
    const Case cases[] = {
        {"missing key", {"get", "Nowhere", "Port"}, kNoEntry},
        {"missing value", {"get", "Network", "Port"}, kNoEntry},
        {"key instead of a value", {"get", "Network"}, "0x8000D002: no such key or value (Network is a key"},
        {"missing value to remove", {"rm", "Network", "V"}, "0x8000D002: no such key or value (Network/V)"},
        {"missing value beside one that exists", {"get", "", "Blob", "", "None"}, kNoEntry},
        {"type to which a text can't be converted", {"retype", "Network/Comment", "tINT"}, kInvalid},
        {"missing value to convert", {"retype", "V", "tINT"}, kNoEntry},
        {"new key with a separator in its name", {"set", "a%x2Fb/V", "tINT", "1"}, kInvalid},
        {"missing root key", {"tree"}, kNoEntry, 1, "d.xml", {"--root", "Nowhere"}},
        {"missing document", {"tree"}, kNoDocument, 3, "none.xml"},
        {"malformed document to compare with", {"diff", Path("bad.xml")}, kMalformed, 3},
        {"malformed document", {"find", "x"}, kMalformed, 3, "bad.xml"},
        {"missing backup", {"restore", ".bak"}, kNoDocument},
        {"the document as its own backup", {"restore", "d.xml"}, kNoDocument},
        {"backup that doesn't load", {"restore", "tmp1f"}, kMalformed, 3},
        {"neither document nor backups", {"backups"}, kNoDocument, 3, "none.xml"},
        {"text that isn't a number", {"set", "New", "V", "tDWORD", "many"}, kInvalid},
        {"odd number of hexadecimal digits", {"set", "New", "V", "tBINARY", "ABC"}, kInvalid},
        {"invalid hexadecimal digit", {"set", "New", "V", "tBINARY", "0G"}, kInvalid},
        {"text that the existing type rejects", {"set", "Network/Proxy", "Port", "tSTRING", "x"}, kInvalid},
        {"type that can't be saved", {"set", "New", "V", "tWCHAR", "x"}, "0x8000004B"},
        {"failed conversion", {"get", "Network", "Comment", "--as", "tINT"}, kInvalid},
        {"change of a read-only document",
         {"set", "Network", "V", "tINT", "1"},
         kReadOnly,
         1,
         "d.xml",
         {"--read-only"}},
        {"copy with --read-only", {"cp", "Network", "--to", Path("new.xml")}, kReadOnly, 1, "d.xml", {"--read-only"}},
        {"removal of the root", {"rm", ""}, "0x80000046: invalid argument (the root can't be removed"},
        {"a folder instead of a file", {"apply", Path("")}, folderText.c_str()},
        {"missing source", {"import", "none.xml"}, kNoDocument, 3},
        {"missing module", {"tree"}, "can't load the module", 1, "d.xml", {"--module", "none.so"}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        const Outcome outcome = RunOn(row.document, row.command, row.options);
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_THAT(outcome.error, StartsWith(std::string("arborctl: ") + row.error));
        EXPECT_TRUE(IsOneLine(outcome.error)) << outcome.error;
        EXPECT_THAT(outcome.output, IsEmpty());
        EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
    }
    EXPECT_THAT(RunOn("none.xml", {"set", "V", "1"}).error, HasSubstr("none.xml; --create "));
    EXPECT_THAT(RunOn("bad.xml", {"tree"}).error, HasSubstr("bad.xml; \"check\" shows where"));
    EXPECT_EQ(RunOn("d.xml", {"cp", "Nowhere", "--to", Path("new.xml")}).exitCode, 1);
    EXPECT_THAT(Files(), UnorderedElementsAre("d.xml", "bad.xml", "d.xml.tmp1f"));
}

TEST_F(ArborctlTest, InvalidArgumentsExitWith2) {
    std::string manyNames;
    for (int i = 0; i < 2049; ++i) manyNames += "/k";
    const std::vector<std::string> cases[] = {
        {},
        {"d.xml"},
        {"d.xml", "grow"},
        {"d.xml", "get", ""},
        {"d.xml", "get", "Network/"},
        {"d.xml", "set", "Network/", "tDWORD", "1"},
        {"d.xml", "rm", "Network//Proxy"},
        {"d.xml", "rm", "//Network"},
        {"d.xml", "get", "Network", "a%x00"},
        {"--root", "Network//Proxy", "d.xml", "tree"},
        {"d.xml", "set", manyNames, "tDWORD", "1"},
        {"d.xml", "set", "Network", "V", "tFOO", "1"},
        {"d.xml", "get", "Network", "V", "--as", "tOBJECT"},
        {"--backup", "3", "d.xml", "tree"},
        {"--color", "red", "d.xml", "tree"},
        {"tree", "--json"},
        {"set", "d.xml", "Network", "V", "tDWORD"},
        {"--trace", "loud", "d.xml", "tree"},
        {"--create", "--read-only", "d.xml", "tree"},
        {"--create=always", "d.xml", "tree"},
        {"d.xml", "tree", "Network", "more"},
        {"d.xml", "rm", "Network", "--json"},
        {"d.xml", "tree", "-x"},
        {"d.xml", "get", "Network", "a", "Network"},
        {"d.xml", "get", "", "Blob", "", "Wide", "--raw"},
        {"d.xml", "set", "V"},
        {"d.xml", "set", "", "V", "tINT", "1", "--from", "-"},
        {"d.xml", "retype", "V", "tOBJECT"},
        {"d.xml", "find"},
        {"d.xml", "find", "--regex", "a(b"},
        {"d.xml", "tree", "--depth", "-1"},
        {"d.xml", "tree", "--flat", "--depth", "1"},
        {"d.xml", "tree", "--json=no"},
        {"help", "grow"},
        {"d.xml", "import", "e.xml", "--from", "yaml"},
    };
    for (const std::vector<std::string>& arguments : cases) {
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.error, StartsWith("arborctl: ")) << testing::PrintToString(arguments);
        EXPECT_TRUE(IsOneLine(outcome.error)) << outcome.error;
    }
    const std::pair<std::vector<std::string>, const char*> messages[] = {
        {{"d.xml", "tree", "--depth"}, "LEVELS is missing after --depth (see arborctl --help)"},
        {{"d.xml", "tree", "--depth="}, "--depth: \"\" isn't a number from 0 to 2048 (see arborctl tree --help)"},
        {{"d.xml", "tree", "--depth", "1", "--depth", "2"}, "--depth is given twice, with different arguments (see"},
        {{"d.xml", "tree", "--json=no"}, "--json has no argument (see arborctl tree --help)"},
        {{"d.xml", "tree", "--json="}, "the argument of --json= is empty (see arborctl --help)"},
        {{"d.xml", "tree", "--force"}, "--force is not an option of tree, only of mv, cp, retype (see"},
        {{"d.xml", "get", "--Defualt=x"}, "--Defualt=x is not an option; did you mean --default? (see"},
        {{"d.xml", "tree", "-x"}, "-x is not an option; a text that begins with \"-\" comes after \"--\" (see"},
        {{"d.xml", "tre"}, "tre is not a command; did you mean tree? (see arborctl --help)"},
        {{"exprot", "d.xml"}, "exprot is not a command; did you mean export? (see arborctl --help)"},
        {{"help", "res"}, "res is not a command; did you mean restore? (see arborctl --help)"},
        {{"types", "tdwrod"}, "tdwrod isn't a type; did you mean tDWORD? (see arborctl types --help)"},
    };
    for (const auto& [arguments, message] : messages)
        EXPECT_THAT(RunTool(arguments).error, StartsWith(std::string("arborctl: ") + message));
}

TEST_F(ArborctlTest, HelpDescribesEachCommandIn79Columns) {
    const std::string tool = RunTool({"--help"}).output;
    EXPECT_EQ(RunTool({"help"}).output, tool);
    std::string all = tool;
    for (const arborctl::CommandRow& row : arborctl::Commands()) {
        const std::string command(row.name);
        SCOPED_TRACE(command);
        EXPECT_THAT(tool, HasSubstr("\n  " + command + ' '));
        const Outcome help = RunTool({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_EQ(RunTool({"help", command}).output, help.output);
        EXPECT_THAT(help.output, testing::ContainsRegex("Example:\n  arborctl .*" + command));
        const bool isLoading = row.family != arborctl::Family::Tool;
        EXPECT_EQ(help.output.find("\n  3  a document can't be loaded") != std::string::npos, isLoading);
        EXPECT_EQ(help.output.find("no difference") != std::string::npos, command == "diff");
        for (const std::string_view name : arborctl::OperandsOf(row).names)
            EXPECT_THAT(arborctl::OperandHelp(row, name), testing::Not(IsEmpty())) << name;
        all += help.output;
    }
    std::istringstream lines(all);
    for (std::string line; std::getline(lines, line);) EXPECT_LT(line.size(), 80U) << line;
    for (const arborctl::OptionRow& row : arborctl::Options())
        EXPECT_THAT(all, HasSubstr("  " + std::string(row.name == "--help" ? "-h, " : "") + std::string(row.name)));
}

TEST_F(ArborctlTest, EveryTypesExampleIsStoredExactly) {
    const std::string listed = RunTool({"types"}).output;
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes) {
        const std::string type(row.name);
        const std::string example(arborctl::TextsOf(row.type).example);
        SCOPED_TRACE(type);
        EXPECT_THAT(listed, HasSubstr('\n' + RunTool({"types", type}).output));
        const Outcome set = RunOn("d.xml", {"set", "Types", type, "T" + type.substr(1), "--", example});
        EXPECT_EQ(set.exitCode, row.type == kernel::tWCHAR ? 1 : 0) << set.error;
        if (set.exitCode != 0 || row.type == kernel::tFUNC_PTR) continue;
        EXPECT_EQ(RunOn("d.xml", {"get", "Types", type}).output, example + '\n');
    }
    EXPECT_EQ(RunTool({"types", "tdword", "--json"}).output,
              R"([{"type":"tDWORD","code":4,"bytes":4,"text":"0 to 4294967295","example":"8080"}])"
              "\n");
    EXPECT_THAT(RunTool({"types", "--json"}).output, HasSubstr(R"("type":"tBINARY","code":48,"bytes":null,)"));
    EXPECT_THAT(RunTool({"types", "tOBJECT"}).error, HasSubstr("tOBJECT is the type of no value"));
}

TEST_F(ArborctlTest, SetStoresExactlyTheTextOrRefuses) {
    struct Case {
        const char* type;
        const char* text;
        const char* error;
        const char* lenient;   // what is stored then
    };
    const Case cases[] = {
        {"tDOUBLE", "abc", "and would be stored as \"0.000000\"; --lenient", "0.000000"},
        {"tDOUBLE", "1e-9", "tDOUBLE \"1e-09\" would be saved as \"0.000000\"; --lenient stores that", "0.000000"},
        {"tDWORD", "99999999999", "(0 to 4294967295), and would be stored as \"4294967295\"", "4294967295"},
        {"tDWORD", "12abc", "isn't a tDWORD", "76476"},
        {"tINT", "", "V: \"\" isn't a tINT", "0"},
        {"tBOOL", "2", "would be saved as \"1\"", "1"},
        {"tCHAR", "ab", "isn't a tCHAR", "a"},
        {"tVOID", "x", "isn't a tVOID", ""},
        {"tFUNC_PTR", "8", "would be saved as \"\"", ""},
        {"tWSTRING", "\xF0\x9F\x98\x80", "a save splits the characters above U+FFFF", "\xED\xA0\xBD\xED\xB8\x80"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.type) + ' ' + row.text);
        const Outcome exact = RunOn("d.xml", {"set", "V", row.type, row.text});
        EXPECT_EQ(exact.exitCode, 1);
        EXPECT_THAT(exact.error, HasSubstr(row.error));
        EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
        EXPECT_EQ(RunOn("d.xml", {"set", "V", row.type, "--lenient", row.text}).exitCode, 0);
        EXPECT_EQ(RunOn("d.xml", {"get", "V"}).output, std::string(row.lenient) + '\n');
        Write("d.xml", kDocument);
    }
    EXPECT_EQ(RunOn("d.xml", {"set", "Network/Proxy/Port", "81"}).exitCode, 0);   // keeps the type
    EXPECT_EQ(RunOn("d.xml", {"set", "Network/New", "81"}).exitCode, 0);
    EXPECT_THAT(RunOn("d.xml", {"set", "Network/Proxy/Port", "tSTRING", "x"}).error,
                HasSubstr("(Network/Proxy/Port: \"x\" isn't a tDWORD (0 to 4294967295))"));
    EXPECT_THAT(RunOn("d.xml", {"tree", "Network"}).output, HasSubstr("New: tSTRING \"81\"\nProxy/\n"));
    EXPECT_THAT(RunOn("d.xml", {"tree", "Network"}).output, HasSubstr("Port: tDWORD 81\n"));
}

TEST_F(ArborctlTest, RetypeRefusesALoss) {
    struct Case {
        const char* type;
        const char* text;
        const char* target;
        const char* error;   // "" if nothing is lost
        const char* after;
    };
    const Case cases[] = {
        {"tDWORD", "8080", "tstring", "", "tSTRING \"8080\""},
        {"tSTRING", "-7", "tSBYTE", "", "tSBYTE -7"},
        {"tBINARY", "00FF", "tSTRING", "", "tSTRING \"00FF\""},
        {"tINT", "1", "tBOOL", "", "tBOOL 1"},
        {"tSTRING", "Ga\u00dfe", "tWSTRING", "", "tSTRING \"Ga\u00dfe\""},   // the save makes it a tSTRING again
        {"tDOUBLE", "1.5", "tINT", "V: tDOUBLE \"1.5\"", ""},
        {"tSTRING", "007", "tINT", "V: tSTRING \"007\" would become tINT \"7\"; --force does that", "tINT 7"},
        {"tSTRING", "abc", "tDOUBLE", "would become tDOUBLE \"0\"; --force", "tDOUBLE 0.000000"},
        {"tSTRING", "2", "tBOOL", "V: tBOOL \"2\" would be saved as \"1\"", "tBOOL 1"},
        {"tSTRING", "x", "tINT", "V: tSTRING \"x\" can't become a tINT (-2147483648 to", ""},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.type) + ' ' + row.text + ' ' + row.target);
        ASSERT_EQ(RunOn("d.xml", {"set", "V", row.type, row.text}).exitCode, 0);
        const Outcome plain = RunOn("d.xml", {"retype", "V", row.target});
        EXPECT_EQ(plain.exitCode, *row.error == '\0' ? 0 : 1);
        EXPECT_THAT(plain.error, HasSubstr(row.error));
        if (*row.error != '\0') {
            EXPECT_EQ(RunOn("d.xml", {"retype", "", "V", row.target, "--force"}).exitCode, *row.after == '\0' ? 1 : 0);
        }
        if (*row.after != '\0') {
            EXPECT_EQ(RunOn("d.xml", {"tree", "V"}).output, std::string("V: ") + row.after + '\n');
        }
        Write("d.xml", kDocument);
    }
    for (const char* path : {"a", "A#2"}) {   // the numbers of the others would change, or the name of this one
        Write("n.xml", "<arbor><tINT name='a'>1</tINT><tINT name='A'>2</tINT></arbor>");
        EXPECT_THAT(RunOn("n.xml", {"retype", path, "tSTRING"}).error, HasSubstr("shares its name"));
    }
}

TEST_F(ArborctlTest, ValuesComeFromFilesByteByByte) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    Write("bytes", bytes);
    Write("text", "a\r\nb\n");
    Write("number", "81\r\n");
    EXPECT_EQ(RunOn("d.xml", {"set", "Blob", "--from", Path("bytes")}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"get", "Blob", "--raw"}).output, bytes);
    EXPECT_EQ(RunOn("d.xml", {"set", "A", "T", "tSTRING", "--from", Path("text")}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"get", "A/T", "--raw"}).output, "a\r\nb\n");
    EXPECT_EQ(RunOn("d.xml", {"set", "Network/Proxy/Port", "--from", Path("number")}).exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"get", "Network/Proxy/Port"}).output, "81\n");
    EXPECT_EQ(RunTool({"set", Path("d.xml"), "A/T", "--from", "-"}, "in").exitCode, 0);
    EXPECT_EQ(RunOn("d.xml", {"get", "A/T"}).output, "in\n");
    EXPECT_EQ(RunOn("d.xml", {"set", "A/T", "--from", Path("bytes")}).exitCode, 1);   // the text would end at byte 0
    EXPECT_NE(RunOn("d.xml", {"set", "A/T", "--from", Path("none")}).exitCode, 0);
}

TEST_F(ArborctlTest, OptionsStandAnywhere) {
    const std::string document = Path("d.xml");
    const std::vector<std::string> lines[] = {
        {"--root", "Network", "--as", "tSTRING", document, "get", "Proxy", "Port"},
        {document, "--root", "Network", "get", "--as=tSTRING", "Proxy", "Port"},
        {"get", "--root=Network", document, "Proxy", "--as", "tSTRING", "Port"},
        {"--as", "tSTRING", "get", document, "Proxy", "Port", "--root", "Network"},
        {"get", document, "--root", "Network", "--as", "tSTRING", "--", "Proxy", "Port"},
    };
    for (const std::vector<std::string>& line : lines)
        EXPECT_EQ(RunTool(line).output, "8080\n") << testing::PrintToString(line);
}

TEST_F(ArborctlTest, FailedOutputExitsWith1) {
    struct FullDisk : std::streambuf {
    } full;   // the base class fails every write
    std::streambuf* const realOutput = std::cout.rdbuf(&full);
    for (const char* command : {"tree", "check", "backups", "--help"}) {
        EXPECT_EQ(arborctl::RunTool({Path("d.xml"), command}), 1) << command;
    }
    std::cout.rdbuf(realOutput);
    EXPECT_EQ(RunOn("d.xml", {"get", "", "Blob"}).output, "0A0BFF\n");   // the next run starts without the failure
}

/// Returns the control characters of `text` except line ends.
std::vector<int> ControlCharacters(const std::string& text) {
    std::vector<int> found;
    for (const char16_t unit : host::ToUtf16(text)) {
        if ((unit < 0x20 && unit != '\n') || (unit >= 0x7F && unit < 0xA0)) found.push_back(unit);
    }
    return found;
}

TEST_F(ArborctlTest, ControlCharactersAreEscaped) {
    const std::string name = "\x1B]0;\a\x7F\u009B";
    for (const char* file : {"d.xml", "bad.xml"}) {
        std::ofstream(folder / file, std::ios::binary)
            << "<arbor><key name='\x1B]0;\a\x7F\u009B'><tINT name='\x1B]0;\a\x7F\u009B'>1</tINT>"
               "<tSTRING name='\x1B\x1B'>\x1B]0;\a\x7F\u009B</tSTRING></key>"
            << (file[0] == 'd' ? "</arbor>" : "<tFOO name='\x1B'/>");
    }
    Write("other.xml", "<arbor><key name='\a'/></arbor>");
    const std::vector<std::string> commands[] = {
        {"tree"},
        {"tree", "--json"},
        {"tree", name},
        {"find", "1"},
        {"find", "", "--json"},
        {"diff", Path("other.xml")},
        {"diff", Path("bad.xml")},
        {"diff", Path("other.xml"), "--json"},
        {"check"},
        {"check", "--json"},
        {"get", name, "a" + name},
        {"get", name, name, "--as", name},
        {"get", name, name, name},
        {"get", name, name, "--json"},
        {"set", name, "V", "tDWORD", name},
        {"set", name, "V", "tBINARY", name},
        {"set", name, name, "tWCHAR", name},
        {"rm", "a" + name},
        {"restore", name},
        {"import", Path("none") + "/" + (kNamesAreBytes ? name : "")},
        {name},
        {"--" + name},
    };
    for (const std::vector<std::string>& command : commands) {
        const Outcome outcome = RunOn("d.xml", command);
        EXPECT_THAT(ControlCharacters(outcome.output), IsEmpty()) << testing::PrintToString(command);
        EXPECT_THAT(ControlCharacters(outcome.error), IsEmpty()) << testing::PrintToString(command);
    }
    EXPECT_THAT(ControlCharacters(RunOn("bad.xml", {"check"}).error), IsEmpty());
    EXPECT_THAT(ControlCharacters(RunOn("d.xml", {"tree"}, {"--module", name}).error), IsEmpty());
    const std::string trace = RunOn("d.xml", {"get", name, name}, {"--trace", "600"}).error;
    EXPECT_THAT(ControlCharacters(trace), testing::Each('\t'));
    EXPECT_THAT(trace, HasSubstr("600 arbor\tOpening key ?\\\\x1b]0;\\x07"));
    EXPECT_EQ(RunOn("d.xml", {"tree"}).output,
              "%x1B]0;%x07%x7F%xC2%x9B/\n    %x1B]0;%x07%x7F%xC2%x9B: tINT 1\n"
              "    %x1B%x1B: tSTRING \"\\x1b]0;\\x07\\x7f\\xc2\\x9b\"\n");
}

TEST_F(ArborctlTest, ValuesWithoutTextAreReportedAndOmitted) {
    const std::string big = "<tDOUBLE name='Big'>1e300</tDOUBLE>";
    const std::string rest = "<key name='L'><tINT name='after'>2</tINT></key></arbor>";
    std::ofstream(folder / "b.xml") << "<arbor><key name='K'>" << big << "<tINT name='n'>1</tINT></key>" << big << rest;
    std::ofstream(folder / "c.xml") << "<arbor><key name='K'><tINT name='n'>1</tINT></key>" << rest;
    const std::string inRoot =
        "arborctl: 0x80000044: the text of a tDOUBLE is longer than 255 characters (Big has no text)\n";
    const std::string inKey =
        "arborctl: 0x80000044: the text of a tDOUBLE is longer than 255 characters (K/Big has no text)\n";
    struct Case {
        std::vector<std::string> command;
        std::string output;
        std::string error;
        int exitCode = 1;
    };
    const Case cases[] = {
        {{"tree"}, "K/\n    n: tINT 1\nL/\n    after: tINT 2\n", inRoot + inKey},
        {{"tree", "K"}, "n: tINT 1\n", inKey},
        {{"tree", "K/Big"}, "", inKey},
        {{"tree", "K", "--json"},
         R"({"name":"","values":[{"name":"Big","type":"tDOUBLE","value":1e+300},{"name":"n","type":"tINT","value":1}],)"
         "\"keys\":[]}\n",
         "",
         0},
        {{"find", "after"}, "L/after: tINT 2\n", inRoot + inKey},
        {{"find", "after", "--json"},
         "[{\"path\":\"L\",\"name\":\"after\",\"type\":\"tINT\",\"value\":2}]\n",
         inRoot + inKey},
        {{"get", "K/Big"}, "", inKey},
        {{"get", "K/Big", "--json"}, "{\"type\":\"tDOUBLE\",\"value\":1e+300}\n", "", 0},
        {{"export", "K"}, "<arbor>\r\n    <tINT name=\"n\">1</tINT>\r\n</arbor>\r\n", inKey},
        {{"export", "K/Big"}, "<arbor>\r\n</arbor>\r\n", inKey},
        {{"diff", Path("c.xml")}, "", inRoot + inKey},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.command));
        const Outcome outcome = RunOn("b.xml", row.command);
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_EQ(outcome.output, row.output);
        EXPECT_EQ(outcome.error, row.error);
    }
    EXPECT_EQ(RunOn("b.xml", {"export"}).output, RunOn("c.xml", {"export"}).output);
}

TEST_F(ArborctlTest, CreateAddsTheRootKeyAndKeepsFormerDocuments) {
    const std::vector<std::string> set{"set", "", "V", "tINT", "1"};
    EXPECT_EQ(RunOn("new.xml", set, {"--create", "--root", "A/B"}).exitCode, 0);
    EXPECT_EQ(RunOn("new.xml", {"tree"}).output, "A/\n    B/\n        V: tINT 1\n");
    EXPECT_EQ(RunOn("read.xml", {"tree"}, {"--create", "--root", "A"}).exitCode, 0);
    EXPECT_EQ(RunOn("read.xml", {"tree"}).output, "A/\n");
    EXPECT_EQ(RunOn("read.xml", {"tree"}, {"--create", "--root", "B"}).exitCode, 1);   // the document already exists

    struct Case {
        const char* backup;   // of a document that a failed save removed
        bool refused;
    };
    for (const Case& row :
         {Case{"lost.xml.bak2", true}, {"lost.xml.bak21f", true}, {"lost.xml.tmp1f", true}, {"lost.xml.bak", false}}) {
        SCOPED_TRACE(row.backup);
        Write(row.backup, kDocument);
        for (const std::vector<std::string>& run : {std::vector<std::string>{"--create", Path("lost.xml"), "tree"},
                                                    {"--create", Path("lost.xml"), "set", "", "V", "tINT", "1"},
                                                    {Path("d.xml"), "cp", "Network", "--to", Path("lost.xml")}}) {
            const Outcome outcome = RunTool(run);
            EXPECT_EQ(outcome.exitCode, row.refused ? 1 : 0);
            EXPECT_THAT(outcome.error, HasSubstr(row.refused ? std::string("restore ") + row.backup : ""));
            EXPECT_NE(std::filesystem::exists(folder / "lost.xml"), row.refused);
        }
        std::filesystem::remove(folder / "lost.xml");
        EXPECT_EQ(RunTool({"--create=force", Path("lost.xml"), "set", "", "V", "tINT", "1"}).exitCode, 0);
        std::filesystem::remove(folder / "lost.xml");
        EXPECT_EQ(RunOn("d.xml", {"cp", "Network", "--to", Path("lost.xml")}, {"--create=force"}).exitCode, 0);
        std::filesystem::remove(folder / "lost.xml");
        EXPECT_EQ(FileText(folder / row.backup), kDocument);
        std::filesystem::remove(folder / row.backup);
    }
}

TEST_F(ArborctlTest, DiffListsChangedKeysAndValues) {
    Write("other.xml",
          "<arbor><tBINARY name='blob'>0A0BFF</tBINARY><key name='network'><key name='PROXY'>"
          "<tDWORD name='Port'>1</tDWORD><tDWORD name='Port'>2</tDWORD></key>"
          "<tSTRING name='Comment'>a &amp; b&#x9;&lt;c></tSTRING><key name='New'/></key></arbor>");
    const Outcome lines = RunTool({"diff", Path("d.xml"), Path("other.xml")});
    EXPECT_EQ(lines.exitCode, 1);
    EXPECT_EQ(lines.output,
              "- Wide: tWSTRING \"AB\"\n"
              "- Network/Proxy/Enabled: tBOOL 1\n"
              "- Network/Proxy/Port: tDWORD 8080\n+ Network/Proxy/Port: tDWORD 1\n"
              "+ Network/Proxy/Port#2: tDWORD 2\n"
              "+ Network/New/\n");
    EXPECT_THAT(
        RunOn("other.xml", {"diff", Path("d.xml"), "--json"}).output,
        HasSubstr(R"({"change":"changed","path":"network/PROXY","name":"Port","was":{"type":"tDWORD","value":1},)"
                  R"("now":{"type":"tDWORD","value":8080}})"));
}

/// The directory `check` has documents and, for each, the expected exit code and output without the document's path.
TEST_F(ArborctlTest, CheckReportsFaultsAndWhatASaveChanges) {
    const std::string path = Path("d.xml");
    std::size_t documents = 0;
    for (const auto& entry : std::filesystem::directory_iterator(host::ProgramDirectory() / "tests/tools/check")) {
        std::filesystem::path expected = entry.path();
        if (expected.extension() != ".xml") continue;
        SCOPED_TRACE(expected.filename().string());
        ++documents;
        std::filesystem::copy_file(expected, path, std::filesystem::copy_options::overwrite_existing);
        const Outcome outcome = RunOn("d.xml", {"check"});
        std::string text = std::to_string(outcome.exitCode) + '\n' + outcome.output + outcome.error;
        for (std::size_t at = 0; (at = text.find(path)) != std::string::npos;) text.erase(at, path.size());
        EXPECT_EQ(text, FileText(expected.replace_extension(".txt")));
        EXPECT_EQ(FileText(path), FileText(entry.path()));
    }
    EXPECT_GE(documents, 30U);
    Write("d.xml", "<arbor>\n<!-- x --></arbor>");
    EXPECT_THAT(
        RunOn("d.xml", {"check", "--json"}).output,
        HasSubstr(
            R"("form":"native","findings":[{"line":2,"column":1,"kind":"dropped","text":"the comment is dropped"}])"));
}

/// The check has a parser of its own, which must reject the same documents as the store's.
TEST_F(ArborctlTest, CheckFindsAFaultInDocumentsThatDoNotLoad) {
    const std::string documents[] = {
        kDocument,
        "<arbor a='1'><!-- x -- y --><?p?><key name='a/b\\c'/><tDOUBLE b='' name=\"d&gt;\">1<![CDATA[.5]]></tDOUBLE>"
        "<key name='k'>,<x></y></key></arbor> t<u>",
        "<?xml version='1.0'?><!-- --><l a='1' b=\"&#65;\"><i>t<!-- --><![CDATA[ c ]]><j/></i><i/><k> "
        "<m/></k></l><n>o</n>",
    };
    constexpr std::string_view kBytes = "<>/!-?[]&;'\"= anme\\1,";
    std::uint32_t random = 1;
    const auto next = [&random](std::size_t limit) {
        random = random * 1664525 + 1013904223;
        return (random >> 8) % limit;
    };
    std::size_t refusals = 0;
    for (int round = 0; round < 120; ++round) {
        std::string document = documents[next(std::size(documents))];
        if (round % 4 == 0) document.resize(next(document.size()));
        for (std::size_t changes = next(3); changes > 0 && !document.empty(); --changes) {
            document[next(document.size())] = kBytes[next(kBytes.size())];
        }
        SCOPED_TRACE(document);
        Write("d.xml", document);
        const Outcome outcome = RunOn("d.xml", {"check"});
        if (outcome.exitCode == 3) {
            ++refusals;
            EXPECT_THAT(outcome.error,
                        testing::Not(StartsWith(Path("d.xml") + ": ")));   // line and column follow the path
        } else {
            EXPECT_THAT(outcome.output, StartsWith("loads as a "));
        }
    }
    EXPECT_GT(refusals, 20U);
    EXPECT_LT(refusals, 110U);
}

TEST_F(ArborctlTest, ForeignDocumentsAreChangedOnlyWithConvert) {
    const std::string kForeign =
        "<?xml version='1.0'?><!-- arbor --><!--" + std::string(100'000, '.') + "--><list a='1'><item/></list>";
    const std::vector<std::string> changes[] = {
        {"set", "list/a", "tSTRING", "2"}, {"rm", "list/item"}, {"import", Path("d.xml")}};
    for (const std::vector<std::string>& change : changes) {
        SCOPED_TRACE(change.front());
        Write("f.xml", kForeign);
        const Outcome outcome = RunOn("f.xml", change);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.error, testing::ContainsRegex("f.xml is a foreign document: .*--convert.*import"));
        EXPECT_EQ(FileText(folder / "f.xml"), kForeign);
        EXPECT_EQ(RunOn("f.xml", change, {"--convert"}).exitCode, 0);
        EXPECT_THAT(FileText(folder / "f.xml"), StartsWith("<arbor>"));
        EXPECT_EQ(RunOn("f.xml", change[0] == "rm" ? std::vector<std::string>{"rm", "list"} : change).exitCode, 0);
    }
    Write("f.xml", kForeign);
    EXPECT_EQ(RunOn("d.xml", {"cp", "Network", "--to", Path("f.xml")}).exitCode, 1);
    EXPECT_EQ(FileText(folder / "f.xml"), kForeign);
    EXPECT_EQ(RunOn("d.xml", {"cp", "Network", "--to", Path("f.xml")}, {"--convert"}).exitCode, 0);
}

TEST_F(ArborctlTest, RestoreKeepsTheFormerDocument) {
    ASSERT_EQ(RunOn("d.xml", {"rm", "Network"}, {"--backup", "2"}).exitCode, 0);
    ASSERT_THAT(Files(), UnorderedElementsAre("d.xml", "d.xml.bak", "d.xml.bak2"));
    const std::string changed = FileText(folder / "d.xml");
    for (const char* round : {"d.xml.before-restore", "d.xml.before-restore2"}) {
        SCOPED_TRACE(round);
        const Outcome outcome = RunOn("d.xml", {"restore", "bak2"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
        EXPECT_TRUE(std::filesystem::exists(folder / round));
    }
    EXPECT_EQ(FileText(folder / "d.xml.before-restore"), changed);
    Write("d.xml.tmp1f", "<arbor>");
    Write("d.xml.other", "<arbor>");
    const std::string listed = RunOn("d.xml", {"backups"}).output;
    EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 6);
    EXPECT_THAT(listed, HasSubstr("  d.xml (document): loads\n"));
    EXPECT_THAT(listed, HasSubstr("d.xml.tmp1f (temporary file): doesn't load: 0x800000C0"));
    EXPECT_THAT(RunOn("d.xml", {"backups", "--json"}).output, HasSubstr("\"role\":\"second backup\""));
}

TEST_F(ArborctlTest, RestoreAcceptsNamesPathsAndEndings) {
    Write("d.xml.bak2", "");
    Write("d.xml.bak", "<arbor></arbor>");
    if (kNamesAreBytes) {
        for (const char* name : {"\xFF", "d.xml.bak\xFF", "d.xml.tmp1\\"}) Write(name, "<arbor></arbor>");
    }
    const std::string listed = RunOn("d.xml", {"backups"}).output;
    EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 3) << listed;
    EXPECT_THAT(listed, HasSubstr("  d.xml.bak2 (second backup): empty\n"));
    EXPECT_THAT(RunOn("d.xml", {"backups", "--json"}).output, HasSubstr("\"bytes\":0,\"state\":\"empty\""));

    const std::filesystem::path above = folder.parent_path();
    const std::string relative = (folder.filename() / "d.xml").string();
    struct Case {
        const char* label;
        std::filesystem::path from;   // the working directory
        std::string document, backup;
    };
    const Case cases[] = {
        {"an ending", above, relative, ".bak"},
        {"an ending without its point", above, relative, "bak"},
        {"a name", above, relative, "d.xml.bak"},
        {"a path from the working folder", above, relative, relative + ".bak"},
        {"a whole path beside a relative document", above, relative, Path("d.xml.bak")},
        {"a relative path beside a whole document", folder, Path("d.xml"), "./d.xml.bak"},
        {"a path with \"..\"", folder, "d.xml", "../" + relative + ".bak"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        Write("d.xml", kDocument);
        const WorkingDirectory directory(row.from);
        const Outcome outcome = RunTool({"restore", row.document, row.backup});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(FileText(folder / "d.xml"), "<arbor></arbor>");
    }
    EXPECT_THAT(RunOn("d.xml", {"restore", "nowhere/d.xml.bak"}).error, HasSubstr("0x800000C5: no such document"));
    EXPECT_THAT(RunOn("d.xml", {"restore", "bak2"}).output, HasSubstr("from d.xml.bak2, which is empty; "));
}

TEST_F(ArborctlTest, LinksAreFollowedAndKept) {
    if (!kNamesAreBytes) GTEST_SKIP() << "creating links requires privileges";
    struct Case {
        const char* label;
        const char* path;
        const char* file;   // the file that is saved
    };
    const Case cases[] = {
        {"a link", "link.xml", "real/q.xml"},
        {"a link to a link", "link2.xml", "real/q.xml"},
        {"a link to a file that is missing", "dangling.xml", "real/new.xml"},
        {"a parent of a link's target", "deep/../q.xml", "real/q.xml"},
        {"a missing file in a parent of a link's target", "deep/../new.xml", "real/new.xml"},
        {"a link in a parent of a link's target", "deep/../back.xml", "real/q.xml"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        const testing_support::TemporaryFolder fresh;
        std::filesystem::create_directories(fresh.Folder() / "real/sub");
        const auto link = [&fresh](const char* target, const char* name) {
            std::filesystem::create_symlink(target, fresh.Folder() / name);
        };
        link("real/q.xml", "link.xml");
        link("link.xml", "link2.xml");
        link("real/new.xml", "dangling.xml");
        link("real/sub", "deep");
        link("sub/../q.xml", "real/back.xml");
        std::ofstream(fresh.Folder() / "real/q.xml") << "<arbor></arbor>";
        const std::string path = (fresh.Folder() / row.path).string();
        for (const char* value : {"First", "Second"}) {
            const Outcome outcome = RunTool({"--create", "--backup", "1", path, "set", "", value, "tINT", "1"});
            EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        }
        EXPECT_THAT(FileText(fresh.Folder() / row.file), HasSubstr("\"Second\""));
        EXPECT_EQ(RunTool({path, "restore", "bak2"}).exitCode, 0);
        EXPECT_THAT(FileText(fresh.Folder() / row.file), testing::Not(HasSubstr("\"Second\"")));
        EXPECT_THAT(fresh.List(), UnorderedElementsAre("dangling.xml", "deep", "link.xml", "link2.xml", "real"));
        for (const char* name : {"link.xml", "link2.xml", "dangling.xml", "real/back.xml"}) {
            EXPECT_TRUE(std::filesystem::is_symlink(fresh.Folder() / name)) << name;
        }
    }
}

TEST_F(ArborctlTest, PathsThatTheModuleCannotOpenAreRejected) {
    if (!kNamesAreBytes) GTEST_SKIP() << "the module can open any path";
    const std::vector<std::string> set = {"set", "", "V", "tINT", "1"};
    struct Case {
        const char* label;
        std::vector<std::string> arguments;
        const char* shown;
    };
    const Case cases[] = {
        {"not UTF-8", {"--create", "bad\xFF.xml", "set", "", "V", "tINT", "1"}, "bad\\xff.xml: "},
        {"a control character", {"--create", "\x1B\xFE", "set", "", "V", "tINT", "1"}, "\\x1b\\xfe: "},
        {"half a character", {"--create", "a\xE2\x82/d.xml", "set", "", "V", "tINT", "1"}, "a\\xe2\\x82/d.xml: "},
        {"a backslash", {"--create", "a\\d.xml", "set", "", "V", "tINT", "1"}, "a\\d.xml: "},
        {"a drive", {"--create", "Z:\\d.xml", "set", "", "V", "tINT", "1"}, "Z:\\d.xml: "},
        {"the target of a copy", {"d.xml", "cp", "", "--to", "bad\xFF.xml"}, "bad\\xff.xml: "},
        {"the source of an import", {"d.xml", "import", "bad\xFF.xml"}, "bad\\xff.xml: "},
        {"another document", {"d.xml", "diff", "a\\b.xml"}, "a\\b.xml: "},
    };
    const WorkingDirectory directory(folder);
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        const Outcome outcome = RunTool(row.arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.error, HasSubstr(row.shown));
        EXPECT_TRUE(IsOneLine(outcome.error)) << outcome.error;
        EXPECT_THAT(Files(), UnorderedElementsAre("d.xml"));
    }
    for (const char* name : {"w\xFF", "w\\x"}) {   // as the working directory, and as the target of a link
        const std::string shown = host::Printable((folder / name / "d.xml").string());
        std::filesystem::create_directory(folder / name);
        std::ofstream(folder / name / "d.xml", std::ios::binary) << kDocument;
        std::filesystem::create_symlink(folder / name / "d.xml", folder / "link.xml");
        for (const auto& [from, document] : {std::pair(folder / name, "d.xml"), std::pair(folder, "link.xml")}) {
            for (const std::vector<std::string>& command : {set, {"check"}, {"backups"}, {"restore", "bak"}}) {
                SCOPED_TRACE(document);
                const WorkingDirectory inner(from);
                std::vector<std::string> arguments{"--create", document};
                arguments.insert(arguments.end(), command.begin(), command.end());
                const Outcome outcome = RunTool(arguments);
                EXPECT_EQ(outcome.exitCode, 3);
                EXPECT_THAT(outcome.error, StartsWith("arborctl: " + shown + ": "));
                EXPECT_TRUE(IsOneLine(outcome.error)) << outcome.error;
            }
        }
        EXPECT_EQ(FileText(folder / name / "d.xml"), kDocument);
        std::filesystem::remove(folder / "link.xml");
        std::filesystem::remove_all(folder / name);
        EXPECT_THAT(Files(), UnorderedElementsAre("d.xml"));
    }
}

TEST_F(ArborctlTest, OneRunAtATimeChangesADocument) {
    const std::string backup = Path("d.xml.bak2");
    std::filesystem::copy_file(folder / "d.xml", backup);
    const std::vector<std::string> changes[] = {{"set", "Network", "V", "tINT", "1"},
                                                {"rm", "Network"},
                                                {"rm", "", "Blob"},
                                                {"import", backup},
                                                {"restore", "bak2"}};
    {
        const host::TimedFileLock other(folder / "d.xml.lock", std::chrono::seconds(0));
        ASSERT_TRUE(other.IsHeld());
        const auto expectBusy = [](const Outcome& outcome) {
            EXPECT_EQ(outcome.exitCode, 3);
            EXPECT_THAT(outcome.error, StartsWith("arborctl: 0x80010104: another process uses the file (another run"));
        };
        for (const std::vector<std::string>& change : changes) {
            SCOPED_TRACE(change[0]);
            expectBusy(RunOn("d.xml", change, {"--wait", "0"}));
        }
        expectBusy(RunTool({"--wait", "0", backup, "cp", "Network", "--to", Path("d.xml")}));
        expectBusy(RunOn("d.xml", {"tree"}, {"--wait", "0", "--create"}));
        EXPECT_EQ(RunOn("d.xml", {"get", "", "Blob"}, {"--wait", "0"}).output, "0A0BFF\n");
    }
    EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
    for (const std::vector<std::string>& change : changes) {
        EXPECT_EQ(RunOn("d.xml", change, {"--wait", "0"}).exitCode, 0) << change[0];
    }
    EXPECT_THAT(Files(), UnorderedElementsAre("d.xml", "d.xml.bak2", "d.xml.before-restore"));
}

TEST_F(ArborctlTest, RepeatedImportGivesTheSameTree) {
    Write("foreign.xml",
          "<list a=\"1\"><item>one</item><ITEM n='2'/><item>three</item><t "
          "m=\"![CDATA[\"><m>long</m></t></list>");
    constexpr const char* kTree =
        "list/\n    a: tSTRING \"1\"\n    item/\n        noname: tSTRING \"one\"\n    ITEM#2/\n        n: tSTRING "
        "\"2\"\n"
        "    item#3/\n        noname: tSTRING \"three\"\n"
        "    t/\n        m: tSTRING \"![CDATA[\"\n        m/\n            noname: tSTRING \"long\"\n";
    for (const char* round : {"first", "second"}) {
        SCOPED_TRACE(round);
        const Outcome outcome = RunOn("new.xml", {"import", Path("foreign.xml")}, {"--create"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(RunOn("new.xml", {"tree"}).output, kTree);
        EXPECT_EQ(RunOn("new.xml", {"get", "list/t", "m"}).output, "long\n");
    }
}

TEST_F(ArborctlTest, ImportRecognisesTheFormAndKeepsTheDocumentOnAFailure) {
    constexpr const char* kNative = "\xEF\xBB\xBF<arbor><tINT name='v'>1</tINT><tINT name='V'>2</tINT></arbor>";
    constexpr const char* kForeign = "<v v='1'></v>";
    constexpr const char* kJson = R"( {"keys":[{"values":[{"value":5,"name":"%x2F","type":"tINT"}],"name":"k"}]} )";
    struct Case {
        const char* label;
        const char* content;
        std::vector<std::string> options;
        const char* tree;   // of the key that was imported into; null if the import is refused
        const char* error = "";
        int exitCode = 1;
    };
    const Case cases[] = {
        {"native", kNative, {}, "v: tINT 1\nV#2: tINT 2\n"},
        {"foreign", kForeign, {}, "v/\n    v: tSTRING \"1\"\n"},
        {"JSON, members in any order", kJson, {}, "k/\n    %x2F: tINT 5\n"},
        {"JSON as said", kJson, {"--from", "json"}, "k/\n    %x2F: tINT 5\n"},
        {"native, but foreign was said", kNative, {"--from", "foreign"}, nullptr, " is native: "},
        {"foreign, but native was said", kForeign, {"--from", "native"}, nullptr, " is foreign: "},
        {"XML, but JSON was said", kForeign, {"--from", "json"}, nullptr, ":1:1: syntax error"},
        {"malformed XML", "<arbor>\n<x/>", {}, nullptr, ":2:1: <x> is neither a key nor a value type)", 3},
        {"XML in UTF-16", "\xFF\xFE<", {}, nullptr, ":1:1: the document is in UTF-16; only UTF-8 is read)", 3},
        {"malformed JSON", "{\n\"keys\":[{\"name\":\"k\",,", {}, nullptr, ":2:21: k: syntax error"},
    };
    for (const Case& row : cases) {
        for (const char* file : {"in", "-"}) {
            SCOPED_TRACE(std::string(row.label) + " from " + file);
            Write("d.xml", kDocument);
            Write("in", row.content);
            std::vector<std::string> command{"import", *file == '-' ? file : Path(file), "Network/New"};
            command.insert(command.end(), row.options.begin(), row.options.end());
            const Outcome outcome = RunOn("d.xml", command, {}, row.content);
            EXPECT_EQ(outcome.exitCode, row.tree != nullptr ? 0 : row.exitCode) << outcome.error;
            EXPECT_THAT(outcome.error, HasSubstr(row.error));
            if (row.tree != nullptr) {
                EXPECT_EQ(RunOn("d.xml", {"tree", "Network/New"}).output, row.tree);
            } else {
                EXPECT_EQ(FileText(folder / "d.xml"), kDocument);
            }
        }
    }
}

TEST_F(ArborctlTest, ReportEscapesTheDocumentAndMarksDifferences) {
    Write("m.xml",
          "<arbor><key name='&lt;script&gt;&lt;b a=&quot;&apos;'><tSTRING "
          "name='&lt;/b&gt;&amp;'>&lt;/pre>&lt;!--&#x1;&#xD800;"
          "</tSTRING></key></arbor>");
    const Outcome page = RunOn("m.xml", {"report"});
    EXPECT_EQ(page.exitCode, 0) << page.error;
    EXPECT_THAT(page.output,
                HasSubstr("<li class=\"k\"><details open id=\"&lt;script&gt;&lt;b a=&quot;&#39;\"><summary>"
                          "<b>&lt;script&gt;&lt;b a=&quot;&#39;</b> "
                          "<a href=\"#%3Cscript%3E%3Cb%20a%3D%22%27\">#</a></summary>\n<ul>\n"
                          "<li><b>&lt;%x2Fb&gt;&amp;</b> <i>tSTRING</i> <span>&quot;&lt;/pre&gt;&lt;!--<u>\\x01</u>"
                          "<u>\\xed</u><u>\\xa0</u><u>\\x80</u>&quot;</span>\n</ul></details>\n"));
    Write("other.xml", "<arbor><key name='Network'><tSTRING name='Comment'>x</tSTRING></key><key name='New'/></arbor>");
    const std::string differences = RunOn("d.xml", {"report", "--against", Path("other.xml")}).output;
    for (const char* part : {"<li class=\"d\"><del><b>Blob</b> <i>tBINARY</i> <span>0A0BFF</span></del>\n",
                             "<li class=\"k d\"><details open id=\"Network/Proxy\"><summary><del><b>Proxy</b> </del>",
                             "</del> <ins><i>tSTRING</i> <span>&quot;x&quot;</span></ins>\n",
                             "<li class=\"k d\"><details open id=\"New\"><summary><ins><b>New</b> </ins>",
                             "<footer>3 keys, 5 values</footer>"})
        EXPECT_THAT(differences, HasSubstr(part));
    EXPECT_EQ(RunOn("d.xml", {"report", "--against", Path("d.xml")}).output.find("class=\"k d\""), std::string::npos);
    EXPECT_EQ(RunOn("d.xml", {"report", "--against", Path("none.xml")}).exitCode, 3);
}

TEST_F(ArborctlTest, CompletionListsValidArguments) {
    Write("d.xml.bak2", "<arbor></arbor>");
    const std::string document = Path("d.xml");
    struct Case {
        const char* label;
        std::vector<std::string> words;
        const char* offered;
    };
    const Case cases[] = {
        {"a document or a command", {"im"}, "files\nimport\n"},
        {"a command", {document, "rep"}, "words\nreport\n"},
        {"a document after its command", {"get", ""}, "files\n"},
        {"an option", {"--ba"}, "words\n--backup\n"},
        {"an option of the command", {document, "get", "--a"}, "words\n--as\n"},
        {"an option of every command", {document, "get", "--col"}, "words\n--color\n"},
        {"options of another command aren't listed", {document, "rm", "--j"}, "words\n"},
        {"a value of an option", {"--backup", ""}, "words\n0\n1\n2\n"},
        {"a value after an equals sign", {"--color=a"}, "words\n--color=auto\n--color=always\n"},
        {"a file of an option", {"--module", ""}, "files\n"},
        {"free text", {document, "find", ""}, "words\n"},
        {"keys and values of the root", {document, "tree", ""}, "words\nNetwork/\nBlob\nWide\n"},
        {"a key in any case", {document, "rm", "network/p"}, "words\nnetwork/Proxy/\n"},
        {"with both separators", {document, "rm", "Network\\Proxy/E"}, "words\nNetwork\\Proxy/Enabled\n"},
        {"relative to --root", {"--root", "Network", document, "get", "P"}, "words\nProxy/\n"},
        {"a root", {document, "--root", "N"}, "words\nNetwork/\n"},
        {"no key", {document, "tree", "Nowhere/"}, "words\n"},
        {"no document", {Path("none.xml"), "tree", ""}, "words\n"},
        {"a name", {"get", document, "Network/Proxy", ""}, "words\nEnabled\nPort\n"},
        {"a type after the path of a value", {document, "set", "Network/Proxy/Port", "tCO"}, "words\ntCODEPAGE\n"},
        {"a type after a name", {document, "set", "Network/Proxy", "New", "tda"}, "words\ntDATA\ntDATETIME\n"},
        {"after the options' end", {document, "get", "--", "-"}, "words\n"},
        {"a backup", {document, "restore", ""}, "words\nd.xml.bak2\n"},
        {"another document", {document, "cp", "Network", "--to", ""}, "files\n"},
        {"the path of a copy", {document, "cp", "Network", "Network/P"}, "words\nNetwork/Proxy/\n"},
        {"a file with a text", {document, "set", "V", "--from", ""}, "files\n"},
        {"a form", {document, "import", "e.json", "--from=j"}, "words\n--from=json\n"},
        {"more arguments than the command has", {document, "cp", "Network", "Copy", ""}, "words\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.label);
        std::vector<std::string> arguments{"__complete"};
        arguments.insert(arguments.end(), row.words.begin(), row.words.end());
        const Outcome outcome = RunTool(arguments);
        EXPECT_EQ(outcome.output, row.offered);
        EXPECT_THAT(outcome.error, IsEmpty());
    }
    const std::string types = RunTool({"__complete", document, "get", "", "V", "--as", ""}).output;
    EXPECT_EQ(std::count(types.begin(), types.end(), '\n'), 1 + 33);
}

TEST_F(ArborctlTest, TraceAndLeakReportGoToStandardError) {
    const Outcome outcome = RunOn("d.xml", {"get", "Network/Proxy", "Port"}, {"--trace", "600", "--leaks"});
    EXPECT_EQ(outcome.output, "8080\n");
    EXPECT_THAT(outcome.error, HasSubstr("600 arbor\tOpening key ?\\Proxy: 0x00000000 (done)\n"));
    EXPECT_THAT(outcome.error, HasSubstr("\n0 blocks of host memory not freed, 0 bytes"));
}

TEST_F(ArborctlTest, ExamplesLoad) {
    for (const char* name : {"settings.xml", "foreign.xml"}) {
        const Outcome outcome = RunTool({(host::ProgramDirectory() / "examples" / name).string(), "check"});
        EXPECT_THAT(outcome.output, StartsWith("loads as a ")) << outcome.error;
    }
}

}   // namespace
