// The frame of an exported routine: push the trace name, skip the worker when the push
// raised, run it inside the signal trap when trapping is on, pop.
#pragma once

#include <atomic>

#include "context.hpp"
#include "jump.hpp"
#include "korvstat.h"
#include "trace.hpp"

namespace korvs {

// The values of `trapping`: off, on, and on with the handlers still to be installed (the
// state at load), which the first trapped frame turns into on.
constexpr int kTrappingOff = 0, kTrappingOn = 1, kTrappingAtLoad = 2;
void install_handlers_first();

// The trapping switch of korvs_error_options: on installs the handlers (again, over any
// that the program has put in their place since), off puts back what they replaced.
void set_signal_trapping(int value);

// Runs the worker with the SIGSEGV and SIGILL trap set: the one place that saves an
// execution context. A trapped signal raises its code in the handler and 102 here. The
// first trapped call of the process installs the handlers; no call makes a system call
// after that. One copy per export, out of line: the worker is called directly rather
// than through a pointer, and the export itself stays free of the registers that a
// saved context asks its function to keep.
template <class F> [[gnu::noinline]] void run_trapped(Context* c, F& worker, int state) {
    if (state != kTrappingOn) [[unlikely]]
        install_handlers_first();
    if (KORVS_SAVE_CONTEXT(c->jump_buffers[c->jump_depth++]) != 0) {
        korvs_ermes(5, 102);  // the handler has given the buffer back
        return;
    }
    worker();
    // The thread's context again rather than c: nothing need stay in a register or on the
    // stack across the worker.
    --tls_context->jump_depth;
}

template <class F> inline void run_frame(const char* name, F&& worker) {
    Context* c = get_context();
    push(c, name);
    if (c->last_type[0] == 0) {
        int state = trapping.load(std::memory_order_relaxed);
        if (state == kTrappingOff) {
            worker();
        } else {
            run_trapped(c, worker, state);
        }
    }
    pop(c, name);
}

// A frame of push and pop only, for the routines that carry no signal trap.
template <class F> inline void run_traced(const char* name, F&& worker) {
    Context* c = get_context();
    push(c, name);
    if (c->last_type[0] == 0) worker();
    pop(c, name);
}

}  // namespace korvs
