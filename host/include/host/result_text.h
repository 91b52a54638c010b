/// Result codes as people read them: the numbers of the interface and of the host, and the library codes that a caller
/// can meet through them.
#pragma once

#include <component/kernel/result_codes.h>

#include <string>
#include <string_view>

namespace host {

/// The text of a code; "unknown code" for a number that has none.
[[nodiscard]] std::string_view ResultText(kernel::ResultCode code);

/// The code as 8 hexadecimal digits, and its text: "0x8000D002: no such key or value".
[[nodiscard]] std::string Describe(kernel::ResultCode code);

}   // namespace host
