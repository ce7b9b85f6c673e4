// The option walker, outputs, work space and argument checks through a test-only
// routine with options, written as a worker of the library is: defaults, values at
// their widths, _ADR and _USER forms, the later of two settings, unknown codes by
// position, allocation failures with their inserts, and clean-up on failure.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <limits>
#include <string>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "korvs_test.hpp"

namespace {

using korvs::OptionList;
using korvs::Output;
using korvs::Shape;

using korvs_test::inserts;

// The settings the probe ended its walk with.
struct Seen {
    double lower, upper;
    int col_dim;
    bool walked;
} seen;

// probe(n, ...): a result of n elements (i + lower), and through KORVS_MEANS /
// KORVS_MEANS_USER n more (i + upper). n = 13 fails after the arrays were filled.
template <class T> void l_probe(int n, OptionList& opt, T** result) {
    T lower = T(-1), upper = T(-1);
    int col_dim = -1;
    Output<T> answer, means;
    answer.set_plain(nullptr);
    for (int code; (code = opt.code()) != 0;) {
        switch (code) {
        case KORVS_KNOWN_BOUNDS:
            lower = opt.real<T>();
            upper = opt.real<T>();
            break;
        case KORVS_KNOWN_BOUNDS_ADR:
            opt.real_at(lower, "lower", "KORVS_KNOWN_BOUNDS_ADR");
            opt.real_at(upper, "upper", "KORVS_KNOWN_BOUNDS_ADR");
            break;
        case KORVS_RETURN_USER: answer.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_MEANS: means.set_plain(opt.pointer<T*>()); break;
        case KORVS_MEANS_USER: means.set_user(opt.user<T>("means", "KORVS_MEANS_USER")); break;
        case KORVS_X_COL_DIM: col_dim = opt.integer(); break;
        default: opt.unknown(code); return;
        }
    }
    seen = {double(lower), double(upper), col_dim, true};
    if (korvs_n1rty(0) > 0) return;
    if (!answer.allocate(Shape(n, "n")) || !means.allocate(Shape(n, "n"))) return;
    for (int i = 0; i < n; ++i) answer.data()[i] = T(i) + lower;
    if (means.wanted())
        for (int i = 0; i < n; ++i) means.data()[i] = T(i) + upper;
    if (n == 13) {
        korvs_ermes(4, 11055);
        return;
    }
    means.release();
    *result = answer.release();
}

float* probe_f(int n, ...) {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n);
    OptionList opt(&ap, 1);
    seen = {};
    korvs::run_frame("probe_f", [&] { l_probe(n, opt, &r); });
    va_end(ap);
    return r;
}

double* probe_d(int n, ...) {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n);
    OptionList opt(&ap, 1);
    seen = {};
    korvs::run_frame("probe_d", [&] { l_probe(n, opt, &r); });
    va_end(ap);
    return r;
}

class OptionWalk : public korvs_test::KorvsTest {};

