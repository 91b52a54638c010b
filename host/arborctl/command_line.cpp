#include "command_line.h"

#include <component/kernel/trace.h>

#include <host/system.h>
#include <host/text.h>

#include <algorithm>

#include <CLI/CLI.hpp>

namespace arborctl {
namespace {

CLI::Option* AddDocument(CLI::App& app, const char* name, std::string& target, const char* help) {
    return app.add_option(name, target, help)->check([](const std::string& path) {
        const std::string_view fault = host::PathFault(path);
        return fault.empty() ? "" : host::Printable(path).append(": ").append(fault);
    });
}

std::string TypeNames() {
    std::string names;
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes)
        names.append(names.empty() ? "" : " ").append(row.name);
    return names;
}

std::string ExitCodes() {
    std::string text = "Exit codes:";
    for (const ExitCodeRow& row : kExitCodes) text += "\n  " + std::to_string(row.code) + "  " + row.meaning;
    return text;
}

std::string TypeFault(const std::string& type) {
    return kernel::FindType(type) != nullptr ? "" : type + " is no type of a value; the types are " + TypeNames();
}

/// The usage of `set`, whose VALUE may be left out although an argument follows.
constexpr std::string_view kParsedSetUsage = "VALUE TYPE [TEXT]";
constexpr std::string_view kSetUsage = "[VALUE] TYPE TEXT";

/// A command's usage names the document before it.
class UsageWithDocument : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        if (app->get_parent() != nullptr) name.insert(name.find(' '), " DOCUMENT");
        std::string usage = CLI::Formatter::make_usage(app, name);
        const std::size_t at = usage.find(kParsedSetUsage);
        return at == std::string::npos ? usage : usage.replace(at, kParsedSetUsage.size(), kSetUsage);
    }
};

/// Calls `read(text)`; a failure is one of the command line.
template <class Read>
void ReadArgument(const std::string& text, Read read) {
    try {
        read(text);
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError(text, error.what());
    }
}

/// What the arguments of a command are read into.
struct Operands {
    Path path;
    std::optional<PathName> name;
    std::string nameText, type, text, file;

    /// The value that the path and the name address, or the path alone.
    [[nodiscard]] ValuePath Value() const { return name ? ValuePath{path, *name} : ToValuePath(path); }
    /// Of three arguments of `set` the first is the value's path.
    void LeaveOutName() {
        text = std::move(type);
        type = std::move(nameText);
        name.reset();
    }

    [[nodiscard]] kernel::TypeCode Type() const { return type.empty() ? 0 : kernel::FindType(type)->type; }
};

/// The commands being read: what was given so far, and the tool's command that it sets.
class Commands {
public:
    Commands(CLI::App& tool, CommandLine& commandLine) : app(tool), line(commandLine) {}

    void AddAll() {
        AddReading();
        AddComparing();
        AddChanging();
        AddMoving();
    }

private:
    using Work = int (*)(const Session&, const Operands&);

    static constexpr const char* kKeyPath = "key, as in Network/Proxy, or value; \"\" is the root";

    CLI::App* Add(const char* name, const char* help, const char* example, Work work) {
        return app.add_subcommand(name, help)
            ->footer(std::string("Example:\n  arborctl ") + example + "\n\n" + ExitCodes())
            ->callback([this, work] {
                line.command = [work, given = operands](const Session& session) { return work(session, given); };
            });
    }

    CLI::App* AddReader(const char* name, const char* help, const char* example, Work work) {
        CLI::App* command = Add(name, help, example, work);
        command->add_flag("--json", line.json, "print JSON, for programs");
        return command;
    }

    /// `read` throws `std::invalid_argument` for an argument that can't be meant.
    template <class Read>
    static CLI::Option* AddParsed(CLI::App* command, const char* name, const char* help, Read read) {
        return command->add_option_function<std::string>(
            name, [read](const std::string& text) { ReadArgument(text, read); }, help);
    }

    CLI::Option* AddPath(CLI::App* command, const char* help) {
        return AddParsed(command, "PATH", help, [this](const std::string& text) { operands.path = Path(text); });
    }

    CLI::Option* AddName(CLI::App* command, const char* help) {
        return AddParsed(command, "VALUE", help,
                         [this](const std::string& text) { operands.name = ParseName(operands.nameText = text); });
    }

    void DemandValuePath() {
        ReadArgument("PATH", [this](const std::string&) { static_cast<void>(operands.Value()); });
    }

    CLI::Option* AddType(CLI::App* command, const char* name, const char* help) {
        return command->add_option(name, operands.type, help)->option_text("TYPE")->check(TypeFault);
    }

