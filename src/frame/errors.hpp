// Internal side of the error runtime: what the library uses and a caller does not see.
#pragma once

#include "context.hpp"

namespace korvs {

int n1rcd(int level);              // korvs_n1rcd: code at level 0 or 1
void e1usr(const char* word);      // korvs_e1usr: "ON" marks the top entry as the caller's side
[[noreturn]] void terminate();     // korvs_terminate: exit with the top entry's type
void print_traceback(Context* c);  // korvs_print_traceback
void stream_printer(int type, int code, const char* routine, char* text);
void console_printer(int type, int code, const char* routine, char* text);
void box_printer(int type, int code, const char* routine, char* text);
void expand_template(Context* c, const char* text);

// Message file lookups: the template and the symbolic name of a code. The pointers are
// into per-thread storage, valid until the thread's next lookup.
const char* message_text(int code);
const char* message_name(int code);

// Name of an error type as messages print it; out-of-range types print as "INTERNAL".
const char* type_name(const Context* c, int type);
// Switch of a type, 0 for a type outside 0 to 8.
inline int type_switch(const unsigned char* table, int type) {
    return (type >= 0 && type < kTypes) ? table[type] : 0;
}

}  // namespace korvs
