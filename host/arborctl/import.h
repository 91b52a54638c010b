/// The forms of input that the command `import` reads.
#pragma once

#include <string_view>

namespace arborctl {

enum class ImportForm {
    Any,   // recognised by the content
    Native,
    Foreign,
    Json,
    Flat,
};

/// The words of --from.
struct ImportFormRow {
    std::string_view word;
    ImportForm form;
};
inline constexpr ImportFormRow kImportForms[] = {{"native", ImportForm::Native},
                                                 {"foreign", ImportForm::Foreign},
                                                 {"json", ImportForm::Json},
                                                 {"flat", ImportForm::Flat}};

}   // namespace arborctl
