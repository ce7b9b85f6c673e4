/* korvstat: statistics library for C and C++.
 *
 * One header for the whole library. Every numeric routine comes in a single-precision
 * twin (korvs_f_...) and a double-precision twin (korvs_d_...). Routines with optional
 * arguments take a list of integer codes, each followed by its values, ended by 0.
 * Arrays the library allocates are the caller's to free(). Errors are raised on a
 * per-thread error stack; read them with korvs_error_code() and configure them with
 * korvs_error_options(). */
#ifndef KORVSTAT_H
#define KORVSTAT_H

#include "korvstat/common.h"
#include "korvstat/categorical.h"
#include "korvstat/covariances.h"
#include "korvstat/describe.h"
#include "korvstat/distributions.h"
#include "korvstat/errors.h"
#include "korvstat/kernels.h"
#include "korvstat/linear_systems.h"
#include "korvstat/machine.h"
#include "korvstat/nonparametric.h"
#include "korvstat/options.h"
#include "korvstat/output.h"
#include "korvstat/random.h"
#include "korvstat/regression.h"
#include "korvstat/sort.h"
#include "korvstat/special.h"

#endif
