// Permutations of vectors and matrices: korvs_permu, which follows the cycles of the
// permutation in place and marks the elements it has moved by negating their entries,
// l_p2rma for the rows or columns of a column-major matrix, and the exported
// korvs_f_permute_vector and korvs_f_permute_matrix, whose permutations count from 0.
#include <cstdarg>
#include <cstring>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "sort.hpp"

namespace korvs {
namespace {

// Every entry of ip in base..n - 1 + base; else 20422 in a frame of korvs_permu, with the
// position, n and the entry as the caller numbers them, from 0.
bool permutation_in_range(int n, const int ip[], int base = 1) {
    for (int i = 0; i < n; ++i) {
        if (ip[i] >= base && ip[i] - base < n) continue;
        korvs_e1psh("korvs_permu");
        korvs_e1sti(1, i);
        korvs_e1sti(2, n);
        korvs_e1sti(3, ip[i] - base);
        korvs_ermes(5, 20422);
        korvs_e1pop("korvs_permu");
        return false;
    }
    return true;
}

// xp permuted in place by the 1-based ip, whose entries are in range. A cycle ends where
// it meets an element already moved, which for a permutation is the cycle's start and for
// an ip with repeated entries ends the walk early; every index is visited once.
template <class T> void permute_in_place(int n, int ip[], int ipath, T xp[]) {
    for (int s = 0; s < n; ++s) {
        if (ip[s] < 0) continue;
        int k = s;
        if (ipath == 1) {
            // xp[k] := x[ip[k]]
            const T first = xp[s];
            for (;;) {
                const int next = ip[k] - 1;
                ip[k] = -ip[k];
                if (ip[next] < 0) {
                    xp[k] = next == s ? first : xp[next];
                    break;
                }
                xp[k] = xp[next];
                k = next;
            }
        } else {
            // xp[ip[k]] := x[k]
            T carry = xp[s];
            for (;;) {
                const int dest = ip[k] - 1;
                ip[k] = -ip[k];
                const T moved = xp[dest];
                xp[dest] = carry;
                carry = moved;
                if (ip[dest] < 0) break;
                k = dest;
            }
        }
    }
    for (int i = 0; i < n; ++i)
        ip[i] = -ip[i];
}

}  // namespace

template <class T> void permu(int n, const T x[], int ip[], int ipath, T xp[]) {
    if (n <= 0 || !permutation_in_range(n, ip)) return;
    if (x != xp) std::memmove(xp, x, sizeof(T) * static_cast<std::size_t>(n));
    permute_in_place(n, ip, ipath, xp);
}

template <class T>
void p2rma(int n_rows, int n_columns, const T a[], int lda, int ip[], int ipath, T aper[], int ldaper,
           T work[]) {
    int checks = 0;
    check_range(n_rows, "n_rows", 1, -1, &checks);
    check_range(n_columns, "n_columns", 1, -1, &checks);
    check_range(lda, "a_col_dim", 1, -1, &checks);
    if (korvs_n1rty(0) > 3) return;
    const std::ptrdiff_t la = lda, lp = ldaper;
    if (ipath == 1) {
        if (!permutation_in_range(n_rows, ip)) return;
        for (std::ptrdiff_t j = 0; j < n_columns; ++j) {
            T* column = aper + j * lp;
            if (column != a + j * la)
                std::memmove(column, a + j * la, sizeof(T) * static_cast<std::size_t>(n_rows));
            permute_in_place(n_rows, ip, 1, column);
        }
        return;
    }
    if (!permutation_in_range(n_columns, ip)) return;
    for (std::ptrdiff_t i = 0; i < n_rows; ++i) {
        for (int j = 0; j < n_columns; ++j)
            work[j] = a[i + (ip[j] - 1) * la];
        for (std::ptrdiff_t j = 0; j < n_columns; ++j)
            aper[i + j * lp] = work[j];
    }
}

template void permu(int, const float[], int[], int, float[]);
template void permu(int, const double[], int[], int, double[]);
template void permu(int, const int[], int[], int, int[]);
template void p2rma(int, int, const float[], int, int[], int, float[], int, float[]);
template void p2rma(int, int, const double[], int, int[], int, double[], int, double[]);

namespace {

// The 1-based copy of a caller's permutation, counted from 0 and checked against its
// length first. Null, with the error raised, on failure.
int* one_based(int n, const int permutation[], const char* length_name, Workspace<int>& ip) {
    if (!permutation_in_range(n, permutation, 0) || !ip.allocate(Shape(n, length_name))) return nullptr;
    for (int i = 0; i < n; ++i)
        ip[i] = permutation[i] + 1;
    return ip.get();
}

// The main result's option list: KORVS_RETURN_USER or nothing. False when the walk failed.
template <class T> bool result_option(OptionList& opt, Output<T>& out) {
    out.set_plain(nullptr);
    for (int code; (code = opt.code()) != 0;) {
        if (code != KORVS_RETURN_USER) {
            opt.unknown(code);
            return false;
        }
        out.set_user(opt.user<T>("result", "KORVS_RETURN_USER"));
    }
    return korvs_n1rty(0) == 0;
}

bool required(const void* p, const char* name) {
    if (p) return true;
    korvs_e1stl(1, name);
    korvs_ermes(5, 6002);
    return false;
}

// korvs_f_permute_vector: permute 1 gives result[i] = x[permutation[i]], 2 gives
// result[permutation[i]] = x[i].
template <class T>
void l_permute_vector(int n_elements, const T x[], const int permutation[], int permute, OptionList& opt,
                      T** result) {
    Output<T> out;
    if (!result_option(opt, out)) return;
    int checks = 0;
    check_range(n_elements, "n_elements", 1, -1, &checks);
    if (korvs_n1rty(0) > 0 || !required(x, "x") || !required(permutation, "permutation")) return;
    check_range(permute, "permute", 1, 2, &checks);
    if (korvs_n1rty(0) > 0 || !out.allocate(Shape(n_elements, "n_elements"))) return;
    Workspace<int> work;
    int* ip = one_based(n_elements, permutation, "n_elements", work);
    if (!ip) return;
    permu(n_elements, x, ip, permute, out.data());
    if (korvs_n1rty(0) > 3) return;
    *result = out.release();
}

// korvs_f_permute_matrix: permute 3 gives row i of the result as row permutation[i] of a,
// 4 column i as column permutation[i]. The row-major a is the column-major n_columns by
// n_rows transpose, whose columns are a's rows: the kernel permutes that as it stands.
template <class T>
void l_permute_matrix(int n_rows, int n_columns, const T a[], const int permutation[], int permute,
                      OptionList& opt, T** result) {
    Output<T> out;
    if (!result_option(opt, out)) return;
    int checks = 0;
    check_range(n_rows, "n_rows", 1, -1, &checks);
    check_range(n_columns, "n_columns", 1, -1, &checks);
    if (korvs_n1rty(0) > 0 || !required(a, "a") || !required(permutation, "permutation")) return;
    check_range(permute, "permute", 3, 4, &checks);
    if (korvs_n1rty(0) > 0 || !out.allocate(Shape(n_rows, "n_rows", n_columns, "n_columns"))) return;
    const bool rows = permute == 3;
    Workspace<int> ip_work;
    Workspace<T> work;
    int* ip = one_based(rows ? n_rows : n_columns, permutation, rows ? "n_rows" : "n_columns", ip_work);
    if (!ip || (rows && !work.allocate(Shape(n_rows, "n_rows")))) return;
    p2rma(n_columns, n_rows, a, n_columns, ip, rows ? 2 : 1, out.data(), n_columns, work.get());
    if (korvs_n1rty(0) > 3) return;
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_permute_vector(int n_elements, const float x[], const int permutation[], int permute,
                                        ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, permute);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_f_permute_vector",
                     [&] { korvs::l_permute_vector(n_elements, x, permutation, permute, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_permute_vector(int n_elements, const double x[], const int permutation[],
                                         int permute, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, permute);
    korvs::OptionList opt(&ap, 4);
    korvs::run_frame("korvs_d_permute_vector",
                     [&] { korvs::l_permute_vector(n_elements, x, permutation, permute, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API float* korvs_f_permute_matrix(int n_rows, int n_columns, const float a[], const int permutation[],
                                        int permute, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, permute);
    korvs::OptionList opt(&ap, 5);
    korvs::run_frame("korvs_f_permute_matrix",
                     [&] { korvs::l_permute_matrix(n_rows, n_columns, a, permutation, permute, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_permute_matrix(int n_rows, int n_columns, const double a[], const int permutation[],
                                         int permute, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, permute);
    korvs::OptionList opt(&ap, 5);
    korvs::run_frame("korvs_d_permute_matrix",
                     [&] { korvs::l_permute_matrix(n_rows, n_columns, a, permutation, permute, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
