// What the rank and sign tests share: the exported distribution functions and the uniform
// stream by element type, the shared options (fuzz, missing count, statistics, result
// array), the upper binomial tail, a running weighted sum of squares, and the tie groups
// of sorted values under a fuzz, chained or measured from a group's first value.
#pragma once

#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "korvstat.h"
#include "special/api.hpp"

namespace korvs {

// The exported routines the tests call beyond those of api.hpp (erfc, the normal and
// chi-squared distribution functions), through their exports so that their traces and
// error levels are the ones a caller of them would see.
namespace np {
inline float binomial_cdf(int k, int n, float p) { return korvs_f_binomial_cdf(k, n, p); }
inline double binomial_cdf(int k, int n, double p) { return korvs_d_binomial_cdf(k, n, p); }
inline float F_cdf(float f, float d1, float d2) { return korvs_f_F_cdf(f, d1, d2); }
inline double F_cdf(double f, double d1, double d2) { return korvs_d_F_cdf(f, d1, d2); }
inline float beta_cdf(float x, float a, float b) { return korvs_f_beta_cdf(x, a, b); }
inline double beta_cdf(double x, double a, double b) { return korvs_d_beta_cdf(x, a, b); }
inline float t_cdf(float t, float df) { return korvs_f_t_cdf(t, df); }
inline double t_cdf(double t, double df) { return korvs_d_t_cdf(t, df); }
inline float t_inverse_cdf(float p, float df) { return korvs_f_t_inverse_cdf(p, df); }
inline double t_inverse_cdf(double p, double df) { return korvs_d_t_inverse_cdf(p, df); }
// n uniforms of the thread's stream, as one call of the twin's generator draws them.
inline void uniforms(int n, float* u) { korvs_rnun(n, u); }
inline void uniforms(int n, double* u) { korvs_drnun(n, u); }
}  // namespace np

// The frame of an exported test: the export's name, the worker's trace name inside it,
// and the option list that follows `required` named arguments.
template <class W> void run_test(const char* name, const char* trace, va_list* ap, int required, W worker) {
    OptionList opt(ap, required);
    run_frame(name, [&] { run_traced(trace, [&] { worker(opt); }); });
}

// A constant that the float twin takes as its single-precision literal and the double
// twin as the exact value it rounds (1/sqrt(2), 1/3).
template <class T> constexpr T twin_constant(float single, double exact) {
    if constexpr (sizeof(T) == sizeof(float)) {
        return single;
    } else {
        return exact;
    }
}

// True after an error of type 4 or above in the call just made.
inline bool failed() { return korvs_n1rty(0) > 3; }

// The shared options, as each test accepts a subset of them.
enum SharedOption : unsigned {
    kOptFuzz = 1u,        // KORVS_FUZZ, KORVS_FUZZ_ADR
    kOptMissing = 2u,     // KORVS_N_MISSING (and 13440)
    kOptStat = 4u,        // KORVS_STAT, KORVS_STAT_USER
    kOptReturnUser = 8u,  // KORVS_RETURN_USER
};

// The settings of the shared options. S is the element type of the statistics array
// (T, or int for the trend tests).
template <class T, class S> struct TestArgs {
    T fuzz = T(0);
    bool fuzz_given = false;
    int* n_missing = nullptr;
    Output<S> stat;
    Output<T> result;
};

// Reads the values of a shared code the test accepts; false when the code is not one.
template <class T, class S> bool read_shared(OptionList& opt, int code, unsigned accepted, TestArgs<T, S>& a) {
    constexpr int kMissingAlias = 13440;
    if ((accepted & kOptFuzz) && code == KORVS_FUZZ) {
        a.fuzz = opt.real<T>();
        a.fuzz_given = true;
    } else if ((accepted & kOptFuzz) && code == KORVS_FUZZ_ADR) {
        opt.real_at(a.fuzz, "fuzz", "KORVS_FUZZ_ADR");
        a.fuzz_given = true;
    } else if ((accepted & kOptMissing) && (code == KORVS_N_MISSING || code == kMissingAlias)) {
        a.n_missing = opt.user<int>("n_missing", "KORVS_N_MISSING");
    } else if ((accepted & kOptStat) && code == KORVS_STAT) {
        if (S** address = opt.user<S*>("stat", "KORVS_STAT")) a.stat.set_plain(address);
    } else if ((accepted & kOptStat) && code == KORVS_STAT_USER) {
        a.stat.set_user(opt.user<S>("stat", "KORV_STAT_USER"));
    } else if ((accepted & kOptReturnUser) && code == KORVS_RETURN_USER) {
        a.result.set_user(opt.user<T>("result", "KORVS_RETURN_USER"));
    } else {
        return false;
    }
    return true;
}

// What a parser does with an unknown code: 11001 and return at once, 103 or 11001 and go
// on with the next item read as a code (ending at a code below 1).
enum UnknownCode { kReturn11001, kGoOn103, kGoOn11001 };

// Walks an option list: own(code) reads a code of the routine's own and says whether it
// knew it.
template <class Own> void walk_options(OptionList& opt, UnknownCode unknown, Own own) {
    for (int code; (code = opt.code()) != 0;) {
        if (own(code)) continue;
        if (unknown == kGoOn103) {
            if (!opt.unknown_goes_on(code)) return;
            continue;
        }
        opt.unknown(code);
        if (unknown == kReturn11001 || code < 1) return;
    }
}

// A negative fuzz is refused (11120); so is a NaN, which no difference could be within.
template <class T> bool fuzz_refused(T fuzz) {
    if (fuzz >= T(0)) return false;
    insert_real(1, fuzz);
    korvs_ermes(5, 11120);
    return true;
}

// A null required array: 6002 with its name. True when p is null.
inline bool null_required(const void* p, const char* name) {
    if (p) return false;
    korvs_e1stl(1, name);
    korvs_ermes(5, 6002);
    return true;
}

// P(X >= k) for X binomial with n trials of probability p. The smaller tail is summed
// by the distribution function, the larger formed as its complement, so that a small
// upper tail keeps its relative accuracy: P(X >= k) = P(n - X <= n - k), and n - X is
// binomial with probability 1 - p.
template <class T> T binomial_upper(int k, int n, T p) {
    if (k <= 0) return T(1);
    if (k > n) return T(0);
    if (T(k) > T(n) * p) return np::binomial_cdf(n - k, n, T(1) - p);
    return T(1) - np::binomial_cdf(k - 1, n, p);
}

// Weighted running mean and sum of squares about it, updated one value at a time
// (West 1979), as korvs_s1msq keeps them.
template <class T> struct RunningSquares {
    T weight = T(0);
    T mean = T(0);
    T sum_squares = T(0);
    void add(T x, T w) {
        const T total = weight + w;
        const T d = x - mean;
        mean += d * w / total;
        sum_squares += w * weight * d * d / total;
        weight = total;
    }
};

// The first index past the tie group of the ascending v that starts at i: each value
// lies within fuzz of the one before it, so a chain of near values is one group.
template <class T> int chained_group_end(int n, const T v[], int i, T fuzz) {
    int e = i + 1;
    while (e < n && v[e] - v[e - 1] <= fuzz)
        ++e;
    return e;
}

// The same with the group measured from its first value: every member lies within tol
// of v[i].
template <class T> int anchored_group_end(int n, const T v[], int i, T tol) {
    int e = i + 1;
    while (e < n && std::fabs(v[e] - v[i]) <= tol)
        ++e;
    return e;
}

// Average ranks of the values of x (n >= 1, no NaN) in rank[], ties anchored at a
// group's first value within tol; in double for both twins, where a float would round
// the half ranks beyond 2^23. sorted and perm are work arrays of n. Adds to the
// sums over the tie groups of size t of t(t - 1) and of t(t - 1)(t + 1).
template <class T>
void average_ranks(int n, const T x[], T tol, T sorted[], int perm[], double rank[], double* ties_pairs,
                   double* ties_cubes);

}  // namespace korvs
