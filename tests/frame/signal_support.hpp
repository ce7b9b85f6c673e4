// Test support for the signal trap: a page that faults on every access, an export-shaped
// routine whose worker faults in an inner routine, and a program handler that records
// what it was called with and jumps back to the test.
#pragma once

#include <signal.h>
#include <sys/mman.h>

#include <atomic>
#include <csetjmp>

#include "frame/frame.hpp"

namespace signal_support {

inline volatile int* bad_page() {
    // One a thread: threads that fault at once do not write to one address (a race to
    // ThreadSanitizer, which sees the store before it faults).
    static thread_local void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return static_cast<volatile int*>(page);
}

// An export-shaped routine returning a pointer, whose worker faults in an inner routine.
inline float* faulting_routine() {
    float* result = nullptr;
    korvs::run_frame("faulting_routine", [&] {
        static float answer = 1.0f;
        korvs_e1psh("inner_helper");
        *bad_page() = 1;
        korvs_e1pop("inner_helper");
        result = &answer;
    });
    return result;
}

// What the program's own handler saw on its last call.
struct Seen {
    std::atomic<int> calls{0};
    int sig = 0;
    int code = 0;
    void* address = nullptr;
    bool has_context = false;
    bool signal_blocked = false;  // the signal itself, inside the handler
    bool extra_blocked = false;   // SIGUSR1, which the handler's sa_mask names
};
inline Seen seen;
inline thread_local sigjmp_buf recover;

// The program's handler: records its arguments and mask, then jumps back to the test.
inline void program_handler(int sig, siginfo_t* info, void* context) {
    sigset_t now;
    pthread_sigmask(SIG_BLOCK, nullptr, &now);
    seen.sig = sig;
    seen.code = info->si_code;
    seen.address = info->si_addr;
    seen.has_context = context != nullptr;
    seen.signal_blocked = sigismember(&now, sig);
    seen.extra_blocked = sigismember(&now, SIGUSR1);
    seen.calls.fetch_add(1);
    siglongjmp(recover, 1);
}

// Installs the program's handler for SIGSEGV (SA_SIGINFO, SIGUSR1 in its mask, plus the
// given flags); the previous disposition goes to *previous when asked.
inline void install_program_handler(int flags = 0, struct sigaction* previous = nullptr) {
    struct sigaction action = {};
    action.sa_sigaction = program_handler;
    action.sa_flags = SA_SIGINFO | flags;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGUSR1);
    sigaction(SIGSEGV, &action, previous);
}

// A fault outside any library call; true when the program's handler caught it.
inline bool fault_outside() {
    int before = seen.calls.load();
    if (sigsetjmp(recover, 1) == 0) *bad_page() = 2;
    return seen.calls.load() == before + 1;
}

}  // namespace signal_support
