/* The public header as a strict C11 program: both twins of a routine, a float passed
 * in a variable list, the complex types by value, the options of the error runtime, the
 * matrix product with its option list, a kernel taking its scalars by pointer, and the
 * table writer in string mode. */
#include <korvstat.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void check(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

int main(void) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, KORVS_SET_STOP, KORVS_TERMINAL, 0, 0);
    check(korvs_f_machine(4) == korvs_amach(4), "float twin");
    check(korvs_d_machine(4) == korvs_dmach(4), "double twin");
    check(korvs_f_vmax(3, 1.5f, 2.5f, 0.5f) == 2.5f, "float in a variable list");
    check(korvs_d_vmin(3, 1.5, -2.5, 0.5) == -2.5, "double in a variable list");

    check(korvs_f_normal_cdf(0.0f) == 0.5f && korvs_d_normal_cdf(0.0) == 0.5, "normal distribution twins");
    check(korvs_f_erf(0.0f) == 0.0f && korvs_d_erfc(0.0) == 1.0 && korvs_d_erfc_inverse(1.0) == 0.0,
          "error function twins");
    check(korvs_f_normal_inverse_cdf(0.5f) == 0.0f && korvs_d_normal_inverse_cdf(0.5) == 0.0, "normal inverse twins");
    check(korvs_f_gamma(4.0f) == 6.0f && korvs_d_log_gamma(1.0) == 0.0 && korvs_d_factorial(5) == 120.0 &&
              korvs_f_binomial_coefficient(6, 2) == 15.0f,
          "gamma family twins");
    check(korvs_f_t_cdf(0.0f, 3.0f) == 0.5f && korvs_d_binomial_cdf(5, 5, 0.5) == 1.0 &&
              korvs_f_poisson_cdf(-1, 2.0f) == 0.0f && korvs_d_non_central_t_cdf(0.0, 4, 0.0) == 0.5,
          "distribution twins");

    korvs_f_complex a = korvs_cf_convert(3.0f, 4.0f);
    korvs_d_complex b = korvs_zc_convert(a);
    check(korvs_c_abs(a) == 5.0f && korvs_z_abs(b) == 5.0, "complex by value");

    char *version = korvs_version(KORVS_LIBRARY_VERSION);
    check(version != NULL, "version string");
    free(version);

    {
        /* A row-major 2 by 3 matrix (column dimension 4) times a vector, both twins. */
        float af[8] = {1, 2, 3, 0, 4, 5, 6, 0}, xf[3] = {1, 1, 1};
        double ad[8] = {1, 2, 3, 0, 4, 5, 6, 0}, xd[3] = {1, 1, 1}, c[4] = {0, 0, 0, 0};
        int two = 2, three = 3;
        double one = 1.0, zero = 0.0;
        float *yf = korvs_f_mat_mul_rect("A*x", KORVS_A_MATRIX, 2, 3, af, KORVS_A_COL_DIM, 4,
                                         KORVS_X_VECTOR, 3, xf, 0);
        double *yd = korvs_d_mat_mul_rect("trans(x)*trans(A)", KORVS_A_MATRIX, 2, 3, ad, KORVS_A_COL_DIM, 4,
                                          KORVS_X_VECTOR, 3, xd, 0);
        check(yf != NULL && yf[0] == 6.0f && yf[1] == 15.0f, "float matrix product");
        check(yd != NULL && yd[0] == 6.0 && yd[1] == 15.0, "double matrix product");
        free(yf);
        free(yd);
        /* The first six numbers as a column-major 3 by 2 matrix M: C = M'M, by pointer. */
        korvs_dgemm("T", 1, "N", 1, &two, &two, &three, &one, ad, &three, ad, &three, &zero, c, &two);
        check(c[0] == 14.0 && c[1] == 23.0 && c[2] == 23.0 && c[3] == 41.0, "gemm by pointer");
    }

    {
        /* The table writer in string mode from C, and the output settings. */
        float f[2] = {1.5f, 2.25f};
        double d[2] = {1.0, 2.0};
        int i[2] = {7, 8}, width = 0, paging = 0;
        const char *labels[2] = {"a", "b"};
        char *text = NULL;
        korvs_f_write_matrix("", 1, 2, f, KORVS_NO_COL_LABELS, KORVS_RETURN_STRING, &text, 0);
        check(text != NULL && strcmp(text, "         1.50         2.25\n") == 0, "float table in a string");
        free(text);
        korvs_d_write_matrix("", 2, 1, d, KORVS_ROW_LABELS, labels, KORVS_RETURN_STRING, &text, 0);
        check(text != NULL && strcmp(text, "a            1\nb            2\n") == 0, "double table in a string");
        free(text);
        korvs_i_write_matrix("", 1, 2, i, KORVS_WRITE_FORMAT, "%3d", KORVS_NO_COL_LABELS, KORVS_RETURN_STRING, &text, 0);
        check(text != NULL && strcmp(text, "    7    8\n") == 0, "integer table in a string");
        free(text);
        korvs_page(1, &width);
        korvs_write_options(-KORVS_SET_PAGING, &paging);
        check(width == 78 && paging == -2, "page and write options");
    }

    int stop = -1;
    korvs_error_options(KORVS_GET_STOP, KORVS_TERMINAL, &stop, 0);
    check(stop == 0, "error options round trip");
    return failures != 0;
}
