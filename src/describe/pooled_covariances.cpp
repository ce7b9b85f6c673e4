// korvs_f_pooled_covariances: the pooled within-group covariance matrix of grouped rows
// that may come over several calls (ido) and be removed again, from the stream of
// korvs_c2vpl kept per thread; the matrix, the factor, the group means, counts and sums
// of weights are delivered by the call that ends the stream.
#include <cstdarg>

#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "pooled.hpp"

namespace korvs {
namespace {

template <class T> struct PooledArgs {
    int x_col_dim = -1;
    int ido = 0;
    int sign = 1;
    bool indices_given = false;
    PooledColumns cols{0, nullptr, -1, -1};
    Output<int> counts;
    Output<T> sum_weights;
    Output<T> means;
    Output<T> u;
    int* n_rows_missing = nullptr;
};

template <class T> bool read_options(OptionList& opt, PooledArgs<T>& a, ResultMatrix<T>& result) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        case KORVS_IDO: a.ido = opt.integer(); break;
        case KORVS_ROWS_ADD: a.sign = 1; break;
        case KORVS_ROWS_DELETE: a.sign = -1; break;
        case KORVS_X_INDICES:
            a.indices_given = true;
            a.cols.group = opt.integer();
            a.cols.variables = opt.user<int>("variables", "KORVS_X_INDICES");
            a.cols.frequency = opt.integer();
            a.cols.weight = opt.integer();
            break;
        case KORVS_GROUP_COUNTS: a.counts.set_plain(opt.pointer<int*>()); break;
        case KORVS_GROUP_COUNTS_USER:
            a.counts.set_user(opt.user<int>("group_counts", "KORVS_GROUP_COUNTS_USER"));
            break;
        case KORVS_SUM_WEIGHTS: a.sum_weights.set_plain(opt.pointer<T*>()); break;
        case KORVS_SUM_WEIGHTS_USER:
            a.sum_weights.set_user(opt.user<T>("sum_weights", "KORVS_SUM_WEIGHTS_USER"));
            break;
        case KORVS_MEANS: a.means.set_plain(opt.pointer<T*>()); break;
        case KORVS_MEANS_USER: a.means.set_user(opt.user<T>("means", "KORVS_MEANS_USER")); break;
        case KORVS_U: a.u.set_plain(opt.pointer<T*>()); break;
        case KORVS_U_USER: a.u.set_user(opt.user<T>("u", "KORVS_U_USER")); break;
        case KORVS_N_ROWS_MISSING: a.n_rows_missing = opt.pointer<int>(); break;
        case KORVS_RETURN_USER: result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        default: opt.unknown(code); return false;
        }
    }
    return korvs_n1rty(0) == 0;
}

// The columns in use: the group, frequency and weight columns within -1 to the last
// column (20656), each variable's column within the columns (20649), none the group
// column (20650), no two the same (20651). False after an error.
bool columns_valid(const PooledColumns& cols, int nvar, int ncol) {
    const struct {
        int column;
        const char* name;
    } special[] = {{cols.group, "group"}, {cols.frequency, "frequency"}, {cols.weight, "weight"}};
    for (const auto& c : special) {
        if (c.column < -1 || c.column >= ncol) {
            korvs_e1stl(1, c.name);
            korvs_e1sti(1, c.column);
            korvs_e1sti(2, ncol - 1);
            korvs_ermes(5, 20656);
            return false;
        }
    }
    for (int k = 0; k < nvar; ++k) {
        const int column = cols.variables[k];
        if (column < 0 || column >= ncol) {
            korvs_e1sti(1, k + 1);
            korvs_e1sti(2, column);
            korvs_e1sti(3, ncol - 1);
            korvs_ermes(5, 20649);
            return false;
        }
        if (column == cols.group) {
            korvs_e1sti(1, k + 1);
            korvs_e1sti(2, column);
            korvs_ermes(5, 20650);
            return false;
        }
        for (int j = 0; j < k; ++j) {
            if (cols.variables[j] != column) continue;
            korvs_e1sti(1, j + 1);
            korvs_e1sti(2, k + 1);
            korvs_e1sti(3, column);
            korvs_ermes(5, 20651);
            return false;
        }
    }
    return true;
}

