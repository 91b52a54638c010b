/// Arithmetic on `double` that doesn't depend on the host's x87 control word.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

/// While it lives, arithmetic on `double` rounds each result once, to the precision of a `double`. 32-bit code computes
/// on the x87 unit, where a host's control word may set 64 bits: then a result is rounded there, and once more when
/// it is stored. Here the precision is 53 bits, the rounding is to nearest and no exception traps. The destructor
/// restores the unit's control word and exception flags. To be used as a local variable.
class DoubleArithmeticScope {
public:
    DoubleArithmeticScope();
    ~DoubleArithmeticScope();
    DoubleArithmeticScope(const DoubleArithmeticScope&) = delete;
    DoubleArithmeticScope& operator=(const DoubleArithmeticScope&) = delete;

private:
    alignas(std::uint32_t) std::byte environment[28];   // as `fnstenv` writes it
};

}   // namespace platform
