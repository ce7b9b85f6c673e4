// The six forms of the library's quicksort (quicksort.hpp): values, integers and absolute
// values, each with or without a permutation carried along, and the exported korvs_svrgn.
// A long value sort without a permutation goes through an in-place most-significant-digit
// radix sort of the bit patterns instead (McIlroy, Bostic and McIlroy's American flag sort,
// 1993), which yields the same sorted values in about half the time.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "frame/frame.hpp"
#include "kernels.hpp"
#include "quicksort.hpp"
#include "sort.hpp"

namespace korvs {
namespace {

// A vector ordered by its values, or by their absolute values.
template <class T, bool ByMagnitude> struct Values {
    using Value = T;
    T* a;
    T get(std::ptrdiff_t i) const { return a[i]; }
    void put(std::ptrdiff_t i, T v) { a[i] = v; }
    static bool before(T x, T y) {
        if constexpr (ByMagnitude) {
            return (x < 0 ? -x : x) < (y < 0 ? -y : y);
        } else {
            return x < y;
        }
    }
    bool less(T x, T y) const { return before(x, y); }
};

// The same with a permutation moved along with every value.
template <class T, bool ByMagnitude> struct ValuesWithPermutation {
    struct Value {
        T v;
        int p;
    };
    T* a;
    int* perm;
    Value get(std::ptrdiff_t i) const { return {a[i], perm[i]}; }
    void put(std::ptrdiff_t i, const Value& x) {
        a[i] = x.v;
        perm[i] = x.p;
    }
    bool less(const Value& x, const Value& y) const { return Values<T, ByMagnitude>::before(x.v, y.v); }
};

template <class T> void copy_source(int n, const T ra[], T rb[]) {
    if (ra != rb) std::memmove(rb, ra, sizeof(T) * static_cast<std::size_t>(n));
}

// The check of a form with an error for n <= 0: the code in a frame of the kernel's name.
bool count_refused(int n, const char* name, int code) {
    if (n > 0) return false;
    report_check(name, code, n, 0);
    return true;
}

template <bool ByMagnitude, class T> void sort_values(int n, const T ra[], T rb[]) {
    copy_source(n, ra, rb);
    Values<T, ByMagnitude> s{rb};
    singleton_sort(s, n);
}

template <bool ByMagnitude, class T> void sort_with_permutation(int n, const T ra[], T rb[], int iperm[]) {
    copy_source(n, ra, rb);
    ValuesWithPermutation<T, ByMagnitude> s{rb, iperm};
    singleton_sort(s, n);
}

// American flag sort. A value's key is its bit pattern with the sign bit set for a
// nonnegative value and every bit flipped for a negative one, so that unsigned order is
// the order of the values. Byte by byte from the top: count the elements of each of the
// 256 buckets, then move each element into its bucket by following the cycles in place.
// A level where all elements share one byte moves nothing; short buckets go to the
// quicksort, which the radix sort leaves in the same order of values.
template <class T> struct RadixKey {
    using U = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    static constexpr int kBits = 8 * sizeof(T);
    static U of(T v) {
        const U u = std::bit_cast<U>(v);
        const U sign = U(1) << (kBits - 1);
        return u ^ ((u & sign) ? ~U(0) : sign);
    }
    static unsigned byte(T v, int shift) { return static_cast<unsigned>(of(v) >> shift) & 0xFFu; }
};

constexpr std::ptrdiff_t kRadixCutoff = 256;  // below this many elements the quicksort is faster

template <class T> void radix_sort(T* a, std::ptrdiff_t n, int shift) {
    using Key = RadixKey<T>;
    std::ptrdiff_t count[256], head[256], tail[256];
    for (;;) {
        if (n < kRadixCutoff) {
            Values<T, false> s{a};
            singleton_sort(s, n);
            return;
        }
        std::fill(count, count + 256, 0);
        for (std::ptrdiff_t i = 0; i < n; ++i)
            ++count[Key::byte(a[i], shift)];
        if (count[Key::byte(a[0], shift)] != n) break;
        if (shift == 0) return;  // all elements have the same bits
        shift -= 8;
    }
    std::ptrdiff_t start = 0;
    for (int b = 0; b < 256; ++b) {
        head[b] = start;
        start += count[b];
        tail[b] = start;
    }
    for (int b = 0; b < 256; ++b) {
        while (head[b] < tail[b]) {
            T v = a[head[b]];
            unsigned d = Key::byte(v, shift);
            while (d != static_cast<unsigned>(b)) {
                const T w = a[head[d]];
                a[head[d]++] = v;
                v = w;
                d = Key::byte(v, shift);
            }
            a[head[b]++] = v;
        }
    }
    if (shift == 0) return;
    std::ptrdiff_t begin = 0;
    for (int b = 0; b < 256; ++b) {
        if (count[b] > 1) radix_sort(a + begin, count[b], shift - 8);
        begin += count[b];
    }
}

}  // namespace

template <class T> void svrgn(int n, const T ra[], T rb[]) {
    if (count_refused(n, "korvs_svrgn", 615)) return;
    copy_source(n, ra, rb);
    // NaNs to the end first, so that they cannot disturb the order of the others.
    std::ptrdiff_t end = n;
    for (std::ptrdiff_t i = 0; i < end; ++i) {
        if (rb[i] == rb[i]) continue;
        while (end > i + 1 && rb[end - 1] != rb[end - 1])
            --end;
        std::swap(rb[i], rb[--end]);
    }
    radix_sort(rb, end, RadixKey<T>::kBits - 8);
}

template <class T> void svrgp(int n, const T ra[], T rb[], int iperm[]) {
    if (count_refused(n, "korvs_svrgp", 616)) return;
    sort_with_permutation<false>(n, ra, rb, iperm);
}

void svign(int n, const int ia[], int ib[]) {
    if (n <= 0) return;
    sort_values<false>(n, ia, ib);
}

void svigp(int n, const int ia[], int ib[], int iperm[]) {
    if (count_refused(n, "korvs_svigp", 20426)) return;
    sort_with_permutation<false>(n, ia, ib, iperm);
}

template <class T> void svrbn(int n, const T ra[], T rb[]) {
    if (count_refused(n, "korvs_svrbn", 614)) return;
    sort_values<true>(n, ra, rb);
}

template <class T> void svrbp(int n, const T ra[], T rb[], int iperm[]) {
    if (n <= 0) return;
    sort_with_permutation<true>(n, ra, rb, iperm);
}

template void svrgn(int, const float[], float[]);
template void svrgn(int, const double[], double[]);
template void svrgp(int, const float[], float[], int[]);
template void svrgp(int, const double[], double[], int[]);
template void svrbn(int, const float[], float[]);
template void svrbn(int, const double[], double[]);
template void svrbp(int, const float[], float[], int[]);
template void svrbp(int, const double[], double[], int[]);

namespace {

template <class T> void l_svrgn(int n, const T ra[], T rb[]) {
    if (n <= 0) {
        korvs_e1sti(1, n);
        korvs_ermes(5, 615);
        return;
    }
    if (!ra || !rb) {
        korvs_e1stl(1, ra ? "rb" : "ra");
        korvs_ermes(5, 6002);
        return;
    }
    svrgn(n, ra, rb);
}

}  // namespace
}  // namespace korvs

extern "C" {

KORVS_API void korvs_svrgn(int n, const float ra[], float rb[]) noexcept {
    korvs::run_traced("korvs_svrgn", [&] { korvs::l_svrgn(n, ra, rb); });
}

KORVS_API void korvs_dsvrgn(int n, const double ra[], double rb[]) noexcept {
    korvs::run_traced("korvs_dsvrgn", [&] { korvs::l_svrgn(n, ra, rb); });
}

}  // extern "C"
