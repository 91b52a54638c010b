/// What a module registers for the interface `Registry`: its number, its lifecycle handlers and its methods.
///
/// Every method takes the object first and returns a `ResultCode`. Out arguments may be null. Texts are 8-bit with a
/// terminator; paths take `\` and `/`. A read measures with a null buffer and size 0; a buffer too short is
/// `kBufferTooSmall`, and the count says what is needed, the terminator of a full name left out. An object that has
/// `Synchronised` locks itself; a copy's source and destination must then be two objects.
#pragma once

#include <component/kernel/host_object.h>

namespace kernel {

inline constexpr HostWord kRegistryInterface = 13;
inline constexpr HostWord kRegistryModule = 0xA7FB;

/// Entries of the table of lifecycle handlers.
inline constexpr std::size_t kInternalSlots = 12;
inline constexpr std::size_t kObjectNewSlot = 1;
inline constexpr std::size_t kObjectReadySlot = 3;
inline constexpr std::size_t kObjectClosingSlot = 5;

using ObjectNewCall = ResultCode (*)(HostObject* object, std::uint32_t construct);
using LifecycleCall = ResultCode (*)(HostObject* object);

/// The reason with which a host calls the module's entry; the system's own are lower.
inline constexpr std::uint32_t kHostStartReason = 100;

/// Entries of the method table. `Save` is in an object's own table alone, in the place behind the last registered
/// method.
enum class Method : std::size_t {
    OpenKey,
    OpenKeyByIndex,
    OpenNextKey,
    CloseKey,
    GetKeyName,
    GetKeyNameByIndex,
    GetValue,
    GetValueByIndex,
    GetValueNameByIndex,
    SetValue,
    SetValueByIndex,
    GetKeyCount,
    GetValueCount,
    DeleteKey,
    DeleteKeyByInd,
    DeleteValue,
    DeleteValueByInd,
    Clean,
    CopyKey,
    CopyKeyByName,
    SetRootKey,
    SetRootStr,
    Save,
};
inline constexpr std::size_t kRegistryMethods = 23;

/// A view of a method table in the methods' own types: an object's own table, or the one that the module registered.
class Registry {
public:
    explicit Registry(MethodTable methods) : table(methods) {}
    explicit Registry(const HostObject* object) : table(object->MethodFace) {}

