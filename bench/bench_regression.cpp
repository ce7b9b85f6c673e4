// Least squares with an intercept, 100000 rows and 20 regressors: korvs_d_regression
// (rows rotated into the factor one at a time, blocked over rows) side by side with
// reference LAPACK's dgels (Householder QR) and GSL's gsl_multifit_linear (SVD) in the
// same run where they are installed. The peers work in place on a column-major design
// with its column of ones, so each of their iterations first copies it back; korvstat
// reads the caller's row-major matrix where it stands. The table at the end gives
// korvstat's CPU time over each peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "dense.hpp"
#include "peers.hpp"
#include "run_times.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_multifit.h>
#endif

#ifdef KORVS_HAVE_REFLAPACK
extern "C" void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
                       double* b, const int* ldb, double* work, const int* lwork, int* info, std::size_t);
#endif

namespace {

constexpr int kRows = 100000, kRegressors = 20, kParameters = kRegressors + 1;

using korvs_bench::random;

// The design row-major for korvstat, and column-major with the column of ones for the
// peers; y a linear combination plus noise.
struct Problem {
    std::vector<double> x = random(std::size_t(kRows) * kRegressors, 11);
    std::vector<double> y = random(kRows, 12);
    std::vector<double> design = std::vector<double>(std::size_t(kRows) * kParameters, 1.0);
    Problem() {
        for (int i = 0; i < kRows; ++i)
            for (int j = 0; j < kRegressors; ++j) {
                y[i] += (j + 1) * x[std::size_t(i) * kRegressors + j];
                design[std::size_t(j + 1) * kRows + i] = x[std::size_t(i) * kRegressors + j];
            }
    }
};

const Problem& problem() {
    static const Problem p;
    return p;
}

void BM_least_squares_korvs(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> x = p.x, y = p.y, coef(kParameters);
    for (auto _ : state) {
        korvs_d_regression(kRows, kRegressors, x.data(), y.data(), KORVS_RETURN_USER, coef.data(), 0);
        benchmark::DoNotOptimize(coef.data());
    }
}

#ifdef KORVS_HAVE_REFLAPACK
void BM_least_squares_lapack(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> a(p.design.size()), b(kRows);
    const int m = kRows, n = kParameters, one = 1;
    int info = 0, lwork = -1;
    double query = 0;
    dgels_("N", &m, &n, &one, a.data(), &m, b.data(), &m, &query, &lwork, &info, 1);
    lwork = static_cast<int>(query);
    std::vector<double> work(lwork);
    for (auto _ : state) {
        a = p.design;
        b = p.y;
        dgels_("N", &m, &n, &one, a.data(), &m, b.data(), &m, work.data(), &lwork, &info, 1);
        benchmark::DoNotOptimize(b.data());
    }
}
#endif

#ifdef KORVS_HAVE_GSL
void BM_least_squares_gsl(benchmark::State& state) {
    const Problem& p = problem();
    gsl_matrix* a = gsl_matrix_alloc(kRows, kParameters);
    gsl_vector_const_view y = gsl_vector_const_view_array(p.y.data(), kRows);
    gsl_vector* c = gsl_vector_alloc(kParameters);
    gsl_matrix* cov = gsl_matrix_alloc(kParameters, kParameters);
    gsl_multifit_linear_workspace* w = gsl_multifit_linear_alloc(kRows, kParameters);
    double chisq = 0;
    for (auto _ : state) {
        for (int i = 0; i < kRows; ++i)
            for (int j = 0; j < kParameters; ++j) gsl_matrix_set(a, i, j, p.design[std::size_t(j) * kRows + i]);
        gsl_multifit_linear(a, &y.vector, c, cov, &chisq, w);
        benchmark::DoNotOptimize(c->data);
    }
    gsl_multifit_linear_free(w);
    gsl_matrix_free(cov);
    gsl_vector_free(c);
    gsl_matrix_free(a);
}
#endif

class Ratios : public korvs_bench::RunTimes {
public:
    void Finalize() override {
        ConsoleReporter::Finalize();
        const double k = time("least_squares", "korvs"), lapack = time("least_squares", "lapack"),
                     gsl = time("least_squares", "gsl");
        std::printf("\n%-16s %12s %12s %12s %14s %14s\n", "1e5 x 20 (ms)", "korvstat", "dgels", "GSL", "korvs/dgels",
                    "korvs/GSL");
        std::printf("%-16s %12.3f %12.3f %12.3f", "least squares", k, lapack, gsl);
        for (double peer : {lapack, gsl}) {
            if (peer > 0)
                std::printf(" %14.2f", k / peer);
            else
                std::printf(" %14s", "-");
        }
        std::printf("\n");
    }
};

}  // namespace

BENCHMARK(BM_least_squares_korvs)->Unit(benchmark::kMillisecond);
#ifdef KORVS_HAVE_REFLAPACK
BENCHMARK(BM_least_squares_lapack)->Unit(benchmark::kMillisecond);
#endif
#ifdef KORVS_HAVE_GSL
BENCHMARK(BM_least_squares_gsl)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv) {
    Ratios reporter;
    return korvs_bench::run_with(argc, argv, reporter);
}
