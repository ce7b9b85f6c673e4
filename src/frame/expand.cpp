// Expansion of a message template into the context's message buffer. "%/" is a
// newline; "%(i1)", "%(r2)", "%(l1)", "%(c3)" print an insert slot in its default
// format; "%(r1%8.3f)" prints it with an inline format.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "context.hpp"
#include "errors.hpp"

namespace korvs {
namespace {

constexpr int kInsertLimit = 512;  // bytes one insert may take
constexpr int kFormatLimit = 128;  // bytes of an inline format

enum class Slot { integer, real, complex, string, none };

Slot slot_kind(char letter) {
    switch (letter) {
    case 'C':
    case 'c':
    case 'Z':
    case 'z': return Slot::complex;
    case 'D':
    case 'd':
    case 'F':
    case 'f':
    case 'R':
    case 'r': return Slot::real;
    case 'I':
    case 'i': return Slot::integer;
    case 'L':
    case 'l':
    case 'S':
    case 's': return Slot::string;
    default: return Slot::none;
    }
}

// An inline format is used only when its conversions match what the slot holds, so a
// template can never make the formatter read an argument of another type.
bool format_fits(const char* f, Slot kind) {
    const char* allowed = kind == Slot::integer ? "diouxXc" : kind == Slot::string ? "s" : "eEfFgGaA";
    int needed = kind == Slot::complex ? 2 : 1;
    int found = 0;
    for (const char* p = f; *p; ++p) {
        if (*p != '%') continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        ++p;
        while (*p && std::strchr("-+ #0", *p))
            ++p;
        while (*p >= '0' && *p <= '9')
            ++p;
        if (*p == '.') {
            ++p;
            while (*p >= '0' && *p <= '9')
                ++p;
        }
        if (!*p || !std::strchr(allowed, *p)) return false;
        ++found;
    }
    return found == needed;
}

// Makes room for one more source character and its insert: the buffer grows when fewer
// than kInsertLimit bytes are left. Growth failure is not survivable.
char* reserve(Context* c, char* out) {
    if (c->message_end - out >= kInsertLimit) return out;
    std::ptrdiff_t used = out - c->message;
    int capacity = c->message_capacity * 2;
    char* grown = static_cast<char*>(std::realloc(c->message, capacity));
    if (!grown) {
        *out = '\0';
        char text[] = "Out of memory in error handler.";
        c->printer(8, 200, c->trace_top->name, text);
        if (c->trace_flag[8]) print_traceback(c);
        terminate();
    }
    c->message = grown;
    c->message_capacity = capacity;
    c->message_end = grown + capacity;
    return grown + used;
}

int print_insert(char* out, Context* c, Slot kind, int slot, const char* format) {
    switch (kind) {
    case Slot::integer: return std::snprintf(out, kInsertLimit, format ? format : "%d", c->insert_int[slot]);
    case Slot::real: return std::snprintf(out, kInsertLimit, format ? format : "%e", c->insert_real[slot]);
    case Slot::complex:
        return std::snprintf(out, kInsertLimit, format ? format : "(%e,%e)", c->insert_complex[slot][0],
                             c->insert_complex[slot][1]);
    case Slot::string: {
        const char* s = c->insert_string[slot];
        return std::snprintf(out, kInsertLimit, format ? format : "%s", s ? s : "");
    }
    case Slot::none: break;
    }
    return 0;
}

}  // namespace

void expand_template(Context* c, const char* text) {
    char* out = c->message;
    for (const char* p = text; *p;) {
        out = reserve(c, out);
        if (p[0] == '%' && p[1] == '/') {
            *out++ = '\n';
            p += 2;
            continue;
        }
        bool placeholder = p[0] == '%' && p[1] == '(' && p[2] && p[3] >= '0' && p[3] <= '9';
        const char* close = placeholder ? std::strchr(p + 4, ')') : nullptr;
        if (!close || (p[4] != ')' && p[4] != '%')) {
            *out++ = *p++;
            continue;
        }
        char letter = p[2];
        int slot = p[3] - '0';
        Slot kind = slot_kind(letter);
        char format[kFormatLimit + 1];
        const char* chosen = nullptr;
        std::size_t length = close - (p + 4);
        if (length > 0 && length <= kFormatLimit) {
            std::memcpy(format, p + 4, length);
            format[length] = '\0';
            if (kind != Slot::none && format_fits(format, kind)) chosen = format;
        }
        int n = kind == Slot::none ? std::snprintf(out, kInsertLimit, "%%(%c%c)", letter, p[3])
                                   : print_insert(out, c, kind, slot, chosen);
        if (n > 0) out += n < kInsertLimit ? n : kInsertLimit - 1;
        p = close + 1;
    }
    *out = '\0';
}

}  // namespace korvs
