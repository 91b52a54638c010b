// The containers' throwing functions.

#include <component/ilk/rtl/throws.h>

#include <new>
#include <stdexcept>

namespace ilk {

void ThrowBadAlloc() { throw std::bad_alloc(); }

void ThrowLengthError(const char* text) { throw std::length_error(text); }

void ThrowOutOfRange(const char* text) { throw std::out_of_range(text); }

}   // namespace ilk
