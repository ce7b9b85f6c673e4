// The inner routines of the gamma family, for the families that stand on it (the
// distribution functions, the deviates, the exact tests). Each is a template over the
// element type, instantiated for float and double in the file of its family. An inner
// routine raises in a trace frame of its own name, so that its error reaches the
// caller's frame as from a call of the routine (as korvs_csevl does); the frame stands
// around the raise only, which keeps the good path free of it.
#pragma once

#include "chebyshev.hpp"
#include "frame/mach.hpp"
#include "korvstat.h"

namespace korvs {

// The trace frame of an inner routine, for the scope it stands in.
class TraceFrame {
public:
    explicit TraceFrame(const char* name) : name_(name) { korvs_e1psh(name); }
    ~TraceFrame() { korvs_e1pop(name_); }
    TraceFrame(const TraceFrame&) = delete;
    TraceFrame& operator=(const TraceFrame&) = delete;

private:
    const char* name_;
};

// The cancellation of an underflow alert that the caller treats as harmless: the
// pending ALERT of the current frame is cleared, any other type stands.
inline void clear_alert() {
    if (korvs_n1rty(0) == 2) korvs_e1mes(0, 0, " ");
}

// The ln(1+x), digamma and cotangent tables have the lengths of Fullerton's
// single-precision tables. Their last coefficients, 2e-17 to 6e-17, exceed the double
// twin's tolerance of a tenth of half the machine precision (1.1e-17), for which inits
// would refuse them; the double twin takes the whole half precision instead and drops
// the last coefficient, a third of a unit in the last place of a result at most.
template <class T>
constexpr T short_series_eta = sizeof(T) == sizeof(float) ? series_eta<T> : mach<T>::half_eps;

// The bounds of gamma, computed once per process and precision: below xmin gamma
// underflows, above xmax it overflows.
template <class T> struct GammaLimits {
    T xmin;
    T xmax;
};

// l_r9gaml: the bounds of gamma, from the first call in the process on.
template <class T> const GammaLimits<T>& r9gaml();

// korvs_r9lgmc: the log-gamma correction term ln gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2),
// for x >= 10.
template <class T> T r9lgmc(T x);

// gamma(x) for 0 < x <= 20 and ln gamma(x) for x > 0, without a frame: the series,
// recurrence and Stirling's form of korvs_gamma and korvs_log_gamma, which raise nothing
// there, for the distribution functions that call them in their loops. Up to 20 the
// recurrence stays within a few units.
double gamma_small(double x);
double log_gamma_positive(double x);

// korvs_gamr: 1/gamma(x), 0 at the poles.
template <class T> T gamr(T x);

// korvs_algams: ln |gamma(x)| into *algam and the sign of gamma(x) into *sgngam.
template <class T> void algams(T x, T* algam, T* sgngam);

// l_alnrel: ln(1 + x), accurate for small x, as the log-beta function uses it.
template <class T> T l_alnrel(T x);

// korvs_alnrel: ln(1 + x) under its own name, as the binomial coefficient uses it.
template <class T> T alnrel(T x);

// l_gamit: Tricomi's incomplete gamma function gamma*(a, x) = x^-a P(a, x)/gamma(a).
template <class T> T l_gamit(T a, T x);

// l_r9gmit: gamma*(a, x) by its Taylor series, for 0 < x <= 1. algap1 and sgngam are
// ln |gamma(a + 1)| and its sign, alx is ln x.
template <class T> T l_r9gmit(T a, T x, T algap1, T sgngam, T alx);

// l_r9lgic: ln of the complementary incomplete gamma function by its continued
// fraction, for x > 1 and a < x; alx is ln x.
template <class T> T l_r9lgic(T a, T x, T alx);

// l_r9lgit: ln gamma*(a, x) by a continued fraction, for 0 < x <= a; algap1 is
// ln gamma(a + 1).
template <class T> T l_r9lgit(T a, T x, T algap1);

// l_psi: the digamma function.
template <class T> T l_psi(T x);

// l_cot: the cotangent.
template <class T> T l_cot(T x);

// l_poch: Pochhammer's symbol gamma(a + x)/gamma(a).
template <class T> T l_poch(T a, T x);

// korvs_binom: the binomial coefficient n over m, for 0 <= m <= n.
template <class T> T binom(int n, int m);

}  // namespace korvs
