// The function table of an `IoObject`, and its documents in memory and in a file.

#include <host/io_object.h>
#include <host/kernel.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <new>

namespace host {

/// The functions of the table that the module calls. They catch every exception: none may cross into the module.
struct IoObject::TableFunctions {
    static IoObject& Of(kernel::HostObject* io) { return *reinterpret_cast<Face*>(io)->self; }

    static kernel::ResultCode Read(kernel::HostObject* io, std::uint32_t* count, kernel::HostWord, kernel::HostWord,
                                   void* buffer, std::uint32_t size) {
        IoObject& self = Of(io);
        if (count == nullptr || buffer == nullptr) return kernel::kInvalidArgument;
        *count = 0;
        if (kernel::IsFailure(self.readFailure)) return self.readFailure;
        return CatchAll([&] { return self.Read(*count, buffer, std::min(size, self.maxReadBytes)); });
    }

    static kernel::ResultCode Write(kernel::HostObject* io, kernel::HostWord, kernel::HostWord, kernel::HostWord,
                                    const void* data, std::uint32_t size) {
        IoObject& self = Of(io);
        if (data == nullptr) return kernel::kInvalidArgument;
        if (kernel::IsFailure(self.writeFailure)) return self.writeFailure;
        ++self.writes;
        return CatchAll([&] { return self.Write(data, size); });
    }

    static kernel::ResultCode Size(kernel::HostObject* io, std::uint64_t* size, kernel::HostWord) {
        IoObject& self = Of(io);
        if (size == nullptr) return kernel::kInvalidArgument;
        if (kernel::IsFailure(self.sizeFailure)) return self.sizeFailure;
        return CatchAll([&] { return self.Size(*size); });
    }

    static kernel::ResultCode NotSupported() { return kNotSupported; }

    static kernel::ResultCode Complete(kernel::HostObject* io) {
        ++Of(io).completions;
        return kernel::kDone;
    }

    template <class Work>
    static kernel::ResultCode CatchAll(Work work) {
        try {
            return work();
        } catch (const std::bad_alloc&) {
            return kernel::kOutOfMemory;
        } catch (...) {
            return kernel::kUnexpected;
        }
    }

    static kernel::MethodTable Table() {
        static void* const table[] = {
            reinterpret_cast<void*>(&Read),           // kIoReadSlot
            reinterpret_cast<void*>(&Write),          // kIoWriteSlot
            reinterpret_cast<void*>(&Size),           // kIoSizeSlot
            reinterpret_cast<void*>(&NotSupported),   // 3, which the contract leaves unused
            reinterpret_cast<void*>(&Complete),       // kIoCompleteSlot
        };
        return table;
    }
};

IoObject::IoObject(Kernel& kernel) : face{{TableFunctions::Table(), kernel.Root()->SystemFace}, this} {}

kernel::ResultCode MemoryIo::Size(std::uint64_t& sizeBytes) {
    sizeBytes = content.size();
    return kernel::kDone;
}

kernel::ResultCode MemoryIo::Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) {
    count = static_cast<std::uint32_t>(content.copy(static_cast<char*>(buffer), sizeBytes));
    return kernel::kDone;
}

kernel::ResultCode MemoryIo::Write(const void* data, std::uint32_t sizeBytes) {
    content.assign(static_cast<const char*>(data), sizeBytes);
    return kernel::kDone;
}

kernel::ResultCode FileIo::Size(std::uint64_t& sizeBytes) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return kernel::kNoDocument;
    sizeBytes = std::filesystem::file_size(path, error);
    return error ? kernel::kMediaError : kernel::kDone;
}

kernel::ResultCode FileIo::Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return kernel::kNoDocument;
    file.read(static_cast<char*>(buffer), static_cast<std::streamsize>(sizeBytes));
    count = static_cast<std::uint32_t>(file.gcount());
    return file.bad() ? kernel::kMediaError : kernel::kDone;
}

kernel::ResultCode FileIo::Write(const void* data, std::uint32_t sizeBytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(static_cast<const char*>(data), static_cast<std::streamsize>(sizeBytes));
    file.close();
    return file ? kernel::kDone : kernel::kMediaError;
}

}   // namespace host
