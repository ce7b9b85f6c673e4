// korvs_f_table_oneway and korvs_f_table_twoway: frequency tallies by interval, the
// intervals equal over the data's range (mode 0), equal between given bounds with an
// open interval on either side (mode 1), cut at given points (mode 2) or centred on class
// marks (mode 3). The one-way tally compares with an absolute tolerance in mode 0, the
// two-way tally slackens its upper bounds by the factor 1 + eps. An observation's
// interval is the first whose test it passes, found by bisection over the bounds, which
// rise with the interval's index.
#include <cmath>
#include <cstdarg>

#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"

namespace korvs {
namespace {

enum { kDataBounds = 0, kKnownBounds = 1, kCutpoints = 2, kClassMarks = 3 };

// The first i in [lo, hi] at which pred holds, for a pred that is false up to some i and
// true from there on; hi + 1 where it holds nowhere.
template <class P> int first_true(int lo, int hi, P pred) {
    while (lo <= hi) {
        const int mid = lo + (hi - lo) / 2;
        if (pred(mid)) {
            hi = mid - 1;
        } else {
            lo = mid + 1;
        }
    }
    return lo;
}

// One classified variable: its mode and what the mode needs.
template <class T> struct Axis {
    int mode = kDataBounds;
    T lo = T(0), hi = T(0);     // the bounds of mode 1, the data's extremes of mode 0
    T* lo_out = nullptr;        // KORVS_DATA_BOUNDS: where the data's extremes go
    T* hi_out = nullptr;
    const T* marks = nullptr;   // cutpoints (mode 2) or class marks (mode 3)
    int k = 0;                  // intervals
    T w = T(0);                 // interval width, modes 0 and 1
    double clhw = 0;            // half the distance of the first two marks, mode 3

    // After a good tally: the data's extremes where KORVS_DATA_BOUNDS asked for them.
    void deliver() const {
        if (!lo_out) return;
        *lo_out = lo;
        *hi_out = hi;
    }

    // The data's extremes and the widths, once the arguments are checked.
    void prepare(int n, const T* x) {
        if (mode == kDataBounds) {
            lo = hi = x[0];
            for (int i = 1; i < n; ++i) {
                if (x[i] < lo) lo = x[i];
                if (x[i] > hi) hi = x[i];
            }
            w = (hi - lo) / T(k);
        }
        if (mode == kKnownBounds) w = (hi - lo) / T(k - 2);
        if (mode == kClassMarks) clhw = 0.5 * (double(marks[1]) - double(marks[0]));
    }

    // The one-way interval of x, from 1; 0 for a value close to no class mark.
    int oneway(T x) const {
        switch (mode) {
        case kDataBounds: {
            const T d = x - lo, tol = T(10) * mach<T>::eps * w;
            const int i = first_true(1, k - 1, [&](int i) { return d - T(i) * w <= tol; });
            if (i == 1 || (i <= k - 1 && T(i - 1) * w < d)) return i;
            return k;
        }
        case kKnownBounds: {
            if (x <= lo) return 1;
            if (x > hi) return k;
            const T d = x - lo;
            const int i = first_true(1, k - 2, [&](int i) { return d <= T(i) * w; });
            return i <= k - 2 ? i + 1 : k - 1;  // beyond the last inner bound only by rounding
        }
        case kCutpoints: return first_true(0, k - 2, [&](int i) { return x <= marks[i]; }) + 1;
        default: return class_mark(x, clhw);
        }
    }

    // The two-way interval of x, from 1; `previous` where no interval's test holds.
    int twoway(T x, int previous) const {
        const T s = T(1) + mach<T>::eps;
        switch (mode) {
        case kDataBounds: {
            const T d = x - lo;
            const int i = first_true(1, k - 1, [&](int i) { return d <= s * T(i) * w; });
            if (i == 1 || (i <= k - 1 && T(i - 1) * w < d)) return i;
            return k;
        }
        case kKnownBounds: {
            if (x <= s * lo) return 1;
            const T d = x - lo;
            const int j = first_true(1, k - 2, [&](int j) { return d <= T(j) * w * s; });
            if (j <= k - 2 && T(j - 1) * w * s < d) return j + 1;
            return x > hi ? k : previous;
        }
        case kCutpoints: {
            if (x <= s * marks[0]) return 1;
            const int i = first_true(2, k - 1, [&](int i) { return x <= s * marks[i - 1]; });
            if (i <= k - 1 && marks[i - 2] < x) return i;
            if (x > marks[k - 2]) return k;
            // Below a negative cutpoint the slack narrows the interval: the cut itself decides.
            return first_true(0, k - 2, [&](int i) { return x <= marks[i]; }) + 1;
        }
        default: {
            const int i = class_mark(x, double(s) * clhw);
            return i > 0 ? i : previous;
        }
        }
    }

    // The first class mark within half_width of x (inclusive), from 1; 0 for none. The
    // distances are formed in double.
    int class_mark(T x, double half_width) const {
        const double xd = x;
        const int i = first_true(0, k - 1, [&](int i) { return xd - double(marks[i]) <= half_width; });
        return i < k && double(marks[i]) - xd <= half_width ? i + 1 : 0;
    }
};

// The option list of both tallies; `axes` is 1 or 2, and each option carries its values
// once per axis. False after an error.
template <class T> bool read_table_options(OptionList& opt, int axes, Axis<T>* axis, ResultMatrix<T>& result) {
    int modes = 0;
    auto choose = [&](int mode) {
        ++modes;
        for (int a = 0; a < axes; ++a) axis[a].mode = mode;
    };
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_KNOWN_BOUNDS:
            choose(kKnownBounds);
            for (int a = 0; a < axes; ++a) {
                axis[a].lo = opt.real<T>();
                axis[a].hi = opt.real<T>();
            }
            break;
        case KORVS_KNOWN_BOUNDS_ADR:
            choose(kKnownBounds);
            for (int a = 0; a < axes; ++a) {
                opt.real_at(axis[a].lo, "lower", "KORVS_KNOWN_BOUNDS_ADR");
                opt.real_at(axis[a].hi, "upper", "KORVS_KNOWN_BOUNDS_ADR");
            }
            break;
        case KORVS_RETURN_USER: result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_DATA_BOUNDS:
            choose(kDataBounds);
            for (int a = 0; a < axes; ++a) {
                axis[a].lo_out = opt.user<T>("minimum", "KORVS_DATA_BOUNDS");
                axis[a].hi_out = opt.user<T>("maximum", "KORVS_DATA_BOUNDS");
            }
            break;
        case KORVS_CLASS_MARKS:
        case KORVS_CUTPOINTS:
            choose(code == KORVS_CUTPOINTS ? kCutpoints : kClassMarks);
            for (int a = 0; a < axes; ++a) {
                axis[a].marks = code == KORVS_CUTPOINTS ? opt.user<T>("cutpoints", "KORVS_CUTPOINTS")
                                                        : opt.user<T>("class_marks", "KORVS_CLASS_MARKS");
            }
            break;
        default: opt.unknown(code); return false;
        }
    }
    if (korvs_n1rty(0) > 0) return false;
    if (modes > 1) {
        korvs_ermes(5, 20022);
        return false;
    }
    return true;
}

