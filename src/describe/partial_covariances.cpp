// korvs_f_partial_covariances (l_p2orr): the covariances of the dependent variables with
// the linear effect of the independent ones removed, S22 - S21 S11^- S12, from the
// Cholesky factor R of S11 (rank-revealing, so a singular S11 acts through its generalised
// inverse): with R'Z = S12 the correction is Z'Z. The p-values test a partial correlation
// of zero by t = r sqrt(df_out - 1) / sqrt(1 - r^2), where df_out is df less the rank of S11.
#include <cmath>
#include <cstdarg>

#include "describe.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "kernels/kernels.hpp"
#include "kernels/linear_systems.hpp"

namespace korvs {
namespace {

constexpr int kDefaultDf = 100;

template <class T> struct PartialArgs {
    int x_col_dim = -1;
    const int* indices = nullptr;
    bool correlations = false;
    bool test = false;
    int df = kDefaultDf;
    int* df_out = nullptr;
    Output<T> p_values;
};

template <class T> bool read_options(OptionList& opt, PartialArgs<T>& a, ResultMatrix<T>& result) {
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_RETURN_USER: result.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_X_COL_DIM: a.x_col_dim = opt.integer(); break;
        case KORVS_X_INDICES: a.indices = opt.user<int>("x_indices", "KORVS_X_INDICES"); break;
        case KORVS_PARTIAL_CORRELATIONS: a.correlations = true; break;
        case KORVS_PARTIAL_COVARIANCES: a.correlations = false; break;
        case KORVS_TEST:
        case KORVS_TEST_USER:
            a.test = true;
            a.df = opt.integer();
            a.df_out = opt.pointer<int>();
            if (code == KORVS_TEST) {
                // A null address asks for the degrees of freedom alone.
                if (T** address = opt.pointer<T*>()) a.p_values.set_plain(address);
            } else {
                a.p_values.set_user(opt.user<T>("p_values", "KORVS_TEST_USER"));
            }
            break;
        default: opt.unknown(code); return false;
        }
    }
    if (a.df < 1) a.df = kDefaultDf;
    return korvs_n1rty(0) == 0;
}

// The positions in x of the independent and the dependent variables; false, with 20640
// raised, when the indicators do not give the counts.
bool select(int order, const int* indices, int n_ind, int n_dep, int* ind, int* dep) {
    if (!indices) {
        for (int k = 0; k < n_ind; ++k) ind[k] = k;
        for (int k = 0; k < n_dep; ++k) dep[k] = n_ind + k;
        return true;
    }
    int ni = 0, nd = 0;
    for (int k = 0; k < order; ++k) {
        if (indices[k] == 1 && ni < n_ind) ind[ni] = k;
        if (indices[k] == 0 && nd < n_dep) dep[nd] = k;
        ni += indices[k] == 1;
        nd += indices[k] == 0;
    }
    if (ni == n_ind && nd == n_dep) return true;
    korvs_e1sti(1, ni);
    korvs_e1sti(2, nd);
    korvs_e1sti(3, n_ind);
    korvs_e1sti(4, n_dep);
    korvs_ermes(5, 20640);
    return false;
}

// The p-values of the partial covariances s (n by n, column-major with leading dimension
// ld) at df_out degrees of freedom into the row-major p; false, with 20643 raised, when a
// pair's determinant is negative beyond rounding.
template <class T> bool p_values(std::ptrdiff_t n, const T* s, std::ptrdiff_t ld, int df_out, const int* dep, T* p) {
    const T tol = T(100) * mach<T>::eps;
    for (int i = 0; i < n; ++i) {
        p[i * n + i] = T(0);
        for (int j = i + 1; j < n; ++j) {
            const T sij = s[i + j * ld];
            const T det = s[i + i * ld] * s[j + j * ld] - sij * sij;
            if (det < -tol) {
                korvs_e1sti(1, dep[i]);
                korvs_e1sti(2, dep[j]);
                korvs_ermes(4, 20643);
                return false;
            }
            T pij = T(0);
            if (det >= tol) {
                const T t = std::fabs(sij) * std::sqrt(T(df_out - 1)) / std::sqrt(det);
                // The upper tail as the lower tail of -t, which keeps small p-values exact.
                pij = T(2) * stat::t_cdf(-t, T(df_out));
            }
            p[i * n + j] = p[j * n + i] = pij;
        }
    }
    return true;
}

