/// Values as text on the command line. Blobs are hexadecimal, texts are UTF-8, and all else is left to the store's own
/// conversion, on a tree without a document.
#pragma once

#include "store.h"

namespace arborctl {

class ValueText {
public:
    explicit ValueText(host::Kernel& kernel) : scratch(kernel, {}) {}

    /// Reads `text` as a value of `type`. Throws a `Refusal` if the type can't take it.
    [[nodiscard]] Datum Parse(kernel::TypeCode type, const std::string& text);

    /// Shows a value. Throws a `Refusal` if its type has no text.
    [[nodiscard]] std::string Show(const Datum& datum);

private:
    Store scratch;
};

}   // namespace arborctl
