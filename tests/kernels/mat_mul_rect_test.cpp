// korvs_f_mat_mul_rect: every expression form against a long double product of the
// row-major operands, the layout of the answer, and its option list with its errors.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

#include "kernels_api.hpp"
#include "korvs_test.hpp"

namespace {

template <class T, class... Args> T* mat_mul(const char* expression, Args... args) {
    if constexpr (std::is_same_v<T, float>) {
        return korvs_f_mat_mul_rect(expression, args...);
    } else {
        return korvs_d_mat_mul_rect(expression, args...);
    }
}

struct Dense {
    int rows = 0, cols = 0;
    std::vector<long double> v;
    long double& at(int i, int j) { return v[std::size_t(i) * cols + j]; }
};

// A is 3 by 4 stored with column dimension 6, B 4 by 3, x of length 3, y of length 4.
template <class T> class MatMulRect : public korvs_test::KorvsTest {
protected:
    std::vector<T> a = random_vector<T>(3 * 6, 1), b = random_vector<T>(4 * 3, 2);
    std::vector<T> x = random_vector<T>(3, 3), y = random_vector<T>(4, 4);

    // A factor "A" or "trans(A)"; of a transpose only the letter at 6 is read.
    Dense operand(const std::string& token) {
        const bool t = token.size() == 8;
        const char name = t ? token[6] : token[0];
        struct Stored {
            const T* data;
            int rows, cols, col_dim;
        } o = name == 'A'   ? Stored{a.data(), 3, 4, 6}
              : name == 'B' ? Stored{b.data(), 4, 3, 3}
              : name == 'x' ? Stored{x.data(), 3, 1, 1}
                            : Stored{y.data(), 4, 1, 1};
        Dense d{t ? o.cols : o.rows, t ? o.rows : o.cols,
                std::vector<long double>(std::size_t(o.rows) * o.cols)};
        for (int i = 0; i < o.rows; ++i)
            for (int j = 0; j < o.cols; ++j)
                (t ? d.at(j, i) : d.at(i, j)) = o.data[std::size_t(i) * o.col_dim + j];
        return d;
    }
    Dense reference(const std::string& expression) {
        std::istringstream factors(expression);
        std::string token;
        std::getline(factors, token, '*');
        Dense p = operand(token);
        while (std::getline(factors, token, '*')) {
            Dense q = operand(token),
                  r{p.rows, q.cols, std::vector<long double>(std::size_t(p.rows) * q.cols)};
            for (int i = 0; i < p.rows; ++i)
                for (int j = 0; j < q.cols; ++j)
                    for (int l = 0; l < p.cols; ++l)
                        r.at(i, j) += p.at(i, l) * q.at(l, j);
            p = r;
        }
        return p;
    }
    // The answer's rows lie col_dim apart (the product's columns when 0), the places behind them cleared.
    void expect_product(const T* r, const std::string& expression, int col_dim = 0) {
        ASSERT_NE(r, nullptr) << expression;
        Dense want = reference(expression);
        col_dim = col_dim ? col_dim : want.cols;
        for (int i = 0; i < want.rows; ++i)
            for (int j = 0; j < col_dim; ++j)
                EXPECT_NEAR(r[i * col_dim + j], j < want.cols ? T(want.at(i, j)) : T(0),
                            16 * std::numeric_limits<T>::epsilon())
                    << expression << " (" << i << ", " << j << ")";
    }
};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatMulRect, Types);

