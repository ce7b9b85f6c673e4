// Thread layer over POSIX threads: one thread-specific slot holds each thread's block
// of key values (word 0 is the block's length, word k the value of key k); a
// process-wide registry of (thread, key, value) lets the unload release the values of
// threads that are still alive. The registry also holds each thread's block itself,
// under the key number 0 that no key ever has, so the unload can release it too.
#include "thread.hpp"

#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "context.hpp"
#include "korvstat.h"

namespace korvs {
namespace {

struct RegistryEntry {
    long thread_id;  // 0: free entry
    int key;
    void* value;
};

pthread_key_t slot;
bool slot_made = false;
pthread_mutex_t key_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t registry_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t once_lock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
pthread_mutex_t output_lock = PTHREAD_MUTEX_INITIALIZER;

RegistryEntry* registry = nullptr;
int registry_count = 0;
int registry_capacity = 0;

KeyDestructor* destructors = nullptr;  // indexed by key
int destructor_capacity = 0;
int next_key = 1;
int block_capacity = 0;  // length of the longest block handed out so far
bool detached = false;   // the library has been unloaded: no keys any more

long thread_id() { return static_cast<long>(gettid()); }

// Under the registry lock: the entry of (thread, key) gets the value, in the entry the
// pair already has, else the first free one, else a new one at the end (the registry
// doubles when full). Status 12 when it cannot grow.
int registry_put(long id, int key, void* value) {
    int free_entry = -1, found = -1;
    for (int i = 0; i < registry_count; ++i) {
        if (registry[i].thread_id == id && registry[i].key == key) {
            found = i;
            break;
        }
        if (free_entry < 0 && registry[i].thread_id == 0) free_entry = i;
    }
    int status = 0;
    if (found < 0) found = free_entry;
    if (found < 0) {
        if (registry_count >= registry_capacity) {
            int capacity = registry_capacity * 2;
            auto* grown = static_cast<RegistryEntry*>(std::calloc(capacity, sizeof(RegistryEntry)));
            if (grown) {
                std::memcpy(grown, registry, registry_count * sizeof(RegistryEntry));
                std::free(registry);
                registry = grown;
                registry_capacity = capacity;
            } else {
                status = 12;
            }
        }
        if (registry_count < registry_capacity) found = registry_count++;
    }
    if (found >= 0) registry[found] = RegistryEntry{id, key, value};
    return status;
}

// Thread detach: release the thread's values and forget its registry entries.
void thread_detach(void* block_ptr) {
    auto* block = static_cast<void**>(block_ptr);
    intptr_t length = reinterpret_cast<intptr_t>(block[0]);
    pthread_mutex_lock(&registry_lock);
    for (intptr_t k = 1; k < length; ++k) {
        pthread_mutex_lock(&key_lock);
        KeyDestructor d = k < destructor_capacity ? destructors[k] : nullptr;
        pthread_mutex_unlock(&key_lock);
        if (d) d(block[k]);
    }
    std::free(block);
    long id = thread_id();
    for (int i = 0; i < registry_count; ++i)
        if (registry[i].thread_id == id) registry[i].thread_id = 0;
    pthread_mutex_unlock(&registry_lock);
    // A later library call in this thread's remaining destructors starts afresh.
    tls_context = nullptr;
}

[[noreturn]] void attach_failed(int status) {
    std::fprintf(stderr, "korvstat: the library cannot be loaded (status %d)\n", status);
    std::_Exit(status);
}

// Process attach: the slot, the registry of 256 entries and the destructor table of 64.
__attribute__((constructor)) void process_attach() {
    if (pthread_key_create(&slot, thread_detach) != 0) attach_failed(11);
    slot_made = true;
    registry = static_cast<RegistryEntry*>(std::calloc(256, sizeof(RegistryEntry)));
    destructors = static_cast<KeyDestructor*>(std::calloc(64, sizeof(KeyDestructor)));
    if (!registry || !destructors) {
        std::free(registry);
        std::free(destructors);
        pthread_key_delete(slot);
        attach_failed(12);
    }
    registry_capacity = 256;
    destructor_capacity = 64;
}

// Process detach (unload or exit): release every live thread's values. The stream lock
// and the destructor table stay, for output that may still come during the exit.
__attribute__((destructor)) void process_detach() {
    pthread_mutex_lock(&registry_lock);
    for (int i = 0; i < registry_count; ++i) {
        RegistryEntry& e = registry[i];
        if (e.thread_id == 0 || e.key == 0) continue;
        KeyDestructor d = e.key < destructor_capacity ? destructors[e.key] : nullptr;
        if (d) d(e.value);
    }
    // Then the blocks of every thread; no thread-end destructor runs after the slot goes.
    for (int i = 0; i < registry_count; ++i)
        if (registry[i].thread_id != 0 && registry[i].key == 0) std::free(registry[i].value);
    if (slot_made) {
        pthread_setspecific(slot, nullptr);
        pthread_key_delete(slot);
        slot_made = false;
    }
    std::free(registry);
    registry = nullptr;
    registry_count = registry_capacity = 0;
    pthread_mutex_unlock(&registry_lock);
    pthread_mutex_lock(&key_lock);
    std::free(destructors);
    destructors = nullptr;
    destructor_capacity = 0;
    detached = true;
    pthread_mutex_unlock(&key_lock);
    tls_context = nullptr;
}

}  // namespace

int key_create(int* key, KeyDestructor destructor) {
    pthread_mutex_lock(&key_lock);
    if (detached) {
        pthread_mutex_unlock(&key_lock);
        return 22;
    }
    if (next_key >= destructor_capacity) {
        int capacity = destructor_capacity * 2;
        auto* grown = static_cast<KeyDestructor*>(std::calloc(capacity, sizeof(KeyDestructor)));
        if (!grown) {
            pthread_mutex_unlock(&key_lock);
            return 12;
        }
        std::memcpy(grown, destructors, destructor_capacity * sizeof(KeyDestructor));
        std::free(destructors);
        destructors = grown;
        destructor_capacity = capacity;
    }
    *key = next_key++;
    destructors[*key] = destructor;
    pthread_mutex_unlock(&key_lock);
    return 0;
}

int key_set(int key, void* value) {
    long id = thread_id();
    pthread_mutex_lock(&registry_lock);
    int status = detached ? 22 : registry_put(id, key, value);
    pthread_mutex_unlock(&registry_lock);
    if (detached) return status;

    pthread_mutex_lock(&key_lock);
    auto* block = static_cast<void**>(pthread_getspecific(slot));
    void** placed = nullptr;  // a block new to this thread, to be registered
    if (!block) {
        int length = destructor_capacity;
        block = static_cast<void**>(std::calloc(length, sizeof(void*)));
        if (!block) {
            pthread_mutex_unlock(&key_lock);
            return 12;
        }
        block[0] = reinterpret_cast<void*>(static_cast<intptr_t>(length));
        pthread_setspecific(slot, block);
        if (length > block_capacity) block_capacity = length;
        placed = block;
    }
    intptr_t length = reinterpret_cast<intptr_t>(block[0]);
    if (key >= length) {
        intptr_t grown_length = destructor_capacity;
        while (key >= grown_length)
            grown_length *= 2;
        auto* grown = static_cast<void**>(std::calloc(grown_length, sizeof(void*)));
        if (!grown) {
            pthread_mutex_unlock(&key_lock);
            return 12;
        }
        std::memcpy(grown, block, length * sizeof(void*));
        std::free(block);
        block = grown;
        block[0] = reinterpret_cast<void*>(grown_length);
        pthread_setspecific(slot, block);
        if (grown_length > block_capacity) block_capacity = static_cast<int>(grown_length);
        placed = block;
    }
    block[key] = value;
    pthread_mutex_unlock(&key_lock);

    if (placed) {
        pthread_mutex_lock(&registry_lock);
        if (registry_put(id, 0, placed) != 0) status = 12;
        pthread_mutex_unlock(&registry_lock);
    }
    return status;
}

void* key_get(int key) {
    if (!slot_made) return nullptr;
    auto* block = static_cast<void**>(pthread_getspecific(slot));
    if (!block || key < 1 || key >= reinterpret_cast<intptr_t>(block[0])) return nullptr;
    return block[key];
}

int once(int* control, void (*fn)()) {
    if (__atomic_load_n(control, __ATOMIC_ACQUIRE)) return 0;
    pthread_mutex_lock(&once_lock);
    if (!*control) {
        fn();
        __atomic_store_n(control, 1, __ATOMIC_RELEASE);
    }
    pthread_mutex_unlock(&once_lock);
    return 0;
}

void stream_lock() { pthread_mutex_lock(&output_lock); }
void stream_unlock() { pthread_mutex_unlock(&output_lock); }

int key_table_capacity() {
    pthread_mutex_lock(&key_lock);
    int capacity = destructor_capacity;
    pthread_mutex_unlock(&key_lock);
    return capacity;
}

void raise_out_of_memory() { korvs_ermes(5, 200); }

}  // namespace korvs
