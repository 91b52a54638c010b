#include "backups.h"

#include "document.h"
#include "retry.h"

#include <host/system.h>

#include <algorithm>
#include <string_view>

namespace arborctl {
namespace {

using Name = std::filesystem::path::string_type;   // as the system has it: names needn't be text

constexpr std::string_view kHexadecimal = "0123456789abcdef";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kReplaced = ".before-restore";

/// What may follow a document's name in the name of a file that belongs to it.
struct Ending {
    std::string_view text;
    std::string_view digits;   // any number of them after the text
    bool needsDigits;
    const char* role;
    bool isReplaced;
};
constexpr Ending kEndings[] = {
    {"", "", false, "document", false},
    {".bak", "", false, "first backup", false},
    {".bak2", "", false, "second backup", true},
    {".bak2", kHexadecimal, true, "old second backup", true},
    {".tmp", kHexadecimal, true, "temporary file", true},
    {kReplaced, kDigits, false, "before a restore", false},
};

Name Widen(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

/// Null for a file that has nothing to do with the document.
const Ending* EndingOf(const Name& file, const Name& document) {
    if (!file.starts_with(document)) return nullptr;
    const Name rest = file.substr(document.size());
    const auto* row = std::find_if(std::begin(kEndings), std::end(kEndings), [&rest](const Ending& ending) {
        if (!rest.starts_with(Widen(ending.text))) return false;
        const Name digits = rest.substr(ending.text.size());
        return digits.find_first_not_of(Widen(ending.digits)) == Name::npos && (!ending.needsDigits || !digits.empty());
    });
    return row == std::end(kEndings) ? nullptr : row;
}

std::filesystem::path FolderOf(const std::filesystem::path& path) {
    return std::filesystem::absolute(path).parent_path();
}

bool IsSameEntry(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code ignored;   // a folder that doesn't exist is another one
    return a.filename() == b.filename() && std::filesystem::equivalent(FolderOf(a), FolderOf(b), ignored);
}

std::filesystem::path WithEnding(std::filesystem::path document, std::string_view ending) { return document += ending; }

std::filesystem::path FreeName(const std::filesystem::path& document) {
    for (unsigned number = 1;; ++number) {
        const std::string digits = number == 1 ? "" : std::to_string(number);
        std::filesystem::path path = WithEnding(document, std::string(kReplaced) + digits);
        if (!std::filesystem::exists(path)) return path;
    }
}

/// Calls `step(error)` again while another process has the file open that it takes.
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

void CopyToDisk(const std::filesystem::path& from, const std::filesystem::path& to, std::chrono::milliseconds wait) {
    RetryWhileInUse(wait, from, to, [&](std::error_code& error) {
        std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    });
    host::FlushToDisk(to);
}

}   // namespace

std::vector<BackupFile> FindBackups(const std::filesystem::path& document) {
    std::vector<BackupFile> files;
    for (const auto& entry : std::filesystem::directory_iterator(FolderOf(document))) {
        const Ending* ending = EndingOf(entry.path().filename().native(), document.filename().native());
        if (ending != nullptr && entry.is_regular_file()) {
            files.push_back({document.parent_path() / entry.path().filename(), ending->role, ending->isReplaced});
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
        if (IsSameEntry(PathOf(given), file.path)) return file.path;
    }
    return std::nullopt;
}

std::filesystem::path Restore(const std::filesystem::path& document, const std::filesystem::path& backup,
                              std::chrono::milliseconds wait) {
    const std::filesystem::path temporary = WithEnding(document, ".restoring");
    std::filesystem::path kept;
    try {
        CopyToDisk(backup, temporary, wait);
        if (std::filesystem::exists(document)) {
            kept = FreeName(document);
            CopyToDisk(document, kept, wait);
        }
        RetryWhileInUse(wait, temporary, document,
                        [&](std::error_code& error) { std::filesystem::rename(temporary, document, error); });
    } catch (...) {
        std::error_code ignored;   // the first failure is the one to tell
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    host::FlushToDisk(FolderOf(document));
    return kept;
}

}   // namespace arborctl
