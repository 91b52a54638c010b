#include <component/ilk/error/exception.h>

#include <component/ilk/error/property_value.h>
#include <component/ilk/error/stack_trace.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <typeinfo>

namespace {

using ilk::MakeResult;
using testing::HasSubstr;
using testing::StartsWith;

/// `Thrower` is called three levels deep. Its return address is the stack's second frame if it is the first one itself.
void* returnOfThrower;
int lineOfThrow;

[[gnu::noinline]] void Thrower(ilk::ResultCode code) {
    returnOfThrower = __builtin_extract_return_addr(__builtin_return_address(0));
    lineOfThrow = __LINE__ + 1;
    ILK_THROW_IF_FAIL(code);
    asm volatile("");   // prevents a tail call: each level keeps its frame
}
[[gnu::noinline]] void Middle(ilk::ResultCode code) {
    Thrower(code);
    asm volatile("");
}
[[gnu::noinline]] void Outer(ilk::ResultCode code) {
    Middle(code);
    asm volatile("");
}

/// Returns the line of a printed stack for `address`, without the frame's number.
std::string PrintFrame(const void* address) {
    ilk::StackTrace trace;
    trace.frames.append(reinterpret_cast<std::uintptr_t>(address));
    ilk::ResolveModules(trace, &ilk::LookUpModule);
    ilk::CompactString text;
    ilk::PrintStack(trace, text);
    return std::string(text.view().substr(3));
}

TEST(ExceptionTest, WhatHasPositionPropertiesAndStack) {
    try {
        Outer(ilk::ResultInvalidArgument);
        FAIL() << "nothing thrown";
    } catch (ilk::ResultCodeException& e) {
        e.SetProperty("os.result", ilk::MakePlatformErrorValue({5}));
        e.SetProperty("ilk.result", ilk::MakeResultValue(ilk::ResultAccessDenied));
        const std::string start =
            std::string(__FILE__) + "(" + std::to_string(lineOfThrow) +
            "): ILK_THROW_IF_FAIL. Properties:" + "\nilk.result=0x80000045\nos.result=0x00000005\nCall stack:\n 0# ";
        EXPECT_THAT(e.what(), StartsWith(start));
        EXPECT_THAT(e.what(), HasSubstr("\n 1#" + PrintFrame(returnOfThrower))) << "the thrower is first";
        const char* const before = e.what();
        e.SetProperty("late", ilk::MakeResultValue(0));
        const ilk::ResultCodeException copy(e);
        EXPECT_EQ(copy.what(), before) << "built once and shared";
    }
    EXPECT_NO_THROW(Outer(ilk::ResultFalse));
}

TEST(ExceptionTest, WhatWorksWithoutDetailsAndWithoutProperties) {
    EXPECT_STREQ(ilk::exception("file.cpp", 7).what(), "Unknown exception");
    EXPECT_THAT(ilk::Exception("file.cpp", 7, "message").what(), StartsWith("file.cpp(7): message. Call stack:\n 0# "));
}

template <std::uint8_t kOpcode>
constexpr std::uint8_t kScriptOf[] = {kOpcode, 0};

template <std::uint8_t kOpcode, class T>
ilk::PropertyValue TextValue(const T& text) {
    ilk::TypeLayout layout;
    layout.script = kScriptOf<kOpcode>;
    layout.size = sizeof(T);
    layout.flags = 0;
    return ilk::PropertyValue(layout, ilk::kPropertyType<T>, &text);
}

TEST(ExceptionTest, PropertiesPrintByTheirType) {
    ilk::exception e("f", 1);
    const std::int64_t number = -2;
    ilk::TypeLayout plain64;
    plain64.size = 8;
    e.SetProperty("narrow", TextValue<2>(ilk::basic_string_t<char>("text")));
    e.SetProperty("wide", TextValue<3>(ilk::basic_string_t<char16_t>(u"wide\u20ACcut")));
    e.SetProperty("long", ilk::PropertyValue(plain64, ilk::PropertySigned64, &number));
    e.SetProperty("other", ilk::PropertyValue(plain64, 33, &number));
    EXPECT_STREQ(
        e.what(),
        "f(1): . Properties:\nnarrow=text\nwide=wide\nlong=0xfffffffffffffffe\nother=<typeid=33>\nCall stack:\n");
    EXPECT_THROW(e.SetProperty(std::string(32, 'k'), ilk::MakeResultValue(0)), std::bad_alloc);
    EXPECT_EQ(e.FindProperty("Wide"), nullptr);
}

TEST(ExceptionTest, DescriptionHasTheCodeAndItsText) {
    ilk::ResultCodeException e("f", 1, "m", ilk::ResultFileNotFound);
    EXPECT_EQ(e.GetDescription(), u"0x80010102 (File not found)");
    e.SetDescription(ilk::basic_string_t<char16_t>(u"opening"));
    EXPECT_EQ(e.GetDescription(), u"opening: 0x80010102 (File not found)");
    EXPECT_EQ(ilk::Exception(e).GetDescription(), u"opening");
}

template <class Thrown>
ilk::ResultCode CodeOf(const Thrown& thrown) {
    try {
        throw thrown;
    } catch (...) {
        return ilk::ResultFromCurrentException();
    }
}

TEST(ExceptionTest, TheCurrentExceptionBecomesACode) {
    EXPECT_EQ(ilk::ResultFromCurrentException(), MakeResult(0x80000150));
    EXPECT_EQ(CodeOf(ilk::ResultCodeException("f", 1, "m", ilk::ResultLocked)), ilk::ResultLocked);
    EXPECT_EQ(CodeOf(ilk::ResultCodeException("f", 1, "m", ilk::ResultFalse)), MakeResult(0x80000152));
    ilk::Exception named("f", 1, "m");
    named.SetProperty("os.result", ilk::MakePlatformErrorValue({5}));
    EXPECT_EQ(CodeOf(named), MakeResult(0x80000151)) << "whatever it carries";
    ilk::exception plain("f", 1);
    EXPECT_EQ(CodeOf(plain), MakeResult(0x80000151));
    plain.SetProperty("os.result", ilk::MakePlatformErrorValue({5}));
    EXPECT_EQ(CodeOf(plain), ilk::ResultAccessDenied);
    plain.SetProperty("ilk.result", ilk::MakeResultValue(ilk::ResultLocked));
    EXPECT_EQ(CodeOf(plain), ilk::ResultLocked);
    EXPECT_EQ(CodeOf(std::bad_alloc()), MakeResult(0x80000041));
    EXPECT_EQ(CodeOf(std::bad_cast()), MakeResult(0x80000047));
    EXPECT_EQ(CodeOf(std::length_error("")), MakeResult(0x8000005C));
    EXPECT_EQ(CodeOf(std::out_of_range("")), MakeResult(0x8000005E));
    EXPECT_EQ(CodeOf(std::invalid_argument("")), MakeResult(0x80000046));
    EXPECT_EQ(CodeOf(std::runtime_error("")), MakeResult(0x80000151));
    EXPECT_EQ(CodeOf(5), MakeResult(0x80000072));
}

/// Two modules, and one that isn't identified. The address directly after an image counts as part of it.
int lookUps;
ilk::ResultCode LookUp(std::uint64_t address, ilk::StackModule& module) {
    ++lookUps;
    module.base = address < 0x2000 ? 0x1000 : address < 0x3000 ? 0x2100 : 0x3000;
    module.size = 0x800;
    if (address >= 0x3000) return ilk::ResultInvalidSignature;
    module.name.append(address < 0x2000 ? "low.dll" : "high.dll");
    if (address < 0x2000) module.id.append("ID,1");
    return ilk::ResultOk;
}

TEST(StackTraceTest, EachModuleIsLookedUpOnce) {
    ilk::StackTrace trace;
    for (const std::uint64_t frame : {0x2200U, 0x1000U, 0x3000U, 0x2101U, 0x1800U, 0x2900U, 0x3010U})
        trace.frames.append(frame);
    lookUps = 0;
    ilk::ResolveModules(trace, &LookUp);
    EXPECT_EQ(lookUps, 3);
    ilk::CompactString text;
    ilk::PrintStack(trace, text);
    EXPECT_EQ(text.view(),
              " 0# high.dll!!100\n 1# low.dll!ID,1!0\n 2# 3000\n 3# high.dll!!1\n"
              " 4# low.dll!ID,1!800\n 5# high.dll!!800\n 6# 3010\n");
}

/// A system call that reads a path of `pathLength` characters, and the sizes of the buffers that it got.
std::size_t pathLength;
std::vector<std::uint32_t> bufferSizes;
std::uint32_t ReadPath(platform::Handle, char* path, std::uint32_t sizeBytes) {
    bufferSizes.push_back(sizeBytes);
    platform::SetLastError(platform::kErrorOutOfMemory);
    if (pathLength == 0) return 0;
    return static_cast<std::uint32_t>((std::string(pathLength - 5, '\\') + "a.dll").copy(path, sizeBytes));
}

TEST(StackTraceTest, TheBufferForAModulesPathIsDoubled) {
    const auto expectName = [](std::size_t length, std::uint32_t lastSize, std::string_view expected) {
        pathLength = length;
        ilk::basic_string_t<char> name;
        const std::uint32_t error = ilk::ReadModuleName(nullptr, &ReadPath, name);
        EXPECT_EQ(error, expected.empty() ? platform::kErrorOutOfMemory : platform::kErrorSuccess) << length;
        EXPECT_EQ(name, expected);
        EXPECT_EQ(bufferSizes.back(), lastSize);
    };
    expectName(259, 260, "a.dll");
    expectName(260, 520, "a.dll");
    expectName(40000, 16640, "");
    expectName(0, 260, "");
    EXPECT_EQ(bufferSizes, (std::vector<std::uint32_t>{260, 260, 520, 260, 520, 1040, 2080, 4160, 8320, 16640, 260}));
}

/// This program's image has a debug entry if it is a 32-bit Windows image.
TEST(StackTraceTest, TheImageOfThisProgramIsIdentified) {
    const auto address = reinterpret_cast<std::uintptr_t>(&Outer);
    ilk::StackModule module;
    const ilk::ResultCode code = ilk::LookUpModule(address, module);
    EXPECT_THAT(module.name.view(), StartsWith("ilk_test"));
    if (ilk::IsFailure(code)) {
        EXPECT_EQ(code, ilk::ResultInvalidSignature);
        return;
    }
    EXPECT_TRUE(module.base < address && address < module.base + module.size);
    EXPECT_EQ(module.id.find(','), 36u) << module.id.view();
}

[[gnu::noinline]] ilk::StackTrace CaptureAtDepth(int depth) {
    ilk::StackTrace trace = depth == 0 ? ilk::Capture(0) : CaptureAtDepth(depth - 1);
    asm volatile("");
    return trace;
}

TEST(StackTraceTest, ADeepStackKeepsItsInnermostFrames) {
    const ilk::StackTrace trace = CaptureAtDepth(100);
    ASSERT_EQ(trace.frames.size(), 62u);
    EXPECT_EQ(trace.frames[10], trace.frames[61]) << "one recursive call";
    EXPECT_EQ(ilk::Capture(0, ilk::NtFunctions{}).frames.size(), 0u) << "without the system's function";
}

}   // namespace
