// Number formats of printed tables: the %W choice from the data (integers, decimals
// with the common trailing zeros dropped, the exponent form, the carry and leading-zero
// rules, narrow widths), the fields of NaN, infinities and values too wide, integer
// conversions of real values, cyclic conversions, and the validation codes 10001 to 10007.
// Each expected field is worked out by hand from the rules; a row without labels prints
// as 2 blanks and the field for each column.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <limits>
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

TYPED_TEST(Format, DefaultFormatPrintsWholeNumbersAsIntegers) {
    using T = TypeParam;
    // "%11.4W" on whole numbers: "%11d".
    EXPECT_EQ(row<T>(nullptr, {10, -20, 300}), sp(11) + "10" + sp(10) + "-20" + sp(10) + "300\n");
    EXPECT_EQ(row<T>(nullptr, {0}), sp(12) + "0\n");
}

TYPED_TEST(Format, DefaultFormatKeepsOnlyTheDecimalsTheValuesNeed) {
    using T = TypeParam;
    // Largest 2.25: 1 digit before the point, 3 after; 1.5 needs 1 decimal, 2.25 needs 2.
    EXPECT_EQ(row<T>(nullptr, {1.5, 2.25}), sp(9) + "1.50" + sp(9) + "2.25\n");
    // Largest 0.5: 4 decimals; the values need 1, 2 and 3 of them.
    EXPECT_EQ(row<T>(nullptr, {0.5, 0.25, 0.125}), sp(8) + "0.500" + sp(8) + "0.250" + sp(8) + "0.125\n");
}

TYPED_TEST(Format, SmallAndLargeValuesTakeTheExponentForm) {
    using T = TypeParam;
    // Width 11, 4 digits: precision min(4 - 1, 11 - 7) = 3.
    EXPECT_EQ(row<T>(nullptr, {1e-5}), sp(4) + "1.000e-05\n");
    // A large value sends all values of the choice to the exponent form.
    EXPECT_EQ(row<T>(nullptr, {1.5e7, 0.5}), sp(4) + "1.500e+07" + sp(4) + "5.000e-01\n");
    // A large whole number is still a whole number.
    EXPECT_EQ(row<T>(nullptr, {1.5e7}), sp(5) + "15000000\n");
    // 0.001 is not below 0.001: the fixed form, whose decimals it needs 3 of.
    EXPECT_EQ(row<T>(nullptr, {0.001}), sp(8) + "0.001\n");
    // Width 13, 6 digits: precision min(5, 6) = 5.
    EXPECT_EQ(row<T>("%13.6W", {2.5e-4}), sp(4) + "2.50000e-04\n");
}

TYPED_TEST(Format, RoundingThatGainsADigitCostsADecimal) {
    using T = TypeParam;
    // 9.99996 to 3 decimals would round to 10.000, five digits: 2 decimals instead.
    EXPECT_EQ(row<T>(nullptr, {9.99996, 1.23456}), sp(8) + "10.00" + sp(9) + "1.23\n");
}

TYPED_TEST(Format, APowerOfTenOrAValueRoundingUpToOneHasOneLeadingZeroFewer) {
    using T = TypeParam;
    // 0.1: 4 decimals, not 5; 0.0123 needs all four.
    EXPECT_EQ(row<T>(nullptr, {0.1, 0.0123}), sp(7) + "0.1000" + sp(7) + "0.0123\n");
    // 0.099999 rounds to 0.10000 at 5 decimals: 4 decimals.
    EXPECT_EQ(row<T>(nullptr, {0.099999, 0.0123}), sp(7) + "0.1000" + sp(7) + "0.0123\n");
}

TYPED_TEST(Format, NarrowWidthsGiveUpDecimalsThenDigits) {
    using T = TypeParam;
    // Width 6: 123.456 has 3 digits and 1 decimal, 3 + 1 + 2 = 6 fits.
    EXPECT_EQ(row<T>("%6.4W", {123.456}), "   123.5\n");
    // Width 5: no decimal left.
    EXPECT_EQ(row<T>("%5.4W", {123.456}), "    123\n");
    // Below width 7 there is no exponent form: 0.0005 gets 3 decimals.
    EXPECT_EQ(row<T>("%6.4W", {0.0005}), "   0.001\n");
    // A whole number too long for the width is no integer to the choice, and the fixed
    // form cannot hold it either.
    EXPECT_EQ(row<T>("%5.4W", {123456}), "  *****\n");
}

