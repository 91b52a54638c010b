/// The calling convention of the system's own functions.
#pragma once

namespace platform {

/// A pointer to a system function of type `Signature`.
template <class Signature>
using SystemFunction = Signature*;

}   // namespace platform
