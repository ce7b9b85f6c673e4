/* The korvstat demo: the version strings, the machine constants printed as tables, a
 * table of Student's t quantiles with the probabilities they come back to, and the error
 * runtime at work on a bad argument. */
#include <korvstat.h>
#include <stdio.h>
#include <stdlib.h>

static const char *const names[8] = {"smallest normal number", "largest finite number",
                                     "half the machine precision", "machine precision",
                                     "log10(2)", "NaN", "positive infinity", "negative infinity"};

int main(void) {
    char *library = korvs_version(KORVS_LIBRARY_VERSION);
    char *os = korvs_version(KORVS_OS_VERSION);
    char *compiler = korvs_version(KORVS_COMPILER_VERSION);
    printf("%s\non %s, built with %s\n\n", library, os, compiler);
    free(library);
    free(os);
    free(compiler);

    /* The constants as one-column tables with labelled rows, in the library's own table
     * writer: NaN prints as dots, the infinities as a field of "+" or "-". */
    float single[8];
    double twin[8];
    int integers[13];
    for (int n = 1; n <= 8; ++n) {
        single[n - 1] = korvs_f_machine(n);
        twin[n - 1] = korvs_d_machine(n);
    }
    for (int n = 0; n <= 12; ++n) integers[n] = korvs_i_machine(n);
    const char *float_label[1] = {"float"}, *double_label[1] = {"double"};
    korvs_f_write_matrix("Machine constants", 8, 1, single, KORVS_ROW_LABELS, names, KORVS_COL_LABELS, float_label,
                         KORVS_WRITE_FORMAT, "%16.7e", 0);
    korvs_d_write_matrix("", 8, 1, twin, KORVS_ROW_LABELS, names, KORVS_COL_LABELS, double_label,
                         KORVS_WRITE_FORMAT, "%24.16e", 0);
    /* Thirteen columns do not fit the 78 columns of the page: they come in blocks. (The
     * default format would choose the exponent form here: the largest int is no integer
     * to the %W choice, which takes whole numbers below 2147483647 only.) */
    korvs_i_write_matrix("\nInteger machine table", 1, 13, integers, KORVS_COL_NUMBER_ZERO, KORVS_WRITE_FORMAT,
                         "%10d", 0);

    /* The upper critical values of Student's t, as a printed table would give them, and
     * the distribution function taken back at each: the probabilities come back. */
    enum { N_DF = 8, N_P = 5 };
    static const int dfs[N_DF] = {1, 2, 3, 5, 10, 20, 30, 120};
    static const double ps[N_P] = {0.9, 0.95, 0.975, 0.99, 0.995};
    const char *df_labels[N_DF] = {"1", "2", "3", "5", "10", "20", "30", "120"};
    const char *p_labels[N_P] = {"0.9", "0.95", "0.975", "0.99", "0.995"};
    double quantiles[N_DF * N_P], back[N_DF * N_P];
    for (int i = 0; i < N_DF; ++i) {
        for (int j = 0; j < N_P; ++j) {
            quantiles[i * N_P + j] = korvs_d_t_inverse_cdf(ps[j], dfs[i]);
            back[i * N_P + j] = korvs_d_t_cdf(quantiles[i * N_P + j], dfs[i]);
        }
    }
    korvs_d_write_matrix("\nStudent's t: the quantile t with P(T <= t) = p, by degrees of freedom", N_DF, N_P,
                         quantiles, KORVS_ROW_LABELS, df_labels, KORVS_COL_LABELS, p_labels, KORVS_WRITE_FORMAT,
                         "%10.4f", 0);
    korvs_d_write_matrix("\nP(T <= t) at those quantiles", N_DF, N_P, back, KORVS_ROW_LABELS, df_labels,
                         KORVS_COL_LABELS, p_labels, KORVS_WRITE_FORMAT, "%10.6f", 0);

    /* A TERMINAL error ends the process by default. With the Stop switch of type 5 off,
     * the message is printed and the program goes on. */
    FILE *messages = stdout; /* messages and results in one stream, in order */
    korvs_umach(-3, &messages);
    korvs_error_options(KORVS_SET_STOP, KORVS_TERMINAL, 0, 0);
    printf("\ncalling korvs_i_machine(13):");
    fflush(stdout);
    int value = korvs_i_machine(13);
    int code = korvs_error_code();
    printf("it returned %d and the program went on; korvs_error_code() is %d\n", value, code);
    return 0;
}
