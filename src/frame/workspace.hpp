// Arrays that a routine allocates: its work space, freed on every path, and the outputs
// it hands to the caller only after a good run. A failed allocation raises 200 to 203
// with the sizes and the names of the array's dimensions.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace korvs {

// The dimensions of an array as an allocation failure reports them: none (200), or one
// to three sizes with their names (201, 202, 203).
struct Shape {
    int rank = 0;
    int size[3] = {0, 0, 0};
    const char* name[3] = {nullptr, nullptr, nullptr};

    Shape() = default;
    Shape(int n1, const char* l1) : rank(1), size{n1, 0, 0}, name{l1, nullptr, nullptr} {}
    Shape(int n1, const char* l1, int n2, const char* l2) : rank(2), size{n1, n2, 0}, name{l1, l2, nullptr} {}
    Shape(int n1, const char* l1, int n2, const char* l2, int n3, const char* l3)
        : rank(3), size{n1, n2, n3}, name{l1, l2, l3} {}
    // An explicit element count reported without inserts (200).
    static Shape count(long long elements) {
        Shape s;
        s.elements_ = elements;
        return s;
    }
    long long elements() const;

private:
    long long elements_ = -1;
};

// malloc of the shape's elements of `element_size` bytes; on failure (or a size that
// cannot be formed) raises 200 to 203 at type 5 and returns null. Never returns null
// for an empty array.
void* allocate_array(std::size_t element_size, const Shape& shape);

// Work space of one call: freed when it goes out of scope, whatever the path.
template <class T> class Workspace {
public:
    Workspace() = default;
    explicit Workspace(const Shape& shape) { allocate(shape); }
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    ~Workspace() { std::free(data_); }

    bool allocate(const Shape& shape) {
        std::free(data_);
        data_ = static_cast<T*>(allocate_array(sizeof(T), shape));
        return data_ != nullptr;
    }
    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](std::ptrdiff_t i) const { return data_[i]; }

private:
    T* data_ = nullptr;
};

// An output array. The plain form of an option (a T** in the list) asks the routine to
// allocate the array and store its address after a good run; the _USER form (a T*)
// gives the caller's array, which is written and never freed. The later of the two
// wins and decides who owns the array. An array the routine allocated and did not
// deliver is freed when the record goes out of scope, and the caller's address then
// receives null.
template <class T> class Output {
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() {
        if (delivered_ || users_) return;
        std::free(data_);
        if (address_) *address_ = nullptr;
    }

    // The plain form; a null address asks for the array without a place to store it
    // (a routine's main result, handed back by release()).
    void set_plain(T** address) {
        address_ = address;
        wanted_ = true;
        users_ = false;
    }
    void set_user(T* array) {
        user_array_ = array;
        wanted_ = true;
        users_ = true;
    }
    bool wanted() const { return wanted_; }
    bool users() const { return users_; }
    T* data() const { return users_ ? user_array_ : data_; }

    // Allocates the array of a plain form; nothing to do for a _USER form or an array
    // not asked for.
    bool allocate(const Shape& shape) {
        if (!wanted_ || users_) return true;
        std::free(data_);
        data_ = static_cast<T*>(allocate_array(sizeof(T), shape));
        return data_ != nullptr;
    }
    // After a good run: stores the address of a plain form and gives up ownership.
    // Returns the array, the caller's or the allocated one.
    T* release() {
        if (!wanted_) return nullptr;
        delivered_ = true;
        if (!users_ && address_) *address_ = data_;
        return data();
    }

private:
    T** address_ = nullptr;
    T* data_ = nullptr;
    T* user_array_ = nullptr;
    bool wanted_ = false;
    bool users_ = false;
    bool delivered_ = false;
};

}  // namespace korvs
