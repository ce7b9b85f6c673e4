// korvs_gswep, the sweep operator: the swept matrix against Goodnight's definition formed
// here in long double, the reverse sweep, the refusals of a pivot at its tolerance and
// of one that would make a swept variable collinear, and the checks.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/linear_systems.hpp"
#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

// Goodnight's swept matrix of a over the set S (in[i] true): A_SS^-1, A_SS^-1 A_SU,
// -A_US A_SS^-1 and A_UU - A_US A_SS^-1 A_SU in their places.
template <class T> Wide swept(int n, const std::vector<T>& a, const std::vector<bool>& in) {
    std::vector<int> s;
    for (int i = 0; i < n; ++i)
        if (in[i]) s.push_back(i);
    const int k = int(s.size());
    Wide inv(std::size_t(k) * 2 * k, 0);  // [A_SS | I] reduced to [I | A_SS^-1]
    for (int i = 0; i < k; ++i) {
        for (int j = 0; j < k; ++j) inv[i + j * k] = a[s[i] + s[j] * n];
        inv[i + (k + i) * k] = 1;
    }
    for (int p = 0; p < k; ++p) {
        long double d = inv[p + p * k];
        for (int j = 0; j < 2 * k; ++j) inv[p + j * k] /= d;
        for (int i = 0; i < k; ++i) {
            long double f = inv[i + p * k];
            if (i != p)
                for (int j = 0; j < 2 * k; ++j) inv[i + j * k] -= f * inv[p + j * k];
        }
    }
    auto ainv = [&](int i, int j) { return inv[i + (k + j) * k]; };  // positions in s
    auto pos = [&](int v) { return int(std::find(s.begin(), s.end(), v) - s.begin()); };
    Wide g(std::size_t(n) * n, 0);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            long double v = 0;
            if (in[i] && in[j]) {
                v = ainv(pos(i), pos(j));
            } else if (in[i]) {
                for (int q = 0; q < k; ++q) v += ainv(pos(i), q) * a[s[q] + j * n];
            } else if (in[j]) {
                for (int q = 0; q < k; ++q) v -= a[i + s[q] * n] * ainv(q, pos(j));
            } else {
                v = a[i + j * n];
                for (int p = 0; p < k; ++p)
                    for (int q = 0; q < k; ++q) v -= a[i + s[p] * n] * ainv(p, q) * a[s[q] + j * n];
            }
            g[i + j * n] = v;
        }
    return g;
}

template <class T> Wide upper(int n, const Wide& g) {
    Wide u(g.size(), 0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) u[i + j * n] = g[i + j * n];
    return u;
}

template <class T> class Sweep : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Sweep, Types);

// Pivots swept one after another, in any order, give the swept matrix of their set in
// the upper triangle and +1 in their signs; all of them give the inverse. Sweeping one
// of them again takes it out of the set; sweeping it twice in a row restores the matrix.
TYPED_TEST(Sweep, AgreesWithGoodnightsDefinition) {
    using T = TypeParam;
    const int n = 7;
    const std::vector<T> a = conditioned<T>(n, 20, 3, true);
    std::vector<T> diag(n), sign(n, T(-1)), w = a;
    for (int i = 0; i < n; ++i) diag[i] = a[i * (n + 1)];
    std::vector<bool> in(n, false);
    for (int k : {3, 0, 5, 6, 1, 0}) {  // 0 a second time: out of the set again
        korvs::gswep(k + 1, n, w.data(), n, 1, T(1e-3), diag.data(), sign.data());
        in[k] = !in[k];
        std::vector<T> lower_clean = w;
        for (int j = 0; j < n; ++j)
            for (int i = j + 1; i < n; ++i) lower_clean[i + j * n] = 0;
        EXPECT_LE(relative_difference(lower_clean, upper<T>(n, swept(n, a, in))), 400 * eps<T>()) << k;
        for (int i = 0; i < n; ++i) EXPECT_EQ(sign[i], in[i] ? T(1) : T(-1));
    }
    std::vector<T> before = w, s = sign;
    korvs::gswep(3, n, w.data(), n, 1, T(0), diag.data(), sign.data());
    korvs::gswep(3, n, w.data(), n, 1, T(0), diag.data(), sign.data());
    EXPECT_LE(relative_difference(w, before), 100 * eps<T>());
    EXPECT_EQ(sign, s);
    std::vector<T> all = a, all_sign(n, T(-1));
    for (int k = 1; k <= n; ++k) korvs::gswep(k, n, all.data(), n, 1, T(1e-3), diag.data(), all_sign.data());
    EXPECT_LE(relative_difference(upper<T>(n, Wide(all.begin(), all.end())), upper<T>(n, swept(n, a, std::vector<bool>(n, true)))),
              400 * eps<T>());
    EXPECT_TRUE(this->errors().empty());
}

