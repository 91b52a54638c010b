#include <component/platform/modules.h>

#include <component/platform/errors.h>
#include <component/platform/faults.h>

#include "open_handle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::uint32_t kByAddress = platform::kModuleUnchangedRefcount | platform::kModuleFromAddress;

const char anchor = 0;   // an address in the program's own image

platform::Handle OwnImage() {
    platform::Handle image = nullptr;
    EXPECT_TRUE(platform::GetModuleHandleExA(kByAddress, &anchor, &image));
    return image;
}

TEST(ModulesTest, AddressLeadsToTheImageThatHoldsIt) {
    const platform::Handle image = OwnImage();
    EXPECT_LT(image, static_cast<const void*>(&anchor));
    const int local = 0;
    platform::Handle none = image;
    EXPECT_FALSE(platform::GetModuleHandleExA(kByAddress, &local, &none));
    EXPECT_EQ(platform::GetLastError(), platform::kErrorModuleNotFound);
}

TEST(ModulesTest, NamesLeadToFunctionsOrNull) {
    const platform::Handle kernel = platform::GetModuleHandleW(u"kernel32.dll");
    ASSERT_NE(kernel, nullptr);
    EXPECT_EQ(platform::GetModuleHandleW(u"no such library.dll"), nullptr);
    EXPECT_NE(platform::GetProcAddress(kernel, "GetTickCount64"), nullptr);
    EXPECT_EQ(platform::GetProcAddress(kernel, "NoSuchFunction"), nullptr);
}

platform::CaptureStackBackTrace StackCapture() {
    void* const function =
        platform::GetProcAddress(platform::GetModuleHandleW(u"ntdll.dll"), "RtlCaptureStackBackTrace");
    return reinterpret_cast<platform::CaptureStackBackTrace>(function);
}

[[gnu::noinline]] std::vector<void*> StackHere(std::uint32_t skip, std::uint32_t limit) {
    std::vector<void*> frames(limit);
    std::uint32_t hash = 0;
    frames.resize(StackCapture()(skip, limit, frames.data(), &hash));
    return frames;
}

TEST(ModulesTest, StackBeginsInTheCallerAndSkipsFromThere) {
    ASSERT_NE(StackCapture(), nullptr);
    std::vector<std::vector<void*>> stacks;
    for (std::uint32_t skip = 0; skip < 3; ++skip) stacks.push_back(StackHere(skip, 62));   // one place of call for all
    const std::vector<void*>& whole = stacks.front();
    ASSERT_GE(whole.size(), 3U);
    platform::Handle image = nullptr;
    EXPECT_TRUE(platform::GetModuleHandleExA(kByAddress, whole.front(), &image));
    EXPECT_EQ(image, OwnImage());
    const auto codeStart = reinterpret_cast<std::uintptr_t>(&StackHere);
    const auto innermost = reinterpret_cast<std::uintptr_t>(whole.front());
    if (platform_test::kLayerIsOurs) {
        EXPECT_GT(innermost, codeStart);
        EXPECT_LT(innermost - codeStart, 4096U) << "the first address lies in the function that asked";
    }
    for (std::size_t skip = 0; skip < stacks.size(); ++skip) {
        const std::vector<void*> rest(whole.begin() + static_cast<std::ptrdiff_t>(skip), whole.end());
        EXPECT_EQ(stacks[skip], rest) << skip;
    }
    EXPECT_EQ(StackHere(0, 2).size(), 2U);
    EXPECT_TRUE(StackHere(1000, 62).empty());
}

TEST(FaultsTest, GuardedCallRunsAndIsQuiet) {
    int calls = 0;
    EXPECT_EQ(platform::CallGuarded([](void* context) { ++*static_cast<int*>(context); }, &calls), 0U);
    EXPECT_EQ(calls, 1);
}

using Raise = platform::SystemFunction<void(std::uint32_t code, std::uint32_t flags, std::uint32_t count, const void*)>;

/// What a guarded call does: it raises a number, one level further in if it has one to call there.
struct Fault {
    Raise raise;
    std::uint32_t code;
    Fault* inner;
    std::uint32_t innerCode;
    bool ran;
};

void RaiseInside(void* context) {
    Fault& fault = *static_cast<Fault*>(context);
    if (fault.inner != nullptr) fault.innerCode = platform::CallGuarded(RaiseInside, fault.inner);
    constexpr std::uint32_t kNoncontinuable = 1;
    fault.raise(fault.code, kNoncontinuable, 0, nullptr);
    fault.ran = true;
}

TEST(FaultsTest, GuardEndsTheCallThatFaultsAndNoOther) {
    void* const raise = platform::GetProcAddress(platform::GetModuleHandleW(u"kernel32.dll"), "RaiseException");
    if (raise == nullptr) GTEST_SKIP() << "no such exceptions here";
    Fault inner{reinterpret_cast<Raise>(raise), platform::kExceptionFileCorrupt, nullptr, 0, false};
    for (int round = 0; round < 100; ++round) {   // a frame left behind would show
        Fault outer{inner.raise, platform::kExceptionInPageError, &inner, 0, false};
        EXPECT_EQ(platform::CallGuarded(RaiseInside, &outer), platform::kExceptionInPageError);
        EXPECT_EQ(outer.innerCode, platform::kExceptionFileCorrupt);
        EXPECT_FALSE(outer.ran || inner.ran);
    }
}

std::jmp_buf passedThrough;

TEST(FaultsTest, AnotherFaultPassesThroughTheGuard) {
    void* const raise = platform::GetProcAddress(platform::GetModuleHandleW(u"kernel32.dll"), "RaiseException");
    if (raise == nullptr) GTEST_SKIP() << "no such exceptions here";
    constexpr std::uint32_t kAccessViolation = 0xC0000005;
    static Fault fault{reinterpret_cast<Raise>(raise), kAccessViolation, nullptr, 0, false};
    std::signal(SIGSEGV, [](int) { std::longjmp(passedThrough, 1); });
    if (setjmp(passedThrough) == 0) {
        static_cast<void>(platform::CallGuarded(RaiseInside, &fault));
        ADD_FAILURE() << "the guard took what isn't its own";
    }
    std::signal(SIGSEGV, SIG_DFL);
    EXPECT_FALSE(fault.ran);
}

}   // namespace