// Each product once allocated and once into the caller's array with its rows 5 apart,
// the places behind them cleared. Of two settings of one option the later counts: the
// first settings of A's column dimension, A and the answer's column dimension are replaced.
TYPED_TEST(MatMulRect, EveryExpressionFormMatchesTheReferenceProduct) {
    using T = TypeParam;
    const auto a = this->a, b = this->b, x = this->x, y = this->y;
    std::vector<T> zeros(3 * 6, T(0));
    // One operand; two matrices; a matrix and a vector; inner and outer products; three.
    std::istringstream expressions(
        "A trans(A) trans(A] x trans(y) B A*B B*A trans(A)*trans(B) trans(B)*trans(A) trans(A)*A A*y "
        "trans(A)*x B*x trans(y)*B trans(x)*A trans(y)*trans(A) trans(x)*trans(B) trans(x)*x trans(y)*y "
        "x*trans(y) y*trans(x) trans(x)*A*y A*B*x trans(y)*B*A B*A*B trans(A)*x*trans(x) x*trans(y)*B "
        "A*trans(A)*x");
    for (std::string e; expressions >> e;) {
        T* r = mat_mul<T>(e.c_str(), KORVS_A_MATRIX, 3, 4, a.data(), KORVS_A_COL_DIM, 6, KORVS_B_MATRIX, 4, 3,
                          b.data(), KORVS_X_VECTOR, 3, x.data(), KORVS_Y_VECTOR, 4, y.data(), 0);
        this->expect_product(r, e);
        std::free(r);
        std::vector<T> user(20, T(7));
        EXPECT_EQ(mat_mul<T>(e.c_str(), KORVS_A_COL_DIM, 2, KORVS_A_MATRIX, 3, 4, zeros.data(),
                             KORVS_RETURN_COL_DIM, 1, KORVS_A_MATRIX, 3, 4, a.data(), KORVS_A_COL_DIM, 6,
                             KORVS_B_MATRIX, 4, 3, b.data(), KORVS_X_VECTOR, 3, x.data(), KORVS_Y_VECTOR, 4,
                             y.data(), KORVS_RETURN_USER, user.data(), KORVS_RETURN_COL_DIM, 5, 0),
                  user.data());
        this->expect_product(user.data(), e, 5);
    }
    EXPECT_TRUE(this->errors().empty());
    EXPECT_TRUE(a == this->a && b == this->b && x == this->x && y == this->y);  // read, never written
    // Vectors of length 1: x*y is an outer product of two 1-vectors, trans(x)*y the inner one.
    T u = T(3), v = T(-2);
    for (const char* e : {"x*y", "trans(x)*y", "x*trans(y)"}) {
        T* r = mat_mul<T>(e, KORVS_X_VECTOR, 1, &u, KORVS_Y_VECTOR, 1, &v, 0);
        ASSERT_NE(r, nullptr) << e;
        EXPECT_EQ(r[0], T(-6)) << e;
        std::free(r);
    }
}

// The walk reports an unknown code by position and reads the next item as a code (a value
// read as a code would be reported last); a code below 1 ends it. Null arrays are refused
// during the walk; a failure after the caller's array was given still returns null.
TYPED_TEST(MatMulRect, ErrorsOfTheListTheShapesAndTheExpression) {
    using T = TypeParam;
    T *a = this->a.data(), *b = this->b.data(), *x = this->x.data(), *y = this->y.data(), *none = nullptr;
    T user[16];
    auto refused = [](const char* e, auto... options) {
        return [=] { EXPECT_EQ(mat_mul<T>(e, options..., 0), nullptr); };
    };
    auto with = [=](const char* e, int a_col_dim, int return_col_dim = -1) {
        return refused(e, KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, a_col_dim, KORVS_B_MATRIX, 4, 3, b,
                       KORVS_X_VECTOR, 3, x, KORVS_Y_VECTOR, 4, y, KORVS_RETURN_COL_DIM, return_col_dim);
    };
    const char *at = "%(i1) at %(i2)", *four = "%(i1) %(i2) %(i3) %(i4)";
    std::vector<korvs_test::ErrorCase> cases = {
        {"no expression", refused(nullptr)},
        {"no operand", refused("A"), 5, 20152, "%(l1)", "A"},
        {"unknown code", refused("A", 99999), 5, 103, at, "99999 at 2"},
        {"the walk goes on", refused("A", KORVS_A_MATRIX, 3, 4, a, 12345, KORVS_A_COL_DIM, 6), 5, 103, at,
         "12345 at 6"},
        {"code below 1", refused("A", -4, KORVS_A_MATRIX, 3, 4, a), 5, 103, at, "-4 at 2"},
        {"null matrix", refused("A", KORVS_A_MATRIX, 2, 2, none), 5, 104, "%(l1) %(l2)", "A KORVS_A_MATRIX"},
        {"null answer", refused("x", KORVS_X_VECTOR, 3, x, KORVS_RETURN_USER, none), 5, 104, "%(l1) %(l2)",
         "ans KORVS_RETURN_USER"},
        {"column dimension", with("A", 3), 5, 1024, "%(l1) %(i1) %(i2)", "A 4 3"},
        {"answer rows", with("A*B", 6, 2), 5, 20150, "%(i1) %(i2) %(l1)", "2 3 A*B"},
        {"two matrices", with("A*A", 6), 5, 20153, four, "3 4 3 4"},
        {"three matrices", with("A*B*B", 6), 5, 20154, "%(i1) %(i2) %(i3) %(i4) %(i5) %(i6)", "3 4 4 3 4 3"},
        {"after the caller's array",
         refused("A*A", KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, 6, KORVS_RETURN_USER, user), 5, 20153, four,
         "3 4 3 4"},
    };
    // Four operands, an unknown or lower-case name, an unclosed or empty factor.
    for (const char* e : {"A*B*x*y", "C", "a*B", "trans(A", "A**B", ""})
        cases.push_back({e, with(e, 6), 5, 20151, "%(l1)", e});
    this->expect_errors(cases);
}

}  // namespace