TYPED_TEST(Format, WholeNumbersMustFitTheWidthToPrintAsIntegers) {
    using T = TypeParam;
    // Width 3 holds -99 but not -100, which then goes the fixed way and does not fit.
    EXPECT_EQ(row<T>("%3.2W", {-99}), "  -99\n");
    EXPECT_EQ(row<T>("%3.2W", {-100}), "  ***\n");
    EXPECT_EQ(row<T>("%3.2W", {999}), "  999\n");
}

TYPED_TEST(Format, TheFlagsOfAWConversionCarryOver) {
    using T = TypeParam;
    EXPECT_EQ(row<T>("%+11.4W", {5}), sp(11) + "+5\n");
    EXPECT_EQ(row<T>("%-8.3W%8.3W", {1.5, 2.5}), "  1.5" + sp(12) + "2.5\n");
}

TYPED_TEST(Format, NaNAndInfinitiesPrintAsFillCharacters) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    // NaN takes no part in the choice: 1.5 alone chooses one decimal.
    EXPECT_EQ(row<T>(nullptr, {nan, 1.5}), "  ..........." + sp(10) + "1.5\n");
    // An infinity is the largest value: %11.4W becomes %11.3e for all.
    EXPECT_EQ(row<T>(nullptr, {nan, inf, -inf, 1.5}),
              "  ..........." + sp(2) + "+++++++++++" + sp(2) + "-----------" + sp(4) + "1.500e+00\n");
    EXPECT_EQ(row<T>(nullptr, {nan, nan}), "  ...........  ...........\n");
    EXPECT_EQ(row<T>("%5.2W", {nan}), "  .....\n");
    EXPECT_EQ(row<T>("%5.2W", {inf, 2}), "  +++++      2\n");
    EXPECT_EQ(row<T>("%4d%7.2f", {inf, -inf}), "  ++++  -------\n");
}

TYPED_TEST(Format, NaNPrintsAsBlanksWithNanChar1) {
    using T = TypeParam;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    int one = 1;
    korvs_write_options(KORVS_SET_NAN_CHAR, &one);
    EXPECT_EQ(row<T>(nullptr, {nan, 2}), sp(2 + 11 + 2 + 10) + "2\n");
    // A blank field at the end of a line is not printed; the empty line is one blank.
    EXPECT_EQ(row<T>(nullptr, {nan}), " \n");
}

TYPED_TEST(Format, AValueTooWideForItsFieldIsStars) {
    using T = TypeParam;
    EXPECT_EQ(row<T>("%3d", {1234}), "  ***\n");
    EXPECT_EQ(row<T>("%5.1f", {123456}), "  *****\n");
    EXPECT_EQ(row<T>("%8.2e", {1.0}), "  1.00e+00\n");
    EXPECT_EQ(row<T>("%7.2e", {1.0}), "  *******\n");
}

TYPED_TEST(Format, IntegerConversionsTruncateAndRefuseValuesOutsideTheIntRange) {
    using T = TypeParam;
    EXPECT_EQ(row<T>("%4d", {-2.7, 2.7}), "    -2     2\n");
    EXPECT_EQ(row<T>("%5x%5o%5X", {255, 8, 171}), "     ff     10     AB\n");
    EXPECT_EQ(row<T>("%12d", {3e9}), "  ************\n");
    EXPECT_EQ(row<T>("%12d", {2147483648.0}), "  ************\n");
    EXPECT_EQ(row<T>("%12d", {-2147483648.0}), "   -2147483648\n");
}

TYPED_TEST(Format, SeveralConversionsGoRoundTheColumns) {
    using T = TypeParam;
    EXPECT_EQ(row<T>("%6.1f%5d", {1.3, 2.7, 3.4, 4.2}),
              sp(5) + "1.3" + sp(6) + "2" + sp(5) + "3.4" + sp(6) + "4\n");
}

TYPED_TEST(Format, OneWConversionChoosesForTheMatrixSeveralForEachColumn) {
    using T = TypeParam;
    T a[4] = {1, 0.5, 2, 0.25};
    // One conversion: the largest value 2 gives 2 decimals for all, and 0.25 needs both.
    EXPECT_EQ(table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W"),
              lines({sp(6) + "1.00" + sp(6) + "0.50", sp(6) + "2.00" + sp(6) + "0.25"}));
    // Two conversions: whole numbers in the first column, 0.5 and 0.25 in the second.
    EXPECT_EQ(
        table<T>("", 2, 2, a, KORVS_NO_ROW_LABELS, KORVS_NO_COL_LABELS, KORVS_WRITE_FORMAT, "%8.3W%8.3W"),
        lines({sp(9) + "1" + sp(6) + "0.50", sp(9) + "2" + sp(6) + "0.25"}));
}

