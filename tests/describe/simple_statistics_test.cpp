// korvs_f_simple_statistics through the exported interface: the table against R on the
// classic data sets (tests/data/describe_simple_statistics.csv), the NIST StRD univariate
// sets by the digits of their certified values, weighted and frequency cases and missing
// values against exact fractions (tests/data/describe_weighted.csv), the float twin
// against the double on the same numbers, the edge cases of the final stage and the
// errors of bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "describe_data.hpp"
#include "korvs_test.hpp"

namespace {

using namespace describe_test;
using korvs_test::ErrorCase;
using korvs_test::KorvsTest;

constexpr int kRows = 14;

class SimpleStatistics : public KorvsTest {};

// A tolerance: relative to the value, with an absolute floor for values near 0 (the
// skewness and the excess kurtosis are differences of moment ratios).
struct Tier {
    double relative, absolute;
};

// The double twin by row, against R and against exact fractions: the mean, extremes,
// range and count are correctly rounded sums; the moments carry the rounding of the
// updates and the merge; the limits that of the quantiles besides.
Tier double_tier(int row) {
    switch (row) {
    case 0: case 5: case 6: case 7: case 9: case 14: case 15: return {4e-15, 1e-15};
    case 1: case 2: case 8: return {2e-14, 1e-15};
    case 3: case 4: return {1e-12, 1e-14};
    // The robust scale divides by the normal 0.75 quantile, which the library forms by an
    // approximation with seven-digit coefficients in both twins.
    case 16: return {2e-7, 0};
    default: return {1e-13, 1e-15};
    }
}

// The float twin against the double twin on the same single-precision numbers.
Tier float_tier(int row) {
    switch (row) {
    case 0: case 5: case 6: case 7: case 9: case 14: case 15: return {4 * FLT_EPSILON, 0};
    case 1: case 2: case 8: return {64 * FLT_EPSILON, 0};
    case 3: case 4: return {1e-4, 32 * FLT_EPSILON};
    default: return {2e-4, 0};
    }
}

struct SimpleCase {
    std::string name, data;
    std::vector<int> columns;
    double conf_mean, conf_var;
    bool elementwise;
    std::vector<std::vector<double>> cells;  // missing cells: row and column from 1
    std::vector<std::vector<double>> rows;   // the 14 rows, one value per column
};

std::vector<SimpleCase> simple_cases() {
    std::vector<SimpleCase> cases;
    for (const Fields& f : read_lines("describe_simple_statistics.csv")) {
        if (f[0] == "case") {
            SimpleCase c{f[1], f[2], {}, number(f[4]), number(f[5]), f[6] == "elementwise", {}, {}};
            for (double column : list(f[3])) c.columns.push_back(int(column));
            for (const std::string& cell : split(f[7], ';'))
                if (!cell.empty()) c.cells.push_back(numbers(split(cell, ':')));
            cases.push_back(c);
        } else if (f[0] == "row") {
            cases.back().rows.push_back(numbers(f, 3));
        }
    }
    return cases;
}

// The case's columns of its data set, row-major, with its missing cells set to NaN.
std::vector<double> case_matrix(const SimpleCase& c, int* n) {
    const std::vector<std::vector<double>> data = classic(c.data);
    *n = int(data.size());
    std::vector<double> x;
    for (const std::vector<double>& row : data)
        for (int column : c.columns) x.push_back(row[column - 1]);
    for (const std::vector<double>& cell : c.cells)
        x[(int(cell[0]) - 1) * c.columns.size() + int(cell[1]) - 1] = NAN;
    return x;
}

// The case's table: 14 rows, or 17 with the median option given (KORVS_MEDIAN_AND_SCALE).
template <class T> std::vector<T> run_case(const SimpleCase& c, std::vector<T> x, int n, int median = 0) {
    const int nvar = int(c.columns.size()), rows = median == 0 ? kRows : 17;
    std::vector<T> result(rows * nvar);
    const std::vector<T> before = x;
    const int missing = c.elementwise ? KORVS_MISSING_ELEMENTWISE : KORVS_MISSING_LISTWISE;
    T* r = median == 0 ? simple_statistics<T>(n, nvar, x.data(), KORVS_CONFIDENCE_MEANS, c.conf_mean,
                                              KORVS_CONFIDENCE_VARIANCES, c.conf_var, missing, KORVS_RETURN_USER,
                                              result.data(), 0)
                       : simple_statistics<T>(n, nvar, x.data(), KORVS_CONFIDENCE_MEANS, c.conf_mean,
                                              KORVS_CONFIDENCE_VARIANCES, c.conf_var, missing, median,
                                              KORVS_RETURN_USER, result.data(), 0);
    EXPECT_EQ(r, result.data()) << c.name;
    for (std::size_t i = 0; i < x.size(); ++i)  // the data are read where they stand
        EXPECT_TRUE(x[i] == before[i] || (std::isnan(x[i]) && std::isnan(before[i]))) << c.name << " x[" << i << "]";
    return result;
}

// Rows first_row to last_row of the double twin's table against R, case by case.
void double_twin_against_r(int first_row, int last_row, int median = 0) {
    const std::vector<SimpleCase> cases = simple_cases();
    ASSERT_EQ(cases.size(), 6u) << "tests/data/describe_simple_statistics.csv";
    for (const SimpleCase& c : cases) {
        int n = 0;
        const std::vector<double> x = case_matrix(c, &n);
        ASSERT_GT(n, 0) << "the classic data set " << c.data << " under " << KORVS_SHARED_DATA;
        korvs_test::raised.clear();
        const std::vector<double> got = run_case<double>(c, x, n, median);
        const int nvar = int(c.columns.size());
        for (int row = first_row; row <= last_row; ++row) {
            const Tier tier = double_tier(row);
            for (int v = 0; v < nvar; ++v)
                EXPECT_TRUE(near(got[row * nvar + v], c.rows[row][v], tier.relative, tier.absolute))
                    << c.name << " row " << row << " variable " << v + 1;
        }
        // Missing values draw one warning with the number of rows that hold them.
        if (c.cells.empty()) {
            EXPECT_TRUE(korvs_test::raised.empty()) << c.name;
        } else {
            ASSERT_FALSE(korvs_test::raised.empty()) << c.name;
            EXPECT_EQ(korvs_test::raised.back().code, c.elementwise ? 11288 : 11062) << c.name;
            EXPECT_EQ(korvs_test::inserts("%(i1)"), c.elementwise ? "5" : "4") << c.name;
        }
    }
}

TEST_F(SimpleStatistics, DoubleTwinAgreesWithROnClassicData) { double_twin_against_r(0, 9); }

TEST_F(SimpleStatistics, DoubleTwinMediansAgreeWithR) {
    double_twin_against_r(14, 16, KORVS_MEDIAN_AND_SCALE);
    // The median rows come after the others, which stay as they are without them.
    for (const SimpleCase& c : simple_cases()) {
        int n = 0;
        const std::vector<double> x = case_matrix(c, &n);
        const std::vector<double> plain = run_case<double>(c, x, n), median = run_case<double>(c, x, n, KORVS_MEDIAN);
        for (std::size_t k = 0; k < plain.size(); ++k)
            EXPECT_TRUE(plain[k] == median[k] || (std::isnan(plain[k]) && std::isnan(median[k]))) << c.name << " " << k;
        for (std::size_t v = 0; v < c.columns.size(); ++v)
            EXPECT_EQ(median[plain.size() + v], c.rows[14][v]) << c.name;
    }
}

// The limits of the mean and the variance hold the t and chi-squared quantiles to R's qt
// and qchisq as well.
TEST_F(SimpleStatistics, DoubleTwinLimitsAgreeWithR) {
    KORVS_SKIP_UNLESS_FULL_PRECISION_DISTRIBUTIONS();
    double_twin_against_r(10, 13);
}

TEST_F(SimpleStatistics, FloatTwinAgreesWithTheDoubleOnTheSameNumbers) {
    for (const SimpleCase& c : simple_cases()) {
        int n = 0;
        const std::vector<float> x = as<float>(case_matrix(c, &n));
        const std::vector<float> got = run_case<float>(c, x, n, KORVS_MEDIAN_AND_SCALE);
        const std::vector<double> reference =
            run_case<double>(c, std::vector<double>(x.begin(), x.end()), n, KORVS_MEDIAN_AND_SCALE);
        const int nvar = int(c.columns.size());
        for (int row = 0; row < 17; ++row)
            for (int v = 0; v < nvar; ++v)
                EXPECT_TRUE(near(got[row * nvar + v], reference[row * nvar + v], float_tier(row).relative,
                                 float_tier(row).absolute))
                    << c.name << " row " << row << " variable " << v + 1;
    }
}

// The NIST StRD univariate sets: the digits of the certified mean and standard deviation
// (the log relative error), and where the decimal data are not binary numbers, the digits
// of the mean and deviation of the numbers the parsed data really hold (computed exactly
// in tests/data/describe_nist_exact.csv).
template <class T> void nist_sets(double certified_bar, double exact_bar) {
    const std::vector<Fields> exact = read_lines("describe_nist_exact.csv");
    ASSERT_EQ(exact.size(), 10u);
    for (std::size_t k = 1; k < exact.size(); ++k) {
        const Fields& e = exact[k];
        const NistSet set = nist_univariate(e[0]);
        ASSERT_EQ(set.data.size(), std::size_t(number(e[1]))) << e[0] << " under " << KORVS_SHARED_DATA;
        std::vector<T> x;
        for (const std::string& s : set.data)
            x.push_back(sizeof(T) == sizeof(float) ? T(std::strtof(s.c_str(), nullptr)) : T(std::strtod(s.c_str(), nullptr)));
        T result[14];
        simple_statistics<T>(int(x.size()), 1, x.data(), KORVS_RETURN_USER, result, 0);
        const double exact_mean = number(e[sizeof(T) == sizeof(float) ? 4 : 2]);
        const double exact_sd = number(e[sizeof(T) == sizeof(float) ? 5 : 3]);
        SCOPED_TRACE(e[0]);
        EXPECT_GE(lre(result[0], exact_mean), exact_bar);
        EXPECT_GE(lre(result[2], exact_sd), exact_bar);
        // Where the data are binary numbers the exact values are the certified ones.
        const bool binary = lre(exact_mean, set.mean) >= 15 && lre(exact_sd, set.sd) >= 15;
        if (binary) {
            EXPECT_GE(lre(result[0], set.mean), certified_bar);
            EXPECT_GE(lre(result[2], set.sd), certified_bar);
        }
    }
}

TEST_F(SimpleStatistics, NistCertifiedValuesDouble) { nist_sets<double>(14.0, 14.0); }

TEST_F(SimpleStatistics, NistCertifiedValuesFloat) { nist_sets<float>(6.5, 6.5); }

}  // namespace

