/// Finds and restores a document's backups: the files in its directory that saves and restores have left.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace arborctl {

struct BackupFile {
    std::filesystem::path path;
    const char* role;
    bool isTemporary;     // left by a save or a restore that failed or was killed
    bool isOverwritten;   // if the document is created anew, its saves replace or remove this file
};

/// Returns the document, if it exists, and its backups, sorted by name.
[[nodiscard]] std::vector<BackupFile> FindBackups(const std::filesystem::path& document);

/// Returns the backup that `given` identifies: a file name, a path, or an ending such as ".bak2" or "bak2". The
/// document is not a backup of itself.
[[nodiscard]] std::optional<std::filesystem::path> FindBackup(const std::filesystem::path& document,
                                                              const std::string& given);

/// Replaces the document by a copy of `backup`: writes a temporary file and renames it, so that the document exists at
/// every moment. Returns the file to which the former document was copied; empty if there was none. Waits up to `wait`
/// for other processes that have one of the files open. Throws `std::filesystem::filesystem_error` and leaves the
/// document unchanged on failure.
std::filesystem::path Restore(const std::filesystem::path& document, const std::filesystem::path& backup,
                              std::chrono::milliseconds wait);

/// The file in which a save in backup mode 1 or 2 keeps the former document.
[[nodiscard]] std::filesystem::path SecondBackup(const std::filesystem::path& document);

/// Swaps the document and a backup, both of which exist. The document exists at every moment; after a crash in between
/// the former document is in a file with the ending ".before-restore". Waits and throws as `Restore`.
void SwapWithBackup(const std::filesystem::path& document, const std::filesystem::path& backup,
                    std::chrono::milliseconds wait);

}   // namespace arborctl
