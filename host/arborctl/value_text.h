/// Values as text on the command line. Blobs are hexadecimal, texts are UTF-8, and all else is left to the store's own
/// conversion, on a tree without a document.
#pragma once

#include "document.h"

namespace arborctl {

class ValueText {
public:
    explicit ValueText(host::Kernel& kernel) : scratch(kernel) {}

    /// Reads `text` as a value of `type`. Throws a `Refusal` if the type can't take it.
    [[nodiscard]] arbor::Datum Parse(kernel::TypeCode type, const std::string& text) const;

    /// Shows a value. Throws a `Refusal` if its type has no text.
    [[nodiscard]] std::string Show(const arbor::Datum& datum) const;

    /// What stands behind a value's name in a line: its type, and its text, in quotes where it is one.
    [[nodiscard]] std::string Line(const arbor::Datum& datum) const;

private:
    Document scratch;
};

[[nodiscard]] inline std::string TypeName(const arbor::Datum& datum) {
    return std::string(kernel::FindType(datum.type)->name);
}

[[nodiscard]] bool IsText(kernel::TypeCode type);

/// `text` in quotes, with quotes, backslashes and what isn't printable escaped.
[[nodiscard]] std::string Quoted(std::string_view text);

}   // namespace arborctl
