/// Two tables of system functions that are looked up by name, because some versions of the system lack them. An entry
/// is null if its function is missing; callers check for that. Both tables are filled during static initialisation, or
/// by the first call that needs them if that is earlier, and never change: they need no lock.
#pragma once

#include <component/platform/modules.h>

namespace ilk {

using platform::Handle;
using platform::SystemFunction;

/// Parameters of system types that this project doesn't define are `void*`.
struct NtFunctions {
    SystemFunction<std::int32_t(Handle process)> NtSuspendProcess;
    SystemFunction<std::int32_t(Handle process)> NtResumeProcess;
    SystemFunction<std::int32_t(Handle process, std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes,
                                std::uint32_t* neededBytes)>
        NtQueryInformationProcess;
    SystemFunction<std::int32_t(Handle process, std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes)>
        NtSetInformationProcess;
    SystemFunction<std::int32_t(Handle thread, std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes,
                                std::uint32_t* neededBytes)>
        NtQueryInformationThread;
    SystemFunction<std::int32_t(Handle thread, std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes)>
        NtSetInformationThread;
    SystemFunction<std::int32_t(Handle first, Handle second, std::uint8_t* equal)> NtCompareTokens;
    SystemFunction<std::int32_t(Handle object, std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes,
                                std::uint32_t* neededBytes)>
        NtQueryObject;
    SystemFunction<std::int32_t(Handle file, void* status, void* buffer, std::uint32_t sizeBytes,
                                std::int32_t infoClass)>
        NtQueryInformationFile;
    SystemFunction<std::int32_t(Handle file, Handle event, void* routine, void* context, void* status, void* buffer,
                                std::uint32_t sizeBytes, std::int32_t infoClass, std::uint8_t single, void* name,
                                std::uint8_t restart)>
        NtQueryDirectoryFile;
    SystemFunction<std::int32_t(Handle file, void* status, void* buffer, std::uint32_t sizeBytes,
                                std::int32_t infoClass)>
        NtSetInformationFile;
    SystemFunction<std::int32_t(std::int32_t infoClass, void* buffer, std::uint32_t sizeBytes,
                                std::uint32_t* neededBytes)>
        NtQuerySystemInformation;
    SystemFunction<std::uint32_t(std::int32_t status)> RtlNtStatusToDosError;
    platform::CaptureStackBackTrace RtlCaptureStackBackTrace;
    SystemFunction<std::int32_t(std::uint32_t privilege, std::uint8_t enable, std::uint8_t ofThread,
                                std::uint8_t* wasEnabled)>
        RtlAdjustPrivilege;
};

struct KernelFunctions {
    SystemFunction<std::int32_t(Handle file, void* overlapped)> CancelIoEx;
    SystemFunction<std::uint64_t()> GetTickCount64;
    SystemFunction<std::int32_t(Handle thread, char16_t** description)> GetThreadDescription;
    SystemFunction<std::int32_t(Handle thread, const char16_t* description)> SetThreadDescription;
    SystemFunction<std::int32_t(std::uint32_t* sizeBytes)> SetThreadStackGuarantee;
    SystemFunction<std::int32_t(void* list, std::uint32_t count, std::uint32_t flags, std::size_t* sizeBytes)>
        InitializeProcThreadAttributeList;
    SystemFunction<std::int32_t(void* list, std::uint32_t flags, std::uintptr_t attribute, void* value,
                                std::size_t sizeBytes, void* previous, std::size_t* returnedBytes)>
        UpdateProcThreadAttribute;
    SystemFunction<void(void* list)> DeleteProcThreadAttributeList;
    SystemFunction<std::uint32_t(Handle file, char16_t* path, std::uint32_t sizeChars, std::uint32_t flags)>
        GetFinalPathNameByHandleW;
    SystemFunction<std::int32_t(void* buffer, std::uint32_t* sizeBytes)> GetLogicalProcessorInformation;
    SystemFunction<Handle(Handle file, std::uint32_t access, std::uint32_t share, std::uint32_t flags)> ReOpenFile;
};

/// Returns the functions of "ntdll.dll".
[[nodiscard]] const NtFunctions& GetNtFunctions();

/// Returns the functions of "kernel32.dll".
[[nodiscard]] const KernelFunctions& GetKernelFunctions();

}   // namespace ilk