TEST_F(OptionWalk, AnEmptyListGivesEveryDefault) {
    float* r = probe_f(3, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(seen.lower, -1.0);
    EXPECT_EQ(seen.col_dim, -1);
    EXPECT_EQ(r[2], 1.0f);
    std::free(r);
    EXPECT_TRUE(errors().empty());
}

TEST_F(OptionWalk, FloatingValuesArriveAsDoubleAndAreNarrowedInTheFloatTwin) {
    std::free(probe_f(1, KORVS_KNOWN_BOUNDS, 2.5f, 0.1, 0));
    EXPECT_EQ(seen.lower, 2.5);
    EXPECT_EQ(seen.upper, double(0.1f));  // narrowed at once
    std::free(probe_d(1, KORVS_KNOWN_BOUNDS, 2.5f, 0.1, 0));
    EXPECT_EQ(seen.upper, 0.1);
}

TEST_F(OptionWalk, AddressFormsReadAtTheRoutinesPrecisionAndTheLaterOneWins) {
    float lo = 1.25f, hi = 7.5f;
    std::free(probe_f(1, KORVS_KNOWN_BOUNDS, 2.0, 3.0, KORVS_KNOWN_BOUNDS_ADR, &lo, &hi, 0));
    EXPECT_EQ(seen.lower, 1.25);
    EXPECT_EQ(seen.upper, 7.5);
    std::free(probe_f(1, KORVS_KNOWN_BOUNDS_ADR, &lo, &hi, KORVS_KNOWN_BOUNDS, 2.0, 3.0, 0));
    EXPECT_EQ(seen.lower, 2.0);
    double dlo = 0.1;
    std::free(probe_d(1, KORVS_KNOWN_BOUNDS_ADR, &dlo, &dlo, KORVS_X_COL_DIM, 4, KORVS_X_COL_DIM, 9, 0));
    EXPECT_EQ(seen.lower, 0.1);
    EXPECT_EQ(seen.col_dim, 9);
    EXPECT_TRUE(errors().empty());
    EXPECT_EQ(probe_f(1, KORVS_KNOWN_BOUNDS_ADR, &lo, static_cast<float*>(nullptr), 0), nullptr);
    EXPECT_TRUE(only_raised(5, 104));
    EXPECT_EQ(inserts("%(l1) %(l2)"), "upper KORVS_KNOWN_BOUNDS_ADR");
}

TEST_F(OptionWalk, AnUnknownCodeEndsTheWalkWithItsPosition) {
    EXPECT_EQ(probe_f(2, 777, KORVS_X_COL_DIM, 4, 0), nullptr);
    EXPECT_TRUE(only_raised(5, 11001));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "777 at 2");
    EXPECT_FALSE(seen.walked);
    clear();
    float lo = 0;
    EXPECT_EQ(probe_f(2, KORVS_KNOWN_BOUNDS, 1.0, 2.0, KORVS_KNOWN_BOUNDS_ADR, &lo, &lo, -3, 0), nullptr);
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "-3 at 8");
}

TEST_F(OptionWalk, ANullUserArrayIsRefusedDuringTheWalkAndNothingIsComputed) {
    EXPECT_EQ(probe_f(2, KORVS_MEANS_USER, static_cast<float*>(nullptr), KORVS_X_COL_DIM, 5, 0), nullptr);
    EXPECT_TRUE(only_raised(5, 104));
    EXPECT_EQ(inserts("%(l1) %(l2)"), "means KORVS_MEANS_USER");
    EXPECT_EQ(seen.col_dim, 5);  // the walk went on
}

TEST_F(OptionWalk, ThePlainAndUserFormsOfAnOutputWriteOneSetting) {
    float user[3] = {0, 0, 0};
    float* means = reinterpret_cast<float*>(&user);  // a sentinel, never to be overwritten
    float* r = probe_f(3, KORVS_KNOWN_BOUNDS, 0.0, 10.0, KORVS_MEANS, &means, KORVS_MEANS_USER, user, 0);
    EXPECT_EQ(user[2], 12.0f);
    EXPECT_EQ(means, reinterpret_cast<float*>(&user));
    std::free(r);
    float other[3] = {0, 0, 0};
    r = probe_f(3, KORVS_KNOWN_BOUNDS, 0.0, 10.0, KORVS_MEANS_USER, other, KORVS_MEANS, &means, 0);
    ASSERT_NE(means, reinterpret_cast<float*>(&user));
    EXPECT_EQ(means[2], 12.0f);
    EXPECT_EQ(other[2], 0.0f);
    std::free(means);
    std::free(r);
}

TEST_F(OptionWalk, AFailedRunHandsOutNothingAndFreesWhatItAllocated) {
    float* means = reinterpret_cast<float*>(this);
    float user[13];
    EXPECT_EQ(probe_f(13, KORVS_MEANS, &means, 0), nullptr);
    EXPECT_EQ(means, nullptr);
    EXPECT_TRUE(only_raised(4, 11055));
    clear();
    // The caller's array may have been written, but the routine still returns null.
    EXPECT_EQ(probe_f(13, KORVS_RETURN_USER, user, 0), nullptr);
    EXPECT_EQ(user[12], 11.0f);
}

