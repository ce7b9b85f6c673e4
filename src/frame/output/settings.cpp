// Settings of printed output, per thread: korvs_write_options (centering, row wrap,
// paging, the NaN character, title repetition, the default format), korvs_page (width
// and length) and korvs_output_file (the output and error streams).
#include <cstdarg>
#include <cstdio>

#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/output/output.hpp"
#include "frame/thread.hpp"

namespace korvs {

WriteSettings* write_settings() { return per_thread<WriteSettings>(); }
PageSettings* page_settings() { return per_thread<PageSettings>(); }
LineSink* line_sink() { return per_thread<LineSink>(); }

namespace {

// The rule of a stored setting: a range (109) or a lower bound (110, high unused).
struct SettingRule {
    const char* identifier;
    int low;
    int high;
    int code;
};

const SettingRule kRules[6] = {
    {"KORVS_SET_CENTERING", 0, 1, 109}, {"KORVS_SET_ROW_WRAP", 0, 0, 110},   {"KORVS_SET_PAGING", -2, 0, 110},
    {"KORVS_SET_NAN_CHAR", 0, 1, 109},  {"KORVS_SET_TITLE_PAGE", 0, 1, 109}, {"KORVS_SET_FORMAT", 0, 2, 109},
};

void l_write_options(int option, int* value) {
    if (option < -6 || option > 6) {
        korvs_ermes(5, 10019);
        return;
    }
    WriteSettings* s = write_settings();
    if (!s) return;
    if (option == 0) {
        *s = WriteSettings{};
        return;
    }
    if (!value) {
        korvs_e1stl(1, "value");
        korvs_ermes(5, 6002);
        return;
    }
    int* fields[6] = {&s->centering, &s->row_wrap, &s->paging, &s->nan_char, &s->title_page, &s->format};
    if (option > 0) {
        *value = *fields[option - 1];
        return;
    }
    const SettingRule& rule = kRules[-option - 1];
    int v = *value;
    if (rule.code == 109 && (v < rule.low || v > rule.high)) {
        korvs_e1stl(1, rule.identifier);
        korvs_e1sti(1, rule.low);
        korvs_e1sti(2, rule.high);
        korvs_e1sti(3, v);
        korvs_ermes(5, 109);
    } else if (rule.code == 110 && v < rule.low) {
        korvs_e1stl(1, rule.identifier);
        korvs_e1sti(1, rule.low);
        korvs_e1sti(2, v);
        korvs_ermes(5, 110);
    }
    // A pending error stops the store.
    if (korvs_n1rty(0) > 0) return;
    *fields[-option - 1] = v;
}

void l_page(int option, int* value) {
    if (option != 1 && option != 2 && option != -1 && option != -2) {
        korvs_ermes(5, 10020);
        return;
    }
    PageSettings* p = page_settings();
    if (!p) return;
    if (!value) {
        korvs_e1stl(1, "value");
        korvs_ermes(5, 6002);
        return;
    }
    int& field = (option == 1 || option == -1) ? p->width : p->length;
    if (option > 0) {
        *value = field;
        return;
    }
    if (*value < 10) {
        korvs_e1sti(1, *value);
        korvs_ermes(5, option == -1 ? 10021 : 10022);
        return;
    }
    field = *value;
}

void l_output_file(OptionList& opt) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_GET_ERROR_FILE: korvs_umach(3, opt.pointer<FILE*>()); break;
        case KORVS_GET_OUTPUT_FILE: korvs_umach(2, opt.pointer<FILE*>()); break;
        case KORVS_SET_ERROR_FILE:
        case KORVS_SET_OUTPUT_FILE: {
            FILE* stream = opt.pointer<FILE>();
            korvs_umach(code == KORVS_SET_ERROR_FILE ? -3 : -2, &stream);
            break;
        }
        default:
            // 103 with the code and its position; its values cannot be skipped, so the
            // walk ends here.
            opt.unknown_goes_on(code);
            return;
        }
    }
}

}  // namespace
}  // namespace korvs

extern "C" KORVS_API void korvs_write_options(int option, int* value) noexcept {
    korvs::run_frame("korvs_write_options", [&] { korvs::l_write_options(option, value); });
}

extern "C" KORVS_API void korvs_page(int option, int* value) noexcept {
    korvs::run_frame("korvs_page", [&] { korvs::l_page(option, value); });
}

extern "C" KORVS_API void korvs_output_file(int code, ...) noexcept {
    va_list ap;
    va_start(ap, code);
    korvs::OptionList opt(code, &ap, 0);
    korvs::run_frame("korvs_output_file", [&] { korvs::l_output_file(opt); });
    va_end(ap);
}
