// The uniform generators against the golden streams of an independent model
// (tools/gen_random_streams.py), and the seed state: the first-use steps, seed get and
// set, the generator option, the shuffle tables, the twins' shared seed and the streams
// per thread.
#include <gtest/gtest.h>
#include <korvstat.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <future>
#include <thread>
#include <vector>

#include "korvs_test.hpp"
#include "oracle.hpp"

namespace {

using korvs_test::KorvsTest;

class Uniform : public KorvsTest {};

// A fresh start for a stream: option, seed, and the twin's table marked for refilling.
template <class T> void restart(int option, int seed) {
    korvs_random_option(option);
    korvs_random_seed_set(seed);
    T zero[128] = {};
    if constexpr (sizeof(T) == sizeof(float))
        korvs_rnses(zero);
    else
        korvs_drnses(zero);
}

template <class T> void draw(int n, T* r) {
    if constexpr (sizeof(T) == sizeof(float))
        korvs_rnun(n, r);
    else
        korvs_drnun(n, r);
}

// Every option and twin from three seeds: draws 1 to 5, the ends of the first table's
// worth, draw 10000 and the seed after each, all bit for bit. The draws come one at a
// time, in a block and in blocks of odd sizes, which must not change the stream.
template <class T> void golden_streams(bool single) {
    const auto table = korvs_oracle::read_table(KORVS_TEST_DATA "/random_streams.csv");
    ASSERT_FALSE(table.rows.empty());
    int checked = 0;
    for (int way = 0; way < 3; ++way) {
        for (const auto& row : table.rows) {
            if ((row[0] == 0) != single) continue;
            const int option = int(row[1]), seed = int(row[2]), target = int(row[3]);
            restart<T>(option, seed);
            std::vector<T> r(target);
            if (way == 0) {
                for (int i = 0; i < target; ++i)
                    draw(1, &r[i]);
            } else if (way == 1) {
                draw(target, r.data());
            } else {
                for (int i = 0; i < target; i += 7)
                    draw(std::min(7, target - i), &r[i]);
            }
            EXPECT_EQ(r[target - 1], T(row[4])) << "option " << option << " seed " << seed << " draw " << target;
            EXPECT_EQ(korvs_random_seed_get(), int(row[5])) << "option " << option << " seed " << seed;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 3 * 6 * 3 * 8);
    EXPECT_TRUE(korvs_test::raised.empty());
}

TEST_F(Uniform, GoldenStreamsFloat) { golden_streams<float>(true); }
TEST_F(Uniform, GoldenStreamsDouble) { golden_streams<double>(false); }

TEST_F(Uniform, WorkedExampleAndSeedGet) {
    // 16807 * 123457 mod (2^31 - 1) = 2074941799, 0.96622 in either twin.
    korvs_random_seed_set(123457);
    float f;
    korvs_rnun(1, &f);
    EXPECT_EQ(korvs_random_seed_get(), 2074941799);
    EXPECT_NEAR(f, 0.96622, 5e-6);
    korvs_random_seed_set(123457);
    double d;
    korvs_drnun(1, &d);
    EXPECT_NEAR(d, 0.96622, 5e-6);
    EXPECT_EQ(d, 2074941799.0 / 2147483647.0);
    // Right after a set the seed reads back; after n draws it is the nth iterate.
    korvs_random_seed_set(5);
    EXPECT_EQ(korvs_random_seed_get(), 5);
    std::vector<double> r(3);
    korvs_drnun(3, r.data());
    long long s = 5;
    for (int i = 0; i < 3; ++i)
        s = s * 16807 % 2147483647;
    EXPECT_EQ(korvs_random_seed_get(), s);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Uniform, TwinsShareOneSeed) {
    // Alternating twins continue one stream: the double draw after a float draw is the
    // second value of the double stream from the same seed.
    korvs_random_seed_set(777);
    double both[2];
    korvs_drnun(2, both);
    korvs_random_seed_set(777);
    float first;
    double second;
    korvs_rnun(1, &first);
    korvs_drnun(1, &second);
    EXPECT_EQ(second, both[1]);
    EXPECT_NEAR(first, both[0], 1e-7) << "the same seed step in single precision";
}

TEST_F(Uniform, FloatDeviatesStayBelowOne) {
    // The largest seed 2^31 - 2 gives the largest deviate: below 1 in single precision,
    // and likewise in double.
    const long long top = 2147483646;
    // 16807^-1 times top is the seed whose next step is top.
    long long inverse = 1, base = 16807, e = 2147483647 - 2;
    while (e) {
        if (e & 1) inverse = inverse * base % 2147483647;
        base = base * base % 2147483647;
        e >>= 1;
    }
    korvs_random_seed_set(int(inverse * top % 2147483647));
    float f;
    korvs_rnun(1, &f);
    EXPECT_EQ(korvs_random_seed_get(), top);
    EXPECT_LT(f, 1.0f);
    EXPECT_EQ(f, std::nextafter(1.0f, 0.0f)) << "0x2FFFFFFF times 2^31 - 2, rounded once";
    korvs_random_seed_set(int(inverse * top % 2147483647));
    double d;
    korvs_drnun(1, &d);
    EXPECT_LT(d, 1.0);
}

TEST_F(Uniform, SeedSetEdges) {
    korvs_random_seed_set(99);
    korvs_random_seed_set(2147483647);  // out of range: nothing changes, nothing reported
    korvs_random_seed_set(-3);
    EXPECT_EQ(korvs_random_seed_get(), 99);
    EXPECT_TRUE(errors().empty());
    // 0 takes the clock: hhmmss + 1.
    const std::time_t before = std::time(nullptr);
    korvs_random_seed_set(0);
    const int seed = korvs_random_seed_get();
    const std::time_t after = std::time(nullptr);
    auto clock = [](std::time_t t) {
        std::tm parts{};
        gmtime_r(&t, &parts);
        return parts.tm_sec + 100 * (parts.tm_min + 100 * parts.tm_hour) + 1;
    };
    const int expected = clock(before) < 2 ? 123457 : clock(before);
    EXPECT_TRUE(seed == expected || seed == clock(after)) << seed;
}

TEST_F(Uniform, FirstDrawOfAThreadTakesTheClock) {
    // A thread that sets nothing draws from a clock seed, which seed_get then shows moved
    // by one step.
    std::time_t before = std::time(nullptr);
    float f;
    korvs_rnun(1, &f);
    std::tm parts{};
    gmtime_r(&before, &parts);
    long long clock = parts.tm_sec + 100 * (parts.tm_min + 100 * parts.tm_hour) + 1;
    if (clock < 2) clock = 123457;
    const long long seed = korvs_random_seed_get();
    EXPECT_TRUE(seed == clock * 16807 % 2147483647 || seed == (clock + 1) * 16807 % 2147483647) << seed;
}

TEST_F(Uniform, OptionChecksAndKeepsTheSeed) {
    korvs_random_seed_set(4242);
    korvs_random_option(7);
    EXPECT_TRUE(only_raised(5, 602));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1) %(i2) %(i3)"), "generator_option 7 1 6");
    clear();
    korvs_random_option(0);
    EXPECT_TRUE(only_raised(5, 602));
    clear();
    korvs_random_option(3);
    EXPECT_TRUE(errors().empty());
    EXPECT_EQ(korvs_random_seed_get(), 4242);
    float f;
    korvs_rnun(1, &f);
    EXPECT_EQ(korvs_random_seed_get(), 397204094LL * 4242 % 2147483647);
}

TEST_F(Uniform, ShuffleTableInstalled) {
    // An installed table is drawn from as it stands: the first draw returns the entry the
    // first step points to, and stores the step's own value there.
    float table[128];
    for (int i = 0; i < 128; ++i)
        table[i] = (i + 1) / 256.0f;
    korvs_random_option(2);
    korvs_random_seed_set(31);
    korvs_rnses(table);
    EXPECT_TRUE(errors().empty());
    const long long s = 31LL * 16807 % 2147483647;
    float f[2];
    korvs_rnun(1, f);
    EXPECT_EQ(f[0], table[s % 128]);
    // A value outside (0, 1) is reported with its position and skipped; the rest stand.
    table[5] = 1.5f;
    table[9] = 0.0f;
    clear();
    korvs_rnses(table);
    EXPECT_TRUE(only_raised(5, 11031));
    EXPECT_GE(errors().size(), 2u) << "one report a bad value";
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(i1)"), "0 10") << "the last one reported";
    // A first value of 0 marks the table for refilling from the seed: the stream is then
    // the golden one of option 2.
    clear();
    float zero[128] = {};
    korvs_random_seed_set(123457);
    korvs_rnses(zero);
    korvs_rnun(1, f);
    EXPECT_FLOAT_EQ(f[0], 0.7095182538032532f);
    EXPECT_EQ(korvs_random_seed_get(), 1860182938);
    EXPECT_TRUE(errors().empty());
}

TEST_F(Uniform, InstalledValueReported) {
    float table[128];
    for (int i = 0; i < 128; ++i)
        table[i] = 0.5f;
    table[3] = 2.0f;
    korvs_rnses(table);
    EXPECT_TRUE(only_raised(5, 11031));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(i1)"), "2 4");
    double dtable[128];
    for (int i = 0; i < 128; ++i)
        dtable[i] = 0.25;
    dtable[127] = -1;
    clear();
    korvs_drnses(dtable);
    EXPECT_TRUE(only_raised(5, 11031));
    EXPECT_EQ(korvs_test::inserts("%(r1%g) %(i1)"), "-1 128");
}

TEST_F(Uniform, RandomUniformOptions) {
    korvs_random_seed_set(123457);
    float* r = korvs_f_random_uniform(3, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_FLOAT_EQ(r[0], 0.9662200212478638f);
    std::free(r);
    // The caller's array, and only one option slot is read.
    double mine[2];
    korvs_random_seed_set(123457);
    EXPECT_EQ(korvs_d_random_uniform(2, KORVS_RETURN_USER, mine, 0), mine);
    EXPECT_EQ(mine[0], 2074941799.0 / 2147483647.0);
    EXPECT_TRUE(errors().empty());
    // An unknown code at position 2; nothing drawn, null returned.
    korvs_random_seed_set(50);
    EXPECT_EQ(korvs_f_random_uniform(3, 12345, 0), nullptr);
    EXPECT_TRUE(only_raised(5, 11001));
    EXPECT_EQ(korvs_test::inserts("%(i1) %(i2)"), "12345 2");
    EXPECT_EQ(korvs_random_seed_get(), 50);
    clear();
    EXPECT_EQ(korvs_f_random_uniform(0, 0), nullptr);
    EXPECT_TRUE(only_raised(5, 603));
    EXPECT_EQ(korvs_test::inserts("%(l1) %(i1) %(i2)"), "n_random 0 1");
    clear();
    EXPECT_EQ(korvs_d_random_uniform(2, KORVS_RETURN_USER, nullptr, 0), nullptr);
    EXPECT_TRUE(only_raised(5, 104));
    clear();
    float unused;
    korvs_rnun(0, &unused);
    EXPECT_TRUE(only_raised(5, 603));
    EXPECT_EQ(korvs_test::inserts("%(l1)"), "n");
    EXPECT_EQ(korvs_random_seed_get(), 50);
}

// Two threads with the same seed draw the same stream, each on its own.
TEST_F(Uniform, StreamsPerThread) {
    korvs_error_options(KORVS_SET_SIGNAL_TRAPPING_OFF, 0);
    auto stream = [](int option, int seed) {
        korvs_test::quiet();
        korvs_random_option(option);
        korvs_random_seed_set(seed);
        std::vector<double> r(1000);
        korvs_drnun(1000, r.data());
        return std::make_pair(r, korvs_random_seed_get());
    };
    korvs_random_seed_set(11);
    auto a = std::async(std::launch::async, stream, 2, 8128);
    auto b = std::async(std::launch::async, stream, 2, 8128);
    auto c = std::async(std::launch::async, stream, 5, 8128);
    const auto ra = a.get(), rb = b.get(), rc = c.get();
    EXPECT_EQ(ra, rb);
    EXPECT_NE(ra.first, rc.first);
    // The main thread's seed and option were not touched.
    EXPECT_EQ(korvs_random_seed_get(), 11);
    double d;
    korvs_drnun(1, &d);
    EXPECT_EQ(korvs_random_seed_get(), 11 * 16807);
}

}  // namespace
