/// What the store makes of a document's text: why it can't be loaded, and what the next save drops or changes.
#pragma once

#include "value_text.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace arborctl {

enum class FindingKind {
    Dropped,       // not in the document after a save
    Changed,       // another value, type or place after a save and a load
    SaveFails,     // the document can't be saved
    ReloadFails,   // once saved, the document can't be loaded
};

struct Finding {
    std::size_t offset = 0;
    FindingKind kind{};
    std::string text{};
};

struct DocumentFault {
    std::size_t offset = 0;
    std::string text{};
};

struct ScanResult {
    bool foreign = false;   // the root element isn't "arbor"
    std::optional<DocumentFault> fault{};
};

using FindingSink = std::function<void(const Finding& finding)>;

/// Follows the load of `document`, which has no byte order mark and isn't empty, and calls `sink` for each finding in
/// the order of their offsets. Stops at the first fault. Depth costs no stack; besides the document, memory goes to the
/// names of the open elements' children alone.
ScanResult ScanDocument(host::Kernel& kernel, std::string_view document, const FindingSink& sink);

/// True if the root element can be read and isn't that of a native document.
[[nodiscard]] bool IsForeign(std::string_view document);

/// `content` without a byte order mark of UTF-8.
[[nodiscard]] std::string_view WithoutMark(std::string_view content);

}   // namespace arborctl
