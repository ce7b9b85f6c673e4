// The discrete deviates drawn by inversion or by a short chain of it: geometric
// trunc(ln u/ln(1 - p) + 1); hypergeometric by a sequential search from the lower end of
// the support; logarithmic series by Kemp's methods LS and LK (1981); negative binomial as
// a sum of geometric failures for a whole rk below 100, otherwise as a Poisson of a gamma
// mean; and the discrete uniform trunc(u k + 1). All compute in double (the uniform
// discrete in the widest format) from the twin's uniforms; deviates that would pass the
// largest int are set to it.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"

namespace korvs {
namespace {

// l_rngeo
template <class T> void l_random_geometric(int n_random, T p, OptionList& opt, int** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random") && !(p > 0 && p < 1)) {
            insert_real(1, p);
            korvs_ermes(5, 20662);
        }
    };
    auto draw = [&](int* r) {
        Uniform<T> u;
        if (!u.open()) return;
        const double log_q = std::log1p(-double(p));
        for (int i = 0; i < n_random; ++i)
            r[i] = clamp_to_int(std::trunc(std::log(double(u.next())) / log_q + 1));
    };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

// P(X = x) of the hypergeometric distribution carried as value * 2^exponent, so that a
// lower end of the support whose probability underflows still starts the search.
struct ScaledTerm {
    double value = 1;
    int exponent = 0;

    void times(double factor) {
        value *= factor;
        if (value < 0x1p-100) {
            value *= 0x1p100;
            exponent -= 100;
        } else if (exponent < 0 && value > 0x1p100) {
            value *= 0x1p-100;
            exponent += 100;
        }
    }
    double get() const { return exponent == 0 ? value : (exponent < -1100 ? 0 : std::ldexp(value, exponent)); }
};

// l_hypdf's checks: the sample n and the defectives m positive (9061), the lot l not
// below either (9062).
bool hypergeometric_checked(int n, int m, int l) {
    bool good = true;
    run_traced("l_hypdf", [&] {
        if (n <= 0 || m <= 0) {
            korvs_e1sti(1, n);
            korvs_e1sti(2, m);
            korvs_ermes(5, 9061);
            good = false;
        } else if (l < n || l < m) {
            korvs_e1sti(1, l);
            korvs_e1sti(2, n);
            korvs_e1sti(3, m);
            korvs_ermes(4, 9062);
            good = false;
        }
    });
    return good;
}

// l_rnhyp: sequential inversion from the lower end max(0, n + m - l), with
// P(x + 1) = P(x) (n - x)(m - x)/((x + 1)(l - n - m + x + 1)): the deviate is the first x
// whose cumulative sum reaches the uniform. The sums are formed once a call, from the
// first that is not 0 to the last that still grows, and searched by bisection, which
// finds the same x. A uniform beyond the rounded sum is reported (20663, the residual
// with n, m, l) and takes the upper end.
template <class T> void l_rnhyp(int n_random, int n, int m, int l, int* r) {
    const double big = std::max(n, m), small = std::min(n, m), lot = l;
    const double lower = std::max(0.0, small + big - lot), upper = small;
    auto ratio = [&](double x) { return (small - x) * (big - x) / ((x + 1) * (lot - small - big + x + 1)); };
    ScaledTerm term;
    if (lower == 0) {
        for (double i = 0; i < small; ++i)
            term.times((lot - big - i) / (lot - i));
    } else {
        for (double i = 1; i <= lot - big; ++i)
            term.times((lower + i) / (big + i));
    }
    double x = lower, sum = term.get();
    while (sum == 0 && x < upper) {
        term.times(ratio(x));
        x += 1;
        sum += term.get();
    }
    const ScaledTerm first_term = term;
    const double first = x, first_sum = sum;
    while (x < upper) {
        const double before = sum, falling = ratio(x) < 1;
        term.times(ratio(x));
        x += 1;
        sum += term.get();
        if (falling && sum == before) break;
    }
    const long long count = static_cast<long long>(x - first) + 1;
    Workspace<double> cumulative(Shape::count(count));
    if (!cumulative) return;
    term = first_term;
    cumulative[0] = first_sum;
    for (long long i = 1; i < count; ++i) {
        term.times(ratio(first + i - 1));
        cumulative[i] = cumulative[i - 1] + term.get();
    }
    Uniform<T> u;
    if (!u.open()) return;
    for (int i = 0; i < n_random; ++i) {
        const double v = u.next();
        const double* end = cumulative.get() + count;
        const double* at = std::lower_bound(static_cast<const double*>(cumulative.get()), end, v);
        if (at == end) {
            korvs_e1std(1, v - end[-1]);
            korvs_e1sti(1, n);
            korvs_e1sti(2, m);
            korvs_e1sti(3, l);
            run_traced("l_rnhyp", [] { korvs_ermes(3, 20663); });
            r[i] = static_cast<int>(upper);
        } else {
            r[i] = static_cast<int>(first + (at - cumulative.get()));
        }
    }
}

template <class T> void l_random_hypergeometric(int n_random, int n, int m, int l, OptionList& opt, int** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random")) hypergeometric_checked(n, m, l);
    };
    l_deviates(n_random, opt, result, no_options, check, [&](int* r) { l_rnhyp<T>(n_random, n, m, l, r); });
}

