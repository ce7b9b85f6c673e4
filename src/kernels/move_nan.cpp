// Rows with a missing value (NaN) to the bottom of a matrix: the kernel korvs_mvnan on
// column-major matrices and the exported korvs_f_move_nan on row-major ones, one exchange
// pass from both ends (sort.hpp, move_missing_rows) over either layout.
#include <cmath>
#include <cstdarg>
#include <utility>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "sort.hpp"

namespace korvs {
namespace {

// The columns an exchange pass tests: m > 0 the m listed ones, m < 0 the first -m. The
// listed columns must lie in the matrix (20525), -m must not exceed n_columns (20524),
// both raised in a frame of korvs_mvnan. False on failure.
bool tested_columns_valid(int n_columns, int m, const int columns[]) {
    const char* name = "korvs_mvnan";
    if (m < 0 && -m > n_columns) {
        korvs_e1psh(name);
        korvs_e1sti(1, -m);
        korvs_e1sti(2, n_columns);
        korvs_ermes(5, 20524);
        korvs_e1pop(name);
        return false;
    }
    for (int k = 0; k < m; ++k) {
        if (columns[k] >= 0 && columns[k] < n_columns) continue;
        korvs_e1psh(name);
        korvs_e1sti(1, k);
        korvs_e1sti(2, columns[k]);
        korvs_e1sti(3, n_columns);
        korvs_ermes(5, 20525);
        korvs_e1pop(name);
        return false;
    }
    return true;
}

// The exchange pass over a matrix whose element (i, j) lies at x[i row_step + j col_step].
template <class T>
int move_nan_rows(int n_rows, int n_columns, int m, const int columns[], T x[], std::ptrdiff_t row_step,
                  std::ptrdiff_t col_step, int swaps[]) {
    auto at = [&](int i, int j) -> T& { return x[i * row_step + j * col_step]; };
    auto missing = [&](int i) {
        const int tested = m < 0 ? -m : m;
        for (int k = 0; k < tested; ++k)
            if (std::isnan(at(i, m < 0 ? k : columns[k]))) return true;
        return false;
    };
    auto exchange = [&](int a, int b) {
        for (int j = 0; j < n_columns; ++j)
            std::swap(at(a, j), at(b, j));
    };
    return move_missing_rows(n_rows, missing, exchange, swaps);
}

}  // namespace

template <class T>
void mvnan(int n_rows, int n_columns, int m, const int columns[], T x[], int ldx, int swaps[],
           int* n_missing) {
    if (!tested_columns_valid(n_columns, m, columns)) return;
    const int count = move_nan_rows(n_rows, n_columns, m, columns, x, 1, ldx, swaps);
    if (n_missing) *n_missing = count;
}

template void mvnan(int, int, int, const int[], float[], int, int[], int*);
template void mvnan(int, int, int, const int[], double[], int, int[], int*);

namespace {

// korvs_f_move_nan: the row-major x as it stands, rows with a NaN in a tested column last.
template <class T> void l_move_nan(int n_row, int n_column, T x[], OptionList& opt, T** result) {
    int mode = 0;  // all columns, the first m, or the m listed
    int m = 0;
    const int* columns = nullptr;
    Output<int> flags;
    int* n_missing = nullptr;
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_ALL_COLUMNS: mode = 0; break;
        case KORVS_FIRST_COLUMNS:
            mode = 1;
            m = opt.integer();
            break;
        case KORVS_LISTED_COLUMNS:
            mode = 2;
            m = opt.integer();
            columns = opt.pointer<const int>();
            break;
        case KORVS_MISSING_FLAGS:
            flags.set_plain(opt.user<int*>("missing_flags", "KORVS_MISSING_FLAGS"));
            break;
        case KORVS_MISSING_FLAGS_USER:
            flags.set_user(opt.user<int>("missing_flags", "KORVS_MISSING_FLAGS_USER"));
            break;
        case KORVS_N_MISSING: n_missing = opt.pointer<int>(); break;
        default: opt.unknown(code); return;
        }
    }
    if (korvs_n1rty(0) > 0) return;
    int checks = 0;
    check_range(n_row, "n_row", 1, -1, &checks);
    check_range(n_column, "n_column", 1, -1, &checks);
    if (korvs_n1rty(0) > 0) return;
    const bool listed = mode == 2;
    if (!x || (listed && !columns)) {
        korvs_e1stl(1, x ? "columns" : "x");
        korvs_ermes(5, 6002);
        return;
    }
    const int tested = mode == 0 ? n_column : m;
    if (tested < 1 || tested > n_column) {
        korvs_e1sti(1, m);
        korvs_e1sti(2, n_column);
        korvs_ermes(5, 20524);
        return;
    }
    if (listed && !tested_columns_valid(n_column, m, columns)) return;
    if (!flags.allocate(Shape(n_row, "n_row"))) return;
    const int count =
        move_nan_rows(n_row, n_column, listed ? m : -tested, columns, x, n_column, 1, flags.data());
    if (int* swaps = flags.data())
        for (int i = 0; i < n_row; ++i)
            --swaps[i];
    flags.release();
    if (n_missing) *n_missing = count;
    *result = x;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_move_nan(int n_row, int n_column, float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_f_move_nan", [&] { korvs::l_move_nan(n_row, n_column, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_move_nan(int n_row, int n_column, double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 3);
    korvs::run_frame("korvs_d_move_nan", [&] { korvs::l_move_nan(n_row, n_column, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