    /// A null `path` opens the parent itself. With `create` missing keys are made; `kKeyCreated` says that the path's
    /// first one was.
    ResultCode OpenKey(HostObject* object, KeyHandle* key, KeyHandle parent, const char* path,
                       std::uint32_t create) const {
        return Call<Method::OpenKey>(object, key, parent, path, create);
    }
    ResultCode OpenKeyByIndex(HostObject* object, KeyHandle* key, KeyHandle parent, std::uint32_t index) const {
        return Call<Method::OpenKeyByIndex>(object, key, parent, index);
    }
    /// The sibling behind `key`; `kNoKeyThere` after the last.
    ResultCode OpenNextKey(HostObject* object, KeyHandle* next, KeyHandle key) const {
        return Call<Method::OpenNextKey>(object, next, key);
    }
    ResultCode CloseKey(HostObject* object, KeyHandle key) const { return Call<Method::CloseKey>(object, key); }
    /// With `full` the path from the current root, whose count leaves the terminator out; without, the count has it.
    ResultCode GetKeyName(HostObject* object, std::uint32_t* count, KeyHandle key, char* buffer, std::uint32_t size,
                          std::uint32_t full) const {
        return Call<Method::GetKeyName>(object, count, key, buffer, size, full);
    }
    ResultCode GetKeyNameByIndex(HostObject* object, std::uint32_t* count, KeyHandle parent, std::uint32_t index,
                                 char* buffer, std::uint32_t size, std::uint32_t full) const {
        return Call<Method::GetKeyNameByIndex>(object, count, parent, index, buffer, size, full);
    }
    /// A null `type`, or 0 there, asks for the value's own type (stored there); any other converts, but for a block of
    /// just `size` bytes, which comes as it is.
    ResultCode GetValue(HostObject* object, std::uint32_t* count, KeyHandle key, const char* name, TypeCode* type,
                        void* buffer, std::uint32_t size) const {
        return Call<Method::GetValue>(object, count, key, name, type, buffer, size);
    }
    ResultCode GetValueByIndex(HostObject* object, std::uint32_t* count, KeyHandle key, std::uint32_t index,
                               TypeCode* type, void* buffer, std::uint32_t size) const {
        return Call<Method::GetValueByIndex>(object, count, key, index, type, buffer, size);
    }
    /// Behind the last value: a success with count 0.
    ResultCode GetValueNameByIndex(HostObject* object, std::uint32_t* count, KeyHandle key, std::uint32_t index,
                                   char* buffer, std::uint32_t size) const {
        return Call<Method::GetValueNameByIndex>(object, count, key, index, buffer, size);
    }
    /// Changes a value in its own type for ever; makes a missing one with `create`.
    ResultCode SetValue(HostObject* object, KeyHandle key, const char* name, TypeCode type, const void* data,
                        std::uint32_t size, std::uint32_t create) const {
        return Call<Method::SetValue>(object, key, name, type, data, size, create);
    }
    ResultCode SetValueByIndex(HostObject* object, KeyHandle key, std::uint32_t index, TypeCode type, const void* data,
                               std::uint32_t size, std::uint32_t create) const {
        return Call<Method::SetValueByIndex>(object, key, index, type, data, size, create);
    }
    ResultCode GetKeyCount(HostObject* object, std::uint32_t* count, KeyHandle key) const {
        return Call<Method::GetKeyCount>(object, count, key);
    }
    ResultCode GetValueCount(HostObject* object, std::uint32_t* count, KeyHandle key) const {
        return Call<Method::GetValueCount>(object, count, key);
    }
    ResultCode DeleteKey(HostObject* object, KeyHandle parent, const char* path) const {
        return Call<Method::DeleteKey>(object, parent, path);
    }
    ResultCode DeleteKeyByInd(HostObject* object, KeyHandle parent, std::uint32_t index) const {
        return Call<Method::DeleteKeyByInd>(object, parent, index);
    }
    ResultCode DeleteValue(HostObject* object, KeyHandle key, const char* name) const {
        return Call<Method::DeleteValue>(object, key, name);
    }
    ResultCode DeleteValueByInd(HostObject* object, KeyHandle key, std::uint32_t index) const {
        return Call<Method::DeleteValueByInd>(object, key, index);
    }
    /// Empties the current root, which itself stays.
    ResultCode Clean(HostObject* object) const { return Call<Method::Clean>(object); }
    ResultCode CopyKey(HostObject* object, KeyHandle key, HostObject* destination, KeyHandle destinationKey) const {
        return Call<Method::CopyKey>(object, key, destination, destinationKey);
    }
    ResultCode CopyKeyByName(HostObject* object, const char* path, HostObject* destination) const {
        return Call<Method::CopyKeyByName>(object, path, destination);
    }
    ResultCode SetRootKey(HostObject* object, KeyHandle key) const { return Call<Method::SetRootKey>(object, key); }
    ResultCode SetRootStr(HostObject* object, const char* path) const { return Call<Method::SetRootStr>(object, path); }

    /// Only through an object's own table.
    ResultCode Save(HostObject* object, HostWord unused) const { return Call<Method::Save>(object, unused); }

private:
    template <Method method, class... Arguments>
    ResultCode Call(HostObject* object, Arguments... arguments) const {
        using Function = ResultCode (*)(HostObject*, Arguments...);
        return SlotOf<Function>(table, static_cast<std::size_t>(method))(object, arguments...);
    }

    MethodTable table;
};

}   // namespace kernel
