// korvs_version: the library's, the operating system's and the compiler's names and
// versions; korvs_ctime: the calling thread's CPU time.
#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "frame.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

char* copy_out(const char* text) {
    std::size_t n = std::strlen(text) + 1;
    char* out = static_cast<char*>(std::malloc(n));
    if (!out) {
        korvs_ermes(5, 200);
        return nullptr;
    }
    std::memcpy(out, text, n);
    return out;
}

void l_version(int code, char** result) {
    char text[256];
    switch (code) {
    case KORVS_LIBRARY_VERSION:
        std::snprintf(text, sizeof text, "KORV Statistics Library Version 4.0");
        break;
    case KORVS_OS_VERSION: {
        struct utsname u;
        if (uname(&u) == 0)
            std::snprintf(text, sizeof text, "%s %s", u.sysname, u.release);
        else
            std::snprintf(text, sizeof text, "Linux");
        break;
    }
    case KORVS_COMPILER_VERSION:
#if defined(__clang__)
        std::snprintf(text, sizeof text, "Clang %d.%d.%d", __clang_major__, __clang_minor__,
                      __clang_patchlevel__);
#elif defined(__GNUC__)
        std::snprintf(text, sizeof text, "GCC %d.%d.%d", __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#else
        std::snprintf(text, sizeof text, "C++ compiler");
#endif
        break;
    default:
        korvs_e1psh("l_version");
        korvs_e1sti(1, code);
        korvs_e1sti(2, 1);
        korvs_ermes(5, 103);
        korvs_e1pop("l_version");
        return;
    }
    *result = copy_out(text);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API char* korvs_version(int code) noexcept {
    char* r = nullptr;
    korvs::run_frame("korvs_version", [&] { korvs::l_version(code, &r); });
    return r;
}

KORVS_API double korvs_ctime(void) noexcept {
    struct timespec t;
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t) != 0) return 0.0;
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

}  // extern "C"
