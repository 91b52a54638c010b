// Recognizes backups by the endings of their names, and restores with a temporary file and a rename.

#include "backups.h"

#include "ascii.h"
#include "document.h"
#include "retry.h"

#include <host/system.h>

#include <algorithm>
#include <string_view>

namespace arborctl {
namespace {

/// A file name in the system's own encoding; it need not be valid text.
using NativeName = std::filesystem::path::string_type;

constexpr std::string_view kLowerHexDigits = "0123456789abcdef";
constexpr std::string_view kSecondBackup = ".bak2";
constexpr std::string_view kRestoring = ".restoring";
constexpr std::string_view kBeforeRestore = ".before-restore";

/// An ending that makes a document's name into the name of a backup: `text`, then digits.
struct Ending {
    std::string_view text;
    std::string_view digits;   // the digits that may follow
    bool requiresDigits;
    const char* role;
    bool isTemporary;
    bool isOverwritten;
};
constexpr Ending kEndings[] = {
    {"", "", false, "document", false, false},
    {".bak", "", false, "first backup", false, false},
    {kSecondBackup, "", false, "second backup", false, true},
    {kSecondBackup, kLowerHexDigits, true, "old second backup", false, true},
    {".tmp", kLowerHexDigits, true, "temporary file", true, true},
    {kRestoring, "", false, "temporary file", true, false},
    {kBeforeRestore, kDecimalDigits, false, "before a restore", false, false},
};

NativeName ToNative(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

/// Returns null if `file` is neither the document nor one of its backups.
const Ending* FindEnding(const NativeName& file, const NativeName& document) {
    if (!file.starts_with(document)) return nullptr;
    const NativeName rest = file.substr(document.size());
    const auto* row = std::find_if(std::begin(kEndings), std::end(kEndings), [&rest](const Ending& ending) {
        if (!rest.starts_with(ToNative(ending.text))) return false;
        const NativeName digits = rest.substr(ending.text.size());
        return digits.find_first_not_of(ToNative(ending.digits)) == NativeName::npos &&
               (!ending.requiresDigits || !digits.empty());
    });
    return row == std::end(kEndings) ? nullptr : row;
}

std::filesystem::path ParentDirectory(const std::filesystem::path& path) {
    return std::filesystem::absolute(path).parent_path();
}

bool IsSameEntry(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code ignored;   // a missing directory is a different one
    return a.filename() == b.filename() && std::filesystem::equivalent(ParentDirectory(a), ParentDirectory(b), ignored);
}

std::filesystem::path WithEnding(std::filesystem::path document, std::string_view ending) { return document += ending; }

/// Returns a name for the copy that a restore keeps of the former document.
std::filesystem::path UnusedName(const std::filesystem::path& document) {
    for (unsigned number = 1;; ++number) {
        const std::string digits = number == 1 ? "" : std::to_string(number);
        std::filesystem::path path = WithEnding(document, std::string(kBeforeRestore) + digits);
        if (!std::filesystem::exists(path)) return path;
    }
}

/// Calls `step(error)` until it ends without a sharing violation, which another process with the file open causes, or
/// until `wait` is over.
template <class Step>
void RetryWhileInUse(std::chrono::milliseconds wait, const std::filesystem::path& from, const std::filesystem::path& to,
                     Step step) {
    std::error_code error;
    RetryFor(wait, [&] {
        error.clear();
        step(error);
        return !host::IsSharingViolation(error);
    });
    if (error) throw std::filesystem::filesystem_error("can't restore", from, to, error);
}

void CopyDurably(const std::filesystem::path& from, const std::filesystem::path& to, std::chrono::milliseconds wait) {
    RetryWhileInUse(wait, from, to, [&](std::error_code& error) {
        std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    });
    host::FlushToDisk(to);
    host::FlushToDisk(ParentDirectory(to));   // the name is on the disk before a move replaces the other one
}

void Move(const std::filesystem::path& from, const std::filesystem::path& to, std::chrono::milliseconds wait) {
    RetryWhileInUse(wait, from, to, [&](std::error_code& error) { std::filesystem::rename(from, to, error); });
    host::FlushToDisk(ParentDirectory(to));
}

/// Gives a file a second name, which keeps its owner and permissions, or copies it where that isn't possible.
void LinkOrCopy(const std::filesystem::path& from, const std::filesystem::path& to, std::chrono::milliseconds wait) {
    std::error_code unsupported;
    std::filesystem::create_hard_link(from, to, unsupported);
    unsupported ? CopyDurably(from, to, wait) : host::FlushToDisk(ParentDirectory(to));
}

}   // namespace

std::vector<BackupFile> FindBackups(const std::filesystem::path& document) {
    std::vector<BackupFile> files;
    if (!std::filesystem::exists(ParentDirectory(document))) return files;
    for (const auto& entry : std::filesystem::directory_iterator(ParentDirectory(document))) {
        const Ending* ending = FindEnding(entry.path().filename().native(), document.filename().native());
        if (ending != nullptr && entry.is_regular_file()) {
            files.push_back({document.parent_path() / entry.path().filename(), ending->role, ending->isTemporary,
                             ending->isOverwritten});
        }
    }
    std::sort(files.begin(), files.end(), [](const BackupFile& a, const BackupFile& b) { return a.path < b.path; });
    return files;
}

std::optional<std::filesystem::path> FindBackup(const std::filesystem::path& document, const std::string& given) {
    const std::size_t ownLength = PathText(document.filename()).size();
    for (const BackupFile& file : FindBackups(document)) {
        if (file.path.filename() == document.filename()) continue;
        const std::string name = PathText(file.path.filename());
        const std::string_view ending = std::string_view(name).substr(ownLength);
        if (given == name || given == ending || given == ending.substr(1)) return file.path;
        if (IsSameEntry(PathFromArgument(given), file.path)) return file.path;
    }
    return std::nullopt;
}

std::filesystem::path Restore(const std::filesystem::path& document, const std::filesystem::path& backup,
                              std::chrono::milliseconds wait) {
    const std::filesystem::path temporary = WithEnding(document, kRestoring);
    std::filesystem::path kept;
    try {
        CopyDurably(backup, temporary, wait);
        if (std::filesystem::exists(document)) {
            kept = UnusedName(document);
            CopyDurably(document, kept, wait);
        }
        Move(temporary, document, wait);
    } catch (...) {
        std::error_code ignored;   // report the first failure
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    return kept;
}

std::filesystem::path SecondBackup(const std::filesystem::path& document) {
    return WithEnding(document, kSecondBackup);
}

void SwapWithBackup(const std::filesystem::path& document, const std::filesystem::path& backup,
                    std::chrono::milliseconds wait) {
    const std::filesystem::path kept = UnusedName(document);
    LinkOrCopy(document, kept, wait);
    try {
        Move(backup, document, wait);
    } catch (...) {
        std::error_code ignored;   // report the first failure
        std::filesystem::remove(kept, ignored);
        throw;
    }
    Move(kept, backup, wait);
}

}   // namespace arborctl
