// Sorting 10^6 and 10^7 floats and doubles with korvs_svrgn beside std::sort and GSL's
// heapsort (gsl_sort), and the average ranks of 10^6 doubles with korvs_d_ranks beside
// the std::sort of an index array and one pass over it, all in one run. Each iteration
// copies the unsorted input and sorts the copy. Ends with a table of the time per element
// and korvstat's time over each peer's.
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "peers.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_sort_double.h>
#include <gsl/gsl_sort_float.h>
#endif

namespace {

// A fixed sequence of uniform values in [-1, 1); with levels > 0, rounded to that many
// levels, which makes ties.
template <class T> std::vector<T> data(std::size_t n, int levels = 0) {
    std::vector<T> v(n);
    unsigned long long state = 88172645463325252ull;
    for (T& x : v) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        double u = 2.0 * static_cast<double>(state >> 11) / 9007199254740992.0 - 1.0;
        if (levels > 0) u = static_cast<double>(static_cast<long long>(u * levels)) / levels;
        x = static_cast<T>(u);
    }
    return v;
}

template <class T> struct Input {
    std::vector<T> in, out;
    explicit Input(std::size_t n, int levels = 0) : in(data<T>(n, levels)), out(n) {}
};

template <class T> void finish(benchmark::State& state, std::size_t n) {
    state.SetItemsProcessed(static_cast<long long>(state.iterations()) * static_cast<long long>(n));
}

template <class T> void BM_sort_korvs(benchmark::State& state) {
    Input<T> d(state.range(0));
    const int n = static_cast<int>(d.in.size());
    for (auto _ : state) {
        if constexpr (sizeof(T) == sizeof(float))
            korvs_svrgn(n, d.in.data(), d.out.data());
        else
            korvs_dsvrgn(n, d.in.data(), d.out.data());
        benchmark::ClobberMemory();
    }
    finish<T>(state, d.in.size());
}

template <class T> void BM_sort_std(benchmark::State& state) {
    Input<T> d(state.range(0));
    for (auto _ : state) {
        std::memcpy(d.out.data(), d.in.data(), d.in.size() * sizeof(T));
        std::sort(d.out.begin(), d.out.end());
        benchmark::ClobberMemory();
    }
    finish<T>(state, d.in.size());
}

#ifdef KORVS_HAVE_GSL
template <class T> void BM_sort_gsl(benchmark::State& state) {
    Input<T> d(state.range(0));
    for (auto _ : state) {
        std::memcpy(d.out.data(), d.in.data(), d.in.size() * sizeof(T));
        if constexpr (sizeof(T) == sizeof(float))
            gsl_sort_float(d.out.data(), 1, d.out.size());
        else
            gsl_sort(d.out.data(), 1, d.out.size());
        benchmark::ClobberMemory();
    }
    finish<T>(state, d.in.size());
}
#endif

constexpr int kRankN = 1000000;

// range(0): 0 for distinct values, else the number of levels of tied values.
void BM_ranks_korvs(benchmark::State& state) {
    Input<double> d(kRankN, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        korvs_d_ranks(kRankN, d.in.data(), KORVS_RETURN_USER, d.out.data(), 0);
        benchmark::ClobberMemory();
    }
    finish<double>(state, kRankN);
}

// The common way: sort the indices by their values, then give each run of equal values
// the mean of its places.
void BM_ranks_std(benchmark::State& state) {
    Input<double> d(kRankN, static_cast<int>(state.range(0)));
    std::vector<int> index(kRankN);
    for (auto _ : state) {
        std::iota(index.begin(), index.end(), 0);
        const double* x = d.in.data();
        std::sort(index.begin(), index.end(), [x](int a, int b) { return x[a] < x[b]; });
        for (int i = 0; i < kRankN;) {
            int j = i + 1;
            while (j < kRankN && x[index[j]] == x[index[i]])
                ++j;
            const double mean = 0.5 * (i + 1 + j);
            for (int k = i; k < j; ++k)
                d.out[index[k]] = mean;
            i = j;
        }
        benchmark::ClobberMemory();
    }
    finish<double>(state, kRankN);
}

BENCHMARK_TEMPLATE(BM_sort_korvs, float)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_sort_std, float)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_sort_korvs, double)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_sort_std, double)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
#ifdef KORVS_HAVE_GSL
BENCHMARK_TEMPLATE(BM_sort_gsl, float)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_sort_gsl, double)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_ranks_korvs)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ranks_std)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);

// The console report, then per case the time per element and korvstat's over each peer's.
class Ratios : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration || run.aggregate_name == "median")
                per_element_[run.run_name.str()] = run.GetAdjustedCPUTime() * 1e6 / items(run.run_name.str());
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-26s %10s %10s %10s %12s %12s\n", "ns per element", "korvstat", "std", "gsl",
                    "korvs/std", "korvs/gsl");
        for (const char* type : {"float", "double"})
            for (const char* n : {"1000000", "10000000"})
                row(std::string("sort ") + type + " " + n, "BM_sort_korvs<" + std::string(type) + ">/" + n,
                    "BM_sort_std<" + std::string(type) + ">/" + n,
                    "BM_sort_gsl<" + std::string(type) + ">/" + n);
        row("ranks distinct 1000000", "BM_ranks_korvs/0", "BM_ranks_std/0", "");
        row("ranks 1000 levels 1000000", "BM_ranks_korvs/1000", "BM_ranks_std/1000", "");
    }

private:
    static double items(const std::string& name) {
        if (name.rfind("BM_ranks", 0) == 0) return kRankN;
        return std::stod(name.substr(name.rfind('/') + 1));
    }
    double get(const std::string& name) const {
        auto it = per_element_.find(name);
        return it == per_element_.end() ? 0 : it->second;
    }
    void row(const std::string& label, const std::string& korvs, const std::string& std_name,
             const std::string& gsl) const {
        const double k = get(korvs), s = get(std_name), g = gsl.empty() ? 0 : get(gsl);
        std::printf("%-26s %10.1f %10.1f %10.1f", label.c_str(), k, s, g);
        if (s > 0)
            std::printf(" %12.2f", k / s);
        else
            std::printf(" %12s", "-");
        if (g > 0)
            std::printf(" %12.2f\n", k / g);
        else
            std::printf(" %12s\n", "-");
    }
    std::map<std::string, double> per_element_;
};

}  // namespace

int main(int argc, char** argv) {
    Ratios reporter;
    return korvs_bench::run_with(argc, argv, reporter);
}
