// The tables of commands, options and operands, and the functions that convert their arguments.

#include "command_table.h"

#include "help.h"
#include "suggestion.h"
#include "type_texts.h"

#include <component/kernel/trace.h>

#include <host/system.h>
#include <host/text.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace arborctl {
namespace {

constexpr std::uint32_t kMaxTraceLevel = 0xFFFF'FFFF;
constexpr std::uint32_t kMaxWaitSeconds = 86'400;

/// Returns an argument for a message, in which an empty one must be visible.
std::string QuoteIfEmpty(const std::string& text) { return text.empty() ? "\"\"" : text; }

/// Calls `parse(text)` and puts `text` before the reason of a failure.
template <class Parse>
auto ParseOperand(const std::string& text, Parse parse) {
    try {
        return parse(text);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(QuoteIfEmpty(text) + ": " + error.what());
    }
}

std::uint32_t ParseNumber(const std::string& text, std::uint32_t max) {
    std::uint32_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), last, number);
    if (text.empty() || stop != last || error != std::errc() || number > max)
        throw std::invalid_argument(QuoteIfEmpty(text) + " isn't a number from 0 to " + std::to_string(max));
    return number;
}

/// The parser gives a flag without an argument the text "true".
Creation ParseCreation(const std::string& text) {
    if (text == "true") return Creation::Safe;
    if (text == "force") return Creation::Force;
    throw std::invalid_argument(QuoteIfEmpty(text) + " isn't \"force\", the only argument that it can have");
}

Colours ParseColours(const std::string& word) {
    const auto* row = std::ranges::find(kColourRows, std::string_view(word), &ColourRow::word);
    if (row == std::end(kColourRows)) throw std::invalid_argument(QuoteIfEmpty(word) + " is not auto, always or never");
    return row->colours;
}

ImportForm ParseForm(const std::string& word) {
    const auto* row = std::ranges::find(kImportForms, std::string_view(word), &ImportFormRow::word);
    if (row == std::end(kImportForms))
        throw std::invalid_argument(QuoteIfEmpty(word) + " is not native, foreign, json or flat");
    return row->form;
}

std::string SuggestedCommand(const std::string& word) {
    std::vector<std::string_view> names;
    for (const CommandRow& row : Commands()) names.push_back(row.name);
    return Suggestion(word, names);
}

std::string NotACommand(const std::string& word) { return word + " is not a command" + SuggestedCommand(word); }

Exactness ExactnessOf(const Arguments& given) { return given.lenient ? Exactness::Lenient : Exactness::Exact; }

PreparedCommand PrepareTree(const Arguments& given) {
    const TreeRequest request{.depth = given.depth, .type = given.type, .as = given.as};
    const bool isWhole = request.type == 0 && request.as == 0 && request.depth == TreeRequest().depth;
    if (given.flat && !isWhole)
        throw std::invalid_argument("--flat prints all values, without --depth, --type and --as");
    return [path = given.PathAt(0), request](const Session& session) { return Tree(session, path, request); };
}

PreparedCommand PrepareFind(const Arguments& given) {
    const auto pattern = [&given](const std::optional<std::string>& text, PatternForm form) {
        return text ? std::optional(Pattern(*text, given.regex ? PatternForm::Regex : form)) : std::nullopt;
    };
    const std::optional<std::string> text = given.Has(0) ? std::optional(given.operands[0]) : std::nullopt;
    const FindRequest request{.anywhere = pattern(text, PatternForm::Substring),
                              .name = pattern(given.namePattern, PatternForm::Glob),
                              .text = pattern(given.textPattern, PatternForm::Glob),
                              .type = given.type};
    if (!request.anywhere && !request.name && !request.text && request.type == 0)
        throw std::invalid_argument("TEXT is missing, or --name, --text or --type");
    return [request](const Session& session) { return Find(session, request); };
}

