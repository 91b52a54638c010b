// Prints each table in two columns, the second one wrapped.

#include "help.h"

#include <algorithm>
#include <iostream>

namespace arborctl {
namespace {

constexpr std::size_t kColumns = 79;
constexpr std::size_t kIndent = 2;

struct TableRow {
    std::string label;
    std::string text;
};

void PrintTable(std::string_view heading, const std::vector<TableRow>& rows) {
    if (rows.empty()) return;
    std::size_t width = 0;
    for (const TableRow& row : rows) width = std::max(width, row.label.size());
    std::cout << '\n' << heading << ":\n";
    for (const TableRow& row : rows) {
        std::cout << std::string(kIndent, ' ') << row.label << std::string(width - row.label.size() + 2, ' ');
        PrintWrapped(row.text, kIndent + width + 2);
    }
}

std::vector<TableRow> CommandRows(Family family) {
    std::vector<TableRow> rows;
    for (const CommandRow& row : Commands()) {
        if (row.family == family) rows.push_back({std::string(row.name), std::string(row.help)});
    }
    return rows;
}

std::string Label(const OptionRow& option) {
    std::string label = option.name == kHelpOption ? "-h, " : "";
    label += option.name;
    if (!option.IsFlag()) label += ' ';
    return label += option.argument;
}

/// The options of `command` alone, or those of all commands if it is null.
std::vector<TableRow> OptionRows(const CommandRow* command) {
    std::vector<TableRow> rows;
    for (const OptionRow& row : Options()) {
        const bool isShown = command != nullptr ? ListHas(row.commands, command->name) : row.commands.empty();
        if (isShown) rows.push_back({Label(row), std::string(row.help)});
    }
    return rows;
}

std::vector<TableRow> OperandRows(const CommandRow& command) {
    std::vector<TableRow> rows;
    for (const std::string_view name : OperandsOf(command).names) {
        const bool isRepeated = std::ranges::find(rows, name, &TableRow::label) != rows.end();
        if (!isRepeated) rows.push_back({std::string(name), std::string(OperandHelp(command, name))});
    }
    return rows;
}

/// The exit codes of `command`, or of all commands if it is null.
void PrintExitCodes(const CommandRow* command) {
    std::vector<TableRow> rows;
    for (const ExitCodeRow& row : kExitCodes) {
        const bool isOfTool = command != nullptr && command->family == Family::Tool;
        if (isOfTool && row.code == kExitNotLoaded) continue;
        if (row.command.empty()) {
            rows.push_back({std::to_string(row.code), std::string(row.meaning)});
        } else if (command == nullptr) {
            rows.back().text.append("; ").append(row.command).append(": ").append(row.meaning);
        } else if (command->name == row.command) {
            rows.back().text.append("; ").append(row.meaning);
        }
    }
    PrintTable("Exit codes", rows);
}

void PrintToolHelp() {
    std::cout << "Reads and changes a document of settings.\n\n"
                 "Usage: arborctl [OPTION...] DOCUMENT COMMAND [ARGUMENT...]\n"
                 "       arborctl [OPTION...] COMMAND DOCUMENT [ARGUMENT...]\n\n"
                 "Options can be given anywhere; after \"--\" every word is an argument.\n"
                 "\"arborctl help COMMAND\" shows its arguments, options and an example.\n";
    for (const FamilyRow& row : kFamilies) PrintTable(row.heading, CommandRows(row.family));
    PrintTable("Options", OptionRows(nullptr));
    PrintExitCodes(nullptr);
}

void PrintCommandHelp(const CommandRow& command) {
    const std::string_view document = command.family == Family::Tool ? "" : "DOCUMENT ";
    std::string usage = "Usage: arborctl [OPTION...] ";
    usage.append(document).append(command.name).append(command.operands.empty() ? "" : " ").append(command.operands);
    PrintWrapped(command.help, 0);
    std::cout << '\n';
    PrintWrapped(usage, 0);
    PrintTable("Arguments", OperandRows(command));
    PrintTable("Options, besides those that \"arborctl --help\" lists", OptionRows(&command));
    std::cout << "\nExample:\n  arborctl " << command.example << '\n';
    PrintExitCodes(&command);
}

}   // namespace

void PrintWrapped(std::string_view text, std::size_t column) {
    const std::size_t width = kColumns - column;
    while (text.size() > width) {
        const std::size_t end = text.rfind(' ', width);   // no word is as long as a line
        std::cout << text.substr(0, end) << '\n' << std::string(column, ' ');
        text.remove_prefix(end + 1);
    }
    std::cout << text << '\n';
}

int PrintHelp(const CommandRow* command) {
    command != nullptr ? PrintCommandHelp(*command) : PrintToolHelp();
    return kExitDone;
}

}   // namespace arborctl
