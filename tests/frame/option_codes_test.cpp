// The option codes of the public header against the code tables of the routines that
// use them: a sample from every family, the identifiers known under two codes, and the
// negative codes of the output settings.
#include <gtest/gtest.h>
#include <korvstat.h>

namespace {

struct Code {
    int value;
    int expected;
    const char* name;
};

#define KORVS_CODE(id, code) Code{id, code, #id}

TEST(OptionCodes, SampleFromEveryFamily) {
    const Code sample[] = {
        KORVS_CODE(KORVS_RETURN_USER, 14280),
        KORVS_CODE(KORVS_X_COL_DIM, 15470),
        KORVS_CODE(KORVS_ERROR_MSG_FILE, 11400),
        KORVS_CODE(KORVS_SET_SIGNAL_TRAPPING_OFF, 16041),
        KORVS_CODE(KORVS_SET_PRINT_TYPE, 50010),
        KORVS_CODE(KORVS_KNOWN_BOUNDS, 12620),
        KORVS_CODE(KORVS_KNOWN_BOUNDS_ADR, 20954),
        KORVS_CODE(KORVS_DATA_BOUNDS, 11120),
        KORVS_CODE(KORVS_CLASS_MARKS, 10630),
        KORVS_CODE(KORVS_CUTPOINTS, 11090),
        KORVS_CODE(KORVS_A_MATRIX, 10180),
        KORVS_CODE(KORVS_A_COL_DIM, 10170),
        KORVS_CODE(KORVS_B_MATRIX, 10330),
        KORVS_CODE(KORVS_B_COL_DIM, 10320),
        KORVS_CODE(KORVS_X_VECTOR, 15530),
        KORVS_CODE(KORVS_Y_VECTOR, 15580),
        KORVS_CODE(KORVS_TOLERANCE_ADR, 15050),
        KORVS_CODE(KORVS_FUZZ_ADR, 11880),
        KORVS_CODE(KORVS_VECTORS_USER, 15350),
        KORVS_CODE(KORVS_VARIANCE_ADR, 20425),
        KORVS_CODE(KORVS_MEDIAN_AND_SCALE, 13160),
        KORVS_CODE(KORVS_MISSING_ELEMENTWISE, 18011),
        KORVS_CODE(KORVS_N_ROWS_MISSING, 20400),
        KORVS_CODE(KORVS_COEF_T_TESTS_USER, 10720),
        KORVS_CODE(KORVS_SCHEFFE_INTERVAL_USER, 14425),
        KORVS_CODE(KORVS_XTX_INVERSE_USER, 16069),
        KORVS_CODE(KORVS_INTERCEPT_OFF, 15660),
        KORVS_CODE(KORVS_P_REMOVE_ADR, 20008),
        KORVS_CODE(KORVS_REGRESSORS_COL_DIM, 16020),
        KORVS_CODE(KORVS_SCHEFFE_USER, 14440),
        KORVS_CODE(KORVS_Y_MEANS_USER, 30034),
        KORVS_CODE(KORVS_EXACT_MEANS_USER, 10500),
        KORVS_CODE(KORVS_HYBRID_ADR, 20960),
        KORVS_CODE(KORVS_SUM_RANK_USER, 30016),
        KORVS_CODE(KORVS_N_MISSING_Y, 30021),
        KORVS_CODE(KORVS_ARMA_INFO, 16056),
        KORVS_CODE(KORVS_EIGENVECTORS_USER, 15790),
        KORVS_CODE(KORVS_X_INDICES_CENSOR, 20680),
        KORVS_CODE(KORVS_FACTOR_HESSIAN_USER, 25840),
        KORVS_CODE(KORVS_ERR_REL_ADR, 11500),
        KORVS_CODE(KORVS_PRINT_NONE, 13950),
    };
    for (const Code& c : sample) EXPECT_EQ(c.value, c.expected) << c.name;
}

// An identifier listed under two codes carries the code of the table where it first
// appears; the routines of the other family accept the second code besides.
TEST(OptionCodes, IdentifiersWithTwoCodesTakeTheirFirstOne) {
    const Code first[] = {
        KORVS_CODE(KORVS_RETURN_COL_DIM, 14260),   KORVS_CODE(KORVS_PRINT, 50110),
        KORVS_CODE(KORVS_N_OBSERVATIONS, 15640),   KORVS_CODE(KORVS_MAX_ITERATIONS, 13000),
        KORVS_CODE(KORVS_EXPECTED, 11550),         KORVS_CODE(KORVS_EXPECTED_USER, 11560),
        KORVS_CODE(KORVS_N_MISSING, 20400),        KORVS_CODE(KORVS_COEF_COVARIANCES_COL_DIM, 11055),
        KORVS_CODE(KORVS_COV_COL_DIM, 15680),
    };
    for (const Code& c : first) EXPECT_EQ(c.value, c.expected) << c.name;
}

TEST(OptionCodes, OutputSettingsAreNegative) {
    const Code settings[] = {
        KORVS_CODE(KORVS_SET_CENTERING, -1), KORVS_CODE(KORVS_SET_ROW_WRAP, -2),
        KORVS_CODE(KORVS_SET_PAGING, -3),    KORVS_CODE(KORVS_SET_NAN_CHAR, -4),
        KORVS_CODE(KORVS_SET_TITLE_PAGE, -5), KORVS_CODE(KORVS_SET_FORMAT, -6),
    };
    for (const Code& c : settings) EXPECT_EQ(c.value, c.expected) << c.name;
}

}  // namespace
