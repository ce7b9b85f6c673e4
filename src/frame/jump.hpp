// The saved execution context of the signal trap: what a trapped frame saves on entry
// and the handler jumps back to. The trap saves one at every trapped call, nested
// exports included, so the save is kept to the registers a resume needs.
//
// - x86-64: the six callee-saved registers, the stack pointer and the resume address,
//   eight stores, where the C library's sigsetjmp also mangles three of them and calls
//   a second routine. Everything else is declared clobbered by the save, so the
//   compiler keeps nothing live across it in a register the jump does not restore.
// - Elsewhere: the compiler's own setjmp (__builtin_setjmp), which saves the frame and
//   stack pointers and the resume address and makes its function save the rest.
// - Under AddressSanitizer and ThreadSanitizer: the C library's sigsetjmp and
//   siglongjmp, because those tools learn of a jump over stack frames only through them.
#pragma once

#include <csetjmp>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KORVS_PLATFORM_JUMP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KORVS_PLATFORM_JUMP 1
#endif
#endif

namespace korvs {

#if defined(KORVS_PLATFORM_JUMP)

struct JumpBuffer {
    sigjmp_buf platform;
};
#define KORVS_SAVE_CONTEXT(buffer) sigsetjmp((buffer).platform, 0)

#elif defined(__x86_64__)

struct JumpBuffer {
    void* words[8];  // rbx, rbp, r12, r13, r14, r15, rsp, resume address
};
// 0 on the save, 1 when the handler has jumped back. Inlined into its caller, whose
// stack frame and callee-saved registers the jump restores.
[[gnu::always_inline]] inline int save_context(JumpBuffer& buffer) {
    int jumped;
    asm volatile(
        "mov %%rbx, 0(%1)\n\t"
        "mov %%rbp, 8(%1)\n\t"
        "mov %%r12, 16(%1)\n\t"
        "mov %%r13, 24(%1)\n\t"
        "mov %%r14, 32(%1)\n\t"
        "mov %%r15, 40(%1)\n\t"
        "mov %%rsp, 48(%1)\n\t"
        "lea 1f(%%rip), %%rax\n\t"
        "mov %%rax, 56(%1)\n\t"
        "xor %%eax, %%eax\n"
        "1:"
        : "=&a"(jumped)
        : "r"(buffer.words)
        : "rcx", "rdx", "rsi", "rdi", "r8", "r9", "r10", "r11", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4",
          "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15",
          "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)", "memory", "cc");
    return jumped;
}
#define KORVS_SAVE_CONTEXT(buffer) ::korvs::save_context(buffer)

#else

struct JumpBuffer {
    void* words[5];
};
#define KORVS_SAVE_CONTEXT(buffer) __builtin_setjmp((buffer).words)

#endif

// Resumes the frame that saved the buffer, its save then giving 1. Called by the signal
// handler only, from a function other than the one that saved.
[[noreturn]] void jump_back(JumpBuffer& buffer);

}  // namespace korvs
