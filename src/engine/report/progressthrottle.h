#pragma once

// Holds the values of a unit back, so that they are told a few times a second at most.

#include <corekit/optionmap.h>
#include <vorlan/fwd.h>

#include <limits>

namespace vorlan {

// Gathers values of one unit and says when they may be told. Owned by the unit; one
// thread. Of each name only the last value counts.
class ProgressThrottle {
public:
    static constexpr int64_t k_PauseMs = 250;
    static constexpr int64_t k_Never = std::numeric_limits<int64_t>::max();

    void Offer(String const& name, String const& value) { m_values[name] = value; }

    // When there is something to take; k_Never when there is nothing at all.
    int64_t DueMs() const { return m_values.empty() ? k_Never : m_next; }

    // Empty before its time.
    OptionMap TakeDueValues(int64_t nowMs) {
        OptionMap values;
        if (DueMs() <= nowMs) {
            values.swap(m_values);
            m_next = nowMs + k_PauseMs;
        }
        return values;
    }

private:
    OptionMap m_values;
    int64_t m_next = 0;
};

} // namespace vorlan
