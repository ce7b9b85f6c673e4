// The table engine behind korvs_f_write_matrix and its twins, for the routines that
// print a matrix or a value without an option list of their own.
#pragma once

namespace korvs {

enum Triangle { kAll, kLower, kLowerNoDiag, kUpper, kUpperNoDiag };

constexpr int kColDimNotGiven = -1 << 30;

// What an option list of a write_matrix routine asks for, before the checks.
struct MatrixOptions {
    int a_col_dim = kColDimNotGiven;  // nca, or 1 when nca is 0
    bool transpose = false;
    bool format_given = false;
    const char* format = nullptr;
    int triangle = kAll;
    int row_style = -1;  // 0 none, 1 numbers from 1, 2 strings, 3 numbers from 0; -1 by the rows
    const char* const* row_labels = nullptr;
    int col_style = -1;
    const char* const* col_labels = nullptr;
    char** string = nullptr;  // string mode: where the text goes
    bool to_string = false;
    bool to_console = false;
    bool leading_blank = false;  // an empty line before the title (the scalar writers)
};

// Checks the arguments, lays out and prints the row-major nra by nca matrix a with
// column dimension o.a_col_dim. True when the table was printed (or, in string mode,
// handed over through o.string).
template <class T> bool print_matrix(const char* title, int nra, int nca, T a[], MatrixOptions& o);

}  // namespace korvs
