// Allocation with the library's own failure reports (200 to 203).
#include "workspace.hpp"

#include "korvstat.h"

namespace korvs {

long long Shape::elements() const {
    if (rank == 0) return elements_;
    long long n = 1;
    for (int d = 0; d < rank; ++d) {
        if (size[d] < 0 || __builtin_mul_overflow(n, static_cast<long long>(size[d]), &n)) return -1;
    }
    return n;
}

void* allocate_array(std::size_t element_size, const Shape& shape) {
    long long n = shape.elements();
    std::size_t bytes = 0;
    void* p = nullptr;
    if (n >= 0 && !__builtin_mul_overflow(static_cast<std::size_t>(n), element_size, &bytes)) {
        p = std::malloc(bytes > 0 ? bytes : 1);
    }
    if (p) return p;
    // Inserts in the order i1, l1, i2, l2, i3, l3.
    for (int d = 0; d < shape.rank; ++d) {
        korvs_e1sti(d + 1, shape.size[d]);
        korvs_e1stl(d + 1, shape.name[d]);
    }
    korvs_ermes(5, 200 + shape.rank);
    return nullptr;
}

}  // namespace korvs