namespace {

// The float twin against exact values, on data exact in single precision.
Tier float_exact_tier(int row) {
    switch (row) {
    case 0: case 5: case 6: case 7: case 9: case 14: case 15: return {8 * FLT_EPSILON, 0};
    case 1: case 2: case 8: return {128 * FLT_EPSILON, 0};
    case 3: case 4: return {1e-4, 32 * FLT_EPSILON};
    case 16: return {4e-7, 0};
    default: return {4e-4, 0};
    }
}

struct WeightedCase {
    std::string name, mode;
    int n = 0, nvar = 0;
    double conf_mean = 0, conf_var = 0;
    std::vector<double> x, frequencies, weights;
    std::vector<std::vector<double>> rows;
};

std::vector<WeightedCase> weighted_cases() {
    std::vector<WeightedCase> cases;
    for (const Fields& f : read_lines("describe_weighted.csv")) {
        if (f[0] == "case") {
            WeightedCase c;
            c.name = f[1];
            c.n = int(number(f[2]));
            c.nvar = int(number(f[3]));
            c.conf_mean = number(f[4]);
            c.conf_var = number(f[5]);
            c.mode = f[6];
            cases.push_back(c);
        } else if (f[0] == "x") {
            cases.back().x = numbers(f, 2);
        } else if (f[0] == "frequencies") {
            cases.back().frequencies = numbers(f, 2);
        } else if (f[0] == "weights") {
            cases.back().weights = numbers(f, 2);
        } else if (f[0] == "row") {
            cases.back().rows.push_back(numbers(f, 3));
        }
    }
    return cases;
}

// The case's call, with the options of the frequencies and the weights it has, and the
// median rows: 17 rows.
template <class T> T* weighted_call(const WeightedCase& c, T* x, T* f, T* w, T* result) {
    const int mode = c.mode == "elementwise" ? KORVS_MISSING_ELEMENTWISE : KORVS_MISSING_LISTWISE;
    if (f && w)
        return simple_statistics<T>(c.n, c.nvar, x, KORVS_FREQUENCIES, f, KORVS_WEIGHTS, w, KORVS_CONFIDENCE_MEANS,
                                    c.conf_mean, KORVS_CONFIDENCE_VARIANCES, c.conf_var, mode, KORVS_MEDIAN_AND_SCALE,
                                    KORVS_RETURN_USER, result, 0);
    if (f)
        return simple_statistics<T>(c.n, c.nvar, x, KORVS_FREQUENCIES, f, KORVS_CONFIDENCE_MEANS, c.conf_mean,
                                    KORVS_CONFIDENCE_VARIANCES, c.conf_var, mode, KORVS_MEDIAN_AND_SCALE,
                                    KORVS_RETURN_USER, result, 0);
    return simple_statistics<T>(c.n, c.nvar, x, KORVS_WEIGHTS, w, KORVS_CONFIDENCE_MEANS, c.conf_mean,
                                KORVS_CONFIDENCE_VARIANCES, c.conf_var, mode, KORVS_MEDIAN_AND_SCALE,
                                KORVS_RETURN_USER, result, 0);
}

class WeightedStatistics : public KorvsTest {
protected:
    template <class T> void against_fractions(Tier (*tier)(int), int first_row, int last_row);
};

template <class T> void WeightedStatistics::against_fractions(Tier (*tier)(int), int first_row, int last_row) {
    const std::vector<WeightedCase> cases = weighted_cases();
    ASSERT_EQ(cases.size(), 6u) << "tests/data/describe_weighted.csv";
    for (const WeightedCase& c : cases) {
        std::vector<T> x = as<T>(c.x), f = as<T>(c.frequencies), w = as<T>(c.weights);
        std::vector<T> result(17 * c.nvar);
        korvs_test::raised.clear();
        T* got = weighted_call(c, x.data(), f.empty() ? nullptr : f.data(), w.empty() ? nullptr : w.data(),
                               result.data());
        ASSERT_EQ(got, result.data()) << c.name;
        // The rows with a missing value, frequency or weight draw one warning with their number.
        int missing = 0;
        for (int i = 0; i < c.n; ++i) {
            bool any = (!f.empty() && std::isnan(f[i])) || (!w.empty() && std::isnan(w[i]));
            for (int v = 0; v < c.nvar; ++v) any = any || std::isnan(x[i * c.nvar + v]);
            missing += any ? 1 : 0;
        }
        if (missing == 0) {
            EXPECT_TRUE(errors().empty()) << c.name;
        } else {
            EXPECT_TRUE(only_raised(6, c.mode == "elementwise" ? 11288 : 11062)) << c.name;
            EXPECT_EQ(korvs_test::inserts("%(i1)"), std::to_string(missing)) << c.name;
        }
        for (int row = first_row; row <= last_row; ++row)
            for (int v = 0; v < c.nvar; ++v)
                EXPECT_TRUE(near(result[row * c.nvar + v], c.rows[row][v], tier(row).relative, tier(row).absolute))
                    << twin_name<T>() << " " << c.name << " row " << row << " variable " << v + 1;
    }
}

TEST_F(WeightedStatistics, AgainstFractionsDouble) { against_fractions<double>(double_tier, 0, 9); }

TEST_F(WeightedStatistics, LimitsAgainstFractionsDouble) {
    KORVS_SKIP_UNLESS_FULL_PRECISION_DISTRIBUTIONS();
    against_fractions<double>(double_tier, 10, 13);
}

TEST_F(WeightedStatistics, MediansAgainstFractionsDouble) { against_fractions<double>(double_tier, 14, 16); }

TEST_F(WeightedStatistics, AgainstFractionsFloat) { against_fractions<float>(float_exact_tier, 0, 16); }

}  // namespace

