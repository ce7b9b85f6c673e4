/* korvstat: definitions shared by every section of the public header. */
#ifndef KORVSTAT_COMMON_H
#define KORVSTAT_COMMON_H

#include <stdio.h>

#if defined(KORVS_BUILDING_LIBRARY)
#define KORVS_API __attribute__((visibility("default")))
#else
#define KORVS_API
#endif

#ifdef __cplusplus
#define KORVS_BEGIN_DECLS extern "C" {
#define KORVS_END_DECLS }
#define KORVS_NOEXCEPT noexcept
#else
#define KORVS_BEGIN_DECLS
#define KORVS_END_DECLS
#define KORVS_NOEXCEPT
#endif

KORVS_BEGIN_DECLS

/* Complex numbers, passed and returned by value. */
typedef struct korvs_f_complex {
    float re;
    float im;
} korvs_f_complex;

typedef struct korvs_d_complex {
    double re;
    double im;
} korvs_d_complex;

KORVS_END_DECLS

#endif
