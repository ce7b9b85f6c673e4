// The argument checks that workers share, with their standard codes and inserts. Each
// check takes the address of a running check count last and increments it whether or
// not the check failed. Every failure is raised at type 5 unless noted.
#pragma once

namespace korvs {

// korvs_check_range: value in low..high (602); with low above high, value not below low (603).
void check_range(int value, const char* name, int low, int high, int* count);
// korvs_check_not_above: a must not exceed b (601).
void check_not_above(int a, const char* name_a, int b, const char* name_b, int* count);
// korvs_check_dimension: value at least low, and not above bound when bound is 1 or more.
void check_dimension(int low, int value, const char* name, int bound, const char* bound_name, int* count);
// korvs_f_check_nonnegative: value 0 or more; a NaN fails too (11061).
template <class T> void check_nonnegative(T value, const char* name, int* count);
// korvs_f_check_zero_diagonal: below a zero diagonal element of the column-major n by n
// matrix every element of its column is zero (11060).
template <class T> void check_zero_diagonal(int n, const T a[], int lda, int* count);

// korvs_f_check_weight_row: one observation's frequency and weight from the column-major
// x. Columns count from 1; 0 or less means no such column. status: 0 usable, 1 zero
// frequency, 2 missing (missing_count moved by increment), 3 a negative frequency or
// weight (type 4: 11054 to 11057). An increment of -1 negates the frequency, which
// turns the observation into a deletion.
template <class T>
void check_weight_row(int group_mode, int group, const T x[], int ldx, int row, int increment,
                      int freq_column, int weight_column, int* missing_count, T* freq, T* weight,
                      int* status);

// A column dimension of an operand: -1 (not given) takes the number of columns, and one
// below the number of columns raises 1024 with the array's name. False on failure.
bool settle_col_dim(int& col_dim, int columns, const char* name);

}  // namespace korvs