namespace {

template <class T> class SimpleStatisticsEdges : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SimpleStatisticsEdges, Twins);

TYPED_TEST(SimpleStatisticsEdges, OneObservationLeavesOnlyTheLevelStatistics) {
    using T = TypeParam;
    T x[2] = {T(3), T(-1.5)};
    T* r = simple_statistics<T>(1, 2, x, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->only_raised(6, 11067));
    const T expected[kRows][2] = {{3, -1.5}, {NAN, NAN}, {NAN, NAN}, {NAN, NAN}, {NAN, NAN}, {3, -1.5}, {3, -1.5},
                                  {0, 0},    {NAN, NAN}, {1, 1},     {NAN, NAN}, {NAN, NAN}, {NAN, NAN}, {NAN, NAN}};
    for (int row = 0; row < kRows; ++row)
        for (int v = 0; v < 2; ++v)
            EXPECT_TRUE(near(r[row * 2 + v], expected[row][v], 0)) << "row " << row << " variable " << v + 1;
    std::free(r);
    // With frequencies or weights one observation gives the pass no rows.
    T f[1] = {T(2)};
    this->clear();
    EXPECT_EQ(simple_statistics<T>(1, 2, x, KORVS_FREQUENCIES, f, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 11063));
    this->clear();
    EXPECT_EQ(simple_statistics<T>(1, 2, x, KORVS_WEIGHTS, f, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 11063));
}