    void AddReading() {
        CLI::App* tree =
            AddReader("tree", "Show keys and values, typed", "settings.xml tree Network/Proxy",
                      [](const Session& session, const Operands& given) { return Tree(session, given.path); });
        AddPath(tree, kKeyPath);

        CLI::App* get = AddReader(
            "get", "Show one value, in its own type or converted", "settings.xml get Network/Proxy/Port --as tSTRING",
            [](const Session& session, const Operands& given) { return Get(session, given.Value(), given.Type()); });
        AddPath(get, "value, as in Network/Proxy/Port, or its key")->required();
        AddName(get, "name of the value, if PATH is its key");
        AddType(get, "--as", "type to convert to");
        get->parse_complete_callback([this] { DemandValuePath(); });

        CLI::App* find = AddReader(
            "find", "Show the keys and values with TEXT in a name or in a value's text", "settings.xml find proxy",
            [](const Session& session, const Operands& given) { return Find(session, given.text); });
        find->add_option("TEXT", operands.text, "compared without regard to the case of ASCII letters")->required();

        CLI::App* write =
            AddReader("export", "Write a subtree as a document to standard output", "settings.xml export Network/Proxy",
                      [](const Session& session, const Operands& given) { return Export(session, given.path); });
        AddPath(write, kKeyPath);
    }

    void AddComparing() {
        AddReader("check", "Say whether the document loads, why not and where, and what a save drops or changes",
                  "settings.xml check", [](const Session& session, const Operands&) { return Check(session); });

        CLI::App* diff = AddReader(
            "diff", "Show in which keys and values another document differs", "settings.xml diff settings.xml.bak2",
            [](const Session& session, const Operands& given) { return Diff(session, DocumentOf(given.file)); });
        AddDocument(*diff, "OTHER-DOCUMENT", operands.file, "what DOCUMENT is compared with")->required();

        AddReader("backups", "Show the document and the files that saves left beside it, and whether each loads",
                  "settings.xml backups", [](const Session& session, const Operands&) { return Backups(session); });
    }

    void AddChanging() {
        CLI::App* set =
            Add("set", "Make or change a value; keys on the way are made",
                "settings.xml set Network/Proxy/Port tDWORD 8080", [](const Session& session, const Operands& given) {
                    return Set(session, given.Value(), given.Type(), given.text);
                });
        AddPath(set, "key, as in Network/Proxy, or value, as in Network/Proxy/Port")->required();
        AddName(set, "name of the value, if PATH is the key")->required();
        set->add_option("TYPE", operands.type,
                        "type of a new value; one that exists keeps its own and takes TEXT converted")
            ->required();
        CLI::Option* text = set->add_option(
            "TEXT", operands.text, "what to store; hexadecimal for a blob; after \"--\" if it begins with \"-\"");
        set->parse_complete_callback([this, text] {
            if (text->count() == 0) operands.LeaveOutName();
            if (const std::string fault = TypeFault(operands.type); !fault.empty())
                throw CLI::ValidationError("TYPE", fault);
            DemandValuePath();
        });

        CLI::App* rm = Add("rm", "Remove a value, or a key with all below it", "settings.xml rm Network/Proxy/Port",
                           [](const Session& session, const Operands& given) {
                               return given.name ? RemoveValue(session, given.Value()) : Remove(session, given.path);
                           });
        AddPath(rm, "value, or key if there is no such value; with \"/\" at its end a key")->required();
        AddName(rm, "name of the value, if PATH is its key");
    }

    void AddMoving() {
        CLI::App* cp =
            Add("cp", "Copy a subtree into another document, to the same place",
                "settings.xml cp Network/Proxy other.xml", [](const Session& session, const Operands& given) {
                    return Copy(session, given.path, DocumentOf(given.file));
                });
        AddPath(cp, kKeyPath)->required();
        AddDocument(*cp, "TARGET-DOCUMENT", operands.file, "made if it's missing")->required();

        CLI::App* import =
            Add("import", "Read any XML into this document", "--create settings.xml import foreign.xml",
                [](const Session& session, const Operands& given) { return Import(session, DocumentOf(given.file)); });
        AddDocument(*import, "FOREIGN.xml", operands.file, "elements become keys, attributes and text become values")
            ->required();

        CLI::App* restore = Add(
            "restore", "Put a backup in the document's place; what stood there is kept", "settings.xml restore .bak2",
            [](const Session& session, const Operands& given) { return RestoreBackup(session, given.file); });
        restore->add_option("BACKUP", operands.file, "a file that the command backups shows, its path, or its ending")
            ->required();
    }

    CLI::App& app;
    CommandLine& line;
    Operands operands;
};

