/// Whether the text of a value survives a load and a save.
#pragma once

#include "document_scan.h"

#include <optional>
#include <string>

namespace arborctl {

/// `text` in quotes, cut off where it is long.
[[nodiscard]] std::string Excerpt(const std::string& text);

/// Reads texts as the store does, through a value of the store for each type.
class TextCheck {
public:
    explicit TextCheck(host::Kernel& kernel) : scratch(kernel) {}

    struct Verdict {
        bool refused = false;   // the document can't be loaded
        std::optional<FindingKind> found{};
        std::string text{};   // of the finding
    };

    [[nodiscard]] Verdict Check(const kernel::ValueTypeRow& row, const std::string& text) const;

private:
    [[nodiscard]] Verdict CheckScalar(const kernel::ValueTypeRow& row, const std::string& text) const;
    /// What the store's value holds after it took `text`; nothing if it refuses it.
    [[nodiscard]] std::optional<arbor::Datum> Take(const kernel::ValueTypeRow& row, const std::string& text) const;

    Document scratch;
};

}   // namespace arborctl
