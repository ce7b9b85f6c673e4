// korvs_f_table_oneway and korvs_f_table_twoway through the exported interface: tallies
// of data on and between the edges of the intervals in every mode against their exact
// classification (tests/data/describe_tables.csv), the decimal data that the one-way
// tolerance and the two-way slack hold to their decimal intervals, the settled rules
// (first match, an unclassified two-way observation keeping the interval before it), the
// data bounds and the errors of bad arguments.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "describe_data.hpp"
#include "korvs_test.hpp"

namespace {

using namespace describe_test;
using korvs_test::KorvsTest;

template <class T> class Tables : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Tables, Twins);

// One tally of the table: its mode's option, with the parameters of each axis.
template <class T> T* oneway(int mode, int k, std::vector<T>& x, std::vector<T>& p) {
    const int n = int(x.size());
    switch (mode) {
    case 0: return table_oneway<T>(n, x.data(), k, 0);
    case 1: return table_oneway<T>(n, x.data(), k, KORVS_KNOWN_BOUNDS, double(p[0]), double(p[1]), 0);
    case 2: return table_oneway<T>(n, x.data(), k, KORVS_CUTPOINTS, p.data(), 0);
    default: return table_oneway<T>(n, x.data(), k, KORVS_CLASS_MARKS, p.data(), 0);
    }
}

template <class T>
T* twoway(int mode, int nx, int ny, std::vector<T>& x, std::vector<T>& y, std::vector<T>& px, std::vector<T>& py) {
    const int n = int(x.size());
    switch (mode) {
    case 0: return table_twoway<T>(n, x.data(), y.data(), nx, ny, 0);
    case 1:
        return table_twoway<T>(n, x.data(), y.data(), nx, ny, KORVS_KNOWN_BOUNDS_ADR, &px[0], &px[1], &py[0], &py[1], 0);
    case 2: return table_twoway<T>(n, x.data(), y.data(), nx, ny, KORVS_CUTPOINTS, px.data(), py.data(), 0);
    default: return table_twoway<T>(n, x.data(), y.data(), nx, ny, KORVS_CLASS_MARKS, px.data(), py.data(), 0);
    }
}

TYPED_TEST(Tables, TalliesAgainstTheExactClassification) {
    using T = TypeParam;
    int oneway_cases = 0, twoway_cases = 0;
    for (const Fields& f : read_lines("describe_tables.csv")) {
        SCOPED_TRACE(f[0] + " " + f[1]);
        if (f[0] == "oneway") {
            ++oneway_cases;
            const int mode = int(number(f[2])), k = int(number(f[3]));
            std::vector<T> p = as<T>(list(f[4])), x = as<T>(list(f[5]));
            const std::vector<double> expected = list(f[6]);
            T* table = oneway<T>(mode, k, x, p);
            ASSERT_NE(table, nullptr);
            for (int i = 0; i < k; ++i) EXPECT_EQ(table[i], T(expected[i])) << "interval " << i + 1;
            std::free(table);
        } else if (f[0] == "twoway") {
            ++twoway_cases;
            const int mode = int(number(f[2])), nx = int(number(f[3])), ny = int(number(f[4]));
            std::vector<T> px = as<T>(list(f[5])), py = as<T>(list(f[6])), x = as<T>(list(f[7])), y = as<T>(list(f[8]));
            const std::vector<double> expected = list(f[9]);
            T* table = twoway<T>(mode, nx, ny, x, y, px, py);
            ASSERT_NE(table, nullptr);
            for (int c = 0; c < nx * ny; ++c) EXPECT_EQ(table[c], T(expected[c])) << "cell " << c;
            std::free(table);
        }
    }
    EXPECT_EQ(oneway_cases, 6) << "tests/data/describe_tables.csv";
    EXPECT_EQ(twoway_cases, 4);
    EXPECT_TRUE(this->errors().empty());
}

// Decimal data whose intervals meet at decimal edges: 0.1 is above the binary 0.1 * 1,
// 0.3 below 3 * 0.1, and so on; the tolerance of the one-way tally (10 eps times the
// width) and the slack of the two-way tally (a factor 1 + eps) hold them to the interval
// their decimal value lies in.
TYPED_TEST(Tables, DecimalEdgesOverTheDataRange) {
    using T = TypeParam;
    std::vector<T> x, y;
    for (int i = 0; i <= 20; ++i) {
        x.push_back(T(i / 10.0));  // 0, 0.1, ..., 2
        y.push_back(T(2 - i / 10.0));
    }
    // Ten intervals of width 0.2: each takes the value on its upper edge and the one
    // inside, the first also its lower edge.
    T* table = table_oneway<T>(21, x.data(), 10, 0);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0], T(3));
    for (int i = 1; i < 10; ++i) EXPECT_EQ(table[i], T(2)) << "interval " << i + 1;
    std::free(table);
    // The pair i, from 0: x in interval ceil(i / 2), y in ceil((20 - i) / 2), each at least 1.
    std::vector<T> expected(100, T(0));
    for (int i = 0; i <= 20; ++i) expected[(std::max(1, (i + 1) / 2) - 1) * 10 + std::max(1, (21 - i) / 2) - 1] += 1;
    table = table_twoway<T>(21, x.data(), y.data(), 10, 10, 0);
    ASSERT_NE(table, nullptr);
    for (int c = 0; c < 100; ++c) EXPECT_EQ(table[c], expected[c]) << "cell " << c;
    std::free(table);
}

