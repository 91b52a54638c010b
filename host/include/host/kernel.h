/// The root of the stand-in host: starts a module, keeps what it registers, and offers it memory, traces and text.
///
/// One kernel lives in a process at a time: the module's traces don't say whose they are. Objects and texts of a kernel
/// end before it does. Memory and traces are for all threads; the rest is for the thread that holds the kernel.
#pragma once

#include <component/kernel/interface.h>

#include <host/memory.h>
#include <host/module_file.h>
#include <host/trace.h>

#include <memory>
#include <vector>

namespace host {

/// The answer of what the host doesn't have.
inline constexpr kernel::ResultCode kNotSupported = kernel::MakeResult(0x80000042);

struct KernelOptions {
    std::uint32_t traceLevel = 0;   // lines of a higher level are dropped unformatted
    TraceSink traceSink{};          // takes the lines; without one they are kept
    BlockTracking blocks = BlockTracking::Count;
    bool offerImports = true;   // false: no function can be bound
};

/// What a module handed over in its one registration.
struct Registration {
    kernel::HostWord interfaceNumber;
    kernel::HostWord moduleNumber;
    kernel::HostWord fixed[3];
    void* const* internal;
    kernel::HostWord internalCount;
    void* const* methods;
    kernel::HostWord methodCount;
    const kernel::PropertyRow* properties;
    kernel::HostWord propertyCount;
    kernel::HostWord dataAreaBytes;
    kernel::HostWord last;
};

class Kernel {
public:
    /// Throws `std::logic_error` while another kernel lives.
    explicit Kernel(KernelOptions options = {});
    ~Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

    /// Loads a module's file, to stay loaded as long as the kernel lives, and starts it. Throws `ModuleError`.
    void LoadModule(const std::filesystem::path& path);

    /// Starts a module that is in the process already. Throws `ModuleError` if the entry or its registration fails.
    void Start(const EntryPoint& entry);

    [[nodiscard]] kernel::HostObject* Root() { return &root.object; }

    /// What the module registered, or null. Every registration counts, and the last one holds.
    [[nodiscard]] const Registration* Interface() const { return registrations == 0 ? nullptr : &registration; }
    [[nodiscard]] std::uint32_t RegistrationCount() const { return registrations; }
    /// `RegisterInterface` answers `code` from now on, and keeps what it is given only on a success.
    void SetRegistrationResult(kernel::ResultCode code) { registrationAnswer = code; }

    [[nodiscard]] Memory& HostMemory() { return memory; }
    void FailAllocation(std::size_t nth, FailureMode mode = FailureMode::Once) { memory.FailAllocation(nth, mode); }
    [[nodiscard]] bool AllocationFailed() const { return memory.AllocationFailed(); }
    [[nodiscard]] std::size_t LiveBlocks() const { return memory.LiveBlocks(); }

    /// One line on what was never given back, and one for each block if they are watched. Means nothing on a heap that
    /// isn't watched.
    [[nodiscard]] std::string LeakReport() const;

    void SetTraceLevel(std::uint32_t level) { traceLevel.store(level, std::memory_order_relaxed); }
    /// The lines kept so far, which are dropped from here.
    [[nodiscard]] std::vector<TraceLine> DrainTraceLines();

private:
    struct Slots;
    /// What the module sees.
    struct Face {
        kernel::HostObject object;
        Kernel* self;
    };

    kernel::ResultCode Register(const Registration& offered);
    kernel::ResultCode WriteLine(const kernel::HostObject* object, std::uint32_t level, const char* format,
                                 std::va_list arguments);

    Memory memory;
    std::atomic<std::uint32_t> traceLevel;
    TraceSink traceSink;
    std::mutex traceMutex;
    std::vector<TraceLine> lines;
    const bool offerImports;
    Face root;
    Registration registration{};
    std::uint32_t registrations = 0;
    kernel::ResultCode registrationAnswer = kernel::kDone;
    std::unique_ptr<ModuleFile> file;
};

}   // namespace host
