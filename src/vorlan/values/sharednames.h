#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlan {

// Objects of one kind have the same names in the same order. SharedNames keeps each such
// list of name numbers once for all of them.
// Static. Any thread; a list that the thread has asked for lately costs a comparison.
// Always: a list that is kept stays where it is as long as the process. Beyond the limits
// no more are kept, so that odd objects from outside cannot fill the memory.
class SharedNames {
public:
    static constexpr size_t k_MaxLists = 20'000;
    static constexpr size_t k_MaxNumbers = 2'000'000; // of all lists together: 8 MB

    // The kept list of these numbers; null when there is none and no more are taken.
    static uint32_t const* Find(std::span<uint32_t const> numbers);
};

} // namespace vorlan
