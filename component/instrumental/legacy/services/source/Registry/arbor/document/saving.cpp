// Saving: never into the document itself. A temporary file beside it takes the new text and is flushed, backups are
// made, and one final move puts the new text in the document's place: whatever fails, a complete document stands on the
// disk.

#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "object/arbor.h"

#include <component/ilk/error/exception.h>
#include <component/ilk/error/result_code.h>
#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>
#include <component/kernel/io_object.h>
#include <component/kernel/trace.h>
#include <component/platform/threads.h>

#include <charconv>
#include <string>
#include <string_view>

namespace arbor {

namespace {

enum BackupModes : std::uint8_t {
    BackupNone = 0,
    BackupRotate = 1,
    BackupFirstThenRotate = 2,
};

constexpr int kMoveAttempts = 3;
constexpr std::uint32_t kMoveRetryMilliseconds = 200;

/// A document of this name always keeps its second backup.
bool IsDefaultFileName(std::u16string_view path) { return path.ends_with(u"profiles.xml"); }

/// The calling thread's number, as the names of its files have it.
std::u16string ThreadSuffix() {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, platform::GetCurrentThreadId(), 16).ptr;
    return std::u16string(digits, end);
}

}   // namespace

/// The files beside a document, made before the first of them is touched.
struct Arbor::DocumentFiles {
    explicit DocumentFiles(std::u16string_view name)
        : temporary(Beside(name, u".tmp" + ThreadSuffix())),
          firstBackup(Beside(name, u".bak")),
          secondBackup(Beside(name, u".bak2")),
          scrap(Beside(name, u".bak2" + ThreadSuffix())) {}

    static Text Beside(std::u16string_view name, std::u16string_view ending) {
        Text path(name);
        path.append(ending);
        return path;
    }

    Text temporary;      // the new document while it is being written
    Text firstBackup;    // written once
    Text secondBackup;   // the document as it stood before the latest save
    Text scrap;          // the old second backup, for the moment before its removal
};

ResultCode Arbor::Save(HostWord) {
    if (!IsDirty()) {
        Trace(this, TraceProgress, "arbor\tskip saving because data wasn`t changed");
        return kDone;
    }
    if (Name.empty() && IoObject == nullptr) {
        ClearDirty();   // there is no document to store
        return kDone;
    }
    const ResultCode code = Name.empty() ? WriteToIoObject(IoObject) : SaveToFile();
    EndSave(code);
    return code;
}

ResultCode Arbor::SaveToFile() {
    try {
        const DocumentFiles files(DocumentPath());
        Trace(this, TraceProgress, "arbor\tsave to temporary file %S, backup mode: %u", files.temporary.data(),
              std::uint32_t{BackupMode});
        const ResultCode code = WriteTemporaryFile(files.temporary.data());
        if (IsFailure(code)) {
            Trace(this, TraceFailure, "arbor\tcannot write file %S : %terr", NameOrNone(), code);
            return code;
        }
        if (BackupMode == BackupFirstThenRotate) MakeFirstBackup(files);
        if (IsDefaultFileName(DocumentPath()) || BackupMode == BackupRotate) MakeSecondBackup(files);
        return MoveToDocument(files.temporary.data());
    } catch (...) {   // the names of the files had no room
        const ResultCode code = ilk::ToHostResult(ilk::ResultFromCurrentException());
        Trace(this, TraceFailure, "arbor\tcannot write file %S : %terr", NameOrNone(), code);
        return code;
    }
}

ResultCode Arbor::WriteTemporaryFile(const char16_t* path) {
    ilk::File file;
    const ResultCode code = ilk::ToHostResult(file.Open(path, ilk::kFileWrite, ilk::kFileCreateAlways, 0));
    return IsSuccess(code) ? WriteToFile(file) : code;
}

ResultCode Arbor::WriteToFile(ilk::File& file) {
    TextBuffer document;
    ResultCode code = Serialise(document);
    if (IsFailure(code)) return code;
    std::uint32_t done = 0;
    code = ilk::ToHostResult(file.Write(document.View().data(), document.SizeBytes(), done));
    if (IsSuccess(code) && done != document.SizeBytes()) code = kNotMatched;
    static_cast<void>(file.Flush());   // the write's code decides
    return code;
}

ResultCode Arbor::WriteToIoObject(HostObject* io) {
    TextBuffer document;
    ResultCode code = Serialise(document);
    if (IsFailure(code)) return code;
    code = IoWrite(io, document.View().data(), document.SizeBytes());
    IoComplete(io);
    return code;
}

ResultCode Arbor::Serialise(TextBuffer& document) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const ResultCode code = SaveDocument(tree, document);
    if (IsSuccess(code)) MarkSerialised();
    return code;
}

void Arbor::MakeFirstBackup(const DocumentFiles& files) {
    Trace(this, TraceDetail, "arbor\ttrying to do first backup to %S", files.firstBackup.data());
    const ResultCode code = ilk::ToHostResult(ilk::CopyFileTo(files.temporary.data(), files.firstBackup.data(), true));
    if (IsFailure(code)) Trace(this, TraceFailure, "arbor\tcannot do first backup: %terr", code);
    BackupMode = BackupRotate;
}

void Arbor::MakeSecondBackup(const DocumentFiles& files) {
    const char16_t* backup = files.secondBackup.data();
    const char16_t* scrap = files.scrap.data();
    Trace(this, TraceDetail, "arbor\ttrying to back up to %S", backup);
    if (ilk::ToHostResult(ilk::PathExists(backup)) == kDone) {
        const ResultCode moved = ilk::ToHostResult(ilk::MoveFileTo(backup, scrap));
        if (IsFailure(moved)) {
            Trace(this, TraceFailure, "arbor\tcannot move profiles.xml.bak2 to %S: %terr", scrap, moved);
        }
        const ResultCode removed = ilk::RemoveFile(scrap);
        if (IsFailure(removed)) Trace(this, TraceFailure, "arbor\tcannot remove %S: %terr", scrap, removed);
    }
    const ResultCode code = ilk::ToHostResult(ilk::MoveFileTo(Name.data(), backup));
    if (IsFailure(code)) {
        Trace(this, TraceFailure, "arbor\tcannot move original profiles.xml to backup file: %terr", code);
    }
}

ResultCode Arbor::MoveToDocument(const char16_t* temporary) {
    ResultCode code = kDone;
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        if (attempt > 0) platform::Sleep(kMoveRetryMilliseconds);
        code = ilk::ToHostResult(ilk::MoveFileTo(temporary, Name.data()));
        if (code != kAccessDenied) break;   // somebody who looks at the document for a moment is worth a wait
    }
    if (IsFailure(code))
        Trace(this, TraceFailure, "arbor\tcannot move temporary file to %S : %terr", NameOrNone(), code);
    const ResultCode there = ilk::ToHostResult(ilk::PathExists(Name.data()));
    if (there != kDone) Trace(this, TraceFailure, "arbor\tFile %S does not exist: %terr", NameOrNone(), there);
    return code;
}

const char16_t* Arbor::NameOrNone() const { return Name.empty() ? u"<no name>" : Name.data(); }

}   // namespace arbor
