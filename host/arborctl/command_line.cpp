// The options, commands and help texts, declared to the CLI11 parser.

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
    return kernel::FindType(type) != nullptr ? "" : type + " isn't a value type; the types are " + TypeNames();
}

/// The usage of `set`. The parser can't describe an optional VALUE before a required TYPE.
constexpr std::string_view kParsedSetUsage = "VALUE TYPE [TEXT]";
constexpr std::string_view kSetUsage = "[VALUE] TYPE TEXT";

/// Adds the document to the usage of a command, which the parser doesn't do.
class UsageWithDocument : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        if (app->get_parent() != nullptr) name.insert(name.find(' '), " DOCUMENT");
        std::string usage = CLI::Formatter::make_usage(app, name);
        const std::size_t at = usage.find(kParsedSetUsage);
        return at == std::string::npos ? usage : usage.replace(at, kParsedSetUsage.size(), kSetUsage);
    }
};

/// Calls `read(text)` and turns `std::invalid_argument` into an error of the command line.
template <class Read>
void ReadArgument(const std::string& text, Read read) {
    try {
        read(text);
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError(text, error.what());
    }
}

/// The parsed arguments of a command.
struct Operands {
    Path path;
    std::optional<PathName> name;
    std::string nameText, type, text, file;

    /// The value `name` of the key `path`, or the value `path`.
    [[nodiscard]] ValuePath Value() const { return name ? ValuePath{path, *name} : ToValuePath(path); }
    /// Moves the arguments of `set PATH TYPE TEXT`, which the parser reads as PATH VALUE TYPE, to their members.
    void OmitName() {
        text = std::move(type);
        type = std::move(nameText);
        name.reset();
    }

    [[nodiscard]] kernel::TypeCode Type() const { return type.empty() ? 0 : kernel::FindType(type)->type; }
};

/// Adds the commands to the parser. Parsing one sets `CommandLine::command`.
class Commands {
public:
    Commands(CLI::App& tool, CommandLine& commandLine) : app(tool), line(commandLine) {}

