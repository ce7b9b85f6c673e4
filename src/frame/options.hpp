// Walking an option list: integer codes, each followed by its values, ended by 0.
// Values are read at their widths (a floating value always arrives as double) and the
// position counter counts every item, so an unknown code can be reported by position.
#pragma once

#include <cstdarg>

#include "korvstat.h"

namespace korvs {

class OptionList {
public:
    // A list whose first code is a named argument of the routine (korvs_error_options).
    OptionList(int first_code, va_list* ap, int required)
        : ap_(ap), position_(required), first_code_(first_code), first_pending_(true) {}
    // A list that starts in the variable part, after `required` named arguments.
    OptionList(va_list* ap, int required) : ap_(ap), position_(required) {}

    // The next code; 0 ends the list.
    int code() {
        ++position_;
        if (first_pending_) {
            first_pending_ = false;
            return first_code_;
        }
        return va_arg(*ap_, int);
    }
    int integer() {
        ++position_;
        return va_arg(*ap_, int);
    }
    // A floating value: passed as double, narrowed at once in a float routine.
    template <class T> T real() {
        ++position_;
        return static_cast<T>(va_arg(*ap_, double));
    }
    template <class T> T* pointer() {
        ++position_;
        return static_cast<T*>(va_arg(*ap_, void*));
    }
    // The _ADR form of a floating setting: a pointer read at once, at the routine's own
    // precision. A null pointer leaves the setting as it was and raises 104 with the
    // setting's name and the option's.
    template <class T> void real_at(T& setting, const char* name, const char* option) {
        if (const T* p = pointer<T>()) {
            setting = *p;
        } else {
            null_user(name, option);
        }
    }
    // The array of a _USER form (or of KORVS_RETURN_USER). A null pointer raises 104
    // during the walk, with the array's name and the option's; the walk goes on.
    template <class T> T* user(const char* array, const char* option) {
        T* p = pointer<T>();
        if (!p) null_user(array, option);
        return p;
    }
    // An unknown code of a parser that returns at once: 11001 with the code and its
    // position. The values behind the code cannot be skipped.
    void unknown(int code) const { raise_unknown(code, 11001); }
    // An unknown code of a parser that goes on: 103 with the code and its position. The
    // walk then reads the next item as a code; it ends at a code below 1. Returns
    // whether the walk goes on.
    bool unknown_goes_on(int code) const {
        raise_unknown(code, 103);
        return code >= 1;
    }
    // Position of the item read last, counted from 1 over the whole argument list.
    int position() const { return position_; }

private:
    void raise_unknown(int code, int error) const {
        korvs_e1sti(1, code);
        korvs_e1sti(2, position_);
        korvs_ermes(5, error);
    }
    static void null_user(const char* array, const char* option) {
        korvs_e1stl(1, array);
        korvs_e1stl(2, option);
        korvs_ermes(5, 104);
    }

    va_list* ap_;
    int position_;
    int first_code_ = 0;
    bool first_pending_ = false;
};

}  // namespace korvs
