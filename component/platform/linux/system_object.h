/// The objects that handles refer to. A call that gets a handle of the wrong kind fails.
#pragma once

#include <component/platform/errors.h>

namespace platform {

enum class ObjectKind : std::uint32_t {
    File = 0x454C4946,       // "FILE", for a reader of memory dumps
    Semaphore = 0x414D4553   // "SEMA"
};

class SystemObject {
public:
    explicit SystemObject(ObjectKind objectKind) : kind(objectKind) {}
    virtual ~SystemObject() = default;
    SystemObject(const SystemObject&) = delete;
    SystemObject& operator=(const SystemObject&) = delete;

    const ObjectKind kind;
};

/// Returns the object of a handle, or null with error 6 if the handle is null or `kInvalidHandle`.
[[nodiscard]] SystemObject* AnyObjectOf(Handle handle);

/// As `AnyObjectOf`; null with error 6 also if the object has another kind.
template <class Object>
[[nodiscard]] Object* ObjectOf(Handle handle) {
    SystemObject* const object = AnyObjectOf(handle);
    if (object == nullptr || object->kind == Object::kKind) return static_cast<Object*>(object);
    SetLastError(kErrorInvalidHandle);
    return nullptr;
}

}   // namespace platform
