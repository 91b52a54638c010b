/// Checks whether the text of a value in a document is unchanged after a load and a save.
#pragma once

#include "document_scan.h"

#include <optional>
#include <string>

namespace arborctl {

/// Returns `text` in quotes, cut off after 40 bytes.
[[nodiscard]] std::string Excerpt(const std::string& text);

/// Stores the text in a value of a scratch tree and compares what the store reads back; one value for each type.
class TextCheck {
public:
    explicit TextCheck(host::Kernel& kernel) : scratch(kernel) {}

    struct Verdict {
        bool isRejected = false;              // the document can't be loaded
        std::optional<FindingKind> found{};   // none if the text is unchanged
        std::string text{};                   // of the finding
    };

    [[nodiscard]] Verdict Check(const kernel::ValueTypeRow& row, const std::string& text) const;

private:
    [[nodiscard]] Verdict CheckScalar(const kernel::ValueTypeRow& row, const std::string& text) const;
    /// Converts `text` to the type in the store and returns the value; none if the store rejects the text.
    [[nodiscard]] std::optional<arbor::Datum> StoreAndRead(const kernel::ValueTypeRow& row,
                                                           const std::string& text) const;

    Document scratch;
};

}   // namespace arborctl
