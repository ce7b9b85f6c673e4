/* korvstat: machine constants, NaN tests, minimum and maximum, powers, timing,
 * version strings, the logical units and complex arithmetic. */
#ifndef KORVSTAT_MACHINE_H
#define KORVSTAT_MACHINE_H

#include "common.h"

KORVS_BEGIN_DECLS

/* The constants of the arithmetic, entries 1 to 8 at indices 0 to 7: smallest normal
 * number, largest finite number, half the machine precision, the machine precision,
 * log10(2), NaN, +infinity, -infinity. */
typedef struct korvs_machine_table {
    float f[8];
    double d[8];
} korvs_machine_table;
KORVS_API extern const korvs_machine_table korvs_machine;

KORVS_API float korvs_amach(int n) KORVS_NOEXCEPT;
KORVS_API double korvs_dmach(int n) KORVS_NOEXCEPT;
KORVS_API float korvs_f_machine(int n) KORVS_NOEXCEPT;
KORVS_API double korvs_d_machine(int n) KORVS_NOEXCEPT;
KORVS_API int korvs_i_machine(int n) KORVS_NOEXCEPT;

/* Logical units: 1 input, 2 output, 3 errors; a negative unit sets the stream. */
KORVS_API void korvs_umach(int unit, FILE **stream) KORVS_NOEXCEPT;

/* NaN tests on the bit pattern. */
KORVS_API int korvs_ifnan(float x) KORVS_NOEXCEPT;
KORVS_API int korvs_difnan(double x) KORVS_NOEXCEPT;
KORVS_API int korvs_f_test_nan(float x) KORVS_NOEXCEPT;
KORVS_API int korvs_d_test_nan(double x) KORVS_NOEXCEPT;

/* max(a, b) is a when a > b, else b; min(a, b) is b when a >= b, else a. */
KORVS_API float korvs_f_max(float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_max(double a, double b) KORVS_NOEXCEPT;
KORVS_API float korvs_f_min(float a, float b) KORVS_NOEXCEPT;
KORVS_API double korvs_d_min(double a, double b) KORVS_NOEXCEPT;
KORVS_API int korvs_i_max(int a, int b) KORVS_NOEXCEPT;
KORVS_API int korvs_i_min(int a, int b) KORVS_NOEXCEPT;
/* n values follow n (floating values as double). */
KORVS_API float korvs_f_vmax(int n, ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_vmax(int n, ...) KORVS_NOEXCEPT;
KORVS_API float korvs_f_vmin(int n, ...) KORVS_NOEXCEPT;
KORVS_API double korvs_d_vmin(int n, ...) KORVS_NOEXCEPT;
KORVS_API int korvs_i_vmin(int n, ...) KORVS_NOEXCEPT;

/* Powers. */
KORVS_API float korvs_ff_power(float x, float y) KORVS_NOEXCEPT;
KORVS_API double korvs_dd_power(double x, double y) KORVS_NOEXCEPT;
KORVS_API float korvs_fi_power(float x, int n) KORVS_NOEXCEPT;
KORVS_API double korvs_di_power(double x, int n) KORVS_NOEXCEPT;
KORVS_API int korvs_ii_power(int x, int n) KORVS_NOEXCEPT;

/* CPU time of the calling thread in seconds. */
KORVS_API double korvs_ctime(void) KORVS_NOEXCEPT;

/* A malloc'ed string for the caller to free. */
enum { KORVS_COMPILER_VERSION = 10780, KORVS_LIBRARY_VERSION = 12760, KORVS_OS_VERSION = 13630 };
KORVS_API char *korvs_version(int code) KORVS_NOEXCEPT;

/* The guarded quotient a / b: NaN, 0 or an infinity instead of an overflow or
 * underflow. Returns the quotient and stores it through out when out is not null. */
KORVS_API float korvs_f_safe_divide(float a, float b, float *out) KORVS_NOEXCEPT;
KORVS_API double korvs_d_safe_divide(double a, double b, double *out) KORVS_NOEXCEPT;

/* Complex arithmetic. The float family computes in double and rounds once. */
KORVS_API korvs_f_complex korvs_c_neg(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_add(korvs_f_complex a, korvs_f_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_sub(korvs_f_complex a, korvs_f_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_mul(korvs_f_complex a, korvs_f_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_div(korvs_f_complex a, korvs_f_complex b) KORVS_NOEXCEPT;
KORVS_API int korvs_c_eq(korvs_f_complex a, korvs_f_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_conjg(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API float korvs_c_aimag(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API float korvs_c_abs(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API float korvs_c_arg(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_sqrt(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_log(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_exp(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_sin(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_c_cos(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_cf_convert(float re, float im) KORVS_NOEXCEPT;
KORVS_API float korvs_fc_convert(korvs_f_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_f_complex korvs_cz_convert(korvs_d_complex a) KORVS_NOEXCEPT;

KORVS_API korvs_d_complex korvs_z_neg(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_add(korvs_d_complex a, korvs_d_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_sub(korvs_d_complex a, korvs_d_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_mul(korvs_d_complex a, korvs_d_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_div(korvs_d_complex a, korvs_d_complex b) KORVS_NOEXCEPT;
KORVS_API int korvs_z_eq(korvs_d_complex a, korvs_d_complex b) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_conjg(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API double korvs_z_aimag(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API double korvs_z_abs(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API double korvs_z_arg(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_sqrt(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_log(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_exp(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_sin(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_z_cos(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_zd_convert(double re, double im) KORVS_NOEXCEPT;
KORVS_API double korvs_dz_convert(korvs_d_complex a) KORVS_NOEXCEPT;
KORVS_API korvs_d_complex korvs_zc_convert(korvs_f_complex a) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
