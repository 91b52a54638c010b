/// Saves a document. Its file is never written in place: the new text is written to a temporary file in the same
/// directory and flushed, the backups are made, and one final move replaces the document. After a failure at any step a
/// complete document is on the disk under one of the names.
#pragma once

#include "document/document_text.h"
#include "tree/contract.h"

#include <cstdint>
#include <functional>

namespace arbor::module {

class TextBuffer;

/// Any other number, such as the default 0, means no backup.
enum BackupModes : std::uint8_t {
    BackupRotate = 1,            // each save moves the old document to `.bak2`
    BackupFirstThenRotate = 2,   // one save first copies its new text to `.bak`; then as `BackupRotate`
};

/// Writes the document's text into the buffer. Returns a code; a failure ends the save before the backups.
using SerialiseCall = std::function<ResultCode(TextBuffer&)>;

/// Replaces the document `name` by the text of `serialise`, with the backups of `backupMode`, which becomes
/// `BackupRotate` after a first backup. `object` receives the trace lines. Returns the code of writing the temporary
/// file or of the final move; a failed backup is only traced. Waits up to 400 ms for a document that is in use.
ResultCode ReplaceDocument(const HostObject* object, const Text& name, std::uint8_t& backupMode,
                           const SerialiseCall& serialise);

}   // namespace arbor::module
