// The nodes of a stage of the network algorithm and their past paths: open addressing with
// linear probing from key % slots, twice as many slots as room; the values of a node are
// found through a second hash on (node, value / tolerance), so that a value within the
// tolerance of one stored, in its bin or a neighbour, joins it.
#include <cmath>

#include "network.hpp"

namespace korvs {
namespace {

std::uint64_t mix(std::uint64_t node, std::int64_t bin) {
    std::uint64_t h = node * 0x9E3779B97F4A7C15ull ^ static_cast<std::uint64_t>(bin) * 0xC2B2AE3D27D4EB4Full;
    return h ^ (h >> 29);
}

}  // namespace

int key_weights(int rows, const int* sorted_rows, std::uint64_t* weights) {
    if (rows > kMaxNodeRows) return kMaxNodeRows;
    weights[0] = 1;
    for (int i = 0; i < rows; ++i) {
        if (__builtin_mul_overflow(weights[i], static_cast<std::uint64_t>(sorted_rows[i]) + 1,
                                   &weights[i + 1]))
            return i;
    }
    return -1;
}

double NodeStore::bytes(int rows, long node_room, long value_room) {
    const double per_node =
        sizeof(std::uint64_t) + rows * sizeof(int) + 2 * sizeof(long) + 2 * sizeof(int) + 4 * sizeof(double);
    const double per_value = 2 * sizeof(double) + 4 * sizeof(long) + sizeof(int) + sizeof(std::int64_t);
    return double(node_room) * per_node + double(value_room) * per_value;
}

bool NodeStore::allocate(int rows, long node_room, long value_room) {
    rows_ = rows;
    node_room_ = node_room;
    value_room_ = value_room;
    node_slots_ = 2 * node_room;
    value_slots_ = 2 * value_room;
    const int room1 = int(node_room), room2 = int(value_room);
    if (!key_.allocate(Shape(room1, "factor1")) ||
        !totals_store_.allocate(Shape(room1, "factor1", rows, "rows")) ||
        !head_.allocate(Shape(room1, "factor1")) || !info_.allocate(Shape(room1, "factor1", 4, "4")) ||
        !node_slot_.allocate(Shape(room1, "factor1")) ||
        !node_hash_.allocate(Shape(2, "2", room1, "factor1")) || !value_.allocate(Shape(room2, "factor2")) ||
        !weight_.allocate(Shape(room2, "factor2")) || !link_.allocate(Shape(room2, "factor2")) ||
        !owner_.allocate(Shape(room2, "factor2")) || !bin_.allocate(Shape(room2, "factor2")) ||
        !value_slot_.allocate(Shape(room2, "factor2")) ||
        !value_hash_.allocate(Shape(2, "2", room2, "factor2")))
        return false;
    totals_ = totals_store_.get();
    for (long s = 0; s < node_slots_; ++s)
        node_hash_[s] = -1;
    for (long s = 0; s < value_slots_; ++s)
        value_hash_[s] = -1;
    n_nodes_ = 0;
    n_values_ = 0;
    full_ = full_nodes_ = false;
    return true;
}

void NodeStore::clear() {
    for (int k = 0; k < n_nodes_; ++k)
        node_hash_[node_slot_[k]] = -1;
    for (long k = 0; k < n_values_; ++k)
        value_hash_[value_slot_[k]] = -1;
    n_nodes_ = 0;
    n_values_ = 0;
    full_ = full_nodes_ = false;
}

int NodeStore::node(std::uint64_t key, const int* totals) {
    long slot = static_cast<long>(key % static_cast<std::uint64_t>(node_slots_));
    for (;;) {
        const int k = node_hash_[slot];
        if (k < 0) break;
        if (key_[k] == key) return k;
        if (++slot == node_slots_) slot = 0;
    }
    if (n_nodes_ == node_room_) {
        full_ = full_nodes_ = true;
        return -1;
    }
    const int k = n_nodes_++;
    node_hash_[slot] = k;
    node_slot_[k] = slot;
    key_[k] = key;
    head_[k] = -1;
    for (int i = 0; i < rows_; ++i)
        totals_[static_cast<long>(k) * rows_ + i] = totals[i];
    return k;
}

bool NodeStore::add(int node, double value, double weight, double tolerance) {
    const std::int64_t bin = static_cast<std::int64_t>(std::floor(value / tolerance));
    // A value within the tolerance of a stored one lies in its bin or a neighbour's.
    for (std::int64_t b = bin - 1; b <= bin + 1; ++b) {
        long slot = static_cast<long>(mix(node, b) % static_cast<std::uint64_t>(value_slots_));
        for (;;) {
            const long k = value_hash_[slot];
            if (k < 0) break;
            if (owner_[k] == node && bin_[k] == b && std::fabs(value_[k] - value) <= tolerance) {
                weight_[k] += weight * std::exp(value - value_[k]);
                return true;
            }
            if (++slot == value_slots_) slot = 0;
        }
    }
    if (n_values_ == value_room_) {
        full_ = true;
        return false;
    }
    long slot = static_cast<long>(mix(node, bin) % static_cast<std::uint64_t>(value_slots_));
    while (value_hash_[slot] >= 0)
        if (++slot == value_slots_) slot = 0;
    const long k = n_values_++;
    value_hash_[slot] = k;
    value_slot_[k] = slot;
    value_[k] = value;
    weight_[k] = weight;
    owner_[k] = node;
    bin_[k] = bin;
    link_[k] = head_[node];
    head_[node] = k;
    return true;
}

}  // namespace korvs
