// korvs_l2rrr, Householder QR with column pivoting: Q R rebuilt from the stored
// reflections equals A with its columns in the order of ipvt, the pivots fall in size,
// dependent columns come last with a vanishing pivot, initial and final columns keep
// their places, the column norms are those of a, and the checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kernels/linear_systems.hpp"
#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

template <class T> struct Qr {
    int m, n;
    std::vector<T> qr, qraux, conorm, work;
    std::vector<int> ipvt;
    Qr(int rows, int cols, const std::vector<T>& a, int pivot, std::vector<int> start = {})
        : m(rows), n(cols), qr(a.size()), qraux(cols), conorm(cols), work(2 * cols), ipvt(std::move(start)) {
        ipvt.resize(cols, 0);
        korvs::l2rrr(m, n, a.data(), m, pivot, ipvt.data(), qr.data(), m, qraux.data(), conorm.data(), work.data());
    }
    T r(int i, int j) const { return qr[i + j * m]; }
    // Q R: R's columns with each reflection H = I - u u' / u(l) applied, the last first.
    Wide product() const {
        const int steps = std::min(m, n);
        Wide x(std::size_t(m) * n, 0);
        for (int j = 0; j < n; ++j)
            for (int i = 0; i <= std::min(j, m - 1); ++i) x[i + j * m] = r(i, j);
        for (int l = steps - 1; l >= 0; --l) {
            if (qraux[l] == 0) continue;
            Wide u(m, 0);
            u[l] = qraux[l];
            for (int i = l + 1; i < m; ++i) u[i] = r(i, l);
            for (int j = 0; j < n; ++j) {
                long double t = 0;
                for (int i = l; i < m; ++i) t += u[i] * x[i + j * m];
                for (int i = l; i < m; ++i) x[i + j * m] -= t * u[i] / u[l];
            }
        }
        return x;
    }
    // A with its columns in the order of ipvt.
    std::vector<T> pivoted(const std::vector<T>& a) const {
        std::vector<T> p(a.size());
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < m; ++i) p[i + j * m] = a[i + (ipvt[j] - 1) * m];
        return p;
    }
};

template <class T> std::vector<T> random_matrix(int m, int n, unsigned seed) {
    Wide w = uniform(std::size_t(m) * n, seed);
    return std::vector<T>(w.begin(), w.end());
}

template <class T> class QrFactor : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QrFactor, Types);

TYPED_TEST(QrFactor, ReflectionsRebuildThePivotedMatrix) {
    using T = TypeParam;
    const int shapes[][2] = {{1, 1}, {1, 4}, {4, 1}, {5, 3}, {3, 5}, {40, 40}, {70, 33}, {33, 70}};
    unsigned seed = 1;
    for (const auto& [m, n] : shapes)
        for (int pivot : {0, 1}) {
            std::vector<T> a = random_matrix<T>(m, n, seed++);
            Qr<T> f(m, n, a, pivot);
            std::vector<int> order = f.ipvt;
            std::sort(order.begin(), order.end());
            std::vector<int> identity(n);
            std::iota(identity.begin(), identity.end(), 1);
            EXPECT_EQ(order, identity);
            if (!pivot) {
                EXPECT_EQ(f.ipvt, identity);
            }
            EXPECT_LE(relative_difference(f.product(), f.pivoted(a)), 4 * (m + n) * eps<T>()) << m << " by " << n;
            for (int l = 0; pivot && l + 1 < std::min(m, n); ++l)
                EXPECT_LE(std::fabs(f.r(l + 1, l + 1)), std::fabs(f.r(l, l)) * T(1.01)) << m << " by " << n << " " << l;
            for (int j = 0; j < n; ++j) {
                long double s = 0;
                for (int i = 0; i < m; ++i) s += (long double)a[i + j * m] * a[i + j * m];
                EXPECT_NEAR(f.conorm[j], std::sqrt(s), 4 * eps<T>() * std::sqrt(s));
            }
        }
    EXPECT_TRUE(this->errors().empty());
}

// Two columns that are combinations of others go last, their pivots at rounding level.
TYPED_TEST(QrFactor, DependentColumnsComeLast) {
    using T = TypeParam;
    const int m = 20, n = 6;
    std::vector<T> a = random_matrix<T>(m, n, 44);
    for (int i = 0; i < m; ++i) {
        a[i + 4 * m] = a[i] + a[i + m];
        a[i + 5 * m] = 2 * a[i + 2 * m];
    }
    Qr<T> f(m, n, a, 1);
    const long double size = f.conorm[4];
    EXPECT_GT(std::fabs(f.r(3, 3)), 0.01L * size);
    EXPECT_LE(std::fabs(f.r(4, 4)), 100 * eps<T>() * size);
    EXPECT_LE(std::fabs(f.r(5, 5)), 100 * eps<T>() * size);
    EXPECT_LE(relative_difference(f.product(), f.pivoted(a)), 4 * (m + n) * eps<T>());
}

// Columns 2 and 6 (ipvt > 0) lead in their order, column 4 (ipvt < 0) ends the matrix,
// the free ones between are ordered by size.
TYPED_TEST(QrFactor, InitialAndFinalColumnsKeepTheirPlaces) {
    using T = TypeParam;
    const int m = 8, n = 6;
    std::vector<T> a = random_matrix<T>(m, n, 45);
    Qr<T> f(m, n, a, 1, {0, 1, 0, -1, 0, 1});
    EXPECT_EQ(f.ipvt[0], 2);
    EXPECT_EQ(f.ipvt[1], 6);
    EXPECT_EQ(f.ipvt[5], 4);
    EXPECT_LE(std::fabs(f.r(3, 3)), std::fabs(f.r(2, 2)));
    EXPECT_LE(std::fabs(f.r(4, 4)), std::fabs(f.r(3, 3)));
    EXPECT_LE(relative_difference(f.product(), f.pivoted(a)), 4 * (m + n) * eps<T>());
}

TYPED_TEST(QrFactor, ChecksAndTheirCodes) {
    using T = TypeParam;
    std::vector<T> a(4, T(1)), qr(4, T(9)), aux(2), norms(2), work(4);
    std::vector<int> ipvt(2);
    auto l2rrr = [&](int m, int n, int lda, int ldqr) {
        return [=, &a, &qr, &aux, &norms, &work, &ipvt] {
            korvs::l2rrr(m, n, a.data(), lda, 1, ipvt.data(), qr.data(), ldqr, aux.data(), norms.data(), work.data());
        };
    };
    const char* two = "%(i1) %(i2)";
    this->expect_errors({
        {"rows", l2rrr(0, 2, 2, 2), 5, 20136, two, "0 2"},
        {"columns", l2rrr(2, 0, 2, 2), 5, 20136, two, "2 0"},
        {"lda", l2rrr(2, 2, 1, 2), 5, 20137, two, "1 2"},
        {"ldqr", l2rrr(2, 2, 2, 1), 5, 20138, two, "1 2"},
    });
    EXPECT_EQ(qr, std::vector<T>(4, T(9)));
}

}  // namespace
