/// The forms that `import` reads.
#pragma once

#include <string_view>

namespace arborctl {

enum class ImportForm {
    Any,   // recognised by the content
    Native,
    Foreign,
    Json,
};

/// The words of --from.
struct ImportFormRow {
    std::string_view word;
    ImportForm form;
};
inline constexpr ImportFormRow kImportForms[] = {
    {"native", ImportForm::Native}, {"foreign", ImportForm::Foreign}, {"json", ImportForm::Json}};

}   // namespace arborctl
