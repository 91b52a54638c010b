/// The calling convention of the system's own functions.
#pragma once

namespace platform {

/// A pointer to a function of the system with that signature.
template <class Signature>
using SystemFunction = Signature*;

}   // namespace platform
