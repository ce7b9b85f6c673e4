// The uniform generators and the seed state: the record set-up, the clock seed, the
// shuffle tables, the inner generators korvs_rnun and korvs_drnun, and the routines that
// select the generator, read and set the seed, and install a table. The streams are
// exact: every step is integer arithmetic modulo 2^31 - 1 (the 128 table values through
// fmod, which is exact at these sizes), and the deviates are s times a fixed scale.
#include <cmath>
#include <cstdarg>
#include <ctime>

#include "frame/checks.hpp"
#include "frame/frame.hpp"
#include "frame/mach.hpp"
#include "frame/options.hpp"
#include "frame/thread.hpp"
#include "frame/workspace.hpp"
#include "generator.hpp"
#include "korvstat.h"

namespace korvs {

GeneratorRecord* generator_setup(int argument) {
    GeneratorRecord* g = per_thread<GeneratorRecord>();
    if (!g) return nullptr;
    if (g->first_use) {
        g->modulus = 2147483647.0;
        g->dscale = 1 / g->modulus;
        while (g->dscale * 2147483646.0 >= 1)
            g->dscale = (1 - korvs_dmach(3)) * g->dscale;
        // The single scale keeps a margin below 2^-31, so that no float deviate rounds to 1.
        float f = static_cast<float>(g->dscale);
        while (static_cast<double>(f) * 2147483648.0 >= 1)
            f = (1 - korvs_amach(3)) * f;
        g->fscale = f;
        int exponent = 0;
        const float fraction = std::frexp(f, &exponent);
        g->fscale_digits = static_cast<std::uint64_t>(std::ldexp(fraction, 24));
        g->fscale_unit = std::ldexp(1.0f, exponent - 24);
        g->generator = 1;
        g->dtable_ready = 0;
        g->ftable_ready = 0;
        g->first_use = 0;
    }
    if (argument == -1) {
        g->seed_fixed = 1;
    } else if (argument > 0) {
        g->generator = argument;
    } else if (argument == 0 && !g->seed_fixed) {
        g->seed = clock_seed();
        g->dseed = g->seed;
        g->seed_fixed = 1;
    }
    return g;
}

int clock_seed() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    if (!gmtime_r(&now, &parts) && !localtime_r(&now, &parts)) return 123457;
    const int value = parts.tm_sec + 100 * (parts.tm_min + 100 * parts.tm_hour) + 1;
    return value < 2 ? 123457 : value;
}

namespace {

template <class T> int& table_ready(GeneratorRecord* g);
template <> int& table_ready<float>(GeneratorRecord* g) { return g->ftable_ready; }
template <> int& table_ready<double>(GeneratorRecord* g) { return g->dtable_ready; }

// A table value: the single table divides, the double one multiplies by 1/m as a constant.
inline float table_value(double d, float*) { return static_cast<float>(d / 2147483647.0); }
inline double table_value(double d, double*) { return d * 4.656612875245797e-10; }

// The 128 values of a shuffled generator, stepped in double through fmod from dseed; the
// draws then start from the seed after the 128 steps.
template <class T> void fill_table(GeneratorRecord* g, ShuffleTable<T>* t) {
    if (t->table_first_use) {
        generator_setup(0);
        t->table_first_use = 0;
    }
    const double m = 2147483647.0;
    double d = g->dseed;
    for (int i = 0; i < kTableSize; ++i) {
        if (g->generator == 2) {
            d = std::fmod(16807.0 * d, m);
        } else if (g->generator == 4) {
            d = std::fmod(std::fmod(32768.0 * d, m) * 12121.0 + std::fmod(23166.0 * d, m), m);
        } else {
            d = std::fmod(std::fmod(32768.0 * d, m) * 29013.0 + std::fmod(8392.0 * d, m), m);
        }
        t->table[i] = table_value(d, static_cast<T*>(nullptr));
    }
    g->dseed = d;
    g->seed = static_cast<int>(d + 0.5);
    table_ready<T>(g) = 1;
}

}  // namespace

template <class T> bool Uniform<T>::open() {
    t_ = per_thread<ShuffleTable<T>>();
    if (!t_) return false;
    if (t_->draw_first_use) {
        if (!generator_setup(0)) return false;
        t_->draw_first_use = 0;
    }
    g_ = generator_setup(-2);
    if (!g_) return false;
    a_ = multiplier(g_->generator);
    shuffled_ = g_->generator % 2 == 0;
    if (shuffled_ && !table_ready<T>(g_)) fill_table(g_, t_);
    return true;
}

template <class T> void Uniform<T>::fill(int n, T* r) {
    std::uint32_t s = static_cast<std::uint32_t>(g_->seed);
    int i = 0;
    if (shuffled_) {
        for (; i < n; ++i) {
            s = lcg_step(a_, s);
            T& slot = t_->table[s & (kTableSize - 1)];
            r[i] = slot;
            slot = value(s);
        }
    } else {
        // Four interleaved chains, each stepped by a^4: the same values in the same order,
        // without waiting on one product after another.
        if (n >= 8) {
            std::uint32_t s0 = lcg_step(a_, s), s1 = lcg_step(a_, s0), s2 = lcg_step(a_, s1),
                          s3 = lcg_step(a_, s2);
            const std::uint64_t a2 = lcg_step(a_, static_cast<std::uint32_t>(a_));
            const std::uint64_t a4 = lcg_step(a2, static_cast<std::uint32_t>(a2));
            r[0] = value(s0);
            r[1] = value(s1);
            r[2] = value(s2);
            r[3] = value(s3);
            for (i = 4; i + 4 <= n; i += 4) {
                s0 = lcg_step(a4, s0);
                s1 = lcg_step(a4, s1);
                s2 = lcg_step(a4, s2);
                s3 = lcg_step(a4, s3);
                r[i] = value(s0);
                r[i + 1] = value(s1);
                r[i + 2] = value(s2);
                r[i + 3] = value(s3);
            }
            s = s3;
        }
        for (; i < n; ++i) {
            s = lcg_step(a_, s);
            r[i] = value(s);
        }
    }
    g_->seed = static_cast<int>(s);
    g_->dseed = static_cast<double>(s);
}

