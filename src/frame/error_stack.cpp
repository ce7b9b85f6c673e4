// The error stack: insert slots, raising, push and pop, and the two levels. The stack
// doubles as the call trace, so that a message names the routine the caller called and
// the most severe error of a call tree reaches the caller.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "context.hpp"
#include "errors.hpp"
#include "korvstat.h"
#include "trace.hpp"

using korvs::Context;
using korvs::get_context;
using korvs::TraceEntry;
using korvs::type_switch;

namespace korvs {
namespace {

std::atomic<int> note_counter{0};

bool valid_slot(int slot) { return slot >= 1 && slot <= 9; }

// Levels 0 and 1 exist; another is a fault in the caller of korvs_n1rty (type 8).
bool valid_level(int level) {
    if (level == 0 || level == 1) return true;
    korvs_e1sti(1, 0);
    korvs_e1sti(2, 1);
    korvs_e1sti(3, level);
    korvs_e1stl(1, "level");
    korvs_ermes(8, 122);
    return false;
}

// Printing of a message at the moment of raising or at the pop: the printer, then the
// traceback when the type's Trace switch is on.
void deliver(Context* c, int type, int code) {
    c->printer(type, code, c->trace_top->name, c->message);
    if (type_switch(c->trace_flag, type)) print_traceback(c);
}

// An invalid type given to korvs_e1mes is a fault in the library itself.
[[noreturn]] void invalid_type(Context* c, int type, const char* text) {
    korvs_e1psh("korvs_e1mes");
    std::snprintf(c->message, c->message_end - c->message,
                  "Error type must be -1,...,8, but type = %d.  Message = \"%s\"", type, text ? text : "");
    c->printer(8, 160, c->trace_top->name, c->message);
    if (c->trace_flag[8]) print_traceback(c);
    terminate();
}

}  // namespace

int n1rcd(int level) { return valid_level(level) ? get_context()->last_code[level] : 0; }

void e1usr(const char* word) {
    Context* c = get_context();
    c->trace_top->user_level = (word && word[0] && (word[1] == 'N' || word[1] == 'n')) ? 1 : 0;
}

void push_overflow(Context*) {
    korvs_ermes(8, 60000);  // type 8: ends the process
    terminate();
}

void pop_full(Context* c, const char* name) {
    TraceEntry* base = &c->trace[0];
    if (c->signal_seen) {
        // Entries left by the routines that a trapped signal abandoned. Their errors go
        // down with them as their own pops would have passed them, so the signal's
        // TERMINAL error reaches the frame and its Stop switch.
        c->signal_seen = 0;
        while (c->trace_top > base + 1 && name && std::strcmp(c->trace_top->name, name) != 0) {
            TraceEntry* abandoned = c->trace_top--;
            if (c->trace_top->type <= abandoned->type) {
                c->trace_top->type = abandoned->type;
                c->trace_top->code = abandoned->code;
            }
        }
    }
    TraceEntry* top = c->trace_top;
    if (top == base || (top->name != name && (!name || !top->name || std::strcmp(top->name, name) != 0))) {
        korvs_e1stl(1, name ? name : "");
        korvs_e1stl(2, top->name ? top->name : "");
        korvs_ermes(8, 60001);  // type 8: ends the process
        terminate();
    }
    TraceEntry* below = top - 1;
    int type = top->type;
    if (below->user_level) {
        if (Hook hook = error_hook.load(std::memory_order_relaxed)) hook(type, top->code, c->message);
        if (c->message[0] != '\0' && type_switch(c->print_flag, type)) deliver(c, type, top->code);
        if (type_switch(c->stop_flag, type)) terminate();
    }
    if (below->type <= top->type) {
        below->type = top->type;
        below->code = top->code;
        c->last_type[0] = top->type;
        c->last_code[0] = top->code;
    }
    c->last_type[1] = top->type;
    c->last_code[1] = top->code;
    --c->trace_top;
}

void terminate() { std::exit(get_context()->trace_top->type); }

}  // namespace korvs