const char* mode_option(int mode) { return mode == kCutpoints ? "KORVS_CUTPOINTS" : "KORVS_CLASS_MARKS"; }

// Strictly ascending marks: the position (from 0) where they fail, or -1.
template <class T> int not_ascending(const T* marks, int count) {
    for (int i = 0; i + 1 < count; ++i)
        if (!(marks[i] < marks[i + 1])) return i;
    return -1;
}

template <class T> int count_nan(int n, const T* x) {
    int nan = 0;
    for (int i = 0; i < n; ++i) nan += std::isnan(x[i]) ? 1 : 0;
    return nan;
}

// l_owfrq: the checks of the one-way tally in their order; the tally itself follows.
template <class T> bool owfrq_checks(int n, const T* x, Axis<T>& ax) {
    const int k = ax.k;
    if (n < 1) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 11002);
        return false;
    }
    if (null_array(x, "x")) return false;
    if (ax.mode == kKnownBounds && !(ax.lo < ax.hi)) {
        insert_real(1, ax.lo);
        insert_real(2, ax.hi);
        korvs_ermes(5, 20023);
        return false;
    }
    if (ax.mode == kCutpoints || ax.mode == kClassMarks) {
        const int at = not_ascending(ax.marks, ax.mode == kCutpoints ? k - 1 : k);
        if (at >= 0) {
            korvs_e1stl(1, ax.mode == kCutpoints ? "cutpoints" : "class_marks");
            korvs_e1sti(1, at);
            korvs_e1sti(2, at + 1);
            insert_real(1, ax.marks[at]);
            insert_real(2, ax.marks[at + 1]);
            korvs_ermes(5, 20024);
            return false;
        }
    }
    const int least = ax.mode == kKnownBounds ? 3 : 1;
    if (k < least) {
        korvs_e1sti(1, k);
        korvs_ermes(5, ax.mode == kKnownBounds ? 20021 : 20025);
        return false;
    }
    // 20026 is shared with the other routines that refuse a NaN: its insert is the
    // place of the first one, counted from 0.
    if (count_nan(n, x)) {
        int at = 0;
        while (!std::isnan(x[at])) ++at;
        korvs_e1sti(1, at);
        korvs_ermes(5, 20026);
        return false;
    }
    return true;
}

