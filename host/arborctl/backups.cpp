#include "backups.h"

#include <host/system.h>

#include <algorithm>
#include <string_view>

namespace arborctl {
namespace {

using Name = std::u16string;

constexpr std::u16string_view kHexadecimal = u"0123456789abcdef";
constexpr std::u16string_view kDigits = u"0123456789";
constexpr std::u16string_view kReplaced = u".before-restore";

/// What may follow a document's name in the name of a file that belongs to it.
struct Ending {
    std::u16string_view text;
    std::u16string_view digits;   // any number of them behind the text
    bool needsDigits;
    const char* role;
};
constexpr Ending kEndings[] = {
    {u"", u"", false, "document"},
    {u".bak", u"", false, "first backup"},
    {u".bak2", u"", false, "second backup"},
    {u".bak2", kHexadecimal, true, "old second backup"},
    {u".tmp", kHexadecimal, true, "temporary file"},
    {kReplaced, kDigits, false, "before a restore"},
};

/// Null for a file that has nothing to do with the document.
const Ending* EndingOf(const Name& file, const Name& document) {
    if (!file.starts_with(document)) return nullptr;
    const std::u16string_view rest = std::u16string_view(file).substr(document.size());
    const auto* row = std::find_if(std::begin(kEndings), std::end(kEndings), [rest](const Ending& ending) {
        if (!rest.starts_with(ending.text)) return false;
        const std::u16string_view behind = rest.substr(ending.text.size());
        return behind.find_first_not_of(ending.digits) == std::u16string_view::npos &&
               (!ending.needsDigits || !behind.empty());
    });
    return row == std::end(kEndings) ? nullptr : row;
}

std::filesystem::path WithEnding(const std::filesystem::path& document, const std::u16string& ending) {
    return document.u16string() + ending;
}

std::filesystem::path FreeName(const std::filesystem::path& document) {
    for (unsigned number = 1;; ++number) {
        const std::string digits = number == 1 ? "" : std::to_string(number);
        std::filesystem::path path = WithEnding(document, Name(kReplaced) + Name(digits.begin(), digits.end()));
        if (!std::filesystem::exists(path)) return path;
    }
}

void CopyToDisk(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
    host::FlushToDisk(to);
}

}   // namespace

std::vector<BackupFile> FindBackups(const std::filesystem::path& document) {
    const std::filesystem::path whole = std::filesystem::absolute(document);
    std::vector<BackupFile> files;
    for (const auto& entry : std::filesystem::directory_iterator(whole.parent_path())) {
        const Ending* ending = EndingOf(entry.path().filename().u16string(), whole.filename().u16string());
        if (ending != nullptr && entry.is_regular_file()) {
            files.push_back({document.parent_path() / entry.path().filename(), ending->role});
        }
    }
    std::sort(files.begin(), files.end(), [](const BackupFile& a, const BackupFile& b) { return a.path < b.path; });
    return files;
}

std::filesystem::path Restore(const std::filesystem::path& document, const std::filesystem::path& backup) {
    const std::filesystem::path temporary = WithEnding(document, u".restoring");
    std::filesystem::path kept;
    try {
        CopyToDisk(backup, temporary);
        if (std::filesystem::exists(document)) {
            kept = FreeName(document);
            CopyToDisk(document, kept);
        }
        std::filesystem::rename(temporary, document);
    } catch (...) {
        std::error_code ignored;   // the first failure is the one to tell
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    host::FlushToDisk(std::filesystem::absolute(document).parent_path());
    return kept;
}

}   // namespace arborctl