extern "C" {

KORVS_API void korvs_e1sti(int slot, int value) noexcept {
    if (korvs::valid_slot(slot)) get_context()->insert_int[slot] = value;
}

KORVS_API void korvs_e1str(int slot, float value) noexcept { korvs_e1std(slot, value); }

KORVS_API void korvs_e1std(int slot, double value) noexcept {
    if (korvs::valid_slot(slot)) get_context()->insert_real[slot] = value;
}

KORVS_API void korvs_e1stc(int slot, float re, float im) noexcept { korvs_e1stz(slot, re, im); }

KORVS_API void korvs_e1stz(int slot, double re, double im) noexcept {
    if (!korvs::valid_slot(slot)) return;
    Context* c = get_context();
    c->insert_complex[slot][0] = re;
    c->insert_complex[slot][1] = im;
}

KORVS_API void korvs_e1stl(int slot, const char* text) noexcept {
    if (slot < 0) slot = -slot;
    if (korvs::valid_slot(slot)) get_context()->insert_string[slot] = text;
}

KORVS_API void korvs_e1mes(int type, int code, const char* text) noexcept {
    Context* c = get_context();
    if (type < -1 || type > 8) korvs::invalid_type(c, type, text);
    TraceEntry* top = c->trace_top;
    int stored_type = type;
    if (type == -1) {
        if (code == -1) {
            // The standing error raised anew with a new template.
            stored_type = top->type;
            code = top->code;
        } else if (code > 0) {
            top->code = code;
            c->last_type[0] = top->type;
            c->last_code[0] = top->code;
            return;
        } else {
            stored_type = 255;
        }
    } else if (type == 0 && code == 0) {
        c->message[0] = '\0';
        top->code = 0;
        top->type = 0;
        c->last_type[0] = 0;
        c->last_code[0] = 0;
        return;
    }
    // The latest message in a frame wins, whatever its severity.
    top->type = static_cast<unsigned char>(stored_type);
    top->code = code;
    if (!text || (text[0] == ' ' && text[1] == '\0')) {
        c->message[0] = '\0';
    } else {
        korvs::expand_template(c, text);
    }
    int t = top->type;
    if (type_switch(c->immediate_flag, t)) {
        if (korvs::Hook hook = korvs::error_hook.load(std::memory_order_relaxed)) hook(t, code, c->message);
        if (type_switch(c->print_flag, t)) korvs::deliver(c, t, code);
        c->message[0] = '\0';
    }
    if (t == 8) korvs::terminate();
    c->last_type[0] = top->type;
    c->last_code[0] = top->code;
}

KORVS_API void korvs_ermes(int type, int code) noexcept {
    korvs_e1mes(type, code, korvs::message_text(code));
}

KORVS_API void korvs_e1psh(const char* name) noexcept { korvs::push(get_context(), name); }

KORVS_API void korvs_e1pop(const char* name) noexcept { korvs::pop(get_context(), name); }

KORVS_API int korvs_n1rty(int level) noexcept {
    if (level == 0 || level == 1) return get_context()->last_type[level];
    korvs::valid_level(level);
    return 0;
}

KORVS_API int korvs_error_code(void) noexcept { return get_context()->last_code[1]; }

KORVS_API korvs_error_hook korvs_set_at_checksum(korvs_error_hook hook) noexcept {
    korvs::error_hook.store(hook, std::memory_order_relaxed);
    return hook;
}

KORVS_API int korvs_n1rnof(int operation) noexcept {
    if (operation == 1) return korvs::note_counter.fetch_add(1, std::memory_order_relaxed) + 1;
    if (operation == 2) return korvs::note_counter.exchange(0, std::memory_order_relaxed);
    korvs_ermes(8, 60003);
    return operation;
}

}  // extern "C"
