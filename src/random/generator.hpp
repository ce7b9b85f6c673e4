// The per-thread generator record and shuffle tables, the record set-up, and the inner
// stream that every deviate draws through: the multiplicative congruential generators of
// modulus 2^31 - 1 (Lewis, Goodman and Miller 1969; multipliers of Fishman and Moore
// 1986), plain or shuffled through a table of 128 values (Bays and Durham 1976).
#pragma once

#include <cstdint>

namespace korvs {

constexpr std::uint32_t kModulus = 2147483647u;
constexpr int kTableSize = 128;

// One per thread, shared by the two precisions: the seed moves on whichever twin draws.
struct GeneratorRecord {
    int first_use = 1;
    int seed_fixed = 0;
    double modulus = 0;
    double dscale = 0;  // 1/modulus, shrunk until 2147483646 dscale < 1
    double dseed = 0;   // the seed as a double, equal to seed at the end of every call
    float fscale = 0;   // the single-precision scale, the bit pattern 0x2FFFFFFF
    int seed = 0;
    int generator = 1;  // option 1 to 6
    int dtable_ready = 0;
    int ftable_ready = 0;
    // fscale as an integer times a power of two, so that s fscale is formed exactly and
    // rounded once to single.
    std::uint64_t fscale_digits = 0;
    float fscale_unit = 0;
};

// One per thread and precision.
template <class T> struct ShuffleTable {
    T table[kTableSize] = {};
    int draw_first_use = 1;   // cleared by the draw after the first set-up
    int table_first_use = 1;  // cleared by the table filler after the first set-up
};

// The record set-up, which creates the record when it is missing and sets its constants
// on first use. By the argument: -1 marks the seed as fixed; -2 does nothing more; a
// positive value selects that generator; 0 takes a seed from the clock unless one is
// fixed. Null, with 200 raised, when the record cannot be allocated.
GeneratorRecord* generator_setup(int argument);

// The clock's hhmmss plus 1 (123457 when that is below 2).
int clock_seed();

// s = a s mod (2^31 - 1), exactly: the 62-bit product folded once at bit 31, since
// 2^31 = 1 modulo the modulus. For s in 1..m-1 the result stays there; 0 stays 0.
inline std::uint32_t lcg_step(std::uint64_t a, std::uint32_t s) {
    std::uint64_t x = a * s;
    x = (x & kModulus) + (x >> 31);
    return static_cast<std::uint32_t>(x >= kModulus ? x - kModulus : x);
}

// The multiplier of generator option 1 to 6.
inline std::uint64_t multiplier(int generator) {
    return generator <= 2 ? 16807u : (generator <= 4 ? 397204094u : 950706376u);
}

// The inner generator of one call, over the calling thread's records: open() is the entry
// of korvs_rnun (records, the first draw's set-up, a shuffled generator's table), next()
// one step and fill() a block. The seed is read from the record and written back at each
// step, so that a routine called in between draws on from the same place.
template <class T> class Uniform {
public:
    // False, with 200 raised, when a record cannot be had.
    bool open();
    void fill(int n, T* r);
    T next() {
        const std::uint32_t s = lcg_step(a_, static_cast<std::uint32_t>(g_->seed));
        g_->seed = static_cast<int>(s);
        g_->dseed = static_cast<double>(s);
        if (!shuffled_) return value(s);
        T& slot = t_->table[s & (kTableSize - 1)];
        const T r = slot;
        slot = value(s);
        return r;
    }

private:
    T value(std::uint32_t s) const;

    GeneratorRecord* g_ = nullptr;
    ShuffleTable<T>* t_ = nullptr;
    std::uint64_t a_ = 0;
    bool shuffled_ = false;
};

template <> inline float Uniform<float>::value(std::uint32_t s) const {
    return static_cast<float>(s * g_->fscale_digits) * g_->fscale_unit;
}
template <> inline double Uniform<double>::value(std::uint32_t s) const {
    return static_cast<double>(s) * g_->dscale;
}

}  // namespace korvs
