/// What stands behind a handle that `CloseHandle` takes. The kind keeps a call from working on an object of another
/// one.
#pragma once

#include <component/platform/errors.h>

namespace platform {

enum class ObjectKind : std::uint32_t {
    File = 0x454C4946,
    Semaphore = 0x414D4553
};

class SystemObject {
public:
    explicit SystemObject(ObjectKind objectKind) : kind(objectKind) {}
    virtual ~SystemObject() = default;
    SystemObject(const SystemObject&) = delete;
    SystemObject& operator=(const SystemObject&) = delete;

    const ObjectKind kind;
};

/// The object of a handle, or null with error 6 for none.
[[nodiscard]] SystemObject* AnyObjectOf(Handle handle);

/// The object of a handle, or null with error 6 for none and for one of another kind.
template <class Object>
[[nodiscard]] Object* ObjectOf(Handle handle) {
    SystemObject* const object = AnyObjectOf(handle);
    if (object == nullptr) return nullptr;
    if (object->kind != Object::kKind) {
        SetLastError(kErrorInvalidHandle);
        return nullptr;
    }
    return static_cast<Object*>(object);
}

}   // namespace platform
