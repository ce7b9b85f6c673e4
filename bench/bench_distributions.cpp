// Throughput of the t, chi-squared, F and beta distribution functions, the t and
// chi-squared quantiles and the binomial and Poisson distribution functions in both twins
// with signal trapping off, against GSL and R's standalone math library in the same run
// where they are installed. The peers work in double; the table at the end gives each
// twin's time per call over the faster peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <vector>

#include "peers.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_cdf.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

using korvs_bench::kPoints;
using korvs_bench::spread;

// Arguments that reach every branch of each method: for t, |t| on both sides of sqrt(df)
// and 2, integer and fractional df below and above 20; for chi-squared, df on both sides
// of 65 and x across the mode; for F and beta, both sides of the median.
const std::vector<double> kT = spread(-6, 6, 11);
const std::vector<double> kTdf = spread(1, 40, 12);
const std::vector<double> kChiX = spread(0.5, 120, 13);
const std::vector<double> kChiDf = spread(1, 100, 14);
const std::vector<double> kF = spread(0.05, 6, 15);
const std::vector<double> kFdfNum = spread(1, 30, 16);
const std::vector<double> kFdfDen = spread(1, 30, 17);
const std::vector<double> kBetaX = spread(0.01, 0.99, 18);
const std::vector<double> kBetaA = spread(0.5, 20, 19);
const std::vector<double> kBetaB = spread(0.5, 20, 20);
const std::vector<double> kP = spread(0.001, 0.999, 21);
const std::vector<double> kTrials = spread(5, 200, 22);
const std::vector<double> kSuccess = spread(0.05, 0.95, 23);
const std::vector<double> kCount = spread(0, 1, 24);  // a fraction of n (or of 2 theta)
const std::vector<double> kMean = spread(0.5, 60, 25);

