/// The calling convention of the system's own functions.
#pragma once

namespace platform {

template <class Signature>
struct SystemFunctionOf;
template <class Result, class... Arguments>
struct SystemFunctionOf<Result(Arguments...)> {
    using Pointer = Result(__attribute__((stdcall)) *)(Arguments...);
};

/// A pointer to a system function of type `Signature`.
template <class Signature>
using SystemFunction = typename SystemFunctionOf<Signature>::Pointer;

}   // namespace platform
