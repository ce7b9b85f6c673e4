// The scaled complement exp(x^2) erfc(x), which has no public door: against the
// 50-digit oracle in both twins and across its branches, and its two limits.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "accuracy.hpp"
#include "frame/frame.hpp"
#include "korvs_test.hpp"
#include "special/erf.hpp"

using korvs_test::KorvsTest;

namespace {

template <class T> class ScaledComplement : public KorvsTest {};
using Twins = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ScaledComplement, Twins);

// l_erfce through a frame of the caller's, as the inverse of erfc calls it.
template <class T> T erfce(T x, int* lengths) {
    T r = 0;
    korvs::run_traced("erfce_caller", [&] { r = korvs::l_erfce(x, lengths); });
    return r;
}

TYPED_TEST(ScaledComplement, AgainstTheOracle) {
    using T = TypeParam;
    const korvs_test::OracleTable table = korvs_test::read_oracle("erf.csv");
    const std::size_t column = table.column("erfce");
    int lengths[3] = {0, 0, 0};
    korvs_test::Accuracy accuracy("erfce");
    const T xmin = T(0.01) - std::sqrt(std::log(std::numeric_limits<T>::max() / 2));
    for (const auto& row : table.rows) {
        T x = static_cast<T>(row.input);
        if (x < xmin) continue;
        T got = erfce(x, lengths);
        accuracy.add(x, got, row.v[column], korvs_test::error_in_eps(got, row.v[column]));
    }
    constexpr double tier = 3.5;  // the tier of erfc, whose cancellation below x = 1 it shares
    EXPECT_TRUE(accuracy.within(tier));
    EXPECT_GT(accuracy.count(), 900);
    EXPECT_GT(lengths[0], 0);
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(ScaledComplement, Limits) {
    using T = TypeParam;
    int lengths[3] = {0, 0, 0};
    const T xmin = T(0.01) - std::sqrt(std::log(std::numeric_limits<T>::max() / 2));
    EXPECT_TRUE(std::isnan(erfce(T(1.01) * xmin, lengths)));
    EXPECT_TRUE(this->only_raised(4, 9012));
    EXPECT_EQ(korvs_error_code(), 9012);
    this->clear();
    EXPECT_EQ(erfce(std::numeric_limits<T>::max(), lengths), T(0));
    EXPECT_TRUE(this->only_raised(2, 9015));
    this->clear();
    // exp(x^2) erfc(x) behaves as 1/(x sqrt(pi)) far out, and is 1 at 0.
    EXPECT_NEAR(erfce(T(1e10), lengths) * T(1e10) * T(1.7724538509055159), 1, 1e-6);
    EXPECT_EQ(erfce(T(0), lengths), T(1));
    EXPECT_TRUE(this->errors().empty());
}

}  // namespace
