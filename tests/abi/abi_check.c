/* The public header as a strict C11 program: both twins of a routine, a float passed
 * in a variable list, the complex types by value, the options of the error runtime, the
 * matrix product with its option list and a kernel taking its scalars by pointer. */
#include <korvstat.h>
#include <stdio.h>
#include <stdlib.h>

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

    int stop = -1;
    korvs_error_options(KORVS_GET_STOP, KORVS_TERMINAL, &stop, 0);
    check(stop == 0, "error options round trip");
    return failures != 0;
}
