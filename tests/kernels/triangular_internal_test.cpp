// Triangular systems and the storage helpers inside the library: korvs_girts with a
// full or a singular triangle and its generalised inverse, korvs_linrt, korvs_crgrg,
// korvs_csfrg, l_c1trg and korvs_nr1rr.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/linear_systems.hpp"
#include "korvs_test.hpp"
#include "linear_systems_support.hpp"

namespace {

using namespace korvs_ls;

// A well-conditioned upper triangle: the Cholesky factor of a definite matrix.
template <class T> std::vector<T> triangle(int n, unsigned seed) {
    std::vector<T> a = conditioned<T>(n, 10, seed, true), r(a.size());
    int rank = 0;
    korvs::chfac(n, a.data(), n, T(0), &rank, r.data(), n);
    return r;
}

// The inverse of the unit lower Pascal matrix, (-1)^(i-j) C(i, j).
template <class T> std::vector<T> lower_pascal_inverse(int n) {
    std::vector<T> u = upper_pascal<T>(n), inv(u.size(), T(0));
    for (int j = 0; j < n; ++j)
        for (int i = j; i < n; ++i) inv[i + j * n] = ((i - j) % 2 ? -1 : 1) * u[j + i * n];
    return inv;
}

template <class T> std::vector<T> transpose(int n, const std::vector<T>& a) {
    std::vector<T> t(a.size());
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) t[j + i * n] = a[i + j * n];
    return t;
}

template <class T> class Triangular : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Triangular, Types);

// Three right-hand sides with leading dimensions above n, solved in place and not:
// R x = b and R'x = b to rounding; with the unit integer upper Pascal matrix exactly,
// its generalised inverse then being the exact inverse.
TYPED_TEST(Triangular, FullRankSystems) {
    using T = TypeParam;
    const int n = 20, nb = 3, ldb = 22, ldx = 21;
    std::vector<T> r = triangle<T>(n, 8);
    Wide wb = uniform(std::size_t(ldb) * nb, 9);
    std::vector<T> b(wb.begin(), wb.end()), x(std::size_t(ldx) * nb);
    int rank = 0;
    for (int path : {1, 2}) {
        korvs::girts(n, r.data(), n, nb, b.data(), ldb, path, &rank, x.data(), ldx, static_cast<T*>(nullptr), 1);
        EXPECT_EQ(rank, n);
        Wide rx = product(n, nb, n, r.data(), n, path == 2, x.data(), ldx, false);
        for (int c = 0; c < nb; ++c)
            for (int i = 0; i < n; ++i) EXPECT_NEAR(rx[i + c * n], b[i + c * ldb], 8 * n * eps<T>()) << path;
        std::vector<T> in_place = b;
        korvs::girts(n, r.data(), n, nb, in_place.data(), ldb, path, &rank, in_place.data(), ldb, static_cast<T*>(nullptr), 1);
        for (int c = 0; c < nb; ++c)
            for (int i = 0; i < n; ++i) EXPECT_EQ(in_place[i + c * ldb], x[i + c * ldx]);
    }
    const int m = 7;
    std::vector<T> p = upper_pascal<T>(m), want = {3, -1, 2, 0, 5, -4, 1}, pb(m), px(m), g(m * m);
    for (int path : {3, 4}) {
        Wide exact = product(m, 1, m, p.data(), m, path == 4, want.data(), m, false);
        for (int i = 0; i < m; ++i) pb[i] = T(exact[i]);
        korvs::girts(m, p.data(), m, 1, pb.data(), m, path, &rank, px.data(), m, g.data(), m);
        EXPECT_EQ(px, want);
        EXPECT_EQ(g, transpose(m, lower_pascal_inverse<T>(m)));
    }
    EXPECT_TRUE(this->errors().empty());
}

