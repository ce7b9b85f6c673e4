// korvs_f_mat_mul_rect: the product of up to three row-major operands named by a small
// expression ("A", "B", "x", "y", each possibly as "trans(.)", joined by "*"), computed
// through the column-major matrix-vector kernel: a row-major matrix is to that kernel
// its own transpose, so no operand is moved or copied.
#include <cstdarg>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "kernels.hpp"

namespace korvs {
namespace {

enum { kA = 1, kB = 2, kX = 3, kY = 4, kTransposed = 8 };
const char* const kNames[5] = {"", "A", "B", "X", "Y"};

template <class T> struct Slot {
    int rows = 0;
    int cols = 0;
    int col_dim = -1;
    bool present = false;
    T* data = nullptr;
};

// One operand as the product sees it: the stored row-major shape and whether it is used
// transposed.
template <class T> struct Operand {
    int rows;     // stored rows
    int cols;     // stored columns
    int col_dim;  // distance between stored rows
    const T* data;
    bool transposed;
    bool vector;
    int eff_rows() const { return transposed ? cols : rows; }
    int eff_cols() const { return transposed ? rows : cols; }
    // The kernel's flag for this operand on the left of a product: its storage is its
    // transpose to the column-major kernel.
    const char* left_flag() const { return transposed ? "N" : "T"; }
};

template <class T> Operand<T> operand(const Slot<T>* slots, int code) {
    const Slot<T>& s = slots[code & 7];
    int slot = code & 7;
    return {s.rows, s.cols, s.col_dim, s.data, (code & kTransposed) != 0, slot == kX || slot == kY};
}

// Splits the expression into operand codes; false, with 20151 raised, when it does not parse.
bool parse(const char* expression, int codes[3], int* count) {
    *count = 0;
    const char* p = expression;
    for (;;) {
        const char* end = p;
        while (*end && *end != '*') ++end;
        int length = static_cast<int>(end - p);
        int code = 0;
        auto letter = [](char ch) {
            switch (ch) {
            case 'A': return int(kA);
            case 'B': return int(kB);
            case 'x': return int(kX);
            case 'y': return int(kY);
            default: return 0;
            }
        };
        if (length == 1) {
            code = letter(p[0]);
        } else if (length == 8 && std::char_traits<char>::compare(p, "trans(", 6) == 0 && letter(p[6])) {
            code = letter(p[6]) | kTransposed;  // the closing character is not examined
        }
        if (code == 0 || *count == 3) {
            korvs_e1stl(1, expression);
            korvs_ermes(5, 20151);
            return false;
        }
        codes[(*count)++] = code;
        if (!*end) return true;
        p = end + 1;
    }
}

// p * q into ans, row-major with column dimension rcd. False after an error.
template <class T> bool two_operands(const Operand<T>& p, const Operand<T>& q, T* ans, int rcd) {
    if (p.eff_cols() != q.eff_rows()) {
        korvs_e1sti(1, p.eff_rows());
        korvs_e1sti(2, p.eff_cols());
        korvs_e1sti(3, q.eff_rows());
        korvs_e1sti(4, q.eff_cols());
        korvs_ermes(5, 20153);
        return false;
    }
    const T one = T(1), zero = T(0);
    if (p.vector && p.transposed && q.vector && !q.transposed) {
        ans[0] = dot(p.eff_cols(), p.data, 1, q.data, 1);
        return true;
    }
    // One matrix and one vector in a single kernel call: a matrix times a column, or a
    // row times a matrix. A column before a matrix or a row after one (possible only
    // with a matrix of one row or column) is an outer product and goes the general way.
    if (!p.vector && q.vector && !q.transposed) {
        gemv(p.left_flag(), p.cols, p.rows, one, p.data, p.col_dim, q.data, 1, zero, ans, rcd);
    } else if (p.vector && p.transposed && !q.vector) {
        gemv(q.transposed ? "T" : "N", q.cols, q.rows, one, q.data, q.col_dim, p.data, 1, zero, ans, 1);
    } else {
        // Column j of the answer is p times column j of op(q).
        for (int j = 0; j < q.eff_cols(); ++j) {
            const T* column = q.transposed ? q.data + static_cast<std::ptrdiff_t>(j) * q.col_dim : q.data + j;
            int step = q.transposed ? 1 : q.col_dim;
            gemv(p.left_flag(), p.cols, p.rows, one, p.data, p.col_dim, column, step, zero, ans + j, rcd);
            if (korvs_n1rty(0) > 3) return false;
        }
    }
    return korvs_n1rty(0) <= 3;
}

template <class T> bool one_operand(const Operand<T>& p, T* ans, int rcd) {
    const std::ptrdiff_t d = p.col_dim, r = rcd;
    if (!p.transposed) {
        for (int i = 0; i < p.rows; ++i) {
            const T* src = p.data + i * d;
            T* dst = ans + i * r;
            if (src == dst) continue;
            for (int j = 0; j < p.cols; ++j) dst[j] = src[j];
        }
    } else if (!(p.data == ans && rcd == 1)) {
        for (int i = 0; i < p.cols; ++i)
            for (int j = 0; j < p.rows; ++j) ans[i * r + j] = p.data[j * d + i];
    }
    return true;
}

template <class T> void l_mat_mul_rect(const char* expression, OptionList& opt, T** result) {
    Slot<T> slots[5];
    Output<T> answer;
    answer.set_plain(nullptr);
    int rcd = -1;
    auto matrix = [&](int slot, const char* option) {
        slots[slot].rows = opt.integer();
        slots[slot].cols = opt.integer();
        slots[slot].data = opt.user<T>(kNames[slot], option);
        slots[slot].present = true;
    };
    auto vector = [&](int slot, const char* option) {
        slots[slot].rows = opt.integer();
        slots[slot].cols = 1;
        slots[slot].col_dim = 1;
        slots[slot].data = opt.user<T>(kNames[slot], option);
        slots[slot].present = true;
    };
    for (int code; (code = opt.code()) != 0;) {
        bool go_on = true;
        switch (code) {
        case KORVS_A_MATRIX: matrix(kA, "KORVS_A_MATRIX"); break;
        case KORVS_A_COL_DIM: slots[kA].col_dim = opt.integer(); break;
        case KORVS_B_MATRIX: matrix(kB, "KORVS_B_MATRIX"); break;
        case KORVS_B_COL_DIM: slots[kB].col_dim = opt.integer(); break;
        case KORVS_X_VECTOR: vector(kX, "KORVS_X_VECTOR"); break;
        case KORVS_Y_VECTOR: vector(kY, "KORVS_Y_VECTOR"); break;
        case KORVS_RETURN_USER: answer.set_user(opt.user<T>("ans", "KORVS_RETURN_USER")); break;
        case KORVS_RETURN_COL_DIM: rcd = opt.integer(); break;
        default: go_on = opt.unknown_goes_on(code); break;
        }
        if (!go_on) break;
    }
    for (int slot : {kA, kB})
        if (slots[slot].present) settle_col_dim(slots[slot].col_dim, slots[slot].cols, kNames[slot]);
    if (korvs_n1rty(0) > 0) return;
    if (!expression) return;

    int codes[3];
    int count = 0;
    if (!parse(expression, codes, &count)) return;
    int last_cols = operand(slots, codes[count - 1]).eff_cols();
    if (rcd == -1) {
        rcd = last_cols;
    } else if (rcd < last_cols) {
        korvs_e1sti(1, rcd);
        korvs_e1sti(2, last_cols);
        korvs_e1stl(1, expression);
        korvs_ermes(5, 20150);
        return;
    }

    for (int k = 0; k < count; ++k) {
        if (slots[codes[k] & 7].present) continue;
        korvs_e1stl(1, kNames[codes[k] & 7]);
        korvs_ermes(5, 20152);
        return;
    }
    Operand<T> ops[3];
    for (int k = 0; k < count; ++k) ops[k] = operand(slots, codes[k]);
    int rows = ops[0].eff_rows();
    long long elements = static_cast<long long>(rcd) * rows;
    if (!answer.allocate(Shape::count(elements))) return;
    T* ans = answer.data();
    for (long long e = 0; e < elements; ++e) ans[e] = T(0);

    bool good = false;
    if (count == 1) {
        good = one_operand(ops[0], ans, rcd);
    } else if (count == 2) {
        good = two_operands(ops[0], ops[1], ans, rcd);
    } else {
        const Operand<T>&p = ops[0], &q = ops[1], &s = ops[2];
        if (p.eff_cols() != q.eff_rows() || q.eff_cols() != s.eff_rows()) {
            const int dims[6] = {p.eff_rows(), p.eff_cols(), q.eff_rows(), q.eff_cols(), s.eff_rows(), s.eff_cols()};
            for (int i = 0; i < 6; ++i) korvs_e1sti(i + 1, dims[i]);
            korvs_ermes(5, 20154);
            return;
        }
        if (p.vector && p.transposed && !q.vector && !q.transposed && s.vector && !s.transposed) {
            // trans(v) M w: the sum over the rows of M of v(i) times (row i of M) . w.
            T sum = T(0);
            for (int i = 0; i < q.rows; ++i)
                sum += p.data[i] * dot(q.cols, q.data + static_cast<std::ptrdiff_t>(i) * q.col_dim, 1, s.data, 1);
            ans[0] = sum;
            good = true;
        } else {
            // The last two operands into a work array of their own, then the first one
            // times that product into the answer.
            int r2 = q.eff_rows(), c3 = s.eff_cols();
            long long work_elements = static_cast<long long>(r2) * c3;
            Workspace<T> work(Shape::count(work_elements));
            if (!work) return;
            for (long long e = 0; e < work_elements; ++e) work[e] = T(0);
            if (!two_operands(q, s, work.get(), c3)) return;
            Operand<T> product{r2, c3, c3, work.get(), false, false};
            good = two_operands(p, product, ans, rcd);
        }
    }
    if (good) *result = answer.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_mat_mul_rect(const char* expression, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, expression);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_mat_mul_rect", [&] { korvs::l_mat_mul_rect(expression, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_mat_mul_rect(const char* expression, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, expression);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_mat_mul_rect", [&] { korvs::l_mat_mul_rect(expression, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
