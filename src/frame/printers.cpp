// The message printers and the traceback. The stream printer writes a head naming the
// type, the error and the routine the caller called, then the text wrapped at 78
// columns with continuation lines indented by "***         ".
#include <cstdio>
#include <cstring>

#include "context.hpp"
#include "errors.hpp"
#include "thread.hpp"
#include "units.hpp"

namespace korvs {
namespace {

constexpr int kWidth = 78;
constexpr char kIndent[] = "***         ";  // twelve characters
constexpr int kIndentWidth = 12;

// The routine a message names: the export the caller called, however deep the raise.
const char* routine_for_message(const Context* c) {
    const TraceEntry* e = c->trace_top;
    while (e->user_level == 0 && e > &c->trace[0])
        --e;
    return e < c->trace_top ? (e + 1)->name : e->name;
}

void make_head(char* head, std::size_t size, const Context* c, int type, int code) {
    const char* routine = routine_for_message(c);
    if (type < 5)
        std::snprintf(head, size, "\n*** %s Error %s from %s.  ", type_name(c, type), message_name(code),
                      routine);
    else
        std::snprintf(head, size, "\n*** %s Error from %s.  ", type_name(c, type), routine);
}

// The text after the head, wrapped: a line ends at a newline, else at the last blank
// that keeps it inside 78 columns; the character that ended it opens the next line as
// a blank after the indent. A word too long for any line is cut rather than looped on.
void write_wrapped(FILE* out, int column, const char* text) {
    const char* rest = text;
    bool lead = false;  // rest[0] ended the previous line and prints as a blank
    for (;;) {
        std::size_t n = std::strlen(rest);
        std::size_t window = kWidth - column;
        std::size_t start = lead ? 1 : 0;
        const char* nl = static_cast<const char*>(std::memchr(rest + start, '\n', n - start));
        std::size_t end;
        bool cut = false;
        if (nl && static_cast<std::size_t>(nl - rest) < window) {
            end = nl - rest;
        } else if (n + column < static_cast<std::size_t>(kWidth)) {
            end = n;
        } else {
            std::size_t i = window;
            while (i > start && rest[i - 1] != ' ')
                --i;
            if (i > start) {
                end = i - 1;
            } else if (!lead && column > kIndentWidth) {
                std::fprintf(out, "\n%s ", kIndent);
                column = kIndentWidth;
                continue;
            } else {
                end = window;
                cut = true;
            }
        }
        if (lead) std::fputc(' ', out);
        std::fwrite(rest + start, 1, end - start, out);
        std::fputc('\n', out);
        if (end >= n) {
            std::fputc('\n', out);
            return;
        }
        std::fputs(kIndent, out);
        rest += end;
        lead = !cut;
        column = kIndentWidth;
        if (cut) {
            std::fputc(' ', out);
            column = kIndentWidth + 1;
        }
    }
}

void write_layout(FILE* out, const Context* c, int type, int code, const char* text) {
    char head[512];
    make_head(head, sizeof head, c, type, code);
    stream_lock();
    std::fputs(head, out);
    int column = static_cast<int>(std::strlen(head));
    if (column >= kWidth) {
        std::fprintf(out, "\n%s ", kIndent);
        column = kIndentWidth;
    }
    write_wrapped(out, column, text);
    std::fflush(out);
    stream_unlock();
}

}  // namespace

void stream_printer(int type, int code, const char*, char* text) {
    if (!text || !text[0]) return;
    Context* c = get_context();
    c->error_stream = unit_stream(3);
    write_layout(c->error_stream, c, type, code, text);
}

// Without a console window, the console mode writes the same layout to standard output.
void console_printer(int type, int code, const char*, char* text) {
    if (!text || !text[0]) return;
    write_layout(stdout, get_context(), type, code, text);
}

// Without a message box, the box mode writes the box's one-line text to standard error.
void box_printer(int type, int code, const char*, char* text) {
    if (!text || !text[0]) return;
    Context* c = get_context();
    const char* name = type_name(c, type);
    int name_length = static_cast<int>(std::strcspn(name, " "));
    const char* routine = routine_for_message(c);
    // The name may be the process's first lookup, whose report takes the stream lock.
    const char* error_name = type < 5 ? message_name(code) : "";
    stream_lock();
    if (type < 5)
        std::fprintf(stderr, "%.*s Error %s from %s.  %s\n", name_length, name, error_name, routine, text);
    else
        std::fprintf(stderr, "%.*s Error from %s.  %s\n", name_length, name, routine, text);
    std::fflush(stderr);
    stream_unlock();
}

void print_traceback(Context* c) {
    FILE* out = c->error_stream = unit_stream(3);
    std::fputs("Here is a traceback of the calls in reverse order.\n"
               "  Error Type        Error Code               Routine\n"
               "  ----------        ----------               -------\n",
               out);
    const TraceEntry* remembered = nullptr;
    for (const TraceEntry* e = c->trace_top; e >= &c->trace[0]; --e) {
        if (e->type != 0) remembered = e;
        if (e != &c->trace[0] && (e - 1)->user_level == 0 && !c->full_traceback) continue;
        if (remembered && e->user_level == 0)
            std::fprintf(out, " %6s%-9s   %-25s %s\n", "KORVS_", type_name(c, remembered->type),
                         message_name(remembered->code), e->name);
        else
            std::fprintf(out, " %6s%-9s   %-25s %s\n", "", "", "", e->name);
        remembered = nullptr;
    }
    std::fflush(out);
}

}  // namespace korvs