// R with a zero second row: consistent right-hand sides solve the remaining system with
// 0 in its place; inconsistent ones warn, for each such element, and the caller sees the
// last; the generalised inverse G satisfies R G R = R and G R G = G.
TYPED_TEST(Triangular, SingularTriangles) {
    using T = TypeParam;
    const int n = 4;
    std::vector<T> r = {2, 0, 0, 0, 1, 0, 0, 0, -1, 0, 3, 0, 4, 0, 1, T(0.5)}, x(2 * n), g(n * n);
    const std::vector<T> y = {1, 7, -2, 3};  // x(2) plays no part
    int rank = 0;
    for (int path : {1, 2}) {
        Wide b = product(n, 1, n, r.data(), n, path == 2, y.data(), n, false);
        std::vector<T> bb(b.begin(), b.end());
        this->clear();
        korvs::girts(n, r.data(), n, 1, bb.data(), n, path, &rank, x.data(), n, static_cast<T*>(nullptr), 1);
        EXPECT_TRUE(this->errors().empty()) << path;
        EXPECT_EQ(rank, 3);
        EXPECT_EQ(x[1], T(0));
        Wide rx = product(n, 1, n, r.data(), n, path == 2, x.data(), n, false);
        for (int i = 0; i < n; ++i) EXPECT_NEAR(rx[i], b[i], 8 * eps<T>() * 10) << path;
    }
    std::vector<T> bad = {1, 1, 1, 1, 2, 2, 2, 2};
    korvs::girts(n, r.data(), n, 2, bad.data(), n, 1, &rank, x.data(), n, static_cast<T*>(nullptr), 1);
    EXPECT_TRUE(this->only_raised(3, 11058));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2) %(r1%.4g)"), "2 2 2");
    EXPECT_EQ(x[1], T(0));
    EXPECT_EQ(x[5], T(0));
    this->clear();
    korvs::girts(n, r.data(), n, 2, bad.data(), n, 4, &rank, x.data(), n, g.data(), n);
    EXPECT_TRUE(this->only_raised(3, 11059));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "2 2");
    Wide rg = product(n, n, n, r.data(), n, false, g.data(), n, false);
    std::vector<T> rgt(rg.begin(), rg.end());
    Wide rgr = product(n, n, n, rgt.data(), n, false, r.data(), n, false);
    Wide gr = product(n, n, n, g.data(), n, false, r.data(), n, false);
    std::vector<T> grt(gr.begin(), gr.end());
    Wide grg = product(n, n, n, grt.data(), n, false, g.data(), n, false);
    EXPECT_LE(relative_difference(rgr, r), 16 * eps<T>());
    EXPECT_LE(relative_difference(grg, g), 16 * eps<T>());
    EXPECT_TRUE(lower_is_zero(n, g.data(), n));
}

TYPED_TEST(Triangular, GirtsChecks) {
    using T = TypeParam;
    std::vector<T> r = {1, 0, 0, 0, 0, 0, 0, 5, 1}, b(3, T(1)), x(3, T(9)), g(9);
    int rank = 0;
    auto girts = [&](int n, int ldr, int nb, int ldb, int path, int ldrinv) {
        return [=, &r, &b, &x, &g, &rank] {
            korvs::girts(n, r.data(), ldr, nb, b.data(), ldb, path, &rank, x.data(), 3, g.data(), ldrinv);
        };
    };
    this->expect_errors({
        {"zero diagonal, nonzero row", girts(3, 3, 1, 3, 1, 3), 5, 11060, "%(i1) %(i2) %(r1%.3g) %(r2%.3g)", "1 2 0 5"},
        {"n", girts(-1, 3, 1, 3, 1, 3), 5, 603, "%(l1) %(i1)", "n -1"},
        {"ldr", girts(3, 2, 1, 3, 1, 3), 5, 603, "%(l1) %(i1) %(i2)", "ldr 2 3"},
        {"nb", girts(3, 3, -1, 3, 1, 3), 5, 603, "%(l1) %(i1)", "nb -1"},
        {"ipath", girts(3, 3, 1, 3, 5, 3), 5, 602, "%(l1) %(i1) %(i2) %(i3)", "ipath 5 1 4"},
        {"ldb", girts(3, 3, 1, 2, 1, 3), 5, 603, "%(l1)", "ldb"},
        {"ldrinv", girts(3, 3, 1, 3, 3, 2), 5, 603, "%(l1)", "ldrinv"},
    });
    EXPECT_EQ(x, std::vector<T>(3, T(9)));
}

