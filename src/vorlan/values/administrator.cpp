#include <vorlan/administrator.h>

namespace vorlan {

namespace {

constexpr unsigned k_ShiftStep = 7;
constexpr unsigned k_ValueBits = 32;

// The next character, and its length in bytes.
struct Character {
    uint32_t number;
    size_t length;
};

Character FirstOf(std::string_view text) {
    auto const first = static_cast<unsigned char>(text.front());
    size_t const length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 1;
    if (length == 1 || first > 0xF4 || text.size() < length)
        return {first, 1};
    uint32_t number = first & (0xFFU >> (length + 1));
    for (size_t at = 1; at < length; ++at) {
        auto const next = static_cast<unsigned char>(text[at]);
        if ((next & 0xC0U) != 0x80U)
            return {first, 1};
        number = number << 6 | (next & 0x3FU);
    }
    return {number, length};
}

} // namespace

uint32_t PasswordValue(String const& password) {
    uint32_t value = 0;
    unsigned position = 0;
    for (std::string_view rest = password; !rest.empty(); ++position) {
        Character const character = FirstOf(rest);
        value += character.number << (k_ShiftStep * position % k_ValueBits);
        rest.remove_prefix(character.length);
    }
    return value;
}

} // namespace vorlan
