// Saves the object's tree if `Dirty` is set: to its file, by `ReplaceDocument`, or to its `IoObject`.

#include "document/document_saving.h"
#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "object/arbor.h"

#include <component/kernel/io_object.h>
#include <component/kernel/trace.h>

namespace arbor::module {

ResultCode Arbor::Save(HostWord) {
    if (!IsDirty()) {
        Trace(this, TraceProgress, "arbor\tskip saving because data wasn`t changed");
        return kDone;
    }
    if (Name.empty() && IoObject == nullptr) {
        ClearDirty();   // there is no document to store
        return kDone;
    }
    const ResultCode code = Name.empty() ? SaveToIoObject() : SaveToFile();
    EndSave(code);
    return code;
}

ResultCode Arbor::SaveToFile() {
    return ReplaceDocument(this, Name, BackupMode, [this](TextBuffer& document) { return Serialise(document); });
}

ResultCode Arbor::SaveToIoObject() {
    TextBuffer document;
    ResultCode code = Serialise(document);
    if (IsFailure(code)) return code;
    code = IoWrite(IoObject, document.View().data(), document.SizeBytes());
    IoComplete(IoObject);
    return code;
}

ResultCode Arbor::Serialise(TextBuffer& document) {
    const LockGuard guard(lock, Synchronised, LockMode::Shared);
    const ResultCode code = SaveDocument(tree, document);
    if (IsSuccess(code)) MarkSerialised();
    return code;
}

}   // namespace arbor::module