/// PATH, PATH VALUE, or several pairs of both.
PreparedCommand PrepareGet(const Arguments& given) {
    GetRequest request{.as = given.as, .fallback = given.fallback, .raw = given.raw};
    const std::size_t count = given.operands.size();
    if (count > 1 && count % 2 != 0) throw std::invalid_argument("VALUE is missing after " + given.operands.back());
    for (std::size_t i = 0; i < count; i += 2) request.values.push_back(given.ValueAt(i));
    if (request.raw && request.values.size() > 1) throw std::invalid_argument("--raw prints only one value");
    return [request](const Session& session) { return Get(session, request); };
}

/// PATH TEXT, PATH TYPE TEXT, or PATH VALUE TYPE TEXT; without TEXT if a file has it.
PreparedCommand PrepareSet(const Arguments& given) {
    SetRequest request{.file = given.textFile, .exactness = ExactnessOf(given)};
    const std::size_t count = given.operands.size() + (request.file ? 1 : 0);
    if (count < 2) throw std::invalid_argument("TEXT is missing, or --from FILE");
    if (count > 4) throw std::invalid_argument(given.operands.back() + " is one argument too many beside --from");
    request.path = count < 4 ? given.ValuePathAt(0) : given.ValueAt(0);
    if (count > 2) request.type = ParseType(given.operands[count - 2]);
    if (!request.file) request.text = given.operands.back();
    return [request](const Session& session) { return Set(session, request); };
}

/// PATH TYPE, or PATH VALUE TYPE.
PreparedCommand PrepareRetype(const Arguments& given) {
    const RetypeRequest request{.path = given.Has(2) ? given.ValueAt(0) : given.ValuePathAt(0),
                                .type = ParseType(given.operands.back()),
                                .force = given.force};
    return [request](const Session& session) { return Retype(session, request); };
}

PreparedCommand PrepareRemove(const Arguments& given) {
    if (given.Has(1)) return [value = given.ValueAt(0)](const Session& session) { return RemoveValue(session, value); };
    return [path = given.PathAt(0)](const Session& session) { return Remove(session, path); };
}

PreparedCommand PrepareTransfer(const Arguments& given, bool isMove) {
    if (!given.Has(1) && !given.otherDocument)
        throw std::invalid_argument("TARGET is required, or another document by --to");
    return [transfer = Transfer{.source = given.PathAt(0),
                                .target = given.PathAt(given.Has(1) ? 1 : 0),
                                .isMove = isMove,
                                .replacesTarget = given.force},
            document = given.otherDocument, exactness = ExactnessOf(given)](const Session& session) {
        return CopyOrMove(session, transfer, document, exactness);
    };
}

