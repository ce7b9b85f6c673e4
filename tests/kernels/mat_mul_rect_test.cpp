// korvs_f_mat_mul_rect: every expression form against a long double product of the
// row-major operands, the layout of the answer, and its option list with its errors.
#include <gtest/gtest.h>

#include <cmath>
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

template <class T> Dense dense(int rows, int cols, int col_dim, const T* data, bool transposed) {
    Dense d{transposed ? cols : rows, transposed ? rows : cols, {}};
    d.v.resize(std::size_t(d.rows) * d.cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            (transposed ? d.at(j, i) : d.at(i, j)) = data[std::size_t(i) * col_dim + j];
    return d;
}

Dense multiply(Dense a, Dense b) {
    Dense p{a.rows, b.cols, std::vector<long double>(std::size_t(a.rows) * b.cols, 0.0L)};
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < b.cols; ++j)
            for (int l = 0; l < a.cols; ++l)
                p.at(i, j) += a.at(i, l) * b.at(l, j);
    return p;
}

// A is 3 by 4 stored with column dimension 6, B 4 by 3, x of length 3, y of length 4.
template <class T> class MatMulRect : public korvs_test::KorvsTest {
protected:
    std::vector<T> a = random_vector<T>(3 * 6, 1), b = random_vector<T>(4 * 3, 2);
    std::vector<T> x = random_vector<T>(3, 3), y = random_vector<T>(4, 4);

    Dense operand(const std::string& token) {
        bool t = token.size() == 8;
        char name = t ? token[6] : token[0];
        switch (name) {
        case 'A': return dense(3, 4, 6, a.data(), t);
        case 'B': return dense(4, 3, 3, b.data(), t);
        case 'x': return dense(3, 1, 1, x.data(), t);
        default: return dense(4, 1, 1, y.data(), t);
        }
    }
    Dense reference(const std::string& expression) {
        std::size_t start = 0, star;
        Dense p;
        bool first = true;
        do {
            star = expression.find('*', start);
            Dense o = operand(expression.substr(start, star - start));
            p = first ? o : multiply(p, o);
            first = false;
            start = star + 1;
        } while (star != std::string::npos);
        return p;
    }
    T* all(const char* expression) {
        return mat_mul<T>(expression, KORVS_A_MATRIX, 3, 4, a.data(), KORVS_A_COL_DIM, 6, KORVS_B_MATRIX, 4,
                          3, b.data(), KORVS_X_VECTOR, 3, x.data(), KORVS_Y_VECTOR, 4, y.data(), 0);
    }
};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatMulRect, Types);

TYPED_TEST(MatMulRect, EveryExpressionFormMatchesTheReferenceProduct) {
    using T = TypeParam;
    const auto a = this->a, b = this->b, x = this->x;
    // One operand; two matrices; a matrix and a vector; inner and outer products; three.
    std::istringstream expressions(
        "A trans(A) x trans(y) B A*B B*A trans(A)*trans(B) trans(B)*trans(A) trans(A)*A A*y trans(A)*x B*x "
        "trans(B)*y trans(x)*A trans(y)*trans(A) trans(x)*trans(B) trans(x)*x trans(y)*y x*trans(y) "
        "y*trans(x) "
        "trans(x)*A*y A*B*x trans(y)*B*A B*A*B trans(A)*x*trans(x) x*trans(y)*B A*trans(A)*x");
    for (std::string e; expressions >> e;) {
        this->clear();
        T* r = this->all(e.c_str());
        ASSERT_NE(r, nullptr) << e;
        Dense want = this->reference(e);
        for (int i = 0; i < want.rows; ++i)
            for (int j = 0; j < want.cols; ++j)
                EXPECT_NEAR(r[i * want.cols + j], (T)want.at(i, j), 16 * std::numeric_limits<T>::epsilon())
                    << e << " (" << i << ", " << j << ")";
        EXPECT_TRUE(this->errors().empty()) << e;
        std::free(r);
    }
    EXPECT_EQ(a, this->a);  // the operands are read, never written
    EXPECT_EQ(b, this->b);
    EXPECT_EQ(x, this->x);
}

