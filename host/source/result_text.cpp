// Formatting of a result code for messages.

#include <host/result_text.h>

#include <cstdio>

namespace host {

std::string Describe(kernel::ResultCode code) {
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X: ", static_cast<unsigned>(code));
    return std::string(number).append(kernel::ResultText(code));
}

}   // namespace host