TYPED_TEST(SimpleStatisticsEdges, ConstantVariableHasNoSpread) {
    using T = TypeParam;
    T x[8] = {2.5, 1, 2.5, 3, 2.5, 5, 2.5, 7};  // variable 1 constant
    T r[kRows * 2];
    ASSERT_EQ(simple_statistics<T>(4, 2, x, KORVS_RETURN_USER, r, 0), r);
    EXPECT_TRUE(this->only_raised(6, 11076));
    EXPECT_EQ(korvs_test::inserts("%(i1)"), "1");
    for (int row : {1, 2, 3, 4, 7, 8}) EXPECT_EQ(r[row * 2], T(0)) << "row " << row;
    EXPECT_EQ(r[0], T(2.5));
    // The limits of a constant: the mean and 0.
    EXPECT_EQ(r[10 * 2], T(2.5));
    EXPECT_EQ(r[11 * 2], T(2.5));
    EXPECT_EQ(r[12 * 2], T(0));
    EXPECT_EQ(r[13 * 2], T(0));
    EXPECT_TRUE(near(r[1 * 2 + 1], 20.0 / 3, 4 * kEps<T>));  // variable 2 is formed as usual
}

TYPED_TEST(SimpleStatisticsEdges, PercentageZeroWritesNoLimits) {
    using T = TypeParam;
    T x[10] = {1, 4, 2, 8, 3, 9, 5, 1, 4, 4};
    T r[kRows * 2];
    for (T& v : r) v = T(7);
    simple_statistics<T>(5, 2, x, KORVS_CONFIDENCE_MEANS, 0.0, KORVS_CONFIDENCE_VARIANCES, -5.0, KORVS_RETURN_USER, r, 0);
    EXPECT_TRUE(this->errors().empty());
    for (int row = 10; row < kRows; ++row)
        for (int v = 0; v < 2; ++v) EXPECT_EQ(r[row * 2 + v], T(7)) << "row " << row;
    // In an array of the library's the rows not written read as NaN.
    T* a = simple_statistics<T>(5, 2, x, KORVS_CONFIDENCE_MEANS, 0.0, 0);
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(std::isnan(a[10 * 2]) && std::isnan(a[11 * 2 + 1]));
    EXPECT_FALSE(std::isnan(a[12 * 2]));
    std::free(a);
}

