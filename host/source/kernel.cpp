// The root object's functions, as the module calls them, and the start of a module.

#include <host/kernel.h>
#include <host/result_text.h>
#include <host/text.h>

#include <array>
#include <new>
#include <numeric>
#include <utility>

namespace host {
namespace {

/// The process's kernel, for the functions to which the module passes no root object.
std::atomic<Kernel*> active{nullptr};

}   // namespace

/// The functions of the two tables, and those that the module binds. No exception leaves them.
struct Kernel::TableFunctions {
    /// The active kernel if `face` is the `SystemFace` of one of its objects, else null.
    static Kernel* ActiveKernelFor(const kernel::MethodTable* face) {
        Kernel* host = active.load();
        return face != nullptr && *face == host->root.object.SystemFace ? host : nullptr;
    }

    static kernel::ResultCode Alloc(const kernel::MethodTable* face, void** block, std::uint32_t bytes) {
        Kernel* host = ActiveKernelFor(face);
        return host != nullptr ? host->memory.Allocate(block, bytes) : kernel::kInvalidArgument;
    }

    static kernel::ResultCode Realloc(const kernel::MethodTable* face, void** block, void* old, std::uint32_t bytes) {
        Kernel* host = ActiveKernelFor(face);
        return host != nullptr ? host->memory.Reallocate(block, old, bytes) : kernel::kInvalidArgument;
    }

    static void Free(const kernel::MethodTable* face, void* block) {
        if (Kernel* host = ActiveKernelFor(face); host != nullptr) host->memory.Free(block);
    }

    static kernel::ResultCode NotSupported() { return kNotSupported; }

    static kernel::ResultCode RegisterInterface(kernel::HostObject* object, kernel::HostWord interfaceNumber,
                                                kernel::HostWord moduleNumber, kernel::HostWord fourth,
                                                kernel::HostWord fifth, kernel::HostWord sixth, void* const* internal,
                                                kernel::HostWord internalCount, void* const* methods,
                                                kernel::HostWord methodCount, const kernel::PropertyRow* properties,
                                                kernel::HostWord propertyCount, kernel::HostWord dataAreaBytes,
                                                kernel::HostWord last) {
        return reinterpret_cast<RootObject*>(object)->self->Register({interfaceNumber,
                                                                      moduleNumber,
                                                                      {fourth, fifth, sixth},
                                                                      internal,
                                                                      internalCount,
                                                                      methods,
                                                                      methodCount,
                                                                      properties,
                                                                      propertyCount,
                                                                      dataAreaBytes,
                                                                      last});
    }

    struct Import {
        std::uint32_t kind;
        std::uint32_t number;
        std::uint32_t mode;
        void* function;
    };

    static kernel::ResultCode BindImport(kernel::HostObject* object, void** function, std::uint32_t kind,
                                         std::uint32_t number, std::uint32_t mode) {
        static const Import imports[] = {
            {kernel::kTraceImportKind, kernel::kTraceImportNumber, kernel::kTraceImportMode,
             reinterpret_cast<void*>(&Trace)},
            {kernel::kTextImportKind, kernel::kTextImportNumber, kernel::kTextImportMode,
             reinterpret_cast<void*>(&ImportHostText)},
        };
        if (function == nullptr) return kernel::kInvalidArgument;
        if (!reinterpret_cast<RootObject*>(object)->self->offerImports) return kNotSupported;
        for (const Import& import : imports) {
            if (import.kind != kind || import.number != number || import.mode != mode) continue;
            *function = import.function;
            return kernel::kDone;
        }
        return kNotSupported;
    }

    static kernel::ResultCode Trace(const kernel::HostObject* object, std::uint32_t level, const char* format,
                                    std::va_list arguments) {
        return active.load()->WriteLine(object, level, format, arguments);
    }

    static kernel::ResultCode ImportHostText(kernel::HostString* text, std::uint32_t from, std::uint32_t count,
                                             const void* source, std::uint32_t sizeBytes, std::uint32_t codePage) {
        return ImportText(active.load()->memory, text, from, count, source, sizeBytes, codePage);
    }

