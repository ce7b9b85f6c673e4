// LU factorisation, condition estimate and solution inside the library: korvs_l2trg,
// korvs_l2crg, korvs_lfsrg and korvs_l2lrg. The blocked elimination against LINPACK's
// column-by-column elimination written out here (bit for bit), PA = LU rebuilt from the
// layout the header promises, an exact dyadic system, the oracle systems with their
// condition numbers, singular matrices and the checks.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/linear_systems.hpp"
#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

// dgefa with scaled partial pivoting, each step exchanging the rows of the pivot column
// and of the columns right of it, as its steps read. Returns the last failing step.
template <class T> int l2trg_steps(int n, const std::vector<T>& a, std::vector<T>& f, std::vector<int>& ipvt,
                                   std::vector<T>& scale) {
    const T small = std::numeric_limits<T>::min();
    f = a;
    ipvt.assign(n, 0);
    scale.assign(n, T(0));
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) scale[i] = std::max(scale[i], std::fabs(a[i + j * n]));
        scale[i] = scale[i] >= small ? T(1) / scale[i] : T(1);
    }
    auto F = [&](int i, int j) -> T& { return f[i + j * n]; };
    int fail = 0;
    for (int k = 0; k + 1 < n; ++k) {
        int l = k;
        for (int i = k + 1; i < n; ++i)
            if (std::fabs(F(i, k)) * scale[i] > std::fabs(F(l, k)) * scale[l]) l = i;
        ipvt[k] = l + 1;
        if (std::fabs(F(l, k)) <= small) {
            fail = k + 1;
            continue;
        }
        std::swap(scale[k], scale[l]);
        for (int j = k; j < n; ++j) std::swap(F(k, j), F(l, j));
        const T t = T(-1) / F(k, k);
        for (int i = k + 1; i < n; ++i) F(i, k) = t * F(i, k);
        for (int j = k + 1; j < n; ++j)
            for (int i = k + 1; i < n; ++i) F(i, j) += F(k, j) * F(i, k);
    }
    ipvt[n - 1] = n;
    if (std::fabs(F(n - 1, n - 1)) <= small) fail = n;
    return fail;
}

// A from its factors: U, then for each step from the last back the multipliers taken
// away and the rows exchanged.
template <class T> Wide rebuild(int n, const std::vector<T>& f, const std::vector<int>& ipvt) {
    Wide x(std::size_t(n) * n, 0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) x[i + j * n] = f[i + j * n];
    for (int k = n - 2; k >= 0; --k) {
        for (int i = k + 1; i < n; ++i)
            for (int j = 0; j < n; ++j) x[i + j * n] -= (long double)f[i + k * n] * x[k + j * n];
        for (int j = 0; j < n; ++j) std::swap(x[k + j * n], x[ipvt[k] - 1 + j * n]);
    }
    return x;
}

template <class T> class Lu : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Lu, Types);

// Sizes around the panels, with zero and repeated columns among them: the factors, the
// pivots, the scale factors and the failing step are those of the unblocked elimination.
TYPED_TEST(Lu, BlockingLeavesTheDigitsAsTheyAre) {
    using T = TypeParam;
    for (int n : {1, 2, 31, 32, 33, 65, 100})
        for (int singular : {0, 1}) {
            std::vector<T> a = conditioned<T>(n, 100, 3 * n, false);
            if (singular && n > 4) {
                for (int i = 0; i < n; ++i) a[i + 2 * n] = 0;
                for (int i = 0; i < n; ++i) a[i + (n - 1) * n] = a[i + 3 * n];
            }
            std::vector<T> want, want_scale, got(a.size()), scale(n);
            std::vector<int> want_ipvt, ipvt(n);
            const int fail = l2trg_steps(n, a, want, want_ipvt, want_scale);
            this->clear();
            korvs::l2trg(n, a.data(), n, got.data(), n, ipvt.data(), scale.data());
            EXPECT_EQ(got, want) << n;
            EXPECT_EQ(ipvt, want_ipvt) << n;
            EXPECT_EQ(scale, want_scale) << n;
            if (fail) {
                EXPECT_TRUE(this->only_raised(4, 11241));
                EXPECT_EQ(korvs_test::inserts("%(i1)"), std::to_string(fail));
            } else {
                EXPECT_TRUE(this->errors().empty());
            }
        }
}

