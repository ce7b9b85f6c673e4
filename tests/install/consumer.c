/* A program built against an installed korvstat: the library loads, answers, and finds
 * its message file beside itself with no setting. */
#include <korvstat.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char seen[256];

static void hook(int type, int code, const char *text) {
    if (type != 0 && code != 0 && text[0] && !seen[0]) snprintf(seen, sizeof seen, "%s", text);
}

int main(void) {
    char *version = korvs_version(KORVS_LIBRARY_VERSION);
    int ok = version && strcmp(version, "KORV Statistics Library Version 4.0") == 0 &&
             korvs_d_machine(4) == 2.220446049250313e-16;
    printf("%s: %s\n", ok ? "ok" : "wrong", version ? version : "(null)");
    free(version);

    korvs_error_options(KORVS_SET_PRINT, KORVS_TERMINAL, 0, KORVS_SET_STOP, KORVS_TERMINAL, 0, 0);
    korvs_set_at_checksum(hook);
    korvs_i_machine(13);
    int worded = strcmp(seen, "The argument n = 13 must lie between 0 and 12.") == 0;
    printf("%s: message \"%s\"\n", worded ? "ok" : "wrong", seen);
    return ok && worded ? 0 : 1;
}
