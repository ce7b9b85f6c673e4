// The argument checks shared by the workers, and their twins over float and double.
#include "checks.hpp"

#include <cmath>

#include "korvstat.h"
#include "mach.hpp"

namespace korvs {

void check_range(int value, const char* name, int low, int high, int* count) {
    ++*count;
    if (low <= high) {
        if (value >= low && value <= high) return;
        korvs_e1sti(1, value);
        korvs_e1sti(2, low);
        korvs_e1sti(3, high);
        korvs_e1stl(1, name);
        korvs_ermes(5, 602);
    } else if (value < low) {
        korvs_e1sti(1, value);
        korvs_e1sti(2, low);
        korvs_e1stl(1, name);
        korvs_ermes(5, 603);
    }
}

void check_not_above(int a, const char* name_a, int b, const char* name_b, int* count) {
    ++*count;
    if (a <= b) return;
    korvs_e1sti(1, a);
    korvs_e1sti(2, b);
    korvs_e1stl(1, name_a);
    korvs_e1stl(2, name_b);
    korvs_ermes(5, 601);
}

void check_dimension(int low, int value, const char* name, int bound, const char* bound_name, int* count) {
    check_range(value, name, low, -1, count);
    if (bound >= 1) check_not_above(value, name, bound, bound_name, count);
}

template <class T> void check_nonnegative(T value, const char* name, int* count) {
    ++*count;
    if (value >= T(0)) return;  // false for a NaN
    insert_real(1, value);
    korvs_e1stl(1, name);
    korvs_ermes(5, 11061);
}

template <class T> void check_zero_diagonal(int n, const T a[], int lda, int* count) {
    ++*count;
    for (int j = 0; j < n; ++j) {
        const T* column = a + static_cast<long long>(j) * lda;
        if (column[j] != T(0)) continue;
        for (int i = j + 1; i < n; ++i) {
            if (column[i] == T(0)) continue;
            korvs_e1sti(1, j);
            korvs_e1sti(2, i);
            insert_real(1, column[j]);
            insert_real(2, column[i]);
            korvs_ermes(5, 11060);
            return;
        }
    }
}

template <class T>
void check_weight_row(int group_mode, int group, const T x[], int ldx, int row, int increment,
                      int freq_column, int weight_column, int* missing_count, T* freq, T* weight,
                      int* status) {
    auto at = [&](int column) { return x[row + static_cast<long long>(column - 1) * ldx]; };
    // A negative frequency or weight: type 4, with the group when there is one.
    auto negative = [&](T value, int plain_code, int group_code) {
        korvs_e1sti(1, row);
        insert_real(1, value);
        if (group_mode < 1) {
            korvs_ermes(4, plain_code);
        } else {
            korvs_e1sti(2, group);
            korvs_ermes(4, group_code);
        }
        *status = 3;
    };
    *status = 0;
    if (freq_column > 0) {
        *freq = at(freq_column);
        if (std::isnan(*freq)) {
            *missing_count += increment;
            *status = 2;
        } else if (*freq == T(0)) {
            *status = 1;
            return;
        }
    }
    if (weight_column > 0) {
        *weight = at(weight_column);
        if (std::isnan(*weight) && *status != 2) {
            *missing_count += increment;
            *status = 2;
        }
    }
    if (freq_column <= 0) {
        *freq = T(1);
    } else if (*freq < T(0)) {
        negative(*freq, 11055, 11054);
        return;
    }
    if (increment == -1) *freq = -*freq;
    if (weight_column <= 0) {
        *weight = T(1);
    } else if (*weight < T(0)) {
        negative(*weight, 11057, 11056);
    }
}

bool settle_col_dim(int& col_dim, int columns, const char* name) {
    if (col_dim == -1) col_dim = columns;
    if (col_dim >= columns) return true;
    korvs_e1stl(1, name);
    korvs_e1sti(1, columns);
    korvs_e1sti(2, col_dim);
    korvs_ermes(5, 1024);
    return false;
}

template void check_nonnegative(float, const char*, int*);
template void check_nonnegative(double, const char*, int*);
template void check_zero_diagonal(int, const float[], int, int*);
template void check_zero_diagonal(int, const double[], int, int*);
template void check_weight_row(int, int, const float[], int, int, int, int, int, int*, float*, float*, int*);
template void check_weight_row(int, int, const double[], int, int, int, int, int, int*, double*, double*,
                               int*);

}  // namespace korvs
