// The error paths of the Chebyshev series routines, kept out of the inlined good path.
// Each raises in a frame of the routine's name, as a call of the routine would.
#include "chebyshev.hpp"

#include "korvstat.h"

namespace korvs {
namespace {

constexpr const char* kCsevl = "korvs_csevl";

template <class T> void outside(T t) {
    korvs_e1psh(kCsevl);
    insert_real(1, t);
    korvs_ermes(3, 9003);
    korvs_e1pop(kCsevl);
}

}  // namespace

void csevl_length_error(int n) {
    korvs_e1psh(kCsevl);
    korvs_e1sti(1, n);
    if (n < 1)
        korvs_ermes(5, 9001);
    else
        korvs_ermes(5, 9002);
    korvs_e1pop(kCsevl);
}

void csevl_outside(float t) { outside(t); }
void csevl_outside(double t) { outside(t); }

void inits_empty(const char* name, int n) {
    korvs_e1psh(name);
    korvs_e1sti(1, n);
    korvs_ermes(5, 9004);
    korvs_e1pop(name);
}

void inits_too_short(const char* name) {
    korvs_e1psh(name);
    korvs_ermes(5, 9005);
    korvs_e1pop(name);
}

}  // namespace korvs
