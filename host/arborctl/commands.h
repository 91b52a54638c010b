/// What the tool can do to a document. Each command prints its results to standard output and throws a `Refusal` where
/// the store refuses; the document is stored as its last step or not at all. The results are exit codes.
#pragma once

#include "document.h"
#include "exit_codes.h"

namespace arborctl {

struct Session {
    host::Kernel& kernel;
    const DocumentSettings& settings;
    Progress& progress;
    bool json = false;   // of the reading commands
    bool colours = false;

    /// The document that the command line names.
    [[nodiscard]] Document Load() const { return Document(kernel, settings, progress); }
    /// The same, locked against other runs until the result is gone.
    [[nodiscard]] Document LoadToChange() const { return Document(kernel, settings, progress, Access::Change); }
};

/// Of a value's path, the value alone.
int Tree(const Session& session, const Path& path);
/// In the value's own type for `type` 0.
int Get(const Session& session, const ValuePath& path, kernel::TypeCode type);
/// Names of keys and values, and texts of values, without regard to the case of ASCII letters.
int Find(const Session& session, const std::string& text);
int Diff(const Session& session, const std::filesystem::path& other);
/// The subtree as a native document, with elements that repeat under names of their own.
int Export(const Session& session, const Path& path);
/// Loads, saves and loads again, the latter two in memory.
int Check(const Session& session);
int Backups(const Session& session);

int Set(const Session& session, const ValuePath& path, kernel::TypeCode type, const std::string& text);
/// Removes the value at `path` or, if there is none, the key.
int Remove(const Session& session, const Path& path);
int RemoveValue(const Session& session, const ValuePath& path);
/// The subtree stands under the same path in `target`, which is made if it's missing.
int Copy(const Session& session, const Path& path, const std::filesystem::path& target);
/// Elements that repeat in their parent become keys of their own: "item", "item#2".
int Import(const Session& session, const std::filesystem::path& foreign);
/// `backup` is a file's name, a path to it, or what follows the document's name in it.
int RestoreBackup(const Session& session, const std::string& backup);

}   // namespace arborctl