TYPED_TEST(Tables, DataBoundsAndAllValuesEqual) {
    using T = TypeParam;
    std::vector<T> x = {3, 3, 3, 3};
    T lo = 0, hi = 0;
    T* table = table_oneway<T>(4, x.data(), 3, KORVS_DATA_BOUNDS, &lo, &hi, 0);
    ASSERT_NE(table, nullptr);
    // Width 0: every observation is within the tolerance of the first interval.
    EXPECT_EQ(table[0], T(4));
    EXPECT_EQ(table[1] + table[2], T(0));
    EXPECT_EQ(lo, T(3));
    EXPECT_EQ(hi, T(3));
    std::free(table);
    std::vector<T> u = {-1, 4, 2.5}, v = {7, -3, 0.5};
    T b[4] = {};
    T out[6];
    ASSERT_EQ(table_twoway<T>(3, u.data(), v.data(), 3, 2, KORVS_DATA_BOUNDS, &b[0], &b[1], &b[2], &b[3],
                              KORVS_RETURN_USER, out, 0),
              out);
    EXPECT_EQ(b[0], T(-1));
    EXPECT_EQ(b[1], T(4));
    EXPECT_EQ(b[2], T(-3));
    EXPECT_EQ(b[3], T(7));
    const T expected[6] = {0, 1, 0, 0, 2, 0};  // (-1, 7) in cell (1, 2); (4, -3) and (2.5, 0.5) in (3, 1)
    for (int c = 0; c < 6; ++c) EXPECT_EQ(out[c], expected[c]) << "cell " << c;
}

// The first match decides where intervals meet or overlap; a one-way value close to no
// class mark is not tallied, a two-way observation no interval takes keeps the interval
// of the one before it.
TYPED_TEST(Tables, ClassMarksFirstMatchAndUnclassifiedObservations) {
    using T = TypeParam;
    std::vector<T> marks = {0, 1, 3}, x = {0.5, 1.5, 2, 2.5, 3.5, -0.5, -0.75, 10};
    // Half width 0.5: 0.5 goes to mark 1 (first match), 1.5 to mark 2, 2 to none,
    // 2.5 and 3.5 to mark 3, -0.5 to mark 1, -0.75 and 10 to none.
    T* table = table_oneway<T>(8, x.data(), 3, KORVS_CLASS_MARKS, marks.data(), 0);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0], T(2));
    EXPECT_EQ(table[1], T(1));
    EXPECT_EQ(table[2], T(2));
    std::free(table);
    std::vector<T> y = {0, 0, 1, 3, 0, 0, 0, 0}, ymarks = {0, 1, 3}, xmarks = marks;
    table = table_twoway<T>(8, x.data(), y.data(), 3, 3, KORVS_CLASS_MARKS, xmarks.data(), ymarks.data(), 0);
    ASSERT_NE(table, nullptr);
    // x: 1, 2, (2), 3, 3, 1, (1), (1); y: 1, 1, 2, 3, 1, 1, 1, 1.
    const T expected[9] = {4, 0, 0, 1, 1, 0, 1, 0, 1};
    for (int c = 0; c < 9; ++c) EXPECT_EQ(table[c], expected[c]) << "cell " << c;
    std::free(table);
}

