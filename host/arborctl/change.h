/// Loads documents that commands change, and saves them or, with --dry-run, prints what would be saved.
#pragma once

#include "commands.h"

#include <functional>

namespace arborctl {

/// A document that a command changes. Without a call of `Finish` nothing is saved.
class ChangedDocument {
public:
    /// Loads the document of `settings` and locks it against other runs during the lifetime of this object. With
    /// --dry-run it is neither locked nor created.
    ChangedDocument(const Session& session, const DocumentSettings& settings);

    [[nodiscard]] arbor::Store Root() const { return document.Root(); }

    /// Saves the document. With --dry-run prints what has changed since the load instead.
    void Finish() const;

private:
    [[nodiscard]] Access Purpose() const { return session.dryRun ? Access::Trial : Access::Change; }

    const Session& session;
    const DocumentSettings settings;
    const Document document;
    const PackedTree before;   // with --dry-run, the tree as it was loaded
};

/// Loads the document that the command line names, calls `work(root)` and saves it, or prints the difference. Returns
/// the exit code.
int ChangeDocument(const Session& session, const std::function<void(const arbor::Key& root)>& work);

/// Prints in which keys and values `after` differs from `before`, two files; a missing one is empty.
void PrintFileChanges(const Session& session, const std::filesystem::path& before, const std::filesystem::path& after);

}   // namespace arborctl
