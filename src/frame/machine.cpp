// The machine table and its accessors. korvs_amach and korvs_dmach are called in inner
// code: the good path is an index test and one load, with no frame.
#include "frame.hpp"
#include "korvstat.h"
#include "mach.hpp"

using korvs::mach;

// The table is defined under a hidden name that the accessors load from directly, and
// exported under its public name as an alias of the same bytes.
extern "C" const korvs_machine_table korvs_machine_table_data = {
    {mach<float>::tiny, mach<float>::huge, mach<float>::half_eps, mach<float>::eps, mach<float>::log10_2,
     mach<float>::nan, mach<float>::inf, mach<float>::minus_inf},
    {mach<double>::tiny, mach<double>::huge, mach<double>::half_eps, mach<double>::eps, mach<double>::log10_2,
     mach<double>::nan, mach<double>::inf, mach<double>::minus_inf}};
extern "C" KORVS_API const korvs_machine_table korvs_machine
    __attribute__((alias("korvs_machine_table_data")));

namespace korvs {
namespace {

// An index outside 1 to 8 for korvs_amach or korvs_dmach: 12009 in a frame of its own.
__attribute__((noinline, cold)) void bad_index(const char* name, int n) {
    korvs_e1psh(name);
    korvs_e1sti(1, n);
    korvs_ermes(5, 12009);
    korvs_e1pop(name);
}

// Entry n of the table, or 132 with the bounds when n is outside them.
bool in_range(int n, int low, int high) {
    if (n >= low && n <= high) return true;
    korvs_e1stl(1, "n");
    korvs_e1sti(1, low);
    korvs_e1sti(2, high);
    korvs_e1sti(3, n);
    korvs_ermes(5, 132);
    return false;
}

template <class T> void l_machine(int n, T* result) {
    *result = in_range(n, 1, 8) ? mach<T>::machine(n) : T(0);
}

constexpr int kIntegerMachine[13] = {8, 2, 15, 32767, 31, 2147483647, 2, 24, -125, 128, 53, -1021, 1024};

void l_machine(int n, int* result) { *result = in_range(n, 0, 12) ? kIntegerMachine[n] : 0; }

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API float korvs_amach(int n) noexcept {
    if (static_cast<unsigned>(n - 1) < 8u) return korvs_machine_table_data.f[n - 1];
    korvs::bad_index("korvs_amach", n);
    return 0.0f;
}

KORVS_API double korvs_dmach(int n) noexcept {
    if (static_cast<unsigned>(n - 1) < 8u) return korvs_machine_table_data.d[n - 1];
    korvs::bad_index("korvs_dmach", n);
    return 0.0;
}

KORVS_API float korvs_f_machine(int n) noexcept {
    float r = 0.0f;
    korvs::run_frame("korvs_f_machine", [&] { korvs::l_machine(n, &r); });
    return r;
}

KORVS_API double korvs_d_machine(int n) noexcept {
    double r = 0.0;
    korvs::run_frame("korvs_d_machine", [&] { korvs::l_machine(n, &r); });
    return r;
}

KORVS_API int korvs_i_machine(int n) noexcept {
    int r = 0;
    korvs::run_frame("korvs_i_machine", [&] { korvs::l_machine(n, &r); });
    return r;
}

}  // extern "C"
