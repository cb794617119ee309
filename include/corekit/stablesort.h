#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace corekit {

namespace stablesort {

// Up to so many elements are sorted by insertion.
inline constexpr std::ptrdiff_t k_InsertionLimit = 32;

template <class T, class Less>
void Insert(T* first, T* last, Less& less) {
    for (T* at = first; at != last; ++at) {
        T value = std::move(*at);
        T* hole = at;
        for (; hole != first && less(value, hole[-1]); --hole)
            *hole = std::move(hole[-1]);
        *hole = std::move(value);
    }
}

template <class T, class Less>
void Merge(T* first, T* middle, T* last, std::vector<T>& buffer, Less& less) {
    buffer.assign(std::make_move_iterator(first), std::make_move_iterator(middle));
    auto left = buffer.begin();
    T* right = middle;
    T* out = first;
    while (left != buffer.end() && right != last) {
        if (less(*right, *left))
            *out++ = std::move(*right++);
        else
            *out++ = std::move(*left++);
    }
    std::move(left, buffer.end(), out);
}

template <class T, class Less>
void Sort(T* first, T* last, std::vector<T>& buffer, Less& less) {
    if (last - first <= k_InsertionLimit) {
        Insert(first, last, less);
        return;
    }
    T* const middle = first + (last - first) / 2;
    Sort(first, middle, buffer, less);
    Sort(middle, last, buffer, less);
    Merge(first, middle, last, buffer, less);
}

} // namespace stablesort

// Sorts, equal elements in their order: up to 32 by insertion, above that the lower half,
// the upper half, and a merge that takes from the lower one unless the upper one is less.
// The comparisons and their order are part of the promise: one that contradicts itself,
// as the order by status does, gives the same rows everywhere and always, and one that
// changes while it is asked loses no element.
template <class T, class Less>
void StableSort(std::vector<T>& elements, Less less) {
    std::vector<T> buffer;
    buffer.reserve(elements.size() / 2);
    stablesort::Sort(elements.data(), elements.data() + elements.size(), buffer, less);
}

} // namespace corekit
