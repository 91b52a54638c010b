/// The files that saves and restores leave beside a document.
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
    bool isReplaced;   // by the saves of a new document
};

/// The document and what stands beside it, as far as they exist: the document first, the rest by name.
[[nodiscard]] std::vector<BackupFile> FindBackups(const std::filesystem::path& document);

/// The file beside the document that `given` names: by its name, by a path, or by what follows the document's name in
/// it. The document itself is none.
[[nodiscard]] std::optional<std::filesystem::path> FindBackup(const std::filesystem::path& document,
                                                              const std::string& given);

/// Puts a copy of `backup` in the document's place, by a temporary file and a move: one of the two stands there at
/// every moment. Returns the file that a copy of the former document went to; empty if there was none. Waits up to
/// `wait` for other processes that have one of the files open. Throws `std::filesystem::filesystem_error`, with the
/// document untouched.
std::filesystem::path Restore(const std::filesystem::path& document, const std::filesystem::path& backup,
                              std::chrono::milliseconds wait);

}   // namespace arborctl
