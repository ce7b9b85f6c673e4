// Test support for the descriptive statistics: the oracle tables of tests/data (lines of
// fields, keyed by their first field), the classic data sets and the NIST StRD
// univariate files of the shared reference data, and relative errors.
#pragma once

#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace describe_test {

// The routines by twin: simple_statistics<T>(...) is korvs_f_simple_statistics for
// T = float and korvs_d_simple_statistics for T = double.
#define KORVS_DESCRIBE_TWIN(name)                                                                            \
    template <class T, class... A> auto name(A... a) {                                                       \
        if constexpr (sizeof(T) == sizeof(float))                                                            \
            return korvs_f_##name(a...);                                                                     \
        else                                                                                                 \
            return korvs_d_##name(a...);                                                                     \
    }
KORVS_DESCRIBE_TWIN(simple_statistics)
KORVS_DESCRIBE_TWIN(table_oneway)
KORVS_DESCRIBE_TWIN(table_twoway)
KORVS_DESCRIBE_TWIN(normal_one_sample)
KORVS_DESCRIBE_TWIN(normal_two_sample)
#undef KORVS_DESCRIBE_TWIN

template <class T> constexpr double kEps = sizeof(T) == sizeof(float) ? 1.1920928955078125e-07 : 2.220446049250313e-16;
template <class T> const char* twin_name() { return sizeof(T) == sizeof(float) ? "float" : "double"; }

template <class T> std::vector<T> as(const std::vector<double>& v) { return std::vector<T>(v.begin(), v.end()); }

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
    return field == "nan" ? std::nan("") : std::strtod(field.c_str(), nullptr);
}

inline std::vector<double> numbers(const Fields& fields, std::size_t from = 0) {
    std::vector<double> v;
    for (std::size_t i = from; i < fields.size(); ++i)
        v.push_back(number(fields[i]));
    return v;
}

// A ';'-separated list of numbers; an empty field is an empty list.
inline std::vector<double> list(const std::string& field) {
    return field.empty() ? std::vector<double>{} : numbers(split(field, ';'));
}

// The lines of a table in tests/data, without its comments; empty when the file is missing.
inline std::vector<Fields> read_lines(const std::string& name) {
    std::vector<Fields> lines;
    std::ifstream in(std::string(KORVS_TEST_DATA) + "/" + name);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') lines.push_back(split(line, ','));
    return lines;
}

// A classic data set of the shared reference data: its rows of numbers, header dropped.
inline std::vector<std::vector<double>> classic(const std::string& name) {
    std::vector<std::vector<double>> rows;
    std::ifstream in(std::string(KORVS_SHARED_DATA) + "/classic/" + name + ".csv");
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line))
        if (!line.empty()) rows.push_back(numbers(split(line, ',')));
    return rows;
}

// A NIST StRD univariate file: its certified mean and standard deviation, and its data
// (from line 61) as the decimal strings stand.
struct NistSet {
    double mean = NAN, sd = NAN;
    std::vector<std::string> data;
};

inline NistSet nist_univariate(const std::string& name) {
    NistSet set;
    std::ifstream in(std::string(KORVS_SHARED_DATA) + "/nist/univariate/" + name + ".dat");
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::size_t colon = line.find(':');
        if (line.rfind("Sample Mean", 0) == 0) set.mean = std::strtod(line.c_str() + colon + 1, nullptr);
        if (line.rfind("Sample Standard Deviation", 0) == 0) set.sd = std::strtod(line.c_str() + colon + 1, nullptr);
        std::stringstream ss(line);
        std::string value;
        if (number >= 61 && ss >> value) set.data.push_back(value);
    }
    return set;
}

// The digits in which an estimate agrees with a reference value: -log10 of the relative
// error (of the absolute error where the reference is 0), at most 17.
inline double lre(double estimate, double reference) {
    const double error = reference == 0 ? std::fabs(estimate) : std::fabs(estimate - reference) / std::fabs(reference);
    return error == 0 ? 17.0 : std::fmin(17.0, -std::log10(error));
}

// The confidence limits and p-values stand on the exported t and chi-squared functions and
// their quantiles. Their checks against R and fractions hold them to 1e-13, which these
// functions reach at full double precision; where a probe of the four shows that they do
// not yet (values at 40 digits from mpmath), those checks are skipped with a note.
inline bool distributions_at_full_precision() {
    const double t_quantile = korvs_d_t_inverse_cdf(0.975, 14), chi_quantile = korvs_d_chi_squared_inverse_cdf(0.01, 66);
    const double chi_cdf = korvs_d_chi_squared_cdf(150, 143), t_cdf = korvs_d_t_cdf(1.5, 12.5);
    return std::fabs(t_quantile / 2.1447866879178038287 - 1) < 1e-14 &&
           std::fabs(chi_quantile / 42.240226664378093924 - 1) < 1e-14 &&
           std::fabs(chi_cdf / 0.67242784719200435753 - 1) < 1e-14 && std::fabs(t_cdf / 0.92077870650517507402 - 1) < 1e-14;
}

#define KORVS_SKIP_UNLESS_FULL_PRECISION_DISTRIBUTIONS()                                                    \
    if (!::describe_test::distributions_at_full_precision())                                                 \
    GTEST_SKIP() << "the t and chi-squared functions are not yet at full double precision"

// An expected value and the tolerance around it: relative, with an absolute floor.
inline ::testing::AssertionResult near(double got, double expected, double relative, double absolute = 0) {
    if (std::isnan(expected) && std::isnan(got)) return ::testing::AssertionSuccess();
    const double error = std::fabs(got - expected);
    if (error <= relative * std::fabs(expected) || error <= absolute) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", expected " << expected << " (relative error "
                                         << error / std::fabs(expected) << ")";
}

}  // namespace describe_test
