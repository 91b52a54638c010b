/// Result codes as text, for messages of programs that use the host.
#pragma once

#include <component/kernel/result_text.h>

#include <string>

namespace host {

/// The code as 8 hexadecimal digits, and its text: "0x8000D002: no such key or value".
[[nodiscard]] std::string Describe(kernel::ResultCode code);

}   // namespace host
