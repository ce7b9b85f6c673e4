// Settings of the error runtime: korvs_error_options walks its list of codes, and
// korvs_e1pos reads or sets the Print and Stop switches of a type.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "context.hpp"
#include "errors.hpp"
#include "frame.hpp"
#include "korvstat.h"
#include "options.hpp"

namespace korvs {
namespace {

// Types 1 to 7 may be read and set; another type raises 132 and the option is skipped.
// The second insert is 5, not 7, as the message has always printed it.
bool settable_type(int type) {
    if (type >= 1 && type <= 7) return true;
    korvs_e1sti(1, 1);
    korvs_e1sti(2, 5);
    korvs_e1sti(3, type);
    korvs_e1stl(1, "type");
    korvs_ermes(5, 132);
    return false;
}

char* copy_text(const char* text) {
    if (!text) return nullptr;
    std::size_t n = std::strlen(text) + 1;
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy) std::memcpy(copy, text, n);
    return copy;
}

void read_switch(OptionList& opt, const unsigned char* table) {
    int type = opt.integer();
    int* out = opt.pointer<int>();
    if (settable_type(type) && out) *out = table[type];
}

void write_switch(OptionList& opt, unsigned char* table) {
    int type = opt.integer();
    int setting = opt.integer();
    if (settable_type(type)) table[type] = static_cast<unsigned char>(setting != 0);
}

void l_error_options(OptionList& opt) {
    Context* c = get_context();
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_ERROR_MSG_FILE:
            if (char* copy = copy_text(opt.pointer<const char>())) {
                std::free(c->error_file_copy);
                c->error_file_copy = c->error_file = copy;
            }
            break;
        case KORVS_ERROR_MSG_PATH:
            if (char* copy = copy_text(opt.pointer<const char>())) {
                std::free(c->error_path);
                c->error_path = copy;
            }
            break;
        case KORVS_ERROR_PRINT_PROC: {
            auto printer = reinterpret_cast<Printer>(opt.pointer<void>());
            c->printer = printer ? printer : stream_printer;
            break;
        }
        case KORVS_FULL_TRACEBACK: c->full_traceback = opt.integer(); break;
        case KORVS_GET_ERROR_FILE: korvs_umach(3, opt.pointer<FILE*>()); break;
        case KORVS_GET_PRINT: read_switch(opt, c->print_flag); break;
        case KORVS_GET_STOP: read_switch(opt, c->stop_flag); break;
        case KORVS_GET_TRACEBACK: read_switch(opt, c->trace_flag); break;
        case KORVS_SET_ERROR_FILE: {
            FILE* stream = opt.pointer<FILE>();
            korvs_umach(-3, &stream);
            break;
        }
        case KORVS_SET_PRINT: write_switch(opt, c->print_flag); break;
        case KORVS_SET_STOP: write_switch(opt, c->stop_flag); break;
        case KORVS_SET_TRACEBACK: write_switch(opt, c->trace_flag); break;
        // Every write of the switch acts, also when it holds the value already: "on"
        // puts the handlers back over any that the program has installed since.
        case KORVS_SET_SIGNAL_TRAPPING_ON: set_signal_trapping(1); break;
        case KORVS_SET_SIGNAL_TRAPPING_OFF: set_signal_trapping(0); break;
        case KORVS_SET_SIGNAL_TRAPPING: set_signal_trapping(opt.integer()); break;
        case KORVS_GET_PRINT_TYPE:
            if (int* out = opt.pointer<int>()) *out = c->print_mode;
            break;
        case KORVS_SET_PRINT_TYPE: {
            int mode = opt.integer();
            if (mode == KORVS_PRINT_BOX) {
                c->printer = box_printer;
            } else if (mode == KORVS_PRINT_CONSOLE) {
                c->printer = console_printer;
            } else {
                c->printer = stream_printer;
                mode = KORVS_PRINT_STREAM;
            }
            c->print_mode = mode;
            break;
        }
        default:
            korvs_e1sti(1, code);
            korvs_e1sti(2, opt.position());
            korvs_ermes(5, 103);
            return;
        }
    }
}

}  // namespace
}  // namespace korvs

extern "C" KORVS_API void korvs_error_options(int code, ...) noexcept {
    va_list ap;
    va_start(ap, code);
    korvs::OptionList opt(code, &ap, 0);
    korvs::run_frame("korvs_error_options", [&] { korvs::l_error_options(opt); });
    va_end(ap);
}

extern "C" KORVS_API void korvs_e1pos(int type, int* print, int* stop) noexcept {
    korvs::Context* c = korvs::get_context();
    if (type < -8 || type > 8) {
        korvs_e1psh("korvs_e1pos");
        korvs_e1sti(1, -8);
        korvs_e1sti(2, 8);
        korvs_e1sti(3, type);
        korvs_e1stl(1, "type");
        korvs_ermes(5, 132);
        korvs_e1pop("korvs_e1pos");
        return;
    }
    if (!print || !stop) return;
    if (type == 0) {
        for (int t = 1; t <= 7; ++t) {
            if (*print >= 0) c->print_flag[t] = static_cast<unsigned char>(*print);
            if (*stop >= 0) c->stop_flag[t] = static_cast<unsigned char>(*stop);
        }
    } else if (type > 0) {
        // This form can set a switch but never clear it.
        if (*print >= 1) c->print_flag[type] = static_cast<unsigned char>(*print);
        if (*stop >= 1) c->stop_flag[type] = static_cast<unsigned char>(*stop);
    } else {
        *print = c->print_flag[-type];
        *stop = c->stop_flag[-type];
    }
}
