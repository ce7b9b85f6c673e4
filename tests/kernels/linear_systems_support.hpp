// What the tests of the linear systems share: test matrices of a chosen condition, exact
// integer ones, products and differences formed in long double, and the oracle matrices
// of tests/data/linear_systems.csv (tools/gen_linear_systems_oracle.py) with their
// condition numbers. Matrices are column-major n by n with leading dimension n unless a
// test says otherwise.
#pragma once

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "oracle.hpp"

namespace korvs_ls {

using Wide = std::vector<long double>;

template <class T> constexpr long double eps() { return std::numeric_limits<T>::epsilon(); }

inline std::vector<long double> uniform(std::size_t count, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<long double> v(count);
    for (long double& e : v) e = u(gen);
    return v;
}

// A random orthogonal matrix: the product of n Householder reflections.
inline Wide orthogonal(int n, unsigned seed) {
    Wide q(std::size_t(n) * n, 0);
    for (int i = 0; i < n; ++i) q[i + i * n] = 1;
    for (int r = 0; r < n; ++r) {
        Wide v = uniform(n, seed + 97 * r);
        long double vv = 0;
        for (long double e : v) vv += e * e;
        for (int j = 0; j < n; ++j) {  // q = (I - 2 v v' / v'v) q
            long double s = 0;
            for (int i = 0; i < n; ++i) s += v[i] * q[i + j * n];
            for (int i = 0; i < n; ++i) q[i + j * n] -= 2 * v[i] * s / vv;
        }
    }
    return q;
}

// U diag(d) V' for orthogonal U and V, with the singular values d(i) falling
// geometrically from 1 to 1/cond; symmetric positive definite when U = V.
template <class T> std::vector<T> conditioned(int n, long double cond, unsigned seed, bool definite) {
    Wide u = orthogonal(n, seed), v = definite ? u : orthogonal(n, seed + 7), d(n);
    for (int k = 0; k < n; ++k) d[k] = std::pow(cond, n > 1 ? -(long double)k / (n - 1) : 0.0L);
    std::vector<T> a(std::size_t(n) * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            long double s = 0;
            for (int k = 0; k < n; ++k) s += u[i + k * n] * d[k] * v[j + k * n];
            a[i + j * n] = static_cast<T>(s);
        }
    if (definite)  // exactly symmetric after rounding
        for (int j = 0; j < n; ++j)
            for (int i = j + 1; i < n; ++i) a[i + j * n] = a[j + i * n];
    return a;
}

// B B' for an n by k matrix B of small integers: exactly positive semidefinite of rank k
// (for random B).
template <class T> std::vector<T> gram(int n, int k, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> d(-3, 3);
    std::vector<int> b(std::size_t(n) * k);
    for (int& e : b) e = d(gen);
    std::vector<T> a(std::size_t(n) * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            int s = 0;
            for (int l = 0; l < k; ++l) s += b[i + l * n] * b[j + l * n];
            a[i + j * n] = T(s);
        }
    return a;
}

// The Pascal matrix P(i, j) = C(i + j, i): positive definite, with the upper Pascal
// matrix R(i, j) = C(j, i) as its exact Cholesky factor and an integer inverse.
template <class T> std::vector<T> pascal(int n) {
    std::vector<T> p(std::size_t(n) * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) p[i + j * n] = T(std::round(std::tgamma(i + j + 1.0) / std::tgamma(i + 1.0) / std::tgamma(j + 1.0)));
    return p;
}

template <class T> std::vector<T> upper_pascal(int n) {
    std::vector<T> r(std::size_t(n) * n, T(0));
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) r[i + j * n] = T(std::round(std::tgamma(j + 1.0) / std::tgamma(i + 1.0) / std::tgamma(j - i + 1.0)));
    return r;
}

// op(A) op(B) in long double for m by k and k by n operands given column-major with
// their leading dimensions; ta, tb: the operand is used transposed.
template <class T, class U>
Wide product(int m, int n, int k, const T* a, int lda, bool ta, const U* b, int ldb, bool tb) {
    Wide c(std::size_t(m) * n, 0);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < m; ++i) {
            long double s = 0;
            for (int l = 0; l < k; ++l)
                s += (long double)(ta ? a[l + i * lda] : a[i + l * lda]) * (tb ? b[j + l * ldb] : b[l + j * ldb]);
            c[i + j * m] = s;
        }
    return c;
}

// max |x - y| over max |y|, the difference in units of the size of y.
template <class X, class Y> long double relative_difference(const X& x, const Y& y) {
    long double diff = 0, size = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        diff = std::max(diff, std::fabs((long double)x[i] - (long double)y[i]));
        size = std::max(size, std::fabs((long double)y[i]));
    }
    return size > 0 ? diff / size : diff;
}

// The zero-based rows and columns of the strict lower triangle hold zeros.
template <class T> bool lower_is_zero(int n, const T* a, int lda) {
    for (int j = 0; j < n; ++j)
        for (int i = j + 1; i < n; ++i)
            if (a[i + j * lda] != T(0)) return false;
    return true;
}

struct OracleMatrix {
    int kind;  // 1 general, 2 symmetric positive definite
    int n;
    long double cond1;
    std::vector<double> a;  // column-major, integers
    template <class T> std::vector<T> as() const { return std::vector<T>(a.begin(), a.end()); }
};

inline std::vector<OracleMatrix> oracle_matrices() {
    korvs_oracle::Table table = korvs_oracle::read_table(std::string(KORVS_TEST_DATA) + "/linear_systems.csv");
    std::vector<OracleMatrix> out;
    for (const korvs_oracle::Row& r : table.rows) {
        OracleMatrix m{int(r[1]), int(r[2]), r[3], {}};
        m.a.assign(r.begin() + 4, r.end());
        out.push_back(m);
    }
    return out;
}

}  // namespace korvs_ls
