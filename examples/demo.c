/* The korvstat demo: the machine constants, the version strings, and the error
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

    printf("%-28s %-16s %s\n", "machine constant", "float", "double");
    for (int n = 1; n <= 8; ++n)
        printf("%d %-26s %-16.8g %.17g\n", n, names[n - 1], korvs_f_machine(n), korvs_d_machine(n));

    printf("\ninteger machine table:");
    for (int n = 0; n <= 12; ++n) printf(" %d", korvs_i_machine(n));
    printf("\n");

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
