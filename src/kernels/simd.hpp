// Short vectors of the element type (16 bytes: two doubles or four floats) through the
// compiler's generic vector extension. Every lane does what the scalar code would do
// to its own element, so a vectorised loop rounds exactly as the plain one.
#pragma once

#include <cstring>

namespace korvs {

template <class T> struct Simd;
template <> struct Simd<double> {
    typedef double type __attribute__((vector_size(16)));
    static constexpr int lanes = 2;
};
template <> struct Simd<float> {
    typedef float type __attribute__((vector_size(16)));
    static constexpr int lanes = 4;
};

template <class T> inline typename Simd<T>::type load(const T* p) {
    typename Simd<T>::type v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T> inline void store(T* p, typename Simd<T>::type v) { std::memcpy(p, &v, sizeof v); }
// Every lane s; lane by lane rather than as a sum with 0, which would turn -0 into +0
// and cost an addition.
template <class T> inline typename Simd<T>::type broadcast(T s) {
    typename Simd<T>::type v;
    for (int k = 0; k < Simd<T>::lanes; ++k) v[k] = s;
    return v;
}

}  // namespace korvs