TYPED_TEST(Format, TheFormatSettingChoosesTheDefaultFormat) {
    using T = TypeParam;
    int setting = 1;
    korvs_write_options(KORVS_SET_FORMAT, &setting);
    // "%13.6W": 6 digits, of which 1.5 needs one decimal.
    EXPECT_EQ(row<T>(nullptr, {1.5}), sp(12) + "1.5\n");
    setting = 2;
    korvs_write_options(KORVS_SET_FORMAT, &setting);
    EXPECT_EQ(row<T>(nullptr, {1.5}), sp(4) + "1.50000e+00\n");
}

class IntegerFormat : public output_test::OutputTest {};

TEST_F(IntegerFormat, WholeNumbersAndTheIntRangeEdge) {
    EXPECT_EQ(row<int>(nullptr, {7, -70}), sp(12) + "7" + sp(10) + "-70\n");
    // The most negative int is not below 2147483647 in size: the exponent form.
    EXPECT_EQ(row<int>(nullptr, {-2147483647 - 1}), sp(3) + "-2.147e+09\n");
    EXPECT_EQ(row<int>("%6x", {255}), sp(6) + "ff\n");
}

TEST_F(IntegerFormat, TakesIntegerConversionsOnlyButItsDefaultsStand) {
    int a[1] = {3};
    EXPECT_EQ(table<int>("", 1, 1, a, KORVS_WRITE_FORMAT, "%5.2f"), "<null>");
    EXPECT_TRUE(only_raised(5, 10007));
    clear();
    int setting = 2;
    korvs_write_options(KORVS_SET_FORMAT, &setting);
    EXPECT_EQ(table<int>("", 1, 1, a), sp(4) + "3.00000e+00\n");
    EXPECT_TRUE(errors().empty());
}

class FormatValidation : public output_test::OutputTest {
protected:
    // The code a format raises on a float table; 0 when it is accepted. The format comes
    // back in l1.
    int code_of(const char* format) {
        clear();
        float a[1] = {1};
        std::string text = table<float>("", 1, 1, a, KORVS_WRITE_FORMAT, format);
        if (errors().empty()) return 0;
        EXPECT_EQ(text, "<null>") << format;
        int code = errors().back().code;
        EXPECT_EQ(inserts("%(l1)"), format);
        return code;
    }
};

TEST_F(FormatValidation, EachFaultHasItsCode) {
    struct Case {
        const char* format;
        int code;
    };
    const Case cases[] = {
        {"", 10001},      {"%d", 10001},      {"ab", 10001},  {"abc", 10003},     {"x%5d", 10002},
        {"%5dx", 10002},  {"%5d %5d", 10002}, {"%*d", 10004}, {"%5.*f", 10004},   {"%41d", 10005},
        {"%5.6f", 10006}, {"%.11f", 10006},   {"%5q", 10007}, {"%5.2lf", 10007},  {"%5d%", 10007},
        {"%%5d", 10007},  {"%40d", 0},        {"%.10f", 0},   {"%-+ #010.3e", 0}, {"%W", 10001},
        {"%dx%d", 10002}, {"%5.5g%3i%4u", 0}, {"%E%G", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(code_of(c.format), c.code) << '"' << c.format << '"';
}

TEST_F(FormatValidation, AFaultIsTerminalAndPrintsNothing) {
    float a[1] = {1};
    korvs_test::UnitCapture out(2);
    korvs_f_write_matrix("title", 1, 1, a, KORVS_WRITE_FORMAT, "%5q", 0);
    EXPECT_TRUE(only_raised(5, 10007));
    EXPECT_EQ(out.text(), "");
}

TEST_F(FormatValidation, AMissingWidthCountsAsTen) {
    float a[1] = {1.5};
    EXPECT_EQ(table<float>("", 1, 1, a, KORVS_WRITE_FORMAT, "%.2f"), sp(8) + "1.50\n");
    EXPECT_EQ(table<float>("", 1, 1, a, KORVS_WRITE_FORMAT, "%.3W"), sp(9) + "1.5\n");
}

}  // namespace
