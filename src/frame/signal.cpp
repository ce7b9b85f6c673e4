// The signal trap of the frame: while a framed routine runs with trapping on, SIGSEGV
// and SIGILL jump back to the frame, which raises the signal's code and 102.
//
// The handlers are installed when a thread enters its outermost trapped frame and the
// caller's handlers are put back when it leaves; nested frames only count, since the
// handler in place is already ours. That keeps the observable contract (the caller's
// handlers outside library calls, ours inside) at four sigaction calls per outermost
// call. The jump buffer is saved without the signal mask (no system call); the
// handler runs with SA_NODEFER and unblocks its signal before jumping, so the mask
// after the jump is the mask of the frame.
#include <signal.h>

#include <csetjmp>

#include "context.hpp"
#include "frame.hpp"
#include "korvstat.h"
#include "thread.hpp"

namespace korvs {
namespace {

struct SignalState {
    struct sigaction saved[2];  // the caller's handlers of SIGILL and SIGSEGV
    int depth = 0;
    int signals[2] = {SIGILL, SIGSEGV};
};

void signal_handler(int sig);

void install(SignalState* s) {
    struct sigaction action = {};
    action.sa_handler = signal_handler;
    action.sa_flags = SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < 2; ++i)
        sigaction(s->signals[i], &action, &s->saved[i]);
}

void restore(SignalState* s) {
    for (int i = 0; i < 2; ++i)
        sigaction(s->signals[i], &s->saved[i], nullptr);
}

// korvs_signal_frame: 1 enters a trapped frame, 0 leaves it. Returns the thread's
// signal state, null when it could not be allocated (error 200 raised; no handler).
SignalState* signal_frame(int enter) {
    Context* c = get_context();
    SignalState* s = per_thread<SignalState>();
    if (!s) return nullptr;
    if (enter) {
        if (s->depth++ == 0) install(s);
        c->signal_seen = 0;
    } else if (s->depth > 0 && --s->depth == 0) {
        restore(s);
    }
    return s;
}

// korvs_signal_handler: raise the signal's code and jump back to the innermost frame.
void signal_handler(int sig) {
    Context* c = get_context();
    SignalState* s = per_thread<SignalState>();
    c->signal_seen = 1;
    korvs_e1sti(1, sig);
    int code = 0;
    switch (sig) {
    case SIGINT: code = 502; break;
    case SIGILL: code = 504; break;
    case SIGFPE: code = 508; break;
    case SIGSEGV: code = 511; break;
    case SIGABRT: code = 506; break;
    default: break;
    }
    if (code) korvs_ermes(5, code);
    if (s && s->depth >= 1 && c->jump_depth >= 1) {
        sigset_t mask;
        sigemptyset(&mask);
        sigaddset(&mask, sig);
        pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
        --c->jump_depth;
        siglongjmp(c->jump_buffers[c->jump_depth], 1);
    }
}

}  // namespace

// The jump buffers live in the calling thread's own context. With trapping on only one
// thread can use the library, so this is the first thread's stack of buffers; taking
// the caller's own keeps a thread that turned trapping back on from writing into
// another thread's buffers.
__attribute__((noinline)) void run_trapped(void (*fn)(void*), void* arg) {
    Context* volatile c = get_context();  // volatile: it is read after the jump
    if (c->jump_depth >= kJumpDepth) {
        fn(arg);  // deeper than any library call chain: run without a trap
        return;
    }
    int slot = c->jump_depth++;
    if (sigsetjmp(c->jump_buffers[slot], 0) == 0) {
        signal_frame(1);
        fn(arg);
        --c->jump_depth;
        signal_frame(0);
    } else {
        korvs_ermes(5, 102);
        signal_frame(0);
    }
}

}  // namespace korvs
