// Exported routines that the library calls from inside, by element type. The call goes
// through the export, so that its trace entry and its error levels are the ones a
// caller of that routine would see.
#pragma once

#include "korvstat.h"

namespace korvs::api {

inline float erfc(float x) { return korvs_f_erfc(x); }
inline double erfc(double x) { return korvs_d_erfc(x); }

}  // namespace korvs::api
