// Maps a handle to the object that it refers to, and closes handles.

#include "system_object.h"

#include "system_error.h"

#include <component/platform/files.h>

namespace platform {

SystemObject* AnyObjectOf(Handle handle) {
    if (handle != nullptr && handle != kInvalidHandle) return static_cast<SystemObject*>(handle);
    SetLastError(kErrorInvalidHandle);
    return nullptr;
}

bool CloseHandle(Handle handle) {
    SystemObject* const object = AnyObjectOf(handle);
    delete object;
    return object != nullptr;
}

}   // namespace platform
