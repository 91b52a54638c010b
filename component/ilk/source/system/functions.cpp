// Fills the tables of system functions by name.

#include <component/ilk/system/functions.h>

#include <bit>

namespace ilk {
namespace {

/// The function names of both tables, in the order of their fields.
constexpr const char* kNtNames[] = {
    "NtSuspendProcess",         "NtResumeProcess",          "NtQueryInformationProcess", "NtSetInformationProcess",
    "NtQueryInformationThread", "NtSetInformationThread",   "NtCompareTokens",           "NtQueryObject",
    "NtQueryInformationFile",   "NtQueryDirectoryFile",     "NtSetInformationFile",      "NtQuerySystemInformation",
    "RtlNtStatusToDosError",    "RtlCaptureStackBackTrace", "RtlAdjustPrivilege",
};

constexpr const char* kKernelNames[] = {
    "CancelIoEx",
    "GetTickCount64",
    "GetThreadDescription",
    "SetThreadDescription",
    "SetThreadStackGuarantee",
    "InitializeProcThreadAttributeList",
    "UpdateProcThreadAttribute",
    "DeleteProcThreadAttributeList",
    "GetFinalPathNameByHandleW",
    "GetLogicalProcessorInformation",
    "ReOpenFile",
};

/// Returns a table with the functions of `library` that have these names.
template <class Table, std::size_t kCount>
Table Bind(const char16_t* library, const char* const (&names)[kCount]) {
    struct Entries {
        void* functions[kCount];
    } entries;
    const Handle module = platform::GetModuleHandleW(library);
    for (std::size_t index = 0; index < kCount; ++index) {
        entries.functions[index] = platform::GetProcAddress(module, names[index]);
    }
    return std::bit_cast<Table>(entries);
}

}   // namespace

const NtFunctions& GetNtFunctions() {
    static const NtFunctions functions = Bind<NtFunctions>(u"ntdll.dll", kNtNames);
    return functions;
}

const KernelFunctions& GetKernelFunctions() {
    static const KernelFunctions functions = Bind<KernelFunctions>(u"kernel32.dll", kKernelNames);
    return functions;
}

namespace {

/// Fills both tables during static initialisation, on the loader's thread.
[[maybe_unused]] const struct FillAtLoad {
    FillAtLoad() {
        static_cast<void>(GetNtFunctions());
        static_cast<void>(GetKernelFunctions());
    }
} fillAtLoad;

}   // namespace
}   // namespace ilk
