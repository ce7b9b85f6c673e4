// Ranks and rank scores: l_r2nks and the exported korvs_f_ranks. One sort of the values
// with their positions (the library's quicksort, korvs_svrgp), one pass over the sorted
// order that forms each place's score and applies the tie rule at the end of each group
// of tied neighbours, and one scatter of the scores to the positions of the values.
#include <cmath>
#include <cstdarg>

#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/workspace.hpp"
#include "kernels/sort.hpp"
#include "ranks.hpp"
#include "special/api.hpp"

namespace korvs {
namespace {

// The random split draws through the exported uniform routine of the twin, so that its
// uniforms are the thread's stream as a caller would draw it.
void draw_uniforms(int n, float* u) { korvs_f_random_uniform(n, KORVS_RETURN_USER, u, 0); }
void draw_uniforms(int n, double* u) { korvs_d_random_uniform(n, KORVS_RETURN_USER, u, 0); }

// The scores of the places 1..n of a sample of n, before ties.
template <class T> bool place_scores(int n, int score, T s[]) {
    switch (score) {
    case kScoreRanks:
        for (int i = 1; i <= n; ++i)
            s[i - 1] = static_cast<T>(i);
        return true;
    case kScoreSavage: {
        long double sum = 0;
        for (int i = 1; i <= n; ++i)
            s[i - 1] = static_cast<T>(sum += 1.0L / (n - i + 1));
        return true;
    }
    case kScoreExpectedNormal: {
        ExpectedNormalScores scores;
        if (!scores.build(n, std::log(static_cast<double>(mach<T>::tiny)))) return false;
        for (int i = 1; i <= n; ++i)
            s[i - 1] = static_cast<T>(scores.score(i));
        return true;
    }
    default:
        // The plotting positions in integer form, (8i - 3)/(8n + 2), (3i - 1)/(3n + 1) and
        // i/(n + 1): exact numerator and denominator, one rounding. Place n + 1 - i has the
        // complement of place i's, so the upper half is the lower half reflected: the
        // scores are exactly antisymmetric and no position near 1 is rounded.
        for (int i = 1; 2 * i <= n + 1; ++i) {
            const double di = i, dn = n;
            const double p = score == kScoreBlom    ? (8 * di - 3) / (8 * dn + 2)
                             : score == kScoreTukey ? (3 * di - 1) / (3 * dn + 1)
                                                    : di / (dn + 1);
            s[i - 1] = 2 * i == n + 1 ? T(0) : api::normal_inverse_cdf(static_cast<T>(p));
            s[n - i] = -s[i - 1];
        }
        return korvs_n1rty(0) < 4;
    }
}

// The tie rule over the group of places first..last (from 0) of the scores s.
template <class T> void apply_tie_rule(int tie, int first, int last, T s[], T u[]) {
    const int m = last - first + 1;
    if (m < 2) return;
    switch (tie) {
    case kTieAverage: {
        long double sum = 0;
        for (int i = first; i <= last; ++i)
            sum += s[i];
        const T mean = static_cast<T>(sum / m);
        for (int i = first; i <= last; ++i)
            s[i] = mean;
        break;
    }
    case kTieHighest:
        for (int i = first; i < last; ++i)
            s[i] = s[last];
        break;
    case kTieLowest:
        for (int i = first + 1; i <= last; ++i)
            s[i] = s[first];
        break;
    default: {
        // Fisher and Yates's shuffle: for k = m down to 2 the k-th place of the group
        // exchanges its score with one of the first k, chosen by the next uniform.
        draw_uniforms(m - 1, u);
        for (int k = m; k >= 2; --k) {
            int j = static_cast<int>(static_cast<double>(u[m - k]) * k);
            if (j >= k) j = k - 1;
            const T t = s[first + j];
            s[first + j] = s[first + k - 1];
            s[first + k - 1] = t;
        }
        break;
    }
    }
}

bool checks_refused(int n, bool fuzz_bad, int tie, int score) {
    int code = 0, value = 0;
    if (n < 2) {
        code = 11083;
        value = n;
    } else if (fuzz_bad) {
        code = 11084;
    } else if (tie < 0 || tie > 3) {
        code = 11085;
        value = tie;
    } else if (score < 0 || score > 5) {
        code = 11086;
        value = score;
    }
    if (code == 0) return false;
    if (code != 11084) korvs_e1sti(1, value);
    korvs_ermes(5, code);
    return true;
}

}  // namespace

template <class T> void r2nks(int n, const T x[], T fuzz, int tie, int score, T result[]) {
    const bool fuzz_bad = !(fuzz >= T(0));
    if (fuzz_bad) insert_real(1, fuzz);
    if (checks_refused(n, fuzz_bad, tie, score)) return;
    Workspace<T> sorted(Shape(n, "n_observations")), s(Shape(n, "n_observations")), u;
    Workspace<int> place(Shape(n, "n_observations"));
    if (!sorted || !s || !place || (tie == kTieRandomSplit && !u.allocate(Shape(n, "n_observations"))))
        return;
    // Missing values take no place: the others are packed with their positions from 1.
    int m = 0;
    for (int j = 0; j < n; ++j) {
        if (std::isnan(x[j])) continue;
        sorted[m] = x[j];
        place[m++] = j + 1;
    }
    if (m > 0) svrgp(m, sorted.get(), sorted.get(), place.get());
    if (m > 0 && !place_scores(m, score, s.get())) return;
    for (int i = 0, first = 0; i < m; ++i) {
        const bool tied = i + 1 < m && (sorted[i + 1] == sorted[i] || sorted[i + 1] - sorted[i] <= fuzz);
        if (tied) continue;
        apply_tie_rule(tie, first, i, s.get(), u.get());
        if (korvs_n1rty(0) > 3) return;
        first = i + 1;
    }
    for (int j = 0; j < n; ++j)
        if (std::isnan(x[j])) result[j] = mach<T>::nan;
    for (int i = 0; i < m; ++i)
        result[place[i] - 1] = s[i];
}

template void r2nks(int, const float[], float, int, int, float[]);
template void r2nks(int, const double[], double, int, int, double[]);

namespace {

// korvs_f_ranks: the options choose the fuzz, one tie rule (10017 for a second) and one
// score (10018 for a second).
template <class T> void l_ranks(int n_observations, const T x[], OptionList& opt, T** result) {
    T fuzz = T(0);
    int tie = kTieAverage, score = kScoreRanks, ties_given = 0, scores_given = 0;
    Output<T> out;
    out.set_plain(nullptr);
    for (int code; (code = opt.code()) != 0;) {
        int new_tie = -1, new_score = -1;
        switch (code) {
        case KORVS_FUZZ: fuzz = opt.real<T>(); break;
        case KORVS_FUZZ_ADR: opt.real_at(fuzz, "fuzz", "KORVS_FUZZ_ADR"); break;
        case KORVS_RETURN_USER: out.set_user(opt.user<T>("result", "KORVS_RETURN_USER")); break;
        case KORVS_AVERAGE: new_tie = kTieAverage; break;
        case KORVS_HIGHEST: new_tie = kTieHighest; break;
        case KORVS_LOWEST: new_tie = kTieLowest; break;
        case KORVS_RANDOM_SPLIT: new_tie = kTieRandomSplit; break;
        case KORVS_RANKS: new_score = kScoreRanks; break;
        case KORVS_BLOM_SCORES: new_score = kScoreBlom; break;
        case KORVS_TUKEY_SCORES: new_score = kScoreTukey; break;
        case KORVS_VAN_DER_WAERDEN_SCORES: new_score = kScoreVanDerWaerden; break;
        case KORVS_EXPECTED_NORMAL_SCORES: new_score = kScoreExpectedNormal; break;
        case KORVS_SAVAGE_SCORES: new_score = kScoreSavage; break;
        default: opt.unknown(code); return;
        }
        if (new_tie >= 0) {
            tie = new_tie;
            if (++ties_given > 1) {
                korvs_ermes(5, 10017);
                return;
            }
        }
        if (new_score >= 0) {
            score = new_score;
            if (++scores_given > 1) {
                korvs_ermes(5, 10018);
                return;
            }
        }
    }
    if (korvs_n1rty(0) > 0) return;
    if (n_observations >= 2 && !x) {
        korvs_e1stl(1, "x");
        korvs_ermes(5, 6002);
        return;
    }
    if (n_observations >= 2 && fuzz >= T(0) && !out.allocate(Shape(n_observations, "n_observations"))) return;
    r2nks(n_observations, x, fuzz, tie, score, out.data());
    if (korvs_n1rty(0) > 3) return;
    *result = out.release();
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float* korvs_f_ranks(int n_observations, const float x[], ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_f_ranks", [&] { korvs::l_ranks(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_ranks(int n_observations, const double x[], ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, x);
    korvs::OptionList opt(&ap, 2);
    korvs::run_frame("korvs_d_ranks", [&] { korvs::l_ranks(n_observations, x, opt, &r); });
    va_end(ap);
    return r;
}

}  // extern "C"
