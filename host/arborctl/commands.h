/// The tool's commands, one function each. A command prints its result to standard output and returns the exit code. It
/// throws a `StoreError` if the store reports a failure. A command that changes the document saves it as its last step
/// (`change.h`); on an exception nothing is saved.
#pragma once

#include "document.h"
#include "exit_codes.h"
#include "finding.h"
#include "getting.h"
#include "import.h"
#include "moving.h"
#include "packed_tree.h"
#include "setting.h"

namespace arborctl {

struct Session {
    host::Kernel& kernel;
    const DocumentSettings& settings;
    Progress& progress;
    bool json = false;
    bool flat = false;     // print flat text
    bool dryRun = false;   // print what a change would do, and save nothing
    bool colours = false;

    /// Loads the document that the command line names.
    [[nodiscard]] Document Load() const { return Document(kernel, settings, progress); }
    /// Loads it and returns its tree with printed names.
    [[nodiscard]] PackedTree LoadPrinted() const {
        const Document document = Load();
        return Pack(document.Root(), PackedNames::Printed, progress.Begin("reading", settings.document));
    }
    /// Loads another document, which the command compares with this one.
    [[nodiscard]] Document LoadOther(const std::filesystem::path& other) const {
        DocumentSettings others = settings;
        others.document = other;
        others.create = Creation::Never;
        return Document(kernel, others, progress);
    }
    /// Loads a backup of the document read-only, without `settings.root`.
    [[nodiscard]] Document LoadBackup(const std::filesystem::path& backup) const {
        return Document(kernel, {.document = backup, .readOnly = true, .wait = settings.wait}, progress);
    }
};

/// Prints a subtree, or one value if `path` names a value.
int Tree(const Session& session, const Path& path, const TreeRequest& request);
/// Prints values. Prints none if one is missing and has no replacement.
int Get(const Session& session, const GetRequest& request);
/// Prints the keys and values that meet all conditions.
int Find(const Session& session, const FindRequest& request);
int Diff(const Session& session, const std::filesystem::path& other);
/// Prints the subtree, or the value, as a native document in which repeated names get numbers, or as a JSON document.
int Export(const Session& session, const Path& path);
/// Prints one HTML page with the tree or, unless `other` is empty, with this and that document's trees as one and their
/// differences marked.
int Report(const Session& session, const std::filesystem::path& other);
/// Reports why the document can't be loaded, or what a save would drop or change. Writes no file.
int Check(const Session& session);
int Backups(const Session& session);

/// Applies the changes in a file, or in standard input for "-", or none of them.
int Apply(const Session& session, const std::filesystem::path& file, Exactness exactness);
/// Opens the subtree as flat text in an editor, shows the difference and saves it.
int Edit(const Session& session, const Path& path);
int Set(const Session& session, const SetRequest& request);
/// Changes the type of a value, which becomes the last one of its key. Refuses a loss unless that is forced.
int Retype(const Session& session, const RetypeRequest& request);
/// Removes the value at `path` or, if there is none, the key.
int Remove(const Session& session, const Path& path);
int RemoveValue(const Session& session, const ValuePath& path);
/// Copies or moves a value or a key, to another document if `other` is given; that document is created if it is
/// missing, and a value that its save changes is refused unless `exactness` is lenient.
int CopyOrMove(const Session& session, const Transfer& transfer, const std::optional<std::filesystem::path>& other,
               Exactness exactness);
/// Copies all of another document into the key at `path`, which is created if it is missing. `file` is "-" for standard
/// input. Repeated names get numbers: "item", "item#2". Reads all input first: on a failure nothing is saved. A value
/// that the save changes is refused unless `exactness` is lenient.
int Import(const Session& session, const std::filesystem::path& file, const Path& path, ImportForm form,
           Exactness exactness);
/// `backup` is a file name, a path, or an ending such as "bak2".
int RestoreBackup(const Session& session, const std::string& backup);
/// Swaps the document and the one before its last save, so that a second `Undo` brings the document back.
int Undo(const Session& session);
/// Prints and removes the temporary files that saves have left.
int CleanBackups(const Session& session);

}   // namespace arborctl