constexpr CommandRow kCommands[] = {
    {"tree", Family::Reading, "[PATH]", "Show keys and values, typed", "settings.xml tree Network/Proxy", PrepareTree},
    {"get", Family::Reading, "PATH [VALUE] [PATH VALUE]...", "Show values, in their own types or converted",
     "settings.xml get Network/Proxy/Port --as tSTRING", PrepareGet},
    {"find", Family::Reading, "[TEXT]", "Show the keys and values with a text in their name or a value's text",
     "settings.xml find --name 'P*' --type tDWORD", PrepareFind},
    {"export", Family::Reading, "[PATH]", "Write a subtree as a document, or as JSON",
     "settings.xml export Network/Proxy",
     [](const Arguments& given) -> PreparedCommand {
         return [path = given.PathAt(0)](const Session& session) { return Export(session, path); };
     }},
    {"set", Family::Changing, "PATH [[VALUE] TYPE] [TEXT]", "Create or change a value; missing keys are created",
     "settings.xml set Network/Proxy/Port tDWORD 8080", PrepareSet},
    {"retype", Family::Changing, "PATH [VALUE] TYPE", "Change the type of a value",
     "settings.xml retype Network/Proxy/Port tSTRING", PrepareRetype},
    {"rm", Family::Changing, "PATH [VALUE]", "Remove a value, or a key and its subtree",
     "settings.xml rm Network/Proxy/Port", PrepareRemove},
    {"mv", Family::Changing, "PATH [TARGET]", "Move or rename a value, or a key and its subtree",
     "settings.xml mv Network/Proxy Network/Gateway",
     [](const Arguments& given) { return PrepareTransfer(given, true); }},
    {"cp", Family::Changing, "PATH [TARGET]", "Copy a value, or a key and its subtree",
     "settings.xml cp Network/Proxy --to other.xml",
     [](const Arguments& given) { return PrepareTransfer(given, false); }},
    {"apply", Family::Changing, "[FILE]", "Apply the changes in a file, a line each, or none of them",
     "settings.xml apply changes.txt",
     [](const Arguments& given) -> PreparedCommand {
         return [file = PathFromArgument(given.Has(0) ? given.operands[0] : "-"),
                 exactness = ExactnessOf(given)](const Session& session) { return Apply(session, file, exactness); };
     }},
    {"edit", Family::Changing, "[PATH]", "Change a subtree in $VISUAL or $EDITOR, as flat text",
     "settings.xml edit Network/Proxy",
     [](const Arguments& given) -> PreparedCommand {
         return [path = given.PathAt(0)](const Session& session) { return Edit(session, path); };
     }},
    {"import", Family::Changing, "FILE [PATH]", "Copy an XML document, or JSON, into this one or into a key of it",
     "--create settings.xml import foreign.xml",
     [](const Arguments& given) -> PreparedCommand {
         return [file = given.DocumentAt(0), path = given.PathAt(1), from = given.from, exactness = ExactnessOf(given)](
                    const Session& session) { return Import(session, file, path, from, exactness); };
     }},
    {"check", Family::Files, "", "Report why and where the document can't be loaded, or what a save drops or changes",
     "settings.xml check", [](const Arguments&) -> PreparedCommand { return Check; }, nullptr, kernel::TraceWarning},
    {"diff", Family::Files, "OTHER-DOCUMENT", "Show in which keys and values another document differs",
     "settings.xml diff settings.xml.bak2",
     [](const Arguments& given) -> PreparedCommand {
         return [other = given.DocumentAt(0)](const Session& session) { return Diff(session, other); };
     }},
    {"report", Family::Files, "", "Write the document as one HTML page, with its differences from another one",
     "settings.xml report --against settings.xml.bak2 >page.html",
     [](const Arguments& given) -> PreparedCommand {
         return [other = given.against](const Session& session) { return Report(session, other); };
     }},
    {"backups", Family::Files, "", "List the document and its backups, and whether each loads", "settings.xml backups",
     [](const Arguments& given) -> PreparedCommand { return given.clean ? CleanBackups : Backups; }},
    {"restore", Family::Files, "BACKUP", "Replace the document by a backup; a copy of the former document is kept",
     "settings.xml restore .bak2",
     [](const Arguments& given) -> PreparedCommand {
         return [backup = given.operands[0]](const Session& session) { return RestoreBackup(session, backup); };
     }},
    {"undo", Family::Files, "", "Swap the document and the one before its last save", "settings.xml undo",
     [](const Arguments&) -> PreparedCommand { return Undo; }},
    {"types", Family::Tool, "[TYPE]", "Show the types of values: width, texts and an example", "types tDWORD", nullptr,
     [](const Arguments& given) { return PrintTypes(given.Has(0) ? given.operands[0] : "", given.json); }},
    {"help", Family::Tool, "[COMMAND]", "Show the commands, or the operands and options of one", "help set", nullptr,
     [](const Arguments& given) {
         const CommandRow* command = given.Has(0) ? FindCommand(given.operands[0]) : nullptr;
         if (given.Has(0) && command == nullptr) throw std::invalid_argument(NotACommand(given.operands[0]));
         return PrintHelp(command);
     }},
};