template class Uniform<float>;
template class Uniform<double>;

namespace {

// korvs_rnun, korvs_drnun: n uniforms into r.
template <class T> void l_rnun(int n, T* r) {
    if (!per_thread<ShuffleTable<T>>()) return;
    int checks = 0;
    check_range(n, "n", 1, -1, &checks);
    if (n < 1) return;
    if (!r) {
        korvs_e1stl(1, "r");
        korvs_ermes(5, 6002);
        return;
    }
    Uniform<T> u;
    if (u.open()) u.fill(n, r);
}

void rnun(int n, float* r) { korvs_rnun(n, r); }
void rnun(int n, double* r) { korvs_drnun(n, r); }

// korvs_f_random_uniform: exactly one option slot, KORVS_RETURN_USER with its array or 0.
template <class T> void l_random_uniform(int n_random, OptionList& opt, T** result) {
    Output<T> out;
    out.set_plain(nullptr);
    const int code = opt.code();
    if (code == KORVS_RETURN_USER) {
        out.set_user(opt.user<T>("r", "KORVS_RETURN_USER"));
    } else if (code != 0) {
        opt.unknown(code);
        return;
    }
    if (korvs_n1rty(0) > 0) return;
    int checks = 0;
    check_range(n_random, "n_random", 1, -1, &checks);
    if (korvs_n1rty(0) > 0) return;
    if (!out.allocate(Shape::count(n_random))) return;
    rnun(n_random, out.data());
    if (korvs_n1rty(1) > 3) return;
    *result = out.release();
}

void l_random_option(int generator_option) {
    int checks = 0;
    check_range(generator_option, "generator_option", 1, 6, &checks);
    if (korvs_n1rty(0) > 0) return;
    generator_setup(generator_option);
}

void l_random_seed_get(int* result) {
    if (GeneratorRecord* g = generator_setup(0)) *result = g->seed;
}

void l_random_seed_set(int seed) {
    if (seed < 0 || seed >= 2147483647) {
        generator_setup(0);
    } else if (seed == 0) {
        // The clock's seed, without fixing it: a thread that has not fixed one takes the
        // clock again at its next draw.
        if (GeneratorRecord* g = generator_setup(-2)) {
            g->seed = clock_seed();
            g->dseed = g->seed;
        }
    } else if (GeneratorRecord* g = generator_setup(-1)) {
        g->seed = seed;
        g->dseed = seed;
    }
}

// korvs_rnses, korvs_drnses: a first value <= 0 asks for a refill at the next shuffled
// draw; otherwise each value in (0, 1) is installed and any other one reported.
template <class T> void l_rnses(const T* table) {
    if (!table) {
        korvs_e1stl(1, "table");
        korvs_ermes(5, 6002);
        return;
    }
    GeneratorRecord* g = generator_setup(-2);
    ShuffleTable<T>* t = per_thread<ShuffleTable<T>>();
    if (!g || !t) return;
    if (table[0] <= 0) {
        table_ready<T>(g) = 0;
        return;
    }
    for (int i = 0; i < kTableSize; ++i) {
        if (table[i] > 0 && table[i] < 1) {
            t->table[i] = table[i];
        } else {
            insert_real(1, table[i]);
            korvs_e1sti(1, i + 1);
            korvs_ermes(5, 11031);
        }
    }
    table_ready<T>(g) = 1;
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_rnun(int n, float r[]) noexcept {
    korvs::run_traced("korvs_rnun", [&] { korvs::l_rnun(n, r); });
}

KORVS_API void korvs_drnun(int n, double r[]) noexcept {
    korvs::run_traced("korvs_drnun", [&] { korvs::l_rnun(n, r); });
}

KORVS_API float* korvs_f_random_uniform(int n_random, ...) noexcept {
    float* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_f_random_uniform", [&] { korvs::l_random_uniform(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API double* korvs_d_random_uniform(int n_random, ...) noexcept {
    double* r = nullptr;
    va_list ap;
    va_start(ap, n_random);
    korvs::OptionList opt(&ap, 1);
    korvs::run_frame("korvs_d_random_uniform", [&] { korvs::l_random_uniform(n_random, opt, &r); });
    va_end(ap);
    return r;
}

KORVS_API void korvs_random_option(int generator_option) noexcept {
    korvs::run_frame("korvs_random_option", [&] { korvs::l_random_option(generator_option); });
}

KORVS_API int korvs_random_seed_get(void) noexcept {
    int seed = 0;
    korvs::run_frame("korvs_random_seed_get", [&] { korvs::l_random_seed_get(&seed); });
    return seed;
}

KORVS_API void korvs_random_seed_set(int seed) noexcept {
    korvs::run_frame("korvs_random_seed_set", [&] { korvs::l_random_seed_set(seed); });
}

KORVS_API void korvs_rnses(float table[]) noexcept {
    korvs::run_traced("korvs_rnses", [&] { korvs::l_rnses(table); });
}

KORVS_API void korvs_drnses(double table[]) noexcept {
    korvs::run_traced("korvs_drnses", [&] { korvs::l_rnses(table); });
}

}  // extern "C"
