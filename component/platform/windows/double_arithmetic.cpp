#include <component/platform/double_arithmetic.h>

namespace platform {

namespace {

constexpr std::uint16_t kDoubleToNearest = 0x27F;   // all exceptions masked

}   // namespace

// Neither function may be inlined: between two calls the unit's register stack is as the environment says.

[[gnu::noinline]] DoubleArithmeticScope::DoubleArithmeticScope() {
    asm volatile("fnstenv %0\n\tfldcw %1" : "=m"(environment) : "m"(kDoubleToNearest) : "memory");
}

// The whole environment and not the control word alone: with an exception that the host doesn't mask, a flag that was
// raised in the scope would trap at its next instruction of the unit.
[[gnu::noinline]] DoubleArithmeticScope::~DoubleArithmeticScope() {
    asm volatile("fldenv %0" : : "m"(environment) : "memory");
}

}   // namespace platform
