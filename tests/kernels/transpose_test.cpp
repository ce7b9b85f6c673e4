// korvs_f_m1ran: the in-place and out-of-place transpose of column-major matrices of
// many shapes against the index definition, in both precisions, and its two checks.
#include <gtest/gtest.h>

#include <string>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class Transpose : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Transpose, Types);

TYPED_TEST(Transpose, EveryShapeInPlaceAndIntoAnotherArray) {
    using T = TypeParam;
    const int sizes[] = {1, 2, 3, 5, 8, 13, 64, 101};
    unsigned seed = 1;
    for (int rows : sizes)
        for (int cols : sizes) {
            auto a = random_vector<T>(std::size_t(rows) * cols, seed++);
            std::vector<T> want(a.size());
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < cols; ++j) want[j + std::size_t(i) * cols] = a[i + std::size_t(j) * rows];
            std::vector<T> b(a.size(), T(0)), in_place = a;
            api::m1ran(rows, cols, a.data(), b.data());
            EXPECT_EQ(b, want) << rows << " by " << cols;
            api::m1ran(rows, cols, in_place.data(), in_place.data());
            EXPECT_EQ(in_place, want) << rows << " by " << cols << " in place";
            api::m1ran(cols, rows, in_place.data(), in_place.data());
            EXPECT_EQ(in_place, a) << "and back";
        }
    EXPECT_TRUE(this->errors().empty());
}

TYPED_TEST(Transpose, CountsBelowOneAreRefusedAndNothingMoves) {
    using T = TypeParam;
    std::vector<T> a = {1, 2, 3, 4}, keep = a;
    api::m1ran(0, 2, a.data(), a.data());
    EXPECT_TRUE(this->only_raised(5, 620));
    this->clear();
    api::m1ran(2, -1, a.data(), a.data());
    EXPECT_TRUE(this->only_raised(5, 621));
    EXPECT_EQ(a, keep);
    this->clear();
    api::m1ran(2, 2, a.data(), static_cast<T*>(nullptr));
    EXPECT_TRUE(this->only_raised(5, 6002));
}

// The trace name is the same in both precisions.
TYPED_TEST(Transpose, ReportsUnderOneNameInBothPrecisions) {
    using T = TypeParam;
    korvs_error_options(KORVS_SET_PRINT, 5, 1, 0);
    korvs_test::UnitCapture err(3);
    T a[1] = {0};
    api::m1ran(-3, 1, a, a);
    EXPECT_NE(err.text().find("M1RAN_F"), std::string::npos) << err.text();
}

}  // namespace
