// The command `diff`, and the three forms of a difference.

#include "diff.h"

#include "flat_text.h"
#include "output.h"

#include <algorithm>

namespace arborctl {
namespace {

void PrintJson(const std::vector<Change>& changes) {
    Json json(std::cout);
    json.BeginArray();
    for (const Change& change : changes) WriteJson(json, change);
    json.EndArray().EndLine();
}

void PrintLines(const std::vector<Change>& changes, const ValueText& valueText, const Palette& palette) {
    OmittedValues omitted;
    for (const Change& change : changes) {
        omitted.Try(JoinPath(change.path, change.value.value_or("")), [&] {
            for (const std::string& line : FormatLines(valueText, change)) {
                std::cout << (line.front() == '-' ? palette.removed : palette.added) << line << palette.plain << '\n';
            }
        });
    }
}

/// Returns the line that removes a value or a key.
std::string Removal(const Change& change) {
    if (!change.value) return "rm " + FlatKey(change.path);
    return "rm " + QuoteWord(change.path.empty() ? "/" : change.path) + ' ' + QuoteWord(*change.value);
}

}   // namespace

/// Removals come last and in reverse order, so that "item#2" is still the second "item" in each line.
std::vector<std::string> FlatLines(const std::vector<Change>& changes) {
    std::vector<std::string> lines;
    std::vector<std::string> removals;
    std::string removed;   // the key removed last, with a separator: a line removes all below it
    for (const Change& change : changes) {
        const bool isKey = !change.value;
        if (!removed.empty() && (change.path + '/').starts_with(removed)) continue;
        if (change.after) {
            lines.push_back(FlatValue(change.path, *change.value, *change.after));
        } else if (isKey && change.keyAdded) {
            lines.push_back(FlatKey(change.path));
        } else {
            removals.push_back(Removal(change));
            if (isKey) removed = change.path + '/';
        }
    }
    lines.insert(lines.end(), removals.rbegin(), removals.rend());
    return lines;
}

void PrintChanges(const Session& session, const std::vector<Change>& changes) {
    if (session.flat) {
        for (const std::string& line : FlatLines(changes)) std::cout << line << '\n';
        return;
    }
    if (session.json) return PrintJson(changes);
    PrintLines(changes, ValueText(session.kernel), PaletteOf(session));
}

bool PrintDifference(const Session& session, const arbor::Key& before, const arbor::Key& after) {
    std::vector<Change> changes;
    {
        const Progress::Stage stage = session.progress.Begin("comparing", session.settings.document);
        changes = Compare(before, after);
    }
    PrintChanges(session, changes);
    return !changes.empty();
}

int Diff(const Session& session, const std::filesystem::path& other) {
    const Document before = session.Load();
    const Document after = session.LoadOther(other);
    return PrintDifference(session, before.Root(), after.Root()) ? kExitRefused : kExitDone;
}

}   // namespace arborctl
