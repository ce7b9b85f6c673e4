// Test support for the rank and sign tests: the routines by twin, the oracle tables of
// tests/data (nonparametric_r.csv from R, nonparametric_formulas.csv from the definitions
// written out in exact arithmetic), and the comparison of a value with its oracle within
// an absolute and a relative tolerance.
#pragma once

#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace np_test {

// korvs_f_<name> for T = float, korvs_d_<name> for T = double.
#define KORVS_NP_TWIN(name)                                                                                  \
    template <class T, class... A> auto name(A... a) {                                                       \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(a...);                                                                     \
        else                                                                                                 \
            return korvs_d_##name(a...);                                                                     \
    }
KORVS_NP_TWIN(sign_test)
KORVS_NP_TWIN(wilcoxon_sign_rank)
KORVS_NP_TWIN(wilcoxon_rank_sum)
KORVS_NP_TWIN(noether_cyclical_trend)
KORVS_NP_TWIN(cox_stuart_trends_test)
KORVS_NP_TWIN(tie_statistics)
KORVS_NP_TWIN(kruskal_wallis_test)
KORVS_NP_TWIN(friedmans_test)
KORVS_NP_TWIN(cochran_q_test)
KORVS_NP_TWIN(k_trends_test)
#undef KORVS_NP_TWIN

// The twin's uniform stream, as the tests that break ties at random draw it.
inline void uniforms(int n, float* u) { korvs_rnun(n, u); }
inline void uniforms(int n, double* u) { korvs_drnun(n, u); }

template <class T> constexpr bool kSingle = sizeof(T) == sizeof(float);
template <class T> const char* twin_name() { return kSingle<T> ? "float" : "double"; }

using Fields = std::vector<std::string>;

inline Fields split(const std::string& line, char separator) {
    Fields fields;
    std::stringstream ss(line);
    for (std::string field; std::getline(ss, field, separator);)
        fields.push_back(field);
    if (!line.empty() && line.back() == separator) fields.emplace_back();
    return fields;
}

inline double number(const std::string& field) {
    if (field == "nan") return std::nan("");
    if (field == "inf") return INFINITY;
    if (field == "-inf") return -INFINITY;
    return std::strtod(field.c_str(), nullptr);
}

inline std::vector<double> list(const std::string& field) {
    std::vector<double> v;
    if (field.empty()) return v;
    for (const std::string& f : split(field, ';'))
        v.push_back(number(f));
    return v;
}

inline std::vector<int> int_list(const std::string& field) {
    std::vector<int> v;
    for (double d : list(field))
        v.push_back(static_cast<int>(d));
    return v;
}

template <class T> std::vector<T> as(const std::vector<double>& v) { return std::vector<T>(v.begin(), v.end()); }

// The rows of a table whose first field is `kind`, comments dropped.
inline std::vector<Fields> rows(const std::string& file, const std::string& kind) {
    std::vector<Fields> out;
    std::ifstream in(std::string(KORVS_TEST_DATA) + "/" + file);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        Fields f = split(line, ',');
        if (f[0] == kind) out.push_back(f);
    }
    return out;
}

// A tolerance: |got - want| <= absolute + relative |want|. NaN and infinities must match.
struct Tolerance {
    double absolute;
    double relative;
};

inline ::testing::AssertionResult near(double got, double want, Tolerance tol) {
    if (std::isnan(want) || std::isinf(want)) {
        if ((std::isnan(want) && std::isnan(got)) || got == want) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "got " << got << ", want " << want;
    }
    const double err = std::fabs(got - want), bound = tol.absolute + tol.relative * std::fabs(want);
    if (err <= bound) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << want << " (error " << err << ", bound "
                                         << bound << ")";
}

// The tiers by twin. Statistics that are exact sums or closed forms of them; p-values
// from the library's distribution functions, whose small upper tails are complements
// and so accurate in absolute terms (a few units of the twin's precision: the float
// twin's chi-squared and beta functions near 1 err by up to about 5e-7).
template <class T> Tolerance statistic_tier() {
    return kSingle<T> ? Tolerance{0, 4e-7} : Tolerance{0, 1e-14};
}
template <class T> Tolerance p_tier() { return kSingle<T> ? Tolerance{1e-6, 1e-5} : Tolerance{1e-15, 1e-12}; }

template <class T> class NpTyped : public ::testing::Test {};
using Twins = ::testing::Types<float, double>;

}  // namespace np_test