TYPED_TEST(SimpleStatisticsEdges, ColumnDimensionsOfTheDataAndTheResult) {
    using T = TypeParam;
    // Three columns stored, the third not part of the data.
    T x[15] = {1, 10, NAN, 2, 30, NAN, 4, 20, NAN, 8, 50, NAN, 16, 40, NAN};
    T dense[10] = {1, 10, 2, 30, 4, 20, 8, 50, 16, 40};
    T expected[kRows * 2], r[kRows * 5];
    simple_statistics<T>(5, 2, dense, KORVS_RETURN_USER, expected, 0);
    for (int code : {int(KORVS_RETURN_COL_DIM), 14800}) {
        for (T& v : r) v = T(-1);
        ASSERT_EQ(simple_statistics<T>(5, 2, x, KORVS_X_COL_DIM, 3, code, 5, KORVS_RETURN_USER, r, 0), r);
        EXPECT_TRUE(this->errors().empty());
        for (int row = 0; row < kRows; ++row) {
            for (int v = 0; v < 2; ++v) EXPECT_EQ(r[row * 5 + v], expected[row * 2 + v]) << "row " << row;
            for (int v = 2; v < 5; ++v) EXPECT_EQ(r[row * 5 + v], T(-1)) << "row " << row << ": beyond the columns";
        }
    }
}

