// Internal kernels with no public door: the symmetric rank-one update of one triangle, and
// the guard that holds a row-major matrix column-major for a worker and restores it.
#include <gtest/gtest.h>

#include "frame/frame.hpp"
#include "kernels/kernels.hpp"
#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T> class Internal : public korvs_test::KorvsTest {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Internal, Types);

TYPED_TEST(Internal, SymmetricUpdateTouchesOneTriangleOnlyAndChecksItsArguments) {
    using T = TypeParam;
    const int n = 5, lda = 7;
    for (const char* uplo : {"U", "l"})
        for (int inc : {1, -2}) {
            auto x = random_vector<T>(span(n, inc), 3);
            auto want = random_vector<T>(lda * n, 4), got = want;
            for (int j = 0; j < n; ++j)
                for (int i = 0; i <= j; ++i)
                    (uplo[0] == 'U' ? want[i + j * lda] : want[j + i * lda]) +=
                        T(0.5) * x[offset(j, n, inc)] * x[offset(i, n, inc)];
            korvs::syr(uplo, n, T(0.5), x.data(), inc, got.data(), lda);
            EXPECT_EQ(got, want) << uplo << " " << inc;
        }
    EXPECT_TRUE(this->errors().empty());
    std::vector<T> a(9, 1), keep = a, x(3, 1);
    auto syr = [&](const char* uplo, int n, int lda, int inc) {
        return [=, &a, &x] { korvs::syr(uplo, n, T(1), x.data(), inc, a.data(), lda); };
    };
    this->expect_errors({{"n", syr("U", -1, 3, 1), 5, 2014},
                         {"lda", syr("U", 3, 2, 1), 5, 50055},
                         {"lda 0", syr("U", 0, 0, 1), 5, 50055},
                         {"inc", syr("U", 3, 3, 0), 5, 2015},
                         {"uplo", syr("X", 3, 3, 1), 5, 50056}});
    EXPECT_EQ(a, keep);
}

// A worker that reads its matrix column-major, then fails.
template <class T> void l_reads_then_fails(int rows, int cols, T* a, std::vector<T>* seen) {
    korvs::ColumnMajor<T> guard(rows, cols, a);
    seen->assign(a, a + rows * cols);
    korvs_ermes(5, 6002);
}

TYPED_TEST(Internal, CallersMatrixIsRestoredAfterAFailure) {
    using T = TypeParam;
    const int rows = 3, cols = 5;
    auto a = random_vector<T>(rows * cols, 8), original = a;
    std::vector<T> seen;
    korvs::run_frame("worker", [&] { l_reads_then_fails(rows, cols, a.data(), &seen); });
    EXPECT_TRUE(this->only_raised(5, 6002));
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            EXPECT_EQ(seen[i + j * rows], original[i * cols + j]) << i << " " << j;
    EXPECT_EQ(a, original);
}

}  // namespace