    void AddAll() {
        AddReadingCommands();
        AddComparingCommands();
        AddChangingCommands();
        AddMovingCommands();
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

    CLI::App* AddJsonCommand(const char* name, const char* help, const char* example, Work work) {
        CLI::App* command = Add(name, help, example, work);
        command->add_flag("--json", line.json, "print JSON, for programs");
        return command;
    }

    void AddFlat(CLI::App* command, const char* help) {
        command->add_flag("--flat", line.flat, help)->excludes(command->get_option("--json"));
    }

    /// `read` throws `std::invalid_argument` for an argument with a wrong syntax.
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

    void RequireValuePath() {
        ReadArgument("PATH", [this](const std::string&) { static_cast<void>(operands.Value()); });
    }

    CLI::Option* AddType(CLI::App* command, const char* name, const char* help) {
        return command->add_option(name, operands.type, help)->option_text("TYPE")->check(TypeFault);
    }

    void AddReadingCommands() {
        CLI::App* tree =
            AddJsonCommand("tree", "Show keys and values, typed", "settings.xml tree Network/Proxy",
                           [](const Session& session, const Operands& given) { return Tree(session, given.path); });
        AddPath(tree, kKeyPath);
        AddFlat(tree, "print a line \"PATH VALUE TYPE TEXT\" for each value, exact, as \"apply\" reads it");

        CLI::App* get = AddJsonCommand(
            "get", "Show one value, in its own type or converted", "settings.xml get Network/Proxy/Port --as tSTRING",
            [](const Session& session, const Operands& given) { return Get(session, given.Value(), given.Type()); });
        AddPath(get, "value, as in Network/Proxy/Port, or its key")->required();
        AddName(get, "name of the value, if PATH is its key");
        AddType(get, "--as", "type to convert to");
        get->parse_complete_callback([this] { RequireValuePath(); });

        CLI::App* find = AddJsonCommand(
            "find", "Show the keys and values with TEXT in a name or in a value's text", "settings.xml find proxy",
            [](const Session& session, const Operands& given) { return Find(session, given.text); });
        find->add_option("TEXT", operands.text, "compared without regard to the case of ASCII letters")->required();

        CLI::App* write = AddJsonCommand(
            "export", "Write a subtree as a document to standard output", "settings.xml export Network/Proxy",
            [](const Session& session, const Operands& given) { return Export(session, given.path); });
        AddPath(write, kKeyPath);
    }

    void AddComparingCommands() {
        AddJsonCommand("check", "Report why and where the document can't be loaded, or what a save drops or changes",
                       "settings.xml check", [](const Session& session, const Operands&) { return Check(session); });

        CLI::App* diff = AddJsonCommand(
            "diff", "Show in which keys and values another document differs", "settings.xml diff settings.xml.bak2",
            [](const Session& session, const Operands& given) { return Diff(session, DocumentPath(given.file)); });
        AddFlat(diff, "print the changes that make DOCUMENT equal to the other one, as \"apply\" reads them");
        AddDocument(*diff, "OTHER-DOCUMENT", operands.file, "what DOCUMENT is compared with")->required();

        AddJsonCommand("backups", "List the document and its backups, and whether each loads", "settings.xml backups",
                       [](const Session& session, const Operands&) { return Backups(session); });
    }

    void AddChangingCommands() {
        CLI::App* set =
            Add("set", "Create or change a value; missing keys are created",
                "settings.xml set Network/Proxy/Port tDWORD 8080", [](const Session& session, const Operands& given) {
                    return Set(session, given.Value(), given.Type(), given.text);
                });
        AddPath(set, "key, as in Network/Proxy, or value, as in Network/Proxy/Port")->required();
        AddName(set, "name of the value, if PATH is the key")->required();
        set->add_option("TYPE", operands.type,
                        "type of a new value; an existing value keeps its type, and TEXT is converted")
            ->required();
        CLI::Option* text = set->add_option(
            "TEXT", operands.text, "text of the value; hexadecimal for a blob; after \"--\" if it begins with \"-\"");
        set->parse_complete_callback([this, text] {
            if (text->count() == 0) operands.OmitName();
            if (const std::string fault = TypeFault(operands.type); !fault.empty())
                throw CLI::ValidationError("TYPE", fault);
            RequireValuePath();
        });

        CLI::App* rm = Add("rm", "Remove a value, or a key and its subtree", "settings.xml rm Network/Proxy/Port",
                           [](const Session& session, const Operands& given) {
                               return given.name ? RemoveValue(session, given.Value()) : Remove(session, given.path);
                           });
        AddPath(rm, "value, or key if there is no such value; always a key if it ends with \"/\"")->required();
        AddName(rm, "name of the value, if PATH is its key");
    }

    void AddMovingCommands() {
        CLI::App* cp =
            Add("cp", "Copy a subtree to the same path in another document", "settings.xml cp Network/Proxy other.xml",
                [](const Session& session, const Operands& given) {
                    return Copy(session, given.path, DocumentPath(given.file));
                });
        AddPath(cp, kKeyPath)->required();
        AddDocument(*cp, "TARGET-DOCUMENT", operands.file, "created if it is missing")->required();

        CLI::App* import = Add(
            "import", "Copy any XML document into this one", "--create settings.xml import foreign.xml",
            [](const Session& session, const Operands& given) { return Import(session, DocumentPath(given.file)); });
        AddDocument(*import, "FOREIGN.xml", operands.file, "elements become keys, attributes and text become values")
            ->required();

        CLI::App* restore = Add("restore", "Replace the document by a backup; a copy of the former document is kept",
                                "settings.xml restore .bak2", [](const Session& session, const Operands& given) {
                                    return RestoreBackup(session, given.file);
                                });
        restore->add_option("BACKUP", operands.file, "a file that \"backups\" lists: its name, path or ending")
            ->required();
    }

    CLI::App& app;
    CommandLine& line;
    Operands operands;
};

void AddOptions(CLI::App& app, CommandLine& line, std::string& module, std::string& document) {
    std::map<std::string, Colours> colourModes;
    for (const ColourRow& row : kColourRows) colourModes.emplace(row.word, row.colours);
    const std::map<std::string, Creation> creations{{"true", Creation::Safe}, {"force", Creation::Force}};
    app.add_option("--module", module, "module to load (default: the one in the program's directory)")
        ->option_text("FILE");
    app.add_option("--trace", line.traceLevel, "print the module's trace lines up to this level; 600 prints all")
        ->option_text("LEVEL");
    CLI::Option* readOnly = app.add_flag("--read-only", line.settings.readOnly, "refuse every change");
    app.add_flag("--create", line.settings.create,
                 "create the document if it is missing; =force: even if backups of a former one exist")
        ->option_text("[=force]")
        ->transform(CLI::Transformer(creations))
        ->excludes(readOnly);
    app.add_flag("--convert", line.settings.convert, "allow a change to save a foreign document as a native one");
    app.add_option("--backup", line.settings.backupMode,
                   "0: none; 1: the document before the last save; 2: also the first one saved")
        ->option_text("MODE")
        ->check(CLI::Range(std::uint32_t{0}, kMaxBackupMode));
    app.add_option_function<std::string>(
           "--root",
           [&line](const std::string& text) {
               ReadArgument(text, [&line](const std::string& path) { line.settings.root = Path(path); });
           },
           "key that paths are relative to")
        ->option_text("PATH");
    app.add_option("--color", line.colours, "auto, always or never; auto: only on a terminal")
        ->option_text("WHEN")
        ->transform(CLI::Transformer(colourModes))
        ->check([](const std::string& when) { return when.size() == 1 ? "" : when + " is not auto, always or never"; });
    app.add_option_function<unsigned>(
           "--wait", [&line](unsigned seconds) { line.settings.wait = std::chrono::seconds(seconds); },
           "how long to wait for other processes that use the document (default: 5)")
        ->option_text("SECONDS")
        ->check(CLI::Range(0, 86'400));
    app.add_flag("--leaks", line.leaks, "report the memory that the module didn't free");
    app.set_version_flag("--version", "arborctl " ARBOR_VERSION);
    AddDocument(app, "DOCUMENT", document, "file with the settings");
}

std::string FailureLine(const CLI::App* app, const CLI::Error& error) {
    const std::vector<CLI::App*> commands = app->get_subcommands();
    const std::vector<std::string> unknown = app->remaining();
    if (commands.empty() && !unknown.empty())
        return "arborctl: " + host::Printable(unknown[0]) + " is not a command (see arborctl --help)\n";
    const std::string command = commands.empty() ? "" : commands[0]->get_name() + ' ';
    return "arborctl: " + host::Printable(error.what()) + " (see arborctl " + command + "--help)\n";
}

/// The parser and the results of parsing.
struct Parser {
    CommandLine line{};
    std::string module{};
    std::string document{};
    CLI::App app{"Reads and changes a document of settings.", "arborctl"};
    Commands commands{app, line};

    Parser() {
        app.formatter(std::make_shared<UsageWithDocument>());
        app.footer("arborctl COMMAND --help shows the arguments and an example of a command.\n\n" + ExitCodes());
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

std::filesystem::path DocumentPath(const std::string& argument) { return FollowLink(PathFromArgument(argument)); }

std::filesystem::path ModulePath(const std::string& argument) {
    return argument.empty() ? host::ProgramDirectory() / (std::string("arbor") + host::ModuleExtension())
                            : PathFromArgument(argument);
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
        std::reverse(arguments.begin(), arguments.end());   // the parser expects the last one first
        app.parse(arguments);
        if (parser.document.empty()) throw CLI::RequiredError("DOCUMENT");
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitDone : kExitUsage;
        return std::nullopt;
    }
    CommandLine& line = parser.line;
    line.settings.document = DocumentPath(parser.document);
    if (app.got_subcommand("check")) line.traceLevel = std::max<std::uint32_t>(line.traceLevel, kernel::TraceWarning);
    line.module = ModulePath(parser.module);
    return std::move(line);
}

}   // namespace arborctl
