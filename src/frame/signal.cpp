// The signal trap of the frame: while a framed routine runs with trapping on, SIGSEGV
// and SIGILL jump back to the frame, which raises the signal's code and 102.
//
// The handlers are installed once per process, at the first trapped frame, and stay;
// the dispositions they replaced are kept and the handler passes on every signal that
// does not arise inside a trapped frame of the thread it lands in, the way signal-
// chaining libraries do. So a trapped call costs no system call: the jump buffer is
// saved without the signal mask, and "inside a trapped frame" is the thread's own
// count of live jump buffers, reached through its thread-local context. Each thread
// jumps into its own buffers, so any number of threads may call with trapping on.
#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <csetjmp>
#include <cstring>

#include "context.hpp"
#include "frame.hpp"
#include "korvstat.h"

namespace korvs {

namespace {

constexpr int kSignals[2] = {SIGILL, SIGSEGV};
constexpr int kSlots = 4;

// The disposition that the library's handler replaced, for one signal. Handlers in any
// thread read it while a re-install may write it: a write goes to the next slot of a
// small ring and is then published by index, so a reader never sees a record half
// written (a reader would have to stay inside the handler through three more
// re-installs to be overtaken).
struct Replaced {
    struct sigaction slot[kSlots];
    std::atomic<int> current{0};
    std::atomic<int> one_shot_spent{0};  // an SA_RESETHAND handler has had its one call
};

Replaced replaced[2];                 // by the index of the signal in kSignals
pthread_mutex_t trap_lock = PTHREAD_MUTEX_INITIALIZER;  // installs, restores, the switch

// Marks a siginfo record while it is handed on to the program's handler, in the tail of
// the record that no signal of ours fills. A program handler that chains back to ours
// (it saved ours when it replaced it, and we saved it at a re-install) brings the mark
// with it; a fresh delivery never carries it. Without the mark such a pair would call
// each other until the stack ran out.
constexpr unsigned long long kChainMark = 0x6b6f7276735f6368ULL;
constexpr std::size_t kMarkOffset = sizeof(siginfo_t) - sizeof(kChainMark);

bool marked(const siginfo_t* info) {
    unsigned long long word;
    std::memcpy(&word, reinterpret_cast<const char*>(info) + kMarkOffset, sizeof word);
    return word == kChainMark;
}

void set_mark(siginfo_t* info, unsigned long long word) {
    std::memcpy(reinterpret_cast<char*>(info) + kMarkOffset, &word, sizeof word);
}

int signal_index(int sig) { return sig == kSignals[0] ? 0 : 1; }

int signal_code(int sig) {
    int code = 0;
    switch (sig) {
    case SIGINT: code = 502; break;
    case SIGILL: code = 504; break;
    case SIGFPE: code = 508; break;
    case SIGSEGV: code = 511; break;
    case SIGABRT: code = 506; break;
    default: break;
    }
    return code;
}

// The trap: raise the signal's code and jump back to the innermost frame of this
// thread. The buffer is taken before the message is made, so that a second fault
// while raising goes to the frame outside, or on, rather than round again.
[[noreturn]] void trap(Context* c, int sig) {
    int slot = --c->jump_depth;
    c->signal_seen = 1;
    korvs_e1sti(1, sig);
    if (int code = signal_code(sig)) korvs_ermes(5, code);
    // The handler runs with SA_NODEFER, but a caller may have blocked the signal; the
    // frame goes on with its signal open.
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, sig);
    pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    jump_back(c->jump_buffers[slot]);
}

// The default action, as the program would have had it without the library: the
// default disposition goes back, and a fault's instruction runs again on return and
// meets it. A signal that was sent (kill, raise, sigqueue) has no instruction to run
// again, so it is sent once more, to this thread, which does not block it here.
void default_action(int sig, bool sent) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    sigaction(sig, &action, nullptr);
    if (sent) raise(sig);
}

