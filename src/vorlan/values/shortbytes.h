#pragma once

// Copying and comparing texts of a few bytes without a call.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vorlan {

// Whole words of both ends, which overlap in the middle.
template <class Word>
inline void CopyEnds(char* to, char const* from, size_t bytes) {
    Word head;
    Word tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + bytes - sizeof tail, sizeof tail);
    std::memcpy(to, &head, sizeof head);
    std::memcpy(to + bytes - sizeof tail, &tail, sizeof tail);
}

template <class Word>
inline bool SameEnds(char const* a, char const* b, size_t bytes) {
    Word words[4];
    std::memcpy(&words[0], a, sizeof(Word));
    std::memcpy(&words[1], b, sizeof(Word));
    std::memcpy(&words[2], a + bytes - sizeof(Word), sizeof(Word));
    std::memcpy(&words[3], b + bytes - sizeof(Word), sizeof(Word));
    return ((words[0] ^ words[1]) | (words[2] ^ words[3])) == 0;
}

struct TwoWords {
    uint64_t low;
    uint64_t high;
};

// Values of Jobs are mostly shorter than 32 bytes, where a call to memcpy costs more
// than the copy.
inline void CopyShort(char* to, char const* from, size_t bytes) {
    if (bytes > 2 * sizeof(TwoWords))
        std::memcpy(to, from, bytes);
    else if (bytes >= sizeof(TwoWords))
        CopyEnds<TwoWords>(to, from, bytes);
    else if (bytes >= sizeof(uint64_t))
        CopyEnds<uint64_t>(to, from, bytes);
    else if (bytes >= sizeof(uint32_t))
        CopyEnds<uint32_t>(to, from, bytes);
    else if (bytes >= sizeof(uint16_t))
        CopyEnds<uint16_t>(to, from, bytes);
    else if (bytes == 1)
        *to = *from;
}

// `bytes` is the length of both.
inline bool SameShort(char const* a, char const* b, size_t bytes) {
    if (bytes > 2 * sizeof(uint64_t))
        return std::memcmp(a, b, bytes) == 0;
    if (bytes >= sizeof(uint64_t))
        return SameEnds<uint64_t>(a, b, bytes);
    if (bytes >= sizeof(uint32_t))
        return SameEnds<uint32_t>(a, b, bytes);
    if (bytes >= sizeof(uint16_t))
        return SameEnds<uint16_t>(a, b, bytes);
    return bytes == 0 || *a == *b;
}

} // namespace vorlan