TEST_F(OptionWalk, AllocationFailuresReportSizesAndNames) {
    struct Case {
        Shape shape;
        int code;
        const char *text, *inserts;
    } cases[] = {
        {Shape(-5, "n_rows"), 201, "%(i1) %(l1)", "-5 n_rows"},
        {Shape(INT_MAX, "n_rows", INT_MAX, "n_columns"), 202, "%(i1) %(l1) %(i2) %(l2)",
         "2147483647 n_rows 2147483647 n_columns"},
        {Shape(INT_MAX, "a", INT_MAX, "b", 9, "c"), 203, "%(i1) %(l1) %(i2) %(l2) %(i3) %(l3)",
         "2147483647 a 2147483647 b 9 c"},
        {Shape::count(-1), 200, "", ""},
    };
    for (const Case& c : cases) {
        clear();
        korvs_e1psh("probe");
        korvs::Workspace<double> w(c.shape);
        EXPECT_FALSE(w);
        korvs_e1pop("probe");
        EXPECT_TRUE(only_raised(5, c.code)) << c.code;
        if (c.text[0]) {
            EXPECT_EQ(inserts(c.text), c.inserts);
        }
    }
    korvs::Workspace<double> empty(Shape(0, "n"));
    EXPECT_TRUE(empty);  // an empty array is not a failure
}

// The helpers: each row breaks one rule, with its code, type and inserts.
class Checks : public korvs_test::KorvsTest {
protected:
    template <class F> void expect(F call, int type, int code, const char* text, const char* want) {
        clear();
        int count = 0;
        korvs_e1psh("checks");
        call(&count);
        korvs_e1pop("checks");
        EXPECT_GE(count, 1);
        if (code == 0) {
            EXPECT_TRUE(errors().empty()) << want;
            return;
        }
        EXPECT_TRUE(only_raised(type, code)) << want;
        EXPECT_EQ(inserts(text), want);
    }
};

TEST_F(Checks, RangeNotAboveAndDimension) {
    expect([](int* k) { korvs::check_range(7, "n", 1, 5, k); }, 5, 602, "%(i1) %(i2) %(i3) %(l1)", "7 1 5 n");
    expect([](int* k) { korvs::check_range(0, "n", 1, -1, k); }, 5, 603, "%(i1) %(i2) %(l1)", "0 1 n");
    expect([](int* k) { korvs::check_range(5, "n", 1, 5, k); }, 0, 0, "", "5 in 1..5");
    expect([](int* k) { korvs::check_range(99, "n", 1, -1, k); }, 0, 0, "", "99 above 1");
    expect([](int* k) { korvs::check_not_above(4, "n_best", 3, "n_saved", k); }, 5, 601, "%(i1) %(i2) %(l1) %(l2)",
           "4 3 n_best n_saved");
    expect([](int* k) { korvs::check_dimension(1, 0, "n_rows", 5, "ldx", k); }, 5, 603, "%(i1) %(i2) %(l1)",
           "0 1 n_rows");
    expect([](int* k) { korvs::check_dimension(1, 6, "n_rows", 5, "ldx", k); }, 5, 601, "%(l1) %(l2)", "n_rows ldx");
    expect([](int* k) { korvs::check_dimension(1, 6, "n_rows", 0, "ldx", k); }, 0, 0, "", "no bound");
    expect([](int* k) { korvs::check_nonnegative(-0.5f, "tolerance", k); }, 5, 11061, "%(r1%g) %(l1)",
           "-0.5 tolerance");
    expect([](int* k) { korvs::check_nonnegative(std::nan(""), "tolerance", k); }, 5, 11061, "%(l1)", "tolerance");
    expect([](int* k) { korvs::check_nonnegative(0.0, "tolerance", k); }, 0, 0, "", "zero is allowed");
}

