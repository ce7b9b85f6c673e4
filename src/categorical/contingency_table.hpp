// The worker of the contingency table family, for the white-box tests of its own checks.
#pragma once

namespace korvs {

// l_ctchi: the statistics of a column-major table with leading dimension ldtabl into the
// column-major expected and contributions tables ((n_rows + 1) by (n_columns + 1), leading
// dimensions ldexpe and ldchi), the test vector of ten values and, with icmpt 1, the 23 by 5
// statistics table of leading dimension ldstat.
template <class T>
void l_ctchi(int n_rows, int n_columns, const T* table, int ldtabl, int icmpt, T* expected, int ldexpe,
             T* chi, int ldchi, T* test, T* stat, int ldstat);

}  // namespace korvs
