// Number formats of printed tables, each field worked out by hand from the rules: the %W
// choice from the data, fill characters, integer and cyclic conversions, and the codes of
// a bad format. A row without labels prints as 2 blanks and the field of each column.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <string>
#include <vector>

#include "korvs_test.hpp"
#include "output_support.hpp"

namespace {

using korvs_test::inserts;
using output_test::lines;
using output_test::sp;
using output_test::table;

// One row without labels in the given format (null: the default); the printed line.
template <class T> std::string row(const char* format, std::vector<T> values) {
    int n = static_cast<int>(values.size());
    if (format) return table<T>("", 1, n, values.data(), KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, format);
    return table<T>("", 1, n, values.data(), KORVS_NO_COL_LABELS);
}

template <class T> class Format : public output_test::OutputTest {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Format, RealTypes);

TYPED_TEST(Format, FieldsByTheRules) {
    using T = TypeParam;
    const double nan = NAN, inf = INFINITY;
    const struct {
        const char* format;
        std::vector<double> values;
        std::string expected;
    } rows[] = {
        // "%11.4W": whole numbers as "%11d"; otherwise the decimals the values need.
        {nullptr, {10, -20, 300}, sp(11) + "10" + sp(10) + "-20" + sp(10) + "300\n"},
        {nullptr, {0}, sp(12) + "0\n"},
        {nullptr, {1.5, 2.25}, sp(9) + "1.50" + sp(9) + "2.25\n"},
        {nullptr, {0.5, 0.25, 0.125}, sp(8) + "0.500" + sp(8) + "0.250" + sp(8) + "0.125\n"},
        // The exponent form, precision min(digits - 1, width - 7), for small or large values.
        {nullptr, {1e-5}, sp(4) + "1.000e-05\n"},
        {nullptr, {1.5e7, 0.5}, sp(4) + "1.500e+07" + sp(4) + "5.000e-01\n"},
        {nullptr, {1.5e7}, sp(5) + "15000000\n"},  // a large whole number is still whole
        {nullptr, {0.001}, sp(8) + "0.001\n"},     // not below 0.001
        {"%13.6W", {2.5e-4}, sp(4) + "2.50000e-04\n"},
        // Rounding that gains a digit costs a decimal; a power of ten, or a value that
        // rounds up to one, has one leading zero fewer.
        {nullptr, {9.99996, 1.23456}, sp(8) + "10.00" + sp(9) + "1.23\n"},
        {nullptr, {0.1, 0.0123}, sp(7) + "0.1000" + sp(7) + "0.0123\n"},
        {nullptr, {0.099999, 0.0123}, sp(7) + "0.1000" + sp(7) + "0.0123\n"},
        // Narrow widths give up decimals, then digits; below 7 there is no exponent form.
        {"%6.4W", {123.456}, "   123.5\n"},
        {"%5.4W", {123.456}, "    123\n"},
        {"%6.4W", {0.0005}, "   0.001\n"},
        {"%5.4W", {123456}, "  *****\n"},
        {"%3.2W", {-99}, "  -99\n"},
        {"%3.2W", {-100}, "  ***\n"},
        {"%3.2W", {999}, "  999\n"},
        {"%+11.4W", {5}, sp(11) + "+5\n"},
        {"%-8.3W%8.3W", {1.5, 2.5}, "  1.5" + sp(12) + "2.5\n"},
        // NaN takes no part in the choice; an infinity is the largest value.
        {nullptr, {nan, 1.5}, "  ..........." + sp(10) + "1.5\n"},
        {nullptr, {nan, inf, -inf, 1.5}, "  ...........  +++++++++++  -----------" + sp(4) + "1.500e+00\n"},
        {nullptr, {nan, nan}, "  ...........  ...........\n"},
        {"%5.2W", {nan}, "  .....\n"},
        {"%5.2W", {inf, 2}, "  +++++      2\n"},
        {"%4d%7.2f", {inf, -inf}, "  ++++  -------\n"},
        // A value too wide for its field is stars; integer conversions truncate.
        {"%3d", {1234}, "  ***\n"},
        {"%5.1f", {123456}, "  *****\n"},
        {"%8.2e", {1.0}, "  1.00e+00\n"},
        {"%7.2e", {1.0}, "  *******\n"},
        {"%4d", {-2.7, 2.7}, "    -2     2\n"},
        {"%5x%5o%5X", {255, 8, 171}, "     ff     10     AB\n"},
        {"%12d", {3e9}, "  ************\n"},
        {"%12d", {2147483648.0}, "  ************\n"},
        {"%12d", {-2147483648.0}, "   -2147483648\n"},
        {"%6.1f%5d", {1.3, 2.7, 3.4, 4.2}, sp(5) + "1.3" + sp(6) + "2" + sp(5) + "3.4" + sp(6) + "4\n"},
        {"%.2f", {1.5}, sp(8) + "1.50\n"},  // a missing width counts as ten
        {"%.3W", {1.5}, sp(9) + "1.5\n"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(row<T>(r.format, std::vector<T>(r.values.begin(), r.values.end())), r.expected)
            << (r.format ? r.format : "default") << " " << r.values[0];
    // One W conversion chooses for the matrix, several for each column.
    T a[4] = {1, 0.5, 2, 0.25};
    EXPECT_EQ(table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W"),
              lines({sp(6) + "1.00" + sp(6) + "0.50", sp(6) + "2.00" + sp(6) + "0.25"}));
    EXPECT_EQ(
        table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W%8.3W"),
        lines({sp(9) + "1" + sp(6) + "0.50", sp(9) + "2" + sp(6) + "0.25"}));
    // The settings: a NaN as blanks (a blank field ends no line), the default format.
    this->set(KORVS_SET_NAN_CHAR, 1);
    EXPECT_EQ(row<T>(nullptr, {T(nan), 2}), sp(2 + 11 + 2 + 10) + "2\n");
    EXPECT_EQ(row<T>(nullptr, {T(nan)}), " \n");
    this->set(KORVS_SET_FORMAT, 1);
    EXPECT_EQ(row<T>(nullptr, {1.5}), sp(12) + "1.5\n");
    this->set(KORVS_SET_FORMAT, 2);
    EXPECT_EQ(row<T>(nullptr, {1.5}), sp(4) + "1.50000e+00\n");
    EXPECT_TRUE(this->errors().empty());
}

class IntegerFormat : public output_test::OutputTest {};

TEST_F(IntegerFormat, WholeNumbersTheIntRangeEdgeAndIntegerConversionsOnly) {
    EXPECT_EQ(row<int>(nullptr, {7, -70}), sp(12) + "7" + sp(10) + "-70\n");
    // The most negative int is not below 2147483647 in size: the exponent form.
    EXPECT_EQ(row<int>(nullptr, {-2147483647 - 1}), sp(3) + "-2.147e+09\n");
    EXPECT_EQ(row<int>("%6x", {255}), sp(6) + "ff\n");
    EXPECT_EQ(row<int>("%5.2f", {3}), "<null>");
    EXPECT_TRUE(only_raised(5, 10007));
    clear();
    set(KORVS_SET_FORMAT, 2);  // the default formats stand
    EXPECT_EQ(row<int>(nullptr, {3}), sp(4) + "3.00000e+00\n");
    EXPECT_TRUE(errors().empty());
}

class FormatValidation : public output_test::OutputTest {};

TEST_F(FormatValidation, EachFaultHasItsCode) {
    const struct {
        const char* format;
        int code;
    } cases[] = {
        {"", 10001},      {"%d", 10001},      {"ab", 10001},  {"abc", 10003},     {"x%5d", 10002},
        {"%5dx", 10002},  {"%5d %5d", 10002}, {"%*d", 10004}, {"%5.*f", 10004},   {"%41d", 10005},
        {"%5.6f", 10006}, {"%.11f", 10006},   {"%5q", 10007}, {"%5.2lf", 10007},  {"%5d%", 10007},
        {"%%5d", 10007},  {"%40d", 0},        {"%.10f", 0},   {"%-+ #010.3e", 0}, {"%W", 10001},
        {"%dx%d", 10002}, {"%5.5g%3i%4u", 0}, {"%E%G", 0},
    };
    for (const auto& c : cases) {
        clear();
        float a[1] = {1};
        std::string text = table<float>("", 1, 1, a, KORVS_WRITE_FORMAT, c.format);
        if (c.code == 0) {
            EXPECT_TRUE(errors().empty()) << '"' << c.format << '"';
            continue;
        }
        EXPECT_TRUE(only_raised(5, c.code)) << '"' << c.format << '"';
        EXPECT_EQ(text, "<null>");
        EXPECT_EQ(inserts("%(l1)"), c.format);
    }
}

}  // namespace
