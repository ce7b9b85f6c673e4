// Throughput of the distribution functions that bench_distributions leaves out: the F and
// beta quantiles, the non-central chi-squared and t functions and their quantiles, in both
// twins with signal trapping off, against GSL (F and beta quantiles) and R's standalone
// math library in the same run where they are installed. The non-central t runs at a small
// and at a large df, whose cost is the same. The table at the end gives each twin's time
// per call over the faster peer's.
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

const std::vector<double> kP = spread(0.001, 0.999, 31);
const std::vector<double> kFdfNum = spread(1, 30, 32);
const std::vector<double> kFdfDen = spread(1, 30, 33);
const std::vector<double> kBetaA = spread(0.5, 20, 34);
const std::vector<double> kBetaB = spread(0.5, 20, 35);
const std::vector<double> kNcDf = spread(1, 40, 36);
const std::vector<double> kNcDelta = spread(0, 10, 37);
const std::vector<double> kNcX = spread(0.5, 60, 38);
const std::vector<double> kNcT = spread(-4, 10, 39);
const std::vector<int> kSmallDf = [] {
    std::vector<int> v(kPoints);
    for (int i = 0; i < kPoints; ++i)
        v[i] = 1 + static_cast<int>(kNcDf[i]);
    return v;
}();
const std::vector<int> kLargeDf(kPoints, 1000000);

