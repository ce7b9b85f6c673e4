// The modified Cholesky factorisation of Gill and Murray (1974; Gill, Murray and Wright,
// Practical Optimization, 1981, section 4.4.2.2): R'R = A + E with a nonnegative
// diagonal E just large enough, by the bound beta^2 on the elements of R, to make the
// factorisation stable when A is indefinite; a column found linearly dependent within
// the tolerance leaves a zero row instead. korvs_mchol, and the exported front
// korvs_f_cholesky, which reads the caller's row-major matrix as column-major and hands
// back R row-major. Rows of R are formed in blocks (cholesky_rows.hpp) with the digits of
// the row-by-row algorithm.
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>

#include "cholesky_rows.hpp"
#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

// beta^2 of Gill and Murray: the largest diagonal element, or the largest off-diagonal
// one over sqrt(n^2 - 1) when that is more, in absolute value.
template <class T> T beta_squared(int n, const T* w, int ld) {
    const std::ptrdiff_t step = ld;
    const T gamma = std::fabs(w[(iamax(n, w, ld + 1) - 1) * (step + 1)]);
    T xi = T(0);
    for (int j = 1; j < n; ++j) {
        const T* column = w + j * step;
        const T v = std::fabs(column[iamax(j, column, 1) - 1]);
        xi = v > xi ? v : xi;
    }
    const T root = std::sqrt(T(n) * T(n) - T(1));
    const T scaled = xi / (root > T(1) ? root : T(1));
    return scaled > gamma ? scaled : gamma;
}

// Factors the upper triangle of w in place into L = R' in its lower triangle; the upper
// triangle keeps the input.
template <class T> void modified_rows(int n, T* w, int ld, T tol, int* irank, T* dmax, int* ind) {
    const std::ptrdiff_t step = ld;
    const T beta2 = n > 0 ? beta_squared(n, w, ld) : T(0);
    int rank = 0, worst = 0;
    T largest_increase = T(0), most_negative = T(0);
    factor_rows(n, w, ld, [&](int i, T* c, int below) {
        T* diagonal = w + i * (step + 1);
        const T a0 = *diagonal;
        const T tol_i = std::sqrt(std::fabs(a0)) * tol;
        const T s = nrm2(i, w + i, ld);
        const T d = a0 - s * s;
        // A candidate for linear dependence stays one while nothing in its row exceeds
        // the tolerance of the column it stands in.
        const bool candidate = std::fabs(d) <= tol * a0;
        bool dependent = candidate;
        T theta = T(0);
        for (int k = 0; k < below; ++k) {
            const T v = std::fabs(c[k]);
            if (dependent && std::sqrt(std::fabs(diagonal[(k + 1) * (step + 1)])) * tol_i < v) dependent = false;
            theta = v > theta ? v : theta;
        }
        if (dependent) {
            *diagonal = T(0);
            for (int k = 0; k < below; ++k) c[k] = T(0);
            return true;
        }
        ++rank;
        const T bound = beta2 > T(0) ? theta * theta / beta2 : T(0);
        const T e = bound > std::fabs(d) ? bound : std::fabs(d);
        T delta = e - d;
        if (delta < tol * a0) delta = T(0);
        largest_increase = delta > largest_increase ? delta : largest_increase;
        *diagonal = std::sqrt(e);
        if (d < most_negative) {
            worst = i + 1;
            most_negative = d;
        }
        if (below > 0) scal(below, T(1) / *diagonal, c, 1);
        return true;
    });
    *irank = rank;
    *dmax = largest_increase;
    *ind = worst;
}

// The checks and the copy of korvs_mchol. False when a check failed.
template <class T> bool mchol_input(int n, const T a[], int lda, T tol, T r[], int ldr) {
    if (!(tol >= T(0) && tol <= T(1))) {
        insert_real(1, tol);
        korvs_ermes(5, 20603);
        return false;
    }
    int count = 0;
    check_range(n, "n", 0, -1, &count);
    if (korvs_n1rty(0) > 0) return false;
    if (!leading_dimension(lda, n, "lda") || !leading_dimension(ldr, n, "ldr")) return false;
    copy_upper(n, a, lda, r, ldr);
    return true;
}

