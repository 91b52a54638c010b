#include <component/ilk/system/functions.h>

#include <gtest/gtest.h>

#include <bit>

namespace {

using NtEntries = std::array<void*, 15>;
using KernelEntries = std::array<void*, 11>;

/// The calls through two fields show that names and fields have the same order.
TEST(SystemFunctionsTest, FieldsHoldTheFunctionsOfTheirNames) {
    const platform::Handle nt = platform::GetModuleHandleW(u"ntdll.dll");
    const platform::Handle kernel = platform::GetModuleHandleW(u"kernel32.dll");
    const auto ntEntries = std::bit_cast<NtEntries>(ilk::GetNtFunctions());
    const auto kernelEntries = std::bit_cast<KernelEntries>(ilk::GetKernelFunctions());
    EXPECT_EQ(ntEntries[6], platform::GetProcAddress(nt, "NtCompareTokens"));
    EXPECT_EQ(ntEntries[13], platform::GetProcAddress(nt, "RtlCaptureStackBackTrace"));
    EXPECT_EQ(kernelEntries[2], platform::GetProcAddress(kernel, "GetThreadDescription"));
    EXPECT_EQ(kernelEntries[10], platform::GetProcAddress(kernel, "ReOpenFile"));

    void* frame = nullptr;
    ASSERT_NE(ilk::GetNtFunctions().RtlCaptureStackBackTrace, nullptr);
    EXPECT_EQ(ilk::GetNtFunctions().RtlCaptureStackBackTrace(0, 1, &frame, nullptr), 1);
    const std::uint64_t before = ilk::GetKernelFunctions().GetTickCount64();
    EXPECT_GE(ilk::GetKernelFunctions().GetTickCount64(), before);
}

}   // namespace
