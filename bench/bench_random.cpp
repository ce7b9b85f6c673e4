// Throughput of the random generators, side by side in one run with GSL (its minimal
// standard generator gsl_rng_minstd drives every GSL deviate), R's standalone math library
// and <random> (std::minstd_rand0, the same recurrence as generator option 1): 10^7
// uniforms, and 10^6 normal, gamma (a = 2.5) and binomial (n = 50, p = 0.3) deviates. The
// table at the end gives nanoseconds per deviate and each korvstat routine's time over the
// fastest peer whose method is comparable.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#endif
#ifdef KORVS_HAVE_RMATH
#include <Rmath.h>
#endif

namespace {

constexpr int kUniforms = 10000000;
constexpr int kDeviates = 1000000;

template <class F> void run(benchmark::State& state, int n, F f) {
    for (auto _ : state) {
        f();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(n));
}

// korvstat, generator option 1.
void BM_uniform_korvs_f(benchmark::State& s) {
    std::vector<float> r(kUniforms);
    korvs_random_seed_set(1234);
    run(s, kUniforms, [&] { korvs_rnun(kUniforms, r.data()); });
}
void BM_uniform_korvs_d(benchmark::State& s) {
    std::vector<double> r(kUniforms);
    korvs_random_seed_set(1234);
    run(s, kUniforms, [&] { korvs_drnun(kUniforms, r.data()); });
}
void BM_uniform_korvs_shuffled(benchmark::State& s) {
    std::vector<double> r(kUniforms);
    korvs_random_option(2);
    korvs_random_seed_set(1234);
    run(s, kUniforms, [&] { korvs_drnun(kUniforms, r.data()); });
    korvs_random_option(1);
}
void BM_normal_korvs_f(benchmark::State& s) {
    std::vector<float> r(kDeviates);
    run(s, kDeviates, [&] { korvs_f_random_normal(kDeviates, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_normal_korvs_d(benchmark::State& s) {
    std::vector<double> r(kDeviates);
    run(s, kDeviates, [&] { korvs_d_random_normal(kDeviates, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_normal_ar_korvs_f(benchmark::State& s) {
    std::vector<float> r(kDeviates);
    run(s, kDeviates, [&] { korvs_f_random_normal(kDeviates, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_normal_ar_korvs_d(benchmark::State& s) {
    std::vector<double> r(kDeviates);
    run(s, kDeviates, [&] { korvs_d_random_normal(kDeviates, KORVS_ACCEPT_REJECT, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_gamma_korvs_f(benchmark::State& s) {
    std::vector<float> r(kDeviates);
    run(s, kDeviates, [&] { korvs_f_random_gamma(kDeviates, 2.5f, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_gamma_korvs_d(benchmark::State& s) {
    std::vector<double> r(kDeviates);
    run(s, kDeviates, [&] { korvs_d_random_gamma(kDeviates, 2.5, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_binomial_korvs_f(benchmark::State& s) {
    std::vector<int> r(kDeviates);
    run(s, kDeviates, [&] { korvs_f_random_binomial(kDeviates, 50, 0.3f, KORVS_RETURN_USER, r.data(), 0); });
}
void BM_binomial_korvs_d(benchmark::State& s) {
    std::vector<int> r(kDeviates);
    run(s, kDeviates, [&] { korvs_d_random_binomial(kDeviates, 50, 0.3, KORVS_RETURN_USER, r.data(), 0); });
}
BENCHMARK(BM_uniform_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_uniform_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_uniform_korvs_shuffled)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_ar_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_ar_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gamma_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gamma_korvs_d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_binomial_korvs_f)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_binomial_korvs_d)->Unit(benchmark::kMillisecond);

// <random> over std::minstd_rand0.
std::minstd_rand0 engine(1234);
void BM_uniform_std(benchmark::State& s) {
    std::vector<double> r(kUniforms);
    std::uniform_real_distribution<double> d;
    run(s, kUniforms, [&] {
        for (double& x : r)
            x = d(engine);
    });
}
void BM_normal_std(benchmark::State& s) {
    std::vector<double> r(kDeviates);
    std::normal_distribution<double> d;
    run(s, kDeviates, [&] {
        for (double& x : r)
            x = d(engine);
    });
}
void BM_gamma_std(benchmark::State& s) {
    std::vector<double> r(kDeviates);
    std::gamma_distribution<double> d(2.5);
    run(s, kDeviates, [&] {
        for (double& x : r)
            x = d(engine);
    });
}
void BM_binomial_std(benchmark::State& s) {
    std::vector<int> r(kDeviates);
    std::binomial_distribution<int> d(50, 0.3);
    run(s, kDeviates, [&] {
        for (int& x : r)
            x = d(engine);
    });
}
BENCHMARK(BM_uniform_std)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_std)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gamma_std)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_binomial_std)->Unit(benchmark::kMillisecond);

#ifdef KORVS_HAVE_GSL
gsl_rng* gsl_minstd() {
    static gsl_rng* r = [] {
        gsl_rng* g = gsl_rng_alloc(gsl_rng_minstd);
        gsl_rng_set(g, 1234);
        return g;
    }();
    return r;
}
void BM_uniform_gsl(benchmark::State& s) {
    std::vector<double> r(kUniforms);
    gsl_rng* g = gsl_minstd();
    run(s, kUniforms, [&] {
        for (double& x : r)
            x = gsl_rng_uniform(g);
    });
}
template <class F> void gsl_deviates(benchmark::State& s, F f) {
    std::vector<double> r(kDeviates);
    gsl_rng* g = gsl_minstd();
    run(s, kDeviates, [&] {
        for (double& x : r)
            x = f(g);
    });
}
void BM_normal_polar_gsl(benchmark::State& s) { gsl_deviates(s, [](gsl_rng* g) { return gsl_ran_gaussian(g, 1); }); }
void BM_normal_ratio_gsl(benchmark::State& s) {
    gsl_deviates(s, [](gsl_rng* g) { return gsl_ran_gaussian_ratio_method(g, 1); });
}
void BM_normal_ziggurat_gsl(benchmark::State& s) {
    gsl_deviates(s, [](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1); });
}
void BM_gamma_gsl(benchmark::State& s) { gsl_deviates(s, [](gsl_rng* g) { return gsl_ran_gamma(g, 2.5, 1); }); }
void BM_binomial_gsl(benchmark::State& s) {
    gsl_deviates(s, [](gsl_rng* g) { return double(gsl_ran_binomial(g, 0.3, 50)); });
}
BENCHMARK(BM_uniform_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_polar_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_ratio_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_ziggurat_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gamma_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_binomial_gsl)->Unit(benchmark::kMillisecond);
#endif

#ifdef KORVS_HAVE_RMATH
template <class F> void rmath_deviates(benchmark::State& s, int n, F f) {
    std::vector<double> r(n);
    set_seed(1234, 5678);
    run(s, n, [&] {
        for (double& x : r)
            x = f();
    });
}
void BM_uniform_rmath(benchmark::State& s) { rmath_deviates(s, kUniforms, [] { return unif_rand(); }); }
void BM_normal_rmath(benchmark::State& s) { rmath_deviates(s, kDeviates, [] { return norm_rand(); }); }
void BM_gamma_rmath(benchmark::State& s) { rmath_deviates(s, kDeviates, [] { return rgamma(2.5, 1); }); }
void BM_binomial_rmath(benchmark::State& s) { rmath_deviates(s, kDeviates, [] { return rbinom(50, 0.3); }); }
BENCHMARK(BM_uniform_rmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_normal_rmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_gamma_rmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_binomial_rmath)->Unit(benchmark::kMillisecond);
#endif

// The console report, then ns per deviate and the ratios: korvstat's time over the
// fastest peer of a comparable method (uniforms: GSL minstd and <random>'s minstd_rand0,
// the same recurrence; normal by inversion: R's; by acceptance/rejection: GSL's ratio
// and polar methods; gamma and binomial: every peer, all rejection methods).
class DeviateReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto it = run.counters.find("items_per_second");
            if (it != run.counters.end() && it->second.value > 0) ns_[run.benchmark_name()] = 1e9 / it->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-28s %10s\n", "ns per deviate", "");
        for (const auto& [name, ns] : ns_)
            std::printf("%-28s %10.2f\n", name.c_str(), ns);
        std::printf("\n%-28s %-44s %8s\n", "korvstat over peer", "peers of a comparable method", "ratio");
        ratio("BM_uniform_korvs_f", {"BM_uniform_gsl", "BM_uniform_std"});
        ratio("BM_uniform_korvs_d", {"BM_uniform_gsl", "BM_uniform_std"});
        ratio("BM_normal_korvs_f", {"BM_normal_rmath"});
        ratio("BM_normal_korvs_d", {"BM_normal_rmath"});
        ratio("BM_normal_ar_korvs_f", {"BM_normal_ratio_gsl", "BM_normal_polar_gsl", "BM_normal_std"});
        ratio("BM_normal_ar_korvs_d", {"BM_normal_ratio_gsl", "BM_normal_polar_gsl", "BM_normal_std"});
        ratio("BM_gamma_korvs_f", {"BM_gamma_gsl", "BM_gamma_rmath", "BM_gamma_std"});
        ratio("BM_gamma_korvs_d", {"BM_gamma_gsl", "BM_gamma_rmath", "BM_gamma_std"});
        ratio("BM_binomial_korvs_f", {"BM_binomial_gsl", "BM_binomial_rmath", "BM_binomial_std"});
        ratio("BM_binomial_korvs_d", {"BM_binomial_gsl", "BM_binomial_rmath", "BM_binomial_std"});
    }

private:
    void ratio(const std::string& ours, std::initializer_list<const char*> peers) {
        std::string best;
        for (const char* p : peers) {
            if (ns_.count(p) && (best.empty() || ns_[p] < ns_[best])) best = p;
        }
        if (best.empty() || !ns_.count(ours)) return;
        std::printf("%-28s %-44s %8.2f\n", ours.c_str(), best.c_str(), ns_[ours] / ns_[best]);
    }
    std::map<std::string, double> ns_;
};

}  // namespace

int main(int argc, char** argv) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    benchmark::Initialize(&argc, argv);
    DeviateReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
