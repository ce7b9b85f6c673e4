// What the deviate families share: the frame of a deviate routine's parser (options,
// checks, result array) and the inner generators that one family lends another.
// Templates over the element type; the inner generators are instantiated for float and
// double in the file of their family.
#pragma once

#include <climits>
#include <cmath>

#include "frame/checks.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "generator.hpp"
#include "korvstat.h"

#if defined(__clang__)
// Several deviates end their named arguments with a float, as the interface has them;
// va_start needs only the place of that argument.
#pragma clang diagnostic ignored "-Wvarargs"
#endif

namespace korvs {

// The parser of a deviate routine: the option list (KORVS_RETURN_USER, and the codes
// that option(code) takes, which returns false for a code it does not know), the checks
// of the count and the parameters, the result array, the draw, and the result handed out
// only when nothing of type FATAL or above was raised. Nothing is drawn when a check
// fails.
template <class R, class Option, class Check, class Draw>
void l_deviates(int n_random, OptionList& opt, R** result, Option option, Check check, Draw draw) {
    Output<R> out;
    out.set_plain(nullptr);
    for (int code; (code = opt.code()) != 0;) {
        if (code == KORVS_RETURN_USER) {
            out.set_user(opt.user<R>("r", "KORVS_RETURN_USER"));
        } else if (!option(code)) {
            opt.unknown(code);
            return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    check();
    if (korvs_n1rty(0) > 3) return;
    if (!out.allocate(Shape::count(n_random))) return;
    draw(out.data());
    if (korvs_n1rty(0) > 3) return;
    *result = out.release();
}

// The routines without options of their own.
inline bool no_options(int) { return false; }

// The standard minimum message for a count below 1. True when the count is good.
inline bool count_checked(int n, const char* name) {
    int checks = 0;
    check_range(n, name, 1, -1, &checks);
    return n >= 1;
}

// A real parameter shown in an integer insert (the standard range messages have only
// those): rounded away from the admissible range, so that the message shows a value
// outside it; 0 for a NaN.
template <class T> int shown_as_integer(T value, T low) {
    if (std::isnan(value)) return 0;
    const T v = value < low ? std::floor(value) : std::ceil(value);
    if (v <= T(INT_MIN)) return INT_MIN;
    if (v >= T(INT_MAX)) return INT_MAX;
    return static_cast<int>(v);
}

// A positive real parameter, reported as below the minimum 1 of the standard message
// (603) with its name. True when it is good.
template <class T> bool positive_checked(T value, const char* name) {
    if (value > 0) return true;
    korvs_e1sti(1, shown_as_integer(value, T(1)));
    korvs_e1sti(2, 1);
    korvs_e1stl(1, name);
    korvs_ermes(5, 603);
    return false;
}

// A real deviate clamped into the int range, for the discrete families whose support
// runs past it.
inline int clamp_to_int(double v) { return v >= double(INT_MAX) ? INT_MAX : static_cast<int>(v); }

// korvs_rnnoa: n standard normal deviates by Kinderman and Ramage's method (1976), one
// uniform at a time from u.
template <class T> void rnnoa(Uniform<T>& u, int n, T* r);

// l_rngam: n gamma deviates of shape a > 0 and scale 1 into r. False when a check of the
// shape's set-up or an inner call failed (the error is raised).
template <class T> bool rngam(int n, T a, T* r);

// The exported routines that the families call from inside, by element type: the call
// goes through the export, with its trace entry and its error levels.
namespace api {
inline float* random_normal(int n, float* r) { return korvs_f_random_normal(n, KORVS_RETURN_USER, r, 0); }
inline double* random_normal(int n, double* r) { return korvs_d_random_normal(n, KORVS_RETURN_USER, r, 0); }
inline float* random_exponential(int n, float* r) { return korvs_f_random_exponential(n, KORVS_RETURN_USER, r, 0); }
inline double* random_exponential(int n, double* r) {
    return korvs_d_random_exponential(n, KORVS_RETURN_USER, r, 0);
}
inline float* random_gamma(int n, float a, float* r) { return korvs_f_random_gamma(n, a, KORVS_RETURN_USER, r, 0); }
inline double* random_gamma(int n, double a, double* r) {
    return korvs_d_random_gamma(n, a, KORVS_RETURN_USER, r, 0);
}
}  // namespace api

}  // namespace korvs