constexpr OperandRow kOperands[] = {
    {"DOCUMENT", "", "file with the settings"},
    {"PATH", "get retype", "value, as in Network/Proxy/Port, or its key"},
    {"PATH", "set", "key, as in Network/Proxy, or value, as in Network/Proxy/Port"},
    {"PATH", "rm mv cp", "value, or key if there is no such value; always a key if it ends with \"/\""},
    {"PATH", "import", "key to copy into, created if it is missing; default: the root"},
    {"PATH", "", "key, as in Network/Proxy, or value; \"\" is the root"},
    {"VALUE", "", "name of the value, if PATH is its key"},
    {"TYPE", "set", "type of a new value (default: tSTRING); an existing value keeps its type"},
    {"TEXT", "set", "the value, as \"arborctl types\" describes it; after \"--\" if it begins with \"-\""},
    {"TYPE", "retype", "type that the value gets, in any case"},
    {"TYPE", "types", "one type, in any case"},
    {"TEXT", "find", "part of a name or of a value's text; ASCII letters match in any case"},
    {"TARGET", "", "path of the copy; without it the same path, in the document of --to"},
    {"FILE", "apply", "lines of set, rm, mv and cp, and flat text; \"-\" or none: standard input"},
    {"FILE", "import", "native, other XML, JSON of \"export --json\", flat text; \"-\" is standard input"},
    {"OTHER-DOCUMENT", "", "what DOCUMENT is compared with"},
    {"BACKUP", "", "a file that \"backups\" lists: its name, path or ending"},
    {"COMMAND", "", "one of the commands"},
};