// Each variable's statistics are the same whether it stands alone or beside others, and
// whether its rows go through the short vectors or one at a time (a row with a missing
// value, frequencies): the rows go to the same accumulators in the same order.
TYPED_TEST(SimpleStatisticsEdges, AVariableDoesNotDependOnItsNeighbours) {
    using T = TypeParam;
    const int n = 45, nvar = 9;
    std::vector<T> x(n * nvar);
    for (int i = 0; i < n; ++i)
        for (int v = 0; v < nvar; ++v) x[i * nvar + v] = T(((i * 37 + v * 11) % 23) * 0.25 + v * 100 - i * 0.125);
    x[17 * nvar + 3] = NAN;
    std::vector<T> ones(n, T(1));
    for (int mode : {int(KORVS_MISSING_ELEMENTWISE), int(KORVS_MISSING_LISTWISE)}) {
        std::vector<T> all(kRows * nvar), alone(kRows), weighted(kRows * nvar);
        simple_statistics<T>(n, nvar, x.data(), mode, KORVS_RETURN_USER, all.data(), 0);
        simple_statistics<T>(n, nvar, x.data(), mode, KORVS_WEIGHTS, ones.data(), KORVS_FREQUENCIES, ones.data(),
                             KORVS_RETURN_USER, weighted.data(), 0);
        for (int v = 0; v < nvar; ++v) {
            // Listwise, a variable alone keeps the row that another variable's NaN drops.
            if (mode == KORVS_MISSING_LISTWISE && v != 3) continue;
            simple_statistics<T>(n, 1, x.data() + v, KORVS_X_COL_DIM, nvar, mode, KORVS_RETURN_USER, alone.data(), 0);
            for (int row = 0; row < kRows; ++row)
                EXPECT_EQ(alone[row], all[row * nvar + v]) << "variable " << v + 1 << " row " << row;
        }
        for (int k = 0; k < kRows * nvar; ++k) EXPECT_EQ(weighted[k], all[k]) << "element " << k;
    }
}

// Medians of a variable with no value left (all missing, elementwise) and of one of a
// single value; the other variable as usual.
TYPED_TEST(SimpleStatisticsEdges, MediansWithoutValues) {
    using T = TypeParam;
    T x[8] = {NAN, 4, NAN, 1, NAN, 2, NAN, 8};
    T r[15 * 2];
    ASSERT_EQ(simple_statistics<T>(4, 2, x, KORVS_MISSING_ELEMENTWISE, KORVS_MEDIAN, KORVS_RETURN_USER, r, 0), r);
    EXPECT_TRUE(std::isnan(r[14 * 2]));
    EXPECT_EQ(r[14 * 2 + 1], T(3));
    T one[2] = {5, 6}, s[17 * 2];
    ASSERT_EQ(simple_statistics<T>(1, 2, one, KORVS_MEDIAN_AND_SCALE, KORVS_RETURN_USER, s, 0), s);
    EXPECT_EQ(s[14 * 2], T(5));
    EXPECT_EQ(s[15 * 2 + 1], T(0));
    EXPECT_EQ(s[16 * 2 + 1], T(0));
}

// Frequencies whose repeated values no sort can take are refused as out of memory before
// any is gathered; the moments alone take them.
TYPED_TEST(SimpleStatisticsEdges, MediansOfTooManyValues) {
    using T = TypeParam;
    T x[2] = {1, 2}, f[2] = {T(3e9), T(1)}, r[15];
    this->clear();
    EXPECT_EQ(simple_statistics<T>(2, 1, x, KORVS_FREQUENCIES, f, KORVS_MEDIAN, KORVS_RETURN_USER, r, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 200));
    this->clear();
    EXPECT_EQ(simple_statistics<T>(2, 1, x, KORVS_FREQUENCIES, f, KORVS_RETURN_USER, r, 0), r);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(SimpleStatisticsEdges, ZeroWeights) {
    using T = TypeParam;
    T x[8] = {1, 1, 2, 2, NAN, 3, NAN, 4};
    T zero[4] = {0, 0, 0, 0}, w[4] = {0, 0, 1, 2};
    T* r = simple_statistics<T>(4, 2, x, KORVS_WEIGHTS, zero, KORVS_MISSING_ELEMENTWISE, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(this->errors().front().code, 11068);
    for (int row : {0, 1, 2, 3, 4, 8, 10, 11, 12, 13}) EXPECT_TRUE(std::isnan(r[row * 2])) << "row " << row;
    EXPECT_EQ(r[9 * 2], T(2));  // rows of weight 0 count
    EXPECT_EQ(r[9 * 2 + 1], T(4));
    std::free(r);
    // Variable 1 has values only in the rows of weight 0.
    this->clear();
    r = simple_statistics<T>(4, 2, x, KORVS_WEIGHTS, w, KORVS_MISSING_ELEMENTWISE, 0);
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(this->errors().size(), 3u);  // each warning as it is raised, the last again at the pop
    EXPECT_EQ(this->errors()[0].code, 11069);
    EXPECT_EQ(this->errors()[1].code, 11288);
    EXPECT_EQ(this->errors()[2].code, 11288);
    EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[2]));
    EXPECT_TRUE(near(r[1], (3.0 + 2 * 4) / 3, 2 * kEps<T>));
    std::free(r);
}

