/// Reading and writing a value in another type than its own, by way of its text form. A value keeps its type for ever.
#pragma once

#include "tree/contract.h"
#include "tree/value/value.h"

namespace arbor::module {

/// Reads `value` in the type `*type`. A null `type` means the value's own type, and so does 0, which is replaced by it.
/// For `tSTRING_OBJ` `buffer` is a `HostString` and `count` gets 0; otherwise `count` gets the bytes needed. A failed
/// conversion leaves `count` and the buffer as they were. `object` provides the memory and receives the trace line.
ResultCode ConvertOnRead(const HostObject* object, const Value& value, std::uint32_t* count, TypeCode* type,
                         void* buffer, std::uint32_t size);

/// Writes `size` bytes of `data`, which have the type `type`, into `value`. For `tSTRING_OBJ` `data` is a `HostString`.
/// Returns `ResultUnchanged` only for a write in the value's own type that changes nothing. A failure leaves the value
/// as it was.
ResultCode ConvertOnWrite(const HostObject* object, Value& value, TypeCode type, const void* data, std::uint32_t size);

}   // namespace arbor::module
