// Ranks and rank scores for the families that stand on them (the rank and sign tests,
// goodness of fit, contingency tables). This layer sits above random: its scores call
// the normal inverse of the special functions, and the random split of ties draws from
// the thread's uniform stream.
#pragma once

namespace korvs {

// Tie rules and scores of l_r2nks, as the options of korvs_f_ranks number them.
enum TieRule { kTieAverage = 0, kTieHighest = 1, kTieLowest = 2, kTieRandomSplit = 3 };
enum RankScore {
    kScoreRanks = 0,
    kScoreBlom = 1,
    kScoreTukey = 2,
    kScoreVanDerWaerden = 3,
    kScoreExpectedNormal = 4,
    kScoreSavage = 5
};

// l_r2nks: result[j] := the score of x[j]'s place i (1..n) in ascending order. Neighbours
// in that order are tied when they are equal or the later exceeds the earlier by at most
// fuzz, so a chain of near values is one group; the tie rule then gives every member of
// a group the mean of the group's scores (average), its last one's (highest) or its
// first one's (lowest), or shuffles the group's scores by uniforms from the thread's
// stream (random split). Scores: the rank i; Blom's, Tukey's and Van der Waerden's normal
// scores, the normal inverse of (i - 3/8)/(n + 1/4), (i - 1/3)/(n + 1/3) and i/(n + 1);
// the expected normal order statistic; Savage's sum of 1/n + ... + 1/(n - i + 1). A NaN
// in x is missing: its result is NaN and the others are ranked among themselves, n
// counting them only. Errors (type 5): n below 2 (11083), fuzz negative or NaN (11084),
// tie rule outside 0..3 (11085), score outside 0..5 (11086); 201 when there is no
// memory for the work space. result may be x.
template <class T> void r2nks(int n, const T x[], T fuzz, int tie, int score, T result[]);

// l_enos: the mean of the i-th smallest of n independent standard normal deviates. n
// below 1 is 11087 with 0; i below 1 is 11088 and i above n 11089, each taking the
// nearest end. For several scores of one n, ExpectedNormalScores builds its grid once.
template <class T> T enos(int i, int n);

// The expected normal order statistics of one sample size n by the trapezoidal rule in
// the logarithmic domain over a grid of x from h to 10 in steps h, h = 0.05 while n is at
// most 256 and 0.05/ceil(sqrt(n)/16) beyond, where the densities grow narrower. Terms
// whose logarithm lies below that of the smallest number of the twin (log_tiny) do not
// count.
class ExpectedNormalScores {
public:
    ExpectedNormalScores() = default;
    ExpectedNormalScores(const ExpectedNormalScores&) = delete;
    ExpectedNormalScores& operator=(const ExpectedNormalScores&) = delete;
    ~ExpectedNormalScores();

    // False, with 201 raised, when a refined grid finds no memory.
    bool build(int n, double log_tiny);
    // The score of place i, 1 <= i <= n.
    double score(int i) const;

private:
    long double half_sum(long double c, int a, int b) const;

    int n_ = 0;
    int points_ = 0;
    long double h_ = 0;
    long double log_tiny_ = 0;
    const long double* grid_ = nullptr;  // per point: log x, log Phi(x), log(1 - Phi(x)), log phi(x)
    long double* owned_ = nullptr;
};

}  // namespace korvs