// Clears the strict upper triangle, which held the input.
template <class T> void clear_upper(int n, T* w, int ld) {
    for (int j = 1; j < n; ++j)
        for (int i = 0; i < j; ++i) w[i + static_cast<std::ptrdiff_t>(j) * ld] = T(0);
}

}  // namespace

template <class T>
void mchol(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr, T* dmax, int* ind) {
    run_traced("korvs_mchol", [&] {
        if (!mchol_input(n, a, lda, tol, r, ldr)) return;
        modified_rows(n, r, ldr, tol, irank, dmax, ind);
        rows_to_upper(n, n, r, ldr);
        if (n >= 1) c1trg(n, r, ldr);
    });
}

template <class T>
void mchol_transposed(int n, const T a[], int lda, T tol, int* irank, T r[], int ldr, T* dmax, int* ind) {
    run_traced("korvs_mchol", [&] {
        if (!mchol_input(n, a, lda, tol, r, ldr)) return;
        modified_rows(n, r, ldr, tol, irank, dmax, ind);
        clear_upper(n, r, ldr);
    });
}

template void mchol(int, const float[], int, float, int*, float[], int, float*, int*);
template void mchol(int, const double[], int, double, int*, double[], int, double*, int*);
template void mchol_transposed(int, const float[], int, float, int*, float[], int, float*, int*);
template void mchol_transposed(int, const double[], int, double, int*, double[], int, double*, int*);

namespace {

// The n by n result, or null after 201 with n and "n_variables". A size beyond what the
// address space can hold is refused without asking for it.
template <class T> T* allocate_factor(int n) {
    const long long elements = static_cast<long long>(n) * n;
    void* p = nullptr;
    if (elements <= PTRDIFF_MAX / static_cast<long long>(sizeof(T)))
        p = std::malloc(static_cast<std::size_t>(elements) * sizeof(T));
    if (!p) {
        korvs_e1sti(1, n);
        korvs_e1stl(1, "n_variables");
        korvs_ermes(5, 201);
    }
    return static_cast<T*>(p);
}

// korvs_f_cholesky: R with A = R'R + E for the symmetric n by n row-major a, of which
// the lower triangle is read. Row-major R is column-major R', which the transposed form
// of the factorisation produces in place, so the factor needs no transposition.
template <class T> void l_cholesky(int n, const T* a, OptionList& opt, T** result) {
    T tol = T(100) * mach<T>::eps;
    T* user = nullptr;
    bool users = false;
    int* rank = nullptr;
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_TOLERANCE: tol = opt.real<T>(); break;
        case KORVS_TOLERANCE_ADR: opt.real_at(tol, "tolerance", "KORVS_TOLERANCE_ADR"); break;
        case KORVS_RETURN_USER:
            user = opt.user<T>("factor", "KORVS_RETURN_USER");
            users = true;
            break;
        case KORVS_RANK: rank = opt.pointer<int>(); break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    int count = 0;
    check_range(n, "n", 1, -1, &count);
    if (korvs_n1rty(0) > 0) return;
    if (!a) {
        korvs_e1stl(1, "a");
        korvs_ermes(5, 6002);
        return;
    }
    T* owned = users ? nullptr : allocate_factor<T>(n);
    if (!users && !owned) return;
    T* r = users ? user : owned;
    int irank = 0, ind = 0;
    T dmax = T(0);
    mchol_transposed(n, a, n, tol, &irank, r, n, &dmax, &ind);
    if (korvs_n1rty(1) >= 4) {
        std::free(owned);
        return;
    }
    if (rank) *rank = irank;
    *result = r;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_cholesky(int n, const float* a, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_cholesky", [&] { korvs::l_cholesky(n, a, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_cholesky(int n, const double* a, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, a);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_cholesky", [&] { korvs::l_cholesky(n, a, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