TYPED_TEST(Lu, FactorsRebuildTheMatrix) {
    using T = TypeParam;
    const long double ill = std::is_same_v<T, float> ? 1e5L : 1e12L;
    for (int n : {3, 33, 100})
        for (long double cond : {10.0L, ill}) {
            std::vector<T> a = conditioned<T>(n, cond, 5 * n, false), f(a.size()), scale(n);
            std::vector<int> ipvt(n);
            korvs::l2trg(n, a.data(), n, f.data(), n, ipvt.data(), scale.data());
            EXPECT_LE(relative_difference(rebuild(n, f, ipvt), a), 4 * n * eps<T>()) << n << " " << double(cond);
        }
    EXPECT_TRUE(this->errors().empty());
}

// L U with dyadic multipliers, its rows permuted so that the scaled pivoting must
// exchange them: factors, pivots and both solutions come out exactly, and the
// multipliers of the first step stay in that step's row order.
TYPED_TEST(Lu, ExactDyadicSystem) {
    using T = TypeParam;
    const int n = 3;
    const std::vector<T> a = {1, 4, 2, T(1.5), 2, 3, T(1.75), 1, T(1.5)};
    std::vector<T> f(9), scale(3), x(3);
    std::vector<int> ipvt(3);
    korvs::l2trg(n, a.data(), n, f.data(), n, ipvt.data(), scale.data());
    EXPECT_EQ(f, (std::vector<T>{4, T(-0.25), T(-0.5), 2, 2, T(-0.5), 1, 1, 1}));
    EXPECT_EQ(ipvt, (std::vector<int>{2, 3, 3}));
    EXPECT_EQ(scale, (std::vector<T>{T(0.25), T(1) / 3, T(1) / T(1.75)}));
    const std::vector<T> b = {T(9.25), 11, T(12.5)}, bt = {15, T(14.5), T(8.25)};
    korvs::lfsrg(n, f.data(), n, ipvt.data(), b.data(), 1, x.data());
    EXPECT_EQ(x, (std::vector<T>{1, 2, 3}));
    korvs::lfsrg(n, f.data(), n, ipvt.data(), bt.data(), 2, x.data());
    EXPECT_EQ(x, (std::vector<T>{1, 2, 3}));
    std::vector<T> work(3), g(9);
    korvs::l2lrg(n, a.data(), n, bt.data(), 2, x.data(), g.data(), ipvt.data(), work.data());
    EXPECT_EQ(x, (std::vector<T>{1, 2, 3}));
    EXPECT_TRUE(this->errors().empty());
}

// The oracle's matrices: the estimated reciprocal condition number lies within a factor
// 10 of the true one and never above it, the solutions of A x = b and A'x = b are as
// accurate as the condition number allows, and the WARNINGs come where the condition
// is beyond the twin.
TYPED_TEST(Lu, OracleSystemsAndConditionEstimates) {
    using T = TypeParam;
    const long double e = eps<T>();
    for (const OracleMatrix& m : oracle_matrices()) {
        const int n = m.n;
        std::vector<T> a = m.as<T>(), f(a.size()), work(n), x(n);
        std::vector<int> ipvt(n);
        T rcond = -1;
        this->clear();
        korvs::l2crg(n, a.data(), n, f.data(), n, ipvt.data(), &rcond, work.data());
        if (m.cond1 < 0.01L / e) {
            const long double ratio = m.cond1 * rcond;
            EXPECT_GE(ratio, 0.99L) << "n " << n << " cond " << double(m.cond1);
            EXPECT_LE(ratio, 10.0L) << "n " << n << " cond " << double(m.cond1);
            EXPECT_TRUE(this->errors().empty());
        }
        if (m.cond1 > 10 / e) {  // 11236, or 11241 when exactly singular
            EXPECT_GE(korvs_n1rty(1), 3) << n;
        }
        for (int path : {1, 2}) {
            std::vector<T> want(n), b(n);
            for (int i = 0; i < n; ++i) want[i] = T((i % 5) - 2 + (i % 5 == 2));
            Wide ab = product(n, 1, n, a.data(), n, path == 2, want.data(), n, false);
            for (int i = 0; i < n; ++i) b[i] = T(ab[i]);
            this->clear();
            korvs::l2lrg(n, a.data(), n, b.data(), path, x.data(), f.data(), ipvt.data(), work.data());
            if (m.cond1 < 0.1L / e) {
                EXPECT_TRUE(this->errors().empty()) << n;
                EXPECT_LE(relative_difference(x, want), 4 * n * m.cond1 * e) << "n " << n << " path " << path;
            }
            if (m.cond1 > 10 / e) {
                EXPECT_GE(korvs_n1rty(1), 3) << n;
            }
        }
    }
}

