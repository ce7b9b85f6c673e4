// korvs_c2vpl, the pooled within-group pass: weighted group means by the updating
// recurrences (West, 1979) and the within-group scatter as U' D U, updated one deviation
// at a time by the square-root-free Givens rotations of Gentleman (1973, Applied
// Statistics algorithm AS 75), a removal being a rotation of negative weight.
#include <cmath>
#include <cstdlib>

#include "frame/mach.hpp"
#include "frame/thread.hpp"
#include "korvstat.h"
#include "pooled.hpp"

namespace korvs {
namespace {

enum : unsigned char { kHasFirst = 1, kNotConstant = 2 };

template <class T> void release_stream(void* p) {
    auto* s = static_cast<PooledStream<T>*>(p);
    if (s) std::free(s->memory);
    std::free(s);
}

// Gentleman's square-root-free rotation of the row z of weight w into U' D U: row i of
// the factor absorbs z's element i and z keeps what row i cannot explain.
template <class T> void rotate_in(int n, T* d, T* u, T* z, T w) {
    const T tol = T(100) * mach<T>::eps;
    for (int i = 0; i < n && w != T(0); ++i) {
        const T xi = z[i];
        if (xi == T(0)) continue;
        const T di = d[i];
        const T dp = di + w * xi * xi;
        T* ui = u + static_cast<std::ptrdiff_t>(i) * n;
        if (!(dp > tol * di)) {
            // A removal that leaves this direction without spread: nothing remains of it.
            d[i] = T(0);
            for (int k = i + 1; k < n; ++k) ui[k] = T(0);
            return;
        }
        const T cbar = di / dp, sbar = w * xi / dp;
        w *= cbar;
        d[i] = dp;
        for (int k = i + 1; k < n; ++k) {
            const T t = z[k];
            z[k] = t - xi * ui[k];
            ui[k] = cbar * ui[k] + sbar * t;
        }
    }
}

}  // namespace

template <class T> PooledStream<T>* pooled_stream() {
    static int key = 0;
    static int once_word = 0;
    once(&once_word, [] { key_create(&key, release_stream<T>); });
    if (void* value = key_get(key)) return static_cast<PooledStream<T>*>(value);
    auto* s = static_cast<PooledStream<T>*>(std::calloc(1, sizeof(PooledStream<T>)));
    if (!s || key_set(key, s) != 0) {
        std::free(s);
        raise_out_of_memory();
        return nullptr;
    }
    return s;
}

template <class T> void pooled_end(PooledStream<T>& s) {
    std::free(s.memory);
    s.memory = nullptr;
    s.active = false;
}

template <class T> bool pooled_begin(PooledStream<T>& s, int nvar, int ngroups) {
    pooled_end(s);
    const long long cells = static_cast<long long>(ngroups) * nvar;
    const long long reals = ngroups + 2 * cells + 2LL * nvar + static_cast<long long>(nvar) * nvar;
    const long long bytes = reals * static_cast<long long>(sizeof(T)) + ngroups * static_cast<long long>(sizeof(int)) + cells;
    s.memory = allocate_array(1, Shape::count(bytes));
    if (!s.memory) return false;
    T* r = static_cast<T*>(s.memory);
    s.sum_weights = r, r += ngroups;
    s.means = r, r += cells;
    s.first = r, r += cells;
    s.d = r, r += nvar;
    s.e = r, r += nvar;
    s.u = r, r += static_cast<std::ptrdiff_t>(nvar) * nvar;
    s.counts = reinterpret_cast<int*>(r);
    s.flags = reinterpret_cast<unsigned char*>(s.counts + ngroups);
    for (T* p = static_cast<T*>(s.memory); p < r; ++p) *p = T(0);
    for (int g = 0; g < ngroups; ++g) s.counts[g] = 0;
    for (long long c = 0; c < cells; ++c) s.flags[c] = 0;
    s.nvar = nvar;
    s.ngroups = ngroups;
    s.blocks = 0;
    s.missing = 0;
    s.active = true;
    return true;
}

template <class T> bool c2vpl(PooledStream<T>& s, int nrow, const T* x, int ldx, const PooledColumns& cols, int sign) {
    const int n = s.nvar;
    const T tol = T(100) * mach<T>::eps;
    ++s.blocks;
    for (int row = 0; row < nrow; ++row) {
        const T* xr = x + static_cast<std::ptrdiff_t>(row) * ldx;
        int g = 0;
        if (cols.group >= 0) {
            const T gv = xr[cols.group];
            if (std::isnan(gv)) {
                ++s.missing;
                continue;
            }
            const T rounded = std::round(gv);
            if (!(rounded >= T(1) && rounded <= T(s.ngroups))) {
                korvs_e1sti(1, row);
                insert_real(1, gv);
                korvs_e1sti(2, s.ngroups);
                korvs_ermes(3, 20652);
                continue;
            }
            g = static_cast<int>(rounded) - 1;
        }
        const T f = cols.frequency >= 0 ? xr[cols.frequency] : T(1);
        const T w = cols.weight >= 0 ? xr[cols.weight] : T(1);
        bool missing = std::isnan(f) || std::isnan(w);
        for (int k = 0; k < n; ++k) missing |= std::isnan(xr[cols.variables[k]]);
        if (missing) {
            ++s.missing;
            continue;
        }
        if (f < T(0) || w < T(0)) {
            korvs_e1sti(1, row);
            insert_real(1, f < T(0) ? f : w);
            korvs_ermes(5, f < T(0) ? 20480 : 11055);
            return false;
        }
        const T c = f * w;
        if (c == T(0)) continue;
        s.counts[g] += sign * static_cast<int>(std::round(f));
        const T before = s.sum_weights[g];
        T after = before + T(sign) * c;
        if (after < -tol * (before + c)) {
            korvs_e1sti(1, g + 1);
            insert_real(1, after);
            korvs_ermes(5, 20494);
            return false;
        }
        T* mean = s.means + static_cast<std::ptrdiff_t>(g) * n;
        if (after <= tol * (before + c)) {
            // The group is empty again: its sums start afresh.
            s.sum_weights[g] = T(0);
            for (int k = 0; k < n; ++k) mean[k] = T(0);
            continue;
        }
        s.sum_weights[g] = after;
        const T step = T(sign) * c / after;
        unsigned char* flags = s.flags + static_cast<std::ptrdiff_t>(g) * n;
        T* first = s.first + static_cast<std::ptrdiff_t>(g) * n;
        for (int k = 0; k < n; ++k) {
            const T v = xr[cols.variables[k]];
            mean[k] += (v - mean[k]) * step;
            s.e[k] = v - mean[k];
            if (sign > 0 && w > T(0)) {
                if (!(flags[k] & kHasFirst)) {
                    flags[k] |= kHasFirst;
                    first[k] = v;
                } else if (v != first[k]) {
                    flags[k] |= kNotConstant;
                }
            }
        }
        // The scatter grows by c (x - m)(x - m)' S / S' with m the old mean and S the old
        // sum of weights; in the deviation e = x - m' from the new mean this is
        // ((s c + S) c / S) s e e'.
        if (before == T(0)) continue;
        const T gain = ((c * T(sign) + before) * c / before) * T(sign);
        if (gain != T(0)) rotate_in(n, s.d, s.u, s.e, gain);
    }
    return true;
}

template <class T> void pooled_finish(PooledStream<T>& s, T* pooled, T* u, T* means) {
    const std::ptrdiff_t n = s.nvar;
    long long df = -s.ngroups;
    for (int g = 0; g < s.ngroups; ++g) df += s.counts[g];
    if (means) {
        for (int g = 0; g < s.ngroups; ++g)
            for (int k = 0; k < n; ++k)
                means[g * n + k] = s.sum_weights[g] > T(0) ? s.means[g * n + k] : mach<T>::nan;
    }
    if (df <= 0) {
        korvs_e1sti(1, static_cast<int>(df + s.ngroups));
        korvs_e1sti(2, s.ngroups);
        korvs_ermes(3, 20655);
        for (std::ptrdiff_t e = 0; e < n * n; ++e) {
            if (pooled) pooled[e] = mach<T>::nan;
            if (u) u[e] = mach<T>::nan;
        }
        return;
    }
    // A variable constant within every group has no within-group spread at all.
    for (int k = 0; k < n; ++k) {
        bool varies = false;
        for (int g = 0; g < s.ngroups; ++g) varies |= (s.flags[g * n + k] & kNotConstant) != 0;
        if (!varies) s.d[k] = T(0);
    }
    // The scaled factor U, upper triangular: row i is sqrt(d(i) / df) times row i of the
    // unit triangle; the pooled matrix is U'U by dot products of its columns.
    T* root = s.e;
    for (int i = 0; i < n; ++i) root[i] = std::sqrt(s.d[i] / T(df));
    const auto factor = [&](int k, int i) { return k > i ? T(0) : k == i ? root[k] : root[k] * s.u[k * n + i]; };
    if (u)
        for (int i = 0; i < n; ++i)
            for (int k = 0; k < n; ++k) u[i * n + k] = factor(i, k);
    if (!pooled) return;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j <= i; ++j) {
            T sum = T(0);
            for (int k = 0; k <= j; ++k) sum += factor(k, i) * factor(k, j);
            pooled[i * n + j] = pooled[j * n + i] = sum;
        }
    }
}

template PooledStream<float>* pooled_stream();
template PooledStream<double>* pooled_stream();
template bool pooled_begin(PooledStream<float>&, int, int);
template bool pooled_begin(PooledStream<double>&, int, int);
template void pooled_end(PooledStream<float>&);
template void pooled_end(PooledStream<double>&);
template bool c2vpl(PooledStream<float>&, int, const float*, int, const PooledColumns&, int);
template bool c2vpl(PooledStream<double>&, int, const double*, int, const PooledColumns&, int);
template void pooled_finish(PooledStream<float>&, float*, float*, float*);
template void pooled_finish(PooledStream<double>&, double*, double*, double*);

}  // namespace korvs
