/// One object of the interface `Registry`: allocates its memory, calls its lifecycle functions and accesses its
/// properties, as a host does.
///
/// Order of use: construct, set properties, `Ready` (loads the document), call methods, `Close` or destroy. The
/// functions of this class are for one thread at a time. The object's methods are too, unless its property
/// `Synchronised` is set.
#pragma once

#include <component/kernel/interface.h>
#include <component/kernel/properties.h>

#include <host/kernel.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace host {

class Object {
public:
    /// Constructs an object of the interface that the kernel's module registered. Throws `ModuleError` if it registered
    /// none or the construction fails.
    explicit Object(Kernel& kernel);
    /// Calls `Close` if `Ready` was called and `Close` wasn't; then destroys the object.
    ~Object();
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    /// Loads the document and returns the load's result code. May be called once.
    kernel::ResultCode Ready();
    /// Saves the document if the property `SaveOnClose` is set. The result code doesn't include a failure of the save.
    kernel::ResultCode Close();

    /// The 22 methods that the module registered for callers.
    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(registration.methods); }
    /// The methods of the object's own table, which also has `Save`.
    [[nodiscard]] kernel::Registry OwnMethods() const { return kernel::Registry(Get()); }
    /// The first argument of every method.
    [[nodiscard]] kernel::HostObject* Get() const { return &memory->object; }

    /// Reads a property as its row of the registered table says: a constant, a field of the object, or the result of a
    /// handler. `count`, which may be null, gets the property's size in bytes even if the buffer is too small; a null
    /// buffer of size 0 only queries the size.
    kernel::ResultCode GetProperty(kernel::PropertyId id, std::uint32_t* count, void* buffer,
                                   std::uint32_t sizeBytes) const;
    /// Writes a property. `kAccessDenied` for a constant, `kInvalidArgument` for a field if `sizeBytes` isn't its size.
    kernel::ResultCode SetProperty(kernel::PropertyId id, const void* data, std::uint32_t sizeBytes);

    /// The value of a property of up to 4 bytes; 0 if it can't be read.
    [[nodiscard]] std::uint32_t Number(kernel::PropertyId id) const;
    kernel::ResultCode SetNumber(kernel::PropertyId id, std::uint32_t number);

    /// The property `Name`: the document's path as it was set.
    [[nodiscard]] std::u16string Name() const;
    kernel::ResultCode SetName(std::u16string_view name);
    /// Sets `Name` to `DocumentName(path)`. Throws `PathError` if `Name` can't hold the path.
    kernel::ResultCode SetDocument(const std::filesystem::path& path);
    kernel::ResultCode SetRootPoint(std::string_view path);
    kernel::ResultCode SetIoObject(kernel::HostObject* io);

private:
    /// The start of an object's memory; the module's data area follows.
    struct Header {
        kernel::HostObject object;
        kernel::HostWord hostWord;
    };
    struct FreeMemory {
        void operator()(Header* header) const;
    };

    [[nodiscard]] const kernel::PropertyRow* FindRow(kernel::PropertyId id) const;
    [[nodiscard]] char* Field(const kernel::PropertyRow& row) const;
    kernel::ResultCode CallLifecycle(std::size_t slot);
    /// Constructs the object if `construct` is 1, destroys it if 0.
    kernel::ResultCode CallObjectNew(std::uint32_t construct);

    Registration registration;
    std::unique_ptr<Header, FreeMemory> memory;
    bool ready = false;
    bool closed = false;
};

}   // namespace host
