/// The binary interface `Registry` as a module registers it: its number, its lifecycle handlers and its methods.
///
/// Every method takes the object first and returns a `ResultCode`. Out arguments may be null. Texts are 8-bit and
/// terminated. A read stores the needed bytes in `count`, also if the buffer is too short, which is `kBufferTooSmall`,
/// or null with size 0, which is a success. For a full name `count` excludes the terminator, which the buffer needs
/// too. An object whose property `Synchronised` is set does its own locking.
///
/// A path is names separated by `\` or by `/`; use one of them. In a path with both, a `\` before a `/` is part of a
/// name. An empty name ends the path: "a//b" is "a", and "/a" is the key where the path starts.
///
/// A handle is valid until its key is deleted or the object is destroyed. Only `OpenNextKey` (`kNoKeyThere`),
/// `SetRootKey` (`kNoSuchEntry`) and `GetKeyName` of a full name (`kUnspecified`) detect an invalid one, and not if a
/// new key has its address; the others read freed memory. `CloseKey` ignores its handle. The code for `kNoKey` is
/// `kNoKeyThere`; that of `OpenKeyByIndex`, `GetKeyNameByIndex` and `SetRootKey` is `kNoSuchEntry`.
#pragma once

#include <component/kernel/host_object.h>

namespace kernel {

inline constexpr HostWord kRegistryInterface = 13;
inline constexpr HostWord kRegistryModule = 0xA7FB;

/// Number of entries in the table of lifecycle handlers, and the entries that are used.
inline constexpr std::size_t kInternalSlots = 12;
inline constexpr std::size_t kObjectNewSlot = 1;
inline constexpr std::size_t kObjectReadySlot = 3;
inline constexpr std::size_t kObjectClosingSlot = 5;

using ObjectNewCall = ResultCode (*)(HostObject* object, std::uint32_t construct);
using LifecycleCall = ResultCode (*)(HostObject* object);

/// The reason argument with which a host calls the module's entry function. The system's loader uses 0 to 3.
inline constexpr std::uint32_t kHostStartReason = 100;

/// Slots of the method tables. `Save` is only in an object's own table; that slot of the registered table is null.
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

/// Typed calls through a method table: an object's own one, or the one that the module registered.
class Registry {
public:
    explicit Registry(MethodTable methods) : table(methods) {}
    explicit Registry(const HostObject* object) : table(object->MethodFace) {}

    /// A null `path` opens the parent itself. With `create` non-zero, missing keys are created; `kKeyCreated` means
    /// that the first key of the path was.
    ResultCode OpenKey(HostObject* object, KeyHandle* key, KeyHandle parent, const char* path,
                       std::uint32_t create) const {
        return Call<Method::OpenKey>(object, key, parent, path, create);
    }
    ResultCode OpenKeyByIndex(HostObject* object, KeyHandle* key, KeyHandle parent, std::uint32_t index) const {
        return Call<Method::OpenKeyByIndex>(object, key, parent, index);
    }
    /// Opens the next sibling of `key`; `kNoKeyThere` after the last.
    ResultCode OpenNextKey(HostObject* object, KeyHandle* next, KeyHandle key) const {
        return Call<Method::OpenNextKey>(object, next, key);
    }
    ResultCode CloseKey(HostObject* object, KeyHandle key) const { return Call<Method::CloseKey>(object, key); }
    /// With `full` non-zero, reads the path from the current root, and `count` excludes the terminator. Otherwise reads
    /// the key's name, and `count` includes it.
    ResultCode GetKeyName(HostObject* object, std::uint32_t* count, KeyHandle key, char* buffer, std::uint32_t size,
                          std::uint32_t full) const {
        return Call<Method::GetKeyName>(object, count, key, buffer, size, full);
    }
    ResultCode GetKeyNameByIndex(HostObject* object, std::uint32_t* count, KeyHandle parent, std::uint32_t index,
                                 char* buffer, std::uint32_t size, std::uint32_t full) const {
        return Call<Method::GetKeyNameByIndex>(object, count, parent, index, buffer, size, full);
    }
    /// With a null `type`, or 0 in it, reads the value in its own type and stores that type in `type`. Otherwise
    /// converts to `type`, except that a binary value of exactly `size` bytes is copied as it is.
    ///
    /// With `tSTRING_OBJ` in `type`, `buffer` is a `HostString`, which gets the value's text, and `count` gets 0. Pass
    /// `size` 0: with another size the exception above overwrites the `HostString` itself. With size 0 it applies to an
    /// empty binary value, which leaves the text as it was.
    ResultCode GetValue(HostObject* object, std::uint32_t* count, KeyHandle key, const char* name, TypeCode* type,
                        void* buffer, std::uint32_t size) const {
        return Call<Method::GetValue>(object, count, key, name, type, buffer, size);
    }
    ResultCode GetValueByIndex(HostObject* object, std::uint32_t* count, KeyHandle key, std::uint32_t index,
                               TypeCode* type, void* buffer, std::uint32_t size) const {
        return Call<Method::GetValueByIndex>(object, count, key, index, type, buffer, size);
    }
    /// After the last value: a success with `count` 0.
    ResultCode GetValueNameByIndex(HostObject* object, std::uint32_t* count, KeyHandle key, std::uint32_t index,
                                   char* buffer, std::uint32_t size) const {
        return Call<Method::GetValueNameByIndex>(object, count, key, index, buffer, size);
    }
    /// Changes a value; `data` is converted to the value's type, which never changes. With `create` non-zero, a missing
    /// value is created with `type`. The data of a `tSTRING_OBJ` is a `HostString`; `size` is ignored. It changes a
    /// value but doesn't create one: `kOutOfMemory`, as for every type that can't be stored.
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
    /// Deletes the key at `path` with all below it. `kInvalidArgument` for a null path and for one that leads to
    /// `parent` itself: empty, or with a separator in front. If the current root is in what is deleted, by this method
    /// or the next, the top key becomes the current root.
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
    /// Deletes all keys and values below the current root, but not the root itself.
    ResultCode Clean(HostObject* object) const { return Call<Method::Clean>(object); }
    /// Copies the values and subkeys of `key` into `destinationKey`. A value that exists there keeps its type, and the
    /// data is converted; what only the destination has stays. A failure ends the copy and leaves what it has copied. A
    /// success marks `object` as changed too. `kInvalidArgument` if `destination` is null, or if `destinationKey` is
    /// below `key` in the same object. A copy of a key into itself succeeds and changes no value.
    ///
    /// An object with `Synchronised` set mustn't be its own destination: a call that copies a value or a key never
    /// returns.
    ResultCode CopyKey(HostObject* object, KeyHandle key, HostObject* destination, KeyHandle destinationKey) const {
        return Call<Method::CopyKey>(object, key, destination, destinationKey);
    }
    /// The same for the key at `path`, which starts at the current root, into the current root of `destination`.
    ResultCode CopyKeyByName(HostObject* object, const char* path, HostObject* destination) const {
        return Call<Method::CopyKeyByName>(object, path, destination);
    }
    ResultCode SetRootKey(HostObject* object, KeyHandle key) const { return Call<Method::SetRootKey>(object, key); }
    ResultCode SetRootStr(HostObject* object, const char* path) const { return Call<Method::SetRootStr>(object, path); }

    /// Only through an object's own table. `unused` is ignored.
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
