// The frame of an exported routine: push the trace name, skip the worker when the push
// raised, run it inside the signal trap when trapping is on, pop.
#pragma once

#include <type_traits>

#include "context.hpp"
#include "korvstat.h"
#include "trace.hpp"

namespace korvs {

// Runs fn(arg) with the SIGSEGV and SIGILL trap set; the one place that saves an
// execution context. A trapped signal raises its code and then 102 here.
void run_trapped(void (*fn)(void*), void* arg);

template <class F> inline void run_frame(const char* name, F&& worker) {
    Context* c = get_context();
    push(c, name);
    if (c->last_type[0] == 0) {
        if (trapping.load(std::memory_order_relaxed) == 0) {
            worker();
        } else {
            using W = std::remove_reference_t<F>;
            run_trapped([](void* w) { (*static_cast<W*>(w))(); }, &worker);
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
