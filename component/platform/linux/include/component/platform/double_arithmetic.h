/// Arithmetic on `double` that doesn't depend on the host's x87 control word.
#pragma once

namespace platform {

/// While it lives, arithmetic on `double` rounds each result once, to the precision of a `double`. 64-bit code has that
/// from the SSE unit: nothing is set.
class DoubleArithmeticScope {
public:
    DoubleArithmeticScope() {}   // with a body, so that no compiler reports an object that nothing reads
    DoubleArithmeticScope(const DoubleArithmeticScope&) = delete;
    DoubleArithmeticScope& operator=(const DoubleArithmeticScope&) = delete;
};

}   // namespace platform
