/// The string type for the paths of a document and its files.
#pragma once

#include <component/ilk/rtl/basic_string.h>

namespace arbor::module {

using Text = ilk::basic_string_t<char16_t>;

}   // namespace arbor::module