    static kernel::MethodTable RootTable() {
        static const auto table = [] {
            std::array<void*, kernel::kBindImportSlot + 1> slots;
            slots.fill(reinterpret_cast<void*>(&NotSupported));
            slots[kernel::kRegisterInterfaceSlot] = reinterpret_cast<void*>(&RegisterInterface);
            slots[kernel::kBindImportSlot] = reinterpret_cast<void*>(&BindImport);
            return slots;
        }();
        return table.data();
    }

    static kernel::MethodTable SystemTable() {
        static const auto table = [] {
            std::array<void*, kernel::kSystemSlots> slots;
            slots.fill(reinterpret_cast<void*>(&NotSupported));
            slots[kernel::kHostAllocSlot] = reinterpret_cast<void*>(&Alloc);
            slots[kernel::kHostReallocSlot] = reinterpret_cast<void*>(&Realloc);
            slots[kernel::kHostFreeSlot] = reinterpret_cast<void*>(&Free);
            return slots;
        }();
        return table.data();
    }
};

Kernel::Kernel(KernelOptions options)
    : memory(options.blocks),
      traceLevel(options.traceLevel),
      traceSink(std::move(options.traceSink)),
      offerImports(options.offerImports),
      root{{TableFunctions::RootTable(), TableFunctions::SystemTable()}, this} {
    Kernel* none = nullptr;
    if (!active.compare_exchange_strong(none, this)) throw std::logic_error("a process has one host kernel at a time");
}

Kernel::~Kernel() {
    file.reset();   // while the kernel still serves calls that the module makes during its unloading
    active.store(nullptr);
}

void Kernel::LoadModule(const std::filesystem::path& path) {
    auto loaded = std::make_unique<ModuleFile>(path);
    Start(loaded->Entry());
    file = std::move(loaded);
}

void Kernel::Start(const EntryPoint& entry) {
    const std::uint32_t before = registrationCount;
    kernel::ResultCode code = kernel::kUnexpected;
    const int started = entry(&root, kernel::kHostStartReason, &code);
    if (kernel::IsFailure(code)) throw ModuleError("the module didn't start: " + Describe(code));
    if (started == 0) throw ModuleError("the module didn't start: its entry point returned 0");
    if (registrationCount == before) throw ModuleError("the module didn't start: it registered no interface");
}

kernel::ResultCode Kernel::Register(const Registration& candidate) {
    if (kernel::IsFailure(registrationResult)) return registrationResult;
    if (candidate.interfaceNumber != kernel::kRegistryInterface) return kNotSupported;
    if (candidate.internal == nullptr || candidate.internalCount != kernel::kInternalSlots ||
        candidate.methods == nullptr || candidate.methodCount != kernel::kRegistryMethods ||
        candidate.properties == nullptr) {
        return kernel::kInvalidArgument;
    }
    registration = candidate;
    ++registrationCount;
    return registrationResult;
}

kernel::ResultCode Kernel::WriteLine(const kernel::HostObject* object, std::uint32_t level, const char* format,
                                     std::va_list arguments) {
    if (format == nullptr) return kernel::kInvalidArgument;
    if (level > traceLevel.load(std::memory_order_relaxed)) return kernel::kDone;
    try {
        TraceLine line{level, FormatTrace(format, arguments), object};
        const std::scoped_lock lock(traceMutex);
        if (traceSink) {
            traceSink(line);
        } else {
            lines.push_back(std::move(line));
        }
        return kernel::kDone;
    } catch (const std::bad_alloc&) {
        return kernel::kOutOfMemory;
    } catch (...) {
        return kernel::kUnexpected;
    }
}

std::vector<TraceLine> Kernel::DrainTraceLines() {
    const std::scoped_lock lock(traceMutex);
    return std::exchange(lines, {});
}

std::string Kernel::LeakReport() const {
    const std::vector<LiveBlock> leaks = memory.Leaks();
    std::string report = Counted(memory.LiveBlocks(), "block") + " of host memory not freed, ";
    if (memory.TracksEachBlock()) {
        const auto add = [](std::uint64_t sum, const LiveBlock& block) { return sum + block.sizeBytes; };
        report += Counted(std::accumulate(leaks.begin(), leaks.end(), std::uint64_t{0}, add), "byte") + ", ";
    }
    report += "after " + Counted(memory.Requests(), "request") + '\n';
    for (const LiveBlock& block : leaks) {
        report += "  request " + std::to_string(block.request) + ": " + Counted(block.sizeBytes, "byte") + '\n';
    }
    return report;
}

}   // namespace host
