// A test statistic formed as a guarded ratio, with its p-value: the two-sided t test and
// the upper-tail F test, shared by the inference of every statistical family.
#pragma once

namespace korvs {

// korvs_c1t: t = numerator / denominator (the safe ratio), p = 2 (1 - F_t(|t|, df)), the
// doubling done as a sum. An infinite t gives p = 0; a NaN t, or df 0 or NaN, p = NaN.
template <class T> void c1t(T numerator, T denominator, T df, T* t, T* p);

// korvs_c1f: F = numerator / denominator (the safe ratio), p = 1 - F_F(F, df_num, df_den).
// An infinite F gives p = 0; a NaN F, or a df not above 0, p = NaN.
template <class T> void c1f(T numerator, T denominator, T df_num, T df_den, T* f, T* p);

}  // namespace korvs
