// The linear regression core that later families build on: the updating kernel of an
// upper triangular factor (korvs_r9ivn, korvs_r2ivn), the analysis-of-variance vector
// (korvs_g1aov), the coefficient covariances from the factor (korvs_rcovb), the summary
// statistics (korvs_rstat) and the case statistics (korvs_r2ase), with the record that a
// fit hands to its caller.
//
// The factor is kept as Gentleman's (1973) square-root-free form R = D^(1/2) A: a row
// scaling d and an upper triangle A, updated one observation at a time by the modified
// Givens rotation of Lawson, Hanson, Kincaid and Krogh (1979). Observations are removed
// by the same rotation with a negative weight.
#pragma once

#include "describe/describe.hpp"
#include "frame/options.hpp"

namespace korvs {

// ---- The fit's record -------------------------------------------------------------------

// regression_info: one malloc block, the fixed part followed by its arrays, so that the
// caller releases it with free(). `element_size` (sizeof T) lets a routine refuse the
// other twin's record; the integer fields before it stand at the same places in both.
template <class T> struct RegressionInfo {
    int n_observations;  // first argument of the last call
    int n_rows_missing;  // rows skipped for NaN
    int n_dependent;
    int n_parameters;  // intercept plus n_independent
    int intercept;     // 0 or 1
    int rank;
    int element_size;
    T df_error;
    T* coefficients;  // n_dependent by n_parameters, one row per dependent variable
    T* sscp_error;    // n_dependent by n_dependent, error sums of squares and cross-products
    T* r;             // n_parameters square, row-major, upper triangular, nonnegative diagonal
    T* d;             // n_parameters, all 1 once the fit is finished
    T* x_mean;        // n_independent
    T* x_minimum;     // n_independent, the intercept column left out
    T* x_maximum;
    T* y_mean;  // n_dependent
    T sum_weights;
};

// A record of n_parameters with the given counts, its pointers set into the block and
// every array NaN; null with 201 raised when there is no memory.
template <class T> RegressionInfo<T>* allocate_info(int n_parameters, int intercept, int n_dependent);

// A record made by this twin: its element size (602 on "<record>->element_size"
// otherwise). False after that error.
template <class T> bool same_twin(int element_size, const char* name);

// ---- The updating kernel ----------------------------------------------------------------

// The observations of one call, read where they stand in the caller's x: row-major with
// column dimension ldx, or column-major through the two steps. An index count below 0 takes the first |count| columns in order
// (independent first, then the dependent after them), as the kernel's callers pass it.
template <class T> struct RowBlock {
    int nrow = 0;  // below 0: the rows are removed
    const T* x = nullptr;
    int ldx = 0;       // step between rows
    int col_step = 1;  // step between columns
    int n_independent = 0;
    const int* independent = nullptr;  // columns of x, from 0; null: 0, 1, ...
    int n_dependent = 0;
    const int* dependent = nullptr;  // columns of x, from 0; null: after the independent
    const T* y = nullptr;            // the dependent values outside x, when given
    int ldy = 0;
    const WeightRows<T>* weights = nullptr;  // null: frequency and weight 1
};

// The work row of one observation: the intercept's 1, the independent values, then the
// dependent values. False when one of them is NaN.
template <class T> bool work_row(const RowBlock<T>& rows, int intercept, int row, T z[]);

// The model's settings.
struct UpdateModel {
    int intercept = 1;          // 0 or 1
    int mean_subtraction = 1;   // row 0 of the factor holds running sums (intercept only)
    double tolerance = 0;       // in [0, 1]; a column is collinear when its residual sum of
                                // squares is at most tolerance^2 times its total
};

// What the kernel keeps across the calls of a stream. Arrays are the caller's:
//   a    p rows of q = p + n_dependent, row-major: the triangle, then the rotated responses
//   d    p scale factors
//   scpe n_dependent square, error sums of squares and cross-products
//   xmin, xmax  q: the extremes of each column of the work row (intercept column first)
//   sums q: sums of frequency * weight * value of the work row
template <class T> struct UpdateState {
    int p = 0;
    int n_dependent = 0;
    T* a = nullptr;
    T* d = nullptr;
    T* scpe = nullptr;
    T* xmin = nullptr;
    T* xmax = nullptr;
    T* sums = nullptr;
    T sum_weights = 0;  // sum of frequency * weight over the rows used
    T n_used = 0;       // sum of frequencies over the rows used
    T dfe = 0;
    int nmiss = 0;
    int rank = 0;
    bool seen = false;  // a row has set the extremes
};

// The state of a new stream: a, scpe and the sums zero, d all 1, the extremes NaN.
template <class T> void start_state(UpdateState<T>& s);

// korvs_r9ivn: the updating step. ido 0 starts, adds the rows and finishes; 1 starts and
// adds; 2 adds; 3 adds and finishes. Finishing selects the columns (collinear and
// surplus constant columns are dropped, their rows rotated into the rows below), solves
// for the coefficients b (p by n_dependent, column-major with leading dimension p;
// collinear columns give 0), sets the rank, takes it from dfe and brings the factor to
// d = 1 with a nonnegative diagonal. Raises 11048 (type 6) when a removed value equals
// a stored extreme, 11049 (type 6) for a negative dfe, 11054 to 11057 from the row
// reader (type 4: the call ends). `work` holds 64 * (q + 1) + p * (p + 1) elements.
template <class T>
void r9ivn(int ido, const RowBlock<T>& rows, const UpdateModel& model, UpdateState<T>& s, T b[], T work[]);

// korvs_r2ivn: the same kernel for the model fits that read their rows from a
// column-major x of nrow rows with leading dimension ldx, with no frequencies or weights
// and the mean subtraction with the intercept; iind and idep as counts and column lists
// of the RowBlock.
template <class T>
void r2ivn(int ido, int nrow, const T x[], int ldx, int intercept, int iind, const int indind[], int idep,
           const int inddep[], double tolerance, UpdateState<T>& s, T b[], T work[]);

// The size of the kernel's work array.
long long update_work_size(int p, int n_dependent);

// ---- Options that the routines of the family share ------------------------------------

// An output array's option: the _USER form gives the caller's array (104 for a null
// pointer, with the array's name and the option's), the plain form an address where the
// allocated array goes.
template <class T> void read_output(OptionList& opt, Output<T>& out, bool user, const char* name, const char* option) {
    if (user) {
        out.set_user(opt.user<T>(name, option));
    } else {
        out.set_plain(opt.pointer<T*>());
    }
}

// KORVS_X_INDICES: the columns of x (from 0) of the independent and dependent variables,
// of the frequencies and of the weights (-1: none).
struct ColumnIndices {
    bool given = false;
    const int* independent = nullptr;
    const int* dependent = nullptr;
    int frequency_column = -1, weight_column = -1;
    void read(OptionList& opt) {
        given = true;
        independent = opt.pointer<const int>();
        dependent = opt.pointer<const int>();
        frequency_column = opt.integer();
        weight_column = opt.integer();
    }
};

// ---- Inference from the factor ----------------------------------------------------------

// korvs_g1aov: the 15-element analysis-of-variance vector from the regression and error
// degrees of freedom and sums of squares, the mean of the response (NaN without one).
// Ratios are safe ratios: what cannot be formed is NaN. An infinite F gives p = 1.
template <class T> void g1aov(T dfr, T ssr, T dfe, T sse, T mean, T table[15]);

// korvs_rcovb: s2 R^-1 R^-T for the p by p upper triangular R (row-major, column
// dimension ldr), into the p by p row-major cov with column dimension ldcov. Zero
// diagonal elements of R give zero rows and columns. work: p * p elements.
template <class T> void rcovb(int p, const T r[], int ldr, T s2, T cov[], int ldcov, T work[]);

// korvs_rstat: for dependent variable k of the record, the analysis of variance from
// the sequential sums of squares (anova, 15), the coefficient statistics (coef, p rows
// of 5: estimate, standard error, t, p-value, variance inflation; the intercept has no
// inflation), and the coefficient covariances (cov, p square). Any of them may be null.
// The keyword selects the printed blocks: "A" all, "N" none, else the digits 1 to 4.
// work: 3 p^2 + 9 p elements.
template <class T>
void rstat(const char* keyword, const RegressionInfo<T>& info, int k, T anova[15], T coef[], int ldcoef, T cov[],
           int ldcov, T work[]);

// ---- Case statistics ---------------------------------------------------------------------

// The items of a case, in the order of the case-statistics array.
enum CaseItem {
    kObserved,
    kPredicted,
    kResidual,
    kLeverage,
    kStandardized,
    kDeleted,
    kCooks,
    kDffits,
    kMeanLower,
    kMeanUpper,
    kNewLower,
    kNewUpper,
    kCaseItems
};

// What korvs_r2ase needs of a fit besides the case itself.
template <class T> struct CaseModel {
    int p;       // the parameter count, of Cook's distance
    T sse;       // error sum of squares of the dependent variable
    T dfe;       // error degrees of freedom
    T t;         // the t quantile of the limits
    T scheffe;   // p times the F quantile of the Scheffe band, NaN when not wanted
};

// One case: its predicted and observed values (y NaN when not known), its leverage
// before the weight (x'(R'R)^-1 x), its weight w (1 without weights) and the weight w2 of
// a new observation at it.
template <class T> struct Case {
    int row;
    T yhat, y, leverage, w, w2;
};

// korvs_r2ase: the case statistics of one row into out (kCaseItems values, then the two
// limits of the Scheffe band). Returns 1 for a missing case (NaN in the row or its
// weight: every item NaN), 0 for a case formed, -1 after an error of type 4 (a negative
// weight, 20222, or a new observation's weight not positive, 20221).
template <class T> int r2ase(const CaseModel<T>& m, const Case<T>& c, T out[]);

// The poly_info record of a fit in orthogonal polynomials (Forsythe 1957): the predictor
// is mapped to a x + b, P[1] = 1, P[2] = a x + b - c[1] and P[i] = (a x + b - c[i-1])
// P[i-1] - g[i-1] P[i-2]; the fit is the sum of coefficients[i] P[i], i from 1 to
// degree + 1, with the sums of squares ssorp[i] of the polynomials over the data. Arrays
// are indexed from 1 (element 0 unused); one malloc block.
template <class T> struct PolyInfo {
    int element_size;
    int degree;
    T a, b;
    T df_error;
    T sse;
    T* c;
    T* g;
    T* coefficients;
    T* ssorp;
};

}  // namespace korvs
