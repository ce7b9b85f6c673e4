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
    int fresh = 0;  // a key no thread has set, a number beyond the block and 0 read as null
    korvs::key_create(&fresh, nullptr);
    EXPECT_TRUE(korvs::key_get(fresh) == nullptr && korvs::key_get(100000) == nullptr &&
                korvs::key_get(0) == nullptr);
}

// Ten threads set 30 keys each, all 300 pairs alive at once past the registry's first 256;
// a value set is released at its thread's end, a thread that set none releases nothing.
TEST(Keys, ValuesArePerThreadAndReleasedAtThreadEndOnlyWhenSet) {
    std::vector<int> keys(30);
    for (int& key : keys)
        ASSERT_EQ(korvs::key_create(&key, count_destroy), 0);
    static int mine = 1;
    korvs::key_set(keys[0], &mine);
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 10; ++t)
        threads.emplace_back([&, t] {
            if (korvs::key_get(keys[0]) != nullptr) ADD_FAILURE() << "another thread's value";
            for (int key : keys)
                korvs::key_set(key, as_value(t + 1));
            for (++ready; ready < 10;)
                std::this_thread::yield();
            for (int key : keys)
                if (korvs::key_get(key) != as_value(t + 1)) ADD_FAILURE() << t << " " << key;
        });
    for (auto& th : threads)
        th.join();
    std::thread([] {}).join();
    EXPECT_EQ(destroyed.load(), 300);
    EXPECT_EQ(korvs::key_get(keys[0]), &mine);
}

// Once-initialisation runs once per process across threads, and may nest.
TEST(Keys, OnceRunsOncePerProcessAndIsReentrant) {
    static int runs = 0, word = 0, inner = 0;
    std::vector<std::thread> threads(8);
    for (auto& t : threads)
        t = std::thread([] { korvs::once(&word, [] { ++runs, korvs::once(&inner, [] { ++runs; }); }); });
    for (auto& t : threads)
        t.join();
    EXPECT_TRUE(runs == 2 && word == 1);
}

}  // namespace
