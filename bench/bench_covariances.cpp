// korvs_d_covariances (and the float twin) on 10^5 rows of 50 doubles without missing
// values, side by side in the same run with GSL (gsl_stats_covariance for each pair) and
// with centring followed by reference BLAS's dsyrk, where they are installed. The table at
// the end gives korvstat's CPU time over each peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <vector>

#include "peers.hpp"
#include "run_times.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_statistics_double.h>
#endif

#ifdef KORVS_HAVE_REFBLAS
extern "C" void dsyrk_(const char* uplo, const char* trans, const int* n, const int* k, const double* alpha,
                       const double* a, const int* lda, const double* beta, double* c, const int* ldc, std::size_t,
                       std::size_t);
#endif

namespace {

constexpr int kRows = 100000, kVars = 50;

// Correlated columns about different centres: each a random walk's step plus its own offset.
const std::vector<double>& data() {
    static const std::vector<double> x = [] {
        std::vector<double> v(std::size_t(kRows) * kVars);
        unsigned long long state = 42;
        for (int k = 0; k < kRows; ++k) {
            double common = 0;
            for (int i = 0; i < kVars; ++i) {
                state = state * 6364136223846793005ull + 1442695040888963407ull;
                const double u = double(state >> 11) / 9007199254740992.0;
                common += u - 0.5;
                v[std::size_t(k) * kVars + i] = 100.0 * (i + 1) + common;
            }
        }
        return v;
    }();
    return x;
}

void BM_covariances_korvs_d(benchmark::State& state) {
    std::vector<double> x = data(), cov(kVars * kVars);
    for (auto _ : state) {
        korvs_d_covariances(kRows, kVars, x.data(), KORVS_RETURN_USER, cov.data(), 0);
        benchmark::ClobberMemory();
    }
}

void BM_covariances_korvs_f(benchmark::State& state) {
    std::vector<float> x(data().begin(), data().end()), cov(kVars * kVars);
    for (auto _ : state) {
        korvs_f_covariances(kRows, kVars, x.data(), KORVS_RETURN_USER, cov.data(), 0);
        benchmark::ClobberMemory();
    }
}

#ifdef KORVS_HAVE_GSL
void BM_covariances_gsl(benchmark::State& state) {
    const std::vector<double>& x = data();
    std::vector<double> cov(kVars * kVars);
    for (auto _ : state) {
        for (int i = 0; i < kVars; ++i)
            for (int j = 0; j <= i; ++j)
                cov[i * kVars + j] = cov[j * kVars + i] =
                    gsl_stats_covariance(x.data() + i, kVars, x.data() + j, kVars, kRows);
        benchmark::ClobberMemory();
    }
}
#endif

#ifdef KORVS_HAVE_REFBLAS
// The means, the centred copy (column-major, 50 by 10^5: the rows as they stand), and
// C = D D' / (n - 1) in the upper triangle by dsyrk.
void BM_covariances_blas(benchmark::State& state) {
    const std::vector<double>& x = data();
    std::vector<double> centred(x.size()), means(kVars), cov(kVars * kVars);
    const int n = kVars, k = kRows;
    const double alpha = 1.0 / (kRows - 1), beta = 0;
    for (auto _ : state) {
        for (int i = 0; i < kVars; ++i) means[i] = 0;
        for (int r = 0; r < kRows; ++r)
            for (int i = 0; i < kVars; ++i) means[i] += x[std::size_t(r) * kVars + i];
        for (int i = 0; i < kVars; ++i) means[i] /= kRows;
        for (int r = 0; r < kRows; ++r)
            for (int i = 0; i < kVars; ++i) centred[std::size_t(r) * kVars + i] = x[std::size_t(r) * kVars + i] - means[i];
        dsyrk_("U", "N", &n, &k, &alpha, centred.data(), &n, &beta, cov.data(), &n, 1, 1);
        benchmark::ClobberMemory();
    }
}
#endif

class Ratios : public korvs_bench::RunTimes {
public:
    void Finalize() override {
        ConsoleReporter::Finalize();
        const double d = time("covariances", "korvs_d"), f = time("covariances", "korvs_f");
        const double gsl = time("covariances", "gsl"), blas = time("covariances", "blas");
        std::printf("\n10^5 x 50 (ms)   korvs_d %8.2f   korvs_f %8.2f   GSL %8.2f   centring + dsyrk %8.2f\n", d, f,
                    gsl, blas);
        if (gsl > 0) std::printf("korvs_d / GSL %.3f   korvs_f / GSL %.3f\n", d / gsl, f / gsl);
        if (blas > 0) std::printf("korvs_d / BLAS %.3f   korvs_f / BLAS %.3f\n", d / blas, f / blas);
    }
};

}  // namespace

BENCHMARK(BM_covariances_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_covariances_korvs_f)->Unit(benchmark::kMillisecond);
#ifdef KORVS_HAVE_GSL
BENCHMARK(BM_covariances_gsl)->Unit(benchmark::kMillisecond);
#endif
#ifdef KORVS_HAVE_REFBLAS
BENCHMARK(BM_covariances_blas)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv) {
    Ratios reporter;
    return korvs_bench::run_with(argc, argv, reporter);
}
