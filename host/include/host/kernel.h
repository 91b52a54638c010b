/// The root object of the stand-in host: starts a module, stores what the module registers, and provides it with
/// memory, trace output and text conversion.
///
/// A process has at most one kernel at a time, because a call of the trace function doesn't say which kernel it is for.
/// Objects and texts must be destroyed before their kernel. Memory and traces may be used by all threads, everything
/// else by the thread that owns the kernel.
#pragma once

#include <component/kernel/interface.h>

#include <host/memory.h>
#include <host/module_file.h>
#include <host/trace.h>

#include <memory>
#include <vector>

namespace host {

/// What the host returns for a slot, an interface or a function that it doesn't have.
inline constexpr kernel::ResultCode kNotSupported = kernel::MakeResult(0x80000042);

struct KernelOptions {
    std::uint32_t traceLevel = 0;   // lines of a higher level are discarded without being formatted
    TraceSink traceSink{};          // receives the lines; without a sink the kernel stores them for `DrainTraceLines`
    BlockTracking blocks = BlockTracking::Count;
    bool offerImports = true;   // false: the module finds neither the trace function nor the text import
};

/// The arguments of a module's call of `RegisterInterface`, in their order. The module owns the tables.
struct Registration {
    kernel::HostWord interfaceNumber;
    kernel::HostWord moduleNumber;
    kernel::HostWord constants[3];   // the same for every module
    void* const* internal;
    kernel::HostWord internalCount;
    void* const* methods;
    kernel::HostWord methodCount;
    const kernel::PropertyRow* properties;
    kernel::HostWord propertyCount;
    kernel::HostWord dataAreaBytes;
    kernel::HostWord lastConstant;
};

class Kernel {
public:
    /// Throws `std::logic_error` if another kernel exists.
    explicit Kernel(KernelOptions options = {});
    ~Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

    /// Loads a module's file and starts it; the kernel's destructor unloads it. Throws `ModuleError`.
    void LoadModule(const std::filesystem::path& path);

    /// Starts a module that is already in the process. Throws `ModuleError` if the entry point fails or registers
    /// nothing.
    void Start(const EntryPoint& entry);

    [[nodiscard]] kernel::HostObject* Root() { return &root.object; }

    /// The most recent registration, or null if there is none.
    [[nodiscard]] const Registration* LastRegistration() const {
        return registrationCount == 0 ? nullptr : &registration;
    }
    [[nodiscard]] std::uint32_t RegistrationCount() const { return registrationCount; }
    /// Makes `RegisterInterface` return `code` from now on. A failure discards the registration.
    void SetRegistrationResult(kernel::ResultCode code) { registrationResult = code; }

    [[nodiscard]] Memory& HostMemory() { return memory; }
    void FailAllocation(std::size_t nth, FailureMode mode = FailureMode::Once) { memory.FailAllocation(nth, mode); }
    [[nodiscard]] bool AllocationFailed() const { return memory.AllocationFailed(); }
    [[nodiscard]] std::size_t LiveBlocks() const { return memory.LiveBlocks(); }

    /// The number of live blocks in one line, followed by a line for each block if each block is tracked.
    [[nodiscard]] std::string LeakReport() const;

    void SetTraceLevel(std::uint32_t level) { traceLevel.store(level, std::memory_order_relaxed); }
    /// Returns the stored lines and clears the store. Always empty with a trace sink.
    [[nodiscard]] std::vector<TraceLine> DrainTraceLines();

private:
    struct TableFunctions;
    /// The root object as the module sees it, followed by the pointer that leads the table's functions back to this
    /// class.
    struct RootObject {
        kernel::HostObject object;
        Kernel* self;
    };

    kernel::ResultCode Register(const Registration& candidate);
    kernel::ResultCode WriteLine(const kernel::HostObject* object, std::uint32_t level, const char* format,
                                 std::va_list arguments);

    Memory memory;
    std::atomic<std::uint32_t> traceLevel;
    TraceSink traceSink;
    std::mutex traceMutex;
    std::vector<TraceLine> lines;
    const bool offerImports;
    RootObject root;
    Registration registration{};
    std::uint32_t registrationCount = 0;
    kernel::ResultCode registrationResult = kernel::kDone;
    std::unique_ptr<ModuleFile> file;
};

}   // namespace host
