// The rank sum test and the Kruskal-Wallis test on 10^6 observations (two samples of
// 500000; five groups of 200000), distinct values and values of 1000 levels, in both
// twins, beside R's wilcox.test (normal approximation, no continuity correction) and
// kruskal.test on the same data. R is timed once, from the benchmark's setup, by Rscript
// reading the data from a temporary file: the median CPU time of five calls of each
// function, its reading of the file not counted. Ends with a table of the CPU time per
// call and korvstat's over R's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include "peers.hpp"

namespace {

constexpr int kN = 1000000, kGroups = 5;

// A fixed sequence of uniform values in [0, 1); with levels > 0, rounded down to that
// many levels, which makes ties.
std::vector<double> data(int levels) {
    std::vector<double> v(kN);
    unsigned long long state = 88172645463325252ull;
    for (double& x : v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        double u = static_cast<double>(state >> 11) / 9007199254740992.0;
        // A shift of the second half (the second sample, the later groups) gives the
        // tests something to find.
        if (&x - v.data() >= kN / 2) u = u * 0.98 + 0.02;
        if (levels > 0) u = static_cast<double>(static_cast<long long>(u * levels)) / levels;
        x = u;
    }
    return v;
}

template <class T> void BM_rank_sum(benchmark::State& state) {
    const std::vector<double> d = data(static_cast<int>(state.range(0)));
    std::vector<T> v(d.begin(), d.end());
    const int half = kN / 2;
    for (auto _ : state) {
        if constexpr (sizeof(T) == sizeof(float))
            benchmark::DoNotOptimize(korvs_f_wilcoxon_rank_sum(half, v.data(), half, v.data() + half, 0));
        else
            benchmark::DoNotOptimize(korvs_d_wilcoxon_rank_sum(half, v.data(), half, v.data() + half, 0));
    }
}

template <class T> void BM_kruskal_wallis(benchmark::State& state) {
    const std::vector<double> d = data(static_cast<int>(state.range(0)));
    std::vector<T> v(d.begin(), d.end());
    int ni[kGroups];
    for (int& n : ni)
        n = kN / kGroups;
    for (auto _ : state) {
        T* r;
        if constexpr (sizeof(T) == sizeof(float))
            r = korvs_f_kruskal_wallis_test(kGroups, ni, v.data(), 0);
        else
            r = korvs_d_kruskal_wallis_test(kGroups, ni, v.data(), 0);
        benchmark::DoNotOptimize(r);
        std::free(r);
    }
}

BENCHMARK_TEMPLATE(BM_rank_sum, float)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_rank_sum, double)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_kruskal_wallis, float)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_kruskal_wallis, double)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);

// R's times in milliseconds by case ("wilcox/0", "kruskal/1000", ...); empty without
// Rscript.
std::map<std::string, double> time_r() {
    std::map<std::string, double> times;
    if (std::system("Rscript --version > /dev/null 2>&1") != 0) return times;
    char dir[] = "/tmp/korvs_bench_XXXXXX";
    if (!mkdtemp(dir)) return times;
    const std::string base(dir);
    for (int levels : {0, 1000}) {
        const std::vector<double> d = data(levels);
        FILE* f = std::fopen((base + "/data" + std::to_string(levels)).c_str(), "wb");
        if (!f) return times;
        std::fwrite(d.data(), sizeof(double), d.size(), f);
        std::fclose(f);
    }
    const std::string script = base + "/time.R";
    FILE* s = std::fopen(script.c_str(), "w");
    if (!s) return times;
    std::fprintf(s,
                 "n <- %d; g <- %d\n"
                 "for (levels in c(0, 1000)) {\n"
                 "  y <- readBin(file.path('%s', paste0('data', levels)), 'double', n)\n"
                 "  x1 <- y[1:(n / 2)]; x2 <- y[(n / 2 + 1):n]; grp <- rep(1:g, each = n / g)\n"
                 "  cpu <- function(t) t[['user.self']] + t[['sys.self']]\n"
                 "  tw <- median(replicate(5, cpu(system.time(wilcox.test(x1, x2, exact = FALSE, correct = FALSE)))))\n"
                 "  tk <- median(replicate(5, cpu(system.time(kruskal.test(y, grp)))))\n"
                 "  cat('wilcox/', levels, ' ', 1000 * tw, '\\n', 'kruskal/', levels, ' ', 1000 * tk, '\\n', sep = '')\n"
                 "}\n",
                 kN, kGroups, base.c_str());
    std::fclose(s);
    FILE* p = popen(("Rscript " + script + " 2>/dev/null").c_str(), "r");
    if (p) {
        char name[64];
        double ms;
        while (std::fscanf(p, "%63s %lf", name, &ms) == 2)
            times[name] = ms;
        pclose(p);
    }
    std::system(("rm -rf " + base).c_str());
    return times;
}

// The console report, then the time per call of each case and korvstat's over R's.
class Ratios : public benchmark::ConsoleReporter {
public:
    explicit Ratios(std::map<std::string, double> r) : r_(std::move(r)) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration || run.aggregate_name == "median")
                ms_[run.run_name.str()] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-34s %10s %10s %10s %10s %10s\n", "ms per call, 10^6 observations", "korvs_f", "korvs_d",
                    "R", "f/R", "d/R");
        for (const char* levels : {"0", "1000"}) {
            row(std::string("rank sum, ") + (levels[0] == '0' ? "distinct" : "1000 levels"), "BM_rank_sum",
                std::string("wilcox/") + levels, levels);
            row(std::string("Kruskal-Wallis, ") + (levels[0] == '0' ? "distinct" : "1000 levels"),
                "BM_kruskal_wallis", std::string("kruskal/") + levels, levels);
        }
    }

private:
    double get(const std::string& name) const {
        auto it = ms_.find(name);
        return it == ms_.end() ? 0 : it->second;
    }
    void row(const std::string& label, const std::string& bench, const std::string& r_name,
             const std::string& levels) const {
        const double f = get(bench + "<float>/" + levels), d = get(bench + "<double>/" + levels);
        auto it = r_.find(r_name);
        const double r = it == r_.end() ? 0 : it->second;
        std::printf("%-34s %10.1f %10.1f %10.1f", label.c_str(), f, d, r);
        if (r > 0)
            std::printf(" %10.3f %10.3f\n", f / r, d / r);
        else
            std::printf(" %10s %10s\n", "-", "-");
    }
    std::map<std::string, double> ms_, r_;
};

}  // namespace

int main(int argc, char** argv) {
    // The tests warn of ties and of the beta approximation on every call: not printed.
    korvs_error_options(KORVS_SET_PRINT, KORVS_WARNING, 0, 0);
    Ratios reporter(time_r());
    return korvs_bench::run_with(argc, argv, reporter);
}
