// Walking an option list: integer codes, each followed by its values, ended by 0.
// Values are read at their widths (a floating value always arrives as double) and the
// position counter counts every item, so an unknown code can be reported by position.
#pragma once

#include <cstdarg>

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
    // Position of the item read last, counted from 1 over the whole argument list.
    int position() const { return position_; }

private:
    va_list* ap_;
    int position_;
    int first_code_ = 0;
    bool first_pending_ = false;
};

}  // namespace korvs
