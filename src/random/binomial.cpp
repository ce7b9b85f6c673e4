// Binomial deviates of n trials with probability p, in double from the twin's uniforms.
// p above 1/2 is reflected (the deviate is n minus one with 1 - p). For n p below 10,
// inversion by a sequential search from P(0) = q^n with one uniform a deviate; otherwise
// BTPE of Kachitvichyanukul and Schmeiser (CACM 31, 1988): a triangle, parallelograms and
// exponential tails about the mode, the ratio to the mode's probability by the direct
// product within 20 of the mode (and far out), else squeezed and formed by Stirling's
// formula.
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"
#include "tpe.hpp"

namespace korvs {
namespace {

// Inversion: P(0) = q^n, then P(x + 1) = P(x) ((n + 1) s/(x + 1) - s) with s = r/q. A
// uniform beyond the rounded sum of the terms takes the last value reached.
class BinomialInversion {
public:
    BinomialInversion(int n, double r) : n_(n), s_(r / (1 - r)), a_((n + 1.0) * s_), qn_(std::pow(1 - r, n)) {}

    int draw(double u) const {
        double f = qn_;
        int ix = 0;
        while (u >= f && ix < n_ && f > 0) {
            u -= f;
            ++ix;
            f *= a_ / ix - s_;
        }
        return ix;
    }

private:
    int n_;
    double s_, a_, qn_;
};

class BinomialBtpe {
public:
    BinomialBtpe(int n, double r)
        : n_(n), r_(r), q_(1 - r), npq_(n * r * (1 - r)), m_(std::floor(n * r + r)), tpe_(layout(n, r, m_)) {}

    template <class T> long long draw(Uniform<T>& u) const {
        return tpe_draw(u, tpe_, n_, [this](long long ix, double v) { return accepted(ix, v); });
    }

private:
    // p1 = trunc(2.195 sqrt(npq) - 4.6 q) + 0.5, the parallelograms' height
    // 0.134 + 20.5/(15.3 + m), the tails' rates al (1 + al/2) with
    // al = (ffm - xl)/(ffm - xl r) and (xr - ffm)/(xr q), ffm = n r + r.
    static TpeLayout layout(int n, double r, double m) {
        const double q = 1 - r, ffm = n * r + r;
        const double p1 = std::trunc(2.195 * std::sqrt(n * r * q) - 4.6 * q) + 0.5;
        const double xl = m + 0.5 - p1, xr = m + 0.5 + p1;
        const double al = (ffm - xl) / (ffm - xl * r), ar = (xr - ffm) / (xr * q);
        return TpeLayout(m, p1, 0.134 + 20.5 / (15.3 + m), al * (1 + al / 2), ar * (1 + ar / 2));
    }

    // v <= f(ix)/f(m), with f1 = m + 1, z = n + 1 - m, x1 = ix + 1, w = n - ix + 1:
    // ln(f(ix)/f(m)) = xm ln(f1/x1) + (n - m + 1/2) ln(z/w) + (ix - m) ln(w r/(x1 q))
    //                  + fc(f1) + fc(z) - fc(x1) - fc(w).
    bool accepted(long long ix, double v) const {
        const double k = std::fabs(static_cast<double>(ix) - m_);
        if (k <= 20 || k >= npq_ / 2 - 1) {
            const double s = r_ / q_, a = s * (n_ + 1.0);
            double f = 1;
            if (m_ < ix) {
                for (double i = m_ + 1; i <= ix; ++i)
                    f *= a / i - s;
            } else {
                for (double i = ix + 1; i <= m_; ++i)
                    f /= a / i - s;
            }
            return v <= f;
        }
        const double log_v = std::log(v);
        bool verdict;
        if (tpe_squeeze(k, npq_, log_v, &verdict)) return verdict;
        const double x1 = ix + 1.0, f1 = m_ + 1, z = n_ + 1 - m_, w = n_ - ix + 1.0, d = ix - m_;
        const double bound = tpe_.xm * std::log1p(-d / x1) + (n_ - m_ + 0.5) * std::log1p(d / w) +
                             d * std::log(w * r_ / (x1 * q_)) + stirling_correction(f1) + stirling_correction(z) -
                             stirling_correction(x1) - stirling_correction(w);
        return log_v <= bound;
    }

    int n_;
    double r_, q_, npq_, m_;
    TpeLayout tpe_;
};

// l_rnbin
template <class T> void l_rnbin(int n_random, int n, double p, int* r) {
    Uniform<T> u;
    if (!u.open()) return;
    const bool reflected = p > 0.5;
    const double rp = reflected ? 1 - p : p;
    if (n * rp < 10) {
        const BinomialInversion inversion(n, rp);
        for (int i = 0; i < n_random; ++i)
            r[i] = inversion.draw(u.next());
    } else {
        const BinomialBtpe btpe(n, rp);
        for (int i = 0; i < n_random; ++i)
            r[i] = static_cast<int>(btpe.draw(u));
    }
    if (reflected) {
        for (int i = 0; i < n_random; ++i)
            r[i] = n - r[i];
    }
}

template <class T> void l_random_binomial(int n_random, int n, T p, OptionList& opt, int** result) {
    auto check = [&] {
        if (!count_checked(n_random, "n_random") || !count_checked(n, "n")) return;
        if (!(p >= 0 && p <= 1)) {
            korvs_e1sti(1, shown_as_integer(p, T(0)));
            korvs_e1sti(2, 0);
            korvs_e1sti(3, 1);
            korvs_e1stl(1, "p");
            korvs_ermes(5, 602);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, [&](int* r) { l_rnbin<T>(n_random, n, p, r); });
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API int* korvs_f_random_binomial(int n_random, int n, float p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_random_binomial", [&] { korvs::l_random_binomial(n_random, n, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_binomial(int n_random, int n, double p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_random_binomial", [&] { korvs::l_random_binomial(n_random, n, p, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
