/// The tool's commands, options and operands, each as one row of a table. The parser, --help and completion read the
/// tables. To add a command: a row in `kCommands`, rows in `kOperands` and `kOptions` for what is new in its usage.
#pragma once

#include "commands.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace arborctl {

enum class Colours {
    Auto,   // on a terminal
    Always,
    Never,
};

/// The words of --color.
struct ColourRow {
    std::string_view word;
    Colours colours;
};
inline constexpr ColourRow kColourRows[] = {
    {"auto", Colours::Auto}, {"always", Colours::Always}, {"never", Colours::Never}};

inline constexpr std::uint32_t kMaxBackupMode = 2;

/// The arguments of a command line: the operands as given, the options converted.
struct Arguments {
    std::vector<std::string> operands{};   // those of the command, after DOCUMENT

    std::string module{};
    std::uint32_t traceLevel = 0;
    bool leaks = false;
    bool json = false;
    bool flat = false;
    bool dryRun = false;
    bool force = false;
    bool clean = false;
    std::optional<std::filesystem::path> otherDocument{};   // of --to
    bool lenient = false;
    bool raw = false;
    bool regex = false;
    std::size_t depth = TreeRequest().depth;
    kernel::TypeCode type = 0;
    std::optional<std::string> namePattern{};
    std::optional<std::string> textPattern{};
    std::optional<std::string> fallback{};             // of --default
    std::optional<std::filesystem::path> textFile{};   // of --from
    Colours colours = Colours::Auto;
    kernel::TypeCode as = 0;
    ImportForm from = ImportForm::Any;
    std::filesystem::path against{};   // empty if it isn't given
    DocumentSettings settings{.backupMode = kBackupFormer};

    [[nodiscard]] bool Has(std::size_t index) const { return index < operands.size(); }
    /// Operands by position. All throw `std::invalid_argument` if the operand has a wrong syntax.
    [[nodiscard]] Path PathAt(std::size_t index) const;   // the root if the operand is missing
    [[nodiscard]] PathName NameAt(std::size_t index) const;
    /// The value at the path `index` or, if there is an operand `index + 1`, the value with that name in the key.
    [[nodiscard]] ValuePath ValueAt(std::size_t index) const;
    [[nodiscard]] ValuePath ValuePathAt(std::size_t index) const;
    [[nodiscard]] std::filesystem::path DocumentAt(std::size_t index) const;
};

/// A command with its arguments. A call runs it and returns the exit code.
using PreparedCommand = std::function<int(const Session&)>;

enum class Family {
    Reading,
    Changing,
    Files,   // the document's file, its backups and other documents
    Tool,    // no document
};

struct FamilyRow {
    Family family;
    std::string_view heading;   // of --help
};
inline constexpr FamilyRow kFamilies[] = {
    {Family::Reading, "Commands that read"},
    {Family::Changing, "Commands that change"},
    {Family::Files, "Commands for whole documents"},
    {Family::Tool, "Commands without a document"},
};

/// Shows help; its row has no `set`.
inline constexpr std::string_view kHelpOption = "--help";

struct CommandRow {
    std::string_view name;
    Family family;
    std::string_view operands;   // usage, as in "PATH [VALUE]"; "[A B]..." may be repeated
    std::string_view help;       // one line
    std::string_view example;    // without the program's name
    /// Converts the operands. Throws `std::invalid_argument` if they have a wrong syntax. Null in `Family::Tool`.
    PreparedCommand (*prepare)(const Arguments& given);
    /// Runs a command of `Family::Tool`, which needs no module. Null in other families. Throws as `prepare`.
    int (*run)(const Arguments& given) = nullptr;
    std::uint32_t minTraceLevel = 0;   // the command reports these trace lines always
};

struct OptionRow {
    std::string_view name;       // as in "--as"
    std::string_view argument;   // "" for a flag; in brackets if it is optional and follows a "="
    std::string_view commands;   // those that accept the option, separated by spaces; "" for all
    std::string_view help;
    /// Converts the argument. Throws `std::invalid_argument` with the reason.
    void (*set)(Arguments& given, const std::string& argument);

    [[nodiscard]] bool IsFlag() const { return argument.empty() || argument.starts_with('['); }
};

struct OperandRow {
    std::string_view name;
    std::string_view commands;   // those whose operand it describes, separated by spaces; "" for all others
    std::string_view help;
};

[[nodiscard]] std::span<const CommandRow> Commands();
[[nodiscard]] std::span<const OptionRow> Options();

/// Returns null if there is no such command.
[[nodiscard]] const CommandRow* FindCommand(std::string_view name);

/// Returns the option of `command`, or of all commands if that is null. Null if there is none.
[[nodiscard]] const OptionRow* FindOption(const CommandRow* command, std::string_view name);

/// The names of a command's operands, in their order.
struct OperandNames {
    std::vector<std::string_view> names{};
    std::size_t required = 0;   // the least number of operands
    std::size_t repeated = 0;   // how many names at the end may be repeated

    /// Returns the name of an operand by its position; "" if there can't be one.
    [[nodiscard]] std::string_view At(std::size_t index) const;
};
[[nodiscard]] OperandNames OperandsOf(const CommandRow& command);

/// Returns the description of a command's operand.
[[nodiscard]] std::string_view OperandHelp(const CommandRow& command, std::string_view operand);

/// Whether a list of names separated by spaces has `name`.
[[nodiscard]] bool ListHas(std::string_view list, std::string_view name);

/// The operands of a whole command line, by their meaning.
struct ClassifiedOperands {
    std::string document{};                // "" if it isn't given
    const CommandRow* command = nullptr;   // null if it isn't given
    std::vector<std::string> operands{};   // those of the command
};

/// Finds the document and the command, which may come in either order, in the operands of a command line. Throws
/// `std::invalid_argument` if the second operand isn't a command.
[[nodiscard]] ClassifiedOperands ClassifyOperands(std::vector<std::string> all);

/// Returns the file that an argument names, or the target if it is a symbolic link. Throws `std::invalid_argument` for
/// a path that the module can't open.
[[nodiscard]] std::filesystem::path ParseDocument(const std::string& argument);

/// Returns the module's file; for an empty argument, the one in the program's directory.
[[nodiscard]] std::filesystem::path ModulePath(const std::string& argument);

}   // namespace arborctl
