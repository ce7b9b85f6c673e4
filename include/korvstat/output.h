/* korvstat: printed output.
 *
 * Tables and lines go to the output unit (korvs_umach unit 2, standard output unless set
 * otherwise), to standard output (KORVS_WRITE_TO_CONSOLE) or into a malloc'ed string
 * (KORVS_RETURN_STRING). The settings of korvs_write_options and korvs_page belong to
 * the calling thread. */
#ifndef KORVSTAT_OUTPUT_H
#define KORVSTAT_OUTPUT_H

#include "common.h"

KORVS_BEGIN_DECLS

/* Settings of printed tables. option 0 restores all defaults; 1 to 6 read a setting into
 * *value; -1 to -6 (KORVS_SET_CENTERING ... KORVS_SET_FORMAT) store *value:
 *   1 centering   0 centre the title on the table (default), 1 on the page
 *   2 row_wrap    rows in one block, 0: as many as fit on a page (default 1000)
 *   3 paging      -2 no page breaks (default), -1 a form feed before each table,
 *                 0 or more: lines printed on the current page
 *   4 nan_char    a NaN prints as dots (0, default) or blanks (1)
 *   5 title_page  1 repeats the title on each page (default 0)
 *   6 format      default format 0 "%11.4W", 1 "%13.6W", 2 "%13.5e" */
KORVS_API void korvs_write_options(int option, int *value) KORVS_NOEXCEPT;

/* Page size: option 1 reads the width, 2 the length; -1 and -2 set them (10 or more).
 * Defaults: 78 columns, 60 lines. */
KORVS_API void korvs_page(int option, int *value) KORVS_NOEXCEPT;

/* The output and error streams: KORVS_GET_OUTPUT_FILE, KORVS_SET_OUTPUT_FILE,
 * KORVS_GET_ERROR_FILE, KORVS_SET_ERROR_FILE, each with its FILE ** or FILE *, ended by 0. */
KORVS_API void korvs_output_file(int code, ...) KORVS_NOEXCEPT;

/* Prints the row-major nra by nca matrix a under a title; options follow, ended by 0. */
KORVS_API void korvs_f_write_matrix(const char *title, int nra, int nca, float a[], ...) KORVS_NOEXCEPT;
KORVS_API void korvs_d_write_matrix(const char *title, int nra, int nca, double a[], ...) KORVS_NOEXCEPT;
KORVS_API void korvs_i_write_matrix(const char *title, int nra, int nca, int a[], ...) KORVS_NOEXCEPT;

/* One value under a title, after an empty line. */
KORVS_API void korvs_wrrrs(const char *title, float x) KORVS_NOEXCEPT;
KORVS_API void korvs_dwrrrs(const char *title, double x) KORVS_NOEXCEPT;
KORVS_API void korvs_wrirs(const char *title, int x) KORVS_NOEXCEPT;

/* A text of fewer than 256 characters: each newline ends a line, and a line longer than
 * width is cut into pieces of width characters. */
KORVS_API void korvs_wrtrl(const char *text, int width) KORVS_NOEXCEPT;

KORVS_END_DECLS

#endif
