/// Functions that throw for the containers. They are out of line, which keeps the containers' inlined code small and
/// <stdexcept> out of their headers.
#pragma once

namespace ilk {

[[noreturn]] void ThrowBadAlloc();
[[noreturn]] void ThrowLengthError(const char* text);
[[noreturn]] void ThrowOutOfRange(const char* text);

}   // namespace ilk