constexpr OptionRow kOptions[] = {
    {"--lenient", "", "set apply", "store what the text becomes, even if that is another value",
     [](Arguments& given, const std::string&) { given.lenient = true; }},
    {"--lenient", "", "import", "store what a text or a save makes of a value, even if that is another value",
     [](Arguments& given, const std::string&) { given.lenient = true; }},
    {"--lenient", "", "mv cp", "copy values that the save of the other document changes, too",
     [](Arguments& given, const std::string&) { given.lenient = true; }},
    {"--depth", "LEVELS", "tree", "show only so many levels of keys and values",
     [](Arguments& given, const std::string& text) { given.depth = ParseNumber(text, kMaxPathNames); }},
    {"--type", "TYPE", "tree", "show only values of this type",
     [](Arguments& given, const std::string& text) { given.type = ParseType(text); }},
    {"--type", "TYPE", "find", "find only values of this type",
     [](Arguments& given, const std::string& text) { given.type = ParseType(text); }},
    {"--name", "PATTERN", "find", "find only what has this name; * is any text, ? any character",
     [](Arguments& given, const std::string& text) { given.namePattern = text; }},
    {"--text", "PATTERN", "find", "find only values with this text",
     [](Arguments& given, const std::string& text) { given.textPattern = text; }},
    {"--regex", "", "find", "TEXT and the patterns are regular expressions, found anywhere",
     [](Arguments& given, const std::string&) { given.regex = true; }},
    {"--as", "TYPE", "get tree", "type to convert to",
     [](Arguments& given, const std::string& text) { given.as = ParseType(text); }},
    {"--default", "TEXT", "get", "text to print for a missing value",
     [](Arguments& given, const std::string& text) { given.fallback = text; }},
    {"--raw", "", "get", "print the bytes of a blob, or the text, without a line end",
     [](Arguments& given, const std::string&) { given.raw = true; }},
    {"--from", "FILE", "set", "read the text, or the bytes of a blob, from a file; \"-\" is standard input",
     [](Arguments& given, const std::string& text) { given.textFile = PathFromArgument(text); }},
    {"--from", "FORM", "import", "native, foreign, json or flat; default: recognised by the content",
     [](Arguments& given, const std::string& text) { given.from = ParseForm(text); }},
    {"--against", "OTHER-DOCUMENT", "report", "mark the differences from this document",
     [](Arguments& given, const std::string& text) { given.against = ParseDocument(text); }},
    {"--json", "", "tree get find export check diff backups types", "print JSON, for programs",
     [](Arguments& given, const std::string&) { given.json = true; }},
    {"--flat", "", "tree", "print a line \"PATH VALUE TYPE TEXT\" for each value, exact, as \"apply\" reads it",
     [](Arguments& given, const std::string&) { given.flat = true; }},
    {"--flat", "", "find", "print what is found as lines that \"apply\" reads",
     [](Arguments& given, const std::string&) { given.flat = true; }},
    {"--flat", "", "diff", "print the changes that make DOCUMENT equal to the other one, as \"apply\" reads them",
     [](Arguments& given, const std::string&) { given.flat = true; }},
    {"--dry-run", "", "set retype rm mv cp apply edit import backups restore undo",
     "show what would change, and save nothing", [](Arguments& given, const std::string&) { given.dryRun = true; }},
    {"--force", "", "mv cp", "replace an existing target",
     [](Arguments& given, const std::string&) { given.force = true; }},
    {"--force", "", "retype", "change the type even if that loses something",
     [](Arguments& given, const std::string&) { given.force = true; }},
    {"--to", "DOCUMENT", "mv cp", "document of TARGET; created if it is missing",
     [](Arguments& given, const std::string& text) { given.otherDocument = ParseDocument(text); }},
    {"--clean", "", "backups", "remove temporary files that no process holds, and show them",
     [](Arguments& given, const std::string&) { given.clean = true; }},
    {"--module", "FILE", "", "module to load (default: the one in the program's directory)",
     [](Arguments& given, const std::string& text) { given.module = text; }},
    {"--trace", "LEVEL", "", "print the module's trace lines up to this level; 600 prints all",
     [](Arguments& given, const std::string& text) { given.traceLevel = ParseNumber(text, kMaxTraceLevel); }},
    {"--read-only", "", "", "refuse every change",
     [](Arguments& given, const std::string&) { given.settings.readOnly = true; }},
    {"--create", "[=force]", "", "create the document if it is missing; =force: even if backups of a former one exist",
     [](Arguments& given, const std::string& text) { given.settings.create = ParseCreation(text); }},
    {"--convert", "", "", "allow a change to save a foreign document as a native one",
     [](Arguments& given, const std::string&) { given.settings.convert = true; }},
    {"--backup", "MODE", "", "0: none; 1: the document before the last save (default); 2: also the first one saved",
     [](Arguments& given, const std::string& text) { given.settings.backupMode = ParseNumber(text, kMaxBackupMode); }},
    {"--root", "PATH", "", "key that paths are relative to",
     [](Arguments& given, const std::string& text) {
         given.settings.root = ParseOperand(text, [](const std::string& path) { return Path(path); });
     }},
    {"--color", "WHEN", "", "auto, always or never; auto: only on a terminal",
     [](Arguments& given, const std::string& text) { given.colours = ParseColours(text); }},
    {"--wait", "SECONDS", "", "how long to wait for other processes that use the document (default: 5)",
     [](Arguments& given, const std::string& text) {
         given.settings.wait = std::chrono::seconds(ParseNumber(text, kMaxWaitSeconds));
     }},
    {"--leaks", "", "", "report the memory that the module didn't free",
     [](Arguments& given, const std::string&) { given.leaks = true; }},
    {"--version", "", "", "show the version", nullptr},
    {kHelpOption, "", "", "show the commands, or more of one, with an example", nullptr},
};

}   // namespace

std::span<const CommandRow> Commands() { return kCommands; }
std::span<const OptionRow> Options() { return kOptions; }

const CommandRow* FindCommand(std::string_view name) {
    const auto* row = std::ranges::find(kCommands, name, &CommandRow::name);
    return row != std::end(kCommands) ? row : nullptr;
}

bool ListHas(std::string_view list, std::string_view name) {
    while (!list.empty()) {
        const std::size_t length = std::min(list.find(' '), list.size());
        if (list.substr(0, length) == name) return true;
        list.remove_prefix(std::min(length + 1, list.size()));
    }
    return false;
}

