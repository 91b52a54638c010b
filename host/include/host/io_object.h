/// Host objects that store a document for the module's property `IoObject`, instead of a file that the module opens
/// itself: `MemoryIo` in memory, `FileIo` in a file. Tests can make each operation fail.
/// An object is not thread-safe: one thread at a time may use it.
#pragma once

#include <component/kernel/io_object.h>

#include <filesystem>
#include <string>

namespace host {

class Kernel;

/// Base of both: the table that the module calls, and the injected failures.
class IoObject {
public:
    IoObject(const IoObject&) = delete;
    IoObject& operator=(const IoObject&) = delete;
    virtual ~IoObject() = default;

    /// The value for the property `IoObject`. This object owns it and must outlive every store that uses it.
    [[nodiscard]] kernel::HostObject* Get() { return &face.object; }

    /// Every later call of the operation does nothing and returns `code`; 0 ends that.
    void FailSize(kernel::ResultCode code) { sizeFailure = code; }
    void FailRead(kernel::ResultCode code) { readFailure = code; }
    void FailWrite(kernel::ResultCode code) { writeFailure = code; }
    /// A read returns at most `bytes` bytes, and still succeeds.
    void LimitReads(std::uint32_t bytes) { maxReadBytes = bytes; }

    /// Writes that were tried: all but those that `FailWrite` refused.
    [[nodiscard]] std::uint32_t WriteCount() const { return writes; }
    /// Calls that ended a sequence of writes.
    [[nodiscard]] std::uint32_t CompleteCount() const { return completions; }

protected:
    explicit IoObject(Kernel& kernel);

private:
    /// The object as the module sees it, followed by the pointer that leads the table's functions back to this class.
    struct Face {
        kernel::HostObject object;
        IoObject* self;
    };
    struct TableFunctions;

    virtual kernel::ResultCode Size(std::uint64_t& sizeBytes) = 0;
    /// Reads from the start of the document; `count` gets the bytes read.
    virtual kernel::ResultCode Read(std::uint32_t& count, void* buffer, std::uint32_t sizeBytes) = 0;
    /// Replaces the whole document.
    virtual kernel::ResultCode Write(const void* data, std::uint32_t sizeBytes) = 0;

    Face face;
    kernel::ResultCode sizeFailure = kernel::kDone;
    kernel::ResultCode readFailure = kernel::kDone;
    kernel::ResultCode writeFailure = kernel::kDone;
    std::uint32_t maxReadBytes = ~std::uint32_t{0};
    std::uint32_t writes = 0;
    std::uint32_t completions = 0;
};

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

/// A document in a file. A write creates a missing file. `kNoDocument` means that the file doesn't exist or can't be
/// opened for reading, `kMediaError` that reading or writing failed.
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
