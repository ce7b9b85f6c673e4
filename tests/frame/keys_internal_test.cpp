// The key table of the thread layer: numbering and growth, per-thread values, destructors
// at thread end, the registry of (thread, key) pairs, and once-initialisation.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "frame/thread.hpp"

namespace {

std::atomic<int> destroyed{0};
void count_destroy(void* value) {
    if (value) ++destroyed;
}
void* as_value(intptr_t v) { return reinterpret_cast<void*>(v); }

TEST(Keys, TableOf64GrowsWithStableNumbersAndValues) {
    EXPECT_EQ(korvs::key_table_capacity(), 64);
    std::vector<int> keys(101);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        ASSERT_EQ(korvs::key_create(&keys[i], nullptr), 0);
        EXPECT_EQ(keys[i], keys[0] + int(i));
        ASSERT_EQ(korvs::key_set(keys[i], as_value(keys[i] * 3)), 0);  // set before and after growth
    }
    EXPECT_EQ(korvs::key_table_capacity(), 128);
    for (int key : keys)
        EXPECT_EQ(korvs::key_get(key), as_value(key * 3));
    int fresh = 0;
    korvs::key_create(&fresh, nullptr);
    // A key no thread has set, a number beyond the block and 0 read as null.
    for (int key : {fresh, 100000, 0})
        EXPECT_EQ(korvs::key_get(key), nullptr) << key;
}

TEST(Keys, ValuesArePerThreadAndReleasedAtThreadEndOnlyWhenSet) {
    int key = 0;
    ASSERT_EQ(korvs::key_create(&key, count_destroy), 0);
    static int mine = 1, theirs = 2;
    korvs::key_set(key, &mine);
    void* seen_before = &mine;
    std::thread other([&] {
        seen_before = korvs::key_get(key);
        korvs::key_set(key, &theirs);
        EXPECT_EQ(korvs::key_get(key), &theirs);
    });
    other.join();
    std::thread idle([] {});  // never set a value: no destructor call
    idle.join();
    EXPECT_EQ(seen_before, nullptr);
    EXPECT_EQ(destroyed.load(), 1);
    EXPECT_EQ(korvs::key_get(key), &mine);
}

TEST(Keys, RegistryGrowsPast256Pairs) {
    std::vector<int> keys(30);
    for (int& key : keys)
        korvs::key_create(&key, count_destroy);
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 10; ++t)
        threads.emplace_back([&, t] {
            for (int key : keys)
                korvs::key_set(key, as_value(t + 1));
            for (++ready; !go;)
                std::this_thread::yield();
            for (int key : keys)
                if (korvs::key_get(key) != as_value(t + 1)) ADD_FAILURE() << t << " " << key;
        });
    while (ready < 10)
        std::this_thread::yield();
    go = true;  // all 300 pairs alive at once
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(destroyed.load(), 300);
}

int once_runs = 0, once_word = 0, inner_word = 0;

TEST(Once, RunsOncePerProcessAcrossThreadsAndIsReentrant) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([] {
            korvs::once(&once_word, [] {
                ++once_runs;
                korvs::once(&inner_word, [] { ++once_runs; });
            });
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(once_runs, 2);
    EXPECT_EQ(once_word, 1);
}

}  // namespace
