// korvs_f_m1ran: the transpose of a column-major matrix, in place or into another array.
// Square matrices swap across the diagonal. Others follow the cycles of the permutation
// that sends position k to k * cols mod (rows * cols - 1) (Cate and Twigg, ACM Algorithm
// 302, 1966); a bitmap marks the positions already moved, and when there is no memory for
// it each cycle is moved from its smallest position only, found by walking the cycle.
#include <cstdlib>
#include <cstring>
#include <utility>

#include "frame/frame.hpp"
#include "kernels.hpp"

namespace korvs {
namespace {

template <class T> void transpose_square(std::ptrdiff_t n, T* b) {
    for (std::ptrdiff_t j = 1; j < n; ++j)
        for (std::ptrdiff_t i = 0; i < j; ++i) std::swap(b[i + j * n], b[j + i * n]);
}

template <class T> void transpose_cycles(std::ptrdiff_t rows, std::ptrdiff_t cols, T* b) {
    const unsigned long long last = static_cast<unsigned long long>(rows) * cols - 1;
    const unsigned long long step = static_cast<unsigned long long>(cols);
    auto next = [&](unsigned long long k) { return static_cast<unsigned long long>((static_cast<unsigned __int128>(k) * step) % last); };
    const std::size_t words = (last + 64) / 64;
    auto* moved = static_cast<unsigned long long*>(std::calloc(words, sizeof(unsigned long long)));
    for (unsigned long long start = 1; start < last; ++start) {
        if (moved) {
            if (moved[start / 64] >> (start % 64) & 1) continue;
        } else {
            unsigned long long k = next(start);
            while (k > start) k = next(k);
            if (k < start) continue;  // the cycle was moved from its smallest position
        }
        T carry = b[start];
        unsigned long long k = start;
        do {
            k = next(k);
            std::swap(carry, b[k]);
            if (moved) moved[k / 64] |= 1ull << (k % 64);
        } while (k != start);
    }
    std::free(moved);
}

template <class T> void l_m1ran(int rows, int cols, const T a[], T b[]) {
    if (rows < 1) {
        korvs_e1sti(1, rows);
        korvs_ermes(5, 620);
        return;
    }
    if (cols < 1) {
        korvs_e1sti(1, cols);
        korvs_ermes(5, 621);
        return;
    }
    if (!a) {
        korvs_e1stl(1, "a");
        korvs_ermes(5, 6002);
        return;
    }
    if (!b) {
        korvs_e1stl(1, "b");
        korvs_ermes(5, 6002);
        return;
    }
    const std::ptrdiff_t r = rows, c = cols;
    if (a != b) std::memmove(b, a, sizeof(T) * static_cast<std::size_t>(r * c));
    if (rows == cols) {
        transpose_square(r, b);
    } else if (rows > 1 && cols > 1) {
        transpose_cycles(r, c, b);
    }
}

}  // namespace

// The trace name is the same in both precisions.
template <class T> void m1ran(int rows, int cols, const T a[], T b[]) {
    run_traced("M1RAN_F", [&] { l_m1ran(rows, cols, a, b); });
}

template void m1ran(int, int, const float[], float[]);
template void m1ran(int, int, const double[], double[]);
template void m1ran(int, int, const int[], int[]);  // integer tables of the output engine

}  // namespace korvs

extern "C" {

KORVS_API void korvs_f_m1ran(int rows, int cols, float a[], float b[]) noexcept {
    korvs::run_frame("M1RAN_F", [&] { korvs::l_m1ran(rows, cols, a, b); });
}

KORVS_API void korvs_d_m1ran(int rows, int cols, double a[], double b[]) noexcept {
    korvs::run_frame("M1RAN_F", [&] { korvs::l_m1ran(rows, cols, a, b); });
}

}  // extern "C"
