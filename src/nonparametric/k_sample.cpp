// Tests of k independent samples laid one after another in y. Kruskal and Wallis's H
// (1952) on average ranks, with and without the tie correction, its p-value from the
// chi-squared distribution from 6 groups on and from a beta distribution fitted to
// H / (N - 1) below. The k-sample test for an ordered alternative of Terpstra (1952) and
// Jonckheere (1954): S = (pairs in increasing order) - (pairs in decreasing order) over
// the pairs of observations of ordered groups, with its exact variance and kurtosis
// under the null and a Student t approximation matched to them.
#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "nonparametric.hpp"

namespace korvs {
namespace {

// The group sizes: ni >= 1 (30044 with the group from 0 and its size). Their total in
// *total. False on an error.
bool sizes_refused(int groups, const int ni[], long long* total) {
    if (null_required(ni, "ni")) return true;
    *total = 0;
    for (int i = 0; i < groups; ++i) {
        if (ni[i] < 1) {
            korvs_e1sti(1, i);
            korvs_e1sti(2, ni[i]);
            korvs_ermes(5, 30044);
            return true;
        }
        *total += ni[i];
    }
    if (*total > 0x7fffffff) {
        korvs_e1sti(1, groups);
        korvs_e1stl(1, "n_groups");
        korvs_ermes(5, 201);
        return true;
    }
    return false;
}

template <class T> bool any_missing(long long n, const T y[]) {
    for (long long i = 0; i < n; ++i)
        if (std::isnan(y[i])) return true;
    return false;
}

// The upper tail of H: chi-squared with k - 1 degrees of freedom, or the beta
// approximation of H/(N - 1) with parameters (k - 1) E and (N - k) E.
template <class T> T kruskal_wallis_p(double h, int k, const int ni[], double n) {
    if (k >= 6) return T(1) - api::chi_squared_cdf(static_cast<T>(h), static_cast<T>(k - 1));
    double s = 0;
    for (int i = 0; i < k; ++i)
        s += 1.0 / ni[i];
    const double q = n * (n + 1) / (2 * (n - k) * (k - 1));
    const double d = 1 / (n / (1 - q * (s - double(k) * k / n)) + 1.2);
    const double e = 0.5 - 0.6 * d * (n + 1) / (n - 1);
    const double a = (k - 1) * e, b = (n - k) * e, f = h / (n - 1);
    if (f >= 1) return T(0);
    if (!(a > 0 && b > 0 && std::isfinite(a) && std::isfinite(b))) return mach<T>::nan;
    if (f <= 0) return T(1);
    return T(1) - np::beta_cdf(static_cast<T>(f), static_cast<T>(a), static_cast<T>(b));
}

// K2SKL.
template <class T> void l_kruskal_wallis(int k, const int ni[], const T y[], OptionList& opt, T** result) {
    TestArgs<T, T> a;
    a.result.set_plain(nullptr);
    walk_options(opt, kGoOn103, [&](int code) { return read_shared(opt, code, kOptFuzz | kOptReturnUser, a); });
    if (korvs_n1rty(0) > 0) return;
    if (k < 2) {
        korvs_e1sti(1, k);
        korvs_ermes(5, 30043);
        return;
    }
    long long total = 0;
    if (fuzz_refused(a.fuzz) || sizes_refused(k, ni, &total) || null_required(y, "y")) return;
    const int n = static_cast<int>(total);
    if (!a.result.allocate(Shape(4, "result"))) return;
    T* r = a.result.data();
    if (any_missing(n, y)) {
        for (int j = 0; j < 4; ++j)
            r[j] = mach<T>::nan;
        *result = a.result.release();
        return;
    }
    Workspace<T> sorted(Shape(n, "n_observations"));
    Workspace<double> rank(Shape(n, "n_observations"));
    Workspace<int> perm(Shape(n, "n_observations"));
    if (!sorted || !rank || !perm) return;
    double pairs = 0, cubes = 0;
    average_ranks(n, y, (T(1) + T(10) * mach<T>::eps) * a.fuzz, sorted.get(), perm.get(), rank.get(), &pairs,
                  &cubes);
    if (pairs > 0) korvs_ermes(3, 11123);
    // H as 12/(N(N + 1)) times the sum of n_i (mean rank_i - (N + 1)/2)^2: the same value
    // as 12 sum R_i^2/n_i / (N(N + 1)) - 3(N + 1) without its cancellation.
    const double dn = n, centre = (dn + 1) / 2;
    double spread = 0;
    for (int i = 0, at = 0; i < k; ++i) {
        double sum = 0;
        for (int j = 0; j < ni[i]; ++j)
            sum += rank[at + j];
        at += ni[i];
        const double dev = sum - ni[i] * centre;
        spread += dev * dev / ni[i];
    }
    const double h = 12 * spread / (dn * (dn + 1));
    double corrected = h;
    if (pairs > 0) {
        // Formed as the tie sums are, so that one group of all N gives exactly 0.
        const double c = 1 - cubes / (dn * (dn - 1) * (dn + 1));
        if (c == 0) {
            korvs_ermes(3, 30045);
            for (int j = 0; j < 4; ++j)
                r[j] = T(-1);
            *result = a.result.release();
            return;
        }
        corrected = h / c;
    }
    if (k < 6) korvs_ermes(3, 30046);
    r[0] = static_cast<T>(h);
    r[1] = kruskal_wallis_p<T>(h, k, ni, dn);
    r[2] = static_cast<T>(corrected);
    r[3] = pairs > 0 ? kruskal_wallis_p<T>(corrected, k, ni, dn) : r[1];
    if (failed()) return;
    *result = a.result.release();
}

// KTRND: the 17 elements of the result.
template <class T> void l_k_trends(int k, const int ni[], const T y[], OptionList& opt, T** result) {
    TestArgs<T, T> a;
    a.result.set_plain(nullptr);
    walk_options(opt, kGoOn103, [&](int code) { return read_shared(opt, code, kOptReturnUser, a); });
    if (korvs_n1rty(0) > 0) return;
    if (k < 3) {
        korvs_e1sti(1, k);
        korvs_ermes(5, 30052);
        return;
    }
    long long total = 0;
    if (sizes_refused(k, ni, &total) || null_required(y, "y")) return;
    if (!a.result.allocate(Shape(17, "result"))) return;
    T* r = a.result.data();
    if (any_missing(total, y)) {
        for (int j = 0; j < 17; ++j)
            r[j] = mach<T>::nan;
        *result = a.result.release();
        return;
    }
    double n = 0, p = 0, sum_a = 0, g = 0;
    for (int i = 0; i < k; ++i) {
        const double m = ni[i];
        p += m * n;
        n += m;
        sum_a += (2 * m + 3) * m * m;
        g += m * m * m * (6 * m * m + 15 * m + 10);
    }
    // Pairs in increasing order, and exact ties; each tie then counts as an increase
    // when its uniform, drawn in the order of the pairs, is above 1/2.
    double up = 0, ties = 0;
    for (int i = 0, start = 0; i < k; start += ni[i++]) {
        for (int ia = start; ia < start + ni[i]; ++ia)
            for (long long ib = start + ni[i]; ib < total; ++ib) {
                up += y[ia] < y[ib] ? 1 : 0;
                ties += y[ia] == y[ib] ? 1 : 0;
            }
    }
    double ties_up = 0;
    if (ties > 0) {
        korvs_ermes(3, 30053);
        Workspace<T> u(Shape(static_cast<int>(ties), "n_ties"));
        if (!u) return;
        np::uniforms(static_cast<int>(ties), u.get());
        if (failed()) return;
        for (int j = 0; j < static_cast<int>(ties); ++j)
            ties_up += u[j] > T(0.5) ? 1 : 0;
    }
    const double s_random = 2 * (up + ties_up) - p, s_plain = 2 * up - p;
    const double w = (2 * n + 3) * n * n - sum_a, v = w / 18;
    const double kurtosis = -1.44 * ((6 * n * n + 15 * n + 10) * n * n * n - g) / (w * w);
    const double d = -3 * (kurtosis + 2) / kurtosis;
    const double s[4] = {s_random, s_plain, s_random - 1, s_plain - 1};
    r[0] = static_cast<T>(s_random);
    r[1] = static_cast<T>(s_plain);
    r[6] = static_cast<T>(v);
    r[7] = static_cast<T>(kurtosis);
    r[8] = static_cast<T>(n);
    r[9] = static_cast<T>(s_random / p);
    r[10] = static_cast<T>(s_plain / p);
    r[11] = static_cast<T>(ties);
    r[16] = static_cast<T>(d);
    for (int j = 0; j < 4; ++j)
        r[12 + j] = static_cast<T>(s[j] * std::sqrt(d / ((d + 1) * v - s[j] * s[j])));
    if (d < 1) {
        korvs_ermes(3, 30054);
        for (int j = 2; j < 6; ++j)
            r[j] = T(0);
    } else {
        // The upper tail as the lower tail of -t, which keeps a small p-value's digits.
        for (int j = 0; j < 4; ++j)
            r[2 + j] = np::t_cdf(-r[12 + j], static_cast<T>(d));
        if (failed()) return;
    }
    *result = a.result.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_kruskal_wallis_test(int n_groups, int ni[], float y[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_f_kruskal_wallis_test", "K2SKL ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_kruskal_wallis(n_groups, ni, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_kruskal_wallis_test(int n_groups, int ni[], double y[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_d_kruskal_wallis_test", "K2SKL ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_kruskal_wallis(n_groups, ni, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_k_trends_test(int n_groups, int ni[], float y[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_f_k_trends_test", "KTRND ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_k_trends(n_groups, ni, y, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_k_trends_test(int n_groups, int ni[], double y[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, y);
    korvs::run_test("korvs_d_k_trends_test", "KTRND ", &ap, 3,
                    [&](korvs::OptionList& opt) { korvs::l_k_trends(n_groups, ni, y, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