// A pivot equal to its tolerance is refused: a left alone (irev 1) or its row and column
// cleared (irev 0), the sign unchanged. With three variables, 0 and 1 swept, sweeping 2
// passes its own test (residual 0.294 of its variance) but would leave variable 0 with
// 0.15 of its own, below the tolerance 0.2: refused too.
TYPED_TEST(Sweep, RefusedPivots) {
    using T = TypeParam;
    std::vector<T> a = {2, 0, 1, 3}, diag = {2, 3}, sign = {-1, -1};
    korvs::gswep(1, 2, a.data(), 2, 1, T(1), diag.data(), sign.data());
    EXPECT_EQ(a, (std::vector<T>{2, 0, 1, 3}));
    korvs::gswep(1, 2, a.data(), 2, 0, T(1), diag.data(), sign.data());
    EXPECT_EQ(a, (std::vector<T>{0, 0, 0, 3}));
    EXPECT_EQ(sign, (std::vector<T>{-1, -1}));

    std::vector<T> c = {1, T(0.7), T(0.6), T(0.7), 1, 0, T(0.6), 0, 1}, cd = {1, 1, 1}, cs = {-1, -1, -1};
    for (int k : {1, 2}) korvs::gswep(k, 3, c.data(), 3, 1, T(0.2), cd.data(), cs.data());
    EXPECT_EQ(cs, (std::vector<T>{1, 1, -1}));
    const std::vector<T> kept = c;
    korvs::gswep(3, 3, c.data(), 3, 1, T(0.2), cd.data(), cs.data());
    EXPECT_EQ(c, kept);
    EXPECT_EQ(cs, (std::vector<T>{1, 1, -1}));
    korvs::gswep(3, 3, c.data(), 3, 1, T(0.1), cd.data(), cs.data());
    EXPECT_EQ(cs, (std::vector<T>{1, 1, 1}));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Sweep, ChecksAndTheirCodes) {
    using T = TypeParam;
    std::vector<T> a = {1, 0, 0, 0, 1, 0, 0, 0, 1}, diag = {1, 1, 1}, sign = {-1, -1, -1};
    auto sweep = [&](int krow, int lda, int irev, T tol, std::vector<T> d, std::vector<T> s) {
        return [=, &a]() mutable { korvs::gswep(krow, 3, a.data(), lda, irev, tol, d.data(), s.data()); };
    };
    this->expect_errors({
        {"lda", sweep(1, 2, 1, T(0), diag, sign), 5, 603, "%(l1) %(i1) %(i2)", "lda 2 3"},
        {"krow", sweep(0, 3, 1, T(0), diag, sign), 5, 602, "%(l1) %(i1) %(i2) %(i3)", "krow 0 1 3"},
        {"irev", sweep(1, 3, 2, T(0), diag, sign), 5, 602, "%(l1) %(i1) %(i2) %(i3)", "irev 2 0 1"},
        {"tol", sweep(1, 3, 1, T(-0.25), diag, sign), 5, 20405, "%(r1%.3g)", "-0.25"},
        {"diag", sweep(1, 3, 1, T(0), {1, -1, 1}, sign), 5, 20417, "%(i1) %(r1%.3g)", "2 -1"},
        {"sign", sweep(1, 3, 1, T(0), diag, {-1, -1, T(0.5)}), 5, 20418, "%(i1) %(r1%.3g) %(r2%.3g) %(r3%.3g)",
         "3 0.5 1 -1"},
    });
    EXPECT_EQ(a, (std::vector<T>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

}  // namespace
