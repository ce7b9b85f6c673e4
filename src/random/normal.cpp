// Normal and lognormal deviates. The normal's default is the inverse of the distribution
// function applied to a block of uniforms; the alternative is the acceptance/rejection
// method of Kinderman and Ramage (JASA 71, 1976), with the correction of Tirler,
// Dalgaard, Hormann and Leydold (2004) that rejects a negative abscissa in the central
// region. The lognormal is exp(mean + s z) over the latter.
#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "deviates.hpp"
#include "frame/frame.hpp"
#include "kernels/kernels.hpp"
#include "special/api.hpp"

namespace korvs {
namespace {

// The constants of Kinderman and Ramage; the float twin rounds each to single.
template <class T> struct KinderRamage {
    static constexpr T xi = T(2.216035867166471);
    static constexpr T half_xi2 = T(2.216035867166471 * 2.216035867166471 / 2);
    static constexpr T c1 = T(0.398942280401433);  // 1/sqrt(2 pi)
    static constexpr T c2 = T(0.180025191068563);
    static constexpr T p_centre = T(0.884070402298758);
    static constexpr T slope = T(1.131131635444180);
    static constexpr T p_tail = T(0.973310954173898);
    static constexpr T p_tail_sign = T(0.986655477086949);
    static constexpr T p_wedge = T(0.958720824790463);
    static constexpr T p_region2 = T(0.911312780288703);
};

// The density's excess over the central triangle, which the wedges compare with.
template <class T> T excess(T x) {
    using K = KinderRamage<T>;
    return K::c1 * std::exp(-x * x / 2) - K::c2 * (K::xi - x);
}

// One of the three wedges: x = base + width * min(v, w), accepted below max(v, w) <= inner
// at once, otherwise against the excess; the sign from the order of v and w.
template <class T> T wedge(Uniform<T>& u, T base, T width, T inner, T bound) {
    for (;;) {
        const T v = u.next(), w = u.next();
        const T x = base + width * std::min(v, w);
        if (x < 0) continue;
        if (std::max(v, w) <= inner || bound * std::fabs(v - w) <= excess(x)) return v < w ? x : -x;
    }
}

}  // namespace

template <class T> void rnnoa(Uniform<T>& u, int n, T* r) {
    using K = KinderRamage<T>;
    for (int i = 0; i < n; ++i) {
        const T u1 = u.next();
        T x;
        if (u1 < K::p_centre) {
            const T v = u.next();
            x = (K::slope * u1 + v - 1) * K::xi;
        } else if (u1 >= K::p_tail) {
            T t;
            for (;;) {
                const T v = u.next(), w = u.next();
                t = K::half_xi2 - std::log(w);
                if (t * v * v <= K::half_xi2) break;
            }
            x = u1 < K::p_tail_sign ? std::sqrt(2 * t) : -std::sqrt(2 * t);
        } else if (u1 >= K::p_wedge) {
            x = wedge(u, K::xi, T(-0.630834801921960), T(0.755591531667601), T(0.034240503750111));
        } else if (u1 >= K::p_region2) {
            x = wedge(u, T(0.479727404222441), T(1.105473661022070), T(0.872834976671790), T(0.049264496342790));
        } else {
            x = wedge(u, T(0.479727404222441), T(-0.595507138015940), T(0.805577924423817), T(0.053377549506886));
        }
        r[i] = x;
    }
}

template void rnnoa<float>(Uniform<float>&, int, float*);
template void rnnoa<double>(Uniform<double>&, int, double*);

namespace {

template <class T> struct NormalArgs {
    T mean = 0;
    T variance = 1;
    bool accept_reject = false;
};

// l_rnnor: a block of uniforms through the inverse of the distribution function, in
// place, scaled by the standard deviation, the mean added.
template <class T> void l_rnnor(int n, const NormalArgs<T>& a, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    u.fill(n, r);
    for (int i = 0; i < n; ++i)
        r[i] = api::normal_inverse_cdf(r[i]);
    scal(n, std::sqrt(a.variance), r, 1);
    for (int i = 0; i < n; ++i)
        r[i] += a.mean;
}

// l_rnnoa: the same by acceptance/rejection.
template <class T> void l_rnnoa(int n, const NormalArgs<T>& a, T* r) {
    Uniform<T> u;
    if (!u.open()) return;
    rnnoa(u, n, r);
    scal(n, std::sqrt(a.variance), r, 1);
    for (int i = 0; i < n; ++i)
        r[i] += a.mean;
}

template <class T> void l_random_normal(int n_random, OptionList& opt, T** result) {
    NormalArgs<T> a;
    auto option = [&](int code) {
        switch (code) {
        case KORVS_MEAN: a.mean = opt.real<T>(); return true;
        case KORVS_MEAN_ADR: opt.real_at<T>(a.mean, "mean", "KORVS_MEAN_ADR"); return true;
        case KORVS_VARIANCE: a.variance = opt.real<T>(); return true;
        case KORVS_VARIANCE_ADR: opt.real_at<T>(a.variance, "variance", "KORVS_VARIANCE_ADR"); return true;
        case KORVS_ACCEPT_REJECT: a.accept_reject = true; return true;
        default: return false;
        }
    };
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        if (!(a.variance > 0)) {
            insert_real(1, a.variance);
            korvs_ermes(5, 20457);
        }
    };
    auto draw = [&](T* r) { a.accept_reject ? l_rnnoa(n_random, a, r) : l_rnnor(n_random, a, r); };
    l_deviates(n_random, opt, result, option, check, draw);
}

// l_rnlnl: exp(mean + s z) over a block of Kinderman and Ramage's normals.
template <class T> void l_random_lognormal(int n_random, T mean, T s, OptionList& opt, T** result) {
    auto check = [&] {
        if (!count_checked(n_random, "n_random")) return;
        if (!(s > 0)) {
            insert_real(1, s);
            korvs_ermes(5, 20664);
        }
    };
    auto draw = [&](T* r) {
        Uniform<T> u;
        if (!u.open()) return;
        rnnoa(u, n_random, r);
        for (int i = 0; i < n_random; ++i)
            r[i] = std::exp(mean + s * r[i]);
    };
    l_deviates(n_random, opt, result, no_options, check, draw);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_random_normal(int n_random, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_random_normal", [&] { korvs::l_random_normal(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_normal(int n_random, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_random_normal", [&] { korvs::l_random_normal(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_random_lognormal(int n_random, float mean, float s, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, s);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_random_lognormal", [&] { korvs::l_random_lognormal(n_random, mean, s, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_lognormal(int n_random, double mean, double s, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, s);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_random_lognormal", [&] { korvs::l_random_lognormal(n_random, mean, s, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
