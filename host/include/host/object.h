/// One object of the interface `Registry`, with the memory and the lifecycle that the host owes it.
///
/// Built here means that properties can be set; `Ready` loads the document and opens the interface. The lifecycle is
/// for one thread; the methods are for as many as the object allows.
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
    /// Builds an object of what the kernel's module registered. Throws `ModuleError` if there is nothing or the
    /// construction fails.
    explicit Object(Kernel& kernel);
    /// Closes the object if `Ready` was called and `Close` wasn't, and destroys it.
    ~Object();
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    /// Returns the code of the load. Once.
    kernel::ResultCode Ready();
    /// Saves if `SaveOnClose` is set; the code doesn't tell how that went.
    kernel::ResultCode Close();

    /// What callers of the host use: the methods that the module registered.
    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(registration.methods); }
    /// The object's own table, which has `Save` too.
    [[nodiscard]] kernel::Registry OwnMethods() const { return kernel::Registry(Get()); }
    /// The object as methods take it.
    [[nodiscard]] kernel::HostObject* Get() const { return &memory->object; }

    /// Reads by the row of the table with this id: the constant, the field, or what the handler says. `count` gets the
    /// size, also where the buffer is too small; a null buffer with size 0 measures.
    kernel::ResultCode GetProperty(kernel::PropertyId id, std::uint32_t* count, void* buffer,
                                   std::uint32_t sizeBytes) const;
    /// Writes by the row of the table with this id. A constant is `kAccessDenied`; a field takes its own size only.
    kernel::ResultCode SetProperty(kernel::PropertyId id, const void* data, std::uint32_t sizeBytes);

    /// A number of the property's width; 0 if it can't be read.
    [[nodiscard]] std::uint32_t Number(kernel::PropertyId id) const;
    kernel::ResultCode SetNumber(kernel::PropertyId id, std::uint32_t number);

    /// The document's path, as it was set.
    [[nodiscard]] std::u16string Name() const;
    kernel::ResultCode SetName(std::u16string_view name);
    /// Sets the name to the form of `path` that the module takes. Throws `PathError` if it has none.
    kernel::ResultCode SetDocument(const std::filesystem::path& path);
    kernel::ResultCode SetRootPoint(std::string_view path);
    kernel::ResultCode SetIoObject(kernel::HostObject* io);

private:
    /// The header that stands before the data area.
    struct Header {
        kernel::HostObject object;
        kernel::HostWord hostWord;
    };
    struct FreeMemory {
        void operator()(Header* header) const;
    };

    [[nodiscard]] const kernel::PropertyRow* FindRow(kernel::PropertyId id) const;
    [[nodiscard]] char* Field(const kernel::PropertyRow& row) const;
    kernel::ResultCode Lifecycle(std::size_t slot);
    kernel::ResultCode New(std::uint32_t construct);

    Registration registration;
    std::unique_ptr<Header, FreeMemory> memory;
    bool ready = false;
    bool closed = false;
};

}   // namespace host