// Vectors of length 1: x*y is an outer product of two 1-vectors and goes the general
// way, trans(x)*y is the inner product.
TYPED_TEST(MatMulRect, VectorsOfLengthOne) {
    using T = TypeParam;
    T u = T(3), v = T(-2);
    for (const char* e : {"x*y", "trans(x)*y", "x*trans(y)"}) {
        T* r = mat_mul<T>(e, KORVS_X_VECTOR, 1, &u, KORVS_Y_VECTOR, 1, &v, 0);
        ASSERT_NE(r, nullptr) << e;
        EXPECT_EQ(r[0], T(-6)) << e;
        std::free(r);
    }
}

// The answer's rows lie the return column dimension apart, the places behind them cleared.
TYPED_TEST(MatMulRect, AnswerRowsFollowTheReturnColumnDimension) {
    using T = TypeParam;
    T *a = this->a.data(), *x = this->x.data(), *y = this->y.data(), column[6], scalar[3] = {7, 7, 7};
    const struct {
        const char* e;
        int col_dim;
        T* r;
    } cases[] = {
        {"A*B", 5,
         mat_mul<T>("A*B", KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, 6, KORVS_B_MATRIX, 4, 3, this->b.data(),
                    KORVS_RETURN_COL_DIM, 5, 0)},
        {"A*y", 2,
         mat_mul<T>("A*y", KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, 6, KORVS_Y_VECTOR, 4, y,
                    KORVS_RETURN_USER, column, KORVS_RETURN_COL_DIM, 2, 0)},
        {"trans(x)*A*y", 3,
         mat_mul<T>("trans(x)*A*y", KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, 6, KORVS_X_VECTOR, 3, x,
                    KORVS_Y_VECTOR, 4, y, KORVS_RETURN_USER, scalar, KORVS_RETURN_COL_DIM, 3, 0)},
    };
    EXPECT_EQ(cases[1].r, column);
    EXPECT_EQ(cases[2].r, scalar);
    for (const auto& c : cases) {
        ASSERT_NE(c.r, nullptr) << c.e;
        Dense want = this->reference(c.e);
        for (int i = 0; i < want.rows; ++i)
            for (int j = 0; j < c.col_dim; ++j)
                EXPECT_NEAR(c.r[i * c.col_dim + j], j < want.cols ? (T)want.at(i, j) : T(0),
                            16 * std::numeric_limits<T>::epsilon())
                    << c.e << " (" << i << ", " << j << ")";
    }
    std::free(cases[0].r);
}

TYPED_TEST(MatMulRect, OnlySixCharactersAndTheLetterOfATransposeCount) {
    using T = TypeParam;
    T* r = mat_mul<T>("trans(A]", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, 0);
    T* s = mat_mul<T>("trans(A)", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, 0);
    ASSERT_TRUE(r && s);
    EXPECT_EQ(std::vector<T>(r, r + 12), std::vector<T>(s, s + 12));
    std::free(r);
    std::free(s);
}

TYPED_TEST(MatMulRect, TheLaterOfTwoSettingsWins) {
    using T = TypeParam;
    std::vector<T> other(3 * 6, T(0));
    // A column dimension of 2 alone would be refused; a matrix given twice is the later one.
    T* r =
        mat_mul<T>("A", KORVS_A_COL_DIM, 2, KORVS_A_MATRIX, 3, 4, other.data(), KORVS_A_MATRIX, 3, 4,
                   this->a.data(), KORVS_A_COL_DIM, 6, KORVS_RETURN_COL_DIM, 9, KORVS_RETURN_COL_DIM, 4, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->errors().empty());
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(r[i], this->a[i / 4 * 6 + i % 4]);
    std::free(r);
}

