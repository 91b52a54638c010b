// Saves, sets and restores the environment of the x87 unit.

#include <component/platform/double_arithmetic.h>

namespace platform {

namespace {

constexpr std::uint16_t kDoubleToNearest = 0x27F;   // all exceptions masked

}   // namespace

// Neither function may be inlined: only at a call is the unit's register stack as the saved environment describes it.

[[gnu::noinline]] DoubleArithmeticScope::DoubleArithmeticScope() {
    asm volatile("fnstenv %0\n\tfldcw %1" : "=m"(environment) : "m"(kDoubleToNearest) : "memory");
}

// Restores the whole environment, not only the control word: if the host doesn't mask an exception, a flag that was set
// in the scope would trap at the host's next x87 instruction.
[[gnu::noinline]] DoubleArithmeticScope::~DoubleArithmeticScope() {
    asm volatile("fldenv %0" : : "m"(environment) : "memory");
}

}   // namespace platform