// f over the rows (a[i], b[i], c[i]), a and c converted to T, b as its type B.
template <class T, class B, class F>
void run3(benchmark::State& state, const std::vector<double>& a, const std::vector<B>& b,
          const std::vector<double>& c, F f) {
    std::vector<T> x(a.begin(), a.end()), z(c.begin(), c.end());
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(x[i], b[i], z[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_F_inverse_korvs_f(benchmark::State& s) {
    run3<float>(s, kP, kFdfNum, kFdfDen,
                [](float p, double m, float n) { return korvs_f_F_inverse_cdf(p, float(m), n); });
}
void BM_F_inverse_korvs_d(benchmark::State& s) {
    run3<double>(s, kP, kFdfNum, kFdfDen,
                 [](double p, double m, double n) { return korvs_d_F_inverse_cdf(p, m, n); });
}
void BM_beta_inverse_korvs_f(benchmark::State& s) {
    run3<float>(s, kP, kBetaA, kBetaB,
                [](float p, double a, float b) { return korvs_f_beta_inverse_cdf(p, float(a), b); });
}
void BM_beta_inverse_korvs_d(benchmark::State& s) {
    run3<double>(s, kP, kBetaA, kBetaB,
                 [](double p, double a, double b) { return korvs_d_beta_inverse_cdf(p, a, b); });
}
void BM_nc_chi_sq_korvs_f(benchmark::State& s) {
    run3<float>(s, kNcX, kNcDf, kNcDelta,
                [](float x, double df, float d) { return korvs_f_non_central_chi_sq(x, float(df), d); });
}
void BM_nc_chi_sq_korvs_d(benchmark::State& s) {
    run3<double>(s, kNcX, kNcDf, kNcDelta,
                 [](double x, double df, double d) { return korvs_d_non_central_chi_sq(x, df, d); });
}
void BM_nc_chi_sq_inv_korvs_f(benchmark::State& s) {
    run3<float>(s, kP, kNcDf, kNcDelta,
                [](float p, double df, float d) { return korvs_f_non_central_chi_sq_inv(p, float(df), d); });
}
void BM_nc_chi_sq_inv_korvs_d(benchmark::State& s) {
    run3<double>(s, kP, kNcDf, kNcDelta,
                 [](double p, double df, double d) { return korvs_d_non_central_chi_sq_inv(p, df, d); });
}
void BM_nc_t_korvs_f(benchmark::State& s) {
    run3<float>(s, kNcT, kSmallDf, kNcDelta,
                [](float t, int df, float d) { return korvs_f_non_central_t_cdf(t, df, d); });
}
void BM_nc_t_korvs_d(benchmark::State& s) {
    run3<double>(s, kNcT, kSmallDf, kNcDelta,
                 [](double t, int df, double d) { return korvs_d_non_central_t_cdf(t, df, d); });
}
void BM_nc_t_df1e6_korvs_f(benchmark::State& s) {
    run3<float>(s, kNcT, kLargeDf, kNcDelta,
                [](float t, int df, float d) { return korvs_f_non_central_t_cdf(t, df, d); });
}
void BM_nc_t_df1e6_korvs_d(benchmark::State& s) {
    run3<double>(s, kNcT, kLargeDf, kNcDelta,
                 [](double t, int df, double d) { return korvs_d_non_central_t_cdf(t, df, d); });
}
void BM_nc_t_inv_korvs_f(benchmark::State& s) {
    run3<float>(s, kP, kSmallDf, kNcDelta,
                [](float p, int df, float d) { return korvs_f_non_central_t_inv_cdf(p, df, d); });
}
void BM_nc_t_inv_korvs_d(benchmark::State& s) {
    run3<double>(s, kP, kSmallDf, kNcDelta,
                 [](double p, int df, double d) { return korvs_d_non_central_t_inv_cdf(p, df, d); });
}
BENCHMARK(BM_F_inverse_korvs_f);
BENCHMARK(BM_F_inverse_korvs_d);
BENCHMARK(BM_beta_inverse_korvs_f);
BENCHMARK(BM_beta_inverse_korvs_d);
BENCHMARK(BM_nc_chi_sq_korvs_f);
BENCHMARK(BM_nc_chi_sq_korvs_d);
BENCHMARK(BM_nc_chi_sq_inv_korvs_f);
BENCHMARK(BM_nc_chi_sq_inv_korvs_d);
BENCHMARK(BM_nc_t_korvs_f);
BENCHMARK(BM_nc_t_korvs_d);
BENCHMARK(BM_nc_t_df1e6_korvs_f);
BENCHMARK(BM_nc_t_df1e6_korvs_d);
BENCHMARK(BM_nc_t_inv_korvs_f);
BENCHMARK(BM_nc_t_inv_korvs_d);

#ifdef KORVS_HAVE_GSL
void BM_F_inverse_gsl(benchmark::State& s) { run3<double>(s, kP, kFdfNum, kFdfDen, gsl_cdf_fdist_Pinv); }
void BM_beta_inverse_gsl(benchmark::State& s) { run3<double>(s, kP, kBetaA, kBetaB, gsl_cdf_beta_Pinv); }
BENCHMARK(BM_F_inverse_gsl);
BENCHMARK(BM_beta_inverse_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_F_inverse_rmath(benchmark::State& s) {
    run3<double>(s, kP, kFdfNum, kFdfDen, [](double p, double m, double n) { return qf(p, m, n, 1, 0); });
}
void BM_beta_inverse_rmath(benchmark::State& s) {
    run3<double>(s, kP, kBetaA, kBetaB, [](double p, double a, double b) { return qbeta(p, a, b, 1, 0); });
}
void BM_nc_chi_sq_rmath(benchmark::State& s) {
    run3<double>(s, kNcX, kNcDf, kNcDelta,
                 [](double x, double df, double d) { return pnchisq(x, df, d, 1, 0); });
}
void BM_nc_chi_sq_inv_rmath(benchmark::State& s) {
    run3<double>(s, kP, kNcDf, kNcDelta,
                 [](double p, double df, double d) { return qnchisq(p, df, d, 1, 0); });
}
void BM_nc_t_rmath(benchmark::State& s) {
    run3<double>(s, kNcT, kSmallDf, kNcDelta, [](double t, int df, double d) { return pnt(t, df, d, 1, 0); });
}
void BM_nc_t_df1e6_rmath(benchmark::State& s) {
    run3<double>(s, kNcT, kLargeDf, kNcDelta, [](double t, int df, double d) { return pnt(t, df, d, 1, 0); });
}
void BM_nc_t_inv_rmath(benchmark::State& s) {
    run3<double>(s, kP, kSmallDf, kNcDelta, [](double p, int df, double d) { return qnt(p, df, d, 1, 0); });
}
BENCHMARK(BM_F_inverse_rmath);
BENCHMARK(BM_beta_inverse_rmath);
BENCHMARK(BM_nc_chi_sq_rmath);
BENCHMARK(BM_nc_chi_sq_inv_rmath);
BENCHMARK(BM_nc_t_rmath);
BENCHMARK(BM_nc_t_df1e6_rmath);
BENCHMARK(BM_nc_t_inv_rmath);
#endif

}  // namespace

int main(int argc, char** argv) {
    return korvs_bench::run_with_ratios(
        argc, argv,
        {"F_inverse", "beta_inverse", "nc_chi_sq", "nc_chi_sq_inv", "nc_t", "nc_t_df1e6", "nc_t_inv"});
}
