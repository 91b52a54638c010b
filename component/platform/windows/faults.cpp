// A structured exception handler for one call, in assembler: the compiler has no `__try`.

#include <component/platform/faults.h>

#include <windows.h>

static_assert(sizeof(void*) == 4, "32-bit Windows has this chain of frames");
static_assert(platform::kExceptionInPageError == static_cast<DWORD>(EXCEPTION_IN_PAGE_ERROR));

extern "C" {

/// Calls `touch(context)` under a frame whose handler is `FilterFault`. Returns 0, or the code of `LeaveForFrame`.
std::uint32_t RunUnderFrame(void (*touch)(void* context), void* context);

/// Called by the handler: unwinds all younger frames and makes `RunUnderFrame` return `code`.
[[noreturn]] void LeaveForFrame(void* frame, EXCEPTION_RECORD* exception, std::uint32_t code);

EXCEPTION_DISPOSITION FilterFault(EXCEPTION_RECORD* exception, void* frame, CONTEXT* context, void* dispatcher);
}

// A frame is two words on the stack: the address of the next older frame, and the handler. `fs:0` has the address of
// the thread's youngest frame. So the handler applies to one thread and for one call. `RunUnderFrame` saves registers
// directly above its frame: `LeaveForFrame` sets the stack pointer to the frame and jumps to `endOfFrame`.
asm(R"(
    .text
    .p2align 4
    .globl _RunUnderFrame
_RunUnderFrame:
    pushl %ebp
    movl %esp, %ebp
    pushl %ebx
    pushl %esi
    pushl %edi
    pushl $_FilterFault
    pushl %fs:0
    movl %esp, %fs:0
    pushl 12(%ebp)
    call *8(%ebp)
    addl $4, %esp
    xorl %eax, %eax
endOfFrame:
    popl %fs:0
    addl $4, %esp
    popl %edi
    popl %esi
    popl %ebx
    popl %ebp
    ret

    .p2align 4
    .globl _LeaveForFrame
_LeaveForFrame:
    pushl $0
    pushl 12(%esp)
    pushl $unwound
    pushl 16(%esp)
    call _RtlUnwind@16
unwound:
    cld
    movl 12(%esp), %eax
    movl 4(%esp), %esp
    jmp endOfFrame
)");

EXCEPTION_DISPOSITION FilterFault(EXCEPTION_RECORD* exception, void* frame, CONTEXT* /*context*/,
                                  void* /*dispatcher*/) {
    constexpr DWORD kUnwinding = 0x2 | 0x4;   // an unwind to an older frame: nothing to clean up
    if ((exception->ExceptionFlags & kUnwinding) != 0) return ExceptionContinueSearch;
    const std::uint32_t code = exception->ExceptionCode;
    if (code != platform::kExceptionInPageError && code != platform::kExceptionFileCorrupt)
        return ExceptionContinueSearch;
    LeaveForFrame(frame, exception, code);
}

namespace platform {

std::uint32_t CallGuarded(void (*touch)(void* context), void* context) { return RunUnderFrame(touch, context); }

}   // namespace platform
