// The option walker, outputs and work space through a routine with options written as a
// worker of the library is; the argument checks with their codes and inserts.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <functional>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "korvs_test.hpp"

namespace {

using korvs::Shape;

// The settings the probe ended its walk with.
struct Seen {
    double lower, upper;
    int col_dim;
    bool walked;
} seen;

// probe(n, ...): a result of n elements i + lower, and through KORVS_MEANS or
// KORVS_MEANS_USER n more, i + upper. n = 13 fails after the arrays were filled.
template <class T> void l_probe(int n, korvs::OptionList& opt, T** result) {
    T lower = T(-1), upper = T(-1);
    int col_dim = -1;
    korvs::Output<T> answer, means;
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
    for (int i = 0; i < n; ++i)
        answer.data()[i] = T(i) + lower;
    if (means.wanted())
        for (int i = 0; i < n; ++i)
            means.data()[i] = T(i) + upper;
    if (n == 13) {
        korvs_ermes(4, 11055);
        return;
    }
    means.release();
    *result = answer.release();
}

template <class T> T* probe(int n, ...) {
    T* r = nullptr;
    va_list ap;
    va_start(ap, n);
    korvs::OptionList opt(&ap, 1);
    seen = {};
    korvs::run_frame("probe", [&] { l_probe(n, opt, &r); });
    va_end(ap);
    return r;
}

class OptionWalk : public korvs_test::KorvsTest {};

// A floating value arrives as double and is narrowed at once in the float twin; an _ADR
// form reads at the routine's precision; of two settings, or of a plain and a _USER form
// of one output, the later wins.
TEST_F(OptionWalk, DefaultsAddressFormsAndTheLaterSetting) {
    float* r = probe<float>(3, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(seen.lower == -1 && seen.col_dim == -1 && r[2] == 1.0f);
    std::free(r);
    std::free(probe<float>(1, KORVS_KNOWN_BOUNDS, 2.5f, 0.1, 0));
    EXPECT_TRUE(seen.lower == 2.5 && seen.upper == double(0.1f));
    std::free(probe<double>(1, KORVS_KNOWN_BOUNDS, 2.5f, 0.1, 0));
    EXPECT_EQ(seen.upper, 0.1);
    float lo = 1.25f, hi = 7.5f;
    std::free(probe<float>(1, KORVS_KNOWN_BOUNDS, 2.0, 3.0, KORVS_KNOWN_BOUNDS_ADR, &lo, &hi, 0));
    EXPECT_TRUE(seen.lower == 1.25 && seen.upper == 7.5);
    std::free(probe<float>(1, KORVS_KNOWN_BOUNDS_ADR, &lo, &hi, KORVS_KNOWN_BOUNDS, 2.0, 3.0, 0));
    EXPECT_EQ(seen.lower, 2.0);
    double dlo = 0.1;
    std::free(
        probe<double>(1, KORVS_KNOWN_BOUNDS_ADR, &dlo, &dlo, KORVS_X_COL_DIM, 4, KORVS_X_COL_DIM, 9, 0));
    EXPECT_TRUE(seen.lower == 0.1 && seen.col_dim == 9);
    EXPECT_TRUE(errors().empty());
    float user[3] = {0, 0, 0}, other[3] = {0, 0, 0};
    float* means = user;  // a sentinel, never to be overwritten
    std::free(probe<float>(3, KORVS_KNOWN_BOUNDS, 0.0, 10.0, KORVS_MEANS, &means, KORVS_MEANS_USER, user, 0));
    EXPECT_TRUE(user[2] == 12.0f && means == user);
    std::free(
        probe<float>(3, KORVS_KNOWN_BOUNDS, 0.0, 10.0, KORVS_MEANS_USER, other, KORVS_MEANS, &means, 0));
    ASSERT_NE(means, user);
    EXPECT_TRUE(means[2] == 12.0f && other[2] == 0.0f);
    std::free(means);
}

// An unknown code ends the walk; a null array is reported and the walk goes on. A failed
// run hands out nothing and frees what it allocated.
TEST_F(OptionWalk, ErrorsOfTheWalkAndOfAFailedRun) {
    float lo = 0, user[13];
    float* means = user;
    expect_errors({
        {"null _ADR",
         [&] { EXPECT_EQ(probe<float>(1, KORVS_KNOWN_BOUNDS_ADR, &lo, (float*)nullptr, 0), nullptr); }, 5,
         104, "%(l1) %(l2)", "upper KORVS_KNOWN_BOUNDS_ADR"},
        {"unknown first code", [] { EXPECT_EQ(probe<float>(2, 777, KORVS_X_COL_DIM, 4, 0), nullptr); }, 5,
         11001, "%(i1) at %(i2)", "777 at 2"},
        {"unknown code later",
         [&] { probe<float>(2, KORVS_KNOWN_BOUNDS, 1.0, 2.0, KORVS_KNOWN_BOUNDS_ADR, &lo, &lo, -3, 0); }, 5,
         11001, "%(i1) at %(i2)", "-3 at 8"},
        {"null _USER",
         [] {
             EXPECT_EQ(probe<float>(2, KORVS_MEANS_USER, (float*)nullptr, KORVS_X_COL_DIM, 5, 0), nullptr);
         },
         5, 104, "%(l1) %(l2)", "means KORVS_MEANS_USER"},
        {"failed run", [&] { EXPECT_EQ(probe<float>(13, KORVS_MEANS, &means, 0), nullptr); }, 4, 11055},
        {"failed run, caller's array",
         [&] { EXPECT_EQ(probe<float>(13, KORVS_RETURN_USER, user, 0), nullptr); }, 4, 11055},
    });
    EXPECT_EQ(means, nullptr);
    EXPECT_EQ(user[12], 11.0f);  // the caller's array may have been written
    probe<float>(2, KORVS_MEANS_USER, (float*)nullptr, KORVS_X_COL_DIM, 5, 0);
    EXPECT_EQ(seen.col_dim, 5);
    probe<float>(2, 777, KORVS_X_COL_DIM, 4, 0);
    EXPECT_FALSE(seen.walked);
}

// A check run inside a frame of the caller's, as a worker runs it; every check counts itself.
template <class F> std::function<void()> checked(F check) {
    return [check] {
        int count = 0;
        korvs_e1psh("checks");
        check(&count);
        korvs_e1pop("checks");
        EXPECT_GE(count, 1);
    };
}

template <class T> std::function<void()> allocated(Shape shape, bool ok = false) {
    return checked([shape, ok](int* count) { *count += bool(korvs::Workspace<T>(shape)) == ok; });
}

// The frequency and weight of row `row` of x (4 rows: frequencies, weights) with their status:
// 0 usable, 1 zero frequency, 2 missing (the count moved by the increment), 3 negative.
template <class T>
std::function<void()> weight_row(const T* x, int group_mode, int row, int increment, int status, int missing,
                                 double freq = 0, double weight = 0) {
    return checked([=](int* count) {
        int moved = 0, got = -1;
        T f = 0, w = 0;
        korvs::check_weight_row(group_mode, 4, x, 4, row, increment, 1, 2, &moved, &f, &w, &got);
        auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
        EXPECT_TRUE(got == status && moved == missing) << got << " " << moved;
        EXPECT_TRUE(status % 2 == 1 || (same(f, freq) && same(w, weight))) << f << " " << w;
        ++*count;
    });
}

class Checks : public korvs_test::KorvsTest {};

// The checks that workers share, those not met through an exported routine.
TEST_F(Checks, EachRuleWithItsCodeAndInserts) {
    // Column-major 3 by 3, lda 4: a(1,1) is zero, a(2,1) is not; b has zeros below its zero.
    const double a[12] = {2, 1, 0, 9, 0, 0, 5, 9, 0, 0, 3, 9}, nan = std::nan("");
    const float b[4] = {0, 0, 1, 1};
    const double x[8] = {2, 0, nan, 3, 0.5, 1, 1, nan};
    const float y[8] = {-2, 1, 0, 0, 1, -3, 0, 0};
    const char* negative = "%(i1) %(r1%g)";
    expect_errors({
        {"above", checked([](int* k) { korvs::check_range(7, "n", 1, 5, k); }), 5, 602,
         "%(i1) %(i2) %(i3) %(l1)", "7 1 5 n"},
        {"dimension bound", checked([](int* k) { korvs::check_dimension(1, 6, "n_rows", 5, "ldx", k); }), 5,
         601, "%(l1) %(l2)", "n_rows ldx"},
        {"dimension no bound", checked([](int* k) { korvs::check_dimension(1, 6, "n_rows", 0, "ldx", k); })},
        {"NaN", checked([](int* k) { korvs::check_nonnegative(std::nan(""), "tolerance", k); }), 5, 11061,
         "%(l1)", "tolerance"},
        {"zero", checked([](int* k) { korvs::check_nonnegative(0.0f, "tolerance", k); })},
        {"zero diagonal", checked([&](int* k) { korvs::check_zero_diagonal(3, a, 4, k); }), 5, 11060,
         "%(i1) %(i2) %(r1%g) %(r2%g)", "1 2 0 5"},
        {"zero diagonal, zeros below", checked([&](int* k) { korvs::check_zero_diagonal(2, b, 2, k); })},
        {"rows", allocated<double>(Shape(-5, "n_rows")), 5, 201, "%(i1) %(l1)", "-5 n_rows"},
        {"rows by columns", allocated<double>(Shape(INT_MAX, "n_rows", INT_MAX, "n_columns")), 5, 202,
         "%(i1) %(l1) %(i2) %(l2)", "2147483647 n_rows 2147483647 n_columns"},
        {"three factors", allocated<float>(Shape(INT_MAX, "a", INT_MAX, "b", 9, "c")), 5, 203,
         "%(i1) %(l1) %(i2) %(l2) %(i3) %(l3)", "2147483647 a 2147483647 b 9 c"},
        {"count", allocated<double>(Shape::count(-1)), 5, 200},
        {"empty array, no failure", allocated<double>(Shape(0, "n"), true)},
        {"usable row", weight_row(x, 0, 0, 1, 0, 0, 2, 0.5)},
        {"zero frequency", weight_row(x, 0, 1, 1, 1, 0)},
        {"missing frequency", weight_row(x, 0, 2, -1, 2, -1, nan, 1)},
        {"missing weight", weight_row(x, 0, 3, 1, 2, 1, 3, nan)},
        {"deletion", weight_row(x, 0, 0, -1, 0, 0, -2, 0.5)},
        {"negative frequency", weight_row(y, 0, 0, 1, 3, 0), 4, 11055, negative, "0 -2"},
        {"negative weight", weight_row(y, 0, 1, 1, 3, 0), 4, 11057, negative, "1 -3"},
        {"negative weight of a group", weight_row(y, 1, 1, 1, 3, 0), 4, 11056, "%(i1) %(r1%g) g%(i2)",
         "1 -3 g4"},
    });
}

}  // namespace
