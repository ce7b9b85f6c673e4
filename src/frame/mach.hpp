// What differs between the float and the double twins: the machine constants and the
// insert routine of a real value. Workers are templates over T and read them here.
#pragma once

#include <bit>
#include <cstdint>

#include "korvstat.h"

namespace korvs {

template <class T> struct mach;

template <> struct mach<float> {
    static constexpr float tiny = std::bit_cast<float>(0x00800000u);  // smallest normal
    static constexpr float huge = std::bit_cast<float>(0x7F7FFFFFu);  // largest finite
    static constexpr float half_eps = std::bit_cast<float>(0x33800000u);
    static constexpr float eps = std::bit_cast<float>(0x34000000u);
    static constexpr float log10_2 = std::bit_cast<float>(0x3E9A209Bu);
    static constexpr float nan = std::bit_cast<float>(0x7FFFFFFFu);
    static constexpr float inf = std::bit_cast<float>(0x7F800000u);
    static constexpr float minus_inf = std::bit_cast<float>(0xFF800000u);
    static float machine(int n) { return korvs_amach(n); }
};

template <> struct mach<double> {
    static constexpr double tiny = std::bit_cast<double>(0x0010000000000000ull);
    static constexpr double huge = std::bit_cast<double>(0x7FEFFFFFFFFFFFFFull);
    static constexpr double half_eps = std::bit_cast<double>(0x3CA0000000000000ull);
    static constexpr double eps = std::bit_cast<double>(0x3CB0000000000000ull);
    // Deliberately the upper word repeated in the lower one, not the rounded log10(2).
    static constexpr double log10_2 = std::bit_cast<double>(0x3FD344133FD34413ull);
    static constexpr double nan = std::bit_cast<double>(0x7FFFFFFFFFFFFFFFull);
    static constexpr double inf = std::bit_cast<double>(0x7FF0000000000000ull);
    static constexpr double minus_inf = std::bit_cast<double>(0xFFF0000000000000ull);
    static double machine(int n) { return korvs_dmach(n); }
};

// A real insert in the routine's own precision.
inline void insert_real(int slot, float value) { korvs_e1str(slot, value); }
inline void insert_real(int slot, double value) { korvs_e1std(slot, value); }

}  // namespace korvs