// The walk reports an unknown code by position and reads the next item as a code (a value
// read as a code would be reported last); a code below 1 ends it. Null arrays are refused
// during the walk; a failure after the caller's array was given still returns null.
TYPED_TEST(MatMulRect, ErrorsOfTheListTheShapesAndTheExpression) {
    using T = TypeParam;
    T *a = this->a.data(), *b = this->b.data(), *x = this->x.data(), *y = this->y.data(), *none = nullptr;
    auto with = [=](const char* e, int a_col_dim, int return_col_dim) {
        return [=] {
            EXPECT_EQ(mat_mul<T>(e, KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, a_col_dim, KORVS_B_MATRIX, 4, 3,
                                 b, KORVS_X_VECTOR, 3, x, KORVS_Y_VECTOR, 4, y, KORVS_RETURN_COL_DIM,
                                 return_col_dim, 0),
                      nullptr);
        };
    };
    T user[16];
    this->expect_errors({
        {"no expression", [] { EXPECT_EQ(mat_mul<T>(nullptr, 0), nullptr); }},
        {"no operand", [] { EXPECT_EQ(mat_mul<T>("A", 0), nullptr); }, 5, 20152, "%(l1)", "A"},
        {"unknown code", [] { EXPECT_EQ(mat_mul<T>("A", 99999, 0), nullptr); }, 5, 103, "%(i1) at %(i2)",
         "99999 at 2"},
        {"unknown code, the walk goes on",
         [=] { EXPECT_EQ(mat_mul<T>("A", KORVS_A_MATRIX, 3, 4, a, 12345, KORVS_A_COL_DIM, 6, 0), nullptr); },
         5, 103, "%(i1) at %(i2)", "12345 at 6"},
        {"code below 1", [=] { EXPECT_EQ(mat_mul<T>("A", -4, KORVS_A_MATRIX, 3, 4, a, 0), nullptr); }, 5, 103,
         "%(i1) at %(i2)", "-4 at 2"},
        {"null matrix", [=] { EXPECT_EQ(mat_mul<T>("A", KORVS_A_MATRIX, 2, 2, none, 0), nullptr); }, 5, 104,
         "%(l1) %(l2)", "A KORVS_A_MATRIX"},
        {"null answer",
         [=] { EXPECT_EQ(mat_mul<T>("x", KORVS_X_VECTOR, 3, x, KORVS_RETURN_USER, none, 0), nullptr); }, 5,
         104, "%(l1) %(l2)", "ans KORVS_RETURN_USER"},
        {"column dimension", with("A", 3, -1), 5, 1024, "%(l1) %(i1) %(i2)", "A 4 3"},
        {"four operands", with("A*B*x*y", 6, -1), 5, 20151, "%(l1)", "A*B*x*y"},
        {"unknown operand", with("C", 6, -1), 5, 20151, "%(l1)", "C"},
        {"lower-case matrix", with("a*B", 6, -1), 5, 20151, "%(l1)", "a*B"},
        {"unclosed", with("trans(A", 6, -1), 5, 20151, "%(l1)", "trans(A"},
        {"empty factor", with("A**B", 6, -1), 5, 20151, "%(l1)", "A**B"},
        {"empty", with("", 6, -1), 5, 20151, "%(l1)", ""},
        {"answer rows", with("A*B", 6, 2), 5, 20150, "%(i1) %(i2) %(l1)", "2 3 A*B"},
        {"two matrices", with("A*A", 6, -1), 5, 20153, "%(i1) %(i2) %(i3) %(i4)", "3 4 3 4"},
        {"three matrices", with("A*B*B", 6, -1), 5, 20154, "%(i1) %(i2) %(i3) %(i4) %(i5) %(i6)",
         "3 4 4 3 4 3"},
        {"after the caller's array",
         [&] {
             EXPECT_EQ(
                 mat_mul<T>("A*A", KORVS_A_MATRIX, 3, 4, a, KORVS_A_COL_DIM, 6, KORVS_RETURN_USER, user, 0),
                 nullptr);
         },
         5, 20153},
    });
}

}  // namespace