// f over the rows (a[i], b[i], c[i]), converted to T, once an iteration.
template <class T, class F>
void run3(benchmark::State& state, const std::vector<double>& a, const std::vector<double>& b,
          const std::vector<double>& c, F f) {
    std::vector<T> x(a.begin(), a.end()), y(b.begin(), b.end()), z(c.begin(), c.end());
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(x[i], y[i], z[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class T, class F>
void run2(benchmark::State& state, const std::vector<double>& a, const std::vector<double>& b, F f) {
    run3<T>(state, a, b, b, [&f](T x, T y, T) { return f(x, y); });
}

// The discrete arguments: k from a fraction of n (or of 2 theta).
template <class T, class F> void run_binomial(benchmark::State& state, F f) {
    std::vector<int> k(kPoints), n(kPoints);
    std::vector<T> p(kSuccess.begin(), kSuccess.end());
    for (int i = 0; i < kPoints; ++i) {
        n[i] = static_cast<int>(kTrials[i]);
        k[i] = static_cast<int>(kCount[i] * n[i]);
    }
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(k[i], n[i], p[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class T, class F> void run_poisson(benchmark::State& state, F f) {
    std::vector<int> k(kPoints);
    std::vector<T> theta(kMean.begin(), kMean.end());
    for (int i = 0; i < kPoints; ++i)
        k[i] = static_cast<int>(kCount[i] * 2 * kMean[i]);
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(k[i], theta[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_t_cdf_korvs_f(benchmark::State& s) {
    run2<float>(s, kT, kTdf, [](float t, float df) { return korvs_f_t_cdf(t, df); });
}
void BM_t_cdf_korvs_d(benchmark::State& s) {
    run2<double>(s, kT, kTdf, [](double t, double df) { return korvs_d_t_cdf(t, df); });
}
void BM_chi_squared_cdf_korvs_f(benchmark::State& s) {
    run2<float>(s, kChiX, kChiDf, [](float x, float df) { return korvs_f_chi_squared_cdf(x, df); });
}
void BM_chi_squared_cdf_korvs_d(benchmark::State& s) {
    run2<double>(s, kChiX, kChiDf, [](double x, double df) { return korvs_d_chi_squared_cdf(x, df); });
}
void BM_F_cdf_korvs_f(benchmark::State& s) {
    run3<float>(s, kF, kFdfNum, kFdfDen, [](float f, float m, float n) { return korvs_f_F_cdf(f, m, n); });
}
void BM_F_cdf_korvs_d(benchmark::State& s) {
    run3<double>(s, kF, kFdfNum, kFdfDen, [](double f, double m, double n) { return korvs_d_F_cdf(f, m, n); });
}
void BM_beta_cdf_korvs_f(benchmark::State& s) {
    run3<float>(s, kBetaX, kBetaA, kBetaB, [](float x, float a, float b) { return korvs_f_beta_cdf(x, a, b); });
}
void BM_beta_cdf_korvs_d(benchmark::State& s) {
    run3<double>(s, kBetaX, kBetaA, kBetaB, [](double x, double a, double b) { return korvs_d_beta_cdf(x, a, b); });
}
void BM_t_inverse_korvs_f(benchmark::State& s) {
    run2<float>(s, kP, kTdf, [](float p, float df) { return korvs_f_t_inverse_cdf(p, df); });
}
void BM_t_inverse_korvs_d(benchmark::State& s) {
    run2<double>(s, kP, kTdf, [](double p, double df) { return korvs_d_t_inverse_cdf(p, df); });
}
void BM_chi_squared_inverse_korvs_f(benchmark::State& s) {
    run2<float>(s, kP, kChiDf, [](float p, float df) { return korvs_f_chi_squared_inverse_cdf(p, df); });
}
void BM_chi_squared_inverse_korvs_d(benchmark::State& s) {
    run2<double>(s, kP, kChiDf, [](double p, double df) { return korvs_d_chi_squared_inverse_cdf(p, df); });
}
void BM_binomial_cdf_korvs_f(benchmark::State& s) {
    run_binomial<float>(s, [](int k, int n, float p) { return korvs_f_binomial_cdf(k, n, p); });
}
void BM_binomial_cdf_korvs_d(benchmark::State& s) {
    run_binomial<double>(s, [](int k, int n, double p) { return korvs_d_binomial_cdf(k, n, p); });
}
void BM_poisson_cdf_korvs_f(benchmark::State& s) {
    run_poisson<float>(s, [](int k, float theta) { return korvs_f_poisson_cdf(k, theta); });
}
void BM_poisson_cdf_korvs_d(benchmark::State& s) {
    run_poisson<double>(s, [](int k, double theta) { return korvs_d_poisson_cdf(k, theta); });
}
BENCHMARK(BM_t_cdf_korvs_f);
BENCHMARK(BM_t_cdf_korvs_d);
BENCHMARK(BM_chi_squared_cdf_korvs_f);
BENCHMARK(BM_chi_squared_cdf_korvs_d);
BENCHMARK(BM_F_cdf_korvs_f);
BENCHMARK(BM_F_cdf_korvs_d);
BENCHMARK(BM_beta_cdf_korvs_f);
BENCHMARK(BM_beta_cdf_korvs_d);
BENCHMARK(BM_t_inverse_korvs_f);
BENCHMARK(BM_t_inverse_korvs_d);
BENCHMARK(BM_chi_squared_inverse_korvs_f);
BENCHMARK(BM_chi_squared_inverse_korvs_d);
BENCHMARK(BM_binomial_cdf_korvs_f);
BENCHMARK(BM_binomial_cdf_korvs_d);
BENCHMARK(BM_poisson_cdf_korvs_f);
BENCHMARK(BM_poisson_cdf_korvs_d);

#ifdef KORVS_HAVE_GSL
void BM_t_cdf_gsl(benchmark::State& s) { run2<double>(s, kT, kTdf, gsl_cdf_tdist_P); }
void BM_chi_squared_cdf_gsl(benchmark::State& s) { run2<double>(s, kChiX, kChiDf, gsl_cdf_chisq_P); }
void BM_F_cdf_gsl(benchmark::State& s) { run3<double>(s, kF, kFdfNum, kFdfDen, gsl_cdf_fdist_P); }
void BM_beta_cdf_gsl(benchmark::State& s) { run3<double>(s, kBetaX, kBetaA, kBetaB, gsl_cdf_beta_P); }
void BM_t_inverse_gsl(benchmark::State& s) { run2<double>(s, kP, kTdf, gsl_cdf_tdist_Pinv); }
void BM_chi_squared_inverse_gsl(benchmark::State& s) { run2<double>(s, kP, kChiDf, gsl_cdf_chisq_Pinv); }
void BM_binomial_cdf_gsl(benchmark::State& s) {
    run_binomial<double>(s, [](int k, int n, double p) {
        return gsl_cdf_binomial_P(static_cast<unsigned>(k), p, static_cast<unsigned>(n));
    });
}
void BM_poisson_cdf_gsl(benchmark::State& s) {
    run_poisson<double>(s, [](int k, double theta) { return gsl_cdf_poisson_P(static_cast<unsigned>(k), theta); });
}
BENCHMARK(BM_t_cdf_gsl);
BENCHMARK(BM_chi_squared_cdf_gsl);
BENCHMARK(BM_F_cdf_gsl);
BENCHMARK(BM_beta_cdf_gsl);
BENCHMARK(BM_t_inverse_gsl);
BENCHMARK(BM_chi_squared_inverse_gsl);
BENCHMARK(BM_binomial_cdf_gsl);
BENCHMARK(BM_poisson_cdf_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_t_cdf_rmath(benchmark::State& s) {
    run2<double>(s, kT, kTdf, [](double t, double df) { return pt(t, df, 1, 0); });
}
void BM_chi_squared_cdf_rmath(benchmark::State& s) {
    run2<double>(s, kChiX, kChiDf, [](double x, double df) { return pchisq(x, df, 1, 0); });
}
void BM_F_cdf_rmath(benchmark::State& s) {
    run3<double>(s, kF, kFdfNum, kFdfDen, [](double f, double m, double n) { return pf(f, m, n, 1, 0); });
}
void BM_beta_cdf_rmath(benchmark::State& s) {
    run3<double>(s, kBetaX, kBetaA, kBetaB, [](double x, double a, double b) { return pbeta(x, a, b, 1, 0); });
}
void BM_t_inverse_rmath(benchmark::State& s) {
    run2<double>(s, kP, kTdf, [](double p, double df) { return qt(p, df, 1, 0); });
}
void BM_chi_squared_inverse_rmath(benchmark::State& s) {
    run2<double>(s, kP, kChiDf, [](double p, double df) { return qchisq(p, df, 1, 0); });
}
void BM_binomial_cdf_rmath(benchmark::State& s) {
    run_binomial<double>(s, [](int k, int n, double p) { return pbinom(k, n, p, 1, 0); });
}
void BM_poisson_cdf_rmath(benchmark::State& s) {
    run_poisson<double>(s, [](int k, double theta) { return ppois(k, theta, 1, 0); });
}
BENCHMARK(BM_t_cdf_rmath);
BENCHMARK(BM_chi_squared_cdf_rmath);
BENCHMARK(BM_F_cdf_rmath);
BENCHMARK(BM_beta_cdf_rmath);
BENCHMARK(BM_t_inverse_rmath);
BENCHMARK(BM_chi_squared_inverse_rmath);
BENCHMARK(BM_binomial_cdf_rmath);
BENCHMARK(BM_poisson_cdf_rmath);
#endif

}  // namespace

int main(int argc, char** argv) {
    return korvs_bench::run_with_ratios(argc, argv,
                                        {"t_cdf", "chi_squared_cdf", "F_cdf", "beta_cdf", "t_inverse",
                                         "chi_squared_inverse", "binomial_cdf", "poisson_cdf"});
}
