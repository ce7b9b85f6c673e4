// The Cholesky factorisations inside the library: korvs_chfac, korvs_mchol, korvs_lftds,
// l_l2cds and l_l2nds. The blocked factorisations against the unblocked algorithms
// written out step by step here (bit for bit), exact integer cases, rank and warnings,
// the condition estimate against the oracle's condition numbers, and the checks.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/kernels.hpp"
#include "kernels/linear_systems.hpp"
#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

template <class T> T at(const std::vector<T>& a, int n, int i, int j) { return a[i + j * n]; }

// korvs_chfac column by column: each element from the dot product of the columns above
// it, divided by its row's pivot; a zero pivot leaves a zero row. Returns the rank; bad
// receives the first column that shows a is not nonnegative definite.
template <class T> int chfac_steps(int n, const std::vector<T>& a, T tol, std::vector<T>& r, int& bad) {
    r.assign(a.size(), T(0));
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) r[i + j * n] = a[i + j * n];
    int rank = 0;
    bad = 0;
    for (int j = 0; j < n; ++j) {
        T* cj = &r[j * n];
        T s = 0, tolj = std::sqrt(std::fabs(cj[j])) * tol;
        for (int i = 0; i < j; ++i) {
            const T* ci = &r[i * n];
            T t = cj[i] - korvs::dot(i, ci, 1, cj, 1);
            if (ci[i] != 0) {
                t = t / ci[i];
                cj[i] = t;
                s += t * t;
            } else {
                if (bad == 0 && !(korvs::nrm2(i, ci) * tolj >= std::fabs(t))) bad = j + 1;
                cj[i] = 0;
            }
        }
        T d = cj[j] - s;
        if (std::fabs(cj[j]) * tol >= std::fabs(d)) {
            d = 0;
        } else if (d < 0) {
            d = 0;
            if (bad == 0) bad = j + 1;
        } else {
            ++rank;
        }
        cj[j] = std::sqrt(d);
    }
    return rank;
}

// korvs_mchol row by row, as its steps read.
template <class T> int mchol_steps(int n, const std::vector<T>& a, T tol, std::vector<T>& r, T& dmax, int& ind) {
    r.assign(a.size(), T(0));
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) r[i + j * n] = a[i + j * n];
    T gamma = std::fabs(r[(korvs::iamax(n, r.data(), n + 1) - 1) * (n + 1)]), xi = 0;
    for (int j = 1; j < n; ++j) xi = std::max(xi, std::fabs(r[korvs::iamax(j, &r[j * n], 1) - 1 + j * n]));
    T beta2 = std::max(gamma, xi / std::max(T(1), std::sqrt(T(n) * T(n) - 1)));
    int rank = 0;
    T dmin = 0;
    dmax = 0;
    ind = 0;
    for (int j = 0; j < n; ++j) {
        T* cj = &r[j * n];
        T a0 = cj[j], tolj = std::sqrt(std::fabs(a0)) * tol, s = korvs::nrm2(j, cj), d = a0 - s * s, theta = 0;
        bool candidate = std::fabs(d) <= tol * a0, failed = false;
        for (int k = j + 1; k < n; ++k) {
            T* ck = &r[k * n];
            ck[j] = ck[j] - korvs::dot(j, cj, 1, ck, 1);
            T v = std::fabs(ck[j]);
            failed = failed || std::sqrt(std::fabs(ck[k])) * tolj < v;
            theta = std::max(theta, v);
        }
        if (candidate && !failed) {
            for (int k = j; k < n; ++k) r[j + k * n] = 0;
            continue;
        }
        ++rank;
        T e = std::max(beta2 > 0 ? theta * theta / beta2 : T(0), std::fabs(d)), delta = e - d;
        dmax = std::max(dmax, delta < tol * a0 ? T(0) : delta);
        cj[j] = std::sqrt(e);
        if (d < dmin) {
            ind = j + 1;
            dmin = d;
        }
        for (int k = j + 1; k < n; ++k) r[j + k * n] *= T(1) / cj[j];
    }
    return rank;
}

template <class T> class CholeskyInternal : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CholeskyInternal, Types);

