/// Objects of the host that hold a document: in memory, or over a plain file. Their faults are for tests. The host's
/// threads share none of them.
#pragma once

#include <component/kernel/io_object.h>

#include <filesystem>
#include <string>

namespace host {

class Kernel;

class IoObject {
public:
    IoObject(const IoObject&) = delete;
    IoObject& operator=(const IoObject&) = delete;
    virtual ~IoObject() = default;

    /// What the property `IoObject` takes; stays this object's, which must outlive those that use it.
    [[nodiscard]] kernel::HostObject* Get() { return &face.object; }

    /// The next calls of the slot answer `code` and do nothing; 0 ends that.
    void FailSize(kernel::ResultCode code) { sizeFault = code; }
    void FailRead(kernel::ResultCode code) { readFault = code; }
    void FailWrite(kernel::ResultCode code) { writeFault = code; }
    /// Reads bring at most `bytes` bytes, and still succeed.
    void LimitReads(std::uint32_t bytes) { longestRead = bytes; }

    [[nodiscard]] std::uint32_t WriteCount() const { return writes; }
    [[nodiscard]] std::uint32_t CompleteCount() const { return completions; }

protected:
    explicit IoObject(Kernel& kernel);

private:
    /// What the module sees.
    struct Face {
        kernel::HostObject object;
        IoObject* self;
    };
    struct Slots;

    virtual kernel::ResultCode Size(std::uint64_t& sizeBytes) = 0;
    virtual kernel::ResultCode Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) = 0;
    /// Replaces the whole content.
    virtual kernel::ResultCode Write(const void* data, std::uint32_t sizeBytes) = 0;

    Face face;
    kernel::ResultCode sizeFault = kernel::kDone;
    kernel::ResultCode readFault = kernel::kDone;
    kernel::ResultCode writeFault = kernel::kDone;
    std::uint32_t longestRead = ~std::uint32_t{0};
    std::uint32_t writes = 0;
    std::uint32_t completions = 0;
};

/// A document in memory.
class MemoryIo : public IoObject {
public:
    explicit MemoryIo(Kernel& kernel, std::string document = {}) : IoObject(kernel), content(std::move(document)) {}

    [[nodiscard]] const std::string& Content() const { return content; }

private:
    kernel::ResultCode Size(std::uint64_t& sizeBytes) override;
    kernel::ResultCode Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) override;
    kernel::ResultCode Write(const void* data, std::uint32_t sizeBytes) override;

    std::string content;
};

/// A document in a file. A file that isn't there is `kNoDocument` to a reader and is made by a write; a file that can't
/// be read or written is `kMediaError`.
class FileIo : public IoObject {
public:
    FileIo(Kernel& kernel, std::filesystem::path file) : IoObject(kernel), path(std::move(file)) {}

private:
    kernel::ResultCode Size(std::uint64_t& sizeBytes) override;
    kernel::ResultCode Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) override;
    kernel::ResultCode Write(const void* data, std::uint32_t sizeBytes) override;

    std::filesystem::path path;
};

}   // namespace host
