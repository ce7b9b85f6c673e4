// korvs_f_mat_mul_rect: every expression form against a reference product computed in
// long double from the row-major operands, the layout of the answer, and the option
// list through this routine (defaults, positions of unknown codes, null arrays, the
// later of two settings, column dimensions) with its error codes and inserts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
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

using korvs_test::inserts;

struct Dense {
    int rows = 0, cols = 0;
    std::vector<long double> v;
    long double& at(int i, int j) { return v[std::size_t(i) * cols + j]; }
};

template <class T> Dense dense(int rows, int cols, int col_dim, const T* data, bool transposed) {
    Dense d{transposed ? cols : rows, transposed ? rows : cols, {}};
    d.v.resize(std::size_t(d.rows) * d.cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            long double e = data[std::size_t(i) * col_dim + j];
            if (transposed) d.at(j, i) = e; else d.at(i, j) = e;
        }
    return d;
}

Dense multiply(Dense a, Dense b) {
    Dense p{a.rows, b.cols, std::vector<long double>(std::size_t(a.rows) * b.cols, 0.0L)};
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < b.cols; ++j)
            for (int l = 0; l < a.cols; ++l) p.at(i, j) += a.at(i, l) * b.at(l, j);
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
        return mat_mul<T>(expression, KORVS_A_MATRIX, 3, 4, a.data(), KORVS_A_COL_DIM, 6, KORVS_B_MATRIX, 4, 3,
                          b.data(), KORVS_X_VECTOR, 3, x.data(), KORVS_Y_VECTOR, 4, y.data(), 0);
    }
};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatMulRect, Types);

TYPED_TEST(MatMulRect, EveryExpressionFormMatchesTheReferenceProduct) {
    using T = TypeParam;
    const char* expressions[] = {
        "A", "trans(A)", "x", "trans(y)", "B",                                    // one operand
        "A*B", "B*A", "trans(A)*trans(B)", "trans(B)*trans(A)", "trans(A)*A",     // two matrices
        "A*y", "trans(A)*x", "B*x", "trans(B)*y", "trans(x)*A", "trans(y)*trans(A)", "trans(x)*trans(B)",
        "trans(x)*x", "trans(y)*y", "x*trans(y)", "y*trans(x)",                 // inner and outer
        "trans(x)*A*y", "A*B*x", "trans(y)*B*A", "B*A*B", "trans(A)*x*trans(x)", "x*trans(y)*B", "A*trans(A)*x",
    };
    for (const char* e : expressions) {
        this->clear();
        T* r = this->all(e);
        ASSERT_NE(r, nullptr) << e;
        Dense want = this->reference(e);
        for (int i = 0; i < want.rows; ++i)
            for (int j = 0; j < want.cols; ++j)
                EXPECT_NEAR(r[i * want.cols + j], (T)want.at(i, j), 16 * std::numeric_limits<T>::epsilon())
                    << e << " (" << i << ", " << j << ")";
        EXPECT_TRUE(this->errors().empty()) << e;
        std::free(r);
    }
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

TYPED_TEST(MatMulRect, AnswerRowsFollowTheReturnColumnDimension) {
    using T = TypeParam;
    T* r = mat_mul<T>("A*B", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, KORVS_B_MATRIX, 4, 3,
                      this->b.data(), KORVS_RETURN_COL_DIM, 5, 0);
    ASSERT_NE(r, nullptr);
    Dense want = this->reference("A*B");
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(r[i * 5 + j], (T)want.at(i, j), 16 * std::numeric_limits<T>::epsilon());
        EXPECT_EQ(r[i * 5 + 3], T(0));
        EXPECT_EQ(r[i * 5 + 4], T(0));
    }
    std::free(r);
    // A column answer with column dimension 2: each element heads its row.
    T user[6];
    T* c = mat_mul<T>("A*y", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, KORVS_Y_VECTOR, 4,
                      this->y.data(), KORVS_RETURN_USER, user, KORVS_RETURN_COL_DIM, 2, 0);
    EXPECT_EQ(c, user);
    want = this->reference("A*y");
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(user[2 * i], (T)want.at(i, 0), 16 * std::numeric_limits<T>::epsilon());
        EXPECT_EQ(user[2 * i + 1], T(0));
    }
    // The scalar of trans(x)*A*y with two cleared places behind it.
    T row[3] = {7, 7, 7};
    T* s = mat_mul<T>("trans(x)*A*y", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, KORVS_X_VECTOR, 3,
                      this->x.data(), KORVS_Y_VECTOR, 4, this->y.data(), KORVS_RETURN_USER, row,
                      KORVS_RETURN_COL_DIM, 3, 0);
    EXPECT_EQ(s, row);
    EXPECT_NEAR(row[0], (T)this->reference("trans(x)*A*y").at(0, 0), 16 * std::numeric_limits<T>::epsilon());
    EXPECT_EQ(row[1], T(0));
    EXPECT_EQ(row[2], T(0));
}

TYPED_TEST(MatMulRect, OnlySixCharactersAndTheLetterOfATransposeCount) {
    using T = TypeParam;
    T* r = mat_mul<T>("trans(A]", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, 0);
    T* s = mat_mul<T>("trans(A)", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, 0);
    ASSERT_NE(r, nullptr);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(std::vector<T>(r, r + 12), std::vector<T>(s, s + 12));
    std::free(r);
    std::free(s);
}

