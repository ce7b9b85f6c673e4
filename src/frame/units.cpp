// korvs_umach: the per-thread table of logical units (1 input, 2 output, 3 errors).
#include <cstdio>

#include "frame.hpp"
#include "korvstat.h"
#include "thread.hpp"
#include "units.hpp"

namespace korvs {
namespace {

struct Units {
    FILE* stream[3] = {stdin, stdout, stderr};
};

}  // namespace

FILE* unit_stream(int unit) {
    Units* u = per_thread<Units>();
    if (!u) return unit == 1 ? stdin : unit == 2 ? stdout : stderr;
    return u->stream[unit - 1];
}

}  // namespace korvs

extern "C" KORVS_API void korvs_umach(int unit, FILE** stream) noexcept {
    if (unit < -3 || unit > 3 || unit == 0) {
        korvs_e1psh("korvs_umach");
        korvs_e1sti(1, unit);
        korvs_ermes(5, 12010);
        korvs_e1pop("korvs_umach");
        return;
    }
    korvs::Units* u = korvs::per_thread<korvs::Units>();
    if (!u || !stream) return;
    if (unit > 0)
        *stream = u->stream[unit - 1];
    else  // a null stream gives the unit back its standard stream
        u->stream[-unit - 1] = *stream ? *stream : korvs::Units{}.stream[-unit - 1];
}
