// Saves a document: writes a temporary file, makes the backups, and moves the temporary file to the document's path.

#include "document/document_saving.h"

#include "document/text_buffer.h"

#include <component/ilk/error/exception.h>
#include <component/ilk/error/result_code.h>
#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>
#include <component/kernel/trace.h>
#include <component/platform/threads.h>

#include <charconv>
#include <string_view>

namespace arbor::module {
namespace {

constexpr int kMoveAttempts = 3;
constexpr std::uint32_t kMoveRetryMilliseconds = 200;

/// A document of this name has a second backup in every mode.
bool IsDefaultFileName(std::u16string_view path) { return path.ends_with(u"profiles.xml"); }

/// The calling thread's identifier in hexadecimal, which keeps two saving threads apart.
Text ThreadSuffix() {
    char digits[8] = {};
    const char* const end = std::to_chars(digits, digits + sizeof digits, platform::GetCurrentThreadId(), 16).ptr;
    Text suffix;
    for (const char* digit = digits; digit != end; ++digit) suffix.append(static_cast<char16_t>(*digit));
    return suffix;
}

Text AppendToPath(std::u16string_view name, std::u16string_view ending, std::u16string_view suffix = {}) {
    Text path(name);
    path.append(ending);
    path.append(suffix);
    return path;
}

// File calls whose results are translated to the host's codes.

ResultCode CopyIfMissing(const Text& source, const Text& target) {
    return ilk::ToHostResult(ilk::CopyFileTo(source.data(), target.data(), true));
}

ResultCode Move(const Text& source, const Text& target) {
    return ilk::ToHostResult(ilk::MoveFileTo(source.data(), target.data()));
}

ResultCode Exists(const Text& path) { return ilk::ToHostResult(ilk::PathExists(path.data())); }

class DocumentSave {
public:
    /// Throws if there is no memory for the names.
    DocumentSave(const HostObject* object, const Text& documentName, std::uint8_t& mode)
        : host(object),
          name(documentName),
          backupMode(mode),
          temporary(AppendToPath(DocumentPath(), u".tmp", ThreadSuffix())),
          firstBackup(AppendToPath(DocumentPath(), u".bak")),
          secondBackup(AppendToPath(DocumentPath(), u".bak2")),
          oldBackup(AppendToPath(DocumentPath(), u".bak2", ThreadSuffix())) {}

    ResultCode Run(const SerialiseCall& serialise) {
        Trace(host, TraceProgress, "arbor\tsave to temporary file %S, backup mode: %u", temporary.data(),
              std::uint32_t{backupMode});
        if (const ResultCode code = WriteTemporaryFile(serialise); IsFailure(code)) {
            TraceWriteFailure(host, name, code);
            return code;
        }
        if (backupMode == BackupFirstThenRotate) MakeFirstBackup();
        if (IsDefaultFileName(DocumentPath()) || backupMode == BackupRotate) MakeSecondBackup();
        return MoveToDocument();
    }

    static void TraceWriteFailure(const HostObject* object, const Text& name, ResultCode code) {
        Trace(object, TraceFailure, "arbor\tcannot write file %S : %terr", NameOrNone(name), code);
    }

private:
    /// The path up to its first NUL, where the system ends it; `name` may have more characters.
    [[nodiscard]] std::u16string_view DocumentPath() const { return name.data(); }

    static const char16_t* NameOrNone(const Text& name) { return name.empty() ? u"<no name>" : name.data(); }

    ResultCode WriteTemporaryFile(const SerialiseCall& serialise) {
        const ResultCode opened =
            ilk::ToHostResult(file.OpenReplacement(temporary.data(), name.data(), secondBackup.data()));
        const ResultCode code = IsSuccess(opened) ? WriteToFile(serialise) : opened;
        file.Close();   // an open file can't be moved; the temporary name stays reserved
        return code;
    }

    ResultCode WriteToFile(const SerialiseCall& serialise) {
        TextBuffer text;
        if (const ResultCode code = serialise(text); IsFailure(code)) return code;
        std::uint32_t writtenBytes = 0;
        const ResultCode written = ilk::ToHostResult(file.Write(text.View().data(), text.SizeBytes(), writtenBytes));
        static_cast<void>(file.Flush());   // the write's code decides
        return IsSuccess(written) && writtenBytes != text.SizeBytes() ? kNotMatched : written;
    }

    void MakeFirstBackup() {
        Trace(host, TraceDetail, "arbor\ttrying to do first backup to %S", firstBackup.data());
        const ResultCode code = CopyIfMissing(temporary, firstBackup);
        if (IsFailure(code)) Trace(host, TraceFailure, "arbor\tcannot do first backup: %terr", code);
        backupMode = BackupRotate;
    }

    void MakeSecondBackup() const {
        Trace(host, TraceDetail, "arbor\ttrying to back up to %S", secondBackup.data());
        if (Exists(secondBackup) == kDone) RemoveOldBackup();
        const ResultCode code = Move(name, secondBackup);
        if (IsFailure(code)) {
            Trace(host, TraceFailure, "arbor\tcannot move original profiles.xml to backup file: %terr", code);
        }
    }

    void RemoveOldBackup() const {
        const ResultCode moved = Move(secondBackup, oldBackup);
        if (IsFailure(moved)) {
            Trace(host, TraceFailure, "arbor\tcannot move profiles.xml.bak2 to %S: %terr", oldBackup.data(), moved);
        }
        const ResultCode removed = ilk::RemoveFile(oldBackup.data());
        if (IsFailure(removed)) Trace(host, TraceFailure, "arbor\tcannot remove %S: %terr", oldBackup.data(), removed);
    }

    ResultCode MoveToDocument() const {
        ResultCode code = kDone;
        for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
            if (attempt > 0) platform::Sleep(kMoveRetryMilliseconds);
            code = Move(temporary, name);
            if (code != kAccessDenied) break;   // another process may hold the document for a moment
        }
        if (IsFailure(code)) {
            Trace(host, TraceFailure, "arbor\tcannot move temporary file to %S : %terr", NameOrNone(name), code);
        }
        const ResultCode exists = Exists(name);
        if (exists != kDone)
            Trace(host, TraceFailure, "arbor\tFile %S does not exist: %terr", NameOrNone(name), exists);
        return code;
    }

    const HostObject* host;
    const Text& name;
    std::uint8_t& backupMode;
    Text temporary;      // the new document while it is written
    Text firstBackup;    // a copy of the first document saved in this mode; never overwritten
    Text secondBackup;   // the document before the latest save
    Text oldBackup;      // the second backup of the save before, until it is removed
    ilk::File file;      // the temporary file; its name stays reserved until the save ends
};

}   // namespace

ResultCode ReplaceDocument(const HostObject* object, const Text& name, std::uint8_t& backupMode,
                           const SerialiseCall& serialise) {
    try {
        return DocumentSave(object, name, backupMode).Run(serialise);
    } catch (...) {   // no memory for the names of the files
        const ResultCode code = ilk::ToHostResult(ilk::ResultFromCurrentException());
        DocumentSave::TraceWriteFailure(object, name, code);
        return code;
    }
}

}   // namespace arbor::module
