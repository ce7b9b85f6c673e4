/* A program built against an installed korvstat. */
#include <korvstat.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(void) {
    char *version = korvs_version(KORVS_LIBRARY_VERSION);
    int ok = version && strcmp(version, "KORV Statistics Library Version 4.0") == 0 &&
             korvs_d_machine(4) == 2.220446049250313e-16;
    printf("%s: %s\n", ok ? "ok" : "wrong", version ? version : "(null)");
    free(version);
    return ok ? 0 : 1;
}