template <class T> void l_table_oneway(int n, const T* x, int n_intervals, OptionList& opt, T** result) {
    Axis<T> ax;
    ResultMatrix<T> out;
    if (!read_table_options(opt, 1, &ax, out)) return;
    ax.k = n_intervals;
    if ((ax.mode == kCutpoints || ax.mode == kClassMarks) && n_intervals < 2) {
        korvs_e1stl(1, mode_option(ax.mode));
        korvs_e1sti(1, n_intervals);
        korvs_ermes(5, 20020);
        return;
    }
    if (!owfrq_checks(n, x, ax)) return;
    if (!out.allocate(1, n_intervals, 1, Shape(n_intervals, "n_intervals"))) return;
    T* table = out.data();
    for (int i = 0; i < n_intervals; ++i) table[i] = T(0);
    ax.prepare(n, x);
    for (int i = 0; i < n; ++i) {
        const int interval = ax.oneway(x[i]);
        if (interval > 0) table[interval - 1] += T(1);
    }
    ax.deliver();
    *result = out.release();
}

// l_twfrq: the checks of the two-way tally in their order.
template <class T> bool twfrq_checks(int n, const T* x, const T* y, Axis<T>* ax) {
    int checks = 0;
    check_range(n, "n_observations", 1, -1, &checks);
    check_range(ax[0].k, "nx", 1, -1, &checks);
    check_range(ax[1].k, "ny", 1, -1, &checks);
    if (korvs_n1rty(0) > 0) return false;
    if (null_array(x, "x") || null_array(y, "y")) return false;
    const int mode = ax[0].mode;
    const int least = mode == kKnownBounds ? 3 : mode == kDataBounds ? 1 : 2;
    if (ax[0].k < least || ax[1].k < least) {
        korvs_e1sti(1, ax[0].k);
        korvs_e1sti(2, ax[1].k);
        if (mode != kKnownBounds) korvs_e1stl(1, mode_option(mode));
        korvs_ermes(5, mode == kKnownBounds ? 20734 : 20731);
        return false;
    }
    for (int a = 0; a < 2; ++a) {
        if (mode == kKnownBounds && !(ax[a].lo < ax[a].hi)) {
            insert_real(1, ax[a].lo);
            insert_real(2, ax[a].hi);
            korvs_ermes(5, 20735 + a);
            return false;
        }
    }
    for (int a = 0; a < 2; ++a) {
        if (mode != kCutpoints && mode != kClassMarks) break;
        const int at = not_ascending(ax[a].marks, mode == kCutpoints ? ax[a].k - 1 : ax[a].k);
        if (at >= 0) {
            korvs_e1sti(1, at);
            korvs_e1sti(2, at + 1);
            insert_real(1, ax[a].marks[at]);
            insert_real(2, ax[a].marks[at + 1]);
            korvs_ermes(5, 20737 + a);
            return false;
        }
    }
    const T* data[2] = {x, y};
    for (int a = 0; a < 2; ++a) {
        if (const int nan = count_nan(n, data[a])) {
            korvs_e1sti(1, nan);
            korvs_ermes(5, 20732 + a);
            return false;
        }
    }
    return true;
}

template <class T>
void l_table_twoway(int n, const T* x, const T* y, int nx, int ny, OptionList& opt, T** result) {
    Axis<T> ax[2];
    ResultMatrix<T> out;
    if (!read_table_options(opt, 2, ax, out)) return;
    ax[0].k = nx;
    ax[1].k = ny;
    if (!twfrq_checks(n, x, y, ax)) return;
    if (!out.allocate(nx, ny, 1, Shape(nx, "nx", ny, "ny"))) return;
    T* table = out.data();
    const std::ptrdiff_t cells = static_cast<std::ptrdiff_t>(nx) * ny;
    for (std::ptrdiff_t c = 0; c < cells; ++c) table[c] = T(0);
    ax[0].prepare(n, x);
    ax[1].prepare(n, y);
    // An observation that no interval takes keeps the interval of the one before it.
    int ix = 1, iy = 1;
    for (int i = 0; i < n; ++i) {
        ix = ax[0].twoway(x[i], ix);
        iy = ax[1].twoway(y[i], iy);
        out.at(ix - 1, iy - 1) += T(1);
    }
    ax[0].deliver();
    ax[1].deliver();
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_table_oneway(int n_observations, float x[], int n_intervals, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_intervals);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_table_oneway",
                     [&] { korvs::l_table_oneway<float>(n_observations, x, n_intervals, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_table_oneway(int n_observations, double x[], int n_intervals, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_intervals);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_table_oneway",
                     [&] { korvs::l_table_oneway<double>(n_observations, x, n_intervals, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_table_twoway(int n_observations, float x[], float y[], int nx, int ny, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, ny);
    korvs::OptionList opt(&ap, 5);
    korvs::run_frame("korvs_f_table_twoway",
                     [&] { korvs::l_table_twoway<float>(n_observations, x, y, nx, ny, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_table_twoway(int n_observations, double x[], double y[], int nx, int ny, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, ny);
    korvs::OptionList opt(&ap, 5);
    korvs::run_frame("korvs_d_table_twoway",
                     [&] { korvs::l_table_twoway<double>(n_observations, x, y, nx, ny, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