const OptionRow* FindOption(const CommandRow* command, std::string_view name) {
    const auto* row = std::ranges::find_if(kOptions, [&](const OptionRow& option) {
        const bool isAccepted =
            option.commands.empty() || (command != nullptr && ListHas(option.commands, command->name));
        return isAccepted && option.name == name;
    });
    return row != std::end(kOptions) ? row : nullptr;
}

std::string_view OperandNames::At(std::size_t index) const {
    if (index < names.size()) return names[index];
    return repeated == 0 ? "" : names[names.size() - repeated + (index - names.size()) % repeated];
}

OperandNames OperandsOf(const CommandRow& command) {
    OperandNames operands;
    std::ptrdiff_t brackets = 0;   // open ones
    std::size_t group = 0;         // the position of the last one that opened
    for (std::string_view rest = command.operands; !rest.empty();) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        std::string_view word = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        brackets += std::ranges::count(word, '[');
        if (word.starts_with('[')) group = operands.names.size();
        if (brackets == 0) ++operands.required;
        brackets -= std::ranges::count(word, ']');
        const bool isRepeated = word.ends_with("...");
        word.remove_prefix(word.find_first_not_of('['));
        operands.names.push_back(word.substr(0, word.find(']')));
        if (isRepeated) operands.repeated = operands.names.size() - group;
    }
    return operands;
}

std::string_view OperandHelp(const CommandRow& command, std::string_view operand) {
    const auto* row = std::ranges::find_if(kOperands, [&](const OperandRow& described) {
        return described.name == operand && (described.commands.empty() || ListHas(described.commands, command.name));
    });
    return row != std::end(kOperands) ? row->help : "";
}

ClassifiedOperands ClassifyOperands(std::vector<std::string> all) {
    ClassifiedOperands result;
    const auto commandAt = [&all](std::size_t index) { return index < all.size() ? FindCommand(all[index]) : nullptr; };
    const auto isTool = [](const CommandRow* row) { return row != nullptr && row->family == Family::Tool; };
    std::size_t used = std::min<std::size_t>(all.size(), 2);
    if (isTool(commandAt(0))) {
        result.command = commandAt(0);
        used = 1;
    } else if (commandAt(0) != nullptr && commandAt(1) == nullptr) {
        result.command = commandAt(0);
        if (used == 2) result.document = all[1];
    } else if (!all.empty()) {
        result.document = all[0];
        result.command = commandAt(1);
        if (used == 2 && result.command == nullptr) {
            const bool isFirstMeant = !SuggestedCommand(all[0]).empty() && SuggestedCommand(all[1]).empty();
            throw std::invalid_argument(NotACommand(all[isFirstMeant ? 0 : 1]));
        }
    }
    result.operands.assign(all.begin() + static_cast<std::ptrdiff_t>(used), all.end());
    return result;
}

std::filesystem::path ParseDocument(const std::string& argument) {
    const std::string_view fault = host::PathFault(argument);
    if (!fault.empty()) throw std::invalid_argument(host::Printable(argument).append(": ").append(fault));
    return FollowLink(PathFromArgument(argument));
}

std::filesystem::path ModulePath(const std::string& argument) {
    return argument.empty() ? host::ProgramDirectory() / (std::string("arbor") + host::ModuleExtension())
                            : PathFromArgument(argument);
}

Path Arguments::PathAt(std::size_t index) const {
    return Has(index) ? ParseOperand(operands[index], [](const std::string& text) { return Path(text); }) : Path();
}

PathName Arguments::NameAt(std::size_t index) const {
    return ParseOperand(operands[index], [](const std::string& text) { return ParseName(text); });
}

ValuePath Arguments::ValueAt(std::size_t index) const {
    return Has(index + 1) ? ValuePath{PathAt(index), NameAt(index + 1)} : ValuePathAt(index);
}

ValuePath Arguments::ValuePathAt(std::size_t index) const {
    return ParseOperand(operands[index], [](const std::string& text) { return ToValuePath(Path(text)); });
}

std::filesystem::path Arguments::DocumentAt(std::size_t index) const { return ParseDocument(operands[index]); }

}   // namespace arborctl
