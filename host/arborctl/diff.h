/// Prints the difference of two trees.
#pragma once

#include "commands.h"
#include "compare.h"
#include "output.h"

#include <functional>
#include <string>

namespace arborctl {

/// Converts changes to flat text that `apply` reads: applied to the first tree it gives the second. Call `Add` for each
/// change in the order of `Compare`, then `End`; they call `print(line)`.
class FlatChanges {
public:
    explicit FlatChanges(std::function<void(const std::string& line)> printLine) : print(std::move(printLine)) {}

    void Add(const Change& change);
    void End();

private:
    std::function<void(const std::string&)> print;
    std::vector<std::string> removals{};
    std::string removed{};   // the key removed last, with a separator: its line removes all below it
};

/// Prints changes to standard output as lines with "-" and "+", as JSON or as flat text, as the session demands.
class ChangePrinter {
public:
    /// `stage` ends with the first output.
    explicit ChangePrinter(const Session& session, Progress::Stage stage = {});

    void Add(const Change& change);
    void End();

    [[nodiscard]] bool IsEmpty() const { return isEmpty; }

private:
    void BeginOutput();
    void PrintLines(const Change& change);

    const Session& session;
    Progress::Stage stage;
    FlatChanges flat;
    JsonWriter json;
    ValueText valueText;
    Palette palette;
    OmittedValues omitted{};
    bool isEmpty = true;
};

/// Compares two trees and prints the changes. Returns whether there are any.
bool PrintDifference(const Session& session, const PackedKey& before, const arbor::Key& after);

}   // namespace arborctl