// Hands a signal that arose outside the library's trapped frames to the disposition
// the library replaced. Async-signal-safe: atomics, sigaction, pthread_sigmask, raise.
void pass_on(int sig, siginfo_t* info, void* context) {
    Replaced& r = replaced[signal_index(sig)];
    const struct sigaction& to = r.slot[r.current.load(std::memory_order_acquire)];
    const bool with_info = (to.sa_flags & SA_SIGINFO) != 0;
    const bool sent = info && info->si_code <= 0;
    if (!info || marked(info)) {  // a program handler chaining back to ours
        default_action(sig, sent);
        return;
    }
    if (!with_info && to.sa_handler == SIG_IGN) {
        // A sent signal is ignored as the program asked; a fault cannot be (its
        // instruction would fault for ever), and the system ends the process on it.
        if (!sent) default_action(sig, false);
        return;
    }
    if ((!with_info && to.sa_handler == SIG_DFL) ||
        ((to.sa_flags & SA_RESETHAND) && r.one_shot_spent.exchange(1, std::memory_order_acq_rel))) {
        default_action(sig, sent);
        return;
    }
    // The program's handler runs with the mask it asked for, as the system would have
    // set it: its sa_mask, and the signal itself unless it asked for SA_NODEFER.
    sigset_t block = to.sa_mask, before;
    if (!(to.sa_flags & SA_NODEFER)) sigaddset(&block, sig);
    pthread_sigmask(SIG_BLOCK, &block, &before);
    unsigned long long tail;
    std::memcpy(&tail, reinterpret_cast<char*>(info) + kMarkOffset, sizeof tail);
    set_mark(info, kChainMark);
    if (with_info) {
        to.sa_sigaction(sig, info, context);
    } else {
        to.sa_handler(sig);
    }
    set_mark(info, tail);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// korvs_signal_handler.
void signal_handler(int sig, siginfo_t* info, void* context) {
    Context* c = tls_context;
    if (c && c->jump_depth > 0) trap(c, sig);
    int saved_errno = errno;
    pass_on(sig, info, context);
    errno = saved_errno;
}

bool is_ours(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) && action.sa_sigaction == signal_handler;
}

// Under trap_lock: our handler for both signals, keeping what it replaces. Where ours is
// in place already nothing changes, so a re-install never saves our own handler.
void install_locked() {
    struct sigaction ours = {};
    ours.sa_sigaction = signal_handler;
    // SA_ONSTACK: a program with an alternate signal stack keeps it for a fault that
    // has used up the thread's stack.
    ours.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&ours.sa_mask);
    for (int i = 0; i < 2; ++i) {
        struct sigaction now;
        if (sigaction(kSignals[i], nullptr, &now) != 0 || is_ours(now)) continue;
        Replaced& r = replaced[i];
        int next = (r.current.load(std::memory_order_relaxed) + 1) % kSlots;
        r.slot[next] = now;
        r.one_shot_spent.store(0, std::memory_order_relaxed);
        r.current.store(next, std::memory_order_release);
        sigaction(kSignals[i], &ours, nullptr);
    }
}

// Under trap_lock: the replaced dispositions go back where ours is still in place. A
// handler that the program has put over ours since is the program's, and stays.
void restore_locked() {
    for (int i = 0; i < 2; ++i) {
        struct sigaction now;
        if (sigaction(kSignals[i], nullptr, &now) != 0 || !is_ours(now)) continue;
        Replaced& r = replaced[i];
        sigaction(kSignals[i], &r.slot[r.current.load(std::memory_order_relaxed)], nullptr);
    }
}

// At unload (and at exit) the handler's code goes away: the program's dispositions come
// back first.
__attribute__((destructor)) void process_detach_signals() {
    pthread_mutex_lock(&trap_lock);
    restore_locked();
    pthread_mutex_unlock(&trap_lock);
}

}  // namespace

#if defined(KORVS_PLATFORM_JUMP)
void jump_back(JumpBuffer& buffer) { siglongjmp(buffer.platform, 1); }
#elif defined(__x86_64__)
void jump_back(JumpBuffer& buffer) {
    // The buffer's address stays in rdi, which the saved registers do not include.
    asm volatile(
        "mov 0(%0), %%rbx\n\t"
        "mov 8(%0), %%rbp\n\t"
        "mov 16(%0), %%r12\n\t"
        "mov 24(%0), %%r13\n\t"
        "mov 32(%0), %%r14\n\t"
        "mov 40(%0), %%r15\n\t"
        "mov 48(%0), %%rsp\n\t"
        "mov $1, %%eax\n\t"
        "jmp *56(%0)"
        :
        : "D"(buffer.words)
        : "memory");
    __builtin_unreachable();
}
#else
void jump_back(JumpBuffer& buffer) { __builtin_longjmp(buffer.words, 1); }
#endif

// Any value but 0 is on.
void set_signal_trapping(int value) {
    pthread_mutex_lock(&trap_lock);
    if (value) {
        install_locked();
        trapping.store(kTrappingOn, std::memory_order_release);
    } else {
        trapping.store(kTrappingOff, std::memory_order_relaxed);
        restore_locked();
    }
    pthread_mutex_unlock(&trap_lock);
}

// A frame that found trapping on with the handlers not yet installed. Trapping may have
// been turned off meanwhile; then this frame runs without handlers, as it would have a
// moment later.
void install_handlers_first() {
    pthread_mutex_lock(&trap_lock);
    if (trapping.load(std::memory_order_relaxed) == kTrappingAtLoad) {
        install_locked();
        trapping.store(kTrappingOn, std::memory_order_release);
    }
    pthread_mutex_unlock(&trap_lock);
}

}  // namespace korvs