void AddOptions(CLI::App& app, CommandLine& line, std::string& module, std::string& document) {
    std::map<std::string, Colours> whens;
    for (const ColourRow& row : kColourRows) whens.emplace(row.word, row.colours);
    const std::map<std::string, Creation> creations{{"true", Creation::Safe}, {"force", Creation::Force}};
    app.add_option("--module", module, "module to load (default: the one beside this program)")->option_text("FILE");
    app.add_option("--trace", line.traceLevel, "show the module's lines up to this level, 600 being all")
        ->option_text("LEVEL");
    CLI::Option* readOnly = app.add_flag("--read-only", line.settings.readOnly, "refuse every change");
    app.add_flag("--create", line.settings.create,
                 "make the document if it's missing; with =force also beside a backup of a former one")
        ->option_text("[=force]")
        ->transform(CLI::Transformer(creations))
        ->excludes(readOnly);
    app.add_flag("--convert", line.settings.convert, "let a change save a foreign document as a native one");
    app.add_option("--backup", line.settings.backupMode, "0 none, 1 the last document, 2 also the first one saved")
        ->option_text("MODE")
        ->check(CLI::Range(std::uint32_t{0}, kMaxBackupMode));
    app.add_option_function<std::string>(
           "--root",
           [&line](const std::string& text) {
               ReadArgument(text, [&line](const std::string& path) { line.settings.root = Path(path); });
           },
           "key that paths start at")
        ->option_text("PATH");
    app.add_option("--color", line.colours, "auto, always or never; auto: on a terminal")
        ->option_text("WHEN")
        ->transform(CLI::Transformer(whens))
        ->check([](const std::string& when) { return when.size() == 1 ? "" : when + " is not auto, always or never"; });
    app.add_option_function<unsigned>(
           "--wait", [&line](unsigned seconds) { line.settings.wait = std::chrono::seconds(seconds); },
           "how long to wait for other processes that use the document (default: 5)")
        ->option_text("SECONDS")
        ->check(CLI::Range(0, 86'400));
    app.add_flag("--leaks", line.leaks, "say how much memory the module kept");
    app.set_version_flag("--version", "arborctl " ARBOR_VERSION);
    AddDocument(app, "DOCUMENT", document, "file of the settings");
}

std::string FailureLine(const CLI::App* app, const CLI::Error& error) {
    const std::vector<CLI::App*> commands = app->get_subcommands();
    const std::vector<std::string> unknown = app->remaining();
    if (commands.empty() && !unknown.empty())
        return "arborctl: " + host::Printable(unknown[0]) + " is no command (arborctl --help lists them)\n";
    const std::string command = commands.empty() ? "" : commands[0]->get_name() + ' ';
    return "arborctl: " + host::Printable(error.what()) + " (arborctl " + command + "--help tells more)\n";
}

/// The parser, and what it reads into.
struct Parser {
    CommandLine line{};
    std::string module{};
    std::string document{};
    CLI::App app{"Reads and changes a document of settings.", "arborctl"};
    Commands commands{app, line};

    Parser() {
        app.formatter(std::make_shared<UsageWithDocument>());
        app.footer("arborctl COMMAND --help shows more of a command.\n\n" + ExitCodes());
        app.failure_message(FailureLine);
        app.allow_windows_style_options(false);   // a path may begin with "/"
        app.require_subcommand(1);
        AddOptions(app, line, module, document);
        commands.AddAll();
    }
};

}   // namespace

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    const auto found = app.get_subcommands([&name](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

void PutDocumentFirst(const CLI::App& app, std::vector<std::string>& arguments) {
    if (arguments.size() < 2 || FindCommand(app, arguments[0]) == nullptr) return;
    if (FindCommand(app, arguments[1]) != nullptr) return;
    if (!arguments[1].starts_with('-')) std::swap(arguments[0], arguments[1]);
}

std::filesystem::path DocumentOf(const std::string& argument) { return FollowLink(PathOf(argument)); }

std::filesystem::path ModuleOf(const std::string& argument) {
    return argument.empty() ? host::ProgramDirectory() / (std::string("arbor") + host::ModuleExtension())
                            : PathOf(argument);
}

std::shared_ptr<const CLI::App> DescribeCommandLine() {
    const auto parser = std::make_shared<Parser>();
    return {parser, &parser->app};
}

std::optional<CommandLine> ReadCommandLine(std::vector<std::string> arguments, int& exitCode) {
    Parser parser;
    CLI::App& app = parser.app;
    PutDocumentFirst(app, arguments);
    try {
        std::reverse(arguments.begin(), arguments.end());   // as the parser takes them
        app.parse(arguments);
        if (parser.document.empty()) throw CLI::RequiredError("DOCUMENT");
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitDone : kExitUsage;
        return std::nullopt;
    }
    CommandLine& line = parser.line;
    line.settings.document = DocumentOf(parser.document);
    if (app.got_subcommand("check")) line.traceLevel = std::max<std::uint32_t>(line.traceLevel, kernel::TraceWarning);
    line.module = ModuleOf(parser.module);
    return std::move(line);
}

}   // namespace arborctl