template <class T>
void l_partial_covariances(int n_ind, int n_dep, const T* x, OptionList& opt, T** result) {
    PartialArgs<T> a;
    ResultMatrix<T> out;
    if (!read_options(opt, a, out)) return;
    int checks = 0;
    check_range(n_ind, "n_independent", 0, -1, &checks);
    check_range(n_dep, "n_dependent", 2, -1, &checks);
    if (korvs_n1rty(0) > 0) return;
    if (null_array(x, "x")) return;
    const int m = n_ind + n_dep;
    if (a.x_col_dim == -1) a.x_col_dim = m;
    if (a.x_col_dim < m || a.x_col_dim < 1) {
        korvs_e1sti(1, a.x_col_dim);
        korvs_e1sti(2, m);
        korvs_ermes(5, 20644);
        return;
    }
    if (!out.allocate(n_dep, n_dep, 1, Shape(n_dep, "n_dependent", n_dep, "n_dependent"))) return;
    if (!a.p_values.allocate(Shape(n_dep, "n_dependent", n_dep, "n_dependent"))) return;
    Workspace<int> lists(Shape(m, "n_variables"));
    Workspace<T> work(Shape::count(static_cast<long long>(m) * (m + n_ind) + n_dep));
    if (!lists || !work) return;
    int* sel = lists.get();  // the independent variables, then the dependent ones
    int* dep = sel + n_ind;
    if (!select(a.x_col_dim, a.indices, n_ind, n_dep, sel, dep)) return;

    // S: the selected variables, independent first, column-major from x's lower triangle.
    T* s = work.get();
    T* r = s + static_cast<std::ptrdiff_t>(m) * m;
    T* z = r + static_cast<std::ptrdiff_t>(n_ind) * n_ind;
    const std::ptrdiff_t ld = a.x_col_dim;
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < m; ++j) {
            const int xi = sel[i] > sel[j] ? sel[i] : sel[j], xj = sel[i] > sel[j] ? sel[j] : sel[i];
            s[i + j * m] = x[xi * ld + xj];
        }
    }
    const T eps = mach<T>::eps;
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < i; ++j) {
            const T sij = s[i + j * m];
            if (std::fabs(sij) > std::sqrt(s[i + i * m] * s[j + j * m]) * (T(1) + T(100) * eps)) {
                korvs_e1sti(1, sel[i]);
                korvs_e1sti(2, sel[j]);
                insert_real(1, sij);
                korvs_ermes(4, 20641);
                return;
            }
        }
    }
    int rank = 0;
    if (n_ind > 0) {
        chfac(n_ind, s, m, T(100) * eps, &rank, r, n_ind);
        if (korvs_n1rty(1) > 3) return;
        int solved_rank = 0;
        girts(n_ind, r, n_ind, n_dep, s + static_cast<std::ptrdiff_t>(n_ind) * m, m, 2, &solved_rank, z, n_ind,
              static_cast<T*>(nullptr), n_ind);
        if (korvs_n1rty(1) > 3) return;
    }
    T* s22 = s + n_ind + static_cast<std::ptrdiff_t>(n_ind) * m;
    for (int i = 0; i < n_dep; ++i)
        for (int j = 0; j <= i; ++j) {
            const T correction = n_ind > 0 ? dot(n_ind, z + i * n_ind, 1, z + j * n_ind, 1) : T(0);
            s22[i + j * m] = s22[j + i * m] = s22[i + j * m] - correction;
        }
    const int df_out = a.df - rank;
    if (df_out < 2) {
        korvs_e1sti(1, a.df);
        korvs_e1sti(2, rank);
        korvs_ermes(3, 20642);
    }
    if (a.test && a.p_values.wanted()) {
        T* p = a.p_values.data();
        if (df_out < 2) {
            for (std::ptrdiff_t e = 0; e < std::ptrdiff_t(n_dep) * n_dep; ++e) p[e] = mach<T>::nan;
        } else if (!p_values(n_dep, s22, m, df_out, dep, p) || !no_failure()) {
            return;
        }
    }
    T* scale = z + static_cast<std::ptrdiff_t>(n_ind) * n_dep;  // 1 / root of a positive diagonal, else 1
    for (int i = 0; i < n_dep; ++i) {
        const T d = s22[i + i * m];
        scale[i] = a.correlations && d > T(0) ? T(1) / std::sqrt(d) : T(1);
    }
    for (int i = 0; i < n_dep; ++i)
        for (int j = 0; j < n_dep; ++j) out.at(i, j) = s22[i + j * m] * scale[i] * scale[j];
    if (a.df_out) *a.df_out = df_out;
    a.p_values.release();
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_partial_covariances(int n_independent, int n_dependent, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_partial_covariances",
                     [&] { korvs::l_partial_covariances<float>(n_independent, n_dependent, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_partial_covariances(int n_independent, int n_dependent, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_partial_covariances",
                     [&] { korvs::l_partial_covariances<double>(n_independent, n_dependent, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
