// Construction, lifecycle calls and properties of an object, as the registered tables describe them.

#include <host/object.h>
#include <host/result_text.h>
#include <host/system.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace host {
namespace {

constexpr std::align_val_t kAlignment{16};
constexpr kernel::ResultCode kNoSuchProperty = kernel::MakeResult(0x80000180);

/// Flags of a property's row: where the value is, if neither in a field nor at a handler.
constexpr kernel::HostWord kConstant = 4;       // in `row.value` itself
constexpr kernel::HostWord kConstantText = 8;   // at the address in `row.value`

kernel::ResultCode CopyOut(const void* source, std::uint32_t needed, std::uint32_t* count, void* buffer,
                           std::uint32_t sizeBytes) {
    if (count != nullptr) *count = needed;
    if (buffer == nullptr) return sizeBytes == 0 ? kernel::kDone : kernel::kInvalidArgument;
    if (sizeBytes < needed) return kernel::kBufferTooSmall;
    std::memcpy(buffer, source, needed);
    return kernel::kDone;
}

const Registration& Registered(const Kernel& kernel) {
    if (kernel.LastRegistration() == nullptr) throw ModuleError("no module has registered the interface");
    return *kernel.LastRegistration();
}

}   // namespace

void Object::FreeMemory::operator()(Header* header) const { ::operator delete(header, kAlignment); }

Object::Object(Kernel& kernel) : registration(Registered(kernel)) {
    const std::size_t sizeBytes = sizeof(Header) + registration.dataAreaBytes;
    void* zeroed = std::memset(::operator new(sizeBytes, kAlignment), 0, sizeBytes);
    memory.reset(static_cast<Header*>(zeroed));
    const kernel::ResultCode code = CallObjectNew(1);
    if (kernel::IsFailure(code)) throw ModuleError("the module can't make an object: " + Describe(code));
    memory->object.SystemFace = kernel.Root()->SystemFace;   // the constructor has set a placeholder
}

Object::~Object() {
    if (ready && !closed) static_cast<void>(Close());   // a destructor can't report a failure
    static_cast<void>(CallObjectNew(0));
}

kernel::ResultCode Object::Ready() {
    ready = true;
    return CallLifecycle(kernel::kObjectReadySlot);
}

kernel::ResultCode Object::Close() {
    closed = true;
    return CallLifecycle(kernel::kObjectClosingSlot);
}

kernel::ResultCode Object::CallLifecycle(std::size_t slot) {
    return kernel::SlotOf<kernel::LifecycleCall>(registration.internal, slot)(Get());
}

kernel::ResultCode Object::CallObjectNew(std::uint32_t construct) {
    return kernel::SlotOf<kernel::ObjectNewCall>(registration.internal, kernel::kObjectNewSlot)(Get(), construct);
}

const kernel::PropertyRow* Object::FindRow(kernel::PropertyId id) const {
    const kernel::PropertyRow* end = registration.properties + registration.propertyCount;
    const kernel::PropertyRow* row = std::find_if(
        registration.properties, end, [id](const kernel::PropertyRow& candidate) { return candidate.id == id; });
    return row == end ? nullptr : row;
}

char* Object::Field(const kernel::PropertyRow& row) const {
    return reinterpret_cast<char*>(memory.get() + 1) + row.value;
}

kernel::ResultCode Object::GetProperty(kernel::PropertyId id, std::uint32_t* count, void* buffer,
                                       std::uint32_t sizeBytes) const {
    const kernel::PropertyRow* row = FindRow(id);
    if (row == nullptr) return kNoSuchProperty;
    if (row->readHandler != 0) {
        std::uint32_t ignored = 0;
        const auto handler = reinterpret_cast<kernel::PropertyHandler>(row->readHandler);
        return handler(Get(), count != nullptr ? count : &ignored, id, buffer, sizeBytes);
    }
    const void* source = Field(*row);
    if ((row->flags & kConstantText) != 0) {
        source = reinterpret_cast<const void*>(row->value);
    } else if ((row->flags & kConstant) != 0) {
        source = &row->value;
    }
    return CopyOut(source, static_cast<std::uint32_t>(row->size), count, buffer, sizeBytes);
}

kernel::ResultCode Object::SetProperty(kernel::PropertyId id, const void* data, std::uint32_t sizeBytes) {
    const kernel::PropertyRow* row = FindRow(id);
    if (row == nullptr) return kNoSuchProperty;
    if (row->writeHandler != 0) {
        std::uint32_t count = 0;
        const auto handler = reinterpret_cast<kernel::PropertyHandler>(row->writeHandler);
        // Handlers for reads and writes have the same type, whose buffer isn't const.
        return handler(Get(), &count, id, const_cast<void*>(data), sizeBytes);
    }
    if ((row->flags & kConstant) != 0) return kernel::kAccessDenied;
    if (data == nullptr || sizeBytes != row->size) return kernel::kInvalidArgument;
    std::memcpy(Field(*row), data, sizeBytes);
    return kernel::kDone;
}

std::uint32_t Object::Number(kernel::PropertyId id) const {
    std::uint32_t number = 0;
    return kernel::IsSuccess(GetProperty(id, nullptr, &number, sizeof number)) ? number : 0;
}

kernel::ResultCode Object::SetNumber(kernel::PropertyId id, std::uint32_t number) {
    const kernel::PropertyRow* row = FindRow(id);
    if (row == nullptr) return kNoSuchProperty;
    if (row->size > sizeof number) return kernel::kInvalidArgument;
    // The low bytes come first on a little-endian machine, so a shorter property gets them.
    return SetProperty(id, &number, static_cast<std::uint32_t>(row->size));
}

std::u16string Object::Name() const {
    std::uint32_t bytes = 0;
    static_cast<void>(GetProperty(kernel::PropertyName, &bytes, nullptr, 0));   // queries the size only
    std::u16string name(bytes / sizeof(char16_t), u'\0');
    if (kernel::IsFailure(GetProperty(kernel::PropertyName, &bytes, name.data(), bytes)) || name.empty()) return {};
    name.pop_back();
    return name;
}

kernel::ResultCode Object::SetName(std::u16string_view name) {
    const std::u16string terminated(name);
    return SetProperty(kernel::PropertyName, terminated.c_str(),
                       static_cast<std::uint32_t>((terminated.size() + 1) * sizeof(char16_t)));
}

kernel::ResultCode Object::SetDocument(const std::filesystem::path& path) { return SetName(DocumentName(path)); }

kernel::ResultCode Object::SetRootPoint(std::string_view path) {
    return SetProperty(kernel::PropertyRootPoint, path.data(), static_cast<std::uint32_t>(path.size()));
}

kernel::ResultCode Object::SetIoObject(kernel::HostObject* io) {
    const auto address = reinterpret_cast<kernel::HostWord>(io);
    return SetProperty(kernel::PropertyIoObject, &address, sizeof address);
}

}   // namespace host
