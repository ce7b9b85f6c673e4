// The Cholesky factorisation through korvs_d_cholesky and the LU factorisation with one
// solution (korvs_l2trg and korvs_lfsrg inside the library) on 500 by 500 doubles, side
// by side with reference LAPACK (dpotrf, dgesv) and GSL in the same run where they are
// installed. The peers work in place, so each of their iterations first copies the
// matrix (and the right-hand side) back, a copy that korvstat makes inside the call as
// well. The table at the end gives korvstat's CPU time over each peer's (CPU time, as the
// machine may be shared).
#include <benchmark/benchmark.h>
#include <korvstat.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "dense.hpp"
#include "kernels/linear_systems.hpp"

#ifdef KORVS_HAVE_GSL
#include <gsl/gsl_errno.h>
#include <gsl/gsl_linalg.h>
#endif

#ifdef KORVS_HAVE_REFLAPACK
extern "C" {
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info, std::size_t);
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb,
            int* info);
}
#endif

namespace {

constexpr int kN = 500;

using korvs_bench::flops;
using korvs_bench::random;

// A well-conditioned positive definite matrix, B B' / n + I, and a general one.
struct Problem {
    std::vector<double> general = random(std::size_t(kN) * kN, 1);
    std::vector<double> rhs = random(kN, 2);
    std::vector<double> definite = std::vector<double>(std::size_t(kN) * kN);
    Problem() {
        for (int i = 0; i < kN; ++i)
            for (int j = 0; j < kN; ++j) {
                double s = 0;
                for (int k = 0; k < kN; ++k) s += general[i + k * kN] * general[j + k * kN];
                definite[i + j * kN] = s / kN + (i == j);
            }
    }
};

const Problem& problem() {
    static const Problem p;
    return p;
}

const double kCholeskyFlops = kN * double(kN) * kN / 3, kLuFlops = 2 * kN * double(kN) * kN / 3 + 2.0 * kN * kN;

void BM_cholesky_korvs(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> r(p.definite.size());
    for (auto _ : state) {
        korvs_d_cholesky(kN, p.definite.data(), KORVS_RETURN_USER, r.data(), 0);
        benchmark::ClobberMemory();
    }
    flops(state, kCholeskyFlops);
}

void BM_lu_solve_korvs(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> fac(p.general.size()), scale(kN), x(kN);
    std::vector<int> ipvt(kN);
    for (auto _ : state) {
        korvs::l2trg(kN, p.general.data(), kN, fac.data(), kN, ipvt.data(), scale.data());
        korvs::lfsrg(kN, fac.data(), kN, ipvt.data(), p.rhs.data(), 1, x.data());
        benchmark::ClobberMemory();
    }
    flops(state, kLuFlops);
}

#ifdef KORVS_HAVE_REFLAPACK
void BM_cholesky_lapack(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> r(p.definite.size());
    int n = kN, info = 0;
    for (auto _ : state) {
        r = p.definite;
        dpotrf_("U", &n, r.data(), &n, &info, 1);
        benchmark::ClobberMemory();
    }
    flops(state, kCholeskyFlops);
}

void BM_lu_solve_lapack(benchmark::State& state) {
    const Problem& p = problem();
    std::vector<double> fac(p.general.size()), x(kN);
    std::vector<int> ipiv(kN);
    int n = kN, one = 1, info = 0;
    for (auto _ : state) {
        fac = p.general;
        x = p.rhs;
        dgesv_(&n, &one, fac.data(), &n, ipiv.data(), x.data(), &n, &info);
        benchmark::ClobberMemory();
    }
    flops(state, kLuFlops);
}
#endif

#ifdef KORVS_HAVE_GSL
void BM_cholesky_gsl(benchmark::State& state) {
    const Problem& p = problem();
    gsl_matrix* m = gsl_matrix_alloc(kN, kN);
    for (auto _ : state) {
        std::copy(p.definite.begin(), p.definite.end(), m->data);
        gsl_linalg_cholesky_decomp1(m);
        benchmark::ClobberMemory();
    }
    gsl_matrix_free(m);
    flops(state, kCholeskyFlops);
}

void BM_lu_solve_gsl(benchmark::State& state) {
    const Problem& p = problem();
    gsl_matrix* m = gsl_matrix_alloc(kN, kN);
    gsl_permutation* perm = gsl_permutation_alloc(kN);
    gsl_vector_const_view b = gsl_vector_const_view_array(p.rhs.data(), kN);
    gsl_vector* x = gsl_vector_alloc(kN);
    int sign = 0;
    for (auto _ : state) {
        std::copy(p.general.begin(), p.general.end(), m->data);
        gsl_linalg_LU_decomp(m, perm, &sign);
        gsl_linalg_LU_solve(m, perm, &b.vector, x);
        benchmark::ClobberMemory();
    }
    gsl_vector_free(x);
    gsl_permutation_free(perm);
    gsl_matrix_free(m);
    flops(state, kLuFlops);
}
#endif

// The console report, then for each task korvstat's time and each peer's with the ratio.
class Ratios : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (median || (run.run_type == Run::RT_Iteration && !medians_.count(run.run_name.str())))
                times_[run.run_name.str()] = run.GetAdjustedCPUTime();
            if (median) medians_.insert(run.run_name.str());
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-12s %12s %12s %12s %14s %14s\n", "500 x 500", "korvstat", "LAPACK", "GSL", "korvs/LAPACK",
                    "korvs/GSL");
        for (const char* task : {"cholesky", "lu_solve"}) {
            double k = time(task, "korvs"), lapack = time(task, "lapack"), gsl = time(task, "gsl");
            std::printf("%-12s %12.3f %12.3f %12.3f", task, k, lapack, gsl);
            for (double peer : {lapack, gsl}) {
                if (peer > 0)
                    std::printf(" %14.2f", k / peer);
                else
                    std::printf(" %14s", "-");
            }
            std::printf("   (ms)\n");
        }
    }

private:
    double time(const std::string& task, const std::string& who) const {
        auto it = times_.find("BM_" + task + "_" + who);
        return it == times_.end() ? 0 : it->second;  // in ms, the unit of every run
    }
    std::map<std::string, double> times_;
    std::set<std::string> medians_;
};

}  // namespace

BENCHMARK(BM_cholesky_korvs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_lu_solve_korvs)->Unit(benchmark::kMillisecond);
#ifdef KORVS_HAVE_REFLAPACK
BENCHMARK(BM_cholesky_lapack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_lu_solve_lapack)->Unit(benchmark::kMillisecond);
#endif
#ifdef KORVS_HAVE_GSL
BENCHMARK(BM_cholesky_gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_lu_solve_gsl)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
#ifdef KORVS_HAVE_GSL
    gsl_set_error_handler_off();
#endif
    benchmark::Initialize(&argc, argv);
    Ratios reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
