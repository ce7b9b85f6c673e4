// The key table of the thread layer: numbering, growth, per-thread values, destructors
// at thread end, and once-initialisation.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "frame/context.hpp"
#include "frame/thread.hpp"

namespace {

std::atomic<int> destroyed{0};
void count_destroy(void* value) {
    if (value) ++destroyed;
}

TEST(Keys, TableGrowsPast64WithStableNumbers) {
    std::vector<int> keys;
    int first = 0;
    ASSERT_EQ(korvs::key_create(&first, nullptr), 0);
    keys.push_back(first);
    for (int i = 0; i < 100; ++i) {
        int key = 0;
        ASSERT_EQ(korvs::key_create(&key, nullptr), 0);
        EXPECT_EQ(key, keys.back() + 1);
        keys.push_back(key);
    }
    EXPECT_GE(korvs::key_table_capacity(), 128);
    // Values stored before and after the growth stay under their numbers.
    for (int key : keys) ASSERT_EQ(korvs::key_set(key, reinterpret_cast<void*>(static_cast<intptr_t>(key * 3))), 0);
    for (int key : keys) EXPECT_EQ(korvs::key_get(key), reinterpret_cast<void*>(static_cast<intptr_t>(key * 3)));
    // A key that no thread has set, and a number beyond the block, read as null.
    int fresh = 0;
    korvs::key_create(&fresh, nullptr);
    EXPECT_EQ(korvs::key_get(fresh), nullptr);
    EXPECT_EQ(korvs::key_get(100000), nullptr);
    EXPECT_EQ(korvs::key_get(0), nullptr);
}

TEST(Keys, InitialTableHolds64) {
    EXPECT_EQ(korvs::key_table_capacity(), 64);
    std::vector<int> keys(70);
    for (int& key : keys) korvs::key_create(&key, nullptr);
    EXPECT_EQ(korvs::key_table_capacity(), 128);
}

TEST(Keys, ValuesArePerThreadAndReleasedAtThreadEnd) {
    int key = 0;
    ASSERT_EQ(korvs::key_create(&key, count_destroy), 0);
    static int mine = 1, theirs = 2;
    korvs::key_set(key, &mine);
    destroyed = 0;
    void* seen_before = &mine;
    std::thread other([&] {
        seen_before = korvs::key_get(key);
        korvs::key_set(key, &theirs);
        EXPECT_EQ(korvs::key_get(key), &theirs);
    });
    other.join();
    EXPECT_EQ(seen_before, nullptr);
    EXPECT_EQ(destroyed.load(), 1);
    EXPECT_EQ(korvs::key_get(key), &mine);
}

TEST(Keys, AThreadThatNeverCalledCausesNoDestructorCall) {
    int key = 0;
    korvs::key_create(&key, count_destroy);
    destroyed = 0;
    std::thread idle([] {});
    idle.join();
    EXPECT_EQ(destroyed.load(), 0);
}

TEST(Keys, RegistryGrowsWithManyThreadsAndKeys) {
    // 300 (thread, key) pairs alive at once exceed the registry's first 256 entries.
    std::vector<int> keys(30);
    for (int& key : keys) korvs::key_create(&key, count_destroy);
    destroyed = 0;
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 10; ++t) {
        threads.emplace_back([&, t] {
            for (int key : keys) korvs::key_set(key, reinterpret_cast<void*>(static_cast<intptr_t>(t + 1)));
            ++ready;
            while (!go) std::this_thread::yield();
            for (int key : keys)
                if (korvs::key_get(key) != reinterpret_cast<void*>(static_cast<intptr_t>(t + 1))) ADD_FAILURE();
        });
    }
    while (ready < 10) std::this_thread::yield();
    go = true;
    for (auto& th : threads) th.join();
    EXPECT_EQ(destroyed.load(), 300);
}

int once_runs = 0;
int once_word = 0;
int inner_word = 0;
void inner_once() { ++once_runs; }
void outer_once() {
    ++once_runs;
    korvs::once(&inner_word, inner_once);  // the once lock is re-entrant
}

TEST(Once, RunsOncePerProcessAcrossThreads) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) threads.emplace_back([] { korvs::once(&once_word, outer_once); });
    for (auto& th : threads) th.join();
    EXPECT_EQ(once_runs, 2);
    EXPECT_EQ(once_word, 1);
}

TEST(Context, DefaultsAtCreation) {
    korvs::Context* c = korvs::get_context();
    EXPECT_EQ(c, korvs::get_context());
    EXPECT_EQ(c->trace_top, &c->trace[0]);
    EXPECT_STREQ(c->trace[0].name, "USER");
    EXPECT_EQ(c->trace[0].user_level, 1);
    EXPECT_EQ(c->message_capacity, 4096);
    EXPECT_EQ(c->print_mode, 50020);
    EXPECT_EQ(c->record_code, -1);
    EXPECT_EQ(c->jump_depth, 0);
    EXPECT_STREQ(c->type_name[6], "WARNING_IMMEDIATE");
    EXPECT_EQ(korvs::first_context, c);
}

}  // namespace