TYPED_TEST(MatMulRect, TheLaterOfTwoSettingsWins) {
    using T = TypeParam;
    std::vector<T> other(3 * 6, T(0));
    // A column dimension of 2 alone would be refused; a matrix given twice is the later one.
    T* r = mat_mul<T>("A", KORVS_A_COL_DIM, 2, KORVS_A_MATRIX, 3, 4, other.data(), KORVS_A_MATRIX, 3, 4,
                      this->a.data(), KORVS_A_COL_DIM, 6, KORVS_RETURN_COL_DIM, 9, KORVS_RETURN_COL_DIM, 4, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_TRUE(this->errors().empty());
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) EXPECT_EQ(r[i * 4 + j], this->a[i * 6 + j]);
    std::free(r);
}

TYPED_TEST(MatMulRect, AnEmptyListGivesDefaultsAndNoOperand) {
    using T = TypeParam;
    EXPECT_EQ(mat_mul<T>(nullptr, 0), nullptr);  // no expression: no answer, no message
    EXPECT_TRUE(this->errors().empty());
    EXPECT_EQ(mat_mul<T>("A", 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 20152));
    EXPECT_EQ(inserts("%(l1)"), "A");
}

TYPED_TEST(MatMulRect, UnknownCodesAreReportedByPositionAndTheWalkGoesOn) {
    using T = TypeParam;
    EXPECT_EQ(mat_mul<T>("A", 99999, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "99999 at 2");
    this->clear();
    // After an unknown code the next item is read as a code: here a known one, taken
    // with its value (were the value read as a code, it would be reported last).
    EXPECT_EQ(mat_mul<T>("A", KORVS_A_MATRIX, 3, 4, this->a.data(), 12345, KORVS_A_COL_DIM, 6, 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "12345 at 6");
    this->clear();
    // A code below 1 ends the walk: the matrix behind it is never read.
    EXPECT_EQ(mat_mul<T>("A", -4, KORVS_A_MATRIX, 3, 4, this->a.data(), 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 103));
    EXPECT_EQ(inserts("%(i1) at %(i2)"), "-4 at 2");
}

TYPED_TEST(MatMulRect, NullArraysAreRefusedDuringTheWalk) {
    using T = TypeParam;
    EXPECT_EQ(mat_mul<T>("A", KORVS_A_MATRIX, 2, 2, static_cast<T*>(nullptr), 0), nullptr);
    EXPECT_TRUE(this->only_raised(5, 104));
    EXPECT_EQ(inserts("%(l1) %(l2)"), "A KORVS_A_MATRIX");
    this->clear();
    EXPECT_EQ(mat_mul<T>("x", KORVS_X_VECTOR, 3, this->x.data(), KORVS_RETURN_USER, static_cast<T*>(nullptr), 0),
              nullptr);
    EXPECT_TRUE(this->only_raised(5, 104));
    EXPECT_EQ(inserts("%(l1) %(l2)"), "ans KORVS_RETURN_USER");
}

TYPED_TEST(MatMulRect, ErrorsOfShapeAndExpressionWithTheirInserts) {
    using T = TypeParam;
    struct Case {
        const char* expression;
        int a_col_dim, return_col_dim, code;
        const char *text, *inserts;
    } cases[] = {
        {"A", 3, -1, 1024, "%(l1) %(i1) %(i2)", "A 4 3"},
        {"A*B*x*y", 6, -1, 20151, "%(l1)", "A*B*x*y"},
        {"C", 6, -1, 20151, "%(l1)", "C"},
        {"a*B", 6, -1, 20151, "%(l1)", "a*B"},
        {"trans(A", 6, -1, 20151, "%(l1)", "trans(A"},
        {"A**B", 6, -1, 20151, "%(l1)", "A**B"},
        {"", 6, -1, 20151, "%(l1)", ""},
        {"A*B", 6, 2, 20150, "%(i1) %(i2) %(l1)", "2 3 A*B"},
        {"A*A", 6, -1, 20153, "%(i1) %(i2) %(i3) %(i4)", "3 4 3 4"},
        {"A*B*B", 6, -1, 20154, "%(i1) %(i2) %(i3) %(i4) %(i5) %(i6)", "3 4 4 3 4 3"},
    };
    for (const Case& c : cases) {
        this->clear();
        T* r = mat_mul<T>(c.expression, KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, c.a_col_dim,
                          KORVS_B_MATRIX, 4, 3, this->b.data(), KORVS_X_VECTOR, 3, this->x.data(), KORVS_Y_VECTOR, 4,
                          this->y.data(), KORVS_RETURN_COL_DIM, c.return_col_dim, 0);
        EXPECT_EQ(r, nullptr) << c.expression;
        EXPECT_TRUE(this->only_raised(5, c.code)) << c.expression;
        EXPECT_EQ(inserts(c.text), c.inserts) << c.expression;
    }
    // A failure after the caller's array was given still returns null.
    T user[16];
    this->clear();
    EXPECT_EQ(mat_mul<T>("A*A", KORVS_A_MATRIX, 3, 4, this->a.data(), KORVS_A_COL_DIM, 6, KORVS_RETURN_USER, user, 0),
              nullptr);
    EXPECT_TRUE(this->only_raised(5, 20153));
}

// The operands are read, never written, unless the answer shares their storage.
TYPED_TEST(MatMulRect, OperandsAreLeftAsTheyWere) {
    auto a = this->a, b = this->b, x = this->x;
    std::free(this->all("A*B*x"));
    EXPECT_EQ(a, this->a);
    EXPECT_EQ(b, this->b);
    EXPECT_EQ(x, this->x);
}

}  // namespace