TYPED_TEST(Tables, BadArgumentsGiveNoTable) {
    using T = TypeParam;
    T x[4] = {1, 2, 3, 4}, y[4] = {1, 2, 3, 4}, nan[4] = {1, NAN, 3, NAN}, c[3] = {1, 3, 2}, lo = 2, hi = 1, r[4];
    auto null = [](T* p) { EXPECT_EQ(p, nullptr); };
    this->expect_errors({
        {"n", [&] { null(table_oneway<T>(0, x, 3, 0)); }, 5, 11002, "%(i1)", "0"},
        {"x", [&] { null(table_oneway<T>(4, (T*)nullptr, 3, 0)); }, 5, 6002, "%(l1)", "x"},
        {"two modes", [&] { null(table_oneway<T>(4, x, 3, KORVS_KNOWN_BOUNDS, 0.0, 1.0, KORVS_DATA_BOUNDS, &lo, &hi, 0)); },
         5, 20022},
        {"bounds", [&] { null(table_oneway<T>(4, x, 3, KORVS_KNOWN_BOUNDS_ADR, &lo, &hi, 0)); }, 5, 20023,
         "%(r1%g) %(r2%g)", "2 1"},
        {"cutpoints", [&] { null(table_oneway<T>(4, x, 4, KORVS_CUTPOINTS, c, 0)); }, 5, 20024,
         "%(l1) %(i1) %(i2) %(r1%g) %(r2%g)", "cutpoints 1 2 3 2"},
        {"last cutpoint unread", [&] { EXPECT_EQ(table_oneway<T>(4, x, 3, KORVS_CUTPOINTS, c, KORVS_RETURN_USER, r, 0), r); }},
        {"class marks", [&] { null(table_oneway<T>(4, x, 3, KORVS_CLASS_MARKS, c, 0)); }, 5, 20024, "%(l1)",
         "class_marks"},
        {"one cutpoint interval", [&] { null(table_oneway<T>(4, x, 1, KORVS_CUTPOINTS, c, 0)); }, 5, 20020,
         "%(l1) %(i1)", "KORVS_CUTPOINTS 1"},
        {"one class mark", [&] { null(table_oneway<T>(4, x, 1, KORVS_CLASS_MARKS, c, 0)); }, 5, 20020, "%(l1)",
         "KORVS_CLASS_MARKS"},
        {"bounded intervals", [&] { null(table_oneway<T>(4, x, 2, KORVS_KNOWN_BOUNDS, 0.0, 1.0, 0)); }, 5, 20021,
         "%(i1)", "2"},
        {"no intervals", [&] { null(table_oneway<T>(4, x, 0, 0)); }, 5, 20025, "%(i1)", "0"},
        {"NaN", [&] { null(table_oneway<T>(4, nan, 3, 0)); }, 5, 20026, "%(i1)", "1"},
        {"unknown", [&] { null(table_oneway<T>(4, x, 3, 1, 0)); }, 5, 11001, "%(i1) %(i2)", "1 4"},
        {"null marks", [&] { null(table_oneway<T>(4, x, 3, KORVS_CLASS_MARKS, (T*)nullptr, 0)); }, 5, 104},
        {"two-way n", [&] { null(table_twoway<T>(0, x, y, 2, 2, 0)); }, 5, 603, "%(l1)", "n_observations"},
        {"nx", [&] { null(table_twoway<T>(4, x, y, 0, 2, 0)); }, 5, 603, "%(l1)", "nx"},
        {"ny", [&] { null(table_twoway<T>(4, x, y, 2, -1, 0)); }, 5, 603, "%(l1) %(i1)", "ny -1"},
        {"y", [&] { null(table_twoway<T>(4, x, (T*)nullptr, 2, 2, 0)); }, 5, 6002, "%(l1)", "y"},
        {"bounded cells", [&] { null(table_twoway<T>(4, x, y, 3, 2, KORVS_KNOWN_BOUNDS, 0.0, 1.0, 0.0, 1.0, 0)); }, 5,
         20734, "%(i1) %(i2)", "3 2"},
        {"cut cells", [&] { null(table_twoway<T>(4, x, y, 1, 2, KORVS_CUTPOINTS, c, c, 0)); }, 5, 20731,
         "%(i1) %(i2) %(l1)", "1 2 KORVS_CUTPOINTS"},
        {"x bounds", [&] { null(table_twoway<T>(4, x, y, 3, 3, KORVS_KNOWN_BOUNDS, 1.0, 1.0, 0.0, 1.0, 0)); }, 5,
         20735},
        {"y bounds", [&] { null(table_twoway<T>(4, x, y, 3, 3, KORVS_KNOWN_BOUNDS, 0.0, 1.0, 1.0, 0.0, 0)); }, 5,
         20736},
        {"x marks", [&] { null(table_twoway<T>(4, x, y, 3, 2, KORVS_CLASS_MARKS, c, x, 0)); }, 5, 20737,
         "%(i1) %(i2)", "1 2"},
        {"y marks", [&] { null(table_twoway<T>(4, x, y, 2, 4, KORVS_CUTPOINTS, x, c, 0)); }, 5, 20738},
        {"x NaN", [&] { null(table_twoway<T>(4, nan, y, 2, 2, 0)); }, 5, 20732, "%(i1)", "2"},
        {"y NaN", [&] { null(table_twoway<T>(4, x, nan, 2, 2, 0)); }, 5, 20733},
    });
}

}  // namespace
