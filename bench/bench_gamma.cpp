// Throughput of log gamma, gamma and the gamma distribution function in both twins with
// signal trapping off, against GSL and R's standalone math library in the same run
// where they are installed. The peers work in double; the table at the end gives each
// twin's time per call over the faster peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_sf_gamma.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

constexpr int kPoints = 1024;

// A fixed sequence of arguments, so that every library sees the same work.
std::vector<double> spread(double low, double high, unsigned long long seed) {
    std::vector<double> v(kPoints);
    unsigned long long state = seed;
    for (double& x : v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        x = low + (high - low) * static_cast<double>(state >> 11) / 9007199254740992.0;
    }
    return v;
}

// Both branches of each function: the series with its recurrence below 10 and Stirling's
// formula above; for the cdf the series below the mode and the continued fraction above.
const std::vector<double> kLogGammaArgs = spread(0.1, 60, 1);
const std::vector<double> kGammaArgs = spread(0.1, 30, 2);  // within the float twin's range
const std::vector<double> kCdfX = spread(0.05, 25, 3);
const std::vector<double> kCdfShape = spread(0.5, 15, 4);

template <class T, class F> void run(benchmark::State& state, const std::vector<double>& args, F f) {
    std::vector<T> in(args.begin(), args.end());
    for (auto _ : state) {
        for (T x : in)
            benchmark::DoNotOptimize(f(x));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

template <class T, class F> void run2(benchmark::State& state, F f) {
    std::vector<T> x(kCdfX.begin(), kCdfX.end()), a(kCdfShape.begin(), kCdfShape.end());
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i)
            benchmark::DoNotOptimize(f(x[i], a[i]));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_log_gamma_korvs_f(benchmark::State& s) {
    run<float>(s, kLogGammaArgs, [](float x) { return korvs_f_log_gamma(x); });
}
void BM_log_gamma_korvs_d(benchmark::State& s) {
    run<double>(s, kLogGammaArgs, [](double x) { return korvs_d_log_gamma(x); });
}
void BM_gamma_korvs_f(benchmark::State& s) {
    run<float>(s, kGammaArgs, [](float x) { return korvs_f_gamma(x); });
}
void BM_gamma_korvs_d(benchmark::State& s) {
    run<double>(s, kGammaArgs, [](double x) { return korvs_d_gamma(x); });
}
void BM_gamma_cdf_korvs_f(benchmark::State& s) {
    run2<float>(s, [](float x, float a) { return korvs_f_gamma_cdf(x, a); });
}
void BM_gamma_cdf_korvs_d(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return korvs_d_gamma_cdf(x, a); });
}
BENCHMARK(BM_log_gamma_korvs_f);
BENCHMARK(BM_log_gamma_korvs_d);
BENCHMARK(BM_gamma_korvs_f);
BENCHMARK(BM_gamma_korvs_d);
BENCHMARK(BM_gamma_cdf_korvs_f);
BENCHMARK(BM_gamma_cdf_korvs_d);

#ifdef KORVS_HAVE_GSL
void BM_log_gamma_gsl(benchmark::State& s) { run<double>(s, kLogGammaArgs, gsl_sf_lngamma); }
void BM_gamma_gsl(benchmark::State& s) { run<double>(s, kGammaArgs, gsl_sf_gamma); }
void BM_gamma_cdf_gsl(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return gsl_cdf_gamma_P(x, a, 1.0); });
}
BENCHMARK(BM_log_gamma_gsl);
BENCHMARK(BM_gamma_gsl);
BENCHMARK(BM_gamma_cdf_gsl);
#endif

#ifdef KORVS_HAVE_RMATH
void BM_log_gamma_rmath(benchmark::State& s) { run<double>(s, kLogGammaArgs, lgammafn); }
void BM_gamma_rmath(benchmark::State& s) { run<double>(s, kGammaArgs, gammafn); }
void BM_gamma_cdf_rmath(benchmark::State& s) {
    run2<double>(s, [](double x, double a) { return pgamma(x, a, 1.0, 1, 0); });
}
BENCHMARK(BM_log_gamma_rmath);
BENCHMARK(BM_gamma_rmath);
BENCHMARK(BM_gamma_cdf_rmath);
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
        for (const char* name : {"log_gamma", "gamma", "gamma_cdf"}) {
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