template <class T>
void l_pooled_covariances(int n_rows, int n_variables, const T* x, int n_groups, OptionList& opt, T** result) {
    PooledArgs<T> a;
    ResultMatrix<T> out;
    if (!read_options(opt, a, out)) return;
    int checks = 0;
    check_range(n_rows, "n_rows", 0, -1, &checks);
    check_range(n_variables, "n_variables", 1, -1, &checks);
    check_range(n_groups, "n_groups", 1, -1, &checks);
    check_range(a.ido, "ido", 0, 3, &checks);
    if (korvs_n1rty(0) > 0) return;
    if (n_rows > 0 && null_array(x, "x")) return;
    Workspace<int> default_columns;
    if (!a.indices_given) {
        if (!default_columns.allocate(Shape(n_variables, "n_variables"))) return;
        for (int k = 0; k < n_variables; ++k) default_columns[k] = k + 1;
        a.cols.variables = default_columns.get();
    }
    int used = a.cols.group;  // the last column in use
    for (int c : {a.cols.frequency, a.cols.weight}) used = c > used ? c : used;
    for (int k = 0; k < n_variables; ++k) used = a.cols.variables[k] > used ? a.cols.variables[k] : used;
    if (a.x_col_dim == -1) a.x_col_dim = used + 1 > 1 ? used + 1 : 1;
    if (!columns_valid(a.cols, n_variables, a.x_col_dim)) return;

    PooledStream<T>* stream = pooled_stream<T>();
    if (!stream) return;
    if (a.ido <= 1) {
        if (!pooled_begin(*stream, n_variables, n_groups)) return;
    } else if (!stream->active) {
        korvs_e1sti(1, a.ido);
        korvs_ermes(5, 20653);
        return;
    } else if (stream->nvar != n_variables || stream->ngroups != n_groups) {
        korvs_e1sti(1, stream->nvar);
        korvs_e1sti(2, stream->ngroups);
        korvs_e1sti(3, n_variables);
        korvs_e1sti(4, n_groups);
        korvs_ermes(5, 20654);
        return;
    }
    // A failure in mid-stream ends the stream: its sums hold part of the rows given.
    if (!c2vpl(*stream, n_rows, x, a.x_col_dim, a.cols, a.sign)) {
        pooled_end(*stream);
        return;
    }
    if (a.ido == 1 || a.ido == 2) return;
    const Shape square(n_variables, "n_variables", n_variables, "n_variables");
    if (!out.allocate(n_variables, n_variables, 1, square) || !a.u.allocate(square) ||
        !a.means.allocate(Shape(n_groups, "n_groups", n_variables, "n_variables")) ||
        !a.counts.allocate(Shape(n_groups, "n_groups")) || !a.sum_weights.allocate(Shape(n_groups, "n_groups"))) {
        pooled_end(*stream);
        return;
    }
    pooled_finish(*stream, out.data(), a.u.data(), a.means.data());
    if (int* counts = a.counts.data())
        for (int g = 0; g < n_groups; ++g) counts[g] = stream->counts[g];
    if (T* sums = a.sum_weights.data())
        for (int g = 0; g < n_groups; ++g) sums[g] = stream->sum_weights[g];
    if (a.n_rows_missing) *a.n_rows_missing = stream->missing;
    pooled_end(*stream);
    a.u.release();
    a.means.release();
    a.counts.release();
    a.sum_weights.release();
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_pooled_covariances(int n_rows, int n_variables, float x[], int n_groups, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_groups);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_pooled_covariances",
                     [&] { korvs::l_pooled_covariances<float>(n_rows, n_variables, x, n_groups, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_pooled_covariances(int n_rows, int n_variables, double x[], int n_groups, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_groups);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_pooled_covariances",
                     [&] { korvs::l_pooled_covariances<double>(n_rows, n_variables, x, n_groups, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
