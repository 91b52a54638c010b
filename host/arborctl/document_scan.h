/// Predicts what the store does with a document's text: where a load fails, and what the next save drops or changes.
/// The store itself reports neither, so the scan parses the text again by the store's rules.
#pragma once

#include "value_text.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace arborctl {

enum class FindingKind {
    Dropped,       // not in the document after a save
    Changed,       // has another value, type or path after a save and a load
    SaveFails,     // the document can't be saved
    ReloadFails,   // once saved, the document can't be loaded
};

struct Finding {
    std::size_t offset = 0;
    FindingKind kind{};
    std::string text{};
};

/// Why the document can't be loaded.
struct DocumentFault {
    std::size_t offset = 0;
    std::string text{};
};

struct ScanResult {
    bool foreign = false;   // the root element isn't "arbor"
    std::optional<DocumentFault> fault{};
};

using FindingSink = std::function<void(const Finding& finding)>;

/// Scans `document`, which must have no byte order mark and not be empty. Calls `sink` for each finding in the order of
/// the offsets. Stops at the first fault. Not recursive; needs memory for the names of the open elements' children.
ScanResult ScanDocument(host::Kernel& kernel, std::string_view document, const FindingSink& sink);

/// By the root element: "arbor" or another one. Unknown if no start tag can be read.
enum class DocumentForm {
    Unknown,
    Native,
    Foreign,
};

/// `document` may be the first part of one.
[[nodiscard]] DocumentForm FormOfRoot(std::string_view document);
[[nodiscard]] inline bool IsForeign(std::string_view document) { return FormOfRoot(document) == DocumentForm::Foreign; }

/// Returns `content` without a UTF-8 byte order mark.
[[nodiscard]] std::string_view WithoutByteOrderMark(std::string_view content);

}   // namespace arborctl
