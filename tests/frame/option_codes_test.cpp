// Option codes of the public header against the code tables of the routines that use
// them: a sample from every family, the first codes of the identifiers known under two,
// and the negative codes of the output settings.
#include <gtest/gtest.h>
#include <korvstat.h>

namespace {

#define K(id, code)                                                                                          \
    { id, code, #id }

TEST(OptionCodes, SampleAgainstTheirTables) {
    const struct {
        int value, expected;
        const char* name;
    } sample[] = {
        // clang-format off
        K(KORVS_RETURN_USER, 14280), K(KORVS_X_COL_DIM, 15470), K(KORVS_ERROR_MSG_FILE, 11400),
        K(KORVS_SET_SIGNAL_TRAPPING_OFF, 16041), K(KORVS_SET_PRINT_TYPE, 50010),
        K(KORVS_KNOWN_BOUNDS, 12620), K(KORVS_KNOWN_BOUNDS_ADR, 20954), K(KORVS_DATA_BOUNDS, 11120),
        K(KORVS_CLASS_MARKS, 10630), K(KORVS_CUTPOINTS, 11090), K(KORVS_A_MATRIX, 10180),
        K(KORVS_A_COL_DIM, 10170), K(KORVS_B_MATRIX, 10330), K(KORVS_B_COL_DIM, 10320),
        K(KORVS_X_VECTOR, 15530), K(KORVS_Y_VECTOR, 15580), K(KORVS_TOLERANCE_ADR, 15050),
        K(KORVS_FUZZ_ADR, 11880), K(KORVS_VECTORS_USER, 15350), K(KORVS_VARIANCE_ADR, 20425),
        K(KORVS_MEDIAN_AND_SCALE, 13160), K(KORVS_MISSING_ELEMENTWISE, 18011),
        K(KORVS_N_ROWS_MISSING, 20400), K(KORVS_COEF_T_TESTS_USER, 10720),
        K(KORVS_SCHEFFE_INTERVAL_USER, 14425), K(KORVS_XTX_INVERSE_USER, 16069),
        K(KORVS_INTERCEPT_OFF, 15660), K(KORVS_P_REMOVE_ADR, 20008), K(KORVS_REGRESSORS_COL_DIM, 16020),
        K(KORVS_SCHEFFE_USER, 14440), K(KORVS_Y_MEANS_USER, 30034), K(KORVS_EXACT_MEANS_USER, 10500),
        K(KORVS_HYBRID_ADR, 20960), K(KORVS_SUM_RANK_USER, 30016), K(KORVS_N_MISSING_Y, 30021),
        K(KORVS_ARMA_INFO, 16056), K(KORVS_EIGENVECTORS_USER, 15790), K(KORVS_X_INDICES_CENSOR, 20680),
        K(KORVS_FACTOR_HESSIAN_USER, 25840), K(KORVS_ERR_REL_ADR, 11500), K(KORVS_PRINT_NONE, 13950),
        K(KORVS_RETURN_COL_DIM, 14260), K(KORVS_PRINT, 50110), K(KORVS_N_OBSERVATIONS, 15640),
        K(KORVS_MAX_ITERATIONS, 13000), K(KORVS_EXPECTED, 11550), K(KORVS_EXPECTED_USER, 11560),
        K(KORVS_N_MISSING, 20400), K(KORVS_COEF_COVARIANCES_COL_DIM, 11055), K(KORVS_COV_COL_DIM, 15680),
        K(KORVS_SET_CENTERING, -1), K(KORVS_SET_ROW_WRAP, -2), K(KORVS_SET_PAGING, -3),
        K(KORVS_SET_NAN_CHAR, -4), K(KORVS_SET_TITLE_PAGE, -5), K(KORVS_SET_FORMAT, -6)
        // clang-format on
    };
    for (const auto& c : sample)
        EXPECT_EQ(c.value, c.expected) << c.name;
}

}  // namespace
