// Push and pop of the trace stack, inlined into every frame. The good case of a pop is
// a pointer comparison of the names and a few stores; everything else (a standing
// error, the hook, a trapped signal, a name that does not match) goes out of line.
#pragma once

#include <atomic>

#include "context.hpp"

namespace korvs {

[[noreturn]] void push_overflow(Context* c);
void pop_full(Context* c, const char* name);

inline void push(Context* c, const char* name) {
    // A fresh call from the user level starts without a pending message.
    if (c->trace_top == &c->trace[0]) c->message[0] = '\0';
    if (c->trace_top == &c->trace[kTraceDepth - 1]) [[unlikely]]
        push_overflow(c);
    *++c->trace_top = TraceEntry{0, 0, 0, name};
    c->last_type[0] = c->last_type[1] = 0;
    c->last_code[0] = c->last_code[1] = 0;
}

inline void pop(Context* c, const char* name) {
    TraceEntry* top = c->trace_top;
    if (c->signal_seen || top->name != name || top->type != 0 || top == &c->trace[0] ||
        error_hook.load(std::memory_order_relaxed)) [[unlikely]] {
        pop_full(c, name);
        return;
    }
    // A clean frame: nothing to print, stop or hand to the hook.
    TraceEntry* below = top - 1;
    if (below->type == 0) {
        below->code = top->code;
        c->last_type[0] = 0;
        c->last_code[0] = top->code;
    }
    c->last_type[1] = 0;
    c->last_code[1] = top->code;
    c->trace_top = below;
}

}  // namespace korvs
