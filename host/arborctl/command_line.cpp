#include "command_line.h"

#include <component/kernel/type_names.h>

#include <component/kernel/trace.h>

#include <host/system.h>
#include <host/text.h>

#include <algorithm>

#include <CLI/CLI.hpp>

namespace arborctl {
namespace {

constexpr int kWrongArguments = 2;

std::filesystem::path PathOf(const std::string& text) { return host::ToUtf16(text); }

std::string TypeNames() {
    std::string names;
    for (const kernel::ValueTypeRow& row : kernel::kStoredTypes)
        names.append(names.empty() ? "" : " ").append(row.name);
    return names;
}

/// What the arguments of a command are read into.
struct Operands {
    std::string path, name, type, text, file;
    bool named = false;   // a name was given

    [[nodiscard]] kernel::TypeCode Type() const { return type.empty() ? 0 : kernel::FindType(type)->type; }
};

/// The commands being read: what was given so far, and the tool's command that it sets.
class Commands {
public:
    Commands(CLI::App& tool, CommandLine& commandLine) : app(tool), line(commandLine) {}

    void AddAll() {
        AddReading();
        AddChanging();
    }

private:
    using Work = void (*)(const Session&, const Operands&);

    CLI::App* Add(const char* name, const char* help, Work work) {
        return app.add_subcommand(name, help)->callback([this, work] {
            line.command = [work, given = operands](const Session& session) { work(session, given); };
        });
    }

    CLI::Option* AddPath(CLI::App* command) {
        return command->add_option("PATH", operands.path, "key, as in Network/Proxy; \"\" is the root");
    }

    CLI::Option* AddName(CLI::App* command, const char* help) {
        return command->add_option("VALUE", operands.name, help)->each([this](const std::string&) {
            operands.named = true;
        });
    }

    CLI::Option* AddType(CLI::App* command, const char* name, const char* help) {
        return command->add_option(name, operands.type, help)->option_text("TYPE")->check([](const std::string& type) {
            return kernel::FindType(type) != nullptr ? ""
                                                     : type + " is no type of a value; the types are " + TypeNames();
        });
    }

    void AddReading() {
        CLI::App* tree = Add("tree", "Show keys and values, typed",
                             [](const Session& session, const Operands& given) { Tree(session, given.path); });
        AddPath(tree);

        CLI::App* get = Add(
            "get", "Show one value, in its own type or converted",
            [](const Session& session, const Operands& given) { Get(session, given.path, given.name, given.Type()); });
        AddPath(get)->required();
        AddName(get, "name of the value")->required();
        AddType(get, "--as", "type to convert to");

        Add("check", "Load the document and say what is wrong with it",
            [](const Session& session, const Operands&) { Check(session); });
    }

    void AddChanging() {
        CLI::App* set = Add("set", "Make or change a value; keys on the way are made",
                            [](const Session& session, const Operands& given) {
                                Set(session, given.path, given.name, given.Type(), given.text);
                            });
        AddPath(set)->required();
        AddName(set, "name of the value")->required();
        AddType(set, "TYPE", "type of a new value; one that exists keeps its own and takes TEXT converted")->required();
        set->add_option("TEXT", operands.text, "what to store; hexadecimal for a blob")->required();

        CLI::App* rm =
            Add("rm", "Remove a value, or a key with all below it", [](const Session& session, const Operands& given) {
                given.named ? RemoveValue(session, given.path, given.name) : RemoveKey(session, given.path);
            });
        AddPath(rm)->required();
        AddName(rm, "name of the value; without it the key goes");

        CLI::App* cp =
            Add("cp", "Copy a subtree into another document, to the same place",
                [](const Session& session, const Operands& given) { Copy(session, given.path, PathOf(given.file)); });
        AddPath(cp)->required();
        cp->add_option("TARGET-DOCUMENT", operands.file, "made if it's missing")->required();

        CLI::App* import =
            Add("import", "Read any XML into this document",
                [](const Session& session, const Operands& given) { Import(session, PathOf(given.file)); });
        import->add_option("FOREIGN.xml", operands.file, "elements become keys, attributes and text become values")
            ->required();
    }

    CLI::App& app;
    CommandLine& line;
    Operands operands;
};

}   // namespace

std::optional<CommandLine> ReadCommandLine(std::vector<std::string> arguments, int& exitCode) {
    CommandLine line;
    std::string module;
    std::string document;
    CLI::App app("Reads and changes a document of settings.", "arborctl");
    app.footer("arborctl DOCUMENT COMMAND --help tells more of a command.");
    app.allow_windows_style_options(false);   // a path may begin with "/"
    app.require_subcommand(1);
    app.add_option("--module", module, "module to load (default: the one beside this program)")->option_text("FILE");
    app.add_option("--trace", line.traceLevel, "show the module's lines up to this level, 600 being all")
        ->option_text("LEVEL");
    app.add_flag("--read-only", line.settings.readOnly, "refuse every change");
    app.add_flag("--create", line.settings.create, "make the document if it's missing");
    app.add_option("--backup", line.settings.backupMode, "0 none, 1 the last document, 2 also the first one saved")
        ->option_text("MODE")
        ->check(CLI::Range(0, 2));
    app.add_option("--root", line.settings.root, "key that paths start at")->option_text("PATH");
    app.add_flag("--leaks", line.leaks, "say how much memory the module kept");
    app.add_option("DOCUMENT", document, "file of the settings")->required();
    Commands commands(app, line);   // outlives the parsing, which calls into it
    commands.AddAll();

    try {
        std::reverse(arguments.begin(), arguments.end());   // as the parser takes them
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : kWrongArguments;
        return std::nullopt;
    }
    line.settings.document = PathOf(document);
    if (app.got_subcommand("check")) line.traceLevel = std::max<std::uint32_t>(line.traceLevel, kernel::TraceWarning);
    line.module =
        module.empty() ? host::ProgramFolder() / (std::string("arbor") + host::ModuleEnding()) : PathOf(module);
    return line;
}

}   // namespace arborctl
