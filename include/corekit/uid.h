#pragma once

#include <corekit/string.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <span>

namespace corekit {

// The 16 bytes that identify a Job, an Engine, a Pool or a Product everywhere.
// A value type without an owner. Ordered as raw bytes, so that every machine and
// every list agrees on the order. A default one is null.
class UID {
public:
    static constexpr size_t k_Size = 16;
    static UID const Null;
    // All bits set: the value that stands for "all".
    static UID const Full;

    constexpr UID() noexcept = default;
    // True gives a fresh random value (version 4), false the null one. Any thread.
    explicit UID(bool fresh);
    explicit constexpr UID(std::array<uint8_t, k_Size> const& bytes) noexcept : m_bytes(bytes) {}

    // Null unless there are exactly 16 bytes.
    static UID FromBytes(std::span<uint8_t const> bytes) noexcept;
    // The same name gives the same value on every machine (version 5).
    static UID FromName(std::string_view name);
    // Reads the text form, with or without braces around it. False leaves `out`
    // as it was.
    static bool FromString(std::string_view text, UID& out) noexcept;
    // Lower case, in groups of 8-4-4-4-12.
    String ToString() const;

    constexpr bool IsNull() const noexcept { return m_bytes == std::array<uint8_t, k_Size>{}; }
    constexpr uint8_t const* Bytes() const noexcept { return m_bytes.data(); }

    friend constexpr bool operator==(UID const& a, UID const& b) noexcept = default;
    friend std::strong_ordering operator<=>(UID const& a, UID const& b) noexcept {
        return std::memcmp(a.m_bytes.data(), b.m_bytes.data(), k_Size) <=> 0;
    }
    friend size_t hash_value(UID const& id) noexcept { return id.Hash(); }
    friend std::ostream& operator<<(std::ostream& out, UID const& id);

private:
    // Random bytes need no mixing; the ids made by hand in files do.
    size_t Hash() const noexcept {
        uint64_t low = 0;
        uint64_t high = 0;
        std::memcpy(&low, m_bytes.data(), sizeof low);
        std::memcpy(&high, m_bytes.data() + sizeof low, sizeof high);
        uint64_t const mixed = (low ^ (high * 0x9E3779B97F4A7C15u)) * 0xBF58476D1CE4E5B9u;
        return static_cast<size_t>(mixed ^ (mixed >> 32));
    }

    std::array<uint8_t, k_Size> m_bytes{};
};

inline constexpr UID UID::Null{};
inline constexpr UID UID::Full{std::array<uint8_t, k_Size>{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                           0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

} // namespace corekit

template <>
struct std::hash<corekit::UID> {
    size_t operator()(corekit::UID const& id) const noexcept { return hash_value(id); }
};
