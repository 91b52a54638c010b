// The commands `backups`, `restore` and `undo`, which list, restore and remove the files that saves have left beside
// the document.

#include "backups.h"
#include "change.h"
#include "json.h"

#include <host/system.h>
#include <host/text.h>

#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace arborctl {
namespace {

/// The time of a file's last change in UTC, in the format of ISO 8601.
std::string ModificationTime(const std::filesystem::path& path) {
    const auto time = std::chrono::file_clock::to_sys(std::filesystem::last_write_time(path));
    const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
    std::ostringstream text;
    text << std::put_time(std::gmtime(&seconds), "%Y-%m-%dT%H:%M:%SZ");
    return text.str();
}

/// Loads a document and returns the result.
kernel::ResultCode LoadCode(const Session& session, const std::filesystem::path& path) {
    try {
        static_cast<void>(session.LoadBackup(path));
        return kernel::kDone;
    } catch (const StoreError& error) {
        return error.Code();
    }
}

/// Refuses a change of a read-only document, and locks it against other runs.
std::unique_ptr<host::TimedFileLock> LockForRestoring(const Session& session) {
    const std::filesystem::path& document = session.settings.document;
    if (session.settings.readOnly) throw StoreError(kernel::kReadOnlyObject, "restoring " + PathText(document));
    return session.dryRun ? nullptr : LockDocument(session.settings);
}

/// Returns the end of a message that names a backup, if there is one. An `undo` that was killed has left the document
/// in such a file.
std::string OtherBackup(const std::filesystem::path& document) {
    const std::vector<BackupFile> files = FindBackups(document);
    if (files.empty() || files.back().path == document) return "";
    return "; \"restore " + PathText(files.back().path.filename()) + "\" restores another one";
}

/// A temporary file that is younger may belong to a save in progress, which doesn't hold it open all the time.
constexpr std::chrono::minutes kMinAge{1};

bool IsRecent(const std::filesystem::path& file) {
    return std::filesystem::file_time_type::clock::now() - std::filesystem::last_write_time(file) < kMinAge;
}

/// Removes a temporary file unless a save may still need it. Returns what happened to it.
const char* Clean(const Session& session, const BackupFile& file) {
    if (IsRecent(file.path)) return "left, since it is less than a minute old";
    if (session.dryRun) return "would be removed if no process holds it";
    return host::RemoveIfUnused(file.path) ? "removed" : "left, since a process holds it";
}

struct FileState {
    std::string modified;
    std::uintmax_t bytes;
    std::string load;   // whether the file loads
};

FileState StateOf(const Session& session, const std::filesystem::path& path) {
    const kernel::ResultCode code = LoadCode(session, path);
    const std::uintmax_t bytes = std::filesystem::file_size(path);
    const bool isEmpty = bytes == 0 && kernel::IsSuccess(code);
    return {ModificationTime(path), bytes, isEmpty ? "empty" : LoadState(code)};
}

void WriteJson(JsonWriter& json, const BackupFile& file, const FileState& state) {
    json.BeginObject().Member("file", PathText(file.path)).Member("role", file.role);
    json.Member("modified", state.modified).Member("bytes", state.bytes).Member("state", state.load).EndObject();
}

void PrintLine(const BackupFile& file, const FileState& state) {
    std::cout << state.modified << std::setw(12) << state.bytes << "  " << PathText(file.path.filename()) << " ("
              << file.role << "): " << state.load << '\n';
}

}   // namespace

int Backups(const Session& session) {
    const std::vector<BackupFile> files = FindBackups(session.settings.document);
    if (files.empty()) throw LoadError(kernel::kNoDocument, PathText(session.settings.document));
    JsonWriter json(std::cout);
    if (session.json) json.BeginArray();
    for (const BackupFile& file : files) {
        const FileState state = StateOf(session, file.path);
        session.json ? WriteJson(json, file, state) : PrintLine(file, state);
    }
    if (session.json) json.EndArray().EndLine();
    return kExitDone;
}

int RestoreBackup(const Session& session, const std::string& backup) {
    const auto lock = LockForRestoring(session);
    const std::filesystem::path& document = session.settings.document;
    const std::optional<std::filesystem::path> chosen = FindBackup(document, backup);
    if (!chosen)
        throw StoreError(kernel::kNoDocument, host::Printable(backup) + " is not a backup of " + PathText(document));
    static_cast<void>(session.LoadBackup(*chosen));   // throws if the backup can't be loaded
    if (session.dryRun) {
        PrintFileChanges(session, document, *chosen);
        return kExitDone;
    }
    const std::filesystem::path kept = Restore(document, *chosen, session.settings.wait);
    std::cout << PathText(document) << " is restored from " << PathText(chosen->filename());
    if (std::filesystem::is_empty(document)) std::cout << ", which is empty";
    if (!kept.empty()) std::cout << "; the former document is in " << PathText(kept.filename());
    std::cout << '\n';
    return kExitDone;
}

int Undo(const Session& session) {
    const auto lock = LockForRestoring(session);
    const std::filesystem::path& document = session.settings.document;
    const std::filesystem::path backup = SecondBackup(document);
    if (!std::filesystem::exists(backup))
        throw StoreError(kernel::kNoDocument,
                         PathText(backup) + ": no save has kept a former document" + OtherBackup(document));
    static_cast<void>(session.LoadBackup(backup));   // throws if it can't be loaded
    if (!std::filesystem::exists(document))
        throw LoadError(kernel::kNoDocument, PathText(document) + "; \"restore bak2\" restores the former one");
    if (session.dryRun) {
        PrintFileChanges(session, document, backup);
        return kExitDone;
    }
    SwapWithBackup(document, backup, session.settings.wait);
    std::cout << PathText(document) << " and " << PathText(backup.filename()) << " are swapped\n";
    return kExitDone;
}

int CleanBackups(const Session& session) {
    const auto lock = LockForRestoring(session);
    const std::filesystem::path& document = session.settings.document;
    if (!std::filesystem::exists(document)) {
        throw LoadError(kernel::kNoDocument,
                        PathText(document) + "; a temporary file may hold it, and \"restore\" restores it");
    }
    for (const BackupFile& file : FindBackups(document)) {
        if (!file.isTemporary) continue;
        std::cout << ModificationTime(file.path) << std::setw(12) << std::filesystem::file_size(file.path) << "  "
                  << PathText(file.path.filename()) << ": " << std::flush;
        std::cout << Clean(session, file) << '\n';
    }
    return kExitDone;
}

}   // namespace arborctl
