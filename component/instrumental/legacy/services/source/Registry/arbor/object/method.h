/// What all methods of `Registry` share: locking, the resolution of handles and the trace line. A method calls one of
/// these members with its work, a callable that returns a code, and its trace line: a format and the arguments before
/// the code. Only sources of methods include this.
///
/// | Member       | Lock       | Before the work                                          | After the work            |
/// |--------------|------------|----------------------------------------------------------|---------------------------|
/// | `RunTraced`  | none       |                                                          | trace                     |
/// | `RunLocked`  | `mode`     |                                                          | trace                     |
/// | `ReadKey`    | shared     | resolve the handle, else return `missing`                | trace                     |
/// | `ChangeKey`  | exclusive  | refuse if read-only; resolve the handle, else `missing`  | on success dirty; trace   |
/// | `RunHandler` | none       | set the count to 0                                       | trace                     |
///
/// The line is written for every code, before the lock is released. The compiler inlines all of this into the method,
/// since the type of each callable is unique.
#pragma once

#include "object/arbor.h"
#include "tree/value/value.h"

#include <component/kernel/trace.h>

#include <type_traits>

namespace arbor::module {

/// The line of a method that reports only its name.
inline constexpr char kNameLine[] = "arbor\t%s : %terr";

/// Printed instead of the path of a key, which has no pointer to its parent.
inline constexpr char kUnknownPath[] = "?";

template <class T>
void SetOut(T* out, std::type_identity_t<T> value) {
    if (out != nullptr) *out = value;
}

/// The low 32 bits of a handle or an address: the widest number that a trace line can show.
inline std::uint32_t Low32(HostWord word) { return static_cast<std::uint32_t>(word); }
inline std::uint32_t Low32(const void* address) { return Low32(reinterpret_cast<HostWord>(address)); }

ResultCode Arbor::RunTraced(const auto& work, const char* line, auto... arguments) {
    const ResultCode code = work();
    Trace(this, TraceCall, line, arguments..., code);
    return code;
}

ResultCode Arbor::RunLocked(LockMode mode, const auto& work, const char* line, auto... arguments) {
    const LockGuard guard(lock, Synchronised, mode);
    return RunTraced(work, line, arguments...);
}

template <ResultCode missing>
ResultCode Arbor::ReadKey(KeyHandle handle, const auto& work, const char* line, auto... arguments) {
    const auto read = [&] {
        const Key* key = ResolveKey(handle);
        return key != nullptr ? work(*key) : missing;
    };
    return RunLocked(LockMode::Shared, read, line, arguments...);
}

/// Work that changed nothing may return `ResultUnchanged`: the method returns 0 and the object doesn't become dirty.
template <ResultCode missing>
ResultCode Arbor::ChangeKey(KeyHandle handle, const auto& work, const char* line, auto... arguments) {
    const auto change = [&] {
        if (ReadOnly != 0) return kReadOnlyObject;
        Key* key = ResolveKey(handle);
        if (key == nullptr) return missing;
        const ResultCode code = work(*key);
        if (code == ResultUnchanged) return kDone;
        if (IsSuccess(code)) MarkDirty();
        return code;
    };
    return RunLocked(LockMode::Exclusive, change, line, arguments...);
}

ResultCode Arbor::RunHandler(std::uint32_t* count, const auto& work, const char* line, const char* name) {
    SetOut(count, 0);
    return RunTraced(work, line, name);
}

}   // namespace arbor::module
