/// The throws of the containers, out of line so that their hot paths stay small and their headers light.
#pragma once

namespace ilk {

[[noreturn]] void ThrowBadAlloc();
[[noreturn]] void ThrowLengthError(const char* text);
[[noreturn]] void ThrowOutOfRange(const char* text);

}   // namespace ilk
