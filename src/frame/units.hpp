// Logical units: the streams of input (1), output (2) and errors (3), per thread.
#pragma once

#include <cstdio>

namespace korvs {

// The stream of unit 1, 2 or 3 for the calling thread, without a frame: the printers
// use it while a message is being delivered.
FILE* unit_stream(int unit);

}  // namespace korvs
