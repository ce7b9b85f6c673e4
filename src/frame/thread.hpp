// Thread layer: keys with destructors, once-initialisation and the process-wide locks.
// Every per-thread record of the library lives under a key; nothing else touches the
// platform's thread interface.
#pragma once

#include <cstdlib>
#include <new>

namespace korvs {

using KeyDestructor = void (*)(void*);

// Status results: 0 success, 11 no thread-local slot, 12 out of memory, 22 other failure.
int key_create(int* key, KeyDestructor destructor);
int key_set(int key, void* value);
void* key_get(int key);
// Runs fn once per process. The once lock is re-entrant, so fn may itself use once().
int once(int* control, void (*fn)());
void stream_lock();
void stream_unlock();

// Capacity of the destructor table, for the white-box tests of its growth.
int key_table_capacity();

void raise_out_of_memory();  // korvs_ermes(5, 200)

// The per-thread record of type Rec, created with its default member values on first
// use in a thread and released with free() when the thread ends. Null, with error 200
// raised, when it cannot be allocated. Rec must be trivially destructible.
template <class Rec> Rec* per_thread() {
    static int key = 0;
    static int once_word = 0;
    once(&once_word, [] { key_create(&key, std::free); });
    void* value = key_get(key);
    if (value) return static_cast<Rec*>(value);
    void* raw = std::malloc(sizeof(Rec));
    if (!raw) {
        raise_out_of_memory();
        return nullptr;
    }
    Rec* rec = new (raw) Rec{};
    if (key_set(key, rec) != 0) {
        std::free(rec);
        raise_out_of_memory();
        return nullptr;
    }
    return rec;
}

}  // namespace korvs
