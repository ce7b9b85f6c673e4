// korvs_l2rrr: Householder QR factorisation with column pivoting, LINPACK's dqrdc
// (Stewart; Dongarra, Bunch, Moler and Stewart, 1979, chapter 9): columns may be held
// at the front or the back, the free ones are brought forward by the norm of their
// remaining part, which is downdated after each reflection and formed afresh when the
// downdate has cancelled too many digits (Businger and Golub, 1965).
#include <cmath>
#include <utility>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "kernels.hpp"
#include "linear_systems.hpp"

namespace korvs {
namespace {

template <class T> struct Columns {
    int nrow;
    T* qr;
    std::ptrdiff_t ld;
    int* ipvt;
    T* qraux;
    T* saved;  // the norms as last formed in full
    T* column(int j) const { return qr + j * ld; }
    void exchange(int j, int k) const {
        for (int i = 0; i < nrow; ++i) std::swap(column(j)[i], column(k)[i]);
        std::swap(ipvt[j], ipvt[k]);
    }
};

// Initial columns (ipvt > 0 on entry) to the front and final ones (ipvt < 0) to the
// back, ipvt(j) becoming the column of a at j. The free columns are [*first, *last].
template <class T> void arrange(int ncol, const Columns<T>& C, int* first, int* last) {
    int pl = 0;
    for (int j = 0; j < ncol; ++j) {
        const bool initial = C.ipvt[j] > 0, final = C.ipvt[j] < 0;
        C.ipvt[j] = final ? -(j + 1) : j + 1;
        if (!initial) continue;
        if (j != pl) C.exchange(pl, j);
        ++pl;
    }
    int pu = ncol - 1;
    for (int j = ncol - 1; j >= 0; --j) {
        if (C.ipvt[j] >= 0) continue;
        C.ipvt[j] = -C.ipvt[j];
        if (j != pu) C.exchange(pu, j);
        --pu;
    }
    *first = pl;
    *last = pu;
}

// The Householder reflection of column l, applied to the columns after it; the free
// ones among them have their remaining norm downdated. y: scratch of ncol elements.
template <class T> void reflect(int l, int ncol, const Columns<T>& C, int first, int last, bool pivoting, T* y) {
    const int m = C.nrow - l;
    T* v = C.column(l) + l;
    T nrmxl = nrm2(m, v);
    if (nrmxl < pivot_floor<T>()) {
        C.qraux[l] = T(0);
        return;
    }
    if (v[0] != T(0)) nrmxl = std::copysign(nrmxl, v[0]);
    scal(m, T(1) / nrmxl, v, 1);
    v[0] = T(1) + v[0];
    const int rest = ncol - l - 1;
    const int ld = static_cast<int>(C.ld);
    if (rest > 0) {
        gemv("T", m, rest, T(1), v + C.ld, ld, v, 1, T(0), y, 1);
        for (int j = 0; j < rest; ++j) y[j] = -y[j] / v[0];
        ger(m, rest, T(1), v, 1, y, 1, v + C.ld, ld);
    }
    for (int j = l + 1; j < ncol; ++j) {
        if (j < first || j > last || C.qraux[j] == T(0)) continue;
        const T ratio = std::fabs(C.column(j)[l]) / C.qraux[j];
        T tt = T(1) - ratio * ratio;
        tt = tt > T(0) ? tt : T(0);
        T test = tt;
        if (pivoting) {
            const T grown = C.qraux[j] / C.saved[j];
            test = tt * (grown * grown);
        }
        const T one = T(1) + T(0.05) * test;
        if (one == T(1)) {
            C.qraux[j] = nrm2(C.nrow - l - 1, C.column(j) + l + 1);
            C.saved[j] = C.qraux[j];
        } else {
            C.qraux[j] = C.qraux[j] * std::sqrt(tt);
        }
    }
    C.qraux[l] = v[0];
    v[0] = -nrmxl;
}

template <class T>
void l_l2rrr(int nrow, int ncol, const T a[], int lda, int pivot, int ipvt[], T qr[], int ldqr, T qraux[], T conorm[],
             T work[]) {
    if (!checks_pass({{nrow < 1 || ncol < 1, 20136, nrow, ncol},
                      {lda < nrow, 20137, lda, nrow},
                      {ldqr < nrow, 20138, ldqr, nrow}}))
        return;
    const Columns<T> C{nrow, qr, ldqr, ipvt, qraux, work};
    for (int j = 0; j < ncol; ++j) {
        const T* from = a + static_cast<std::ptrdiff_t>(j) * lda;
        conorm[j] = nrm2(nrow, from);
        if (from != C.column(j)) copy(nrow, from, 1, C.column(j), 1);
    }
    const bool pivoting = pivot != 0;
    int first = 0, last = ncol - 1;
    if (pivoting) {
        arrange(ncol, C, &first, &last);
    } else {
        for (int j = 0; j < ncol; ++j) ipvt[j] = j + 1;
    }
    for (int j = 0; j < ncol; ++j) qraux[j] = work[j] = nrm2(nrow, C.column(j));
    const int steps = nrow < ncol ? nrow : ncol;
    for (int l = 0; l < steps; ++l) {
        if (pivoting && l >= first && l < last) {
            const int best = l + iamax(last - l + 1, qraux + l, 1) - 1;
            if (best != l) {
                C.exchange(l, best);
                std::swap(qraux[l], qraux[best]);
                std::swap(work[l], work[best]);
            }
        }
        if (l == nrow - 1) {
            qraux[l] = T(0);  // nothing below the diagonal to reflect
            continue;
        }
        reflect(l, ncol, C, first, last, pivoting, work + ncol);
    }
}

}  // namespace

template <class T>
void l2rrr(int nrow, int ncol, const T a[], int lda, int pivot, int ipvt[], T qr[], int ldqr, T qraux[], T conorm[],
           T work[]) {
    run_traced("korvs_l2rrr", [&] { l_l2rrr(nrow, ncol, a, lda, pivot, ipvt, qr, ldqr, qraux, conorm, work); });
}

template void l2rrr(int, int, const float[], int, int, int[], float[], int, float[], float[], float[]);
template void l2rrr(int, int, const double[], int, int, int[], double[], int, double[], double[], double[]);

}  // namespace korvs
