/// Converts values to and from the text of the command line: blobs as hexadecimal, texts as UTF-8, all other types by
/// the store's own conversion in a scratch tree.
#pragma once

#include "document.h"

namespace arborctl {

class ValueText {
public:
    explicit ValueText(host::Kernel& kernel) : scratch(kernel) {}

    /// Converts `text` to a value of `type`. Throws a `StoreError` if the type has no such value.
    [[nodiscard]] arbor::Datum Parse(kernel::TypeCode type, const std::string& text) const;

    /// Converts a value to text. Throws a `StoreError` if it has none.
    [[nodiscard]] std::string Format(const arbor::Datum& datum) const;

    /// Returns the type and the text of a value for a line of output, in quotes if the type is a text.
    [[nodiscard]] std::string FormatLine(const arbor::Datum& datum) const;

private:
    Document scratch;
};

[[nodiscard]] inline std::string TypeName(kernel::TypeCode type) { return std::string(kernel::FindType(type)->name); }
[[nodiscard]] inline std::string TypeName(const arbor::Datum& datum) { return TypeName(datum.type); }

[[nodiscard]] bool IsBlob(kernel::TypeCode type);
[[nodiscard]] bool IsText(kernel::TypeCode type);

/// Returns `text` in quotes, with quotes, backslashes and unprintable bytes escaped.
[[nodiscard]] std::string Quote(std::string_view text);

}   // namespace arborctl
