// The command `diff`, and the three forms of a difference.

#include "diff.h"

#include "flat_text.h"

#include <iostream>

namespace arborctl {
namespace {

/// Returns the line that removes a value or a key.
std::string Removal(const Change& change) {
    if (!change.value) return "rm " + FlatKey(change.path);
    return "rm " + QuoteWord(change.path.empty() ? "/" : change.path) + ' ' + QuoteWord(*change.value);
}

}   // namespace

void FlatChanges::Add(const Change& change) {
    const bool isKey = !change.value;
    if (!removed.empty() && (change.path + '/').starts_with(removed)) return;
    if (change.after) {
        print(FlatValue(change.path, *change.value, *change.after));
    } else if (isKey && change.keyAdded) {
        print(FlatKey(change.path));
    } else {
        removals.push_back(Removal(change));
        if (isKey) removed = change.path + '/';
    }
}

/// Removals come last and in reverse order, so that "item#2" is still the second "item" in each line.
void FlatChanges::End() {
    for (; !removals.empty(); removals.pop_back()) print(removals.back());
}

ChangePrinter::ChangePrinter(const Session& owner, Progress::Stage shown)
    : session(owner),
      stage(std::move(shown)),
      flat([](const std::string& line) { std::cout << line << '\n'; }),
      json(std::cout),
      valueText(session.kernel),
      palette(PaletteOf(session)) {}

void ChangePrinter::Add(const Change& change) {
    BeginOutput();
    isEmpty = false;
    if (session.flat) return flat.Add(change);
    session.json ? WriteJson(json, change) : PrintLines(change);
}

void ChangePrinter::BeginOutput() {
    if (!isEmpty) return;
    stage.BeginOutput();
    if (session.json) json.BeginArray();
}

void ChangePrinter::PrintLines(const Change& change) {
    omitted.CallOrReport(JoinPath(change.path, change.value.value_or("")), [&] {
        for (const std::string& line : FormatLines(valueText, change))
            std::cout << (line.front() == '-' ? palette.removed : palette.added) << line << palette.plain << '\n';
    });
}

void ChangePrinter::End() {
    BeginOutput();
    if (session.flat) return flat.End();
    if (session.json) json.EndArray().EndLine();
}

bool PrintDifference(const Session& session, const PackedKey& before, const arbor::Key& after) {
    ChangePrinter printer(session, session.progress.Begin("comparing", session.settings.document));
    Compare(before, after, [&printer](const Change& change) { printer.Add(change); });
    printer.End();
    return !printer.IsEmpty();
}

int Diff(const Session& session, const std::filesystem::path& other) {
    const PackedTree before = session.LoadPrinted();
    const Document after = session.LoadOther(other);
    return PrintDifference(session, before.Root(), after.Root()) ? kExitRefused : kExitDone;
}

}   // namespace arborctl
