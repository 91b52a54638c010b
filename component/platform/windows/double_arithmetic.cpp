// Sets the x87 unit to round to `double` precision, and restores the host's settings.

#include <component/platform/double_arithmetic.h>

namespace platform {

namespace {

constexpr std::uint16_t kDoubleToNearest = 0x27F;   // all exceptions masked

}   // namespace

// Neither function may be inlined: the environment includes the tags of the register stack, which is empty at every
// call, but not in the middle of a caller's arithmetic.

[[gnu::noinline]] DoubleArithmeticScope::DoubleArithmeticScope() {
    asm volatile("fnstenv %0\n\tfldcw %1" : "=m"(environment) : "m"(kDoubleToNearest) : "memory");
}

// Restores the whole environment, not only the control word: if the host doesn't mask an exception, a flag that was set
// in the scope would trap at the host's next x87 instruction.
[[gnu::noinline]] DoubleArithmeticScope::~DoubleArithmeticScope() {
    asm volatile("fldenv %0" : : "m"(environment) : "memory");
}

}   // namespace platform
