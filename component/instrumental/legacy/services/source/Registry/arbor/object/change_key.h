/// The shape of the methods that change a key; included by the sources of those methods.
#pragma once

#include "object/arbor.h"

namespace arbor::module {

template <class Work>
ResultCode Arbor::ChangeKey(KeyHandle handle, Work work) {
    if (ReadOnly != 0) return kReadOnlyObject;
    Key* key = ResolveKey(handle);
    if (key == nullptr) return kNoKeyThere;
    const ResultCode code = work(*key);
    if (IsSuccess(code)) MarkDirty();
    return code;
}

}   // namespace arbor::module
