/* korvstat: the error stack, message inserts and error settings.
 *
 * Error types: 0 none, 1 NOTE, 2 ALERT, 3 WARNING, 4 FATAL, 5 TERMINAL,
 * 6 WARNING_IMMEDIATE, 7 FATAL_IMMEDIATE, 8 internal failure. By default a
 * WARNING is printed and the run goes on; FATAL and TERMINAL are printed and end
 * the process, with the type as exit status, when the routine the caller called
 * returns. */
#ifndef KORVSTAT_ERRORS_H
#define KORVSTAT_ERRORS_H

#include "common.h"

KORVS_BEGIN_DECLS

/* Message printer: (type, code, routine, expanded text). */
typedef void (*korvs_error_printer)(int type, int code, const char *routine, char *text);
/* Error hook: sees every error that reaches the caller's level, printed or not. */
typedef void (*korvs_error_hook)(int type, int code, const char *text);

/* Insert slots 1 to 9, read by the placeholders %(i1), %(r1), %(c1), %(l1), ... */
KORVS_API void korvs_e1sti(int slot, int value) KORVS_NOEXCEPT;
KORVS_API void korvs_e1str(int slot, float value) KORVS_NOEXCEPT;
KORVS_API void korvs_e1std(int slot, double value) KORVS_NOEXCEPT;
KORVS_API void korvs_e1stc(int slot, float re, float im) KORVS_NOEXCEPT;
KORVS_API void korvs_e1stz(int slot, double re, double im) KORVS_NOEXCEPT;
KORVS_API void korvs_e1stl(int slot, const char *text) KORVS_NOEXCEPT;

/* Raising and tracing. */
KORVS_API void korvs_e1mes(int type, int code, const char *text) KORVS_NOEXCEPT;
KORVS_API void korvs_ermes(int type, int code) KORVS_NOEXCEPT;
KORVS_API void korvs_e1psh(const char *name) KORVS_NOEXCEPT;
KORVS_API void korvs_e1pop(const char *name) KORVS_NOEXCEPT;
KORVS_API void korvs_e1pos(int type, int *print, int *stop) KORVS_NOEXCEPT;
KORVS_API int korvs_n1rty(int level) KORVS_NOEXCEPT;
KORVS_API int korvs_n1rnof(int operation) KORVS_NOEXCEPT;

/* The code of the error that the routine called last ended with; 0 when it ran clean. */
KORVS_API int korvs_error_code(void) KORVS_NOEXCEPT;
/* Settings for this thread's error handling: a list of codes with values, ended by 0
 * (the codes are in korvstat/options.h). */
KORVS_API void korvs_error_options(int code, ...) KORVS_NOEXCEPT;
/* Installs the process-wide error hook; returns the pointer given. */
KORVS_API korvs_error_hook korvs_set_at_checksum(korvs_error_hook hook) KORVS_NOEXCEPT;

/* Print modes (KORVS_SET_PRINT_TYPE): the stream printer on the error unit, the
 * one-line form on standard error, the stream layout on standard output. */
enum { KORVS_PRINT_STREAM = 50020, KORVS_PRINT_BOX = 50030, KORVS_PRINT_CONSOLE = 50040 };

/* Error types. */
enum {
    KORVS_NOTE = 1,
    KORVS_ALERT = 2,
    KORVS_WARNING = 3,
    KORVS_FATAL = 4,
    KORVS_TERMINAL = 5,
    KORVS_WARNING_IMMEDIATE = 6,
    KORVS_FATAL_IMMEDIATE = 7
};

KORVS_END_DECLS

#endif