// Upper and lower triangles, in place and not: A A^-1 = I with the other triangle of
// the inverse cleared; the unit Pascal triangles exactly.
TYPED_TEST(Triangular, TriangularInverses) {
    using T = TypeParam;
    for (int n : {1, 5, 40}) {
        std::vector<T> upper = triangle<T>(n, n), lower = transpose(n, upper);
        for (int path : {1, 2}) {
            const std::vector<T>& a = path == 2 ? upper : lower;
            std::vector<T> inv(a.size(), T(7)), in_place = a;
            korvs::linrt(n, a.data(), n, path, inv.data(), n);
            korvs::linrt(n, in_place.data(), n, path, in_place.data(), n);
            EXPECT_EQ(in_place, inv);
            Wide ai = product(n, n, n, a.data(), n, false, inv.data(), n, false);
            for (int i = 0; i < n; ++i) ai[i * (n + 1)] -= 1;
            EXPECT_LE(relative_difference(ai, Wide(ai.size(), 0)), 16 * n * eps<T>()) << n << " " << path;
            EXPECT_TRUE(lower_is_zero(n, (path == 2 ? inv : transpose(n, inv)).data(), n));
        }
    }
    const int m = 8;
    std::vector<T> l = transpose(m, upper_pascal<T>(m)), inv(m * m);
    korvs::linrt(m, l.data(), m, 1, inv.data(), m);
    EXPECT_EQ(inv, lower_pascal_inverse<T>(m));
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Triangular, LinrtChecksAndSingularTriangles) {
    using T = TypeParam;
    std::vector<T> a = {1, 2, 3, 0}, inv(4, T(9));
    auto linrt = [&](int n, int lda, int path, int ldainv) {
        return [=, &a, &inv] { korvs::linrt(n, a.data(), lda, path, inv.data(), ldainv); };
    };
    const char* two = "%(i1) %(i2)";
    this->expect_errors({
        {"singular", linrt(2, 2, 2, 2), 4, 20462, "%(i1)", "2"},
        {"n", linrt(0, 2, 2, 2), 5, 20458, "%(i1)", "0"},
        {"lda", linrt(2, 1, 2, 2), 5, 20459, two, "2 1"},
        {"ldainv", linrt(2, 2, 2, 1), 5, 20460, two, "2 1"},
        {"ipath", linrt(2, 2, 3, 2), 5, 20461, "%(i1)", "3"},
    });
    EXPECT_EQ(inv, std::vector<T>(4, T(9)));
}

// Copy, symmetric fill, clearing of the lower triangle, the one-norm, and their checks.
TYPED_TEST(Triangular, StorageHelpers) {
    using T = TypeParam;
    const std::vector<T> a = {1, 3, 8, -2, 4, 8, 5, -6, 8};  // lda 3, n 2 in the first two rows
    std::vector<T> b(6, T(0));
    korvs::crgrg(2, a.data(), 3, b.data(), 2);
    EXPECT_EQ(b, (std::vector<T>{1, 3, -2, 4, 0, 0}));
    std::vector<T> s = {1, 9, 2, 3};
    korvs::csfrg(2, s.data(), 2);
    EXPECT_EQ(s, (std::vector<T>{1, 2, 2, 3}));
    korvs::c1trg(2, s.data(), 2);
    EXPECT_EQ(s, (std::vector<T>{1, 0, 2, 3}));
    EXPECT_EQ(korvs::nr1rr(2, 3, a.data(), 3), T(11));
    EXPECT_EQ(korvs::nr1rr(0, 3, a.data(), 3), T(0));
    EXPECT_TRUE(this->errors().empty());
    const char* two = "%(i1) %(i2)";
    this->expect_errors({
        {"crgrg n", [&] { korvs::crgrg(0, a.data(), 3, b.data(), 2); }, 5, 2025, "%(i1)", "0"},
        {"crgrg lda", [&] { korvs::crgrg(3, a.data(), 2, b.data(), 3); }, 5, 11280, two, "2 3"},
        {"crgrg ldb", [&] { korvs::crgrg(2, a.data(), 3, b.data(), 1); }, 5, 11281, two, "1 2"},
        {"csfrg n", [&] { korvs::csfrg(0, s.data(), 2); }, 5, 2025, "%(i1)", "0"},
        {"csfrg lda", [&] { korvs::csfrg(2, s.data(), 1); }, 5, 2026, two, "2 1"},
        {"c1trg lda", [&] { korvs::c1trg(3, s.data(), 2); }, 5, 2026, two, "3 2"},
    });
    EXPECT_EQ(s, (std::vector<T>{1, 0, 2, 3}));
}

}  // namespace
