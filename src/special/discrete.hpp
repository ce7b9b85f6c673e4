// Checks shared by the discrete distribution functions.
#pragma once

#include "korvstat.h"

namespace korvs {

// A count below 0 is at the lower edge of every discrete support: the distribution
// function is 0 there, with a note naming the count.
template <class T> bool negative_count(int k, T* result) {
    if (k >= 0) return false;
    korvs_e1stl(1, "k");
    korvs_e1sti(1, k);
    korvs_ermes(1, 9054);
    *result = T(0);
    return true;
}

}  // namespace korvs