// l_rnlgr: Kemp's LS below a = 0.95, a search from P(1) = a/(-ln(1 - a)) with
// P(x + 1) = P(x) a x/(x + 1); LK from 0.95: u >= a gives 1; otherwise with
// q = 1 - (1 - a)^v, u <= q^2 gives trunc(1 + ln u/ln q), u <= q gives 2, else 1.
template <class T> void l_rnlgr(int n, double a, int* r) {
    Uniform<T> u;
    if (!u.open()) return;
    const double h = std::log1p(-a);
    if (a < 0.95) {
        const double first = -a / h;
        for (int i = 0; i < n; ++i) {
            double v = u.next(), term = first;
            int x = 1;
            while (v > term && term > 0 && x < INT_MAX) {
                v -= term;
                term *= a * x / (x + 1.0);
                ++x;
            }
            r[i] = x;
        }
        return;
    }
    for (int i = 0; i < n; ++i) {
        const double v = u.next();
        if (v >= a) {
            r[i] = 1;
            continue;
        }
        const double q = -std::expm1(h * u.next());
        if (v <= q * q) {
            r[i] = clamp_to_int(std::trunc(1 + std::log(v) / std::log(q)));
        } else {
            r[i] = v <= q ? 2 : 1;
        }
    }
}

template <class T> void l_random_logarithmic(int n_random, T a, OptionList& opt, int** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random") && !(a > 0 && a < 1)) {
            insert_real(1, a);
            korvs_ermes(5, 20570);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, [&](int* r) { l_rnlgr<T>(n_random, a, r); });
}

// l_rnnbn: the failures before the rk-th success. A whole rk below 100 sums rk geometric
// counts trunc(ln u/ln(1 - p)), one uniform each; otherwise a gamma of shape rk, then a
// Poisson of mean gamma (1 - p)/p.
template <class T> void l_rnnbn(int n, T rk, T p, int* r) {
    if (rk == std::trunc(rk) && rk < 100) {
        Uniform<T> u;
        if (!u.open()) return;
        const double log_q = std::log1p(-double(p));
        for (int i = 0; i < n; ++i) {
            double failures = 0;
            for (int j = 0; j < rk; ++j)
                failures += std::trunc(std::log(double(u.next())) / log_q);
            r[i] = clamp_to_int(failures);
        }
        return;
    }
    for (int i = 0; i < n; ++i) {
        T g;
        if (!api::random_gamma(1, rk, &g)) return;
        const float mean = static_cast<float>(g * (1 - p) / p);
        r[i] = 0;
        if (mean > 0 && !korvs_random_poisson(1, mean, KORVS_RETURN_USER, r + i, 0)) return;
    }
}

template <class T> void l_random_neg_binomial(int n_random, T rk, T p, OptionList& opt, int** result) {
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        if (!(rk > 0)) {
            insert_real(1, rk);
            insert_real(2, p);
            korvs_ermes(5, 20660);
        } else if (!(p > 0 && p < 1)) {
            insert_real(1, p);
            korvs_ermes(5, 20661);
        }
    };
    l_deviates(n_random, opt, result, no_options, check, [&](int* r) { l_rnnbn(n_random, rk, p, r); });
}

// l_rnund: trunc(u k + 1), the product and the sum in the widest format, in 1..k.
template <class T> void l_random_uniform_discrete(int n_random, int k, OptionList& opt, int** result) {
    auto check = [&] {
        if (count_checked(n_random, "n_random")) count_checked(k, "k");
    };
    auto draw = [&](int* r) {
        Uniform<T> u;
        if (!u.open()) return;
        for (int i = 0; i < n_random; ++i) {
            const long double v = static_cast<long double>(u.next()) * k + 1;
            r[i] = std::min(k, static_cast<int>(v));
        }
    };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API int* korvs_f_random_geometric(int n_random, float p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_geometric", [&] { korvs::l_random_geometric(n_random, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_geometric(int n_random, double p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_geometric", [&] { korvs::l_random_geometric(n_random, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_f_random_hypergeometric(int n_random, int n, int m, int l, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, l);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_random_hypergeometric",
                     [&] { korvs::l_random_hypergeometric<float>(n_random, n, m, l, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_hypergeometric(int n_random, int n, int m, int l, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, l);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_random_hypergeometric",
                     [&] { korvs::l_random_hypergeometric<double>(n_random, n, m, l, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_f_random_logarithmic(int n_random, float a, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_logarithmic", [&] { korvs::l_random_logarithmic(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_logarithmic(int n_random, double a, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_logarithmic", [&] { korvs::l_random_logarithmic(n_random, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_f_random_neg_binomial(int n_random, float rk, float p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_random_neg_binomial", [&] { korvs::l_random_neg_binomial(n_random, rk, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_neg_binomial(int n_random, double rk, double p, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, p);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_random_neg_binomial", [&] { korvs::l_random_neg_binomial(n_random, rk, p, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_f_random_uniform_discrete(int n_random, int k, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, k);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_random_uniform_discrete",
                     [&] { korvs::l_random_uniform_discrete<float>(n_random, k, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API int* korvs_d_random_uniform_discrete(int n_random, int k, ...) noexcept {
    int* r = nullptr;
    va_list ap;
    va_start(ap, k);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_random_uniform_discrete",
                     [&] { korvs::l_random_uniform_discrete<double>(n_random, k, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
