// Instantiates the string class for its three character types.

#include <component/ilk/rtl/basic_string.h>

namespace ilk {

template class basic_string_t<char>;
template class basic_string_t<char16_t>;
template class basic_string_t<char32_t>;

}   // namespace ilk