TYPED_TEST(SimpleStatisticsEdges, BadArgumentsGiveNoTable) {
    using T = TypeParam;
    T x[6] = {1, 2, 3, 4, 5, 6}, f[3] = {1, -2, 1}, r[kRows * 2];
    const T hundred = T(100), ok = T(50);
    auto null = [](T* p) { EXPECT_EQ(p, nullptr); };
    this->expect_errors({
        {"n_observations", [&] { null(simple_statistics<T>(0, 2, x, 0)); }, 5, 603, "%(l1) %(i1) %(i2)",
         "n_observations 0 1"},
        {"n_variables", [&] { null(simple_statistics<T>(3, -1, x, 0)); }, 5, 603, "%(l1) %(i1) %(i2)",
         "n_variables -1 1"},
        {"x", [&] { null(simple_statistics<T>(3, 2, (T*)nullptr, 0)); }, 5, 6002, "%(l1)", "x"},
        {"x_col_dim", [&] { null(simple_statistics<T>(3, 2, x, KORVS_X_COL_DIM, 1, 0)); }, 5, 1024,
         "%(l1) %(i1) %(i2)", "x 2 1"},
        {"return_col_dim", [&] { null(simple_statistics<T>(3, 2, x, 14800, 1, 0)); }, 5, 1024, "%(l1) %(i1) %(i2)",
         "result 2 1"},
        {"unknown", [&] { null(simple_statistics<T>(3, 2, x, KORVS_MEDIAN_AND_SCALE + 1, 0)); }, 5, 11001,
         "%(i1) %(i2)", "13161 4"},
        {"medians", [&] { null(simple_statistics<T>(3, 2, x, KORVS_MEDIAN, KORVS_MEDIAN_AND_SCALE, 0)); }, 5, 11117,
         "%(l1)", "KORVS_MEDIAN and KORVS_MEDIAN_AND_SCALE"},
        {"median twice", [&] { null(simple_statistics<T>(3, 2, x, KORVS_MEDIAN, KORVS_MEDIAN, 0)); }, 5, 11117},
        {"null user", [&] { null(simple_statistics<T>(3, 2, x, KORVS_RETURN_USER, (T*)nullptr, 0)); }, 5, 104,
         "%(l1) %(l2)", "result KORVS_RETURN_USER"},
        {"null frequencies", [&] { null(simple_statistics<T>(3, 2, x, KORVS_FREQUENCIES, (T*)nullptr, 0)); }, 5, 104},
        {"mean percentage", [&] { null(simple_statistics<T>(3, 2, x, KORVS_CONFIDENCE_MEANS, 100.0, 0)); }, 5, 11064,
         "%(r1%g)", "100"},
        {"variance percentage", [&] { null(simple_statistics<T>(3, 2, x, KORVS_CONFIDENCE_VARIANCES_ADR, &hundred,
                                                                KORVS_CONFIDENCE_MEANS_ADR, &ok, 0)); },
         5, 11065, "%(r1%g)", "100"},
        {"NaN percentage", [&] { null(simple_statistics<T>(3, 2, x, KORVS_CONFIDENCE_MEANS, double(NAN), 0)); }, 5,
         11064},
        {"negative frequency", [&] { null(simple_statistics<T>(3, 2, x, KORVS_FREQUENCIES, f, 0)); }, 4, 11055,
         "%(i1) %(r1%g)", "1 -2"},
        {"negative weight", [&] { null(simple_statistics<T>(3, 2, x, KORVS_WEIGHTS, f, KORVS_RETURN_USER, r, 0)); }, 4,
         11057, "%(i1) %(r1%g)", "1 -2"},
    });
}

}  // namespace
