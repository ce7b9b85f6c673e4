// korvs_r9ivn and korvs_r2ivn: least squares by updating an upper triangular factor one
// observation at a time with square-root-free plane rotations (Gentleman 1973, "Least
// squares computations by Givens transformations without square roots"; the modified
// Givens rotation of Lawson, Hanson, Kincaid and Krogh 1979). No row needs to be kept and
// the normal equations are never formed; one row costs O(p^2).
//
// Rows are taken in blocks of 64: each row of the factor meets every row of the block in
// turn before the next row of the factor is touched. Row k's rotation at level i needs
// level i after rows 0..k-1 and row k after levels 0..i-1, which this order keeps, so the
// digits are those of the plain row-by-row order while the factor's row stays in cache.
#include <cmath>
#include <cstring>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels/linear_systems.hpp"
#include "regression.hpp"
#include "rotations.hpp"

namespace korvs {
namespace {

constexpr int kBlock = 64;

template <class T> struct Layout {
    int p, ny, q;
};

// The extremes of the independent columns: on adding, the first row copies, later ones
// widen; on removing, a value at a stored extreme is reported (11048), the extreme stays.
template <class T> void extremes(UpdateState<T>& s, int intercept, int q, const T z[], bool removing) {
    if (removing) {
        for (int j = intercept; j < s.p; ++j) {
            const char* which = z[j] == s.xmin[j] ? "xmin" : z[j] == s.xmax[j] ? "xmax" : nullptr;
            if (!which) continue;
            korvs_e1stl(1, which);
            korvs_e1sti(1, j - intercept);
            insert_real(1, z[j]);
            korvs_ermes(6, 11048);
        }
        return;
    }
    if (!s.seen) {
        std::memcpy(s.xmin, z, sizeof(T) * q);
        std::memcpy(s.xmax, z, sizeof(T) * q);
        s.seen = true;
        return;
    }
    for (int j = 0; j < q; ++j) {
        if (z[j] < s.xmin[j]) s.xmin[j] = z[j];
        if (z[j] > s.xmax[j]) s.xmax[j] = z[j];
    }
}

// Row 0 of the factor as running sums (West 1979: the update about the running mean):
// the row is centred about the mean after it, and its weight grows by R00' / R00 to
// make up for that. Returns the weight left for the rotations, 0 when the row ends here.
template <class T> T subtract_mean(UpdateState<T>& s, int q, T z[], T fw) {
    T* a0 = s.a;
    const T r00 = a0[0], r00_new = r00 + fw;
    for (int j = 1; j < q; ++j) a0[j] += fw * z[j];
    a0[0] = r00_new;
    if (r00_new == T(0)) return T(0);
    s.d[0] = T(1) / r00_new;
    for (int j = 1; j < q; ++j) z[j] -= a0[j] / r00_new;
    if (r00 == T(0)) return T(0);
    return fw * (r00_new / r00);
}

// Rotates the rows of z (n of them, row stride q, weights fw) into the factor's rows
// from `start` on, then adds what is left of their responses to scpe.
template <class T> void rotate_block(UpdateState<T>& s, const Layout<T>& l, int start, int n, T z[], T fw[]) {
    for (int i = start; i < l.p; ++i) {
        T* ai = s.a + static_cast<std::ptrdiff_t>(i) * l.q;
        for (int k = 0; k < n; ++k) {
            if (fw[k] == T(0)) continue;
            T* zk = z + static_cast<std::ptrdiff_t>(k) * l.q;
            const Rotation<T> h = rotmg(s.d[i], fw[k], ai[i], zk[i]);
            rotm(h, l.q - i - 1, ai + i + 1, zk + i + 1);
        }
    }
    for (int k = 0; k < n; ++k) {
        if (fw[k] == T(0)) continue;
        const T* y = z + static_cast<std::ptrdiff_t>(k) * l.q + l.p;
        for (int u = 0; u < l.ny; ++u)
            for (int v = 0; v <= u; ++v) s.scpe[u * l.ny + v] += fw[k] * y[u] * y[v];
    }
}

// Adds (or removes) the rows of the block. False after an error of type 4.
template <class T> bool add_rows(const RowBlock<T>& rows, const UpdateModel& model, UpdateState<T>& s, T work[]) {
    const Layout<T> l{s.p, s.n_dependent, s.p + s.n_dependent};
    const bool removing = rows.nrow < 0;
    const int n = removing ? -rows.nrow : rows.nrow, increment = removing ? -1 : 1;
    const bool centred = model.intercept && model.mean_subtraction;
    const int start = centred ? 1 : 0;
    T* z = work;
    T* fw = work + static_cast<std::ptrdiff_t>(kBlock) * l.q;
    for (int first = 0; first < n; first += kBlock) {
        const int m = n - first < kBlock ? n - first : kBlock;
        for (int k = 0; k < m; ++k) {
            const int row = first + k;
            T* zk = z + static_cast<std::ptrdiff_t>(k) * l.q;
            T f = T(increment), w = T(1);
            fw[k] = T(0);
            if (rows.weights) {
                const int status = rows.weights->read(row, increment, &s.nmiss, &f, &w);
                if (status == 3) return false;
                if (status != 0) continue;
            }
            if (!work_row(rows, model.intercept, row, zk)) {
                s.nmiss += increment;
                continue;
            }
            s.dfe += f;
            s.n_used += f;
            extremes(s, model.intercept, l.q, zk, removing);
            const T weight = f * w;
            if (weight == T(0)) continue;
            s.sum_weights += weight;
            for (int j = 0; j < l.q; ++j) s.sums[j] += weight * zk[j];
            fw[k] = centred ? subtract_mean(s, l.q, zk, weight) : weight;
        }
        rotate_block(s, l, start, m, z, fw);
    }
    return true;
}

// Drops column i: its row of the factor, with weight d[i], is rotated into the rows
// below it as one more observation, whatever is left of its responses goes to scpe, and
// the row is cleared.
template <class T> void drop_column(UpdateState<T>& s, const Layout<T>& l, int i, T z[]) {
    T* ai = s.a + static_cast<std::ptrdiff_t>(i) * l.q;
    for (int j = 0; j < l.q; ++j) z[j] = j > i ? ai[j] : T(0);
    T weight = s.d[i];
    rotate_block(s, l, i + 1, 1, z, &weight);
    for (int j = 0; j < l.q; ++j) ai[j] = T(0);
    s.d[i] = T(1);
}

// The column selection of the final stage: a column stays when it is not constant and
// its residual sum of squares exceeds tolerance^2 times its total sum of squares (the
// first intercept + 1 columns always stay), or when it is the first nonzero constant.
template <class T> void select_columns(const UpdateModel& model, UpdateState<T>& s, const Layout<T>& l, T z[]) {
    const T tol = static_cast<T>(model.tolerance);
    int constants = 0;
    for (int i = 0; i < l.p; ++i) {
        const T* ai = s.a + static_cast<std::ptrdiff_t>(i) * l.q;
        bool keep;
        if (s.xmin[i] != s.xmax[i]) {
            keep = true;
            if (i >= model.intercept + 1) {
                T ss = T(0);
                for (int k = model.intercept; k <= i; ++k) {
                    const T e = s.a[static_cast<std::ptrdiff_t>(k) * l.q + i];
                    ss += s.d[k] * e * e;
                }
                keep = ss * tol * tol < ai[i] * ai[i] * s.d[i];
            }
        } else {
            keep = s.xmin[i] != T(0) && ++constants == 1;
        }
        // A kept row with a zero pivot would leave the triangle without a solution; with
        // no rows left what a downdate leaves is rounding, not information.
        if (!keep || ai[i] == T(0) || !(s.n_used > T(0))) drop_column(s, l, i, z);
    }
}

// The coefficients by back substitution (zero rows give zero coefficients), the rank,
// dfe, and the factor brought to d = 1 with a nonnegative diagonal.
template <class T> void finish(const UpdateModel& model, UpdateState<T>& s, T b[], T work[]) {
    const Layout<T> l{s.p, s.n_dependent, s.p + s.n_dependent};
    select_columns(model, s, l, work);
    T* rc = work + l.q;
    for (int j = 0; j < l.p; ++j)
        for (int i = 0; i < l.p; ++i)
            rc[i + static_cast<std::ptrdiff_t>(j) * l.p] = i <= j ? s.a[static_cast<std::ptrdiff_t>(i) * l.q + j] : T(0);
    for (int k = 0; k < l.ny; ++k)
        for (int i = 0; i < l.p; ++i) b[i + static_cast<std::ptrdiff_t>(k) * l.p] = s.a[static_cast<std::ptrdiff_t>(i) * l.q + l.p + k];
    int rank = 0;
    for (int i = 0; i < l.p; ++i) rank += rc[i + static_cast<std::ptrdiff_t>(i) * l.p] != T(0);
    if (l.ny > 0) girts(l.p, rc, l.p, l.ny, b, l.p, 1, &rank, b, l.p, static_cast<T*>(nullptr), l.p);
    s.rank = rank;
    s.dfe -= T(rank);
    // Downdates can leave an error sum of squares a rounding below 0.
    for (int k = 0; k < l.ny; ++k)
        if (s.scpe[k * l.ny + k] < T(0)) s.scpe[k * l.ny + k] = T(0);
    if (s.dfe < T(0)) {
        insert_real(1, s.dfe);
        korvs_ermes(6, 11049);
    }
    for (int i = 0; i < l.p; ++i) {
        T* ai = s.a + static_cast<std::ptrdiff_t>(i) * l.q;
        const T scale = ai[i] < T(0) ? -std::sqrt(s.d[i]) : std::sqrt(s.d[i]);
        for (int j = 0; j < l.q; ++j) ai[j] *= scale;
        s.d[i] = T(1);
    }
}

}  // namespace

template <class T> bool work_row(const RowBlock<T>& rows, int intercept, int row, T z[]) {
    const T* xr = rows.x + static_cast<std::ptrdiff_t>(row) * rows.ldx;
    int c = 0;
    if (intercept) z[c++] = T(1);
    const std::ptrdiff_t step = rows.col_step;
    for (int j = 0; j < rows.n_independent; ++j) z[c++] = xr[(rows.independent ? rows.independent[j] : j) * step];
    for (int k = 0; k < rows.n_dependent; ++k) {
        if (rows.y) {
            z[c++] = rows.y[static_cast<std::ptrdiff_t>(row) * rows.ldy + k];
        } else {
            z[c++] = xr[(rows.dependent ? rows.dependent[k] : rows.n_independent + k) * step];
        }
    }
    for (int j = 0; j < c; ++j)
        if (std::isnan(z[j])) return false;
    return true;
}

long long update_work_size(int p, int n_dependent) {
    const long long q = static_cast<long long>(p) + n_dependent;
    return kBlock * (q + 1) + q + static_cast<long long>(p) * p;
}

template <class T> void start_state(UpdateState<T>& s) {
    const std::ptrdiff_t q = s.p + s.n_dependent;
    for (std::ptrdiff_t e = 0; e < s.p * q; ++e) s.a[e] = T(0);
    for (int i = 0; i < s.p; ++i) s.d[i] = T(1);
    for (std::ptrdiff_t e = 0; e < static_cast<std::ptrdiff_t>(s.n_dependent) * s.n_dependent; ++e) s.scpe[e] = T(0);
    for (std::ptrdiff_t j = 0; j < q; ++j) {
        s.xmin[j] = s.xmax[j] = mach<T>::nan;
        s.sums[j] = T(0);
    }
    s.sum_weights = s.n_used = s.dfe = T(0);
    s.nmiss = s.rank = 0;
    s.seen = false;
}

template <class T>
void r9ivn(int ido, const RowBlock<T>& rows, const UpdateModel& model, UpdateState<T>& s, T b[], T work[]) {
    run_traced("korvs_r9ivn", [&] {
        if (ido == 0 || ido == 1) start_state(s);
        if (!add_rows(rows, model, s, work)) return;
        if (ido == 0 || ido == 3) finish(model, s, b, work);
        const int ny = s.n_dependent;
        for (int u = 0; u < ny; ++u)
            for (int v = u + 1; v < ny; ++v) s.scpe[u * ny + v] = s.scpe[v * ny + u];
    });
}

template <class T>
void r2ivn(int ido, int nrow, const T x[], int ldx, int intercept, int iind, const int indind[], int idep,
           const int inddep[], double tolerance, UpdateState<T>& s, T b[], T work[]) {
    RowBlock<T> rows;
    rows.nrow = nrow;
    rows.x = x;
    rows.ldx = 1;  // column-major: a step of 1 between rows, ldx between columns
    rows.col_step = ldx;
    rows.n_independent = iind < 0 ? -iind : iind;
    rows.independent = iind < 0 ? nullptr : indind;
    rows.n_dependent = idep < 0 ? -idep : idep;
    rows.dependent = idep < 0 ? nullptr : inddep;
    UpdateModel model;
    model.intercept = intercept;
    model.mean_subtraction = intercept;
    model.tolerance = tolerance;
    run_traced("korvs_r2ivn", [&] { r9ivn(ido, rows, model, s, b, work); });
}

template void start_state(UpdateState<float>&);
template void start_state(UpdateState<double>&);
template void r9ivn(int, const RowBlock<float>&, const UpdateModel&, UpdateState<float>&, float[], float[]);
template void r9ivn(int, const RowBlock<double>&, const UpdateModel&, UpdateState<double>&, double[], double[]);
template bool work_row(const RowBlock<float>&, int, int, float[]);
template bool work_row(const RowBlock<double>&, int, int, double[]);
template void r2ivn(int, int, const float[], int, int, int, const int[], int, const int[], double, UpdateState<float>&,
                    float[], float[]);
template void r2ivn(int, int, const double[], int, int, int, const int[], int, const int[], double,
                    UpdateState<double>&, double[], double[]);

}  // namespace korvs
