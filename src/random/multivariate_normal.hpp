// The drawing part of the multivariate normal deviates, for the routine that factors the
// covariance matrix first: rows of standard normals times an upper triangular factor.
#pragma once

namespace korvs {

// l_rnmvn: nr vectors of length k, the rows of the column-major nr by k matrix r (leading
// dimension ldr), each a row of Kinderman and Ramage's standard normals times the upper
// triangular k by k factor rsig (column-major, leading dimension ldrsig), whose product
// R'R is the covariance matrix. The normals are drawn in one block when ldr is nr,
// otherwise column by column; the product runs from the last column to the first, in
// place. Checks k >= 1 (603), ldr >= nr and ldrsig >= k (600).
template <class T> void l_rnmvn(int nr, int k, const T* rsig, int ldrsig, T* r, int ldr);

}  // namespace korvs