// Definite, semidefinite and indefinite matrices of sizes around the blocks of rows:
// the blocked factorisations give the very digits, rank, warning and increases of the
// algorithms written column by column and row by row.
TYPED_TEST(CholeskyInternal, BlockingLeavesTheDigitsAsTheyAre) {
    using T = TypeParam;
    const T tol = 100 * std::numeric_limits<T>::epsilon();
    for (int n : {5, 31, 32, 33, 70, 100}) {
        std::vector<T> indefinite = conditioned<T>(n, 10, n, true);
        for (int i = 0; i < n; i += 3) indefinite[i * (n + 1)] -= T(0.5);
        for (const auto& a : {conditioned<T>(n, 1e3, n, true), gram<T>(n, n / 2, n), indefinite}) {
            std::vector<T> want, got(a.size(), T(-1));
            int bad = 0, rank = -1;
            int want_rank = chfac_steps(n, a, tol, want, bad);
            this->clear();
            korvs::chfac(n, a.data(), n, tol, &rank, got.data(), n);
            EXPECT_EQ(got, want) << "chfac " << n;
            EXPECT_EQ(rank, want_rank) << n;
            if (bad) {
                EXPECT_TRUE(this->only_raised(3, 20406) && korvs_test::inserts("%(i1)") == std::to_string(bad));
            }
            if (!bad) {
                EXPECT_TRUE(this->errors().empty());
            }

            T want_dmax = 0, dmax = -1;
            int want_ind = 0, ind = -1;
            want_rank = mchol_steps(n, a, tol, want, want_dmax, want_ind);
            korvs::mchol(n, a.data(), n, tol, &rank, got.data(), n, &dmax, &ind);
            EXPECT_EQ(got, want) << "mchol " << n;
            EXPECT_EQ(rank, want_rank);
            EXPECT_EQ(dmax, want_dmax);
            EXPECT_EQ(ind, want_ind);
        }
    }
}

// The Pascal matrix factors exactly into the upper Pascal matrix; a column that is the
// sum of two others leaves a zero row and the rank one short, without a message.
TYPED_TEST(CholeskyInternal, ExactFactorsAndDependentColumns) {
    using T = TypeParam;
    const int n = 8;
    std::vector<T> p = pascal<T>(n), r(p.size()), fac(p.size());
    int rank = 0;
    korvs::chfac(n, p.data(), n, T(1e-5), &rank, r.data(), n);
    korvs::lftds(n, p.data(), n, fac.data(), n);
    EXPECT_EQ(r, upper_pascal<T>(n));
    EXPECT_EQ(fac, upper_pascal<T>(n));
    EXPECT_EQ(rank, n);

    // A positive semidefinite matrix whose third column is the sum of the other two.
    const int m = 3;
    std::vector<T> a = {6, -1, 5, -1, 11, 10, 5, 10, 15}, s(m * m);
    korvs::chfac(m, a.data(), m, T(1e-5), &rank, s.data(), m);
    EXPECT_EQ(rank, 2);
    for (int k = 0; k < m; ++k) EXPECT_EQ(s[2 + k * m], T(0));
    EXPECT_TRUE(this->errors().empty());
}

// A pivot below zero beyond the tolerance: one WARNING naming the first such column,
// the pivot taken as zero; lftds refuses the same matrix at that column and leaves the
// rows above it finished, a's upper triangle from it on.
TYPED_TEST(CholeskyInternal, MatricesThatAreNotDefinite) {
    using T = TypeParam;
    const int n = 6;
    std::vector<T> a = pascal<T>(n);
    a[3 * (n + 1)] -= 2;  // pivot 4 becomes -1
    a[5 * (n + 1)] -= 3;
    std::vector<T> r(a.size()), fac(a.size());
    int rank = 0;
    korvs::chfac(n, a.data(), n, T(1e-5), &rank, r.data(), n);
    EXPECT_TRUE(this->only_raised(3, 20406));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(r1%.0e)"), "4 1e-05");
    EXPECT_EQ(r[3 * (n + 1)], T(0));
    EXPECT_EQ(rank, n - 1);

    this->clear();
    korvs::lftds(n, a.data(), n, fac.data(), n);
    EXPECT_TRUE(this->only_raised(4, 50054));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "4");
    std::vector<T> upper = upper_pascal<T>(n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) EXPECT_EQ(at(fac, n, i, j), i < 3 ? at(upper, n, i, j) : at(a, n, i, j)) << i << j;
    EXPECT_TRUE(lower_is_zero(n, fac.data(), n));
}

// The reciprocal condition number of the positive definite oracle matrices lies within a
// factor 10 of the true one and never above it; the WARNING comes when it is at most eps.
TYPED_TEST(CholeskyInternal, ConditionEstimateAgainstTheOracle) {
    using T = TypeParam;
    const long double e = eps<T>();
    int seen = 0;
    for (const OracleMatrix& m : oracle_matrices()) {
        if (m.kind != 2) continue;
        const int n = m.n;
        std::vector<T> a = m.as<T>(), fac(a.size()), work(n);
        T rcond = -1;
        this->clear();
        korvs::l2cds(n, a.data(), n, fac.data(), n, &rcond, work.data());
        if (korvs_n1rty(1) == 4) {  // beyond the twin: the factorisation itself fails
            EXPECT_GT(m.cond1, 0.01L / e) << n;
            continue;
        }
        ++seen;
        const long double ratio = m.cond1 * rcond;
        if (m.cond1 < 0.01L / e) {
            EXPECT_GE(ratio, 0.99L) << "n " << n << " cond " << double(m.cond1);
            EXPECT_LE(ratio, 10.0L) << "n " << n << " cond " << double(m.cond1);
        }
        if (m.cond1 > 10 / e) {
            EXPECT_TRUE(this->only_raised(3, 11224)) << n;
        }
        if (m.cond1 < 0.1L / e) {
            EXPECT_TRUE(this->errors().empty()) << n;
        }
    }
    EXPECT_GE(seen, 12);
}