TEST_F(Checks, ZeroDiagonalWithANonzeroBelowIt) {
    // Column-major 3 by 3, lda 4: a(1,1) is zero, a(2,1) is not.
    const double a[12] = {2, 1, 0, 9, 0, 0, 5, 9, 0, 0, 3, 9};
    expect([&](int* k) { korvs::check_zero_diagonal(3, a, 4, k); }, 5, 11060, "%(i1) %(i2) %(r1%g) %(r2%g)", "1 2 0 5");
    const float b[4] = {0, 0, 1, 1};  // a zero diagonal with zeros below it is fine
    expect([&](int* k) { korvs::check_zero_diagonal(2, b, 2, k); }, 0, 0, "", "clean");
}

TEST(WeightRow, StatusMissingCountAndSign) {
    korvs_test::quiet();
    const double nan = std::nan("");
    // Column-major, 4 rows: column 1 frequencies, column 2 weights.
    const double x[8] = {2, 0, nan, 3, 0.5, 1, 1, nan};
    struct Case {
        int row, increment;
        int status, missing;
        double freq, weight;
    } cases[] = {
        {0, 1, 0, 0, 2, 0.5}, {1, 1, 1, 0, 0, 0}, {2, 1, 2, 1, nan, 1}, {3, 1, 2, 1, 3, nan}, {0, -1, 0, 0, -2, 0.5},
        {2, -1, 2, -1, nan, 1},
    };
    for (const Case& c : cases) {
        int missing = 0, status = -1;
        double freq = 0, weight = 0;
        korvs::check_weight_row(0, 0, x, 4, c.row, c.increment, 1, 2, &missing, &freq, &weight, &status);
        EXPECT_EQ(status, c.status) << c.row;
        EXPECT_EQ(missing, c.missing) << c.row;
        if (c.status != 1) {
            EXPECT_TRUE(freq == c.freq || (std::isnan(freq) && std::isnan(c.freq))) << c.row;
            EXPECT_TRUE(weight == c.weight || (std::isnan(weight) && std::isnan(c.weight))) << c.row;
        }
    }
    // No columns: frequency and weight 1.
    int missing = 0, status = -1;
    float freq = 0, weight = 0;
    const float none[1] = {0};
    korvs::check_weight_row(0, 0, none, 1, 0, 1, 0, 0, &missing, &freq, &weight, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(freq, 1.0f);
    EXPECT_EQ(weight, 1.0f);
}

class WeightRowErrors : public korvs_test::KorvsTest {};

TEST_F(WeightRowErrors, NegativeFrequencyOrWeightIsFatalWithItsGroup) {
    const float x[4] = {-2, 1, 1, -3};  // 2 rows: frequencies, weights
    struct Case {
        int group_mode, row, code;
        const char* want;
    } cases[] = {{0, 0, 11055, "0 -2"}, {1, 0, 11054, "0 -2 g4"}, {0, 1, 11057, "1 -3"}, {1, 1, 11056, "1 -3 g4"}};
    for (const Case& c : cases) {
        clear();
        int missing = 0, status = -1;
        float freq = 0, weight = 0;
        korvs_e1psh("rows");
        korvs::check_weight_row(c.group_mode, 4, x, 2, c.row, 1, 1, 2, &missing, &freq, &weight, &status);
        korvs_e1pop("rows");
        EXPECT_EQ(status, 3);
        EXPECT_TRUE(only_raised(4, c.code)) << c.code;
        EXPECT_EQ(inserts(c.group_mode ? "%(i1) %(r1%g) g%(i2)" : "%(i1) %(r1%g)"), c.want);
    }
}

TEST_F(Checks, ColumnDimensionIsSettledOrRefused) {
    int d = -1;
    EXPECT_TRUE(korvs::settle_col_dim(d, 4, "A"));
    EXPECT_EQ(d, 4);
    d = 3;
    korvs_e1psh("dims");
    EXPECT_FALSE(korvs::settle_col_dim(d, 4, "A"));
    korvs_e1pop("dims");
    EXPECT_TRUE(only_raised(5, 1024));
    EXPECT_EQ(inserts("%(l1) %(i1) %(i2)"), "A 4 3");
}

}  // namespace