// A zero column: FATAL with the step, the factors as far as they came, rcond left at 1,
// no solution; the solver refuses the singular factors before writing anything. A
// matrix singular to within eps in double only warns there and fails in float, where
// it is singular.
TYPED_TEST(Lu, SingularMatrices) {
    using T = TypeParam;
    const int n = 4;
    std::vector<T> a = {1, 2, 3, 4, 5, 6, 7, 9, 0, 0, 0, 0, 2, 1, 2, 1}, f(16), work(4), x(4, T(7)), b(4, T(1));
    std::vector<int> ipvt(4);
    T rcond = 0;
    korvs::l2crg(n, a.data(), n, f.data(), n, ipvt.data(), &rcond, work.data());
    EXPECT_TRUE(this->only_raised(4, 11241));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "3");
    EXPECT_EQ(rcond, T(1));
    this->clear();
    korvs::lfsrg(n, f.data(), n, ipvt.data(), b.data(), 1, x.data());
    EXPECT_TRUE(this->only_raised(5, 11241));
    EXPECT_EQ(x, std::vector<T>(4, T(7)));
    this->clear();
    korvs::l2lrg(n, a.data(), n, b.data(), 1, x.data(), f.data(), ipvt.data(), work.data());
    EXPECT_TRUE(this->only_raised(4, 11241));
    EXPECT_EQ(x, std::vector<T>(4, T(7)));

    const std::vector<T> near = {1, 1, 1, T(1 + std::ldexp(1.0, -52))}, rhs = {2, 2};
    this->clear();
    korvs::l2lrg(2, near.data(), 2, rhs.data(), 1, x.data(), f.data(), ipvt.data(), work.data());
    if (std::is_same_v<T, double>) {
        EXPECT_TRUE(this->only_raised(3, 11240));
    } else {
        EXPECT_TRUE(this->only_raised(4, 11241));
    }
}

TYPED_TEST(Lu, ChecksAndTheirCodes) {
    using T = TypeParam;
    std::vector<T> a = {2, 1, 1, 3}, f(4, T(9)), work(2), x(2, T(9));
    std::vector<int> ipvt = {1, 2};
    T rcond = 0;
    auto l2trg = [&](int n, int lda, int ldfac) {
        return [=, &a, &f, &ipvt, &work] { korvs::l2trg(n, a.data(), lda, f.data(), ldfac, ipvt.data(), work.data()); };
    };
    auto l2crg = [&](int n, int lda, int ldfac) {
        return [=, &a, &f, &ipvt, &rcond, &work] {
            korvs::l2crg(n, a.data(), lda, f.data(), ldfac, ipvt.data(), &rcond, work.data());
        };
    };
    auto lfsrg = [&](int n, int ldfac, int path) {
        return [=, &a, &ipvt, &x] { korvs::lfsrg(n, a.data(), ldfac, ipvt.data(), a.data(), path, x.data()); };
    };
    auto l2lrg = [&](int n, int lda, int path) {
        return [=, &a, &x, &f, &ipvt, &work] {
            korvs::l2lrg(n, a.data(), lda, a.data(), path, x.data(), f.data(), ipvt.data(), work.data());
        };
    };
    const char* two = "%(i1) %(i2)";
    this->expect_errors({
        {"l2trg n", l2trg(0, 2, 2), 5, 11233, "%(i1)", "0"},
        {"l2trg lda", l2trg(2, 1, 2), 5, 2026, two, "2 1"},
        {"l2trg ldfac", l2trg(2, 2, 1), 5, 11234, two, "2 1"},
        {"l2crg n", l2crg(-1, 2, 2), 5, 11233, "%(i1)", "-1"},
        {"l2crg ldfac", l2crg(2, 2, 1), 5, 11234, two, "2 1"},
        {"lfsrg n", lfsrg(0, 2, 1), 5, 11237, "%(i1)", "0"},
        {"lfsrg ldfac", lfsrg(2, 1, 1), 5, 11234, two, "2 1"},
        {"lfsrg ipath", lfsrg(2, 2, 3), 5, 11238, "%(i1)", "3"},
        {"l2lrg n", l2lrg(0, 2, 1), 5, 11237, "%(i1)", "0"},
        {"l2lrg lda", l2lrg(2, 1, 1), 5, 2026, two, "2 1"},
        {"l2lrg ipath", l2lrg(2, 2, 0), 5, 11238, "%(i1)", "0"},
    });
    EXPECT_EQ(f, std::vector<T>(4, T(9)));
    EXPECT_EQ(x, std::vector<T>(2, T(9)));
}

}  // namespace
