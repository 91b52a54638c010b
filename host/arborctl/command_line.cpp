// CLI11 separates the options, which may be anywhere on the line, from the operands. The tables of `command_table.h`
// then give each option its meaning, which depends on the command.

#include "command_line.h"

#include "ascii.h"
#include "help.h"
#include "suggestion.h"

#include <host/text.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <CLI/CLI.hpp>

namespace arborctl {
namespace {

constexpr std::string_view kOptionsEnd = "--";

/// Pairs of options that no line may have.
constexpr std::pair<std::string_view, std::string_view> kExclusions[] = {
    {"--create", "--read-only"}, {"--raw", "--json"}, {"--flat", "--json"}};

/// The options as they were given, and the operands of the whole line.
struct SplitLine {
    std::vector<std::pair<std::string, std::string>> options{};   // name and argument
    std::vector<std::string> operands{};
};

void DeclareOptions(CLI::App& app) {
    app.set_help_flag();   // removes CLI11's own help option; the table has one
    app.allow_extras();
    app.allow_windows_style_options(false);   // a path may begin with "/"
    for (const OptionRow& row : Options()) {
        if (app.get_option_no_throw(std::string(row.name)) != nullptr)
            continue;   // an option may have a row for each of several commands
        const std::string name = (row.name == kHelpOption ? "-h," : "") + std::string(row.name);
        if (row.IsFlag())
            app.add_flag(name);
        else
            app.add_option(name)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}

bool IsFlag(std::string_view name) {
    const auto row = std::ranges::find(Options(), name, &OptionRow::name);
    return row != Options().end() && row->IsFlag();
}

/// Splits "--name=" into "--name" and an empty argument: CLI11 would use the next word as the argument. Throws
/// `std::invalid_argument` for a flag.
std::vector<std::string> SplitEmptyArguments(const std::vector<std::string>& arguments) {
    std::vector<std::string> split;
    bool optionsEnded = false;
    for (const std::string& argument : arguments) {
        optionsEnded = optionsEnded || argument == kOptionsEnd;
        const bool isEmpty = !optionsEnded && argument.starts_with("--") && argument.find('=') + 1 == argument.size();
        const std::string name = argument.substr(0, argument.size() - (isEmpty ? 1 : 0));
        if (isEmpty && IsFlag(name)) throw std::invalid_argument("the argument of " + argument + " is empty");
        split.push_back(name);
        if (isEmpty) split.emplace_back();
    }
    return split;
}

std::string NotAnOption(const std::string& word) {
    std::vector<std::string_view> names;
    for (const OptionRow& row : Options()) names.push_back(row.name);
    const std::string suggestion = Suggestion(word.substr(0, word.find('=')), names);
    return word + " is not an option" +
           (suggestion.empty() ? "; a text that begins with \"-\" comes after \"--\"" : suggestion);
}

SplitLine SplitOptions(const std::vector<std::string>& arguments) {
    CLI::App app;
    DeclareOptions(app);
    std::vector<std::string> reversed = SplitEmptyArguments(arguments);
    std::reverse(reversed.begin(), reversed.end());   // the parser expects the last one first
    try {
        app.parse(reversed);
    } catch (const CLI::ArgumentMismatch& error) {   // its text begins with the name of the line's last option
        const std::string_view text = error.what();
        const std::string_view name = text.substr(0, text.find(':'));
        const auto row = std::ranges::find(Options(), name, &OptionRow::name);
        if (row == Options().end()) throw;
        throw std::invalid_argument(std::string(row->argument).append(" is missing after ").append(name));
    }
    SplitLine line;
    for (const CLI::Option* option : app.get_options([](const CLI::Option* each) { return each->count() != 0; })) {
        line.options.emplace_back(option->get_name(), option->results().back());
        const bool isAmbiguous =
            std::ranges::adjacent_find(option->results(), std::not_equal_to()) != option->results().end();
        if (isAmbiguous) throw std::invalid_argument(option->get_name() + " is given twice, with different arguments");
    }
    bool optionsEnded = false;
    for (std::string& word : app.remaining()) {
        if (!optionsEnded && word == kOptionsEnd) {
            optionsEnded = true;
            continue;
        }
        const bool isNumber = word.size() > 1 && IsDigit(word[1]);
        if (!optionsEnded && word.size() > 1 && word.starts_with('-') && !isNumber)
            throw std::invalid_argument(NotAnOption(word));
        line.operands.push_back(std::move(word));
    }
    return line;
}

/// Returns the commands that accept an option, separated by commas. Not for an option of all commands.
std::string CommandsWith(std::string_view option) {
    std::string commands;
    for (const OptionRow& row : Options()) {
        if (row.name == option) commands.append(commands.empty() ? "" : " ").append(row.commands);
    }
    for (std::size_t at = 0; (at = commands.find(' ', at)) != std::string::npos; at += 2) commands.replace(at, 1, ", ");
    return commands;
}

/// Converts the arguments of the options by the rows that apply to the command.
void SetOptions(const SplitLine& line, const CommandRow* command, Arguments& given) {
    for (const auto& [name, argument] : line.options) {
        const OptionRow* row = FindOption(command, name);
        if (row == nullptr)
            throw std::invalid_argument(name + " is not an option of " + std::string(command->name) + ", only of " +
                                        CommandsWith(name));
        if (row->argument.empty() && argument != "true") throw std::invalid_argument(name + " has no argument");
        try {
            row->set(given, argument);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(name + ": " + error.what());
        }
    }
}

void CheckOperandCount(const CommandRow& command, const std::vector<std::string>& operands) {
    const OperandNames names = OperandsOf(command);
    if (operands.size() < names.required)
        throw std::invalid_argument(std::string(names.At(operands.size())) + " is missing");
    if (names.repeated == 0 && operands.size() > names.names.size())
        throw std::invalid_argument(operands[names.names.size()] + " is one argument too many");
}

/// Returns the command with its arguments. Returns null, with `exitCode` set, if the line needs no document: the
/// version, help, or a command of `Family::Tool`, which has been run.
PreparedCommand Interpret(SplitLine line, Arguments& given, const CommandRow*& command, int& exitCode) {
    const auto isGiven = [&line](std::string_view name) {
        return std::ranges::find(line.options, name, &std::pair<std::string, std::string>::first) != line.options.end();
    };
    if (isGiven("--version")) {
        std::cout << "arborctl " ARBOR_VERSION "\n";
        return nullptr;
    }
    ClassifiedOperands split = ClassifyOperands(std::move(line.operands));
    command = split.command;
    if (isGiven(kHelpOption)) {
        exitCode = PrintHelp(command);
        return nullptr;
    }
    if (command == nullptr) throw std::invalid_argument("a command is missing");
    if (split.document.empty() && command->family != Family::Tool) throw std::invalid_argument("DOCUMENT is missing");
    SetOptions(line, command, given);
    CheckOperandCount(*command, split.operands);
    given.operands = std::move(split.operands);
    if (command->run != nullptr) {
        exitCode = command->run(given);
        return nullptr;
    }
    for (const auto& [one, other] : kExclusions) {
        if (isGiven(one) && isGiven(other))
            throw std::invalid_argument(std::string(one).append(" and ").append(other).append(" exclude each other"));
    }
    given.settings.document = ParseDocument(split.document);
    given.traceLevel = std::max(given.traceLevel, command->minTraceLevel);
    return command->prepare(given);
}

int ReportWrongLine(const CommandRow* command, std::string_view reason) {
    const bool isKnown = command != nullptr && command->name != "help";
    std::cerr << "arborctl: " << host::Printable(reason) << " (see arborctl " << (isKnown ? command->name : "")
              << (isKnown ? " " : "") << "--help)\n";
    return kExitUsage;
}

}   // namespace

std::optional<CommandLine> ReadCommandLine(const std::vector<std::string>& arguments, int& exitCode) {
    CommandLine line;
    const CommandRow* command = nullptr;
    try {
        line.command = Interpret(SplitOptions(arguments), line.given, command, exitCode);
    } catch (const CLI::ParseError& error) {
        exitCode = ReportWrongLine(command, error.what());
    } catch (const std::invalid_argument& error) {
        exitCode = ReportWrongLine(command, error.what());
    }
    if (!line.command) return std::nullopt;
    return line;
}

}   // namespace arborctl
