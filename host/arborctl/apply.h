/// Applies changes that are given as text, one on each line, for the commands `apply`, `edit` and `import`.
///
///     set PATH [VALUE] TYPE TEXT    gives a value this type and text; missing keys are created
///     set PATH TEXT                 the same, in the type that the value has, or else as a tSTRING
///     PATH VALUE TYPE TEXT          a line of flat text: as `set`
///     PATH/                         creates a key
///     rm PATH [VALUE]               removes a value, or a key and its subtree
///     mv PATH TARGET [--force]      moves a value, or a key and its subtree
///     cp PATH TARGET [--force]      copies them
///
/// `flat_text.h` has the syntax of a line.
#pragma once

#include "document.h"
#include "exactness.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace arborctl {

/// Reports the first line that is refused. `what()` names the text's source, the line and the reason.
class LineError : public std::runtime_error {
public:
    LineError(const std::string& source, std::size_t lineNumber, const std::string& lineReason);

    [[nodiscard]] std::size_t Line() const { return line; }   // counted from 1
    [[nodiscard]] const std::string& Reason() const { return reason; }

private:
    std::size_t line;
    std::string reason;
};

enum class LineForms {
    All,
    Flat,   // values and keys as `tree --flat` prints them
};

struct ApplyOptions {
    LineForms forms = LineForms::All;
    Path within{};   // lines with a key that is neither this one nor below it are refused
    const ExactConverter* values =
        nullptr;   // converts the texts; if null, every exact text (`exact_text.h`) is accepted
};

/// Applies the lines of `text` to the tree below `root`. `source` names the text for messages. Throws a `LineError` for
/// the first line that is refused; the tree then has the changes of the lines before it.
void ApplyText(host::Kernel& kernel, const arbor::Key& root, std::string_view text, const std::string& source,
               const ApplyOptions& options = {});

}   // namespace arborctl