// The inverse of the Pascal matrix is the integer matrix L^-T L^-1, L^-1(i, j) =
// (-1)^(i-j) C(i, j), and comes out exactly; other positive definite matrices give
// A A^-1 = I to their condition number's accuracy, both triangles filled.
TYPED_TEST(CholeskyInternal, InverseOfPositiveDefiniteMatrices) {
    using T = TypeParam;
    const int n = 6;
    std::vector<T> p = pascal<T>(n), inv(p.size()), work(n), want(p.size(), T(0));
    std::vector<T> lower_inverse = upper_pascal<T>(n);  // transposed and signed below
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = std::max(i, j); k < n; ++k)
                want[i + j * n] += T(((k - i) % 2 ? -1 : 1) * ((k - j) % 2 ? -1 : 1)) * at(lower_inverse, n, i, k) *
                                   at(lower_inverse, n, j, k);
    T rcond = 0;
    korvs::l2nds(n, p.data(), n, inv.data(), n, &rcond, work.data());
    EXPECT_EQ(inv, want);

    for (int size : {1, 9, 40}) {
        std::vector<T> a = conditioned<T>(size, 1e3, size, true), ai(a.size()), w(size);
        korvs::l2nds(size, a.data(), size, ai.data(), size, &rcond, w.data());
        Wide identity = product(size, size, size, a.data(), size, false, ai.data(), size, false);
        for (int i = 0; i < size; ++i) identity[i * (size + 1)] -= 1;
        long double worst = 0;
        for (long double v : identity) worst = std::max(worst, std::fabs(v));
        EXPECT_LE(worst, 1e3L * 4 * size * eps<T>()) << size;
        for (int j = 0; j < size; ++j)
            for (int i = j + 1; i < size; ++i) EXPECT_EQ(ai[i + j * size], ai[j + i * size]);
    }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(CholeskyInternal, ChecksAndTheirCodes) {
    using T = TypeParam;
    std::vector<T> a = {4, 2, 2, 3}, out(4, T(9)), work(2);
    int rank = 0, ind = 0;
    T dmax = 0, rcond = 0;
    auto chfac = [&](int n, int lda, T tol, int ldr) {
        return [=, &a, &out, &rank] { korvs::chfac(n, a.data(), lda, tol, &rank, out.data(), ldr); };
    };
    auto mchol = [&](int n, T tol) {
        return [=, &a, &out, &rank, &dmax, &ind] { korvs::mchol(n, a.data(), 2, tol, &rank, out.data(), 2, &dmax, &ind); };
    };
    auto lftds = [&](int n, int lda, int ldfac) { return [=, &a, &out] { korvs::lftds(n, a.data(), lda, out.data(), ldfac); }; };
    auto l2cds = [&](int n, int lda, int ldfac) {
        return [=, &a, &out, &rcond, &work] { korvs::l2cds(n, a.data(), lda, out.data(), ldfac, &rcond, work.data()); };
    };
    auto l2nds = [&](int n, int lda, int ldainv) {
        return [=, &a, &out, &rcond, &work] { korvs::l2nds(n, a.data(), lda, out.data(), ldainv, &rcond, work.data()); };
    };
    const char* two = "%(i1) %(i2)";
    this->expect_errors({
        {"chfac tol", chfac(2, 2, T(1.5), 2), 5, 20405, "%(r1%.2g)", "1.5"},
        {"chfac tol NaN", chfac(2, 2, std::numeric_limits<T>::quiet_NaN(), 2), 5, 20405},
        {"chfac n", chfac(-1, 2, T(0), 2), 5, 603, "%(l1) %(i1)", "n -1"},
        {"chfac lda", chfac(2, 1, T(0), 2), 5, 603, "%(l1) %(i1) %(i2)", "lda 1 2"},
        {"chfac ldr", chfac(2, 2, T(0), 1), 5, 603, "%(l1) %(i1) %(i2)", "ldr 1 2"},
        {"mchol tol", mchol(2, T(-0.5)), 5, 20603, "%(r1%.2g)", "-0.5"},
        {"lftds n", lftds(0, 2, 2), 5, 20458, "%(i1)", "0"},
        {"lftds lda", lftds(2, 1, 2), 5, 20459, two, "2 1"},
        {"lftds ldfac", lftds(2, 2, 1), 5, 50053, two, "2 1"},
        {"l2cds ldfac", l2cds(2, 2, 1), 5, 50053, two, "2 1"},
        {"l2nds ldainv", l2nds(2, 2, 1), 5, 20460, two, "2 1"},
        {"chfac n 0", chfac(0, 1, T(0), 1), 0, 0},
    });
    EXPECT_EQ(out, std::vector<T>(4, T(9)));
}

}  // namespace
