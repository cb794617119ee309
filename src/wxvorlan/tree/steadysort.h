#pragma once

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

// A stable sort that stays within its range whatever the order answers: an order by
// running times changes while it is being asked. `before(a, b)`: a must stand above b.
// Short runs by insertion, then merging through one buffer.
template <class Value, class Before>
void SteadySort(std::vector<Value>& values, Before const& before) {
    constexpr size_t k_Run = 32;
    size_t const count = values.size();
    for (size_t begin = 0; begin < count; begin += k_Run) {
        size_t const end = std::min(begin + k_Run, count);
        for (size_t i = begin + 1; i < end; ++i) {
            Value value = std::move(values[i]);
            size_t place = i;
            for (; place > begin && before(value, values[place - 1]); --place)
                values[place] = std::move(values[place - 1]);
            values[place] = std::move(value);
        }
    }
    std::vector<Value> merged;
    for (size_t run = k_Run; run < count; run *= 2) {
        merged.clear();
        merged.reserve(count);
        for (size_t begin = 0; begin < count; begin += 2 * run) {
            size_t const middle = std::min(begin + run, count);
            size_t const end = std::min(begin + 2 * run, count);
            size_t left = begin;
            size_t right = middle;
            while (left < middle && right < end)
                merged.push_back(std::move(before(values[right], values[left]) ? values[right++] : values[left++]));
            std::move(values.begin() + static_cast<ptrdiff_t>(left), values.begin() + static_cast<ptrdiff_t>(middle),
                      std::back_inserter(merged));
            std::move(values.begin() + static_cast<ptrdiff_t>(right), values.begin() + static_cast<ptrdiff_t>(end),
                      std::back_inserter(merged));
        }
        values.swap(merged);
    }
}
