// Throughput of the normal distribution function and its inverse, erf and erfc, in both
// twins with signal trapping off, against GSL and R's standalone math library in the
// same run where they are installed. The peers work in double; the table at the end
// gives each twin's time per call over the faster peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_sf_erf.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

constexpr int kPoints = 1024;

// Arguments spread over the range where each function is used: a fixed sequence, so
// that every library sees the same work.
std::vector<double> spread(double low, double high) {
    std::vector<double> v(kPoints);
    unsigned long long state = 12345;
    for (double& x : v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        x = low + (high - low) * static_cast<double>(state >> 11) / 9007199254740992.0;
    }
    return v;
}

const std::vector<double> kCdfArgs = spread(-8, 8);
const std::vector<double> kProbabilities = spread(1e-6, 1 - 1e-6);
const std::vector<double> kErfArgs = spread(-4, 4);
const std::vector<double> kErfcArgs = spread(-3, 9);

template <class T, class F> void run(benchmark::State& state, const std::vector<double>& args, F f) {
    std::vector<T> in(args.begin(), args.end());
    for (auto _ : state) {
        for (T x : in)
            benchmark::DoNotOptimize(f(x));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

#define KORVS_BENCH_PAIR(name, args, f_routine, d_routine)                                                   \
    void BM_##name##_korvs_f(benchmark::State& s) {                                                          \
        run<float>(s, args, [](float x) { return f_routine(x); });                                           \
    }                                                                                                        \
    void BM_##name##_korvs_d(benchmark::State& s) {                                                          \
        run<double>(s, args, [](double x) { return d_routine(x); });                                         \
    }                                                                                                        \
    BENCHMARK(BM_##name##_korvs_f);                                                                          \
    BENCHMARK(BM_##name##_korvs_d);

KORVS_BENCH_PAIR(normal_cdf, kCdfArgs, korvs_f_normal_cdf, korvs_d_normal_cdf)
KORVS_BENCH_PAIR(normal_inverse_cdf, kProbabilities, korvs_f_normal_inverse_cdf, korvs_d_normal_inverse_cdf)
KORVS_BENCH_PAIR(erf, kErfArgs, korvs_f_erf, korvs_d_erf)
KORVS_BENCH_PAIR(erfc, kErfcArgs, korvs_f_erfc, korvs_d_erfc)

#ifdef KORVS_HAVE_GSL
void BM_normal_cdf_gsl(benchmark::State& s) { run<double>(s, kCdfArgs, gsl_cdf_ugaussian_P); }
void BM_normal_inverse_cdf_gsl(benchmark::State& s) {
    run<double>(s, kProbabilities, gsl_cdf_ugaussian_Pinv);
}
void BM_erf_gsl(benchmark::State& s) { run<double>(s, kErfArgs, gsl_sf_erf); }
void BM_erfc_gsl(benchmark::State& s) { run<double>(s, kErfcArgs, gsl_sf_erfc); }
BENCHMARK(BM_normal_cdf_gsl);
BENCHMARK(BM_normal_inverse_cdf_gsl);
BENCHMARK(BM_erf_gsl);
BENCHMARK(BM_erfc_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_normal_cdf_rmath(benchmark::State& s) {
    run<double>(s, kCdfArgs, [](double x) { return pnorm(x, 0.0, 1.0, 1, 0); });
}
void BM_normal_inverse_cdf_rmath(benchmark::State& s) {
    run<double>(s, kProbabilities, [](double p) { return qnorm(p, 0.0, 1.0, 1, 0); });
}
// R has no erf of its own: erf(x) = 2 Phi(x sqrt 2) - 1, erfc(x) = 2 Phi(-x sqrt 2).
void BM_erf_rmath(benchmark::State& s) {
    run<double>(s, kErfArgs, [](double x) { return 2 * pnorm(x * M_SQRT2, 0.0, 1.0, 1, 0) - 1; });
}
void BM_erfc_rmath(benchmark::State& s) {
    run<double>(s, kErfcArgs, [](double x) { return 2 * pnorm(x * M_SQRT2, 0.0, 1.0, 0, 0); });
}
BENCHMARK(BM_normal_cdf_rmath);
BENCHMARK(BM_normal_inverse_cdf_rmath);
BENCHMARK(BM_erf_rmath);
BENCHMARK(BM_erfc_rmath);
#endif

// The console report, and then each twin's time over the faster peer's.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        // One run, or the median of repetitions (--benchmark_repetitions) where there are.
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !medians_.count(run.run_name.str()))
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
                medians_.insert(run.run_name.str());
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-20s %10s %10s %10s %10s %14s %14s\n", "per call, ns", "korvs_f", "korvs_d", "gsl",
                    "rmath", "f/best peer", "d/best peer");
        for (const char* name : {"normal_cdf", "normal_inverse_cdf", "erf", "erfc"}) {
            double f = per_call(name, "korvs_f"), d = per_call(name, "korvs_d");
            double gsl = per_call(name, "gsl"), rmath = per_call(name, "rmath");
            double best = gsl > 0 && (rmath <= 0 || gsl < rmath) ? gsl : rmath;
            std::printf("%-20s %10.2f %10.2f %10.2f %10.2f", name, f, d, gsl, rmath);
            if (best > 0)
                std::printf(" %14.2f %14.2f\n", f / best, d / best);
            else
                std::printf(" %14s %14s\n", "-", "-");
        }
    }

private:
    double per_call(const std::string& name, const std::string& who) const {
        auto it = times_.find("BM_" + name + "_" + who);
        return it == times_.end() ? 0 : it->second / kPoints;
    }
    std::map<std::string, double> times_;
    std::set<std::string> medians_;
};

}  // namespace

int main(int argc, char** argv) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
#ifdef KORVS_HAVE_GSL
    gsl_set_error_handler_off();
#endif
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
